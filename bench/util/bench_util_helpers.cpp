#include "util/UtilDevice.h"
#include "util/UtilPath.h"

#include <QBuffer>
#include <QStringList>
#include <QTemporaryFile>
#include <benchmark/benchmark.h>

namespace {

// About 50 MB of entity lump text, with CR LF line ends as some tools write them.
const QByteArray &entityText()
{
    static const QByteArray text = [] {
        QByteArray block;
        for (int i = 0; i < 64; ++i) {
            block += "{\r\n\"origin\" \"" + QByteArray::number(i * 16) + " -512 64\"\r\n";
            block += "\"angles\" \"0 90 0\"\r\n\"classname\" \"prop_static\"\r\n";
            block += "\"model\" \"models/props_junk/wood_crate00" + QByteArray::number(i % 10)
                + ".mdl\"\r\n\"targetname\" \"crate_" + QByteArray::number(i) + "\"\r\n}\r\n";
        }
        QByteArray all;
        const qsizetype target = 50 * 1024 * 1024;
        all.reserve(target + block.size());
        while (all.size() < target)
            all += block;
        return all;
    }();
    return text;
}

void readAllLines(QIODevice &device, benchmark::State &state)
{
    qint64 lines = 0;
    while (!device.atEnd()) {
        const QByteArray line = UTIL_readLineFromQIODevice(device);
        lines += line.isEmpty() ? 0 : 1;
    }
    benchmark::DoNotOptimize(lines);
    state.counters["lines"] = double(lines);
}

void BM_readLineFromBuffer(benchmark::State &state)
{
    const QByteArray &text = entityText();
    for (auto _ : state) {
        QBuffer buffer;
        buffer.setData(text);
        buffer.open(QIODevice::ReadOnly);
        readAllLines(buffer, state);
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(BM_readLineFromBuffer)->Unit(benchmark::kMillisecond);

void BM_readLineFromFile(benchmark::State &state)
{
    const QByteArray &text = entityText();
    QTemporaryFile file;
    if (!file.open() || file.write(text) != text.size()) {
        state.SkipWithError("cannot write the temporary file");
        return;
    }
    file.flush();
    for (auto _ : state) {
        QFile input(file.fileName());
        input.open(QIODevice::ReadOnly);
        readAllLines(input, state);
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(BM_readLineFromFile)->Unit(benchmark::kMillisecond);

// A single line of 50 MB: the missing terminator must not turn the gathering quadratic.
void BM_readLineWithoutTerminator(benchmark::State &state)
{
    const QByteArray text(50 * 1024 * 1024, 'x');
    for (auto _ : state) {
        QBuffer buffer;
        buffer.setData(text);
        buffer.open(QIODevice::ReadOnly);
        benchmark::DoNotOptimize(UTIL_readLineFromQIODevice(buffer).size());
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(BM_readLineWithoutTerminator)->Unit(benchmark::kMillisecond);

void BM_readCStringWithoutTerminator(benchmark::State &state)
{
    const QByteArray text(50 * 1024 * 1024, 'x');
    for (auto _ : state) {
        QBuffer buffer;
        buffer.setData(text);
        buffer.open(QIODevice::ReadOnly);
        QDataStream stream(&buffer);
        benchmark::DoNotOptimize(UTIL_readCStringFromQDataStream(stream, '\0', 64).size());
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(BM_readCStringWithoutTerminator)->Unit(benchmark::kMillisecond);

// A million package-style paths, as users and old tools write them.
void BM_cleanFilePath(benchmark::State &state)
{
    static const QStringList paths = [] {
        QStringList list;
        list.reserve(1000000);
        const char *shapes[]
            = { " \\materials//models\\props_c17/fence%1.vmt/ ",
                "models/props_junk/wood_crate%1.mdl", "/sound\\\\ambient//machines/hum%1.wav",
                "maps\\graphs\\\\d1_trainstation_%1.ain\\" };
        for (int i = 0; i < 1000000; ++i)
            list.append(QString::fromLatin1(shapes[i % 4]).arg(i));
        return list;
    }();
    for (auto _ : state) {
        qsizetype total = 0;
        for (const QString &path : paths) {
            QString work = path;
            total += UTIL_cleanFilePath(work).size();
        }
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_cleanFilePath)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
