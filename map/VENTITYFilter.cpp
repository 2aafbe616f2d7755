// VENTITY, third part: the text filter, its seven toggles and the two find commands.
#include "map/VENTITY.h"

#include "map/VEntityFindDialog.h"
#include "map/VEntityListWidgetItem.h"

#include <QAction>
#include <QGroupBox>
#include <QIcon>
#include <QLineEdit>
#include <QListWidget>

void VENTITY::filterToggleClassname()
{
    toggleFilter(CEntityLump::Filter_ClassName);
}

void VENTITY::filterToggleKey()
{
    toggleFilter(CEntityLump::Filter_Key);
}

void VENTITY::filterToggleValue()
{
    toggleFilter(CEntityLump::Filter_Value);
}

void VENTITY::filterToggleCaseSensitive()
{
    toggleFilter(CEntityLump::Filter_CaseSensitive);
}

void VENTITY::filterToggleSubstring()
{
    toggleFilter(CEntityLump::Filter_Substring);
}

void VENTITY::filterToggleIgnoreHidden()
{
    toggleFilter(CEntityLump::Filter_IgnoreHidden);
}

void VENTITY::filterToggleInvertResults()
{
    toggleFilter(CEntityLump::Filter_InvertResults);
}

void VENTITY::toggleFilter(int flag)
{
    filterFlags ^= flag;
    for (int bit = 0; bit < 7; ++bit) {
        if (flag == 1 << bit)
            filterActions[bit]->setIcon(QIcon(filterFlags & flag
                                                  ? QStringLiteral(":/resources/icons/tick")
                                                  : QStringLiteral(":/resources/icons/cross")));
    }
    filterEntities();
}

QVector<bool> VENTITY::hiddenRows() const
{
    const int count = entityList->count();
    QVector<bool> hidden(count);
    for (int i = 0; i < count; ++i)
        hidden[i] = entityList->isRowHidden(i);
    return hidden;
}

void VENTITY::applyHiddenRows(const QVector<bool> &hidden)
{
    // Only rows that change are touched: the view's bookkeeping of hidden rows is slow.
    const QVector<bool> before = hiddenRows();
    entityList->setUpdatesEnabled(false);
    for (int i = 0; i < hidden.size(); ++i) {
        if (hidden.at(i) != before.at(i))
            entityList->setRowHidden(i, hidden.at(i));
    }
    entityList->setUpdatesEnabled(true);
}

void VENTITY::filterEntities()
{
    QVector<bool> hidden = hiddenRows();
    shownCount = CEntityLump::filter(rows(), hidden, { filterEdit->text(), filterFlags });
    applyHiddenRows(hidden);
    filterFinished();
}

void VENTITY::findEntitiesInSphere()
{
    VEntityFindDialog dialog(QStringLiteral("Find In Sphere"),
                             QStringLiteral(":/resources/icons/sphere"),
                             { { QStringLiteral("Origin X:"), QStringLiteral("Origin Y:"),
                                 QStringLiteral("Origin Z:"), QStringLiteral("Radius:") } },
                             this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    shownCount = entityList->count();
    const QStringList values = dialog.values();
    float centre[3];
    for (int i = 0; i < 3; ++i) {
        bool ok = false;
        centre[i] = values.at(i).toFloat(&ok);
        if (!ok)
            return;
    }
    bool radiusValid = false;
    const float radius = values.at(3).toFloat(&radiusValid);
    QVector<bool> hidden = hiddenRows();
    shownCount = CEntityLump::findInSphere(rows(), hidden, centre, radiusValid, radius,
                                           filterFlags & CEntityLump::Filter_IgnoreHidden);
    applyHiddenRows(hidden);
    filterFinished();
}

void VENTITY::findEntitiesInRectangularPrism()
{
    VEntityFindDialog dialog(QStringLiteral("Find In Rectangular Prism"),
                             QStringLiteral(":/resources/icons/cube_wireframe"),
                             { { QStringLiteral("Minimum X:"), QStringLiteral("Minimum Y:"),
                                 QStringLiteral("Minimum Z:") },
                               { QStringLiteral("Maximum X:"), QStringLiteral("Maximum Y:"),
                                 QStringLiteral("Maximum Z:") } },
                             this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QStringList values = dialog.values();
    float bounds[6];
    for (int i = 0; i < 6; ++i) {
        bool ok = false;
        bounds[i] = values.at(i).toFloat(&ok);
        if (!ok)
            return;
    }
    QVector<bool> hidden = hiddenRows();
    shownCount = CEntityLump::findInPrism(rows(), hidden, bounds, bounds + 3,
                                          filterFlags & CEntityLump::Filter_IgnoreHidden);
    applyHiddenRows(hidden);
    filterFinished();
}

void VENTITY::filterFinished()
{
    const int row = entityList->currentRow();
    if (row >= 0 && entityList->isRowHidden(row))
        entityList->setCurrentRow(-1);
    updateFilterCounts();
}

void VENTITY::updateFilterCounts()
{
    filterGroup->setTitle(
        QStringLiteral("Filter Options (%1/%2)").arg(shownCount).arg(entityList->count()));
}
