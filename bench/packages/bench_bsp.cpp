// Opening a map whose pakfile holds many entries, and flushing a large map
// without changes next to a plain file copy of the same size.
#include "BspFixture.h"
#include "packages/CDelegateBSP.h"
#include "util/CNotificationRecorder.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

QTemporaryDir &scratch()
{
    static QTemporaryDir dir;
    return dir;
}

QString manyEntriesMap()
{
    static QString path;
    if (path.isEmpty()) {
        BspFixture f;
        f.lumps[0] = "{\n\"classname\" \"worldspawn\"\n}\n";
        for (int i = 0; i < 20000; ++i) {
            const QByteArray name
                = QStringLiteral("materials/set%1/texture_%2.vmt").arg(i % 40).arg(i).toLatin1();
            f.pakfile.append({ name, "LightmappedGeneric { $basetexture x }", {}, {}, 0 });
        }
        path = scratch().filePath("many.bsp");
        f.write(path);
    }
    return path;
}

QString largeMap()
{
    static QString path;
    if (path.isEmpty()) {
        BspFixture f;
        const int megabyte = 1 << 20;
        // 150 MB of lumps and 50 MB of packed files.
        for (int lump : { 1, 3, 5, 7, 8, 10, 12, 13, 18, 26 })
            f.lumps[lump] = QByteArray(15 * megabyte, char('a' + lump % 26));
        for (int i = 0; i < 50; ++i)
            f.pakfile.append({ QStringLiteral("big/file%1.bin").arg(i).toLatin1(),
                               QByteArray(megabyte, char(i)),
                               {},
                               {},
                               0 });
        path = scratch().filePath("large.bsp");
        f.write(path);
    }
    return path;
}

void BM_OpenPakfile20000(benchmark::State &state)
{
    const QString path = manyEntriesMap();
    CNotificationRecorder quiet;
    for (auto _ : state) {
        CDelegateBSP d;
        if (!d.openPackage(path, true)) {
            state.SkipWithError("open failed");
            break;
        }
        benchmark::DoNotOptimize(d.getNodeCount());
    }
}
BENCHMARK(BM_OpenPakfile20000)->Unit(benchmark::kMillisecond);

void BM_FlushUnchanged200MB(benchmark::State &state)
{
    const QString path = largeMap();
    const qint64 size = QFileInfo(path).size();
    CDelegateBSP d;
    if (!d.openPackage(path, false)) {
        state.SkipWithError("open failed");
        return;
    }
    for (auto _ : state) {
        if (!d.flush(nullptr)) {
            state.SkipWithError("flush failed");
            break;
        }
    }
    QFile::remove(path + ".backup");
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_FlushUnchanged200MB)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CopyWithCp200MB(benchmark::State &state)
{
    const QString path = largeMap();
    const qint64 size = QFileInfo(path).size();
    const QString target = scratch().filePath("copy.bsp");
    for (auto _ : state) {
        if (QProcess::execute("cp", { path, target }) != 0) {
            state.SkipWithError("cp failed");
            break;
        }
    }
    QFile::remove(target);
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_CopyWithCp200MB)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
