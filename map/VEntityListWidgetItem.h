#pragma once

#include "map/CEntity.h"

#include <QListWidgetItem>

// One row of the entity lump editor's list: an entity, shown as its classname and
// targetname.
class VEntityListWidgetItem : public QListWidgetItem
{
public:
    explicit VEntityListWidgetItem(const QString &text = QString());
    explicit VEntityListWidgetItem(CEntity entity);

    CEntity &entity() { return data; }
    const CEntity &entity() const { return data; }

    // The list text from the classname and targetname as they stand now.
    void updateText();

private:
    CEntity data;
};
