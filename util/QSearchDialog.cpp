#include "util/QSearchDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

QSearchDialog::QSearchDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Search"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/magnifier")));

    query = new QLineEdit(this);
    mode = new QComboBox(this);
    mode->addItems({ QStringLiteral("Substring"), QStringLiteral("Whole String"),
                     QStringLiteral("Wildcard"), QStringLiteral("Regular Expression") });
    caseSensitive = new QCheckBox(QStringLiteral("Case Sensitive"), this);
    okButton = new QPushButton(QStringLiteral("Ok"), this);
    okButton->setDefault(true);
    cancelButton = new QPushButton(QStringLiteral("Cancel"), this);

    auto *queryLabel = new QLabel(QStringLiteral("Query:"), this);
    queryLabel->setBuddy(query);
    auto *modeLabel = new QLabel(QStringLiteral("Mode:"), this);
    modeLabel->setBuddy(mode);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(okButton);
    buttons->addWidget(cancelButton);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(queryLabel);
    layout->addWidget(query);
    layout->addWidget(modeLabel);
    layout->addWidget(mode);
    layout->addWidget(caseSensitive);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(okButton, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

QSearchDialog::SearchMode QSearchDialog::getSearchMode() const
{
    const int index = mode->currentIndex();
    return index < 0 ? Substring : static_cast<SearchMode>(index);
}

QString QSearchDialog::getQuery() const
{
    return query->text();
}

bool QSearchDialog::isCaseSensitive() const
{
    return caseSensitive->isChecked();
}

Qt::CaseSensitivity QSearchDialog::getCaseSensitivity() const
{
    return isCaseSensitive() ? Qt::CaseSensitive : Qt::CaseInsensitive;
}
