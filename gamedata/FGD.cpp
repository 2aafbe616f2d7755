#include "gamedata/FGD.h"

namespace {

const char *const ClassNames[FGD::ClassCount]
    = { "@BaseClass",     "@PointClass", "@NPCClass",   "@SolidClass",
        "@KeyFrameClass", "@MoveClass",  "@FilterClass" };

const char *const ParameterNames[FGD::ParameterCount] = { "void",
                                                          "choices",
                                                          "string",
                                                          "integer",
                                                          "float",
                                                          "axis",
                                                          "angle",
                                                          "color255",
                                                          "color1",
                                                          "filterclass",
                                                          "material",
                                                          "node_dest",
                                                          "npcclass",
                                                          "origin",
                                                          "pointentityclass",
                                                          "scene",
                                                          "sidelist",
                                                          "sound",
                                                          "sprite",
                                                          "studio",
                                                          "target_destination",
                                                          "target_name_or_class",
                                                          "target_source",
                                                          "vecline",
                                                          "vector",
                                                          "flags" };

} // namespace

QString FGD::getClassName(Class_t type)
{
    if (type < 0 || type >= ClassCount)
        return QString();
    return QString::fromLatin1(ClassNames[type]);
}

FGD::Class_t FGD::getClassByString(const QByteArray &word)
{
    const QByteArray lower = word.toLower();
    for (int i = 0; i < ClassCount; ++i) {
        if (lower == QByteArray(ClassNames[i]).toLower())
            return Class_t(i);
    }
    return BaseClass;
}

QString FGD::getParameterName(Parameter_t type)
{
    if (type < 0 || type >= ParameterCount)
        return QString();
    return QString::fromLatin1(ParameterNames[type]);
}

FGD::Parameter_t FGD::getParameterByString(const QByteArray &text)
{
    for (int i = 0; i < ParameterCount; ++i) {
        if (text.startsWith(ParameterNames[i]))
            return Parameter_t(i);
    }
    return String;
}
