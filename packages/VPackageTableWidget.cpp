#include "packages/VPackageTableWidget.h"

#include <QHeaderView>
#include <QMouseEvent>

VPackageTableWidget::VPackageTableWidget(QWidget *parent)
    : QTableWidget(0, 2, parent)
{
    setHorizontalHeaderLabels({ QStringLiteral("Name"), QStringLiteral("Size") });
    setMinimumWidth(300);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    horizontalHeader()->setMinimumSectionSize(100);
    horizontalHeader()->resizeSection(1, 100);
    horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(17);
    verticalHeader()->hide();
    setContextMenuPolicy(Qt::CustomContextMenu);
    setShowGrid(false);
}

void VPackageTableWidget::mouseReleaseEvent(QMouseEvent *event)
{
    emit mouseReleasePoint(event->position().toPoint());
    QTableWidget::mouseReleaseEvent(event);
}
