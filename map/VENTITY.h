#pragma once

#include "map/CEntityLump.h"

#include <QMainWindow>

class QAction;
class QGroupBox;
class QIODevice;
class QLineEdit;
class QListWidget;
class QMenu;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;
class QToolButton;
class VEntityListWidgetItem;

// The entity lump editor: the entities of a map, a lump file or a map source as a list, the
// pairs of the current one in a table. Saves back into the map or lump file it came from and
// exports lump files and map sources. The work is done by CEntityLump and CEntityLumpFile;
// this window keeps the list and asks the questions.
class VENTITY : public QMainWindow
{
    Q_OBJECT

public:
    explicit VENTITY(QWidget *parent = nullptr);
    explicit VENTITY(const QString &path, QWidget *parent = nullptr);
    ~VENTITY() override;

    // The file that Save writes to; empty until one is opened.
    QString associatedFile() const { return filePath; }

public slots:
    void fileOpen();
    void fileOpen(const QString &path);
    void fileSave();
    void importFromBSP();
    void importFromLMP();
    void importFromVMF();
    void exportAsLMP();
    void exportAsVMF();

    void findEntitiesInRectangularPrism();
    void findEntitiesInSphere();
    void filterEntities();
    void filterToggleClassname();
    void filterToggleKey();
    void filterToggleValue();
    void filterToggleCaseSensitive();
    void filterToggleSubstring();
    void filterToggleIgnoreHidden();
    void filterToggleInvertResults();

    void entityListRowChanged(int row);
    void entityAdd();
    void entityCopy();
    void entityDelete();

    void keyvalueTableCurrentItemChanged(QTableWidgetItem *current, QTableWidgetItem *previous);
    void keyvalueTableItemDoubleClicked(QTableWidgetItem *item);
    void keyvalueTableItemChanged(QTableWidgetItem *item);
    void keyvalueTableItemSelectionChanged();
    void keyvalueAdd();
    void keyvalueAdd(const QString &key, const QString &value);
    void keyvalueCopy();
    void keyvalueDelete();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createActions();
    void createMenus();
    void createControls();
    void enableFileControls();

    // Each refuses without a word a path whose extension is not its own.
    bool bspOpen(const QString &path);
    bool lmpOpen(const QString &path);
    bool vmfOpen(const QString &path);
    // Appends the entities of lump text up to `end`, then tidies and filters the list.
    void lmpOpen(QIODevice &device, qint64 end);
    bool lmpSave(const QString &path);
    bool bspSave(const QString &path);
    bool vmfSave(const QString &path);
    // Asks for a path through the workbench's shared dialog.
    QString askOpenPath(const QString &title, const QString &filter);

    void appendEntities(CEntityLump::Entities &entities);
    void ensureEntityName(VEntityListWidgetItem *item);
    void ensureValidity();
    void buildLump(QByteArray &out);

    CEntityLump::Rows rows() const;
    VEntityListWidgetItem *entityAt(int row) const;
    void insertEntity(VEntityListWidgetItem *item);
    void fillKeyvalueTable();
    void insertKeyvalueRow(int row, const QString &key, const QString &value);

    void toggleFilter(int flag);
    QVector<bool> hiddenRows() const;
    void applyHiddenRows(const QVector<bool> &hidden);
    // Clears the current row if a filter hid it and shows the counts.
    void filterFinished();
    void updateFilterCounts();

    QString title() const;
    void warn(const QString &text);
    bool ask(const QString &text);

    VEntityListWidgetItem *currentEntity = nullptr;
    QTableWidgetItem *editedCell = nullptr;
    QString filePath;
    int filterFlags = 0;
    int shownCount = 0;

    QListWidget *entityList = nullptr;
    QGroupBox *filterGroup = nullptr;
    QLineEdit *filterEdit = nullptr;
    QToolButton *filterButton = nullptr;
    QPushButton *entityAddButton = nullptr;
    QPushButton *entityCopyButton = nullptr;
    QPushButton *entityDeleteButton = nullptr;
    QTableWidget *keyvalueTable = nullptr;
    QPushButton *keyvalueAddButton = nullptr;
    QPushButton *keyvalueCopyButton = nullptr;
    QPushButton *keyvalueDeleteButton = nullptr;

    QAction *openAction = nullptr;
    QAction *saveAction = nullptr;
    QAction *importBspAction = nullptr;
    QAction *importLmpAction = nullptr;
    QAction *importVmfAction = nullptr;
    QAction *exportLmpAction = nullptr;
    QAction *exportVmfAction = nullptr;
    QAction *closeAction = nullptr;
    QAction *prismAction = nullptr;
    QAction *sphereAction = nullptr;
    QAction *filterActions[7] = {};
    QMenu *filterMenu = nullptr;
    QMenu *importMenu = nullptr;
    QMenu *exportMenu = nullptr;
};
