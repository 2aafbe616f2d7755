// VVBSP, second half: the option groups of the item in focus and their edits.
#include "map/VVBSP.h"

#include "app/ProgramSettings_t.h"
#include "util/UtilText.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <cfloat>

namespace {

QString intText(int value)
{
    return QStringLiteral("%1").arg(value);
}

QString floatText(double value)
{
    return UTIL_standardNotationFloat(value, 6);
}

double clampValue(double value, double low, double high)
{
    if (!(value >= low))
        return low;
    return value > high ? high : value;
}

void setEditText(QLineEdit *edit, const QString &text)
{
    const QSignalBlocker blocker(edit);
    edit->setText(text);
}

} // namespace

QLineEdit *VVBSP::makeEdit(const QString &name, void (VVBSP::*slot)())
{
    auto *edit = new QLineEdit;
    edit->setObjectName(name);
    connect(edit, &QLineEdit::editingFinished, this, slot);
    return edit;
}

QWidget *VVBSP::createOptionsPanel()
{
    auto *panel = new QWidget;
    auto *layout = new QVBoxLayout(panel);
    layout->addWidget(createDetailtypeOptionsGroup());
    layout->addWidget(createDetailgroupOptionsGroup());
    layout->addWidget(createDetailpropOptionsGroup());
    layout->addStretch(1);
    return panel;
}

QGroupBox *VVBSP::createDetailtypeOptionsGroup()
{
    detailtypeGroup = new QGroupBox(QStringLiteral("Detail Type Options"));
    detailtypeGroup->setObjectName(QStringLiteral("Detail Type Options"));
    auto *form = new QFormLayout(detailtypeGroup);
    densityEdit = makeEdit(QStringLiteral("density"), &VVBSP::detailtypeDensityEditEdited);
    form->addRow(QStringLiteral("Density:"), densityEdit);
    return detailtypeGroup;
}

QGroupBox *VVBSP::createDetailgroupOptionsGroup()
{
    detailgroupGroup = new QGroupBox(QStringLiteral("Detail Group Options"));
    detailgroupGroup->setObjectName(QStringLiteral("Detail Group Options"));
    auto *form = new QFormLayout(detailgroupGroup);
    alphaEdit = makeEdit(QStringLiteral("alpha"), &VVBSP::detailgroupAlphaEditEdited);
    form->addRow(QStringLiteral("Alpha:"), alphaEdit);
    return detailgroupGroup;
}

QGroupBox *VVBSP::createDetailpropOptionsGroup()
{
    detailpropGroup = new QGroupBox(QStringLiteral("Detail Prop Options"));
    detailpropGroup->setObjectName(QStringLiteral("Detail Prop Options"));
    auto *form = new QFormLayout;

    modelEdit = new QLineEdit;
    modelEdit->setObjectName(QStringLiteral("model"));
    connect(modelEdit, &QLineEdit::textChanged, this, &VVBSP::detailpropEdit_modelChanged);
    form->addRow(QStringLiteral("Model:"), modelEdit);
    amountEdit = makeEdit(QStringLiteral("amount"), &VVBSP::detailpropEdit_amountEdited);
    form->addRow(QStringLiteral("Amount:"), amountEdit);

    orientationCombo = new QComboBox;
    orientationCombo->setObjectName(QStringLiteral("detailOrientation"));
    orientationCombo->addItems(*ProgramSettings_t::get()->detailOrientations);
    connect(orientationCombo, &QComboBox::currentIndexChanged, this,
            &VVBSP::detailpropCombo_detailOrientationChanged);
    form->addRow(QStringLiteral("Orientation:"), orientationCombo);

    uprightCheck = new QCheckBox(QStringLiteral("Upright"));
    uprightCheck->setObjectName(QStringLiteral("upright"));
    connect(uprightCheck, &QCheckBox::toggled, this, &VVBSP::detailpropCheck_uprightToggled);
    form->addRow(QString(), uprightCheck);

    minangleEdit = makeEdit(QStringLiteral("minangle"), &VVBSP::detailpropEdit_minangleEdited);
    form->addRow(QStringLiteral("Min. Angle:"), minangleEdit);
    maxangleEdit = makeEdit(QStringLiteral("maxangle"), &VVBSP::detailpropEdit_maxangleEdited);
    form->addRow(QStringLiteral("Max. Angle:"), maxangleEdit);
    randomScaleEdit = makeEdit(QStringLiteral("spriterandomscale"),
                               &VVBSP::detailpropEdit_spriterandomscaleEdited);
    form->addRow(QStringLiteral("Random Scale:"), randomScaleEdit);

    auto *layout = new QVBoxLayout(detailpropGroup);
    layout->addLayout(form);
    layout->addWidget(createSpriteParametersGroup());
    layout->addWidget(createTextureParametersGroup());
    layout->addWidget(createDetailShapeOptionsGroup());
    return detailpropGroup;
}

QGroupBox *VVBSP::createSpriteParametersGroup()
{
    spriteGroup = new QGroupBox(QStringLiteral("Sprite Parameters"));
    spriteGroup->setObjectName(QStringLiteral("Sprite Parameters"));
    auto *form = new QFormLayout(spriteGroup);
    xOriginEdit = makeEdit(QStringLiteral("x"), &VVBSP::detailpropEdit_xOriginEdited);
    yOriginEdit = makeEdit(QStringLiteral("y"), &VVBSP::detailpropEdit_yOriginEdited);
    xWidthEdit = makeEdit(QStringLiteral("width"), &VVBSP::detailpropEdit_xWidthEdited);
    yHeightEdit = makeEdit(QStringLiteral("height"), &VVBSP::detailpropEdit_yHeightEdited);
    form->addRow(QStringLiteral("X Origin:"), xOriginEdit);
    form->addRow(QStringLiteral("Y Origin:"), yOriginEdit);
    form->addRow(QStringLiteral("Width:"), xWidthEdit);
    form->addRow(QStringLiteral("Height:"), yHeightEdit);
    return spriteGroup;
}

QGroupBox *VVBSP::createTextureParametersGroup()
{
    textureGroup = new QGroupBox(QStringLiteral("Texture Parameters"));
    textureGroup->setObjectName(QStringLiteral("Texture Parameters"));
    auto *form = new QFormLayout(textureGroup);
    uOriginEdit = makeEdit(QStringLiteral("uOrigin"), &VVBSP::detailpropEdit_uOriginEdited);
    vOriginEdit = makeEdit(QStringLiteral("vOrigin"), &VVBSP::detailpropEdit_vOriginEdited);
    uWidthEdit = makeEdit(QStringLiteral("uWidth"), &VVBSP::detailpropEdit_uWidthEdited);
    vHeightEdit = makeEdit(QStringLiteral("vHeight"), &VVBSP::detailpropEdit_vHeightEdited);
    form->addRow(QStringLiteral("U Origin:"), uOriginEdit);
    form->addRow(QStringLiteral("V Origin:"), vOriginEdit);
    form->addRow(QStringLiteral("U Width:"), uWidthEdit);
    form->addRow(QStringLiteral("V Height:"), vHeightEdit);
    return textureGroup;
}

QGroupBox *VVBSP::createDetailShapeOptionsGroup()
{
    shapeGroup = new QGroupBox(QStringLiteral("Detail Shape Options"));
    shapeGroup->setObjectName(QStringLiteral("Detail Shape Options"));
    auto *form = new QFormLayout(shapeGroup);
    shapeCombo = new QComboBox;
    shapeCombo->setObjectName(QStringLiteral("sprite_shape"));
    const ProgramSettings_t *settings = ProgramSettings_t::get();
    for (qsizetype i = 0; i < settings->spriteShapeNames->size(); ++i) {
        shapeCombo->addItem(settings->spriteShapeNames->at(i));
        shapeCombo->setItemData(int(i), settings->spriteShapeValues->value(i), Qt::ToolTipRole);
    }
    connect(shapeCombo, &QComboBox::currentIndexChanged, this,
            &VVBSP::detailpropCombo_sprite_shapeChanged);
    form->addRow(QStringLiteral("Shape:"), shapeCombo);
    shapeAngleEdit
        = makeEdit(QStringLiteral("shape_angle"), &VVBSP::detailpropEdit_shape_angleEdited);
    shapeSizeEdit = makeEdit(QStringLiteral("shape_size"), &VVBSP::detailpropEdit_shape_sizeEdited);
    swayEdit = makeEdit(QStringLiteral("sway"), &VVBSP::detailpropEdit_swayEdited);
    form->addRow(QStringLiteral("Angle:"), shapeAngleEdit);
    form->addRow(QStringLiteral("Offset:"), shapeSizeEdit);
    form->addRow(QStringLiteral("Sway:"), swayEdit);
    return shapeGroup;
}

void VVBSP::updateOptions()
{
    updateDetailtypeOptionsGroup();
    updateDetailgroupOptionsGroup();
    updateDetailpropOptionsGroup();
}

void VVBSP::updateDetailtypeOptionsGroup()
{
    detailtypeGroup->setEnabled(curDetailtype != nullptr);
    setEditText(densityEdit, curDetailtype ? floatText(curDetailtype->density) : QString());
}

void VVBSP::updateDetailgroupOptionsGroup()
{
    detailgroupGroup->setEnabled(curDetailgroup != nullptr);
    setEditText(alphaEdit, curDetailgroup ? floatText(curDetailgroup->alpha) : QString());
}

void VVBSP::updateDetailpropOptionsGroup()
{
    const CFileVBSP::detailprop *prop = curDetailprop;
    detailpropGroup->setEnabled(prop != nullptr);
    if (!prop) {
        for (QLineEdit *edit : detailpropGroup->findChildren<QLineEdit *>())
            setEditText(edit, QString());
        const QSignalBlocker orientationBlocker(orientationCombo);
        orientationCombo->setCurrentIndex(-1);
        const QSignalBlocker shapeBlocker(shapeCombo);
        shapeCombo->setCurrentIndex(-1);
        const QSignalBlocker uprightBlocker(uprightCheck);
        uprightCheck->setChecked(false);
        return;
    }
    setEditText(modelEdit, QString::fromStdString(prop->model));
    setEditText(amountEdit, floatText(prop->amount));
    setEditText(minangleEdit, floatText(prop->minangle));
    setEditText(maxangleEdit, floatText(prop->maxangle));
    setEditText(randomScaleEdit, floatText(prop->spriterandomscale));
    setEditText(xOriginEdit, intText(prop->x));
    setEditText(yOriginEdit, intText(prop->y));
    setEditText(xWidthEdit, intText(prop->width));
    setEditText(yHeightEdit, intText(prop->height));
    setEditText(uOriginEdit, floatText(prop->uOrigin));
    setEditText(vOriginEdit, floatText(prop->vOrigin));
    setEditText(uWidthEdit, floatText(prop->uWidth));
    setEditText(vHeightEdit, floatText(prop->vHeight));
    setEditText(shapeAngleEdit, floatText(prop->shape_angle));
    setEditText(shapeSizeEdit, floatText(prop->shape_size));
    setEditText(swayEdit, floatText(prop->sway));
    {
        const QSignalBlocker blocker(orientationCombo);
        orientationCombo->setCurrentIndex(prop->detailOrientation);
    }
    {
        // A shape that the settings don't list shows the first entry.
        const QSignalBlocker blocker(shapeCombo);
        const int index = shapeCombo->findText(QString::fromStdString(prop->sprite_shape));
        shapeCombo->setCurrentIndex(index < 0 ? 0 : index);
    }
    {
        const QSignalBlocker blocker(uprightCheck);
        uprightCheck->setChecked(prop->upright);
    }
    updateSpriteFormEnabled();
}

void VVBSP::updateSpriteFormEnabled()
{
    const bool sprite = curDetailprop && curDetailprop->model.empty();
    for (QWidget *widget : std::initializer_list<QWidget *> { orientationCombo, randomScaleEdit,
                                                              spriteGroup, textureGroup })
        widget->setEnabled(sprite);
    shapeGroup->setEnabled(sprite && vbsp && vbsp->detailShapeSupport);
}

void VVBSP::editInt(QLineEdit *edit, int &field, int low, int high)
{
    const int value = int(clampValue(edit->text().toInt(), low, high));
    setEditText(edit, intText(value));
    if (value != field) {
        field = value;
        setModified();
    }
}

void VVBSP::editFloat(QLineEdit *edit, float &field, double low, double high)
{
    const float value = float(clampValue(edit->text().toFloat(), low, high));
    setEditText(edit, floatText(value));
    if (value != field) {
        field = value;
        setModified();
    }
}

void VVBSP::detailtypeDensityEditEdited()
{
    if (curDetailtype)
        editFloat(densityEdit, curDetailtype->density, 0, FLT_MAX);
}

void VVBSP::detailgroupAlphaEditEdited()
{
    if (curDetailgroup)
        editFloat(alphaEdit, curDetailgroup->alpha, 0, 1);
}

void VVBSP::detailpropEdit_modelChanged(const QString &text)
{
    if (!curDetailprop)
        return;
    const std::string model = text.toStdString();
    if (model != curDetailprop->model) {
        curDetailprop->model = model;
        setModified();
    }
    updateSpriteFormEnabled();
}

void VVBSP::detailpropEdit_spriterandomscaleEdited()
{
    if (curDetailprop)
        editFloat(randomScaleEdit, curDetailprop->spriterandomscale, 0, 1);
}

void VVBSP::detailpropEdit_amountEdited()
{
    if (curDetailprop)
        editFloat(amountEdit, curDetailprop->amount, 0, 1);
}

void VVBSP::detailpropEdit_minangleEdited()
{
    if (curDetailprop)
        editFloat(minangleEdit, curDetailprop->minangle, 0, curDetailprop->maxangle);
}

void VVBSP::detailpropEdit_maxangleEdited()
{
    if (curDetailprop)
        editFloat(maxangleEdit, curDetailprop->maxangle, curDetailprop->minangle, 360);
}

void VVBSP::detailpropEdit_xOriginEdited()
{
    if (curDetailprop)
        editInt(xOriginEdit, curDetailprop->x, 0, 4096);
}

void VVBSP::detailpropEdit_yOriginEdited()
{
    if (curDetailprop)
        editInt(yOriginEdit, curDetailprop->y, 0, 4096);
}

void VVBSP::detailpropEdit_xWidthEdited()
{
    if (curDetailprop)
        editInt(xWidthEdit, curDetailprop->width, 0, 4096);
}

void VVBSP::detailpropEdit_yHeightEdited()
{
    if (curDetailprop)
        editInt(yHeightEdit, curDetailprop->height, 0, 4096);
}

void VVBSP::detailpropEdit_uOriginEdited()
{
    if (curDetailprop)
        editFloat(uOriginEdit, curDetailprop->uOrigin, 0, 1);
}

void VVBSP::detailpropEdit_vOriginEdited()
{
    if (curDetailprop)
        editFloat(vOriginEdit, curDetailprop->vOrigin, 0, 1);
}

void VVBSP::detailpropEdit_uWidthEdited()
{
    if (curDetailprop)
        editFloat(uWidthEdit, curDetailprop->uWidth, 0, 1);
}

void VVBSP::detailpropEdit_vHeightEdited()
{
    if (curDetailprop)
        editFloat(vHeightEdit, curDetailprop->vHeight, 0, 1);
}

void VVBSP::detailpropEdit_swayEdited()
{
    if (curDetailprop)
        editFloat(swayEdit, curDetailprop->sway, 0, 1);
}

void VVBSP::detailpropEdit_shape_angleEdited()
{
    if (curDetailprop)
        editFloat(shapeAngleEdit, curDetailprop->shape_angle, 0, 360);
}

void VVBSP::detailpropEdit_shape_sizeEdited()
{
    if (curDetailprop)
        editFloat(shapeSizeEdit, curDetailprop->shape_size, 0, 1);
}

void VVBSP::detailpropCombo_sprite_shapeChanged(int index)
{
    if (!curDetailprop || index < 0)
        return;
    const std::string shape = shapeCombo->itemText(index).toStdString();
    if (shape == curDetailprop->sprite_shape)
        return;
    curDetailprop->sprite_shape = shape;
    setModified();
}

void VVBSP::detailpropCombo_detailOrientationChanged(int index)
{
    if (!curDetailprop || index < 0 || index > 2 || index == curDetailprop->detailOrientation)
        return;
    curDetailprop->detailOrientation = index;
    setModified();
}

void VVBSP::detailpropCheck_uprightToggled(bool on)
{
    if (!curDetailprop || on == curDetailprop->upright)
        return;
    curDetailprop->upright = on;
    setModified();
}
