#include "util/QFileListDialog.h"

#include <QFileDialog>
#include <QListWidget>
#include <QPushButton>

QFileListDialog::QFileListDialog(const QString &filter, QWidget *parent)
    : QListDialog(parent, QDialogButtonBox::Ok | QDialogButtonBox::Cancel)
    , filter(filter)
{
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionRequired(false);

    browseButton = box->addButton(QStringLiteral("Browse..."), QDialogButtonBox::ActionRole);
    removeButton = box->addButton(QStringLiteral("Remove"), QDialogButtonBox::ActionRole);
    browseButton->setAutoDefault(false);
    removeButton->setAutoDefault(false);
    connect(browseButton, &QPushButton::clicked, this, &QFileListDialog::addFiles);
    connect(removeButton, &QPushButton::clicked, this, &QFileListDialog::removeFiles);
}

QStringList QFileListDialog::getFileList(const QString &filter, const QString &title,
                                         const QStringList &files, QWidget *parent)
{
    QFileListDialog dialog(filter, parent);
    dialog.setWindowTitle(title);
    dialog.setFiles(files);
    if (dialog.execute() != QDialog::Accepted)
        return files;
    return dialog.getMultiSelected();
}

int QFileListDialog::execute()
{
    return QListDialog::execute();
}

QStringList QFileListDialog::getMultiSelected() const
{
    QStringList names;
    names.reserve(list->count());
    for (int row = 0; row < list->count(); ++row)
        names.append(list->item(row)->text());
    return names;
}

void QFileListDialog::setFiles(const QStringList &files)
{
    setItems(files, -1);
}

void QFileListDialog::addFiles()
{
    const QStringList names
        = QFileDialog::getOpenFileNames(this, QStringLiteral("Select Files"), QString(), filter);
    list->addItems(names);
}

void QFileListDialog::removeFiles()
{
    const QList<QListWidgetItem *> selected = list->selectedItems();
    for (QListWidgetItem *item : selected)
        delete list->takeItem(list->row(item));
}
