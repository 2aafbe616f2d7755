// Keeping GUIDs apart across elements and files.
#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/DMXDelegate.h"

#include <QHash>

void DMXDelegate::ensureUniqueGUID(QList<CPair<CDmxElement *, bool> *> &elements)
{
    // Of the elements that share a GUID the first in the list keeps it; the others, and
    // every element with a null GUID, get new ones. New GUIDs are random and clash with
    // nothing, so one pass in order settles what restarting after every change would.
    QHash<QUuid, const CDmxElement *> holders;
    holders.reserve(elements.size());
    for (CPair<CDmxElement *, bool> *pair : elements) {
        CDmxElement *element = pair->first;
        if (!element)
            continue;
        const auto holder = holders.constFind(element->guid);
        if (element->guid.isNull() || (holder != holders.cend() && holder.value() != element)) {
            element->guid = QUuid::createUuid();
            pair->second = true;
        }
        holders.insert(element->guid, element);
    }
}

void DMXDelegate::ensureUniqueGUID(const QList<CPair<CFilePCF *, bool> *> &files)
{
    QList<CPair<CDmxElement *, bool> *> pairs;
    QList<qsizetype> owners;
    for (qsizetype f = 0; f < files.size(); ++f) {
        const CFilePCF *file = files.at(f)->first;
        if (!file)
            continue;
        for (CDmxElement *element : file->elements) {
            pairs.append(new CPair<CDmxElement *, bool> { element, false });
            owners.append(f);
        }
    }
    ensureUniqueGUID(pairs);
    for (qsizetype i = 0; i < pairs.size(); ++i) {
        if (pairs.at(i)->second)
            files.at(owners.at(i))->second = true;
    }
    qDeleteAll(pairs);
}
