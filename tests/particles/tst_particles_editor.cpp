// The particle editor driven through its widgets: the tree, in-place editing, the context
// commands and their refusals, the "Format" menu, saving, closing and two of the tools.
#include "ParticleEditorTestSupport.h"
#include "PcfTestSupport.h"
#include "ZirkTest.h"
#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "particles/VParticleAddAttributeDialog.h"
#include "util/QProgressDialogger.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMdiArea>
#include <QTemporaryDir>
#include <QtTest>

class TestParticlesEditor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void treeShowsTheFile();
    void editValueInPlace();
    void addSystemRefusesNameInUse();
    void addElementFromTemplate();
    void addElementEmptyWithoutTemplate();
    void addChildRefusesLoop();
    void addGenericAttribute();
    void renameRules();
    void toArrayAndBack();
    void scrambleGuid();
    void deleteRules();
    void deletedChildSystemFailsAtSave();
    void formatMenu();
    void newOpenSaveClose();
    void openFailureOpensNothing();
    void stringDictionaryAndFind();
    void exportIntoAnotherVersion();
    void massFormatCancelsBetweenFiles();

private:
    // A version 2 file: systems a, b and c; a has the child c, b the child c; a has an
    // operator "Movement Basic" and the attribute "radius".
    CFilePCF *makeFile(int version = 2);

    QTemporaryDir dir;
};

void TestParticlesEditor::initTestCase()
{
    zirkInitTestResources();
    // The settings, and with them the templates, come from the working folder.
    QFile ini(dir.filePath(QStringLiteral("noitazilait.ini")));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[general]\n[/general]\n");
    ini.close();
    QVERIFY(QDir::setCurrent(dir.path()));
    QVERIFY(ProgramSettings_t::get()->particleTemplates->at(3));
}

CFilePCF *TestParticlesEditor::makeFile(int version)
{
    CFilePCF *file = CFilePCF::newPCF(CFilePCF::ParticleFormatVersion_t(version));
    CDmxElement *a = PcfTree::system(*file, QStringLiteral("a"));
    CDmxElement *b = PcfTree::system(*file, QStringLiteral("b"));
    CDmxElement *c = PcfTree::system(*file, QStringLiteral("c"));
    PcfTree::addOperator(*file, a, QStringLiteral("operators"), QStringLiteral("Movement Basic"));
    PcfTree::addChild(*file, a, c);
    PcfTree::addChild(*file, b, c);
    a->attributes.append(PcfTree::floatAttribute(QStringLiteral("radius"), 5.0f));
    return file;
}

void TestParticlesEditor::treeShowsTheFile()
{
    VParticle window(makeFile());
    QTreeWidget *tree = particleTree(window);
    QCOMPARE(tree->headerItem()->text(0), QStringLiteral("Name"));
    QCOMPARE(tree->headerItem()->text(1), QStringLiteral("Data Type"));
    QCOMPARE(tree->headerItem()->text(2), QStringLiteral("Value"));
    QCOMPARE(tree->topLevelItemCount(), 1);
    QTreeWidgetItem *systems = tree->topLevelItem(0);
    QCOMPARE(systems->text(1), QStringLiteral("ELEMENT_ARRAY"));
    QCOMPARE(systems->text(2), QStringLiteral("3 Item(s)"));
    QVERIFY(systems->isExpanded());
    VParticleTreeWidgetItem *first = particleRow(window, { "particleSystemDefinitions", "[0]" });
    QCOMPARE(first->text(1), QStringLiteral("ELEMENT"));
    QCOMPARE(first->text(2), QStringLiteral("a"));
    VParticleTreeWidgetItem *op = particleRow(
        window, { "particleSystemDefinitions", "[0]", "operators", "[0]", "functionName" });
    QVERIFY(op);
    QCOMPARE(op->text(2), QStringLiteral("Movement Basic"));
    // A child names its system without showing it again.
    VParticleTreeWidgetItem *child
        = particleRow(window, { "particleSystemDefinitions", "[0]", "children", "[0]", "child" });
    QCOMPARE(child->text(2), QStringLiteral("c"));
    QCOMPARE(child->childCount(), 0);
    QCOMPARE(window.windowTitle(), QStringLiteral("Untitled[*]"));
}

void TestParticlesEditor::editValueInPlace()
{
    VParticle window(makeFile());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTreeWidget *tree = particleTree(window);
    VParticleTreeWidgetItem *radius
        = particleRow(window, { "particleSystemDefinitions", "[0]", "radius" });
    for (QTreeWidgetItem *up = radius->parent(); up; up = up->parent())
        up->setExpanded(true);
    tree->scrollToItem(radius);
    auto edit = [&](const QString &text) {
        QTRY_VERIFY(tree->visualItemRect(radius).isValid());
        const QRect cell = tree->visualItemRect(radius);
        const QPoint valueColumn(tree->header()->sectionPosition(2) + 5, cell.center().y());
        // The view takes a double click only on the row that the press before it hit.
        QTest::mousePress(tree->viewport(), Qt::LeftButton, Qt::NoModifier, valueColumn);
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, valueColumn);
        QLineEdit *editor = nullptr;
        QTRY_VERIFY((editor = tree->viewport()->findChild<QLineEdit *>()));
        editor->selectAll();
        QTest::keyClicks(editor, text);
        // The view takes the value over once the event loop runs again.
        QTest::keyClick(editor, Qt::Key_Return);
    };
    edit(QStringLiteral("2.50"));
    QTRY_COMPARE(radius->text(2), QStringLiteral("2.5"));
    QCOMPARE(*static_cast<float *>(radius->getAttribute()->value), 2.5f);
    QVERIFY(window.isWindowModified());

    QString message;
    answerMessageBox(&message);
    edit(QStringLiteral("wide"));
    QTRY_COMPARE(message, QStringLiteral("Unable to parse value from string."));
    QCOMPARE(radius->text(2), QStringLiteral("2.5"));
    window.setWindowModified(false);
}

void TestParticlesEditor::addSystemRefusesNameInUse()
{
    VParticle window(makeFile());
    VParticleTreeWidgetItem *systems = particleRow(window, { "particleSystemDefinitions" });
    QString title;
    QString message;
    answerInput(QStringLiteral("b"), &title);
    answerMessageBox(&message);
    QVERIFY(contextCommand(window, systems, QStringLiteral("Add Attribute")));
    QCOMPARE(title, QStringLiteral("Add Particle System"));
    QVERIFY(message.contains(QStringLiteral("\"b\"")));
    QCOMPARE(window.getFile()->systemDefinitions()->size(), 3);
    QVERIFY(!window.isWindowModified());

    answerInput(QStringLiteral("sparks"));
    QVERIFY(contextCommand(window, systems, QStringLiteral("Add Attribute")));
    CDmxElement *sparks = window.getFile()->findSystemByName(QStringLiteral("sparks"));
    QVERIFY(sparks);
    QVERIFY(window.getFile()->elements.contains(sparks));
    // Made from the "empty" system of the template, with a GUID of its own.
    QVERIFY(sparks->getAttributeByName(QStringLiteral("max_particles")));
    QVERIFY(sparks->guid != VParticle::templateSystem(2, QStringLiteral("empty"))->guid);
    QCOMPARE(systems->text(2), QStringLiteral("4 Item(s)"));
    QCOMPARE(particleRow(window, { "particleSystemDefinitions", "[3]" })->text(2),
             QStringLiteral("sparks"));
    QVERIFY(window.isWindowModified());
    window.setWindowModified(false);
}

void TestParticlesEditor::addElementFromTemplate()
{
    VParticle window(makeFile());
    VParticleTreeWidgetItem *emitters
        = particleRow(window, { "particleSystemDefinitions", "[1]", "emitters" });
    QStringList rows;
    QString title;
    answerList(QStringLiteral("emit_continuously"), &rows, &title);
    QVERIFY(contextCommand(window, emitters, QStringLiteral("Add Attribute")));
    QCOMPARE(title, QStringLiteral("Add Element"));
    QCOMPARE(rows, QStringList({ "emit noise", "emit_continuously", "emit_instantaneously" }));
    const DmxElementArray *items = emitters->getAttribute()->elementArray();
    QCOMPARE(items->size(), 1);
    QCOMPARE(items->first()->name, QStringLiteral("emit_continuously"));
    QVERIFY(window.getFile()->elements.contains(items->first()));
    QCOMPARE(emitters->child(0)->text(2), QStringLiteral("emit_continuously"));
    QString error;
    QVERIFY2(pcfRoundTrip(*window.getFile(), error), qPrintable(error));
    window.setWindowModified(false);
}

void TestParticlesEditor::addElementEmptyWithoutTemplate()
{
    QList<CFilePCF *> &templates = *ProgramSettings_t::get()->particleTemplates;
    CFilePCF *kept = templates[2];
    templates[2] = nullptr;
    VParticle window(makeFile());
    QStringList rows { QStringLiteral("not asked") };
    answerList(QString(), &rows);
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[0]", "operators" }),
                           QStringLiteral("Add Attribute")));
    templates[2] = kept;
    QVERIFY(rows.isEmpty());
    QCOMPARE(window.getFile()->findElementsByType(DmxNames::operatorType()).size(), 1);
}

void TestParticlesEditor::addChildRefusesLoop()
{
    CFilePCF *file = makeFile();
    CDmxElement *d = PcfTree::system(*file, QStringLiteral("d"));
    CDmxElement *e = PcfTree::system(*file, QStringLiteral("e"));
    CDmxElement *x = PcfTree::system(*file, QStringLiteral("x"));
    PcfTree::addChild(*file, e, x);
    PcfTree::addChild(*file, e, d);
    VParticle window(file);
    // c is the first child of a and of b: either as a child of c would loop, and so would c
    // itself.
    QStringList rows;
    QString title;
    answerList(QStringLiteral("d"), &rows, &title);
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[2]", "children" }),
                           QStringLiteral("Add Attribute")));
    QCOMPARE(title, QStringLiteral("Add Child"));
    QCOMPARE(rows, QStringList({ "d", "e", "x" }));
    CDmxElement *c = window.getFile()->findSystemByName(QStringLiteral("c"));
    QVERIFY(c->isElementInChildHierarchy(d));
    const CDmxElement *link
        = c->getAttributeByName(QStringLiteral("children"))->elementArray()->first();
    QCOMPARE(link->type, DmxNames::childType());
    QCOMPARE(link->getAttributeByName(QStringLiteral("delay"))->getValueAsString(),
             QStringLiteral("0"));
    QVERIFY(!link->getAttributeByName(QStringLiteral("child"))->ownsValue);
    QCOMPARE(window.getFile()->elements.last(), link);

    // d is now down the first-child chains of a, b and c. e holds d only as its second
    // child, so the loop through e is not seen, as the first-child rule has it.
    answerList(QString(), &rows);
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[3]", "children" }),
                           QStringLiteral("Add Attribute")));
    QCOMPARE(rows, QStringList({ "e", "x" }));
    window.setWindowModified(false);
}

void TestParticlesEditor::addGenericAttribute()
{
    VParticle window(makeFile());
    VParticleTreeWidgetItem *system = particleRow(window, { "particleSystemDefinitions", "[1]" });
    answerNext([](QWidget *widget) {
        auto *dialog = qobject_cast<VParticleAddAttributeDialog *>(widget);
        QVERIFY(dialog);
        auto *add = dialog->findChild<QPushButton *>(QStringLiteral("addButton"));
        // Without a name the dialog stays.
        QTest::mouseClick(add, Qt::LeftButton);
        QVERIFY(dialog->isVisible());
        dialog->findChild<QLineEdit *>(QStringLiteral("attributeName"))
            ->setText(QStringLiteral("tint"));
        auto *type = dialog->findChild<QComboBox *>(QStringLiteral("attributeType"));
        QCOMPARE(type->itemText(0), QStringLiteral("ELEMENT"));
        QCOMPARE(type->itemText(type->count() - 1), QStringLiteral("MATRIX_ARRAY"));
        type->setCurrentText(QStringLiteral("COLOR"));
        QTest::mouseClick(add, Qt::LeftButton);
    });
    QVERIFY(contextCommand(window, system, QStringLiteral("Add Attribute")));
    const CDmxAttribute *tint = window.getFile()
                                    ->findSystemByName(QStringLiteral("b"))
                                    ->getAttributeByName(QStringLiteral("tint"));
    QVERIFY(tint);
    QCOMPARE(tint->type, CDmxAttribute::ATTRIBUTE_COLOR);
    VParticleTreeWidgetItem *row
        = particleRow(window, { "particleSystemDefinitions", "[1]", "tint" });
    QVERIFY(row);
    QCOMPARE(row->text(2), QStringLiteral("0 0 0 0"));

    // An item of a plain list is added with its type's default.
    VParticle other(makeFile());
    CDmxElement *a = other.getFile()->findSystemByName(QStringLiteral("a"));
    a->attributes.append(PcfTree::attribute(
        QStringLiteral("list"), CDmxAttribute::ATTRIBUTE_INTEGER_ARRAY, new DmxValueArray));
    other.replotTree();
    VParticleTreeWidgetItem *list
        = particleRow(other, { "particleSystemDefinitions", "[0]", "list" });
    QVERIFY(contextCommand(other, list, QStringLiteral("Add Attribute")));
    QCOMPARE(list->text(2), QStringLiteral("1 Item(s)"));
    QCOMPARE(list->child(0)->text(0), QStringLiteral("[0]"));
    QCOMPARE(list->child(0)->text(1), QStringLiteral("INTEGER"));
    // A plain value takes nothing.
    QVERIFY(!contextCommand(other,
                            particleRow(other, { "particleSystemDefinitions", "[0]", "radius" }),
                            QStringLiteral("Add Attribute")));
    window.setWindowModified(false);
    other.setWindowModified(false);
}

void TestParticlesEditor::renameRules()
{
    VParticle window(makeFile());
    // An element may not take a name another system has.
    QString message;
    QString title;
    answerInput(QStringLiteral("c"), &title);
    answerMessageBox(&message);
    QVERIFY(contextCommand(window, particleRow(window, { "particleSystemDefinitions", "[0]" }),
                           QStringLiteral("Rename Attribute")));
    QCOMPARE(title, QStringLiteral("Rename Element"));
    QCOMPARE(window.getFile()->findSystemByName(QStringLiteral("a"))->name, QStringLiteral("a"));
    // Renamed, every row that shows it follows: the child rows of a and b name c.
    answerInput(QStringLiteral("  embers "));
    QVERIFY(contextCommand(window, particleRow(window, { "particleSystemDefinitions", "[2]" }),
                           QStringLiteral("Rename Attribute")));
    QVERIFY(window.getFile()->findSystemByName(QStringLiteral("embers")));
    QCOMPARE(particleRow(window, { "particleSystemDefinitions", "[1]", "children", "[0]", "child" })
                 ->text(2),
             QStringLiteral("embers"));
    // An attribute may not take a sibling's name; lists of elements keep theirs.
    answerInput(QStringLiteral("operators"), &title);
    answerMessageBox(&message);
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[0]", "radius" }),
                           QStringLiteral("Rename Attribute")));
    QCOMPARE(title, QStringLiteral("Rename Attribute"));
    QVERIFY(particleRow(window, { "particleSystemDefinitions", "[0]", "radius" }));
    answerInput(QStringLiteral("size"));
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[0]", "radius" }),
                           QStringLiteral("Rename Attribute")));
    QVERIFY(particleRow(window, { "particleSystemDefinitions", "[0]", "size" }));
    QVERIFY(!contextCommand(
        window, particleRow(window, { "particleSystemDefinitions", "[0]", "operators" }),
        QStringLiteral("Rename Attribute")));
    window.setWindowModified(false);
}

void TestParticlesEditor::toArrayAndBack()
{
    VParticle window(makeFile());
    VParticleTreeWidgetItem *radius
        = particleRow(window, { "particleSystemDefinitions", "[0]", "radius" });
    QVERIFY(contextCommand(window, radius, QStringLiteral("To Array")));
    QCOMPARE(radius->text(1), QStringLiteral("FLOAT_ARRAY"));
    QCOMPARE(radius->text(2), QStringLiteral("1 Item(s)"));
    QCOMPARE(radius->child(0)->text(0), QStringLiteral("[0]"));
    QCOMPARE(radius->child(0)->text(2), QStringLiteral("5"));
    QVERIFY(!contextCommand(window, radius, QStringLiteral("To Array")));

    QStringList rows;
    QString title;
    answerList(QStringLiteral("[0] 5"), &rows, &title);
    QVERIFY(contextCommand(window, radius, QStringLiteral("From Array")));
    QCOMPARE(title, QStringLiteral("Select Attribute"));
    QCOMPARE(radius->text(1), QStringLiteral("FLOAT"));
    QCOMPARE(radius->text(2), QStringLiteral("5"));
    QCOMPARE(radius->childCount(), 0);
    QCOMPARE(radius->getAttribute()->type, CDmxAttribute::ATTRIBUTE_FLOAT);
    QVERIFY(window.isWindowModified());
    window.setWindowModified(false);
}

void TestParticlesEditor::scrambleGuid()
{
    VParticle window(makeFile());
    CDmxElement *c = window.getFile()->findSystemByName(QStringLiteral("c"));
    const QUuid before = c->guid;
    QVERIFY(contextCommand(window, particleRow(window, { "particleSystemDefinitions", "[2]" }),
                           QStringLiteral("Scramble GUID")));
    QVERIFY(c->guid != before);
    const QString shown = DmxNames::systemType() + QLatin1Char(' ') + c->guid.toString();
    QCOMPARE(particleRow(window, { "particleSystemDefinitions", "[2]" })->text(2), shown);
    QCOMPARE(particleRow(window, { "particleSystemDefinitions", "[0]", "children", "[0]", "child" })
                 ->text(2),
             shown);
    QVERIFY(!contextCommand(window,
                            particleRow(window, { "particleSystemDefinitions", "[0]", "radius" }),
                            QStringLiteral("Scramble GUID")));
    window.setWindowModified(false);
}

void TestParticlesEditor::deleteRules()
{
    CFilePCF *file = makeFile();
    CDmxElement *a = file->findSystemByName(QStringLiteral("a"));
    CDmxElement *thing = PcfTree::element(QStringLiteral("DmeThing"), QStringLiteral("thing"));
    file->elements.append(thing);
    a->attributes.append(PcfTree::attribute(QStringLiteral("things"),
                                            CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY,
                                            new DmxElementArray { thing }));
    a->attributes.append(PcfTree::attribute(
        QStringLiteral("numbers"), CDmxAttribute::ATTRIBUTE_INTEGER_ARRAY,
        new DmxValueArray { new DmxInteger(1), new DmxInteger(2), new DmxInteger(3) }));
    VParticle window(file);
    // An element of no known kind is not deleted.
    QString message;
    answerMessageBox(&message);
    QVERIFY(contextCommand(
        window, particleRow(window, { "particleSystemDefinitions", "[0]", "things", "[0]" }),
        QStringLiteral("Delete")));
    QCOMPARE(message, QStringLiteral("No deletion rules for generic element!"));
    QVERIFY(window.getFile()->elements.contains(thing));
    // An item of a plain list goes and the rest are numbered anew.
    VParticleTreeWidgetItem *numbers
        = particleRow(window, { "particleSystemDefinitions", "[0]", "numbers" });
    QVERIFY(contextCommand(window, numbers->child(0), QStringLiteral("Delete")));
    QCOMPARE(numbers->text(2), QStringLiteral("2 Item(s)"));
    QCOMPARE(numbers->child(0)->text(0), QStringLiteral("[0]"));
    QCOMPARE(numbers->child(0)->text(2), QStringLiteral("2"));
    // An operator goes out of its list and the file.
    QVERIFY(contextCommand(
        window, particleRow(window, { "particleSystemDefinitions", "[0]", "operators", "[0]" }),
        QStringLiteral("Delete")));
    QVERIFY(window.getFile()->findElementsByType(DmxNames::operatorType()).isEmpty());
    // A plain attribute goes.
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[0]", "radius" }),
                           QStringLiteral("Delete")));
    QVERIFY(!a->getAttributeByName(QStringLiteral("radius")));
    // A list attribute takes its elements out of the file.
    QVERIFY(contextCommand(window,
                           particleRow(window, { "particleSystemDefinitions", "[0]", "things" }),
                           QStringLiteral("Delete")));
    QVERIFY(!window.getFile()->elements.contains(thing));
    // The system list itself stays: without it the file would not read back.
    QVERIFY(!contextCommand(window, particleRow(window, { "particleSystemDefinitions" }),
                            QStringLiteral("Delete")));
    QString error;
    QVERIFY2(pcfRoundTrip(*window.getFile(), error), qPrintable(error));
    window.setWindowModified(false);
}

void TestParticlesEditor::deletedChildSystemFailsAtSave()
{
    VParticle window(makeFile());
    const qsizetype before = window.getFile()->elements.size();
    // c is the child of a and b; deleting it removes its own elements only.
    QVERIFY(contextCommand(window, particleRow(window, { "particleSystemDefinitions", "[2]" }),
                           QStringLiteral("Delete")));
    QCOMPARE(window.getFile()->elements.size(), before - 1);
    QCOMPARE(window.getFile()->systemDefinitions()->size(), 2);
    // The rows that showed it elsewhere went too.
    QVERIFY(
        !particleRow(window, { "particleSystemDefinitions", "[0]", "children", "[0]", "child" }));
    QVERIFY(
        particleRow(window, { "particleSystemDefinitions", "[0]", "children", "[0]", "delay" }));

    const QString path = dir.filePath(QStringLiteral("deleted.pcf"));
    QString message;
    answerMessageBox(&message);
    QVERIFY(!window.particleSaveShared(path, false));
    QVERIFY(message.startsWith(QStringLiteral("Write Error: Unreferenced element: Element: ")));
    QVERIFY(!QFile::exists(path));
    QVERIFY(window.isWindowModified());
    window.setWindowModified(false);
}

void TestParticlesEditor::formatMenu()
{
    VParticle window(makeFile(1));
    auto action
        = [&window](const char *name) { return window.findChild<QAction *>(QLatin1String(name)); };
    const QImage tick = QIcon(QStringLiteral(":/resources/icons/tick")).pixmap(16).toImage();
    QCOMPARE(action("actionFormatOrangeBox")->text(),
             QStringLiteral("Binary 2 / PCF 1 (Orange Box)"));
    QCOMPARE(action("actionFormatOrangeBox")->icon().pixmap(16).toImage(), tick);
    QVERIFY(action("actionFormatL4D")->icon().pixmap(16).toImage() != tick);
    action("actionFormatL4D")->trigger();
    QCOMPARE(window.getFile()->version, CFilePCF::PCF_L4D);
    QCOMPARE(action("actionFormatL4D")->icon().pixmap(16).toImage(), tick);
    QVERIFY(action("actionFormatOrangeBox")->icon().pixmap(16).toImage() != tick);
    QVERIFY(window.isWindowModified());
    QVERIFY(window.getFile()
                ->findSystemByName(QStringLiteral("a"))
                ->getAttributeByName(QStringLiteral("fallback max count")));
    QVERIFY(particleRow(window, { "particleSystemDefinitions", "[0]", "fallback max count" }));

    // A version without a template: the file stays as it was.
    QList<CFilePCF *> &templates = *ProgramSettings_t::get()->particleTemplates;
    CFilePCF *kept = templates[3];
    templates[3] = nullptr;
    QString message;
    answerMessageBox(&message);
    action("actionFormatL4D2")->trigger();
    templates[3] = kept;
    QCOMPARE(message,
             QStringLiteral("Formatting Error: Template data for target version does not exist"));
    QCOMPARE(window.getFile()->version, CFilePCF::PCF_L4D);
    window.setWindowModified(false);
}

void TestParticlesEditor::newOpenSaveClose()
{
    ZIRK *zirk = ZIRK::get();
    auto *window = new VParticle;
    zirk->addWidgetToWorkspace(window);
    QCOMPARE(window->windowTitle(), QStringLiteral("Particle Editor"));
    QVERIFY(!window->findChild<QAction *>(QStringLiteral("actionSave"))->isEnabled());

    // New: the version is asked; the file opens here since the window has none.
    QString title;
    answerInput(CFilePCF::formatVersionToDisplayString(CFilePCF::PCF_L4D2), &title);
    window->particleNew();
    QCOMPARE(title, QStringLiteral("New Particle"));
    QVERIFY(window->getFile());
    QCOMPARE(window->getFile()->version, CFilePCF::PCF_L4D2);
    QCOMPARE(window->windowTitle(), QStringLiteral("Untitled[*]"));

    // Save without a path asks for one, then keeps it.
    const QString path = dir.filePath(QStringLiteral("fresh.pcf"));
    answerFileDialog({ path }, &title);
    window->findChild<QAction *>(QStringLiteral("actionSave"))->trigger();
    QCOMPARE(title, QStringLiteral("Save PCF"));
    QVERIFY(QFile::exists(path));
    QCOMPARE(window->getFilePath(), path);
    QCOMPARE(window->windowTitle(), QStringLiteral("fresh[*]"));

    // Save Copy As leaves path and title alone.
    const QString copy = dir.filePath(QStringLiteral("copy.pcf"));
    answerFileDialog({ copy });
    window->particleSaveCopyAs();
    QVERIFY(QFile::exists(copy));
    QCOMPARE(window->getFilePath(), path);

    // Open with a file in the window opens another window.
    const int before = zirk->getWorkspace()->subWindowList().size();
    answerFileDialog({ copy }, &title);
    window->particleOpen();
    QCOMPARE(title, QStringLiteral("Open PCF"));
    QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before + 1);

    // Closing a modified window asks; Cancel keeps it, Discard lets it go.
    window->setWindowModified(true);
    QString question;
    answerMessageBox(&question, QMessageBox::Cancel);
    QVERIFY(!window->close());
    QCOMPARE(question, QStringLiteral("Data has been modified."));
    answerMessageBox(nullptr, QMessageBox::Discard);
    QVERIFY(window->close());
    for (QMdiSubWindow *sub : zirk->getWorkspace()->subWindowList()) {
        if (qobject_cast<VParticle *>(sub->widget()))
            sub->widget()->setWindowModified(false);
    }
    zirk->getWorkspace()->closeAllSubWindows();
}

void TestParticlesEditor::openFailureOpensNothing()
{
    QFile bad(dir.filePath(QStringLiteral("bad.pcf")));
    QVERIFY(bad.open(QIODevice::WriteOnly));
    bad.write("<!-- dmx encoding binary 5 format pcf 2 -->\n");
    bad.putChar('\0');
    bad.close();
    VParticle window(makeFile());
    QString message;
    answerMessageBox(&message);
    QVERIFY(!window.particleOpen(bad.fileName()));
    QCOMPARE(message, QStringLiteral("Read Error: Invalid or unrecognized format"));
    QVERIFY(window.getFile()->findSystemByName(QStringLiteral("a"))); // what it had stays

    ZIRK *zirk = ZIRK::get();
    const int before = zirk->getWorkspace()->subWindowList().size();
    answerMessageBox(&message);
    zirk->showVParticle(bad.fileName());
    QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before);
    // A particle file handed to the program is recognised and opens nothing, as always.
    zirk->handleMessage(dir.filePath(QStringLiteral("fresh.pcf")));
    QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before);
}

void TestParticlesEditor::stringDictionaryAndFind()
{
    VParticle window(makeFile());
    QVERIFY(window.particleSaveShared(dir.filePath(QStringLiteral("find_a.pcf")), false));
    QStringList rows;
    QString title;
    answerNext([&rows, &title](QWidget *widget) {
        title = widget->windowTitle();
        auto *list = widget->findChild<QListWidget *>();
        for (int i = 0; i < list->count(); ++i)
            rows << list->item(i)->text();
        widget->close();
    });
    window.particleShowStringDictionary();
    QCOMPARE(title, QStringLiteral("String Dictionary"));
    QCOMPARE(rows.value(0), QStringLiteral("0 : DmElement"));
    QCOMPARE(rows.value(1), QStringLiteral("1 : particleSystemDefinitions"));

    // Find: a name, then files; the one that does not read is logged and passed over.
    QStringList hits;
    answerInput(QStringLiteral("b"), &title);
    answerFileDialog(
        { dir.filePath(QStringLiteral("find_a.pcf")), dir.filePath(QStringLiteral("bad.pcf")) });
    answerNamed(QStringLiteral("searchResults"), [&hits, &title](QWidget *widget) {
        title = widget->windowTitle();
        auto *list = widget->findChild<QTreeWidget *>(QStringLiteral("searchResultList"));
        QCOMPARE(list->headerItem()->text(0), QStringLiteral("System Name"));
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            hits << list->topLevelItem(i)->text(0);
        static_cast<QDialog *>(widget)->accept();
    });
    window.particleFindSystem();
    QCOMPARE(title, QStringLiteral("Search Results"));
    QCOMPARE(hits, QStringList { QStringLiteral("find_a.pcf : b") });
    auto *progress = window.findChild<QProgressDialogger *>(QStringLiteral("particleProgress"));
    QVERIFY(progress);
    QVERIFY(progress->logText().contains(QStringLiteral("bad.pcf: Read Error")));
    QVERIFY(progress->buttonOk()->isEnabled());
    QTest::mouseClick(progress->buttonOk(), Qt::LeftButton);
    window.setWindowModified(false);
}

void TestParticlesEditor::exportIntoAnotherVersion()
{
    // The target is a version 3 file; the copies of a version 1 system are converted.
    std::unique_ptr<CFilePCF> target(CFilePCF::newPCF(CFilePCF::PCF_L4D2));
    PCFDelegate delegate;
    const QString targetPath = dir.filePath(QStringLiteral("target.pcf"));
    QVERIFY(delegate.writeFile(targetPath, target.get(), target->version));
    CFilePCF *file = makeFile(1);
    CDmxElement *a = file->findSystemByName(QStringLiteral("a"));
    PcfTree::addOperator(*file, a, QStringLiteral("initializers"),
                         QStringLiteral("Sequence Two Random"));
    VParticle window(file);

    const QString chosenTarget = targetPath;
    answerNext([chosenTarget](QWidget *widget) {
        QCOMPARE(widget->windowTitle(), QStringLiteral("Export Particle Systems"));
        auto *list = widget->findChild<QListWidget *>(QStringLiteral("systemList"));
        list->findItems(QStringLiteral("a"), Qt::MatchExactly).first()->setSelected(true);
        widget->findChild<QCheckBox *>(QStringLiteral("preserveGuids"))->setChecked(true);
        QTest::mouseClick(widget->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
        answerFileDialog({ chosenTarget });
        answerMessageBox(nullptr);
    });
    window.particleExport();

    CFilePCF written;
    QVERIFY(delegate.readFile(targetPath, &written));
    const CDmxElement *copy = written.findSystemByName(QStringLiteral("a"));
    QVERIFY(copy);
    QCOMPARE(copy->guid, a->guid);
    QVERIFY(copy->getAttributeByName(QStringLiteral("freeze simulation after time")));
    QVERIFY(written.findElementsByName(QStringLiteral("Sequence Two Random")).isEmpty());
    QVERIFY(written.findSystemByName(QStringLiteral("c"))); // the child came along
}

void TestParticlesEditor::massFormatCancelsBetweenFiles()
{
    QTemporaryDir many;
    QStringList paths;
    PCFDelegate delegate;
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
    PcfTree::system(*file, QStringLiteral("a"));
    for (int i = 0; i < 100; ++i) {
        paths << many.filePath(QStringLiteral("p%1.pcf").arg(i, 3, 10, QLatin1Char('0')));
        QVERIFY(delegate.writeFile(paths.last(), file.get(), file->version));
    }
    VParticle window;
    answerFileDialog(paths);
    answerInput(CFilePCF::formatVersionToDisplayString(CFilePCF::PCF_L4D2));
    answerNamed(QStringLiteral("particleProgress"), [](QWidget *widget) {
        auto *progress = static_cast<QProgressDialogger *>(widget);
        QCOMPARE(progress->windowTitle(), QStringLiteral("Mass Format"));
        QTest::mouseClick(progress->buttonCancel(), Qt::LeftButton);
    });
    window.particleMassFormat();
    auto *progress = window.findChild<QProgressDialogger *>(QStringLiteral("particleProgress"));
    QVERIFY(progress);
    QVERIFY(progress->logText().contains(QStringLiteral("Operation cancelled.")));
    int converted = 0;
    for (const QString &path : std::as_const(paths)) {
        CFilePCF back;
        QVERIFY(delegate.readFile(path, &back));
        converted += back.version == CFilePCF::PCF_L4D2 ? 1 : 0;
    }
    QVERIFY(converted < paths.size()); // stopped between two files
    QTest::mouseClick(progress->buttonOk(), Qt::LeftButton);
}

QTEST_MAIN(TestParticlesEditor)
#include "tst_particles_editor.moc"
