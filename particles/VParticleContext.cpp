// VParticle: the context menu of a tree row and its commands.
#include "particles/CDmxElement.h"
#include "particles/DmxNames.h"
#include "particles/VParticle.h"
#include "particles/VParticleAddAttributeDialog.h"
#include "particles/VParticleTreeWidgetItem.h"
#include "util/QListDialog.h"

#include <QInputDialog>
#include <QMenu>
#include <QSet>
#include <QSignalBlocker>
#include <QTreeWidget>

#include <limits>

namespace {

const QStringList &operatorLists()
{
    static const QStringList lists {
        QStringLiteral("renderers"), QStringLiteral("operators"), QStringLiteral("initializers"),
        QStringLiteral("emitters"),  QStringLiteral("forces"),    QStringLiteral("constraints")
    };
    return lists;
}

bool isSimpleValue(int type)
{
    return type >= CDmxAttribute::ATTRIBUTE_INTEGER && type <= CDmxAttribute::ATTRIBUTE_MATRIX;
}

bool isValueArray(int type)
{
    return type >= CDmxAttribute::ATTRIBUTE_INTEGER_ARRAY
        && type <= CDmxAttribute::ATTRIBUTE_MATRIX_ARRAY;
}

// The rows among these that no other row among them holds.
QList<QTreeWidgetItem *> outermost(const QList<VParticleTreeWidgetItem *> &rows)
{
    const QSet<QTreeWidgetItem *> set(rows.cbegin(), rows.cend());
    QList<QTreeWidgetItem *> out;
    for (QTreeWidgetItem *row : rows) {
        bool inside = false;
        for (QTreeWidgetItem *up = row->parent(); up && !inside; up = up->parent())
            inside = set.contains(up);
        if (!inside)
            out.append(row);
    }
    return out;
}

} // namespace

void VParticle::showContextMenu(const QPoint &position)
{
    currentRow = static_cast<VParticleTreeWidgetItem *>(tree->itemAt(position));
    if (!currentRow || !file)
        return;
    const CDmxAttribute *attribute = currentRow->getAttribute();
    const bool item = currentRow->isArrayItem();
    const bool systemList = !item && currentRow->getElement() == file->root()
        && file->root()->attributes.value(0) == attribute;

    QMenu menu(this);
    menu.setObjectName(QStringLiteral("particleContextMenu"));
    auto add = [&menu, this](const QString &text, void (VParticle::*slot)(), bool enabled) {
        QAction *action = menu.addAction(text, this, slot);
        action->setEnabled(enabled);
    };
    add(QStringLiteral("Add Attribute"), &VParticle::contextAddAttribute, canAddTo(currentRow));
    // The list of systems must stay first in the root, or the file would not read back.
    add(QStringLiteral("Delete"), &VParticle::contextDelete, !systemList);
    add(QStringLiteral("Rename Attribute"), &VParticle::contextRenameAttribute,
        currentRow->shownElement()
            || (!item && attribute->type != CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY && !systemList));
    add(QStringLiteral("To Array"), &VParticle::contextToArray,
        !item && isSimpleValue(attribute->type));
    add(QStringLiteral("From Array"), &VParticle::contextFromArray,
        !item && isValueArray(attribute->type));
    add(QStringLiteral("Scramble GUID"), &VParticle::contextScrambleGUID,
        currentRow->shownElement() != nullptr);
    menu.exec(tree->viewport()->mapToGlobal(position));
}

bool VParticle::canAddTo(const VParticleTreeWidgetItem *row) const
{
    const CDmxAttribute *attribute = row->getAttribute();
    if (!row->isArrayItem() && attribute->elementArray()) {
        return attribute->name == DmxNames::systemDefinitions()
            || attribute->name == DmxNames::children() || operatorLists().contains(attribute->name);
    }
    return row->shownElement() || (!row->isArrayItem() && attribute->valueArray());
}

void VParticle::contextAddAttribute()
{
    VParticleTreeWidgetItem *row = currentRow;
    if (!row || !file || !canAddTo(row))
        return;
    const CDmxAttribute *attribute = row->getAttribute();
    const bool list = !row->isArrayItem() && attribute->elementArray();
    if (list && attribute->name == DmxNames::systemDefinitions())
        addSystem(row);
    else if (list && operatorLists().contains(attribute->name))
        addOperator(row);
    else if (list && attribute->name == DmxNames::children())
        addChild(row, row->getElement());
    else if (CDmxElement *element = row->shownElement())
        addGenericAttribute(row, element);
    else
        addArrayItem(row);
}

void VParticle::appendToFile(CDmxElement *element, DmxElementArray *array,
                             VParticleTreeWidgetItem *row)
{
    array->append(element);
    QSet<CDmxElement *> present(file->elements.cbegin(), file->elements.cend());
    QList<CDmxElement *> joining { element };
    const QList<CDmxElement::Pair_t *> parts = element->listSubElements(CDmxElement::Unlimited, 0);
    for (const CDmxElement::Pair_t *pair : parts)
        joining.append(pair->second);
    qDeleteAll(parts);
    for (CDmxElement *part : std::as_const(joining)) {
        if (!present.contains(part)) {
            present.insert(part);
            file->elements.append(part);
        }
    }
    const QSignalBlocker blocker(tree);
    expanding.clear();
    rowsLeft = std::numeric_limits<qsizetype>::max();
    if (VParticleTreeWidgetItem *added
        = addArrayItemRow(row, row->getAttribute(), array->size() - 1))
        tree->setCurrentItem(added);
    row->updateTexts();
    row->setExpanded(true);
    setWindowModified(true);
}

void VParticle::addSystem(VParticleTreeWidgetItem *row)
{
    bool ok = false;
    const QString name
        = QInputDialog::getText(this, QStringLiteral("Add Particle System"),
                                QStringLiteral("System Name:"), QLineEdit::Normal, QString(), &ok)
              .trimmed();
    if (!ok || name.isEmpty())
        return;
    for (const CDmxElement *system : file->findElementsByType(DmxNames::systemType())) {
        if (system->name == name) {
            warn(QStringLiteral("A particle system named \"%1\" already exists.").arg(name));
            return;
        }
    }
    const CDmxElement *empty = templateSystem(file->version, QStringLiteral("empty"));
    if (!empty) {
        warn(QStringLiteral("Formatting Error: Template data for target version does not exist"));
        return;
    }
    CDmxElement *system = empty->clone();
    if (!system)
        return;
    system->name = name;
    system->scrambleGUIDHierarchy(true);
    appendToFile(system, row->getAttribute()->elementArray(), row);
}

void VParticle::addOperator(VParticleTreeWidgetItem *row)
{
    // The choice is what the same list of the template's "default" system holds; a version
    // without a template offers nothing.
    QList<const CDmxElement *> offered;
    QStringList names;
    if (const CDmxElement *defaults = templateSystem(file->version, QStringLiteral("default"))) {
        if (const CDmxAttribute *list = defaults->getAttributeByName(row->getAttribute()->name)) {
            if (const DmxElementArray *items = list->elementArray()) {
                for (const CDmxElement *item : *items) {
                    offered.append(item);
                    names.append(item->name);
                }
            }
        }
    }
    const int chosen = QListDialog::getItem(this, QStringLiteral("Add Element"), names, 0);
    if (chosen < 0 || chosen >= offered.size())
        return;
    CDmxElement *element = offered.at(chosen)->clone();
    if (!element)
        return;
    element->scrambleGUIDHierarchy(true);
    appendToFile(element, row->getAttribute()->elementArray(), row);
}

void VParticle::addChild(VParticleTreeWidgetItem *row, CDmxElement *parentSystem)
{
    // A system that would become its own child, directly or down the first-child chain,
    // is not offered.
    QList<CDmxElement *> offered;
    QStringList names;
    for (CDmxElement *system : file->findElementsByType(DmxNames::systemType())) {
        if (system == parentSystem || system->isElementInChildHierarchy(parentSystem))
            continue;
        offered.append(system);
        names.append(system->name);
    }
    const int chosen = QListDialog::getItem(this, QStringLiteral("Add Child"), names, 0);
    if (chosen < 0 || chosen >= offered.size())
        return;
    CDmxElement *target = offered.at(chosen);
    auto *child = new CDmxElement;
    child->type = DmxNames::childType();
    child->name = target->name;
    child->guid = QUuid::createUuid();
    auto *delay = new CDmxAttribute;
    delay->name = DmxNames::delay();
    delay->emplaceValue<DmxFloat>(CDmxAttribute::ATTRIBUTE_FLOAT, 0.0f);
    child->attributes.append(delay);
    auto *link = new CDmxAttribute;
    link->name = DmxNames::child();
    link->ownsValue = false;
    if (!link->setValue(CDmxAttribute::ATTRIBUTE_ELEMENT, target)) {
        delete link;
        delete child;
        return;
    }
    child->attributes.append(link);
    appendToFile(child, row->getAttribute()->elementArray(), row);
}

void VParticle::addGenericAttribute(VParticleTreeWidgetItem *row, CDmxElement *owner)
{
    VParticleAddAttributeDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    CDmxAttribute *attribute = dialog.getNewAttribute();
    if (!attribute)
        return;
    // A new element joins the file, so that the file still saves.
    if (CDmxElement *element = attribute->elementValue()) {
        element->guid = QUuid::createUuid();
        file->elements.append(element);
    }
    owner->attributes.append(attribute);
    const QSignalBlocker blocker(tree);
    expanding.clear();
    rowsLeft = std::numeric_limits<qsizetype>::max();
    addAttributeToTreeItem(nullptr, row, attribute, owner, attribute->ownsValue);
    row->setExpanded(true);
    setWindowModified(true);
}

void VParticle::addArrayItem(VParticleTreeWidgetItem *row)
{
    CDmxAttribute *attribute = row->getAttribute();
    DmxValueArray *items = attribute->valueArray();
    if (!items)
        return;
    const auto itemType
        = CDmxAttribute::ParticleAttributeType_t(attribute->type - CDmxAttribute::ArrayOffset);
    void *item = CFilePCF::defaultDataForAttributeType(itemType);
    if (!item)
        return;
    items->append(item);
    const QSignalBlocker blocker(tree);
    addArrayItemRow(row, attribute, items->size() - 1);
    row->updateTexts();
    row->setExpanded(true);
    setWindowModified(true);
}

void VParticle::contextRenameAttribute()
{
    VParticleTreeWidgetItem *row = currentRow;
    if (!row || !file)
        return;
    CDmxAttribute *attribute = row->getAttribute();
    bool ok = false;
    if (CDmxElement *element = row->shownElement()) {
        const QString name = QInputDialog::getText(this, QStringLiteral("Rename Element"),
                                                   QStringLiteral("Attribute Name:"),
                                                   QLineEdit::Normal, element->name, &ok)
                                 .trimmed();
        if (!ok || name.isEmpty())
            return;
        for (const CDmxElement *system : file->findElementsByType(DmxNames::systemType())) {
            if (system != element && system->name == name) {
                warn(QStringLiteral("A particle system named \"%1\" already exists.").arg(name));
                return;
            }
        }
        element->name = name;
        const QSignalBlocker blocker(tree);
        for (VParticleTreeWidgetItem *shown : rowsShowing(element))
            shown->updateTexts();
        setWindowModified(true);
        return;
    }
    if (row->isArrayItem() || attribute->type == CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY)
        return;
    const QString name = QInputDialog::getText(this, QStringLiteral("Rename Attribute"),
                                               QStringLiteral("Attribute Name:"), QLineEdit::Normal,
                                               attribute->name, &ok)
                             .trimmed();
    if (!ok || name.isEmpty() || name == attribute->name)
        return;
    const QTreeWidgetItem *parentItem = row->parent();
    const int siblings = parentItem ? parentItem->childCount() : tree->topLevelItemCount();
    for (int i = 0; i < siblings; ++i) {
        const QTreeWidgetItem *sibling = parentItem ? parentItem->child(i) : tree->topLevelItem(i);
        if (sibling != row && sibling->text(0) == name) {
            warn(QStringLiteral("An attribute named \"%1\" already exists here.").arg(name));
            return;
        }
    }
    attribute->name = name;
    const QSignalBlocker blocker(tree);
    for (VParticleTreeWidgetItem *shown : rowsOf(attribute))
        shown->updateTexts();
    setWindowModified(true);
}

void VParticle::contextToArray()
{
    VParticleTreeWidgetItem *row = currentRow;
    if (!row || row->isArrayItem() || !isSimpleValue(row->getAttribute()->type))
        return;
    CDmxAttribute *attribute = row->getAttribute();
    void *item = attribute->cloneSimpleValueAsType(attribute->value, attribute->type);
    if (!item)
        return;
    const auto arrayType
        = CDmxAttribute::ParticleAttributeType_t(attribute->type + CDmxAttribute::ArrayOffset);
    if (!attribute->setValue(arrayType, new DmxValueArray { item }))
        return;
    const QSignalBlocker blocker(tree);
    row->setFlags(row->flags() & ~Qt::ItemIsEditable);
    row->updateTexts();
    addArrayItemRow(row, attribute, 0);
    row->setExpanded(true);
    setWindowModified(true);
}

void VParticle::contextFromArray()
{
    VParticleTreeWidgetItem *row = currentRow;
    if (!row || row->isArrayItem() || !isValueArray(row->getAttribute()->type))
        return;
    CDmxAttribute *attribute = row->getAttribute();
    const auto itemType
        = CDmxAttribute::ParticleAttributeType_t(attribute->type - CDmxAttribute::ArrayOffset);
    const DmxValueArray &items = *attribute->valueArray();
    void *chosen = nullptr;
    if (items.isEmpty()) {
        chosen = CFilePCF::defaultDataForAttributeType(itemType);
    } else {
        QStringList texts;
        for (qsizetype i = 0; i < items.size(); ++i) {
            std::unique_ptr<CDmxAttribute> view(wrapData(itemType, items.at(i), QString()));
            texts << QStringLiteral("[%1] %2").arg(i).arg(view ? view->getValueAsString()
                                                               : QString());
        }
        const int index = QListDialog::getItem(this, QStringLiteral("Select Attribute"), texts, 0);
        if (index < 0 || index >= items.size())
            return;
        chosen = attribute->cloneSimpleValueAsType(items.at(index), itemType);
    }
    if (!chosen)
        return;
    const QSignalBlocker blocker(tree);
    // The item rows show the values that are about to go.
    qDeleteAll(row->takeChildren());
    if (!attribute->setValue(itemType, chosen))
        return;
    row->setFlags(row->flags() | Qt::ItemIsEditable);
    row->updateTexts();
    setWindowModified(true);
}

void VParticle::contextScrambleGUID()
{
    VParticleTreeWidgetItem *row = currentRow;
    CDmxElement *element = row ? row->shownElement() : nullptr;
    if (!element)
        return;
    element->guid = QUuid::createUuid();
    const QSignalBlocker blocker(tree);
    for (VParticleTreeWidgetItem *shown : rowsShowing(element))
        shown->setText(2, element->type + QLatin1Char(' ') + element->guid.toString());
    setWindowModified(true);
}

void VParticle::contextDelete()
{
    VParticleTreeWidgetItem *row = currentRow;
    if (!row || !file)
        return;
    currentRow = nullptr;
    if (row->isArrayItem()) {
        if (row->shownElement())
            deleteElementItem(row);
        else
            deleteValueItem(row);
        return;
    }
    CDmxElement *owner = row->getElement();
    CDmxAttribute *attribute = row->getAttribute();
    if (!owner || !owner->attributes.contains(attribute)) {
        warn(QStringLiteral("Attribute removal did not find attribute in parent list."));
        return;
    }
    QList<CDmxElement *> held;
    if (attribute->ownsValue) {
        if (CDmxElement *element = attribute->elementValue())
            held.append(element);
        else if (const DmxElementArray *items = attribute->elementArray())
            held = *items;
    }
    {
        const QSignalBlocker blocker(tree);
        for (VParticleTreeWidgetItem *shown : rowsOf(attribute))
            delete shown;
    }
    file->removeAttribute(owner, attribute);
    for (const CDmxElement *element : std::as_const(held))
        removeRowsShowing(element);
    setWindowModified(true);
}

void VParticle::deleteElementItem(VParticleTreeWidgetItem *row)
{
    CDmxElement *element = row->shownElement();
    const QString &type = element->type;
    if (type != DmxNames::systemType() && type != DmxNames::operatorType()
        && type != DmxNames::childType()) {
        warn(QStringLiteral("No deletion rules for generic element!"));
        return;
    }
    file->removeElement(element, true);
    removeRowsShowing(element);
    setWindowModified(true);
}

void VParticle::deleteValueItem(VParticleTreeWidgetItem *row)
{
    VParticleTreeWidgetItem *arrayRow = row->parentRow();
    CDmxAttribute *array = arrayRow ? arrayRow->getAttribute() : nullptr;
    DmxValueArray *items = array ? array->valueArray() : nullptr;
    const int index = arrayRow ? arrayRow->indexOfChild(row) : -1;
    if (!items || index < 0 || index >= items->size())
        return;
    const auto itemType
        = CDmxAttribute::ParticleAttributeType_t(array->type - CDmxAttribute::ArrayOffset);
    {
        const QSignalBlocker blocker(tree);
        delete row;
    }
    CDmxAttribute::deleteValue(itemType, items->takeAt(index));
    renumberItems(arrayRow);
    setWindowModified(true);
}

void VParticle::removeRowsShowing(const CDmxElement *element)
{
    const QList<QTreeWidgetItem *> rows = outermost(rowsShowing(element));
    QSet<QTreeWidgetItem *> lists;
    {
        const QSignalBlocker blocker(tree);
        for (QTreeWidgetItem *row : rows) {
            QTreeWidgetItem *up = row->parent();
            if (static_cast<VParticleTreeWidgetItem *>(row)->isArrayItem() && up)
                lists.insert(up);
            delete row;
        }
    }
    for (QTreeWidgetItem *list : std::as_const(lists))
        renumberItems(list);
}
