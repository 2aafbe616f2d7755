#pragma once

#include <QColor>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

class CDelegateBSP;
class CPackageHierarchyNode;
class ProgramSettings_t;

// The dependency scan of a map's pakfile: reads the map's lumps, entity text and packed files,
// follows every reference it understands through materials, models and particles below a
// content directory, and lists each file found with its state on disk and in the package.
// It only reads; apply() hands the chosen files to the map's delegate, and nothing reaches the
// disk before the map is saved. The pakfile editor's scan page and the command-line tool are
// views over this.
class CPakfileScan
{
public:
    // The stages, in the order of the option dialog's check boxes.
    enum Option_t : quint16 {
        PackedMaterials = 0x0001,
        PackedModels = 0x0002,
        PackedPhysics = 0x0004,
        Materials = 0x0008,
        Skybox = 0x0010,
        Detailsprites = 0x0020,
        Models = 0x0040,
        Sounds = 0x0080,
        Scenes = 0x0100,
        Particles = 0x0200,
        StaticProps = 0x0400,
        SpecialFiles = 0x0800,
        MapSpecificFiles = 0x1000,
    };
    static constexpr int OptionCount = 13;
    // All but the three packed stages.
    static constexpr quint16 DefaultMask = 0x1FF8;
    // The stages that start the entity walk; the special keys alone do not.
    static constexpr quint16 EntityMask = 0x03F8;
    // The check box text of bit `bit`.
    static QString optionLabel(int bit);

    struct Options_t
    {
        quint16 mask = DefaultMask;
        // As the user typed it; see normalizeContentDirectory.
        QString contentDirectory;
        CDelegateBSP *map = nullptr;
        // Null: ProgramSettings_t::get(). The scan writes into its special key patterns.
        ProgramSettings_t *settings = nullptr;
    };

    // Every member may be empty.
    struct Progress_t
    {
        std::function<void(const QString &label, int maximum)> stage;
        std::function<void(int value)> value;
        std::function<void(const QString &text, bool isError)> log;
    };

    struct Row_t
    {
        QString path; // as found
        QString name;
        QString directory; // cleaned, without a leading slash; the table shows "/" + it
        const CPackageHierarchyNode *node = nullptr; // the package's entry of that path
        QString size; // in bytes, or "N/A"
        QString type;
        bool onDisk = false;
        bool marked = false;
    };

    // The six row states by their colours.
    enum RowState_t { Replace, Add, Packed, OnDisk, PackedNotOnDisk, Missing };
    static RowState_t rowState(bool onDisk, bool marked, bool inPackage);
    static QColor stateColour(RowState_t state);
    // A short word for each state, for listings without colour.
    static QString stateName(RowState_t state);

    struct ApplyResult_t
    {
        QVector<CPackageHierarchyNode *> updated; // rows whose path the package held
        QVector<CPackageHierarchyNode *> added;
        QStringList errors;
    };

    // Cleaned, with "/" in front and behind, or empty for an empty text.
    static QString normalizeContentDirectory(const QString &text);
    // The row's file below the normalized content directory exists.
    static bool existsOnDisk(const QString &contentDirectory, const QString &directoryColumn,
                             const QString &name);

    // Runs every stage of the mask. The rows come in the order the paths were found.
    static QVector<Row_t> run(const Options_t &options, const Progress_t &progress = {});
    // Marks every row that is on disk, unless the package holds its data already.
    static void markMissing(QVector<Row_t> &rows);
    // Adds the marked rows' files to the map, replacing what the package holds at their paths.
    // contentDirectory is the normalized one (normalizeContentDirectory).
    static ApplyResult_t apply(CDelegateBSP &map, const QString &contentDirectory,
                               const QVector<Row_t> &rows,
                               const std::function<void(int row)> &step = {});
};
