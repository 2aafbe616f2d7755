#pragma once

#include <QTreeWidgetItem>

class CDmxAttribute;
class CDmxElement;
class QTreeWidget;

// A row of the particle tree: the attribute it shows and the element that the attribute
// belongs to. Rows of array items show a wrapper attribute named "[index]", made for the row,
// which does not own the item and which the row frees; their element is null.
class VParticleTreeWidgetItem : public QTreeWidgetItem
{
public:
    enum { Type = QTreeWidgetItem::UserType + 1 };

    VParticleTreeWidgetItem(QTreeWidget *tree, CDmxAttribute *attribute, CDmxElement *element);
    VParticleTreeWidgetItem(QTreeWidgetItem *parent, CDmxAttribute *attribute,
                            CDmxElement *element);
    ~VParticleTreeWidgetItem() override;

    CDmxAttribute *getAttribute() const { return attribute; }
    CDmxElement *getElement() const { return element; }
    // An array item's row: the wrapper is the row's own.
    [[nodiscard]] bool isArrayItem() const { return !element; }
    // The element this row shows: an ELEMENT value, or an element item of a list.
    CDmxElement *shownElement() const;
    // The row of the attribute one level up, or null for the top level.
    VParticleTreeWidgetItem *parentRow() const;

    // Column texts from the attribute: name, type and value.
    void updateTexts();

private:
    CDmxAttribute *attribute;
    CDmxElement *element;
};
