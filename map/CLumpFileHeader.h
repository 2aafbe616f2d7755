#pragma once

#include <QByteArray>
#include <QtGlobal>

class QIODevice;

// The 20-byte header of a lump file (.lmp): five signed little-endian 32-bit integers in
// front of the lump's bytes.
class CLumpFileHeader
{
public:
    static constexpr int Size = 20;

    qint32 offset = Size; // start of the data
    qint32 id = 0; // index of the lump in the map's directory
    qint32 version = 0;
    qint32 length = 0;
    qint32 revision = 0; // of the map

    // Reads the five integers at the device's position; fields that the data does not
    // reach are 0. False when the header was short.
    bool read(QIODevice &device);
    QByteArray bytes() const;
};
