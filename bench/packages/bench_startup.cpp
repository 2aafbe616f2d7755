// The start of a process that only reads a package (zirk_startup_probe,
// linked with zirk_core), beside one that links Qt Core alone and reads the
// same file (zirk_startup_baseline). What the probe loads besides is what a
// command line listing would pay for at every start.
//
// "vs_baseline" is the probe's wall time per start over the Qt Core reader's.
// ZIRK_STARTUP_PROBE names another probe to time instead (an older build).

#include "LargeVpk.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>

extern char **environ;

namespace {

const std::string &packagePath()
{
    static QTemporaryDir dir;
    static std::string path;
    if (path.empty()) {
        const QString file = dir.filePath(QStringLiteral("small_dir.vpk"));
        QFile out(file);
        if (out.open(QIODevice::WriteOnly))
            out.write(largevpk::makeDirectory(4, 5));
        path = file.toStdString();
    }
    return path;
}

// The two programs are built into bench-helpers beside this one's folder.
std::string helper(const char *name)
{
    return (QCoreApplication::applicationDirPath() + QStringLiteral("/../bench-helpers/")
            + QLatin1String(name))
        .toStdString();
}

bool runOnce(const std::string &program)
{
    const std::string &package = packagePath();
    char *argv[]
        = { const_cast<char *>(program.c_str()), const_cast<char *>(package.c_str()), nullptr };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failed = posix_spawn(&child, program.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return failed == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)
        && WEXITSTATUS(status) == 0;
}

// The two programs take turns, so that a machine busy with other work
// weighs on both alike.
void BM_StartPackageProbeBesideQtCoreReader(benchmark::State &state)
{
    const std::string baseline = helper("zirk_startup_baseline");
    const char *other = std::getenv("ZIRK_STARTUP_PROBE");
    const std::string probe = other ? std::string(other) : helper("zirk_startup_probe");
    const int starts = 100;
    double baselineSeconds = 0, probeSeconds = 0;
    for (auto _ : state) {
        for (int i = 0; i < starts; ++i) {
            for (int turn = 0; turn < 2; ++turn) {
                const std::string &program = (i + turn) % 2 ? probe : baseline;
                const auto begin = std::chrono::steady_clock::now();
                if (!runOnce(program)) {
                    state.SkipWithError(("cannot run " + program).c_str());
                    return;
                }
                const double seconds
                    = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin)
                          .count();
                (&program == &probe ? probeSeconds : baselineSeconds) += seconds;
            }
        }
    }
    const double runs = double(state.iterations()) * starts;
    state.counters["probe_ms"] = probeSeconds / runs * 1e3;
    state.counters["qtcore_ms"] = baselineSeconds / runs * 1e3;
    state.counters["vs_baseline"] = probeSeconds / baselineSeconds;
}
BENCHMARK(BM_StartPackageProbeBesideQtCoreReader)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
