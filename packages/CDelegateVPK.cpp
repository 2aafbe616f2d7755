#include "packages/CDelegateVPK.h"

#include "packages/CChildNameIndex.h"
#include "packages/CPackageHierarchyNode.h"
#include "packages/FlushSyncronizer.h"

#include <QFile>
#include <QHash>

namespace {
const qint64 copyChunk = 64 * 1024;
}

CDelegateVPK::CDelegateVPK() = default;

CDelegateVPK::~CDelegateVPK()
{
    closePackage();
}

bool CDelegateVPK::openPackage(const QString &path, bool)
{
    if (path.isEmpty()) {
        lastError = QStringLiteral("Request Error: Invalid file path");
        return false;
    }
    // Whatever an earlier opening built goes, so that a failure leaves no tree.
    dropTree();
    closePackage();
    directory.clear();
    directoryPath = path;
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        lastError = QStringLiteral("File Error: Unable to open");
        return false;
    }

    const int marker = path.lastIndexOf(QLatin1String("_dir.vpk"), -1, Qt::CaseInsensitive);
    isDirectoryName = marker >= 0;
    archiveBasePath = isDirectoryName ? path.left(marker) : QString();

    if (!directory.read(file, lastError))
        return false;
    return generateInternalDirectoryStructure();
}

void CDelegateVPK::closePackage()
{
    if (file.isOpen())
        file.close();
}

QString CDelegateVPK::getPackagePath() const
{
    return directoryPath;
}

int CDelegateVPK::getPackageType() const
{
    return 4;
}

bool CDelegateVPK::flush(FlushSyncronizer *sync)
{
    lastError = QStringLiteral("Delegate Error: No logic for flush()");
    if (sync)
        sync->doFail();
    return false;
}

bool CDelegateVPK::isPackageFileAtIndex(unsigned int index) const
{
    return index < unsigned(directory.entries.size());
}

unsigned int CDelegateVPK::getPackageFileSizeByIndex(unsigned int index) const
{
    const CVPKDirectory::Entry_t *entry = getEntryByIndex(index);
    return entry ? unsigned(entry->preloadBytes) + entry->archiveLength : 0;
}

unsigned int CDelegateVPK::getPackageFileSizeOnDiskByIndex(unsigned int index) const
{
    return getFileSizeByIndex(index);
}

const CVPKDirectory::Entry_t *CDelegateVPK::getEntryByIndex(unsigned int index) const
{
    if (index >= unsigned(directory.entries.size()))
        return nullptr;
    return &directory.entries[int(index)];
}

QString CDelegateVPK::getArchiveName(unsigned int archiveIndex) const
{
    if (!isDirectoryName || archiveBasePath.isEmpty())
        return QString();
    return archiveBasePath + QStringLiteral("_%1.vpk").arg(archiveIndex, 3, 10, QLatin1Char('0'));
}

bool CDelegateVPK::getPackageFileByIndex(QIODevice *device, unsigned int index) const
{
    if (!checkOutputDevice(device))
        return false;
    const CVPKDirectory::Entry_t *entry = getEntryByIndex(index);
    if (!entry) {
        lastError = QStringLiteral("Request Error: File index out of bounds");
        return false;
    }
    if (entry->preloadBytes
        && device->write(directory.entryPreload(index), entry->preloadBytes)
            != entry->preloadBytes) {
        lastError = QStringLiteral("Stream Error: Incomplete write");
        return false;
    }
    if (entry->archiveLength == 0)
        return true;

    const bool inDirectory = entry->archiveIndex == CVPKDirectory::directoryArchive;
    QString archive = directoryPath;
    if (!inDirectory) {
        archive = getArchiveName(entry->archiveIndex);
        if (archive.isEmpty()) {
            lastError = QStringLiteral("Request Error: File name not compatible with archive "
                                       "segmentation");
            return false;
        }
    }

    // The handle stays on the archive last read, since entries of one archive
    // tend to be asked for together.
    QFile &source = const_cast<QFile &>(file);
    if (!source.isOpen() || source.fileName() != archive) {
        source.close();
        source.setFileName(archive);
        if (!source.exists()) {
            lastError = QStringLiteral("File Error: Package does not exist");
            return false;
        }
        if (!source.open(QIODevice::ReadOnly)) {
            lastError = QStringLiteral("File Error: Unable to open package");
            return false;
        }
    }

    qint64 start = entry->archiveOffset;
    if (inDirectory)
        start += qint64(directory.treeSize) + CVPKDirectory::headerSize;
    const qint64 size = source.size();
    if (start > size || !source.seek(start)) {
        lastError = QStringLiteral("Stream Error: Seek error");
        return false;
    }
    qint64 left = entry->archiveLength;
    if (left > size - start) {
        lastError = QStringLiteral("Stream Error: Incomplete read");
        return false;
    }
    QByteArray buffer(int(qMin(left, copyChunk)), Qt::Uninitialized);
    while (left > 0) {
        const qint64 step = qMin(left, copyChunk);
        if (source.read(buffer.data(), step) != step) {
            lastError = QStringLiteral("Stream Error: Incomplete read");
            return false;
        }
        if (device->write(buffer.constData(), step) != step) {
            lastError = QStringLiteral("Stream Error: Incomplete write");
            return false;
        }
        left -= step;
    }
    return true;
}

bool CDelegateVPK::generateInternalDirectoryStructure()
{
    delete root;
    root = new CPackageHierarchyNode(QStringLiteral("root"), this, -1);
    root->makeNode();
    nodes.clear();
    nodes.resize(directory.entries.size(), nullptr);

    auto malformed = [this]() {
        lastError = QStringLiteral("File Error: Malformed directory structure");
        dropTree();
        return false;
    };
    // Each directory is found once; its files then go straight in at its end,
    // and the names are checked for repeats once the tree is whole.
    TreeBuild_t build;
    build.slotOfPath.assign(size_t(directory.paths.size()), -1);
    QHash<CPackageHierarchyNode *, int> slotOfNode;
    for (int i = 0; i < directory.entries.size(); ++i) {
        const CVPKDirectory::Entry_t &entry = directory.entries[i];
        CPackageHierarchyNode *leaf = nullptr;
        if (!entry.nameHasSeparator) {
            int &slot = build.slotOfPath[entry.pathIndex];
            if (slot < 0) {
                const QStringList parts = splitPackagePath(directory.entryPath(i));
                CPackageHierarchyNode *found
                    = parts.isEmpty() ? root : root->getNewNodeByPath(parts, false);
                if (!found)
                    return malformed();
                // Two spellings of a path ("a/b", "a\\b") lead to one directory.
                slot = slotOfNode.value(found, int(build.directories.size()));
                if (slot == int(build.directories.size())) {
                    slotOfNode.insert(found, slot);
                    build.directories.push_back(found);
                    build.filesPerDirectory.push_back(0);
                }
                found->reserveChildren(directory.entriesPerPath().at(entry.pathIndex));
            }
            leaf = new CPackageHierarchyNode(directory.entryName(i), this, i);
            build.directories[size_t(slot)]->appendNewLeafUnchecked(leaf);
            ++build.filesPerDirectory[size_t(slot)];
        } else {
            leaf = root->getNewNodeByPath(splitPackagePath(directory.entryPath(i) + QLatin1Char('/')
                                                           + directory.entryName(i)),
                                          true);
            // A leaf that already has an entry is a second record of the same path.
            if (!leaf || leaf->index != -1)
                return malformed();
            leaf->index = i;
            leaf->delegate = this;
        }
        nodes[i] = leaf;
    }
    for (size_t slot = 0; slot < build.directories.size(); ++slot)
        build.directories[slot]->modifyNodeCounts(0, int(build.filesPerDirectory[slot]), true);
    // Two files whose names differ in case alone, or a file named as a
    // directory beside it, cannot both be.
    if (!namesAreUnique(build))
        return malformed();
    // Lookups by name are rare once a package is open: the indexes of the
    // widest directories would only hold memory.
    for (CPackageHierarchyNode *node : build.directories)
        node->releaseNameIndex();
    directory.releaseNameHashes();
    return true;
}

bool CDelegateVPK::isAppendedFile(const TreeBuild_t &build, const CHierarchyNode *child,
                                  int slot) const
{
    const CPackageHierarchyNode *leaf = child->asPackageNode();
    if (!leaf || leaf->index < 0 || leaf->index >= nodes.size() || nodes[leaf->index] != leaf)
        return false;
    const CVPKDirectory::Entry_t &entry = directory.entries[leaf->index];
    return !entry.nameHasSeparator && build.slotOfPath[entry.pathIndex] == slot;
}

bool CDelegateVPK::namesAreUnique(const TreeBuild_t &build) const
{
    // The files of each directory, gathered in one array by a counting sort.
    const size_t directoryCount = build.directories.size();
    std::vector<int> first(directoryCount + 1, 0);
    for (const CVPKDirectory::Entry_t &entry : directory.entries) {
        if (!entry.nameHasSeparator)
            ++first[size_t(build.slotOfPath[entry.pathIndex]) + 1];
    }
    for (size_t s = 0; s < directoryCount; ++s)
        first[s + 1] += first[s];
    std::vector<int> files(static_cast<size_t>(first[directoryCount]));
    std::vector<int> fill(first.begin(), first.end() - 1);
    for (int i = 0; i < directory.entries.size(); ++i) {
        const CVPKDirectory::Entry_t &entry = directory.entries[i];
        if (!entry.nameHasSeparator)
            files[size_t(fill[size_t(build.slotOfPath[entry.pathIndex])]++)] = i;
    }

    // One small table, reused for every directory, so that it stays in cache;
    // a slot counts as empty unless it carries the directory's stamp. A name
    // is an entry's name (a value of 0 or more) or another child's (-1 - its
    // position among the directory's children).
    struct Slot_t
    {
        quint32 hash;
        quint32 stamp;
        int name;
    };
    std::vector<Slot_t> table;
    for (size_t s = 0; s < directoryCount; ++s) {
        const CPackageHierarchyNode *node = build.directories[s];
        const qsizetype children = node->getChildCount();
        size_t capacity = 16;
        while (capacity < size_t(children) * 2)
            capacity *= 2;
        if (table.size() < capacity)
            table.assign(capacity, Slot_t { 0, 0, 0 });
        const quint32 stamp = quint32(s) + 1;
        auto nameOf = [&](int name) {
            return name >= 0 ? directory.entryNameView(name)
                             : QStringView(node->getNodeByIndex(unsigned(-1 - name))->getName());
        };
        auto add = [&](int name) {
            const quint32 hash = name >= 0 ? directory.entryNameHash(name)
                                           : CChildNameIndex::foldedHash(nameOf(name));
            size_t at = hash & (capacity - 1);
            for (; table[at].stamp == stamp; at = (at + 1) & (capacity - 1)) {
                if (table[at].hash == hash
                    && CChildNameIndex::foldedEquals(nameOf(table[at].name), nameOf(name)))
                    return false;
            }
            table[at] = { hash, stamp, name };
            return true;
        };
        for (int f = first[s]; f < first[s + 1]; ++f) {
            if (!add(files[size_t(f)]))
                return false;
        }
        // Subdirectories and other files, which only a mixed directory has.
        if (children > qsizetype(build.filesPerDirectory[s])) {
            for (qsizetype c = 0; c < children; ++c) {
                const CHierarchyNode *child = node->CHierarchyNode::getNodeByIndex(unsigned(c));
                if (!isAppendedFile(build, child, int(s)) && !add(-1 - int(c)))
                    return false;
            }
        }
    }
    return true;
}
