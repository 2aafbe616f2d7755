#pragma once

// Compiled models, collision files and a scan vocabulary, built in the tests.

#include "app/ProgramSettings_t.h"
#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/DmxNames.h"

#include <QByteArray>
#include <QList>
#include <QUuid>
#include <QtEndian>

#include <cstring>

inline void put32(QByteArray &data, int offset, qint32 value)
{
    qToLittleEndian<qint32>(value, data.data() + offset);
}

inline void putFloat(QByteArray &data, int offset, float value)
{
    quint32 bits = 0;
    std::memcpy(&bits, &value, 4);
    qToLittleEndian<quint32>(bits, data.data() + offset);
}

// A model with the tables the readers look at. Everything after the 400-byte header: the
// texture records, the directory offsets, the include records, the keyvalue text, the strings.
struct MdlFixture
{
    QList<QByteArray> textures;
    QList<QByteArray> directories;
    QList<QByteArray> includes;
    QByteArray keyvalues;
    QByteArray internalName = "test/model.mdl";
    qint32 checksum = 0x12345678;

    QByteArray build() const
    {
        QByteArray data(400, '\0');
        std::memcpy(data.data(), "IDST", 4);
        put32(data, 4, 48);
        put32(data, 8, checksum);
        std::memcpy(data.data() + 12, internalName.constData(),
                    qMin<qsizetype>(64, internalName.size()));
        putFloat(data, 80, 1.5f);
        putFloat(data, 84, -2.0f);
        putFloat(data, 88, 3.25f);
        putFloat(data, 328, 42.5f);
        const int textureTable = 400;
        const int directoryTable = textureTable + 64 * int(textures.size());
        const int includeTable = directoryTable + 4 * int(directories.size());
        const int keyvalueAt = includeTable + 8 * int(includes.size());
        data.resize(keyvalueAt);
        data.append(keyvalues);
        // Strings behind everything, each with its NUL.
        const auto addString = [&data](const QByteArray &text) {
            const int at = int(data.size());
            data.append(text);
            data.append('\0');
            return at;
        };
        for (int i = 0; i < textures.size(); ++i) {
            const int record = textureTable + 64 * i;
            put32(data, record, addString(textures.at(i)) - record);
        }
        for (int i = 0; i < directories.size(); ++i)
            put32(data, directoryTable + 4 * i, addString(directories.at(i)));
        for (int i = 0; i < includes.size(); ++i) {
            const int record = includeTable + 8 * i;
            put32(data, record + 4, addString(includes.at(i)) - record);
        }
        put32(data, 76, qint32(data.size()));
        put32(data, 204, qint32(textures.size()));
        put32(data, 208, textures.isEmpty() ? 0 : textureTable);
        put32(data, 212, qint32(directories.size()));
        put32(data, 216, directories.isEmpty() ? 0 : directoryTable);
        put32(data, 312, keyvalues.isEmpty() ? 0 : keyvalueAt);
        put32(data, 316, qint32(keyvalues.size()));
        put32(data, 336, qint32(includes.size()));
        put32(data, 340, includes.isEmpty() ? 0 : includeTable);
        return data;
    }
};

// A collision file: header, solids, then the text and its NUL.
inline QByteArray buildPhy(const QList<QByteArray> &solids, const QByteArray &text,
                           qint32 checksum = 77)
{
    QByteArray data(16, '\0');
    put32(data, 0, 16);
    put32(data, 4, 0);
    put32(data, 8, qint32(solids.size()));
    put32(data, 12, checksum);
    for (const QByteArray &solid : solids) {
        QByteArray size(4, '\0');
        put32(size, 0, qint32(solid.size()));
        data.append(size);
        data.append(solid);
    }
    data.append(text);
    data.append('\0');
    return data;
}

// The key lists of a scan, a small part of what the shipped settings file holds.
inline void fillScanVocabulary(ProgramSettings_t &settings)
{
    *settings.vmtTextureKeys << QStringLiteral("$basetexture") << QStringLiteral("$bumpmap")
                             << QStringLiteral("$envmap") << QStringLiteral("$refracttexture");
    settings.vmtTextureKeyFiles->append(nullptr);
    settings.vmtTextureKeyFiles->append(nullptr);
    settings.vmtTextureKeyFiles->append(new QStringList { QStringLiteral("env_cubemap") });
    settings.vmtTextureKeyFiles->append(new QStringList { QStringLiteral("_rt_WaterRefraction"),
                                                          QStringLiteral("_rt_FullFrameFB") });
    *settings.soundChars << QStringLiteral("*") << QStringLiteral("#") << QStringLiteral("@");
    *settings.studioKeys << QStringLiteral("model") << QStringLiteral("gibmodel");
    *settings.spriteKeys << QStringLiteral("spritename") << QStringLiteral("ropematerial");
    *settings.soundKeys << QStringLiteral("message") << QStringLiteral("StartSound");
    *settings.sceneKeys << QStringLiteral("SceneFile");
    *settings.particleKeys << QStringLiteral("effect_name");
    *settings.specialKeys << QStringLiteral("ropematerial") << QStringLiteral("vscripts");
    *settings.specialKeyPatterns << QStringLiteral("materials/*.vmt")
                                 << QStringLiteral("scripts/vscripts/*");
    *settings.mapFiles << QStringLiteral("maps/*.nav") << QStringLiteral("maps/*_particles.txt")
                       << QStringLiteral("scripts/soundscapes_*.txt");
    *settings.mapFileCategories << QStringLiteral("Navigation")
                                << QStringLiteral("Particle Manifest")
                                << QStringLiteral("Soundscape");
}

// Particle systems in a file made by CFilePCF::newPCF.
struct ParticleFixture
{
    static CDmxAttribute *attribute(const QString &name,
                                    CDmxAttribute::ParticleAttributeType_t type, void *value,
                                    bool owns = true)
    {
        auto *made = new CDmxAttribute;
        made->name = name;
        made->ownsValue = owns;
        if (!made->setValue(type, value))
            qFatal("attribute without value");
        return made;
    }

    // A system whose "material" is material; an empty material leaves the attribute out.
    static CDmxElement *addSystem(CFilePCF &file, const QString &name, const QString &material)
    {
        auto *system = new CDmxElement;
        system->type = DmxNames::systemType();
        system->name = name;
        system->guid = QUuid::createUuid();
        if (!material.isEmpty())
            system->attributes.append(attribute(QStringLiteral("material"),
                                                CDmxAttribute::ATTRIBUTE_STRING,
                                                new QString(material)));
        system->attributes.append(attribute(
            DmxNames::children(), CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY, new DmxElementArray));
        file.elements.append(system);
        file.systemDefinitions()->append(system);
        return system;
    }

    static void addChild(CFilePCF &file, CDmxElement *parent, CDmxElement *child)
    {
        auto *link = new CDmxElement;
        link->type = DmxNames::childType();
        link->name = child->name;
        link->guid = QUuid::createUuid();
        link->attributes.append(
            attribute(DmxNames::child(), CDmxAttribute::ATTRIBUTE_ELEMENT, child, false));
        parent->getAttributeByName(DmxNames::children())->elementArray()->append(link);
        file.elements.append(link);
    }
};
