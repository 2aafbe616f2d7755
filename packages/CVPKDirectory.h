#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

class QIODevice;

// The directory tree of a VPK: the optional header and one record per file.
// A directory can list hundreds of thousands of files, so a record holds no
// strings of its own: its directory is an index into `paths`, and its name
// and preload bytes are spans of buffers shared by all records.
class CVPKDirectory
{
public:
    static const quint32 headerSignature = 0x55AA1234;
    static const quint32 headerSize = 12;
    // Archive index of entries whose data follows the tree in the directory file.
    static const quint16 directoryArchive = 32767;

    struct Entry_t
    {
        quint32 crc = 0;
        quint32 archiveOffset = 0;
        quint32 archiveLength = 0;
        quint16 preloadBytes = 0;
        quint16 archiveIndex = 0;
        quint16 terminator = 0;
        // The name holds a separator, so that it does not name a direct child
        // of its directory.
        bool nameHasSeparator = false;
        quint32 pathIndex = 0;
        quint32 nameStart = 0; // in characters of the name buffer
        quint32 preloadStart = 0; // in bytes of the preload buffer
    };

    void clear();
    // Reads the header (if any) and the tree from the device's start. Leaves the
    // records read so far and the error text on failure.
    [[nodiscard]] bool read(QIODevice &device, QString &error);

    // The trimmed directory of an entry.
    const QString &entryPath(qsizetype index) const
    {
        return paths.at(entries.at(index).pathIndex);
    }
    // The base name, ".", and the extension. The text is shared with the
    // directory's buffer, not copied.
    QString entryName(qsizetype index) const;
    QStringView entryNameView(qsizetype index) const;
    const char *entryPreload(qsizetype index) const
    {
        return preloads.constData() + entries.at(index).preloadStart;
    }
    // The hash of each entry's name for CChildNameIndex, made while reading;
    // releaseNameHashes() drops them once the tree is built.
    quint32 entryNameHash(qsizetype index) const { return nameHashes.at(index); }
    void releaseNameHashes() { nameHashes = QVector<quint32>(); }
    // How many entries lie in each directory of `paths`.
    const QVector<quint32> &entriesPerPath() const { return pathEntryCounts; }

    bool hasHeader = false;
    quint32 signature = 0;
    quint32 version = 0;
    quint32 treeSize = 0;
    QVector<Entry_t> entries;
    QStringList paths;

private:
    [[nodiscard]] bool parse(const uchar *data, qint64 size, QString &error);

    // Every entry's name, each followed by a NUL, in the order of the entries.
    QString names;
    QByteArray preloads;
    QVector<quint32> nameHashes;
    QVector<quint32> pathEntryCounts;
};
