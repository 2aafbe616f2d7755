// The mass material edit over a folder of generated materials (10,000 by default, or
// ZIRK_BENCH_FILES), against reading and writing the same files with no change. Each change
// alternates between two values, so that every run rewrites every file. The batch tool writes
// through QSaveFile (a temporary file, a sync and a rename a file), so the fair baseline does
// the same; the plain QFile copy shows what the sync costs.

#include "materials/CVMTBatch.h"
#include "materials/VMass.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QPushButton>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

int fileCount()
{
    bool ok = false;
    const int count = qEnvironmentVariableIntValue("ZIRK_BENCH_FILES", &ok);
    return ok && count > 0 ? count : 10000;
}

struct Folder
{
    QTemporaryDir dir;
    QList<CVMTBatch::Entry_t> entries;
};

// Materials of a few hundred bytes in 100 folders, every fourth with a Proxies block.
Folder &folder()
{
    static Folder folder;
    if (!folder.entries.isEmpty())
        return folder;
    const int count = fileCount();
    for (int n = 0; n < count; ++n) {
        const QString sub = QStringLiteral("materials/set%1").arg(n % 100);
        QDir(folder.dir.path()).mkpath(sub);
        const QString path
            = folder.dir.filePath(QStringLiteral("%1/surface%2.vmt").arg(sub).arg(n));
        QByteArray text = "\"LightmappedGeneric\"\n{\n\t\"$basetexture\" \"" + sub.toLatin1()
            + "/surface" + QByteArray::number(n) + "\"\n\t\"$bumpmap\" \"" + sub.toLatin1()
            + "/surface" + QByteArray::number(n) + "_normal\"\n\t\"$surfaceprop\" \"concrete\"\n"
            + "\t\"$envmap\" \"env_cubemap\"\n\t\"%keywords\" \"generated\"\n";
        if (n % 4 == 0)
            text += "\n\t\"Proxies\"\n\t{\n\t\t\"Sine\"\n\t\t{\n\t\t\t\"resultVar\" "
                    "\"$color\"\n\t\t\t\"sineperiod\" \"2\"\n\t\t}\n\t}\n";
        text += "}\n";
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(path));
        folder.entries.append({ path, CVMTBatch::relativePath(path) });
    }
    return folder;
}

// Seconds a run, by benchmark, for the ratios.
QMap<QString, double> &timings()
{
    static QMap<QString, double> map;
    return map;
}

template<typename Run> void measure(benchmark::State &state, const char *name, Run run)
{
    const QList<CVMTBatch::Entry_t> &entries = folder().entries;
    int round = 0;
    double total = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        if (!run(entries, round++))
            state.SkipWithError("the run failed");
        total += timer.nsecsElapsed() / 1e9;
    }
    const double perRun = total / double(state.iterations());
    timings()[QLatin1String(name)] = perRun;
    state.SetItemsProcessed(state.iterations() * entries.size());
    state.counters["files"] = double(entries.size());
    const double baseline = timings().value(QStringLiteral("baseline"));
    if (baseline > 0)
        state.counters["x_baseline"] = perRun / baseline;
}

bool copyThrough(const QList<CVMTBatch::Entry_t> &entries, bool saveFile)
{
    for (const CVMTBatch::Entry_t &entry : entries) {
        QFile in(entry.path);
        if (!in.open(QIODevice::ReadOnly))
            return false;
        const QByteArray bytes = in.readAll();
        in.close();
        if (saveFile) {
            QSaveFile out(entry.path);
            if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size()
                || !out.commit())
                return false;
        } else {
            QFile out(entry.path);
            if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
                return false;
        }
    }
    return true;
}

bool batch(const QList<CVMTBatch::Entry_t> &entries, const CVMTBatch::Options_t &options)
{
    bool failed = false;
    CVMTBatch::run(entries, options,
                   [&failed](const QString &, bool isError) { failed = failed || isError; });
    return !failed;
}

void BM_ReadWriteSaveFile(benchmark::State &state)
{
    measure(state, "baseline", [](const auto &entries, int) { return copyThrough(entries, true); });
}

void BM_ReadWritePlainFile(benchmark::State &state)
{
    measure(state, "plain", [](const auto &entries, int) { return copyThrough(entries, false); });
}

void BM_SetShader(benchmark::State &state)
{
    measure(state, "shader", [](const auto &entries, int round) {
        CVMTBatch::Options_t options;
        options.shader
            = round % 2 ? QStringLiteral("LightmappedGeneric") : QStringLiteral("VertexLitGeneric");
        return batch(entries, options);
    });
}

void BM_AddParameterWithAsterisk(benchmark::State &state)
{
    measure(state, "parameter", [](const auto &entries, int round) {
        CVMTBatch::Options_t options;
        options.type = CVMTBatch::Parameter;
        options.key = QStringLiteral("$detail");
        options.value = round % 2 ? QStringLiteral("*_detail") : QStringLiteral("*_d");
        return batch(entries, options);
    });
}

void BM_AddAndRemoveProxy(benchmark::State &state)
{
    measure(state, "proxy", [](const auto &entries, int round) {
        CVMTBatch::Options_t options;
        options.type = CVMTBatch::Proxy;
        options.proxyName = QStringLiteral("TextureScroll");
        options.proxyKeys = QStringList { QStringLiteral("texturescrollvar"),
                                          QStringLiteral("texturescrollrate") };
        options.proxyValues
            = QStringList { QStringLiteral("$basetexturetransform"), QStringLiteral("0.5") };
        options.remove = round % 2;
        return batch(entries, options);
    });
}

// As the user runs it: the files in the window's list, the Evaluate button, the progress.
void BM_WindowSetShader(benchmark::State &state)
{
    VMass mass;
    QStringList paths;
    for (const CVMTBatch::Entry_t &entry : folder().entries)
        paths << entry.path;
    mass.addFiles(paths);
    auto *shader = mass.findChild<QComboBox *>(QStringLiteral("shaderCombo"));
    auto *evaluate = mass.findChild<QPushButton *>(QStringLiteral("evaluateButton"));
    measure(state, "window", [&](const auto &, int round) {
        shader->setCurrentText(round % 2 ? QStringLiteral("UnlitGeneric")
                                         : QStringLiteral("VertexLitGeneric"));
        evaluate->click();
        return true;
    });
}

BENCHMARK(BM_ReadWriteSaveFile)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ReadWritePlainFile)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SetShader)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_AddParameterWithAsterisk)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_AddAndRemoveProxy)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_WindowSetShader)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    folder();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    const double baseline = timings().value(QStringLiteral("baseline"));
    if (baseline > 0) {
        std::printf("\nRatio to reading and writing the same files through QSaveFile:\n");
        for (auto it = timings().cbegin(); it != timings().cend(); ++it)
            std::printf("  %-10s %.2f\n", qPrintable(it.key()), it.value() / baseline);
    }
    return 0;
}
