#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

class CArchiveReader;

// The file header and the directory shared by cache files with and without data.
class CCacheDirectory
{
public:
    static const quint32 fileFlag = 0x4000;
    static const quint32 noParent = 0xFFFFFFFF;

    // Directory flags beside the file flag, shown in the properties of an entry.
    enum ItemFlags_t {
        FlagEncrypted = 0x100,
        FlagMakeLocalCopy = 0x0A,
        FlagOverwriteLocalCopy = 0x01,
        FlagBackupLocalCopy = 0x40
    };

    enum FileHeaderField_t {
        FileHeaderBlockSize = 8,
        FileHeaderBlockCount = 9,
        FileHeaderFields = 11
    };

    enum DirectoryHeaderField_t {
        DirectoryItemCount = 3,
        DirectoryNameSize = 7,
        DirectoryInfo1Count = 8,
        DirectoryCopyCount = 9,
        DirectoryLocalCount = 10,
        DirectoryHeaderFields = 14
    };

    struct Entry_t
    {
        quint32 nameOffset = 0;
        quint32 itemSize = 0;
        quint32 checksumIndex = 0;
        quint32 directoryFlags = 0;
        quint32 parentIndex = 0;
        quint32 nextIndex = 0;
        quint32 firstIndex = 0;
    };

    void clear();
    // Short reads of single numbers leave zeros; a count that runs past the
    // data fails with the error text.
    bool readFileHeader(CArchiveReader &reader, QString &error);
    // From the directory header through the directory map.
    bool readDirectory(CArchiveReader &reader, QString &error);

    // The name at an offset of the name table, up to its NUL.
    QString nameAt(quint32 offset) const;
    quint32 itemCount() const { return quint32(entries.size()); }
    bool isFile(quint32 index) const;
    quint32 blockSize() const { return fileHeader[FileHeaderBlockSize]; }
    quint32 blockCount() const { return fileHeader[FileHeaderBlockCount]; }

    quint32 fileHeader[FileHeaderFields] = {};
    quint32 directoryHeader[DirectoryHeaderFields] = {};
    QVector<Entry_t> entries;
    QByteArray names;
    quint32 directoryMapHeader[2] = {};
    // For each item, the first block entry of its data.
    QVector<quint32> directoryMap;
};
