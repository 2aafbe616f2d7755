#include "particles/VParticleTreeWidgetItem.h"

#include "particles/CDmxAttribute.h"
#include "particles/CDmxElement.h"

VParticleTreeWidgetItem::VParticleTreeWidgetItem(QTreeWidget *tree, CDmxAttribute *attribute,
                                                 CDmxElement *element)
    : QTreeWidgetItem(tree, Type)
    , attribute(attribute)
    , element(element)
{
    updateTexts();
}

VParticleTreeWidgetItem::VParticleTreeWidgetItem(QTreeWidgetItem *parent, CDmxAttribute *attribute,
                                                 CDmxElement *element)
    : QTreeWidgetItem(parent, Type)
    , attribute(attribute)
    , element(element)
{
    updateTexts();
}

VParticleTreeWidgetItem::~VParticleTreeWidgetItem()
{
    if (isArrayItem())
        delete attribute;
}

CDmxElement *VParticleTreeWidgetItem::shownElement() const
{
    return attribute->elementValue();
}

VParticleTreeWidgetItem *VParticleTreeWidgetItem::parentRow() const
{
    QTreeWidgetItem *up = parent();
    return up && up->type() == Type ? static_cast<VParticleTreeWidgetItem *>(up) : nullptr;
}

void VParticleTreeWidgetItem::updateTexts()
{
    setText(0, attribute->name);
    setText(1, CDmxAttribute::attributeTypeToAttributeName(attribute->type));
    setText(2, attribute->getValueAsString());
}
