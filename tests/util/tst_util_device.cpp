#include "ZirkTest.h"
#include "util/UtilDevice.h"

#include <QBuffer>
#include <QRandomGenerator>

namespace {

// A sequential device that hands out its data a few bytes at a time and then, if asked,
// fails instead of reporting the end.
class CTrickleDevice : public QIODevice
{
public:
    CTrickleDevice(const QByteArray &data, qint64 step, bool failAtEnd)
        : data(data)
        , step(step)
        , failAtEnd(failAtEnd)
    {
        open(QIODevice::ReadOnly);
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return data.size() - offset + QIODevice::bytesAvailable();
    }
    bool atEnd() const override
    {
        return !failAtEnd && QIODevice::atEnd() && offset == data.size();
    }

protected:
    qint64 readData(char *out, qint64 max) override
    {
        if (offset >= data.size())
            return failAtEnd ? -1 : 0;
        const qint64 n = qMin(qMin(max, step), qint64(data.size() - offset));
        if (n <= 0)
            return 0;
        memcpy(out, data.constData() + offset, size_t(n));
        offset += n;
        return n;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray data;
    qint64 offset = 0;
    qint64 step;
    bool failAtEnd;
};

// Accepts at most limit bytes in all.
class CLimitedSink : public QIODevice
{
public:
    explicit CLimitedSink(qint64 limit)
        : limit(limit)
    {
        open(QIODevice::WriteOnly);
    }
    QByteArray written;

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *in, qint64 size) override
    {
        const qint64 n = qMin(size, limit - qint64(written.size()));
        written.append(in, n);
        return n;
    }

private:
    qint64 limit;
};

QList<QByteArray> allLines(QIODevice &device)
{
    QList<QByteArray> lines;
    for (int guard = 0; guard < 100000 && !device.atEnd(); ++guard)
        lines.append(UTIL_readLineFromQIODevice(device));
    return lines;
}

// The plain reading of a C string, byte by byte, as the helper must behave.
QString referenceCString(QDataStream &stream, char terminator)
{
    QByteArray bytes;
    for (;;) {
        qint8 c = 0;
        stream >> c;
        if (stream.atEnd())
            break;
        if (char(c) == terminator)
            break;
        bytes.append(char(c));
    }
    return QString::fromLatin1(bytes);
}

} // namespace

using ByteLines = QList<QByteArray>;

class TestUtilDevice : public QObject
{
    Q_OBJECT

private slots:
    // Runs first on purpose: the first copy of the process fixes the total of all messages.
    void deviceCopy()
    {
        QByteArray payload(3000, '\0');
        for (int i = 0; i < payload.size(); ++i)
            payload[i] = char(i * 7);
        QBuffer source;
        source.setData(payload);
        source.open(QIODevice::ReadOnly);
        QBuffer target;
        target.open(QIODevice::WriteOnly);
        QString error;
        QVERIFY(UTIL_deviceCopy(source, target, 3000, &error));
        QCOMPARE(target.data(), payload);
        QVERIFY(error.isEmpty());

        // -1 means the rest of the source.
        source.seek(1000);
        QBuffer rest;
        rest.open(QIODevice::WriteOnly);
        QVERIFY(UTIL_deviceCopy(source, rest, -1, &error));
        QCOMPARE(rest.data(), payload.mid(1000));

        QVERIFY(UTIL_deviceCopy(source, rest, 0, &error));

        // Short read in the first step: the count still to do, and the first call's total.
        QBuffer small;
        small.setData(payload.left(100));
        small.open(QIODevice::ReadOnly);
        QBuffer sink;
        sink.open(QIODevice::WriteOnly);
        QVERIFY(!UTIL_deviceCopy(small, sink, 2500, &error));
        QCOMPARE(error, QStringLiteral("Read Error: Unable to read 2500 of 3000 bytes"));

        // Short read in the second step.
        QBuffer medium;
        medium.setData(payload.left(1500));
        medium.open(QIODevice::ReadOnly);
        QVERIFY(!UTIL_deviceCopy(medium, sink, 2500, &error));
        QCOMPARE(error, QStringLiteral("Read Error: Unable to read 1476 of 3000 bytes"));

        // Short write.
        source.seek(0);
        CLimitedSink limited(1500);
        QVERIFY(!UTIL_deviceCopy(source, limited, 2000, &error));
        QCOMPARE(error, QStringLiteral("Write Error: Unable to write 976 of 3000 bytes"));
        QCOMPARE(limited.written, payload.left(1500));

        // Without an error string it still stops cleanly.
        small.seek(0);
        QVERIFY(!UTIL_deviceCopy(small, sink, 500, nullptr));
    }

    void readLine_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<ByteLines>("lines");
        QTest::newRow("CR LF gives an empty line")
            << QByteArray("a\r\nb") << ByteLines { "a", "", "b" };
        QTest::newRow("LF") << QByteArray("one\ntwo\n") << ByteLines { "one", "two" };
        QTest::newRow("CR alone") << QByteArray("x\ry") << ByteLines { "x", "y" };
        QTest::newRow("NUL") << QByteArray("p\0q", 3) << ByteLines { "p", "q" };
        QTest::newRow("empty lines") << QByteArray("\n\n") << ByteLines { "", "" };
        QTest::newRow("no terminator") << QByteArray("abc") << ByteLines { "abc" };
        QTest::newRow("across chunks")
            << QByteArray(5000, 'k') + "\r\n" + QByteArray(9000, 'v')
            << ByteLines { QByteArray(5000, 'k'), "", QByteArray(9000, 'v') };
        QTest::newRow("nothing") << QByteArray() << ByteLines {};
    }

    void readLine()
    {
        QFETCH(QByteArray, input);
        QFETCH(ByteLines, lines);

        QBuffer buffer;
        buffer.setData(input);
        buffer.open(QIODevice::ReadOnly);
        QCOMPARE(allLines(buffer), lines);
        QVERIFY(UTIL_readLineFromQIODevice(buffer).isEmpty());

        CTrickleDevice trickle(input, 3, false);
        QCOMPARE(allLines(trickle), lines);
    }

    void readLineLeavesDeviceBehindTerminator()
    {
        QBuffer buffer;
        buffer.setData("key\nrest");
        buffer.open(QIODevice::ReadOnly);
        QCOMPARE(UTIL_readLineFromQIODevice(buffer), QByteArray("key"));
        QCOMPARE(buffer.pos(), 4);
        QCOMPARE(buffer.readAll(), QByteArray("rest"));
    }

    void readLineRefusesUnusableDevices()
    {
        QBuffer closed;
        closed.setData("data\n");
        QVERIFY(UTIL_readLineFromQIODevice(closed).isEmpty());

        QBuffer writeOnly;
        writeOnly.open(QIODevice::WriteOnly);
        writeOnly.write("data\n");
        writeOnly.seek(0);
        QVERIFY(UTIL_readLineFromQIODevice(writeOnly).isEmpty());
    }

    void readLineHugeLineWithoutTerminator()
    {
        const QByteArray huge(8 * 1024 * 1024, 'e');
        QBuffer buffer;
        buffer.setData(huge);
        buffer.open(QIODevice::ReadOnly);
        QCOMPARE(UTIL_readLineFromQIODevice(buffer), huge);
        QVERIFY(buffer.atEnd());
    }

    void readLineFromFailingDevice()
    {
        CTrickleDevice failing(QByteArray("first\nsecond and no end"), 5, true);
        QCOMPARE(UTIL_readLineFromQIODevice(failing), QByteArray("first"));
        QCOMPARE(UTIL_readLineFromQIODevice(failing), QByteArray("second and no end"));
        QVERIFY(UTIL_readLineFromQIODevice(failing).isEmpty());
    }

    void readCString_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<char>("terminator");
        QTest::addColumn<QStringList>("strings");
        QTest::newRow("two names")
            << QByteArray("abc\0def\0", 8) << '\0' << QStringList { "abc", "def" };
        QTest::newRow("last byte never kept") << QByteArray("abc") << '\0' << QStringList { "ab" };
        QTest::newRow("text after the last name")
            << QByteArray("ab\0cd", 5) << '\0' << QStringList { "ab", "c" };
        QTest::newRow("other terminator") << QByteArray("x;y;") << ';' << QStringList { "x", "y" };
        QTest::newRow("empty names")
            << QByteArray("\0\0z", 3) << '\0' << QStringList { "", "", "" };
        QTest::newRow("long name") << QByteArray(6000, 'n') + QByteArray("\0!", 2) << '\0'
                                   << QStringList { QString(6000, 'n'), "" };
        QTest::newRow("long unterminated")
            << QByteArray(9000, 'u') << '\0' << QStringList { QString(8999, 'u') };
        QTest::newRow("latin-1") << QByteArray("\xe9\xff\0", 3) << '\0'
                                 << QStringList { QStringLiteral("\u00e9\u00ff") };
    }

    void readCString()
    {
        QFETCH(QByteArray, input);
        QFETCH(char, terminator);
        QFETCH(QStringList, strings);

        QBuffer buffer;
        buffer.setData(input);
        buffer.open(QIODevice::ReadOnly);
        QDataStream stream(&buffer);
        QStringList read;
        while (!stream.atEnd())
            read.append(UTIL_readCStringFromQDataStream(stream, terminator, 16));
        QCOMPARE(read, strings);
        QCOMPARE(stream.status(), QDataStream::Ok);

        // Reading at the end gives nothing and marks the stream, as a plain read would.
        QVERIFY(UTIL_readCStringFromQDataStream(stream, terminator, 0).isEmpty());
        QCOMPARE(stream.status(), QDataStream::ReadPastEnd);
    }

    void readCStringMatchesPlainReading()
    {
        QRandomGenerator random(1234);
        for (int round = 0; round < 200; ++round) {
            QByteArray input(int(random.bounded(1, 12000)), '\0');
            for (char &c : input)
                c = random.bounded(50) == 0 ? '\0' : char('a' + random.bounded(26));
            QBuffer a, b;
            a.setData(input);
            b.setData(input);
            a.open(QIODevice::ReadOnly);
            b.open(QIODevice::ReadOnly);
            QDataStream fast(&a), plain(&b);
            while (!plain.atEnd()) {
                QCOMPARE(UTIL_readCStringFromQDataStream(fast, '\0', 0),
                         referenceCString(plain, '\0'));
                QCOMPARE(a.pos(), b.pos());
            }
            QVERIFY(fast.atEnd());
        }
    }

    void readCStringFromFailingDevice()
    {
        CTrickleDevice failing(QByteArray("name\0tail", 9), 2, true);
        QDataStream stream(&failing);
        QCOMPARE(UTIL_readCStringFromQDataStream(stream, '\0', 0), QStringLiteral("name"));
        // The device fails instead of ending: whatever comes back, the call returns.
        UTIL_readCStringFromQDataStream(stream, '\0', 0);
        QVERIFY(stream.status() != QDataStream::Ok);
    }

    void readCStringWithoutDevice()
    {
        QDataStream stream;
        QVERIFY(UTIL_readCStringFromQDataStream(stream, '\0', 4).isEmpty());
    }

    void writeBytes_data()
    {
        QTest::addColumn<QByteArray>("pattern");
        QTest::addColumn<qint64>("count");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QByteArray>("written");
        const int writable = int(QIODevice::WriteOnly);
        QTest::newRow("cycles") << QByteArray("ab") << qint64(5) << writable << QByteArray("ababa");
        QTest::newRow("single byte")
            << QByteArray(1, '\0') << qint64(3) << writable << QByteArray(3, '\0');
        QTest::newRow("empty pattern") << QByteArray() << qint64(4) << writable << QByteArray();
        QTest::newRow("zero count") << QByteArray("x") << qint64(0) << writable << QByteArray();
        QTest::newRow("read only")
            << QByteArray("x") << qint64(2) << int(QIODevice::ReadOnly) << QByteArray();
        QTest::newRow("not open") << QByteArray("x") << qint64(2) << int(QIODevice::NotOpen)
                                  << QByteArray();
    }

    void writeBytes()
    {
        QFETCH(QByteArray, pattern);
        QFETCH(qint64, count);
        QFETCH(int, mode);
        QFETCH(QByteArray, written);
        QByteArray data;
        QBuffer buffer(&data);
        if (mode != int(QIODevice::NotOpen))
            buffer.open(QIODevice::OpenMode(mode));
        QVERIFY(UTIL_writeBytes(pattern, buffer, count));
        QCOMPARE(data, written);
    }
};

QTEST_GUILESS_MAIN(TestUtilDevice)
#include "tst_util_device.moc"
