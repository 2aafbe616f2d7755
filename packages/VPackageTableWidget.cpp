#include "packages/VPackageTableWidget.h"

#include <QHeaderView>
#include <QKeyEvent>
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
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::DragOnly);
}

void VPackageTableWidget::mouseReleaseEvent(QMouseEvent *event)
{
    emit mouseReleasePoint(event->position().toPoint());
    QTableWidget::mouseReleaseEvent(event);
}

void VPackageTableWidget::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && currentItem()) {
        emit entryActivated(item(currentRow(), 0));
        event->accept();
        return;
    }
    QTableWidget::keyPressEvent(event);
}

void VPackageTableWidget::startDrag(Qt::DropActions)
{
    // The viewer knows the package: it builds the data and runs the drag.
    emit dragStarted();
}
