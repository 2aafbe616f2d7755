// The entity lump editor on a lump of 20,000 entities: opening it and filtering the list,
// widgets included.
#include "map/CLumpFileHeader.h"
#include "map/VENTITY.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QToolButton>
#include <benchmark/benchmark.h>

namespace {

QByteArray lumpText()
{
    QByteArray all = "{\n\"classname\" \"worldspawn\"\n}\n";
    for (int i = 0; i < 20000; ++i) {
        const QByteArray n = QByteArray::number(i);
        all += "{\n\"origin\" \"" + n + " 0 0\"\n\"targetname\" \"relay_" + n
            + "\"\n\"OnTrigger\" \"door_" + n + ",Open,,0,-1\"\n\"classname\" \""
            + (i % 2 ? "logic_relay" : "light") + "\"\n}\n";
    }
    return all + '\0';
}

void BM_EntityEditorOpenAndFilter20000(benchmark::State &state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("big.lmp"));
    QFile file(path);
    const QByteArray text = lumpText();
    CLumpFileHeader header;
    header.length = qint32(text.size());
    if (!file.open(QIODevice::WriteOnly) || file.write(header.bytes() + text) != text.size() + 20) {
        state.SkipWithError("cannot write the lump");
        return;
    }
    file.close();
    double openMs = 0;
    double filterMs = 0;
    double unfilterMs = 0;
    for (auto _ : state) {
        auto *window = new VENTITY;
        window->show();
        QElapsedTimer timer;
        timer.start();
        window->fileOpen(path);
        QCoreApplication::processEvents();
        openMs += timer.nsecsElapsed() / 1e6;

        // Classname "light": every other row goes.
        window->filterToggleClassname();
        timer.restart();
        window->findChild<QLineEdit *>(QStringLiteral("filterEdit"))
            ->setText(QStringLiteral("light"));
        window->filterEntities();
        QCoreApplication::processEvents();
        filterMs += timer.nsecsElapsed() / 1e6;

        timer.restart();
        window->findChild<QLineEdit *>(QStringLiteral("filterEdit"))->clear();
        window->filterEntities();
        QCoreApplication::processEvents();
        unfilterMs += timer.nsecsElapsed() / 1e6;
        state.counters["title"]
            = window->findChild<QGroupBox *>(QStringLiteral("filterGroup"))->title().size();
        window->setWindowModified(false);
        delete window;
    }
    const double n = double(state.iterations());
    state.counters["open_ms"] = openMs / n;
    state.counters["filter_ms"] = filterMs / n;
    state.counters["unfilter_ms"] = unfilterMs / n;
}
BENCHMARK(BM_EntityEditorOpenAndFilter20000)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
