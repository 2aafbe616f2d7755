#pragma once

#include <QHash>
#include <QList>
#include <QPoint>
#include <QTemporaryDir>
#include <QUrl>
#include <QWidget>

#include <memory>

class CPackageHierarchyNode;
class IPackageDelegate;
class QAction;
class QDelayedMimeData;
class QLineEdit;
class QSearchDialog;
class QTableWidgetItem;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;
class VPackagePropertiesDialog;
class VPackageTableWidget;
class VPackageTableWidgetItem;
class VPackageTreeWidgetItem;

// The "Package Viewer": browses the file tree of one BSP, GCF, NCF or VPK,
// searches it, shows properties, extracts entries and opens them in the
// workspace. It never writes into the package.
class VPackage : public QWidget
{
    Q_OBJECT
public:
    explicit VPackage(const QString &fileToOpen = QString(), QWidget *parent = nullptr);
    ~VPackage() override;

    IPackageDelegate *getDelegate() const { return delegate; }
    QTreeWidget *getTreeWidget() const { return tree; }
    VPackageTableWidget *getTableWidget() const { return table; }
    QSearchDialog *getSearchDialog() const { return searchDialog; }
    VPackagePropertiesDialog *getPropertiesDialog() const { return propertiesDialog; }
    QLineEdit *getPathLine() const { return pathLine; }
    QAction *getAction(const QString &text) const;
    VPackageTreeWidgetItem *getCurrentItem() const { return currentItem; }

    void showPropertiesDialogForNode(const CPackageHierarchyNode *node);
    void addNodeToTree(CPackageHierarchyNode *node, QTreeWidgetItem *parent);
    void addTableEntry(VPackageTreeWidgetItem *item);
    void updateTreeItemIcon(VPackageTreeWidgetItem *item);
    QString getRelativePathForItem(const QTreeWidgetItem *item) const;
    void packageContextExtract(QList<VPackageTableWidgetItem *> items);
    // The data of a drag of these entries out of the window. It names its
    // format only; the entries are extracted when a drop asks for the data.
    QDelayedMimeData *createDragData(const QList<VPackageTreeWidgetItem *> &items);

public slots:
    void fileOpen();
    void fileOpen(const QString &path);
    void navigateBack();
    void navigateForward();
    void navigateUp();
    void packageSearch();
    void treeContextExtract();
    void tableContextExtract();
    void treeContextProperties();
    void tableContextProperties();
    void packageContextCopy();
    void packageContextDefragment();
    void writeSelectedTableItems(QList<QUrl> *urls);
    void delayedDataRequested(QDelayedMimeData *data, const QString &format);
    void dragReleasePoint(QPoint point);

private slots:
    void treeItemExpanded(QTreeWidgetItem *item);
    void treeCurrentItemChanged(QTreeWidgetItem *item, QTreeWidgetItem *previous);
    void tableItemDoubleClicked(QTableWidgetItem *item);
    void treeContextMenu(const QPoint &point);
    void tableContextMenu(const QPoint &point);
    void startTableDrag();

private:
    void setClosedState();
    void clearView();
    void openEntry(VPackageTreeWidgetItem *item);
    void reportOpenFailure(const QString &text);
    void extractTreeItems(const QList<VPackageTreeWidgetItem *> &items, const QStringList &preLog);
    void appendTableRow(VPackageTreeWidgetItem *item);
    // The rows of a folder's files, made when the folder is first shown;
    // fillFolders does it for a whole branch (before extracting it).
    void fillFolder(VPackageTreeWidgetItem *item);
    void fillFolders(VPackageTreeWidgetItem *item);
    VPackageTreeWidgetItem *treeItemOfRow(int row) const;
    QList<VPackageTableWidgetItem *> selectedTableItems() const;

    IPackageDelegate *delegate = nullptr;
    QToolBar *toolBar = nullptr;
    QAction *actionOpen = nullptr;
    QAction *actionBack = nullptr;
    QAction *actionForward = nullptr;
    QAction *actionUp = nullptr;
    QAction *actionSearch = nullptr;
    QLineEdit *pathLine = nullptr;
    QTreeWidget *tree = nullptr;
    VPackageTableWidget *table = nullptr;
    QSearchDialog *searchDialog = nullptr;
    VPackageTreeWidgetItem *currentItem = nullptr;
    VPackageTableWidgetItem *contextTableItem = nullptr;
    QList<QTreeWidgetItem *> backStack;
    QList<QTreeWidgetItem *> forwardStack;
    bool historyMove = false;
    int currentChanges = 0;
    VPackagePropertiesDialog *propertiesDialog = nullptr;
    // What each live drag carries, and where dropped entries are written.
    QHash<const QDelayedMimeData *, QList<VPackageTreeWidgetItem *>> dragEntries;
    std::unique_ptr<QTemporaryDir> dragFolder;
    int dragCount = 0;
};
