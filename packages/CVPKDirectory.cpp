#include "packages/CVPKDirectory.h"

#include "packages/CArchiveReader.h"
#include "util/UtilPath.h"

#include <QIODevice>

namespace {
const char *incompleteRead = "Read Error: Incomplete read";

// Tree strings are taken byte for byte, so that any name survives.
bool readTrimmed(CArchiveReader &reader, QString &out)
{
    QByteArray raw;
    if (!reader.readCString(raw))
        return false;
    out = QString::fromLatin1(raw);
    UTIL_trimFilePath(out);
    return true;
}
} // namespace

void CVPKDirectory::clear()
{
    hasHeader = false;
    signature = version = treeSize = 0;
    entries.clear();
}

bool CVPKDirectory::read(QIODevice &device, QString &error)
{
    clear();
    if (!device.seek(0)) {
        error = QStringLiteral("Stream Error: Seek error");
        return false;
    }
    CArchiveReader reader(device);
    quint32 first = 0;
    if (reader.readU32(first) && first == headerSignature) {
        hasHeader = true;
        signature = first;
        if (!reader.readU32(version) || !reader.readU32(treeSize)) {
            error = QString::fromLatin1(incompleteRead);
            return false;
        }
    } else if (!reader.seek(0)) {
        error = QStringLiteral("Stream Error: Seek error");
        return false;
    }

    // Every string consumes at least its NUL, so a tree that never closes runs
    // into the end of the data instead of looping.
    QString extension, path, baseName;
    for (;;) {
        if (!readTrimmed(reader, extension)) {
            error = QString::fromLatin1(incompleteRead);
            return false;
        }
        if (extension.isEmpty())
            break;
        for (;;) {
            if (!readTrimmed(reader, path)) {
                error = QString::fromLatin1(incompleteRead);
                return false;
            }
            if (path.isEmpty())
                break;
            for (;;) {
                if (!readTrimmed(reader, baseName)) {
                    error = QString::fromLatin1(incompleteRead);
                    return false;
                }
                if (baseName.isEmpty())
                    break;
                Entry_t entry;
                entry.path = path;
                entry.name = baseName + QLatin1Char('.') + extension;
                if (!reader.readU32(entry.crc) || !reader.readU16(entry.preloadBytes)
                    || !reader.readU16(entry.archiveIndex) || !reader.readU32(entry.archiveOffset)
                    || !reader.readU32(entry.archiveLength) || !reader.readU16(entry.terminator)
                    || !reader.readBytes(entry.preload, entry.preloadBytes)) {
                    error = QString::fromLatin1(incompleteRead);
                    return false;
                }
                entries.append(std::move(entry));
            }
        }
    }
    return true;
}
