#include "materials/VPakfileTableWidgetItem.h"

#include "materials/CPakfileTool.h"

#include <QTableWidget>

VPakfileTableWidgetItem::VPakfileTableWidgetItem(const QString &text, CPackageHierarchyNode *node)
    : QTableWidgetItem(text)
    , node(node)
{ }

void VPakfileTableWidgetItem::update()
{
    const QColor colour = CPakfileTool::stateColour(CPakfileTool::nodeState(node));
    QTableWidget *table = tableWidget();
    if (!table) {
        setData(Qt::BackgroundRole, colour);
        return;
    }
    const int r = row();
    for (int column = 0; column < table->columnCount(); ++column) {
        if (QTableWidgetItem *cell = table->item(r, column))
            cell->setData(Qt::BackgroundRole, colour);
    }
}
