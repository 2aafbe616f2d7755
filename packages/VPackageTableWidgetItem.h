#pragma once

#include <QTableWidgetItem>

class VPackageTreeWidgetItem;

// A cell of the Package Viewer's table. The name column carries the tree item
// of its row; the size column leaves it null.
class VPackageTableWidgetItem : public QTableWidgetItem
{
public:
    explicit VPackageTableWidgetItem(const QString &text,
                                     VPackageTreeWidgetItem *treeItem = nullptr);

    VPackageTreeWidgetItem *treeItem = nullptr;
};
