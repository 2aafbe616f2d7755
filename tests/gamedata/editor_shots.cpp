// Shows the detail type editor or the game data viewer on a file inside the workbench, with an
// item in focus, and photographs the screen with ImageMagick's import:
//   editor_shots vbsp FILE.vbsp OUT.png
//   editor_shots fgd FILE.fgd OUT.png
// Meant to run under a virtual X server (tools/detail_fgd_screenshots.sh).

#include "app/ZIRK.h"
#include "gamedata/CFileFGD.h"
#include "gamedata/VFGD.h"
#include "map/VVBSP.h"

#include <QApplication>
#include <QMdiSubWindow>
#include <QProcess>
#include <QTableWidget>
#include <QTimer>
#include <QTreeWidget>

#include <Magick++.h>

#include <cstdio>

namespace {

// The first sprite prop, or the first prop of all when every one is a model.
QTreeWidgetItem *pickProp(QTreeWidget *tree)
{
    QTreeWidgetItem *first = nullptr;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        if ((*it)->parent() && (*it)->parent()->parent()) {
            if (!first)
                first = *it;
        }
    }
    return first;
}

void focusVbsp(VVBSP *editor)
{
    auto *tree = editor->findChild<QTreeWidget *>(QStringLiteral("tree"));
    CFileVBSP *file = editor->getFile();
    if (!tree || !file)
        return;
    // Prefer a sprite, whose form shows every group.
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        QTreeWidgetItem *item = *it;
        if (!item->parent() || !item->parent()->parent())
            continue;
        tree->setCurrentItem(item);
        if (editor->getCurrentDetailprop() && editor->getCurrentDetailprop()->model.empty())
            return;
    }
    tree->setCurrentItem(pickProp(tree));
}

void focusFgd(VFGD *viewer)
{
    auto *entities = viewer->findChild<QTableWidget *>(QStringLiteral("entities"));
    auto *keyvalues = viewer->findChild<QTableWidget *>(QStringLiteral("keyvalues"));
    const CFileFGD *file = viewer->getFile();
    if (!entities || !keyvalues || !file)
        return;
    // A class with a list of choices and some flags, so that every table has rows.
    for (size_t row = 0; row < file->entities.size(); ++row) {
        const CFileFGD::Entity_t &entity = file->entities[row];
        if (entity.type == FGD::BaseClass || !entity.spawnflagMask)
            continue;
        for (size_t key = 0; key < entity.keyvalues.size(); ++key) {
            if (entity.keyvalues[key].type != FGD::Choices)
                continue;
            entities->setCurrentCell(int(row), 0);
            entities->scrollToItem(entities->item(int(row), 0));
            keyvalues->setCurrentCell(int(key), 0);
            return;
        }
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
        std::fprintf(stderr, "usage: editor_shots vbsp|fgd FILE OUT.png\n");
        return 2;
    }
    ZIRK *zirk = ZIRK::get(argc, argv);
    zirk->setGeometry(0, 0, 1280, 960);
    zirk->show();
    const QString out = args[3];
    QWidget *window = nullptr;
    if (args[1] == QLatin1String("vbsp")) {
        auto *editor = new VVBSP(args[2]);
        focusVbsp(editor);
        window = editor;
    } else {
        auto *file = new CFileFGD;
        if (!file->createFromFile(args[2]))
            std::fprintf(stderr, "%s: read with a failure; showing what was read\n",
                         qPrintable(args[2]));
        auto *viewer = new VFGD(file);
        focusFgd(viewer);
        window = viewer;
    }
    QMdiSubWindow *sub = zirk->addWidgetToWorkspace(window);
    if (sub)
        sub->showMaximized();

    int status = 0;
    QTimer::singleShot(2500, &app, [&] {
        status = QProcess::execute(QStringLiteral("import"),
                                   { QStringLiteral("-window"), QStringLiteral("root"), out });
        app.exit();
    });
    app.exec();
    std::fprintf(stdout, "%s: %s\n", qPrintable(out), status == 0 ? "saved" : "import failed");
    return status == 0 ? 0 : 1;
}
