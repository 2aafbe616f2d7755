#pragma once

#include <QTableWidgetItem>

class CPackageHierarchyNode;

// The name cell of a row of the pakfile table. It holds the row's package entry and colours
// the whole row by the entry's state.
class VPakfileTableWidgetItem : public QTableWidgetItem
{
public:
    VPakfileTableWidgetItem(const QString &text, CPackageHierarchyNode *node);

    CPackageHierarchyNode *getNode() const { return node; }
    void setNode(CPackageHierarchyNode *value) { node = value; }
    // Gives every cell of the row the background of the entry's state.
    void update();

private:
    CPackageHierarchyNode *node;
};
