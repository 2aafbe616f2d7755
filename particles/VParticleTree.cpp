// VParticle: the rows of the tree and the editing of values in place.
#include "particles/CDmxElement.h"
#include "particles/VParticle.h"
#include "particles/VParticleTreeWidgetItem.h"

#include <QSignalBlocker>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

namespace {

// A hostile file may share one element from many places, level after level; the tree shows
// at most this many rows and leaves further elements closed.
constexpr qsizetype MaxRows = 1000000;

bool isEditableValue(const CDmxAttribute *attribute)
{
    return attribute->type >= CDmxAttribute::ATTRIBUTE_INTEGER
        && attribute->type <= CDmxAttribute::ATTRIBUTE_MATRIX;
}

} // namespace

void VParticle::setTreeContents(CFilePCF &pcf)
{
    const QSignalBlocker blocker(tree);
    tree->clear();
    currentRow = nullptr;
    CDmxElement *root = pcf.root();
    if (!root)
        return;
    expanding.clear();
    rowsLeft = MaxRows;
    expanding.append(root);
    for (CDmxAttribute *attribute : std::as_const(root->attributes))
        addAttributeToTreeItem(tree, nullptr, attribute, root, attribute->ownsValue);
    expanding.clear();
    // The systems are what one looks for first.
    tree->expandToDepth(0);
}

void VParticle::replotTree()
{
    if (file)
        setTreeContents(*file);
}

void VParticle::addAttributeToTreeItem(QTreeWidget *target, QTreeWidgetItem *parentItem,
                                       CDmxAttribute *attribute, CDmxElement *element,
                                       bool addChildren)
{
    auto *row = parentItem ? new VParticleTreeWidgetItem(parentItem, attribute, element)
                           : new VParticleTreeWidgetItem(target, attribute, element);
    --rowsLeft;
    if (isEditableValue(attribute))
        row->setFlags(row->flags() | Qt::ItemIsEditable);
    if (CDmxElement *value = attribute->elementValue()) {
        if (addChildren)
            addElementRows(row, value);
    } else if (CDmxAttribute::isArrayType(attribute->type)) {
        addArrayAttributeToTreeItem(row, attribute);
    }
}

void VParticle::addElementRows(QTreeWidgetItem *row, CDmxElement *element)
{
    if (expanding.contains(element) || rowsLeft <= 0)
        return;
    expanding.append(element);
    for (CDmxAttribute *attribute : std::as_const(element->attributes))
        addAttributeToTreeItem(nullptr, row, attribute, element, attribute->ownsValue);
    expanding.removeLast();
}

void VParticle::addArrayAttributeToTreeItem(QTreeWidgetItem *arrayItem, CDmxAttribute *attribute)
{
    qsizetype count = 0;
    if (const DmxElementArray *items = attribute->elementArray())
        count = items->size();
    else if (const DmxValueArray *items = attribute->valueArray())
        count = items->size();
    for (qsizetype i = 0; i < count && rowsLeft > 0; ++i)
        addArrayItemRow(arrayItem, attribute, i);
}

VParticleTreeWidgetItem *VParticle::addArrayItemRow(QTreeWidgetItem *arrayItem,
                                                    CDmxAttribute *array, qsizetype index)
{
    const auto itemType
        = CDmxAttribute::ParticleAttributeType_t(array->type - CDmxAttribute::ArrayOffset);
    const void *value = array->elementArray()
        ? static_cast<const void *>(array->elementArray()->at(index))
        : array->valueArray()->at(index);
    CDmxAttribute *wrapper = wrapData(itemType, value, QStringLiteral("[%1]").arg(index));
    if (!wrapper)
        return nullptr;
    auto *row = new VParticleTreeWidgetItem(arrayItem, wrapper, nullptr);
    --rowsLeft;
    if (isEditableValue(wrapper))
        row->setFlags(row->flags() | Qt::ItemIsEditable);
    if (CDmxElement *element = wrapper->elementValue(); element && array->ownsValue)
        addElementRows(row, element);
    return row;
}

QList<VParticleTreeWidgetItem *> VParticle::rowsShowing(const CDmxElement *element) const
{
    QList<VParticleTreeWidgetItem *> rows;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        auto *row = static_cast<VParticleTreeWidgetItem *>(*it);
        if (row->shownElement() == element)
            rows.append(row);
    }
    return rows;
}

QList<VParticleTreeWidgetItem *> VParticle::rowsOf(const CDmxAttribute *attribute) const
{
    QList<VParticleTreeWidgetItem *> rows;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        auto *row = static_cast<VParticleTreeWidgetItem *>(*it);
        if (row->getAttribute() == attribute)
            rows.append(row);
    }
    return rows;
}

void VParticle::renumberItems(QTreeWidgetItem *arrayItem)
{
    const QSignalBlocker blocker(tree);
    for (int i = 0; i < arrayItem->childCount(); ++i) {
        auto *row = static_cast<VParticleTreeWidgetItem *>(arrayItem->child(i));
        row->getAttribute()->name = QStringLiteral("[%1]").arg(i);
        row->updateTexts();
    }
    static_cast<VParticleTreeWidgetItem *>(arrayItem)->updateTexts();
}

void VParticle::startValueEdit(QTreeWidgetItem *item, int column)
{
    auto *row = static_cast<VParticleTreeWidgetItem *>(item);
    if (column == 2 && isEditableValue(row->getAttribute()))
        tree->editItem(item, 2);
}

void VParticle::valueEdited(QTreeWidgetItem *item, int column)
{
    if (column != 2)
        return;
    auto *row = static_cast<VParticleTreeWidgetItem *>(item);
    CDmxAttribute *attribute = row->getAttribute();
    const QString text = item->text(2);
    if (text == attribute->getValueAsString())
        return;
    const char *error = attribute->setValueFromString(text);
    {
        const QSignalBlocker blocker(tree);
        row->updateTexts();
    }
    if (error) {
        warn(QString::fromLatin1(error));
        return;
    }
    setWindowModified(true);
}
