#pragma once

#include <QList>
#include <QString>

class IPackageDelegate;
class QProgressDialogger;
class QTreeWidgetItem;
class VPackageTreeWidgetItem;

// Writes package entries below a target directory for the Package Viewer,
// reporting each failure in the progress dialog's log (without one, as a
// warning) and going on.
class VPackageExtractor
{
public:
    VPackageExtractor(IPackageDelegate *delegate, QProgressDialogger *dialog);

    // Each item with all files below it. Directories are re-created below
    // target; the package root's own name is left out.
    void extract(const QList<VPackageTreeWidgetItem *> &items, const QString &target);

    // The path of file as it is written for an extraction of base.
    static QString relativePath(const QTreeWidgetItem *base, const QTreeWidgetItem *file);
    // True if every part of the path is a plain name, so that it cannot leave
    // the directory it is joined to.
    static bool isContainedPath(const QString &relative);

private:
    struct Job_t
    {
        const VPackageTreeWidgetItem *base;
        const VPackageTreeWidgetItem *file;
    };

    void log(const QString &text, bool isError);
    void writeFile(const Job_t &job, const QString &target);

    IPackageDelegate *delegate;
    QProgressDialogger *dialog;
};
