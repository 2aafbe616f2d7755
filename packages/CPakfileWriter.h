#pragma once

#include "packages/ZipRecords.h"

#include <QString>
#include <QVector>

class CDelegateBSP;
class CPackageHierarchyNode;
class FlushSyncronizer;
class QIODevice;

// Writes a ZIP archive of chosen pakfile nodes: local headers with the data,
// the central directory and the end record, stored as the bytes come
// (sizes and CRC are those of the bytes written). Offsets inside the archive
// count from the device position where writing began.
class CPakfileWriter
{
public:
    CPakfileWriter(const CDelegateBSP &bsp, FlushSyncronizer *sync);

    // Pending data of a node is used when `usePending` is set, else the
    // entry's bytes in the package. With `readByPosition` those bytes come
    // from the table entry 64 + the node's position in `chosen`, not from
    // its own entry: that is how a flush has always read them.
    void setSource(bool usePending, bool readByPosition);
    // `records` holds one record per chosen node: old headers for entries of
    // the package, new ones otherwise. They are updated in place.
    bool write(QIODevice &out, const QVector<CPackageHierarchyNode *> &chosen,
               QVector<ZIPEntry_t> &records, ZIPEndRecord &end, bool withComment);

    QString errorText() const { return error; }
    qint64 archiveStart() const { return start; }
    qint64 archiveLength() const { return length; }

private:
    bool entryBytes(const CPackageHierarchyNode *node, int position, QByteArray &bytes);
    bool fail(const QString &text);
    void step();

    const CDelegateBSP &delegate;
    FlushSyncronizer *sync;
    bool usePending;
    bool readByPosition;
    QString error;
    qint64 start;
    qint64 length;
};
