#pragma once

#include <QTreeWidgetItem>

class CPackageHierarchyNode;

// A tree row of the Package Viewer: the node it shows, and whether its icon
// has been looked up yet (icons are fetched lazily, on expansion).
class VPackageTreeWidgetItem : public QTreeWidgetItem
{
public:
    explicit VPackageTreeWidgetItem(CPackageHierarchyNode *node);

    CPackageHierarchyNode *node = nullptr;
    bool iconSet = false;
};
