#pragma once

#include "map/CFileVBSP.h"

#include <QMainWindow>

#include <memory>

class QAction;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QMenu;
class QTreeWidgetItem;
class VVBSPTreeWidget;
class VVBSPTreeWidgetItem;

// The detail type editor: the tree of one detail type listing beside the options of the item
// in focus. Values take effect when their line edit is left and are clamped to their range.
class VVBSP : public QMainWindow
{
    Q_OBJECT

public:
    explicit VVBSP(QWidget *parent = nullptr);
    explicit VVBSP(const QString &path, QWidget *parent = nullptr);
    // Takes the file over.
    explicit VVBSP(CFileVBSP *file, QWidget *parent = nullptr);
    ~VVBSP() override;

    CFileVBSP *getFile() const { return vbsp; }
    int getTextureDimension() const { return textureDimension; }
    CFileVBSP::detailtype *getCurrentDetailtype() const { return curDetailtype; }
    CFileVBSP::detailgroup *getCurrentDetailgroup() const { return curDetailgroup; }
    CFileVBSP::detailprop *getCurrentDetailprop() const { return curDetailprop; }

    // Read into this window; a failure is told in a message box.
    bool fileOpenShared(const QString &path);
    void fileOpenShared(CFileVBSP *file);
    bool fileSaveShared(const QString &path, bool copy);

public Q_SLOTS:
    void fileNew();
    void fileOpen();
    void fileSave();
    void fileSaveAs();
    void fileSaveCopyAs();
    void toggleDetailShapeSupport(bool on);
    void setTextureDimension();

    void contextAddType();
    void contextAddGroup();
    void contextAddProp();
    void contextCopy();
    void contextPaste();
    void contextDelete();
    void moveItemUp();
    void moveItemDown();

    void detailtypeDensityEditEdited();
    void detailgroupAlphaEditEdited();
    void detailpropEdit_modelChanged(const QString &text);
    void detailpropEdit_spriterandomscaleEdited();
    void detailpropEdit_amountEdited();
    void detailpropEdit_minangleEdited();
    void detailpropEdit_maxangleEdited();
    void detailpropEdit_xOriginEdited();
    void detailpropEdit_yOriginEdited();
    void detailpropEdit_xWidthEdited();
    void detailpropEdit_yHeightEdited();
    void detailpropEdit_uOriginEdited();
    void detailpropEdit_vOriginEdited();
    void detailpropEdit_uWidthEdited();
    void detailpropEdit_vHeightEdited();
    void detailpropEdit_swayEdited();
    void detailpropEdit_shape_angleEdited();
    void detailpropEdit_shape_sizeEdited();
    void detailpropCombo_sprite_shapeChanged(int index);
    void detailpropCombo_detailOrientationChanged(int index);
    void detailpropCheck_uprightToggled(bool on);

protected:
    void closeEvent(QCloseEvent *event) override;

private Q_SLOTS:
    void treeCurrentItemChanged(QTreeWidgetItem *current);
    void treeItemChanged(QTreeWidgetItem *item, int column);
    void treeContextMenuRequested(const QPoint &pos);

private:
    enum class Kind { None, Type, Group, Prop };

    void createActions();
    void createMenus();
    void createWidgets();
    QWidget *createOptionsPanel();
    QGroupBox *createDetailtypeOptionsGroup();
    QGroupBox *createDetailgroupOptionsGroup();
    QGroupBox *createDetailpropOptionsGroup();
    QGroupBox *createSpriteParametersGroup();
    QGroupBox *createTextureParametersGroup();
    QGroupBox *createDetailShapeOptionsGroup();
    QLineEdit *makeEdit(const QString &name, void (VVBSP::*slot)());

    void rebuildTree();
    VVBSPTreeWidgetItem *addTypeToTree(CFileVBSP::detailtype *type);
    VVBSPTreeWidgetItem *addGroupToTree(QTreeWidgetItem *parent, CFileVBSP::detailgroup *group);
    VVBSPTreeWidgetItem *addPropToTree(QTreeWidgetItem *parent, CFileVBSP::detailprop *prop);
    VVBSPTreeWidgetItem *currentTreeItem() const;
    void moveItem(int step);
    QString askName(const QString &title, const QString &label);
    void ensureFile();
    Kind pasteKind() const;

    void updateOptions();
    void updateDetailtypeOptionsGroup();
    void updateDetailgroupOptionsGroup();
    void updateDetailpropOptionsGroup();
    void updateSpriteFormEnabled();
    void updateShapeSupportAction();
    void updateFileActions();
    void setModified();
    void warn(const QString &text);

    // Parse, clamp, store and rewrite one field; the window is modified only by a change.
    void editInt(QLineEdit *edit, int &field, int low, int high);
    void editFloat(QLineEdit *edit, float &field, double low, double high);

    CFileVBSP *vbsp = nullptr;
    CFileVBSP::detailtype *curDetailtype = nullptr;
    CFileVBSP::detailgroup *curDetailgroup = nullptr;
    CFileVBSP::detailprop *curDetailprop = nullptr;
    std::unique_ptr<CFileVBSP::detailtype> copiedDetailtype;
    std::unique_ptr<CFileVBSP::detailgroup> copiedDetailgroup;
    std::unique_ptr<CFileVBSP::detailprop> copiedDetailprop;
    int textureDimension = -1;

    QMenu *fileMenu = nullptr;
    QMenu *optionsMenu = nullptr;
    QMenu *contextMenu = nullptr;
    QAction *actionNew = nullptr;
    QAction *actionOpen = nullptr;
    QAction *actionSave = nullptr;
    QAction *actionSaveAs = nullptr;
    QAction *actionSaveCopyAs = nullptr;
    QAction *actionClose = nullptr;
    QAction *actionShapeSupport = nullptr;
    QAction *actionTextureDimension = nullptr;
    QAction *actionAddType = nullptr;
    QAction *actionAddGroup = nullptr;
    QAction *actionAddProp = nullptr;
    QAction *actionCopy = nullptr;
    QAction *actionPaste = nullptr;
    QAction *actionDelete = nullptr;

    VVBSPTreeWidget *tree = nullptr;
    QGroupBox *detailtypeGroup = nullptr;
    QLineEdit *densityEdit = nullptr;
    QGroupBox *detailgroupGroup = nullptr;
    QLineEdit *alphaEdit = nullptr;
    QGroupBox *detailpropGroup = nullptr;
    QLineEdit *modelEdit = nullptr;
    QLineEdit *amountEdit = nullptr;
    QComboBox *orientationCombo = nullptr;
    QCheckBox *uprightCheck = nullptr;
    QLineEdit *minangleEdit = nullptr;
    QLineEdit *maxangleEdit = nullptr;
    QLineEdit *randomScaleEdit = nullptr;
    QGroupBox *spriteGroup = nullptr;
    QLineEdit *xOriginEdit = nullptr;
    QLineEdit *yOriginEdit = nullptr;
    QLineEdit *xWidthEdit = nullptr;
    QLineEdit *yHeightEdit = nullptr;
    QGroupBox *textureGroup = nullptr;
    QLineEdit *uOriginEdit = nullptr;
    QLineEdit *vOriginEdit = nullptr;
    QLineEdit *uWidthEdit = nullptr;
    QLineEdit *vHeightEdit = nullptr;
    QGroupBox *shapeGroup = nullptr;
    QComboBox *shapeCombo = nullptr;
    QLineEdit *shapeAngleEdit = nullptr;
    QLineEdit *shapeSizeEdit = nullptr;
    QLineEdit *swayEdit = nullptr;
};
