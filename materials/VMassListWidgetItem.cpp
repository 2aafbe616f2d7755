#include "materials/VMassListWidgetItem.h"

#include <QFileInfo>

VMassListWidgetItem::VMassListWidgetItem(const QString &path, const QString &relativePath,
                                         QListWidget *list)
    : QListWidgetItem(list)
    , path(path)
    , relativePath(relativePath)
{
    setText(relativePath.isEmpty() ? QFileInfo(path).fileName()
                                   : QStringLiteral(".../") + relativePath);
    setToolTip(path);
}
