#include "MaterialsGuiSupport.h"
#include "MaterialsSettings.h"
#include "ZirkTest.h"

#include "app/ZIRK.h"
#include "materials/VVMT.h"
#include "materials/VVMTTabWidget.h"

#include <QAction>
#include <QListWidget>
#include <QMdiArea>
#include <QMenuBar>
#include <QPointer>
#include <QRandomGenerator>
#include <QSplitter>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTextEdit>

#include <memory>
#include <unistd.h>

namespace {

QTextEdit *textEdit(VVMT &window)
{
    return window.findChild<QTextEdit *>(QStringLiteral("textEdit"));
}

QString text(VVMT &window)
{
    return textEdit(window)->toPlainText();
}

QAction *action(VVMT &window, const char *name)
{
    return window.findChild<QAction *>(QLatin1String(name));
}

VVMTTabWidget *tabs(VVMT &window)
{
    return window.findChild<VVMTTabWidget *>(QStringLiteral("vocabularyTabs"));
}

// Brings the tab of the list to the front with a click on its tab, then clicks the entry.
void clickEntry(VVMT &window, int tab, const char *list, int row)
{
    QTabBar *bar = tabs(window)->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
    auto *widget = window.findChild<QListWidget *>(QLatin1String(list));
    QVERIFY(widget && widget->isVisible());
    QTest::mouseClick(widget->viewport(), Qt::LeftButton, {},
                      widget->visualItemRect(widget->item(row)).center());
}

void show(QWidget &window)
{
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
}

int workspaceWindows()
{
    return int(ZIRK::get()->getWorkspace()->subWindowList().size());
}

QFileDevice::Permissions modeBits(const QString &path)
{
    const QFileDevice::Permissions all = QFileDevice::ReadOwner | QFileDevice::WriteOwner
        | QFileDevice::ExeOwner | QFileDevice::ReadGroup | QFileDevice::WriteGroup
        | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::WriteOther
        | QFileDevice::ExeOther;
    return QFile::permissions(path) & all;
}

} // namespace

class TestMaterialsEditor : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString material(const QString &name, const QByteArray &bytes)
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

    void cleanup()
    {
        // Windows that the tests opened through the workspace go without questions.
        for (QMdiSubWindow *sub : ZIRK::get()->getWorkspace()->subWindowList()) {
            if (sub->widget())
                sub->widget()->setWindowModified(false);
            if (sub != ZIRK::get()->getOutputWindow())
                sub->close();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void layoutAndVocabulary()
    {
        VVMT window;
        show(window);
        QCOMPARE(window.windowTitle(), QStringLiteral("VMT Editor[*]"));
        QVERIFY(!window.windowIcon().isNull());
        VVMTTabWidget *tabWidget = tabs(window);
        QCOMPARE(tabWidget->tabPosition(), QTabWidget::West);
        QCOMPARE(tabWidget->count(), 3);
        QCOMPARE(tabWidget->tabText(0), QStringLiteral("Shaders"));
        QCOMPARE(tabWidget->tabText(1), QStringLiteral("Parameters"));
        QCOMPARE(tabWidget->tabText(2), QStringLiteral("Proxies"));
        auto *shaders = window.findChild<QListWidget *>(QStringLiteral("shaderList"));
        QCOMPARE(shaders->count(), 2);
        QCOMPARE(shaders->item(1)->text(), QStringLiteral("VertexLitGeneric"));
        QCOMPARE(shaders->item(1)->toolTip(), QStringLiteral("Model surfaces"));
        auto *proxies = window.findChild<QListWidget *>(QStringLiteral("proxyList"));
        QCOMPARE(proxies->item(0)->toolTip(), QStringLiteral("Sine wave\nbetween two values"));

        // No tab is cut off, and the window keeps at least its first size.
        const QRect area = tabWidget->getTabBarArea();
        const QTabBar *bar = tabWidget->tabBar();
        QCOMPARE(area.height(),
                 bar->tabRect(0).height() + bar->tabRect(1).height() + bar->tabRect(2).height());
        QCOMPARE(area.width(), bar->tabRect(0).width());
        QCOMPARE(window.findChild<QSplitter *>()->minimumHeight(), area.height());
        QVERIFY(window.minimumWidth() > 400);
        QCOMPARE(tabWidget->minimumWidth(), tabWidget->maximumWidth());
        QVERIFY(!VVMTTabWidget().getTabBarArea().isValid());

        QStringList entries;
        for (QAction *menu : window.menuBar()->actions()) {
            entries << menu->text();
            for (QAction *entry : menu->menu()->actions()) {
                if (entry->isSeparator())
                    continue;
                entries << entry->text();
                QVERIFY2(!entry->icon().isNull(), qPrintable(entry->text()));
                QVERIFY(entry->shortcut().isEmpty());
            }
        }
        QCOMPARE(entries,
                 QStringList({ "File", "New", "Open...", "Save", "Save As...", "Exit", "Edit",
                               "Undo", "Redo", "Cut", "Copy", "Paste", "Select All" }));
    }

    void shaderClickInAnEmptyWindow()
    {
        VVMT window;
        show(window);
        QVERIFY(!window.isWindowModified());
        clickEntry(window, 0, "shaderList", 0);
        QCOMPARE(text(window), QStringLiteral("\"LightmappedGeneric\"\n{\n}\n"));
        QVERIFY(window.isWindowModified());
        clickEntry(window, 0, "shaderList", 1);
        QCOMPARE(text(window), QStringLiteral("\"VertexLitGeneric\"\n{\n}\n"));
    }

    void parameterClickEmptiesAnExistingValue()
    {
        VVMT window(QByteArray("\"S\"\n{\n\t$BASETEXTURE \"brick/wall\"\n}\n"),
                    QStringLiteral("m"));
        show(window);
        clickEntry(window, 1, "parameterList", 0);
        QCOMPARE(text(window), QStringLiteral("\"S\"\n{\n\t\"$basetexture\" \"\"\n}\n"));
        clickEntry(window, 1, "parameterList", 2);
        QCOMPARE(text(window),
                 QStringLiteral("\"S\"\n{\n\t\"$basetexture\" \"\"\n\t\"$detail\" \"\"\n}\n"));
        QVERIFY(window.isWindowModified());
        // What the routine refuses leaves the text as it was.
        textEdit(window)->setPlainText(QStringLiteral("lonely"));
        clickEntry(window, 1, "parameterList", 1);
        QCOMPARE(text(window), QStringLiteral("lonely"));
    }

    void proxyClickWritesItsParameters()
    {
        VVMT window;
        show(window);
        clickEntry(window, 2, "proxyList", 0);
        QCOMPARE(text(window),
                 QStringLiteral("\"\"\n{\n\n\t\"Proxies\"\n\t{\n\t\t\"Sine\"\n\t\t{\n"
                                "\t\t\t\"sinemin\" \"\"\n\t\t\t\"sinemax\" \"\"\n"
                                "\t\t\t\"resultVar\" \"\"\n\t\t}\n\t}\n}\n"));
        // Return on an entry does what a click does.
        auto *proxies = window.findChild<QListWidget *>(QStringLiteral("proxyList"));
        proxies->setCurrentRow(1);
        QTest::keyClick(proxies, Qt::Key_Return);
        QVERIFY(
            text(window).endsWith(QStringLiteral("\t\t}\n\n\t\t\"Bare\"\n\t\t{\n\t\t}\n\t}\n}\n")));
    }

    void openHereOrInANewWindow()
    {
        const QString first = material(QStringLiteral("first.vmt"), "\"A\"\r\n{\r\n}\r\n");
        const QString second = material(QStringLiteral("second.vmt"), "\"B\"\n{\n}\n");
        VVMT window;
        show(window);
        QString title;
        answerFileDialog(first, &title);
        action(window, "vmtOpen")->trigger();
        QCOMPARE(title, QStringLiteral("Open VMT"));
        QCOMPARE(window.getFilePath(), first);
        QCOMPARE(window.windowTitle(), QStringLiteral("first.vmt[*]"));
        QCOMPARE(text(window), QStringLiteral("\"A\"\n{\n}\n"));
        QVERIFY(!window.isWindowModified());

        // A bound window keeps its file; the other one gets a window of its own.
        const int before = workspaceWindows();
        window.vmtOpen(second);
        QCOMPARE(workspaceWindows(), before + 1);
        QCOMPARE(window.getFilePath(), first);
        auto *opened
            = qobject_cast<VVMT *>(ZIRK::get()->getWorkspace()->subWindowList().last()->widget());
        QVERIFY(opened);
        QCOMPARE(opened->getFilePath(), second);
        QCOMPARE(text(*opened), QStringLiteral("\"B\"\n{\n}\n"));

        // So does a new window that holds unsaved text.
        VVMT fresh;
        textEdit(fresh)->setPlainText(QStringLiteral("x"));
        fresh.vmtOpen(second);
        QCOMPARE(workspaceWindows(), before + 2);
        QCOMPARE(text(fresh), QStringLiteral("x"));
        fresh.vmtOpen(QString());
        QCOMPARE(workspaceWindows(), before + 2);
    }

    void openFailureShowsTheReason()
    {
        MessageBoxSeen seen;
        answerNextMessageBox(&seen, QMessageBox::Ok);
        VVMT window(dir.filePath(QStringLiteral("missing.vmt")));
        QCOMPARE(seen.title.remove(QStringLiteral("[*]")), QStringLiteral("VMT Editor"));
        QCOMPARE(seen.text, QStringLiteral("No such file or directory"));
        QCOMPARE(seen.icon, QMessageBox::Warning);
        // The window keeps the path it was given, as a new file of that name.
        QVERIFY(text(window).isEmpty());
        QCOMPARE(window.windowTitle(), QStringLiteral("VMT Editor[*]"));
        QCOMPARE(window.getFilePath(), dir.filePath(QStringLiteral("missing.vmt")));
    }

    void binaryFileOpens()
    {
        QByteArray bytes(256 * 1024, '\0');
        QRandomGenerator random(7);
        for (char &c : bytes)
            c = char(random.bounded(256));
        VVMT window(material(QStringLiteral("binary.vmt"), bytes));
        show(window);
        QVERIFY(!text(window).isEmpty());
        QCOMPARE(window.windowTitle(), QStringLiteral("binary.vmt[*]"));
        clickEntry(window, 0, "shaderList", 0);
    }

    // More lines than the routines address (the 50 MB case is the batch tool's test): a click
    // changes nothing.
    void longMaterial()
    {
        QByteArray big = "\"Big\"\n{\n";
        const QByteArray line = "\t\"$key\" \"" + QByteArray(60, 'v') + "\"\n";
        for (int i = 0; i < 40000; ++i)
            big += line;
        big += "}\n";
        VVMT window(material(QStringLiteral("long.vmt"), big));
        show(window);
        QCOMPARE(text(window).size(), big.size());
        clickEntry(window, 0, "shaderList", 0);
        QCOMPARE(text(window).size(), big.size());
        QVERIFY(text(window).startsWith(QStringLiteral("\"Big\"\n{")));
    }

    void cancelledSaveAsForgetsThePath()
    {
        const QString path = material(QStringLiteral("bound.vmt"), "\"A\"\n{\n}\n");
        VVMT window(path);
        QCOMPARE(window.getFilePath(), path);
        QString title;
        cancelNextDialog(&title);
        action(window, "vmtSaveAs")->trigger();
        QCOMPARE(title, QStringLiteral("Save VMT"));
        QVERIFY(window.getFilePath().isEmpty());
        // So the next Save asks.
        title.clear();
        cancelNextDialog(&title);
        action(window, "vmtSave")->trigger();
        QCOMPARE(title, QStringLiteral("Save VMT"));
        QCOMPARE(readFile(path), QByteArray("\"A\"\n{\n}\n"));
    }

    void windowFromMemoryAsksForAPath()
    {
        const QByteArray data("\"UnlitGeneric\"\n{\n}\n\0junk", 24);
        VVMT window(data, QStringLiteral("materials/brick/wall"));
        QCOMPARE(window.windowTitle(), QStringLiteral("wall[*]"));
        QCOMPARE(text(window), QStringLiteral("\"UnlitGeneric\"\n{\n}\n"));
        QVERIFY(!window.isWindowModified());
        QVERIFY(window.getFilePath().isEmpty());

        const QString path = dir.filePath(QStringLiteral("saved"));
        QString title;
        answerFileDialog(path, &title);
        textEdit(window)->append(QStringLiteral("// more"));
        action(window, "vmtSave")->trigger();
        QCOMPARE(title, QStringLiteral("Save VMT"));
        QCOMPARE(window.getFilePath(), path + QStringLiteral(".vmt"));
        QCOMPARE(window.windowTitle(), QStringLiteral("saved.vmt[*]"));
        QVERIFY(!window.isWindowModified());
        QCOMPARE(readFile(path + QStringLiteral(".vmt")),
                 QByteArray("\"UnlitGeneric\"\n{\n}\n\n// more"));

        // Saving again gives the file other-read and other-write alone, deliberately; only the
        // superuser can still write it then. The window counts as saved either way.
        textEdit(window)->setPlainText(QStringLiteral("\"Changed\"\n{\n}\n"));
        action(window, "vmtSave")->trigger();
        QVERIFY(!window.isWindowModified());
        QCOMPARE(modeBits(path + QStringLiteral(".vmt")),
                 QFileDevice::ReadOther | QFileDevice::WriteOther);
        if (geteuid() == 0)
            QCOMPARE(readFile(path + QStringLiteral(".vmt")), QByteArray("\"Changed\"\n{\n}\n"));
        QFile::setPermissions(path + QStringLiteral(".vmt"),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }

    void closeQuestion()
    {
        // Unmodified: closes at once.
        QPointer<VVMT> window = new VVMT;
        QVERIFY(window->close());

        window = new VVMT;
        textEdit(*window)->setPlainText(QStringLiteral("text"));
        MessageBoxSeen seen;
        answerNextMessageBox(&seen, QMessageBox::Cancel);
        QVERIFY(!window->close());
        QCOMPARE(seen.title, QStringLiteral("VMT Editor"));
        QCOMPARE(seen.text, QStringLiteral("The document has been modified."));
        QCOMPARE(seen.informative, QStringLiteral("Do you want to save your changes?"));
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QCOMPARE(seen.defaultButton, QMessageBox::Save);

        answerNextMessageBox(&seen, QMessageBox::Discard);
        QVERIFY(window->close());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!window);

        // Save on a bound window writes it and closes; the caption is the file's name.
        const QString path = material(QStringLiteral("closing.vmt"), "\"A\"\n{\n}\n");
        window = new VVMT(path);
        textEdit(*window)->setPlainText(QStringLiteral("\"B\"\n{\n}\n"));
        answerNextMessageBox(&seen, QMessageBox::Save);
        QVERIFY(window->close());
        QCOMPARE(seen.title, QStringLiteral("closing.vmt"));
        if (geteuid() == 0)
            QCOMPARE(readFile(path), QByteArray("\"B\"\n{\n}\n"));

        // Save on a new window asks for a path; cancelling that keeps the window and its text.
        window = new VVMT;
        textEdit(*window)->setPlainText(QStringLiteral("keep"));
        answerNextDialog([](QWidget *box) {
            cancelNextDialog();
            static_cast<QMessageBox *>(box)->button(QMessageBox::Save)->click();
        });
        QVERIFY(!window->close());
        QCOMPARE(text(*window), QStringLiteral("keep"));
        window->setWindowModified(false);
        action(*window, "vmtExit")->trigger();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!window);
    }

    void workspaceRoutes()
    {
        const QString path = material(QStringLiteral("routed.vmt"), "\"R\"\n{\n}\n");
        const int before = workspaceWindows();
        ZIRK::get()->handleMessage(path);
        ZIRK::get()->showVVMT(QByteArray("\"M\"\n{\n}\n"), QStringLiteral("entry"));
        ZIRK::get()->showVVMT();
        const QList<QMdiSubWindow *> subs = ZIRK::get()->getWorkspace()->subWindowList();
        QCOMPARE(subs.size(), before + 3);
        QCOMPARE(subs.at(before)->widget()->windowTitle(), QStringLiteral("routed.vmt[*]"));
        QCOMPARE(subs.at(before + 1)->widget()->windowTitle(), QStringLiteral("entry[*]"));
        QCOMPARE(subs.at(before + 2)->widget()->windowTitle(), QStringLiteral("VMT Editor[*]"));
        // "New" asks the workspace for another empty editor.
        action(*qobject_cast<VVMT *>(subs.at(before)->widget()), "vmtNew")->trigger();
        QCOMPARE(workspaceWindows(), before + 4);
    }
};

QTEST_MAIN(TestMaterialsEditor)
#include "tst_materials_editor.moc"
