#include "textures/VTF.h"

#include <QImage>

#include <cmath>
#include <cstring>
#include <vector>

namespace VTF {
namespace {

typedef unsigned char uchar;

inline Magick::Quantum quantum(uchar v)
{
    return Magick::Quantum((unsigned(v) << 8) | v);
}
inline uchar highByte(Magick::Quantum q)
{
    return uchar(unsigned(q) >> 8);
}

inline int checkerGrey(unsigned int x, unsigned int y)
{
    return (((x & 15) < 8) == ((y & 15) > 7)) ? 102 : 153;
}

inline int blend(int channel, float a, int grey)
{
    return int(float(channel) * a + float(grey) * (1.0f - a));
}

enum Selector { SelectNone, SelectRGB, SelectRed, SelectGreen, SelectBlue, SelectAlpha };

Selector selectorOf(DrawFlags_t flags)
{
    switch (flags & 31u) {
    case DrawRGB:
        return SelectRGB;
    case DrawRed:
        return SelectRed;
    case DrawGreen:
        return SelectGreen;
    case DrawBlue:
        return SelectBlue;
    case DrawAlpha:
        return SelectAlpha;
    default:
        return SelectNone;
    }
}

// One output pixel (r, g, b, a) from the source texel s at (x, y).
inline void drawPixel(Selector selector, bool mask, bool checkerboard, const uchar *s,
                      unsigned int x, unsigned int y, int out[4])
{
    switch (selector) {
    case SelectRGB:
        if (mask && checkerboard) {
            const float a = float(s[3] / 255.0);
            const int grey = checkerGrey(x, y);
            out[0] = blend(s[0], a, grey);
            out[1] = blend(s[1], a, grey);
            out[2] = blend(s[2], a, grey);
            out[3] = 255;
        } else {
            out[0] = s[0];
            out[1] = s[1];
            out[2] = s[2];
            out[3] = mask ? s[3] : 255;
        }
        break;
    default: {
        const int channel = selector == SelectRed ? 0
            : selector == SelectGreen             ? 1
            : selector == SelectBlue              ? 2
                                                  : 3;
        out[0] = out[1] = out[2] = s[channel];
        out[3] = 255;
        break;
    }
    }
}

} // namespace

QImage *toQImage(const QByteArray &rgba, unsigned short width, unsigned short height,
                 DrawFlags_t flags, bool checkerboard)
{
    QImage *image = new QImage(width, height, QImage::Format_ARGB32);
    if (image->isNull())
        return image;
    image->fill(0);
    const Selector selector = selectorOf(flags);
    if (selector == SelectNone || rgba.size() < qint64(width) * height * 4)
        return image;
    const bool mask = flags & DrawMask;
    const uchar *s = reinterpret_cast<const uchar *>(rgba.constData());
    for (unsigned int y = 0; y < height; ++y) {
        QRgb *line = reinterpret_cast<QRgb *>(image->scanLine(int(y)));
        for (unsigned int x = 0; x < width; ++x, s += 4) {
            int out[4];
            drawPixel(selector, mask, checkerboard, s, x, y, out);
            line[x] = qRgba(out[0], out[1], out[2], out[3]);
        }
    }
    return image;
}

Magick::Image *toMagickImage(const QByteArray &rgba, unsigned short width, unsigned short height,
                             DrawFlags_t flags, bool checkerboard)
{
    Magick::Image *image = nullptr;
    try {
        image = new Magick::Image(Magick::Geometry(width, height), Magick::Color(0, 0, 0, 0));
        // Set before the pixels go in: toggling it later resets the opacity field.
        image->matte(true);
        const Selector selector = selectorOf(flags);
        const bool mask = flags & DrawMask;
        // Colour without the mask steps five bytes a texel; only 33 is used in practice.
        const size_t step = (selector == SelectRGB && !mask) ? 5 : 4;
        if (selector == SelectNone || width == 0 || height == 0
            || rgba.size() < qint64((size_t(width) * height - 1) * step + 4))
            return image;
        image->modifyImage();
        Magick::PixelPacket *q = image->getPixels(0, 0, width, height);
        const uchar *s = reinterpret_cast<const uchar *>(rgba.constData());
        for (unsigned int y = 0; y < height; ++y) {
            for (unsigned int x = 0; x < width; ++x, s += step, ++q) {
                int out[4];
                drawPixel(selector, mask, checkerboard, s, x, y, out);
                q->red = quantum(uchar(out[0]));
                q->green = quantum(uchar(out[1]));
                q->blue = quantum(uchar(out[2]));
                // The alpha byte rides in the opacity field unchanged.
                q->opacity = (selector == SelectRGB && mask && !checkerboard)
                    ? quantum(uchar(out[3]))
                    : Magick::Quantum(65535);
            }
        }
        image->syncPixels();
    } catch (...) { }
    return image;
}

Magick::Image *toMagickImage(const QImage &source)
{
    Magick::Image *image = nullptr;
    try {
        const int width = source.width(), height = source.height();
        image = new Magick::Image(Magick::Geometry(width, height), Magick::Color(0, 0, 0, 0));
        image->matte(true);
        if (width == 0 || height == 0)
            return image;
        const QImage argb = source.format() == QImage::Format_ARGB32_Premultiplied
            ? source
            : source.convertToFormat(QImage::Format_ARGB32);
        image->modifyImage();
        Magick::PixelPacket *q = image->getPixels(0, 0, width, height);
        for (int y = 0; y < height; ++y) {
            const QRgb *line = reinterpret_cast<const QRgb *>(argb.constScanLine(y));
            for (int x = 0; x < width; ++x, ++q) {
                q->red = quantum(uchar(qRed(line[x])));
                q->green = quantum(uchar(qGreen(line[x])));
                q->blue = quantum(uchar(qBlue(line[x])));
                q->opacity = quantum(uchar(qAlpha(line[x])));
            }
        }
        image->syncPixels();
    } catch (...) { }
    return image;
}

QImage *toQImage(const Magick::Image &source)
{
    QImage *image = nullptr;
    try {
        const int width = int(source.columns()), height = int(source.rows());
        image = new QImage(width, height, QImage::Format_ARGB32);
        if (image->isNull() || width == 0 || height == 0)
            return image;
        const Magick::PixelPacket *p = source.getConstPixels(0, 0, width, height);
        for (int y = 0; y < height; ++y) {
            QRgb *line = reinterpret_cast<QRgb *>(image->scanLine(y));
            for (int x = 0; x < width; ++x, ++p)
                line[x] = qRgba(highByte(p->red), highByte(p->green), highByte(p->blue),
                                highByte(p->opacity));
        }
    } catch (...) { }
    return image;
}

QByteArray toRGBA8888(const Magick::Image &image)
{
    QByteArray rgba;
    try {
        const size_t width = image.columns(), height = image.rows();
        if (width == 0 || height == 0)
            return rgba;
        const Magick::PixelPacket *p = image.getConstPixels(0, 0, width, height);
        rgba.resize(qint64(width * height * 4));
        uchar *d = reinterpret_cast<uchar *>(rgba.data());
        for (size_t i = 0; i < width * height; ++i, ++p, d += 4) {
            d[0] = highByte(p->red);
            d[1] = highByte(p->green);
            d[2] = highByte(p->blue);
            d[3] = highByte(p->opacity);
        }
    } catch (...) {
        rgba.clear();
    }
    return rgba;
}

QByteArray toRGBA8888(const QImage &image)
{
    QByteArray rgba;
    const int width = image.width(), height = image.height();
    if (width == 0 || height == 0)
        return rgba;
    // QImage::pixel hands premultiplied values out as they are and converts the rest.
    QImage argb = image;
    if (argb.format() != QImage::Format_ARGB32 && argb.format() != QImage::Format_RGB32
        && argb.format() != QImage::Format_ARGB32_Premultiplied)
        argb = argb.convertToFormat(QImage::Format_ARGB32);
    const bool opaque = argb.format() == QImage::Format_RGB32;
    rgba.resize(qint64(width) * height * 4);
    uchar *d = reinterpret_cast<uchar *>(rgba.data());
    for (int y = 0; y < height; ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(argb.constScanLine(y));
        for (int x = 0; x < width; ++x, d += 4) {
            d[0] = uchar(qRed(line[x]));
            d[1] = uchar(qGreen(line[x]));
            d[2] = uchar(qBlue(line[x]));
            d[3] = opaque ? 255 : uchar(qAlpha(line[x]));
        }
    }
    return rgba;
}

bool resizeMagickImage(Magick::Image &image, unsigned short width, unsigned short height)
{
    try {
        const size_t columns = image.columns(), rows = image.rows();
        if (columns == width && rows == height)
            return true;
        if (width == 0 || height == 0 || columns == 0 || rows == 0)
            return false;
        Magick::Geometry size(width, height);
        size.aspect(true);

        // The opacity plane goes through its own grey image, so that colour and
        // alpha are filtered alike and independently.
        Magick::Image alpha(Magick::Geometry(columns, rows), Magick::Color(0, 0, 0));
        alpha.modifyImage();
        {
            const Magick::PixelPacket *p = image.getConstPixels(0, 0, columns, rows);
            Magick::PixelPacket *q = alpha.getPixels(0, 0, columns, rows);
            for (size_t i = 0; i < columns * rows; ++i, ++p, ++q) {
                q->red = q->green = q->blue = p->opacity;
                q->opacity = 0;
            }
            alpha.syncPixels();
        }
        alpha.filterType(image.filterType());

        image.matte(false);
        image.resize(size);
        alpha.resize(size);
        image.matte(true);

        image.modifyImage();
        const Magick::PixelPacket *p = alpha.getConstPixels(0, 0, width, height);
        Magick::PixelPacket *q = image.getPixels(0, 0, width, height);
        for (size_t i = 0; i < size_t(width) * height; ++i, ++p, ++q)
            q->opacity = p->red;
        image.syncPixels();
        return image.columns() == width && image.rows() == height;
    } catch (...) {
        return false;
    }
}

void computeReflectivity(const unsigned char *rgba, unsigned int width, unsigned int height,
                         float &red, float &green, float &blue)
{
    static float linear[256];
    static bool built = false;
    if (!built) {
        for (int i = 0; i < 256; ++i)
            linear[i] = float(std::pow(double(i) / 255.0, double(2.2f)));
        built = true;
    }
    red = green = blue = 0.0f;
    const float invWidth = 1.0f / float(width);
    for (unsigned int y = 0; y < height; ++y) {
        float r = 0.0f, g = 0.0f, b = 0.0f;
        const uchar *s = rgba + size_t(y) * width * 4;
        for (unsigned int x = 0; x < width; ++x, s += 4) {
            r += linear[s[0]];
            g += linear[s[1]];
            b += linear[s[2]];
        }
        red += r * invWidth;
        green += g * invWidth;
        blue += b * invWidth;
    }
    const float invHeight = 1.0f / float(height);
    red *= invHeight;
    green *= invHeight;
    blue *= invHeight;
}

void correctImageGamma(unsigned char *rgba, unsigned int width, unsigned int height, float gamma)
{
    if (gamma == 1.0f)
        return;
    static uchar table[256];
    static float lastG = -1.0f;
    const float g = 1.0f / gamma;
    if (g != lastG) {
        for (int i = 0; i < 256; ++i) {
            const float v = std::pow(float(i) / 255.0f, g) * 255.0f;
            table[i] = (v >= 0.0f && v <= 255.0f) ? uchar(v) : (v > 255.0f ? 255 : 0);
        }
        lastG = g;
    }
    if (!rgba)
        return;
    const size_t pixels = size_t(width) * height;
    for (size_t i = 0; i < pixels; ++i, rgba += 4) {
        rgba[0] = table[rgba[0]];
        rgba[1] = table[rgba[1]];
        rgba[2] = table[rgba[2]];
    }
}

void flipImage(unsigned char *rgba, unsigned int width, unsigned int height)
{
    if (!rgba || width < 2 || height < 2)
        return;
    const size_t stride = size_t(width) * 4;
    std::vector<uchar> temp(stride);
    for (unsigned int y = 0; y < height / 2; ++y) {
        uchar *top = rgba + y * stride;
        uchar *bottom = rgba + (height - 1 - y) * stride;
        std::memcpy(temp.data(), top, stride);
        std::memcpy(top, bottom, stride);
        std::memcpy(bottom, temp.data(), stride);
    }
}

void mirrorImage(unsigned char *rgba, unsigned int width, unsigned int height)
{
    if (!rgba || width < 2 || height < 2)
        return;
    for (unsigned int y = 0; y < height; ++y) {
        uchar *line = rgba + size_t(y) * width * 4;
        for (unsigned int x = 0; x < width / 2; ++x) {
            uchar texel[4];
            uchar *left = line + size_t(x) * 4;
            uchar *right = line + size_t(width - 1 - x) * 4;
            std::memcpy(texel, left, 4);
            std::memcpy(left, right, 4);
            std::memcpy(right, texel, 4);
        }
    }
}

} // namespace VTF
