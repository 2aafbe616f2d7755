#pragma once

#include <QTableWidgetItem>

class CPackageHierarchyNode;

// The name cell of a row of the scan table: whether the row is marked to be added, the
// package's entry of the same path if there is one, and the content directory it is looked
// for in. It colours the whole row by these.
class VScanTableWidgetItem : public QTableWidgetItem
{
public:
    VScanTableWidgetItem(const QString &text, const CPackageHierarchyNode *node,
                         const QString *contentDirectory);

    // The row's file exists below the content directory.
    bool doesExist() const;
    bool doesExist(const QString &directory) const;
    void update();

    bool add = false;
    const CPackageHierarchyNode *getNode() const { return node; }

private:
    const CPackageHierarchyNode *node;
    const QString *contentDirectory;
};
