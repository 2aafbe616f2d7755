#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class CFilePCF;

// The content reference scanners in the shape every caller shares: `found` gathers the
// package-relative paths (and guards against doing a file twice), `root` is the content
// directory with a trailing slash or empty (no follow-ups at all), `key`, `value` and `extra`
// are scratch strings, and `errors` receives the read errors. The key lists come from
// ProgramSettings_t::get(). The material, model and physics scanners are the
// listReferencedContent members of their file classes.
//
// A scan that runs many of these in a row should use one CReferenceScan instead, which keeps
// its index of the found list between calls.

// Only "wave" keys count, and the text is split on the plain string "\r?\n".
void scanSoundscript(const QByteArray &data, QStringList &found, QString &key, QString &value,
                     QString &extra, QStringList *errors);
// A file that cannot be opened is passed over without a word.
void scanSoundscript(const QString &path, QStringList &found, QString &key, QString &value,
                     QString &extra, QStringList *errors);
// The "material" of every particle system, or with a systemName of that system and all its
// children.
void scanPCF(const CFilePCF &file, QStringList &found, const QString &root, QString &key,
             QString &value, QString &extra, QString &systemName, QStringList *errors);
// The "file" entries whose particle file exists below root and reads.
void scanParticleManifest(const QByteArray &data, QStringList &found, const QString &root,
                          QString &key, QString &value, QString &extra, QStringList *errors);
void scanParticleManifest(const QString &path, QStringList &found, const QString &root,
                          QString &key, QString &value, QString &extra, QStringList *errors);
