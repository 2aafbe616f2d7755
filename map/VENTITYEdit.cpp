// VENTITY, fourth part: the entity list, the key/value table and the naming rules.
#include "map/VENTITY.h"

#include "map/VEntityListWidgetItem.h"

#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>

namespace {

const QString ClassnameKey = QStringLiteral("classname");
const QString InfoNull = QStringLiteral("info_null");

} // namespace

void VENTITY::ensureEntityName(VEntityListWidgetItem *item)
{
    if (!item)
        return;
    // The missing name lands on the current entity, whichever that is, as it always has.
    if (CEntityLump::ensureEntityName(item->entity(),
                                      [this] { keyvalueAdd(ClassnameKey, InfoNull); }))
        setWindowModified(true);
    item->updateText();
}

void VENTITY::ensureValidity()
{
    const QVector<int> removed
        = CEntityLump::ensureValidity(rows(), [this](int row) { ensureEntityName(entityAt(row)); });
    for (qsizetype i = removed.size() - 1; i >= 0; --i)
        delete entityList->takeItem(removed.at(i));
}

void VENTITY::entityListRowChanged(int row)
{
    editedCell = nullptr;
    keyvalueTable->clearContents();
    currentEntity = row < 0 ? nullptr : entityAt(row);
    entityCopyButton->setEnabled(currentEntity);
    entityDeleteButton->setEnabled(currentEntity);
    keyvalueAddButton->setEnabled(currentEntity);
    if (!currentEntity) {
        keyvalueTable->setRowCount(0);
        return;
    }
    fillKeyvalueTable();
}

void VENTITY::fillKeyvalueTable()
{
    const CEntity &entity = currentEntity->entity();
    QSignalBlocker blocker(keyvalueTable);
    keyvalueTable->setRowCount(entity.keyvalueCount());
    for (int i = 0; i < entity.keyvalueCount(); ++i) {
        keyvalueTable->setItem(i, 0, new QTableWidgetItem(entity.keyvalueAt(i).first));
        keyvalueTable->setItem(i, 1, new QTableWidgetItem(entity.keyvalueAt(i).second));
    }
    blocker.unblock();
    keyvalueTableItemSelectionChanged();
}

void VENTITY::insertEntity(VEntityListWidgetItem *item)
{
    const int row = entityList->currentRow();
    entityList->insertItem(row < 0 ? entityList->count() : row + 1, item);
    entityList->setCurrentItem(item, QItemSelectionModel::ClearAndSelect);
    ++shownCount;
    updateFilterCounts();
    setWindowModified(true);
}

void VENTITY::entityAdd()
{
    auto *item = new VEntityListWidgetItem(InfoNull);
    item->entity().addKeyvalue(ClassnameKey, InfoNull);
    insertEntity(item);
}

void VENTITY::entityCopy()
{
    if (!currentEntity)
        return;
    auto *item = new VEntityListWidgetItem(currentEntity->text());
    // Pairs go through setKeyvalue: a repeated key keeps one pair with its last value.
    for (const CEntity::Keyvalue &pair : currentEntity->entity().keyvalues())
        item->entity().setKeyvalue(pair.first, pair.second);
    insertEntity(item);
}

void VENTITY::entityDelete()
{
    const int row = entityList->currentRow();
    if (row < 0)
        return;
    delete entityList->takeItem(row);
    setWindowModified(true);
    --shownCount;
    updateFilterCounts();
}

void VENTITY::keyvalueTableCurrentItemChanged(QTableWidgetItem *, QTableWidgetItem *previous)
{
    if (previous && previous == editedCell)
        editedCell = nullptr;
}

void VENTITY::keyvalueTableItemDoubleClicked(QTableWidgetItem *item)
{
    // The view's double-click trigger opens the editor right after this.
    editedCell = item;
}

void VENTITY::keyvalueTableItemChanged(QTableWidgetItem *item)
{
    if (!item || item->tableWidget() != keyvalueTable || item != editedCell || !currentEntity)
        return;
    editedCell = nullptr;
    const int row = item->row();
    if (row < 0 || row >= currentEntity->entity().keyvalueCount())
        return;
    CEntity::Keyvalue &pair = currentEntity->entity().keyvalueAt(row);
    (item->column() == 0 ? pair.first : pair.second) = item->text();
    ensureEntityName(currentEntity);
    setWindowModified(true);
}

void VENTITY::keyvalueTableItemSelectionChanged()
{
    const bool selected = !keyvalueTable->selectedItems().isEmpty();
    keyvalueCopyButton->setEnabled(selected);
    keyvalueDeleteButton->setEnabled(selected);
}

void VENTITY::insertKeyvalueRow(int row, const QString &key, const QString &value)
{
    const QSignalBlocker blocker(keyvalueTable);
    keyvalueTable->insertRow(row);
    keyvalueTable->setItem(row, 0, new QTableWidgetItem(key));
    keyvalueTable->setItem(row, 1, new QTableWidgetItem(value));
}

void VENTITY::keyvalueAdd()
{
    keyvalueAdd(QStringLiteral("newKey"), QStringLiteral("newValue"));
}

void VENTITY::keyvalueAdd(const QString &key, const QString &value)
{
    if (!currentEntity)
        return;
    const int current = keyvalueTable->currentRow();
    const int row = current < 0 ? keyvalueTable->rowCount() : current + 1;
    insertKeyvalueRow(row, key, value);
    currentEntity->entity().addKeyvalue(key, value, row);
    keyvalueTable->scrollToItem(keyvalueTable->item(row, 0));
    setWindowModified(true);
}

void VENTITY::keyvalueCopy()
{
    const int row = keyvalueTable->currentRow();
    if (!currentEntity || row < 0 || row >= currentEntity->entity().keyvalueCount())
        return;
    const CEntity::Keyvalue pair = currentEntity->entity().keyvalueAt(row);
    insertKeyvalueRow(row + 1, pair.first, pair.second);
    currentEntity->entity().addKeyvalue(pair.first, pair.second, row + 1);
    setWindowModified(true);
}

void VENTITY::keyvalueDelete()
{
    const int row = keyvalueTable->currentRow();
    if (!currentEntity || row < 0 || row >= currentEntity->entity().keyvalueCount())
        return;
    currentEntity->entity().removeKeyvalueAt(row);
    keyvalueTable->removeRow(row);
    ensureEntityName(currentEntity);
    setWindowModified(true);
}
