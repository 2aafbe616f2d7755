#pragma once

// The bridges between RGBA8888 buffers and Magick::Image, for the code that
// resizes or imports images. Kept apart from VTF.h so that the rest of the
// program (the package tools, conversions, the command line) neither
// compiles nor loads Magick++.

#include "textures/VTF.h"

#include <Magick++.h>

class QImage;

namespace VTF {

// The name of a resize filter, 1 to 29; the empty string for any other value.
const char *magickFilterName(MagickCore::FilterTypes filter);

QByteArray toRGBA8888(const Magick::Image &image);

// The returned objects belong to the caller. A buffer too small for the size
// asked gives an image left blank.
Magick::Image *toMagickImage(const QByteArray &rgba, unsigned short width, unsigned short height,
                             DrawFlags_t flags, bool checkerboard);
Magick::Image *toMagickImage(const QImage &image);
QImage *toQImage(const Magick::Image &image);

// Resizes an image made by toMagickImage to exactly width x height, treating
// the four channels as independent planes: Magick's own resize weighs colour
// by opacity, which would wipe the colour of every texel whose alpha byte is
// high. Uses the image's filter type. False if Magick refuses.
bool resizeMagickImage(Magick::Image &image, unsigned short width, unsigned short height);

} // namespace VTF
