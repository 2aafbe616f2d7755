// Shows the texture editor on a texture, or the batch window after a run over a generated
// folder, inside the workbench, and photographs the screen with ImageMagick's import:
//   vtfedit_shots editor TEXTURE.vtf OUT.png
//   vtfedit_shots mass OUT.png
//   vtfedit_shots settings OUT.png [0|1|2]
// Meant to run under a virtual X server (tools/vtf_screenshots.sh).

#include "app/ZIRK.h"
#include "textures/VTFMass.h"
#include "textures/VVTF.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QProcess>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <Magick++.h>

#include <cstdio>

int main(int argc, char **argv)
{
    Magick::InitializeMagick(*argv);
    QApplication app(argc, argv);
    extern int qInitResources_ZIRK();
    qInitResources_ZIRK();
    const QStringList args = app.arguments();
    if (args.size() < 3 || (args[1] == QLatin1String("editor") && args.size() < 4)) {
        std::fprintf(stderr,
                     "usage: vtfedit_shots editor TEXTURE OUT.png | mass OUT.png | settings "
                     "OUT.png [MODE]\n");
        return 2;
    }
    ZIRK *zirk = ZIRK::get(argc, argv);
    zirk->setGeometry(0, 0, 1280, 960);
    zirk->show();
    QString out;
    QTemporaryDir work;

    if (args[1] == QLatin1String("editor")) {
        out = args[3];
        auto *editor = new VVTF(args[2]);
        QMdiSubWindow *sub = zirk->addWidgetToWorkspace(editor);
        if (sub)
            sub->showMaximized();
        editor->tabs->setCurrentIndex(1);
    } else if (args[1] == QLatin1String("settings")) {
        // The settings page of one kind of work: 0 images to textures, 1 modify, 2 to images.
        out = args[2];
        auto *mass = new VTFMass;
        mass->modeCombo->setCurrentIndex(args.value(3).toInt());
        QMdiSubWindow *sub = zirk->addWidgetToWorkspace(mass);
        if (sub)
            sub->showMaximized();
        mass->pageList->setCurrentRow(1);
    } else {
        out = args[2];
        // A small folder: a few pictures in two levels and one file that is no picture.
        const QString source = work.filePath(QStringLiteral("source"));
        QDir().mkpath(source + QStringLiteral("/decals"));
        for (int n = 0; n < 6; ++n) {
            QImage image(96 + n * 40, 64 + n * 16, QImage::Format_ARGB32);
            image.fill(qRgba(40 * n, 255 - 30 * n, 128, 255));
            image.save(QStringLiteral("%1/%2tile%3.png")
                           .arg(source, n % 2 ? QStringLiteral("decals/") : QString())
                           .arg(n));
        }
        QFile fake(source + QStringLiteral("/decals/notes.png"));
        fake.open(QIODevice::WriteOnly);
        fake.write("not a picture");
        fake.close();
        auto *mass = new VTFMass;
        mass->sourceEdit->setText(source);
        mass->targetEdit->setText(work.filePath(QStringLiteral("materials")));
        mass->recursiveCheck->setChecked(true);
        mass->preserveCheck->setChecked(true);
        QMdiSubWindow *sub = zirk->addWidgetToWorkspace(mass);
        if (sub)
            sub->showMaximized();
        QTimer::singleShot(300, mass, [mass] { mass->controlButton->click(); });
    }

    int status = 0;
    QTimer::singleShot(4000, &app, [&] {
        status = QProcess::execute(QStringLiteral("import"),
                                   { QStringLiteral("-window"), QStringLiteral("root"), out });
        app.exit();
    });
    app.exec();
    std::fprintf(stdout, "%s: %s\n", qPrintable(out), status == 0 ? "saved" : "import failed");
    return status == 0 ? 0 : 1;
}
