#pragma once

// Tone mapping of RGBA16161616F into RGBA8888.

#include <QtGlobal>

#include <cstddef>

namespace VTF {
namespace ToneMap {

// Maps `pixels` pixels of four little-endian 16-bit words each. A luminance
// of 0 asks for it to be computed from the pixels first.
void map(const uchar *source, size_t pixels, uchar *destination, float key, float shift,
         float gamma, float luminance);

// The luminance that map() computes when given 0: exp of the mean of
// log(Y + 1e-10), the sum taken in single precision in pixel order.
float logAverageLuminance(const uchar *source, size_t pixels);

// One output channel from its mapped value: pow(value, gamma) x 65535 in
// double precision, rounded to single, clamped, and its high byte. The
// reference for the tables that map() uses instead.
uchar channel(float value, float gamma);
// The same through the tables of one gamma, as map() takes it.
uchar tabulatedChannel(float value, float gamma);

} // namespace ToneMap
} // namespace VTF
