#include "packages/CDelegateNCF.h"

#include "packages/CArchiveReader.h"
#include "packages/CPackageHierarchyNode.h"
#include "packages/FlushSyncronizer.h"

CDelegateNCF::CDelegateNCF() = default;

CDelegateNCF::~CDelegateNCF() = default;

bool CDelegateNCF::readDirectory(CArchiveReader &reader)
{
    return directory.readDirectory(reader, lastError);
}

bool CDelegateNCF::openPackage(const QString &path, bool)
{
    if (path.isEmpty()) {
        lastError = QStringLiteral("Request Error: Invalid file path");
        return false;
    }
    // Whatever an earlier opening built goes, so that a failure leaves no tree.
    dropTree();
    directory.clear();
    if (file.isOpen())
        file.close();
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        lastError = QStringLiteral("File Error: Unable to open");
        return false;
    }
    CArchiveReader reader(file);
    const bool read = directory.readFileHeader(reader, lastError) && readDirectory(reader);
    // Nothing is ever read from an NCF again: the directory is all it has.
    file.close();
    return read && generateInternalDirectoryStructure();
}

void CDelegateNCF::closePackage() { }

bool CDelegateNCF::isPackageOpen() const
{
    return false;
}

int CDelegateNCF::getPackageType() const
{
    return 3;
}

bool CDelegateNCF::flush(FlushSyncronizer *sync)
{
    lastError = QStringLiteral("Delegate Error: No logic for flush()");
    if (sync)
        sync->doFail();
    return false;
}

bool CDelegateNCF::isPackageFileAtIndex(unsigned int index) const
{
    if (index >= directory.itemCount() || index >= unsigned(nodes.size()))
        return false;
    const CPackageHierarchyNode *node = nodes[int(index)];
    return node && node->isLeaf();
}

unsigned int CDelegateNCF::getPackageFileSizeByIndex(unsigned int index) const
{
    return isPackageFileAtIndex(index) ? directory.entries[int(index)].itemSize : 0;
}

unsigned int CDelegateNCF::getPackageFileSizeOnDiskByIndex(unsigned int) const
{
    return 0;
}

bool CDelegateNCF::getPackageFileByIndex(QIODevice *, unsigned int) const
{
    lastError = QStringLiteral("Request Error: NCF files do not contain data");
    return false;
}

QString CDelegateNCF::getFileNameFromOffset(unsigned int offset) const
{
    return directory.nameAt(offset);
}

const CCacheDirectory::Entry_t *CDelegateNCF::getDirectoryEntry(unsigned int index) const
{
    if (index >= directory.itemCount())
        return nullptr;
    return &directory.entries[int(index)];
}

bool CDelegateNCF::generateInternalDirectoryStructure()
{
    dropTree();

    const quint32 count = directory.itemCount();
    const QVector<CCacheDirectory::Entry_t> &entries = directory.entries;
    const QString nodesError
        = QStringLiteral("Delegate Error: Unable to create nodes for internal file system");

    // First pass: the shape of the directory, before any node exists.
    quint32 rootIndex = CCacheDirectory::noParent;
    for (quint32 i = 0; i < count; ++i) {
        const quint32 parent = entries[int(i)].parentIndex;
        if (parent != CCacheDirectory::noParent) {
            if (parent >= count) {
                lastError = nodesError;
                return false;
            }
            if (entries[int(parent)].directoryFlags & CCacheDirectory::fileFlag) {
                lastError = QStringLiteral("Delegate Error: Parent node is leaf");
                return false;
            }
            continue;
        }
        if (rootIndex != CCacheDirectory::noParent) {
            lastError = QStringLiteral("Delegate Error: Multiple root directories found");
            return false;
        }
        rootIndex = i;
    }
    if (rootIndex == CCacheDirectory::noParent) {
        lastError = QStringLiteral("Delegate Error: No root directory found");
        return false;
    }

    // Second pass: one node per entry, so that table index and entry number agree.
    nodes.resize(int(count));
    for (quint32 i = 0; i < count; ++i) {
        CPackageHierarchyNode *node = new CPackageHierarchyNode();
        if (entries[int(i)].directoryFlags == 0)
            node->makeNode();
        nodes[int(i)] = node;
    }
    root = nodes[int(rootIndex)];

    // Third pass: names and links.
    bool ok = true;
    for (quint32 i = 0; i < count && ok; ++i) {
        CPackageHierarchyNode *node = nodes[int(i)];
        node->index = int(i);
        node->delegate = this;
        const quint32 parentIndex = entries[int(i)].parentIndex;
        if (parentIndex == CCacheDirectory::noParent) {
            ok = node->setName(QStringLiteral("root"));
            continue;
        }
        ok = node->setName(getFileNameFromOffset(entries[int(i)].nameOffset));
        if (!ok)
            break;
        CPackageHierarchyNode *parent = nodes[int(parentIndex)];
        // A parent that lies below the node would close a loop.
        for (const CHierarchyNode *up = parent; up && ok; up = up->getParent())
            ok = up != node;
        ok = ok && parent->addNode(node);
    }
    if (!ok) {
        // Nodes not yet hooked in are free-standing: delete each loose top,
        // which takes what hangs below it, the root among them.
        QVector<CPackageHierarchyNode *> tops;
        for (CPackageHierarchyNode *node : std::as_const(nodes)) {
            if (!node->getParent())
                tops.append(node);
        }
        qDeleteAll(tops);
        root = nullptr;
        nodes.clear();
        lastError = nodesError;
        return false;
    }
    root->makeNode();
    return true;
}
