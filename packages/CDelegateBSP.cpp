#include "packages/CDelegateBSP.h"

#include "packages/BspLumpNames.h"
#include "packages/CMapFlush.h"
#include "packages/CPakfileReader.h"
#include "packages/CPakfileWriter.h"
#include "util/UtilDevice.h"
#include "util/UtilPath.h"

#include <QBuffer>
#include <QtEndian>
#include <memory>

namespace {

quint32 le32(const char *p)
{
    return qFromLittleEndian<quint32>(reinterpret_cast<const uchar *>(p));
}

} // namespace

CDelegateBSP::CDelegateBSP()
    : magic(0)
    , internalVersion(0)
    , mapRevision(0)
{ }

CDelegateBSP::~CDelegateBSP()
{
    closePackage();
    qDeleteAll(zipEntries);
    zipEntries.clear();
}

void CDelegateBSP::closePackage()
{
    if (file.isOpen())
        file.close();
}

void CDelegateBSP::clearContent()
{
    dropTree();
    qDeleteAll(zipEntries);
    zipEntries.clear();
    zipEnd = ZIPEndRecord();
    gameLumps.clear();
    magic = 0;
    internalVersion = 0;
    mapRevision = 0;
    for (Lump_s &lump : lumps)
        lump = Lump_s();
}

bool CDelegateBSP::openPackage(const QString &path, bool readOnly)
{
    if (path.isEmpty()) {
        lastError = QStringLiteral("Request Error: Invalid file path");
        return false;
    }
    closePackage();
    clearContent();
    file.setFileName(path);
    if (!file.open(readOnly ? QIODevice::ReadOnly : QIODevice::ReadWrite)) {
        lastError = QStringLiteral("File Error: Unable to open");
        return false;
    }
    if (!readHeader()) {
        closePackage();
        return false;
    }
    if (!reloadGameLump()) {
        closePackage();
        return false;
    }
    if (lumps[Lump_Pakfile].length != 0 && !readPakfile())
        return false;
    if (!generateInternalDirectoryStructure()) {
        closePackage();
        return false;
    }
    return true;
}

bool CDelegateBSP::readHeader()
{
    if (file.size() < HeaderSize) {
        lastError = QStringLiteral("File Error: File smaller than header");
        return false;
    }
    const QByteArray header = file.read(HeaderSize);
    if (header.size() != HeaderSize) {
        lastError = QStringLiteral("File Error: File smaller than header");
        return false;
    }
    const char *p = header.constData();
    magic = le32(p);
    if (magic != Magic) {
        lastError = QStringLiteral("File Error: Magic number mismatch");
        return false;
    }
    const qint32 version = qint32(le32(p + 4));
    if (version < 19) {
        lastError = QStringLiteral("Delegate Error: File format too old");
        return false;
    }
    if (version > 21) {
        lastError = QStringLiteral("Delegate Error: File format too new");
        return false;
    }
    internalVersion = version;

    const char *table = p + 8;
    for (int i = 0; i < Lump_Count; ++i) {
        const char *e = table + 16 * i;
        Lump_s &lump = lumps[i];
        if (version < 21) {
            lump.offset = le32(e);
            lump.length = le32(e + 4);
            lump.version = qint32(le32(e + 8));
        } else {
            lump.version = qint32(le32(e));
            lump.offset = le32(e + 4);
            lump.length = le32(e + 8);
        }
        lump.fourCC = le32(e + 12);
    }

    if (version == 21) {
        // Whatever the order, the lengths of a map add up to about the size
        // of its data: the field whose sum comes closer is the length.
        const qint64 dataSize = file.size() - HeaderSize;
        quint32 sumA = 0;
        quint32 sumB = 0;
        for (const Lump_s &lump : lumps) {
            sumA += lump.offset;
            sumB += lump.length;
        }
        const qint64 a = qAbs(qint64(sumA) - dataSize);
        const qint64 b = qAbs(qint64(sumB) - dataSize);
        if (a == b) {
            lastError = QStringLiteral("Delegate Error: Unable to determine BSP version");
            return false;
        }
        if (b > a) {
            for (Lump_s &lump : lumps) {
                const quint32 readVersion = quint32(lump.version);
                const quint32 readOffset = lump.offset;
                const quint32 readLength = lump.length;
                lump.offset = readVersion;
                lump.length = readOffset;
                lump.version = qint32(readLength);
            }
            internalVersion = 22;
        }
    }
    mapRevision = qint32(le32(p + 1032));
    return true;
}

bool CDelegateBSP::reloadGameLump()
{
    if (!file.isOpen() || !file.isReadable())
        return false;
    gameLumps.clear();
    const Lump_s &lump = lumps[Lump_GameLump];
    // Too short to hold even its count: a map without game lumps.
    if (lump.length < 4)
        return true;
    const qint64 fileSize = file.size();
    if (quint64(lump.offset) + lump.length > quint64(fileSize) || !file.seek(lump.offset)) {
        lastError = QStringLiteral("Read Error: Seek Error");
        return false;
    }
    const QByteArray countBytes = file.read(4);
    if (countBytes.size() != 4) {
        lastError = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    const qint32 count = qint32(le32(countBytes.constData()));
    if (count < 0 || 4 + 16 * qint64(count) > lump.length) {
        lastError = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    const QByteArray directory = file.read(16 * qint64(count));
    if (directory.size() != 16 * qint64(count)) {
        lastError = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    gameLumps.resize(count);
    for (int i = 0; i < count; ++i) {
        const char *e = directory.constData() + 16 * i;
        GameLump_t &entry = gameLumps[i].first;
        entry.id = le32(e);
        entry.flags = qFromLittleEndian<quint16>(reinterpret_cast<const uchar *>(e + 4));
        entry.version = qFromLittleEndian<quint16>(reinterpret_cast<const uchar *>(e + 6));
        entry.offset = le32(e + 8);
        entry.length = le32(e + 12);
    }
    for (auto &pair : gameLumps) {
        const GameLump_t &entry = pair.first;
        if (entry.length == 0)
            continue;
        if (entry.offset > fileSize || !file.seek(entry.offset)) {
            lastError = QStringLiteral("Read Error: Seek Error");
            gameLumps.clear();
            return false;
        }
        if (quint64(entry.offset) + entry.length > quint64(fileSize)) {
            lastError = QStringLiteral("Read Error: Incomplete read");
            gameLumps.clear();
            return false;
        }
        pair.second = file.read(entry.length);
        if (pair.second.size() != qint64(entry.length)) {
            lastError = QStringLiteral("Read Error: Incomplete read");
            gameLumps.clear();
            return false;
        }
    }
    return true;
}

bool CDelegateBSP::readPakfile()
{
    CPakfileReader reader(file, lumps[Lump_Pakfile].offset, lumps[Lump_Pakfile].length);
    if (!reader.read(zipEntries, zipEnd)) {
        lastError = reader.errorText();
        if (reader.closesPackage())
            closePackage();
        return false;
    }
    return true;
}

bool CDelegateBSP::generateInternalDirectoryStructure()
{
    delete root;
    root = new CPackageHierarchyNode(QStringLiteral("root"), this);
    root->makeNode();
    CPackageHierarchyNode *lumpDirectory
        = root->getNewNodeByPath(QStringList { QStringLiteral("lumps") }, false);
    nodes.clear();
    nodes.reserve(Lump_Count + zipEntries.size());

    for (int i = 0; i < Lump_Count; ++i) {
        QString name = BSP_lumpName(i, internalVersion);
        if (name == QLatin1String("Unused") || name == QLatin1String("Unknown"))
            name = QStringLiteral("LUMP_%1").arg(i);
        name += QLatin1String(".lmp");
        CPackageHierarchyNode *node = lumpDirectory->getNewNodeByPath(QStringList { name }, true);
        if (!node || node->index != -1)
            return false;
        node->delegate = this;
        node->index = nodes.size();
        nodes.append(node);
    }

    for (int i = 0; i < zipEntries.size(); ++i) {
        const ZIPEntry_t *entry = zipEntries.at(i);
        QString name = QString::fromLatin1(entry->first.fileName);
        UTIL_trimFilePath(name);
        UTIL_filePathSlashToForward(name);
        const QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        if (parts.isEmpty()) {
            // A nameless entry gets no place in the table; its record goes
            // too, so that table entry 64 + i stays ZIP entry i.
            delete zipEntries.takeAt(i--);
            continue;
        }
        // A step up or a step in place would let an extraction leave the
        // directory the user chose.
        if (parts.contains(QLatin1String("..")) || parts.contains(QLatin1String("."))) {
            lastError = QStringLiteral("Delegate Error: Unable to create leaf at \"%1\"").arg(name);
            return false;
        }
        CPackageHierarchyNode *node = root->getNewNodeByPath(parts, true);
        // Null for a collision in case or a path through a file; an index
        // already set for a path that is there twice.
        if (!node || node->index != -1) {
            lastError = QStringLiteral("Delegate Error: Unable to create leaf at \"%1\"").arg(name);
            return false;
        }
        node->delegate = this;
        node->index = nodes.size();
        nodes.append(node);
    }
    return true;
}

bool CDelegateBSP::isPackageFileAtIndex(unsigned int index) const
{
    return index < unsigned(Lump_Count + zipEntries.size());
}

unsigned int CDelegateBSP::getPackageFileSizeByIndex(unsigned int index) const
{
    if (index < unsigned(Lump_Count))
        return lumps[index].length;
    if (!isPackageFileAtIndex(index))
        return 0;
    return zipEntries.at(index - Lump_Count)->first.compressedSize;
}

unsigned int CDelegateBSP::getPackageFileSizeOnDiskByIndex(unsigned int index) const
{
    if (index < unsigned(Lump_Count))
        return lumps[index].length;
    if (!isPackageFileAtIndex(index))
        return 0;
    const ZIPEntry_t *entry = zipEntries.at(index - Lump_Count);
    return entry->first.compressedSize + ZIPLocalFileHeader::FixedSize
        + ZIPCentralFileHeader::FixedSize + entry->first.fileNameLength
        + entry->first.extraFieldLength + entry->second.fileNameLength
        + entry->second.extraFieldLength + entry->second.fileCommentLength;
}

const ZIPEntry_t *CDelegateBSP::getPakfileEntry(unsigned int index) const
{
    if (index < unsigned(Lump_Count) || !isPackageFileAtIndex(index))
        return nullptr;
    return zipEntries.at(index - Lump_Count);
}

bool CDelegateBSP::getPackageFileByIndex(QIODevice *device, unsigned int index) const
{
    if (!checkOutputDevice(device, QStringLiteral("Request Error: NULL device")))
        return false;
    if (!getNodeByIndex(index) || !isPackageFileAtIndex(index)) {
        lastError = QStringLiteral("Request Error: Index out of bounds");
        return false;
    }

    quint64 start;
    quint64 length;
    if (index >= unsigned(Lump_Count)) {
        const ZIPEntry_t *entry = zipEntries.at(index - Lump_Count);
        start = entry->third;
        length = entry->first.compressedSize;
    } else {
        start = lumps[index].offset;
        length = lumps[index].length;
    }
    if (start + length > quint64(file.size())) {
        lastError = QStringLiteral("Read Error: Seek error");
        return false;
    }

    QByteArray directory;
    if (index == Lump_GameLump && length >= 4) {
        // The game lump's directory holds absolute offsets: they move with
        // the lump to wherever the device takes it.
        if (!file.seek(start)) {
            lastError = QStringLiteral("Read Error: Seek error");
            return false;
        }
        const qint64 shift = device->pos() - qint64(lumps[Lump_GameLump].offset);
        const QByteArray countBytes = file.read(4);
        const qint32 count = countBytes.size() == 4 ? qint32(le32(countBytes.constData())) : -1;
        if (count < 0 || 4 + 16 * quint64(count) > length) {
            lastError = QStringLiteral("Read Error: Incomplete read");
            return false;
        }
        const QByteArray entries = file.read(16 * qint64(count));
        if (entries.size() != 16 * qint64(count)) {
            lastError = QStringLiteral("Read Error: Incomplete read");
            return false;
        }
        directory = countBytes;
        directory.reserve(4 + entries.size());
        for (qint32 i = 0; i < count; ++i) {
            const char *e = entries.constData() + 16 * i;
            directory.append(e, 8);
            uchar offset[4];
            qToLittleEndian<quint32>(quint32(qint64(le32(e + 8)) + shift), offset);
            directory.append(reinterpret_cast<const char *>(offset), 4);
            directory.append(e + 12, 4);
        }
        start += directory.size();
        length -= directory.size();
    }

    if (!file.seek(qint64(start))) {
        lastError = QStringLiteral("Read Error: Seek error");
        return false;
    }
    if (!directory.isEmpty() && device->write(directory) != directory.size()) {
        lastError = QStringLiteral("Write Error: Incomplete");
        return false;
    }
    return UTIL_deviceCopy(file, *device, qint64(length), &lastError);
}

unsigned int CDelegateBSP::getLumpInfo(Lump_t lump, LumpDataField_t field) const
{
    if (lump < 0 || lump >= Lump_Count)
        return 0;
    switch (field) {
    case LumpField_Offset:
        return lumps[lump].offset;
    case LumpField_Length:
        return lumps[lump].length;
    case LumpField_Version:
        return unsigned(lumps[lump].version);
    case LumpField_FourCC:
        return qbswap(lumps[lump].fourCC);
    }
    return 0;
}

QString CDelegateBSP::getLumpName(Lump_t lump) const
{
    return BSP_lumpName(lump, internalVersion);
}

int CDelegateBSP::getGameLumpIndexByID(quint32 id) const
{
    for (int i = 0; i < gameLumps.size(); ++i) {
        if (gameLumps.at(i).first.id == id)
            return i;
    }
    return -1;
}

QVector<QByteArray> CDelegateBSP::getGameLumpPropStatic() const
{
    QVector<QByteArray> names;
    const int at = getGameLumpIndexByID(StaticPropId);
    if (at < 0)
        return names;
    const QByteArray &data = gameLumps.at(at).second;
    if (data.size() < 4)
        return names;
    const qint64 count = qint32(le32(data.constData()));
    // The count is not trusted: names stop where the data does.
    for (qint64 i = 0; i < count; ++i) {
        const qint64 from = 4 + 128 * i;
        if (from + 128 > data.size())
            break;
        QByteArray name = data.mid(from, 128);
        const int nul = name.indexOf('\0');
        if (nul >= 0)
            name.truncate(nul);
        names.append(name.trimmed());
    }
    return names;
}

QVector<QByteArray> CDelegateBSP::getEntityKeyvalueList() const
{
    QVector<QByteArray> lines;
    std::unique_ptr<QByteArray> text(getPackageFileByIndex(unsigned(Lump_Entities)));
    if (!text)
        return lines;
    QBuffer buffer(text.get());
    buffer.open(QIODevice::ReadOnly);
    while (!buffer.atEnd()) {
        const QByteArray line = UTIL_readLineFromQIODevice(buffer).trimmed();
        if (!line.isEmpty())
            lines.append(line);
    }
    return lines;
}

QVector<QByteArray> CDelegateBSP::getBrushTextureList() const
{
    QVector<QByteArray> names;
    if (!file.isOpen() || !file.isReadable())
        return names;
    const Lump_s &lump = lumps[Lump_TexdataStringData];
    const qint64 end = qMin<qint64>(qint64(lump.offset) + lump.length, file.size());
    if (!file.seek(lump.offset))
        return names;
    while (file.pos() < end) {
        const qint64 before = file.pos();
        const QByteArray line = UTIL_readLineFromQIODevice(file);
        names.append(UTIL_cleanFilePath(line).toLatin1());
        if (file.pos() <= before)
            break;
    }
    return names;
}

bool CDelegateBSP::setBrushTextureList(const QVector<QByteArray> &names)
{
    QByteArray text;
    for (const QByteArray &name : names) {
        text.append(name);
        text.append('\n');
    }
    return setFileByNode(text, false, getNodeByIndex(unsigned(Lump_TexdataStringData)));
}

QString CDelegateBSP::getPakfileCommentTrimmed() const
{
    const int nul = zipEnd.comment.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? zipEnd.comment : zipEnd.comment.left(nul)).trimmed();
}

// --- writing -----------------------------------------------------------------

QVector<CPackageHierarchyNode *> CDelegateBSP::chooseEntries(bool pending) const
{
    QVector<CPackageHierarchyNode *> chosen;
    for (int i = Lump_Count; i < nodes.size(); ++i) {
        CPackageHierarchyNode *node = nodes.at(i);
        if (!node)
            continue;
        const bool inPackage = isPackageFileAtIndex(unsigned(i));
        if (pending ? (!node->markedForDeletion && (node->data || inPackage)) : inPackage)
            chosen.append(node);
    }
    return chosen;
}

QVector<ZIPEntry_t>
CDelegateBSP::workingRecords(const QVector<CPackageHierarchyNode *> &chosen) const
{
    QVector<ZIPEntry_t> records;
    records.reserve(chosen.size());
    for (const CPackageHierarchyNode *node : chosen) {
        const ZIPEntry_t *old = node->index >= 0 ? getPakfileEntry(unsigned(node->index)) : nullptr;
        records.append(old ? *old : ZIPEntry_t());
    }
    return records;
}

bool CDelegateBSP::flush(FlushSyncronizer *sync)
{
    CMapFlush job(*this, sync);
    return job.run();
}

bool CDelegateBSP::writePakfileZip(QIODevice *device, unsigned int flags)
{
    if (!checkOutputDevice(device, QStringLiteral("Request Error: NULL device")))
        return false;
    const bool pending = flags & ZipWrite_PendingChanges;
    const QVector<CPackageHierarchyNode *> chosen = chooseEntries(pending);
    QVector<ZIPEntry_t> records = workingRecords(chosen);
    ZIPEndRecord end = zipEnd;
    CPakfileWriter writer(*this, nullptr);
    writer.setSource(pending, false);
    if (!writer.write(*device, chosen, records, end, !(flags & ZipWrite_NoComment))) {
        lastError = writer.errorText();
        return false;
    }
    return true;
}
