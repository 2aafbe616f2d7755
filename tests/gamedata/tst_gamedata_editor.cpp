// The game data viewer, driven through its tables, buttons, menus and fields.

#include "ZirkTest.h"
#include "app/ZIRK.h"
#include "gamedata/CFileFGD.h"
#include "gamedata/VFGD.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>

namespace {

const char *const Classes
    = "@include \"base.fgd\"\n"
      "@BaseClass = Targetname [ targetname(target_source) : \"Name\" ]\n"
      "@PointClass base(Targetname) studio() color(10 20 30) sphere(radius) size(-8 -8 0, 8 8 16)\n"
      "  line(255 0 0, targetname, target) = prop_thing : \"A thing\"\n"
      "[\n"
      "  radius(float) readonly : \"Radius\" : 64\n"
      "  mode(choices) : \"Mode\" : 0 = [ 0 : \"Off\" 1 : \"On\" ]\n"
      "  spawnflags(flags) = [ 1 : \"Start on\" : 1 4 : \"Silent\" : 0 ]\n"
      "  input Enable(void) : \"Enables\"\n"
      "  output OnHit(void) : \"Hit\"\n"
      "]\n"
      "@SolidClass = brush_thing [ ]\n";

CFileFGD *makeFile()
{
    auto *file = new CFileFGD;
    if (!file->createFromData(Classes)) {
        delete file;
        return nullptr;
    }
    return file;
}

void answerNextDialog(std::function<void(QWidget *)> answer)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, answer] {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        answer(modal);
    });
    timer->start();
}

} // namespace

class TestGamedataEditor : public QObject
{
    Q_OBJECT

public:
    QTemporaryDir dir;

    template<typename T = QTableWidget> static T *find(VFGD &window, const char *name)
    {
        return window.findChild<T *>(QLatin1String(name));
    }

    static QStringList column(QTableWidget *table, int column)
    {
        QStringList texts;
        for (int row = 0; row < table->rowCount(); ++row) {
            QTableWidgetItem *item = table->item(row, column);
            texts.append(item ? item->text() : QString());
        }
        return texts;
    }

    static QPushButton *addButton(QTableWidget *table)
    {
        QWidget *cell = table->cellWidget(table->rowCount() - 1, 0);
        return qobject_cast<QPushButton *>(cell);
    }

    // Right-clicks a cell and triggers an entry of the context menu; false if none opened.
    static bool context(VFGD &window, QTableWidget *table, int row, int column,
                        const QString &entry, bool *enabled = nullptr)
    {
        table->setCurrentCell(row, column);
        const QPoint pos = table->visualItemRect(table->item(row, column)).center();
        emit table->customContextMenuRequested(pos);
        auto *menu = window.findChild<QMenu *>(QStringLiteral("contextMenu"));
        if (!menu->isVisible())
            return false;
        menu->close();
        for (QAction *action : menu->actions()) {
            if (action->text() == entry) {
                if (enabled)
                    *enabled = action->isEnabled();
                if (action->isEnabled())
                    action->trigger();
            }
        }
        return true;
    }

    static void editCell(QTableWidget *table, int row, int column, const QString &text)
    {
        table->item(row, column)->setText(text);
    }

private Q_SLOTS:
    void initTestCase()
    {
        zirkInitTestResources();
        QVERIFY(dir.isValid());
        QFile settings(dir.filePath(QStringLiteral("noitazilait.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.close();
        QVERIFY(QDir::setCurrent(dir.path()));
        ZIRK::get()->show();
    }

    void emptyWindow()
    {
        VFGD window;
        window.show();
        QCOMPARE(window.windowTitle(), QStringLiteral("FGD Editor"));
        QTableWidget *entities = find(window, "entities");
        QCOMPARE(entities->rowCount(), 1);
        QVERIFY(addButton(entities));
        QVERIFY(!find<QGroupBox>(window, "Properties")->isEnabled());
        QCOMPARE(window.getEntityFocus(), -1);
        QStringList menu;
        QStringList disabled;
        for (QAction *action : window.menuBar()->actions().at(0)->menu()->actions()) {
            if (!action->isSeparator())
                menu << action->text();
            if (!action->isSeparator() && !action->isEnabled())
                disabled << action->text();
        }
        QCOMPARE(
            disabled,
            QStringList({ "Save", "Save As...", "Save Copy As...", "Import...", "Export..." }));
        QCOMPARE(menu,
                 QStringList({ "New", "Open...", "Save", "Save As...", "Save Copy As...",
                               "Import...", "Export...", "Exit" }));

        // Adding a class to an empty window gives it a file.
        QTest::mouseClick(addButton(entities), Qt::LeftButton);
        QVERIFY(window.getFile());
        QCOMPARE(window.getFile()->entities.size(), size_t(1));
        QCOMPARE(entities->rowCount(), 2);
        QCOMPARE(entities->item(0, 1)->text(), QStringLiteral("@BaseClass"));
        QCOMPARE(window.getEntityFocus(), 0);
        QVERIFY(find<QGroupBox>(window, "Properties")->isEnabled());
    }

    void showsTheFile()
    {
        VFGD window(makeFile());
        QVERIFY(window.getFile());
        QTableWidget *entities = find(window, "entities");
        QCOMPARE(column(entities, 0),
                 QStringList({ "Targetname", "prop_thing", "brush_thing", "" }));
        QCOMPARE(column(entities, 1),
                 QStringList({ "@BaseClass", "@PointClass", "@SolidClass", "" }));
        QCOMPARE(find<QListWidget>(window, "includes")->item(0)->text(),
                 QStringLiteral("base.fgd"));
        QCOMPARE(window.getEntityFocus(), 0);
        QCOMPARE(column(find(window, "keyvalues"), 0), QStringList({ "targetname", "" }));

        entities->setCurrentCell(1, 0);
        QCOMPARE(window.getEntityFocus(), 1);
        QCOMPARE(find<QLineEdit>(window, "description")->text(), QStringLiteral("A thing"));
        QVERIFY(find<QCheckBox>(window, "studioCheck")->isChecked());
        QVERIFY(!find<QLineEdit>(window, "studio")->isEnabled());
        QVERIFY(find<QCheckBox>(window, "colorCheck")->isChecked());
        QCOMPARE(find<QLineEdit>(window, "size")->text(), QStringLiteral("-8 -8 0 , 8 8 16"));
        QCOMPARE(find<QListWidget>(window, "bases")->item(0)->text(), QStringLiteral("Targetname"));
        QTableWidget *keyvalues = find(window, "keyvalues");
        QCOMPARE(column(keyvalues, 0), QStringList({ "radius", "mode", "" }));
        QCOMPARE(column(keyvalues, 1), QStringList({ "float", "choices", "" }));
        QCOMPARE(column(keyvalues, 3), QStringList({ "64", "0", "" }));
        QVERIFY(!keyvalues->item(0, 0)->icon().isNull());
        QVERIFY(keyvalues->item(1, 0)->icon().isNull());
        QCOMPARE(column(find(window, "inputs"), 0), QStringList({ "Enable", "" }));
        QCOMPARE(column(find(window, "outputs"), 2), QStringList({ "Hit", "" }));
        QCOMPARE(column(find(window, "lines"), 0), QStringList({ "255 0 0", "" }));
        QTableWidget *flags = find(window, "flags");
        QCOMPARE(flags->rowCount(), 32);
        QCOMPARE(flags->verticalHeaderItem(2)->text(), QStringLiteral("1 << 2"));
        QCOMPARE(flags->item(2, 1)->text(), QStringLiteral("Silent"));
        QVERIFY(find<QCheckBox>(window, "flag0")->isChecked());
        QVERIFY(!find<QCheckBox>(window, "flag2")->isChecked());
    }

    void choicesFollowTheKeyvalue()
    {
        VFGD window(makeFile());
        window.show();
        find(window, "entities")->setCurrentCell(1, 0);
        QTableWidget *keyvalues = find(window, "keyvalues");
        QTableWidget *choices = find(window, "choices");
        QVERIFY(!choices->isEnabled());
        keyvalues->setCurrentCell(1, 2);
        QVERIFY(choices->isEnabled());
        QCOMPARE(column(choices, 1), QStringList({ "Off", "On", "" }));
        QTest::mouseClick(addButton(choices), Qt::LeftButton);
        QCOMPARE(window.getFile()->entities[1].keyvalues[1].choices.size(), size_t(3));
        editCell(choices, 2, 0, QStringLiteral("2"));
        QCOMPARE(window.getFile()->entities[1].keyvalues[1].choices[2].value, QByteArray("2"));
        keyvalues->setCurrentCell(0, 2);
        QVERIFY(!choices->isEnabled());
        QCOMPARE(choices->rowCount(), 0);
    }

    void parameterPopupChangesTheType()
    {
        VFGD window(makeFile());
        window.show();
        find(window, "entities")->setCurrentCell(1, 0);
        QTableWidget *keyvalues = find(window, "keyvalues");
        keyvalues->setCurrentCell(0, 1);
        emit keyvalues->itemDoubleClicked(keyvalues->item(0, 1));
        auto *menu = window.findChild<QMenu *>(QStringLiteral("parameterMenu"));
        QTRY_VERIFY(menu->isVisible());
        QCOMPARE(menu->actions().size(), 26);
        menu->actions().at(1)->trigger();
        menu->close();
        QCOMPARE(window.getFile()->entities[1].keyvalues[0].type, FGD::Choices);
        QCOMPARE(keyvalues->item(0, 1)->text(), QStringLiteral("choices"));
        QVERIFY(find(window, "choices")->isEnabled());

        QTableWidget *entities = find(window, "entities");
        entities->setCurrentCell(2, 1);
        emit entities->itemDoubleClicked(entities->item(2, 1));
        auto *classes = window.findChild<QMenu *>(QStringLiteral("classMenu"));
        QTRY_VERIFY(classes->isVisible());
        classes->actions().at(6)->trigger();
        classes->close();
        QCOMPARE(window.getFile()->entities[2].type, FGD::FilterClass);
        QCOMPARE(entities->item(2, 1)->text(), QStringLiteral("@FilterClass"));
    }

    void editsReachTheRecords()
    {
        VFGD window(makeFile());
        window.show();
        QTableWidget *entities = find(window, "entities");
        entities->setCurrentCell(1, 0);
        CFileFGD::Entity_t &entity = window.getFile()->entities[1];
        editCell(entities, 1, 0, QStringLiteral("prop_renamed"));
        QCOMPARE(entity.name, QByteArray("prop_renamed"));
        editCell(find(window, "keyvalues"), 0, 2, QStringLiteral("Reach"));
        QCOMPARE(entity.keyvalues[0].displayName, QByteArray("Reach"));
        editCell(find(window, "inputs"), 0, 2, QStringLiteral("Turns on"));
        QCOMPARE(entity.inputs[0].description, QByteArray("Turns on"));
        QTableWidget *lines = find(window, "lines");
        editCell(lines, 0, 0, QStringLiteral("1 2 999"));
        QCOMPARE(entity.lines[0].color, qRgb(1, 2, 255));
        QCOMPARE(lines->item(0, 0)->text(), QStringLiteral("1 2 255"));
        editCell(lines, 0, 0, QStringLiteral("junk"));
        QCOMPARE(entity.lines[0].color, qRgb(1, 2, 255));

        auto type = [](QLineEdit *edit, const QString &text) {
            edit->setFocus();
            edit->selectAll();
            QTest::keyClicks(edit, text);
            QTest::keyClick(edit, Qt::Key_Return);
        };
        type(find<QLineEdit>(window, "description"), QStringLiteral("New words"));
        QCOMPARE(entity.description, QByteArray("New words"));
        type(find<QLineEdit>(window, "size"), QStringLiteral("1 2,, 4 5 6 7"));
        QCOMPARE(find<QLineEdit>(window, "size")->text(), QStringLiteral("1 2 0 , 4 5 6"));
        QVERIFY(entity.hasSizeMax);
        type(find<QLineEdit>(window, "size"), QStringLiteral("3"));
        QCOMPARE(find<QLineEdit>(window, "size")->text(), QStringLiteral("3 0 0"));
        QVERIFY(!entity.hasSizeMax);

        QTest::mouseClick(find<QCheckBox>(window, "studioCheck"), Qt::LeftButton);
        QCOMPARE(entity.helperFlags & CFileFGD::HelperStudioFromEntity, 0u);
        QVERIFY(find<QLineEdit>(window, "studio")->isEnabled());
        QTest::mouseClick(find<QCheckBox>(window, "colorCheck"), Qt::LeftButton);
        QCOMPARE(entity.helperFlags & CFileFGD::HelperColor, 0u);
        QTest::mouseClick(find<QCheckBox>(window, "flag2"), Qt::LeftButton);
        QCOMPARE(entity.spawnflagDefaults, quint32(1 | 4));

        QString title;
        answerNextDialog([&title](QWidget *widget) {
            title = widget->windowTitle();
            auto *dialog = qobject_cast<QColorDialog *>(widget);
            dialog->setCurrentColor(QColor(0x10, 0x20, 0x30));
            dialog->accept();
        });
        QTest::mouseClick(find<QPushButton>(window, "colorButton"), Qt::LeftButton);
        QCOMPARE(title, QStringLiteral("Entity Color"));
        QCOMPARE(entity.color, qRgb(0x10, 0x20, 0x30));
        QVERIFY(find<QCheckBox>(window, "colorCheck")->isChecked());
    }

    void contextMenu()
    {
        VFGD window(makeFile());
        window.show();
        QTableWidget *entities = find(window, "entities");
        entities->setCurrentCell(1, 0);
        QTableWidget *keyvalues = find(window, "keyvalues");
        CFileFGD::Keyvalue_t &mode = window.getFile()->entities[1].keyvalues[1];
        QVERIFY(context(window, keyvalues, 1, 0, QStringLiteral("Toggle Readonly")));
        QVERIFY(mode.readonly);
        QVERIFY(!keyvalues->item(1, 0)->icon().isNull());
        QVERIFY(context(window, keyvalues, 1, 3, QStringLiteral("Toggle Sphere")));
        QVERIFY(mode.sphere);
        QVERIFY(context(window, keyvalues, 1, 3, QStringLiteral("Toggle Readonly")));
        QVERIFY(context(window, keyvalues, 1, 3, QStringLiteral("Toggle Sphere")));
        QVERIFY(keyvalues->item(1, 0)->icon().isNull());
        // Not over the type column, not over the class column, not on the add row.
        QVERIFY(!context(window, keyvalues, 1, 1, QStringLiteral("Delete")));
        QVERIFY(!context(window, entities, 1, 1, QStringLiteral("Delete")));
        QVERIFY(!context(window, keyvalues, 2, 0, QStringLiteral("Delete")));
        bool enabled = true;
        QVERIFY(context(window, find(window, "inputs"), 0, 0, QStringLiteral("Toggle Readonly"),
                        &enabled));
        QVERIFY(!enabled);

        QVERIFY(context(window, keyvalues, 0, 0, QStringLiteral("Delete")));
        QCOMPARE(window.getFile()->entities[1].keyvalues.size(), size_t(1));
        QCOMPARE(window.getKeyvalueFocus(), 0);
        QCOMPARE(column(keyvalues, 0), QStringList({ "mode", "" }));
        QVERIFY(find(window, "choices")->isEnabled());
        QVERIFY(context(window, find(window, "outputs"), 0, 0, QStringLiteral("Delete")));
        QVERIFY(window.getFile()->entities[1].outputs.empty());

        // Deleting a middle class hands the focus to the one that took its row.
        QVERIFY(context(window, entities, 1, 0, QStringLiteral("Delete")));
        QCOMPARE(window.getFile()->entities.size(), size_t(2));
        QCOMPARE(window.getEntityFocus(), 1);
        QCOMPARE(find<QLineEdit>(window, "description")->text(), QString());
        // Deleting the last one leaves no focus.
        QVERIFY(context(window, entities, 1, 0, QStringLiteral("Delete")));
        QCOMPARE(window.getEntityFocus(), -1);
        QVERIFY(!find<QGroupBox>(window, "Properties")->isEnabled());
        QCOMPARE(column(entities, 0), QStringList({ "Targetname", "" }));
    }

    void upAndDownSwapOnlyRows()
    {
        VFGD window(makeFile());
        window.show();
        QTableWidget *entities = find(window, "entities");
        entities->setFocus();
        entities->setCurrentCell(0, 0);
        QTest::keyClick(entities, Qt::Key_Up);
        QCOMPARE(column(entities, 0),
                 QStringList({ "Targetname", "prop_thing", "brush_thing", "" }));
        QTest::keyClick(entities, Qt::Key_Down);
        QCOMPARE(column(entities, 0),
                 QStringList({ "prop_thing", "Targetname", "brush_thing", "" }));
        QCOMPARE(entities->currentRow(), 1);
        // The file keeps its order, and the focus follows the row, not the class.
        QCOMPARE(window.getFile()->entities[0].name, QByteArray("Targetname"));
        QCOMPARE(window.getEntityFocus(), 1);
        QTest::keyClick(entities, Qt::Key_Down);
        QTest::keyClick(entities, Qt::Key_Down);
        QCOMPARE(entities->currentRow(), 2);
        QCOMPARE(column(entities, 0).last(), QString());
    }

    void addingRows()
    {
        VFGD window(makeFile());
        window.show();
        find(window, "entities")->setCurrentCell(2, 0);
        const struct
        {
            const char *table;
            int columns;
        } tables[] = { { "keyvalues", 5 },
                       { "inputs", 3 },
                       { "outputs", 3 },
                       { "lines", 3 },
                       { "cylinders", 7 } };
        for (const auto &entry : tables) {
            QTableWidget *table = find(window, entry.table);
            QCOMPARE(table->rowCount(), 1);
            QTest::mouseClick(addButton(table), Qt::LeftButton);
            QCOMPARE(table->rowCount(), 2);
            QVERIFY(addButton(table));
            QVERIFY(!qobject_cast<QPushButton *>(table->cellWidget(0, 0)));
            QCOMPARE(table->columnCount(), entry.columns);
        }
        const CFileFGD::Entity_t &entity = window.getFile()->entities[2];
        QCOMPARE(entity.keyvalues.at(0).type, FGD::String);
        QCOMPARE(find(window, "keyvalues")->item(0, 1)->text(), QStringLiteral("string"));
        QCOMPARE(entity.cylinders.size(), size_t(1));
        QCOMPARE(find(window, "cylinders")->item(0, 0)->text(), QStringLiteral("255 255 255"));
        QCOMPARE(find(window, "cylinders")->horizontalHeaderItem(6)->text(), QStringLiteral("???"));
    }

    void newIsIgnoredWithAFile()
    {
        VFGD window(makeFile());
        CFileFGD *file = window.getFile();
        window.fgdNew();
        QCOMPARE(window.getFile(), file);
        QCOMPARE(window.getFile()->entities.size(), size_t(3));
    }

    void openGoesToANewWindow()
    {
        const QString good = dir.filePath(QStringLiteral("good.fgd"));
        const QString bad = dir.filePath(QStringLiteral("bad.fgd"));
        QFile file(good);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(Classes);
        file.close();
        file.setFileName(bad);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("@AutoVisGroup = \"x\" [ ]");
        file.close();

        VFGD window;
        QMdiArea *workspace = ZIRK::get()->getWorkspace();
        for (const QString &path : { good, bad }) {
            const qsizetype before = workspace->subWindowList().size();
            QString caption;
            answerNextDialog([&](QWidget *widget) {
                caption = widget->windowTitle();
                // The shared dialog remembers the last choice; only the typed name counts.
                widget->findChild<QAbstractItemView *>(QStringLiteral("listView"))
                    ->clearSelection();
                widget->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
                static_cast<QDialog *>(widget)->accept();
            });
            window.fgdOpen();
            QCOMPARE(caption, QStringLiteral("Load"));
            QCOMPARE(workspace->subWindowList().size(), before + (path == good ? 1 : 0));
        }
        auto *opened = qobject_cast<VFGD *>(workspace->subWindowList().last()->widget());
        QVERIFY(opened);
        QCOMPARE(opened->getFile()->entities.size(), size_t(3));
        QVERIFY(!window.getFile());

        // The quick loader of the main window does the same.
        for (const QString &path : { bad, good }) {
            const qsizetype before = workspace->subWindowList().size();
            QString caption;
            answerNextDialog([&](QWidget *widget) {
                caption = widget->windowTitle();
                widget->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
                static_cast<QDialog *>(widget)->accept();
            });
            ZIRK::get()->doDummy1();
            QCOMPARE(caption, QStringLiteral("Load"));
            QCOMPARE(workspace->subWindowList().size(), before + (path == good ? 1 : 0));
        }
        QCOMPARE(workspace->subWindowList().last()->windowTitle(), QStringLiteral("FGD Editor"));
    }
};

QTEST_MAIN(TestGamedataEditor)
#include "tst_gamedata_editor.moc"
