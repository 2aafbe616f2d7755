#include "packages/CArchiveReader.h"

#include <QIODevice>
#include <QtEndian>

#include <cstring>

namespace {
const qint64 chunkSize = 64 * 1024;
}

CArchiveReader::CArchiveReader(QIODevice &device)
    : device(device)
{
    deviceSize = device.size();
    bufferStart = device.pos();
}

bool CArchiveReader::fill()
{
    const qint64 next = bufferStart + bufferPos;
    if (next >= deviceSize)
        return false;
    if (device.pos() != next && !device.seek(next))
        return false;
    const qint64 want = qMin(chunkSize, deviceSize - next);
    buffer.resize(want);
    const qint64 got = device.read(buffer.data(), want);
    if (got <= 0) {
        buffer.clear();
        return false;
    }
    buffer.resize(got);
    bufferStart = next;
    bufferPos = 0;
    return true;
}

bool CArchiveReader::take(char *out, qint64 count)
{
    if (count < 0 || count > remaining())
        return false;
    while (count > 0) {
        if (bufferPos >= buffer.size() && !fill())
            return false;
        const qint64 step = qMin(count, qint64(buffer.size()) - bufferPos);
        if (out) {
            memcpy(out, buffer.constData() + bufferPos, size_t(step));
            out += step;
        }
        bufferPos += step;
        count -= step;
    }
    return true;
}

bool CArchiveReader::readU16(quint16 &value)
{
    uchar raw[2];
    if (!take(reinterpret_cast<char *>(raw), 2))
        return false;
    value = qFromLittleEndian<quint16>(raw);
    return true;
}

bool CArchiveReader::readU32(quint32 &value)
{
    uchar raw[4];
    if (!take(reinterpret_cast<char *>(raw), 4))
        return false;
    value = qFromLittleEndian<quint32>(raw);
    return true;
}

bool CArchiveReader::readU32Array(quint32 *values, int count)
{
    if (count < 0 || qint64(count) * 4 > remaining())
        return false;
    for (int i = 0; i < count; ++i)
        readU32(values[i]);
    return true;
}

void CArchiveReader::readU32Fields(quint32 *fields, int count)
{
    for (int i = 0; i < count; ++i) {
        if (!readU32(fields[i]))
            fields[i] = 0;
    }
}

bool CArchiveReader::readBytes(QByteArray &out, qint64 count)
{
    if (count < 0 || count > remaining())
        return false;
    out.resize(count);
    return take(out.data(), count);
}

bool CArchiveReader::readCString(QByteArray &out)
{
    out.clear();
    for (;;) {
        if (bufferPos >= buffer.size() && !fill())
            return false;
        const char *begin = buffer.constData() + bufferPos;
        const qint64 avail = buffer.size() - bufferPos;
        const void *nul = memchr(begin, 0, size_t(avail));
        if (nul) {
            const qint64 len = static_cast<const char *>(nul) - begin;
            out.append(begin, len);
            bufferPos += len + 1;
            return true;
        }
        out.append(begin, avail);
        bufferPos += avail;
    }
}

bool CArchiveReader::skip(qint64 count)
{
    if (count < 0 || count > remaining())
        return false;
    return seek(pos() + count);
}

bool CArchiveReader::seek(qint64 position)
{
    if (position < 0 || position > deviceSize)
        return false;
    if (position >= bufferStart && position <= bufferStart + buffer.size()) {
        bufferPos = position - bufferStart;
        return true;
    }
    buffer.clear();
    bufferStart = position;
    bufferPos = 0;
    return true;
}
