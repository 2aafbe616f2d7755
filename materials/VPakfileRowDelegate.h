#pragma once

#include <QStyledItemDelegate>

// Paints the selected rows of the pakfile editor's tables in their state colour darkened
// towards the selection colour, so that a selection shows without hiding the state.
class VPakfileRowDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
};
