#include "map/CLumpFileHeader.h"

#include <QIODevice>
#include <QtEndian>

bool CLumpFileHeader::read(QIODevice &device)
{
    const QByteArray raw = device.read(Size);
    qint32 *fields[5] = { &offset, &id, &version, &length, &revision };
    for (int i = 0; i < 5; ++i)
        *fields[i]
            = raw.size() >= 4 * (i + 1) ? qFromLittleEndian<qint32>(raw.constData() + 4 * i) : 0;
    return raw.size() == Size;
}

QByteArray CLumpFileHeader::bytes() const
{
    QByteArray raw(Size, '\0');
    const qint32 fields[5] = { offset, id, version, length, revision };
    for (int i = 0; i < 5; ++i)
        qToLittleEndian<qint32>(fields[i], raw.data() + 4 * i);
    return raw;
}
