#include "packages/CRC32.h"

#include <array>

namespace {

// Eight tables let the loop take eight bytes a step; the first one is the
// classic byte table.
struct Tables
{
    std::array<std::array<quint32, 256>, 8> t;

    Tables()
    {
        const quint32 polynomial = CRC32::Reflect(0x04C11DB7u, 32);
        for (quint32 i = 0; i < 256; ++i) {
            quint32 c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? (c >> 1) ^ polynomial : c >> 1;
            t[0][i] = c;
        }
        for (quint32 i = 0; i < 256; ++i) {
            for (int s = 1; s < 8; ++s)
                t[s][i] = (t[s - 1][i] >> 8) ^ t[0][t[s - 1][i] & 0xFF];
        }
    }
};

const Tables &tables()
{
    static const Tables instance;
    return instance;
}

} // namespace

quint32 CRC32::Reflect(quint32 value, int bits)
{
    quint32 result = 0;
    for (int i = 0; i < bits; ++i) {
        if (value & (1u << i))
            result |= 1u << (bits - 1 - i);
    }
    return result;
}

quint32 CRC32::update(quint32 crc, const char *data, qint64 length)
{
    const auto &t = tables().t;
    const uchar *p = reinterpret_cast<const uchar *>(data);
    quint32 c = ~crc;
    while (length >= 8) {
        const quint32 lo
            = (quint32(p[0]) | quint32(p[1]) << 8 | quint32(p[2]) << 16 | quint32(p[3]) << 24) ^ c;
        const quint32 hi
            = quint32(p[4]) | quint32(p[5]) << 8 | quint32(p[6]) << 16 | quint32(p[7]) << 24;
        c = t[7][lo & 0xFF] ^ t[6][(lo >> 8) & 0xFF] ^ t[5][(lo >> 16) & 0xFF] ^ t[4][lo >> 24]
            ^ t[3][hi & 0xFF] ^ t[2][(hi >> 8) & 0xFF] ^ t[1][(hi >> 16) & 0xFF] ^ t[0][hi >> 24];
        p += 8;
        length -= 8;
    }
    while (length-- > 0)
        c = (c >> 8) ^ t[0][(c ^ *p++) & 0xFF];
    return ~c;
}

quint32 CRC32::Get_CRC(const char *data, qint64 length)
{
    if (!data || length <= 0)
        return 0;
    return update(0, data, length);
}
