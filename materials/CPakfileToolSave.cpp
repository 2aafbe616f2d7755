// CPakfileTool, second half: the map save with its after-checks, and the ZIP export.
#include "materials/CPakfileTool.h"

#include "packages/CDelegateBSP.h"
#include "packages/FlushSyncronizer.h"

#include <QSaveFile>

#include <memory>

namespace {

// A pakfile entry of the package that the flush copies from the old map as it stands.
struct KeptEntry_t
{
    const CPackageHierarchyNode *node;
    QString path;
};

// The flush takes the bytes of an unchanged entry by its position among the kept entries, so
// after a deletion an entry can come out with another one's bytes. Those are the entries to
// look at afterwards.
bool deletesPackedEntries(const CDelegateBSP &map, QVector<KeptEntry_t> &kept)
{
    bool deletes = false;
    for (int index = CDelegateBSP::Lump_Count; index < map.getNodeCount(); ++index) {
        const CPackageHierarchyNode *node = map.getNodeByIndex(unsigned(index));
        if (!node || !node->isDataInPackage())
            continue;
        if (node->markedForDeletion)
            deletes = true;
        else if (!node->hasData)
            kept.append({ node, node->getPath(true) });
    }
    return deletes;
}

void compareWithBackup(const CDelegateBSP &map, const QVector<KeptEntry_t> &kept,
                       const QString &backupPath, QStringList &warnings)
{
    CDelegateBSP backup;
    if (!backup.openPackage(backupPath, true)) {
        warnings.append(QStringLiteral("Delegate Error: Unable to compare the saved entries "
                                       "with the original map \"%1\": %2")
                            .arg(backupPath, backup.getLastError()));
        return;
    }
    for (const KeptEntry_t &entry : kept) {
        const std::unique_ptr<QByteArray> saved(map.getPackageFileByNode(entry.node));
        QByteArray original;
        if (const CPackageHierarchyNode *root = backup.getRootDirectoryNode()) {
            const CPackageHierarchyNode *old
                = root->getNodeByPath(IPackageDelegate::splitPackagePath(entry.path), true);
            const std::unique_ptr<QByteArray> bytes(old ? backup.getPackageFileByNode(old)
                                                        : nullptr);
            if (bytes)
                original = *bytes;
        }
        if (!saved || *saved != original)
            warnings.append(QStringLiteral("Delegate Error: The save gave \"%1\" the bytes of "
                                           "another entry; its own bytes are in the original "
                                           "map \"%2\"")
                                .arg(entry.path, backupPath));
    }
}

} // namespace

bool CPakfileTool::save(CDelegateBSP &map, FlushSyncronizer *sync, QStringList &warnings)
{
    QVector<KeptEntry_t> kept;
    const bool deletes = deletesPackedEntries(map, kept);
    if (!map.flush(sync))
        return false;
    const QString path = map.getPackagePath();
    const QString backupPath = path + QStringLiteral(".backup");
    if (deletes)
        compareWithBackup(map, kept, backupPath, warnings);
    // A map read as version 21 with its lumps in the standard order goes out as version 22,
    // which no reader takes: say so while the original is still at hand.
    CDelegateBSP probe;
    if (!probe.openPackage(path, true))
        warnings.append(QStringLiteral("Delegate Error: The saved map will not open again (%1); "
                                       "the original map is \"%2\"")
                            .arg(probe.getLastError(), backupPath));
    return true;
}

QByteArray CPakfileTool::exportComment(const CDelegateBSP &map)
{
    QByteArray comment = "Pakfile extracted from " + map.getPackageName().toLatin1() + ".bsp";
    const QByteArray old = map.getPakfileComment();
    if (!old.isEmpty())
        comment += " with previous comment \"" + old + "\"";
    return comment;
}

CPakfileTool::ExportResult_t CPakfileTool::exportZip(CDelegateBSP &map, const QString &path,
                                                     QString &error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        error = QStringLiteral("File Error: Unable to open \"%1\"").arg(path);
        return ExportFailed;
    }
    if (!map.writePakfileZip(
            &file, CDelegateBSP::ZipWrite_PendingChanges | CDelegateBSP::ZipWrite_NoComment)) {
        file.cancelWriting();
        error = map.getLastError();
        return ExportFailed;
    }
    ExportResult_t result = Exported;
    const QByteArray comment = exportComment(map);
    if (comment.size() > 65534) {
        result = ExportedCommentTooLong;
        error = QStringLiteral("Unable to write modified ZIP comment; old comment too long");
    } else {
        // The archive ends with the comment length of its end record; the comment follows it.
        const qint64 end = file.pos();
        const char length[2] = { char(comment.size() & 0xff), char((comment.size() >> 8) & 0xff) };
        if (!file.seek(end - 2) || file.write(length, 2) != 2
            || file.write(comment) != comment.size()) {
            file.cancelWriting();
            error = QStringLiteral("Write Error: Unable to write \"%1\"").arg(path);
            return ExportFailed;
        }
    }
    if (!file.commit()) {
        error = QStringLiteral("Write Error: Unable to write \"%1\"").arg(path);
        return ExportFailed;
    }
    return result;
}
