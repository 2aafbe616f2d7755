// VVBSP, first half: construction, files and the tree with its context menu.
#include "map/VVBSP.h"

#include "app/ZIRK.h"
#include "map/VVBSPTreeWidget.h"
#include "map/VVBSPTreeWidgetItem.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QIcon>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSplitter>

namespace {

const char *const EditorTitle = "VBSP Editor";
const char *const ListingFilter = "Detail Type Listing (*.vbsp)";

// Expanded state of an item and everything below it, in pre-order.
void collectExpanded(QTreeWidgetItem *item, QList<bool> &states)
{
    states.append(item->isExpanded());
    for (int i = 0; i < item->childCount(); ++i)
        collectExpanded(item->child(i), states);
}

void restoreExpanded(QTreeWidgetItem *item, const QList<bool> &states, qsizetype &at)
{
    item->setExpanded(states.value(at++));
    for (int i = 0; i < item->childCount(); ++i)
        restoreExpanded(item->child(i), states, at);
}

} // namespace

VVBSP::VVBSP(QWidget *parent)
    : QMainWindow(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("VBSP Editor[*]"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/icon_vbsp.png")));
    createActions();
    createMenus();
    createWidgets();
    updateShapeSupportAction();
    updateFileActions();
    updateOptions();
}

VVBSP::VVBSP(const QString &path, QWidget *parent)
    : VVBSP(parent)
{
    fileOpenShared(path);
}

VVBSP::VVBSP(CFileVBSP *file, QWidget *parent)
    : VVBSP(parent)
{
    if (file)
        fileOpenShared(file);
}

VVBSP::~VVBSP()
{
    delete vbsp;
}

void VVBSP::createActions()
{
    auto make = [this](const QString &text, const char *icon) {
        auto *action = new QAction(text, this);
        if (icon)
            action->setIcon(QIcon(QStringLiteral(":/resources/icons/%1.png").arg(icon)));
        return action;
    };
    actionNew = make(QStringLiteral("New"), "page_white_add");
    actionOpen = make(QStringLiteral("Open..."), "folder_explore");
    actionSave = make(QStringLiteral("Save"), "disk");
    actionSaveAs = make(QStringLiteral("Save As..."), "page_white_disk");
    actionSaveCopyAs = make(QStringLiteral("Save Copy As..."), "page_white_disk_add");
    actionClose = make(QStringLiteral("Close"), "cross");
    actionOpen->setShortcuts(QKeySequence::Open);
    actionSave->setShortcuts(QKeySequence::Save);
    actionSaveAs->setShortcuts(QKeySequence::SaveAs);
    actionClose->setShortcuts(QKeySequence::Close);
    actionShapeSupport = make(QStringLiteral("Detail Shape Support"), nullptr);
    actionShapeSupport->setCheckable(true);
    actionShapeSupport->setChecked(true);
    actionTextureDimension = make(QStringLiteral("Set Texture Dimension..."), nullptr);
    actionAddType = make(QStringLiteral("Add Type"), "add");
    actionAddGroup = make(QStringLiteral("Add Group"), "add");
    actionAddProp = make(QStringLiteral("Add Prop"), "add");
    actionCopy = make(QStringLiteral("Copy"), "page_copy");
    actionPaste = make(QStringLiteral("Paste"), "page_paste");
    actionDelete = make(QStringLiteral("Delete"), "cross");

    connect(actionNew, &QAction::triggered, this, &VVBSP::fileNew);
    connect(actionOpen, &QAction::triggered, this, &VVBSP::fileOpen);
    connect(actionSave, &QAction::triggered, this, &VVBSP::fileSave);
    connect(actionSaveAs, &QAction::triggered, this, &VVBSP::fileSaveAs);
    connect(actionSaveCopyAs, &QAction::triggered, this, &VVBSP::fileSaveCopyAs);
    connect(actionClose, &QAction::triggered, this, &QWidget::close);
    connect(actionShapeSupport, &QAction::toggled, this, &VVBSP::toggleDetailShapeSupport);
    connect(actionTextureDimension, &QAction::triggered, this, &VVBSP::setTextureDimension);
    connect(actionAddType, &QAction::triggered, this, &VVBSP::contextAddType);
    connect(actionAddGroup, &QAction::triggered, this, &VVBSP::contextAddGroup);
    connect(actionAddProp, &QAction::triggered, this, &VVBSP::contextAddProp);
    connect(actionCopy, &QAction::triggered, this, &VVBSP::contextCopy);
    connect(actionPaste, &QAction::triggered, this, &VVBSP::contextPaste);
    connect(actionDelete, &QAction::triggered, this, &VVBSP::contextDelete);
}

void VVBSP::createMenus()
{
    fileMenu = menuBar()->addMenu(QStringLiteral("File"));
    fileMenu->addAction(actionNew);
    fileMenu->addAction(actionOpen);
    fileMenu->addSeparator();
    fileMenu->addAction(actionSave);
    fileMenu->addAction(actionSaveAs);
    fileMenu->addAction(actionSaveCopyAs);
    fileMenu->addSeparator();
    fileMenu->addAction(actionClose);

    optionsMenu = menuBar()->addMenu(QStringLiteral("Options"));
    optionsMenu->addAction(actionShapeSupport);
    optionsMenu->addAction(actionTextureDimension);

    contextMenu = new QMenu(this);
    contextMenu->setObjectName(QStringLiteral("contextMenu"));
    contextMenu->addAction(actionAddType);
    contextMenu->addAction(actionAddGroup);
    contextMenu->addAction(actionAddProp);
    contextMenu->addSeparator();
    contextMenu->addAction(actionCopy);
    contextMenu->addAction(actionPaste);
    contextMenu->addSeparator();
    contextMenu->addAction(actionDelete);
}

void VVBSP::createWidgets()
{
    tree = new VVBSPTreeWidget;
    tree->setObjectName(QStringLiteral("tree"));
    tree->setColumnCount(1);
    tree->header()->hide();
    tree->setContextMenuPolicy(Qt::CustomContextMenu);
    tree->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    connect(tree, &QTreeWidget::currentItemChanged, this, &VVBSP::treeCurrentItemChanged);
    connect(tree, &QTreeWidget::itemChanged, this, &VVBSP::treeItemChanged);
    connect(tree, &QWidget::customContextMenuRequested, this, &VVBSP::treeContextMenuRequested);
    connect(tree, &VVBSPTreeWidget::keyUpPressed, this, &VVBSP::moveItemUp);
    connect(tree, &VVBSPTreeWidget::keyDownPressed, this, &VVBSP::moveItemDown);

    // The options scroll up and down only: the area is never narrower than its fields need.
    auto *scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QWidget *panel = createOptionsPanel();
    scroll->setWidget(panel);
    scroll->setMinimumWidth(panel->minimumSizeHint().width()
                            + scroll->verticalScrollBar()->sizeHint().width()
                            + 2 * scroll->frameWidth());

    auto *splitter = new QSplitter(Qt::Horizontal);
    splitter->addWidget(tree);
    splitter->addWidget(scroll);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    setCentralWidget(splitter);
    // Fits the workspace of the smallest main window.
    resize(760, 460);
}

void VVBSP::warn(const QString &text)
{
    QMessageBox::warning(this, QString::fromLatin1(EditorTitle), text);
}

void VVBSP::setModified()
{
    setWindowModified(true);
}

bool VVBSP::fileOpenShared(const QString &path)
{
    CFileVBSP *file = CFileVBSP::readFile(path.toStdString());
    if (!file) {
        warn(QStringLiteral("Unable to read \"%1\"").arg(path));
        return false;
    }
    fileOpenShared(file);
    ZIRK::get()->registerRecentFile(path);
    return true;
}

void VVBSP::fileOpenShared(CFileVBSP *file)
{
    if (!file || file == vbsp)
        return;
    delete vbsp;
    vbsp = file;
    curDetailtype = nullptr;
    curDetailgroup = nullptr;
    curDetailprop = nullptr;
    // The sheet size of the first prop stands for the file.
    textureDimension = -1;
    for (const CFileVBSP::detailtype *type : vbsp->detailtypes) {
        for (const CFileVBSP::detailgroup *group : type->detailgroups) {
            if (!group->detailprops.empty() && textureDimension < 0)
                textureDimension = group->detailprops.front()->textureDimension;
        }
    }
    {
        const QSignalBlocker blocker(actionShapeSupport);
        actionShapeSupport->setChecked(vbsp->detailShapeSupport);
    }
    updateShapeSupportAction();
    updateFileActions();
    rebuildTree();
    setWindowModified(false);
}

void VVBSP::updateFileActions()
{
    for (QAction *action : { actionSave, actionSaveAs, actionSaveCopyAs })
        action->setEnabled(vbsp != nullptr);
}

void VVBSP::ensureFile()
{
    if (!vbsp)
        fileOpenShared(new CFileVBSP);
}

void VVBSP::fileNew()
{
    if (vbsp) {
        ZIRK::get()->showVVBSP(new CFileVBSP);
        return;
    }
    fileOpenShared(new CFileVBSP);
}

void VVBSP::fileOpen()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Open VBSP"), QString::fromLatin1(ListingFilter),
                              QString());
    const QString path = zirk->getExistingFile();
    if (path.isEmpty())
        return;
    if (vbsp) {
        zirk->showVVBSP(path);
        return;
    }
    fileOpenShared(path);
}

bool VVBSP::fileSaveShared(const QString &path, bool copy)
{
    if (!vbsp)
        return false;
    if (!vbsp->writeFile(path.toStdString())) {
        warn(QStringLiteral("Unable to write \"%1\"").arg(path));
        return false;
    }
    if (!copy) {
        vbsp->path = path.toStdString();
        setWindowModified(false);
    }
    ZIRK::get()->registerRecentFile(path);
    return true;
}

void VVBSP::fileSave()
{
    if (!vbsp)
        return;
    if (vbsp->path.empty()) {
        fileSaveAs();
        return;
    }
    fileSaveShared(QString::fromStdString(vbsp->path), false);
}

void VVBSP::fileSaveAs()
{
    if (!vbsp)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save VBSP As..."),
                              QString::fromLatin1(ListingFilter), QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        fileSaveShared(path, false);
}

void VVBSP::fileSaveCopyAs()
{
    if (!vbsp)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save VBSP Copy As..."),
                              QString::fromLatin1(ListingFilter), QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        fileSaveShared(path, true);
}

void VVBSP::closeEvent(QCloseEvent *event)
{
    if (!isWindowModified()) {
        event->accept();
        return;
    }
    QMessageBox box(QMessageBox::Warning, QString::fromLatin1(EditorTitle),
                    QStringLiteral("The file has been modified."),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(QStringLiteral("Do you want to save your changes?"));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        fileSave();
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

void VVBSP::toggleDetailShapeSupport(bool on)
{
    updateShapeSupportAction();
    if (!vbsp || vbsp->detailShapeSupport == on)
        return;
    vbsp->detailShapeSupport = on;
    setModified();
    updateSpriteFormEnabled();
}

void VVBSP::updateShapeSupportAction()
{
    actionShapeSupport->setIcon(QIcon(actionShapeSupport->isChecked()
                                          ? QStringLiteral(":/resources/icons/tick.png")
                                          : QStringLiteral(":/resources/icons/cross.png")));
}

void VVBSP::setTextureDimension()
{
    bool ok = false;
    const int value
        = QInputDialog::getInt(this, QStringLiteral("Set Texture Size"),
                               QStringLiteral("Detail Sheet X-Coordinate Resolution:"),
                               textureDimension > 0 ? textureDimension : 1024, 1, 4096, 1, &ok);
    if (!ok)
        return;
    if ((value & (value - 1)) != 0) {
        warn(QStringLiteral("Invalid size. Must be a power of two between 1 and 4096."));
        return;
    }
    textureDimension = value;
    setModified();
}

// The tree.

void VVBSP::rebuildTree()
{
    const QSignalBlocker blocker(tree);
    tree->clear();
    if (vbsp) {
        for (CFileVBSP::detailtype *type : vbsp->detailtypes)
            addTypeToTree(type);
    }
    tree->expandAll();
    curDetailtype = nullptr;
    curDetailgroup = nullptr;
    curDetailprop = nullptr;
    updateOptions();
}

VVBSPTreeWidgetItem *VVBSP::addTypeToTree(CFileVBSP::detailtype *type)
{
    const QSignalBlocker blocker(tree);
    auto *item = new VVBSPTreeWidgetItem(type);
    tree->addTopLevelItem(item);
    for (CFileVBSP::detailgroup *group : type->detailgroups)
        addGroupToTree(item, group);
    return item;
}

VVBSPTreeWidgetItem *VVBSP::addGroupToTree(QTreeWidgetItem *parent, CFileVBSP::detailgroup *group)
{
    const QSignalBlocker blocker(tree);
    auto *item = new VVBSPTreeWidgetItem(group);
    parent->addChild(item);
    for (CFileVBSP::detailprop *prop : group->detailprops)
        addPropToTree(item, prop);
    return item;
}

VVBSPTreeWidgetItem *VVBSP::addPropToTree(QTreeWidgetItem *parent, CFileVBSP::detailprop *prop)
{
    const QSignalBlocker blocker(tree);
    auto *item = new VVBSPTreeWidgetItem(prop);
    parent->addChild(item);
    return item;
}

VVBSPTreeWidgetItem *VVBSP::currentTreeItem() const
{
    return static_cast<VVBSPTreeWidgetItem *>(tree->currentItem());
}

void VVBSP::treeCurrentItemChanged(QTreeWidgetItem *current)
{
    curDetailtype = nullptr;
    curDetailgroup = nullptr;
    curDetailprop = nullptr;
    // The item and its ancestors are all in focus, so that a prop shows its group and type.
    for (auto *item = static_cast<VVBSPTreeWidgetItem *>(current); item;
         item = static_cast<VVBSPTreeWidgetItem *>(item->parent())) {
        if (item->detailtype)
            curDetailtype = item->detailtype;
        if (item->detailgroup)
            curDetailgroup = item->detailgroup;
        if (item->detailprop)
            curDetailprop = item->detailprop;
    }
    updateOptions();
}

void VVBSP::treeItemChanged(QTreeWidgetItem *changed, int)
{
    auto *item = static_cast<VVBSPTreeWidgetItem *>(changed);
    const std::string name = item->text(0).toStdString();
    const std::string old = item->objectName();
    if (name == old)
        return;
    // A nameless block could not be read back: keep the old name.
    if (name.find_first_not_of(" \t") == std::string::npos) {
        const QSignalBlocker blocker(tree);
        item->setText(0, QString::fromStdString(old));
        return;
    }
    item->setObjectName(name);
    setModified();
}

VVBSP::Kind VVBSP::pasteKind() const
{
    // The deepest copy that fits the item in focus, else a type at the top.
    if (curDetailprop || curDetailgroup) {
        if (copiedDetailprop)
            return Kind::Prop;
    } else if (curDetailtype && copiedDetailgroup) {
        return Kind::Group;
    }
    return copiedDetailtype ? Kind::Type : Kind::None;
}

void VVBSP::treeContextMenuRequested(const QPoint &pos)
{
    // A click beside the items leaves no focus, so that types can be added at the top.
    if (!tree->itemAt(pos))
        tree->setCurrentItem(nullptr);
    actionAddGroup->setEnabled(curDetailtype != nullptr);
    actionAddProp->setEnabled(curDetailgroup != nullptr);
    actionCopy->setEnabled(currentTreeItem() != nullptr);
    actionDelete->setEnabled(currentTreeItem() != nullptr);
    actionPaste->setEnabled(pasteKind() != Kind::None);
    contextMenu->popup(tree->viewport()->mapToGlobal(pos));
}

QString VVBSP::askName(const QString &title, const QString &label)
{
    bool ok = false;
    const QString name
        = QInputDialog::getText(this, title, label, QLineEdit::Normal, QString(), &ok);
    return ok ? name.trimmed() : QString();
}

void VVBSP::contextAddType()
{
    const QString name = askName(QStringLiteral("Add Type"), QStringLiteral("Type name:"));
    if (name.isEmpty())
        return;
    ensureFile();
    CFileVBSP::detailtype *type = vbsp->addDetailtype(name.toStdString());
    if (!type)
        return;
    tree->setCurrentItem(addTypeToTree(type));
    setModified();
}

void VVBSP::contextAddGroup()
{
    if (!curDetailtype)
        return;
    const QString name = askName(QStringLiteral("Add Group"), QStringLiteral("Group name:"));
    if (name.isEmpty())
        return;
    CFileVBSP::detailgroup *group = curDetailtype->addDetailgroup(name.toStdString());
    if (!group)
        return;
    QTreeWidgetItem *parent = tree->topLevelItem(vbsp->getDetailtypeIndex(curDetailtype));
    QTreeWidgetItem *item = addGroupToTree(parent, group);
    parent->setExpanded(true);
    tree->setCurrentItem(item);
    setModified();
}

void VVBSP::contextAddProp()
{
    if (!curDetailtype || !curDetailgroup)
        return;
    const QString name = askName(QStringLiteral("Add Prop"), QStringLiteral("Prop name:"));
    if (name.isEmpty())
        return;
    CFileVBSP::detailprop *prop = curDetailgroup->addDetailprop(name.toStdString());
    if (!prop)
        return;
    QTreeWidgetItem *typeItem = tree->topLevelItem(vbsp->getDetailtypeIndex(curDetailtype));
    QTreeWidgetItem *parent = typeItem->child(curDetailtype->getDetailgroupIndex(curDetailgroup));
    QTreeWidgetItem *item = addPropToTree(parent, prop);
    parent->setExpanded(true);
    tree->setCurrentItem(item);
    setModified();
}

void VVBSP::contextCopy()
{
    VVBSPTreeWidgetItem *item = currentTreeItem();
    if (!item)
        return;
    if (item->detailtype)
        copiedDetailtype = std::make_unique<CFileVBSP::detailtype>(*item->detailtype);
    else if (item->detailgroup)
        copiedDetailgroup = std::make_unique<CFileVBSP::detailgroup>(*item->detailgroup);
    else if (item->detailprop)
        copiedDetailprop = std::make_unique<CFileVBSP::detailprop>(*item->detailprop);
}

void VVBSP::contextPaste()
{
    // The clipboard keeps its copy, so that one object can be pasted many times.
    switch (pasteKind()) {
    case Kind::Type: {
        ensureFile();
        auto copy = std::make_unique<CFileVBSP::detailtype>(*copiedDetailtype);
        CFileVBSP::detailtype *type = vbsp->addDetailtype(copy.release());
        VVBSPTreeWidgetItem *item = addTypeToTree(type);
        item->setExpanded(true);
        tree->setCurrentItem(item);
        break;
    }
    case Kind::Group: {
        auto copy = std::make_unique<CFileVBSP::detailgroup>(*copiedDetailgroup);
        CFileVBSP::detailgroup *group = curDetailtype->addDetailgroup(copy.release());
        QTreeWidgetItem *parent = tree->topLevelItem(vbsp->getDetailtypeIndex(curDetailtype));
        VVBSPTreeWidgetItem *item = addGroupToTree(parent, group);
        parent->setExpanded(true);
        item->setExpanded(true);
        tree->setCurrentItem(item);
        break;
    }
    case Kind::Prop: {
        auto copy = std::make_unique<CFileVBSP::detailprop>(*copiedDetailprop);
        CFileVBSP::detailprop *prop = curDetailgroup->addDetailprop(copy.release());
        QTreeWidgetItem *typeItem = tree->topLevelItem(vbsp->getDetailtypeIndex(curDetailtype));
        QTreeWidgetItem *parent
            = typeItem->child(curDetailtype->getDetailgroupIndex(curDetailgroup));
        QTreeWidgetItem *item = addPropToTree(parent, prop);
        parent->setExpanded(true);
        tree->setCurrentItem(item);
        break;
    }
    case Kind::None:
        return;
    }
    setModified();
}

void VVBSP::contextDelete()
{
    VVBSPTreeWidgetItem *item = currentTreeItem();
    if (!item || !vbsp)
        return;
    // Out of the tree first, so that the focus never rests on a deleted object.
    QTreeWidgetItem *parent = item->parent();
    {
        const QSignalBlocker blocker(tree);
        if (parent)
            parent->removeChild(item);
        else
            tree->takeTopLevelItem(tree->indexOfTopLevelItem(item));
    }
    if (item->detailtype) {
        vbsp->removeDetailtype(item->detailtype, true);
    } else if (item->detailgroup) {
        static_cast<VVBSPTreeWidgetItem *>(parent)->detailtype->removeDetailgroup(item->detailgroup,
                                                                                  true);
    } else if (item->detailprop) {
        static_cast<VVBSPTreeWidgetItem *>(parent)->detailgroup->removeDetailprop(item->detailprop,
                                                                                  true);
    }
    delete item;
    treeCurrentItemChanged(tree->currentItem());
    setModified();
}

void VVBSP::moveItemUp()
{
    moveItem(-1);
}

void VVBSP::moveItemDown()
{
    moveItem(1);
}

void VVBSP::moveItem(int step)
{
    VVBSPTreeWidgetItem *item = currentTreeItem();
    if (!item || !vbsp)
        return;
    QTreeWidgetItem *parent = item->parent();
    const int index = parent ? parent->indexOfChild(item) : tree->indexOfTopLevelItem(item);
    const int count = parent ? parent->childCount() : tree->topLevelItemCount();
    const int other = index + step;
    if (index < 0 || other < 0 || other >= count)
        return;
    if (item->detailtype)
        vbsp->swapDetailtypeIndices(unsigned(index), unsigned(other));
    else if (item->detailgroup)
        static_cast<VVBSPTreeWidgetItem *>(parent)->detailtype->swapDetailgroupIndices(
            unsigned(index), unsigned(other));
    else
        static_cast<VVBSPTreeWidgetItem *>(parent)->detailgroup->swapDetailpropIndices(
            unsigned(index), unsigned(other));

    QList<bool> expanded;
    collectExpanded(item, expanded);
    {
        const QSignalBlocker blocker(tree);
        if (parent) {
            parent->takeChild(index);
            parent->insertChild(other, item);
        } else {
            tree->takeTopLevelItem(index);
            tree->insertTopLevelItem(other, item);
        }
        qsizetype at = 0;
        restoreExpanded(item, expanded, at);
        tree->setCurrentItem(item);
    }
    setModified();
}
