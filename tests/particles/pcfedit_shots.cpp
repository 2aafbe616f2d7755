// Shows the particle editor on a particle file inside the workbench, with its tree opened,
// its context menu or its "Format" menu, and photographs the screen with ImageMagick's
// import:
//   pcfedit_shots editor|context|format FILE.pcf OUT.png
// Meant to run under a virtual X server (tools/pcf_screenshots.sh).

#include "app/ZIRK.h"
#include "particles/VParticle.h"

#include <QApplication>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QTimer>
#include <QTreeWidget>

#include <cstdio>

namespace {

// Opens the first system and, in it, its lists of operators and their first entries.
QTreeWidgetItem *openFirstSystem(QTreeWidget *tree)
{
    QTreeWidgetItem *systems = tree->topLevelItem(0);
    if (!systems || !systems->childCount())
        return nullptr;
    QTreeWidgetItem *system = systems->child(0);
    system->setExpanded(true);
    QTreeWidgetItem *last = system;
    for (int i = 0; i < system->childCount(); ++i) {
        QTreeWidgetItem *list = system->child(i);
        if (list->text(0) == QLatin1String("renderers")
            || list->text(0) == QLatin1String("operators")) {
            list->setExpanded(true);
            if (list->childCount()) {
                list->child(0)->setExpanded(true);
                last = list->child(0);
            }
        }
    }
    return last;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    extern int qInitResources_ZIRK();
    qInitResources_ZIRK();
    const QStringList args = app.arguments();
    if (args.size() < 4) {
        std::fprintf(stderr, "usage: pcfedit_shots editor|context|format FILE.pcf OUT.png\n");
        return 2;
    }
    ZIRK *zirk = ZIRK::get(argc, argv);
    zirk->setGeometry(0, 0, 1280, 960);
    zirk->show();
    const QString mode = args[1];
    const QString out = args[3];

    auto *editor = new VParticle;
    if (!editor->particleOpen(args[2])) {
        std::fprintf(stderr, "%s does not read\n", qPrintable(args[2]));
        return 1;
    }
    QMdiSubWindow *sub = zirk->addWidgetToWorkspace(editor);
    if (sub)
        sub->showMaximized();
    auto *tree = editor->findChild<QTreeWidget *>(QStringLiteral("particleTree"));
    QTreeWidgetItem *row = openFirstSystem(tree);
    if (row)
        tree->setCurrentItem(row);

    QTimer::singleShot(600, editor, [editor, tree, row, mode] {
        if (mode == QLatin1String("context") && row) {
            tree->scrollToItem(row);
            emit tree->customContextMenuRequested(tree->visualItemRect(row).center());
        } else if (mode == QLatin1String("format")) {
            for (QAction *action : editor->menuBar()->actions()) {
                if (action->text() == QLatin1String("Format") && action->menu())
                    action->menu()->popup(editor->menuBar()->mapToGlobal(
                        editor->menuBar()->actionGeometry(action).bottomLeft()));
            }
        }
    });
    int status = 0;
    QTimer::singleShot(3000, &app, [&] {
        status = QProcess::execute(QStringLiteral("import"),
                                   { QStringLiteral("-window"), QStringLiteral("root"), out });
        editor->setWindowModified(false);
        app.exit();
    });
    app.exec();
    std::fprintf(stdout, "%s: %s\n", qPrintable(out), status == 0 ? "saved" : "import failed");
    return status == 0 ? 0 : 1;
}
