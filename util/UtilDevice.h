#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#include <QString>

// One line: empty if the device is not open, not readable or at its end. A line ends at
// LF, CR or NUL (dropped) or at the end of the device. A CR ends the line by itself, so the
// LF of a CR LF pair comes back as an empty line on the next call: callers skip empty lines.
// No limit on the length. The device is left just behind the terminator.
QByteArray UTIL_readLineFromQIODevice(QIODevice &device);

// Chars up to the terminator or the end of the stream, as Latin-1 text. The byte read last
// before the stream's end is never part of the result (the end is tested before appending).
// reserve only presizes the result.
QString UTIL_readCStringFromQDataStream(QDataStream &stream, char terminator = '\0',
                                        unsigned short reserve = 32);

// Copies count bytes in steps of 1024; a count of -1 means the rest of the source. The total
// shown in the messages is the count of the very first call in the process, for good.
// On a short read or write: false and, if error is given, "Read Error: Unable to read %1 of
// %2 bytes" or "Write Error: Unable to write %1 of %2 bytes" with %1 the count still to do.
bool UTIL_deviceCopy(QIODevice &source, QIODevice &destination, qint64 count, QString *error);

// Writes count bytes cycling through pattern; nothing for an empty pattern, a device that is
// not open for writing, or a zero count. Always true.
bool UTIL_writeBytes(const QByteArray &pattern, QIODevice &device, qint64 count);
