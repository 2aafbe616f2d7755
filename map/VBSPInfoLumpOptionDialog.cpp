#include "map/VBSPInfoLumpOptionDialog.h"

#include <QHBoxLayout>
#include <QPushButton>

VBSPInfoLumpOptionDialog::VBSPInfoLumpOptionDialog(const QString &lumpHeader, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Lump ") + lumpHeader);
    setFixedWidth(300);

    auto *extract = new QPushButton(QStringLiteral("Extract"));
    extract->setObjectName(QStringLiteral("extractButton"));
    auto *replace = new QPushButton(QStringLiteral("Replace"));
    replace->setObjectName(QStringLiteral("replaceButton"));
    auto *cancel = new QPushButton(QStringLiteral("Cancel"));
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setDefault(true);
    connect(extract, &QPushButton::clicked, this, &VBSPInfoLumpOptionDialog::extractPressed);
    connect(replace, &QPushButton::clicked, this, &VBSPInfoLumpOptionDialog::replacePressed);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto *layout = new QHBoxLayout(this);
    layout->addWidget(extract);
    layout->addWidget(replace);
    layout->addWidget(cancel);
}

void VBSPInfoLumpOptionDialog::extractPressed()
{
    result = Extract;
    accept();
}

void VBSPInfoLumpOptionDialog::replacePressed()
{
    result = Replace;
    accept();
}
