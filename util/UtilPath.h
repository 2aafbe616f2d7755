#pragma once

#include <QByteArray>
#include <QString>

// Path helpers. "/" and "\" both count as separators everywhere. The in-place
// forms return their argument so that calls can be chained; note that for a
// non-const QString lvalue the in-place overload is the one chosen.

// All behind the last separator; the whole path if there is none.
QString UTIL_getFileName(const QString &path);
// All before the last separator, without it; the whole path if there is none.
QString UTIL_getFilePath(const QString &path);
// The file name up to its first ".", or the whole file name.
QString UTIL_fileBaseName(const QString &path);
// Of the file name only: behind the first "." if full, else behind the last; empty without a dot.
QString UTIL_getFileExtension(const QString &path, bool full = false);

// Cuts from the last "." of the whole string, separators notwithstanding: "a.b/c" becomes "a".
QString &UTIL_trimFileName(QString &path);

// Strips separators and white space from both ends; strings shorter than 2 stay as they are.
QString &UTIL_trimFilePath(QString &path);
QString UTIL_trimFilePath(const QString &path);

QString &UTIL_filePathSlashToForward(QString &path);
QString UTIL_filePathSlashToForward(const QString &path);
QString &UTIL_filePathSlashToBackwards(QString &path);
QString UTIL_filePathSlashToBackwards(const QString &path);

// Equal length, and at each position equal ignoring case or both separators of either kind.
bool UTIL_compareFilePath(const QString &a, const QString &b);
// operator== when case sensitive, else on the lower-cased strings.
bool UTIL_compareQString(const QString &a, const QString &b, Qt::CaseSensitivity cs);

// Makes a path comparable with those inside packages: no separators or white space at
// either end (a rooted path loses its root), every run of separators one "/". A string
// with nothing left becomes null.
QString &UTIL_cleanFilePath(QString &path);
// The text up to the first NUL (Latin-1), cleaned as above.
QString UTIL_cleanFilePath(const QByteArray &path);

// "Images (*.png *.jpg)" gives "png"; no "*." gives an empty string.
QString UTIL_extensionForFileDialogFilter(const QString &filter);

// mkpath relative to the working directory. With hasFileName, the path is cut at the last
// occurrence of the literal four characters \\|/ only; real paths never hold them, so the
// whole path, file name included, is made into directories. Callers rely on that.
bool UTIL_makeDirectoriesForPath(const QString &path, bool hasFileName);
