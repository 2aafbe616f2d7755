#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class CFilePCF;
class QTextStream;

// Everything the settings file "noitazilait.ini" says. One instance lives for
// the whole process (get()); tests make their own on other files.
class ProgramSettings_t
{
public:
    static ProgramSettings_t *get();

    explicit ProgramSettings_t(const QString &path = QStringLiteral("noitazilait.ini"));
    ~ProgramSettings_t();
    ProgramSettings_t(const ProgramSettings_t &) = delete;
    ProgramSettings_t &operator=(const ProgramSettings_t &) = delete;

    bool reload();

    enum class Section;

    bool minimizeOutput = true;
    bool logOutputToFile = false;
    bool checkForUpdates = false;
    QString windowsCommandRun = QStringLiteral("start *");
    QString linuxCommandRun = QStringLiteral("xdg-open *");

    QStringList *shaderNames;
    QStringList *shaderValues;
    QStringList *parameterNames;
    QStringList *parameterValues;
    QStringList *proxyNames;
    QStringList *proxyBodies;
    QStringList *proxyExtras;

    // Indexed by particle format version; slot 0 is never used.
    QList<CFilePCF *> *particleTemplates;

    QStringList *soundChars;
    QStringList *soundCharLabels;

    QStringList *bspLumpNumbers;
    QStringList *bspLumpLabels;
    bool saveLumpNameNotNumber = false;

    bool scanPakVmts = false;
    bool scanPakMdls = false;
    bool scanPakPhys = false;
    int newPakfileExtraReserve = 0;
    QStringList *contentDirectories;
    // Read by the material scanner but never filled: the [vmtmaterialkeys]
    // lines go to materialKeys.
    QStringList *vmtMaterialKeys;
    QStringList *vmtTextureKeys;
    QList<QStringList *> *vmtTextureKeyFiles; // entries may be null
    QStringList *studioKeys;
    QStringList *materialKeys;
    QStringList *spriteKeys;
    QStringList *soundKeys;
    QStringList *sceneKeys;
    QStringList *particleKeys;
    QStringList *specialKeys;
    QStringList *specialKeyPatterns;
    QStringList *mapFiles;
    QStringList *mapFileCategories;

    QStringList *detailOrientations;
    QStringList *spriteShapeNames;
    QStringList *spriteShapeValues;

    unsigned int version = 0;

private:
    void clearLists();
    void loadParticleTemplates();
    void readSection(QTextStream &stream, Section section, const QString &closingTag);
    void readEntry(QTextStream &stream, Section section, const QString &line);
    bool readNestedTag(QTextStream &stream, Section parent, const QString &line);

    QString m_path;
};
