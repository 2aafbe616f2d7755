#pragma once

#include <QTableWidget>

// The Package Viewer's table; tells where a mouse button was released, which
// is where a drag out of the window would end.
class VPackageTableWidget : public QTableWidget
{
    Q_OBJECT
public:
    explicit VPackageTableWidget(QWidget *parent = nullptr);

signals:
    void mouseReleasePoint(QPoint point);
    // Enter or Return on a row: the keyboard's double click.
    void entryActivated(QTableWidgetItem *item);
    // The user began to drag the selected rows out.
    void dragStarted();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void startDrag(Qt::DropActions supportedActions) override;
};
