#pragma once

#include "util/CPair.h"

#include <QColor>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

class CDelegateBSP;
class CPackageHierarchyNode;
class FlushSyncronizer;

// The work of the pakfile lump editor without its window: file types, entry states, adding
// files from disk, saving entries to a directory, the map save with its after-checks, and the
// ZIP export. The editor asks its questions through the callbacks; the command-line tool
// answers them itself.
class CPakfileTool
{
public:
    // The type text of a long extension ("dx90.vtx"); case-sensitive, the first hit wins.
    static QString typeForExtension(const QString &extension);

    enum NodeState_t { NoNode, Deleted, New, Modified, Untouched };
    static NodeState_t nodeState(const CPackageHierarchyNode *node);
    static QColor stateColour(NodeState_t state);
    static QString stateName(NodeState_t state);

    // The answers of the overwrite and modified questions.
    enum Answer_t { Yes, YesToAll, No, NoToAll, Cancel };

    // The directories that hold pakfile entries, sorted, for the relative path of Add.
    static QStringList packageDirectories(const CDelegateBSP &map);
    // Cut at "/" and "\" and joined with "/".
    static QString joinRelativePath(const QString &path);

    struct AddResult_t
    {
        QVector<CPackageHierarchyNode *> added; // new entries, in order
        QVector<CPackageHierarchyNode *> changed; // entries that were there already
        QStringList log;
        bool canceled = false;
    };
    // Puts each file under relativePath in the package, to be read when the map is saved.
    // `overwrite` is asked with the package path when the package has data there already.
    static AddResult_t
    addFiles(CDelegateBSP &map, const QStringList &files, const QString &relativePath,
             const std::function<Answer_t(const QString &packagePath)> &overwrite,
             const std::function<void(int done)> &step = {});

    struct SaveItem_t
    {
        CPackageHierarchyNode *node = nullptr;
        QString directoryColumn; // "/" + the entry's directory
    };
    struct SaveQuestions_t
    {
        // With the package path of an entry that has pending data in place of its own.
        std::function<Answer_t(const QString &path)> modified;
        // With the file name of a target that exists.
        std::function<Answer_t(const QString &name)> overwrite;
    };
    // Writes the entries' data into directory, with their package directories when
    // preserveStructure is set. The log holds one line per failure.
    static QStringList saveFiles(CDelegateBSP &map, const QVector<SaveItem_t> &items,
                                 const QString &directory, bool preserveStructure,
                                 const SaveQuestions_t &questions,
                                 const std::function<void(int done)> &step = {});

    // Removes an added entry outright (then the answer is true) or toggles the deletion mark
    // of an entry of the package.
    [[nodiscard]] static bool toggleDeletion(CDelegateBSP &map, CPackageHierarchyNode *node);

    // Flushes the map. Afterwards, when entries were deleted, every kept entry whose bytes
    // differ from those in the backup the flush left gets a line in `warnings`, and so does a
    // saved map that does not open again. Lines of the flush itself go to sync.
    [[nodiscard]] static bool save(CDelegateBSP &map, FlushSyncronizer *sync,
                                   QStringList &warnings);

    enum ExportResult_t { ExportFailed, Exported, ExportedCommentTooLong };
    // The pakfile as a ZIP at path, with the comment naming the map (and the old comment).
    static ExportResult_t exportZip(CDelegateBSP &map, const QString &path, QString &error);
    static QByteArray exportComment(const CDelegateBSP &map);

    // The rows of the status dialog's statistics, "Total:" last, over the types of the
    // entries that have their data in the package.
    static QVector<CPair<QString, int>> statistics(const QStringList &types);
};
