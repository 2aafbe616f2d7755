#include "materials/VPakfileScanOptions.h"

#include "materials/CPakfileScan.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QVBoxLayout>

VPakfileScanOptions::VPakfileScanOptions(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("scanOptionsDialog"));
    setWindowTitle(QStringLiteral("Scan Options"));
    auto *layout = new QVBoxLayout(this);
    for (int bit = 0; bit < CPakfileScan::OptionCount; ++bit) {
        auto *box = new QCheckBox(CPakfileScan::optionLabel(bit));
        box->setObjectName(QStringLiteral("scanOption%1").arg(bit));
        boxes.append(box);
        layout->addWidget(box);
    }
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void VPakfileScanOptions::setMask(quint16 mask)
{
    for (int bit = 0; bit < boxes.size(); ++bit)
        boxes.at(bit)->setChecked(mask & (1u << bit));
}

quint16 VPakfileScanOptions::mask() const
{
    quint16 mask = 0;
    for (int bit = 0; bit < boxes.size(); ++bit) {
        if (boxes.at(bit)->isChecked())
            mask |= quint16(1u << bit);
    }
    return mask;
}
