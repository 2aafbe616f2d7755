#include "particles/CDmxElement.h"

#include "particles/DmxNames.h"
#include "particles/DmxPool.h"
#include "particles/DmxWalk.h"

#include <memory>

namespace {

// The element that a `child` attribute of a DmeParticleChild names, or null.
CDmxElement *childTarget(const CDmxAttribute *attribute)
{
    if (attribute->name != DmxNames::child())
        return nullptr;
    return attribute->elementValue();
}

} // namespace

CDmxElement::~CDmxElement()
{
    qDeleteAll(attributes);
}

void *CDmxElement::operator new(size_t size)
{
    Q_ASSERT(size == sizeof(CDmxElement));
    return DmxPool<sizeof(CDmxElement)>::allocate();
}

void CDmxElement::operator delete(void *block) noexcept
{
    DmxPool<sizeof(CDmxElement)>::release(block);
}

CDmxAttribute *CDmxElement::getAttributeByName(const QString &attributeName) const
{
    for (CDmxAttribute *attribute : attributes) {
        if (attribute->name == attributeName)
            return attribute;
    }
    return nullptr;
}

CDmxElement *CDmxElement::clone() const
{
    DmxWalk walk;
    walk.budget = MaxHierarchyNodes;
    return cloneWithin(walk);
}

CDmxElement *CDmxElement::cloneWithin(DmxWalk &walk) const
{
    if (walk.failed || walk.onPath(this) || unsigned(walk.path.size()) >= MaxHierarchyDepth
        || --walk.budget < 0) {
        walk.failed = true;
        return nullptr;
    }
    walk.path.append(this);
    auto copy = std::make_unique<CDmxElement>();
    copy->type = type;
    copy->name = name;
    copy->guid = guid;
    copy->attributes.reserve(attributes.size());
    for (const CDmxAttribute *attribute : attributes) {
        CDmxAttribute *attributeCopy = attribute->cloneWithin(walk);
        if (!attributeCopy) {
            walk.failed = true;
            break;
        }
        copy->attributes.append(attributeCopy);
    }
    walk.path.removeLast();
    if (walk.failed) {
        deleteTree(copy.release());
        return nullptr;
    }
    return copy.release();
}

void CDmxElement::deleteTree(CDmxElement *top)
{
    if (!top)
        return;
    // Every element reached from the top, whether or not an attribute owns it, once.
    QSet<CDmxElement *> seen { top };
    QList<CDmxElement *> all { top };
    for (qsizetype next = 0; next < all.size(); ++next) {
        for (CDmxAttribute *attribute : std::as_const(all.at(next)->attributes)) {
            QList<CDmxElement *> found;
            if (CDmxElement *value = attribute->elementValue())
                found.append(value);
            else if (const DmxElementArray *items = attribute->elementArray())
                found = *items;
            attribute->dropElementReferences();
            for (CDmxElement *element : std::as_const(found)) {
                if (!seen.contains(element)) {
                    seen.insert(element);
                    all.append(element);
                }
            }
        }
    }
    qDeleteAll(all);
}

void CDmxElement::scrambleGUIDHierarchy(bool includeSelf)
{
    // Every element below gets a new GUID once, however often it is referred to; a loop
    // back to an element already done ends there.
    QSet<const CDmxElement *> seen { this };
    QList<CDmxElement *> pending { this };
    while (!pending.isEmpty()) {
        CDmxElement *current = pending.takeLast();
        for (const CDmxAttribute *attribute : std::as_const(current->attributes)) {
            if (CDmxElement *element = attribute->elementValue()) {
                if (!seen.contains(element)) {
                    seen.insert(element);
                    pending.append(element);
                }
            } else if (const DmxElementArray *items = attribute->elementArray()) {
                for (CDmxElement *item : *items) {
                    if (!seen.contains(item)) {
                        seen.insert(item);
                        pending.append(item);
                    }
                }
            }
        }
        if (current != this)
            current->guid = QUuid::createUuid();
    }
    if (includeSelf)
        guid = QUuid::createUuid();
}

bool CDmxElement::isElementInChildHierarchy(const CDmxElement *other) const
{
    if (!other)
        return false;
    QSet<const CDmxElement *> visited;
    const CDmxElement *current = this;
    while (current && current->type == DmxNames::systemType()) {
        if (visited.contains(current))
            return false;
        visited.insert(current);
        const CDmxElement *next = nullptr;
        for (const CDmxAttribute *attribute : std::as_const(current->attributes)) {
            const DmxElementArray *items = attribute->elementArray();
            if (!items || attribute->name != DmxNames::children())
                continue;
            for (const CDmxElement *item : *items) {
                if (item->type != DmxNames::childType())
                    continue;
                for (const CDmxAttribute *itemAttribute : item->attributes) {
                    next = childTarget(itemAttribute);
                    if (next)
                        break;
                }
                if (next)
                    break;
            }
            if (next)
                break;
        }
        if (next == other)
            return true;
        current = next;
    }
    return false;
}

void CDmxElement::removeElementFromHierarchy(const CDmxElement *element)
{
    DmxWalk walk;
    removeWithin(walk, element, 0);
}

void CDmxElement::removeWithin(DmxWalk &walk, const CDmxElement *element, unsigned depth)
{
    if (depth >= MaxHierarchyDepth || walk.seen.contains(this))
        return;
    walk.seen.insert(this);
    for (qsizetype i = attributes.size() - 1; i >= 0; --i) {
        CDmxAttribute *attribute = attributes.at(i);
        if (!attribute->ownsValue)
            continue;
        if (CDmxElement *value = attribute->elementValue()) {
            if (value == element) {
                // The element lives on; only the reference to it goes.
                attribute->releaseValue();
                delete attributes.takeAt(i);
            } else {
                value->removeWithin(walk, element, depth + 1);
            }
        } else if (DmxElementArray *items = attribute->elementArray()) {
            for (qsizetype j = items->size() - 1; j >= 0; --j) {
                if (items->at(j) == element)
                    items->removeAt(j);
                else
                    items->at(j)->removeWithin(walk, element, depth + 1);
            }
        }
    }
}

QList<CDmxElement::Pair_t *> CDmxElement::listSubElements(unsigned maxDepth, unsigned depth) const
{
    QList<Pair_t *> out;
    DmxWalk walk;
    walk.budget = MaxHierarchyNodes;
    listSubElementsWithin(walk, maxDepth, depth, out);
    return out;
}

void CDmxElement::listSubElementsWithin(DmxWalk &walk, unsigned maxDepth, unsigned depth,
                                        QList<Pair_t *> &out) const
{
    // An element already on the way down is listed but not entered again.
    if (walk.onPath(this) || unsigned(walk.path.size()) >= MaxHierarchyDepth)
        return;
    walk.path.append(this);
    for (CDmxAttribute *attribute : attributes) {
        if (CDmxElement *value = attribute->elementValue()) {
            if (--walk.budget < 0)
                break;
            out.append(new Pair_t { attribute, value });
            value->listSubElementsWithin(walk, Unlimited, depth, out);
        } else if (const DmxElementArray *items = attribute->elementArray()) {
            if (depth >= maxDepth)
                continue;
            for (CDmxElement *item : *items) {
                if (--walk.budget < 0)
                    break;
                out.append(new Pair_t { attribute, item });
                item->listSubElementsWithin(walk, maxDepth, depth + 1, out);
            }
        }
    }
    walk.path.removeLast();
}

QList<CDmxElement::Pair_t *> CDmxElement::listChildren(unsigned maxDepth, unsigned depth) const
{
    QList<Pair_t *> out;
    DmxWalk walk;
    walk.budget = MaxHierarchyNodes;
    listChildrenWithin(walk, maxDepth, depth, out);
    return out;
}

void CDmxElement::listChildrenWithin(DmxWalk &walk, unsigned maxDepth, unsigned depth,
                                     QList<Pair_t *> &out) const
{
    if (type != DmxNames::systemType() || walk.onPath(this)
        || unsigned(walk.path.size()) >= MaxHierarchyDepth)
        return;
    walk.path.append(this);
    for (const CDmxAttribute *attribute : attributes) {
        const DmxElementArray *items = attribute->elementArray();
        if (!items || attribute->name != DmxNames::children())
            continue;
        for (const CDmxElement *item : *items) {
            if (item->type != DmxNames::childType())
                continue;
            for (CDmxAttribute *itemAttribute : item->attributes) {
                CDmxElement *target = childTarget(itemAttribute);
                if (!target || --walk.budget < 0)
                    continue;
                out.append(new Pair_t { itemAttribute, target });
                if (depth < maxDepth)
                    target->listChildrenWithin(walk, maxDepth, depth + 1, out);
            }
        }
    }
    walk.path.removeLast();
}
