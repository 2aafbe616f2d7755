#include "materials/VPakfileRowDelegate.h"

#include <QApplication>
#include <QPainter>

void VPakfileRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    QStyleOptionViewItem item(option);
    initStyleOption(&item, index);
    if (item.state & QStyle::State_Selected) {
        const QBrush brush = index.data(Qt::BackgroundRole).value<QBrush>();
        const QColor base
            = brush.style() == Qt::NoBrush ? item.palette.color(QPalette::Base) : brush.color();
        const QColor highlight = item.palette.color(QPalette::Highlight);
        item.backgroundBrush
            = QColor((base.red() + highlight.red()) / 2, (base.green() + highlight.green()) / 2,
                     (base.blue() + highlight.blue()) / 2);
        item.state &= ~QStyle::State_Selected;
    }
    const QWidget *widget = option.widget;
    QStyle *style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &item, painter, widget);
}
