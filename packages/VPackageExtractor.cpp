#include "packages/VPackageExtractor.h"

#include "packages/CPackageHierarchyNode.h"
#include "packages/IPackageDelegate.h"
#include "packages/VPackageTreeWidgetItem.h"
#include "util/QProgressDialogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

VPackageExtractor::VPackageExtractor(IPackageDelegate *delegate, QProgressDialogger *dialog)
    : delegate(delegate)
    , dialog(dialog)
{ }

void VPackageExtractor::log(const QString &text, bool isError)
{
    if (dialog)
        dialog->logMessage(text, isError);
    else if (isError)
        qWarning("%s", qUtf8Printable(text));
}

QString VPackageExtractor::relativePath(const QTreeWidgetItem *base, const QTreeWidgetItem *file)
{
    QStringList parts;
    const QTreeWidgetItem *item = file;
    for (; item && item != base; item = item->parent())
        parts.prepend(item->text(0));
    if (!item)
        return QString();
    // Extracting the whole package puts its contents, not a folder "root", in place.
    if (base->parent() || base->text(0) != QLatin1String("root") || base == file)
        parts.prepend(base->text(0));
    return parts.join(QLatin1Char('/'));
}

bool VPackageExtractor::isContainedPath(const QString &relative)
{
    if (relative.isEmpty())
        return false;
    for (const QString &part : relative.split(QLatin1Char('/'))) {
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String("..")
            || part.contains(QLatin1Char('\\')) || part.contains(QChar(0)))
            return false;
    }
    return true;
}

void VPackageExtractor::extract(const QList<VPackageTreeWidgetItem *> &items, const QString &target)
{
    QList<Job_t> jobs;
    for (const VPackageTreeWidgetItem *item : items) {
        if (!item)
            continue;
        if (!item->node) {
            log(QStringLiteral("Tree item \"%1\" does not have directory node.").arg(item->text(0)),
                true);
            continue;
        }
        // Without recursion: a hostile directory may nest very deep.
        QList<const VPackageTreeWidgetItem *> pending { item };
        while (!pending.isEmpty()) {
            const VPackageTreeWidgetItem *next = pending.takeFirst();
            if (!next->node)
                continue;
            if (next->node->isLeaf()) {
                jobs.append(Job_t { item, next });
                continue;
            }
            for (int i = next->childCount() - 1; i >= 0; --i)
                pending.prepend(static_cast<const VPackageTreeWidgetItem *>(next->child(i)));
        }
    }

    if (dialog) {
        dialog->setLabelText(QStringLiteral("Extracting..."));
        dialog->setMaximum(int(qMin<qsizetype>(jobs.size(), INT_MAX)));
        dialog->setValue(0);
    }
    int done = 0;
    for (const Job_t &job : jobs) {
        writeFile(job, target);
        if (dialog)
            dialog->setValue(++done);
    }
}

void VPackageExtractor::writeFile(const Job_t &job, const QString &target)
{
    const QString relative = relativePath(job.base, job.file);
    const QString root = QDir::cleanPath(target);
    const QString prefix = root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/');
    const QString path = QDir::cleanPath(prefix + relative);
    if (!isContainedPath(relative) || !path.startsWith(prefix)) {
        log(QStringLiteral("Refused \"%1\": its path leads outside the target directory.")
                .arg(relative),
            true);
        return;
    }
    const QString directory = QFileInfo(path).path();
    if (!QDir().mkpath(directory)) {
        log(QStringLiteral("Unable to create path \"%1\"").arg(directory), true);
        return;
    }
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        log(QStringLiteral("Unable to open \"%1\"").arg(path), true);
        return;
    }
    CPackageHierarchyNode *node = job.file->node;
    out.resize(delegate->getFileSizeByNode(node));
    if (!delegate->getFileByNode(&out, node)) {
        log(QStringLiteral("Unable to retrieve data for \"%1\": ").arg(path)
                + delegate->getLastError(),
            true);
        out.close();
        out.remove();
        return;
    }
    out.close();
}
