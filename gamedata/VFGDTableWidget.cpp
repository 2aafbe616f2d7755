#include "gamedata/VFGDTableWidget.h"

#include <QKeyEvent>

VFGDTableWidget::VFGDTableWidget(QWidget *parent)
    : QTableWidget(parent)
{ }

void VFGDTableWidget::keyPressEvent(QKeyEvent *event)
{
    if (state() != EditingState) {
        if (event->key() == Qt::Key_Up) {
            event->accept();
            Q_EMIT upArrowPressed();
            return;
        }
        if (event->key() == Qt::Key_Down) {
            event->accept();
            Q_EMIT downArrowPressed();
            return;
        }
    }
    QTableWidget::keyPressEvent(event);
}
