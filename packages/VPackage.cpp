#include "packages/VPackage.h"

#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "packages/CDelegateBSP.h"
#include "packages/CDelegateGCF.h"
#include "packages/CDelegateNCF.h"
#include "packages/CDelegateVPK.h"
#include "packages/CPackageHierarchyNode.h"
#include "packages/QDelayedMimeData.h"
#include "packages/VPackageExtractor.h"
#include "packages/VPackagePropertiesDialog.h"
#include "packages/VPackageTableWidget.h"
#include "packages/VPackageTableWidgetItem.h"
#include "packages/VPackageTreeWidgetItem.h"
#include "util/QIconProvider.h"
#include "util/QProgressDialogger.h"
#include "util/QSearchDialog.h"
#include "util/UtilPath.h"
#include "util/UtilWidgets.h"

#include <QAction>
#include <QBuffer>
#include <QDir>
#include <QDrag>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QRegExp>
#include <QSet>
#include <QSplitter>
#include <QTemporaryDir>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QtDebug>

#include <cstdlib>
#include <memory>

// The texture reader lives in another part of the program; the viewer takes
// it in when it is part of the build.
#if __has_include("textures/CFileVTF.h")
#include "textures/CFileVTF.h"
#define ZIRK_VIEWER_HAS_VTF 1
#endif

namespace {

const char *const UriListFormat = "text/uri-list";

} // namespace

VPackage::VPackage(const QString &fileToOpen, QWidget *parent)
    : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Package Viewer"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/package_magnify")));

    toolBar = new QToolBar(QStringLiteral("Toolbar"), this);
    actionOpen = toolBar->addAction(QIcon(QStringLiteral(":/resources/icons/folder_explore")),
                                    QStringLiteral("Open..."));
    toolBar->addSeparator();
    actionBack = toolBar->addAction(QIcon(QStringLiteral(":/resources/icons/arrow_left")),
                                    QStringLiteral("Back"));
    actionForward = toolBar->addAction(QIcon(QStringLiteral(":/resources/icons/arrow_right")),
                                       QStringLiteral("Forward"));
    actionUp = toolBar->addAction(QIcon(QStringLiteral(":/resources/icons/arrow_up")),
                                  QStringLiteral("Up"));
    toolBar->addSeparator();
    actionSearch = toolBar->addAction(QIcon(QStringLiteral(":/resources/icons/magnifier")),
                                      QStringLiteral("Search"));

    actionOpen->setShortcuts(QKeySequence::Open);
    actionBack->setShortcuts(QKeySequence::Back);
    actionForward->setShortcuts(QKeySequence::Forward);
    actionSearch->setShortcuts(QKeySequence::Find);

    auto *pathLabel = new QLabel(QStringLiteral("Path:"), this);
    pathLine = new QLineEdit(this);
    pathLine->setReadOnly(true);
    pathLine->setObjectName(QStringLiteral("pathLine"));

    tree = new QTreeWidget(this);
    tree->setObjectName(QStringLiteral("packageTree"));
    tree->setColumnCount(1);
    tree->setHeaderHidden(true);
    tree->setMinimumWidth(200);
    tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tree->setSelectionMode(QAbstractItemView::SingleSelection);
    tree->setSortingEnabled(false);
    tree->setContextMenuPolicy(Qt::CustomContextMenu);
    tree->setUniformRowHeights(true);

    table = new VPackageTableWidget(this);
    table->setObjectName(QStringLiteral("packageTable"));

    auto *splitter = new QSplitter(Qt::Horizontal, this);
    splitter->addWidget(tree);
    splitter->addWidget(table);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 2);

    auto *pathRow = new QHBoxLayout();
    pathRow->addWidget(pathLabel);
    pathRow->addWidget(pathLine);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);
    layout->addWidget(toolBar);
    layout->addLayout(pathRow);
    layout->addWidget(splitter, 1);

    searchDialog = new QSearchDialog(this);
    propertiesDialog = new VPackagePropertiesDialog(this);

    connect(actionOpen, &QAction::triggered, this, qOverload<>(&VPackage::fileOpen));
    connect(actionBack, &QAction::triggered, this, &VPackage::navigateBack);
    connect(actionForward, &QAction::triggered, this, &VPackage::navigateForward);
    connect(actionUp, &QAction::triggered, this, &VPackage::navigateUp);
    connect(actionSearch, &QAction::triggered, this, &VPackage::packageSearch);
    connect(tree, &QTreeWidget::itemExpanded, this, &VPackage::treeItemExpanded);
    connect(tree, &QTreeWidget::currentItemChanged, this, &VPackage::treeCurrentItemChanged);
    connect(tree, &QWidget::customContextMenuRequested, this, &VPackage::treeContextMenu);
    connect(table, &QWidget::customContextMenuRequested, this, &VPackage::tableContextMenu);
    connect(table, &QTableWidget::itemDoubleClicked, this, &VPackage::tableItemDoubleClicked);
    connect(table, &VPackageTableWidget::entryActivated, this, &VPackage::tableItemDoubleClicked);
    connect(table, &VPackageTableWidget::dragStarted, this, &VPackage::startTableDrag);
    connect(table, &VPackageTableWidget::mouseReleasePoint, this, &VPackage::dragReleasePoint);

    // Room for a path of a few folders and names beside the tree.
    resize(760, 460);
    setClosedState();
    if (!fileToOpen.isEmpty())
        fileOpen(fileToOpen);
}

VPackage::~VPackage()
{
    // Items point at the delegate's nodes: they go first, quietly.
    tree->disconnect(this);
    table->disconnect(this);
    table->setRowCount(0);
    tree->clear();
    delete delegate;
}

QAction *VPackage::getAction(const QString &text) const
{
    for (QAction *action : toolBar->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

void VPackage::setClosedState()
{
    actionSearch->setEnabled(false);
    actionBack->setEnabled(false);
    actionForward->setEnabled(false);
    actionUp->setEnabled(false);
    pathLine->setEnabled(false);
    pathLine->setText(QStringLiteral("..."));
    tree->setEnabled(false);
    table->setEnabled(false);
}

void VPackage::clearView()
{
    table->setRowCount(0);
    // Clearing fires current-item changes: none of them is history.
    historyMove = true;
    tree->clear();
    historyMove = false;
    backStack.clear();
    forwardStack.clear();
    currentItem = nullptr;
    contextTableItem = nullptr;
    dragEntries.clear();
}

void VPackage::fileOpen()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Open Package"),
                              QStringLiteral("All Supported Packages (*.bsp *.gcf *.ncf *.vpk);;"
                                             "Valve Binary Space Partition (*.bsp);;"
                                             "Game Cache File (*.gcf);;No Cache File (*.ncf);;"
                                             "Valve Package File (*.vpk)"),
                              QString());
    fileOpen(zirk->getExistingFile());
}

void VPackage::fileOpen(const QString &path)
{
    if (path.isEmpty())
        return;
    if (delegate && delegate->getPackageType() != 0) {
        ZIRK::get()->showVPackage(path);
        return;
    }
    clearView();
    delete delegate;
    delegate = nullptr;

    const QString suffix = UTIL_getFileExtension(path, true);
    if (suffix == QLatin1String("bsp"))
        delegate = new CDelegateBSP();
    else if (suffix == QLatin1String("gcf"))
        delegate = new CDelegateGCF();
    else if (suffix == QLatin1String("ncf"))
        delegate = new CDelegateNCF();
    else if (suffix == QLatin1String("vpk"))
        delegate = new CDelegateVPK();
    if (!delegate) {
        setClosedState();
        return;
    }
    if (!delegate->openPackage(path, true)) {
        QMessageBox::warning(this, QStringLiteral("Package Viewer"), delegate->getLastError());
        // A package that did not open is replaced by the next one in this window.
        delete delegate;
        delegate = nullptr;
        return;
    }

    CPackageHierarchyNode *root = delegate->getRootDirectoryNode();
    if (root)
        addNodeToTree(root, tree->invisibleRootItem());
    tree->setEnabled(true);
    table->setEnabled(true);
    pathLine->setEnabled(true);
    pathLine->setText(root ? QString(*root) : QStringLiteral("..."));
    actionSearch->setEnabled(true);
    tree->expandItem(tree->invisibleRootItem());
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        tree->expandItem(tree->topLevelItem(i));
    if (tree->topLevelItemCount() > 0)
        tree->setCurrentItem(tree->topLevelItem(0));
    setWindowTitle(delegate->getPackageName());
}

void VPackage::addNodeToTree(CPackageHierarchyNode *node, QTreeWidgetItem *parent)
{
    if (!node || !parent)
        return;
    // Only the folders are made here: the rows of a folder's files come when
    // the folder is first shown (fillFolder), so that a package of hundreds
    // of thousands of files opens at once. Built apart from the view and
    // hooked in at once; walked without recursion, since a hostile directory
    // may nest as deep as it has entries.
    auto *top = new VPackageTreeWidgetItem(node);
    QList<VPackageTreeWidgetItem *> pending { top };
    while (!pending.isEmpty()) {
        VPackageTreeWidgetItem *item = pending.takeLast();
        const unsigned int count = item->node->getChildCount();
        QList<QTreeWidgetItem *> folders;
        for (unsigned int i = 0; i < count; ++i) {
            CPackageHierarchyNode *child = item->node->getNodeByIndex(i);
            if (child && child->isBranch()) {
                auto *folder = new VPackageTreeWidgetItem(child);
                folders.append(folder);
                pending.append(folder);
            }
        }
        item->addChildren(folders);
        // A folder whose files are still to come shows that it can open.
        if (unsigned(folders.size()) != count)
            item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    }
    parent->addChild(top);
}

void VPackage::fillFolder(VPackageTreeWidgetItem *item)
{
    if (!item || !item->node)
        return;
    const unsigned int count = item->node->getChildCount();
    if (unsigned(item->childCount()) == count)
        return;
    // The rows of the files go in between the folders, each run of files at
    // once; the folders stay where they are, open or closed.
    QList<QTreeWidgetItem *> files;
    int position = 0;
    auto insertFiles = [&]() {
        if (files.isEmpty())
            return;
        item->insertChildren(position, files);
        position += int(files.size());
        files.clear();
    };
    for (unsigned int i = 0; i < count; ++i) {
        CPackageHierarchyNode *child = item->node->getNodeByIndex(i);
        if (child && child->isBranch()) {
            insertFiles();
            ++position;
        } else {
            files.append(new VPackageTreeWidgetItem(child));
        }
    }
    insertFiles();
    item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicatorWhenChildless);
}

void VPackage::fillFolders(VPackageTreeWidgetItem *item)
{
    QList<VPackageTreeWidgetItem *> pending { item };
    while (!pending.isEmpty()) {
        VPackageTreeWidgetItem *next = pending.takeLast();
        fillFolder(next);
        for (int i = 0; next && i < next->childCount(); ++i) {
            auto *child = static_cast<VPackageTreeWidgetItem *>(next->child(i));
            if (child->node && child->node->isBranch())
                pending.append(child);
        }
    }
}

void VPackage::updateTreeItemIcon(VPackageTreeWidgetItem *item)
{
    if (!item || item->iconSet || !item->node)
        return;
    if (item->node->isBranch())
        item->setIcon(0, QIcon(QStringLiteral(":/resources/icons/folder")));
    else
        item->setIcon(0,
                      ZIRK::get()->getIconProvider().getShellIconForExtension(
                          UTIL_getFileExtension(*item->node, false)));
    item->iconSet = true;
}

void VPackage::treeItemExpanded(QTreeWidgetItem *item)
{
    if (!item)
        return;
    fillFolder(static_cast<VPackageTreeWidgetItem *>(item));
    for (int i = 0; i < item->childCount(); ++i)
        updateTreeItemIcon(static_cast<VPackageTreeWidgetItem *>(item->child(i)));
    tree->resizeColumnToContents(0);
}

void VPackage::treeCurrentItemChanged(QTreeWidgetItem *item, QTreeWidgetItem *previous)
{
    backStack.append(previous);
    actionBack->setEnabled(true);
    ++currentChanges;
    if (!item) {
        currentItem = nullptr;
        return;
    }
    auto *packageItem = static_cast<VPackageTreeWidgetItem *>(item);
    const bool isDirectory = packageItem->node && packageItem->node->isBranch();
    if (isDirectory)
        currentItem = packageItem;
    if (!historyMove) {
        forwardStack.clear();
        actionForward->setEnabled(false);
    }
    treeItemExpanded(item);
    if (!isDirectory)
        return;

    actionUp->setEnabled(item->parent() != nullptr);
    const CPackageHierarchyNode *node = packageItem->node;
    pathLine->setText(node->getParent() ? QStringLiteral(".../") + node->getPath(true)
                                        : QStringLiteral("..."));
    table->setRowCount(0);
    table->setUpdatesEnabled(false);
    for (int i = 0; i < item->childCount(); ++i)
        appendTableRow(static_cast<VPackageTreeWidgetItem *>(item->child(i)));
    table->setUpdatesEnabled(true);
}

void VPackage::appendTableRow(VPackageTreeWidgetItem *item)
{
    if (!item || !item->node)
        return;
    updateTreeItemIcon(item);
    const int row = table->rowCount();
    table->insertRow(row);
    table->setRowHeight(row, 17);
    auto *name = new VPackageTableWidgetItem(*item->node, item);
    name->setIcon(item->icon(0));
    table->setItem(row, 0, name);
    QString size;
    if (item->node->isBranch())
        size = QStringLiteral("%1 Item(s)").arg(item->node->getChildCount());
    else
        size = QString::number(delegate ? delegate->getFileSizeByNode(item->node) : 0);
    table->setItem(row, 1, new VPackageTableWidgetItem(size));
}

void VPackage::addTableEntry(VPackageTreeWidgetItem *item)
{
    appendTableRow(item);
}

void VPackage::navigateBack()
{
    if (backStack.isEmpty())
        return;
    historyMove = true;
    forwardStack.append(currentItem);
    QTreeWidgetItem *target = backStack.takeLast();
    const int before = currentChanges;
    tree->setCurrentItem(target);
    // The change pushed the item we left: that is not a step back.
    if (currentChanges != before && !backStack.isEmpty())
        backStack.removeLast();
    historyMove = false;
    actionForward->setEnabled(true);
    actionBack->setEnabled(!backStack.isEmpty());
}

void VPackage::navigateForward()
{
    if (forwardStack.isEmpty())
        return;
    historyMove = true;
    backStack.append(currentItem);
    QTreeWidgetItem *target = forwardStack.takeLast();
    const int before = currentChanges;
    tree->setCurrentItem(target);
    if (currentChanges != before && !backStack.isEmpty())
        backStack.removeLast();
    historyMove = false;
    actionBack->setEnabled(true);
    actionForward->setEnabled(!forwardStack.isEmpty());
}

void VPackage::navigateUp()
{
    if (currentItem && currentItem->parent())
        tree->setCurrentItem(currentItem->parent());
}

void VPackage::packageSearch()
{
    if (!delegate)
        return;
    UTIL_centerOverWidget(searchDialog, this);
    if (searchDialog->exec() != QDialog::Accepted)
        return;
    const QString query = searchDialog->getQuery();
    if (query.isEmpty())
        return;
    const Qt::CaseSensitivity cs
        = searchDialog->isCaseSensitive() ? Qt::CaseSensitive : Qt::CaseInsensitive;
    const int mode = searchDialog->getSearchMode();
    const QRegExp wildcard(query, cs, QRegExp::Wildcard);
    const QRegExp pattern(query, cs);

    auto matches = [&](const QString &name, bool &known) {
        known = true;
        switch (mode) {
        case 0:
            return name.indexOf(query, 0, cs) != -1;
        case 1:
            return QString::compare(name, query, cs) == 0;
        case 2:
            return wildcard.indexIn(name) != -1;
        case 3:
            return pattern.indexIn(name) != -1;
        default:
            known = false;
            return false;
        }
    };

    table->setRowCount(0);
    table->setUpdatesEnabled(false);
    // Every entry in the order of the whole tree, folder before contents; the
    // row of a file in a folder not shown yet is made when the file matches.
    struct Step_t
    {
        VPackageTreeWidgetItem *item;
        unsigned int next;
        int folders; // folders passed so far: their place while the files are missing
    };
    QList<Step_t> steps;
    for (int top = tree->topLevelItemCount() - 1; top >= 0; --top)
        steps.append({ static_cast<VPackageTreeWidgetItem *>(tree->topLevelItem(top)), 0, -1 });
    while (!steps.isEmpty()) {
        Step_t &step = steps.last();
        VPackageTreeWidgetItem *item = step.item;
        if (step.folders < 0) {
            // The item itself, on arrival.
            step.folders = 0;
            bool known = false;
            const bool match = matches(item->text(0), known);
            if (!known)
                break;
            if (match)
                addTableEntry(item);
        }
        const unsigned int count = item->node ? item->node->getChildCount() : 0;
        if (step.next >= count) {
            steps.removeLast();
            continue;
        }
        const unsigned int index = step.next++;
        CPackageHierarchyNode *child = item->node->getNodeByIndex(index);
        const bool filled = unsigned(item->childCount()) == count;
        if (child && child->isBranch()) {
            auto *folder = static_cast<VPackageTreeWidgetItem *>(
                item->child(filled ? int(index) : step.folders));
            ++step.folders;
            steps.append({ folder, 0, -1 });
            continue;
        }
        bool known = false;
        if (!matches(child ? QString(*child) : QString(), known) || !known)
            continue;
        fillFolder(item);
        addTableEntry(static_cast<VPackageTreeWidgetItem *>(item->child(int(index))));
    }
    table->setUpdatesEnabled(true);
}

VPackageTreeWidgetItem *VPackage::treeItemOfRow(int row) const
{
    auto *name = dynamic_cast<VPackageTableWidgetItem *>(table->item(row, 0));
    return name ? name->treeItem : nullptr;
}

void VPackage::tableItemDoubleClicked(QTableWidgetItem *item)
{
    if (!item || item->tableWidget() != table || !delegate)
        return;
    VPackageTreeWidgetItem *treeItem = treeItemOfRow(item->row());
    if (!treeItem || !treeItem->node)
        return;
    if (treeItem->node->isBranch()) {
        tree->setCurrentItem(treeItem);
        tree->scrollToItem(treeItem);
        // The keyboard goes on from the first row of the folder just entered.
        if (table->rowCount() > 0)
            table->setCurrentCell(0, 0, QItemSelectionModel::NoUpdate);
        return;
    }
    openEntry(treeItem);
}

void VPackage::reportOpenFailure(const QString &text)
{
    // The Output may well be hidden: the user hears why where the double click was.
    qWarning("%s", qUtf8Printable(text));
    QMessageBox::warning(this, QStringLiteral("Package Viewer"), text);
}

void VPackage::openEntry(VPackageTreeWidgetItem *item)
{
    CPackageHierarchyNode *node = item->node;
    const QString name = *node;
    if (name.endsWith(QLatin1String(".vmt"), Qt::CaseInsensitive)) {
        std::unique_ptr<QByteArray> data(delegate->getFileByNode(node));
        if (!data) {
            reportOpenFailure(delegate->getLastError());
            return;
        }
        ZIRK::get()->showVVMT(*data, name.left(name.size() - 4));
        return;
    }
    if (name.endsWith(QLatin1String(".vtf"), Qt::CaseInsensitive)) {
        std::unique_ptr<QByteArray> data(delegate->getFileByNode(node));
        if (!data) {
            reportOpenFailure(delegate->getLastError());
            return;
        }
#ifdef ZIRK_VIEWER_HAS_VTF
        QBuffer buffer(data.get());
        QString error;
        CFileVTF *vtf = IFileClass<CFileVTF>::createFromDevice(buffer, error);
        if (vtf)
            ZIRK::get()->showVVTF(vtf, name.left(name.size() - 4));
        else
            reportOpenFailure(error);
#else
        qDebug("The VTF reader is not part of this build yet");
#endif
        return;
    }

    const QString path = QDir::tempPath() + QLatin1Char('/') + name;
    QProgressDialog progress(QStringLiteral("Processing..."), QString(), 0, 0, this);
    progress.setMinimumWidth(400);
    progress.setWindowModality(Qt::WindowModal);
    progress.setCancelButton(nullptr);
    progress.setMinimumDuration(500);
    progress.setWindowTitle(windowTitle());
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        reportOpenFailure(QStringLiteral("Unable to open \"%1\"").arg(path));
        return;
    }
    const bool written = delegate->getFileByNode(&out, node);
    out.close();
    progress.close();
    if (!written) {
        out.remove();
        reportOpenFailure(delegate->getLastError());
        return;
    }
    // The name comes from the package: quote it so the shell takes it as one word.
    QString quoted = path;
    quoted.replace(QLatin1String("'"), QLatin1String("'\\''"));
    QString command = ProgramSettings_t::get()->linuxCommandRun;
    command.replace(QLatin1Char('*'), QLatin1Char('\'') + quoted + QLatin1Char('\''));
    if (std::system(command.toLocal8Bit().constData()) != 0)
        qDebug().noquote() << "Command returned an error:" << command;
    ZIRK::get()->registerTemporaryFile(path);
}

void VPackage::treeContextMenu(const QPoint &point)
{
    QTreeWidgetItem *item = tree->itemAt(point);
    if (!item || !delegate)
        return;
    tree->setCurrentItem(item);
    QMenu menu(this);
    menu.addAction(QIcon(QStringLiteral(":/resources/icons/database_go.png")),
                   QStringLiteral("Extract"), this, &VPackage::treeContextExtract);
    menu.addAction(QIcon(QStringLiteral(":/resources/icons/report.png")),
                   QStringLiteral("Properties"), this, &VPackage::treeContextProperties);
    if (!item->parent()) {
        menu.addSeparator();
        menu.addAction(QIcon(QStringLiteral(":/resources/icons/defrag.png")),
                       QStringLiteral("Defragment"), this, &VPackage::packageContextDefragment);
    }
    menu.exec(tree->viewport()->mapToGlobal(point));
}

void VPackage::tableContextMenu(const QPoint &point)
{
    QTableWidgetItem *item = table->itemAt(point);
    if (!item || !delegate)
        return;
    contextTableItem = dynamic_cast<VPackageTableWidgetItem *>(table->item(item->row(), 0));
    QMenu menu(this);
    menu.addAction(QIcon(QStringLiteral(":/resources/icons/database_go.png")),
                   QStringLiteral("Extract"), this, &VPackage::tableContextExtract);
    menu.addAction(QIcon(QStringLiteral(":/resources/icons/report.png")),
                   QStringLiteral("Properties"), this, &VPackage::tableContextProperties);
    menu.exec(table->viewport()->mapToGlobal(point));
}

void VPackage::treeContextProperties()
{
    auto *item = static_cast<VPackageTreeWidgetItem *>(tree->currentItem());
    if (item && item->node)
        showPropertiesDialogForNode(item->node);
}

void VPackage::tableContextProperties()
{
    if (contextTableItem && contextTableItem->treeItem && contextTableItem->treeItem->node)
        showPropertiesDialogForNode(contextTableItem->treeItem->node);
}

void VPackage::packageContextCopy() { }

void VPackage::packageContextDefragment() { }

void VPackage::writeSelectedTableItems(QList<QUrl> *) { }

QDelayedMimeData *VPackage::createDragData(const QList<VPackageTreeWidgetItem *> &items)
{
    auto *data = new QDelayedMimeData;
    QList<VPackageTreeWidgetItem *> entries;
    for (VPackageTreeWidgetItem *item : items) {
        // The package root has no name of its own to land under.
        if (item && item->node && item->parent())
            entries.append(item);
    }
    if (entries.isEmpty())
        return data;
    data->addDelayedFormat(QString::fromLatin1(UriListFormat));
    dragEntries.insert(data, entries);
    connect(data, &QDelayedMimeData::dataRequested, this, &VPackage::delayedDataRequested,
            Qt::DirectConnection);
    connect(data, &QObject::destroyed, this, [this, data] { dragEntries.remove(data); });
    return data;
}

void VPackage::startTableDrag()
{
    if (!delegate)
        return;
    QList<VPackageTreeWidgetItem *> items;
    for (const VPackageTableWidgetItem *row : selectedTableItems())
        items.append(row->treeItem);
    std::unique_ptr<QDelayedMimeData> data(createDragData(items));
    if (data->delayedFormats().isEmpty())
        return;
    auto *drag = new QDrag(table);
    drag->setMimeData(data.release());
    drag->exec(Qt::CopyAction);
    drag->deleteLater();
}

void VPackage::delayedDataRequested(QDelayedMimeData *data, const QString &format)
{
    // A file manager reads the list of files once the drop lands; only then
    // are the entries written, into a folder of this window from which the
    // target copies them.
    if (format != QLatin1String(UriListFormat) || !data->delayedFormats().contains(format))
        return;
    data->removeDelayedFormat(format);
    const QList<VPackageTreeWidgetItem *> entries = dragEntries.take(data);
    if (entries.isEmpty() || !delegate)
        return;
    if (!dragFolder) {
        dragFolder = std::make_unique<QTemporaryDir>(QDir::tempPath()
                                                     + QStringLiteral("/zirk-drag-XXXXXX"));
        if (!dragFolder->isValid()) {
            qWarning("Unable to create path \"%s\"", qUtf8Printable(dragFolder->path()));
            dragFolder.reset();
            return;
        }
    }
    // Each drop gets a folder of its own, so that one does not overwrite another.
    const QString target = dragFolder->filePath(QString::number(++dragCount));
    if (!QDir().mkpath(target)) {
        qWarning("Unable to create path \"%s\"", qUtf8Printable(target));
        return;
    }
    for (VPackageTreeWidgetItem *entry : entries)
        fillFolders(entry);
    VPackageExtractor(delegate, nullptr).extract(entries, target);
    QList<QUrl> urls;
    for (const VPackageTreeWidgetItem *entry : entries) {
        const QString relative = VPackageExtractor::relativePath(entry, entry);
        const QString path = target + QLatin1Char('/') + relative;
        if (VPackageExtractor::isContainedPath(relative) && QFileInfo::exists(path))
            urls.append(QUrl::fromLocalFile(path));
    }
    data->setUrls(urls);
}

void VPackage::dragReleasePoint(QPoint) { }

void VPackage::showPropertiesDialogForNode(const CPackageHierarchyNode *node)
{
    if (!node || !delegate)
        return;
    propertiesDialog->setRows(VPackagePropertiesDialog::rowsForNode(delegate, node));
    UTIL_centerOverWidget(propertiesDialog, this);
    propertiesDialog->exec();
}

QString VPackage::getRelativePathForItem(const QTreeWidgetItem *item) const
{
    if (!item)
        return QString();
    QStringList parts;
    const QTreeWidgetItem *top = item;
    for (; top->parent(); top = top->parent())
        parts.prepend(top->text(0));
    if (top == item || top->text(0) != QLatin1String("root"))
        parts.prepend(top->text(0));
    return parts.join(QLatin1Char('/'));
}

void VPackage::treeContextExtract()
{
    auto *item = static_cast<VPackageTreeWidgetItem *>(tree->currentItem());
    if (!item)
        return;
    VPackageTableWidgetItem carrier(item->text(0), item);
    packageContextExtract({ &carrier });
}

QList<VPackageTableWidgetItem *> VPackage::selectedTableItems() const
{
    QList<VPackageTableWidgetItem *> items;
    QSet<int> rows;
    for (QTableWidgetItem *selected : table->selectedItems()) {
        if (rows.contains(selected->row()))
            continue;
        rows.insert(selected->row());
        if (auto *name = dynamic_cast<VPackageTableWidgetItem *>(table->item(selected->row(), 0)))
            items.append(name);
    }
    return items;
}

void VPackage::tableContextExtract()
{
    packageContextExtract(selectedTableItems());
}

void VPackage::packageContextExtract(QList<VPackageTableWidgetItem *> items)
{
    if (items.isEmpty() || !delegate)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Select Directory"), QString(), QString());
    QString target = zirk->getDirectory(true);
    if (target.isEmpty())
        return;
    UTIL_trimFilePath(target);
    // A path from the root lost its leading separator to the trim.
    if (!QDir::isAbsolutePath(target))
        target.prepend(QLatin1Char('/'));

    auto *dialog = new QProgressDialogger(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, dialog, &QObject::deleteLater);
    dialog->setWindowTitle(QStringLiteral("Preprocessing..."));
    dialog->setLabelText(QStringLiteral("Preprocessing..."));
    dialog->setModal(true);
    UTIL_centerOverWidget(dialog, this);
    dialog->show();

    QList<VPackageTreeWidgetItem *> treeItems;
    for (const VPackageTableWidgetItem *item : items) {
        if (!item)
            continue;
        if (!item->treeItem) {
            dialog->logMessage(
                QStringLiteral("Table item \"%1\" does not have an associated tree item.")
                    .arg(item->text()),
                true);
            continue;
        }
        treeItems.append(item->treeItem);
        fillFolders(item->treeItem);
    }
    VPackageExtractor(delegate, dialog).extract(treeItems, target);
}
