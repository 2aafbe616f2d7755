#pragma once

#include <QMimeData>
#include <QStringList>

// Mime data whose content is filled in only when a drop target asks for a
// format, so that package entries need not be extracted before they are dropped.
class QDelayedMimeData : public QMimeData
{
    Q_OBJECT
public:
    QDelayedMimeData();

    QStringList formats() const override;
    void addDelayedFormat(const QString &format);
    // The formats announced but not filled in yet.
    QStringList delayedFormats() const { return extraFormats; }
    // Called once a format's data has been set: later requests find it there.
    void removeDelayedFormat(const QString &format);

signals:
    void dataRequested(QDelayedMimeData *data, const QString &format) const;

protected:
    QVariant retrieveData(const QString &mimeType, QMetaType type) const override;

private:
    QStringList extraFormats;
};
