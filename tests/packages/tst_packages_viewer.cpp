#include "ArchiveFixtures.h"
#include "ZirkTest.h"

#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "packages/CDelegateVPK.h"
#include "packages/QDelayedMimeData.h"
#include "packages/VPackage.h"
#include "packages/VPackagePropertiesDialog.h"
#include "packages/VPackageTableWidget.h"
#include "packages/VPackageTableWidgetItem.h"
#include "packages/VPackageTreeWidgetItem.h"
#include "util/QProgressDialogger.h"
#include "util/QSearchDialog.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDirIterator>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimer>
#include <QTreeWidget>

#include <functional>
#include <memory>

using fixtures::CacheBuilder;
using fixtures::VpkBuilder;

class tst_packages_viewer : public QObject
{
    Q_OBJECT

    QTemporaryDir temp;
    QString vpkPath;

    static QStringList tableNames(const VPackage &viewer)
    {
        QStringList names;
        for (int row = 0; row < viewer.getTableWidget()->rowCount(); ++row)
            names << viewer.getTableWidget()->item(row, 0)->text();
        return names;
    }

    static QTreeWidgetItem *findItem(const VPackage &viewer, const QString &path)
    {
        QTreeWidgetItem *item = viewer.getTreeWidget()->topLevelItem(0);
        for (const QString &part : path.split('/', Qt::SkipEmptyParts)) {
            QTreeWidgetItem *next = nullptr;
            for (int i = 0; item && i < item->childCount(); ++i) {
                if (item->child(i)->text(0) == part)
                    next = item->child(i);
            }
            item = next;
        }
        return item;
    }

    static void click(QTreeWidget *tree, QTreeWidgetItem *item)
    {
        tree->scrollToItem(item);
        const QRect rect = tree->visualItemRect(item);
        QVERIFY(rect.isValid());
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
    }

    // A press and release, then the second press that makes it a double click.
    static void doubleClick(VPackageTableWidget *table, int row)
    {
        const QPoint at = table->visualItemRect(table->item(row, 0)).center();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
    }

    // Runs the viewer's search while a timer fills in and accepts the dialog.
    static void search(VPackage &viewer, const QString &query, int mode, bool caseSensitive)
    {
        QTimer::singleShot(0, [&viewer, query, mode, caseSensitive] {
            QSearchDialog *dialog = viewer.getSearchDialog();
            QTRY_VERIFY(dialog->isVisible());
            dialog->queryEdit()->setText(query);
            dialog->modeCombo()->setCurrentIndex(mode);
            dialog->caseSensitiveBox()->setChecked(caseSensitive);
            QTest::mouseClick(dialog->buttonOk(), Qt::LeftButton);
        });
        viewer.getAction(QStringLiteral("Search"))->trigger();
    }

    // Answers the shared directory dialog with `target` while `start` runs.
    static void chooseDirectory(const QString &target, const std::function<void()> &start)
    {
        QTimer::singleShot(0, [target] {
            QFileDialog *dialog = ZIRK::get()->getFileDialog();
            QTRY_VERIFY(dialog && dialog->isVisible());
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Select Directory"));
            dialog->setDirectory(target);
            static_cast<QDialog *>(dialog)->done(QDialog::Accepted);
        });
        start();
    }

    // Runs `action` and answers the warning box it raises; gives the box's text.
    static QString answerWarning(const std::function<void()> &action)
    {
        QString text;
        QTimer guard;
        connect(&guard, &QTimer::timeout, [&text] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                if (box->windowTitle() == QLatin1String("Package Viewer"))
                    text = box->text();
                box->close();
            }
        });
        guard.start(20);
        action();
        (void)QTest::qWaitFor([&text] { return !text.isEmpty(); }, 1000);
        return text;
    }

    // Files below root, relative to it, sorted; with a prefix, only below the
    // folders whose names begin with it.
    static QStringList filesBelow(const QString &root, const QString &prefix)
    {
        QStringList files;
        QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = QDir(root).relativeFilePath(it.next());
            if (file.startsWith(prefix))
                files << file;
        }
        files.sort();
        return files;
    }

    static QByteArray readFile(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

    static QProgressDialogger *finishedLog(VPackage &viewer)
    {
        QProgressDialogger *dialog = viewer.findChild<QProgressDialogger *>();
        if (!dialog || !QTest::qWaitFor([dialog] { return dialog->buttonOk()->isEnabled(); }))
            return nullptr;
        return dialog;
    }

private slots:
    void initTestCase()
    {
        zirkInitTestResources();
        QVERIFY(temp.isValid());
        fixtures::writeFile(temp.filePath(QStringLiteral("noitazilait.ini")),
                            "[general]\nminimize_output_on_startup:true\n[/general]\n");
        QVERIFY(QDir::setCurrent(temp.path()));
        QVERIFY(ZIRK::get());

        VpkBuilder builder;
        builder.add(QStringLiteral("materials/brick/wall.vmt"), "\"LightmappedGeneric\"\n{\n}\n");
        builder.add(QStringLiteral("materials/brick/wall.vtf"), "not really a texture", 1);
        builder.add(QStringLiteral("materials/metal/plate.vmt"), "plate material");
        builder.add(QStringLiteral("sound/zirk_viewer_test_a.wav"), "RIFF....WAVE");
        builder.add(QStringLiteral("docs/readme.txt"), "read me");
        vpkPath = temp.filePath(QStringLiteral("pak01_dir.vpk"));
        QVERIFY(fixtures::writeFile(vpkPath, builder.build()));
        QVERIFY(fixtures::writeFile(temp.filePath(QStringLiteral("pak01_001.vpk")),
                                    builder.archives().value(1)));
    }

    void unknownSuffixLeavesTheWindowClosedSilently()
    {
        const QString path = temp.filePath(QStringLiteral("archive.zip"));
        QVERIFY(fixtures::writeFile(path, "PK"));
        bool boxShown = false;
        QTimer guard;
        connect(&guard, &QTimer::timeout, [&boxShown] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                boxShown = true;
                box->close();
            }
        });
        guard.start(10);
        VPackage viewer(path);
        QTest::qWait(50);
        QVERIFY(!boxShown);
        QVERIFY(!viewer.getDelegate());
        QVERIFY(!viewer.getTreeWidget()->isEnabled());
        QVERIFY(!viewer.getAction(QStringLiteral("Search"))->isEnabled());
        QVERIFY(!viewer.getPathLine()->isEnabled());
        QCOMPARE(viewer.getPathLine()->text(), QStringLiteral("..."));
        QCOMPARE(viewer.getTreeWidget()->topLevelItemCount(), 0);
    }

    void brokenPackageShowsTheDelegateError()
    {
        const QString path = temp.filePath(QStringLiteral("broken.vpk"));
        QVERIFY(fixtures::writeFile(path, "no tree here"));
        QString text;
        QTimer::singleShot(0, [&text] {
            QTRY_VERIFY(qobject_cast<QMessageBox *>(QApplication::activeModalWidget()));
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QCOMPARE(box->windowTitle(), QStringLiteral("Package Viewer"));
            text = box->text();
            box->close();
        });
        VPackage viewer(path);
        QCOMPARE(text, QStringLiteral("Read Error: Incomplete read"));
        QCOMPARE(viewer.getTreeWidget()->topLevelItemCount(), 0);
        // The failed package does not hold the window: the next one opens here.
        viewer.fileOpen(vpkPath);
        QCOMPARE(viewer.getTreeWidget()->topLevelItemCount(), 1);
    }

    void openingShowsTheRootDirectory()
    {
        VPackage viewer(vpkPath);
        QCOMPARE(viewer.windowTitle(), QStringLiteral("pak01_dir"));
        QTreeWidget *tree = viewer.getTreeWidget();
        QVERIFY(tree->isEnabled());
        QCOMPARE(tree->topLevelItemCount(), 1);
        QCOMPARE(tree->topLevelItem(0)->text(0), QStringLiteral("root"));
        QVERIFY(tree->topLevelItem(0)->isExpanded());
        QCOMPARE(tree->currentItem(), tree->topLevelItem(0));
        QCOMPARE(viewer.getPathLine()->text(), QStringLiteral("..."));
        QCOMPARE(tableNames(viewer), QStringList({ "materials", "sound", "docs" }));
        QCOMPARE(viewer.getTableWidget()->item(0, 1)->text(), QStringLiteral("2 Item(s)"));
        QCOMPARE(viewer.getTableWidget()->rowHeight(0), 17);
        QVERIFY(!viewer.getTableWidget()->item(0, 0)->icon().isNull());

        click(tree, findItem(viewer, QStringLiteral("materials/brick")));
        QCOMPARE(viewer.getPathLine()->text(), QStringLiteral(".../materials/brick"));
        QCOMPARE(tableNames(viewer), QStringList({ "wall.vmt", "wall.vtf" }));
        QCOMPARE(viewer.getTableWidget()->item(1, 1)->text(), QStringLiteral("20"));

        // A second package from this window goes to a window of its own.
        viewer.fileOpen(vpkPath);
        QCOMPARE(viewer.getPathLine()->text(), QStringLiteral(".../materials/brick"));
        QCOMPARE(tree->topLevelItemCount(), 1);
    }

    // The rows of a folder's files are made when the folder is first shown;
    // until then the folder says what it holds, opens, and is searched.
    void folderRowsComeWhenShown()
    {
        VpkBuilder builder;
        // Records come by extension: the folder "mix" gets a.txt, then "sub",
        // then b.vmt.
        builder.add(QStringLiteral("mix/a.txt"), "a");
        builder.add(QStringLiteral("mix/sub/c.txt"), "c");
        builder.add(QStringLiteral("mix/b.vmt"), "b");
        const QString path = temp.filePath(QStringLiteral("mixed_dir.vpk"));
        QVERIFY(fixtures::writeFile(path, builder.build()));
        VPackage viewer(path);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        QTreeWidget *tree = viewer.getTreeWidget();
        QCOMPARE(viewer.getTableWidget()->item(0, 1)->text(), QStringLiteral("3 Item(s)"));

        QTreeWidgetItem *mix = findItem(viewer, QStringLiteral("mix"));
        QTreeWidgetItem *sub = findItem(viewer, QStringLiteral("mix/sub"));
        QVERIFY(mix && sub);
        QCOMPARE(mix->childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator);
        tree->expandItem(sub);
        QCOMPARE(sub->childCount(), 1);
        tree->expandItem(mix);
        QStringList rows;
        for (int i = 0; i < mix->childCount(); ++i)
            rows << mix->child(i)->text(0);
        QCOMPARE(rows, QStringList({ "a.txt", "sub", "b.vmt" }));
        QCOMPARE(mix->child(1), sub);
        QVERIFY(sub->isExpanded());

        // Searched before being shown, a folder gives its files in tree order.
        VPackage fresh(path);
        search(fresh, QStringLiteral("."), 0, false);
        QCOMPARE(tableNames(fresh), QStringList({ "a.txt", "c.txt", "b.vmt" }));
        auto *found = dynamic_cast<VPackageTableWidgetItem *>(fresh.getTableWidget()->item(1, 0));
        QVERIFY(found && found->treeItem);
        QCOMPARE(found->treeItem->parent(), findItem(fresh, QStringLiteral("mix/sub")));
    }

    void historyMovesBackForwardAndUp()
    {
        VPackage viewer(vpkPath);
        QTreeWidget *tree = viewer.getTreeWidget();
        QAction *back = viewer.getAction(QStringLiteral("Back"));
        QAction *forward = viewer.getAction(QStringLiteral("Forward"));
        QAction *up = viewer.getAction(QStringLiteral("Up"));
        QTreeWidgetItem *root = tree->topLevelItem(0);
        QTreeWidgetItem *materials = findItem(viewer, QStringLiteral("materials"));
        QTreeWidgetItem *brick = findItem(viewer, QStringLiteral("materials/brick"));
        QVERIFY(!up->isEnabled());
        QVERIFY(!forward->isEnabled());

        click(tree, materials);
        click(tree, brick);
        QCOMPARE(viewer.getCurrentItem(), brick);
        QVERIFY(up->isEnabled());

        back->trigger();
        QCOMPARE(viewer.getCurrentItem(), materials);
        QVERIFY(forward->isEnabled());
        QVERIFY(back->isEnabled());
        back->trigger();
        QCOMPARE(viewer.getCurrentItem(), root);
        QCOMPARE(tableNames(viewer), QStringList({ "materials", "sound", "docs" }));

        forward->trigger();
        QCOMPARE(viewer.getCurrentItem(), materials);
        QVERIFY(forward->isEnabled());
        forward->trigger();
        QCOMPARE(viewer.getCurrentItem(), brick);
        QVERIFY(!forward->isEnabled());

        up->trigger();
        QCOMPARE(viewer.getCurrentItem(), materials);
        up->trigger();
        QCOMPARE(viewer.getCurrentItem(), root);
        QVERIFY(!up->isEnabled());
        up->trigger();
        QCOMPARE(viewer.getCurrentItem(), root);

        // A new choice after going back drops what lay ahead.
        back->trigger();
        QCOMPARE(viewer.getCurrentItem(), materials);
        QVERIFY(forward->isEnabled());
        click(tree, findItem(viewer, QStringLiteral("docs")));
        QVERIFY(!forward->isEnabled());
    }

    void searchModes_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("caseSensitive");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("substring")
            << "wall" << 0 << false << QStringList { "wall.vmt", "wall.vtf" };
        QTest::newRow("substring, case") << "WALL" << 0 << true << QStringList {};
        QTest::newRow("whole string") << "WALL.VMT" << 1 << false << QStringList { "wall.vmt" };
        QTest::newRow("whole string, case") << "WALL.VMT" << 1 << true << QStringList {};
        QTest::newRow("wildcard") << "*.vmt" << 2 << false
                                  << QStringList { "wall.vmt", "plate.vmt" };
        QTest::newRow("regular expression")
            << "^p.*e\\.vmt$" << 3 << false << QStringList { "plate.vmt" };
        QTest::newRow("directories too") << "brick" << 1 << false << QStringList { "brick" };
    }

    void searchModes()
    {
        QFETCH(QString, query);
        QFETCH(int, mode);
        QFETCH(bool, caseSensitive);
        QFETCH(QStringList, found);
        VPackage viewer(vpkPath);
        search(viewer, query, mode, caseSensitive);
        QCOMPARE(tableNames(viewer), found);
    }

    void searchResultsGiveWayToTheNextTreeChoice()
    {
        VPackage viewer(vpkPath);
        search(viewer, QStringLiteral("wall"), 0, false);
        QCOMPARE(tableNames(viewer).size(), 2);
        // The tree stays where it was until a choice there.
        QCOMPARE(viewer.getCurrentItem(), viewer.getTreeWidget()->topLevelItem(0));
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("sound")));
        QCOMPARE(tableNames(viewer), QStringList { "zirk_viewer_test_a.wav" });

        // An empty query leaves the table alone.
        search(viewer, QString(), 0, false);
        QCOMPARE(tableNames(viewer), QStringList { "zirk_viewer_test_a.wav" });
    }

    void doubleClickOnAFoundDirectoryJumpsTheTree()
    {
        VPackage viewer(vpkPath);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        search(viewer, QStringLiteral("metal"), 1, false);
        QCOMPARE(tableNames(viewer), QStringList { "metal" });
        VPackageTableWidget *table = viewer.getTableWidget();
        doubleClick(table, 0);
        QCOMPARE(viewer.getCurrentItem(), findItem(viewer, QStringLiteral("materials/metal")));
        QCOMPARE(viewer.getTreeWidget()->currentItem(), viewer.getCurrentItem());
        QCOMPARE(tableNames(viewer), QStringList { "plate.vmt" });
        QCOMPARE(viewer.getPathLine()->text(), QStringLiteral(".../materials/metal"));
    }

    void doubleClickOnOtherFilesRunsTheCommand()
    {
        ProgramSettings_t::get()->linuxCommandRun = QStringLiteral("true *");
        VPackage viewer(vpkPath);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("sound")));
        VPackageTableWidget *table = viewer.getTableWidget();
        const QString expected = QDir::tempPath() + QStringLiteral("/zirk_viewer_test_a.wav");
        QFile::remove(expected);
        doubleClick(table, 0);
        QCOMPARE(readFile(expected), QByteArray("RIFF....WAVE"));
        QVERIFY(ZIRK::get()->getTemporaryFileList().contains(expected));
        QFile::remove(expected);

        // Materials go to the workspace instead, with the name less its suffix.
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("materials/metal")));
        doubleClick(table, 0);
        QVERIFY(!QFile::exists(QDir::tempPath() + QStringLiteral("/plate.vmt")));

        // Textures are read in memory; one that does not parse opens nothing.
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("materials/brick")));
        const QString warning = answerWarning([&table] { doubleClick(table, 1); });
        QVERIFY(!warning.isEmpty());
        QVERIFY(!QFile::exists(QDir::tempPath() + QStringLiteral("/wall.vtf")));
    }

    // Enter does what a double click does, on folders and on files.
    void enterOpensTheCurrentRow()
    {
        ProgramSettings_t::get()->linuxCommandRun = QStringLiteral("true *");
        VPackage viewer(vpkPath);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        VPackageTableWidget *table = viewer.getTableWidget();
        table->setFocus();
        table->setCurrentCell(0, 0);
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(viewer.getCurrentItem(), findItem(viewer, QStringLiteral("materials")));
        QCOMPARE(tableNames(viewer), QStringList({ "brick", "metal" }));
        // And on into the first folder of that one.
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(viewer.getCurrentItem(), findItem(viewer, QStringLiteral("materials/brick")));

        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("sound")));
        const QString expected = QDir::tempPath() + QStringLiteral("/zirk_viewer_test_a.wav");
        QFile::remove(expected);
        table->setCurrentCell(0, 1);
        QTest::keyClick(table, Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(readFile(expected), QByteArray("RIFF....WAVE"));
        QFile::remove(expected);
    }

    void toolBarKeys()
    {
        VPackage viewer(vpkPath);
        viewer.show();
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        QTreeWidgetItem *materials = findItem(viewer, QStringLiteral("materials"));
        click(viewer.getTreeWidget(), materials);
        VPackageTableWidget *table = viewer.getTableWidget();
        table->setFocus();
        QTRY_VERIFY(table->hasFocus());
        QTest::keyClick(table, Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(viewer.getCurrentItem(), viewer.getTreeWidget()->topLevelItem(0));
        QTest::keyClick(table, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(viewer.getCurrentItem(), materials);
        bool searched = false;
        QTimer::singleShot(0, [&viewer, &searched] {
            if (QTest::qWaitFor([&viewer] { return viewer.getSearchDialog()->isVisible(); },
                                2000)) {
                searched = true;
                viewer.getSearchDialog()->reject();
            }
        });
        QTest::keyClick(table, Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(searched);
    }

    // A file that cannot be opened says why in a box over the viewer, and the
    // Output gets the same line, bare.
    void unopenableEntriesSayWhy_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<bool>("archivePresent");
        QTest::newRow("texture that does not parse") << "wall.vtf" << true;
        QTest::newRow("texture whose archive is missing") << "wall.vtf" << false;
    }

    void unopenableEntriesSayWhy()
    {
        QFETCH(QString, entry);
        QFETCH(bool, archivePresent);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("pak01_dir.vpk"));
        QVERIFY(QFile::copy(vpkPath, path));
        if (archivePresent)
            QVERIFY(QFile::copy(temp.filePath(QStringLiteral("pak01_001.vpk")),
                                dir.filePath(QStringLiteral("pak01_001.vpk"))));
        VPackage viewer(path);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("materials/brick")));
        const int row = tableNames(viewer).indexOf(entry);
        QVERIFY(row >= 0);
        const QString warning
            = answerWarning([&viewer, row] { doubleClick(viewer.getTableWidget(), row); });
        QVERIFY(warning.contains(QStringLiteral("Error: ")));
        if (!archivePresent)
            QCOMPARE(warning, viewer.getDelegate()->getLastError());
        const QString output = ZIRK::get()->getOutputText()->toPlainText();
        QVERIFY2(output.split(QLatin1Char('\n')).contains(QStringLiteral("Warning: ") + warning),
                 qPrintable(output));
    }

    void extractingADirectoryRecreatesItsDirectories()
    {
        VPackage viewer(vpkPath);
        QTemporaryDir target;
        QTreeWidget *tree = viewer.getTreeWidget();
        click(tree, findItem(viewer, QStringLiteral("materials")));
        chooseDirectory(target.path(), [&viewer] { viewer.treeContextExtract(); });
        QProgressDialogger *log = finishedLog(viewer);
        QVERIFY(log);
        QCOMPARE(log->labelText(), QStringLiteral("Extracting..."));
        QCOMPARE(log->maximum(), 3);
        QVERIFY(!log->isError());
        QCOMPARE(readFile(target.filePath(QStringLiteral("materials/brick/wall.vmt"))),
                 QByteArray("\"LightmappedGeneric\"\n{\n}\n"));
        QCOMPARE(readFile(target.filePath(QStringLiteral("materials/brick/wall.vtf"))),
                 QByteArray("not really a texture"));
        QCOMPARE(readFile(target.filePath(QStringLiteral("materials/metal/plate.vmt"))),
                 QByteArray("plate material"));
        log->buttonOk()->click();
        QTRY_VERIFY(!viewer.findChild<QProgressDialogger *>());

        // The whole package lands in the target itself, over what is there.
        click(tree, tree->topLevelItem(0));
        chooseDirectory(target.path(), [&viewer] { viewer.treeContextExtract(); });
        QVERIFY(finishedLog(viewer));
        QCOMPARE(readFile(target.filePath(QStringLiteral("docs/readme.txt"))),
                 QByteArray("read me"));
        QVERIFY(!QFile::exists(target.filePath(QStringLiteral("root"))));
    }

    void extractingTableRowsTakesEachRowOnce()
    {
        VPackage viewer(vpkPath);
        QTemporaryDir target;
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("materials/brick")));
        viewer.getTableWidget()->selectAll();
        chooseDirectory(target.path(), [&viewer] { viewer.tableContextExtract(); });
        QProgressDialogger *log = finishedLog(viewer);
        QVERIFY(log);
        QCOMPARE(log->maximum(), 2);
        QCOMPARE(readFile(target.filePath(QStringLiteral("wall.vmt"))),
                 QByteArray("\"LightmappedGeneric\"\n{\n}\n"));
        QCOMPARE(readFile(target.filePath(QStringLiteral("wall.vtf"))),
                 QByteArray("not really a texture"));
    }

    void extractionNeverLeavesTheChosenDirectory()
    {
        // Cache names are taken whole, separators and all.
        CacheBuilder b;
        const int root = b.addDirectory(QString(), -1);
        b.addFile(QStringLiteral(".."), root, "dots", { 0 });
        b.addFile(QStringLiteral("a/../../escape.txt"), root, "escape", { 1 });
        const int sub = b.addDirectory(QStringLiteral("sub"), root);
        b.addFile(QStringLiteral("ok.txt"), sub, "fine", { 2 });
        const QString path = temp.filePath(QStringLiteral("hostile.gcf"));
        QVERIFY(fixtures::writeFile(path, b.buildGcf()));

        VPackage viewer(path);
        QVERIFY(viewer.getDelegate());
        QTemporaryDir outer;
        const QString target = outer.filePath(QStringLiteral("inner/deeper"));
        QVERIFY(QDir().mkpath(target));
        click(viewer.getTreeWidget(), viewer.getTreeWidget()->topLevelItem(0));
        chooseDirectory(target, [&viewer] { viewer.treeContextExtract(); });
        QProgressDialogger *log = finishedLog(viewer);
        QVERIFY(log);
        QVERIFY(log->isError());
        QCOMPARE(log->logText().count(QStringLiteral("leads outside the target directory")), 2);
        QCOMPARE(readFile(target + QStringLiteral("/sub/ok.txt")), QByteArray("fine"));
        QVERIFY(!QFile::exists(outer.filePath(QStringLiteral("escape.txt"))));
        QVERIFY(!QFile::exists(outer.filePath(QStringLiteral("inner/escape.txt"))));
        QVERIFY(!QFile::exists(outer.filePath(QStringLiteral("inner/deeper/escape.txt"))));
    }

    // Dragging rows out: the data names the file list only, and the entries are
    // written when the drop target asks for it, a folder with all below it.
    void dragDataExtractsOnRequest_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("row");
        QTest::addColumn<QStringList>("written");
        QTest::newRow("a folder") << QString() << "materials"
                                  << QStringList({ "materials/brick/wall.vmt",
                                                   "materials/brick/wall.vtf",
                                                   "materials/metal/plate.vmt" });
        QTest::newRow("a file") << "docs"
                                << "readme.txt" << QStringList({ "readme.txt" });
    }

    void dragDataExtractsOnRequest()
    {
        QFETCH(QString, folder);
        QFETCH(QString, row);
        QFETCH(QStringList, written);
        VPackage viewer(vpkPath);
        QVERIFY(viewer.getTableWidget()->dragEnabled());
        if (!folder.isEmpty())
            click(viewer.getTreeWidget(), findItem(viewer, folder));
        auto *item = static_cast<VPackageTreeWidgetItem *>(
            findItem(viewer, folder.isEmpty() ? row : folder + QLatin1Char('/') + row));
        QVERIFY(item);

        const QStringList before = filesBelow(QDir::tempPath(), QStringLiteral("zirk-drag-"));
        std::unique_ptr<QDelayedMimeData> data(viewer.createDragData({ item }));
        QVERIFY(data->formats().contains(QStringLiteral("text/uri-list")));
        QVERIFY(data->hasUrls());
        // Announcing the data writes nothing.
        QCOMPARE(filesBelow(QDir::tempPath(), QStringLiteral("zirk-drag-")), before);

        const QList<QUrl> urls = data->urls();
        QCOMPARE(urls.size(), 1);
        QVERIFY(urls.first().isLocalFile());
        const QFileInfo dropped(urls.first().toLocalFile());
        QCOMPARE(dropped.fileName(), row);
        QCOMPARE(dropped.isDir(), folder.isEmpty());
        const QString base = dropped.absolutePath();
        QStringList files;
        for (const QString &file : filesBelow(base, QString()))
            files << file;
        QCOMPARE(files, written);
        if (folder.isEmpty())
            QCOMPARE(readFile(base + QStringLiteral("/materials/metal/plate.vmt")),
                     QByteArray("plate material"));
        else
            QCOMPARE(readFile(dropped.filePath()), QByteArray("read me"));

        // Asked again, the target gets the same list without a second extraction.
        QCOMPARE(data->urls(), urls);
        QCOMPARE(data->formats().count(QStringLiteral("text/uri-list")), 1);
    }

    void draggingHostileNamesWritesNothingOutside()
    {
        CacheBuilder b;
        const int root = b.addDirectory(QString(), -1);
        b.addFile(QStringLiteral(".."), root, "dots", { 0 });
        b.addFile(QStringLiteral("a/../../escape.txt"), root, "escape", { 1 });
        b.addFile(QStringLiteral("fine.txt"), root, "fine", { 2 });
        const QString path = temp.filePath(QStringLiteral("hostile_drag.gcf"));
        QVERIFY(fixtures::writeFile(path, b.buildGcf()));
        VPackage viewer(path);
        QVERIFY(viewer.getDelegate());
        QTreeWidgetItem *top = viewer.getTreeWidget()->topLevelItem(0);
        QList<VPackageTreeWidgetItem *> items;
        for (int i = 0; i < top->childCount(); ++i)
            items << static_cast<VPackageTreeWidgetItem *>(top->child(i));
        // The root itself is not a thing to drop.
        items << static_cast<VPackageTreeWidgetItem *>(top);
        std::unique_ptr<QDelayedMimeData> data(viewer.createDragData(items));
        const QList<QUrl> urls = data->urls();
        QCOMPARE(urls.size(), 1);
        QCOMPARE(QFileInfo(urls.first().toLocalFile()).fileName(), QStringLiteral("fine.txt"));
        const QString dropFolder = QFileInfo(urls.first().toLocalFile()).absolutePath();
        QCOMPARE(filesBelow(dropFolder, QString()), QStringList({ "fine.txt" }));
        QCOMPARE(filesBelow(QFileInfo(dropFolder).absolutePath(), QString()),
                 QStringList({ QFileInfo(dropFolder).fileName() + QStringLiteral("/fine.txt") }));
        QVERIFY(!QFile::exists(QDir::tempPath() + QStringLiteral("/escape.txt")));
    }

    void cachePropertiesShowFragmentationAndFlags()
    {
        CacheBuilder b;
        const int root = b.addDirectory(QString(), -1);
        b.addFile(QStringLiteral("split.bin"), root, QByteArray(20, 's'), { 1, 5 });
        b.addFile(QStringLiteral("flagged.bin"), root, "f", { 2 }, 0x4000 | 0x100 | 0x0A);
        const QString path = temp.filePath(QStringLiteral("props.gcf"));
        QVERIFY(fixtures::writeFile(path, b.buildGcf()));
        const QString ncfPath = temp.filePath(QStringLiteral("props.ncf"));
        QVERIFY(fixtures::writeFile(ncfPath, b.buildNcf()));

        VPackage viewer(path);
        IPackageDelegate *gcf = viewer.getDelegate();
        QVERIFY(gcf);
        auto valuesOf = [](IPackageDelegate *delegate, int index) {
            QMap<QString, QString> values;
            for (const auto &pair : VPackagePropertiesDialog::rowsForNode(
                     delegate, delegate->getNodeByIndex(unsigned(index))))
                values.insert(pair.first, pair.second);
            return values;
        };
        QMap<QString, QString> split = valuesOf(gcf, 1);
        QCOMPARE(split.value("Fragmentation:"), QStringLiteral("50.0000%"));
        QCOMPARE(split.value("Size On Disk:"), QStringLiteral("32 Bytes"));
        QCOMPARE(split.value("Encrypted:"), QStringLiteral("False"));
        QMap<QString, QString> flagged = valuesOf(gcf, 2);
        QCOMPARE(flagged.value("Flags:"), QStringLiteral("0x0000410A"));
        QCOMPARE(flagged.value("Encrypted:"), QStringLiteral("True"));
        QCOMPARE(flagged.value("Make Local Copy:"), QStringLiteral("True"));
        QCOMPARE(flagged.value("Overwrite Local Copy:"), QStringLiteral("True"));
        QCOMPARE(flagged.value("Backup Local Copy:"), QStringLiteral("False"));
        QCOMPARE(valuesOf(gcf, 0).value("Contents:"), QStringLiteral("0 Folder(s), 2 File(s)"));

        VPackage ncfViewer(ncfPath);
        QMap<QString, QString> ncf = valuesOf(ncfViewer.getDelegate(), 2);
        QCOMPARE(ncf.value("Flags:"), QStringLiteral("0x0000410A"));
        QVERIFY(!ncf.contains("Fragmentation:"));
    }

    void mapPropertiesShowLumpAndPakfileRows()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        VPackage viewer(samples + QStringLiteral("/bsp/gmod8_h53.bsp"));
        IPackageDelegate *map = viewer.getDelegate();
        QVERIFY(map);
        QCOMPARE(map->getPackageType(), 1);
        QVERIFY(viewer.getTreeWidget()->topLevelItemCount() == 1);
        auto valuesOf = [map](int index) {
            QMap<QString, QString> values;
            for (const auto &pair :
                 VPackagePropertiesDialog::rowsForNode(map, map->getNodeByIndex(unsigned(index))))
                values.insert(pair.first, pair.second);
            return values;
        };
        const QMap<QString, QString> lump = valuesOf(0);
        QVERIFY(lump.value("Offset:").startsWith("0x"));
        QVERIFY(lump.contains("FourCC:"));
        QVERIFY(!lump.contains("CRC:"));
        QVERIFY(map->getNodeCount() > 64);
        const QMap<QString, QString> packed = valuesOf(64);
        QVERIFY(packed.value("Local Header Offset:").startsWith("0x"));
        QVERIFY(packed.contains("CRC:"));
    }

    void propertiesOfAnEntryInTheDirectoryFile()
    {
        VPackage viewer(vpkPath);
        click(viewer.getTreeWidget(), findItem(viewer, QStringLiteral("materials/brick")));
        VPackageTableWidget *table = viewer.getTableWidget();

        QList<VPackagePropertiesDialog::Row> rows;
        auto answer = [&viewer, &rows] {
            QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QAction *properties = nullptr;
            for (QAction *action : menu->actions()) {
                if (action->text() == QLatin1String("Properties"))
                    properties = action;
            }
            QVERIFY(properties);
            QTimer::singleShot(0, [&viewer, &rows] {
                VPackagePropertiesDialog *dialog = viewer.getPropertiesDialog();
                QTRY_VERIFY(dialog->isVisible());
                QCOMPARE(dialog->windowTitle(), QStringLiteral("Properties"));
                rows = dialog->rows();
                dialog->accept();
            });
            menu->setActiveAction(properties);
            QTest::keyClick(menu, Qt::Key_Return);
        };

        for (int row = 0; row < 2; ++row) {
            rows.clear();
            QTimer::singleShot(0, answer);
            const QPoint at = table->visualItemRect(table->item(row, 1)).center();
            QContextMenuEvent event(QContextMenuEvent::Mouse, at,
                                    table->viewport()->mapToGlobal(at));
            QApplication::sendEvent(table->viewport(), &event);
            QVERIFY(!rows.isEmpty());
            QMap<QString, QString> values;
            for (const auto &pair : rows)
                values.insert(pair.first, pair.second);
            if (row == 0) {
                QCOMPARE(values.value("Type:"), QStringLiteral("VMT File"));
                QCOMPARE(values.value("Path:"), QStringLiteral(".../materials/brick/wall.vmt"));
                QCOMPARE(values.value("Archive:"), QStringLiteral("(Directory)"));
                QCOMPARE(values.value("Preload Bytes:"), QStringLiteral("0"));
                QCOMPARE(values.value("Size:"), QStringLiteral("25 Bytes"));
            } else {
                QCOMPARE(values.value("Archive:"), QStringLiteral("1"));
                QCOMPARE(values.value("CRC:"),
                         QStringLiteral("0x%1")
                             .arg(fixtures::crc32("not really a texture"), 8, 16, QLatin1Char('0'))
                             .toUpper()
                             .replace("0X", "0x"));
            }
        }

        // A directory through the tree's own menu.
        const CPackageHierarchyNode *brick
            = static_cast<VPackageTreeWidgetItem *>(viewer.getTreeWidget()->currentItem())->node;
        const auto dirRows = VPackagePropertiesDialog::rowsForNode(viewer.getDelegate(), brick);
        QMap<QString, QString> values;
        for (const auto &pair : dirRows)
            values.insert(pair.first, pair.second);
        QCOMPARE(values.value("Type:"), QStringLiteral("Folder"));
        QCOMPARE(values.value("Contents:"), QStringLiteral("0 Folder(s), 2 File(s)"));
        QVERIFY(!values.contains("Archive:"));
    }
};

QTEST_MAIN(tst_packages_viewer)
#include "tst_packages_viewer.moc"
