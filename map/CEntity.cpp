#include "map/CEntity.h"

qsizetype CEntity::indexOf(const QString &key) const
{
    for (qsizetype i = 0; i < pairs.size(); ++i) {
        if (pairs.at(i).first == key)
            return i;
    }
    return -1;
}

CEntity::Keyvalue *CEntity::getKeyvalue(const QString &key)
{
    const qsizetype i = indexOf(key);
    return i < 0 ? nullptr : &pairs[i];
}

const CEntity::Keyvalue *CEntity::getKeyvalue(const QString &key) const
{
    const qsizetype i = indexOf(key);
    return i < 0 ? nullptr : &pairs.at(i);
}

QString CEntity::getValue(const QString &key) const
{
    const qsizetype i = indexOf(key);
    return i < 0 ? QString() : pairs.at(i).second;
}

bool CEntity::hasKey(const QString &key) const
{
    return indexOf(key) >= 0;
}

bool CEntity::hasValue(const QString &value) const
{
    for (const Keyvalue &pair : pairs) {
        if (pair.second == value)
            return true;
    }
    return false;
}

bool CEntity::hasKeyvalue(const QString &key, const QString &value) const
{
    for (const Keyvalue &pair : pairs) {
        if (pair.first == key && pair.second == value)
            return true;
    }
    return false;
}

void CEntity::addKeyvalue(const QString &key, const QString &value, int index)
{
    if (index == -1 || index > pairs.size())
        index = int(pairs.size());
    if (index < 0)
        index = 0;
    pairs.insert(index, Keyvalue { key, value });
}

void CEntity::setKeyvalue(const QString &key, const QString &value)
{
    if (Keyvalue *pair = getKeyvalue(key))
        pair->second = value;
    else
        pairs.append(Keyvalue { key, value });
}

void CEntity::removeKeyvalue(const QString &key)
{
    const qsizetype i = indexOf(key);
    if (i >= 0)
        pairs.removeAt(i);
}

QString CEntity::displayText() const
{
    const QString targetname = getValue(QStringLiteral("targetname"));
    QString text = getValue(QStringLiteral("classname"));
    if (!targetname.isEmpty())
        text += QStringLiteral(" (") + targetname + QLatin1Char(')');
    return text;
}
