#include "../packages/BspFixture.h"
#include "MaterialsTestSupport.h"
#include "ModelFixtures.h"
#include "PakfileGuiSupport.h"
#include "ZirkTest.h"
#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "materials/CPakfileScan.h"
#include "materials/VMDL.h"
#include "materials/VPakfile.h"
#include "packages/CDelegateBSP.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QMdiArea>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace {

FixturePakEntry packed(const QByteArray &name, const QByteArray &data)
{
    FixturePakEntry entry;
    entry.name = name;
    entry.data = data;
    return entry;
}

QTableWidget *table(QWidget *window, const char *name = "pakfileTable")
{
    return window->findChild<QTableWidget *>(QLatin1String(name));
}

QPushButton *button(QWidget *window, const char *name)
{
    return window->findChild<QPushButton *>(QLatin1String(name));
}

void click(QWidget *window, const char *name)
{
    QPushButton *target = button(window, name);
    QVERIFY2(target, name);
    QVERIFY2(target->isEnabled(), name);
    QTest::mouseClick(target, Qt::LeftButton);
}

int rowOf(QTableWidget *view, const QString &name)
{
    for (int row = 0; row < view->rowCount(); ++row) {
        if (view->item(row, 0) && view->item(row, 0)->text() == name)
            return row;
    }
    return -1;
}

QColor colourOf(QTableWidget *view, const QString &name)
{
    const int row = rowOf(view, name);
    return row < 0 ? QColor() : view->item(row, 0)->background().color();
}

void selectRow(QTableWidget *view, const QString &name)
{
    view->clearSelection();
    view->selectRow(rowOf(view, name));
}

const QColor Untouched(192, 255, 192);

} // namespace

class TestMaterialsVPakfile : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    // A fresh copy of the test map for each case.
    QString makeMap()
    {
        BspFixture fixture;
        fixture.lumps[43] = QByteArray("a\0fresh\0missing\0", 16);
        fixture.pakfile = { packed("materials/a.vmt", "aaaa"), packed("materials/b.vmt", "bb"),
                            packed("models/c.mdl", "cccccc") };
        fixture.pakComment = "by hand";
        QDir().mkpath(dir.filePath("maps"));
        const QString path = dir.filePath("maps/test.bsp");
        QFile::remove(path);
        QFile::remove(path + ".backup");
        if (!fixture.write(path))
            return QString();
        return path;
    }

    std::unique_ptr<VPakfile> openEditor()
    {
        auto window = std::make_unique<VPakfile>();
        window->resize(800, 500);
        window->show();
        if (!window->fileOpen(makeMap()))
            return nullptr;
        return window;
    }

private slots:
    void initTestCase()
    {
        zirkInitTestResources();
        writeFile(dir.filePath("noitazilait.ini"), QByteArray());
        QVERIFY(QDir::setCurrent(dir.path()));
        ZIRK::get();
        fillScanVocabulary(*ProgramSettings_t::get());
        writeFile(dir.filePath("content/materials/a.vmt"), "disk a");
        writeFile(dir.filePath("content/materials/fresh.vmt"), "disk fresh");
    }

    void startsEmpty()
    {
        VPakfile window;
        QCOMPARE(window.windowTitle(), QStringLiteral("Pakfile Lump Editor"));
        QVERIFY(button(&window, "bspOpen")->isEnabled());
        for (const char *name : { "bspSave", "fileRevert", "fileSave", "fileDelete", "pakAdd",
                                  "pakScan", "pakExtract", "pakInfo" })
            QVERIFY2(!button(&window, name)->isEnabled(), name);
        QCOMPARE(VPakfile::typeForExtension(QStringLiteral("xbox.vtx")),
                 QStringLiteral("Mesh (XBox)"));
    }

    void opensThroughTheDialog()
    {
        VPakfile window;
        window.show();
        QString title;
        answerInTurn({ chooseFile(makeMap(), &title) });
        click(&window, "bspOpen");
        waitForQuestions();
        QCOMPARE(title, QStringLiteral("Open BSP"));
        QCOMPARE(window.windowTitle(), QStringLiteral("test"));
        QTableWidget *view = table(&window);
        QCOMPARE(view->rowCount(), 3);
        const int row = rowOf(view, "c.mdl");
        QCOMPARE(view->item(row, 1)->text(), QStringLiteral("/models"));
        QCOMPARE(view->item(row, 2)->text(), QStringLiteral("6"));
        QCOMPARE(view->item(row, 3)->text(), QStringLiteral("Model"));
        QCOMPARE(colourOf(view, "c.mdl"), Untouched);
        QVERIFY(!button(&window, "fileRevert")->isEnabled());
        selectRow(view, "c.mdl");
        QVERIFY(button(&window, "fileRevert")->isEnabled());
        QVERIFY(button(&window, "fileSave")->isEnabled());

        // A file that is no map: the delegate's words, and the window stays as it was.
        writeFile(dir.filePath("junk.bsp"), QByteArray(2000, 'j'));
        QString text;
        answerInTurn({ pressInBox(QMessageBox::Ok, &text, nullptr, &title) });
        QVERIFY(!window.fileOpen(dir.filePath("junk.bsp")));
        QCOMPARE(text, QStringLiteral("File Error: Magic number mismatch"));
        QCOMPARE(window.windowTitle(), QStringLiteral("Pakfile Lump Editor"));
        QCOMPARE(view->rowCount(), 0);
        QVERIFY(!window.fileOpen(QString()));
    }

    void deleteAddAndClose()
    {
        auto window = openEditor();
        QVERIFY(window);
        QTableWidget *view = table(window.get());
        selectRow(view, "b.vmt");
        click(window.get(), "fileDelete");
        QCOMPARE(colourOf(view, "b.vmt"), QColor(255, 192, 192));
        click(window.get(), "fileDelete");
        QCOMPARE(colourOf(view, "b.vmt"), Untouched);

        writeFile(dir.filePath("add/extra.txt"), "extra");
        QStringList offered;
        QString label;
        answerInTurn({ chooseFile(dir.filePath("add/extra.txt")), chooseListRow(0, &offered),
                       typeText(QStringLiteral("\\docs//notes/"), &label) });
        click(window.get(), "pakAdd");
        waitForQuestions();
        QCOMPARE(offered, (QStringList { "<different>", "materials", "models" }));
        QCOMPARE(label, QStringLiteral("Add selected files using the following relative path:"));
        QCOMPARE(view->rowCount(), 4);
        QCOMPARE(view->item(rowOf(view, "extra.txt"), 1)->text(), QStringLiteral("/docs/notes"));
        QCOMPARE(colourOf(view, "extra.txt"), QColor(255, 255, 192));

        // Adding over a packed file asks first.
        writeFile(dir.filePath("add/a.vmt"), "replacement");
        QString question;
        QString informative;
        answerInTurn({ chooseFile(dir.filePath("add/a.vmt")), chooseListItem("materials"),
                       pressInBox(QMessageBox::Yes, &question, &informative) });
        click(window.get(), "pakAdd");
        waitForQuestions();
        QCOMPARE(question, QStringLiteral("Data already exists at \"materials/a.vmt\""));
        QCOMPARE(informative, QStringLiteral("\nOverwrite?"));
        QCOMPARE(colourOf(view, "a.vmt"), QColor(192, 255, 255));
        QCOMPARE(view->item(rowOf(view, "a.vmt"), 2)->text(), QStringLiteral("11"));
        selectRow(view, "a.vmt");
        click(window.get(), "fileRevert");
        QCOMPARE(colourOf(view, "a.vmt"), Untouched);
        QCOMPARE(view->item(rowOf(view, "a.vmt"), 2)->text(), QStringLiteral("4"));

        // The statistics count what the package holds, not what was added.
        QString statusTitle;
        QString lump;
        QString total;
        QString comment;
        answerInTurn({ [&](QWidget *dialog) {
            statusTitle = dialog->windowTitle();
            lump = dialog->findChild<QLabel *>("statusLump")->text();
            total = dialog->findChild<QLabel *>("statistic Total:")->text();
            comment = dialog->findChild<QPlainTextEdit *>("statusComment")->toPlainText();
            QTest::mouseClick(dialog->findChild<QPushButton *>("statusClose"), Qt::LeftButton);
        } });
        click(window.get(), "pakInfo");
        waitForQuestions();
        QCOMPARE(statusTitle, QStringLiteral("Pakfile Status"));
        QVERIFY(lump.startsWith(QStringLiteral("Version: 1   Offset: ")));
        QCOMPARE(total, QStringLiteral("3"));
        QCOMPARE(comment, QStringLiteral("by hand"));

        // An added file is a change: closing asks, and Cancel keeps the window.
        QString closeText;
        answerInTurn({ pressInBox(QMessageBox::Cancel, &closeText) });
        QVERIFY(!window->close());
        QCOMPARE(closeText, QStringLiteral("Changes have been made.\n\nDiscard changes?"));
        // Un/Delete on a file that was only added takes its row away.
        selectRow(view, "extra.txt");
        click(window.get(), "fileDelete");
        QCOMPARE(view->rowCount(), 3);
        QVERIFY(window->close());
    }

    void saveMapAfterDeletion()
    {
        auto window = openEditor();
        QVERIFY(window);
        QTableWidget *view = table(window.get());
        selectRow(view, "a.vmt");
        click(window.get(), "fileDelete");
        click(window.get(), "bspSave");
        QProgressDialogger *progress = leftOpenProgress(window.get());
        QVERIFY(progress);
        QVERIFY2(progress->logText().contains(QStringLiteral(
                     "The save gave \"materials/b.vmt\" the bytes of another entry")),
                 qPrintable(progress->logText()));
        QVERIFY(progress->logText().contains(QStringLiteral("test.bsp.backup")));
        QCOMPARE(progress->labelText(), QStringLiteral("Finished"));
        progress->buttonOk()->click();
        QTRY_VERIFY(!leftOpenProgress(window.get()));
        QCOMPARE(view->rowCount(), 2);
        QCOMPARE(colourOf(view, "b.vmt"), Untouched);
        // A freshly saved map closes without a question.
        QVERIFY(window->close());
    }

    void saveFilesAndExport()
    {
        auto window = openEditor();
        QVERIFY(window);
        QTableWidget *view = table(window.get());
        const QString out = dir.filePath("saved");
        QDir().mkpath(out);
        view->selectAll();
        QString title;
        QString question;
        answerInTurn({ chooseDirectory(out, &title), pressInBox(QMessageBox::Yes, &question) });
        click(window.get(), "fileSave");
        waitForQuestions();
        QCOMPARE(title, QStringLiteral("Save File(s)"));
        QCOMPARE(question, QStringLiteral("Preserve file structure?"));
        QCOMPARE(readFile(out + "/models/c.mdl"), QByteArray("cccccc"));
        QCOMPARE(readFile(out + "/materials/b.vmt"), QByteArray("bb"));

        const QString zip = dir.filePath("export.zip");
        answerInTurn({ chooseFile(zip, &title) });
        click(window.get(), "pakExtract");
        waitForQuestions();
        QCOMPARE(title, QStringLiteral("Save ZIP"));
        QVector<ReadBackEntry> entries;
        QByteArray comment;
        QString error;
        QVERIFY2(BspReadBack::readZip(readFile(zip), entries, comment, error), qPrintable(error));
        QCOMPARE(entries.size(), 3);
        QCOMPARE(comment,
                 QByteArray("Pakfile extracted from test.bsp with previous comment \"by hand\""));
    }

    void sortsByHeader()
    {
        auto window = openEditor();
        QVERIFY(window);
        QTableWidget *view = table(window.get());
        QHeaderView *header = view->horizontalHeader();
        const auto clickHeader = [header](int column) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              QPoint(header->sectionViewportPosition(column) + 5, 5));
        };
        clickHeader(2);
        QCOMPARE(view->item(0, 0)->text(), QStringLiteral("b.vmt"));
        clickHeader(2);
        QCOMPARE(view->item(0, 0)->text(), QStringLiteral("c.mdl"));
        clickHeader(0);
        QCOMPARE(view->item(0, 0)->text(), QStringLiteral("a.vmt"));
    }

    void scanPage()
    {
        auto window = openEditor();
        QVERIFY(window);
        auto *pages = window->findChild<QStackedWidget *>("pages");
        click(window.get(), "pakScan");
        QCOMPARE(pages->currentIndex(), 1);
        QVERIFY(!button(window.get(), "bspSave")->isEnabled());

        // The options show the mask; Cancel keeps it, OK takes the boxes.
        answerInTurn({ [](QWidget *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Scan Options"));
            QVERIFY(!dialog->findChild<QCheckBox *>("scanOption0")->isChecked());
            QVERIFY(dialog->findChild<QCheckBox *>("scanOption12")->isChecked());
            static_cast<QDialog *>(dialog)->reject();
        } });
        click(window.get(), "scanOptions");
        waitForQuestions();
        QCOMPARE(window->getScanMask(), CPakfileScan::DefaultMask);
        answerInTurn({ [](QWidget *dialog) {
            for (int bit = 0; bit < CPakfileScan::OptionCount; ++bit)
                dialog->findChild<QCheckBox *>(QStringLiteral("scanOption%1").arg(bit))
                    ->setChecked(bit == 3);
            static_cast<QDialog *>(dialog)->accept();
        } });
        click(window.get(), "scanOptions");
        waitForQuestions();
        QCOMPARE(window->getScanMask(), quint16(CPakfileScan::Materials));

        window->findChild<QLineEdit *>("scanDirectory")->setText(dir.filePath("content"));
        click(window.get(), "scanScan");
        QTRY_VERIFY(!leftOpenProgress(window.get()));
        QTableWidget *scan = table(window.get(), "scanTable");
        QCOMPARE(scan->rowCount(), 3);
        QCOMPARE(colourOf(scan, "a.vmt"), QColor(192, 255, 255));
        QCOMPARE(colourOf(scan, "fresh.vmt"), QColor(255, 224, 192));
        QCOMPARE(colourOf(scan, "missing.vmt"), QColor(255, 192, 192));
        QCOMPARE(scan->item(rowOf(scan, "fresh.vmt"), 2)->text(), QStringLiteral("10"));

        // A file that is not on disk cannot be marked; one that is can, and back.
        selectRow(scan, "missing.vmt");
        click(window.get(), "scanAdd");
        QCOMPARE(colourOf(scan, "missing.vmt"), QColor(255, 192, 192));
        selectRow(scan, "a.vmt");
        click(window.get(), "scanAdd");
        QCOMPARE(colourOf(scan, "a.vmt"), QColor(255, 255, 192));
        click(window.get(), "scanRemove");
        QCOMPARE(colourOf(scan, "a.vmt"), QColor(192, 255, 255));
        // Auto marks what is on disk and not packed.
        click(window.get(), "scanAuto");
        QCOMPARE(colourOf(scan, "fresh.vmt"), QColor(192, 255, 192));
        QCOMPARE(colourOf(scan, "a.vmt"), QColor(192, 255, 255));

        click(window.get(), "scanApply");
        QTRY_VERIFY(!leftOpenProgress(window.get()));
        QCOMPARE(pages->currentIndex(), 0);
        QCOMPARE(scan->rowCount(), 0);
        QTableWidget *view = table(window.get());
        QCOMPARE(view->rowCount(), 4);
        QCOMPARE(colourOf(view, "fresh.vmt"), QColor(255, 255, 192));
        QVERIFY(button(window.get(), "bspSave")->isEnabled());

        // Apply with nothing marked closes the page and changes nothing.
        click(window.get(), "pakScan");
        click(window.get(), "scanScan");
        QTRY_VERIFY(!leftOpenProgress(window.get()));
        click(window.get(), "scanApply");
        QTRY_VERIFY(!leftOpenProgress(window.get()));
        QCOMPARE(pages->currentIndex(), 0);
        QCOMPARE(view->rowCount(), 4);

        answerInTurn({ pressInBox(QMessageBox::Yes) });
        QVERIFY(window->close());
    }

    void scanLogStaysOpen()
    {
        auto window = openEditor();
        QVERIFY(window);
        writeFile(dir.filePath("content2/particles/broken.pcf"), "no particles");
        click(window.get(), "pakScan");
        window->findChild<QLineEdit *>("scanDirectory")->setText(dir.filePath("content2"));
        click(window.get(), "scanScan");
        QProgressDialogger *progress = leftOpenProgress(window.get());
        QVERIFY(progress);
        QCOMPARE(progress->labelText(), QStringLiteral("Finished"));
        QVERIFY(progress->logText().contains(QStringLiteral("Read Error: Unable to read")));
        progress->buttonOk()->click();
        QTRY_VERIFY(!leftOpenProgress(window.get()));
        click(window.get(), "scanCancel");
        QCOMPARE(window->findChild<QStackedWidget *>("pages")->currentIndex(), 0);
    }

    void workspaceSlots()
    {
        ZIRK *zirk = ZIRK::get();
        const int before = zirk->getWorkspace()->subWindowList().size();
        zirk->showVPakfile(QStringLiteral("ignored.bsp"));
        QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before + 1);
        auto *editor
            = qobject_cast<VPakfile *>(zirk->getWorkspace()->subWindowList().last()->widget());
        QVERIFY(editor);
        QCOMPARE(editor->windowTitle(), QStringLiteral("Pakfile Lump Editor"));

        MdlFixture model;
        model.textures = { "skin" };
        writeFile(dir.filePath("m.mdl"), model.build());
        zirk->showVMDL(dir.filePath("m.mdl"));
        QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before + 2);
        auto *viewer = qobject_cast<VMDL *>(zirk->getWorkspace()->subWindowList().last()->widget());
        QVERIFY(viewer);
        QTreeWidget *tree = viewer->findChild<QTreeWidget *>("modelTree");
        QVERIFY(!tree->findItems("Internal Name", Qt::MatchExactly | Qt::MatchRecursive).isEmpty());
        QCOMPARE(
            tree->findItems("Texture 0", Qt::MatchExactly | Qt::MatchRecursive).first()->text(1),
            QStringLiteral("skin"));
        writeFile(dir.filePath("junk.mdl"), "IDST");
        QString text;
        answerInTurn({ pressInBox(QMessageBox::Ok, &text) });
        zirk->showVMDL(dir.filePath("junk.mdl"));
        waitForQuestions();
        QCOMPARE(text,
                 QStringLiteral("Read Error: Unable to read \"%1\"").arg(dir.filePath("junk.mdl")));
        QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before + 2);
    }
};

QTEST_MAIN(TestMaterialsVPakfile)
#include "tst_materials_vpakfile.moc"
