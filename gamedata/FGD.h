#pragma once

#include <QByteArray>
#include <QString>

// The two name tables of the game data reader.
namespace FGD {

enum Class_t : int {
    BaseClass,
    PointClass,
    NPCClass,
    SolidClass,
    KeyFrameClass,
    MoveClass,
    FilterClass,
    ClassCount
};

enum Parameter_t : int {
    Void,
    Choices,
    String,
    Integer,
    Float,
    Axis,
    Angle,
    Color255,
    Color1,
    FilterClassName,
    Material,
    NodeDest,
    NpcClassName,
    Origin,
    PointEntityClass,
    Scene,
    Sidelist,
    Sound,
    Sprite,
    Studio,
    TargetDestination,
    TargetNameOrClass,
    TargetSource,
    Vecline,
    Vector,
    Flags,
    ParameterCount
};

// Empty for a value outside the table.
QString getClassName(Class_t type);
// The word, lower-cased, against the lower-cased names; an unknown word is a base class.
Class_t getClassByString(const QByteArray &word);
QString getParameterName(Parameter_t type);
// The first name that the text begins with, as it stands; an unknown text is a string.
Parameter_t getParameterByString(const QByteArray &text);

} // namespace FGD
