// Opening a VPK directory of 200,000 entries spread over 2,000 directories.

#include "LargeVpk.h"
#include "packages/CDelegateVPK.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <benchmark/benchmark.h>

namespace {

using largevpk::makeDirectory;

void BM_OpenLargeVpk(benchmark::State &state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("large_dir.vpk"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            state.SkipWithError("cannot write the generated package");
            return;
        }
        file.write(makeDirectory(2000, 50));
    }
    for (auto _ : state) {
        CDelegateVPK vpk;
        if (!vpk.openPackage(path, true)) {
            state.SkipWithError(qPrintable(vpk.getLastError()));
            return;
        }
        benchmark::DoNotOptimize(vpk.getNodeCount());
    }
    state.SetItemsProcessed(state.iterations() * 200000);
}
BENCHMARK(BM_OpenLargeVpk)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
