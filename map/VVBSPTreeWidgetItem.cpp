#include "map/VVBSPTreeWidgetItem.h"

VVBSPTreeWidgetItem::VVBSPTreeWidgetItem(CFileVBSP::detailtype *type)
    : detailtype(type)
{
    setup(type->name);
}

VVBSPTreeWidgetItem::VVBSPTreeWidgetItem(CFileVBSP::detailgroup *group)
    : detailgroup(group)
{
    setup(group->name);
}

VVBSPTreeWidgetItem::VVBSPTreeWidgetItem(CFileVBSP::detailprop *prop)
    : detailprop(prop)
{
    setup(prop->name);
}

void VVBSPTreeWidgetItem::setup(const std::string &name)
{
    setText(0, QString::fromStdString(name));
    setFlags(flags() | Qt::ItemIsEditable);
}

std::string VVBSPTreeWidgetItem::objectName() const
{
    if (detailtype)
        return detailtype->name;
    if (detailgroup)
        return detailgroup->name;
    return detailprop ? detailprop->name : std::string();
}

void VVBSPTreeWidgetItem::setObjectName(const std::string &name)
{
    if (detailtype)
        detailtype->name = name;
    else if (detailgroup)
        detailgroup->name = name;
    else if (detailprop)
        detailprop->name = name;
}
