#include "util/QListDialog.h"

#include "util/UtilWidgets.h"

#include <QListWidget>
#include <QVBoxLayout>
#include <algorithm>

QListDialog::QListDialog(QWidget *parent, QDialogButtonBox::StandardButtons buttons)
    : QDialog(parent)
{
    list = new QListWidget(this);
    list->setMinimumSize(250, 300);
    list->setMovement(QListView::Static);
    list->setUniformItemSizes(true);
    list->setWordWrap(false);
    list->setWrapping(false);
    list->setTextElideMode(Qt::ElideRight);
    list->setSelectionMode(QAbstractItemView::SingleSelection);

    box = new QDialogButtonBox(buttons, this);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);
    layout->addWidget(list);
    layout->addWidget(box);

    if (buttons.testFlag(QDialogButtonBox::Ok) && buttons.testFlag(QDialogButtonBox::Cancel))
        connect(list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, list, &QListWidget::clearSelection);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);

    setWindowTitle(parent ? parent->windowTitle() : QStringLiteral("Select Item(s)"));
}

int QListDialog::getItem(QWidget *parent, const QString &title, const QStringList &items,
                         int current)
{
    QListDialog dialog(parent, QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    dialog.setWindowTitle(title);
    dialog.setSelectionMode(QAbstractItemView::SingleSelection);
    dialog.setItems(items, current);
    if (dialog.execute() != QDialog::Accepted)
        return -1;
    return dialog.getSelected();
}

void QListDialog::showItems(QWidget *parent, const QString &title, const QStringList &items)
{
    QListDialog dialog(parent, QDialogButtonBox::Ok);
    dialog.setWindowTitle(title);
    dialog.setSelectionMode(QAbstractItemView::NoSelection);
    dialog.setSelectionRequired(false);
    dialog.setItems(items, -1);
    dialog.execute();
}

void QListDialog::setItems(const QStringList &items, int current)
{
    list->clear();
    list->addItems(items);
    if (current >= 0 && current < list->count())
        list->setCurrentRow(current);
    else
        list->setCurrentRow(-1);
}

void QListDialog::setSelectionMode(QAbstractItemView::SelectionMode mode)
{
    list->setSelectionMode(mode);
}

int QListDialog::execute()
{
    UTIL_centerOverWidget(this, parentWidget());
    const int result = exec();
    if (selectionRequired && result == QDialog::Accepted)
        return list->selectedItems().isEmpty() ? 0 : 1;
    return result;
}

int QListDialog::getSelected() const
{
    const QList<int> rows = getMultiSelected();
    return rows.isEmpty() ? -1 : rows.first();
}

QList<int> QListDialog::getMultiSelected() const
{
    QList<int> rows;
    const QList<QListWidgetItem *> items = list->selectedItems();
    rows.reserve(items.size());
    for (const QListWidgetItem *item : items)
        rows.append(list->row(item));
    std::sort(rows.begin(), rows.end());
    return rows;
}
