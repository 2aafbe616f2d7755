// The detail type editor, driven through its tree, its context menu, its fields and dialogs.

#include "ZirkTest.h"
#include "app/ZIRK.h"
#include "map/CFileVBSP.h"
#include "map/VVBSP.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <functional>
#include <memory>

namespace {

// Hands the next modal dialog, once it shows, to the answer, which must close it.
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

void answerText(const QString &text, QString *title = nullptr, QString *label = nullptr)
{
    answerNextDialog([=](QWidget *widget) {
        auto *dialog = qobject_cast<QInputDialog *>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        if (title)
            *title = dialog->windowTitle();
        if (label)
            *label = dialog->labelText();
        if (dialog->inputMode() == QInputDialog::IntInput)
            dialog->setIntValue(text.toInt());
        else
            dialog->setTextValue(text);
        dialog->accept();
    });
}

void answerMessage(QString *text, QMessageBox::StandardButton button = QMessageBox::Ok)
{
    answerNextDialog([=](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box) {
            widget->close();
            return;
        }
        if (text)
            *text = box->text() + QLatin1Char('|') + box->informativeText();
        if (QAbstractButton *target = box->button(button))
            target->click();
        else
            box->close();
    });
}

const char *const Listing = "detail\n{\n"
                            "\tgrass\n\t{\n\t\t\"density\" \"800\"\n"
                            "\t\tg1\n\t\t{\n\t\t\t\"alpha\" \"1\"\n"
                            "\t\t\ttuft\n\t\t\t{\n\t\t\t\t\"model\" \"models/tuft.mdl\"\n\t\t\t}\n"
                            "\t\t\tblade\n\t\t\t{\n\t\t\t\t\"sprite\" \"0 0 32 32 512\"\n"
                            "\t\t\t\t\"sprite_shape\" \"star\"\n\t\t\t}\n"
                            "\t\t}\n\t}\n"
                            "\trock\n\t{\n\t\tg1\n\t\t{\n\t\t}\n\t}\n"
                            "}\n";

} // namespace

class TestVbspEditor : public QObject
{
    Q_OBJECT

public:
    QTemporaryDir dir;

    QString writeListing(const QString &name = QStringLiteral("test.vbsp"))
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(Listing);
        return path;
    }

    static QTreeWidget *tree(VVBSP &window) { return window.findChild<QTreeWidget *>("tree"); }
    static QLineEdit *edit(VVBSP &window, const char *name)
    {
        return window.findChild<QLineEdit *>(QLatin1String(name));
    }
    static QGroupBox *group(VVBSP &window, const char *name)
    {
        return window.findChild<QGroupBox *>(QLatin1String(name));
    }

    static void type(QLineEdit *edit, const QString &text)
    {
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
    }

    // Opens the context menu over an item (or beside them with null) and triggers an entry.
    static void context(VVBSP &window, QTreeWidgetItem *item, const QString &entry,
                        bool *enabled = nullptr)
    {
        QTreeWidget *view = tree(window);
        const QPoint pos
            = item ? view->visualItemRect(item).center() : QPoint(5, view->height() - 5);
        if (item)
            view->setCurrentItem(item);
        emit view->customContextMenuRequested(pos);
        auto *menu = window.findChild<QMenu *>(QStringLiteral("contextMenu"));
        QVERIFY(menu && menu->isVisible());
        for (QAction *action : menu->actions()) {
            if (action->text() != entry)
                continue;
            if (enabled)
                *enabled = action->isEnabled();
            menu->close();
            if (action->isEnabled())
                action->trigger();
            return;
        }
        QFAIL(qPrintable(entry));
    }

private Q_SLOTS:
    void initTestCase()
    {
        zirkInitTestResources();
        QVERIFY(dir.isValid());
        QFile settings(dir.filePath(QStringLiteral("noitazilait.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[vvbsp]\n[detailorientations]\nNo Rotation\nScreen Aligned\nZ Axis Only\n"
                       "[/detailorientations]\n[spriteshapes]\ncross:Two quads\ntri:Three quads\n"
                       "[/spriteshapes]\n[/vvbsp]\n");
        settings.close();
        QVERIFY(QDir::setCurrent(dir.path()));
        ZIRK::get()->show();
    }

    void opensIntoTheTree()
    {
        VVBSP window(writeListing());
        QCOMPARE(window.windowTitle(), QStringLiteral("VBSP Editor[*]"));
        QVERIFY(!window.isWindowModified());
        QTreeWidget *view = tree(window);
        QCOMPARE(view->topLevelItemCount(), 2);
        QCOMPARE(view->topLevelItem(0)->child(0)->child(1)->text(0), QStringLiteral("blade"));
        // The sheet size comes from the first prop, which is a model with the default.
        QCOMPARE(window.getTextureDimension(), 1024);
        QVERIFY(!group(window, "Detail Prop Options")->isEnabled());
        QVERIFY(edit(window, "amount")->text().isEmpty());
    }

    void focusFillsTheGroups()
    {
        VVBSP window(writeListing());
        QTreeWidget *view = tree(window);
        view->setCurrentItem(view->topLevelItem(0)->child(0)->child(1));
        QVERIFY(group(window, "Detail Prop Options")->isEnabled());
        QCOMPARE(edit(window, "density")->text(), QStringLiteral("800"));
        QCOMPARE(edit(window, "alpha")->text(), QStringLiteral("1"));
        QCOMPARE(edit(window, "width")->text(), QStringLiteral("32"));
        QCOMPARE(edit(window, "uOrigin")->text(), QStringLiteral("0.5"));
        // A shape the settings don't list shows the first entry, and stays stored.
        QCOMPARE(window.findChild<QComboBox *>("sprite_shape")->currentIndex(), 0);
        QCOMPARE(window.getCurrentDetailprop()->sprite_shape, std::string("star"));
        QCOMPARE(window.findChild<QComboBox *>("detailOrientation")->currentText(),
                 QStringLiteral("Z Axis Only"));

        // A type alone empties and disables the prop options.
        view->setCurrentItem(view->topLevelItem(1));
        QVERIFY(!group(window, "Detail Prop Options")->isEnabled());
        QVERIFY(!group(window, "Detail Group Options")->isEnabled());
        QVERIFY(edit(window, "width")->text().isEmpty());
        QCOMPARE(edit(window, "density")->text(), QStringLiteral("0"));
    }

    void fieldsClampAndStore_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<bool>("changes");
        QTest::newRow("x origin high") << "x"
                                       << "5000"
                                       << "4096" << true;
        QTest::newRow("height low") << "height"
                                    << "-7"
                                    << "0" << true;
        QTest::newRow("height junk") << "height"
                                     << "abc"
                                     << "0" << true;
        QTest::newRow("amount") << "amount"
                                << "0.25"
                                << "0.25" << true;
        QTest::newRow("amount high") << "amount"
                                     << "3"
                                     << "1" << false;
        QTest::newRow("u origin") << "uOrigin"
                                  << "-1"
                                  << "0" << true;
        QTest::newRow("sway") << "sway"
                              << "0.125000"
                              << "0.125" << true;
        QTest::newRow("shape angle") << "shape_angle"
                                     << "400"
                                     << "360" << true;
        QTest::newRow("max angle below the minimum") << "maxangle"
                                                     << "90"
                                                     << "180" << false;
        QTest::newRow("min angle") << "minangle"
                                   << "45"
                                   << "45" << true;
        QTest::newRow("min angle above the maximum") << "minangle"
                                                     << "300"
                                                     << "180" << false;
    }

    void fieldsClampAndStore()
    {
        QFETCH(QString, field);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(bool, changes);
        VVBSP window(writeListing());
        window.show();
        QTreeWidget *view = tree(window);
        view->setCurrentItem(view->topLevelItem(0)->child(0)->child(1));
        QLineEdit *line = edit(window, field.toLatin1().constData());
        QVERIFY(line);
        type(line, typed);
        QCOMPARE(line->text(), shown);
        const CFileVBSP::detailprop *prop = window.getCurrentDetailprop();
        const QMap<QString, double> values { { "x", prop->x },
                                             { "height", prop->height },
                                             { "amount", prop->amount },
                                             { "uOrigin", prop->uOrigin },
                                             { "sway", prop->sway },
                                             { "shape_angle", prop->shape_angle },
                                             { "maxangle", prop->maxangle },
                                             { "minangle", prop->minangle } };
        QCOMPARE(values.value(field), shown.toDouble());
        QCOMPARE(window.isWindowModified(), changes);
    }

    void modelDisablesTheSpriteForm()
    {
        VVBSP window(writeListing());
        window.show();
        QTreeWidget *view = tree(window);
        view->setCurrentItem(view->topLevelItem(0)->child(0)->child(0));
        QVERIFY(!group(window, "Sprite Parameters")->isEnabled());
        QVERIFY(!window.findChild<QComboBox *>("detailOrientation")->isEnabled());
        QLineEdit *model = edit(window, "model");
        model->setFocus();
        model->selectAll();
        QTest::keyClick(model, Qt::Key_Backspace);
        QVERIFY(group(window, "Sprite Parameters")->isEnabled());
        QVERIFY(group(window, "Detail Shape Options")->isEnabled());
        QVERIFY(window.getCurrentDetailprop()->model.empty());
        QTest::keyClicks(model, QStringLiteral("m"));
        QVERIFY(!group(window, "Texture Parameters")->isEnabled());
        QCOMPARE(window.getCurrentDetailprop()->model, std::string("m"));
    }

    void combosAndCheck()
    {
        VVBSP window(writeListing());
        window.show();
        QTreeWidget *view = tree(window);
        view->setCurrentItem(view->topLevelItem(0)->child(0)->child(1));
        window.findChild<QComboBox *>("sprite_shape")->setCurrentIndex(1);
        QCOMPARE(window.getCurrentDetailprop()->sprite_shape, std::string("tri"));
        window.findChild<QComboBox *>("detailOrientation")->setCurrentIndex(0);
        QCOMPARE(window.getCurrentDetailprop()->detailOrientation, 0);
        auto *upright = window.findChild<QCheckBox *>("upright");
        QTest::mouseClick(upright, Qt::LeftButton, {}, QPoint(6, upright->height() / 2));
        QVERIFY(window.getCurrentDetailprop()->upright);
        QVERIFY(window.isWindowModified());
    }

    void shapeSupportSwitch()
    {
        VVBSP window(writeListing());
        QTreeWidget *view = tree(window);
        view->setCurrentItem(view->topLevelItem(0)->child(0)->child(1));
        QAction *toggle = nullptr;
        for (QAction *menu : window.menuBar()->actions()) {
            for (QAction *action : menu->menu()->actions()) {
                if (action->text() == QLatin1String("Detail Shape Support"))
                    toggle = action;
            }
        }
        QVERIFY(toggle && toggle->isChecked());
        toggle->trigger();
        QVERIFY(!window.getFile()->detailShapeSupport);
        QVERIFY(!group(window, "Detail Shape Options")->isEnabled());
        QVERIFY(window.isWindowModified());
    }

    void addingAsksForNames()
    {
        VVBSP window(writeListing());
        window.resize(900, 700);
        window.show();
        QTreeWidget *view = tree(window);
        QString title;
        QString label;
        answerText(QStringLiteral("moss"), &title, &label);
        context(window, nullptr, QStringLiteral("Add Type"));
        QCOMPARE(title, QStringLiteral("Add Type"));
        QCOMPARE(label, QStringLiteral("Type name:"));
        QCOMPARE(window.getFile()->detailtypes.size(), size_t(3));
        QCOMPARE(view->topLevelItem(2)->text(0), QStringLiteral("moss"));
        QCOMPARE(window.getCurrentDetailtype()->name, std::string("moss"));

        // A taken name and an empty answer change nothing.
        answerText(QStringLiteral("grass"));
        context(window, nullptr, QStringLiteral("Add Type"));
        answerText(QString());
        context(window, nullptr, QStringLiteral("Add Type"));
        QCOMPARE(window.getFile()->detailtypes.size(), size_t(3));

        answerText(QStringLiteral("g"), &title, &label);
        context(window, view->topLevelItem(2), QStringLiteral("Add Group"));
        QCOMPARE(label, QStringLiteral("Group name:"));
        answerText(QStringLiteral("p"), &title, &label);
        context(window, view->topLevelItem(2)->child(0), QStringLiteral("Add Prop"));
        QCOMPARE(title, QStringLiteral("Add Prop"));
        QCOMPARE(window.getFile()->detailtypes[2]->detailgroups[0]->detailprops[0]->name,
                 std::string("p"));
        QCOMPARE(view->currentItem()->text(0), QStringLiteral("p"));
        QVERIFY(window.isWindowModified());

        bool enabled = true;
        context(window, view->topLevelItem(1), QStringLiteral("Add Prop"), &enabled);
        QVERIFY(!enabled);
    }

    void copyPasteIsDeep()
    {
        VVBSP window(writeListing());
        window.resize(900, 700);
        window.show();
        QTreeWidget *view = tree(window);
        context(window, view->topLevelItem(0)->child(0), QStringLiteral("Copy"));
        context(window, view->topLevelItem(1), QStringLiteral("Paste"));
        CFileVBSP::detailtype *rock = window.getFile()->detailtypes[1];
        QCOMPARE(rock->detailgroups.size(), size_t(2));
        QCOMPARE(rock->detailgroups[1]->name, std::string("g1_1"));
        QCOMPARE(rock->detailgroups[1]->detailprops.size(), size_t(2));
        QVERIFY(rock->detailgroups[1]->detailprops[0]
                != window.getFile()->detailtypes[0]->detailgroups[0]->detailprops[0]);
        QCOMPARE(view->topLevelItem(1)->child(1)->childCount(), 2);

        // A copied type goes to the top, whatever is in focus, when nothing fits better.
        context(window, view->topLevelItem(1), QStringLiteral("Copy"));
        context(window, view->topLevelItem(0)->child(0)->child(0), QStringLiteral("Paste"));
        QCOMPARE(window.getFile()->detailtypes.size(), size_t(3));
        QCOMPARE(window.getFile()->detailtypes[2]->name, std::string("rock_1"));
        // Pasting twice gives two objects.
        context(window, nullptr, QStringLiteral("Paste"));
        QCOMPARE(window.getFile()->detailtypes[3]->name, std::string("rock_2"));
        QCOMPARE(view->topLevelItemCount(), 4);
    }

    void deleteAndRename()
    {
        VVBSP window(writeListing());
        window.show();
        QTreeWidget *view = tree(window);
        QTreeWidgetItem *tuft = view->topLevelItem(0)->child(0)->child(0);
        context(window, tuft, QStringLiteral("Delete"));
        CFileVBSP::detailgroup *group = window.getFile()->detailtypes[0]->detailgroups[0];
        QCOMPARE(group->detailprops.size(), size_t(1));
        QCOMPARE(view->topLevelItem(0)->child(0)->childCount(), 1);

        QTreeWidgetItem *blade = view->topLevelItem(0)->child(0)->child(0);
        blade->setText(0, QStringLiteral("leaf"));
        QCOMPARE(group->detailprops[0]->name, std::string("leaf"));
        blade->setText(0, QStringLiteral("  "));
        QCOMPARE(blade->text(0), QStringLiteral("leaf"));
        QCOMPARE(group->detailprops[0]->name, std::string("leaf"));

        context(window, view->topLevelItem(0), QStringLiteral("Delete"));
        QCOMPARE(window.getFile()->detailtypes.size(), size_t(1));
        QCOMPARE(view->topLevelItemCount(), 1);
    }

    void upAndDownMoveItems()
    {
        VVBSP window(writeListing());
        window.show();
        QTreeWidget *view = tree(window);
        QTreeWidgetItem *grass = view->topLevelItem(0);
        view->setCurrentItem(grass);
        view->setFocus();
        QTest::keyClick(view, Qt::Key_Up);
        QCOMPARE(window.getFile()->detailtypes[0]->name, std::string("grass"));
        QVERIFY(!window.isWindowModified());
        QTest::keyClick(view, Qt::Key_Down);
        QCOMPARE(window.getFile()->detailtypes[1]->name, std::string("grass"));
        QCOMPARE(view->topLevelItem(1), grass);
        QCOMPARE(view->currentItem(), grass);
        QVERIFY(grass->child(0)->isExpanded());
        QVERIFY(window.isWindowModified());
        QTest::keyClick(view, Qt::Key_Down);
        QCOMPARE(view->topLevelItem(1), grass);

        QTreeWidgetItem *tuft = grass->child(0)->child(0);
        view->setCurrentItem(tuft);
        QTest::keyClick(view, Qt::Key_Down);
        QCOMPARE(window.getFile()->detailtypes[1]->detailgroups[0]->detailprops[1]->name,
                 std::string("tuft"));
        QCOMPARE(grass->child(0)->child(1), tuft);

        // A held key browses instead.
        QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Up, Qt::NoModifier, QString(), true);
        QApplication::sendEvent(view, &repeat);
        QCOMPARE(view->currentItem(), grass->child(0)->child(0));
        QCOMPARE(grass->child(0)->child(1), tuft);
    }

    void textureDimension()
    {
        VVBSP window(writeListing());
        QString message;
        answerNextDialog([&message](QWidget *widget) {
            auto *dialog = qobject_cast<QInputDialog *>(widget);
            dialog->setIntValue(100);
            answerMessage(&message);
            dialog->accept();
        });
        window.setTextureDimension();
        QCOMPARE(message,
                 QStringLiteral("Invalid size. Must be a power of two between 1 and 4096.|"));
        QCOMPARE(window.getTextureDimension(), 1024);
        QVERIFY(!window.isWindowModified());

        QString title;
        QString label;
        answerText(QStringLiteral("256"), &title, &label);
        window.setTextureDimension();
        QCOMPARE(title, QStringLiteral("Set Texture Size"));
        QCOMPARE(label, QStringLiteral("Detail Sheet X-Coordinate Resolution:"));
        QCOMPARE(window.getTextureDimension(), 256);
        QVERIFY(window.isWindowModified());
        // No prop takes it.
        QCOMPARE(
            window.getFile()->detailtypes[0]->detailgroups[0]->detailprops[1]->textureDimension,
            512);
    }

    void filesReadAndWrite()
    {
        const QString path = writeListing(QStringLiteral("save.vbsp"));
        VVBSP window(path);
        QTreeWidget *view = tree(window);
        view->setCurrentItem(view->topLevelItem(0));
        type(edit(window, "density"), QStringLiteral("12.5"));
        window.fileSave();
        QVERIFY(!window.isWindowModified());
        std::unique_ptr<CFileVBSP> back(CFileVBSP::readFile(path.toStdString()));
        QCOMPARE(back->detailtypes[0]->density, 12.5f);

        QString message;
        answerMessage(&message);
        QVERIFY(!window.fileSaveShared(dir.filePath(QStringLiteral("none/x.vbsp")), true));
        QCOMPARE(message,
                 QStringLiteral("Unable to write \"%1\"|")
                     .arg(dir.filePath(QStringLiteral("none/x.vbsp"))));

        VVBSP empty;
        answerMessage(&message);
        QVERIFY(!empty.fileOpenShared(dir.filePath(QStringLiteral("missing.vbsp"))));
        QCOMPARE(message,
                 QStringLiteral("Unable to read \"%1\"|")
                     .arg(dir.filePath(QStringLiteral("missing.vbsp"))));
        QVERIFY(!empty.getFile());
    }

    void newFileSavesThroughTheDialog()
    {
        auto *window = new VVBSP;
        QPointer<VVBSP> guard(window);
        QAction *save = window->menuBar()->actions().at(0)->menu()->actions().at(3);
        QCOMPARE(save->text(), QStringLiteral("Save"));
        QVERIFY(!save->isEnabled());
        window->fileNew();
        QVERIFY(save->isEnabled());
        QVERIFY(window->getFile());
        answerText(QStringLiteral("t"));
        context(*window, nullptr, QStringLiteral("Add Type"));
        const QString path = dir.filePath(QStringLiteral("fresh"));
        QString title;
        answerNextDialog([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            title = widget->windowTitle();
            // The name field keeps what the user types while it has the focus.
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
            static_cast<QDialog *>(dialog)->accept();
        });
        window->fileSave();
        QCOMPARE(title, QStringLiteral("Save VBSP As..."));
        QVERIFY(QFile::exists(path + QStringLiteral(".vbsp")));
        QCOMPARE(window->getFile()->path, (path + QStringLiteral(".vbsp")).toStdString());

        // A window holding a file opens a new one for "New".
        const int before = int(ZIRK::get()->getWorkspace()->subWindowList().size());
        window->fileNew();
        QCOMPARE(int(ZIRK::get()->getWorkspace()->subWindowList().size()), before + 1);

        // Closing a modified window asks first.
        answerText(QStringLiteral("u"));
        context(*window, nullptr, QStringLiteral("Add Type"));
        QString message;
        answerMessage(&message, QMessageBox::Cancel);
        QVERIFY(!window->close());
        QCOMPARE(message,
                 QStringLiteral("The file has been modified.|Do you want to save your changes?"));
        answerMessage(&message, QMessageBox::Discard);
        QVERIFY(window->close());
        QTRY_VERIFY(!guard);
    }
};

QTEST_MAIN(TestVbspEditor)
#include "tst_vbsp_editor.moc"
