#include "packages/QDelayedMimeData.h"

QDelayedMimeData::QDelayedMimeData() = default;

QStringList QDelayedMimeData::formats() const
{
    return QMimeData::formats() + extraFormats;
}

void QDelayedMimeData::addDelayedFormat(const QString &format)
{
    if (!extraFormats.contains(format))
        extraFormats.append(format);
}

QVariant QDelayedMimeData::retrieveData(const QString &mimeType, QMetaType type) const
{
    emit dataRequested(const_cast<QDelayedMimeData *>(this), mimeType);
    return QMimeData::retrieveData(mimeType, type);
}
