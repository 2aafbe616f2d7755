#include "materials/VScanTableWidgetItem.h"

#include "materials/CPakfileScan.h"

#include <QTableWidget>

VScanTableWidgetItem::VScanTableWidgetItem(const QString &text, const CPackageHierarchyNode *node,
                                           const QString *contentDirectory)
    : QTableWidgetItem(text)
    , node(node)
    , contentDirectory(contentDirectory)
{ }

bool VScanTableWidgetItem::doesExist() const
{
    return contentDirectory && doesExist(*contentDirectory);
}

bool VScanTableWidgetItem::doesExist(const QString &directory) const
{
    const QTableWidget *table = tableWidget();
    const QTableWidgetItem *path = table ? table->item(row(), 1) : nullptr;
    if (!path)
        return false;
    return CPakfileScan::existsOnDisk(directory, path->text(), text());
}

void VScanTableWidgetItem::update()
{
    const CPakfileScan::RowState_t state
        = CPakfileScan::rowState(doesExist(), add, node != nullptr);
    const QColor colour = CPakfileScan::stateColour(state);
    QTableWidget *table = tableWidget();
    const int r = table ? row() : -1;
    for (int column = 0; table && column < table->columnCount(); ++column) {
        if (QTableWidgetItem *cell = table->item(r, column))
            cell->setData(Qt::BackgroundRole, colour);
    }
    setToolTip(CPakfileScan::stateName(state));
}
