#pragma once

#include <QApplication>
#include <QPointer>

class CInstanceChannel;

// A QApplication of which only one instance runs per user and id: later
// starts pass messages to the first one and leave.
class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    QtSingleApplication(const QString &id, int &argc, char **argv);
    ~QtSingleApplication() override;

    bool isRunning();
    QString id() const;
    bool sendMessage(const QString &message, int timeout = 5000);

    void setActivationWindow(QWidget *window, bool activateOnMessage = true);
    QWidget *activationWindow() const;

public Q_SLOTS:
    void activateWindow();

Q_SIGNALS:
    void messageReceived(const QString &message);

private:
    CInstanceChannel *m_channel;
    QPointer<QWidget> m_activationWindow;
    QMetaObject::Connection m_activation;
};
