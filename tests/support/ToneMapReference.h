#pragma once

// The tone mapping of RGBA16161616F written straight from its rules: three
// pows in double precision per pixel. The program's mapper must give the same
// bytes; the benchmarks measure it against this.

#include <QtGlobal>

#include <cmath>
#include <cstddef>

namespace tonemapreference {

inline uchar channel(float value, float gamma)
{
    const float v = float(std::pow(double(value), double(gamma)) * 65535.0);
    if (!(v >= 0.0f))
        return 0;
    if (v > 65535.0f)
        return 255;
    return uchar(int(v) >> 8);
}

inline float luminance(const uchar *s, size_t pixels)
{
    auto word = [](const uchar *p) { return unsigned(p[0]) | (unsigned(p[1]) << 8); };
    float luminance = 0.0f;
    for (size_t i = 0; i < pixels; ++i) {
        const uchar *p = s + i * 8;
        const float y
            = 0.299f * float(word(p)) + 0.587f * float(word(p + 2)) + 0.114f * float(word(p + 4));
        luminance += std::log(y + 1e-10);
    }
    return std::exp(luminance / float(pixels));
}

inline void map(const uchar *s, size_t pixels, uchar *d, float key, float shift, float gamma,
                float luminance)
{
    auto word = [](const uchar *p) { return unsigned(p[0]) | (unsigned(p[1]) << 8); };
    if (luminance == 0.0f)
        luminance = tonemapreference::luminance(s, pixels);
    for (size_t i = 0; i < pixels; ++i, s += 8, d += 4) {
        const float r = float(word(s));
        const float g = float(unsigned(s[3]) * 257u);
        const float b = float(word(s + 4));
        const float y = 0.299f * r + 0.587f * g + 0.114f * b;
        const float l = key * y / luminance;
        const float cr = (r - y) * 0.713f;
        const float cb = (b - y) * 0.565f;
        const float scale = l / (1.0f + l) / y;
        d[0] = channel((1.403f * cr + y) * scale + shift, gamma);
        d[1] = channel((y - 0.344f * cb - 0.714f * cr) * scale + shift, gamma);
        d[2] = channel((1.77f * cb + y) * scale + shift, gamma);
        d[3] = s[7];
    }
}

} // namespace tonemapreference
