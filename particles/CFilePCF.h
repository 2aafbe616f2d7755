#pragma once

#include "particles/CDmxAttribute.h"

#include <QList>
#include <QSet>
#include <QString>

class CDmxElement;

// A particle file in memory: its format version, the string dictionary as read, and the
// flat list of elements. The first element is the root; its first attribute lists the
// particle systems. Elements refer to each other by pointer and all of them stand in
// `elements`, which owns them.
class CFilePCF
{
public:
    enum ParticleFormatVersion_t {
        PCF_DMX = -1,
        PCF_INVALID = 0,
        PCF_ORANGEBOX = 1,
        PCF_L4D = 2,
        PCF_L4D2 = 3,
    };
    static constexpr int VersionCount = 4;

    CFilePCF() = default;
    ~CFilePCF();
    CFilePCF(const CFilePCF &) = delete;
    CFilePCF &operator=(const CFilePCF &) = delete;

    static QString formatVersionToMagicString(ParticleFormatVersion_t version);
    // The menu text of a version: "Binary 2 / PCF 1 (Orange Box)" and so on; empty for
    // versions that are not written.
    static QString formatVersionToDisplayString(ParticleFormatVersion_t version);
    [[nodiscard]] static bool isWritableVersion(int version)
    {
        return version >= PCF_ORANGEBOX && version <= PCF_L4D2;
    }

    static void *defaultDataForAttributeType(CDmxAttribute::ParticleAttributeType_t type);
    static CFilePCF *newPCF(ParticleFormatVersion_t version);

    CDmxElement *root() const { return elements.isEmpty() ? nullptr : elements.first(); }
    // The root's first attribute when it is an element array, the list of systems.
    DmxElementArray *systemDefinitions() const;

    CDmxElement *findSystemByName(const QString &name) const;
    QList<CDmxElement *> findElementsByType(const QString &type) const;
    QList<CDmxElement *> findElementsByName(const QString &name) const;

    // Takes the element and what it owns out of the file. A deleted element is kept aside
    // until the file goes, so that a `child` attribute that still names it never points
    // at freed memory: such a file then fails to save with "Unreferenced element".
    void removeElement(CDmxElement *element, bool deleteIt);
    // The same for several at once, with one walk over the file.
    void removeElements(const QList<CDmxElement *> &targets, bool deleteIt);
    // Takes an attribute off an element of this file; elements held by its value leave the
    // file the way removeElement takes them.
    void removeAttribute(CDmxElement *owner, CDmxAttribute *attribute);
    // Deep copies of the systems and all their descendant systems, with their `child`
    // attributes pointed at each other; null if a system is not a system of this file or a
    // copy cannot be made. The caller owns the list and the copies.
    QList<CDmxElement *> *exportSystems(const QList<CDmxElement *> *systems) const;
    // Frees trees made by clone or exportSystems, including the copies behind `child`
    // attributes, each element once.
    static void deleteCopies(const QList<CDmxElement *> &copies);

    ParticleFormatVersion_t version = PCF_INVALID;
    qint32 stringDictionaryCount = 0;
    QList<QString *> stringDictionary;
    qint32 elementCount = 0;
    QList<CDmxElement *> elements;

private:
    QList<CDmxElement *> removed;
};
