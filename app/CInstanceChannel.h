#pragma once

#include <QHash>
#include <QObject>
#include <QString>

class QLocalServer;
class QLocalSocket;
class QLockFile;

// The per-user channel between instances of the workbench. The first channel
// of an id to start holds a lock file and listens on a local socket; later
// ones are clients that deliver messages to it. A message is a length-prefixed
// UTF-8 string; the receiver acknowledges each one with a single byte, so that
// sendMessage() is true only once the message has really arrived. Messages
// are delivered from the event loop, never from inside a socket's handler.
class CInstanceChannel : public QObject
{
    Q_OBJECT

public:
    explicit CInstanceChannel(const QString &id, QObject *parent = nullptr);
    ~CInstanceChannel() override;

    // True when another instance owns the channel. Decided on the first call,
    // which also makes this instance the owner when there is none (taking
    // over the socket and lock file a crashed instance left behind).
    bool isClient();

    // Blocks for at most timeout milliseconds. Safe to call from another
    // thread than the one that owns the channel, once isClient() has run.
    bool sendMessage(const QString &message, int timeout) const;

    QString id() const { return m_id; }
    QString serverName() const { return m_serverName; }
    QString lockFilePath() const;

    // Messages longer than this are refused by the receiver.
    static constexpr quint32 MaximumMessageSize = 1 << 20;
    static constexpr char Acknowledgement = 'A';

Q_SIGNALS:
    void messageReceived(const QString &message);

private:
    void acceptConnections();
    void readFromConnection(QLocalSocket *socket);

    QString m_id;
    QString m_serverName;
    bool m_decided = false;
    bool m_client = false;
    QLockFile *m_lock = nullptr;
    QLocalServer *m_server = nullptr;
    QHash<QLocalSocket *, QByteArray> m_pending;
};
