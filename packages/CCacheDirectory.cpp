#include "packages/CCacheDirectory.h"

#include "packages/CArchiveReader.h"

#include <cstring>

namespace {
// Reads what is there and leaves zeros for the rest: single numbers are not
// checked, since nothing in a cache header is trusted anyway.
void readFields(CArchiveReader &reader, quint32 *fields, int count)
{
    for (int i = 0; i < count; ++i) {
        if (!reader.readU32(fields[i]))
            fields[i] = 0;
    }
}

bool fits(const CArchiveReader &reader, quint64 count, quint64 width)
{
    return count * width <= quint64(qMax<qint64>(reader.remaining(), 0));
}
} // namespace

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
    readFields(reader, fileHeader, FileHeaderFields);
    return true;
}

bool CCacheDirectory::readDirectory(CArchiveReader &reader, QString &error)
{
    readFields(reader, directoryHeader, DirectoryHeaderFields);
    const quint32 count = directoryHeader[DirectoryItemCount];
    if (!fits(reader, count, 7 * 4)) {
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
    if (!fits(reader, unused, 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    reader.skip(qint64(unused * 4));
    readFields(reader, directoryMapHeader, 2);
    if (!fits(reader, count, 4)) {
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
