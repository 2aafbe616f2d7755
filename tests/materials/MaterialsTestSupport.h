#pragma once

// Helpers of the material tests: files and a file that cannot be written.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

#include <unistd.h>

inline void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(bytes), bytes.size());
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Makes a file that this process cannot write: read-only for a user, immutable for the
// superuser, who is not stopped by permissions. False where neither works.
inline bool lockFile(const QString &path)
{
    if (geteuid() != 0)
        return QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    QProcess chattr;
    chattr.start(QStringLiteral("chattr"), { QStringLiteral("+i"), path });
    return chattr.waitForFinished() && chattr.exitStatus() == QProcess::NormalExit
        && chattr.exitCode() == 0;
}

inline void unlockFile(const QString &path)
{
    if (geteuid() == 0)
        QProcess::execute(QStringLiteral("chattr"), { QStringLiteral("-i"), path });
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
}
