#include "BspFixture.h"

#include <QFile>
#include <QtEndian>

namespace {

void put16(QByteArray &out, quint16 v)
{
    uchar b[2];
    qToLittleEndian(v, b);
    out.append(reinterpret_cast<const char *>(b), 2);
}

void put32(QByteArray &out, quint32 v)
{
    uchar b[4];
    qToLittleEndian(v, b);
    out.append(reinterpret_cast<const char *>(b), 4);
}

quint16 get16(const QByteArray &in, qint64 at)
{
    return qFromLittleEndian<quint16>(reinterpret_cast<const uchar *>(in.constData() + at));
}

quint32 get32(const QByteArray &in, qint64 at)
{
    return qFromLittleEndian<quint32>(reinterpret_cast<const uchar *>(in.constData() + at));
}

} // namespace

quint32 BspFixture::crc32(const QByteArray &data)
{
    // Bit by bit, on purpose unlike the table-driven code under test.
    quint32 crc = 0xFFFFFFFFu;
    for (const char c : data) {
        crc ^= quint8(c);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return data.isEmpty() ? 0 : ~crc;
}

QByteArray BspFixture::zip(const QVector<FixturePakEntry> &entries, const QByteArray &comment)
{
    QByteArray out;
    QByteArray central;
    for (const FixturePakEntry &e : entries) {
        const quint32 offset = quint32(out.size());
        const quint32 crc = crc32(e.data);
        put32(out, 0x04034b50);
        put16(out, 10);
        put16(out, 0);
        put16(out, e.method);
        put16(out, 0x1234);
        put16(out, 0x5678);
        put32(out, crc);
        put32(out, quint32(e.data.size()));
        put32(out, quint32(e.data.size()));
        put16(out, quint16(e.name.size()));
        put16(out, quint16(e.extra.size()));
        out.append(e.name).append(e.extra).append(e.data);

        put32(central, 0x02014b50);
        put16(central, 20);
        put16(central, 10);
        put16(central, 0);
        put16(central, e.method);
        put16(central, 0x1234);
        put16(central, 0x5678);
        put32(central, crc);
        put32(central, quint32(e.data.size()));
        put32(central, quint32(e.data.size()));
        put16(central, quint16(e.name.size()));
        put16(central, quint16(e.extra.size()));
        put16(central, quint16(e.comment.size()));
        put16(central, 0);
        put16(central, 0);
        put32(central, 0);
        put32(central, offset);
        central.append(e.name).append(e.extra).append(e.comment);
    }
    const quint32 directoryOffset = quint32(out.size());
    out.append(central);
    put32(out, 0x06054b50);
    put16(out, 0);
    put16(out, 0);
    put16(out, quint16(entries.size()));
    put16(out, quint16(entries.size()));
    put32(out, quint32(central.size()));
    put32(out, directoryOffset);
    put16(out, quint16(comment.size()));
    out.append(comment);
    return out;
}

QByteArray BspFixture::build() const
{
    QByteArray body;
    ReadBackLump table[64];
    for (int i = 0; i < 64; ++i) {
        const quint32 at = quint32(1036 + body.size());
        QByteArray data = lumps.value(i);
        if (i == 35 && withGameLump) {
            data.clear();
            put32(data, quint32(gameLumps.size()));
            quint32 payloadAt = at + 4 + 16 * quint32(gameLumps.size());
            QByteArray payloads;
            for (const FixtureGameLump &g : gameLumps) {
                put32(data, g.id);
                put16(data, g.flags);
                put16(data, g.version);
                put32(data, payloadAt + quint32(payloads.size()));
                put32(data, quint32(g.data.size()));
                payloads.append(g.data);
            }
            data.append(payloads);
        }
        if (i == 40 && withPakfile)
            data = zip(pakfile, pakComment);
        table[i].offset = data.isEmpty() ? 0 : at;
        table[i].length = quint32(data.size());
        body.append(data);
    }

    QByteArray out;
    put32(out, 0x50534256);
    put32(out, quint32(version));
    for (int i = 0; i < 64; ++i) {
        if (version == 21 && reordered) {
            put32(out, quint32(lumpVersion(i)));
            put32(out, table[i].offset);
            put32(out, table[i].length);
        } else {
            put32(out, table[i].offset);
            put32(out, table[i].length);
            put32(out, quint32(lumpVersion(i)));
        }
        put32(out, fourCC(i));
    }
    put32(out, quint32(revision));
    return out + body;
}

bool BspFixture::write(const QString &path) const
{
    QFile out(path);
    return out.open(QIODevice::WriteOnly | QIODevice::Truncate) && out.write(build()) >= 1036;
}

bool BspReadBack::readZip(const QByteArray &zip, QVector<ReadBackEntry> &entries,
                          QByteArray &comment, QString &error)
{
    qint64 end = zip.size() - 22;
    while (end >= 0 && get32(zip, end) != 0x06054b50)
        --end;
    if (end < 0) {
        error = "no end record";
        return false;
    }
    const int count = get16(zip, end + 10);
    qint64 at = get32(zip, end + 16);
    comment = zip.mid(end + 22, get16(zip, end + 20));
    for (int i = 0; i < count; ++i) {
        if (at + 46 > zip.size() || get32(zip, at) != 0x02014b50) {
            error = QStringLiteral("bad central header %1").arg(i);
            return false;
        }
        ReadBackEntry e;
        e.method = get16(zip, at + 10);
        e.crc = get32(zip, at + 16);
        const quint32 size = get32(zip, at + 20);
        const int nameLength = get16(zip, at + 28);
        e.localOffset = get32(zip, at + 42);
        e.name = zip.mid(at + 46, nameLength);
        at += 46 + nameLength + get16(zip, at + 30) + get16(zip, at + 32);
        const qint64 local = e.localOffset;
        if (local + 30 > zip.size() || get32(zip, local) != 0x04034b50
            || get32(zip, local + 14) != e.crc) {
            error = QStringLiteral("bad local header %1").arg(i);
            return false;
        }
        e.data = zip.mid(local + 30 + get16(zip, local + 26) + get16(zip, local + 28), size);
        entries.append(e);
    }
    return true;
}

BspReadBack BspReadBack::read(const QString &path, bool reorderedIfV21)
{
    BspReadBack r;
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly)) {
        r.error = "cannot open";
        return r;
    }
    r.file = in.readAll();
    if (r.file.size() < 1036 || get32(r.file, 0) != 0x50534256) {
        r.error = "bad header";
        return r;
    }
    r.version = qint32(get32(r.file, 4));
    for (int i = 0; i < 64; ++i) {
        const qint64 e = 8 + 16 * i;
        if (r.version == 21 && reorderedIfV21) {
            r.lumps[i].version = qint32(get32(r.file, e));
            r.lumps[i].offset = get32(r.file, e + 4);
            r.lumps[i].length = get32(r.file, e + 8);
        } else {
            r.lumps[i].offset = get32(r.file, e);
            r.lumps[i].length = get32(r.file, e + 4);
            r.lumps[i].version = qint32(get32(r.file, e + 8));
        }
        r.lumps[i].fourCC = get32(r.file, e + 12);
        if (quint64(r.lumps[i].offset) + r.lumps[i].length > quint64(r.file.size())) {
            r.error = QStringLiteral("lump %1 beyond the end").arg(i);
            return r;
        }
    }
    r.revision = qint32(get32(r.file, 1032));
    const QByteArray game = r.lumpBytes(35);
    if (game.size() >= 4) {
        const quint32 count = get32(game, 0);
        for (quint32 i = 0; i < count && 4 + 16 * qint64(i + 1) <= game.size(); ++i) {
            ReadBackGameLump g;
            g.id = get32(game, 4 + 16 * i);
            g.offset = get32(game, 4 + 16 * i + 8);
            g.length = get32(game, 4 + 16 * i + 12);
            g.data = r.file.mid(g.offset, g.length);
            r.gameLumps.append(g);
        }
    }
    if (r.lumps[40].length > 0)
        readZip(r.lumpBytes(40), r.entries, r.comment, r.error);
    return r;
}
