#include "textures/VTFBlockCoder.h"

#include <squish.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

// A squish built with OpenMP runs its own team in every call. Weak, so that
// nothing is required of a squish built without it: the runtime then is not
// loaded and the pointer stays null.
extern "C" void omp_set_num_threads(int) __attribute__((weak));

namespace VTF {
namespace BlockCoder {

bool isBlockFormat(Format_t format)
{
    return format == DXT1 || format == DXT3 || format == DXT5 || format == DXT1_ONEBITALPHA;
}

static int blockBytes(Format_t format)
{
    return (format == DXT1 || format == DXT1_ONEBITALPHA) ? 8 : 16;
}

int encodeFlags(Format_t format)
{
    switch (format) {
    case DXT1:
        return squish::kDxt1 | squish::kColourIterativeClusterFit;
    case DXT3:
        return squish::kDxt3 | squish::kColourIterativeClusterFit | squish::kWeightColourByAlpha;
    case DXT5:
        return squish::kDxt5 | squish::kColourIterativeClusterFit | squish::kWeightColourByAlpha;
    case DXT1_ONEBITALPHA:
        return squish::kDxt1 | squish::kColourIterativeClusterFit | squish::kWeightColourByAlpha;
    default:
        return 0;
    }
}

const float *perceptualMetric()
{
    static const float metric[3] = { 0.2126f, 0.7152f, 0.0722f };
    return metric;
}

void encode(const unsigned char *rgba, unsigned int width, unsigned int height, Format_t format,
            unsigned char *blocks, unsigned int threads)
{
    const int flags = encodeFlags(format);
    float *metric = const_cast<float *>(perceptualMetric());
    const unsigned int blockRows = (height + 3) / 4;
    const size_t rowBlockBytes = size_t((width + 3) / 4) * size_t(blockBytes(format));
    const size_t rowPixelBytes = size_t(width) * 4;

    if (threads == 0)
        threads = std::max(1u, std::thread::hardware_concurrency());
    // Small images are not worth a thread; a band holds at least a few block rows.
    threads = std::min(threads, std::max(1u, blockRows / 2));

    auto codeBand = [&](unsigned int firstRow, unsigned int lastRow) {
        const unsigned int top = firstRow * 4;
        const unsigned int bandHeight = std::min(height, lastRow * 4) - top;
        squish::CompressImage(rgba + size_t(top) * rowPixelBytes, int(width), int(bandHeight),
                              blocks + size_t(firstRow) * rowBlockBytes, flags, metric);
    };

    if (threads <= 1) {
        codeBand(0, blockRows);
        return;
    }

    // Interleaved small bands balance uneven content (flat areas code fast).
    const unsigned int bandRows = std::max(1u, blockRows / (threads * 8));
    std::vector<std::thread> workers;
    workers.reserve(threads);
    for (unsigned int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t]() {
            // The bands already fill the cores: each codes on its thread alone.
            if (omp_set_num_threads)
                omp_set_num_threads(1);
            for (unsigned int first = t * bandRows; first < blockRows; first += threads * bandRows)
                codeBand(first, std::min(blockRows, first + bandRows));
        });
    }
    for (std::thread &worker : workers)
        worker.join();
}

} // namespace BlockCoder
} // namespace VTF
