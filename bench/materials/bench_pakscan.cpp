// The dependency scan of a map with 5,000 references (brush materials, static props, entity
// models and sprites; ZIRK_BENCH_REFERENCES) against a content folder of 50,000 files
// (ZIRK_BENCH_FILES), at a quarter, a half and all of the references, to show that the time
// grows with the references and not faster. The baseline is the file work the scan cannot
// avoid: a look for each found path on disk, and one read of every file it follows.

#include "../../tests/materials/ModelFixtures.h"
#include "../../tests/packages/BspFixture.h"
#include "materials/CPakfileScan.h"
#include "packages/CDelegateBSP.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

int setting(const char *name, int fallback)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok && value > 0 ? value : fallback;
}

int &filesWritten()
{
    static int count = 0;
    return count;
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    ++filesWritten();
}

// One map per share of the references, and the content folder they all point into.
struct World
{
    QTemporaryDir dir;
    QString content;
    QMap<int, QString> maps; // by share, in quarters
    ProgramSettings_t settings { QStringLiteral("/nonexistent/noitazilait.ini") };
    int references = 0;
    int files = 0;

    World()
    {
        fillScanVocabulary(settings);
        references = setting("ZIRK_BENCH_REFERENCES", 5000);
        content = dir.filePath(QStringLiteral("content/"));
        const int brushes = references * 2 / 5;
        const int props = references / 5;
        const int entities = references - brushes - props;
        for (const char *sub : { "materials/brush", "materials/sprites", "models/props",
                                 "models/entities", "materials/models", "filler" })
            QDir().mkpath(content + QLatin1String(sub));
        // Every referenced file exists and names one more file.
        for (int n = 0; n < brushes; ++n)
            writeFile(content + QStringLiteral("materials/brush/b%1.vmt").arg(n),
                      "\"LightmappedGeneric\"\n{\n\"$basetexture\" \"brush/b"
                          + QByteArray::number(n) + "\"\n}\n");
        for (int n = 0; n < entities / 2; ++n)
            writeFile(content + QStringLiteral("materials/sprites/s%1.vmt").arg(n),
                      "\"Sprite\"\n{\n\"$basetexture\" \"sprites/s" + QByteArray::number(n)
                          + "\"\n}\n");
        for (int n = 0; n < props + (entities - entities / 2); ++n) {
            MdlFixture model;
            model.textures = { "skin" + QByteArray::number(n) };
            model.directories = { "models" };
            const bool prop = n < props;
            writeFile(content
                          + (prop ? QStringLiteral("models/props/p%1.mdl")
                                  : QStringLiteral("models/entities/e%1.mdl"))
                                .arg(prop ? n : n - props),
                      model.build());
            writeFile(content + QStringLiteral("materials/models/skin%1.vmt").arg(n),
                      "\"VertexLitGeneric\"\n{\n}\n");
        }
        // The rest of the folder is content that nothing names.
        const int total = setting("ZIRK_BENCH_FILES", 50000);
        for (int n = 0; filesWritten() < total; ++n) {
            if (n % 1000 == 0)
                QDir().mkpath(content + QStringLiteral("filler/d%1").arg(n / 1000));
            writeFile(content + QStringLiteral("filler/d%1/f%2.vtf").arg(n / 1000).arg(n), "VTF");
        }
        files = filesWritten();
        for (int quarter : { 1, 2, 4 })
            maps[quarter] = makeMap(brushes * quarter / 4, props * quarter / 4,
                                    entities * quarter / 4, quarter);
    }

    QString makeMap(int brushes, int props, int entities, int quarter)
    {
        BspFixture map;
        QByteArray names;
        for (int n = 0; n < brushes; ++n)
            names += "brush/b" + QByteArray::number(n) + '\0';
        map.lumps[43] = names;
        QByteArray dictionary(4, '\0');
        put32(dictionary, 0, props);
        for (int n = 0; n < props; ++n)
            dictionary
                += ("models/props/p" + QByteArray::number(n) + ".mdl").leftJustified(128, '\0');
        map.gameLumps = { { CDelegateBSP::StaticPropId, 0, 5, dictionary } };
        QByteArray text;
        for (int n = 0; n < entities; ++n) {
            const QByteArray id = QByteArray::number(n / 2);
            text += n % 2 ? "{\n\"classname\" \"env_sprite\"\n\"spritename\" \"materials/sprites/s"
                    + id + ".vmt\"\n}\n"
                          : "{\n\"classname\" \"prop_dynamic\"\n\"model\" \"models/entities/e" + id
                    + ".mdl\"\n}\n";
        }
        map.lumps[0] = text;
        const QString path = dir.filePath(QStringLiteral("map%1.bsp").arg(quarter));
        if (!map.write(path))
            qFatal("cannot write the map");
        return path;
    }
};

World &world()
{
    static World instance;
    return instance;
}

QMap<int, double> &baselines()
{
    static QMap<int, double> map;
    return map;
}

QVector<CPakfileScan::Row_t> scan(int quarter)
{
    CDelegateBSP map;
    if (!map.openPackage(world().maps.value(quarter), true))
        qFatal("cannot open the map");
    CPakfileScan::Options_t options;
    options.mask = CPakfileScan::Materials | CPakfileScan::Models | CPakfileScan::StaticProps;
    options.contentDirectory = world().content;
    options.map = &map;
    options.settings = &world().settings;
    return CPakfileScan::run(options);
}

// The file work the scan cannot avoid.
void touchFiles(const QVector<CPakfileScan::Row_t> &rows)
{
    for (const CPakfileScan::Row_t &row : rows) {
        QFile file(world().content + row.path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        if (row.path.endsWith(QLatin1String(".vmt")) || row.path.endsWith(QLatin1String(".mdl")))
            benchmark::DoNotOptimize(file.readAll());
    }
}

void BM_FileBaseline(benchmark::State &state)
{
    const int quarter = int(state.range(0));
    const QVector<CPakfileScan::Row_t> rows = scan(quarter);
    double total = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        touchFiles(rows);
        total += timer.nsecsElapsed() / 1e9;
    }
    baselines()[quarter] = total / double(state.iterations());
    state.counters["paths"] = double(rows.size());
}

void BM_Scan(benchmark::State &state)
{
    const int quarter = int(state.range(0));
    qsizetype found = 0;
    double total = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        found = scan(quarter).size();
        total += timer.nsecsElapsed() / 1e9;
    }
    const double perRun = total / double(state.iterations());
    const int references = world().references * quarter / 4;
    state.counters["references"] = references;
    state.counters["files"] = world().files;
    state.counters["paths"] = double(found);
    state.counters["us_per_ref"] = perRun * 1e6 / references;
    if (baselines().value(quarter) > 0)
        state.counters["x_baseline"] = perRun / baselines().value(quarter);
}

} // namespace

BENCHMARK(BM_FileBaseline)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scan)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    world();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
