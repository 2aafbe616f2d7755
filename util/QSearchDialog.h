#pragma once

#include <QDialog>
#include <QString>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;

// The search prompt of the package views.
class QSearchDialog : public QDialog
{
    Q_OBJECT

public:
    // In the order of the "Mode:" combo box.
    enum SearchMode { Substring = 0, WholeString = 1, Wildcard = 2, RegularExpression = 3 };

    explicit QSearchDialog(QWidget *parent = nullptr);

    SearchMode getSearchMode() const;
    QString getQuery() const;
    bool isCaseSensitive() const;
    Qt::CaseSensitivity getCaseSensitivity() const;

    QLineEdit *queryEdit() const { return query; }
    QComboBox *modeCombo() const { return mode; }
    QCheckBox *caseSensitiveBox() const { return caseSensitive; }
    QPushButton *buttonOk() const { return okButton; }
    QPushButton *buttonCancel() const { return cancelButton; }

private:
    QLineEdit *query = nullptr;
    QComboBox *mode = nullptr;
    QCheckBox *caseSensitive = nullptr;
    QPushButton *okButton = nullptr;
    QPushButton *cancelButton = nullptr;
};
