#include "packages/CCacheBlocks.h"

#include "packages/CArchiveReader.h"

#include <cstring>

void CCacheBlocks::clear()
{
    memset(blockEntryHeader, 0, sizeof(blockEntryHeader));
    memset(fragmentationHeader, 0, sizeof(fragmentationHeader));
    memset(checksumHeader, 0, sizeof(checksumHeader));
    memset(dataBlockHeader, 0, sizeof(dataBlockHeader));
    blockEntries.clear();
    fragmentationMap.clear();
}

bool CCacheBlocks::readBlocks(CArchiveReader &reader, quint32 blockCount, QString &error)
{
    reader.readU32Fields(blockEntryHeader, 8);
    if (!reader.fits(blockCount, 7 * 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    blockEntries.resize(int(blockCount));
    for (BlockEntry_t &entry : blockEntries) {
        quint32 raw[7];
        reader.readU32Array(raw, 7);
        entry.entryFlags = raw[0];
        entry.fileDataOffset = raw[1];
        entry.fileDataSize = raw[2];
        entry.firstDataBlockIndex = raw[3];
        entry.nextBlockEntryIndex = raw[4];
        entry.previousBlockEntryIndex = raw[5];
        entry.directoryIndex = raw[6];
    }
    reader.readU32Fields(fragmentationHeader, 4);
    if (!reader.fits(blockCount, 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    fragmentationMap.resize(int(blockCount));
    reader.readU32Array(fragmentationMap.data(), int(blockCount));
    return true;
}

bool CCacheBlocks::readChecksumsAndDataHeader(CArchiveReader &reader, QString &error)
{
    reader.readU32Fields(checksumHeader, 6);
    // Map entries of two numbers, one per item, then the checksums.
    const quint64 words = quint64(checksumHeader[4]) * 2 + checksumHeader[5];
    if (!reader.fits(words, 4)) {
        error = QStringLiteral("Read Error: Incomplete read");
        return false;
    }
    reader.skip(qint64(words * 4));
    reader.readU32Fields(dataBlockHeader, 6);
    return true;
}

bool CCacheBlocks::walk(quint32 firstBlockEntry, quint32 blockSize,
                        const BlockVisitor &visitor) const
{
    const quint32 count = quint32(blockEntries.size());
    const quint32 end = chainEnd();
    quint32 entryIndex = firstBlockEntry;
    // Block entries link to each other as well: bound that walk too.
    for (quint32 entrySteps = 0; entryIndex < count && entrySteps < count; ++entrySteps) {
        const BlockEntry_t &entry = blockEntries[int(entryIndex)];
        quint32 left = entry.fileDataSize;
        quint32 block = entry.firstDataBlockIndex;
        for (quint32 steps = 0; left > 0 && block != end && block < count && steps < count;
             ++steps) {
            const quint32 bytes = blockSize == 0 ? left : qMin(left, blockSize);
            if (!visitor(block, bytes))
                return false;
            left -= bytes;
            block = fragmentationMap[int(block)];
        }
        entryIndex = entry.nextBlockEntryIndex;
    }
    return true;
}

quint64 CCacheBlocks::fragmentationPair(quint32 firstBlockEntry, quint32 blockSize) const
{
    quint32 blocks = 0;
    quint32 fragmented = 0;
    bool havePrevious = false;
    quint32 previous = 0;
    walk(firstBlockEntry, blockSize, [&](quint32 block, quint32) {
        if (havePrevious && block != previous + 1)
            ++fragmented;
        havePrevious = true;
        previous = block;
        ++blocks;
        return true;
    });
    return (quint64(blocks) << 32) | fragmented;
}
