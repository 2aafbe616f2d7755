#include "packages/VPackageTreeWidgetItem.h"

#include "packages/CPackageHierarchyNode.h"

VPackageTreeWidgetItem::VPackageTreeWidgetItem(CPackageHierarchyNode *node)
    : QTreeWidgetItem(QTreeWidgetItem::UserType)
    , node(node)
{
    if (node)
        setText(0, *node);
}
