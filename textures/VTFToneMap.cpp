#include "textures/VTFToneMap.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

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
// positive float that reaches its byte. Between the first and the last
// threshold, a table by the top bits of the float splits the values into
// ranges narrow enough to hold one threshold at most: each range keeps the
// byte at its start and the threshold within it, so that a value needs one
// look and one comparison. Every answer is the one channel() gives.
class ToneCurve
{
public:
    explicit ToneCurve(float gamma);

    float gamma() const { return curveGamma; }

    uchar byteOf(float value) const
    {
        // One unsigned comparison keeps out values below and above the
        // window, negative ones (their sign bit) and NaN alike.
        const quint32 offset = bitsOf(value) - windowStart;
        if (offset < windowSize && !crowded) {
            const Range_t &range = ranges[offset >> rangeShift];
            return uchar(range.byte + (value >= range.threshold ? 1 : 0));
        }
        return slowByteOf(value);
    }

private:
    static const quint32 maxRanges = 1u << 16;

    struct Range_t
    {
        float threshold; // the one within the range, or infinity
        quint32 byte; // at the range's start
    };

    uchar slowByteOf(float value) const
    {
        if (!tabulated)
            return channel(value, curveGamma);
        if (value > 0.0f && value <= FLT_MAX) {
            const quint32 bits = bitsOf(value);
            if (bits >= windowEnd)
                return topByte;
            if (bits < windowStart)
                return value < thresholds[1] ? 0 : search(value);
            // Thresholds closer than the narrowest range (a very steep curve)
            // can share a range: walk over the rest.
            const Range_t &range = ranges[(bits - windowStart) >> rangeShift];
            unsigned int byte = range.byte + (value >= range.threshold ? 1 : 0);
            while (value >= thresholds[byte + 1])
                ++byte;
            return uchar(byte);
        }
        // pow of a negative base and a fractional exponent is not a number.
        if (value < 0.0f && value >= -FLT_MAX && !integralGamma)
            return 0;
        return channel(value, curveGamma);
    }

    uchar search(float value) const
    {
        return uchar(std::upper_bound(thresholds + 1, thresholds + 256, value) - (thresholds + 1));
    }

    float curveGamma;
    bool tabulated = false;
    bool integralGamma = false;
    bool crowded = false;
    // thresholds[k] for the bytes 1 to 255 (infinite for a byte never
    // reached); [0] is 0 and [256] infinite, so that a walk needs no bounds.
    float thresholds[257];
    // The ranges cover the floats with bits in [windowStart, windowEnd);
    // from windowEnd on, every value has the byte topByte.
    quint32 windowStart = 0, windowEnd = 0, windowSize = 0;
    int rangeShift = 0;
    uchar topByte = 0;
    std::vector<Range_t> ranges;
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
        topByte = uchar(byte);
    }
    if (topByte == 0)
        return; // every positive value gives 0: the window stays empty

    // The narrowest gap between thresholds, in floats, sets the range width.
    quint32 gap = largest;
    for (unsigned int byte = 1; byte < topByte; ++byte)
        gap = std::min(gap, bitsOf(thresholds[byte + 1]) - bitsOf(thresholds[byte]));
    while (rangeShift < 23 && (2u << rangeShift) <= gap)
        ++rangeShift;
    crowded = (1u << rangeShift) > gap;

    // From the last threshold on, the byte no longer changes.
    windowEnd = bitsOf(thresholds[topByte]);
    windowStart = bitsOf(thresholds[1]);
    if (((windowEnd - windowStart) >> rangeShift) >= maxRanges) // a very flat curve:
        windowStart = windowEnd - (maxRanges << rangeShift) + 1; // the lowest values are searched
    windowSize = windowEnd - windowStart;
    ranges.resize(((windowEnd - 1 - windowStart) >> rangeShift) + 1);
    unsigned int byte = 0;
    for (size_t r = 0; r < ranges.size(); ++r) {
        const quint32 start = windowStart + (quint32(r) << rangeShift);
        while (floatOf(start) >= thresholds[byte + 1])
            ++byte;
        ranges[r].byte = byte;
        const quint32 next = bitsOf(thresholds[byte + 1]);
        ranges[r].threshold
            = next - start < (1u << rangeShift) ? thresholds[byte + 1] : float(INFINITY);
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

// The batches below are plain loops that the compiler turns into vector
// code, for the widest vectors the processor has: each lane does exactly the
// scalar operations (no fused multiply-adds: this file is built with
// -ffp-contract=off).
__attribute__((target_clones("avx2", "default"))) void lumaBatch(const uchar *in, size_t count,
                                                                 float *y)
{
    for (size_t i = 0; i < count; ++i) {
        const uchar *p = in + i * 8;
        y[i] = 0.299f * float(word(p)) + 0.587f * float(word(p + 2)) + 0.114f * float(word(p + 4));
    }
}

__attribute__((target_clones("avx2", "default"))) void mappedBatch(const uchar *in, size_t count,
                                                                   float key, float shift,
                                                                   float luminance, float *red,
                                                                   float *green, float *blue)
{
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
}

// luminance += log(Y + 1e-10) per pixel, the sum rounded to single
// precision after each addition, as the plain loop of the rules adds. The
// values of Y come first, a batch at a time, in vector code; then the logs
// and the additions, whose order is kept.
float sumOfLogs(const uchar *s, size_t pixels)
{
    const size_t batch = 256;
    float y[batch];
    float sum = 0.0f;
    for (size_t first = 0; first < pixels; first += batch) {
        const size_t count = pixels - first < batch ? pixels - first : batch;
        lumaBatch(s + first * 8, count, y);
        for (size_t i = 0; i < count; ++i)
            sum += std::log(y[i] + 1e-10);
    }
    return sum;
}

} // namespace

float logAverageLuminance(const uchar *source, size_t pixels)
{
    return std::exp(sumOfLogs(source, pixels) / float(pixels));
}

uchar tabulatedChannel(float value, float gamma)
{
    return curveFor(gamma).byteOf(value);
}

void map(const uchar *s, size_t pixels, uchar *d, float key, float shift, float gamma,
         float luminance)
{
    if (luminance == 0.0f)
        luminance = logAverageLuminance(s, pixels);
    const ToneCurve &curve = curveFor(gamma);

    // The arithmetic runs over a batch of pixels, then the bytes come from
    // the curve.
    const size_t batch = 256;
    float red[batch], green[batch], blue[batch];
    for (size_t first = 0; first < pixels; first += batch) {
        const size_t count = pixels - first < batch ? pixels - first : batch;
        const uchar *in = s + first * 8;
        mappedBatch(in, count, key, shift, luminance, red, green, blue);
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
