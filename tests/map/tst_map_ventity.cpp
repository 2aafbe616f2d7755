#include "MapWindowTestSupport.h"
#include "ZirkTest.h"
#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "map/VENTITY.h"
#include "packages/CDelegateBSP.h"

#include <QAction>
#include <QBuffer>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QToolButton>

namespace {

const QByteArray sampleLump = "{\n\"classname\" \"worldspawn\"\n\"skyname\" \"sky\"\n}\n"
                              "{\n\"classname\" \"light\"\n\"origin\" \"0 0 0\"\n}\n"
                              "{\n\"classname\" \"func_door\"\n\"targetname\" \"door\"\n"
                              "\"origin\" \"100 0 0\"\n\"OnOpen\" \"a,b,,0,-1\"\n"
                              "\"OnOpen\" \"c,d,,0,-1\"\n}\n"
                              "{\n\"classname\" \"worldspawn\"\n}\n"
                              "{\n\"classname\" \"light_spot\"\n\"origin\" \"0 50 0\"\n}\n";

template<typename T> T *child(QWidget *window, const char *name)
{
    T *found = window->findChild<T *>(QLatin1String(name));
    if (!found)
        qWarning("no child %s", name);
    return found;
}

QStringList listTexts(QWidget *window, bool shownOnly = false)
{
    QStringList texts;
    auto *list = child<QListWidget>(window, "entityList");
    for (int i = 0; i < list->count(); ++i) {
        if (!shownOnly || !list->isRowHidden(i))
            texts.append(list->item(i)->text());
    }
    return texts;
}

QStringList tableRows(QWidget *window)
{
    QStringList rows;
    auto *table = child<QTableWidget>(window, "keyvalueTable");
    for (int i = 0; i < table->rowCount(); ++i)
        rows.append(table->item(i, 0)->text() + QLatin1Char('=') + table->item(i, 1)->text());
    return rows;
}

QString filterTitle(QWidget *window)
{
    return child<QGroupBox>(window, "filterGroup")->title();
}

void clickRow(QWidget *window, int row)
{
    auto *list = child<QListWidget>(window, "entityList");
    const QRect rect = list->visualItemRect(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
}

void click(QWidget *window, const char *button)
{
    QTest::mouseClick(child<QPushButton>(window, button), Qt::LeftButton);
}

void trigger(QWidget *window, const char *action)
{
    child<QAction>(window, action)->trigger();
}

// Double-clicks the cell, types the text over it and presses Return.
void editCell(QWidget *window, int row, int column, const QString &text)
{
    auto *table = child<QTableWidget>(window, "keyvalueTable");
    const QRect rect = table->visualItemRect(table->item(row, column));
    // A real double click: the view edits only the cell that the first press went to.
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, rect.center());
    QLineEdit *editor = nullptr;
    QTRY_VERIFY((editor = table->viewport()->findChild<QLineEdit *>()));
    editor->selectAll();
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    // The delegate commits on its next turn of the event loop.
    QTRY_COMPARE(table->item(row, column)->text(), text);
    QTRY_VERIFY(!table->viewport()->findChild<QLineEdit *>());
}

void answerFind(const QStringList &values)
{
    answerNextDialog([values](QWidget *widget) {
        for (int i = 0; i < values.size(); ++i) {
            auto *edit = widget->findChild<QLineEdit *>(QStringLiteral("findEdit%1").arg(i));
            QVERIFY(edit);
            edit->setText(values.at(i));
        }
        QTest::mouseClick(widget->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    });
}

} // namespace

class TestMapVEntity : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;

    QString lumpPath(const QByteArray &text = sampleLump, const QString &name = "e.lmp")
    {
        const QString path = dir.filePath(name);
        writeBytes(path, lumpFileBytes(text));
        return path;
    }

    // An editor on the sample lump, shown, with nothing modified.
    VENTITY *openEditor(const QByteArray &text = sampleLump)
    {
        auto *window = new VENTITY;
        window->resize(800, 600);
        window->show();
        if (!QTest::qWaitForWindowExposed(window))
            qWarning("the editor did not show");
        window->fileOpen(lumpPath(text));
        return window;
    }

private slots:
    void initTestCase()
    {
        zirkInitTestResources();
        ProgramSettings_t::get()->studioKeys->append(QStringLiteral("model"));
    }

    void startsEmptyAndDisabled()
    {
        QPointer<VENTITY> window = new VENTITY;
        QCOMPARE(window->windowTitle(), QStringLiteral("Entity Lump Editor"));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (0/0)"));
        for (const char *name : { "actionSave", "actionImportBSP", "actionExportVMF",
                                  "actionFindPrism", "actionFindSphere" })
            QVERIFY2(!child<QAction>(window, name)->isEnabled(), name);
        QVERIFY(child<QAction>(window, "actionOpen")->isEnabled());
        QVERIFY(child<QAction>(window, "filterKey")->isEnabled());
        for (const char *name : { "entityAdd", "entityCopy", "keyvalueAdd", "keyvalueDelete" })
            QVERIFY2(!child<QPushButton>(window, name)->isEnabled(), name);
        QVERIFY(!child<QLineEdit>(window, "filterEdit")->isEnabled());
        // Save is disabled; called all the same it says why it cannot.
        QString text;
        answerNextMessageBox(&text);
        window->fileSave();
        QCOMPARE(text, QStringLiteral("Unable to save: No associated file"));
        // Unknown suffixes are refused without a word.
        window->fileOpen(dir.filePath("notes.txt"));
        QVERIFY(window->associatedFile().isEmpty());
        window->close();
        QTRY_VERIFY(!window);
    }

    void opensALumpFile()
    {
        QPointer<VENTITY> window = openEditor();
        QCOMPARE(window->windowTitle(), QStringLiteral("e[*]"));
        QVERIFY(!window->isWindowModified());
        // The second worldspawn went, and the row behind it was not looked at.
        QCOMPARE(listTexts(window),
                 QStringList({ "worldspawn", "light", "func_door (door)", "light_spot" }));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (4/4)"));
        QVERIFY(child<QPushButton>(window, "entityAdd")->isEnabled());
        QVERIFY(!child<QPushButton>(window, "entityCopy")->isEnabled());
        QVERIFY(child<QAction>(window, "actionExportLMP")->isEnabled());

        clickRow(window, 2);
        QCOMPARE(tableRows(window),
                 QStringList({ "classname=func_door", "targetname=door", "origin=100 0 0",
                               "OnOpen=a,b,,0,-1", "OnOpen=c,d,,0,-1" }));
        QVERIFY(child<QPushButton>(window, "entityCopy")->isEnabled());
        QVERIFY(child<QPushButton>(window, "keyvalueAdd")->isEnabled());
        QVERIFY(!child<QPushButton>(window, "keyvalueDelete")->isEnabled());
        window->setWindowModified(false);
        window->close();
    }

    void refusesBadLumpFiles_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("message");
        QTest::newRow("end") << lumpFileBytes("{\n}\n").left(22) << "Unexpected end of data.";
        QTest::newRow("id") << lumpFileBytes("{\n}\n", 5)
                            << "Lump does not contain entity information.";
    }
    void refusesBadLumpFiles()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, message);
        const QString path = dir.filePath("bad.lmp");
        QVERIFY(writeBytes(path, bytes));
        QPointer<VENTITY> window = new VENTITY;
        QString text;
        QString title;
        answerNextMessageBox(&text, QMessageBox::Ok, &title);
        window->fileOpen(path);
        QCOMPARE(text, message);
        QCOMPARE(title, QStringLiteral("Entity Lump Editor"));
        QVERIFY(window->associatedFile().isEmpty());
        QVERIFY(!child<QAction>(window, "actionSave")->isEnabled());
        window->close();
    }

    void editsPairsInTheTable()
    {
        QPointer<VENTITY> window = openEditor();
        clickRow(window, 1);
        editCell(window, 0, 1, QStringLiteral("light_environment"));
        QCOMPARE(listTexts(window).at(1), QStringLiteral("light_environment"));
        QVERIFY(window->isWindowModified());

        // Renaming the key loses the name; it comes back as info_null behind the current row.
        editCell(window, 0, 0, QStringLiteral("targetname"));
        QCOMPARE(
            tableRows(window),
            QStringList({ "targetname=light_environment", "classname=info_null", "origin=0 0 0" }));
        QCOMPARE(listTexts(window).at(1), QStringLiteral("info_null (light_environment)"));

        // Add after the current row, copy below it, delete.
        auto *table = child<QTableWidget>(window, "keyvalueTable");
        table->setCurrentCell(0, 0);
        QVERIFY(child<QPushButton>(window, "keyvalueCopy")->isEnabled());
        click(window, "keyvalueAdd");
        QCOMPARE(tableRows(window).at(1), QStringLiteral("newKey=newValue"));
        table->setCurrentCell(1, 1);
        click(window, "keyvalueCopy");
        table->setCurrentCell(4, 0);
        click(window, "keyvalueDelete");
        QCOMPARE(tableRows(window),
                 QStringList({ "targetname=light_environment", "newKey=newValue", "newKey=newValue",
                               "classname=info_null" }));

        // Switching rows shows the other entity's pairs, and the edit went into the model.
        clickRow(window, 3);
        QCOMPARE(tableRows(window), QStringList({ "classname=light_spot", "origin=0 50 0" }));
        clickRow(window, 1);
        QVERIFY(tableRows(window).contains("newKey=newValue"));
        window->setWindowModified(false);
        window->close();
    }

    void deletingTheNameRestoresIt()
    {
        QPointer<VENTITY> window = openEditor();
        clickRow(window, 3);
        auto *table = child<QTableWidget>(window, "keyvalueTable");
        table->setCurrentCell(0, 0);
        click(window, "keyvalueDelete");
        QVERIFY(tableRows(window).contains(QStringLiteral("classname=info_null")));
        QCOMPARE(listTexts(window).at(3), QStringLiteral("info_null"));
        window->setWindowModified(false);
        window->close();
    }

    void entityButtons()
    {
        QPointer<VENTITY> window = openEditor();
        clickRow(window, 2);
        click(window, "entityCopy");
        // The copy collapses repeated keys to one pair with the last value.
        QCOMPARE(listTexts(window).at(3), QStringLiteral("func_door (door)"));
        QCOMPARE(child<QListWidget>(window, "entityList")->currentRow(), 3);
        QCOMPARE(tableRows(window),
                 QStringList({ "classname=func_door", "targetname=door", "origin=100 0 0",
                               "OnOpen=c,d,,0,-1" }));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (5/5)"));
        click(window, "entityAdd");
        QCOMPARE(listTexts(window).at(4), QStringLiteral("info_null"));
        QCOMPARE(tableRows(window), QStringList({ "classname=info_null" }));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (6/6)"));
        click(window, "entityDelete");
        click(window, "entityDelete");
        QCOMPARE(listTexts(window).size(), 4);
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (4/4)"));
        QVERIFY(window->isWindowModified());
        window->setWindowModified(false);
        window->close();
    }

    void filtersTheList()
    {
        QPointer<VENTITY> window = openEditor();
        auto *edit = child<QLineEdit>(window, "filterEdit");
        // No field chosen: a text matches nothing.
        QTest::keyClicks(edit, "light");
        QTest::keyClick(edit, Qt::Key_Return);
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (0/4)"));
        trigger(window, "filterClassName");
        QCOMPARE(listTexts(window, true), QStringList({ "light" }));
        QCOMPARE(child<QAction>(window, "filterClassName")->icon().cacheKey() != 0, true);
        trigger(window, "filterSubstring");
        QCOMPARE(listTexts(window, true), QStringList({ "light", "light_spot" }));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (2/4)"));

        // The current row is cleared when a filter hides it.
        clickRow(window, 1);
        trigger(window, "filterInvertResults");
        QCOMPARE(listTexts(window, true), QStringList({ "worldspawn", "func_door (door)" }));
        QCOMPARE(child<QListWidget>(window, "entityList")->currentRow(), -1);
        QCOMPARE(child<QTableWidget>(window, "keyvalueTable")->rowCount(), 0);

        // An empty text with the inversion hides every row.
        edit->clear();
        QTest::mouseClick(child<QToolButton>(window, "filterButton"), Qt::LeftButton, {},
                          QPoint(5, 5));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (0/4)"));
        trigger(window, "filterInvertResults");
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (4/4)"));

        // Ignore Hidden narrows only, and counts the rows it skipped as shown.
        QTest::keyClicks(edit, "door");
        trigger(window, "filterValue");
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (1/4)"));
        trigger(window, "filterIgnoreHidden");
        edit->setText(QStringLiteral("light"));
        window->filterEntities();
        QCOMPARE(listTexts(window, true), QStringList());
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (3/4)"));
        window->close();
    }

    void findsBySphereAndPrism()
    {
        QPointer<VENTITY> window = openEditor();
        answerFind({ "0", "0", "0", "100" });
        trigger(window, "actionFindSphere");
        // 100 0 0 lies on the surface: out. The world has no origin.
        QCOMPARE(listTexts(window, true), QStringList({ "light", "light_spot" }));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (2/4)"));

        answerFind({ "100", "60", "0", "-1", "0", "0" });
        trigger(window, "actionFindPrism");
        QCOMPARE(listTexts(window, true),
                 QStringList({ "light", "func_door (door)", "light_spot" }));
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (3/4)"));

        // A field that is no number changes nothing.
        answerFind({ "x", "0", "0", "0", "0", "0" });
        trigger(window, "actionFindPrism");
        QCOMPARE(filterTitle(window), QStringLiteral("Filter Options (3/4)"));
        answerNextDialog([](QWidget *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Find In Sphere"));
            static_cast<QDialog *>(dialog)->reject();
        });
        trigger(window, "actionFindSphere");
        QCOMPARE(listTexts(window, true).size(), 3);
        window->close();
    }

    void savesALumpFile()
    {
        QPointer<VENTITY> window = openEditor();
        const QString path = window->associatedFile();
        clickRow(window, 1);
        editCell(window, 1, 1, QStringLiteral("1 2 3"));
        QString question;
        answerNextMessageBox(&question, QMessageBox::Yes);
        answerNextDialog([](QWidget *widget) {
            // Queued behind the question: the size dialog comes next.
            auto *input = qobject_cast<QInputDialog *>(widget);
            if (!input) {
                widget->close();
                return;
            }
            QCOMPARE(input->labelText(), QStringLiteral("Custom size in bytes:"));
            input->setIntValue(input->intValue() + 10);
            input->accept();
        });
        trigger(window, "actionSave");
        QCOMPARE(question, QStringLiteral("Specify custom lump size?"));
        QVERIFY(!window->isWindowModified());
        const QByteArray bytes = readBytes(path);
        const QByteArray text = "{\n\"classname\" \"worldspawn\"\n\"skyname\" \"sky\"\n}\n"
                                "{\n\"classname\" \"light\"\n\"origin\" \"1 2 3\"\n}\n";
        QVERIFY(bytes.mid(20).startsWith(text));
        const qint32 length = qFromLittleEndian<qint32>(bytes.constData() + 12);
        QCOMPARE(bytes.size(), 20 + length + 10);
        QCOMPARE(bytes.at(20 + length - 1), '\0');
        window->close();
    }

    void savesIntoAMap()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        const QString path = dir.filePath("map.bsp");
        QFile::remove(path);
        QVERIFY(QFile::copy(samples + "/bsp/bsptool_tf2_test2.bsp", path));
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        QPointer<VENTITY> window = new VENTITY;
        window->show();
        window->fileOpen(path);
        QCOMPARE(window->windowTitle(), QStringLiteral("map[*]"));
        const int count = child<QListWidget>(window, "entityList")->count();
        QVERIFY(count > 1);
        clickRow(window, 0);
        click(window, "entityAdd");
        // A successful rewrite is reported as a failure, as it always was. The lump may come
        // out smaller than the one in the map, which is asked about first.
        {
            MessageBoxAnswerer answers;
            trigger(window, "actionSave");
            QCOMPARE(answers.texts.last(), QStringLiteral("Unable to complete file save."));
        }
        QVERIFY(!window->isWindowModified());
        window->close();

        QPointer<VENTITY> again = new VENTITY;
        again->fileOpen(path);
        QCOMPARE(child<QListWidget>(again, "entityList")->count(), count + 1);
        QCOMPARE(listTexts(again).at(1), QStringLiteral("info_null"));
        again->close();
    }

    void importsAMapSource()
    {
        const QString source = dir.filePath("src.vmf");
        QVERIFY(writeBytes(source,
                           "entity\n{\n\"classname\" \"info_target\"\n\"spawnflags\" \"\"\n"
                           "}\nhidden\n{\nentity\n{\n\"classname\" \"hidden_a\"\neditor\n{\n"
                           "\"visgroupshown\" \"0\"\n}\n}\n}\nhidden\n{\nentity\n{\n"
                           "\"classname\" \"hidden_b\"\neditor\n{\n\"visgroupshown\" \"0\"\n"
                           "}\n}\n}\nentity\n{\n\"classname\" \"func_detail\"\nsolid\n{\n}\n}\n"));
        QPointer<VENTITY> window = new VENTITY;
        QString question;
        answerNextMessageBox(&question, QMessageBox::Yes);
        window->fileOpen(source);
        QCOMPARE(question, QStringLiteral("Ignore hidden entities?"));
        QCOMPARE(listTexts(window), QStringList({ "info_target" }));
        QCOMPARE(window->windowTitle(), QStringLiteral("src[*]"));
        // A map source cannot be saved in place.
        QString text;
        answerNextMessageBox(&text);
        trigger(window, "actionSave");
        QCOMPARE(text, QStringLiteral("Unable to save: File type \"vmf\" not recognized"));
        window->close();

        QPointer<VENTITY> second = new VENTITY;
        answerNextMessageBox(nullptr, QMessageBox::No);
        second->fileOpen(source);
        QCOMPARE(listTexts(second), QStringList({ "info_target", "hidden_a", "hidden_b" }));
        second->close();
    }

    void missingNameLandsOnTheCurrentEntity()
    {
        QPointer<VENTITY> window = openEditor();
        clickRow(window, 3);
        const QString extra = lumpPath("{\n\"targetname\" \"nameless\"\n}\n", "extra.lmp");
        answerNextDialog([extra](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            QVERIFY(dialog);
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Import From LMP"));
            chooseInFileDialog(dialog, extra);
        });
        prepareWorkbench();
        trigger(window, "actionImportLMP");
        QCOMPARE(listTexts(window).last(), QStringLiteral(" (nameless)"));
        QCOMPARE(tableRows(window).last(), QStringLiteral("classname=info_null"));
        QVERIFY(window->isWindowModified());
        QCOMPARE(window->associatedFile(), dir.filePath("e.lmp"));
        window->setWindowModified(false);
        window->close();
    }

    void exportsAMapSource()
    {
        QPointer<VENTITY> window = openEditor(
            sampleLump + "{\n\"classname\" \"func_brush\"\n\"model\" \"*3\"\n\"after\" \"x\"\n}\n");
        const QString target = dir.filePath("out");
        answerNextDialog([target](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            QVERIFY(dialog);
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Export As VMF"));
            chooseInFileDialog(dialog, target);
        });
        prepareWorkbench();
        trigger(window, "actionExportVMF");
        const QByteArray text = readBytes(target + ".vmf");
        QVERIFY(text.contains("world\n{\n\t\"classname\" \"worldspawn\"\n\t\"skyname\" \"sky\"\n"));
        QCOMPARE(text.count("\nentity\n"), 3);
        QVERIFY(text.contains("\tconnections\n\t{\n\t\t\"OnOpen\" \"a,b,,0,-1\"\n"));
        QVERIFY(text.contains("\t\"after\" \"x\"\n"));
        QVERIFY(!text.contains("func_brush"));
        window->close();
    }

    void asksBeforeClosingModified()
    {
        QPointer<VENTITY> window = openEditor();
        click(window, "entityAdd");
        QString text;
        answerNextMessageBox(&text, QMessageBox::Cancel);
        window->close();
        QVERIFY(window);
        QCOMPARE(text, QStringLiteral("Data has been modified."));
        answerNextMessageBox(nullptr, QMessageBox::Discard);
        window->close();
        QTRY_VERIFY(!window);
        QCOMPARE(readBytes(dir.filePath("e.lmp")), lumpFileBytes(sampleLump));
    }

    void secondOpenGoesToANewWindow()
    {
        prepareWorkbench();
        QPointer<VENTITY> window = openEditor();
        const int before = ZIRK::get()->getWorkspace()->subWindowList().size();
        window->fileOpen(lumpPath(sampleLump, "other.lmp"));
        QCOMPARE(window->associatedFile(), dir.filePath("e.lmp"));
        const QList<QMdiSubWindow *> windows = ZIRK::get()->getWorkspace()->subWindowList();
        QCOMPARE(windows.size(), before + 1);
        auto *opened = qobject_cast<VENTITY *>(windows.last()->widget());
        QVERIFY(opened);
        QCOMPARE(opened->associatedFile(), dir.filePath("other.lmp"));
        window->close();
    }

private:
    void prepareWorkbench()
    {
        // The workbench wants its settings file in the working directory.
        if (!QFile::exists(dir.filePath("noitazilait.ini")))
            QVERIFY(writeBytes(dir.filePath("noitazilait.ini"), QByteArray()));
        QVERIFY(QDir::setCurrent(dir.path()));
        ZIRK::get();
    }
};

QTEST_MAIN(TestMapVEntity)
#include "tst_map_ventity.moc"
