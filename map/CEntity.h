#pragma once

#include "util/CPair.h"

#include <QList>
#include <QString>

// One entity of an entity lump: its key/value pairs in order. Keys may repeat, and outputs
// rely on that. Every lookup compares case-sensitively and takes the first match.
class CEntity
{
public:
    using Keyvalue = CPair<QString, QString>;

    // The first pair with the key, or null. Only valid until the pairs change.
    Keyvalue *getKeyvalue(const QString &key);
    const Keyvalue *getKeyvalue(const QString &key) const;
    // The value of the first pair with the key, or an empty string.
    QString getValue(const QString &key) const;
    bool hasKey(const QString &key) const;
    bool hasValue(const QString &value) const;
    bool hasKeyvalue(const QString &key, const QString &value) const;

    // Always inserts; -1 means at the end, other indices are clamped to the list.
    void addKeyvalue(const QString &key, const QString &value, int index = -1);
    // Replaces the value of the first pair with the key, or appends a pair.
    void setKeyvalue(const QString &key, const QString &value);
    // Removes the first pair with the key.
    void removeKeyvalue(const QString &key);

    int keyvalueCount() const { return int(pairs.size()); }
    const Keyvalue &keyvalueAt(int index) const { return pairs.at(index); }
    Keyvalue &keyvalueAt(int index) { return pairs[index]; }
    void removeKeyvalueAt(int index) { pairs.removeAt(index); }
    const QList<Keyvalue> &keyvalues() const { return pairs; }

    // The classname, then " (targetname)" when there is a targetname: the entity's line in
    // the editor's list.
    QString displayText() const;

private:
    qsizetype indexOf(const QString &key) const;

    QList<Keyvalue> pairs;
};
