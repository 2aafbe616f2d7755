#pragma once

#include "materials/CPakfileScan.h"
#include "materials/CReferenceScan.h"

#include <QHash>
#include <QSet>

#include <memory>
#include <vector>

class CFilePCF;

// One run of the dependency scan: the stages in order over one found list. CPakfileScan::run
// makes one and throws it away.
class CPakfileScanRun
{
public:
    CPakfileScanRun(const CPakfileScan::Options_t &options,
                    const CPakfileScan::Progress_t &progress);
    ~CPakfileScanRun();
    CPakfileScanRun(const CPakfileScanRun &) = delete;
    CPakfileScanRun &operator=(const CPakfileScanRun &) = delete;

    QVector<CPakfileScan::Row_t> run();

private:
    enum Reader_t { ReadMaterial, ReadModel };

    void loadParticleFiles();
    void scanPacked();
    void scanBrushMaterials();
    void scanEntities();
    void scanEntityLine(const QString &line);
    [[nodiscard]] bool scanSpecialKey();
    void scanStaticProps();
    void scanMapFiles();
    QVector<CPakfileScan::Row_t> buildTable();

    void addWithFollowUp(const QString &path, Reader_t reader);
    void stage(const QString &label, int maximum);
    // Advances the bar and passes on the read errors that came up since the last step.
    void step(int value);
    bool has(quint16 option) const { return (mask & option) != 0; }

    quint16 mask;
    CDelegateBSP *map;
    ProgramSettings_t &settings;
    const CPakfileScan::Progress_t &progress;
    QString contentDirectory;
    QStringList found;
    QStringList errors;
    qsizetype errorsShown = 0;
    QString key, value, extra;
    std::unique_ptr<CReferenceScan> scan;
    // The particle files of the content directory, with the names of their systems.
    std::vector<std::unique_ptr<CFilePCF>> particleFiles;
    std::vector<QSet<QString>> particleSystems;
    // Case-folded key lists of the entity walk; the special keys map to their first index.
    QSet<QString> studioKeys, spriteKeys, soundKeys, sceneKeys, particleKeys;
    QHash<QString, int> specialKeys;
};
