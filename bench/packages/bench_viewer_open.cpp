// The Package Viewer showing a VPK of 200,000 entries in 2,000 directories:
// everything from opening to a window ready for use, beside the opening of
// the package alone ("vs_open": the viewer's wall time over that of the
// opening; the rest is what the window adds). The goal is under 0.3 s.

#include "LargeVpk.h"
#include "app/ZIRK.h"
#include "packages/CDelegateVPK.h"
#include "packages/VPackage.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <benchmark/benchmark.h>

#include <chrono>

namespace {

double &openSeconds()
{
    static double seconds = 0;
    return seconds;
}

void BM_ViewerOpensLargeVpk(benchmark::State &state)
{
    QTemporaryDir dir;
    {
        QFile settings(dir.filePath(QStringLiteral("noitazilait.ini")));
        settings.open(QIODevice::WriteOnly);
        settings.write("[general]\nminimize_output_on_startup:true\n[/general]\n");
    }
    QDir::setCurrent(dir.path());
    ZIRK::get();
    const QString path = dir.filePath(QStringLiteral("large_dir.vpk"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            state.SkipWithError("cannot write the generated package");
            return;
        }
        file.write(largevpk::makeDirectory(2000, 50));
    }
    {
        // The opening alone, for the ratio.
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 3; ++i) {
            CDelegateVPK vpk;
            benchmark::DoNotOptimize(vpk.openPackage(path, true));
        }
        openSeconds()
            = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / 3;
    }
    double seconds = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        VPackage viewer(path);
        viewer.show();
        QCoreApplication::processEvents();
        benchmark::DoNotOptimize(viewer.getTreeWidget()->topLevelItemCount());
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.PauseTiming();
        viewer.close();
        state.ResumeTiming();
    }
    seconds /= double(state.iterations());
    state.counters["open_ms"] = openSeconds() * 1e3;
    state.counters["viewer_ms"] = seconds * 1e3;
    state.counters["vs_open"] = seconds / openSeconds();
}
BENCHMARK(BM_ViewerOpensLargeVpk)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
