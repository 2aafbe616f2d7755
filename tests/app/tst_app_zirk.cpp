#include "app/ZIRK.h"
#include "packages/VPackage.h"
#include "textures/CFileVTF.h"
#include "textures/VTFMass.h"
#include "textures/VVTF.h"

#include "ZirkTest.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>
#include <functional>
#include <thread>

namespace {

class StubbornTool : public QWidget
{
public:
    bool allowClose = false;

protected:
    void closeEvent(QCloseEvent *event) override
    {
        if (allowClose)
            event->accept();
        else
            event->ignore();
    }
};

} // namespace

class TestZirk : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    ZIRK *m_window = nullptr;

    QString outputText() const { return m_window->getOutputText()->toPlainText(); }

    QString touch(const QString &name)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        return path;
    }

    // Runs the getter while a timer answers the shared dialog.
    template<typename Getter, typename Answer> auto runDialog(Getter getter, Answer answer)
    {
        QTimer::singleShot(0, this, [this, answer] {
            QFileDialog *dialog = m_window->getFileDialog();
            QTRY_VERIFY(dialog->isVisible());
            answer(dialog);
        });
        return getter();
    }

private Q_SLOTS:
    void initTestCase()
    {
        zirkInitTestResources();
        QFile settings(m_dir.filePath(QStringLiteral("noitazilait.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[general]\nminimize_output_on_startup:true\n[/general]\n");
        settings.close();
        QVERIFY(QDir::setCurrent(m_dir.path()));
        m_window = ZIRK::get();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
    }

    void outputStartsWithHeader()
    {
        QVERIFY(outputText().startsWith(QStringLiteral("Tolvane Works - Zirk Workbench (")));
        QVERIFY(outputText().contains(QStringLiteral(")\tALPHA BUILD")));
        QCOMPARE(m_window->getOutputWindow()->windowTitle().left(6), QStringLiteral("Output"));
    }

    // Every menu and entry has an access key, none twice in one menu, and no
    // text changes beyond its ampersand.
    static QString plain(const QAction *action)
    {
        QString text = action->text();
        const qsizetype amp = text.indexOf(QLatin1Char('&'));
        if (amp < 0 || amp + 1 >= text.size() || text.indexOf(QLatin1Char('&'), amp + 1) >= 0)
            return QStringLiteral("<no single access key in \"%1\">").arg(text);
        return text.remove(amp, 1);
    }

    static void checkAccessKeys(const QList<QAction *> &actions)
    {
        QSet<QChar> keys;
        for (const QAction *action : actions) {
            if (action->isSeparator())
                continue;
            const QKeySequence key = QKeySequence::mnemonic(action->text());
            QVERIFY2(!key.isEmpty(), qPrintable(action->text()));
            const QChar letter = action->text().at(action->text().indexOf('&') + 1).toLower();
            QVERIFY2(!keys.contains(letter), qPrintable(action->text()));
            keys.insert(letter);
        }
    }

    void menus()
    {
        QStringList titles;
        for (QAction *action : m_window->menuBar()->actions())
            titles << plain(action);
        QCOMPARE(titles, QStringList({ "File", "Tools", "Help" }));
        checkAccessKeys(m_window->menuBar()->actions());
        for (QAction *menu : m_window->menuBar()->actions())
            checkAccessKeys(menu->menu()->actions());
        QCOMPARE(plain(m_window->menuBar()->actions().at(0)->menu()->actions().at(0)),
                 QStringLiteral("Exit"));
        QStringList help;
        for (QAction *action : m_window->menuBar()->actions().at(2)->menu()->actions())
            help << plain(action);
        QCOMPARE(help, QStringList({ "About Qt", "About ZIRK" }));
        QStringList tools;
        for (QAction *action : m_window->menuBar()->actions().at(1)->menu()->actions())
            tools << (action->isSeparator() ? QStringLiteral("-") : plain(action));
        QCOMPARE(
            tools,
            QStringList({ "Package Viewer", "-", "Particle Editor", "VBSP Editor", "VMT Editor",
                          "Mass VMT Editor", "VTF Editor", "Mass VTF Editor", "-", "BSP Info",
                          "Entity Lump Editor", "Pakfile Lump Editor", "-", "Output" }));
        for (QAction *action : m_window->menuBar()->actions().at(1)->menu()->actions())
            QVERIFY(action->isSeparator() || !action->icon().isNull());
    }

    void geometryRule_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::addColumn<bool>("virtualDesktop");
        QTest::addColumn<bool>("fixed");
        QTest::newRow("1280x960") << QSize(1280, 960) << false << true;
        QTest::newRow("1279x960") << QSize(1279, 960) << false << false;
        QTest::newRow("1280x959") << QSize(1280, 959) << false << false;
        QTest::newRow("small virtual") << QSize(800, 600) << true << true;
    }

    void geometryRule()
    {
        QFETCH(QSize, screen);
        QFETCH(bool, virtualDesktop);
        QFETCH(bool, fixed);
        QCOMPARE(ZIRK::useFixedGeometry(screen, virtualDesktop), fixed);
        QCOMPARE(ZIRK::fixedGeometry().size(), QSize(1024, 576));
    }

    void routing_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("route");
        QTest::newRow("upper case map") << "MAP.BSP" << int(ZIRK::RoutePackage);
        QTest::newRow("vpk") << "pak01_dir.vpk" << int(ZIRK::RoutePackage);
        QTest::newRow("gcf") << "a.Gcf" << int(ZIRK::RoutePackage);
        QTest::newRow("ncf") << "dir/b.ncf" << int(ZIRK::RoutePackage);
        QTest::newRow("particles") << "c.pcf" << int(ZIRK::RouteParticle);
        QTest::newRow("material") << "b.vmt" << int(ZIRK::RouteMaterial);
        QTest::newRow("texture") << "a.tar.VTF" << int(ZIRK::RouteTexture);
        QTest::newRow("text") << "d.txt" << int(ZIRK::RouteNone);
        QTest::newRow("no suffix") << "vtf" << int(ZIRK::RouteNone);
        QTest::newRow("option") << "-setCurrent" << int(ZIRK::RouteNone);
    }

    void routing()
    {
        QFETCH(QString, path);
        QFETCH(int, route);
        QCOMPARE(int(ZIRK::routeForPath(path)), route);
    }

    void messagesThatAreIgnored()
    {
        const QString before = outputText();
        m_window->handleMessage(QString());
        m_window->handleMessage(m_dir.filePath(QStringLiteral("missing.vmt")));
        m_window->handleMessage(touch(QStringLiteral("c.pcf")));
        m_window->handleMessage(touch(QStringLiteral("d.txt")));
        m_window->handleMessage(touch(QStringLiteral("nosuffix")));
        m_window->handleMessage(m_dir.path());
        QCOMPARE(outputText(), before);
        QCOMPARE(m_window->getWorkspace()->subWindowList().size(), 1);
    }

    void packagesOpenAViewer_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("lower case") << "pak01_dir.vpk";
        QTest::newRow("upper case suffix") << "PAK02_DIR.VPK";
    }

    void packagesOpenAViewer()
    {
        QFETCH(QString, name);
        // A directory file with a header and an empty tree.
        const QString path = m_dir.filePath(name);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const char vpk[] = { '\x34', '\x12', '\xAA', '\x55', 1, 0, 0, 0, 1, 0, 0, 0, 0 };
        file.write(vpk, sizeof vpk);
        file.close();
        // A failure would show a modal warning; answer it rather than hang.
        QTimer guard;
        connect(&guard, &QTimer::timeout, [] {
            if (QWidget *modal = QApplication::activeModalWidget())
                modal->close();
        });
        guard.start(100);

        const int before = m_window->getWorkspace()->subWindowList().size();
        m_window->handleMessage(path);
        const QList<QMdiSubWindow *> windows
            = m_window->getWorkspace()->subWindowList(QMdiArea::CreationOrder);
        QCOMPARE(windows.size(), before + 1);
        QVERIFY(qobject_cast<VPackage *>(windows.last()->widget()));
        windows.last()->close();
        QTRY_COMPARE(m_window->getWorkspace()->subWindowList().size(), before);
    }

    void texturesOpenAnEditor_data()
    {
        QTest::addColumn<bool>("valid");
        QTest::newRow("readable") << true;
        QTest::newRow("unreadable") << false;
    }

    void texturesOpenAnEditor()
    {
        QFETCH(bool, valid);
        const QString path
            = m_dir.filePath(valid ? QStringLiteral("good.vtf") : QStringLiteral("bad.VTF"));
        if (valid) {
            CFileVTF texture(4, 4);
            texture.setVersion(7, 2);
            QVERIFY(texture.serialize(path));
        } else {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("not a texture");
        }
        const int before = m_window->getWorkspace()->subWindowList().size();
        const QString output = outputText();
        m_window->handleMessage(path);
        const QList<QMdiSubWindow *> windows
            = m_window->getWorkspace()->subWindowList(QMdiArea::CreationOrder);
        QCOMPARE(windows.size(), before + 1);
        auto *editor = qobject_cast<VVTF *>(windows.last()->widget());
        QVERIFY(editor);
        // A texture that cannot be read gives an editor without a file, and no report.
        QCOMPARE(editor->getFile() != nullptr, valid);
        if (valid) {
            QCOMPARE(editor->getFile()->filePath, path);
            QCOMPARE(editor->getFile()->fileName, QStringLiteral("good"));
        }
        QCOMPARE(outputText(), output);
        editor->setWindowModified(false);
        windows.last()->close();
        QTRY_COMPARE(m_window->getWorkspace()->subWindowList().size(), before);
    }

    // A new tool window shows whole inside the workspace, however small the
    // workspace: the batch editor's button and the texture editor's last tab
    // within reach.
    void newWindowsFitTheWorkspace()
    {
        // The workspace of the fixed 1024 by 576 main window.
        const bool wasMaximized = m_window->isMaximized();
        m_window->showNormal();
        m_window->setGeometry(ZIRK::fixedGeometry());
        QTRY_COMPARE(m_window->size(), ZIRK::fixedGeometry().size());
        QMdiArea *area = m_window->getWorkspace();
        const QRect inside = area->viewport()->rect();
        m_window->showVTFMass();
        QMdiSubWindow *mass = area->subWindowList(QMdiArea::CreationOrder).last();
        auto *massWidget = qobject_cast<VTFMass *>(mass->widget());
        QVERIFY(massWidget);
        QVERIFY2(inside.contains(mass->geometry()),
                 qPrintable(QStringLiteral("%1 %2").arg(QVariant(mass->geometry()).toString(),
                                                        QVariant(inside).toString())));
        QVERIFY(mass->width() >= qMin(mass->sizeHint().width(), inside.width()));
        QVERIFY(mass->height() >= qMin(mass->sizeHint().height(), inside.height()));
        const QRect apply(massWidget->controlButton->mapTo(area->viewport(), QPoint()),
                          massWidget->controlButton->size());
        QVERIFY(inside.contains(apply));

        m_window->showVVTF();
        QMdiSubWindow *texture = area->subWindowList(QMdiArea::CreationOrder).last();
        auto *editor = qobject_cast<VVTF *>(texture->widget());
        QVERIFY(editor);
        QVERIFY(inside.contains(texture->geometry()));
        QTabBar *bar = editor->tabs->tabBar();
        QVERIFY(bar->rect().contains(bar->tabRect(bar->count() - 1)));
        // Nor does a restore after maximizing push them out again.
        for (const QMdiSubWindow *window : { mass, texture }) {
            QVERIFY(window->minimumSizeHint().width() <= inside.width());
            QVERIFY(window->minimumSizeHint().height() <= inside.height());
        }
        texture->close();
        mass->close();
        if (wasMaximized)
            m_window->showMaximized();
    }

    // A maximized tool window has no title bar: the menu bar offers restore and close.
    void maximizedWindowKeepsItsControls()
    {
        QMdiArea *area = m_window->getWorkspace();
        m_window->showVTFMass();
        QPointer<QMdiSubWindow> window = area->subWindowList(QMdiArea::CreationOrder).last();
        const QRect normal = window->geometry();
        auto *controls = m_window->menuBar()->cornerWidget(Qt::TopRightCorner);
        QVERIFY(controls);
        auto *restore = controls->findChild<QToolButton *>(QStringLiteral("restoreSubWindow"));
        auto *close = controls->findChild<QToolButton *>(QStringLiteral("closeSubWindow"));
        QVERIFY(restore && close);
        QVERIFY(!controls->isVisible());

        window->showMaximized();
        QTRY_VERIFY(controls->isVisible());
        QTest::mouseClick(restore, Qt::LeftButton);
        QVERIFY(!window->isMaximized());
        QVERIFY(!controls->isVisible());
        QCOMPARE(window->geometry(), normal);

        window->showMaximized();
        QTRY_VERIFY(controls->isVisible());
        QTest::mouseClick(close, Qt::LeftButton);
        QTRY_VERIFY(!window);
        QTRY_VERIFY(!controls->isVisible());
    }

    // The standard keys reach the menu entries of the tool window that has the
    // focus, and only that one.
    void toolWindowShortcuts()
    {
        QMdiArea *area = m_window->getWorkspace();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window));
        m_window->showVVTF(new CFileVTF(4, 4), QStringLiteral("first"));
        QPointer<QMdiSubWindow> first = area->subWindowList(QMdiArea::CreationOrder).last();
        m_window->showVVTF(new CFileVTF(4, 4), QStringLiteral("second"));
        QPointer<QMdiSubWindow> second = area->subWindowList(QMdiArea::CreationOrder).last();
        const QString output = outputText();

        auto focusIn = [area](QMdiSubWindow *window) {
            area->setActiveSubWindow(window);
            auto *editor = qobject_cast<VVTF *>(window->widget());
            editor->layoutTree->setFocus();
            return editor;
        };
        VVTF *editor = focusIn(second);
        QCOMPARE(editor->actionSaveAs->shortcut(), QKeySequence(QKeySequence::SaveAs));
        QTRY_VERIFY(editor->layoutTree->hasFocus());
        QTest::keyClick(editor->layoutTree, Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(!second);
        QVERIFY(first);

        // A texture without a path asks where to save it.
        editor = focusIn(first);
        QTRY_VERIFY(editor->layoutTree->hasFocus());
        QString title;
        runDialog([editor] { QTest::keyClick(editor->layoutTree, Qt::Key_S, Qt::ControlModifier); },
                  [&title](QFileDialog *dialog) {
                      title = dialog->windowTitle();
                      dialog->reject();
                  });
        QCOMPARE(title, QStringLiteral("Save As"));
        QVERIFY(!outputText().mid(output.size()).contains(QStringLiteral("mbiguous")));
        first->close();
        QTRY_VERIFY(!first);
    }

    // Every tool window with a menu closes on the standard key, frame and all.
    void closeKeyClosesEachToolWindow_data()
    {
        QTest::addColumn<int>("tool");
        QTest::newRow("VTF Editor") << 0;
        QTest::newRow("VMT Editor") << 1;
        QTest::newRow("VBSP Editor") << 2;
        QTest::newRow("Entity Lump Editor") << 3;
        QTest::newRow("FGD Editor") << 4;
    }

    void closeKeyClosesEachToolWindow()
    {
        QFETCH(int, tool);
        QMdiArea *area = m_window->getWorkspace();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window));
        const int before = area->subWindowList().size();
        const std::function<void()> open[] = {
            [this] { m_window->showVVTF(); },  [this] { m_window->showVVMT(); },
            [this] { m_window->showVVBSP(); }, [this] { m_window->showVEntity(); },
            [this] { m_window->showVFGD(); },
        };
        open[tool]();
        QCOMPARE(area->subWindowList().size(), before + 1);
        QPointer<QMdiSubWindow> frame = area->subWindowList(QMdiArea::CreationOrder).last();
        area->setActiveSubWindow(frame);
        // The focus in the first control of the tool window that takes it, or on its
        // frame when all are off, as in an editor without a file.
        QWidget *target = frame;
        for (QWidget *child : frame->widget()->findChildren<QWidget *>()) {
            if ((child->focusPolicy() & Qt::TabFocus) && child->isEnabled() && child->isVisible()) {
                target = child;
                break;
            }
        }
        target->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), target);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(!frame);
        QCOMPARE(area->subWindowList().size(), before);
    }

    void aboutBoxKeepsTheLicenceOnOneLine()
    {
        bool shownWhole = false;
        QTimer::singleShot(0, [&shownWhole] {
            QTRY_VERIFY(qobject_cast<QMessageBox *>(QApplication::activeModalWidget()));
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QCOMPARE(box->windowTitle(), QStringLiteral("About ZIRK"));
            QCOMPARE(box->informativeText(),
                     QStringLiteral("Version: 0.45a\nLicence: Qt GNU LGPL v. 2.1"));
            for (QLabel *label : box->findChildren<QLabel *>()) {
                // The longer line fits the label's width: nothing of it wraps.
                if (label->text() == box->informativeText())
                    shownWhole
                        = label->contentsRect().width() >= label->fontMetrics().horizontalAdvance(
                              QStringLiteral("Licence: Qt GNU LGPL v. 2.1"));
            }
            box->accept();
        });
        m_window->aboutZIRK();
        QVERIFY(shownWhole);
    }

    void outputUsesAFixedWidthFont()
    {
        const QFont font = m_window->getOutputText()->font();
        QCOMPARE(font.pointSize(), 8);
        QVERIFY(QFontInfo(font).fixedPitch());
    }

    void recentFiles()
    {
        for (int i = 0; i < 11; ++i)
            m_window->registerRecentFile(QStringLiteral("file%1").arg(i));
        QStringList recent = m_window->getRecentFileList();
        QCOMPARE(recent.size(), 10);
        QCOMPARE(recent.first(), QStringLiteral("file10"));
        QVERIFY(!recent.contains(QStringLiteral("file0")));
        m_window->registerRecentFile(QStringLiteral("file10"));
        QCOMPARE(m_window->getRecentFileList().count(QStringLiteral("file10")), 2);
        m_window->registerRecentFile(QString());
        QCOMPARE(m_window->getRecentFileList().size(), 10);
    }

    void unseenMessageCount()
    {
        QMdiSubWindow *output = m_window->getOutputWindow();
        // The settings minimize the Output at start; restoring it shows what was missed.
        output->showNormal();
        QCOMPARE(m_window->getMessageCount(), 0);
        output->showMinimized();
        QTRY_VERIFY(output->isMinimized());
        qDebug("one");
        qWarning("two");
        qCritical("three");
        QCOMPARE(m_window->getMessageCount(), 3);
        QCOMPARE(output->windowTitle(), QStringLiteral("Output (3)"));
        QVERIFY(outputText().endsWith(QStringLiteral("Debug: one\nWarning: two\nCritical: three")));
        output->showNormal();
        QCOMPARE(m_window->getMessageCount(), 0);
        QCOMPARE(output->windowTitle(), QStringLiteral("Output"));
        // Seen messages are not counted.
        qDebug("four");
        QCOMPARE(m_window->getMessageCount(), 0);
        QCOMPARE(output->windowTitle(), QStringLiteral("Output"));
    }

    void messagesFromOtherThreads()
    {
        std::thread worker([] { qWarning("from a worker"); });
        worker.join();
        QTRY_VERIFY(outputText().endsWith(QStringLiteral("Warning: from a worker")));
    }

    void showOutputCycle()
    {
        QMdiSubWindow *output = m_window->getOutputWindow();
        QWidget *other = new QWidget;
        other->setWindowTitle(QStringLiteral("Other"));
        QMdiSubWindow *otherWindow = m_window->addWidgetToWorkspace(other);
        QVERIFY(otherWindow);
        m_window->getWorkspace()->setActiveSubWindow(otherWindow);

        output->hide();
        m_window->showOUTPUT();
        QVERIFY(output->isVisible());
        QVERIFY(output->isMinimized());
        m_window->showOUTPUT();
        QVERIFY(!output->isMinimized());
        m_window->getWorkspace()->setActiveSubWindow(otherWindow);
        m_window->showOUTPUT();
        QCOMPARE(m_window->getWorkspace()->activeSubWindow(), output);
        m_window->showOUTPUT();
        QVERIFY(output->isHidden());
        m_window->showOUTPUT();
        QVERIFY(output->isMinimized());
        m_window->showOUTPUT();
        otherWindow->close();
    }

    void filterExtension_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("result");
        QTest::newRow("appended") << "/t/foo"
                                  << "Valve Texture Format (*.vtf)"
                                  << "/t/foo.vtf";
        QTest::newRow("present") << "/t/foo.VTF"
                                 << "Valve Texture Format (*.vtf)"
                                 << "/t/foo.VTF";
        QTest::newRow("no dot looked for") << "/t/foovtf"
                                           << "Valve Texture Format (*.vtf)"
                                           << "/t/foovtf";
        QTest::newRow("no extension in filter") << "/t/foo"
                                                << "All files (*)"
                                                << "/t/foo";
        QTest::newRow("first of several") << "/t/foo"
                                          << "Images (*.png *.jpg)"
                                          << "/t/foo.png";
    }

    void filterExtension()
    {
        QFETCH(QString, path);
        QFETCH(QString, filter);
        QFETCH(QString, result);
        QCOMPARE(ZIRK::applyFilterExtension(path, filter), result);
    }

    void getAnyFileAppendsExtension()
    {
        m_window->configureFileDialog(
            m_window, QStringLiteral("Save"),
            QStringLiteral("Valve Texture Format (*.vtf);;;;All files (*)"), m_dir.path());
        QCOMPARE(m_window->getFileDialog()->nameFilters().size(), 2);
        QCOMPARE(m_window->getFileDialog()->windowTitle(), QStringLiteral("Save"));
        const QString path = runDialog([this] { return m_window->getAnyFile(); },
                                       [](QFileDialog *dialog) {
                                           dialog->selectFile(QStringLiteral("saved"));
                                           static_cast<QDialog *>(dialog)->accept();
                                       });
        QCOMPARE(path, QDir(m_dir.path()).filePath(QStringLiteral("saved.vtf")));
    }

    void cancelledGettersGiveNothing()
    {
        m_window->configureFileDialog(nullptr, QStringLiteral("Open"), QString(), m_dir.path());
        auto reject = [](QFileDialog *dialog) { dialog->reject(); };
        QCOMPARE(runDialog([this] { return m_window->getExistingFile(); }, reject), QString());
        QCOMPARE(runDialog([this] { return m_window->getExistingFiles(); }, reject), QStringList());
        QCOMPARE(runDialog([this] { return m_window->getDirectory(true); }, reject), QString());
        QCOMPARE(runDialog([this] { return m_window->getAnyFile(); }, reject), QString());
    }

    void dialogSurvivesItsParent()
    {
        QWidget *tool = new QWidget;
        m_window->configureFileDialog(tool, QStringLiteral("Open"), QString(), m_dir.path());
        delete tool;
        m_window->configureFileDialog(m_window, QStringLiteral("Again"), QString(), m_dir.path());
        QVERIFY(m_window->getFileDialog());
        QCOMPARE(m_window->getFileDialog()->windowTitle(), QStringLiteral("Again"));
    }

    void toolWindowRefusingToClose()
    {
        const QString temporary = touch(QStringLiteral("extracted.vtf"));
        m_window->registerTemporaryFile(temporary);
        m_window->registerTemporaryFile(QString());
        QCOMPARE(m_window->getTemporaryFileList(), QStringList({ temporary }));

        auto *stubborn = new StubbornTool;
        QPointer<QMdiSubWindow> window = m_window->addWidgetToWorkspace(stubborn);
        QVERIFY(window);
        QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));

        QVERIFY(!m_window->close());
        QVERIFY(m_window->isVisible());
        QVERIFY(QFile::exists(temporary));
        QVERIFY(window);

        stubborn->allowClose = true;
        QVERIFY(m_window->close());
        QVERIFY(!QFile::exists(temporary));
        QTRY_VERIFY(!window);
        // The Output window is never closed by the main window.
        QVERIFY(m_window->getOutputWindow());
    }
};

QTEST_MAIN(TestZirk)
#include "tst_app_zirk.moc"
