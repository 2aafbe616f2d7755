#include "packages/CCacheDirectory.h"

#include "packages/CArchiveReader.h"

#include <cstring>

void CCacheDirectory::clear()
{
    memset(fileHeader, 0, sizeof(fileHeader));
    memset(directoryHeader, 0, sizeof(directoryHeader));
    memset(directoryMapHeader, 0, sizeof(directoryMapHeader));
    entries.clear();
    names.clear();
    directoryMap.clear();
}

bool CCacheDirectory::readFileHeader(CArchiveReader &reader, QString &)
{
    reader.readU32Fields(fileHeader, FileHeaderFields);
    return true;
}

bool CCacheDirectory::readDirectory(CArchiveReader &reader, QString &error)
{
    reader.readU32Fields(directoryHeader, DirectoryHeaderFields);
    const quint32 count = directoryHeader[DirectoryItemCount];
    if (!reader.fits(count, 7 * 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    entries.resize(int(count));
    for (Entry_t &entry : entries) {
        quint32 raw[7];
        reader.readU32Array(raw, 7);
        entry.nameOffset = raw[0];
        entry.itemSize = raw[1];
        entry.checksumIndex = raw[2];
        entry.directoryFlags = raw[3];
        entry.parentIndex = raw[4];
        entry.nextIndex = raw[5];
        entry.firstIndex = raw[6];
    }
    if (!reader.readBytes(names, directoryHeader[DirectoryNameSize])) {
        error = QStringLiteral("Read Error: Unable to read directory item names");
        return false;
    }
    // Tables that nothing here looks at: the first information table, the
    // second one of one number per item, the copy and the local tables.
    const quint64 unused = quint64(directoryHeader[DirectoryInfo1Count]) + count
        + directoryHeader[DirectoryCopyCount] + directoryHeader[DirectoryLocalCount];
    if (!reader.fits(unused, 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    reader.skip(qint64(unused * 4));
    reader.readU32Fields(directoryMapHeader, 2);
    if (!reader.fits(count, 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    directoryMap.resize(int(count));
    reader.readU32Array(directoryMap.data(), int(count));
    return true;
}

QString CCacheDirectory::nameAt(quint32 offset) const
{
    if (offset >= quint32(names.size()))
        return QString();
    const char *begin = names.constData() + offset;
    const qint64 avail = names.size() - qint64(offset);
    const void *nul = memchr(begin, 0, size_t(avail));
    const qint64 len = nul ? static_cast<const char *>(nul) - begin : avail;
    return QString::fromLatin1(begin, len);
}

bool CCacheDirectory::isFile(quint32 index) const
{
    return index < itemCount() && (entries[int(index)].directoryFlags & fileFlag);
}
