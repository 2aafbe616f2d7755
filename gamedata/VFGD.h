#pragma once

#include "gamedata/CFileFGD.h"

#include <QMainWindow>
#include <QPointer>

#include <vector>

class QAction;
class QCheckBox;
class QGroupBox;
class QLineEdit;
class QListWidget;
class QMenu;
class QPushButton;
class QTabWidget;
class QTableWidget;
class QTableWidgetItem;
class VFGDTableWidget;

// The game data viewer: the classes of one file and, for the class in focus, its properties
// and tables. Edits change the file in memory only; there is nothing to save them with.
class VFGD : public QMainWindow
{
    Q_OBJECT

public:
    // Takes the file over; with none the window shows an empty list.
    explicit VFGD(CFileFGD *file = nullptr, QWidget *parent = nullptr);
    ~VFGD() override;

    CFileFGD *getFile() const { return fgd; }
    // Rows of the entity and keyvalue in focus, or -1.
    int getEntityFocus() const { return entityFocus; }
    int getKeyvalueFocus() const { return keyvalueFocus; }

    // Takes the file unless it is null or the window shows one already.
    [[nodiscard]] bool openShared(CFileFGD *file);
    // Swaps every column's item of two rows; the current cell can move along.
    static void swapTableRows(QTableWidget *table, int row, int otherRow, bool moveCurrent);

public Q_SLOTS:
    void fgdNew();
    void fgdOpen();
    void fgdSave();
    void fgdSaveAs();
    void fgdSaveCopyAs();
    void fgdImport();
    void fgdExport();

    void fgdAddEntity();
    void fgdAddKeyvalue();
    void fgdAddInput();
    void fgdAddOutput();
    void fgdAddChoices();
    void fgdAddLine();
    void fgdAddCylinder();

    void currentEntityChanged();
    void currentKeyvalueChanged();

    void fgdDescriptionChanged();
    void fgdIconspriteChanged();
    void fgdStudioChanged();
    void fgdStudioPropChanged();
    void fgdSizeChanged();
    void fgdStudioCheckStateChanged(int state);
    void fgdColorCheckStateChanged(int state);
    void fgdColorButtonClicked();
    void fgdEntityTypeChanged();
    void fgdParameterTypeChanged();
    void fgdFlagToggled(bool on);

    void fgdEntityItemChanged(QTableWidgetItem *item);
    void fgdKeyvalueItemChanged(QTableWidgetItem *item);
    void fgdInputItemChanged(QTableWidgetItem *item);
    void fgdOutputItemChanged(QTableWidgetItem *item);
    void fgdChoicesItemChanged(QTableWidgetItem *item);
    void fgdLineItemChanged(QTableWidgetItem *item);
    void fgdCylinderItemChanged(QTableWidgetItem *item);
    void fgdEntityItemEntered(QTableWidgetItem *item);
    void fgdEntityItemDoubleClicked(QTableWidgetItem *item);
    void fgdParameterItemDoubleClicked(QTableWidgetItem *item);

    void fgdContextMenuRequested(const QPoint &pos);
    void fgdToggleReadonly();
    void fgdToggleSphere();
    void fgdDelete();
    void fgdEntityMoveUp();
    void fgdEntityMoveDown();

private Q_SLOTS:
    void entityCurrentItemChanged(QTableWidgetItem *current);
    void keyvalueCurrentItemChanged(QTableWidgetItem *current);

private:
    void createActions();
    void createMenus();
    void createWidgets();
    QWidget *createEntityPane();
    QGroupBox *createPropertiesGroup();
    QTabWidget *createTabs();
    QGroupBox *createChoicesGroup();
    QTableWidget *makeTable(const QString &name, const QStringList &headers,
                            VFGDTableWidget *widget = nullptr);

    CFileFGD::Entity_t *focusEntity() const;
    CFileFGD::Keyvalue_t *focusKeyvalue() const;
    void fillEntityTable();
    void fillKeyvalueTable();
    void fillInputTable();
    void fillOutputTable();
    void fillFlagTable();
    void fillLineTable();
    void fillCylinderTable();
    void fillChoicesTable();
    void clearTable(QTableWidget *table);

    void makeEntityTableItems(int row, const CFileFGD::Entity_t &entity);
    void makeKeyvalueTableItems(int row, const CFileFGD::Keyvalue_t &keyvalue);
    void makeInputTableItems(int row, const CFileFGD::InputOutput_t &input);
    void makeOutputTableItems(int row, const CFileFGD::InputOutput_t &output);
    void makeChoicesTableItems(int row, const CFileFGD::Choice_t &choice);
    void makeLineTableItems(int row, const CFileFGD::Line_t &line);
    void makeCylinderTableItems(int row, const CFileFGD::Cylinder_t &cylinder);
    void makeInputOutputItems(QTableWidget *table, int row, const CFileFGD::InputOutput_t &entry);
    void makeEntityAddButton();
    void makeKeyvalueAddButton();
    void makeInputAddButton();
    void makeOutputAddButton();
    void makeChoicesAddButton();
    void makeLineAddButton();
    void makeCylinderAddButton();
    void placeAddButton(QTableWidget *table, void (VFGD::*slot)());
    // Turns the add row into a row for the record just appended, and adds a new add row.
    void growTable(QTableWidget *table, int row);
    void finishAdd(QTableWidget *table, int row);

    void updateKeyvalueIcon(QTableWidgetItem *item);
    void updateSize();
    void updateColorButton();
    void clearProperties();

    CFileFGD *fgd = nullptr;
    int entityFocus = -1;
    int keyvalueFocus = -1;
    QPointer<QTableWidget> contextTable;
    int contextRow = -1;

    QMenu *fileMenu = nullptr;
    QMenu *contextMenu = nullptr;
    QMenu *classMenu = nullptr;
    QMenu *parameterMenu = nullptr;
    QAction *actionNew = nullptr;
    QAction *actionOpen = nullptr;
    QAction *actionSave = nullptr;
    QAction *actionSaveAs = nullptr;
    QAction *actionSaveCopyAs = nullptr;
    QAction *actionImport = nullptr;
    QAction *actionExport = nullptr;
    QAction *actionExit = nullptr;
    QAction *actionToggleReadonly = nullptr;
    QAction *actionToggleSphere = nullptr;
    QAction *actionDelete = nullptr;
    std::vector<QAction *> classActions;
    std::vector<QAction *> parameterActions;

    VFGDTableWidget *entityTable = nullptr;
    QListWidget *includeList = nullptr;
    QGroupBox *propertiesGroup = nullptr;
    QLineEdit *descriptionEdit = nullptr;
    QLineEdit *iconspriteEdit = nullptr;
    QCheckBox *studioCheck = nullptr;
    QLineEdit *studioEdit = nullptr;
    QLineEdit *studioPropEdit = nullptr;
    QCheckBox *colorCheck = nullptr;
    QPushButton *colorButton = nullptr;
    QLineEdit *sizeEdit = nullptr;
    QListWidget *baseList = nullptr;
    QTabWidget *tabs = nullptr;
    QTableWidget *keyvalueTable = nullptr;
    QTableWidget *inputTable = nullptr;
    QTableWidget *outputTable = nullptr;
    QTableWidget *flagTable = nullptr;
    QTableWidget *lineTable = nullptr;
    QTableWidget *cylinderTable = nullptr;
    QGroupBox *choicesGroup = nullptr;
    QTableWidget *choicesTable = nullptr;
    std::vector<QCheckBox *> flagChecks;
};
