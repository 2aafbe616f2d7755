#pragma once

#include "map/CFileVBSP.h"

#include <QTreeWidgetItem>

// One node of the detail tree; exactly one of the three pointers is set.
class VVBSPTreeWidgetItem : public QTreeWidgetItem
{
public:
    explicit VVBSPTreeWidgetItem(CFileVBSP::detailtype *type);
    explicit VVBSPTreeWidgetItem(CFileVBSP::detailgroup *group);
    explicit VVBSPTreeWidgetItem(CFileVBSP::detailprop *prop);

    CFileVBSP::detailtype *detailtype = nullptr;
    CFileVBSP::detailgroup *detailgroup = nullptr;
    CFileVBSP::detailprop *detailprop = nullptr;

    // The name of the object it stands for.
    std::string objectName() const;
    void setObjectName(const std::string &name);

private:
    void setup(const std::string &name);
};
