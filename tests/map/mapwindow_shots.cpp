// Shows the entity lump editor or the lump inspector on a map inside the workbench, and
// photographs the screen with ImageMagick's import:
//   mapwindow_shots entity MAP.bsp OUT.png
//   mapwindow_shots bspinfo MAP.bsp OUT.png
// Meant to run under a virtual X server (tools/map_screenshots.sh).

#include "app/ZIRK.h"

#include <QApplication>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QProcess>
#include <QTimer>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    extern int qInitResources_ZIRK();
    qInitResources_ZIRK();
    const QStringList args = app.arguments();
    if (args.size() < 4
        || (args[1] != QLatin1String("entity") && args[1] != QLatin1String("bspinfo"))) {
        std::fprintf(stderr, "usage: mapwindow_shots entity|bspinfo MAP.bsp OUT.png\n");
        return 2;
    }
    ZIRK *zirk = ZIRK::get(argc, argv);
    zirk->setGeometry(0, 0, 1280, 960);
    zirk->show();
    if (args[1] == QLatin1String("entity"))
        zirk->showVEntity(args[2]);
    else
        zirk->showVBSPInfo(args[2]);
    QMdiSubWindow *sub = zirk->getWorkspace()->subWindowList().value(1);
    if (!sub) {
        std::fprintf(stderr, "%s: the window did not open\n", qPrintable(args[2]));
        return 1;
    }
    sub->showMaximized();
    // Show the pairs of the entity with the most of them.
    if (auto *list = sub->widget()->findChild<QListWidget *>(QStringLiteral("entityList"))) {
        int best = qMin(1, list->count() - 1);
        for (int row = 0; row < list->count(); ++row) {
            if (list->item(row)->text().contains(QLatin1Char('(')))
                best = row;
        }
        list->setCurrentRow(best);
    }

    const QString out = args[3];
    int status = 0;
    QTimer::singleShot(2000, &app, [&] {
        status = QProcess::execute(QStringLiteral("import"),
                                   { QStringLiteral("-window"), QStringLiteral("root"), out });
        app.exit();
    });
    app.exec();
    std::fprintf(stdout, "%s: %s\n", qPrintable(out), status == 0 ? "saved" : "import failed");
    return status == 0 ? 0 : 1;
}
