#include "util/UtilDevice.h"

#include <cstring>

namespace {

// Large enough to take a typical line or name in one go; the device's own buffering does
// the rest.
constexpr qint64 kPeekChunk = 4096;

const char *findLineEnd(const char *begin, const char *end)
{
    for (const char *p = begin; p != end; ++p) {
        if (*p == '\n' || *p == '\r' || *p == '\0')
            return p;
    }
    return end;
}

} // namespace

QByteArray UTIL_readLineFromQIODevice(QIODevice &device)
{
    QByteArray line;
    if (!device.isOpen() || !device.isReadable() || device.atEnd())
        return line;

    char chunk[kPeekChunk];
    for (;;) {
        const qint64 got = device.peek(chunk, kPeekChunk);
        if (got <= 0)
            break;
        const char *stop = findLineEnd(chunk, chunk + got);
        const qint64 used = stop - chunk;
        line.append(chunk, used);
        if (stop != chunk + got) {
            device.skip(used + 1);
            break;
        }
        if (device.skip(got) != got)
            break;
    }
    return line;
}

QString UTIL_readCStringFromQDataStream(QDataStream &stream, char terminator,
                                        unsigned short reserve)
{
    QByteArray bytes;
    bytes.reserve(reserve);

    QIODevice *device = stream.device();
    if (device && stream.status() == QDataStream::Ok) {
        char chunk[kPeekChunk];
        for (;;) {
            const qint64 got = device->peek(chunk, kPeekChunk);
            if (got <= 0)
                break; // the byte-wise loop below settles the stream's status
            const void *hit = std::memchr(chunk, terminator, size_t(got));
            const qint64 take = hit ? static_cast<const char *>(hit) - chunk + 1 : got;
            if (device->skip(take) != take) {
                stream.setStatus(QDataStream::ReadPastEnd);
                return QString::fromLatin1(bytes);
            }
            if (hit) {
                bytes.append(chunk, take - 1);
                return QString::fromLatin1(bytes);
            }
            bytes.append(chunk, got);
            if (device->atEnd()) {
                bytes.chop(1); // the last byte before the end is read but not kept
                return QString::fromLatin1(bytes);
            }
        }
    }

    while (stream.status() == QDataStream::Ok) {
        qint8 c = 0;
        stream >> c;
        if (stream.atEnd() || stream.status() != QDataStream::Ok)
            break;
        if (char(c) == terminator)
            break;
        bytes.append(char(c));
    }
    return QString::fromLatin1(bytes);
}

bool UTIL_deviceCopy(QIODevice &source, QIODevice &destination, qint64 count, QString *error)
{
    if (count == -1)
        count = source.size() - source.pos();
    // The first call's count stays the total of every later message.
    static const qint64 total = count;
    if (count == 0)
        return true;

    char chunk[1024];
    qint64 remaining = count;
    while (remaining > 0) {
        const qint64 step = qMin<qint64>(remaining, sizeof chunk);
        if (source.read(chunk, step) != step) {
            if (error)
                *error = QStringLiteral("Read Error: Unable to read %1 of %2 bytes")
                             .arg(remaining)
                             .arg(total);
            return false;
        }
        if (destination.write(chunk, step) != step) {
            if (error)
                *error = QStringLiteral("Write Error: Unable to write %1 of %2 bytes")
                             .arg(remaining)
                             .arg(total);
            return false;
        }
        remaining -= step;
    }
    return true;
}

bool UTIL_writeBytes(const QByteArray &pattern, QIODevice &device, qint64 count)
{
    if (pattern.isEmpty() || !device.isOpen() || !device.isWritable() || count <= 0)
        return true;
    const qsizetype period = pattern.size();
    for (qint64 i = 0; i < count; ++i)
        device.putChar(pattern.at(qsizetype(i % period)));
    return true;
}
