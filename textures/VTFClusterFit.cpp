// Built with -ffp-contract=off: a fused multiply-add rounds once where
// squish rounds twice, and the lanes must round as squish does.

#include "textures/VTFClusterFit.h"

#include <cstring>

// The vector helpers below are file-local and always inlined into one of the
// two round functions, so the calling convention for 32-byte vectors without
// AVX, which this warning is about, never comes into play.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace VTF {
namespace ClusterFit {

namespace {

typedef float Floats __attribute__((vector_size(32)));
typedef qint32 Ints __attribute__((vector_size(32)));

inline Floats load(const LaneFloats &lanes)
{
    Floats out;
    std::memcpy(&out, lanes.v, sizeof out);
    return out;
}

inline Ints load(const LaneInts &lanes)
{
    Ints out;
    std::memcpy(&out, lanes.v, sizeof out);
    return out;
}

inline void store(LaneFloats &lanes, Floats value)
{
    std::memcpy(lanes.v, &value, sizeof value);
}

inline void store(LaneInts &lanes, Ints value)
{
    std::memcpy(lanes.v, &value, sizeof value);
}

inline Floats splat(float value)
{
    return Floats {} + value;
}

// A four-component vector of squish's code, each component a lane vector.
struct Quad
{
    Floats x, y, z, w;
};

inline Quad operator+(const Quad &a, const Quad &b)
{
    return { a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w };
}

inline Quad operator-(const Quad &a, const Quad &b)
{
    return { a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w };
}

// squish's MultiplyAdd(a, b, c): a*b + c, rounded after each operation.
inline Quad multiplyAdd(const Quad &a, const Quad &b, const Quad &c)
{
    return { a.x * b.x + c.x, a.y * b.y + c.y, a.z * b.z + c.z, a.w * b.w + c.w };
}

inline Quad quad(float x, float y, float z, float w)
{
    return { splat(x), splat(y), splat(z), splat(w) };
}

// Truncation of values known to lie in [0.5, 63.5]: what squish's
// Truncate gives there (floor of a positive value).
inline Floats truncated(Floats value)
{
    return __builtin_convertvector(__builtin_convertvector(value, Ints), Floats);
}

// The part of a candidate common to both fits, from the least-squares sums
// on: the clamped end points on the grid, and the error under the metric.
// Keeps the candidate in each lane where it beats that lane's best.
struct Best
{
    Floats error, startX, startY, startZ, endX, endY, endZ;
    Ints i, j, k, improved;
};

__attribute__((always_inline)) inline void solve(const Quad &alphax, const Quad &betax,
                                                 Floats alphabeta, const Floats metric[3],
                                                 Ints active, int i, int j, int k, Best &best)
{
    const Floats zero = splat(0.0f), one = splat(1.0f), half = splat(0.5f), two = splat(2.0f);
    const Floats alpha2 = alphax.w, beta2 = betax.w;

    // squish: factor = Reciprocal(alpha2*beta2 - alphabeta*alphabeta)
    const Floats factor = one / (alpha2 * beta2 - alphabeta * alphabeta);
    const Floats gridX = splat(31.0f), gridY = splat(63.0f);
    const Floats stepX = splat(1.0f / 31.0f), stepY = splat(1.0f / 63.0f);

    auto endPoint = [&](Floats value, Floats grid, Floats step) {
        // Min(one, Max(zero, value)), with std::min and std::max's answers
        // for NaN, then Truncate(grid*value + half)*step.
        value = zero < value ? value : zero;
        value = value < one ? value : one;
        return truncated(grid * value + half) * step;
    };
    const Floats ax = endPoint((alphax.x * beta2 - betax.x * alphabeta) * factor, gridX, stepX);
    const Floats ay = endPoint((alphax.y * beta2 - betax.y * alphabeta) * factor, gridY, stepY);
    const Floats az = endPoint((alphax.z * beta2 - betax.z * alphabeta) * factor, gridX, stepX);
    const Floats bx = endPoint((betax.x * alpha2 - alphax.x * alphabeta) * factor, gridX, stepX);
    const Floats by = endPoint((betax.y * alpha2 - alphax.y * alphabeta) * factor, gridY, stepY);
    const Floats bz = endPoint((betax.z * alpha2 - alphax.z * alphabeta) * factor, gridX, stepX);

    auto component = [&](Floats a, Floats b, Floats ax, Floats bx) {
        const Floats e1 = (a * a) * alpha2 + (b * b) * beta2;
        const Floats e2 = (a * b) * alphabeta - a * ax;
        const Floats e3 = e2 - b * bx;
        return two * e3 + e1;
    };
    const Floats ex = component(ax, bx, alphax.x, betax.x) * metric[0];
    const Floats ey = component(ay, by, alphax.y, betax.y) * metric[1];
    const Floats ez = component(az, bz, alphax.z, betax.z) * metric[2];
    const Floats error = (ex + ey) + ez;

    const Ints better = active & (error < best.error);
    best.error = better ? error : best.error;
    best.startX = better ? ax : best.startX;
    best.startY = better ? ay : best.startY;
    best.startZ = better ? az : best.startZ;
    best.endX = better ? bx : best.endX;
    best.endY = better ? by : best.endY;
    best.endZ = better ? bz : best.endZ;
    best.i = better ? Ints {} + i : best.i;
    best.j = better ? Ints {} + j : best.j;
    best.k = better ? Ints {} + k : best.k;
    best.improved |= better;
}

struct Loaded
{
    Quad points[MaxPoints];
    Quad sum;
    Floats metric[3];
    Ints active;
    Best best;
};

__attribute__((always_inline)) inline void load(const Batch &batch, const float metric[3],
                                                Loaded &out)
{
    for (int p = 0; p < batch.count; ++p)
        out.points[p] = { load(batch.x[p]), load(batch.y[p]), load(batch.z[p]), load(batch.w[p]) };
    out.sum = { load(batch.sumX), load(batch.sumY), load(batch.sumZ), load(batch.sumW) };
    for (int c = 0; c < 3; ++c)
        out.metric[c] = splat(metric[c]);
    out.active = load(batch.active);
    out.best = { load(batch.bestError),
                 load(batch.startX),
                 load(batch.startY),
                 load(batch.startZ),
                 load(batch.endX),
                 load(batch.endY),
                 load(batch.endZ),
                 load(batch.bestI),
                 load(batch.bestJ),
                 load(batch.bestK),
                 Ints {} };
}

__attribute__((always_inline)) inline void save(const Best &best, Batch &batch)
{
    store(batch.bestError, best.error);
    store(batch.startX, best.startX);
    store(batch.startY, best.startY);
    store(batch.startZ, best.startZ);
    store(batch.endX, best.endX);
    store(batch.endY, best.endY);
    store(batch.endZ, best.endZ);
    store(batch.bestI, best.i);
    store(batch.bestJ, best.j);
    store(batch.bestK, best.k);
    store(batch.improved, best.improved);
}

// squish's ClusterFit::Compress4 loop over the clusters [0,i), [i,j), [j,k)
// and [k,count) for one ordering.
__attribute__((always_inline)) inline void fourColourRound(Batch &batch, const float metric[3])
{
    Loaded in;
    load(batch, metric, in);
    const int count = batch.count;
    const Quad zero = quad(0.0f, 0.0f, 0.0f, 0.0f);
    const Quad oneThird = quad(1.0f / 3.0f, 1.0f / 3.0f, 1.0f / 3.0f, 1.0f / 9.0f);
    const Quad twoThirds = quad(2.0f / 3.0f, 2.0f / 3.0f, 2.0f / 3.0f, 4.0f / 9.0f);
    const Floats twoNinths = splat(2.0f / 9.0f);

    Quad part0 = zero;
    for (int i = 0; i < count; ++i) {
        Quad part1 = zero;
        for (int j = i;;) {
            Quad part2 = j == 0 ? in.points[0] : zero;
            for (int k = j == 0 ? 1 : j;;) {
                const Quad part3 = ((in.sum - part2) - part1) - part0;
                const Quad alphax
                    = multiplyAdd(part2, oneThird, multiplyAdd(part1, twoThirds, part0));
                const Quad betax
                    = multiplyAdd(part1, oneThird, multiplyAdd(part2, twoThirds, part3));
                const Floats alphabeta = twoNinths * (part1.w + part2.w);
                solve(alphax, betax, alphabeta, in.metric, in.active, i, j, k, in.best);
                if (k == count)
                    break;
                part2 = part2 + in.points[k];
                ++k;
            }
            if (j == count)
                break;
            part1 = part1 + in.points[j];
            ++j;
        }
        part0 = part0 + in.points[i];
    }
    save(in.best, batch);
}

// squish's ClusterFit::Compress3 loop over the clusters [0,i), [i,j) and
// [j,count) for one ordering.
__attribute__((always_inline)) inline void threeColourRound(Batch &batch, const float metric[3])
{
    Loaded in;
    load(batch, metric, in);
    const int count = batch.count;
    const Quad zero = quad(0.0f, 0.0f, 0.0f, 0.0f);
    const Quad halves = quad(0.5f, 0.5f, 0.5f, 0.25f);

    Quad part0 = zero;
    for (int i = 0; i < count; ++i) {
        Quad part1 = i == 0 ? in.points[0] : zero;
        for (int j = i == 0 ? 1 : i;;) {
            const Quad part2 = (in.sum - part1) - part0;
            const Quad alphax = multiplyAdd(part1, halves, part0);
            const Quad betax = multiplyAdd(part1, halves, part2);
            const Floats alphabeta = part1.w * halves.w;
            solve(alphax, betax, alphabeta, in.metric, in.active, i, j, 0, in.best);
            if (j == count)
                break;
            part1 = part1 + in.points[j];
            ++j;
        }
        part0 = part0 + in.points[i];
    }
    save(in.best, batch);
}

__attribute__((target("avx2"))) void fourColourRoundAvx2(Batch &batch, const float metric[3])
{
    fourColourRound(batch, metric);
}

__attribute__((target("avx2"))) void threeColourRoundAvx2(Batch &batch, const float metric[3])
{
    threeColourRound(batch, metric);
}

void fourColourRoundPlain(Batch &batch, const float metric[3])
{
    fourColourRound(batch, metric);
}

void threeColourRoundPlain(Batch &batch, const float metric[3])
{
    threeColourRound(batch, metric);
}

bool hasAvx2()
{
    static const bool supported = __builtin_cpu_supports("avx2");
    return supported;
}

} // namespace

void runFourColourRound(Batch &batch, const float metric[3])
{
    if (hasAvx2())
        fourColourRoundAvx2(batch, metric);
    else
        fourColourRoundPlain(batch, metric);
}

void runThreeColourRound(Batch &batch, const float metric[3])
{
    if (hasAvx2())
        threeColourRoundAvx2(batch, metric);
    else
        threeColourRoundPlain(batch, metric);
}

} // namespace ClusterFit
} // namespace VTF
