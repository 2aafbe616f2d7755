#pragma once

// The settings file of the window tests: a small vocabulary, written into a folder that becomes
// the working directory before the workbench reads it.

#include "MaterialsTestSupport.h"

#include <QDir>

inline void useTestSettings(const QString &folder)
{
    writeFile(folder + QStringLiteral("/noitazilait.ini"),
              "[general]\n"
              "minimize_output_on_startup:TRUE\n"
              "[/general]\n"
              "[shaders]\n"
              "LightmappedGeneric:Brush surfaces\n"
              "VertexLitGeneric:Model surfaces\n"
              "[/shaders]\n"
              "[parameters]\n"
              "$basetexture:Base texture\n"
              "$surfaceprop:Physical surface properties\n"
              "$detail:Detail texture\n"
              "[/parameters]\n"
              "[proxies]\n"
              "Sine:Sine wave\\between two values:sinemin:sinemax::resultVar\n"
              "Bare:A proxy without parameters\n"
              "[/proxies]\n");
    QVERIFY(QDir::setCurrent(folder));
}
