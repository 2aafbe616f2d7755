#include "materials/VVMTTabWidget.h"

#include <QTabBar>

VVMTTabWidget::VVMTTabWidget(QWidget *parent)
    : QTabWidget(parent)
{ }

QRect VVMTTabWidget::getTabBarArea() const
{
    const QTabBar *bar = tabBar();
    if (!bar || bar->count() == 0)
        return QRect();
    const bool horizontal = tabPosition() == North || tabPosition() == South;
    int along = 0;
    int across = 0;
    for (int i = 0; i < bar->count(); ++i) {
        const QRect tab = bar->tabRect(i);
        along += horizontal ? tab.width() : tab.height();
        across = qMax(across, horizontal ? tab.height() : tab.width());
    }
    return horizontal ? QRect(bar->pos(), QSize(along, across))
                      : QRect(bar->pos(), QSize(across, along));
}
