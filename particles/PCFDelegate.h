#pragma once

#include "particles/CFilePCF.h"
#include "particles/DMXDelegate.h"

#include <QByteArray>
#include <QList>
#include <QString>

class CDmxElement;

// Reads and writes particle files in the three versions, and converts a file from one
// version to another. Failures leave their text in getLastError().
class PCFDelegate : public DMXDelegate
{
public:
    // Fills an empty file object; on failure it keeps what was read so far.
    [[nodiscard]] bool readFile(const QString &path, CFilePCF *file);
    [[nodiscard]] bool readData(const QByteArray &data, CFilePCF *file);
    // Pass the file's own version: the version decides the dictionary and the element
    // records, the file's version the form of strings. A failed write leaves no file.
    [[nodiscard]] bool writeFile(const QString &path, CFilePCF *file,
                                 CFilePCF::ParticleFormatVersion_t version);
    [[nodiscard]] bool writeData(QByteArray &out, CFilePCF *file,
                                 CFilePCF::ParticleFormatVersion_t version);

    // Null on success, else the message. Does not change file->version.
    const char *formatAsVersion(CFilePCF *file, CFilePCF::ParticleFormatVersion_t target,
                                CDmxElement *systemTemplate);
    // Makes element match pattern; gives back the elements that dropped out.
    QList<CDmxElement *> formatElementAsElement(CDmxElement *element, CDmxElement *pattern);

    const QString &getLastError() const { return lastError; }

private:
    QString lastError;
};
