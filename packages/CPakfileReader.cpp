#include "packages/CPakfileReader.h"

#include "util/CNotifier.h"

#include <QFile>
#include <QtEndian>

CPakfileReader::CPakfileReader(QFile &source, quint32 offset, quint32 length)
    : file(source)
    , lumpOffset(offset)
    , lumpLength(length)
    , bytes(nullptr)
    , mapped(nullptr)
    , closeAfter(false)
{ }

CPakfileReader::~CPakfileReader()
{
    if (mapped)
        file.unmap(mapped);
}

bool CPakfileReader::fail(const QString &text)
{
    error = text;
    return false;
}

quint32 CPakfileReader::u32(qint64 at) const
{
    return qFromLittleEndian<quint32>(bytes + at);
}

bool CPakfileReader::load()
{
    // A lump reaching past the end of the file has no end record to find.
    if (quint64(lumpOffset) + lumpLength > quint64(file.size()))
        return fail(QStringLiteral("File Error: Unable to locate end record of pakfile"));
    mapped = file.map(lumpOffset, lumpLength);
    if (mapped) {
        bytes = mapped;
        return true;
    }
    if (!file.seek(lumpOffset))
        return fail(QStringLiteral("Read Error: Seek Error"));
    copy = file.read(lumpLength);
    if (copy.size() != qint64(lumpLength))
        return fail(QStringLiteral("Read Error: Read error"));
    bytes = reinterpret_cast<const uchar *>(copy.constData());
    return true;
}

bool CPakfileReader::findEndRecord(ZIPEndRecord &end, qint64 &at)
{
    // The first candidate lies 22 bytes before the lump's end, each further
    // one a byte earlier, down to the lump's start.
    for (at = qint64(lumpLength) - ZIPEndRecord::FixedSize; at >= 0; --at) {
        if (u32(at) == ZIPEndRecord::Signature)
            break;
    }
    if (at < 0)
        return fail(QStringLiteral("File Error: Unable to locate end record of pakfile"));
    end.readFixed(bytes + at);
    const qint64 commentAt = at + ZIPEndRecord::FixedSize;
    if (commentAt + end.commentLength > qint64(lumpLength))
        return fail(QStringLiteral("Read Error: Read error"));
    end.comment = QByteArray(reinterpret_cast<const char *>(bytes + commentAt), end.commentLength);
    return true;
}

bool CPakfileReader::readCentral(ZIPEntry_t &entry, qint64 &cursor, qint64 limit)
{
    // Slide forward to the next signature, if something stands between.
    while (cursor + 4 <= limit && u32(cursor) != ZIPCentralFileHeader::Signature)
        ++cursor;
    if (cursor + 4 > limit || cursor + ZIPCentralFileHeader::FixedSize > qint64(lumpLength))
        return fail(QStringLiteral("Read Error: Unable to locate next central directory entry"));
    ZIPCentralFileHeader &header = entry.second;
    header.readFixed(bytes + cursor);
    cursor += ZIPCentralFileHeader::FixedSize;

    auto take = [&](QByteArray &out, int length, const char *text) {
        if (cursor + length > qint64(lumpLength))
            return fail(QString::fromLatin1(text));
        out = QByteArray(reinterpret_cast<const char *>(bytes + cursor), length);
        cursor += length;
        return true;
    };
    return take(header.fileName, header.fileNameLength, "Stream Error: Unable to read file name")
        && take(header.extraField, header.extraFieldLength,
                "Stream Error: Unable to read extra field")
        && take(header.fileComment, header.fileCommentLength,
                "Stream Error: Unable to read comment");
}

bool CPakfileReader::readLocal(ZIPEntry_t &entry, qint64 limit)
{
    qint64 cursor = entry.second.localHeaderOffset;
    if (cursor >= qint64(lumpLength))
        return fail(QStringLiteral("Read Error: Seek Error"));
    while (cursor + 4 <= limit && u32(cursor) != ZIPLocalFileHeader::Signature)
        ++cursor;
    if (cursor + 4 > limit || cursor + ZIPLocalFileHeader::FixedSize > qint64(lumpLength))
        return fail(QStringLiteral("Read Error: Unable to locate next local header"));
    ZIPLocalFileHeader &header = entry.first;
    header.readFixed(bytes + cursor);
    cursor += ZIPLocalFileHeader::FixedSize;
    if (cursor + header.fileNameLength > qint64(lumpLength))
        return fail(QStringLiteral("Stream Error: Unable to read file name"));
    header.fileName
        = QByteArray(reinterpret_cast<const char *>(bytes + cursor), header.fileNameLength);
    cursor += header.fileNameLength;
    if (cursor + header.extraFieldLength > qint64(lumpLength))
        return fail(QStringLiteral("Stream Error: Unable to read extra field"));
    header.extraField
        = QByteArray(reinterpret_cast<const char *>(bytes + cursor), header.extraFieldLength);
    cursor += header.extraFieldLength;
    entry.third = lumpOffset + quint32(cursor);
    return true;
}

bool CPakfileReader::read(QVector<ZIPEntry_t *> &entries, ZIPEndRecord &end)
{
    entries.clear();
    qint64 endAt = 0;
    if (!load() || !findEndRecord(end, endAt))
        return false;
    if (end.thisDisk != end.directoryDisk) {
        closeAfter = true;
        return fail(QStringLiteral("Read Error: Pakfile has invalid disk arrangement"));
    }

    // No central or local header may reach into the end record.
    const qint64 limit = qint64(lumpLength) - end.commentLength - ZIPEndRecord::FixedSize;
    qint64 cursor = end.directoryOffset;
    const int count = end.entriesOnDisk;
    entries.reserve(count);
    bool ok = true;
    for (int i = 0; ok && i < count; ++i) {
        ZIPEntry_t *entry = new ZIPEntry_t();
        entries.append(entry);
        ok = readCentral(*entry, cursor, limit);
        if (ok && i >= 313 && i <= 315)
            CNotifier::notify(CNotifier::Information, QStringLiteral("signature"),
                              QString::number(qint64(lumpOffset) + cursor));
    }
    for (int i = 0; ok && i < count; ++i)
        ok = readLocal(*entries[i], limit);
    if (!ok) {
        qDeleteAll(entries);
        entries.clear();
    }
    return ok;
}
