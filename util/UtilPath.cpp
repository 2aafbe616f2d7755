#include "util/UtilPath.h"

#include <QDir>

namespace {

inline bool isSeparator(QChar c)
{
    return c == QLatin1Char('/') || c == QLatin1Char('\\');
}

inline bool isSeparatorOrSpace(QChar c)
{
    return isSeparator(c) || c.isSpace();
}

qsizetype lastSeparator(const QString &path)
{
    for (qsizetype i = path.size() - 1; i >= 0; --i) {
        if (isSeparator(path.at(i)))
            return i;
    }
    return -1;
}

} // namespace

QString UTIL_getFileName(const QString &path)
{
    const qsizetype sep = lastSeparator(path);
    return sep < 0 ? path : path.mid(sep + 1);
}

QString UTIL_getFilePath(const QString &path)
{
    const qsizetype sep = lastSeparator(path);
    return sep < 0 ? path : path.left(sep);
}

QString UTIL_fileBaseName(const QString &path)
{
    const QString name = UTIL_getFileName(path);
    const qsizetype dot = name.indexOf(QLatin1Char('.'));
    return dot < 0 ? name : name.left(dot);
}

QString UTIL_getFileExtension(const QString &path, bool full)
{
    const QString name = UTIL_getFileName(path);
    const qsizetype dot
        = full ? name.indexOf(QLatin1Char('.')) : name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1);
}

QString &UTIL_trimFileName(QString &path)
{
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0)
        path.truncate(dot);
    return path;
}

QString &UTIL_trimFilePath(QString &path)
{
    if (path.size() < 2)
        return path;
    qsizetype end = path.size();
    while (end > 0 && isSeparatorOrSpace(path.at(end - 1)))
        --end;
    qsizetype start = 0;
    while (start < end && isSeparatorOrSpace(path.at(start)))
        ++start;
    path = path.mid(start, end - start);
    return path;
}

QString UTIL_trimFilePath(const QString &path)
{
    QString copy = path;
    UTIL_trimFilePath(copy);
    return copy;
}

QString &UTIL_filePathSlashToForward(QString &path)
{
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return path;
}

QString UTIL_filePathSlashToForward(const QString &path)
{
    QString copy = path;
    return UTIL_filePathSlashToForward(copy);
}

QString &UTIL_filePathSlashToBackwards(QString &path)
{
    path.replace(QLatin1Char('/'), QLatin1Char('\\'));
    return path;
}

QString UTIL_filePathSlashToBackwards(const QString &path)
{
    QString copy = path;
    return UTIL_filePathSlashToBackwards(copy);
}

bool UTIL_compareFilePath(const QString &a, const QString &b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        const QChar ca = a.at(i);
        const QChar cb = b.at(i);
        if (isSeparator(ca) && isSeparator(cb))
            continue;
        if (ca != cb && ca.toLower() != cb.toLower())
            return false;
    }
    return true;
}

bool UTIL_compareQString(const QString &a, const QString &b, Qt::CaseSensitivity cs)
{
    if (cs == Qt::CaseSensitive)
        return a == b;
    return a.toLower() == b.toLower();
}

QString &UTIL_cleanFilePath(QString &path)
{
    if (path.isEmpty())
        return path;

    qsizetype end = path.size();
    while (end > 0 && isSeparatorOrSpace(path.at(end - 1)))
        --end;
    if (end == 0) {
        path = QString();
        return path;
    }
    qsizetype start = 0;
    while (start < end && isSeparatorOrSpace(path.at(start)))
        ++start;

    // One pass that writes each kept character once, so long paths stay linear.
    QString out;
    out.reserve(end - start);
    bool lastWasSeparator = false;
    for (qsizetype i = start; i < end; ++i) {
        const QChar c = path.at(i);
        if (isSeparator(c)) {
            if (!lastWasSeparator)
                out.append(QLatin1Char('/'));
            lastWasSeparator = true;
        } else {
            out.append(c);
            lastWasSeparator = false;
        }
    }
    path = out;
    return path;
}

QString UTIL_cleanFilePath(const QByteArray &path)
{
    const qsizetype nul = path.indexOf('\0');
    QString text = QString::fromLatin1(nul < 0 ? path : path.left(nul));
    UTIL_cleanFilePath(text);
    return text;
}

QString UTIL_extensionForFileDialogFilter(const QString &filter)
{
    const qsizetype star = filter.indexOf(QLatin1String("*."));
    if (star < 0)
        return QString();
    QString extension = filter.mid(star + 2);
    const qsizetype blank = extension.indexOf(QLatin1Char(' '));
    if (blank >= 0)
        extension.truncate(blank);
    const qsizetype paren = extension.indexOf(QLatin1Char(')'));
    if (paren >= 0)
        extension.truncate(paren);
    return extension;
}

bool UTIL_makeDirectoriesForPath(const QString &path, bool hasFileName)
{
    static QDir dir;
    QString target = path;
    if (hasFileName) {
        const qsizetype cut = target.lastIndexOf(QLatin1String("\\\\|/"));
        if (cut >= 0)
            target.truncate(cut);
    }
    return dir.mkpath(target);
}
