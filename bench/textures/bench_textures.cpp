// Texture speed, each measurement beside its baseline:
//   decoding a DXT5 chain against squish called directly,
//   uncompressed conversions in MB/s of RGBA,
//   loading a VTF against reading its bytes,
//   encoding a DXT5 chain in bands on all cores against one squish call a mipmap.
// "vs_baseline" is the wall time of a measurement over that of its baseline.

#include "textures/CFileVTF.h"
#include "textures/VTF.h"
#include "textures/VTFBlockCoder.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#ifdef _OPENMP
#include <omp.h>
#endif
#include <squish.h>

#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

// Wall seconds per iteration of each baseline, so that the measurement beside
// it can report its ratio in the same run.
std::map<std::string, double> &baselines()
{
    static std::map<std::string, double> table;
    return table;
}

class WallTimer
{
public:
    WallTimer(benchmark::State &state, std::string key, bool baseline)
        : state(state)
        , key(std::move(key))
        , baseline(baseline)
        , start(std::chrono::steady_clock::now())
    { }
    ~WallTimer()
    {
        const double seconds
            = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()
            / double(std::max<benchmark::IterationCount>(1, state.iterations()));
        if (baseline)
            baselines()[key] = seconds;
        else if (baselines().count(key))
            state.counters["vs_baseline"] = seconds / baselines()[key];
    }

private:
    benchmark::State &state;
    std::string key;
    bool baseline;
    std::chrono::steady_clock::time_point start;
};

QByteArray noiseImage(int width, int height)
{
    QByteArray rgba(qint64(width) * height * 4, Qt::Uninitialized);
    quint32 seed = 99;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            char *p = rgba.data() + (qint64(y) * width + x) * 4;
            p[0] = char(x + (seed >> 29));
            p[1] = char(y + (seed >> 27 & 3));
            p[2] = char((x ^ y) + (seed >> 30));
            p[3] = char(255 - ((x + y) & 63));
        }
    return rgba;
}

QByteArray noiseBytes(qint64 size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 seed = 7;
    for (qint64 i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        bytes[i] = char(seed >> 24);
    }
    return bytes;
}

// Block data of a DXT5 chain, largest first.
const std::vector<QByteArray> &dxt5Chain()
{
    static std::vector<QByteArray> chain;
    if (chain.empty())
        for (int size = 2048; size >= 1; size /= 2)
            chain.push_back(noiseBytes(VTF::bytesPerSizeOfFormat(size, size, VTF::DXT5)));
    return chain;
}

void BM_DecodeDXT5Chain_SquishDirect(benchmark::State &state)
{
    const auto &chain = dxt5Chain();
    QByteArray rgba(2048 * 2048 * 4, Qt::Uninitialized);
    WallTimer timer(state, "decode", true);
    for (auto _ : state) {
        int size = 2048;
        for (const QByteArray &blocks : chain) {
            squish::DecompressImage(reinterpret_cast<squish::u8 *>(rgba.data()), size, size,
                                    blocks.constData(), squish::kDxt5);
            size /= 2;
        }
        benchmark::DoNotOptimize(rgba.data());
    }
}
BENCHMARK(BM_DecodeDXT5Chain_SquishDirect)->Unit(benchmark::kMillisecond);

void BM_DecodeDXT5Chain_FormatToRGBA8888(benchmark::State &state)
{
    const auto &chain = dxt5Chain();
    QByteArray rgba;
    WallTimer timer(state, "decode", false);
    for (auto _ : state) {
        int size = 2048;
        for (const QByteArray &blocks : chain) {
            VTF::formatToRGBA8888(blocks, size, size, VTF::DXT5, rgba);
            size /= 2;
        }
        benchmark::DoNotOptimize(rgba.data());
    }
}
BENCHMARK(BM_DecodeDXT5Chain_FormatToRGBA8888)->Unit(benchmark::kMillisecond);

const int Big = 4096;

const QByteArray &bigImage()
{
    static const QByteArray image = noiseImage(Big, Big);
    return image;
}

void BM_ToRGBA8888(benchmark::State &state)
{
    const auto format = VTF::Format_t(state.range(0));
    state.SetLabel(VTF::getFormatName(format));
    QByteArray stored;
    VTF::formatFromRGBA8888(bigImage(), Big, Big, format, stored);
    QByteArray rgba;
    for (auto _ : state) {
        VTF::formatToRGBA8888(stored, Big, Big, format, rgba);
        benchmark::DoNotOptimize(rgba.data());
    }
    state.SetBytesProcessed(state.iterations() * qint64(Big) * Big * 4);
}

void BM_FromRGBA8888(benchmark::State &state)
{
    const auto format = VTF::Format_t(state.range(0));
    state.SetLabel(VTF::getFormatName(format));
    QByteArray stored;
    for (auto _ : state) {
        VTF::formatFromRGBA8888(bigImage(), Big, Big, format, stored);
        benchmark::DoNotOptimize(stored.data());
    }
    state.SetBytesProcessed(state.iterations() * qint64(Big) * Big * 4);
}

void BM_PlainCopyBaseline(benchmark::State &state)
{
    QByteArray copy(qint64(Big) * Big * 4, Qt::Uninitialized);
    for (auto _ : state) {
        std::memcpy(copy.data(), bigImage().constData(), size_t(copy.size()));
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(state.iterations() * qint64(Big) * Big * 4);
}

BENCHMARK(BM_PlainCopyBaseline)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToRGBA8888)
    ->Arg(VTF::BGRA8888)
    ->Arg(VTF::BGR888)
    ->Arg(VTF::RGB565)
    ->Arg(VTF::IA88)
    ->Arg(VTF::RGBA16161616)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromRGBA8888)
    ->Arg(VTF::BGRA8888)
    ->Arg(VTF::BGR888)
    ->Arg(VTF::RGB565)
    ->Arg(VTF::IA88)
    ->Arg(VTF::RGBA16161616)
    ->Unit(benchmark::kMillisecond);

// A 4096x4096 DXT5 texture with all mipmaps, written once.
const QString &bigTexturePath()
{
    static QTemporaryDir dir;
    static QString path;
    if (path.isEmpty()) {
        CFileVTF vtf(Big, Big);
        vtf.setHighResImageFormat(VTF::DXT5); // flat zeros code fast
        vtf.setLowResImageFormat(VTF::DXT1);
        path = dir.filePath(QStringLiteral("big.vtf"));
        vtf.serialize(path);
    }
    return path;
}

void BM_LoadVTF4096_ReadAllBaseline(benchmark::State &state)
{
    const QString path = bigTexturePath();
    WallTimer timer(state, "load", true);
    for (auto _ : state) {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        QByteArray bytes = file.readAll();
        benchmark::DoNotOptimize(bytes.data());
    }
}
BENCHMARK(BM_LoadVTF4096_ReadAllBaseline)->Unit(benchmark::kMillisecond);

void BM_LoadVTF4096_CreateFromFile(benchmark::State &state)
{
    const QString path = bigTexturePath();
    WallTimer timer(state, "load", false);
    for (auto _ : state) {
        QString error;
        std::unique_ptr<CFileVTF> vtf(CFileVTF::createFromFile(path, error));
        if (!vtf)
            state.SkipWithError("load failed");
        benchmark::DoNotOptimize(vtf.get());
    }
}
BENCHMARK(BM_LoadVTF4096_CreateFromFile)->Unit(benchmark::kMillisecond);

const std::vector<QByteArray> &encodeChain()
{
    static std::vector<QByteArray> chain;
    if (chain.empty())
        for (int size = 1024; size >= 1; size /= 2)
            chain.push_back(noiseImage(size, size));
    return chain;
}

void encodeChainWithOneCallEach(benchmark::State &state, bool baseline)
{
    const auto &chain = encodeChain();
    QByteArray blocks(VTF::bytesPerSizeOfFormat(1024, 1024, VTF::DXT5), Qt::Uninitialized);
    WallTimer timer(state, baseline ? "encode" : "encode-library", baseline);
    for (auto _ : state) {
        int size = 1024;
        for (const QByteArray &rgba : chain) {
            squish::CompressImage(reinterpret_cast<const squish::u8 *>(rgba.constData()), size,
                                  size, blocks.data(), VTF::BlockCoder::encodeFlags(VTF::DXT5),
                                  const_cast<float *>(VTF::BlockCoder::perceptualMetric()));
            size /= 2;
        }
        benchmark::DoNotOptimize(blocks.data());
    }
}

// One squish call a mipmap, on one core: the time the bands are meant to beat.
void BM_EncodeDXT5Chain1024_OneSquishCallOneCore(benchmark::State &state)
{
#ifdef _OPENMP
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
#endif
    encodeChainWithOneCallEach(state, true);
#ifdef _OPENMP
    omp_set_num_threads(threads);
#endif
}
BENCHMARK(BM_EncodeDXT5Chain1024_OneSquishCallOneCore)
    ->Iterations(1)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

// The same calls as the library is built: a squish built with OpenMP spreads
// one call over the cores itself.
void BM_EncodeDXT5Chain1024_OneSquishCallLibraryThreads(benchmark::State &state)
{
    encodeChainWithOneCallEach(state, false);
}
BENCHMARK(BM_EncodeDXT5Chain1024_OneSquishCallLibraryThreads)
    ->Iterations(1)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

void BM_EncodeDXT5Chain1024_FormatFromRGBA8888(benchmark::State &state)
{
    const auto &chain = encodeChain();
    QByteArray blocks;
    WallTimer timer(state, "encode", false);
    for (auto _ : state) {
        int size = 1024;
        for (const QByteArray &rgba : chain) {
            VTF::formatFromRGBA8888(rgba, size, size, VTF::DXT5, blocks);
            size /= 2;
        }
        benchmark::DoNotOptimize(blocks.data());
    }
}
BENCHMARK(BM_EncodeDXT5Chain1024_FormatFromRGBA8888)
    ->Iterations(1)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

} // namespace

BENCHMARK_MAIN();
