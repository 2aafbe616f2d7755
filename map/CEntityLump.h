#pragma once

#include "map/CEntity.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>
#include <vector>

class CFileVMF;
class QIODevice;

// The entity lump as text, and the operations of the entity lump editor that work on a list
// of entities. The list itself belongs to the caller (the editor keeps it in its list
// widget); these functions take its rows in order and tell what to change.
class CEntityLump
{
public:
    using Entities = std::vector<std::unique_ptr<CEntity>>;
    using Rows = QVector<CEntity *>;
    // Called for each row, by index, that goes through the naming rule.
    using NameRow = std::function<void(int row)>;

    enum FilterFlag_t {
        Filter_ClassName = 1,
        Filter_Key = 2,
        Filter_Value = 4,
        Filter_CaseSensitive = 8,
        Filter_Substring = 16,
        Filter_IgnoreHidden = 32,
        Filter_InvertResults = 64
    };

    struct FilterOptions
    {
        QString text;
        int flags = 0;
    };

    // Entities of lump text from the device's position up to `end` (or the device's end): a
    // line "{" opens an entity, "}" closes it, and pairs with a non-empty value in between
    // belong to it. An entity without pairs or without its "}" is dropped. Comments are gone.
    static Entities parse(QIODevice &device, qint64 end);

    // An entity without classname: the editor adds "classname" "info_null" to whichever
    // entity is its current one (missingClassname), which may be another entity or none.
    // True when that happened, which marks the editor modified.
    static bool ensureEntityName(const CEntity &entity,
                                 const std::function<void()> &missingClassname);

    // The rows to remove (ascending): every row with "classname" "worldspawn" after the
    // first. The row behind a removed one is passed over; every other row that is not a kept
    // worldspawn goes to `name`.
    static QVector<int> ensureValidity(const Rows &rows, const NameRow &name);
    // Headless form: removes the rows itself; entities without classname stay without.
    static void ensureValidity(Entities &entities);

    // Lump text of the rows, with its final NUL; Latin-1. `progress` hears each row done.
    static QByteArray buildLump(const Rows &rows, const std::function<void(int)> &progress = {});

    // Updates `hidden` (one flag a row, in and out) and gives the count of rows shown. With
    // Filter_IgnoreHidden, rows hidden before are left alone and still counted as shown.
    static int filter(const Rows &rows, QVector<bool> &hidden, const FilterOptions &options);

    // Rows with an "origin" of three numbers inside the sphere (strictly) or the prism
    // (bounds included, each axis in either order) are shown, all others hidden. The count
    // starts at the row count and goes down by one a hidden row; rows skipped for
    // ignoreHidden keep their state and stay counted.
    static int findInSphere(const Rows &rows, QVector<bool> &hidden, const float centre[3],
                            bool radiusValid, float radius, bool ignoreHidden);
    static int findInPrism(const Rows &rows, QVector<bool> &hidden, const float minimum[3],
                           const float maximum[3], bool ignoreHidden);

    // The entities of a VMF file that are point entities; hidden ones are passed to
    // ignoreHidden, asked at most once, whose true answer leaves them out.
    static Entities fromVMF(const CFileVMF &vmf, const std::function<bool()> &ignoreHidden);
    // A VMF of the rows: worldspawn rows fill the world, every other row an entity, which
    // goes to `name` first. Values with exactly four commas become connections. A row that
    // refers to a brush model through one of the studio keys removes the entity last added,
    // and its later pairs go to the one before (none: they are dropped).
    static void toVMF(const Rows &rows, const QStringList &studioKeys, CFileVMF &vmf,
                      const NameRow &name);

    static Rows rowsOf(const Entities &entities);
};
