#include "map/VEntityFindDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLineEdit>
#include <QVBoxLayout>

VEntityFindDialog::VEntityFindDialog(const QString &title, const QString &icon,
                                     const QList<QStringList> &columns, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(title);
    setWindowIcon(QIcon(icon));

    auto *fields = new QHBoxLayout;
    for (const QStringList &labels : columns) {
        auto *form = new QFormLayout;
        for (const QString &label : labels) {
            auto *edit = new QLineEdit(QStringLiteral("0"));
            edit->setObjectName(QStringLiteral("findEdit%1").arg(edits.size()));
            form->addRow(label, edit);
            edits.append(edit);
        }
        fields->addLayout(form);
    }

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

QStringList VEntityFindDialog::values() const
{
    QStringList texts;
    for (const QLineEdit *edit : edits)
        texts.append(edit->text());
    return texts;
}
