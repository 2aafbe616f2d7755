#pragma once

#include "particles/CDmxAttribute.h"
#include "util/CPair.h"

#include <QList>
#include <QString>
#include <QUuid>

struct DmxWalk;

// A node of the generic element tree: a type name, a name, a GUID and an ordered list of
// owned attributes. Elements refer to each other through ELEMENT and ELEMENT_ARRAY values.
class CDmxElement
{
public:
    // Walks over element references stop here, so that a loop that an edit made, or an
    // absurdly deep chain, ends instead of exhausting the stack.
    static constexpr unsigned MaxHierarchyDepth = 512;
    // The most elements that one copy or one listing produces; shared sub-trees are
    // copied once per reference, and a deep lattice of them would never end.
    static constexpr qsizetype MaxHierarchyNodes = qsizetype(1) << 20;
    static constexpr unsigned Unlimited = ~0u;

    using Pair_t = CPair<CDmxAttribute *, CDmxElement *>;

    CDmxElement() = default;
    ~CDmxElement();
    static void *operator new(size_t size);
    static void operator delete(void *block) noexcept;
    CDmxElement(const CDmxElement &) = delete;
    CDmxElement &operator=(const CDmxElement &) = delete;

    CDmxAttribute *getAttributeByName(const QString &attributeName) const;

    // A deep copy with the same type, name and GUID; null when the hierarchy below loops
    // back on itself or is too large to copy.
    CDmxElement *clone() const;
    // Frees an element and every element it reaches, owned or not, each once: for copies,
    // which own all they reach.
    static void deleteTree(CDmxElement *top);
    void scrambleGUIDHierarchy(bool includeSelf);
    // True only along the first-child chain: the first child of each system is followed.
    [[nodiscard]] bool isElementInChildHierarchy(const CDmxElement *other) const;
    void removeElementFromHierarchy(const CDmxElement *element);
    // Callers own the pairs and the lists.
    QList<Pair_t *> listSubElements(unsigned maxDepth, unsigned depth) const;
    QList<Pair_t *> listChildren(unsigned maxDepth, unsigned depth) const;

    quint16 typeIndex = 0;
    quint16 nameIndex = 0;
    QString type;
    QString name;
    QUuid guid;
    qint32 attributeCount = 0;
    QList<CDmxAttribute *> attributes;

private:
    friend class CDmxAttribute;

    CDmxElement *cloneWithin(DmxWalk &walk) const;
    void listSubElementsWithin(DmxWalk &walk, unsigned maxDepth, unsigned depth,
                               QList<Pair_t *> &out) const;
    void listChildrenWithin(DmxWalk &walk, unsigned maxDepth, unsigned depth,
                            QList<Pair_t *> &out) const;
    void removeWithin(DmxWalk &walk, const CDmxElement *element, unsigned depth);
};
