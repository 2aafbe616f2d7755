#pragma once

#include "particles/CDmxAttribute.h"
#include "util/CPair.h"

#include <QList>

class CDmxElement;
class CFilePCF;
class QDataStream;

// What every binary DMX format shares: reading one attribute value, and keeping GUIDs
// apart across files.
class DMXDelegate
{
public:
    virtual ~DMXDelegate() = default;

    // One value from a little-endian stream, as a new value for CDmxAttribute::setValue;
    // null for type 0, ids outside the table, and values that the bytes left cannot hold
    // or that refer outside the file.
    void *dataForAttributeType(CDmxAttribute::ParticleAttributeType_t type, QDataStream &stream,
                               CFilePCF *file);

    // Gives a new GUID to every element whose GUID is null or also held by another element
    // of the list, and sets the flag of each pair whose element got one.
    static void ensureUniqueGUID(QList<CPair<CDmxElement *, bool> *> &elements);
    // The same over all elements of all files; a file's flag is set when one of its
    // elements got a new GUID.
    static void ensureUniqueGUID(const QList<CPair<CFilePCF *, bool> *> &files);
};
