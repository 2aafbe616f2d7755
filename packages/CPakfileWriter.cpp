#include "packages/CPakfileWriter.h"

#include "packages/CDelegateBSP.h"
#include "packages/CRC32.h"
#include "packages/FlushSyncronizer.h"

#include <QBuffer>
#include <QFile>

CPakfileWriter::CPakfileWriter(const CDelegateBSP &bsp, FlushSyncronizer *synchroniser)
    : delegate(bsp)
    , sync(synchroniser)
    , usePending(true)
    , readByPosition(false)
    , start(0)
    , length(0)
{ }

void CPakfileWriter::setSource(bool pending, bool byPosition)
{
    usePending = pending;
    readByPosition = byPosition;
}

bool CPakfileWriter::fail(const QString &text)
{
    error = text;
    return false;
}

void CPakfileWriter::step()
{
    if (sync)
        sync->incrementProcessed();
}

bool CPakfileWriter::entryBytes(const CPackageHierarchyNode *node, int position, QByteArray &bytes)
{
    if (usePending && node->data && !node->dataIsPath) {
        bytes = *node->data;
        return true;
    }
    if (usePending && node->data) {
        const int nul = node->data->indexOf('\0');
        const QByteArray raw = nul < 0 ? *node->data : node->data->left(nul);
        const QString path = QFile::decodeName(raw);
        QFile source(path);
        if (!source.open(QIODevice::ReadOnly))
            return fail(QStringLiteral("File Error: Unable to open \"%1\" referenced by \"%2\"")
                            .arg(path, node->getName()));
        const qint64 size = source.size();
        bytes = source.read(size);
        if (bytes.size() != size)
            return fail(QStringLiteral("Read Error: Incomplete read of \"%1\" referenced by \"%2\"")
                            .arg(path, node->getName()));
        return true;
    }
    const unsigned int index
        = readByPosition ? unsigned(CDelegateBSP::Lump_Count + position) : unsigned(node->index);
    // Into the caller's buffer, whose capacity carries over from entry to entry.
    bytes.resize(0);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!delegate.getPackageFileByIndex(&buffer, index))
        return fail(QStringLiteral("Read Error: Unable to read pakfile file \"%1\"\n%2")
                        .arg(node->getPath(true), delegate.getLastError()));
    return true;
}

bool CPakfileWriter::write(QIODevice &out, const QVector<CPackageHierarchyNode *> &chosen,
                           QVector<ZIPEntry_t> &records, ZIPEndRecord &end, bool withComment)
{
    start = out.pos();
    QByteArray bytes;
    for (int i = 0; i < chosen.size(); ++i) {
        const CPackageHierarchyNode *node = chosen.at(i);
        ZIPEntry_t &record = records[i];
        if (!entryBytes(node, i, bytes))
            return false;

        const quint32 crc = CRC32::Get_CRC(bytes);
        const quint32 size = quint32(bytes.size());
        const QByteArray name = node->getPath(true).toLatin1();
        ZIPLocalFileHeader &local = record.first;
        ZIPCentralFileHeader &central = record.second;
        local.crc32 = central.crc32 = crc;
        local.compressedSize = local.uncompressedSize = size;
        central.compressedSize = central.uncompressedSize = size;
        local.fileName = central.fileName = name;
        local.fileNameLength = central.fileNameLength = quint16(name.size());
        local.extraFieldLength = quint16(local.extraField.size());
        central.extraFieldLength = quint16(central.extraField.size());
        central.fileCommentLength = quint16(central.fileComment.size());

        const qint64 at = out.pos();
        central.localHeaderOffset = quint32(at - start);
        const QByteArray head = local.toBytes();
        record.third = quint32(at + head.size());
        out.write(head);
        out.write(bytes);
        if (out.pos() != at + head.size() + bytes.size())
            return fail(
                QStringLiteral("Write Error: Incomplete write of local directory entry for \"%1\"")
                    .arg(node->getPath(true)));
        step();
    }

    const qint64 directoryAt = out.pos();
    for (int i = 0; i < chosen.size(); ++i) {
        const QByteArray head = records.at(i).second.toBytes();
        const qint64 at = out.pos();
        out.write(head);
        if (out.pos() != at + head.size())
            return fail(QStringLiteral("Write Error: Incomplete write of pakfile central "
                                       "directory entry for \"%1\"")
                            .arg(chosen.at(i)->getPath(true)));
        step();
    }

    const qint64 endAt = out.pos();
    end.entriesOnDisk = end.entriesTotal = quint16(chosen.size());
    end.directorySize = quint32(endAt - directoryAt);
    end.directoryOffset = quint32(directoryAt - start);
    ZIPEndRecord written = end;
    if (!withComment) {
        written.comment.clear();
        written.commentLength = 0;
    } else {
        written.commentLength = quint16(written.comment.size());
    }
    const QByteArray tail = written.toBytes();
    out.write(tail);
    if (out.pos() != endAt + tail.size())
        return fail(QStringLiteral("Write Error: Incomplete write of pakfile end record"));
    length = out.pos() - start;
    step();
    return true;
}
