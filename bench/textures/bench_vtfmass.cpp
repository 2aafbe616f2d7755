// The batch converter over a folder of 512x512 PNG files, to DXT5 with mipmaps, as the user
// runs it: through the window's button. The files are made on the fly; their number comes
// from ZIRK_BENCH_FILES (200 by default).

#include "textures/VTFMass.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <Magick++.h>

namespace {

int fileCount()
{
    bool ok = false;
    const int count = qEnvironmentVariableIntValue("ZIRK_BENCH_FILES", &ok);
    return ok && count > 0 ? count : 200;
}

// Smooth colour fields with a little structure, like real textures rather than noise.
void makeSources(const QString &dir, int count)
{
    QImage image(512, 512, QImage::Format_ARGB32);
    for (int n = 0; n < count; ++n) {
        for (int y = 0; y < 512; ++y) {
            auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < 512; ++x)
                line[x] = qRgba((x + n * 7) & 255, (y * 3 + n) & 255, ((x ^ y) + n) & 255,
                                255 - ((x + y) & 127));
        }
        image.save(QStringLiteral("%1/tex%2.png").arg(dir).arg(n, 3, 10, QLatin1Char('0')));
    }
}

void BM_MassImagesToDxt5(benchmark::State &state)
{
    const int count = fileCount();
    QTemporaryDir source;
    makeSources(source.path(), count);
    for (auto _ : state) {
        QTemporaryDir target;
        VTFMass mass;
        mass.sourceEdit->setText(source.path());
        mass.targetEdit->setText(target.path());
        mass.formatCombo[0]->setCurrentIndex(VTF::DXT5);
        mass.mipmapsCheck->setChecked(true);
        mass.controlButton->click();
        if (!mass.logText().endsWith(QStringLiteral("Done")))
            state.SkipWithError("the run did not finish");
    }
    state.SetItemsProcessed(state.iterations() * count);
    state.counters["files"] = count;
}

BENCHMARK(BM_MassImagesToDxt5)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Magick::InitializeMagick(*argv);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
