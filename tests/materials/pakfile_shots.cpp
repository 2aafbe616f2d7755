// Shows the pakfile lump editor on a copy of a map, with a file deleted and one added, or its
// scan page after a scan against a content folder made for the map, inside the workbench, and
// photographs the screen with ImageMagick's import:
//   pakfile_shots editor MAP.bsp OUT.png
//   pakfile_shots scan MAP.bsp OUT.png
//   pakfile_shots model MODEL.mdl|MODEL.phy OUT.png (the model data window)
// Meant to run under a virtual X server (tools/pakfile_screenshots.sh).

#include "ModelFixtures.h"
#include "app/ZIRK.h"
#include "materials/VPakfile.h"
#include "packages/CDelegateBSP.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QProcess>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <Magick++.h>

#include <cstdio>

namespace {

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

// Every other brush material and static prop of the map on disk, so that the scan shows files
// found and files missing.
void makeContent(const CDelegateBSP &map, const QString &root)
{
    int n = 0;
    for (const QByteArray &name : map.getBrushTextureList()) {
        if (n++ % 2 == 0)
            writeFile(root + QStringLiteral("/materials/") + QString::fromLatin1(name)
                          + QStringLiteral(".vmt"),
                      "\"LightmappedGeneric\"\n{\n\t\"$basetexture\" \"" + name + "\"\n}\n");
    }
    for (const QByteArray &name : map.getGameLumpPropStatic()) {
        if (n++ % 2)
            continue;
        MdlFixture model;
        model.textures = { "skin" };
        model.directories = { QByteArray("models/")
                              + QFileInfo(QString::fromLatin1(name)).baseName().toLatin1() };
        writeFile(root + QLatin1Char('/') + QString::fromLatin1(name), model.build());
    }
}

} // namespace

int main(int argc, char **argv)
{
    Magick::InitializeMagick(*argv);
    QApplication app(argc, argv);
    extern int qInitResources_ZIRK();
    qInitResources_ZIRK();
    const QStringList args = app.arguments();
    if (args.size() < 4) {
        std::fprintf(stderr,
                     "usage: pakfile_shots editor|scan MAP.bsp OUT.png\n"
                     "       pakfile_shots model MODEL.mdl OUT.png\n");
        return 2;
    }
    ZIRK *zirk = ZIRK::get(argc, argv);
    zirk->setGeometry(0, 0, 1280, 960);
    zirk->show();
    const QString out = args[3];
    int status = 0;
    const auto photograph = [&] {
        QTimer::singleShot(3000, &app, [&] {
            status = QProcess::execute(QStringLiteral("import"),
                                       { QStringLiteral("-window"), QStringLiteral("root"), out });
            app.exit();
        });
        app.exec();
        std::fprintf(stdout, "%s: %s\n", qPrintable(out), status == 0 ? "saved" : "import failed");
        return status == 0 ? 0 : 1;
    };
    if (args[1] == QLatin1String("model")) {
        zirk->showVMDL(args[2]);
        return photograph();
    }

    QTemporaryDir work;
    const QString map = work.filePath(QFileInfo(args[2]).fileName());
    QFile::copy(args[2], map);
    QFile::setPermissions(map, QFile::ReadOwner | QFile::WriteOwner);

    auto *editor = new VPakfile;
    QMdiSubWindow *sub = zirk->addWidgetToWorkspace(editor);
    if (sub)
        sub->showMaximized();
    if (!editor->fileOpen(map))
        return 1;
    auto *table = editor->findChild<QTableWidget *>(QStringLiteral("pakfileTable"));

    if (args[1] == QLatin1String("editor")) {
        // One file marked for deletion, one replaced, one added.
        if (table->rowCount() > 2) {
            table->selectRow(1);
            editor->findChild<QPushButton *>(QStringLiteral("fileDelete"))->click();
        }
        const QString disk = work.filePath(QStringLiteral("readme.txt"));
        writeFile(disk, "Made for this map.\n");
        CDelegateBSP *bsp = editor->getDelegate();
        if (table->rowCount() > 3) {
            auto *item = table->item(3, 0);
            const QString path = table->item(3, 1)->text() + QLatin1Char('/') + item->text();
            bsp->fileAddFromDisk(path, disk, true);
            editor->makeTableItemsForNode(bsp->getRootDirectoryNode()->getNodeByPath(
                                              IPackageDelegate::splitPackagePath(path)),
                                          3);
        }
        if (const CPackageHierarchyNode *added
            = bsp->fileAddFromDisk(QStringLiteral("readme.txt"), disk, false)) {
            table->setRowCount(table->rowCount() + 1);
            editor->makeTableItemsForNode(added, table->rowCount() - 1);
        }
        table->selectRow(0);
    } else {
        const QString content = work.filePath(QStringLiteral("content"));
        makeContent(*editor->getDelegate(), content);
        editor->findChild<QPushButton *>(QStringLiteral("pakScan"))->click();
        editor->findChild<QLineEdit *>(QStringLiteral("scanDirectory"))->setText(content);
        QTimer::singleShot(300, editor, [editor] {
            editor->findChild<QPushButton *>(QStringLiteral("scanScan"))->click();
            auto *scan = editor->findChild<QTableWidget *>(QStringLiteral("scanTable"));
            if (scan->rowCount() > 1) {
                scan->selectRow(0);
                editor->findChild<QPushButton *>(QStringLiteral("scanAdd"))->click();
                scan->selectRow(1);
            }
        });
    }

    return photograph();
}
