#include "app/ZIRK.h"

#include "app/ProgramSettings_t.h"
#include "app/QSubWindowControls.h"
#include "util/UtilPath.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QCompleter>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QTextEdit>
#include <QTextStream>
#include <QThread>
#include <QToolBar>

#include <algorithm>
#include <cstdlib>

namespace {

const char *const IconRoot = ":/resources/icons/";

QIcon resourceIcon(const QString &name)
{
    return QIcon(QLatin1String(IconRoot) + name);
}

} // namespace

ZIRK *ZIRK::get(int argc, char **argv)
{
    static ZIRK *instance = new ZIRK(argc, argv);
    return instance;
}

ZIRK::ZIRK(int argc, char **argv)
{
    if (argv && argc >= 1) {
        for (int i = 0; i < argc; ++i)
            m_arguments.append(QString::fromLatin1(argv[i]));
    }
    setWindowTitle(QStringLiteral("Zirk Workbench"));
    setupGeometry();
    createActions();
    createMenus();
    createToolBar();
    createWorkspace();
    createOutput();

    if (ProgramSettings_t::get()->minimizeOutput)
        m_outputWindow->showMinimized();
    else
        m_outputWindow->showNormal();

    setCentralWidget(m_workspace);
    createFileDialog();
    qInstallMessageHandler(ZIRK::msgHandler);
}

ZIRK::~ZIRK()
{
    if (m_logFile)
        m_logFile->close();
    delete m_logStream;
    delete m_logFile;
}

bool ZIRK::useFixedGeometry(const QSize &screen, bool virtualDesktop)
{
    return virtualDesktop || (screen.width() >= 1280 && screen.height() >= 960);
}

QRect ZIRK::fixedGeometry()
{
    return QRect(QPoint(208, 162), QPoint(1231, 737));
}

void ZIRK::setupGeometry()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QSize size = screen ? screen->geometry().size() : QSize();
    const bool virtualDesktop = screen && screen->virtualSiblings().size() > 1;
    if (useFixedGeometry(size, virtualDesktop))
        setGeometry(fixedGeometry());
    else
        showMaximized();
}

QAction *ZIRK::makeAction(const QString &text, const QString &icon)
{
    return new QAction(resourceIcon(icon), text, this);
}

void ZIRK::createActions()
{
    m_exitAction = makeAction(QStringLiteral("E&xit"), QStringLiteral("cross"));
    connect(m_exitAction, &QAction::triggered, this, &QWidget::close);

    m_packageAction
        = makeAction(QStringLiteral("&Package Viewer"), QStringLiteral("package_magnify.png"));
    connect(m_packageAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVPackage));
    m_particleAction
        = makeAction(QStringLiteral("P&article Editor"), QStringLiteral("particles.png"));
    connect(m_particleAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVParticle));
    m_vbspAction = makeAction(QStringLiteral("V&BSP Editor"), QStringLiteral("icon_vbsp.png"));
    connect(m_vbspAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVVBSP));
    m_vmtAction = makeAction(QStringLiteral("&VMT Editor"), QStringLiteral("vvmt.png"));
    connect(m_vmtAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVVMT));
    m_massVmtAction = makeAction(QStringLiteral("&Mass VMT Editor"), QStringLiteral("vmass.png"));
    connect(m_massVmtAction, &QAction::triggered, this, &ZIRK::showVMass);
    m_vtfAction = makeAction(QStringLiteral("VT&F Editor"), QStringLiteral("vvtf.png"));
    connect(m_vtfAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVVTF));
    m_massVtfAction
        = makeAction(QStringLiteral("Mass VTF &Editor"), QStringLiteral("vtfmass2.png"));
    connect(m_massVtfAction, &QAction::triggered, this, &ZIRK::showVTFMass);
    m_bspInfoAction = makeAction(QStringLiteral("BSP &Info"), QStringLiteral("vbspinfo.png"));
    connect(m_bspInfoAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVBSPInfo));
    m_entityAction
        = makeAction(QStringLiteral("E&ntity Lump Editor"), QStringLiteral("ventity.png"));
    connect(m_entityAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVEntity));
    m_pakfileAction
        = makeAction(QStringLiteral("Pa&kfile Lump Editor"), QStringLiteral("vpakfile.png"));
    connect(m_pakfileAction, &QAction::triggered, this, qOverload<>(&ZIRK::showVPakfile));
    m_outputAction
        = makeAction(QStringLiteral("&Output"), QStringLiteral("application_output.png"));
    connect(m_outputAction, &QAction::triggered, this, &ZIRK::showOUTPUT);

    m_aboutQtAction
        = makeAction(QStringLiteral("About &Qt"), QStringLiteral("qtcreator_logo_16.png"));
    connect(m_aboutQtAction, &QAction::triggered, this, &ZIRK::aboutQt);
    m_aboutAction
        = makeAction(QStringLiteral("&About ZIRK"), QStringLiteral("multi_manager_icon_16.png"));
    connect(m_aboutAction, &QAction::triggered, this, &ZIRK::aboutZIRK);
}

void ZIRK::createMenus()
{
    m_fileMenu = menuBar()->addMenu(QStringLiteral("&File"));
    m_fileMenu->addAction(m_exitAction);

    m_toolsMenu = menuBar()->addMenu(QStringLiteral("&Tools"));
    m_toolsMenu->addAction(m_packageAction);
    m_toolsMenu->addSeparator();
    m_toolsMenu->addActions({ m_particleAction, m_vbspAction, m_vmtAction, m_massVmtAction,
                              m_vtfAction, m_massVtfAction });
    m_toolsMenu->addSeparator();
    m_toolsMenu->addActions({ m_bspInfoAction, m_entityAction, m_pakfileAction });
    m_toolsMenu->addSeparator();
    m_toolsMenu->addAction(m_outputAction);

    m_helpMenu = menuBar()->addMenu(QStringLiteral("&Help"));
    m_helpMenu->addAction(m_aboutQtAction);
    m_helpMenu->addAction(m_aboutAction);
}

void ZIRK::createToolBar()
{
    m_toolBar = new QToolBar(this);
    m_toolBar->setAllowedAreas(Qt::TopToolBarArea);
    m_toolBar->setContextMenuPolicy(Qt::CustomContextMenu);
    m_toolBar->setFloatable(false);
    m_toolBar->setMovable(false);
    m_toolBar->addAction(m_packageAction);
    m_toolBar->addSeparator();
    m_toolBar->addActions({ m_particleAction, m_vbspAction, m_vmtAction, m_massVmtAction,
                            m_vtfAction, m_massVtfAction });
    m_toolBar->addSeparator();
    m_toolBar->addActions({ m_bspInfoAction, m_entityAction, m_pakfileAction });
    addToolBar(Qt::TopToolBarArea, m_toolBar);
}

void ZIRK::createWorkspace()
{
    m_workspace = new QMdiArea(this);
    m_workspace->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_workspace->setOption(QMdiArea::DontMaximizeSubWindowOnActivation, true);
    m_workspace->setViewMode(QMdiArea::TabbedView);
    m_workspace->setWindowIcon(QIcon());
    menuBar()->setCornerWidget(new QSubWindowControls(m_workspace, menuBar()), Qt::TopRightCorner);
}

void ZIRK::createOutput()
{
    m_outputText = new QTextEdit;
    // "Lucida Console" is rare on this platform: the desktop's fixed-width font stands in.
    QFont font(QStringLiteral("Lucida Console"), 8);
    font.setFamilies({ QStringLiteral("Lucida Console"),
                       QFontDatabase::systemFont(QFontDatabase::FixedFont).family() });
    font.setStyleHint(QFont::TypeWriter);
    font.setFixedPitch(true);
    m_outputText->setFont(font);
    m_outputText->setMinimumSize(657, 305);
    m_outputText->setReadOnly(true);
    m_outputText->setTextColor(QColor(192, 192, 192, 255));
    m_outputText->document()->setUndoRedoEnabled(false);
    m_outputText->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    m_outputText->setWindowIcon(resourceIcon(QStringLiteral("application_output")));
    m_outputText->setWindowTitle(QStringLiteral("Output"));
    QPalette palette = m_outputText->palette();
    palette.setBrush(QPalette::Active, QPalette::Base, QBrush(Qt::black, Qt::SolidPattern));
    palette.setBrush(QPalette::Inactive, QPalette::Base, QBrush(Qt::black, Qt::SolidPattern));
    m_outputText->setPalette(palette);
    m_outputText->setPlainText(QStringLiteral("Tolvane Works - Zirk Workbench (%1)\tALPHA BUILD\n")
                                   .arg(QLatin1String(__DATE__)));

    m_messageCount = 0;
    m_outputWindow = m_workspace->addSubWindow(m_outputText);
    // Closing the Output only hides it; it lives as long as the main window.
    m_outputWindow->setAttribute(Qt::WA_DeleteOnClose, false);
    m_outputWindow->setWindowTitle(QStringLiteral("Output"));
    connect(m_outputWindow, &QMdiSubWindow::windowStateChanged, this, &ZIRK::resetMessageCount);
}

void ZIRK::createFileDialog()
{
    m_fileDialog = new QFileDialog(this, QString(), QString(), QString());
    m_fileDialog->setOption(QFileDialog::DontResolveSymlinks, true);
}

QMdiSubWindow *ZIRK::addWidgetToWorkspace(QWidget *widget, Qt::WindowFlags flags)
{
    if (!widget)
        return nullptr;
    const QSize wish = wishedSize(widget);
    QMdiSubWindow *window = m_workspace->addSubWindow(widget, flags);
    if (!window)
        return nullptr;
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setVisible(true);
    fitSubWindow(window, wish);
    handOverCloseKeys(window);
    return window;
}

QMdiSubWindow *ZIRK::showSubwindowShared(QWidget *widget)
{
    const QSize wish = wishedSize(widget);
    QMdiSubWindow *window = m_workspace->addSubWindow(widget);
    window->setAttribute(Qt::WA_DeleteOnClose);
    // A tool window that deletes itself takes its frame along; one that closes
    // itself (its "Exit") goes, rather than leave an empty frame behind.
    widget->setAttribute(Qt::WA_DeleteOnClose);
    connect(widget, &QObject::destroyed, window, &QWidget::close);
    widget->setVisible(true);
    fitSubWindow(window, wish);
    handOverCloseKeys(window);
    return window;
}

QSize ZIRK::wishedSize(const QWidget *widget)
{
    // A size the tool window gave itself; the workspace would replace it.
    return widget && widget->testAttribute(Qt::WA_Resized) ? widget->size() : QSize();
}

void ZIRK::handOverCloseKeys(QMdiSubWindow *window)
{
    // A tool window whose own menu closes it on the standard keys gets them: the
    // frame's menu bound to the same keys would make both ambiguous, and neither
    // would fire.
    const QList<QKeySequence> keys = QKeySequence::keyBindings(QKeySequence::Close);
    auto bindsClose = [&keys](const QAction *action) {
        for (const QKeySequence &key : action->shortcuts()) {
            if (keys.contains(key))
                return true;
        }
        return false;
    };
    const QList<QAction *> own = window->widget()->findChildren<QAction *>();
    if (!window->systemMenu() || std::none_of(own.begin(), own.end(), bindsClose))
        return;
    for (QAction *action : window->systemMenu()->actions()) {
        if (bindsClose(action))
            action->setShortcuts({});
    }
}

void ZIRK::fitSubWindow(QMdiSubWindow *window, const QSize &wish)
{
    const QWidget *inner = window->widget();
    const QSize area = m_workspace->viewport()->size();
    QSize size = window->size().expandedTo(window->sizeHint());
    if (inner && wish.isValid() && inner->sizeHint().isValid())
        size = size.expandedTo(wish + (window->sizeHint() - inner->sizeHint()));
    if (area.isValid() && !area.isEmpty())
        size = size.boundedTo(area);
    window->resize(size);
    // Keep the whole frame, its title bar and buttons in sight.
    const QPoint at(qBound(0, window->x(), qMax(0, area.width() - window->width())),
                    qBound(0, window->y(), qMax(0, area.height() - window->height())));
    window->move(at);
}

void ZIRK::logMessage(const QString &text, bool showInOutput)
{
    if (ProgramSettings_t::get()->logOutputToFile && m_logFile && m_logFile->isOpen()
        && m_logFile->isWritable() && m_logStream)
        *m_logStream << text << Qt::endl;
    if (showInOutput && m_outputText)
        m_outputText->append(text);
    if (!m_outputWindow)
        return;
    if (m_outputWindow->isMinimized() || !m_outputWindow->isVisible()) {
        ++m_messageCount;
        m_outputText->setWindowTitle(QStringLiteral("Output (%1)").arg(m_messageCount));
    }
}

void ZIRK::resetMessageCount(Qt::WindowStates, Qt::WindowStates newState)
{
    if (newState & Qt::WindowMinimized)
        return;
    m_messageCount = 0;
    m_outputText->setWindowTitle(QStringLiteral("Output"));
}

void ZIRK::msgHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    ZIRK *window = ZIRK::get();
    if (type == QtFatalMsg) {
        QMessageBox box(QMessageBox::Critical, window->windowTitle(),
                        QStringLiteral("Fatal: ") + message, QMessageBox::Ok, window);
        box.setDefaultButton(QMessageBox::NoButton);
        box.exec();
        std::abort();
    }
    QString line;
    switch (type) {
    case QtDebugMsg:
        line = QStringLiteral("Debug: ");
        break;
    case QtWarningMsg:
        line = QStringLiteral("Warning: ");
        break;
    case QtCriticalMsg:
        line = QStringLiteral("Critical: ");
        break;
    default:
        line = QStringLiteral("Unknown: ");
        break;
    }
    line += message;

    // Only the GUI thread may touch the Output; other threads' lines are queued to it.
    if (QThread::currentThread() != window->thread()) {
        QMetaObject::invokeMethod(
            window, [window, line] { window->logMessage(line, true); }, Qt::QueuedConnection);
        return;
    }
    // A message raised while a line is being shown is dropped rather than recursing.
    static bool logging = false;
    if (logging)
        return;
    logging = true;
    window->logMessage(line, true);
    logging = false;
}

void ZIRK::showOUTPUT()
{
    if (!m_outputWindow)
        return;
    if (m_outputWindow->isHidden()) {
        m_outputWindow->showMinimized();
        m_outputText->setVisible(true);
    } else if (m_outputWindow->isMinimized()) {
        m_outputWindow->showNormal();
    } else if (m_workspace->activeSubWindow() == m_outputWindow) {
        m_outputWindow->hide();
    } else {
        m_workspace->setActiveSubWindow(m_outputWindow);
    }
}

void ZIRK::registerRecentFile(const QString &path)
{
    if (!path.isEmpty())
        m_recentFiles.prepend(path);
    while (m_recentFiles.size() > 10)
        m_recentFiles.removeLast();
}

QStringList ZIRK::getRecentFileList() const
{
    return m_recentFiles;
}

void ZIRK::registerTemporaryFile(const QString &path)
{
    if (!path.isEmpty())
        m_temporaryFiles.append(path);
}

void ZIRK::configureFileDialog(QWidget *parent, const QString &title, const QString &filters,
                               const QString &directory)
{
    // The dialog dies with a parent that a tool window gave it; make a new one then.
    if (!m_fileDialog)
        createFileDialog();
    m_fileDialog->setParent(parent, Qt::Dialog);
    m_fileDialog->setWindowTitle(title);
    m_fileDialog->setNameFilters(filters.split(QStringLiteral(";;"), Qt::SkipEmptyParts));
    if (!directory.isEmpty())
        m_fileDialog->setDirectory(directory);
    clearFileDialogEntry();
}

void ZIRK::clearFileDialogEntry()
{
    // One dialog serves every task: the name typed or picked for the last one
    // must not become the answer to the next. Only the directory carries over.
    for (QAbstractItemView *view : m_fileDialog->findChildren<QAbstractItemView *>()) {
        if (view->selectionModel())
            view->clearSelection();
    }
    if (auto *edit = m_fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))) {
        if (edit->completer() && edit->completer()->popup())
            edit->completer()->popup()->hide();
        edit->clear();
    }
}

bool ZIRK::execFileDialog()
{
    const bool accepted = m_fileDialog->exec() == QDialog::Accepted;
    // A completion list left open would take the next click meant for the workspace.
    if (auto *edit = m_fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))) {
        if (edit->completer() && edit->completer()->popup())
            edit->completer()->popup()->hide();
    }
    return accepted;
}

QString ZIRK::getExistingFile()
{
    if (!m_fileDialog)
        createFileDialog();
    m_fileDialog->setFileMode(QFileDialog::ExistingFile);
    m_fileDialog->setOption(QFileDialog::ShowDirsOnly, false);
    m_fileDialog->setAcceptMode(QFileDialog::AcceptOpen);
    if (!execFileDialog() || m_fileDialog->selectedFiles().isEmpty())
        return QString();
    return m_fileDialog->selectedFiles().first();
}

QStringList ZIRK::getExistingFiles()
{
    if (!m_fileDialog)
        createFileDialog();
    m_fileDialog->setFileMode(QFileDialog::ExistingFiles);
    m_fileDialog->setOption(QFileDialog::ShowDirsOnly, false);
    m_fileDialog->setAcceptMode(QFileDialog::AcceptOpen);
    if (!execFileDialog())
        return QStringList();
    return m_fileDialog->selectedFiles();
}

QString ZIRK::getDirectory(bool write)
{
    if (!m_fileDialog)
        createFileDialog();
    m_fileDialog->setFileMode(QFileDialog::Directory);
    m_fileDialog->setOption(QFileDialog::ShowDirsOnly, true);
    m_fileDialog->setAcceptMode(write ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    if (!execFileDialog())
        return QString();
    // The folder typed or selected, when there is one; the folder on display
    // only when nothing was chosen in it.
    const QStringList chosen = m_fileDialog->selectedFiles();
    if (chosen.isEmpty() || chosen.first().isEmpty())
        return m_fileDialog->directory().absolutePath();
    return QDir::cleanPath(QDir(m_fileDialog->directory()).absoluteFilePath(chosen.first()));
}

QString ZIRK::getAnyFile()
{
    if (!m_fileDialog)
        createFileDialog();
    m_fileDialog->setFileMode(QFileDialog::AnyFile);
    m_fileDialog->setOption(QFileDialog::ShowDirsOnly, false);
    m_fileDialog->setAcceptMode(QFileDialog::AcceptSave);
    if (!execFileDialog() || m_fileDialog->selectedFiles().isEmpty())
        return QString();
    return applyFilterExtension(m_fileDialog->selectedFiles().first(),
                                m_fileDialog->selectedNameFilter());
}

QString ZIRK::applyFilterExtension(const QString &path, const QString &filter)
{
    const QString extension = UTIL_extensionForFileDialogFilter(filter);
    // No dot is looked for: "foovtf" already counts as ending in "vtf".
    if (extension.isEmpty() || path.endsWith(extension, Qt::CaseInsensitive))
        return path;
    return path + QLatin1Char('.') + extension;
}

void ZIRK::closeEvent(QCloseEvent *event)
{
    const QList<QMdiSubWindow *> windows = m_workspace->subWindowList(QMdiArea::CreationOrder);
    for (QMdiSubWindow *window : windows) {
        if (window == m_outputWindow)
            continue;
        if (!window->close()) {
            event->ignore();
            return;
        }
        window->deleteLater();
    }
    for (const QString &path : std::as_const(m_temporaryFiles))
        QFile::remove(path);
    event->accept();
}

void ZIRK::options()
{
    QMessageBox::information(this, windowTitle(),
                             QStringLiteral("Not yet implemented. See noitazilait.ini."));
}

void ZIRK::TODO()
{
    QMessageBox::information(this, windowTitle(), QStringLiteral("Not yet implemented."));
}

void ZIRK::aboutQt()
{
    QMessageBox::aboutQt(this, QStringLiteral("About Qt"));
}

void ZIRK::aboutZIRK()
{
    QMessageBox box(this);
    box.setWindowTitle(QStringLiteral("About ZIRK"));
    box.setIconPixmap(QPixmap(QStringLiteral(":/resources/icons/multi_manager_icon_48")));
    box.setText(QStringLiteral("Zirk Integrated Workbench"));
    box.setInformativeText(QStringLiteral("Version: 0.45a\nLicence: Qt GNU LGPL v. 2.1"));
    box.setStandardButtons(QMessageBox::Ok);
    box.setDefaultButton(QMessageBox::Ok);
    // Each line of the informative text stays whole: "v. 2.1" is not to break.
    if (auto *label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setWordWrap(false);
    box.exec();
}
