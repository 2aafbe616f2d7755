#include "packages/ZipRecords.h"

#include <QtEndian>

namespace {

quint16 u16(const uchar *p, int at)
{
    return qFromLittleEndian<quint16>(p + at);
}

quint32 u32(const uchar *p, int at)
{
    return qFromLittleEndian<quint32>(p + at);
}

void put16(QByteArray &out, quint16 v)
{
    uchar b[2];
    qToLittleEndian(v, b);
    out.append(reinterpret_cast<const char *>(b), 2);
}

void put32(QByteArray &out, quint32 v)
{
    uchar b[4];
    qToLittleEndian(v, b);
    out.append(reinterpret_cast<const char *>(b), 4);
}

} // namespace

void ZIPLocalFileHeader::readFixed(const uchar *p)
{
    signature = u32(p, 0);
    versionNeeded = u16(p, 4);
    flags = u16(p, 6);
    compression = u16(p, 8);
    modificationTime = u16(p, 10);
    modificationDate = u16(p, 12);
    crc32 = u32(p, 14);
    compressedSize = u32(p, 18);
    uncompressedSize = u32(p, 22);
    fileNameLength = u16(p, 26);
    extraFieldLength = u16(p, 28);
}

QByteArray ZIPLocalFileHeader::toBytes() const
{
    QByteArray out;
    out.reserve(FixedSize + fileName.size() + extraField.size());
    put32(out, signature);
    put16(out, versionNeeded);
    put16(out, flags);
    put16(out, compression);
    put16(out, modificationTime);
    put16(out, modificationDate);
    put32(out, crc32);
    put32(out, compressedSize);
    put32(out, uncompressedSize);
    put16(out, fileNameLength);
    put16(out, extraFieldLength);
    out.append(fileName);
    out.append(extraField);
    return out;
}

void ZIPCentralFileHeader::readFixed(const uchar *p)
{
    signature = u32(p, 0);
    versionMadeBy = u16(p, 4);
    versionNeeded = u16(p, 6);
    flags = u16(p, 8);
    compression = u16(p, 10);
    modificationTime = u16(p, 12);
    modificationDate = u16(p, 14);
    crc32 = u32(p, 16);
    compressedSize = u32(p, 20);
    uncompressedSize = u32(p, 24);
    fileNameLength = u16(p, 28);
    extraFieldLength = u16(p, 30);
    fileCommentLength = u16(p, 32);
    diskNumberStart = u16(p, 34);
    internalAttributes = u16(p, 36);
    externalAttributes = u32(p, 38);
    localHeaderOffset = u32(p, 42);
}

QByteArray ZIPCentralFileHeader::toBytes() const
{
    QByteArray out;
    out.reserve(FixedSize + fileName.size() + extraField.size() + fileComment.size());
    put32(out, signature);
    put16(out, versionMadeBy);
    put16(out, versionNeeded);
    put16(out, flags);
    put16(out, compression);
    put16(out, modificationTime);
    put16(out, modificationDate);
    put32(out, crc32);
    put32(out, compressedSize);
    put32(out, uncompressedSize);
    put16(out, fileNameLength);
    put16(out, extraFieldLength);
    put16(out, fileCommentLength);
    put16(out, diskNumberStart);
    put16(out, internalAttributes);
    put32(out, externalAttributes);
    put32(out, localHeaderOffset);
    out.append(fileName);
    out.append(extraField);
    out.append(fileComment);
    return out;
}

void ZIPEndRecord::readFixed(const uchar *p)
{
    signature = u32(p, 0);
    thisDisk = u16(p, 4);
    directoryDisk = u16(p, 6);
    entriesOnDisk = u16(p, 8);
    entriesTotal = u16(p, 10);
    directorySize = u32(p, 12);
    directoryOffset = u32(p, 16);
    commentLength = u16(p, 20);
}

QByteArray ZIPEndRecord::toBytes() const
{
    QByteArray out;
    out.reserve(FixedSize + comment.size());
    put32(out, signature);
    put16(out, thisDisk);
    put16(out, directoryDisk);
    put16(out, entriesOnDisk);
    put16(out, entriesTotal);
    put32(out, directorySize);
    put32(out, directoryOffset);
    put16(out, commentLength);
    out.append(comment);
    return out;
}
