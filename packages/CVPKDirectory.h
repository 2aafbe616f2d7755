#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

class QIODevice;

// The directory tree of a VPK: the optional header and one record per file.
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
        quint16 preloadBytes = 0;
        quint16 archiveIndex = 0;
        quint32 archiveOffset = 0;
        quint32 archiveLength = 0;
        quint16 terminator = 0;
        QString path;
        QString name;
        QByteArray preload;
    };

    void clear();
    // Reads the header (if any) and the tree from the device's start. Leaves the
    // records read so far and the error text on failure.
    bool read(QIODevice &device, QString &error);

    bool hasHeader = false;
    quint32 signature = 0;
    quint32 version = 0;
    quint32 treeSize = 0;
    QVector<Entry_t> entries;
};
