#include "map/VEntityListWidgetItem.h"

VEntityListWidgetItem::VEntityListWidgetItem(const QString &text)
    : QListWidgetItem(text, nullptr, QListWidgetItem::UserType)
{ }

VEntityListWidgetItem::VEntityListWidgetItem(CEntity entity)
    : QListWidgetItem(QString(), nullptr, QListWidgetItem::UserType)
    , data(std::move(entity))
{
    updateText();
}

void VEntityListWidgetItem::updateText()
{
    setText(data.displayText());
}
