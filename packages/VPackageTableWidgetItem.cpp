#include "packages/VPackageTableWidgetItem.h"

VPackageTableWidgetItem::VPackageTableWidgetItem(const QString &text,
                                                 VPackageTreeWidgetItem *treeItem)
    : QTableWidgetItem(text, QTableWidgetItem::UserType)
    , treeItem(treeItem)
{ }
