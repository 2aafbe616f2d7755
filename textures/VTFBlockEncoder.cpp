// Built with -ffp-contract=off, like VTFClusterFit.cpp: the scalar steps
// below are squish's, operation for operation, and must round as its do.
//
// A block goes through squish's steps: the set of distinct colours and their
// weights, the principal axis of their weighted covariance, then the
// iterative cluster fit. The fit is what costs; blocks with the same number
// of colours run it together, one to a vector lane, and a lane whose block
// is done takes the next. Blocks of one colour, and DXT1 blocks with no
// opaque pixel, go to squish whole, as does DXT5 alpha (through its BC4
// coder, which is that same alpha coder).

#include "textures/VTFBlockEncoder.h"

#include "textures/VTFBlockCoder.h"
#include "textures/VTFClusterFit.h"

#include <squish.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>

namespace VTF {
namespace BlockEncoder {

namespace {

using ClusterFit::Batch;
using ClusterFit::Lanes;

constexpr int MaxIterations = 8;

// squish's ColourSet.
struct ColourSet_t
{
    int count = 0;
    bool transparent = false;
    float points[16][3];
    float weights[16];
    int remap[16];
};

void makeColourSet(const uchar *rgba, int mask, bool isDxt1, bool weightByAlpha, ColourSet_t &set)
{
    set.count = 0;
    set.transparent = false;
    for (int i = 0; i < 16; ++i) {
        if ((mask & (1 << i)) == 0) {
            set.remap[i] = -1;
            continue;
        }
        if (isDxt1 && rgba[4 * i + 3] < 128) {
            set.remap[i] = -1;
            set.transparent = true;
            continue;
        }
        for (int j = 0;; ++j) {
            if (j == i) {
                const float x = float(rgba[4 * i]) / 255.0f;
                const float y = float(rgba[4 * i + 1]) / 255.0f;
                const float z = float(rgba[4 * i + 2]) / 255.0f;
                const float w = float(rgba[4 * i + 3] + 1) / 256.0f;
                set.points[set.count][0] = x;
                set.points[set.count][1] = y;
                set.points[set.count][2] = z;
                set.weights[set.count] = weightByAlpha ? w : 1.0f;
                set.remap[i] = set.count;
                ++set.count;
                break;
            }
            const bool match = (mask & (1 << j)) != 0 && rgba[4 * i] == rgba[4 * j]
                && rgba[4 * i + 1] == rgba[4 * j + 1] && rgba[4 * i + 2] == rgba[4 * j + 2]
                && (rgba[4 * j + 3] >= 128 || !isDxt1);
            if (match) {
                const int index = set.remap[j];
                const float w = float(rgba[4 * i + 3] + 1) / 256.0f;
                set.weights[index] += weightByAlpha ? w : 1.0f;
                set.remap[i] = index;
                break;
            }
        }
    }
    for (int i = 0; i < set.count; ++i)
        set.weights[i] = std::sqrt(set.weights[i]);
}

// squish's ComputeWeightedCovariance, then its ComputePrincipleComponent
// (eight steps of the power method).
void principalAxis(const ColourSet_t &set, float axis[3])
{
    float total = 0.0f;
    float centroid[3] = { 0.0f, 0.0f, 0.0f };
    for (int i = 0; i < set.count; ++i) {
        total += set.weights[i];
        for (int c = 0; c < 3; ++c)
            centroid[c] += set.points[i][c] * set.weights[i];
    }
    if (total > FLT_EPSILON) {
        const float t = 1.0f / total;
        for (float &c : centroid)
            c *= t;
    }
    float m[6] = { 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f };
    for (int i = 0; i < set.count; ++i) {
        float a[3], b[3];
        for (int c = 0; c < 3; ++c) {
            a[c] = set.points[i][c] - centroid[c];
            b[c] = a[c] * set.weights[i];
        }
        m[0] += a[0] * b[0];
        m[1] += a[0] * b[1];
        m[2] += a[0] * b[2];
        m[3] += a[1] * b[1];
        m[4] += a[1] * b[2];
        m[5] += a[2] * b[2];
    }

    const float rows[3][3] = { { m[0], m[1], m[2] }, { m[1], m[3], m[4] }, { m[2], m[4], m[5] } };
    float v[3] = { 1.0f, 1.0f, 1.0f };
    for (int step = 0; step < 8; ++step) {
        float w[3];
        for (int c = 0; c < 3; ++c) {
            w[c] = rows[0][c] * v[0];
            w[c] = rows[1][c] * v[1] + w[c];
            w[c] = rows[2][c] * v[2] + w[c];
        }
        const float largest = std::max(w[0], std::max(w[1], w[2]));
        const float reciprocal = 1.0f / largest;
        for (int c = 0; c < 3; ++c)
            v[c] = w[c] * reciprocal;
    }
    std::copy(v, v + 3, axis);
}

// A block on its way through the coder.
struct Block_t
{
    uchar pixels[64];
    int mask = 0;
    uchar *out = nullptr; // the block's bytes in the output
    ColourSet_t set;
    float axis[3];
    float bestError = FLT_MAX; // squish's m_besterror, kept from the three- to the four-colour fit
};

// A fit in a lane: squish's ClusterFit state besides what the lane holds.
struct Fit_t
{
    int block = -1;
    int iteration = 0;
    int bestIteration = 0;
    uchar order[MaxIterations][16];
};

// squish's ClusterFit::ConstructOrdering. False when the ordering repeats
// an earlier one; otherwise lane `lane` gets the points in this order,
// weighted, and their sum.
bool constructOrdering(const ColourSet_t &set, const float axis[3], Fit_t &fit, Batch &batch,
                       int lane)
{
    const int count = set.count;
    float dps[16];
    uchar *order = fit.order[fit.iteration];
    for (int i = 0; i < count; ++i) {
        dps[i]
            = set.points[i][0] * axis[0] + set.points[i][1] * axis[1] + set.points[i][2] * axis[2];
        order[i] = uchar(i);
    }
    for (int i = 0; i < count; ++i) {
        for (int j = i; j > 0 && dps[j] < dps[j - 1]; --j) {
            std::swap(dps[j], dps[j - 1]);
            std::swap(order[j], order[j - 1]);
        }
    }
    for (int it = 0; it < fit.iteration; ++it) {
        if (std::equal(order, order + count, fit.order[it]))
            return false;
    }
    float sum[4] = { 0.0f, 0.0f, 0.0f, 0.0f };
    for (int i = 0; i < count; ++i) {
        const int j = order[i];
        const float weight = set.weights[j];
        const float point[4] = { set.points[j][0] * weight, set.points[j][1] * weight,
                                 set.points[j][2] * weight, 1.0f * weight };
        batch.x[i].v[lane] = point[0];
        batch.y[i].v[lane] = point[1];
        batch.z[i].v[lane] = point[2];
        batch.w[i].v[lane] = point[3];
        for (int c = 0; c < 4; ++c)
            sum[c] += point[c];
    }
    batch.sumX.v[lane] = sum[0];
    batch.sumY.v[lane] = sum[1];
    batch.sumZ.v[lane] = sum[2];
    batch.sumW.v[lane] = sum[3];
    return true;
}

// squish's FloatToInt and FloatTo565.
int floatToInt(float a, int limit)
{
    int i = int(a + 0.5f);
    if (i < 0)
        i = 0;
    else if (i > limit)
        i = limit;
    return i;
}

int floatTo565(const float colour[3])
{
    const int r = floatToInt(31.0f * colour[0], 31);
    const int g = floatToInt(63.0f * colour[1], 63);
    const int b = floatToInt(31.0f * colour[2], 31);
    return (r << 11) | (g << 5) | b;
}

void writeColourBlock(int a, int b, const uchar *indices, uchar *bytes)
{
    bytes[0] = uchar(a & 0xFF);
    bytes[1] = uchar(a >> 8);
    bytes[2] = uchar(b & 0xFF);
    bytes[3] = uchar(b >> 8);
    for (int i = 0; i < 4; ++i) {
        const uchar *ind = indices + 4 * i;
        bytes[4 + i] = uchar(ind[0] | (ind[1] << 2) | (ind[2] << 4) | (ind[3] << 6));
    }
}

// squish's WriteColourBlock3 and WriteColourBlock4.
void writeColourBlock3(const float start[3], const float end[3], const uchar *indices, uchar *out)
{
    int a = floatTo565(start), b = floatTo565(end);
    uchar remapped[16];
    if (a <= b) {
        std::copy(indices, indices + 16, remapped);
    } else {
        std::swap(a, b);
        for (int i = 0; i < 16; ++i)
            remapped[i] = indices[i] == 0 ? 1 : indices[i] == 1 ? 0 : indices[i];
    }
    writeColourBlock(a, b, remapped, out);
}

void writeColourBlock4(const float start[3], const float end[3], const uchar *indices, uchar *out)
{
    int a = floatTo565(start), b = floatTo565(end);
    uchar remapped[16];
    if (a < b) {
        std::swap(a, b);
        for (int i = 0; i < 16; ++i)
            remapped[i] = uchar((indices[i] ^ 0x1) & 0x3);
    } else if (a == b) {
        std::fill(remapped, remapped + 16, uchar(0));
    } else {
        std::copy(indices, indices + 16, remapped);
    }
    writeColourBlock(a, b, remapped, out);
}

// squish's CompressAlphaDxt3.
void compressAlphaDxt3(const uchar *rgba, int mask, uchar *bytes)
{
    for (int i = 0; i < 8; ++i) {
        const float alpha1 = float(rgba[8 * i + 3]) * (15.0f / 255.0f);
        const float alpha2 = float(rgba[8 * i + 7]) * (15.0f / 255.0f);
        int quant1 = floatToInt(alpha1, 15);
        int quant2 = floatToInt(alpha2, 15);
        if ((mask & (1 << (2 * i))) == 0)
            quant1 = 0;
        if ((mask & (1 << (2 * i + 1))) == 0)
            quant2 = 0;
        bytes[i] = uchar(quant1 | (quant2 << 4));
    }
}

// Runs one kind of fit over blocks, blocks of one colour count together.
class FitRunner
{
public:
    // `colourOffset`: where the colour half lies in a block (after the alpha
    // half of DXT3 and DXT5).
    FitRunner(std::vector<Block_t> &blocks, bool threeColours, int colourOffset)
        : blocks(blocks)
        , threeColours(threeColours)
        , colourOffset(colourOffset)
    { }

    void run(const std::vector<int> &ids)
    {
        std::vector<int> byCount[17];
        for (int id : ids)
            byCount[blocks[size_t(id)].set.count].push_back(id);
        for (int count = 2; count <= 16; ++count) {
            if (!byCount[count].empty())
                runCount(count, byCount[count]);
        }
    }

private:
    void runCount(int count, const std::vector<int> &ids)
    {
        batch.count = count;
        size_t next = 0;
        int busy = 0;
        for (int lane = 0; lane < Lanes; ++lane) {
            batch.active.v[lane] = 0;
            if (next < ids.size()) {
                start(lane, ids[next++]);
                ++busy;
            }
        }
        const float *metric = BlockCoder::perceptualMetric();
        while (busy > 0) {
            if (threeColours)
                ClusterFit::runThreeColourRound(batch, metric);
            else
                ClusterFit::runFourColourRound(batch, metric);
            for (int lane = 0; lane < Lanes; ++lane) {
                if (!batch.active.v[lane] || advance(lane))
                    continue;
                finish(lane);
                if (next < ids.size()) {
                    start(lane, ids[next++]);
                } else {
                    batch.active.v[lane] = 0;
                    --busy;
                }
            }
        }
    }

    void start(int lane, int id)
    {
        Fit_t &fit = fits[lane];
        fit.block = id;
        fit.iteration = 0;
        fit.bestIteration = 0;
        const Block_t &block = blocks[size_t(id)];
        batch.active.v[lane] = -1;
        batch.bestError.v[lane] = block.bestError;
        batch.startX.v[lane] = batch.startY.v[lane] = batch.startZ.v[lane] = 0.0f;
        batch.endX.v[lane] = batch.endY.v[lane] = batch.endZ.v[lane] = 0.0f;
        batch.bestI.v[lane] = batch.bestJ.v[lane] = batch.bestK.v[lane] = 0;
        constructOrdering(block.set, block.axis, fit, batch, lane);
    }

    // After a round: squish's end-of-iteration steps. False when the fit is done.
    bool advance(int lane)
    {
        Fit_t &fit = fits[lane];
        if (batch.improved.v[lane])
            fit.bestIteration = fit.iteration;
        if (fit.bestIteration != fit.iteration)
            return false;
        if (++fit.iteration == MaxIterations)
            return false;
        const float axis[3] = { batch.endX.v[lane] - batch.startX.v[lane],
                                batch.endY.v[lane] - batch.startY.v[lane],
                                batch.endZ.v[lane] - batch.startZ.v[lane] };
        return constructOrdering(blocks[size_t(fit.block)].set, axis, fit, batch, lane);
    }

    // squish's "save the block if necessary".
    void finish(int lane)
    {
        const Fit_t &fit = fits[lane];
        Block_t &block = blocks[size_t(fit.block)];
        const float error = batch.bestError.v[lane];
        if (!(error < block.bestError))
            return;
        const uchar *order = fit.order[fit.bestIteration];
        const int besti = batch.bestI.v[lane], bestj = batch.bestJ.v[lane];
        const int bestk = batch.bestK.v[lane];
        uchar unordered[16];
        for (int m = 0; m < block.set.count; ++m) {
            if (m < besti)
                unordered[order[m]] = 0;
            else if (m < bestj)
                unordered[order[m]] = 2;
            else if (threeColours || m >= bestk)
                unordered[order[m]] = 1;
            else
                unordered[order[m]] = 3;
        }
        uchar indices[16];
        for (int i = 0; i < 16; ++i)
            indices[i] = block.set.remap[i] == -1 ? 3 : unordered[block.set.remap[i]];
        const float start[3] = { batch.startX.v[lane], batch.startY.v[lane], batch.startZ.v[lane] };
        const float end[3] = { batch.endX.v[lane], batch.endY.v[lane], batch.endZ.v[lane] };
        uchar *colour = block.out + colourOffset;
        if (threeColours)
            writeColourBlock3(start, end, indices, colour);
        else
            writeColourBlock4(start, end, indices, colour);
        block.bestError = error;
    }

    std::vector<Block_t> &blocks;
    bool threeColours;
    int colourOffset;
    Batch batch;
    Fit_t fits[Lanes];
};

} // namespace

namespace {

void encodeBand(const uchar *rgba, unsigned int width, unsigned int height, Format_t format,
                unsigned int firstRow, unsigned int lastRow, uchar *blocks)
{
    const int flags = BlockCoder::encodeFlags(format);
    const bool isDxt1 = (flags & squish::kDxt1) != 0;
    const bool weightByAlpha = (flags & squish::kWeightColourByAlpha) != 0;
    const size_t bytesPerBlock = isDxt1 ? 8 : 16;
    const unsigned int blocksWide = (width + 3) / 4;
    float *metric = const_cast<float *>(BlockCoder::perceptualMetric());

    std::vector<Block_t> work;
    work.reserve(size_t(lastRow - firstRow) * blocksWide);
    std::vector<int> fitted;
    for (unsigned int row = firstRow; row < lastRow; ++row) {
        for (unsigned int column = 0; column < blocksWide; ++column) {
            Block_t block;
            block.out = blocks + (size_t(row) * blocksWide + column) * bytesPerBlock;
            std::memset(block.pixels, 0, sizeof block.pixels);
            for (unsigned int py = 0; py < 4; ++py) {
                for (unsigned int px = 0; px < 4; ++px) {
                    const unsigned int sx = column * 4 + px, sy = row * 4 + py;
                    if (sx < width && sy < height) {
                        std::memcpy(block.pixels + (py * 4 + px) * 4,
                                    rgba + (size_t(sy) * width + sx) * 4, 4);
                        block.mask |= 1 << (py * 4 + px);
                    }
                }
            }
            makeColourSet(block.pixels, block.mask, isDxt1, weightByAlpha, block.set);
            if (block.set.count < 2) {
                // One colour, or none opaque: squish's single-colour and
                // range fits, which cost little.
                squish::CompressMasked(block.pixels, block.mask, block.out, flags, metric);
                continue;
            }
            principalAxis(block.set, block.axis);
            if (format == DXT5) {
                uchar alphaAsRed[64] = {};
                for (int i = 0; i < 16; ++i)
                    alphaAsRed[i * 4] = block.pixels[i * 4 + 3];
                squish::CompressMasked(alphaAsRed, block.mask, block.out, squish::kBc4, nullptr);
            } else if (format == DXT3) {
                compressAlphaDxt3(block.pixels, block.mask, block.out);
            }
            fitted.push_back(int(work.size()));
            work.push_back(block);
        }
    }
    if (fitted.empty())
        return;

    if (isDxt1) {
        FitRunner three(work, true, 0);
        three.run(fitted);
        std::vector<int> opaque;
        for (int id : fitted) {
            if (!work[size_t(id)].set.transparent)
                opaque.push_back(id);
        }
        FitRunner four(work, false, 0);
        four.run(opaque);
    } else {
        FitRunner four(work, false, 8);
        four.run(fitted);
    }
}

} // namespace

void encodeRows(const uchar *rgba, unsigned int width, unsigned int height, Format_t format,
                unsigned int firstRow, unsigned int lastRow, uchar *blocks)
{
    // Enough blocks at a time to keep the lanes full, few enough to stay in cache.
    const unsigned int blocksWide = (width + 3) / 4;
    const unsigned int rowsAtOnce = std::max(1u, 2048 / std::max(1u, blocksWide));
    for (unsigned int row = firstRow; row < lastRow; row += rowsAtOnce)
        encodeBand(rgba, width, height, format, row, std::min(lastRow, row + rowsAtOnce), blocks);
}

} // namespace BlockEncoder
} // namespace VTF
