// Opening a VPK directory of 200,000 entries spread over 2,000 directories and
// producing every entry's path, beside a bare scan of the same bytes: read the
// file, walk its strings and make each entry's path, with no tree at all.
//
// Counters: "vs_scan" is the processor time of the opening over that of the scan (the
// goal is 2 or less). "tree_MB" is the heap that the opened package holds,
// "budget_MB" is 1.5 times the directory's size plus the heap that the scan's
// paths hold, and "vs_budget" their ratio (the goal is 1 or less).

#include "LargeVpk.h"
#include "packages/CDelegateVPK.h"

#include <QByteArray>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QtEndian>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstring>
#include <ctime>
#include <memory>

namespace {

struct Figures_t
{
    double scanSeconds = 0;
    double pathBytes = 0;
    double directoryBytes = 0;
};

Figures_t &figures()
{
    static Figures_t f;
    return f;
}

const QString &largePath()
{
    static QTemporaryDir dir;
    static QString path;
    if (path.isEmpty()) {
        path = dir.filePath(QStringLiteral("large_dir.vpk"));
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(largevpk::makeDirectory(2000, 50));
        figures().directoryBytes = double(file.size());
    }
    return path;
}

// Processor time, which other work on a loaded machine does not inflate; the
// code measured runs on one thread.
double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Heap in use, blocks that malloc maps on their own included.
double heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks) + double(info.hblkhd);
}

// The least a lister of this format must do: no tree, no records kept.
QStringList scanPaths(const QString &path)
{
    QFile file(path);
    QStringList paths;
    if (!file.open(QIODevice::ReadOnly))
        return paths;
    const QByteArray bytes = file.readAll();
    const char *at = bytes.constData(), *end = at + bytes.size();
    if (bytes.size() >= 12 && qFromLittleEndian<quint32>(at) == 0x55AA1234)
        at += 12;
    auto next = [&](QByteArray &out) {
        const char *nul = static_cast<const char *>(std::memchr(at, 0, size_t(end - at)));
        if (!nul)
            return false;
        out = QByteArray::fromRawData(at, nul - at);
        at = nul + 1;
        return true;
    };
    QByteArray extension, directory, name;
    while (next(extension) && !extension.isEmpty()) {
        while (next(directory) && !directory.isEmpty()) {
            while (next(name) && !name.isEmpty()) {
                if (end - at < 18)
                    return paths;
                const quint16 preload = qFromLittleEndian<quint16>(at + 4);
                at += 18 + preload;
                QString full(directory.size() + name.size() + extension.size() + 2,
                             Qt::Uninitialized);
                QChar *out = full.data();
                for (char c : directory)
                    *out++ = QLatin1Char(c);
                *out++ = QLatin1Char('/');
                for (char c : name)
                    *out++ = QLatin1Char(c);
                *out++ = QLatin1Char('.');
                for (char c : extension)
                    *out++ = QLatin1Char(c);
                paths.append(std::move(full));
            }
        }
    }
    return paths;
}

void BM_ScanPathsBaseline(benchmark::State &state)
{
    const QString &path = largePath();
    double seconds = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        QStringList paths = scanPaths(path);
        seconds += cpuSeconds() - start;
        benchmark::DoNotOptimize(paths.size());
        state.PauseTiming();
        paths.clear();
        state.ResumeTiming();
    }
    figures().scanSeconds = seconds / double(state.iterations());
    state.counters["cpu_ms"] = figures().scanSeconds * 1e3;

    const double before = heapInUse();
    QStringList held = scanPaths(path);
    figures().pathBytes = heapInUse() - before;
    state.counters["paths"] = double(held.size());
    state.counters["paths_MB"] = figures().pathBytes / 1e6;
}
BENCHMARK(BM_ScanPathsBaseline)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_OpenLargeVpkAndListPaths(benchmark::State &state)
{
    const QString &path = largePath();
    double seconds = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        auto vpk = std::make_unique<CDelegateVPK>();
        if (!vpk->openPackage(path, true)) {
            state.SkipWithError(qPrintable(vpk->getLastError()));
            return;
        }
        QStringList paths;
        paths.reserve(vpk->getNodeCount());
        for (int i = 0; i < vpk->getNodeCount(); ++i)
            paths.append(vpk->getNodeByIndex(unsigned(i))->getPath(true));
        seconds += cpuSeconds() - start;
        benchmark::DoNotOptimize(paths.size());
        state.PauseTiming();
        paths.clear();
        vpk.reset();
        state.ResumeTiming();
    }
    seconds /= double(state.iterations());
    state.counters["cpu_ms"] = seconds * 1e3;
    if (figures().scanSeconds > 0)
        state.counters["vs_scan"] = seconds / figures().scanSeconds;

    const double before = heapInUse();
    {
        CDelegateVPK vpk;
        if (!vpk.openPackage(path, true))
            return;
        const double tree = heapInUse() - before;
        const double budget = 1.5 * figures().directoryBytes + figures().pathBytes;
        state.counters["tree_MB"] = tree / 1e6;
        state.counters["budget_MB"] = budget / 1e6;
        state.counters["vs_budget"] = tree / budget;
    }
    state.SetItemsProcessed(state.iterations() * 200000);
}
BENCHMARK(BM_OpenLargeVpkAndListPaths)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

BENCHMARK_MAIN();
