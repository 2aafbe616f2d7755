// Pixel decoding and block encoding, each beside its baseline in one run:
//   DXT1 and DXT5 decoding of every mipmap of a 1024x1024 texture (50 times)
//   against squish's DecompressImage on one thread;
//   tone mapping of an RGBA16161616F cube map against the per-pixel pow it
//   replaced;
//   DXT5 encoding of a 1024x1024 image with all mipmaps against squish's
//   CompressImage on one thread.
// "vs_baseline" is the processor time of a measurement over that of its
// baseline (processor time, since the machine may be busy with other work;
// everything measured here runs on one thread).

#include "ToneMapReference.h"
#include "textures/VTF.h"
#include "textures/VTFBlockCoder.h"

#include <QByteArray>

#include <benchmark/benchmark.h>
#include <squish.h>

#include <cmath>
#include <ctime>
#include <map>
#include <string>
#include <vector>

// A squish built with OpenMP runs a team of threads in every call.
extern "C" void omp_set_num_threads(int) __attribute__((weak));
extern "C" int omp_get_max_threads() __attribute__((weak));

namespace {

double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

std::map<std::string, double> &baselines()
{
    static std::map<std::string, double> table;
    return table;
}

// Processor seconds per iteration; a baseline stores its own, a measurement
// reports its ratio to the stored one.
class CpuTimer
{
public:
    CpuTimer(benchmark::State &state, std::string key, bool baseline)
        : state(state)
        , key(std::move(key))
        , baseline(baseline)
        , start(cpuSeconds())
    { }
    ~CpuTimer()
    {
        const double seconds = (cpuSeconds() - start)
            / double(std::max<benchmark::IterationCount>(1, state.iterations()));
        state.counters["cpu_ms"] = seconds * 1e3;
        if (baseline)
            baselines()[key] = seconds;
        else if (baselines().count(key))
            state.counters["vs_baseline"] = seconds / baselines()[key];
    }

private:
    benchmark::State &state;
    std::string key;
    bool baseline;
    double start;
};

// Keeps squish on the calling thread for the life of the object.
class OneThread
{
public:
    OneThread()
    {
        if (omp_get_max_threads && omp_set_num_threads) {
            threads = omp_get_max_threads();
            omp_set_num_threads(1);
        }
    }
    ~OneThread()
    {
        if (omp_set_num_threads && threads > 0)
            omp_set_num_threads(threads);
    }

private:
    int threads = 0;
};

QByteArray noiseBytes(qint64 size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qint64 i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        bytes[i] = char(seed >> 24);
    }
    return bytes;
}

// Block data of a chain of mipmaps, largest first.
const std::vector<QByteArray> &blockChain(VTF::Format_t format)
{
    static std::map<VTF::Format_t, std::vector<QByteArray>> chains;
    std::vector<QByteArray> &chain = chains[format];
    if (chain.empty())
        for (int size = 1024; size >= 1; size /= 2)
            chain.push_back(noiseBytes(VTF::bytesPerSizeOfFormat(size, size, format), 11));
    return chain;
}

void decodeChain(benchmark::State &state, VTF::Format_t format, bool baseline)
{
    const auto &chain = blockChain(format);
    QByteArray rgba(1024 * 1024 * 4, Qt::Uninitialized);
    const int flags = format == VTF::DXT1 ? squish::kDxt1 : squish::kDxt5;
    OneThread single;
    CpuTimer timer(state, std::string("decode-") + VTF::getFormatName(format), baseline);
    for (auto _ : state) {
        for (int repeat = 0; repeat < 50; ++repeat) {
            int size = 1024;
            for (const QByteArray &blocks : chain) {
                if (baseline)
                    squish::DecompressImage(reinterpret_cast<squish::u8 *>(rgba.data()), size, size,
                                            blocks.constData(), flags);
                else
                    VTF::formatToRGBA8888(blocks, size, size, format, rgba);
                size /= 2;
            }
        }
        benchmark::DoNotOptimize(rgba.data());
    }
}

void BM_DecodeDXT1Chain1024x50_Squish(benchmark::State &state)
{
    decodeChain(state, VTF::DXT1, true);
}
void BM_DecodeDXT1Chain1024x50_Own(benchmark::State &state)
{
    decodeChain(state, VTF::DXT1, false);
}
void BM_DecodeDXT5Chain1024x50_Squish(benchmark::State &state)
{
    decodeChain(state, VTF::DXT5, true);
}
void BM_DecodeDXT5Chain1024x50_Own(benchmark::State &state)
{
    decodeChain(state, VTF::DXT5, false);
}
BENCHMARK(BM_DecodeDXT1Chain1024x50_Squish)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_DecodeDXT1Chain1024x50_Own)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_DecodeDXT5Chain1024x50_Squish)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_DecodeDXT5Chain1024x50_Own)->Unit(benchmark::kMillisecond)->Iterations(3);

// A cube map of 512x512 faces. Half floats read as words, as the format's
// reader does: smooth colours with a little noise.
const std::vector<QByteArray> &hdrFaces()
{
    static std::vector<QByteArray> faces;
    if (faces.empty()) {
        quint32 seed = 3;
        for (int face = 0; face < 6; ++face) {
            QByteArray pixels(512 * 512 * 8, Qt::Uninitialized);
            uchar *p = reinterpret_cast<uchar *>(pixels.data());
            for (int y = 0; y < 512; ++y)
                for (int x = 0; x < 512; ++x, p += 8) {
                    seed = seed * 1664525u + 1013904223u;
                    const quint16 words[4] = { quint16(0x3000 + x * 16 + (seed >> 28)),
                                               quint16(0x3400 + y * 12 + (seed >> 27 & 15)),
                                               quint16(0x2C00 + (x + y) * 8 + face * 64), 0x3C00 };
                    for (int c = 0; c < 4; ++c) {
                        p[c * 2] = uchar(words[c]);
                        p[c * 2 + 1] = uchar(words[c] >> 8);
                    }
                }
            faces.push_back(pixels);
        }
    }
    return faces;
}

void toneMapCube(benchmark::State &state, bool baseline)
{
    QByteArray rgba(512 * 512 * 4, Qt::Uninitialized);
    CpuTimer timer(state, "tonemap", baseline);
    for (auto _ : state) {
        for (const QByteArray &face : hdrFaces()) {
            if (baseline)
                tonemapreference::map(reinterpret_cast<const uchar *>(face.constData()), 512 * 512,
                                      reinterpret_cast<uchar *>(rgba.data()), VTF::DefaultHdrKey,
                                      VTF::DefaultHdrShift, VTF::DefaultHdrGamma, 0.0f);
            else
                VTF::formatToRGBA8888(face, 512, 512, VTF::RGBA16161616F, rgba);
        }
        benchmark::DoNotOptimize(rgba.data());
    }
}

void BM_ToneMapCube512_PowPerChannel(benchmark::State &state)
{
    toneMapCube(state, true);
}
void BM_ToneMapCube512_Own(benchmark::State &state)
{
    toneMapCube(state, false);
}
BENCHMARK(BM_ToneMapCube512_PowPerChannel)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ToneMapCube512_Own)->Unit(benchmark::kMillisecond)->Iterations(5);

// A photograph-like 1024x1024 image: smooth colour with noise and soft
// alpha, every mipmap made by halving.
const std::vector<QByteArray> &encodeChain()
{
    static std::vector<QByteArray> chain;
    if (chain.empty()) {
        QByteArray rgba(1024 * 1024 * 4, Qt::Uninitialized);
        quint32 seed = 99;
        for (int y = 0; y < 1024; ++y)
            for (int x = 0; x < 1024; ++x) {
                seed = seed * 1664525u + 1013904223u;
                char *p = rgba.data() + (qint64(y) * 1024 + x) * 4;
                p[0] = char(x / 4 + (seed >> 29));
                p[1] = char(y / 4 + (seed >> 27 & 3));
                p[2] = char((x ^ y) / 8 + (seed >> 30));
                p[3] = char(255 - ((x + y) & 63));
            }
        chain.push_back(rgba);
        for (int size = 512; size >= 1; size /= 2) {
            const QByteArray &larger = chain.back();
            QByteArray half(qint64(size) * size * 4, Qt::Uninitialized);
            for (int y = 0; y < size; ++y)
                for (int x = 0; x < size; ++x)
                    for (int c = 0; c < 4; ++c) {
                        auto at = [&](int dx, int dy) {
                            return uchar(
                                larger[(qint64(y * 2 + dy) * size * 2 + x * 2 + dx) * 4 + c]);
                        };
                        half[(qint64(y) * size + x) * 4 + c]
                            = char((at(0, 0) + at(1, 0) + at(0, 1) + at(1, 1) + 2) / 4);
                    }
            chain.push_back(half);
        }
    }
    return chain;
}

void encodeChain(benchmark::State &state, bool baseline, unsigned int threads)
{
    const auto &chain = encodeChain();
    QByteArray blocks(VTF::bytesPerSizeOfFormat(1024, 1024, VTF::DXT5), Qt::Uninitialized);
    OneThread single;
    CpuTimer timer(state, "encode", baseline);
    for (auto _ : state) {
        int size = 1024;
        for (const QByteArray &rgba : chain) {
            const auto *pixels = reinterpret_cast<const uchar *>(rgba.constData());
            if (baseline)
                squish::CompressImage(pixels, size, size, blocks.data(),
                                      VTF::BlockCoder::encodeFlags(VTF::DXT5),
                                      const_cast<float *>(VTF::BlockCoder::perceptualMetric()));
            else
                VTF::BlockCoder::encode(pixels, size, size, VTF::DXT5,
                                        reinterpret_cast<uchar *>(blocks.data()), threads);
            size /= 2;
        }
        benchmark::DoNotOptimize(blocks.data());
    }
}

// squish, one call a mipmap, on one thread.
void BM_EncodeDXT5Chain1024_Squish(benchmark::State &state)
{
    encodeChain(state, true, 1);
}
// The program's encoder on one thread: the same bytes.
void BM_EncodeDXT5Chain1024_Own(benchmark::State &state)
{
    encodeChain(state, false, 1);
}
// The program's encoder as a conversion runs it, on every core; its wall
// time is the figure to set beside other encoders.
void BM_EncodeDXT5Chain1024_OwnAllCores(benchmark::State &state)
{
    encodeChain(state, false, 0);
}
BENCHMARK(BM_EncodeDXT5Chain1024_Squish)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_EncodeDXT5Chain1024_Own)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_EncodeDXT5Chain1024_OwnAllCores)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
