#include "app/CInstanceChannel.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include <unistd.h>

namespace {

// How long a connected sender may take to deliver its message.
constexpr int ConnectionTimeout = 5000;

QString channelName(const QString &id)
{
    // The id may hold anything; the socket name must be a plain file name.
    const QByteArray hash = QCryptographicHash::hash(id.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("zirk-%1-%2")
        .arg(QString::number(getuid()), QString::fromLatin1(hash.left(16)));
}

} // namespace

CInstanceChannel::CInstanceChannel(const QString &id, QObject *parent)
    : QObject(parent)
    , m_id(id)
    , m_serverName(channelName(id))
{ }

CInstanceChannel::~CInstanceChannel()
{
    if (m_server)
        m_server->close();
    delete m_lock;
}

QString CInstanceChannel::lockFilePath() const
{
    return QDir(QDir::tempPath()).filePath(m_serverName + QLatin1String(".lock"));
}

bool CInstanceChannel::isClient()
{
    if (m_decided)
        return m_client;
    m_decided = true;

    m_lock = new QLockFile(lockFilePath());
    // A lock whose owner has died counts as stale and is taken over at once.
    if (!m_lock->tryLock(0)) {
        delete m_lock;
        m_lock = nullptr;
        m_client = true;
        return true;
    }

    // Owning the lock means that a socket file left here belongs to a crashed instance.
    QLocalServer::removeServer(m_serverName);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_serverName))
        qWarning("Unable to listen for other instances: %s", qPrintable(m_server->errorString()));
    connect(m_server, &QLocalServer::newConnection, this, &CInstanceChannel::acceptConnections);
    m_client = false;
    return false;
}

bool CInstanceChannel::sendMessage(const QString &message, int timeout) const
{
    if (!m_decided || !m_client)
        return false;

    QDeadlineTimer deadline(qMax(0, timeout));
    QLocalSocket socket;
    // The owner may hold the lock but not listen yet while it starts.
    for (;;) {
        socket.connectToServer(m_serverName);
        if (socket.waitForConnected(int(qMax<qint64>(0, deadline.remainingTime()))))
            break;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(20);
    }

    const QByteArray payload = message.toUtf8();
    QByteArray frame(4, Qt::Uninitialized);
    qToBigEndian<quint32>(quint32(payload.size()), frame.data());
    frame += payload;
    if (socket.write(frame) != frame.size())
        return false;
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(int(qMax<qint64>(0, deadline.remainingTime()))))
            return false;
    }
    while (socket.bytesAvailable() < 1) {
        if (deadline.hasExpired()
            || !socket.waitForReadyRead(int(qMax<qint64>(0, deadline.remainingTime()))))
            return false;
    }
    char ack = 0;
    const bool delivered = socket.getChar(&ack) && ack == Acknowledgement;
    socket.disconnectFromServer();
    return delivered;
}

void CInstanceChannel::acceptConnections()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        m_pending.insert(socket, QByteArray());
        connect(socket, &QLocalSocket::readyRead, this,
                [this, socket] { readFromConnection(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            m_pending.remove(socket);
            socket->deleteLater();
        });
        // A sender that stalls is dropped rather than kept forever.
        QTimer::singleShot(ConnectionTimeout, socket, [socket] { socket->abort(); });
        if (socket->bytesAvailable() > 0)
            readFromConnection(socket);
    }
}

void CInstanceChannel::readFromConnection(QLocalSocket *socket)
{
    auto it = m_pending.find(socket);
    if (it == m_pending.end())
        return;
    QByteArray &buffer = it.value();
    buffer += socket->readAll();
    if (buffer.size() < 4)
        return;
    const quint32 length = qFromBigEndian<quint32>(buffer.constData());
    if (length > MaximumMessageSize) {
        m_pending.erase(it);
        socket->abort();
        return;
    }
    if (quint32(buffer.size()) - 4 < length)
        return;
    const QString message = QString::fromUtf8(buffer.constData() + 4, qsizetype(length));
    m_pending.erase(it);
    socket->putChar(Acknowledgement);
    socket->flush();
    // A receiver may run a nested event loop (a message box), during which the
    // sender leaves and its socket is deleted. Delivered from here, the socket's
    // own read handler would then return into freed memory: hand the message
    // over once this read has returned.
    QMetaObject::invokeMethod(
        this, [this, message] { Q_EMIT messageReceived(message); }, Qt::QueuedConnection);
}
