#include "materials/VVMT.h"

#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "materials/VMTText.h"
#include "materials/VVMTTabWidget.h"
#include "util/UtilPath.h"

#include <QAction>
#include <QCloseEvent>
#include <QFile>
#include <QIcon>
#include <QKeySequence>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QSaveFile>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QTextEdit>
#include <QTextStream>
#include <QToolBar>

#include <cstring>

namespace {

const char *const EditorTitle = "VMT Editor";
const char *const MaterialFilter = "Valve Material Type (*.vmt)";

// The part of a path behind its last slash or backslash.
QString fileNameOf(const QString &path)
{
    const qsizetype cut
        = qMax(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
    return path.mid(cut + 1);
}

void fillList(QListWidget *list, const QStringList *names, const QStringList *tips)
{
    for (qsizetype i = 0; i < names->size(); ++i) {
        auto *item = new QListWidgetItem(names->at(i), list);
        item->setToolTip(tips->value(i));
    }
}

} // namespace

const char *VVMT::addShader(QString &text, const QString &shader)
{
    return VMTText::addShader(text, shader);
}

const char *VVMT::addParameter(QString &text, const QString &key, const QString &value)
{
    return VMTText::addParameter(text, key, value);
}

const char *VVMT::addProxy(QString &text, const QString &name, const QStringList &keys,
                           const QStringList *values)
{
    return VMTText::addProxy(text, name, keys, values);
}

void VVMT::removeProxy(QString &text, const QString &name, const QStringList *, const QStringList *)
{
    VMTText::removeProxy(text, name);
}

VVMT::VVMT(QWidget *parent)
    : QMainWindow(parent)
{
    createWidgets();
    createActions();
    createMenus();
    createToolBar();
    createLayout();
    setWindowTitle(QStringLiteral("VMT Editor[*]"));
    connect(textEdit, &QTextEdit::textChanged, this, &VVMT::vmtModified);
}

VVMT::VVMT(const QString &path, QWidget *parent)
    : VVMT(parent)
{
    vmtOpen(path);
}

VVMT::VVMT(const QByteArray &data, const QString &name, QWidget *parent)
    : VVMT(parent)
{
    const char *nul = static_cast<const char *>(std::memchr(data.constData(), '\0', data.size()));
    const qsizetype length = nul ? nul - data.constData() : data.size();
    textEdit->setText(QString::fromLatin1(data.constData(), length));
    setWindowModified(false);
    setWindowTitle(UTIL_fileBaseName(name) + QStringLiteral("[*]"));
}

VVMT::~VVMT() = default;

void VVMT::createWidgets()
{
    ProgramSettings_t *settings = ProgramSettings_t::get();
    shaderList = new QListWidget;
    shaderList->setObjectName(QStringLiteral("shaderList"));
    fillList(shaderList, settings->shaderNames, settings->shaderValues);
    parameterList = new QListWidget;
    parameterList->setObjectName(QStringLiteral("parameterList"));
    fillList(parameterList, settings->parameterNames, settings->parameterValues);
    proxyList = new QListWidget;
    proxyList->setObjectName(QStringLiteral("proxyList"));
    fillList(proxyList, settings->proxyNames, settings->proxyBodies);

    tabs = new VVMTTabWidget;
    tabs->setObjectName(QStringLiteral("vocabularyTabs"));
    tabs->setTabPosition(QTabWidget::West);
    tabs->setTabsClosable(false);
    tabs->addTab(shaderList, QStringLiteral("Shaders"));
    tabs->addTab(parameterList, QStringLiteral("Parameters"));
    tabs->addTab(proxyList, QStringLiteral("Proxies"));

    textEdit = new QTextEdit;
    textEdit->setObjectName(QStringLiteral("textEdit"));
    textEdit->setTabStopDistance(32);
    textEdit->setLineWrapMode(QTextEdit::NoWrap);
    textEdit->setMinimumWidth(400);
    // Pasted formatting would be lost on save anyway.
    textEdit->setAcceptRichText(false);

    connect(shaderList, &QListWidget::clicked, this,
            qOverload<const QModelIndex &>(&VVMT::addShader));
    connect(parameterList, &QListWidget::clicked, this,
            qOverload<const QModelIndex &>(&VVMT::addParameter));
    connect(proxyList, &QListWidget::clicked, this,
            qOverload<const QModelIndex &>(&VVMT::addProxy));
    // Return on an entry does what a click does, for those who keep to the keyboard.
    const std::pair<QListWidget *, void (VVMT::*)(const QModelIndex &)> lists[] = {
        { shaderList, &VVMT::addShader },
        { parameterList, &VVMT::addParameter },
        { proxyList, &VVMT::addProxy },
    };
    for (const auto &[list, slot] : lists) {
        for (int key : { int(Qt::Key_Return), int(Qt::Key_Enter) }) {
            auto *shortcut
                = new QShortcut(QKeySequence(key), list, nullptr, nullptr, Qt::WidgetShortcut);
            connect(shortcut, &QShortcut::activated, this,
                    [this, list = list, slot = slot] { (this->*slot)(list->currentIndex()); });
        }
    }
}

QAction *VVMT::makeAction(const QString &text, const QString &icon, const char *name)
{
    auto *action = new QAction(QIcon(QStringLiteral(":/resources/icons/") + icon), text, this);
    action->setObjectName(QLatin1String(name));
    return action;
}

void VVMT::createActions()
{
    newAction = makeAction(QStringLiteral("New"), QStringLiteral("page_white_add"), "vmtNew");
    openAction = makeAction(QStringLiteral("Open..."), QStringLiteral("folder_explore"), "vmtOpen");
    saveAction = makeAction(QStringLiteral("Save"), QStringLiteral("disk"), "vmtSave");
    saveAsAction
        = makeAction(QStringLiteral("Save As..."), QStringLiteral("page_white_disk"), "vmtSaveAs");
    exitAction = makeAction(QStringLiteral("Exit"), QStringLiteral("cross"), "vmtExit");
    undoAction = makeAction(QStringLiteral("Undo"), QStringLiteral("arrow_undo"), "vmtUndo");
    redoAction = makeAction(QStringLiteral("Redo"), QStringLiteral("arrow_redo"), "vmtRedo");
    cutAction = makeAction(QStringLiteral("Cut"), QStringLiteral("cut"), "vmtCut");
    copyAction = makeAction(QStringLiteral("Copy"), QStringLiteral("page_copy"), "vmtCopy");
    pasteAction = makeAction(QStringLiteral("Paste"), QStringLiteral("page_paste"), "vmtPaste");
    selectAllAction = makeAction(QStringLiteral("Select All"), QStringLiteral("page_white_get"),
                                 "vmtSelectAll");

    connect(newAction, &QAction::triggered, this, &VVMT::vmtNew);
    connect(openAction, &QAction::triggered, this, qOverload<>(&VVMT::vmtOpen));
    connect(saveAction, &QAction::triggered, this, &VVMT::vmtSave);
    connect(saveAsAction, &QAction::triggered, this, &VVMT::vmtSaveAs);
    connect(exitAction, &QAction::triggered, this, &VVMT::close);
    connect(undoAction, &QAction::triggered, textEdit, &QTextEdit::undo);
    connect(redoAction, &QAction::triggered, textEdit, &QTextEdit::redo);
    connect(cutAction, &QAction::triggered, textEdit, &QTextEdit::cut);
    connect(copyAction, &QAction::triggered, textEdit, &QTextEdit::copy);
    connect(pasteAction, &QAction::triggered, textEdit, &QTextEdit::paste);
    connect(selectAllAction, &QAction::triggered, textEdit, &QTextEdit::selectAll);
}

void VVMT::createMenus()
{
    fileMenu = menuBar()->addMenu(QStringLiteral("File"));
    fileMenu->addActions({ newAction, openAction, saveAction, saveAsAction });
    fileMenu->addSeparator();
    fileMenu->addAction(exitAction);
    editMenu = menuBar()->addMenu(QStringLiteral("Edit"));
    editMenu->addActions({ undoAction, redoAction });
    editMenu->addSeparator();
    editMenu->addActions({ cutAction, copyAction, pasteAction });
    editMenu->addSeparator();
    editMenu->addAction(selectAllAction);
}

void VVMT::createToolBar()
{
    toolBar = addToolBar(QStringLiteral("File"));
    toolBar->setObjectName(QStringLiteral("vmtToolBar"));
    toolBar->setMovable(false);
    toolBar->addActions({ newAction, openAction, saveAction, saveAsAction });
    toolBar->addSeparator();
    toolBar->addActions({ undoAction, redoAction, cutAction, copyAction, pasteAction });
}

void VVMT::createLayout()
{
    // Wide enough for the longest entry, so that no list needs a horizontal scroll bar.
    for (QListWidget *list : { shaderList, parameterList, proxyList }) {
        list->setMinimumWidth(list->sizeHintForColumn(0) + 2 * list->frameWidth()
                              + list->verticalScrollBar()->sizeHint().width());
    }
    tabs->adjustSize();
    tabs->setFixedWidth(qMax(tabs->width(), tabs->minimumSizeHint().width()));
    splitter = new QSplitter(Qt::Horizontal);
    splitter->addWidget(tabs);
    splitter->addWidget(textEdit);
    splitter->setCollapsible(0, true);
    splitter->setCollapsible(1, false);
    splitter->setMinimumHeight(tabs->getTabBarArea().height());
    setCentralWidget(splitter);
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/vvmt")));
    setAttribute(Qt::WA_DeleteOnClose);
    adjustSize();
    setMinimumSize(size());
}

template<typename Routine> void VVMT::editText(Routine routine)
{
    // The warning is not shown here: the user sees whether the text changed.
    QString text = textEdit->toPlainText();
    routine(text);
    textEdit->setPlainText(text);
}

void VVMT::addShader(const QModelIndex &index)
{
    const QStringList *names = ProgramSettings_t::get()->shaderNames;
    if (!index.isValid() || index.row() >= names->size())
        return;
    const QString shader = names->at(index.row());
    editText([&shader](QString &text) { VVMT::addShader(text, shader); });
}

void VVMT::addParameter(const QModelIndex &index)
{
    const QStringList *names = ProgramSettings_t::get()->parameterNames;
    if (!index.isValid() || index.row() >= names->size())
        return;
    const QString key = names->at(index.row());
    editText([&key](QString &text) { VVMT::addParameter(text, key, QString()); });
}

void VVMT::addProxy(const QModelIndex &index)
{
    ProgramSettings_t *settings = ProgramSettings_t::get();
    if (!index.isValid() || index.row() >= settings->proxyNames->size())
        return;
    const QString name = settings->proxyNames->at(index.row());
    const QStringList keys
        = settings->proxyExtras->value(index.row()).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    editText([&](QString &text) { VVMT::addProxy(text, name, keys, nullptr); });
}

void VVMT::vmtNew()
{
    ZIRK::get()->showVVMT();
}

void VVMT::vmtOpen()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Open VMT"), QString::fromLatin1(MaterialFilter),
                              QString());
    vmtOpen(zirk->getExistingFile());
}

void VVMT::vmtOpen(const QString &path)
{
    if (path.isEmpty())
        return;
    // A window that holds a document keeps it; the file gets a window of its own.
    if (filePath.isEmpty() && textEdit->document()->isEmpty()) {
        filePath = path;
        vmtLoad(path);
        return;
    }
    ZIRK::get()->showVVMT(path);
}

void VVMT::vmtLoad(const QString &path)
{
    fileName = fileNameOf(path);
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        QMessageBox::warning(this, windowTitle(), file.errorString(), QMessageBox::Ok);
        return;
    }
    QTextStream stream(&file);
    textEdit->setPlainText(stream.readAll());
    file.close();
    setWindowTitle(fileName + QStringLiteral("[*]"));
    setWindowModified(false);
}

void VVMT::vmtSave()
{
    if (filePath.isEmpty())
        vmtSaveAs();
    else
        vmtSaveShared();
}

void VVMT::vmtSaveAs()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save VMT"), QString::fromLatin1(MaterialFilter),
                              QString());
    // Stored before it is looked at: a cancelled dialog leaves the window without a path.
    filePath = zirk->getAnyFile();
    if (filePath.isEmpty())
        return;
    fileName = fileNameOf(filePath);
    setWindowTitle(fileName + QStringLiteral("[*]"));
    setWindowModified(false);
    vmtSaveShared();
}

void VVMT::vmtSaveShared()
{
    // Deliberately other-read and other-write alone: on an existing file this takes the
    // owner's rights away, and the write below then fails for anyone but the superuser.
    const QFile::Permissions permissions = QFile::ReadOther | QFile::WriteOther;
    const bool existed = QFile::exists(filePath);
    QFile::setPermissions(filePath, permissions);
    QSaveFile file(filePath);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        QTextStream stream(&file);
        stream << textEdit->toPlainText();
        stream.flush();
        file.commit();
        // The replacement gets the rights of the file it replaces as the superuser sees them;
        // the file keeps the ones given above.
        if (existed)
            QFile::setPermissions(filePath, permissions);
    }
    // A failed save is silent, and the document counts as saved all the same.
    setWindowModified(false);
}

void VVMT::vmtModified()
{
    setWindowModified(true);
}

void VVMT::closeEvent(QCloseEvent *event)
{
    if (!isWindowModified()) {
        event->accept();
        return;
    }
    QMessageBox box(QMessageBox::Warning,
                    fileName.isEmpty() ? QString::fromLatin1(EditorTitle) : fileName,
                    QStringLiteral("The document has been modified."),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(QStringLiteral("Do you want to save your changes?"));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        vmtSave();
        // A cancelled Save As keeps the window, so that the text is not lost.
        if (isWindowModified()) {
            event->ignore();
            return;
        }
        break;
    case QMessageBox::Discard:
        break;
    default:
        event->ignore();
        return;
    }
    event->accept();
}
