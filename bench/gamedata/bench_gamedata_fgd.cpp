// Reading game data files: the largest sample and generated files of 1 and 10 MB in several
// shapes. Each reading is set beside its baseline, reading the same file and passing once over
// its bytes ("vs_baseline"); the 10 MB readings also report their time per byte against the
// 1 MB reading of the same shape ("per_byte_vs_1MB"), which stays near 1 for a linear reader.
// The ratios are of processor time, so that other work on the machine leaves them alone.

#include "gamedata/CFileFGD.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <ctime>
#include <map>
#include <string>

namespace {

QTemporaryDir &workDir()
{
    static QTemporaryDir dir;
    return dir;
}

// Processor time of this process: the machine's other load does not count.
double processSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

std::map<std::string, double> &secondsPerIteration()
{
    static std::map<std::string, double> seconds;
    return seconds;
}

QByteArray generate(const std::string &shape, qsizetype size)
{
    QByteArray data;
    data.reserve(size + 4096);
    int n = 0;
    if (shape == "exclusions")
        data += "@MaterialExclusion\n[\n";
    if (shape == "one class")
        data += "@PointClass base(Targetname) = giant : \"One class\"\n[\n";
    while (data.size() < size) {
        const QByteArray number = QByteArray::number(n++);
        if (shape == "classes") {
            data += "@PointClass base(Targetname, Angles) sphere(r) size(-8 -8 -8, 8 8 8) "
                    "color(255 0 0) = thing_"
                + number
                + " : \"A thing\" + \" to test\"\n[\n"
                  "\tr(float) : \"Radius\" : 64 : \"How far\"\n"
                  "\tmode(choices) : \"Mode\" : 0 = [ 0 : \"Off\" 1 : \"On\" ]\n"
                  "\tspawnflags(flags) = [ 1 : \"Start\" : 1 2 : \"Other\" : 0 ]\n"
                  "\tinput Enable(void) : \"Enables\"\n\toutput OnHit(void) : \"Hit\"\n]\n\n";
        } else if (shape == "includes") {
            data += "@include \"file_" + number + ".fgd\"\n";
        } else if (shape == "exclusions") {
            data += "\t\"materials/dir_" + number + "\"\n";
        } else {
            data += "\tkey_" + number + "(string) : \"Key " + number + "\" : \"\" : \"Text\"\n";
        }
    }
    return data;
}

QString fileFor(const std::string &shape, qsizetype size)
{
    const QString path = workDir().filePath(
        QStringLiteral("%1_%2.fgd").arg(QString::fromStdString(shape)).arg(size));
    if (!QFile::exists(path)) {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(generate(shape, size));
    }
    return path;
}

QString largestSample()
{
    const QString dir = QStringLiteral(ZIRK_SAMPLES_DIR "/fgd");
    QString best;
    qint64 bestSize = -1;
    for (const QFileInfo &info :
         QDir(dir).entryInfoList({ QStringLiteral("*.fgd") }, QDir::Files)) {
        if (info.size() > bestSize) {
            bestSize = info.size();
            best = info.filePath();
        }
    }
    return best;
}

void run(benchmark::State &state, const QString &path, const std::string &key, bool baseline,
         const std::string &perByteKey = std::string())
{
    if (path.isEmpty() || !QFile::exists(path)) {
        state.SkipWithError("no such file");
        return;
    }
    const qint64 bytes = QFileInfo(path).size();
    const double start = processSeconds();
    for (auto _ : state) {
        if (baseline) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                state.SkipWithError("unreadable");
            const QByteArray data = file.readAll();
            qsizetype lines = 0;
            for (char c : data)
                lines += c == '\n';
            benchmark::DoNotOptimize(lines);
        } else {
            CFileFGD fgd;
            benchmark::DoNotOptimize(fgd.createFromFile(path));
            benchmark::DoNotOptimize(fgd.entities.size());
        }
    }
    const double seconds = (processSeconds() - start)
        / double(std::max<benchmark::IterationCount>(1, state.iterations()));
    state.SetBytesProcessed(state.iterations() * bytes);
    auto &table = secondsPerIteration();
    table[key + (baseline ? ":base" : "")] = seconds / double(bytes);
    if (!baseline && table.count(key + ":base"))
        state.counters["vs_baseline"] = (seconds / double(bytes)) / table[key + ":base"];
    if (!perByteKey.empty() && table.count(perByteKey))
        state.counters["per_byte_vs_1MB"] = (seconds / double(bytes)) / table[perByteKey];
}

void BM_LargestSampleBaseline(benchmark::State &state)
{
    run(state, largestSample(), "sample", true);
}
BENCHMARK(BM_LargestSampleBaseline)->Unit(benchmark::kMillisecond);

void BM_LargestSample(benchmark::State &state)
{
    run(state, largestSample(), "sample", false);
}
BENCHMARK(BM_LargestSample)->Unit(benchmark::kMillisecond);

void registerShape(const std::string &shape)
{
    const qsizetype small = 1 << 20;
    const qsizetype large = 10 << 20;
    for (qsizetype size : { small, large }) {
        const std::string key = shape + "/" + std::to_string(size >> 20) + "MB";
        const std::string perByte = size == large ? shape + "/1MB" : std::string();
        benchmark::RegisterBenchmark(("Baseline/" + key).c_str(), [=](benchmark::State &state) {
            run(state, fileFor(shape, size), key, true);
        })->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Read/" + key).c_str(), [=](benchmark::State &state) {
            run(state, fileFor(shape, size), key, false, perByte);
        })->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char **argv)
{
    for (const char *shape : { "classes", "one class", "includes", "exclusions" })
        registerShape(shape);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
