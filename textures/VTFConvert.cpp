#include "textures/VTF.h"
#include "textures/VTFBlockCoder.h"
#include "textures/VTFToneMap.h"

#include <cmath>
#include <cstring>

namespace VTF {
namespace {

typedef unsigned char uchar;

// Real byte count of an image, without the 16- and 32-bit wraps of
// bytesPerSizeOfFormat: a conversion only touches buffers that truly hold it.
qint64 trueBytes(unsigned int width, unsigned int height, Format_t format)
{
    qint64 w = width, h = height;
    if (BlockCoder::isBlockFormat(format)) {
        w = (w + 3) & ~qint64(3);
        h = (h + 3) & ~qint64(3);
    }
    return w * h * bitsPerPixelOfFormat(format) / 8;
}

// A destination of NONE holds nothing worth having; refuse to make a huge one.
constexpr qint64 MaxBlankBytes = qint64(256) * 1024 * 1024;

inline uchar widen5(unsigned v)
{
    return uchar((v << 3) | (v >> 2));
}
inline uchar widen6(unsigned v)
{
    return uchar((v << 2) | (v >> 4));
}
inline uchar widen4(unsigned v)
{
    return uchar(v * 17);
}

inline uchar luminanceOf(const uchar *p)
{
    const int r = p[0], g = p[1], b = p[2];
    const double sum = 0.241 * (r * r) + 0.691 * (g * g) + double(0.068f * float(b * b));
    return uchar(int(std::sqrt(sum) + 0.5));
}

bool decodePixels(const uchar *s, size_t n, Format_t format, uchar *d)
{
    switch (format) {
    case ABGR8888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
            d[0] = s[3];
            d[1] = s[2];
            d[2] = s[1];
            d[3] = s[0];
        }
        return true;
    case RGB888:
        for (size_t i = 0; i < n; ++i, s += 3, d += 4) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
            d[3] = 255;
        }
        return true;
    case BGR888:
        for (size_t i = 0; i < n; ++i, s += 3, d += 4) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
            d[3] = 255;
        }
        return true;
    case RGB565:
    case BGR565: {
        const int lowChannel = format == RGB565 ? 0 : 2;
        for (size_t i = 0; i < n; ++i, s += 2, d += 4) {
            const unsigned v = unsigned(s[0]) | (unsigned(s[1]) << 8);
            d[lowChannel] = widen5(v & 31);
            d[1] = widen6((v >> 5) & 63);
            d[2 - lowChannel] = widen5(v >> 11);
            d[3] = 255;
        }
        return true;
    }
    case I8:
        for (size_t i = 0; i < n; ++i, ++s, d += 4) {
            d[0] = d[1] = d[2] = s[0];
            d[3] = 255;
        }
        return true;
    case IA88:
        for (size_t i = 0; i < n; ++i, s += 2, d += 4) {
            d[0] = d[1] = d[2] = s[0];
            d[3] = s[1];
        }
        return true;
    case A8:
        for (size_t i = 0; i < n; ++i, ++s, d += 4) {
            d[0] = d[1] = d[2] = 255;
            d[3] = s[0];
        }
        return true;
    case RGB888_BLUESCREEN:
    case BGR888_BLUESCREEN: {
        const int red = format == RGB888_BLUESCREEN ? 0 : 2;
        for (size_t i = 0; i < n; ++i, s += 3, d += 4) {
            d[0] = s[red];
            d[1] = s[1];
            d[2] = s[2 - red];
            d[3] = (d[0] == 0 && d[1] == 0 && d[2] == 255) ? 0 : 255;
        }
        return true;
    }
    case ARGB8888: // stored G B A R, whatever the name says
        for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
            d[0] = s[3];
            d[1] = s[0];
            d[2] = s[1];
            d[3] = s[2];
        }
        return true;
    case BGRA8888:
    case BGRX8888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
            d[3] = s[3];
        }
        return true;
    case BGRX5551:
    case BGRA5551:
        for (size_t i = 0; i < n; ++i, s += 2, d += 4) {
            const unsigned v = unsigned(s[0]) | (unsigned(s[1]) << 8);
            d[0] = widen5((v >> 10) & 31);
            d[1] = widen5((v >> 5) & 31);
            d[2] = widen5(v & 31);
            d[3] = (v & 0x8000) ? 255 : 0;
        }
        return true;
    case BGRA4444:
        for (size_t i = 0; i < n; ++i, s += 2, d += 4) {
            d[0] = widen4(s[1] & 15);
            d[1] = widen4(s[0] >> 4);
            d[2] = widen4(s[0] & 15);
            d[3] = widen4(s[1] >> 4);
        }
        return true;
    case UV88:
        for (size_t i = 0; i < n; ++i, s += 2, d += 4) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = 0;
            d[3] = 255;
        }
        return true;
    case RGBA16161616:
        for (size_t i = 0; i < n; ++i, s += 8, d += 4) {
            for (int c = 0; c < 4; ++c)
                d[c] = uchar((unsigned(s[2 * c]) | (unsigned(s[2 * c + 1]) << 8)) / 257u);
        }
        return true;
    default:
        return false;
    }
}

// Loops run over destination pixels, n being what the destination holds.
bool encodePixels(const uchar *s, size_t n, Format_t format, uchar *d)
{
    switch (format) {
    case ABGR8888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
            d[0] = s[3];
            d[1] = s[2];
            d[2] = s[1];
            d[3] = s[0];
        }
        return true;
    case RGB888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 3) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
        }
        return true;
    case BGR888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 3) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
        }
        return true;
    case RGB565:
    case BGR565: {
        const int high = format == RGB565 ? 2 : 0;
        for (size_t i = 0; i < n; ++i, s += 4, d += 2) {
            const unsigned v = (unsigned(s[high] >> 3) << 11) | (unsigned(s[1] >> 2) << 5)
                | unsigned(s[2 - high] >> 3);
            d[0] = uchar(v);
            d[1] = uchar(v >> 8);
        }
        return true;
    }
    case I8:
        for (size_t i = 0; i < n; ++i, s += 4, ++d)
            d[0] = luminanceOf(s);
        return true;
    case IA88:
        for (size_t i = 0; i < n; ++i, s += 4, d += 2) {
            d[0] = luminanceOf(s);
            d[1] = s[3];
        }
        return true;
    case A8:
        for (size_t i = 0; i < n; ++i, s += 4, ++d)
            d[0] = s[3];
        return true;
    case RGB888_BLUESCREEN:
        for (size_t i = 0; i < n; ++i, s += 4, d += 3) {
            if (s[3]) {
                d[0] = s[0];
                d[1] = s[1];
                d[2] = s[2];
            } else {
                d[0] = 0;
                d[1] = 0;
                d[2] = 255;
            }
        }
        return true;
    case BGR888_BLUESCREEN:
        for (size_t i = 0; i < n; ++i, s += 4, d += 3) {
            if (s[3]) {
                d[0] = s[2];
                d[1] = s[1];
                d[2] = s[0];
            } else {
                d[0] = 255;
                d[1] = 0;
                d[2] = 0;
            }
        }
        return true;
    case ARGB8888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
            d[0] = s[1];
            d[1] = s[2];
            d[2] = s[3];
            d[3] = s[0];
        }
        return true;
    case BGRA8888:
    case BGRX8888:
        for (size_t i = 0; i < n; ++i, s += 4, d += 4) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
            d[3] = s[3];
        }
        return true;
    case BGRX5551:
    case BGRA5551:
        for (size_t i = 0; i < n; ++i, s += 4, d += 2) {
            const unsigned v = (unsigned(s[0] >> 3) << 10) | (unsigned(s[1] >> 3) << 5)
                | unsigned(s[2] >> 3) | (s[3] >= 128 ? 0x8000u : 0u);
            d[0] = uchar(v);
            d[1] = uchar(v >> 8);
        }
        return true;
    case BGRA4444:
        for (size_t i = 0; i < n; ++i, s += 4, d += 2) {
            d[0] = uchar(((s[1] / 17) << 4) | (s[2] / 17));
            d[1] = uchar(((s[3] / 17) << 4) | (s[0] / 17));
        }
        return true;
    case UV88:
        for (size_t i = 0; i < n; ++i, s += 4, d += 2) {
            d[0] = s[0];
            d[1] = s[1];
        }
        return true;
    case RGBA16161616:
    case RGBA16161616F:
        for (size_t i = 0; i < n; ++i, s += 4, d += 8) {
            for (int c = 0; c < 4; ++c)
                d[2 * c] = d[2 * c + 1] = s[c];
        }
        return true;
    default:
        return false;
    }
}

} // namespace

bool formatToRGBA8888(const QByteArray &source, unsigned int width, unsigned int height,
                      Format_t format, QByteArray &destination, float key, float shift, float gamma,
                      float luminance)
{
    if (source.size() != bytesPerSizeOfFormat(width, height, format))
        return false;
    const qint64 outBytes = qint64(width) * qint64(height) * 4;
    if (format == NONE || width == 0 || height == 0) {
        if (outBytes > MaxBlankBytes)
            return false;
        destination.resize(outBytes);
        return true;
    }
    if (format > UVLX8888 || format == P8 || format < NONE) {
        if (outBytes <= MaxBlankBytes)
            destination.resize(outBytes);
        return false;
    }
    // The sizes above wrap; the buffer must really hold the image.
    if (source.size() != trueBytes(width, height, format))
        return false;

    if (format == RGBA8888 || format == UVWQ8888 || format == UVLX8888) {
        destination = source;
        return true;
    }

    const QByteArray keep = source; // the caller may pass one array as both
    destination.resize(outBytes);
    const uchar *s = reinterpret_cast<const uchar *>(keep.constData());
    uchar *d = reinterpret_cast<uchar *>(destination.data());
    const size_t pixels = size_t(width) * size_t(height);

    if (BlockCoder::isBlockFormat(format)) {
        // DXT1_ONEBITALPHA is read by the DXT5 decoder, which strides 16 bytes
        // a block: it sees the buffer followed by zeros, never memory beyond it.
        BlockCoder::decode(s, size_t(keep.size()), width, height, format, d);
        return true;
    }
    if (format == RGBA16161616F) {
        ToneMap::map(s, pixels, d, key, shift, gamma, luminance);
        return true;
    }
    return decodePixels(s, pixels, format, d);
}

bool formatFromRGBA8888(const QByteArray &source, unsigned int width, unsigned int height,
                        Format_t format, QByteArray &destination)
{
    if (source.size() != qint64(width) * 4 * qint64(height)) {
        if (format == NONE) {
            destination.resize(0);
            return true;
        }
        return false;
    }
    const QByteArray keep = source;
    destination.resize(qMax(0, bytesPerSizeOfFormat(width, height, format)));
    if (width == 0 || height == 0 || format == NONE)
        return true;
    if (format > UVLX8888 || format == P8 || format < NONE)
        return false;

    if (format == RGBA8888 || format == UVWQ8888 || format == UVLX8888) {
        destination = keep;
        return true;
    }

    const uchar *s = reinterpret_cast<const uchar *>(keep.constData());
    uchar *d = reinterpret_cast<uchar *>(destination.data());

    if (BlockCoder::isBlockFormat(format)) {
        // Block coding needs the whole rounded image; a wrapped size cannot hold it.
        if (destination.size() != trueBytes(width, height, format))
            return false;
        if (format == DXT1) {
            // An opaque copy keeps every block out of the transparent three-colour mode.
            QByteArray opaque(keep);
            uchar *p = reinterpret_cast<uchar *>(opaque.data());
            const size_t pixels = size_t(width) * size_t(height);
            for (size_t i = 0; i < pixels; ++i)
                p[i * 4 + 3] = 255;
            BlockCoder::encode(p, width, height, format, d);
        } else {
            BlockCoder::encode(s, width, height, format, d);
        }
        return true;
    }

    const size_t bytesPerPixel = size_t(bitsPerPixelOfFormat(format) / 8);
    const size_t pixels
        = qMin(size_t(destination.size()) / bytesPerPixel, size_t(width) * size_t(height));
    return encodePixels(s, pixels, format, d);
}

} // namespace VTF
