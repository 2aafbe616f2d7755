#pragma once

#include "util/CTriplet.h"

#include <QFileIconProvider>
#include <QFileInfo>
#include <QIcon>
#include <QList>
#include <QString>

// Desktop icons and type texts by file extension, looked up once per extension through a
// temporary file of that extension and kept for the life of the provider.
class QIconProvider
{
public:
    // Extension (lower case), icon, type text.
    using Data = CTriplet<QString *, QIcon *, QString *>;

    QIconProvider();
    ~QIconProvider();
    QIconProvider(const QIconProvider &) = delete;
    QIconProvider &operator=(const QIconProvider &) = delete;

    QIcon getShellIconForExtension(const QString &extension);
    QString getTypeForExtension(const QString &extension);
    // The cached entry, made on first use; null for an empty extension or a failed look-up.
    const Data *getDataForExtension(const QString &extension);

    const QIcon &getDefaultIcon() const { return defaultIcon; }
    const QString &getDefaultType() const { return defaultType; }
    // How many extensions are known.
    int cachedCount() const { return int(known.size()); }

private:
    Data *getInternalDataForExtension(const QString &extension);

    QIcon defaultIcon;
    QString defaultType;
    QString workingName;
    QString workingExtension;
    QFileIconProvider provider;
    QFileInfo info;
    QList<Data *> known;
};
