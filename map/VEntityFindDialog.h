#pragma once

#include <QDialog>
#include <QList>
#include <QStringList>

class QLineEdit;

// The fixed-size dialog of the entity editor's find commands: columns of labelled line
// edits, each starting at "0", above Ok and Cancel.
class VEntityFindDialog : public QDialog
{
    Q_OBJECT

public:
    // Each column is a list of labels; the edits are numbered down the columns, and named
    // "findEdit<N>" for tests.
    VEntityFindDialog(const QString &title, const QString &icon, const QList<QStringList> &columns,
                      QWidget *parent = nullptr);

    // The texts in the order of the labels.
    QStringList values() const;

private:
    QList<QLineEdit *> edits;
};
