#include "particles/VParticleAddAttributeDialog.h"

#include "particles/CDmxAttribute.h"
#include "particles/CFilePCF.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <memory>

VParticleAddAttributeDialog::VParticleAddAttributeDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("VParticleAddAttributeDialog"));
    setWindowTitle(QStringLiteral("Add Attribute"));
    nameEdit = new QLineEdit(this);
    nameEdit->setObjectName(QStringLiteral("attributeName"));
    typeCombo = new QComboBox(this);
    typeCombo->setObjectName(QStringLiteral("attributeType"));
    for (int type = CDmxAttribute::ATTRIBUTE_ELEMENT; type <= CDmxAttribute::ATTRIBUTE_MATRIX_ARRAY;
         ++type)
        typeCombo->addItem(CDmxAttribute::attributeTypeToAttributeName(
            CDmxAttribute::ParticleAttributeType_t(type)));

    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Attribute Name:"), nameEdit);
    form->addRow(QStringLiteral("Attribute Type:"), typeCombo);
    auto *buttons = new QDialogButtonBox(this);
    QPushButton *add
        = buttons->addButton(QStringLiteral("Add Attribute"), QDialogButtonBox::AcceptRole);
    add->setObjectName(QStringLiteral("addButton"));
    add->setDefault(true);
    buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &VParticleAddAttributeDialog::acceptCheck);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    setMinimumWidth(360);
}

void VParticleAddAttributeDialog::acceptCheck()
{
    if (nameEdit->text().isEmpty()) {
        nameEdit->setFocus();
        return;
    }
    accept();
}

CDmxAttribute *VParticleAddAttributeDialog::getNewAttribute() const
{
    auto type = CDmxAttribute::ATTRIBUTE_ELEMENT;
    for (int id = CDmxAttribute::ATTRIBUTE_ELEMENT; id <= CDmxAttribute::ATTRIBUTE_MATRIX_ARRAY;
         ++id) {
        const auto candidate = CDmxAttribute::ParticleAttributeType_t(id);
        if (CDmxAttribute::attributeTypeToAttributeName(candidate) == typeCombo->currentText())
            type = candidate;
    }
    auto attribute = std::make_unique<CDmxAttribute>();
    attribute->name = nameEdit->text();
    if (!attribute->setValue(type, CFilePCF::defaultDataForAttributeType(type)))
        return nullptr;
    return attribute.release();
}
