#include "map/CBspLumpTool.h"

#include "map/CLumpFileHeader.h"
#include "packages/BspLumpNames.h"
#include "packages/CDelegateBSP.h"
#include "util/UtilDevice.h"

#include <QBuffer>
#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

unsigned int info(const CDelegateBSP &bsp, int lump, CDelegateBSP::LumpDataField_t field)
{
    return bsp.getLumpInfo(CDelegateBSP::Lump_t(lump), field);
}

// The checks of a lump file offered for `lump`, in their order; the data on success.
bool readLumpFile(QFile &file, int lump, CLumpFileHeader &header, QByteArray &data, QString &error)
{
    QDataStream stream(&file);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream >> header.offset >> header.id >> header.version >> header.length >> header.revision;
    if (stream.atEnd())
        error = QStringLiteral("Unexpected end of file");
    else if (header.offset != CLumpFileHeader::Size)
        error = QStringLiteral("Unexpected start of data");
    else if (file.size() != qint64(header.length) + CLumpFileHeader::Size)
        error = QStringLiteral("Unexpected end of data");
    else if (header.id != lump)
        error = QStringLiteral("Lump type mismatch");
    if (!error.isEmpty())
        return false;
    // The size was checked against the length: the data is what the file holds.
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    return UTIL_deviceCopy(file, buffer, header.length, &error);
}

} // namespace

QString CBspLumpTool::lumpName(int lump, int internalVersion)
{
    return BSP_lumpName(lump, internalVersion);
}

QString CBspLumpTool::fourCCText(quint32 fourCC)
{
    QString text = QStringLiteral("'%1' (%2) , '%3' (%4) , '%5' (%6) , '%7' (%8)");
    for (int shift = 24; shift >= 0; shift -= 8) {
        const uchar byte = uchar(fourCC >> shift);
        text = text.arg(QChar(byte)).arg(byte);
    }
    return text;
}

QVector<CBspLumpTool::Row> CBspLumpTool::rows(const CDelegateBSP &bsp)
{
    QVector<Row> rows(LumpCount);
    for (int lump = 0; lump < LumpCount; ++lump) {
        Row &row = rows[lump];
        row.name = lumpName(lump, bsp.getInternalVersion());
        row.offset = info(bsp, lump, CDelegateBSP::LumpField_Offset);
        row.length = info(bsp, lump, CDelegateBSP::LumpField_Length);
        row.version = info(bsp, lump, CDelegateBSP::LumpField_Version);
        row.fourCC = info(bsp, lump, CDelegateBSP::LumpField_FourCC);
        row.fourCCText = fourCCText(row.fourCC);
    }
    return rows;
}

QString CBspLumpTool::extractFileName(int lump, int internalVersion, bool nameByLump,
                                      bool asLumpFile)
{
    QString name = nameByLump ? lumpName(lump, internalVersion) : QStringLiteral("l_%1").arg(lump);
    if (asLumpFile)
        name += QStringLiteral(".lmp");
    return name;
}

bool CBspLumpTool::extract(const ExtractOptions &options, QString &error, QString *written)
{
    error.clear();
    CDelegateBSP bsp;
    if (!bsp.openPackage(options.bspPath, true)) {
        error = bsp.getLastError();
        return false;
    }
    if (options.lump < 0 || options.lump >= LumpCount) {
        error = QStringLiteral("Request Error: Index out of bounds");
        return false;
    }
    const QString path = options.directory + QLatin1Char('/')
        + extractFileName(options.lump, bsp.getInternalVersion(), options.nameByLump,
                          options.asLumpFile);
    if (QFileInfo::exists(path) && !(options.overwrite && options.overwrite(path)))
        return false;

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        error = QStringLiteral("Write Error: Unable to open file \"%1\"").arg(path);
        return false;
    }
    bool ok = true;
    if (options.asLumpFile) {
        CLumpFileHeader header;
        header.id = options.lump;
        header.version = qint32(info(bsp, options.lump, CDelegateBSP::LumpField_Version));
        header.length = qint32(info(bsp, options.lump, CDelegateBSP::LumpField_Length));
        header.revision = bsp.getMapRevision();
        const QByteArray head = header.bytes();
        ok = file.write(head) == head.size();
        if (!ok)
            error = file.errorString();
    }
    if (ok && !bsp.getPackageFileByIndex(&file, unsigned(options.lump))) {
        error = bsp.getLastError();
        ok = false;
    }
    if (ok && !file.commit()) {
        error = file.errorString();
        ok = false;
    }
    if (!ok) {
        file.cancelWriting();
        return false;
    }
    if (written)
        *written = path;
    return true;
}

CBspLumpTool::ReplaceResult_t CBspLumpTool::replace(const ReplaceOptions &options, QString &error,
                                                    QVector<Row> *after)
{
    error.clear();
    QFile file(options.filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("Unable to open file \"%1\"").arg(options.filePath);
        return Replace_Refused;
    }
    const bool lumpFile = options.filePath.endsWith(QStringLiteral(".lmp"), Qt::CaseInsensitive);
    CLumpFileHeader header;
    QByteArray data;
    if (lumpFile && !readLumpFile(file, options.lump, header, data, error))
        return Replace_Refused;

    CDelegateBSP bsp;
    if (!bsp.openPackage(options.bspPath, false)) {
        error = bsp.getLastError();
        return Replace_Refused;
    }
    if (options.lump < 0 || options.lump >= LumpCount) {
        error = QStringLiteral("Request Error: Index out of bounds");
        return Replace_Refused;
    }
    if (lumpFile
        && quint32(header.version) != info(bsp, options.lump, CDelegateBSP::LumpField_Version)) {
        error = QStringLiteral("Lump version mismatch");
        return Replace_Refused;
    }
    file.close();

    CPackageHierarchyNode *node = bsp.getNodeByIndex(unsigned(options.lump));
    const bool set = lumpFile ? bsp.setFileByNode(data, false, node)
                              : bsp.setFileByNode(QFile::encodeName(options.filePath), true, node);
    if (!set) {
        error = bsp.getLastError();
        return Replace_Refused;
    }
    const bool flushed = bsp.flush(nullptr);
    if (!flushed)
        error = bsp.getLastError();
    if (after)
        *after = rows(bsp);
    return flushed ? Replace_Done : Replace_FlushFailed;
}
