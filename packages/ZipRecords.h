#pragma once

#include <QByteArray>
#include <QtGlobal>

// The records of a ZIP archive as a map's pakfile holds them. Offsets in them
// are relative to the start of the archive. The fixed parts are read from and
// written to little-endian bytes; the variable parts travel along.

struct ZIPLocalFileHeader
{
    static constexpr quint32 Signature = 0x04034b50;
    static constexpr int FixedSize = 30;

    quint32 signature = Signature;
    quint16 versionNeeded = 10;
    quint16 flags = 0;
    quint16 compression = 0;
    quint16 modificationTime = 0;
    quint16 modificationDate = 0;
    quint32 crc32 = 0;
    quint32 compressedSize = 0;
    quint32 uncompressedSize = 0;
    quint16 fileNameLength = 0;
    quint16 extraFieldLength = 0;
    QByteArray fileName;
    QByteArray extraField;

    // From FixedSize bytes.
    void readFixed(const uchar *p);
    // The fixed part, then name and extra field.
    QByteArray toBytes() const;
};

struct ZIPCentralFileHeader
{
    static constexpr quint32 Signature = 0x02014b50;
    static constexpr int FixedSize = 46;

    quint32 signature = Signature;
    quint16 versionMadeBy = 20;
    quint16 versionNeeded = 10;
    quint16 flags = 0;
    quint16 compression = 0;
    quint16 modificationTime = 0;
    quint16 modificationDate = 0;
    quint32 crc32 = 0;
    quint32 compressedSize = 0;
    quint32 uncompressedSize = 0;
    quint16 fileNameLength = 0;
    quint16 extraFieldLength = 0;
    quint16 fileCommentLength = 0;
    quint16 diskNumberStart = 0;
    quint16 internalAttributes = 0;
    quint32 externalAttributes = 0;
    quint32 localHeaderOffset = 0;
    QByteArray fileName;
    QByteArray extraField;
    QByteArray fileComment;

    void readFixed(const uchar *p);
    QByteArray toBytes() const;
};

struct ZIPEndRecord
{
    static constexpr quint32 Signature = 0x06054b50;
    static constexpr int FixedSize = 22;

    quint32 signature = Signature;
    quint16 thisDisk = 0;
    quint16 directoryDisk = 0;
    quint16 entriesOnDisk = 0;
    quint16 entriesTotal = 0;
    quint32 directorySize = 0;
    quint32 directoryOffset = 0;
    quint16 commentLength = 0;
    QByteArray comment;

    void readFixed(const uchar *p);
    QByteArray toBytes() const;
};

#include "util/CTriplet.h"

// An entry of the pakfile: its local header, its central header, and the
// absolute file offset of its data.
using ZIPEntry_t = CTriplet<ZIPLocalFileHeader, ZIPCentralFileHeader, unsigned int>;
