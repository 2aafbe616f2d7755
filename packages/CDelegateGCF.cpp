#include "packages/CDelegateGCF.h"

#include "packages/CArchiveReader.h"
#include "packages/CPackageHierarchyNode.h"
#include "util/UtilDevice.h"

CDelegateGCF::CDelegateGCF() = default;

CDelegateGCF::~CDelegateGCF()
{
    closePackage();
}

bool CDelegateGCF::openPackage(const QString &path, bool)
{
    if (path.isEmpty()) {
        lastError = QStringLiteral("Request Error: Invalid file path");
        return false;
    }
    // Whatever an earlier opening built goes, so that a failure leaves no tree.
    dropTree();
    closePackage();
    directory.clear();
    blocks.clear();
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        lastError = QStringLiteral("File Error: Unable to open");
        return false;
    }
    CArchiveReader reader(file);
    if (!directory.readFileHeader(reader, lastError)
        || !blocks.readBlocks(reader, directory.blockCount(), lastError) || !readDirectory(reader)
        || !blocks.readChecksumsAndDataHeader(reader, lastError))
        return false;
    if (blocks.firstBlockOffset() > file.size() || !file.seek(blocks.firstBlockOffset())) {
        lastError = QStringLiteral("Stream Error: Seek error");
        return false;
    }
    return generateInternalDirectoryStructure();
}

void CDelegateGCF::closePackage()
{
    if (file.isOpen())
        file.close();
}

bool CDelegateGCF::isPackageOpen() const
{
    return file.isOpen();
}

int CDelegateGCF::getPackageType() const
{
    return 2;
}

unsigned int CDelegateGCF::getPackageFileSizeOnDiskByIndex(unsigned int index) const
{
    if (!isPackageFileAtIndex(index))
        return 0;
    const unsigned int size = getPackageFileSizeByIndex(index);
    const unsigned int blockSize = directory.blockSize();
    // Rounded as the cache counts it: an exact multiple still takes one more block.
    if (blockSize == 0)
        return size;
    return size + blockSize - size % blockSize;
}

bool CDelegateGCF::getPackageFileByIndex(QIODevice *device, unsigned int index) const
{
    if (!file.isOpen()) {
        lastError = QStringLiteral("File Error: Package not open");
        return false;
    }
    if (!checkOutputDevice(device))
        return false;
    if (index >= directory.itemCount()) {
        lastError = QStringLiteral("Request Error: File index out of bounds");
        return false;
    }
    if (!isPackageFileAtIndex(index)) {
        lastError = QStringLiteral("Request Error: Entry is not a file");
        return false;
    }
    const quint32 firstEntry = directory.directoryMap.value(int(index), directory.blockCount());
    if (firstEntry >= directory.blockCount()) {
        lastError = QStringLiteral("Read Error: Entry has no data");
        return false;
    }

    QFile &source = const_cast<QFile &>(file);
    const qint64 size = source.size();
    const quint32 blockSize = directory.blockSize();
    quint64 total = 0;
    const bool copied = blocks.walk(firstEntry, blockSize, [&](quint32 block, quint32 bytes) {
        const quint64 at = quint64(blocks.firstBlockOffset()) + quint64(blockSize) * block;
        if (at > quint64(size) || !source.seek(qint64(at))) {
            lastError = QStringLiteral("Read Error: Seek error");
            return false;
        }
        if (!UTIL_deviceCopy(source, *device, bytes, &lastError))
            return false;
        total += bytes;
        return true;
    });
    if (!copied)
        return false;
    if (total != directory.entries[int(index)].itemSize) {
        lastError = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    return true;
}

quint64 CDelegateGCF::getFragmentationPairByNode(const CPackageHierarchyNode *node) const
{
    if (!node)
        return 0;
    if (node->isLeaf()) {
        if (node->index < 0 || !isPackageFileAtIndex(unsigned(node->index)))
            return 0;
        const quint32 firstEntry = directory.directoryMap.value(node->index, 0xFFFFFFFF);
        return blocks.fragmentationPair(firstEntry, directory.blockSize());
    }
    quint64 blocksTotal = 0;
    quint64 fragmented = 0;
    for (const CHierarchyNode *leaf : node->getSubLeafList(unsigned(-1))) {
        const quint64 pair
            = getFragmentationPairByNode(static_cast<const CPackageHierarchyNode *>(leaf));
        blocksTotal += pair >> 32;
        fragmented += pair & 0xFFFFFFFFu;
    }
    return (qMin<quint64>(blocksTotal, 0xFFFFFFFFu) << 32) | qMin<quint64>(fragmented, 0xFFFFFFFFu);
}

float CDelegateGCF::getFragmentationByNode(const CPackageHierarchyNode *node) const
{
    if (!node)
        return 0.0f;
    if (node->isLeaf() && (node->index < 0 || !isPackageFileAtIndex(unsigned(node->index))))
        return 0.0f;
    const quint64 pair = getFragmentationPairByNode(node);
    const quint64 count = pair >> 32;
    if (count == 0)
        return 0.0f;
    return float(double(pair & 0xFFFFFFFFu) * 100.0 / double(count));
}

float CDelegateGCF::getFragmentationByIndex(unsigned int index) const
{
    return getFragmentationByNode(getNodeByIndex(index));
}

float CDelegateGCF::getFragmentationByPath(const QString &path) const
{
    if (!root)
        return 0.0f;
    return getFragmentationByNode(root->getNodeByPath(splitPackagePath(path)));
}
