#pragma once

#include "particles/CDmxAttribute.h"
#include "particles/CFilePCF.h"
#include "particles/PCFDelegate.h"

#include <QMainWindow>
#include <QString>

#include <memory>

class CDmxElement;
class QAction;
class QMenu;
class QTreeWidget;
class QTreeWidgetItem;
class VParticleTreeWidgetItem;

// The particle editor: a particle file as a tree of the root's attributes, with array items
// and the attributes of elements below them. Values are edited in place; the context menu of
// a row adds, renames, converts and deletes; "Format" converts the file to another version.
// The "Tools" menu holds the batch tools, which run in PCFBatch.
class VParticle : public QMainWindow
{
    Q_OBJECT

public:
    explicit VParticle(QWidget *parent = nullptr);
    // Takes the file over.
    explicit VParticle(CFilePCF *file, QWidget *parent = nullptr);
    ~VParticle() override;

    // A new attribute that does not own its value, to feed the tree.
    static CDmxAttribute *wrapData(CDmxAttribute::ParticleAttributeType_t type, const void *value,
                                   const QString &name);
    // 1, 2 or 3 as the user chose among the three formats, 0 when cancelled.
    static CFilePCF::ParticleFormatVersion_t promptParticleFormatVersion(QWidget *parent,
                                                                         const QString &title);
    // The "default" or "empty" system of the template of a version, or null.
    static CDmxElement *templateSystem(int version, const QString &name);

    CFilePCF *getFile() const { return file.get(); }
    const QString &getFilePath() const { return filePath; }

    // Reads the file into this window; on failure shows why and keeps what it had.
    [[nodiscard]] bool particleOpen(const QString &path);
    void particleOpenShared(CFilePCF *newFile, const QString &path);
    [[nodiscard]] bool particleSaveShared(const QString &path, bool copy);
    // Copies systems of source into target, converted to target's version when they differ.
    [[nodiscard]] bool portShared(const CFilePCF *source, const QList<CDmxElement *> *systems,
                                  CFilePCF *target, bool preserveGUIDs);
    void setTreeContents(CFilePCF &pcf);

public Q_SLOTS:
    void particleNew();
    void particleOpen();
    void particleSave();
    void particleSaveAs();
    void particleSaveCopyAs();
    void closeFrame();

    void formatOrangeBox();
    void formatL4D();
    void formatL4D2();
    void formatShared(CFilePCF::ParticleFormatVersion_t version);

    void replotTree();
    void particleShowStringDictionary();
    void particleFindSystem();
    void particleExport();
    void particleImport();
    void particleGenerateMapManifest();
    void particleMassFormat();
    void particleEnsureUniqueGUIDmultiple();

    void showContextMenu(const QPoint &position);
    void contextAddAttribute();
    void contextDelete();
    void contextRenameAttribute();
    void contextToArray();
    void contextFromArray();
    void contextScrambleGUID();

    QSize sizeHint() const override { return QSize(760, 540); }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createActions();
    void createMenus();
    void createTree();
    void updateTitle();
    void updateFormatTicks();
    void warn(const QString &text);
    [[nodiscard]] bool pickParticleFile(const QString &title, bool save, QString &path);

    // Tree rows.
    void addAttributeToTreeItem(QTreeWidget *tree, QTreeWidgetItem *parentItem,
                                CDmxAttribute *attribute, CDmxElement *element, bool addChildren);
    void addArrayAttributeToTreeItem(QTreeWidgetItem *arrayItem, CDmxAttribute *attribute);
    VParticleTreeWidgetItem *addArrayItemRow(QTreeWidgetItem *arrayItem, CDmxAttribute *array,
                                             qsizetype index);
    void addElementRows(QTreeWidgetItem *row, CDmxElement *element);
    QList<VParticleTreeWidgetItem *> rowsShowing(const CDmxElement *element) const;
    QList<VParticleTreeWidgetItem *> rowsOf(const CDmxAttribute *attribute) const;
    void renumberItems(QTreeWidgetItem *arrayItem);
    void startValueEdit(QTreeWidgetItem *item, int column);
    void valueEdited(QTreeWidgetItem *item, int column);

    // Context commands by row kind.
    void addSystem(VParticleTreeWidgetItem *row);
    void addOperator(VParticleTreeWidgetItem *row);
    void addChild(VParticleTreeWidgetItem *row, CDmxElement *parentSystem);
    void addGenericAttribute(VParticleTreeWidgetItem *row, CDmxElement *owner);
    void addArrayItem(VParticleTreeWidgetItem *row);
    void appendToFile(CDmxElement *element, DmxElementArray *array, VParticleTreeWidgetItem *row);
    void deleteElementItem(VParticleTreeWidgetItem *row);
    void deleteValueItem(VParticleTreeWidgetItem *row);
    void removeRowsShowing(const CDmxElement *element);
    [[nodiscard]] bool canAddTo(const VParticleTreeWidgetItem *row) const;

    void massEditingShared(char mode);
    [[nodiscard]] bool chooseSystems(const CFilePCF &source, const QString &title,
                                     QList<CDmxElement *> &chosen, bool &preserveGUIDs);

    std::unique_ptr<CFilePCF> file;
    PCFDelegate delegate;
    QString filePath;
    VParticleTreeWidgetItem *currentRow = nullptr;
    // While rows are made: the elements being shown on the way down, so that one that holds
    // itself is shown closed, and how many more rows a hostile file may still have.
    QList<const CDmxElement *> expanding;
    qsizetype rowsLeft = 0;

    QTreeWidget *tree = nullptr;
    QMenu *fileMenu = nullptr;
    QMenu *formatMenu = nullptr;
    QMenu *toolsMenu = nullptr;
    QMenu *guidMenu = nullptr;
    QAction *actionNew = nullptr;
    QAction *actionOpen = nullptr;
    QAction *actionSave = nullptr;
    QAction *actionSaveAs = nullptr;
    QAction *actionSaveCopyAs = nullptr;
    QAction *actionExit = nullptr;
    QAction *actionFormats[4] = {};
    QAction *actionReplot = nullptr;
    QAction *actionDictionary = nullptr;
    QAction *actionFind = nullptr;
    QAction *actionExport = nullptr;
    QAction *actionImport = nullptr;
    QAction *actionManifest = nullptr;
    QAction *actionMassFormat = nullptr;
    QAction *actionGuids = nullptr;
};
