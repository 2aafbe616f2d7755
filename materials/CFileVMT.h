#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

class QIODevice;

// A material as its raw lines, without their line ends, in file order. Nothing here parses
// the text: editing is done on lines (VMTText), and saving writes the lines back as they are.
class CFileVMT
{
public:
    CFileVMT() = default;

    // Never fails. The text ends at the first NUL; lines end at "\n" or "\r\n", and a text
    // ending with a line end has an empty last line.
    static CFileVMT *createFromData(const QByteArray &data);
    // Null when the device cannot be opened or holds fewer than length bytes; a length of ~0
    // means from the device's position to its end.
    static CFileVMT *createFromDevice(QIODevice &device, unsigned int length);
    // Null on failure; on success the path is the file's.
    static CFileVMT *createFromFile(const QString &path);

    // Every line followed by "\n" (never a carriage return), to path or, when it is empty,
    // to the stored path.
    [[nodiscard]] bool saveFile(const QString &path);

    QString path;
    bool valid = true;
    QVector<QByteArray> lines;
};
