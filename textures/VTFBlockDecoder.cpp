// Block decoding. The rules are those of squish's decoder, kept to the bit:
// the same 5- and 6-bit widening, the same integer thirds, halves, fifths and
// sevenths, and the DXT1 three-colour mode only for DXT1 itself. What differs
// is the shape: a block is turned into a palette of four whole pixels once,
// and each row of four is then four table lookups stored together, where
// squish writes byte by byte through a mask.

#include "textures/VTFBlockCoder.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace VTF {
namespace BlockCoder {

namespace {

typedef unsigned char uchar;

inline quint32 pixel(unsigned r, unsigned g, unsigned b, unsigned a)
{
    return r | (g << 8) | (b << 16) | (a << 24);
}

// The four colours of a colour block as RGBA words (alpha 255, or 0 for the
// transparent fourth colour of DXT1's three-colour mode).
inline void colourPalette(const uchar *block, bool isDxt1, quint32 palette[4])
{
    const unsigned a = unsigned(block[0]) | (unsigned(block[1]) << 8);
    const unsigned b = unsigned(block[2]) | (unsigned(block[3]) << 8);
    auto widen = [](unsigned value, unsigned channel[3]) {
        const unsigned red = (value >> 11) & 0x1F, green = (value >> 5) & 0x3F, blue = value & 0x1F;
        channel[0] = (red << 3) | (red >> 2);
        channel[1] = (green << 2) | (green >> 4);
        channel[2] = (blue << 3) | (blue >> 2);
    };
    unsigned c[3], d[3];
    widen(a, c);
    widen(b, d);
    palette[0] = pixel(c[0], c[1], c[2], 255);
    palette[1] = pixel(d[0], d[1], d[2], 255);
    if (isDxt1 && a <= b) {
        palette[2] = pixel((c[0] + d[0]) / 2, (c[1] + d[1]) / 2, (c[2] + d[2]) / 2, 255);
        palette[3] = 0;
    } else {
        palette[2]
            = pixel((2 * c[0] + d[0]) / 3, (2 * c[1] + d[1]) / 3, (2 * c[2] + d[2]) / 3, 255);
        palette[3]
            = pixel((c[0] + 2 * d[0]) / 3, (c[1] + 2 * d[1]) / 3, (c[2] + 2 * d[2]) / 3, 255);
    }
}

// The eight alpha values of a DXT5 alpha block, already in the alpha byte.
inline void alphaPalette(const uchar *block, quint32 palette[8])
{
    const unsigned alpha0 = block[0], alpha1 = block[1];
    palette[0] = alpha0 << 24;
    palette[1] = alpha1 << 24;
    if (alpha0 <= alpha1) {
        for (unsigned i = 1; i < 5; ++i)
            palette[1 + i] = (((5 - i) * alpha0 + i * alpha1) / 5) << 24;
        palette[6] = 0;
        palette[7] = 255u << 24;
    } else {
        for (unsigned i = 1; i < 7; ++i)
            palette[1 + i] = (((7 - i) * alpha0 + i * alpha1) / 7) << 24;
    }
}

// Decodes one block into 16 pixels, row by row.
template<Format_t Kind> inline void decodeBlock(const uchar *block, quint32 out[16])
{
    const uchar *colour = Kind == DXT1 ? block : block + 8;
    quint32 colours[4];
    colourPalette(colour, Kind == DXT1, colours);
    const quint32 indices = qFromLittleEndian<quint32>(colour + 4);
    if constexpr (Kind == DXT1) {
        for (int i = 0; i < 16; ++i)
            out[i] = colours[(indices >> (2 * i)) & 3];
    } else if constexpr (Kind == DXT3) {
        for (quint32 &colour : colours)
            colour &= 0x00FFFFFF;
        const quint64 alphas = qFromLittleEndian<quint64>(block);
        for (int i = 0; i < 16; ++i) {
            const quint32 nibble = quint32(alphas >> (4 * i)) & 0xF;
            out[i] = colours[(indices >> (2 * i)) & 3] | ((nibble * 17) << 24);
        }
    } else {
        for (quint32 &colour : colours)
            colour &= 0x00FFFFFF;
        quint32 alphas[8];
        alphaPalette(block, alphas);
        // Two groups of eight 3-bit indices, three bytes each.
        const quint64 low
            = quint64(block[2]) | (quint64(block[3]) << 8) | (quint64(block[4]) << 16);
        const quint64 high
            = quint64(block[5]) | (quint64(block[6]) << 8) | (quint64(block[7]) << 16);
        const quint64 alphaIndices = low | (high << 24);
        for (int i = 0; i < 16; ++i)
            out[i] = colours[(indices >> (2 * i)) & 3] | alphas[(alphaIndices >> (3 * i)) & 7];
    }
}

template<Format_t Kind>
void decodeImage(const uchar *blocks, size_t available, unsigned int width, unsigned int height,
                 uchar *rgba)
{
    constexpr size_t blockBytes = Kind == DXT1 ? 8 : 16;
    const size_t stride = size_t(width) * 4;
    const unsigned int blocksWide = (width + 3) / 4;
    quint32 pixels[16];
    for (unsigned int y = 0; y < height; y += 4) {
        const unsigned int rows = std::min(4u, height - y);
        const size_t rowStart = size_t(y / 4) * blocksWide * blockBytes;
        for (unsigned int bx = 0; bx < blocksWide; ++bx) {
            const size_t offset = rowStart + size_t(bx) * blockBytes;
            const uchar *block = blocks + offset;
            uchar padded[blockBytes];
            if (offset + blockBytes > available) {
                // Only a block read with a wider stride than its format's
                // size gets here: what lies beyond the data reads as zeros.
                std::memset(padded, 0, blockBytes);
                if (offset < available)
                    std::memcpy(padded, block, available - offset);
                block = padded;
            }
            decodeBlock<Kind>(block, pixels);
            const unsigned int x = bx * 4;
            uchar *target = rgba + size_t(y) * stride + size_t(x) * 4;
            if (x + 4 <= width) {
                for (unsigned int row = 0; row < rows; ++row)
                    std::memcpy(target + row * stride, pixels + row * 4, 16);
            } else {
                const size_t bytes = size_t(width - x) * 4;
                for (unsigned int row = 0; row < rows; ++row)
                    std::memcpy(target + row * stride, pixels + row * 4, bytes);
            }
        }
    }
}

} // namespace

void decode(const unsigned char *blocks, size_t available, unsigned int width, unsigned int height,
            Format_t format, unsigned char *rgba)
{
    // The one-bit-alpha variant goes through the DXT5 decoder, as it always has.
    switch (format) {
    case DXT1:
        decodeImage<DXT1>(blocks, available, width, height, rgba);
        break;
    case DXT3:
        decodeImage<DXT3>(blocks, available, width, height, rgba);
        break;
    case DXT5:
    case DXT1_ONEBITALPHA:
        decodeImage<DXT5>(blocks, available, width, height, rgba);
        break;
    default:
        break;
    }
}

} // namespace BlockCoder
} // namespace VTF
