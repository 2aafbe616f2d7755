#pragma once

#include <QByteArray>
#include <QtGlobal>

// The standard CRC-32 of ZIP archives: polynomial 0x04C11DB7 in reflected
// form, start value all ones, result inverted.
class CRC32
{
public:
    // 0 for no bytes.
    static quint32 Get_CRC(const char *data, qint64 length);
    static quint32 Get_CRC(const QByteArray &data)
    {
        return Get_CRC(data.constData(), data.size());
    }
    // Continues a running CRC (start with 0) over further bytes.
    static quint32 update(quint32 crc, const char *data, qint64 length);
    // The lowest `bits` bits of value, in reverse order.
    static quint32 Reflect(quint32 value, int bits);
};
