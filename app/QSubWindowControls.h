#pragma once

#include <QPointer>
#include <QWidget>

class QMdiArea;
class QMdiSubWindow;
class QToolButton;

// Restore and close buttons for the workspace's active sub-window while it is
// maximized: a maximized sub-window in a tabbed workspace loses its title bar,
// and with it every visible way to restore or close it. Meant as the corner
// widget of the main window's menu bar.
class QSubWindowControls : public QWidget
{
    Q_OBJECT

public:
    explicit QSubWindowControls(QMdiArea *area, QWidget *parent = nullptr);

    QToolButton *restoreButton() const { return m_restore; }
    QToolButton *closeButton() const { return m_close; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow(QMdiSubWindow *window);
    void refresh();

    QMdiArea *m_area;
    // Held as a widget: the filter still sees the window's last events while it is being
    // destroyed, when it is no longer a QMdiSubWindow.
    QPointer<QWidget> m_window;
    QToolButton *m_restore;
    QToolButton *m_close;
};
