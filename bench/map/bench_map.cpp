// Map data: reading a 50 MB map source against reading its lines, and opening plus filtering
// the entity lump of a map with 20,000 entities.
#include "map/CEntityLump.h"
#include "map/CFileVMF.h"
#include "util/UtilDevice.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QTemporaryFile>
#include <benchmark/benchmark.h>

#include <memory>

namespace {

QByteArray solidText(int id)
{
    QByteArray text = "\tsolid\n\t{\n\t\t\"id\" \"" + QByteArray::number(id) + "\"\n";
    for (int side = 0; side < 6; ++side) {
        text += "\t\tside\n\t\t{\n\t\t\t\"id\" \"" + QByteArray::number(id * 6 + side)
            + "\"\n"
              "\t\t\t\"plane\" \"(-512 "
            + QByteArray::number(side * 64)
            + " 64) (512 -512 64) "
              "(512 512 64)\"\n\t\t\t\"material\" \"DEV/DEV_MEASUREGENERIC01B\"\n"
              "\t\t\t\"uaxis\" \"[1 0 0 0] 0.25\"\n\t\t\t\"vaxis\" \"[0 -1 0 0] 0.25\"\n"
              "\t\t\t\"rotation\" \"0\"\n\t\t\t\"lightmapscale\" \"16\"\n"
              "\t\t\t\"smoothing_groups\" \"0\"\n";
        if (side == 0 && id % 8 == 0) {
            text += "\t\t\tdispinfo\n\t\t\t{\n\t\t\t\t\"power\" \"2\"\n\t\t\t\t\"startposition\" "
                    "\"[-512 -512 64]\"\n\t\t\t\t\"flags\" \"0\"\n\t\t\t\t\"elevation\" \"0\"\n"
                    "\t\t\t\t\"subdiv\" \"0\"\n\t\t\t\tnormals\n\t\t\t\t{\n";
            for (int row = 0; row < 5; ++row)
                text += "\t\t\t\t\t\"row" + QByteArray::number(row)
                    + "\" \"0 0 1 0 0 1 0 0 1 0 0 1 0 0 1\"\n";
            text += "\t\t\t\t}\n\t\t\t}\n";
        }
        text += "\t\t}\n";
    }
    text += "\t\teditor\n\t\t{\n\t\t\t\"color\" \"0 180 233\"\n\t\t\t\"visgroupshown\" \"1\"\n"
            "\t\t\t\"visgroupautoshown\" \"1\"\n\t\t}\n\t}\n";
    return text;
}

// About 50 MB of map source: world brushes, brush entities and point entities.
const QByteArray &mapSource()
{
    static const QByteArray text = [] {
        QByteArray all = "versioninfo\n{\n\t\"editorversion\" \"400\"\n\t\"formatversion\" "
                         "\"100\"\n}\nworld\n{\n\t\"id\" \"1\"\n\t\"classname\" \"worldspawn\"\n";
        const qsizetype target = 50 * 1024 * 1024;
        all.reserve(target + 65536);
        int id = 2;
        while (all.size() < target * 3 / 4)
            all += solidText(id++);
        all += "}\n";
        while (all.size() < target) {
            all += "entity\n{\n\t\"id\" \"" + QByteArray::number(id)
                + "\"\n\t\"classname\" "
                  "\"func_door\"\n\t\"targetname\" \"door_"
                + QByteArray::number(id)
                + "\"\n"
                  "\tconnections\n\t{\n\t\t\"OnOpen\" \"relay,Trigger,,0,-1\"\n\t}\n"
                + solidText(id)
                + "\teditor\n\t{\n\t\t\"color\" \"220 30 220\"\n\t\t"
                  "\"visgroupshown\" \"1\"\n\t\t\"logicalpos\" \"[0 500]\"\n\t}\n}\n";
            ++id;
        }
        return all;
    }();
    return text;
}

qint64 readLines(QIODevice &device)
{
    qint64 lines = 0;
    while (!device.atEnd())
        lines += UTIL_readLineFromQIODevice(device).isEmpty() ? 0 : 1;
    return lines;
}

void BM_ReadMapSource50MB(benchmark::State &state)
{
    const QByteArray &text = mapSource();
    QTemporaryFile file;
    if (!file.open() || file.write(text) != text.size()) {
        state.SkipWithError("cannot write the map source");
        return;
    }
    file.close();
    double linesMs = 0;
    double readMs = 0;
    qint64 entities = 0;
    for (auto _ : state) {
        QFile input(file.fileName());
        input.open(QIODevice::ReadOnly);
        QElapsedTimer timer;
        timer.start();
        benchmark::DoNotOptimize(readLines(input));
        linesMs += timer.nsecsElapsed() / 1e6;

        input.seek(0);
        timer.restart();
        std::unique_ptr<CFileVMF> vmf(CFileVMF::createFromDevice(input, ~0ULL));
        readMs += timer.nsecsElapsed() / 1e6;
        entities = vmf->entities.size();
    }
    const double n = double(state.iterations());
    state.counters["lines_ms"] = linesMs / n;
    state.counters["read_ms"] = readMs / n;
    state.counters["ratio"] = readMs / linesMs;
    state.counters["entities"] = double(entities);
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(BM_ReadMapSource50MB)->Unit(benchmark::kMillisecond)->Iterations(3);

// An entity lump of 20,000 entities of the usual kinds.
const QByteArray &entityLump()
{
    static const QByteArray text = [] {
        QByteArray all = "{\n\"world_maxs\" \"4096 4096 1024\"\n\"skyname\" \"sky_day01_01\"\n"
                         "\"classname\" \"worldspawn\"\n}\n";
        for (int i = 0; i < 20000; ++i) {
            const QByteArray n = QByteArray::number(i);
            switch (i % 4) {
            case 0:
                all += "{\n\"origin\" \"" + n
                    + " -512 64\"\n\"angles\" \"0 90 0\"\n\"model\" "
                      "\"models/props_junk/wood_crate001a.mdl\"\n\"skin\" \"0\"\n\"spawnflags\" "
                      "\"256\"\n\"targetname\" \"crate_"
                    + n
                    + "\"\n\"classname\" "
                      "\"prop_physics\"\n}\n";
                break;
            case 1:
                all += "{\n\"origin\" \"" + n
                    + " 128 32\"\n\"_light\" \"255 240 200 300\"\n"
                      "\"_lightHDR\" \"-1 -1 -1 1\"\n\"style\" \"0\"\n\"classname\" \"light\"\n}\n";
                break;
            case 2:
                all += "{\n\"model\" \"*" + n + "\"\n\"targetname\" \"door_" + n
                    + "\"\n\"speed\" "
                      "\"100\"\n\"OnOpen\" \"relay_"
                    + n
                    + ",Trigger,,0,-1\"\n\"OnClose\" "
                      "\"relay_"
                    + n + ",Trigger,,1,-1\"\n\"classname\" \"func_door\"\n}\n";
                break;
            default:
                all += "{\n\"origin\" \"0 0 " + n + "\"\n\"targetname\" \"relay_" + n
                    + "\"\n"
                      "\"OnTrigger\" \"door_"
                    + n
                    + ",Open,,0,-1\"\n\"classname\" "
                      "\"logic_relay\"\n}\n";
            }
        }
        all += '\0';
        return all;
    }();
    return text;
}

void BM_EntityLumpParseAndFilter20000(benchmark::State &state)
{
    const QByteArray &text = entityLump();
    int shown = 0;
    for (auto _ : state) {
        QBuffer buffer;
        buffer.setData(text);
        buffer.open(QIODevice::ReadOnly);
        CEntityLump::Entities entities = CEntityLump::parse(buffer, text.size());
        CEntityLump::ensureValidity(entities);
        const CEntityLump::Rows rows = CEntityLump::rowsOf(entities);
        QVector<bool> hidden;
        // A case-folded substring over keys and values: the slowest of the filters.
        shown = CEntityLump::filter(rows, hidden,
                                    { QStringLiteral("Relay_19"),
                                      CEntityLump::Filter_Key | CEntityLump::Filter_Value
                                          | CEntityLump::Filter_Substring });
    }
    state.counters["shown"] = shown;
    state.counters["target_ms"] = 200;
}
BENCHMARK(BM_EntityLumpParseAndFilter20000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
