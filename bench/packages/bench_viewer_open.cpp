// The Package Viewer showing a VPK of 200,000 entries in 2,000 directories:
// everything from opening to a window ready for use.

#include "LargeVpk.h"
#include "app/ZIRK.h"
#include "packages/VPackage.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <benchmark/benchmark.h>

namespace {

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
    for (auto _ : state) {
        VPackage viewer(path);
        viewer.show();
        QCoreApplication::processEvents();
        benchmark::DoNotOptimize(viewer.getTreeWidget()->topLevelItemCount());
        state.PauseTiming();
        viewer.close();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ViewerOpensLargeVpk)->Unit(benchmark::kMillisecond)->Iterations(2);

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
