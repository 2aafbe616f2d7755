#include "util/CFileClass.h"

CFileClass::CFileClass(QObject *parent)
    : QObject(parent)
{ }

CFileClass::~CFileClass() = default;

void CFileClass::setPath(const QString &path, bool notify)
{
    filePath = path;
    if (notify)
        emit pathChanged(path, path);
}

void CFileClass::setName(const QString &name, bool notify)
{
    const QString old = fileName;
    fileName = name;
    if (notify)
        emit nameChanged(old, name);
}

// Its own meta-object code, so that what links this class does not pull in
// that of every other class of the library.
#include "moc_CFileClass.cpp"
