#include "packages/IPackageDelegate.h"

#include "util/UtilDevice.h"
#include "util/UtilPath.h"

#include <QBuffer>
#include <QFile>
#include <limits>

IPackageDelegate::IPackageDelegate()
    : root(nullptr)
{
    stream.setDevice(&file);
    stream.setByteOrder(QDataStream::LittleEndian);
}

IPackageDelegate::~IPackageDelegate()
{
    delete root;
    root = nullptr;
    if (file.isOpen())
        file.close();
}

bool IPackageDelegate::isPackageOpen() const
{
    return file.isOpen();
}

bool IPackageDelegate::isPackageReadOnly() const
{
    return !file.isWritable();
}

QString IPackageDelegate::getPackagePath() const
{
    return file.fileName();
}

QString IPackageDelegate::getPackageName() const
{
    return UTIL_fileBaseName(getPackagePath());
}

int IPackageDelegate::getPackageType() const
{
    return PackageType_None;
}

CPackageHierarchyNode *IPackageDelegate::getRootDirectoryNode() const
{
    return root;
}

FlushSyncronizer *IPackageDelegate::flushAdvanced()
{
    FlushSyncronizer *sync = new FlushSyncronizer();
    sync->reset();
    return sync;
}

QStringList IPackageDelegate::splitPackagePath(const QString &path)
{
    QStringList parts;
    QString part;
    for (const QChar c : path) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\')) {
            if (!part.isEmpty())
                parts.append(part);
            part.clear();
        } else {
            part.append(c);
        }
    }
    if (!part.isEmpty())
        parts.append(part);
    return parts;
}

bool IPackageDelegate::checkNode(const CPackageHierarchyNode *node) const
{
    if (!node) {
        lastError = QStringLiteral("Request Error: NULL node");
        return false;
    }
    if (node->delegate != this) {
        lastError = QStringLiteral("Request Error: Delegate does not own node");
        return false;
    }
    return true;
}

CPackageHierarchyNode *IPackageDelegate::leafByPath(const QString &path) const
{
    if (!root)
        return nullptr;
    return root->getNodeByPath(splitPackagePath(path), true);
}

bool IPackageDelegate::isFileAtIndex(unsigned int index) const
{
    if (static_cast<int>(index) < 0 || index >= static_cast<unsigned int>(nodes.size()))
        return false;
    return nodes.at(index) != nullptr;
}

CPackageHierarchyNode *IPackageDelegate::getNodeByIndex(unsigned int index) const
{
    if (static_cast<int>(index) < 0 || index >= static_cast<unsigned int>(nodes.size()))
        return nullptr;
    return nodes.at(index);
}

int IPackageDelegate::getNodeCount() const
{
    return nodes.size();
}

// --- sizes -----------------------------------------------------------------

unsigned int IPackageDelegate::getPackageFileSizeByNode(const CPackageHierarchyNode *node) const
{
    if (!checkNode(node))
        return 0;
    if (node->isLeaf())
        return node->index < 0 ? 0u : getPackageFileSizeByIndex(node->index);
    unsigned int sum = 0;
    const unsigned int count = node->getChildCount();
    for (unsigned int i = 0; i < count; ++i)
        sum += getPackageFileSizeByNode(node->getNodeByIndex(i));
    // The sum runs to the number of all descendants; the steps past the last
    // child meet no node, which leaves the null-node text behind.
    if (static_cast<unsigned int>(node->getSubCount()) > count)
        lastError = QStringLiteral("Request Error: NULL node");
    return sum;
}

unsigned int IPackageDelegate::getPackageFileSizeByPath(const QString &path) const
{
    return getPackageFileSizeByNode(leafByPath(path));
}

unsigned int IPackageDelegate::getFileSizeByIndex(unsigned int index) const
{
    if (!isFileAtIndex(index))
        return 0;
    const CPackageHierarchyNode *node = nodes.at(index);
    if (node->hasData && node->data)
        return node->dataIsPath ? node->dataLength : static_cast<unsigned int>(node->data->size());
    if (isPackageFileAtIndex(index))
        return getPackageFileSizeByIndex(index);
    return 0;
}

unsigned int IPackageDelegate::getFileSizeByNode(const CPackageHierarchyNode *node) const
{
    if (!checkNode(node))
        return 0;
    if (node->isLeaf())
        return node->index < 0 ? 0u : getFileSizeByIndex(node->index);
    unsigned int sum = 0;
    const unsigned int count = node->getChildCount();
    for (unsigned int i = 0; i < count; ++i)
        sum += getFileSizeByNode(node->getNodeByIndex(i));
    if (static_cast<unsigned int>(node->getSubCount()) > count)
        lastError = QStringLiteral("Request Error: NULL node");
    return sum;
}

unsigned int IPackageDelegate::getFileSizeByPath(const QString &path) const
{
    return getFileSizeByNode(leafByPath(path));
}

unsigned int
IPackageDelegate::getPackageFileSizeOnDiskByNode(const CPackageHierarchyNode *node) const
{
    if (!checkNode(node))
        return 0;
    if (node->isLeaf())
        return node->index < 0 ? 0u : getPackageFileSizeOnDiskByIndex(node->index);
    // A directory has no size on disk of its own.
    return 0;
}

unsigned int IPackageDelegate::getPackageFileSizeOnDiskByPath(const QString &path) const
{
    return getPackageFileSizeOnDiskByNode(leafByPath(path));
}

quint64 IPackageDelegate::getPackageFileSizePairByNode(const CPackageHierarchyNode *node) const
{
    if (!checkNode(node))
        return 0;
    if (node->isLeaf()) {
        if (node->index < 0)
            return 0;
        const quint64 onDisk = getPackageFileSizeOnDiskByIndex(node->index);
        const quint64 inPackage = getPackageFileSizeByIndex(node->index);
        return (onDisk << 32) | inPackage;
    }
    quint32 low = 0;
    quint32 high = 0;
    const unsigned int count = node->getChildCount();
    for (unsigned int i = 0; i < count; ++i) {
        const quint64 pair = getPackageFileSizePairByNode(node->getNodeByIndex(i));
        low += static_cast<quint32>(pair);
        high += static_cast<quint32>(pair >> 32);
    }
    return (static_cast<quint64>(high) << 32) | low;
}

// --- reading ---------------------------------------------------------------

QByteArray *IPackageDelegate::getPackageFileByIndex(unsigned int index) const
{
    if (index >= static_cast<unsigned int>(nodes.size())) {
        lastError = QStringLiteral("Request Error: Index out of bounds");
        return nullptr;
    }
    QByteArray *bytes = new QByteArray();
    // Presized to spare the copies of growing, but never beyond what the
    // package file could hold.
    const qint64 expected = getPackageFileSizeByIndex(index);
    if (expected > 0 && expected <= file.size())
        bytes->reserve(expected);
    QBuffer buffer(bytes);
    if (!buffer.open(QIODevice::ReadWrite)) {
        lastError = QStringLiteral("Write Error: Unable to open stream to buffer");
        delete bytes;
        return nullptr;
    }
    if (!getPackageFileByIndex(&buffer, index)) {
        delete bytes;
        return nullptr;
    }
    return bytes;
}

bool IPackageDelegate::getPackageFileByNode(QIODevice *device,
                                            const CPackageHierarchyNode *node) const
{
    if (!checkNode(node))
        return false;
    if (!node->isLeaf()) {
        lastError = QStringLiteral("Request Error: Node is not leaf");
        return false;
    }
    if (node->index < 0) {
        lastError = QStringLiteral("Request Error: Index out of bounds");
        return false;
    }
    return getPackageFileByIndex(device, static_cast<unsigned int>(node->index));
}

QByteArray *IPackageDelegate::getPackageFileByNode(const CPackageHierarchyNode *node) const
{
    if (!checkNode(node))
        return nullptr;
    QByteArray *bytes = new QByteArray();
    QBuffer buffer(bytes);
    if (!buffer.open(QIODevice::ReadWrite)) {
        lastError = QStringLiteral("Write Error: Unable to open stream to buffer");
        delete bytes;
        return nullptr;
    }
    if (!getPackageFileByNode(&buffer, node)) {
        delete bytes;
        return nullptr;
    }
    return bytes;
}

bool IPackageDelegate::getPackageFileByPath(QIODevice *device, const QString &path) const
{
    return getPackageFileByNode(device, leafByPath(path));
}

bool IPackageDelegate::writeFileFromPath(QIODevice *device, const QByteArray &pathBytes) const
{
    const int nul = pathBytes.indexOf('\0');
    QFile source(QFile::decodeName(nul < 0 ? pathBytes : pathBytes.left(nul)));
    if (!source.open(QIODevice::ReadOnly)) {
        lastError = QStringLiteral("Read Error: Unable to open referenced file");
        return false;
    }
    return UTIL_deviceCopy(source, *device, source.size(), &lastError);
}

void IPackageDelegate::dropTree()
{
    delete root;
    root = nullptr;
    nodes.clear();
}

bool IPackageDelegate::checkOutputDevice(const QIODevice *device, const QString &nullError) const
{
    if (!device)
        lastError = nullError;
    else if (!device->isOpen())
        lastError = QStringLiteral("Write Error: Device not open");
    else if (!device->isWritable())
        lastError = QStringLiteral("Write Error: Device not writable");
    else
        return true;
    return false;
}

bool IPackageDelegate::getFileByNode(QIODevice *device, const CPackageHierarchyNode *node) const
{
    if (!checkOutputDevice(device))
        return false;
    if (!checkNode(node))
        return false;
    if (!node->isLeaf()) {
        lastError = QStringLiteral("Request Error: Node is not leaf");
        return false;
    }
    if (!node->data) {
        if (node->index < 0) {
            lastError = QStringLiteral("Request Error: Index out of bounds");
            return false;
        }
        return getPackageFileByIndex(device, static_cast<unsigned int>(node->index));
    }
    if (node->dataIsPath)
        return writeFileFromPath(device, *node->data);
    if (device->write(*node->data) != node->data->size()) {
        lastError = QStringLiteral("Write Error: Incomplete");
        return false;
    }
    return true;
}

QByteArray *IPackageDelegate::getFileByNode(const CPackageHierarchyNode *node) const
{
    QByteArray *bytes = new QByteArray();
    QBuffer buffer(bytes);
    if (!buffer.open(QIODevice::WriteOnly)) {
        lastError = QStringLiteral("Write Error: Unable to open stream to buffer");
        delete bytes;
        return nullptr;
    }
    if (!getFileByNode(&buffer, node)) {
        delete bytes;
        return nullptr;
    }
    return bytes;
}

bool IPackageDelegate::getFileByIndex(QIODevice *device, unsigned int index) const
{
    return getFileByNode(device, getNodeByIndex(index));
}

QByteArray *IPackageDelegate::getFileByIndex(unsigned int index) const
{
    return getFileByNode(getNodeByIndex(index));
}

bool IPackageDelegate::getFileByPath(QIODevice *device, const QString &path) const
{
    return getFileByNode(device, leafByPath(path));
}

QByteArray *IPackageDelegate::getFileByPath(const QString &path) const
{
    return getFileByNode(leafByPath(path));
}

// --- pending changes -------------------------------------------------------

bool IPackageDelegate::fileMarkForDeletionByNode(CPackageHierarchyNode *node)
{
    if (!checkNode(node))
        return false;
    if (!node->isLeaf()) {
        // A directory holds entries of the package; it is not deleted whole.
        lastError = QStringLiteral("Request Error: Node is not leaf");
        return false;
    }
    if (node->index >= 0 && isPackageFileAtIndex(static_cast<unsigned int>(node->index))) {
        node->markedForDeletion = true;
        return true;
    }
    // Only added, never written: it simply goes.
    if (node->index >= 0 && node->index < nodes.size() && nodes.at(node->index) == node)
        nodes[node->index] = nullptr;
    delete node;
    return false;
}

bool IPackageDelegate::fileMarkForDeletionByPath(const QString &path)
{
    return fileMarkForDeletionByNode(leafByPath(path));
}

bool IPackageDelegate::fileUnmarkForDeletionByNode(CPackageHierarchyNode *node)
{
    if (!checkNode(node))
        return false;
    node->markedForDeletion = false;
    return true;
}

bool IPackageDelegate::fileUnmarkForDeletionByPath(const QString &path)
{
    return fileUnmarkForDeletionByNode(leafByPath(path));
}

bool IPackageDelegate::fileDeleteByNode(CPackageHierarchyNode *node)
{
    if (!checkNode(node))
        return false;
    if (!node->deleteData()) {
        lastError = QStringLiteral("Request Error: Node is not in package");
        return false;
    }
    return true;
}

bool IPackageDelegate::fileDeleteByPath(const QString &path)
{
    return fileDeleteByNode(leafByPath(path));
}

bool IPackageDelegate::fileRevertByNode(CPackageHierarchyNode *node)
{
    if (!checkNode(node))
        return false;
    if (!node->isLeaf()) {
        lastError = QStringLiteral("Request Error: Node is not leaf");
        return false;
    }
    if (!node->isDataInPackage()) {
        lastError = QStringLiteral("Request Error: Node is not in package");
        return false;
    }
    node->deleteData();
    node->markedForDeletion = false;
    return true;
}

bool IPackageDelegate::fileRevertByPath(const QString &path)
{
    return fileRevertByNode(leafByPath(path));
}

bool IPackageDelegate::setFileByNode(const QByteArray &bytes, bool isPath,
                                     CPackageHierarchyNode *node)
{
    if (!checkNode(node))
        return false;
    if (!node->isLeaf()) {
        lastError = QStringLiteral("Request Error: Node is not leaf");
        return false;
    }
    node->setData(bytes, isPath);
    return true;
}

bool IPackageDelegate::readFromDevice(QIODevice &device, unsigned int length,
                                      QByteArray &bytes) const
{
    if (!device.isOpen()) {
        lastError = QStringLiteral("Write Error: Device not open");
        return false;
    }
    if (!device.isReadable()) {
        lastError = QStringLiteral("Write Error: Device not readable");
        return false;
    }
    qint64 wanted = length;
    if (length == std::numeric_limits<unsigned int>::max())
        wanted = qMax<qint64>(0, device.size() - device.pos());
    // Never allocate more than a random-access device can give; a stream is
    // read in steps, so that only what really comes is held.
    if (!device.isSequential() && wanted > device.size() - device.pos()) {
        lastError = QStringLiteral("Read Error: Incomplete");
        return false;
    }
    bytes.clear();
    while (bytes.size() < wanted) {
        const QByteArray chunk = device.read(qMin<qint64>(wanted - bytes.size(), 1 << 20));
        if (chunk.isEmpty())
            break;
        bytes.append(chunk);
    }
    if (bytes.size() < wanted) {
        lastError = QStringLiteral("Read Error: Incomplete");
        return false;
    }
    return true;
}

bool IPackageDelegate::setFileByNode(QIODevice &device, CPackageHierarchyNode *node,
                                     unsigned int length)
{
    if (!checkNode(node))
        return false;
    QByteArray bytes;
    if (!readFromDevice(device, length, bytes))
        return false;
    return setFileByNode(bytes, false, node);
}

CPackageHierarchyNode *IPackageDelegate::setFileByPath(const QByteArray &bytes, bool isPath,
                                                       const QString &path)
{
    CPackageHierarchyNode *node
        = root ? root->getNewNodeByPath(splitPackagePath(path), true) : nullptr;
    if (!node) {
        lastError = QStringLiteral("Delegate Error: Unable to create leaf at \"%1\"").arg(path);
        return nullptr;
    }
    const bool isNew = node->index == -1;
    if (isNew)
        node->delegate = this;
    if (!setFileByNode(bytes, isPath, node)) {
        if (isNew)
            delete node;
        return nullptr;
    }
    if (isNew) {
        node->index = nodes.size();
        nodes.append(node);
    }
    return node;
}

CPackageHierarchyNode *IPackageDelegate::setFileByPath(QIODevice &device, const QString &path,
                                                       unsigned int length)
{
    QByteArray bytes;
    if (!readFromDevice(device, length, bytes))
        return nullptr;
    return setFileByPath(bytes, false, path);
}

CPackageHierarchyNode *IPackageDelegate::fileAddFromDisk(const QString &packagePath,
                                                         const QString &diskPath, bool replace)
{
    {
        QFile probe(diskPath);
        if (!probe.open(QIODevice::ReadOnly)) {
            lastError = QStringLiteral("File Error: Unable to open \"%1\"").arg(diskPath);
            return nullptr;
        }
    }
    const QStringList parts = splitPackagePath(packagePath);
    CPackageHierarchyNode *existing = root ? root->getNodeByPath(parts) : nullptr;
    if (existing) {
        if (!existing->isLeaf()) {
            lastError = QStringLiteral("Delegate Error: Target node is not leaf");
            return nullptr;
        }
        const bool occupied = existing->hasData || existing->isDataInPackage();
        if (occupied && !replace) {
            lastError
                = QStringLiteral("Delegate Error: Data already exists at \"%1\"").arg(packagePath);
            return nullptr;
        }
        if (!setFileByNode(QFile::encodeName(diskPath), true, existing))
            return nullptr;
        existing->markedForDeletion = false;
        return existing;
    }
    // Steps that exist are taken in the package's own spelling, so that a
    // new file joins a directory written in another case instead of
    // colliding with it.
    QStringList spelled = parts;
    const CPackageHierarchyNode *step = root;
    for (int i = 0; step && i < spelled.size(); ++i) {
        step = step->getNodeByString(spelled.at(i));
        if (step)
            spelled[i] = step->getName();
    }
    return setFileByPath(QFile::encodeName(diskPath), true, spelled.join(QLatin1Char('/')));
}
