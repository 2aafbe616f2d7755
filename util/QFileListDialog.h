#pragma once

#include "util/QListDialog.h"

#include <QStringList>

class QPushButton;

// An editable list of file names: "Browse..." adds files, "Remove" takes out the selected ones.
class QFileListDialog : public QListDialog
{
    Q_OBJECT

public:
    explicit QFileListDialog(const QString &filter = QString(), QWidget *parent = nullptr);

    // The list as the user left it when accepted; the given files unchanged when cancelled.
    static QStringList getFileList(const QString &filter, const QString &title,
                                   const QStringList &files, QWidget *parent);

    int execute();
    // Every item's text, in order, selected or not.
    QStringList getMultiSelected() const;

    const QString &getFilter() const { return filter; }
    void setFilter(const QString &text) { filter = text; }
    void setFiles(const QStringList &files);

    QPushButton *buttonBrowse() const { return browseButton; }
    QPushButton *buttonRemove() const { return removeButton; }

public slots:
    void addFiles();
    void removeFiles();

private:
    QString filter;
    QPushButton *browseButton = nullptr;
    QPushButton *removeButton = nullptr;
};
