#pragma once

#include <QString>
#include <QVector>

#include <functional>

class CArchiveReader;

// The block entries and the fragmentation map of a cache file with data, and
// the walk from a file to the data blocks that hold it.
class CCacheBlocks
{
public:
    struct BlockEntry_t
    {
        quint32 entryFlags = 0;
        quint32 fileDataOffset = 0;
        quint32 fileDataSize = 0;
        quint32 firstDataBlockIndex = 0;
        quint32 nextBlockEntryIndex = 0;
        quint32 previousBlockEntryIndex = 0;
        quint32 directoryIndex = 0;
    };

    // One step of a file's data: a data block and how many of its bytes count.
    using BlockVisitor = std::function<bool(quint32 block, quint32 bytes)>;

    void clear();
    // Block entry header, block entries, fragmentation map header and map.
    bool readBlocks(CArchiveReader &reader, quint32 blockCount, QString &error);
    // Checksum header, map and checksums, then the data block header.
    bool readChecksumsAndDataHeader(CArchiveReader &reader, QString &error);

    quint32 chainEnd() const { return fragmentationHeader[2] == 0 ? 0xFFFFu : 0xFFFFFFFFu; }
    quint32 firstBlockOffset() const { return dataBlockHeader[3]; }

    // Visits the data blocks of a file from its first block entry, block entry
    // after block entry. Each chain is bounded by the block count, so a map
    // that loops ends. Returns false when the visitor stops the walk.
    bool walk(quint32 firstBlockEntry, quint32 blockSize, const BlockVisitor &visitor) const;
    // Number of blocks in the high half, and in the low half the steps that do
    // not go on to the next block number.
    quint64 fragmentationPair(quint32 firstBlockEntry, quint32 blockSize) const;

    quint32 blockEntryHeader[8] = {};
    QVector<BlockEntry_t> blockEntries;
    quint32 fragmentationHeader[4] = {};
    QVector<quint32> fragmentationMap;
    quint32 checksumHeader[6] = {};
    quint32 dataBlockHeader[6] = {};
};
