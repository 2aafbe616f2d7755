#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

class CDmxElement;
class CFileMDL;
class CFilePCF;
class CFilePHY;
class CFileVMT;
class ProgramSettings_t;

// The walk that the content reference scanners share: the list of found paths, the content
// directory that references are followed into, the scratch strings and the list of read
// errors. Each scanner appends the package-relative paths that a file names and, where it can
// read the next file below the root, goes on into it.
//
// The found list keeps the order in which paths turn up, and is also the guard against doing
// a file twice. It is searched through a case-folded index, so that a scan stays linear in
// the number of references however many there are.
class CReferenceScan
{
public:
    // The lists of keys come from `settings`; `errors` may be null.
    CReferenceScan(QStringList &found, const QString &root, QString &key, QString &value,
                   QString &extra, QStringList *errors, const ProgramSettings_t &settings);
    CReferenceScan(const CReferenceScan &) = delete;
    CReferenceScan &operator=(const CReferenceScan &) = delete;

    // Follow-ups nested deeper than this are listed but not read: a chain of includes that
    // long is no content, and the walk must not exhaust the stack on one.
    static constexpr int MaxDepth = 128;

    const QString &root() const { return rootDirectory; }
    const QStringList &found() const { return list; }
    const ProgramSettings_t &settings() const { return keys; }

    bool contains(const QString &path) const;
    bool containsExactly(const QString &path) const;
    // Appends path and answers true, unless the list holds it already (ignoring case).
    bool appendIfNew(const QString &path);
    // Appends without looking: the map-specific stage tests case-sensitively itself.
    void append(const QString &path);
    // Takes back the last entry, which must be path.
    void removeLast(const QString &path);
    void logError(const QString &text);
    // "Read Error: Unable to read \".../" + path + "\"".
    void readError(const QString &path);
    bool existsBelowRoot(const QString &path) const;

    void scanVMT(const CFileVMT &material);
    void scanMDL(const CFileMDL &model);
    void scanPHY(const CFilePHY &physics);
    void scanSoundscript(const QByteArray &data);
    // An empty systemName walks every particle system definition of the file.
    void scanPCF(const CFilePCF &file, const QString &systemName);
    void scanParticleManifest(const QByteArray &data);

    // Follow-ups on a file below the root; a file that cannot be read gives the read error
    // with `shownPath` in it.
    void followVMT(const QString &diskPath, const QString &shownPath);
    void followMDL(const QString &diskPath, const QString &shownPath);

private:
    class Depth;
    void scanVMTLine(const QString &line);
    void scanModelCompanions(const CFileMDL &model);
    void scanMaterialElement(const CDmxElement *element);

    QStringList &list;
    const QString &rootDirectory;
    QString &key;
    QString &value;
    QString &extra;
    QStringList *errors;
    const ProgramSettings_t &keys;
    QHash<QString, int> folded; // case-folded path to the number of entries holding it
    QSet<QString> exact;
    QHash<QString, int> textureKeyIndex; // case-folded texture key to its index
    QSet<QString> materialKeys; // case-folded
    int depth = 0;
};
