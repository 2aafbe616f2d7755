#include "particles/VParticleSystemsDialog.h"

#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

VParticleSystemsDialog::VParticleSystemsDialog(const CFilePCF &file, const QString &title,
                                               QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("VParticleSystemsDialog"));
    setWindowTitle(title);
    list = new QListWidget(this);
    list->setObjectName(QStringLiteral("systemList"));
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    if (const DmxElementArray *items = file.systemDefinitions()) {
        for (CDmxElement *system : *items) {
            systems.append(system);
            list->addItem(system->name);
        }
    }
    preserve = new QCheckBox(QStringLiteral("Preserve GUID Information"), this);
    preserve->setObjectName(QStringLiteral("preserveGuids"));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton *ok = buttons->button(QDialogButtonBox::Ok);
    ok->setEnabled(false);
    connect(list, &QListWidget::itemSelectionChanged, ok,
            [this, ok] { ok->setEnabled(!list->selectedItems().isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(list);
    layout->addWidget(preserve);
    layout->addWidget(buttons);
    resize(360, 420);
}

QList<CDmxElement *> VParticleSystemsDialog::chosenSystems() const
{
    QList<CDmxElement *> chosen;
    for (int row = 0; row < list->count(); ++row) {
        if (list->item(row)->isSelected())
            chosen.append(systems.at(row));
    }
    return chosen;
}

bool VParticleSystemsDialog::preserveGUIDs() const
{
    return preserve->isChecked();
}
