// Texture speed, each measurement beside its baseline:
//   uncompressed conversions in MB/s of RGBA,
//   loading a VTF against reading its bytes.
// Block coding and tone mapping are measured in bench_blockcoding.
// "vs_baseline" is the wall time of a measurement over that of its baseline.

#include "textures/CFileVTF.h"
#include "textures/VTF.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

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

} // namespace

BENCHMARK_MAIN();
