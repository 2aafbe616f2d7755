#include "packages/CMapFlush.h"

#include "packages/BspLumpNames.h"
#include "packages/CPakfileWriter.h"
#include "packages/FlushSyncronizer.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>

namespace {

constexpr int LumpCount = CDelegateBSP::Lump_Count;

} // namespace

CMapFlush::CMapFlush(CDelegateBSP &delegate, FlushSyncronizer *synchroniser)
    : bsp(delegate)
    , sync(synchroniser)
{ }

bool CMapFlush::fail(QFile &temporary, const QString &text)
{
    bsp.lastError = text;
    if (sync)
        sync->logMessage(text, true);
    if (temporary.isOpen())
        temporary.close();
    // By name: once renamed, the object would point at the finished map.
    QFile::remove(bsp.file.fileName() + QLatin1String(".tmp"));
    if (sync)
        sync->doFail();
    return false;
}

bool CMapFlush::writeLumps(QFile &out, CDelegateBSP::Lump_s *newLumps)
{
    // In the order of the old offsets; a lower number wins a tie.
    int order[LumpCount];
    for (int i = 0; i < LumpCount; ++i)
        order[i] = i;
    std::stable_sort(order, order + LumpCount,
                     [this](int a, int b) { return bsp.lumps[a].offset < bsp.lumps[b].offset; });

    for (int lump : order) {
        const qint64 at = out.pos();
        newLumps[lump].offset = quint32(at);
        if (lump == CDelegateBSP::Lump_Pakfile)
            continue; // written last, as the archive
        const CPackageHierarchyNode *node = bsp.nodes.value(lump);
        if (node && node->markedForDeletion) {
            newLumps[lump].length = 0;
            continue;
        }
        if (!bsp.getFileByIndex(&out, unsigned(lump))) {
            bsp.lastError = QStringLiteral("Write Error: Unable to write lump %1 (%2)\n%3")
                                .arg(lump)
                                .arg(BSP_lumpName(lump, bsp.internalVersion), bsp.lastError);
            return false;
        }
        newLumps[lump].length = quint32(out.pos() - at);
        if (sync)
            sync->incrementProcessed();
    }
    return true;
}

QByteArray CMapFlush::header(const CDelegateBSP::Lump_s *newLumps) const
{
    QByteArray out;
    out.reserve(CDelegateBSP::HeaderSize);
    auto put32 = [&out](quint32 v) {
        uchar b[4];
        qToLittleEndian(v, b);
        out.append(reinterpret_cast<const char *>(b), 4);
    };
    put32(bsp.magic);
    // A map read as version 21 with standard entries goes out as 22.
    put32(quint32(bsp.internalVersion));
    for (int i = 0; i < LumpCount; ++i) {
        const CDelegateBSP::Lump_s &lump = newLumps[i];
        if (bsp.internalVersion == 21) {
            put32(quint32(lump.version));
            put32(lump.offset);
            put32(lump.length);
        } else {
            put32(lump.offset);
            put32(lump.length);
            put32(quint32(lump.version));
        }
        put32(lump.fourCC);
    }
    put32(quint32(bsp.mapRevision));
    return out;
}

void CMapFlush::takeOver(const CDelegateBSP::Lump_s *newLumps, const QVector<ZIPEntry_t> &records,
                         const ZIPEndRecord &end)
{
    std::copy(newLumps, newLumps + LumpCount, bsp.lumps);
    bsp.reloadGameLump();

    QVector<ZIPEntry_t *> &entries = bsp.zipEntries;
    while (entries.size() > records.size())
        delete entries.takeLast();
    for (int i = 0; i < records.size(); ++i) {
        if (i < entries.size())
            *entries[i] = records.at(i);
        else
            entries.append(new ZIPEntry_t(records.at(i)));
    }

    // The table behind the lumps closes up: deletions go, and what stays is
    // now in the package, without pending data.
    QVector<CPackageHierarchyNode *> &nodes = bsp.nodes;
    int next = LumpCount;
    for (int i = LumpCount; i < nodes.size(); ++i) {
        CPackageHierarchyNode *node = nodes.at(i);
        if (!node)
            continue;
        if (node->markedForDeletion) {
            delete node;
            continue;
        }
        node->index = next;
        nodes[next++] = node;
        node->deleteData();
    }
    nodes.resize(next);
    bsp.zipEnd = end;
}

bool CMapFlush::run()
{
    if (!bsp.file.isOpen()) {
        bsp.lastError = QStringLiteral("File Error: Package not open");
        if (sync) {
            sync->logMessage(bsp.lastError, true);
            sync->doFail();
        }
        return false;
    }
    const QString path = bsp.file.fileName();
    QFile temporary(path + QLatin1String(".tmp"));
    if (!temporary.open(QIODevice::ReadWrite | QIODevice::Truncate)) {
        bsp.lastError = QStringLiteral("File Error: Unable to open temporary file");
        if (sync) {
            sync->logMessage(bsp.lastError, true);
            sync->doFail();
        }
        return false;
    }

    ZIPEndRecord end = bsp.zipEnd;
    CDelegateBSP::Lump_s newLumps[LumpCount];
    std::copy(bsp.lumps, bsp.lumps + LumpCount, newLumps);
    const QVector<CPackageHierarchyNode *> chosen = bsp.chooseEntries(true);
    QVector<ZIPEntry_t> records = bsp.workingRecords(chosen);

    if (sync) {
        const CPackageHierarchyNode *pakNode = bsp.nodes.value(CDelegateBSP::Lump_Pakfile);
        const unsigned int lumpSteps = LumpCount;
        sync->setTotal(pakNode && pakNode->hasData ? lumpSteps
                                                   : lumpSteps + 2 * unsigned(chosen.size()));
    }

    if (temporary.write(QByteArray(CDelegateBSP::HeaderSize, '\0')) != CDelegateBSP::HeaderSize)
        return fail(temporary, QStringLiteral("Write Error: Incomplete"));
    if (!writeLumps(temporary, newLumps))
        return fail(temporary, bsp.lastError);

    CPakfileWriter writer(bsp, sync);
    writer.setSource(true, true);
    if (!writer.write(temporary, chosen, records, end, true))
        return fail(temporary, writer.errorText());
    newLumps[CDelegateBSP::Lump_Pakfile].offset = quint32(writer.archiveStart());
    newLumps[CDelegateBSP::Lump_Pakfile].length = quint32(writer.archiveLength());

    const QByteArray head = header(newLumps);
    if (!temporary.seek(0) || temporary.write(head) != head.size())
        return fail(temporary, QStringLiteral("Write Error: Incomplete"));

    // The swap: the old map becomes the backup, the new one takes its place.
    temporary.close();
    bsp.file.close();
    const QString backup = path + QLatin1String(".backup");
    QFile::remove(backup);
    if (!QFile::rename(path, backup) || !temporary.rename(path)
        || !bsp.file.open(QIODevice::ReadWrite))
        return fail(temporary,
                    QStringLiteral("File Error: Unable to swap finished files\nDelegate Error: "
                                   "Flush finished successfully, but delegate is no longer "
                                   "valid"));

    takeOver(newLumps, records, end);
    if (sync)
        sync->doFinish();
    return true;
}
