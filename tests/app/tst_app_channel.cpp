#include "app/CInstanceChannel.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QSignalSpy>
#include <QUuid>
#include <QtConcurrent>
#include <QtTest>

// Remembers the type of the last event that the event loop dispatched: a
// socket notification, a timer or a queued call. Events sent on the way, such
// as those of new child objects, are passed over.
class LastEventWatch : public QObject
{
public:
    LastEventWatch() { QCoreApplication::instance()->installEventFilter(this); }
    QEvent::Type last = QEvent::None;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::SockAct:
        case QEvent::SockClose:
        case QEvent::Timer:
        case QEvent::MetaCall:
            last = event->type();
            break;
        default:
            break;
        }
        return false;
    }
};

class TestChannel : public QObject
{
    Q_OBJECT

    static QString uniqueId()
    {
        return QStringLiteral("ZIRK-test-") + QUuid::createUuid().toString();
    }

    // The sender blocks until the receiver acknowledges, so it runs on another
    // thread while this one's event loop serves the receiver.
    static QFuture<QList<bool>> sendAll(const CInstanceChannel *channel,
                                        const QStringList &messages, int timeout = 5000)
    {
        return QtConcurrent::run([channel, messages, timeout] {
            QList<bool> results;
            for (const QString &message : messages)
                results.append(channel->sendMessage(message, timeout));
            return results;
        });
    }

    static QList<bool> waitFor(QFuture<QList<bool>> future)
    {
        QElapsedTimer timer;
        timer.start();
        while (!future.isFinished() && timer.elapsed() < 20000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return future.isFinished() ? future.result() : QList<bool>();
    }

private Q_SLOTS:
    void firstIsOwnerSecondIsClient()
    {
        const QString id = uniqueId();
        CInstanceChannel first(id);
        CInstanceChannel second(id);
        QVERIFY(!first.isClient());
        QVERIFY(second.isClient());
        QCOMPARE(first.serverName(), second.serverName());
        QVERIFY(first.serverName().contains(QString::number(getuid())));
        // The owner has nobody to send to.
        QVERIFY(!first.sendMessage(QStringLiteral("x"), 100));
    }

    void probeAndArgumentsArriveInOrder()
    {
        const QString id = uniqueId();
        CInstanceChannel first(id);
        QVERIFY(!first.isClient());
        QSignalSpy received(&first, &CInstanceChannel::messageReceived);

        CInstanceChannel second(id);
        QVERIFY(second.isClient());
        const QStringList messages
            = { QString(), QStringLiteral("a.vtf"), QStringLiteral("-setCurrent"),
                QStringLiteral("/tmp/dir with blanks"), QString::fromLatin1("caf\xe9.vmt") };
        const QList<bool> results = waitFor(sendAll(&second, messages));
        QCOMPARE(results, QList<bool>(messages.size(), true));
        QTRY_COMPARE(received.size(), messages.size());
        for (int i = 0; i < messages.size(); ++i)
            QCOMPARE(received.at(i).at(0).toString(), messages.at(i));
    }

    void nothingDeliveredWithoutReceiver()
    {
        const QString id = uniqueId();
        CInstanceChannel second(id);
        {
            CInstanceChannel first(id);
            QVERIFY(!first.isClient());
            QVERIFY(second.isClient());
        }
        // The owner has gone: a send times out and reports failure.
        const QList<bool> results = waitFor(sendAll(&second, { QStringLiteral("late") }, 300));
        QCOMPARE(results, QList<bool>({ false }));
    }

    void ownerLeavingFreesTheChannel()
    {
        const QString id = uniqueId();
        {
            CInstanceChannel first(id);
            QVERIFY(!first.isClient());
        }
        CInstanceChannel next(id);
        QVERIFY(!next.isClient());
    }

    void staleSocketAndLockOfCrashedInstance()
    {
        const QString id = uniqueId();
        CInstanceChannel probe(id);
        const QString lockPath = probe.lockFilePath();
        const QString socketPath = QDir(QDir::tempPath()).filePath(probe.serverName());

        // What a crashed instance leaves: a lock naming a dead process and a socket file.
        {
            QFile lock(lockPath);
            QVERIFY(lock.open(QIODevice::WriteOnly));
            lock.write("2147483646\nzirk\n" + QSysInfo::machineHostName().toUtf8() + "\n");
        }
        {
            QFile socket(socketPath);
            QVERIFY(socket.open(QIODevice::WriteOnly));
        }

        CInstanceChannel first(id);
        QVERIFY(!first.isClient());
        QSignalSpy received(&first, &CInstanceChannel::messageReceived);
        CInstanceChannel second(id);
        QVERIFY(second.isClient());
        QCOMPARE(waitFor(sendAll(&second, { QStringLiteral("after crash") })),
                 QList<bool>({ true }));
        QTRY_COMPARE(received.size(), 1);
        QCOMPARE(received.at(0).at(0).toString(), QStringLiteral("after crash"));
    }

    // A receiver that shows a message box runs a nested event loop; the sender
    // leaves meanwhile and its connection is torn down inside that loop. The
    // channel must not be in the middle of reading that connection then: the
    // socket's read handler would return into freed memory. That happens inside
    // the uninstrumented Qt library, so the test also checks what event the
    // message arrives on: never a socket notification.
    void receiverMayRunANestedLoopWhileTheSenderLeaves()
    {
        const QString id = uniqueId();
        CInstanceChannel first(id);
        QVERIFY(!first.isClient());
        LastEventWatch watch;
        QStringList received;
        QList<QEvent::Type> deliveredOn;
        bool connectionGoneInside = false;
        connect(&first, &CInstanceChannel::messageReceived, this, [&](const QString &message) {
            received.append(message);
            deliveredOn.append(watch.last);
            QEventLoop loop;
            QTimer poll;
            connect(&poll, &QTimer::timeout, &loop, [&] {
                if (first.findChildren<QLocalSocket *>().isEmpty()) {
                    connectionGoneInside = true;
                    loop.quit();
                }
            });
            QTimer::singleShot(5000, &loop, &QEventLoop::quit);
            poll.start(5);
            loop.exec();
        });

        CInstanceChannel second(id);
        QVERIFY(second.isClient());
        const QStringList messages = { QStringLiteral("broken.bsp"), QStringLiteral("next.vtf") };
        QCOMPARE(waitFor(sendAll(&second, messages)), QList<bool>({ true, true }));
        QTRY_COMPARE(received, messages);
        QVERIFY(connectionGoneInside);
        QVERIFY(!deliveredOn.contains(QEvent::SockAct));
        // The channel still serves the next sender.
        QCOMPARE(waitFor(sendAll(&second, { QStringLiteral("after") })), QList<bool>({ true }));
        QTRY_COMPARE(received.size(), 3);
    }

    void oversizedMessageIsRefused()
    {
        const QString id = uniqueId();
        CInstanceChannel first(id);
        QVERIFY(!first.isClient());
        QSignalSpy received(&first, &CInstanceChannel::messageReceived);
        CInstanceChannel second(id);
        QVERIFY(second.isClient());
        const QString huge(CInstanceChannel::MaximumMessageSize + 1, QLatin1Char('x'));
        QCOMPARE(waitFor(sendAll(&second, { huge, QStringLiteral("small") })),
                 QList<bool>({ false, true }));
        QTRY_COMPARE(received.size(), 1);
        QCOMPARE(received.at(0).at(0).toString(), QStringLiteral("small"));
    }
};

QTEST_GUILESS_MAIN(TestChannel)
#include "tst_app_channel.moc"
