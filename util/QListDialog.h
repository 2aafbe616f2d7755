#pragma once

#include <QAbstractItemView>
#include <QDialog>
#include <QDialogButtonBox>
#include <QList>
#include <QStringList>

class QListWidget;

// A list to choose from, above a button box.
class QListDialog : public QDialog
{
    Q_OBJECT

public:
    explicit QListDialog(QWidget *parent = nullptr,
                         QDialogButtonBox::StandardButtons buttons
                         = QDialogButtonBox::Ok | QDialogButtonBox::Cancel);

    // One row with Ok and Cancel: the chosen row, or -1.
    static int getItem(QWidget *parent, const QString &title, const QStringList &items,
                       int current);
    // Shows the items with a single Ok button and nothing to select.
    static void showItems(QWidget *parent, const QString &title, const QStringList &items);

    // current -1 leaves no current row.
    void setItems(const QStringList &items, int current);
    void setSelectionMode(QAbstractItemView::SelectionMode mode);
    bool isSelectionRequired() const { return selectionRequired; }
    void setSelectionRequired(bool required) { selectionRequired = required; }

    // Centres over the parent and runs the dialog. When a selection is required, an accepted
    // dialog yields 1 only with at least one item selected, 0 otherwise.
    int execute();

    // The lowest selected row, or -1.
    int getSelected() const;
    // The selected rows in ascending order.
    QList<int> getMultiSelected() const;

    QListWidget *listWidget() const { return list; }
    QDialogButtonBox *buttonBox() const { return box; }

protected:
    QListWidget *list = nullptr;
    QDialogButtonBox *box = nullptr;
    bool selectionRequired = true;
};
