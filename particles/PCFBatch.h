#pragma once

#include "particles/CFilePCF.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class CDmxElement;

// The particle tools that work across files, without any widget: the map manifest, moving
// systems between files, finding a system, converting many files and keeping GUIDs apart.
// The editor's windows and the command-line tool both run them. Long runs report through
// an Observer and stop between files when it says so.
class PCFBatch
{
public:
    struct Observer
    {
        // A new stage of the run, with the number of steps it takes.
        std::function<void(const QString &label, int steps)> stage;
        // One step of the stage done; false stops the run before the next file.
        std::function<bool(int done)> step;
        // A line for the log; errors are failures the run went past.
        std::function<void(const QString &text, bool error)> log;

        void startStage(const QString &label, int steps) const;
        [[nodiscard]] bool stepDone(int done) const;
        void note(const QString &text) const;
        void error(const QString &text) const;
    };

    struct Result
    {
        bool cancelled = false;
        // Set when the run stopped before its end for a reason other than the user.
        QString failure;
        QStringList written;
        QStringList unwritten;
    };

    struct ManifestOptions
    {
        QString mapPath;
        QString particleDirectory;
    };
    struct ManifestResult : Result
    {
        QString manifestPath;
        // The particle files listed, in their order in the manifest.
        QStringList listed;
    };

    struct FormatOptions
    {
        QStringList files;
        CFilePCF::ParticleFormatVersion_t version = CFilePCF::PCF_INVALID;
        // The "default" system of the version's template; without it nothing is done.
        CDmxElement *systemTemplate = nullptr;
    };

    struct Hit
    {
        QString file;
        QString system;
    };

    static const char *const Complete;

    // Lists, next to the map, the particle files of the folder that hold a system named by
    // one of the map's `effect_name` keys: MAP_manifest.txt.
    static ManifestResult generateMapManifest(const ManifestOptions &options,
                                              const Observer &observer);
    // Reads, converts and writes back every file.
    static Result massFormat(const FormatOptions &options, const Observer &observer);
    // Gives new GUIDs where elements of the files share one or have none, and writes back
    // the files that changed.
    static Result ensureUniqueGUIDs(const QStringList &files, const Observer &observer);
    // The files that hold a system of that name, exactly.
    static QList<Hit> findSystem(const QString &name, const QStringList &files,
                                 const Observer &observer, bool *cancelled = nullptr);

    // Copies the systems of source, with the systems below them, into target: each copy
    // goes into target's elements, the systems into its list of systems. Without
    // preserveGUIDs the copies get new GUIDs. Copies into a file of another version are
    // converted with targetTemplate, the "default" system of the target version's
    // template. Null on success, else the message; target is unchanged then.
    static const char *portShared(const CFilePCF *source, const QList<CDmxElement *> *systems,
                                  CFilePCF *target, bool preserveGUIDs,
                                  CDmxElement *targetTemplate);

    // The particle files of a folder, by name.
    static QStringList particleFilesIn(const QString &directory);
};
