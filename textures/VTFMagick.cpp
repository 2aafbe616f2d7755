#include "textures/VTFMagick.h"

#include "textures/VTFDraw.h"

#include <QImage>

#include <cmath>
#include <cstring>
#include <vector>

namespace VTF {

using namespace Draw;

namespace {

typedef unsigned char uchar;

const char *const magickFilterNames[29] = {
    "Point",
    "Box",
    "Triangle",
    "Hermite",
    "Hanning",
    "Hamming",
    "Blackman",
    "Gaussian",
    "Quadratic",
    "Cubic",
    "Catrom",
    "Mitchell",
    "Jinc",
    "Sinc",
    "Sinc Fast",
    "Kaiser",
    "Welsh",
    "Parzen",
    "Bohman",
    "Bartlett",
    "Lagrange",
    "Lanczos",
    "Lanczos Sharp",
    "Lanczos 2",
    "Lanczos 2 Sharp",
    "Robidoux",
    "Robidoux Sharp",
    "Cosine",
    "Spline",
};

inline Magick::Quantum quantum(uchar v)
{
    return Magick::Quantum((unsigned(v) << 8) | v);
}
inline uchar highByte(Magick::Quantum q)
{
    return uchar(unsigned(q) >> 8);
}

} // namespace

const char *magickFilterName(MagickCore::FilterTypes filter)
{
    const int index = static_cast<int>(filter);
    return (index >= 1 && index <= 29) ? magickFilterNames[index - 1] : "";
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

} // namespace VTF
