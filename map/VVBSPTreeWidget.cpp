#include "map/VVBSPTreeWidget.h"

#include <QKeyEvent>

VVBSPTreeWidget::VVBSPTreeWidget(QWidget *parent)
    : QTreeWidget(parent)
{ }

void VVBSPTreeWidget::keyPressEvent(QKeyEvent *event)
{
    if (!event->isAutoRepeat() && state() != EditingState) {
        if (event->key() == Qt::Key_Up) {
            event->accept();
            Q_EMIT keyUpPressed();
            return;
        }
        if (event->key() == Qt::Key_Down) {
            event->accept();
            Q_EMIT keyDownPressed();
            return;
        }
    }
    QTreeWidget::keyPressEvent(event);
}
