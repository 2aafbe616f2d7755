#include "materials/CPakfileTool.h"

#include "packages/CDelegateBSP.h"
#include "util/UtilPath.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSet>

#include <algorithm>

QString CPakfileTool::typeForExtension(const QString &extension)
{
    static const char *const table[][2] = {
        { "vmt", "Material" },
        { "spr", "Material" },
        { "vtf", "Texture" },
        { "hdr.vtf", "Texture (HDR)" },
        { "vhv", "Prop Data" },
        { "mdl", "Model" },
        { "ani", "Animation" },
        { "vvd", "Vertex" },
        { "sw.vtx", "Mesh (Software)" },
        { "dx80.vtx", "Mesh (DX8)" },
        { "dx90.vtx", "Mesh (DX9)" },
        { "phy", "Collision" },
        { "xbox.vtx", "Mesh (XBox)" },
        { "vtx", "Mesh" },
        { "wav", "Sound" },
        { "mp3", "Sound" },
        { "pcf", "Particle Cache" },
        { "dct", "Dictionary" },
        { "txt", "Text" },
        { "cache", "Cache" },
        { "vcd", "Faceposer Scene" },
        { "nav", "Navigation Mesh" },
        { "ain", "Nodegraph" },
    };
    for (const auto &entry : table) {
        if (extension == QLatin1String(entry[0]))
            return QString::fromLatin1(entry[1]);
    }
    return QStringLiteral("Other");
}

CPakfileTool::NodeState_t CPakfileTool::nodeState(const CPackageHierarchyNode *node)
{
    if (!node)
        return NoNode;
    if (node->markedForDeletion)
        return Deleted;
    if (!node->isDataInPackage())
        return New;
    return node->hasData ? Modified : Untouched;
}

QColor CPakfileTool::stateColour(NodeState_t state)
{
    switch (state) {
    case NoNode:
        return QColor(192, 192, 192);
    case Deleted:
        return QColor(255, 192, 192);
    case New:
        return QColor(255, 255, 192);
    case Modified:
        return QColor(192, 255, 255);
    case Untouched:
        break;
    }
    return QColor(192, 255, 192);
}

QString CPakfileTool::stateName(NodeState_t state)
{
    switch (state) {
    case NoNode:
        return QStringLiteral("gone");
    case Deleted:
        return QStringLiteral("deleted");
    case New:
        return QStringLiteral("new");
    case Modified:
        return QStringLiteral("modified");
    case Untouched:
        break;
    }
    return QStringLiteral("packed");
}

QStringList CPakfileTool::packageDirectories(const CDelegateBSP &map)
{
    QSet<QString> seen;
    QStringList directories;
    for (int index = CDelegateBSP::Lump_Count; index < map.getNodeCount(); ++index) {
        const CPackageHierarchyNode *node = map.getNodeByIndex(unsigned(index));
        if (!node)
            continue;
        const QString directory = UTIL_cleanFilePath(node->getPath(false));
        if (!directory.isEmpty() && !seen.contains(directory)) {
            seen.insert(directory);
            directories.append(directory);
        }
    }
    std::sort(directories.begin(), directories.end(), [](const QString &a, const QString &b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    return directories;
}

QString CPakfileTool::joinRelativePath(const QString &path)
{
    static const QRegularExpression separators(QStringLiteral("\\\\|/"));
    return path.split(separators, Qt::SkipEmptyParts).join(QLatin1Char('/'));
}

CPakfileTool::AddResult_t
CPakfileTool::addFiles(CDelegateBSP &map, const QStringList &files, const QString &relativePath,
                       const std::function<Answer_t(const QString &packagePath)> &overwrite,
                       const std::function<void(int done)> &step)
{
    AddResult_t result;
    const QString relative = joinRelativePath(relativePath);
    bool overwriteAll = false;
    bool skipAll = false;
    for (qsizetype i = 0; i < files.size() && !result.canceled; ++i) {
        if (step)
            step(int(i));
        const QString &file = files.at(i);
        QFile probe(file);
        if (!probe.open(QIODevice::ReadOnly)) {
            result.log.append(QStringLiteral("File Error: Unable to open \"%1\"").arg(file));
            continue;
        }
        probe.close();
        const QString name = QFileInfo(file).fileName();
        const QString packagePath = relative.isEmpty() ? name : relative + QLatin1Char('/') + name;
        const CPackageHierarchyNode *root = map.getRootDirectoryNode();
        CPackageHierarchyNode *existing
            = root ? root->getNodeByPath(IPackageDelegate::splitPackagePath(packagePath)) : nullptr;
        if (existing && !existing->isLeaf()) {
            result.log.append(QStringLiteral("Delegate Error: Target node is not leaf"));
            continue;
        }
        if (existing && (existing->hasData || existing->isDataInPackage())) {
            if (skipAll)
                continue;
            if (!overwriteAll) {
                const Answer_t answer = overwrite ? overwrite(packagePath) : No;
                if (answer == Cancel) {
                    result.canceled = true;
                    break;
                }
                overwriteAll = answer == YesToAll;
                skipAll = answer == NoToAll;
                if (answer == No || answer == NoToAll)
                    continue;
            }
        }
        CPackageHierarchyNode *node = map.fileAddFromDisk(packagePath, file, true);
        if (!node)
            result.log.append(map.getLastError());
        else if (existing)
            result.changed.append(node);
        else
            result.added.append(node);
    }
    if (step)
        step(int(files.size()));
    return result;
}

QStringList CPakfileTool::saveFiles(CDelegateBSP &map, const QVector<SaveItem_t> &items,
                                    const QString &directory, bool preserveStructure,
                                    const SaveQuestions_t &questions,
                                    const std::function<void(int done)> &step)
{
    QStringList log;
    QString base = directory;
    if (!base.endsWith(QLatin1Char('/')) && !base.endsWith(QLatin1Char('\\')))
        base += QLatin1Char('/');
    // Each question keeps its own answer for all.
    int modifiedSticky = -1; // Yes or No once "to All" was answered
    int overwriteSticky = -1;
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (step)
            step(int(i));
        CPackageHierarchyNode *node = items.at(i).node;
        if (!node)
            continue;
        QString relative;
        if (preserveStructure) {
            relative = items.at(i).directoryColumn + QLatin1Char('/');
            if (!UTIL_makeDirectoriesForPath(base + relative, false)) {
                log.append(QStringLiteral("File System Error: Unable to create path \"%1\"")
                               .arg(base + relative));
                continue;
            }
        }
        const QString target = base + relative + node->getName();
        bool modified = node->hasData;
        if (node->hasData && node->isDataInPackage()) {
            Answer_t answer = modifiedSticky >= 0 ? Answer_t(modifiedSticky)
                : questions.modified              ? questions.modified(node->getPath(true))
                                                  : Yes;
            if (answer == Cancel)
                break;
            if (answer == YesToAll || answer == NoToAll) {
                answer = answer == YesToAll ? Yes : No;
                modifiedSticky = answer;
            }
            modified = answer == Yes;
        }
        if (QFileInfo::exists(target)) {
            Answer_t answer = overwriteSticky >= 0 ? Answer_t(overwriteSticky)
                : questions.overwrite              ? questions.overwrite(node->getName())
                                                   : No;
            if (answer == Cancel)
                break;
            if (answer == YesToAll || answer == NoToAll) {
                answer = answer == YesToAll ? Yes : No;
                overwriteSticky = answer;
            }
            if (answer == No)
                continue;
        }
        if (!node->hasData && !node->isDataInPackage()) {
            log.append(QStringLiteral("Delegate Error: Node at path \"%1\" has no data")
                           .arg(node->getPath(true)));
            continue;
        }
        QSaveFile file(target);
        if (!file.open(QIODevice::WriteOnly)) {
            log.append(QStringLiteral("File Error: Unable to open \"%1\"").arg(target));
            continue;
        }
        const bool written
            = modified ? map.getFileByNode(&file, node) : map.getPackageFileByNode(&file, node);
        if (!written || !file.commit()) {
            file.cancelWriting();
            log.append(written ? QStringLiteral("File Error: Unable to open \"%1\"").arg(target)
                               : map.getLastError());
        }
    }
    if (step)
        step(int(items.size()));
    return log;
}

bool CPakfileTool::toggleDeletion(CDelegateBSP &map, CPackageHierarchyNode *node)
{
    if (!node)
        return false;
    if (node->markedForDeletion) {
        (void)map.fileUnmarkForDeletionByNode(node);
        return false;
    }
    // A file that was only added leaves the package at once, and the node with it.
    const bool added = !node->isDataInPackage();
    return !map.fileMarkForDeletionByNode(node) && added;
}

QVector<CPair<QString, int>> CPakfileTool::statistics(const QStringList &types)
{
    static const char *const labels[]
        = { "Material",   "Texture",     "Texture (HDR)",  "Model",           "Animation",
            "Vertex",     "Collision",   "Mesh",           "Mesh (Software)", "Mesh (DX8)",
            "Mesh (DX9)", "Mesh (XBox)", "Sound",          "Prop Data",       "Particle Cache",
            "Dictionary", "Text",        "Faceposer Scene" };
    QVector<CPair<QString, int>> rows;
    for (const char *label : labels)
        rows.append({ QString::fromLatin1(label) + QLatin1Char(':'), 0 });
    rows.append({ QStringLiteral("Other:"), 0 });
    for (const QString &type : types) {
        const QString label = type + QLatin1Char(':');
        auto it
            = std::find_if(rows.begin(), rows.end() - 1,
                           [&label](const CPair<QString, int> &row) { return row.first == label; });
        ++it->second; // "Other:" when no row names the type
    }
    rows.append({ QStringLiteral("Total:"), int(types.size()) });
    return rows;
}
