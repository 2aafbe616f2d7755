#include "textures/VTFBlockCoder.h"

#include "textures/VTFBlockEncoder.h"

#include <squish.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

namespace VTF {
namespace BlockCoder {

bool isBlockFormat(Format_t format)
{
    return format == DXT1 || format == DXT3 || format == DXT5 || format == DXT1_ONEBITALPHA;
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
    const unsigned int blockRows = (height + 3) / 4;
    if (threads == 0)
        threads = std::max(1u, std::thread::hardware_concurrency());
    // Small images are not worth a thread; a band holds at least a few block rows.
    threads = std::min(threads, std::max(1u, blockRows / 2));
    if (threads <= 1) {
        BlockEncoder::encodeRows(rgba, width, height, format, 0, blockRows, blocks);
        return;
    }

    // Interleaved small bands balance uneven content (flat areas code fast).
    const unsigned int bandRows = std::max(1u, blockRows / (threads * 8));
    std::vector<std::thread> workers;
    workers.reserve(threads);
    for (unsigned int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t]() {
            for (unsigned int first = t * bandRows; first < blockRows; first += threads * bandRows)
                BlockEncoder::encodeRows(rgba, width, height, format, first,
                                         std::min(blockRows, first + bandRows), blocks);
        });
    }
    for (std::thread &worker : workers)
        worker.join();
}

} // namespace BlockCoder
} // namespace VTF
