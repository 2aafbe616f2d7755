#include "ZirkTest.h"
#include "util/CNotificationRecorder.h"
#include "util/IFileClass.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

// A file of one little-endian quint32 "magic", then a float.
class CFileSample : public IFileClass<CFileSample>
{
public:
    using IFileClass<CFileSample>::createFromStream;
    using IFileClass<CFileSample>::serialize;

    bool serialize(QDataStream &stream) override
    {
        stream << quint32(0x5A49524B) << value;
        return stream.status() == QDataStream::Ok;
    }

    bool createFromStream(QDataStream &stream) override
    {
        quint32 magic = 0;
        stream >> magic >> value;
        if (stream.status() != QDataStream::Ok) {
            lastError = QStringLiteral("Read Error: Truncated");
            return false;
        }
        lastError = magic == 0x5A49524B ? QStringLiteral("fine") : QStringLiteral("odd magic");
        return magic == 0x5A49524B;
    }

    float value = 0.0f;
};

QByteArray sampleBytes(float value)
{
    CFileSample sample;
    sample.value = value;
    QByteArray bytes;
    sample.serialize(bytes);
    return bytes;
}

// A device that refuses to open.
class CClosedDevice : public QIODevice
{
protected:
    bool open(OpenMode) override { return false; }
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64) override { return -1; }
};

} // namespace

class TestUtilFileClass : public QObject
{
    Q_OBJECT

private slots:
    void serializeWritesLittleEndianSinglePrecision()
    {
        const QByteArray bytes = sampleBytes(1.5f);
        QCOMPARE(bytes.toHex(), QByteArray("4b52495a0000c03f"));
    }

    void createFromDataRoundTrip()
    {
        CFileSample *sample = IFileClass<CFileSample>::createFromData(sampleBytes(2.25f));
        QVERIFY(sample);
        QCOMPARE(sample->value, 2.25f);
        delete sample;
    }

    void createFromDataRefusesBadInput_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("truncated") << sampleBytes(1.0f).left(6);
        QTest::newRow("wrong magic") << QByteArray::fromHex("0000000000000000");
    }

    void createFromDataRefusesBadInput()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(IFileClass<CFileSample>::createFromData(bytes), nullptr);
    }

    void errorIsCopiedOutOnSuccessAndFailure()
    {
        QString error;
        QBuffer good;
        good.setData(sampleBytes(3.0f));
        CFileSample *sample = CFileSample::createFromDevice(good, error);
        QVERIFY(sample);
        QCOMPARE(error, QStringLiteral("fine"));
        delete sample;

        QBuffer bad;
        bad.setData(QByteArray(8, '\0'));
        QVERIFY(!CFileSample::createFromDevice(bad, error));
        QCOMPARE(error, QStringLiteral("odd magic"));
    }

    void createFromDeviceOpensOnlyWhenClosed()
    {
        QString error;
        QBuffer buffer;
        buffer.setData(QByteArray(3, 'x') + sampleBytes(4.0f));
        buffer.open(QIODevice::ReadOnly);
        buffer.seek(3);
        CFileSample *sample = CFileSample::createFromDevice(buffer, error);
        QVERIFY(sample);
        QCOMPARE(sample->value, 4.0f);
        delete sample;
    }

    void unopenableDevice()
    {
        QString error;
        CClosedDevice device;
        QVERIFY(!CFileSample::createFromDevice(device, error));
        QCOMPARE(error, QStringLiteral("Read Error: Unable to open device"));

        CFileSample sample;
        QVERIFY(!sample.serialize(static_cast<QIODevice &>(device)));
        QCOMPARE(sample.lastError, QStringLiteral("Read Error: Unable to open device"));
    }

    void createFromFile()
    {
        QTemporaryDir dir;
        QString error;
        QVERIFY(!CFileSample::createFromFile(dir.filePath("missing.smp"), error));
        QCOMPARE(error, QStringLiteral("Read Error: File does not exist"));

        // A directory exists but cannot be opened as a file.
        error.clear();
        QVERIFY(!CFileSample::createFromFile(dir.path(), error));
        QCOMPARE(error, QStringLiteral("Read Error: Unable to open device"));

        const QString path = dir.filePath("some.name.smp");
        CFileSample written;
        written.value = 7.5f;
        QVERIFY(written.serialize(path));

        CFileSample *sample = CFileSample::createFromFile(path, error);
        QVERIFY(sample);
        QCOMPARE(sample->value, 7.5f);
        QCOMPARE(sample->filePath, path);
        QCOMPARE(sample->fileName, QStringLiteral("some"));
        delete sample;
    }

    void serializeToUnwritablePath()
    {
        QTemporaryDir dir;
        CFileSample sample;
        QVERIFY(!sample.serialize(dir.filePath("no/such/folder/out.smp")));
        QCOMPARE(sample.lastError, QStringLiteral("Read Error: Unable to open device"));
    }

    void setPathNotifiesWithTheNewPathTwice()
    {
        CFileSample sample;
        sample.setPath(QStringLiteral("old"), false);
        QSignalSpy spy(&sample, &CFileClass::pathChanged);
        sample.setPath(QStringLiteral("new"), true);
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("new"));
        QCOMPARE(spy.at(0).at(1).toString(), QStringLiteral("new"));
        sample.setPath(QStringLiteral("quiet"), false);
        QCOMPARE(spy.size(), 1);
        QCOMPARE(sample.getFilePath(), QStringLiteral("quiet"));
    }

    void notificationRecorderRestoresPreviousHandler()
    {
        QList<CNotifier::Entry> outer;
        CNotifier::Handler before = CNotifier::setHandler(
            [&](CNotifier::Kind kind, const QString &title, const QString &text) {
                outer.append({ kind, title, text });
            });
        {
            CNotificationRecorder recorder;
            CNotifier::notify(CNotifier::Critical, QStringLiteral("T"), QStringLiteral("x"));
            QCOMPARE(recorder.entries().size(), 1);
            QCOMPARE(recorder.entries().at(0).kind, CNotifier::Critical);
            QCOMPARE(recorder.entries().at(0).text, QStringLiteral("x"));
            recorder.clear();
            QVERIFY(recorder.entries().isEmpty());
        }
        QVERIFY(outer.isEmpty());
        CNotifier::notify(CNotifier::Warning, QStringLiteral("T"), QStringLiteral("y"));
        QCOMPARE(outer.size(), 1);
        CNotifier::setHandler(before);
    }
};

QTEST_GUILESS_MAIN(TestUtilFileClass)
#include "tst_util_fileclass.moc"
