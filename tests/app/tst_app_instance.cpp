// Drives the real executable: a first instance, couriers that hand it their
// arguments, and recovery after the first instance is killed.
#include "app/CInstanceChannel.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QtTest>

class TestInstance : public QObject
{
    Q_OBJECT

    const QString m_binary = QStringLiteral(ZIRK_BINARY);
    QString m_serverName;

    bool startFirst(QProcess &process)
    {
        process.setProgram(m_binary);
        process.start();
        if (!process.waitForStarted(5000))
            return false;
        // A socket file may be left over from a killed run: wait until it answers.
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 15000 && process.state() == QProcess::Running) {
            QLocalSocket socket;
            socket.connectToServer(m_serverName);
            if (socket.waitForConnected(200))
                return true;
            QTest::qWait(50);
        }
        return false;
    }

    static int runCourier(const QStringList &arguments, qint64 *elapsed)
    {
        QElapsedTimer timer;
        timer.start();
        QProcess courier;
        courier.start(QStringLiteral(ZIRK_BINARY), arguments);
        if (!courier.waitForFinished(30000)) {
            courier.kill();
            return -1;
        }
        *elapsed = timer.elapsed();
        return courier.exitStatus() == QProcess::NormalExit ? courier.exitCode() : -1;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFile::exists(m_binary))
            QSKIP("the workbench executable is not built");
        CInstanceChannel channel(QStringLiteral("ZIRK"));
        m_serverName = channel.serverName();
        QLocalSocket probe;
        probe.connectToServer(channel.serverName());
        if (probe.waitForConnected(500))
            QSKIP("another workbench instance of this user is running");
    }

    void couriersLeaveAtOnce()
    {
        QProcess first;
        QVERIFY(startFirst(first));

        qint64 elapsed = 0;
        // No arguments: only the probe travels.
        QCOMPARE(runCourier({}, &elapsed), 0);
        QVERIFY(elapsed < 4000);
        // An option without its directory is forwarded, not refused, by a courier.
        QCOMPARE(
            runCourier({ QStringLiteral("missing.vtf"), QStringLiteral("-setCurrent") }, &elapsed),
            0);
        QVERIFY(elapsed < 4000);
        QCOMPARE(first.state(), QProcess::Running);

        // A killed first instance leaves its socket and lock behind; the next start takes over.
        first.kill();
        QVERIFY(first.waitForFinished(5000));
        QProcess next;
        QVERIFY(startFirst(next));
        QCOMPARE(runCourier({ QStringLiteral("x.vmt") }, &elapsed), 0);
        QVERIFY(elapsed < 4000);
        QCOMPARE(next.state(), QProcess::Running);
        next.kill();
        next.waitForFinished(5000);
    }
};

QTEST_GUILESS_MAIN(TestInstance)
#include "tst_app_instance.moc"
