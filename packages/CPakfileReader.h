#pragma once

#include "packages/ZipRecords.h"

#include <QByteArray>
#include <QString>
#include <QVector>

class QFile;

// Reads the directory of the ZIP archive that fills a map's Pakfile lump:
// the end record, searched backwards from the lump's end, the central
// directory, and each entry's local header. Nothing outside the lump is
// read, and every count and offset is checked against the lump's size.
class CPakfileReader
{
public:
    // `offset` and `length` are the lump's, in the open `file`.
    CPakfileReader(QFile &file, quint32 offset, quint32 length);
    ~CPakfileReader();

    CPakfileReader(const CPakfileReader &) = delete;
    CPakfileReader &operator=(const CPakfileReader &) = delete;

    // Fills `entries` (new records, owned by the caller) and `end`. On failure
    // the records read so far are deleted and `entries` is left empty.
    bool read(QVector<ZIPEntry_t *> &entries, ZIPEndRecord &end);
    QString errorText() const { return error; }
    // The failure is of a kind after which the package is to be closed.
    bool closesPackage() const { return closeAfter; }

private:
    bool load();
    bool fail(const QString &text);
    bool findEndRecord(ZIPEndRecord &end, qint64 &at);
    bool readCentral(ZIPEntry_t &entry, qint64 &cursor, qint64 limit);
    bool readLocal(ZIPEntry_t &entry, qint64 limit);
    quint32 u32(qint64 at) const;

    QFile &file;
    quint32 lumpOffset;
    quint32 lumpLength;
    const uchar *bytes;
    uchar *mapped;
    QByteArray copy;
    QString error;
    bool closeAfter;
};
