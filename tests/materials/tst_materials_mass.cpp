#include "MaterialsGuiSupport.h"
#include "MaterialsSettings.h"
#include "ZirkTest.h"

#include "app/ZIRK.h"
#include "materials/VMass.h"
#include "util/QProgressDialogger.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>

namespace {

const QByteArray Material = "\"VertexLitGeneric\"\n"
                            "{\n"
                            "\t\"$basetexture\" \"models/a\"\n"
                            "\t\"$surfaceprop\" \"metal\"\n"
                            "\t// lit\n"
                            "\n"
                            "\t\"Proxies\"\n"
                            "\t{\n"
                            "\t\t\"Sine\"\n"
                            "\t\t{\n"
                            "\t\t\t\"resultVar\" \"$color\"\n"
                            "\t\t}\n"
                            "\t}\n"
                            "}\n";

template<typename T> T *child(VMass &mass, const char *name)
{
    T *widget = mass.findChild<T *>(QLatin1String(name));
    if (!widget)
        qFatal("no %s", name);
    return widget;
}

void click(VMass &mass, const char *button)
{
    QPushButton *widget = child<QPushButton>(mass, button);
    QVERIFY2(widget->isEnabled(), button);
    QTest::mouseClick(widget, Qt::LeftButton);
}

QStringList rows(VMass &mass)
{
    QStringList list;
    auto *files = child<QListWidget>(mass, "fileList");
    for (int row = 0; row < files->count(); ++row)
        list << files->item(row)->text();
    return list;
}

// The progress dialog of the last run, which stays open for its log; closed after reading.
struct Outcome
{
    bool open = false;
    QString label;
    QString log;
};

Outcome finish(VMass &mass)
{
    Outcome outcome;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    auto *dialog = mass.findChild<QProgressDialogger *>(QStringLiteral("massProgress"));
    if (!dialog || !dialog->isVisible())
        return outcome;
    outcome.open = true;
    outcome.label = dialog->labelText();
    outcome.log = dialog->logText();
    if (dialog->buttonOk()->isEnabled())
        QTest::mouseClick(dialog->buttonOk(), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return outcome;
}

} // namespace

class TestMaterialsMass : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString file(const QString &name, const QByteArray &bytes)
    {
        const QString path = dir.filePath(name);
        writeFile(path, bytes);
        return path;
    }

private slots:
    void initTestCase()
    {
        zirkInitTestResources();
        QVERIFY(dir.isValid());
        useTestSettings(dir.path());
        ZIRK::get();
    }

    void layout()
    {
        VMass mass;
        QCOMPARE(mass.windowTitle(), QStringLiteral("Mass VMT Editor"));
        QVERIFY(!mass.windowIcon().isNull());
        QStringList labels;
        for (QLabel *label : mass.findChildren<QLabel *>())
            labels << label->text();
        QCOMPARE(labels, QStringList({ "Shader:", "Key / Value:", "Asterisk Value:", "Proxy:" }));
        auto *asterisk = child<QComboBox>(mass, "asteriskCombo");
        QCOMPARE(asterisk->count(), 4);
        QCOMPARE(asterisk->itemText(0), QStringLiteral("File path relative to \"/materials/\""));
        QCOMPARE(asterisk->itemText(3), QStringLiteral("$detail"));
        auto *proxy = child<QComboBox>(mass, "proxyCombo");
        QCOMPARE(proxy->count(), 3);
        QVERIFY(proxy->itemText(0).isEmpty());
        QVERIFY(proxy->isEditable() && child<QComboBox>(mass, "shaderCombo")->isEditable()
                && child<QComboBox>(mass, "keyCombo")->isEditable());
        QCOMPARE(child<QListWidget>(mass, "fileList")->selectionMode(),
                 QAbstractItemView::ExtendedSelection);
        // Nothing to work on yet.
        for (const char *name : { "removeFilesButton", "evaluateButton", "addParameterButton",
                                  "removeParameterButton", "addProxyButton", "removeProxyButton" })
            QVERIFY2(!child<QPushButton>(mass, name)->isEnabled(), name);
    }

    void proxyTableFollowsTheChoice()
    {
        VMass mass;
        auto *proxy = child<QComboBox>(mass, "proxyCombo");
        auto *table = child<QTableWidget>(mass, "proxyTable");
        proxy->setCurrentIndex(1);
        QCOMPARE(table->rowCount(), 3);
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("sinemin"));
        QCOMPARE(table->item(2, 0)->text(), QStringLiteral("resultVar"));
        QCOMPARE(table->rowHeight(1), 17);
        proxy->setCurrentIndex(2);
        QCOMPARE(table->rowCount(), 0);
        proxy->setCurrentIndex(1);
        proxy->setCurrentIndex(0);
        QCOMPARE(table->rowCount(), 0);
        // A typed name that is known brings its parameters; the values typed so far stay
        // while the name does not change.
        proxy->lineEdit()->clear();
        QTest::keyClicks(proxy->lineEdit(), QStringLiteral("Sin"));
        QCOMPARE(table->rowCount(), 0);
        QTest::keyClicks(proxy->lineEdit(), QStringLiteral("e"));
        QCOMPARE(table->rowCount(), 3);
        table->item(0, 1)->setText(QStringLiteral("0"));
        proxy->setCurrentIndex(1);
        QCOMPARE(table->item(0, 1)->text(), QStringLiteral("0"));
    }

    void addingFiles()
    {
        const QString wall = file(QStringLiteral("game/materials/brick/wall.vmt"), Material);
        file(QStringLiteral("game/materials/brick/wall.vtf"), "VTF");
        const QString bare = file(QStringLiteral("game/materials/brick/bare.vtf"), "VTF");
        const QString loose = file(QStringLiteral("loose/stray.vtf"), "VTF");
        const QString outside = file(QStringLiteral("loose/outside.vmt"), "\"S\"\n{\n}\n");
        VMass mass;
        mass.show();

        // Through the dialog: a texture without a material under "materials" gets one.
        QString title;
        answerFileDialog(bare, &title);
        click(mass, "addFilesButton");
        QCOMPARE(title, QStringLiteral("Select Files"));
        QCOMPARE(rows(mass), QStringList({ ".../brick/bare" }));
        QCOMPARE(readFile(dir.filePath(QStringLiteral("game/materials/brick/bare.vmt"))),
                 QByteArray("\"LightmappedGeneric\"\n{\n\t\"$basetexture\" \"brick/bare\"\n}\n"));
        // Nothing to tell: the progress went away by itself.
        QVERIFY(!finish(mass).open);

        // A texture and its material are one file: the second is logged, once.
        mass.addFiles({ wall, dir.filePath(QStringLiteral("game/materials/brick/wall.vtf")),
                        outside, loose });
        QCOMPARE(rows(mass), QStringList({ ".../brick/bare", ".../brick/wall", "outside.vmt" }));
        const Outcome outcome = finish(mass);
        QVERIFY(outcome.open);
        QCOMPARE(outcome.label, QStringLiteral("Operation complete."));
        QCOMPARE(outcome.log,
                 QStringLiteral("File \"%1\" already listed.\n%2\" not under a \"materials\" "
                                "directory missing matching VMT.")
                     .arg(wall, loose));
        QVERIFY(child<QPushButton>(mass, "evaluateButton")->isEnabled() == false);
        QVERIFY(child<QPushButton>(mass, "removeParameterButton")->isEnabled());

        // Remove takes the selected rows out.
        auto *list = child<QListWidget>(mass, "fileList");
        list->item(0)->setSelected(true);
        list->item(2)->setSelected(true);
        click(mass, "removeFilesButton");
        QCOMPARE(rows(mass), QStringList({ ".../brick/wall" }));
        QVERIFY(!child<QPushButton>(mass, "removeFilesButton")->isEnabled());
    }

    void shaderRunGoesOnPastAnUnwritableFile()
    {
        const QString a = file(QStringLiteral("run/materials/a.vmt"), Material);
        const QString locked = file(QStringLiteral("run/materials/b.vmt"), Material);
        const QString c = file(QStringLiteral("run/materials/c.vmt"), "Unquoted\n{\n}\n");
        if (!lockFile(locked))
            QSKIP("no way to make a file unwritable here");
        VMass mass;
        mass.show();
        mass.addFiles({ a, locked, c });
        child<QComboBox>(mass, "shaderCombo")->setCurrentIndex(0);
        click(mass, "evaluateButton");
        const Outcome outcome = finish(mass);
        unlockFile(locked);
        QVERIFY(outcome.open);
        QCOMPARE(outcome.label, QStringLiteral("Operation complete."));
        QCOMPARE(
            outcome.log,
            QStringLiteral("Unable to write to \"%1\"\n\"%2\": Shader replacement accuracy may "
                           "be questionable.")
                .arg(locked, c));
        QVERIFY(readFile(a).startsWith("\"LightmappedGeneric\"\n{\n"));
        QCOMPARE(readFile(locked), Material);
        QCOMPARE(readFile(c), QByteArray("Unquoted\n{\n}\n"));
    }

    void parametersWithAsterisks()
    {
        const QString a = file(QStringLiteral("star/materials/metal/a.vmt"), Material);
        const QString b = file(QStringLiteral("star/materials/metal/b.vmt"), "\"S\"\n{\n}\n");
        VMass mass;
        mass.show();
        mass.addFiles({ a, b });
        child<QComboBox>(mass, "keyCombo")->setCurrentText(QStringLiteral("$detail"));
        child<QLineEdit>(mass, "valueEdit")->setText(QStringLiteral("*_d"));
        click(mass, "addParameterButton");
        QVERIFY(finish(mass).log.isEmpty());
        QVERIFY(
            readFile(a).contains("\t\"$surfaceprop\" \"metal\"\n\t\"$detail\" \"metal/a_d\"\n"));
        QCOMPARE(readFile(b), QByteArray("\"S\"\n{\n\t\"$detail\" \"metal/b_d\"\n}\n"));

        // The value of another key of the same file; a file without it gets nothing.
        child<QComboBox>(mass, "asteriskCombo")->setCurrentText(QStringLiteral("$surfaceprop"));
        child<QComboBox>(mass, "keyCombo")->setCurrentText(QStringLiteral("$surfaceprop2"));
        child<QLineEdit>(mass, "valueEdit")->setText(QStringLiteral("*"));
        click(mass, "addParameterButton");
        QVERIFY(readFile(a).contains("\t\"$surfaceprop2\" \"metal\"\n"));
        QVERIFY(!readFile(b).contains("$surfaceprop2"));
        QVERIFY(finish(mass).log.contains(b));

        // A value without "*" is added as it stands.
        child<QLineEdit>(mass, "valueEdit")->setText(QStringLiteral("plain"));
        click(mass, "addParameterButton");
        QVERIFY(readFile(a).contains("\t\"$surfaceprop2\" \"plain\"\n"));
        QVERIFY(readFile(b).contains("\t\"$surfaceprop2\" \"plain\"\n"));
        finish(mass);
    }

    void removalQuestions_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("proxy");
        QTest::addColumn<QString>("question");
        QTest::newRow("all parameters") << "removeParameterButton"
                                        << ""
                                        << ""
                                        << ""
                                        << "Remove all parameters?";
        QTest::newRow("all parameters, value ignored") << "removeParameterButton"
                                                       << ""
                                                       << "1"
                                                       << ""
                                                       << "Remove all parameters?";
        QTest::newRow("one parameter") << "removeParameterButton"
                                       << "$detail"
                                       << "1"
                                       << ""
                                       << "Remove parameter?";
        QTest::newRow("a key") << "removeParameterButton"
                               << "$detail"
                               << ""
                               << ""
                               << "Remove all parameters of type \"$detail\"?";
        QTest::newRow("all proxies") << "removeProxyButton"
                                     << ""
                                     << ""
                                     << ""
                                     << "Remove all proxies?";
        QTest::newRow("a proxy") << "removeProxyButton"
                                 << ""
                                 << ""
                                 << "Sine"
                                 << "Remove all proxies of type \"Sine";
    }

    void removalQuestions()
    {
        QFETCH(QString, button);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, proxy);
        QFETCH(QString, question);
        const QString a = file(QStringLiteral("ask/materials/a.vmt"), Material);
        VMass mass;
        mass.show();
        mass.addFiles({ a });
        child<QComboBox>(mass, "keyCombo")->setCurrentText(key);
        child<QLineEdit>(mass, "valueEdit")->setText(value);
        child<QComboBox>(mass, "proxyCombo")->setCurrentText(proxy);
        MessageBoxSeen seen;
        answerNextMessageBox(&seen, QMessageBox::No);
        click(mass, qPrintable(button));
        QCOMPARE(seen.title, QStringLiteral("Mass VMT Editor"));
        QCOMPARE(seen.text, question);
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QCOMPARE(seen.defaultButton, QMessageBox::No);
        // No means nothing happens.
        QVERIFY(!finish(mass).open);
        QCOMPARE(readFile(a), Material);
    }

    void removeAllParametersKeepsTheFrame()
    {
        const QString a = file(QStringLiteral("frame/materials/a.vmt"), Material);
        const QString b = file(QStringLiteral("frame/materials/b.vmt"), Material);
        VMass mass;
        mass.show();
        mass.addFiles({ a, b });
        answerNextMessageBox(nullptr, QMessageBox::Yes);
        click(mass, "removeParameterButton");
        const Outcome outcome = finish(mass);
        QVERIFY(outcome.open);
        QCOMPARE(outcome.label, QStringLiteral("Operation complete."));
        const QByteArray expected = "\"VertexLitGeneric\"\n{\n\t// lit\n\n"
            + Material.mid(Material.indexOf("\t\"Proxies\""));
        QCOMPARE(readFile(a), expected);
        QCOMPARE(readFile(b), expected);

        // And the proxies by name: the block goes with its only entry.
        child<QComboBox>(mass, "proxyCombo")->setCurrentIndex(1);
        answerNextMessageBox(nullptr, QMessageBox::Yes);
        click(mass, "removeProxyButton");
        finish(mass);
        QCOMPARE(readFile(a), QByteArray("\"VertexLitGeneric\"\n{\n\t// lit\n}\n"));
    }

    void proxyAddedWithTheTableValues()
    {
        const QString a
            = file(QStringLiteral("px/materials/a.vmt"), "\"S\"\n{\n\t\"$a\" \"1\"\n}\n");
        VMass mass;
        mass.show();
        mass.addFiles({ a });
        child<QComboBox>(mass, "proxyCombo")->setCurrentIndex(1);
        auto *table = child<QTableWidget>(mass, "proxyTable");
        table->item(0, 1)->setText(QStringLiteral("0"));
        table->item(2, 1)->setText(QStringLiteral("$alpha"));
        click(mass, "addProxyButton");
        finish(mass);
        QCOMPARE(readFile(a),
                 QByteArray("\"S\"\n{\n\t\"$a\" \"1\"\n\n\t\"Proxies\"\n\t{\n\t\t\"Sine\"\n"
                            "\t\t{\n\t\t\t\"sinemin\" \"0\"\n\t\t\t\"sinemax\" \"\"\n"
                            "\t\t\t\"resultVar\" \"$alpha\"\n\t\t}\n\t}\n}\n"));
    }

    void theWorkspaceMakesOne()
    {
        const int before = int(ZIRK::get()->getWorkspace()->subWindowList().size());
        ZIRK::get()->showVMass();
        const QList<QMdiSubWindow *> subs = ZIRK::get()->getWorkspace()->subWindowList();
        QCOMPARE(subs.size(), before + 1);
        QVERIFY(qobject_cast<VMass *>(subs.last()->widget()));
        subs.last()->close();
    }
};

QTEST_MAIN(TestMaterialsMass)
#include "tst_materials_mass.moc"
