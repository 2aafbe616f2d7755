// VFGD, second half: the tables, their rows, their add buttons, and edits of their cells.
#include "gamedata/VFGD.h"

#include "gamedata/Parse.h"
#include "gamedata/VFGDTableWidget.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QMenu>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabWidget>

namespace {

QTableWidgetItem *makeItem(const QByteArray &text, bool editable = true)
{
    auto *item = new QTableWidgetItem(QString::fromLatin1(text));
    if (!editable)
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

QString colorText(QRgb color)
{
    return QStringLiteral("%1 %2 %3").arg(qRed(color)).arg(qGreen(color)).arg(qBlue(color));
}

QTableWidgetItem *makeColorItem(QRgb color)
{
    auto *item = new QTableWidgetItem(colorText(color));
    item->setData(Qt::DecorationRole, QColor::fromRgb(color));
    return item;
}

void showColor(QTableWidgetItem *item, QRgb color)
{
    const QSignalBlocker blocker(item->tableWidget());
    item->setText(colorText(color));
    item->setData(Qt::DecorationRole, QColor::fromRgb(color));
}

template<typename List> bool inRange(const List &list, int row)
{
    return row >= 0 && size_t(row) < list.size();
}

} // namespace

void VFGD::clearTable(QTableWidget *table)
{
    const QSignalBlocker blocker(table);
    table->clearContents();
    table->setRowCount(0);
}

void VFGD::placeAddButton(QTableWidget *table, void (VFGD::*slot)())
{
    const int row = table->rowCount() - 1;
    auto *button = new QPushButton(QIcon(QStringLiteral(":/resources/icons/add.png")), QString());
    button->setObjectName(QStringLiteral("add"));
    button->setFlat(true);
    button->setToolTip(QStringLiteral("Add"));
    connect(button, &QPushButton::clicked, this, slot);
    const QSignalBlocker blocker(table);
    // Inert cells, so that the add row can't take the focus or an edit.
    for (int column = 0; column < table->columnCount(); ++column) {
        auto *blank = new QTableWidgetItem;
        blank->setFlags(Qt::NoItemFlags);
        table->setItem(row, column, blank);
    }
    table->setCellWidget(row, 0, button);
}

void VFGD::makeEntityAddButton()
{
    placeAddButton(entityTable, &VFGD::fgdAddEntity);
}

void VFGD::makeKeyvalueAddButton()
{
    placeAddButton(keyvalueTable, &VFGD::fgdAddKeyvalue);
}

void VFGD::makeInputAddButton()
{
    placeAddButton(inputTable, &VFGD::fgdAddInput);
}

void VFGD::makeOutputAddButton()
{
    placeAddButton(outputTable, &VFGD::fgdAddOutput);
}

void VFGD::makeChoicesAddButton()
{
    placeAddButton(choicesTable, &VFGD::fgdAddChoices);
}

void VFGD::makeLineAddButton()
{
    placeAddButton(lineTable, &VFGD::fgdAddLine);
}

void VFGD::makeCylinderAddButton()
{
    placeAddButton(cylinderTable, &VFGD::fgdAddCylinder);
}

void VFGD::makeEntityTableItems(int row, const CFileFGD::Entity_t &entity)
{
    const QSignalBlocker blocker(entityTable);
    entityTable->setItem(row, 0, makeItem(entity.name));
    entityTable->setItem(row, 1, makeItem(FGD::getClassName(entity.type).toLatin1(), false));
}

void VFGD::makeKeyvalueTableItems(int row, const CFileFGD::Keyvalue_t &keyvalue)
{
    const QSignalBlocker blocker(keyvalueTable);
    keyvalueTable->setItem(row, 0, makeItem(keyvalue.name));
    keyvalueTable->setItem(row, 1,
                           makeItem(FGD::getParameterName(keyvalue.type).toLatin1(), false));
    keyvalueTable->setItem(row, 2, makeItem(keyvalue.displayName));
    keyvalueTable->setItem(row, 3, makeItem(keyvalue.defaultValue));
    keyvalueTable->setItem(row, 4, makeItem(keyvalue.description));
    updateKeyvalueIcon(keyvalueTable->item(row, 0));
}

void VFGD::makeInputOutputItems(QTableWidget *table, int row, const CFileFGD::InputOutput_t &entry)
{
    const QSignalBlocker blocker(table);
    table->setItem(row, 0, makeItem(entry.name));
    table->setItem(row, 1, makeItem(FGD::getParameterName(entry.type).toLatin1(), false));
    table->setItem(row, 2, makeItem(entry.description));
}

void VFGD::makeInputTableItems(int row, const CFileFGD::InputOutput_t &input)
{
    makeInputOutputItems(inputTable, row, input);
}

void VFGD::makeOutputTableItems(int row, const CFileFGD::InputOutput_t &output)
{
    makeInputOutputItems(outputTable, row, output);
}

void VFGD::makeChoicesTableItems(int row, const CFileFGD::Choice_t &choice)
{
    const QSignalBlocker blocker(choicesTable);
    choicesTable->setItem(row, 0, makeItem(choice.value));
    choicesTable->setItem(row, 1, makeItem(choice.name));
}

void VFGD::makeLineTableItems(int row, const CFileFGD::Line_t &line)
{
    const QSignalBlocker blocker(lineTable);
    lineTable->setItem(row, 0, makeColorItem(line.color));
    lineTable->setItem(row, 1, makeItem(line.source));
    lineTable->setItem(row, 2, makeItem(line.target));
}

void VFGD::makeCylinderTableItems(int row, const CFileFGD::Cylinder_t &cylinder)
{
    const QSignalBlocker blocker(cylinderTable);
    cylinderTable->setItem(row, 0, makeColorItem(cylinder.color));
    for (int i = 0; i < 6; ++i)
        cylinderTable->setItem(row, i + 1, makeItem(cylinder.fields[size_t(i)]));
}

void VFGD::updateKeyvalueIcon(QTableWidgetItem *item)
{
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!item || !entity || !inRange(entity->keyvalues, item->row()))
        return;
    const CFileFGD::Keyvalue_t &keyvalue = entity->keyvalues[size_t(item->row())];
    QString name;
    if (keyvalue.readonly && keyvalue.sphere)
        name = QStringLiteral(":/resources/icons/spherelockright.png");
    else if (keyvalue.readonly)
        name = QStringLiteral(":/resources/icons/lock.png");
    else if (keyvalue.sphere)
        name = QStringLiteral(":/resources/icons/sphere.png");
    const QSignalBlocker blocker(item->tableWidget());
    item->setIcon(name.isEmpty() ? QIcon() : QIcon(name));
}

// Filling. Each table gets one row a record and the add row below them.

void VFGD::fillEntityTable()
{
    const QSignalBlocker blocker(entityTable);
    entityTable->clearContents();
    const int count = fgd ? int(fgd->entities.size()) : 0;
    entityTable->setRowCount(count + 1);
    for (int row = 0; row < count; ++row)
        makeEntityTableItems(row, fgd->entities[size_t(row)]);
    makeEntityAddButton();
}

void VFGD::fillKeyvalueTable()
{
    clearTable(keyvalueTable);
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QSignalBlocker blocker(keyvalueTable);
    keyvalueTable->setRowCount(int(entity->keyvalues.size()) + 1);
    for (size_t row = 0; row < entity->keyvalues.size(); ++row)
        makeKeyvalueTableItems(int(row), entity->keyvalues[row]);
    makeKeyvalueAddButton();
}

void VFGD::fillInputTable()
{
    clearTable(inputTable);
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QSignalBlocker blocker(inputTable);
    inputTable->setRowCount(int(entity->inputs.size()) + 1);
    for (size_t row = 0; row < entity->inputs.size(); ++row)
        makeInputTableItems(int(row), entity->inputs[row]);
    makeInputAddButton();
}

void VFGD::fillOutputTable()
{
    clearTable(outputTable);
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QSignalBlocker blocker(outputTable);
    outputTable->setRowCount(int(entity->outputs.size()) + 1);
    for (size_t row = 0; row < entity->outputs.size(); ++row)
        makeOutputTableItems(int(row), entity->outputs[row]);
    makeOutputAddButton();
}

void VFGD::fillFlagTable()
{
    const CFileFGD::Entity_t *entity = focusEntity();
    const QSignalBlocker blocker(flagTable);
    for (int bit = 0; bit < 32; ++bit) {
        QCheckBox *check = flagChecks[size_t(bit)];
        const QSignalBlocker checkBlocker(check);
        check->setChecked(entity && (entity->spawnflagDefaults & (quint32(1) << bit)));
        flagTable->setItem(
            bit, 1, makeItem(entity ? entity->spawnflagNames[size_t(bit)] : QByteArray(), false));
    }
}

void VFGD::fillLineTable()
{
    clearTable(lineTable);
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QSignalBlocker blocker(lineTable);
    lineTable->setRowCount(int(entity->lines.size()) + 1);
    for (size_t row = 0; row < entity->lines.size(); ++row)
        makeLineTableItems(int(row), entity->lines[row]);
    makeLineAddButton();
}

void VFGD::fillCylinderTable()
{
    clearTable(cylinderTable);
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QSignalBlocker blocker(cylinderTable);
    cylinderTable->setRowCount(int(entity->cylinders.size()) + 1);
    for (size_t row = 0; row < entity->cylinders.size(); ++row)
        makeCylinderTableItems(int(row), entity->cylinders[row]);
    makeCylinderAddButton();
}

void VFGD::fillChoicesTable()
{
    clearTable(choicesTable);
    const CFileFGD::Keyvalue_t *keyvalue = focusKeyvalue();
    if (!keyvalue)
        return;
    const QSignalBlocker blocker(choicesTable);
    choicesTable->setRowCount(int(keyvalue->choices.size()) + 1);
    for (size_t row = 0; row < keyvalue->choices.size(); ++row)
        makeChoicesTableItems(int(row), keyvalue->choices[row]);
    makeChoicesAddButton();
}

// Adding.

void VFGD::growTable(QTableWidget *table, int row)
{
    const QSignalBlocker blocker(table);
    table->removeCellWidget(row, 0);
    table->setRowCount(row + 2);
}

void VFGD::finishAdd(QTableWidget *table, int row)
{
    table->scrollToBottom();
    table->setCurrentCell(row, 0);
    table->editItem(table->item(row, 0));
}

void VFGD::fgdAddEntity()
{
    if (!fgd && !openShared(new CFileFGD))
        return;
    fgd->entities.emplace_back();
    const int row = int(fgd->entities.size()) - 1;
    growTable(entityTable, row);
    makeEntityTableItems(row, fgd->entities.back());
    makeEntityAddButton();
    finishAdd(entityTable, row);
}

void VFGD::fgdAddKeyvalue()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    entity->keyvalues.emplace_back();
    const int row = int(entity->keyvalues.size()) - 1;
    growTable(keyvalueTable, row);
    makeKeyvalueTableItems(row, entity->keyvalues.back());
    makeKeyvalueAddButton();
    finishAdd(keyvalueTable, row);
}

void VFGD::fgdAddInput()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    entity->inputs.emplace_back();
    const int row = int(entity->inputs.size()) - 1;
    growTable(inputTable, row);
    makeInputTableItems(row, entity->inputs.back());
    makeInputAddButton();
    finishAdd(inputTable, row);
}

void VFGD::fgdAddOutput()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    entity->outputs.emplace_back();
    const int row = int(entity->outputs.size()) - 1;
    growTable(outputTable, row);
    makeOutputTableItems(row, entity->outputs.back());
    makeOutputAddButton();
    finishAdd(outputTable, row);
}

void VFGD::fgdAddChoices()
{
    CFileFGD::Keyvalue_t *keyvalue = focusKeyvalue();
    if (!keyvalue)
        return;
    keyvalue->choices.emplace_back();
    const int row = int(keyvalue->choices.size()) - 1;
    growTable(choicesTable, row);
    makeChoicesTableItems(row, keyvalue->choices.back());
    makeChoicesAddButton();
    finishAdd(choicesTable, row);
}

void VFGD::fgdAddLine()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    entity->lines.emplace_back();
    const int row = int(entity->lines.size()) - 1;
    growTable(lineTable, row);
    makeLineTableItems(row, entity->lines.back());
    makeLineAddButton();
    finishAdd(lineTable, row);
}

void VFGD::fgdAddCylinder()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    entity->cylinders.emplace_back();
    const int row = int(entity->cylinders.size()) - 1;
    growTable(cylinderTable, row);
    makeCylinderTableItems(row, entity->cylinders.back());
    makeCylinderAddButton();
    finishAdd(cylinderTable, row);
}

// Types through the popup menus of names.

void VFGD::fgdEntityItemDoubleClicked(QTableWidgetItem *item)
{
    if (!fgd || !item || item->column() != 1 || !inRange(fgd->entities, item->row()))
        return;
    const QRect cell = entityTable->visualItemRect(item);
    classMenu->popup(entityTable->viewport()->mapToGlobal(cell.bottomLeft()));
}

void VFGD::fgdParameterItemDoubleClicked(QTableWidgetItem *item)
{
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || !item || item->column() != 1)
        return;
    QTableWidget *table = item->tableWidget();
    const size_t count = table == keyvalueTable ? entity->keyvalues.size()
        : table == inputTable                   ? entity->inputs.size()
                                                : entity->outputs.size();
    if (item->row() < 0 || size_t(item->row()) >= count)
        return;
    const QRect cell = table->visualItemRect(item);
    parameterMenu->popup(table->viewport()->mapToGlobal(cell.bottomLeft()));
}

void VFGD::fgdEntityTypeChanged()
{
    const auto found = std::find(classActions.begin(), classActions.end(), sender());
    const int row = entityTable->currentRow();
    if (!fgd || found == classActions.end() || !inRange(fgd->entities, row))
        return;
    fgd->entities[size_t(row)].type = FGD::Class_t(found - classActions.begin());
    const QSignalBlocker blocker(entityTable);
    entityTable->item(row, 1)->setText((*found)->text());
}

void VFGD::fgdParameterTypeChanged()
{
    const auto found = std::find(parameterActions.begin(), parameterActions.end(), sender());
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || found == parameterActions.end())
        return;
    const auto type = FGD::Parameter_t(found - parameterActions.begin());
    auto *table = qobject_cast<QTableWidget *>(tabs->currentWidget());
    const int row = table ? table->currentRow() : -1;
    if (table == keyvalueTable && inRange(entity->keyvalues, row)) {
        entity->keyvalues[size_t(row)].type = type;
    } else if (table == inputTable && inRange(entity->inputs, row)) {
        entity->inputs[size_t(row)].type = type;
    } else if (table == outputTable && inRange(entity->outputs, row)) {
        entity->outputs[size_t(row)].type = type;
    } else {
        return;
    }
    {
        const QSignalBlocker blocker(table);
        table->item(row, 1)->setText((*found)->text());
    }
    if (table == keyvalueTable && row == keyvalueFocus)
        currentKeyvalueChanged();
}

// Cell edits, stored as Latin-1 in the field of the row's record, by column.

void VFGD::fgdEntityItemChanged(QTableWidgetItem *item)
{
    if (fgd && item->column() == 0 && inRange(fgd->entities, item->row()))
        fgd->entities[size_t(item->row())].name = item->text().toLatin1();
}

void VFGD::fgdKeyvalueItemChanged(QTableWidgetItem *item)
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || !inRange(entity->keyvalues, item->row()))
        return;
    CFileFGD::Keyvalue_t &keyvalue = entity->keyvalues[size_t(item->row())];
    QByteArray *fields[] = { &keyvalue.name, nullptr, &keyvalue.displayName, &keyvalue.defaultValue,
                             &keyvalue.description };
    if (item->column() >= 0 && item->column() < 5 && fields[item->column()])
        *fields[item->column()] = item->text().toLatin1();
}

void VFGD::fgdInputItemChanged(QTableWidgetItem *item)
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || !inRange(entity->inputs, item->row()))
        return;
    CFileFGD::InputOutput_t &input = entity->inputs[size_t(item->row())];
    if (item->column() == 0)
        input.name = item->text().toLatin1();
    else if (item->column() == 2)
        input.description = item->text().toLatin1();
}

void VFGD::fgdOutputItemChanged(QTableWidgetItem *item)
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || !inRange(entity->outputs, item->row()))
        return;
    CFileFGD::InputOutput_t &output = entity->outputs[size_t(item->row())];
    if (item->column() == 0)
        output.name = item->text().toLatin1();
    else if (item->column() == 2)
        output.description = item->text().toLatin1();
}

void VFGD::fgdChoicesItemChanged(QTableWidgetItem *item)
{
    CFileFGD::Keyvalue_t *keyvalue = focusKeyvalue();
    if (!keyvalue || !inRange(keyvalue->choices, item->row()))
        return;
    CFileFGD::Choice_t &choice = keyvalue->choices[size_t(item->row())];
    if (item->column() == 0)
        choice.value = item->text().toLatin1();
    else if (item->column() == 1)
        choice.name = item->text().toLatin1();
}

void VFGD::fgdLineItemChanged(QTableWidgetItem *item)
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || !inRange(entity->lines, item->row()))
        return;
    CFileFGD::Line_t &line = entity->lines[size_t(item->row())];
    if (item->column() == 0) {
        line.color = Parse::getQRgb(item->text().toLatin1(), line.color);
        showColor(item, line.color);
    } else if (item->column() == 1) {
        line.source = item->text().toLatin1();
    } else if (item->column() == 2) {
        line.target = item->text().toLatin1();
    }
}

void VFGD::fgdCylinderItemChanged(QTableWidgetItem *item)
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || !inRange(entity->cylinders, item->row()))
        return;
    CFileFGD::Cylinder_t &cylinder = entity->cylinders[size_t(item->row())];
    if (item->column() == 0) {
        cylinder.color = Parse::getQRgb(item->text().toLatin1(), cylinder.color);
        showColor(item, cylinder.color);
    } else if (item->column() >= 1 && item->column() <= 6) {
        cylinder.fields[size_t(item->column() - 1)] = item->text().toLatin1();
    }
}
