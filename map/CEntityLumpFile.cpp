#include "map/CEntityLumpFile.h"

#include "map/CFileVMF.h"
#include "map/CLumpFileHeader.h"
#include "packages/CDelegateBSP.h"
#include "util/UtilDevice.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

bool hasSuffix(const QString &path, const char *suffix)
{
    return QFileInfo(path).suffix().compare(QLatin1String(suffix), Qt::CaseInsensitive) == 0;
}

} // namespace

bool CEntityLumpFile::readFromBSP(const QString &path, QByteArray &lump, QString &error)
{
    CDelegateBSP bsp;
    if (!bsp.openPackage(path, true)) {
        error = bsp.getLastError();
        return false;
    }
    lump.clear();
    QBuffer buffer(&lump);
    if (!buffer.open(QIODevice::ReadWrite)) {
        error = QStringLiteral("Unable to open lump buffer.");
        return false;
    }
    if (!bsp.getPackageFileByIndex(&buffer, CDelegateBSP::Lump_Entities)) {
        error = bsp.getLastError();
        return false;
    }
    return true;
}

bool CEntityLumpFile::openLMP(const QString &path, QFile &file, QString &error)
{
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("Unable to open file.");
        return false;
    }
    CLumpFileHeader header;
    (void)header.read(file);
    if (header.offset < CLumpFileHeader::Size) {
        error = QStringLiteral("Unexpected start of data.");
    } else if (file.size() < qint64(header.offset) + qint64(header.length)) {
        error = QStringLiteral("Unexpected end of data.");
    } else if (header.id != 0) {
        error = QStringLiteral("Lump does not contain entity information.");
    } else if (!file.seek(header.offset)) {
        error = QStringLiteral("Unexpected end of data.");
    } else {
        return true;
    }
    file.close();
    return false;
}

std::unique_ptr<CFileVMF> CEntityLumpFile::readVMF(const QString &path, QString &error)
{
    std::unique_ptr<CFileVMF> vmf;
    // Opening for writing would create a missing file: that is not a read.
    QFile file(path);
    if (QFileInfo::exists(path) && file.open(QIODevice::ReadWrite))
        vmf.reset(CFileVMF::createFromDevice(file, ~0ULL));
    if (!vmf)
        error = QStringLiteral("Unable to read \"%1\"").arg(path);
    return vmf;
}

bool CEntityLumpFile::readEntities(const QString &path, const std::function<bool()> &ignoreHidden,
                                   CEntityLump::Entities &entities, QString &error)
{
    if (hasSuffix(path, "vmf") || hasSuffix(path, "vmx")) {
        const std::unique_ptr<CFileVMF> vmf = readVMF(path, error);
        if (!vmf)
            return false;
        entities = CEntityLump::fromVMF(*vmf, ignoreHidden);
        return true;
    }
    if (hasSuffix(path, "lmp")) {
        QFile file;
        if (!openLMP(path, file, error))
            return false;
        entities = CEntityLump::parse(file, file.size());
    } else if (hasSuffix(path, "bsp")) {
        QByteArray lump;
        if (!readFromBSP(path, lump, error))
            return false;
        QBuffer buffer(&lump);
        buffer.open(QIODevice::ReadOnly);
        entities = CEntityLump::parse(buffer, lump.size());
    } else {
        error = QStringLiteral("File type \"%1\" not recognized").arg(QFileInfo(path).suffix());
        return false;
    }
    CEntityLump::ensureValidity(entities);
    return true;
}

bool CEntityLumpFile::writeLMP(const QString &path, const QByteArray &lump,
                               const LMPSaveOptions &options, QString &error)
{
    error.clear();
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;

    CLumpFileHeader header;
    header.length = qint32(lump.size());
    const QByteArray head = header.bytes();
    bool written = file.write(head) == head.size() && file.write(lump) == lump.size();
    if (written && options.customSize) {
        const qint64 size = options.customSize(lump.size());
        if (size > lump.size())
            written = UTIL_writeBytes(QByteArray(1, '\0'), file, size - lump.size());
    }
    if (written && file.commit())
        return true;
    error = QStringLiteral("Save Error: ") + file.errorString();
    file.cancelWriting();
    return false;
}

bool CEntityLumpFile::writeToBSP(const QString &path, const QByteArray &lump,
                                 const BSPSaveOptions &options, bool &flushed, QString &error)
{
    flushed = false;
    CDelegateBSP bsp;
    if (!bsp.openPackage(path, false)) {
        error = bsp.getLastError();
        return false;
    }
    if (quint64(lump.size())
            < bsp.getLumpInfo(CDelegateBSP::Lump_Entities, CDelegateBSP::LumpField_Length)
        && options.smallerThanBefore)
        options.smallerThanBefore();
    if (!bsp.setFileByNode(lump, false, bsp.getNodeByIndex(CDelegateBSP::Lump_Entities))) {
        error = bsp.getLastError();
        return false;
    }
    flushed = bsp.flush(nullptr);
    if (!flushed)
        error = bsp.getLastError();
    return true;
}

bool CEntityLumpFile::writeVMF(const QString &path, const CEntityLump::Rows &rows,
                               const QStringList &studioKeys, const CEntityLump::NameRow &name,
                               QString &error)
{
    if (path.isEmpty())
        return false;
    CFileVMF vmf;
    CEntityLump::toVMF(rows, studioKeys, vmf, name);
    if (!vmf.writeFile(path)) {
        error = vmf.lastError;
        return false;
    }
    return true;
}

bool CEntityLumpFile::writeEntities(const QString &path, const CEntityLump::Entities &entities,
                                    const QStringList &studioKeys, QString &error)
{
    const CEntityLump::Rows rows = CEntityLump::rowsOf(entities);
    if (hasSuffix(path, "vmf") || hasSuffix(path, "vmx")) {
        if (writeVMF(path, rows, studioKeys, {}, error))
            return true;
        if (error.isEmpty())
            error = QStringLiteral("Write Error: Invalid file path");
        return false;
    }
    // Rows that a lump would lose went already when the entities were read.
    const QByteArray lump = CEntityLump::buildLump(rows);
    if (hasSuffix(path, "lmp")) {
        if (writeLMP(path, lump, {}, error))
            return true;
        if (error.isEmpty())
            error = QStringLiteral("Write Error: Unable to open file \"%1\"").arg(path);
        return false;
    }
    if (hasSuffix(path, "bsp")) {
        bool flushed = false;
        return writeToBSP(path, lump, {}, flushed, error) && flushed;
    }
    error = QStringLiteral("File type \"%1\" not recognized").arg(QFileInfo(path).suffix());
    return false;
}
