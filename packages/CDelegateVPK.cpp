#include "packages/CDelegateVPK.h"

#include "packages/CPackageHierarchyNode.h"
#include "packages/FlushSyncronizer.h"

#include <QFile>

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
    if (!entry->preload.isEmpty() && device->write(entry->preload) != entry->preload.size()) {
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

    // Records come grouped by directory, so the directory node of the last
    // record is nearly always the one wanted next.
    CPackageHierarchyNode *directoryNode = root;
    const QString *lastPath = nullptr;
    for (int i = 0; i < directory.entries.size(); ++i) {
        const CVPKDirectory::Entry_t &entry = directory.entries[i];
        CPackageHierarchyNode *leaf = nullptr;
        const bool plainName
            = !entry.name.contains(QLatin1Char('/')) && !entry.name.contains(QLatin1Char('\\'));
        if (plainName) {
            if (!lastPath || *lastPath != entry.path) {
                const QStringList parts = splitPackagePath(entry.path);
                directoryNode = parts.isEmpty() ? root : root->getNewNodeByPath(parts, false);
                lastPath = &entry.path;
            }
            if (directoryNode)
                leaf = directoryNode->getNewNodeByPath(QStringList { entry.name }, true);
        } else {
            leaf = root->getNewNodeByPath(
                splitPackagePath(entry.path + QLatin1Char('/') + entry.name), true);
            lastPath = nullptr;
        }
        // A leaf that already has an entry is a second record of the same path.
        if (!leaf || leaf->index != -1) {
            lastError = QStringLiteral("File Error: Malformed directory structure");
            dropTree();
            return false;
        }
        leaf->index = i;
        leaf->delegate = this;
        nodes[i] = leaf;
    }
    return true;
}
