#pragma once

#include "gamedata/FGD.h"
#include "util/CVector3.h"

#include <QByteArray>
#include <QRgb>
#include <QStringList>

#include <array>
#include <vector>

// A game data file: the entity classes a map editor offers, in file order. Read only; what a
// window changes stays in memory.
class CFileFGD
{
public:
    struct Choice_t
    {
        QByteArray value;
        QByteArray name;
    };

    struct Keyvalue_t
    {
        QByteArray name;
        FGD::Parameter_t type = FGD::String;
        QByteArray displayName;
        QByteArray defaultValue;
        QByteArray description;
        bool readonly = false;
        // The name stands in the entity's list of sphere helpers.
        bool sphere = false;
        std::vector<Choice_t> choices;
    };

    struct InputOutput_t
    {
        QByteArray name;
        FGD::Parameter_t type = FGD::Void;
        QByteArray description;
    };

    struct Line_t
    {
        QRgb color = 0xFFFFFFFF;
        QByteArray source;
        QByteArray target;
    };

    struct Cylinder_t
    {
        QRgb color = 0xFFFFFFFF;
        std::array<QByteArray, 6> fields;
    };

    enum HelperFlag { HelperColor = 1, HelperStudioFromEntity = 2 };

    struct Entity_t
    {
        FGD::Class_t type = FGD::BaseClass;
        std::vector<QByteArray> bases;
        QByteArray iconsprite;
        QByteArray studioProp;
        std::vector<Line_t> lines;
        std::vector<Cylinder_t> cylinders;
        quint32 helperFlags = 0;
        QRgb color = 0xFFFF00FF;
        QByteArray studio;
        QStringList spheres;
        CVector3 sizeMin { 0, 0, 0 };
        bool hasSizeMax = false;
        CVector3 sizeMax { 0, 0, 0 };
        QByteArray name;
        QByteArray description;
        quint32 spawnflagMask = 0;
        quint32 spawnflagDefaults = 0;
        std::array<QByteArray, 32> spawnflagNames;
        std::vector<Keyvalue_t> keyvalues;
        std::vector<InputOutput_t> inputs;
        std::vector<InputOutput_t> outputs;
    };

    // True for a file read to its end, also for one that can't be opened; false where the text
    // breaks the grammar, with what was read before kept.
    [[nodiscard]] bool createFromFile(const QString &path);
    [[nodiscard]] bool createFromData(const QByteArray &data);

    QStringList includes;
    QStringList materialExclusions;
    std::vector<Entity_t> entities;
};
