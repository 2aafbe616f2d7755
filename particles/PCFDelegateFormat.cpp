// Converting a file to another version by making each system look like the version's
// template system.
#include "particles/CDmxElement.h"
#include "particles/DmxNames.h"
#include "particles/PCFDelegate.h"

namespace {

CDmxAttribute *findMatch(const CDmxElement *pattern, const CDmxAttribute *attribute)
{
    for (CDmxAttribute *candidate : pattern->attributes) {
        if (candidate->name == attribute->name && candidate->type == attribute->type)
            return candidate;
    }
    return nullptr;
}

CDmxElement *findItem(const DmxElementArray *items, const CDmxElement *item)
{
    if (!items)
        return nullptr;
    for (CDmxElement *candidate : *items) {
        if (candidate->name == item->name && candidate->type == item->type)
            return candidate;
    }
    return nullptr;
}

// Drops an attribute that the pattern does not know. The elements it held go to dropped
// and survive it.
void dropAttribute(CDmxElement *owner, qsizetype index, QList<CDmxElement *> &dropped)
{
    CDmxAttribute *attribute = owner->attributes.takeAt(index);
    if (CDmxElement *value = attribute->elementValue()) {
        dropped.append(value);
        attribute->ownsValue = false;
    } else if (const DmxElementArray *items = attribute->elementArray()) {
        dropped.append(*items);
        // The list itself goes with the attribute, the elements stay.
        attribute->dropElementReferences();
    }
    delete attribute;
}

// A child entry keeps its FLOAT `delay` and ELEMENT `child`; without a `delay` it gets one of
// 0. False when it names no child.
bool formatChild(CDmxElement *item, QList<CDmxElement *> &dropped)
{
    bool hasChild = false;
    bool hasDelay = false;
    for (qsizetype k = item->attributes.size() - 1; k >= 0; --k) {
        const CDmxAttribute *attribute = item->attributes.at(k);
        if (attribute->name == DmxNames::delay()
            && attribute->type == CDmxAttribute::ATTRIBUTE_FLOAT) {
            hasDelay = true;
        } else if (attribute->name == DmxNames::child()
                   && attribute->type == CDmxAttribute::ATTRIBUTE_ELEMENT) {
            hasChild = true;
        } else {
            dropAttribute(item, k, dropped);
        }
    }
    if (hasChild && !hasDelay) {
        auto *delay = new CDmxAttribute;
        delay->name = DmxNames::delay();
        if (delay->setValue(CDmxAttribute::ATTRIBUTE_FLOAT, new DmxFloat(0.0f)))
            item->attributes.append(delay);
        else
            delete delay;
    }
    return hasChild;
}

void formatWithin(CDmxElement *element, const CDmxElement *pattern, unsigned depth,
                  QList<CDmxElement *> &dropped)
{
    if (depth >= CDmxElement::MaxHierarchyDepth)
        return;
    for (qsizetype i = element->attributes.size() - 1; i >= 0; --i) {
        CDmxAttribute *attribute = element->attributes.at(i);
        const CDmxAttribute *match = findMatch(pattern, attribute);
        if (!match) {
            dropAttribute(element, i, dropped);
            continue;
        }
        if (CDmxElement *value = attribute->elementValue()) {
            formatWithin(value, match->elementValue(), depth + 1, dropped);
            continue;
        }
        DmxElementArray *items = attribute->elementArray();
        if (!items)
            continue;
        if (attribute->name == DmxNames::children()) {
            for (qsizetype j = items->size() - 1; j >= 0; --j) {
                CDmxElement *item = items->at(j);
                if (item->type != DmxNames::childType()) {
                    dropped.append(item);
                    items->removeAt(j);
                } else if (!formatChild(item, dropped)) {
                    // It stays in the list until the file removes it.
                    dropped.append(item);
                }
            }
            continue;
        }
        const DmxElementArray *patternItems = match->elementArray();
        for (qsizetype j = items->size() - 1; j >= 0; --j) {
            CDmxElement *item = items->at(j);
            const CDmxElement *patternItem = findItem(patternItems, item);
            if (!patternItem) {
                dropped.append(item);
                items->removeAt(j);
            } else {
                formatWithin(item, patternItem, depth + 1, dropped);
            }
        }
    }
    // What the pattern has beyond this element comes over with the pattern's values;
    // elements and element lists never do.
    for (const CDmxAttribute *attribute : pattern->attributes) {
        const int type = attribute->type;
        const bool copied
            = (type >= CDmxAttribute::ATTRIBUTE_INTEGER && type <= CDmxAttribute::ATTRIBUTE_MATRIX)
            || (type >= CDmxAttribute::ATTRIBUTE_INTEGER_ARRAY
                && type <= CDmxAttribute::ATTRIBUTE_MATRIX_ARRAY);
        if (!copied || findMatch(element, attribute))
            continue;
        if (CDmxAttribute *copy = attribute->clone())
            element->attributes.append(copy);
    }
}

} // namespace

QList<CDmxElement *> PCFDelegate::formatElementAsElement(CDmxElement *element, CDmxElement *pattern)
{
    QList<CDmxElement *> dropped;
    if (element && pattern)
        formatWithin(element, pattern, 0, dropped);
    return dropped;
}

const char *PCFDelegate::formatAsVersion(CFilePCF *file, CFilePCF::ParticleFormatVersion_t target,
                                         CDmxElement *systemTemplate)
{
    if (!file)
        return "Formatting Error: No data specified";
    if (!CFilePCF::isWritableVersion(file->version))
        return "Formatting Error: Invalid source version specified";
    if (!CFilePCF::isWritableVersion(target))
        return "Formatting Error: Invalid target version specified";
    if (!systemTemplate)
        return "Formatting Error: Template data for target version does not exist";

    QList<CDmxElement *> dropped;
    if (const DmxElementArray *systems = file->systemDefinitions()) {
        for (CDmxElement *system : *systems)
            dropped += formatElementAsElement(system, systemTemplate);
    }
    const QSet<CDmxElement *> inFile(file->elements.cbegin(), file->elements.cend());
    dropped.removeIf([&inFile](CDmxElement *element) { return !inFile.contains(element); });
    file->removeElements(dropped, true);
    return nullptr;
}
