#pragma once

#include "map/CEntityLump.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class CFileVMF;
class QFile;

// Where entity lumps come from and go to: the Entities lump of a map, lump files (.lmp) and
// map sources (.vmf, .vmx). Failures come back as the text the editor shows.
class CEntityLumpFile
{
public:
    struct LMPSaveOptions
    {
        // Asked once the lump is written, with its size: a larger size pads the lump with
        // zero bytes up to it. The header keeps the length of the text.
        std::function<qint64(qint64 size)> customSize;
    };

    struct BSPSaveOptions
    {
        // Told when the new lump is smaller than the old one. Whatever it answers, the lump
        // goes in at its new size.
        std::function<void()> smallerThanBefore;
    };

    // The bytes of the map's Entities lump.
    [[nodiscard]] static bool readFromBSP(const QString &path, QByteArray &lump, QString &error);
    // Opens a lump file of entities and leaves it at the start of its data.
    [[nodiscard]] static bool openLMP(const QString &path, QFile &file, QString &error);
    // Parses the entities of a map, a lump file or a map source, by extension. A map source
    // asks ignoreHidden about its hidden entities. The rows have been through the naming
    // and validity rules as the editor applies them when it opens such a file.
    [[nodiscard]] static bool readEntities(const QString &path,
                                           const std::function<bool()> &ignoreHidden,
                                           CEntityLump::Entities &entities, QString &error);
    // A map source read for import; it is opened for writing too, so a read-only file fails.
    [[nodiscard]] static std::unique_ptr<CFileVMF> readVMF(const QString &path, QString &error);

    // False with an empty error when the file cannot be opened.
    [[nodiscard]] static bool writeLMP(const QString &path, const QByteArray &lump,
                                       const LMPSaveOptions &options, QString &error);
    // Puts the lump into the map and rewrites it. False, with the delegate's error, when the
    // lump could not be set; `flushed` is the result of the rewrite.
    [[nodiscard]] static bool writeToBSP(const QString &path, const QByteArray &lump,
                                         const BSPSaveOptions &options, bool &flushed,
                                         QString &error);
    // Writes entities read by readEntities to a lump file, a map source or into a map, by
    // extension; for the command line, so a map that cannot be rewritten is a failure.
    [[nodiscard]] static bool writeEntities(const QString &path,
                                            const CEntityLump::Entities &entities,
                                            const QStringList &studioKeys, QString &error);
    [[nodiscard]] static bool writeVMF(const QString &path, const CEntityLump::Rows &rows,
                                       const QStringList &studioKeys,
                                       const CEntityLump::NameRow &name, QString &error);
};
