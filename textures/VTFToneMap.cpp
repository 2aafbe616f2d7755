#include "textures/VTFToneMap.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <memory>

namespace VTF {
namespace ToneMap {

uchar channel(float value, float gamma)
{
    const float v = float(std::pow(double(value), double(gamma)) * 65535.0);
    if (!(v >= 0.0f)) // below zero, and NaN from a black pixel
        return 0;
    if (v > 65535.0f)
        return 255;
    return uchar(int(v) >> 8);
}

namespace {

quint32 bitsOf(float value)
{
    quint32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float floatOf(quint32 bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// channel() for one gamma without a pow per value. For a positive finite
// gamma the channel grows with its (positive) value, so the byte of a value
// is the number of thresholds at or below it, a threshold being the least
// positive float that reaches its byte. A table by the top bits of the float
// gives the byte at the start of each range, and a step or two over the
// thresholds finishes; every answer is the one channel() gives.
class ToneCurve
{
public:
    explicit ToneCurve(float gamma);

    float gamma() const { return curveGamma; }

    uchar byteOf(float value) const
    {
        if (!tabulated)
            return channel(value, curveGamma);
        if (value > 0.0f && value <= FLT_MAX) {
            // A range holds about one step: take it without a branch, and
            // walk on (rarely) when there are more.
            unsigned int byte = rangeStart[bitsOf(value) >> rangeShift];
            byte += value >= thresholds[byte + 1] ? 1 : 0;
            while (value >= thresholds[byte + 1])
                ++byte;
            return uchar(byte);
        }
        // pow of a negative base and a fractional exponent is not a number.
        if (value < 0.0f && value >= -FLT_MAX && !integralGamma)
            return 0;
        return channel(value, curveGamma);
    }

private:
    static const int rangeShift = 13;

    float curveGamma;
    bool tabulated = false;
    bool integralGamma = false;
    // thresholds[k] for the bytes 1 to 255; [0] is 0 and [256] infinite, so
    // that the walk above needs no bounds.
    float thresholds[257];
    uchar rangeStart[1u << (31 - rangeShift)];
};

ToneCurve::ToneCurve(float gamma)
    : curveGamma(gamma)
{
    integralGamma = std::floor(gamma) == gamma;
    tabulated = gamma > 0.0f && gamma <= FLT_MAX;
    if (!tabulated)
        return;
    const quint32 largest = bitsOf(FLT_MAX);
    thresholds[0] = 0.0f;
    thresholds[256] = INFINITY;
    quint32 low = 1;
    for (unsigned int byte = 1; byte < 256; ++byte) {
        // The least positive float whose byte reaches this one, searched by
        // bit pattern (positive floats order as their bits do).
        if (channel(floatOf(largest), gamma) < byte) {
            thresholds[byte] = INFINITY;
            continue;
        }
        quint32 high = largest;
        while (low < high) {
            const quint32 middle = low + (high - low) / 2;
            if (channel(floatOf(middle), gamma) >= byte)
                high = middle;
            else
                low = middle + 1;
        }
        thresholds[byte] = floatOf(low);
    }
    unsigned int byte = 0;
    for (quint32 range = 0; range < (1u << (31 - rangeShift)); ++range) {
        const float start = floatOf(qMax<quint32>(1, range << rangeShift));
        while (start >= thresholds[byte + 1])
            ++byte;
        rangeStart[range] = uchar(byte);
    }
}

// The curve of the last gamma used on this thread: sliders change it rarely,
// images are converted with it often.
const ToneCurve &curveFor(float gamma)
{
    thread_local std::unique_ptr<ToneCurve> curve;
    if (!curve || bitsOf(curve->gamma()) != bitsOf(gamma))
        curve = std::make_unique<ToneCurve>(gamma);
    return *curve;
}

inline unsigned int word(const uchar *p)
{
    return unsigned(p[0]) | (unsigned(p[1]) << 8);
}

} // namespace

uchar tabulatedChannel(float value, float gamma)
{
    return curveFor(gamma).byteOf(value);
}

void map(const uchar *s, size_t pixels, uchar *d, float key, float shift, float gamma,
         float luminance)
{
    if (luminance == 0.0f) {
        for (size_t i = 0; i < pixels; ++i) {
            const uchar *p = s + i * 8;
            const float y = 0.299f * float(word(p)) + 0.587f * float(word(p + 2))
                + 0.114f * float(word(p + 4));
            luminance += std::log(y + 1e-10);
        }
        luminance = std::exp(luminance / float(pixels));
    }
    const ToneCurve &curve = curveFor(gamma);

    // The arithmetic runs over a batch of pixels in plain loops that the
    // compiler turns into vector code (each lane does exactly the scalar
    // operations), then the bytes come from the curve.
    const size_t batch = 64;
    float red[batch], green[batch], blue[batch];
    for (size_t first = 0; first < pixels; first += batch) {
        const size_t count = pixels - first < batch ? pixels - first : batch;
        const uchar *in = s + first * 8;
        for (size_t i = 0; i < count; ++i) {
            const uchar *p = in + i * 8;
            const float r = float(word(p));
            const float g = float(unsigned(p[3]) * 257u); // the high byte alone, by design
            const float b = float(word(p + 4));
            const float y = 0.299f * r + 0.587f * g + 0.114f * b;
            const float l = key * y / luminance;
            const float cr = (r - y) * 0.713f;
            const float cb = (b - y) * 0.565f;
            const float scale = l / (1.0f + l) / y;
            red[i] = (1.403f * cr + y) * scale + shift;
            green[i] = (y - 0.344f * cb - 0.714f * cr) * scale + shift;
            blue[i] = (1.77f * cb + y) * scale + shift;
        }
        uchar *out = d + first * 4;
        for (size_t i = 0; i < count; ++i) {
            out[i * 4] = curve.byteOf(red[i]);
            out[i * 4 + 1] = curve.byteOf(green[i]);
            out[i * 4 + 2] = curve.byteOf(blue[i]);
            out[i * 4 + 3] = in[i * 8 + 7];
        }
    }
}

} // namespace ToneMap
} // namespace VTF
