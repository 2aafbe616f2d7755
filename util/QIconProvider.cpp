#include "util/QIconProvider.h"

#include <QDir>
#include <QTemporaryFile>

QIconProvider::QIconProvider()
    : defaultType(QStringLiteral("FILE"))
{
    // The provider is built after the default icon, so the icon is asked for here.
    defaultIcon = provider.icon(QFileIconProvider::File);
    info.setCaching(false);
}

QIconProvider::~QIconProvider()
{
    for (Data *data : std::as_const(known)) {
        delete data->first;
        delete data->second;
        delete data->third;
        delete data;
    }
}

QIcon QIconProvider::getShellIconForExtension(const QString &extension)
{
    const Data *data = getDataForExtension(extension);
    return data ? *data->second : defaultIcon;
}

QString QIconProvider::getTypeForExtension(const QString &extension)
{
    const Data *data = getDataForExtension(extension);
    return data ? *data->third : defaultType;
}

const QIconProvider::Data *QIconProvider::getDataForExtension(const QString &extension)
{
    workingExtension = extension.toLower().trimmed();
    // A separator would let the renamed temporary file wander out of the temporary folder.
    if (workingExtension.isEmpty() || workingExtension.contains(QLatin1Char('/'))
        || workingExtension.contains(QLatin1Char('\\')))
        return nullptr;
    for (const Data *data : std::as_const(known)) {
        if (*data->first == workingExtension)
            return data;
    }
    return getInternalDataForExtension(workingExtension);
}

QIconProvider::Data *QIconProvider::getInternalDataForExtension(const QString &extension)
{
    // The file goes away with the QTemporaryFile, under its new name too.
    QTemporaryFile file(QDir::tempPath() + QStringLiteral("/zirk_icon_XXXXXX"));
    if (!file.open())
        return nullptr;
    workingName = file.fileName() + QLatin1Char('.') + extension;
    if (!file.rename(workingName))
        return nullptr;
    info.setFile(workingName);
    if (!info.exists())
        return nullptr;
    Data *data = new Data { new QString(extension), new QIcon(provider.icon(info)),
                            new QString(provider.type(info)) };
    known.append(data);
    return data;
}
