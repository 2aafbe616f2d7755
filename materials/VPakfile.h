#pragma once

#include "materials/CPakfileScan.h"
#include "materials/CPakfileTool.h"

#include <QMainWindow>

#include <memory>

class CDelegateBSP;
class CPackageHierarchyNode;
class QLineEdit;
class QProgressDialogger;
class QPushButton;
class QStackedWidget;
class QTableWidget;
class VPakfileScanOptions;
class VPakfileTableWidgetItem;

// The pakfile lump editor: the files of a map's pakfile in a table, to add, delete, revert,
// save to disk and export as a ZIP, and a second page with the dependency scan that finds the
// content the map needs. The work is CPakfileTool's and CPakfileScan's; the map is written
// only by "Save" of the map.
class VPakfile : public QMainWindow
{
    Q_OBJECT

public:
    explicit VPakfile(QWidget *parent = nullptr);
    ~VPakfile() override;

    static QString typeForExtension(const QString &extension);

    bool fileOpen(const QString &path);
    void reset();
    void makeTableItemsForNode(const CPackageHierarchyNode *node, int row);

    CDelegateBSP *getDelegate() const { return delegate.get(); }
    quint16 getScanMask() const { return scanMask; }
    QSize sizeHint() const override;

public slots:
    void pakfileTableHeaderClicked(int column);
    void scanTableHeaderClicked(int column);
    void tableSelectionChanged();
    void fileOpen();
    void fileSave();
    void pakFileRevert();
    void pakFileSave();
    void pakFileDeleteToggle();
    void pakAdd();
    void pakScan();
    void pakExtract();
    void pakInfo();
    void pakScanBrowse();
    void pakScanOptions();
    void pakScanScan();
    void pakScanApply();
    void pakScanCancel();
    void pakScanAdd();
    void pakScanAddMissing();
    void pakScanRemove();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createPages();
    QWidget *createFilePage();
    QWidget *createScanPage();
    QTableWidget *createTable(const char *objectName);
    QPushButton *makeButton(const QString &text, const char *objectName, const char *icon);
    void setFilePageEnabled(bool enabled);
    void fillPakfileTable();
    static void fitColumns(QTableWidget *table, bool widenOnly = false);
    void sortTable(QTableWidget *table, int column, int &lastColumn, Qt::SortOrder &order);
    QList<VPakfileTableWidgetItem *> selectedPakfileItems() const;
    QProgressDialogger *startProgress(const QString &label, int maximum);
    // Ends a job's dialog: it closes unless something was logged, then it waits for the user.
    void finishProgress(QProgressDialogger *dialog);
    CPakfileTool::Answer_t askAll(const QString &text, const QString &informative, bool defaultNo);
    void fillScanTable(const QVector<CPakfileScan::Row_t> &rows);
    void markScanRows(bool add, bool all, const QString &label);
    void updatePakfileRowOf(const CPackageHierarchyNode *node);
    void extractZip(const QString &path);
    void addFiles(const QStringList &files);

    QStackedWidget *pages = nullptr;
    QTableWidget *pakfileTable = nullptr;
    QTableWidget *scanTable = nullptr;
    QPushButton *openButton = nullptr;
    QPushButton *saveMapButton = nullptr;
    QPushButton *revertButton = nullptr;
    QPushButton *saveFilesButton = nullptr;
    QPushButton *deleteButton = nullptr;
    QPushButton *addButton = nullptr;
    QPushButton *scanButton = nullptr;
    QPushButton *extractButton = nullptr;
    QPushButton *statusButton = nullptr;
    QLineEdit *gameDirectory = nullptr;
    QPushButton *browseButton = nullptr;
    QPushButton *optionsButton = nullptr;
    QPushButton *startScanButton = nullptr;
    QList<QPushButton *> scanPageButtons;

    std::unique_ptr<CDelegateBSP> delegate;
    int pakfileSortColumn = -1;
    Qt::SortOrder pakfileSortOrder = Qt::AscendingOrder;
    int scanSortColumn = -1;
    Qt::SortOrder scanSortOrder = Qt::AscendingOrder;

    quint16 scanMask = CPakfileScan::DefaultMask;
    QString contentDirectory;
    VPakfileScanOptions *scanOptions = nullptr;
};
