// Shows the material editor on a material, or the Mass VMT Editor after a run over a generated
// folder, inside the workbench, and photographs the screen with ImageMagick's import:
//   vmt_shots editor MATERIAL.vmt OUT.png
//   vmt_shots mass OUT.png
// Meant to run under a virtual X server (tools/vmt_screenshots.sh).

#include "app/ZIRK.h"
#include "materials/VMass.h"
#include "materials/VVMT.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QProcess>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <Magick++.h>

#include <cstdio>

namespace {

// A few materials in two folders, one of them a texture without its material, and one file
// that no routine can place a parameter in.
QStringList makeMaterials(const QString &root)
{
    QStringList paths;
    const char *names[] = { "concrete/floor01", "concrete/wall02", "metal/plate01", "metal/grate03",
                            "glass/window01" };
    for (const char *name : names) {
        const QString path
            = root + QStringLiteral("/materials/") + QLatin1String(name) + QStringLiteral(".vmt");
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            continue;
        file.write("\"LightmappedGeneric\"\n{\n\t\"$basetexture\" \"" + QByteArray(name)
                   + "\"\n\t\"$surfaceprop\" \"" + QByteArray(name).split('/').first() + "\"\n}\n");
        paths << path;
    }
    const QString texture = root + QStringLiteral("/materials/metal/rust01.vtf");
    QFile vtf(texture);
    if (vtf.open(QIODevice::WriteOnly))
        vtf.write("VTF");
    paths << texture;
    const QString odd = root + QStringLiteral("/materials/glass/notes.vmt");
    QFile notes(odd);
    if (notes.open(QIODevice::WriteOnly))
        notes.write("not a material\n");
    paths << odd;
    return paths;
}

} // namespace

int main(int argc, char **argv)
{
    Magick::InitializeMagick(*argv);
    QApplication app(argc, argv);
    extern int qInitResources_ZIRK();
    qInitResources_ZIRK();
    const QStringList args = app.arguments();
    if (args.size() < 3 || (args[1] == QLatin1String("editor") && args.size() < 4)) {
        std::fprintf(stderr, "usage: vmt_shots editor MATERIAL OUT.png | mass OUT.png\n");
        return 2;
    }
    ZIRK *zirk = ZIRK::get(argc, argv);
    zirk->setGeometry(0, 0, 1280, 960);
    zirk->show();
    QString out;
    QTemporaryDir work;

    if (args[1] == QLatin1String("editor")) {
        out = args[3];
        auto *editor = new VVMT(args[2]);
        QMdiSubWindow *sub = zirk->addWidgetToWorkspace(editor);
        if (sub)
            sub->showMaximized();
        // Hover over a shader, so that its description shows.
        if (auto *list = editor->findChild<QListWidget *>(QStringLiteral("shaderList")))
            list->setCurrentRow(0);
    } else {
        out = args[2];
        auto *mass = new VMass;
        mass->addFiles(makeMaterials(work.path()));
        mass->findChild<QComboBox *>(QStringLiteral("keyCombo"))
            ->setCurrentText(QStringLiteral("$detail"));
        mass->findChild<QLineEdit *>(QStringLiteral("valueEdit"))
            ->setText(QStringLiteral("*_detail"));
        mass->findChild<QComboBox *>(QStringLiteral("proxyCombo"))->setCurrentIndex(1);
        QMdiSubWindow *sub = zirk->addWidgetToWorkspace(mass);
        if (sub)
            sub->showMaximized();
        QTimer::singleShot(300, mass, [mass] {
            mass->findChild<QPushButton *>(QStringLiteral("addParameterButton"))->click();
        });
    }

    int status = 0;
    QTimer::singleShot(3000, &app, [&] {
        status = QProcess::execute(QStringLiteral("import"),
                                   { QStringLiteral("-window"), QStringLiteral("root"), out });
        app.exit();
    });
    app.exec();
    std::fprintf(stdout, "%s: %s\n", qPrintable(out), status == 0 ? "saved" : "import failed");
    return status == 0 ? 0 : 1;
}
