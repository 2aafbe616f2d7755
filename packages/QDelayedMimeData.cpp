#include "packages/QDelayedMimeData.h"

QDelayedMimeData::QDelayedMimeData() = default;

QStringList QDelayedMimeData::formats() const
{
    QStringList all = QMimeData::formats();
    for (const QString &format : extraFormats) {
        if (!all.contains(format))
            all.append(format);
    }
    return all;
}

void QDelayedMimeData::addDelayedFormat(const QString &format)
{
    if (!extraFormats.contains(format))
        extraFormats.append(format);
}

void QDelayedMimeData::removeDelayedFormat(const QString &format)
{
    extraFormats.removeAll(format);
}

QVariant QDelayedMimeData::retrieveData(const QString &mimeType, QMetaType type) const
{
    emit dataRequested(const_cast<QDelayedMimeData *>(this), mimeType);
    return QMimeData::retrieveData(mimeType, type);
}
