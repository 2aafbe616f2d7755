#include "materials/VPakfileStatusDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

VPakfileStatusDialog::VPakfileStatusDialog(unsigned int version, unsigned int offset,
                                           unsigned int length, const QString &comment,
                                           const QVector<CPair<QString, int>> &statistics,
                                           QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("pakfileStatus"));
    setWindowTitle(QStringLiteral("Pakfile Status"));

    auto *information = new QGroupBox(QStringLiteral("Information"));
    auto *informationLayout = new QVBoxLayout(information);
    auto *lump = new QLabel(QStringLiteral("Version: %1   Offset: %2   Length: %3")
                                .arg(version)
                                .arg(offset)
                                .arg(length));
    lump->setObjectName(QStringLiteral("statusLump"));
    lump->setTextInteractionFlags(Qt::TextSelectableByMouse);
    informationLayout->addWidget(lump);

    auto *commentBox = new QGroupBox(QStringLiteral("Comment"));
    auto *commentLayout = new QVBoxLayout(commentBox);
    auto *commentEdit = new QPlainTextEdit(comment);
    commentEdit->setObjectName(QStringLiteral("statusComment"));
    commentEdit->setReadOnly(true);
    commentEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    commentEdit->setTabStopDistance(32);
    commentEdit->setMaximumHeight(90);
    commentLayout->addWidget(commentEdit);

    auto *statisticsBox = new QGroupBox(QStringLiteral("Statistics"));
    auto *form = new QFormLayout(statisticsBox);
    form->setVerticalSpacing(2);
    for (const CPair<QString, int> &row : statistics) {
        auto *count = new QLabel(QString::number(row.second));
        count->setObjectName(QStringLiteral("statistic ") + row.first);
        form->addRow(row.first, count);
    }

    auto *buttons = new QDialogButtonBox;
    QPushButton *close = buttons->addButton(QStringLiteral("Close"), QDialogButtonBox::RejectRole);
    close->setObjectName(QStringLiteral("statusClose"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(information);
    layout->addWidget(commentBox);
    layout->addWidget(statisticsBox);
    layout->addWidget(buttons);
}
