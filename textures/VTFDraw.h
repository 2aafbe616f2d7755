#pragma once

// How the QImage and Magick bridges draw one texel: the channel view that
// the draw flags select, and the checkerboard under transparent texels.

#include "textures/VTF.h"

namespace VTF {
namespace Draw {

inline int checkerGrey(unsigned int x, unsigned int y)
{
    return (((x & 15) < 8) == ((y & 15) > 7)) ? 102 : 153;
}

inline int blend(int channel, float a, int grey)
{
    return int(float(channel) * a + float(grey) * (1.0f - a));
}

enum Selector { SelectNone, SelectRGB, SelectRed, SelectGreen, SelectBlue, SelectAlpha };

inline Selector selectorOf(DrawFlags_t flags)
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

} // namespace Draw
} // namespace VTF
