#pragma once

#include <QDir>
#include <QString>
#include <QtTest>

// Registers the compiled-in resources (icons, templates) of the static core library.
inline void zirkInitTestResources()
{
    extern int qInitResources_ZIRK();
    qInitResources_ZIRK();
}

// Folder of the real sample files shared beside the project, or an empty
// string when a clone stands without it.
inline QString zirkSamplesDir()
{
    QString dir = qEnvironmentVariable("ZIRK_SAMPLES");
    if (dir.isEmpty())
        dir = QStringLiteral(ZIRK_SAMPLES_DIR);
    return QDir(dir).exists() ? dir : QString();
}

#define ZIRK_REQUIRE_SAMPLES(dirVar)                                                               \
    const QString dirVar = zirkSamplesDir();                                                       \
    if (dirVar.isEmpty())                                                                          \
        QSKIP("the shared sample files are not present");
