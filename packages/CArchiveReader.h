#pragma once

#include <QByteArray>
#include <QtGlobal>

class QIODevice;

// Sequential little-endian reader over a device whose size is known. Every read
// is checked against the bytes that remain, so a count taken from a hostile
// file can never make it allocate or seek beyond the real data.
class CArchiveReader
{
public:
    explicit CArchiveReader(QIODevice &device);

    qint64 pos() const { return bufferStart + bufferPos; }
    qint64 size() const { return deviceSize; }
    qint64 remaining() const { return deviceSize - pos(); }
    bool atEnd() const { return remaining() <= 0; }

    bool readU16(quint16 &value);
    bool readU32(quint32 &value);
    bool readU32Array(quint32 *values, int count);
    // Reads what is there and leaves zeros for the rest: single header numbers
    // are not checked here, since nothing in them is trusted anyway.
    void readU32Fields(quint32 *fields, int count);
    // Whether count records of width bytes can still follow.
    bool fits(quint64 count, quint64 width) const
    {
        return count * width <= quint64(qMax<qint64>(remaining(), 0));
    }
    // Refuses (and reads nothing) when fewer than count bytes remain.
    bool readBytes(QByteArray &out, qint64 count);
    // Bytes up to a NUL, which is consumed; false when the data ends first.
    bool readCString(QByteArray &out);
    bool skip(qint64 count);
    bool seek(qint64 position);

private:
    bool fill();
    bool take(char *out, qint64 count);

    QIODevice &device;
    qint64 deviceSize = 0;
    qint64 bufferStart = 0;
    qint64 bufferPos = 0;
    QByteArray buffer;
};
