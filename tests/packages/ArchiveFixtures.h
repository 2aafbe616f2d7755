#pragma once

// Builders of small VPK, NCF and GCF files for the archive tests.

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QMap>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtEndian>

namespace fixtures {

inline void putU16(QByteArray &out, quint16 value)
{
    char raw[2];
    qToLittleEndian(value, raw);
    out.append(raw, 2);
}

inline void putU32(QByteArray &out, quint32 value)
{
    char raw[4];
    qToLittleEndian(value, raw);
    out.append(raw, 4);
}

inline void putCString(QByteArray &out, const QString &text)
{
    out.append(text.toLatin1());
    out.append('\0');
}

inline quint32 crc32(const QByteArray &data)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char c : data) {
        crc ^= quint8(c);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// Copies of bytes with a few bytes overwritten, or cut short, from a fixed seed.
inline QList<QByteArray> mutations(const QByteArray &bytes, int count, quint32 seed)
{
    QList<QByteArray> out;
    QRandomGenerator random(seed);
    for (int i = 0; i < count; ++i) {
        QByteArray copy = bytes;
        if (copy.isEmpty())
            break;
        if (i % 5 == 4) {
            copy.truncate(int(random.bounded(copy.size())));
        } else {
            const int changes = 1 + int(random.bounded(4));
            for (int c = 0; c < changes; ++c) {
                const int at = int(random.bounded(copy.size()));
                // Extremes are what breaks bounds; any byte may do.
                const quint32 pick = random.bounded(4);
                copy[at] = pick == 0 ? char(0xFF) : pick == 1 ? char(0) : char(random.bounded(256));
            }
        }
        out.append(copy);
    }
    return out;
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(bytes) == bytes.size();
}

// A VPK made of files placed in numbered archives or behind the tree.
class VpkBuilder
{
public:
    struct File
    {
        QString extension;
        QString path;
        QString baseName;
        QByteArray content;
        int preloadCount = 0;
        quint16 archive = 0x7FFF;
        quint32 offset = 0;
        quint32 length = 0;
    };

    // fullPath is "dir/sub/name.ext"; the first preloadCount bytes go in the tree.
    void add(const QString &fullPath, const QByteArray &content, quint16 archive = 0x7FFF,
             int preloadCount = 0)
    {
        File f;
        const int slash = fullPath.lastIndexOf('/');
        f.path = slash < 0 ? QStringLiteral(" ") : fullPath.left(slash);
        const QString name = fullPath.mid(slash + 1);
        const int dot = name.lastIndexOf('.');
        f.baseName = name.left(dot);
        f.extension = name.mid(dot + 1);
        f.content = content;
        f.preloadCount = preloadCount;
        f.archive = archive;
        files.append(f);
    }

    // Raw form for odd records: path and extension as they stand in the tree.
    void addRaw(const QString &extension, const QString &path, const QString &baseName,
                const QByteArray &content, quint16 archive = 0x7FFF, int preloadCount = 0)
    {
        File f;
        f.extension = extension;
        f.path = path;
        f.baseName = baseName;
        f.content = content;
        f.preloadCount = preloadCount;
        f.archive = archive;
        files.append(f);
    }

    // Lays out the archives and returns the directory file; archives() then
    // holds the numbered archive contents.
    QByteArray build(bool withHeader = true)
    {
        archiveData.clear();
        QByteArray behind;
        for (File &f : files) {
            const QByteArray rest = f.content.mid(f.preloadCount);
            QByteArray &target = f.archive == 0x7FFF ? behind : archiveData[f.archive];
            f.offset = quint32(target.size());
            f.length = quint32(rest.size());
            target.append(rest);
        }
        QByteArray tree = makeTree(0);
        QByteArray out;
        if (withHeader) {
            putU32(out, 0x55AA1234);
            putU32(out, 1);
            putU32(out, quint32(tree.size()));
        } else {
            // Data behind a header-less tree is still looked for 12 bytes on
            // from the offset, as if a header were there.
            tree = makeTree(qint64(tree.size()) - 12);
        }
        out.append(tree);
        out.append(behind);
        return out;
    }

    QByteArray makeTree(qint64 shift) const
    {
        QByteArray tree;
        QStringList extensions;
        for (const File &f : files) {
            if (!extensions.contains(f.extension))
                extensions.append(f.extension);
        }
        for (const QString &ext : extensions) {
            putCString(tree, ext);
            QStringList paths;
            for (const File &f : files) {
                if (f.extension == ext && !paths.contains(f.path))
                    paths.append(f.path);
            }
            for (const QString &path : paths) {
                putCString(tree, path);
                for (const File &f : files) {
                    if (f.extension != ext || f.path != path)
                        continue;
                    putCString(tree, f.baseName);
                    putU32(tree, crc32(f.content));
                    putU16(tree, quint16(f.preloadCount));
                    putU16(tree, f.archive);
                    putU32(tree, quint32(f.offset + (f.archive == 0x7FFF ? shift : 0)));
                    putU32(tree, f.length);
                    putU16(tree, 0xFFFF);
                    tree.append(f.content.left(f.preloadCount));
                }
                putCString(tree, QString());
            }
            putCString(tree, QString());
        }
        putCString(tree, QString());
        return tree;
    }

    QMap<quint16, QByteArray> archives() const { return archiveData; }

    QList<File> files;

private:
    QMap<quint16, QByteArray> archiveData;
};

// A cache file directory with or without block data.
class CacheBuilder
{
public:
    struct Item
    {
        QString name;
        quint32 parent = 0xFFFFFFFF;
        quint32 flags = 0;
        QByteArray content;
        // Data blocks that hold the content, in order; empty means none.
        QVector<quint32> blocks;
        bool noBlockEntry = false;
        quint32 nameOffsetOverride = 0xFFFFFFFF;
    };

    quint32 blockSize = 16;
    quint32 blockCount = 8;
    quint32 terminator = 0; // 0: chains end at 0xFFFF, else at 0xFFFFFFFF

    // Returns the item number.
    int addDirectory(const QString &name, int parent)
    {
        Item item;
        item.name = name;
        item.parent = parent < 0 ? 0xFFFFFFFF : quint32(parent);
        items.append(item);
        return items.size() - 1;
    }

    int addFile(const QString &name, int parent, const QByteArray &content,
                const QVector<quint32> &blocks, quint32 flags = 0x4000)
    {
        Item item;
        item.name = name;
        item.parent = parent < 0 ? 0xFFFFFFFF : quint32(parent);
        item.flags = flags;
        item.content = content;
        item.blocks = blocks;
        items.append(item);
        return items.size() - 1;
    }

    QByteArray names() const
    {
        QByteArray out;
        for (const Item &item : items)
            putCString(out, item.name);
        return out;
    }

    QByteArray fileHeader() const
    {
        QByteArray out;
        const quint32 fields[11] = { 1, 6, 3, 77, 1, 0, 0, 0, blockSize, blockCount, 0 };
        for (quint32 f : fields)
            putU32(out, f);
        return out;
    }

    QByteArray directory(bool gcf) const
    {
        const QByteArray nameTable = nameTableOverride.isNull() ? names() : nameTableOverride;
        QByteArray out;
        const quint32 count = quint32(items.size());
        const quint32 header[14]
            = { 4, 77, 1, count, 0, 0x8000, 0, quint32(nameTable.size()), 1, 0, 1, 0, 0, 0 };
        for (quint32 f : header)
            putU32(out, f);
        quint32 offset = 0;
        for (const Item &item : items) {
            putU32(out, item.nameOffsetOverride != 0xFFFFFFFF ? item.nameOffsetOverride : offset);
            offset += quint32(item.name.toLatin1().size()) + 1;
            putU32(out, quint32(item.content.size()));
            putU32(out, 0xFFFFFFFF);
            putU32(out, item.flags);
            putU32(out, item.parent);
            putU32(out, 0);
            putU32(out, 0);
        }
        out.append(nameTable);
        putU32(out, 0); // info1
        for (quint32 i = 0; i < count; ++i)
            putU32(out, 0); // info2
        putU32(out, 0); // local
        putU32(out, 1); // map header
        putU32(out, 0);
        int blockEntry = 0;
        for (const Item &item : items) {
            if (gcf && !item.blocks.isEmpty() && !item.noBlockEntry)
                putU32(out, quint32(blockEntry++));
            else
                putU32(out, gcf ? blockCount : 0);
        }
        return out;
    }

    QByteArray buildNcf() const
    {
        QByteArray out = fileHeader();
        out.append(directory(false));
        for (int i = 0; i < 6; ++i)
            putU32(out, 0);
        return out;
    }

    QByteArray buildGcf() const
    {
        const quint32 end = terminator == 0 ? 0xFFFF : 0xFFFFFFFF;
        QByteArray out = fileHeader();
        for (int i = 0; i < 8; ++i)
            putU32(out, 0);
        QVector<quint32> next(int(blockCount), end);
        QByteArray entries;
        int used = 0;
        for (int i = 0; i < items.size(); ++i) {
            const Item &item = items[i];
            if (item.blocks.isEmpty() || item.noBlockEntry)
                continue;
            putU32(entries, 1);
            putU32(entries, 0);
            putU32(entries, quint32(item.content.size()));
            putU32(entries, item.blocks.first());
            putU32(entries, blockCount);
            putU32(entries, blockCount);
            putU32(entries, quint32(i));
            for (int b = 0; b + 1 < item.blocks.size(); ++b)
                next[int(item.blocks[b])] = item.blocks[b + 1];
            ++used;
        }
        for (int i = used; i < int(blockCount); ++i) {
            for (int k = 0; k < 7; ++k)
                putU32(entries, 0);
        }
        for (const auto &[from, to] : forcedLinks)
            next[int(from)] = to;
        out.append(entries);
        putU32(out, blockCount);
        putU32(out, 0);
        putU32(out, terminator);
        putU32(out, 0);
        for (quint32 n : next)
            putU32(out, n);
        out.append(directory(true));
        // Checksum header, one map entry per item and one checksum.
        const quint32 count = quint32(items.size());
        const quint32 checksumHeader[6] = { 1, 0, 0x14893721, 1, count, 1 };
        for (quint32 f : checksumHeader)
            putU32(out, f);
        for (quint32 i = 0; i < count; ++i) {
            putU32(out, 1);
            putU32(out, 0);
        }
        putU32(out, 0xDEADBEEF);
        const quint32 firstBlockOffset = quint32(out.size()) + 6 * 4 + 8;
        const quint32 dataHeader[6] = { 1, blockCount, blockSize, firstBlockOffset, 0, 0 };
        for (quint32 f : dataHeader)
            putU32(out, f);
        out.append(QByteArray(8, 'x'));
        QByteArray data(int(blockSize * blockCount), '#');
        for (const Item &item : items) {
            for (int b = 0; b < item.blocks.size(); ++b) {
                const QByteArray piece = item.content.mid(int(blockSize) * b, int(blockSize));
                data.replace(int(item.blocks[b] * blockSize), piece.size(), piece);
            }
        }
        out.append(data);
        return out;
    }

    QList<Item> items;
    QByteArray nameTableOverride;
    QList<QPair<quint32, quint32>> forcedLinks;
};

} // namespace fixtures
