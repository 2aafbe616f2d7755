#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVector>

// Builds synthetic map files for the tests, and reads maps back with a reader
// of its own, independent of the delegate (it also takes the version 22 a
// flush can write).

struct FixturePakEntry
{
    QByteArray name;
    QByteArray data;
    QByteArray extra;
    QByteArray comment;
    quint16 method = 0;
};

struct FixtureGameLump
{
    quint32 id = 0;
    quint16 flags = 0;
    quint16 version = 0;
    QByteArray data;
};

class BspFixture
{
public:
    int version = 20;
    bool reordered = false; // version 21: entries as version, offset, length, code
    qint32 revision = 7;
    QMap<int, QByteArray> lumps; // other lumps are empty
    bool withGameLump = true;
    QVector<FixtureGameLump> gameLumps;
    bool withPakfile = true;
    QVector<FixturePakEntry> pakfile;
    QByteArray pakComment;

    // Lumps in numeric order behind the header; the game lump's data lies
    // inside it, behind its directory.
    QByteArray build() const;
    bool write(const QString &path) const;

    static QByteArray zip(const QVector<FixturePakEntry> &entries, const QByteArray &comment);
    static quint32 crc32(const QByteArray &data);
    static quint32 fourCC(int lump) { return 0x41414100u + quint32(lump); }
    static qint32 lumpVersion(int lump) { return lump % 3; }
};

struct ReadBackLump
{
    quint32 offset = 0;
    quint32 length = 0;
    qint32 version = 0;
    quint32 fourCC = 0;
};

struct ReadBackGameLump
{
    quint32 id = 0;
    quint32 offset = 0;
    quint32 length = 0;
    QByteArray data; // read at the absolute offset
};

struct ReadBackEntry
{
    QByteArray name;
    QByteArray data;
    quint32 crc = 0;
    quint16 method = 0;
    quint32 localOffset = 0;
};

struct BspReadBack
{
    QString error; // empty when all went well
    qint32 version = 0;
    qint32 revision = 0;
    ReadBackLump lumps[64];
    QVector<ReadBackGameLump> gameLumps;
    QVector<ReadBackEntry> entries;
    QByteArray comment;
    QByteArray file;

    QByteArray lumpBytes(int lump) const
    {
        return file.mid(lumps[lump].offset, lumps[lump].length);
    }

    // `reorderedIfV21` says how to read a version 21 header.
    static BspReadBack read(const QString &path, bool reorderedIfV21 = false);
    // A stand-alone archive, offsets relative to its start.
    static bool readZip(const QByteArray &zip, QVector<ReadBackEntry> &entries, QByteArray &comment,
                        QString &error);
};
