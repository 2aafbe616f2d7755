#include "textures/VTF.h"
#include "textures/VTFDraw.h"

#include <QImage>

#include <cmath>
#include <cstring>
#include <vector>

namespace VTF {

using namespace Draw;

typedef unsigned char uchar;

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
