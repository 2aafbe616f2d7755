#pragma once

#include <QString>
#include <QVector>

#include <functional>

class CDelegateBSP;

// The lump directory of a map as the inspector shows it, and the extraction and replacement
// of single lumps, to and from plain files or lump files (.lmp). Every failure comes back as
// the text the inspector shows; the map is only rewritten by a replacement that passed all
// checks.
class CBspLumpTool
{
public:
    static constexpr int LumpCount = 64;

    struct Row
    {
        QString name; // by the map's version
        quint32 offset = 0;
        quint32 length = 0;
        quint32 version = 0;
        quint32 fourCC = 0; // first character in the highest byte
        QString fourCCText;
    };

    struct ExtractOptions
    {
        QString bspPath;
        int lump = 0;
        QString directory;
        bool asLumpFile = false; // with the 20-byte header and the ".lmp" suffix
        bool nameByLump = false; // the lump's name rather than "l_" and its number
        // Asked when the file is there already; false stops without a word.
        std::function<bool(const QString &path)> overwrite;
    };

    struct ReplaceOptions
    {
        QString bspPath;
        int lump = 0;
        // A name ending in ".lmp" is a lump file and is checked; anything else is taken
        // whole as the lump's data.
        QString filePath;
    };

    enum ReplaceResult_t { Replace_Refused, Replace_FlushFailed, Replace_Done };

    static QVector<Row> rows(const CDelegateBSP &bsp);
    static QString lumpName(int lump, int internalVersion);
    // The four bytes in file order, each as a character and as a number.
    static QString fourCCText(quint32 fourCC);
    static QString extractFileName(int lump, int internalVersion, bool nameByLump, bool asLumpFile);

    // False with an empty error when the overwrite question said no. `written` is the path.
    [[nodiscard]] static bool extract(const ExtractOptions &options, QString &error,
                                      QString *written = nullptr);
    // The rows of the map as it stands afterwards go to `after` unless refused.
    [[nodiscard]] static ReplaceResult_t replace(const ReplaceOptions &options, QString &error,
                                                 QVector<Row> *after = nullptr);
};
