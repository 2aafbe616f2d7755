#include "particles/CFilePCF.h"

#include "particles/CDmxElement.h"
#include "particles/DmxNames.h"
#include "util/UtilContainers.h"

#include <QHash>
#include <QSet>

#include <memory>

namespace {

// Every element that `roots` reach through element values, each once, roots first; with
// ownedOnly, only through values that their attributes own.
QList<CDmxElement *> reachableElements(const QList<CDmxElement *> &roots, bool ownedOnly)
{
    QSet<CDmxElement *> seen;
    QList<CDmxElement *> order;
    QList<CDmxElement *> pending;
    auto visit = [&](CDmxElement *element) {
        if (element && !seen.contains(element)) {
            seen.insert(element);
            order.append(element);
            pending.append(element);
        }
    };
    for (CDmxElement *element : roots)
        visit(element);
    while (!pending.isEmpty()) {
        const CDmxElement *current = pending.takeLast();
        for (const CDmxAttribute *attribute : current->attributes) {
            if (ownedOnly && !attribute->ownsValue)
                continue;
            if (CDmxElement *value = attribute->elementValue())
                visit(value);
            else if (const DmxElementArray *items = attribute->elementArray())
                for (CDmxElement *item : *items)
                    visit(item);
        }
    }
    return order;
}

// Empties the element values of an element without freeing the elements they name.
void detachElementValues(CDmxElement *element)
{
    for (CDmxAttribute *attribute : std::as_const(element->attributes))
        attribute->dropElementReferences();
}

} // namespace

CFilePCF::~CFilePCF()
{
    // Elements may be shared and referred to from anywhere in the file: find them all, cut
    // the references, then free each once.
    const QList<CDmxElement *> all = reachableElements(elements + removed, false);
    for (CDmxElement *element : all)
        detachElementValues(element);
    qDeleteAll(all);
    qDeleteAll(stringDictionary);
}

QString CFilePCF::formatVersionToMagicString(ParticleFormatVersion_t version)
{
    switch (version) {
    case PCF_DMX:
        return QStringLiteral("<!-- dmx encoding binary 2 format dmx 1 -->");
    case PCF_ORANGEBOX:
        return QStringLiteral("<!-- dmx encoding binary 2 format pcf 1 -->");
    case PCF_L4D:
        return QStringLiteral("<!-- dmx encoding binary 3 format pcf 2 -->");
    case PCF_L4D2:
        return QStringLiteral("<!-- dmx encoding binary 4 format pcf 2 -->");
    default:
        return QString();
    }
}

QString CFilePCF::formatVersionToDisplayString(ParticleFormatVersion_t version)
{
    switch (version) {
    case PCF_ORANGEBOX:
        return QStringLiteral("Binary 2 / PCF 1 (Orange Box)");
    case PCF_L4D:
        return QStringLiteral("Binary 3 / PCF 2 (Left 4 Dead)");
    case PCF_L4D2:
        return QStringLiteral("Binary 4 / PCF 2 (Left 4 Dead 2)");
    default:
        return QString();
    }
}

void *CFilePCF::defaultDataForAttributeType(CDmxAttribute::ParticleAttributeType_t type)
{
    switch (type) {
    case CDmxAttribute::ATTRIBUTE_ELEMENT:
        return new CDmxElement;
    case CDmxAttribute::ATTRIBUTE_INTEGER:
        return new DmxInteger(0);
    case CDmxAttribute::ATTRIBUTE_FLOAT:
    case CDmxAttribute::ATTRIBUTE_TIME:
        return new DmxFloat(0.0f);
    case CDmxAttribute::ATTRIBUTE_BOOLEAN:
        return new DmxBoolean(0);
    case CDmxAttribute::ATTRIBUTE_STRING:
        return new DmxString;
    case CDmxAttribute::ATTRIBUTE_BINARY:
        return new DmxBinary;
    case CDmxAttribute::ATTRIBUTE_COLOR:
        return new DmxColor {};
    case CDmxAttribute::ATTRIBUTE_VECTOR2:
        return new DmxVector2 {};
    case CDmxAttribute::ATTRIBUTE_VECTOR3:
    case CDmxAttribute::ATTRIBUTE_QANGLE:
        return new DmxVector3 {};
    case CDmxAttribute::ATTRIBUTE_VECTOR4:
    case CDmxAttribute::ATTRIBUTE_QUATERNION:
        return new DmxVector4 {};
    case CDmxAttribute::ATTRIBUTE_MATRIX:
        return new DmxMatrix { 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 };
    case CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY:
        return new DmxElementArray;
    default:
        if (CDmxAttribute::isArrayType(type))
            return new DmxValueArray;
        return nullptr;
    }
}

CFilePCF *CFilePCF::newPCF(ParticleFormatVersion_t version)
{
    if (!isWritableVersion(version))
        return nullptr;
    auto file = std::make_unique<CFilePCF>();
    file->version = version;
    auto root = std::make_unique<CDmxElement>();
    root->type = DmxNames::rootType();
    root->name = QStringLiteral("untitled");
    root->guid = QUuid::createUuid();
    auto systems = std::make_unique<CDmxAttribute>();
    systems->name = DmxNames::systemDefinitions();
    if (!systems->setValue(CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY, new DmxElementArray))
        return nullptr;
    root->attributes.append(systems.release());
    file->elements.append(root.release());
    return file.release();
}

DmxElementArray *CFilePCF::systemDefinitions() const
{
    const CDmxElement *first = root();
    if (!first || first->attributes.isEmpty())
        return nullptr;
    return first->attributes.first()->elementArray();
}

CDmxElement *CFilePCF::findSystemByName(const QString &name) const
{
    const DmxElementArray *systems = systemDefinitions();
    if (!systems)
        return nullptr;
    for (CDmxElement *system : *systems) {
        if (system->name == name)
            return system;
    }
    return nullptr;
}

QList<CDmxElement *> CFilePCF::findElementsByType(const QString &type) const
{
    QList<CDmxElement *> found;
    for (CDmxElement *element : elements) {
        if (element->type == type)
            found.append(element);
    }
    return found;
}

QList<CDmxElement *> CFilePCF::findElementsByName(const QString &name) const
{
    QList<CDmxElement *> found;
    for (CDmxElement *element : elements) {
        if (element->name == name)
            found.append(element);
    }
    return found;
}

void CFilePCF::removeElement(CDmxElement *element, bool deleteIt)
{
    if (element)
        removeElements({ element }, deleteIt);
}

void CFilePCF::removeElements(const QList<CDmxElement *> &targets, bool deleteIt)
{
    // The elements go with everything they own. One walk down from the root then drops
    // every owned reference to any of them, as removing them one by one would.
    const QList<CDmxElement *> going = reachableElements(targets, true);
    const QSet<CDmxElement *> goingSet(going.cbegin(), going.cend());
    if (CDmxElement *top = root(); top && !goingSet.contains(top)) {
        QSet<CDmxElement *> seen { top };
        QList<CDmxElement *> pending { top };
        while (!pending.isEmpty()) {
            CDmxElement *current = pending.takeLast();
            for (qsizetype i = current->attributes.size() - 1; i >= 0; --i) {
                CDmxAttribute *attribute = current->attributes.at(i);
                if (!attribute->ownsValue)
                    continue;
                if (CDmxElement *value = attribute->elementValue()) {
                    if (goingSet.contains(value)) {
                        attribute->releaseValue();
                        delete current->attributes.takeAt(i);
                        continue;
                    }
                    if (!seen.contains(value)) {
                        seen.insert(value);
                        pending.append(value);
                    }
                } else if (DmxElementArray *items = attribute->elementArray()) {
                    items->removeIf(
                        [&goingSet](CDmxElement *item) { return goingSet.contains(item); });
                    for (CDmxElement *item : std::as_const(*items)) {
                        if (!seen.contains(item)) {
                            seen.insert(item);
                            pending.append(item);
                        }
                    }
                }
            }
        }
    }
    elements.removeIf([&goingSet](CDmxElement *element) { return goingSet.contains(element); });
    if (!deleteIt)
        return;
    const QSet<CDmxElement *> aside(removed.cbegin(), removed.cend());
    for (CDmxElement *element : going) {
        if (!aside.contains(element))
            removed.append(element);
    }
}

void CFilePCF::removeAttribute(CDmxElement *owner, CDmxAttribute *attribute)
{
    if (!owner || !owner->attributes.contains(attribute))
        return;
    owner->attributes.removeOne(attribute);
    QList<CDmxElement *> held;
    if (attribute->ownsValue) {
        if (CDmxElement *value = attribute->elementValue())
            held.append(value);
        else if (const DmxElementArray *items = attribute->elementArray())
            held = *items;
    }
    attribute->dropElementReferences();
    delete attribute;

    // Whatever the value held goes aside with the file's elements among it: nothing is
    // freed while the file may still refer to it.
    removeElements(held, true);
}

void CFilePCF::deleteCopies(const QList<CDmxElement *> &copies)
{
    // Copies may name each other through `child` attributes: cut every reference first,
    // then free each element once.
    const QList<CDmxElement *> all = reachableElements(copies, false);
    for (CDmxElement *element : all)
        detachElementValues(element);
    qDeleteAll(all);
}

QList<CDmxElement *> *CFilePCF::exportSystems(const QList<CDmxElement *> *systems) const
{
    if (!systems || systems->isEmpty())
        return nullptr;
    for (const CDmxElement *system : *systems) {
        if (!system || system->type != DmxNames::systemType() || !elements.contains(system))
            return nullptr;
    }

    QList<CDmxElement *> sources;
    for (CDmxElement *system : *systems) {
        sources.append(system);
        const QList<CDmxElement::Pair_t *> children
            = system->listChildren(CDmxElement::Unlimited, 0);
        for (const CDmxElement::Pair_t *pair : children)
            sources.append(pair->second);
        qDeleteAll(children);
    }
    UTIL_removeDuplicates(sources);

    auto copies = std::make_unique<QList<CDmxElement *>>();
    auto fail = [&copies]() -> QList<CDmxElement *> * {
        deleteCopies(*copies);
        return nullptr;
    };
    for (const CDmxElement *source : std::as_const(sources)) {
        CDmxElement *copy = source->clone();
        if (!copy)
            return fail();
        copies->append(copy);
    }

    QHash<QUuid, CDmxElement *> byGuid;
    for (qsizetype i = copies->size() - 1; i >= 0; --i)
        byGuid.insert(copies->at(i)->guid, copies->at(i));
    for (CDmxElement *copy : std::as_const(*copies)) {
        const QList<CDmxElement::Pair_t *> children = copy->listChildren(0, 0);
        bool matched = true;
        for (const CDmxElement::Pair_t *pair : children) {
            CDmxElement *target = byGuid.value(pair->second->guid);
            if (!target) {
                matched = false;
                break;
            }
            CDmxElement *surplus = static_cast<CDmxElement *>(pair->first->releaseValue());
            if (!pair->first->setValue(CDmxAttribute::ATTRIBUTE_ELEMENT, target))
                matched = false;
            pair->first->ownsValue = false;
            deleteCopies({ surplus });
        }
        qDeleteAll(children);
        if (!matched)
            return fail();
    }
    return copies.release();
}
