#include "app/QtSingleApplication.h"

#include "app/CInstanceChannel.h"

#include <QWidget>

QtSingleApplication::QtSingleApplication(const QString &id, int &argc, char **argv)
    : QApplication(argc, argv)
    , m_channel(new CInstanceChannel(id, this))
{
    // The first instance starts listening at once so that no message is lost.
    m_channel->isClient();
    connect(m_channel, &CInstanceChannel::messageReceived, this,
            &QtSingleApplication::messageReceived);
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning()
{
    return m_channel->isClient();
}

QString QtSingleApplication::id() const
{
    return m_channel->id();
}

bool QtSingleApplication::sendMessage(const QString &message, int timeout)
{
    return isRunning() && m_channel->sendMessage(message, timeout);
}

void QtSingleApplication::setActivationWindow(QWidget *window, bool activateOnMessage)
{
    m_activationWindow = window;
    disconnect(m_activation);
    if (activateOnMessage)
        m_activation = connect(this, &QtSingleApplication::messageReceived, this,
                               &QtSingleApplication::activateWindow);
}

QWidget *QtSingleApplication::activationWindow() const
{
    return m_activationWindow;
}

void QtSingleApplication::activateWindow()
{
    if (!m_activationWindow)
        return;
    m_activationWindow->setWindowState(m_activationWindow->windowState() & ~Qt::WindowMinimized);
    m_activationWindow->raise();
    m_activationWindow->activateWindow();
}
