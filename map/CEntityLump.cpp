#include "map/CEntityLump.h"

#include "map/CFileVMF.h"
#include "map/CLineTokenizer.h"
#include "util/CVector3.h"
#include "util/UtilDevice.h"

#include <QIODevice>

namespace {

const QString ClassnameKey = QStringLiteral("classname");
const QString WorldspawnValue = QStringLiteral("worldspawn");
const QString OriginKey = QStringLiteral("origin");

// The line, blanks trimmed, is exactly the one character.
bool lineIs(const QByteArray &line, char c)
{
    const qsizetype nul = line.indexOf('\0');
    qsizetype last = nul < 0 ? line.size() : nul;
    qsizetype first = 0;
    while (first < last && CLineTokenizer::isBlank(uchar(line.at(first))))
        ++first;
    while (last > first && CLineTokenizer::isBlank(uchar(line.at(last - 1))))
        --last;
    return last - first == 1 && line.at(first) == c;
}

// One test of the filter: equality or containment, with or without case, where without
// case the lower-case forms are compared. Latin-1 text is lowered a character at a time into
// a buffer kept between calls: a filter over a big lump then allocates nothing.
class TextTest
{
public:
    TextTest(const QString &text, int flags)
        : substring(flags & CEntityLump::Filter_Substring)
        , caseSensitive(flags & CEntityLump::Filter_CaseSensitive)
        , text(caseSensitive ? text : text.toLower())
    { }

    bool operator()(const QString &tested) const
    {
        if (caseSensitive)
            return substring ? tested.contains(text) : tested == text;
        const QString &lowered = lower(tested);
        return substring ? lowered.contains(text) : lowered == text;
    }

private:
    const QString &lower(const QString &tested) const
    {
        const qsizetype size = tested.size();
        buffer.resize(size);
        QChar *out = buffer.data();
        const QChar *in = tested.constData();
        for (qsizetype i = 0; i < size; ++i) {
            if (in[i].unicode() > 0xFF) {
                buffer = tested.toLower();
                return buffer;
            }
            out[i] = in[i].toLower();
        }
        return buffer;
    }

    bool substring;
    bool caseSensitive;
    QString text;
    mutable QString buffer;
};

// The three numbers of an "origin", if the row has one that holds exactly three.
bool originOf(const CEntity &entity, CVector3 &origin)
{
    const CEntity::Keyvalue *pair = entity.getKeyvalue(OriginKey);
    if (!pair)
        return false;
    const QStringList parts = pair->second.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.size() != 3)
        return false;
    bool ok[3] = {};
    origin = CVector3(parts.at(0).toFloat(&ok[0]), parts.at(1).toFloat(&ok[1]),
                      parts.at(2).toFloat(&ok[2]));
    return ok[0] && ok[1] && ok[2];
}

// Runs `shown` over the rows the find commands look at and counts the rows left shown.
template<typename Shown>
int findRows(const CEntityLump::Rows &rows, QVector<bool> &hidden, bool ignoreHidden, Shown shown)
{
    hidden.resize(rows.size());
    int count = int(rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        if (ignoreHidden && hidden.at(i))
            continue;
        CVector3 origin;
        hidden[i] = !(originOf(*rows.at(i), origin) && shown(origin));
        if (hidden.at(i))
            --count;
    }
    return count;
}

void appendByCommas(struct CFileVMF::world &target, const QString &key, const QString &value)
{
    QVector<QByteArray> &list
        = value.count(QLatin1Char(',')) == 4 ? target.connections : target.keyvalues;
    list.append(key.toLatin1());
    list.append(value.toLatin1());
}

} // namespace

CEntityLump::Entities CEntityLump::parse(QIODevice &device, qint64 end)
{
    Entities entities;
    std::unique_ptr<CEntity> pending;
    QByteArray key;
    QByteArray value;
    while (device.pos() < end && !device.atEnd()) {
        const QByteArray line = UTIL_readLineFromQIODevice(device);
        CLineTokenizer::split(line, key, value);
        if (value.isEmpty()) {
            if (lineIs(line, '{')) {
                pending = std::make_unique<CEntity>();
            } else if (lineIs(line, '}') && pending) {
                if (pending->keyvalueCount() > 0)
                    entities.push_back(std::move(pending));
                pending.reset();
            }
        } else if (pending) {
            pending->addKeyvalue(QString::fromLatin1(key), QString::fromLatin1(value));
        }
    }
    return entities;
}

bool CEntityLump::ensureEntityName(const CEntity &entity,
                                   const std::function<void()> &missingClassname)
{
    if (entity.hasKey(ClassnameKey))
        return false;
    if (missingClassname)
        missingClassname();
    return true;
}

QVector<int> CEntityLump::ensureValidity(const Rows &rows, const NameRow &name)
{
    QVector<int> removed;
    bool worldSeen = false;
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.at(i)->hasKeyvalue(ClassnameKey, WorldspawnValue)) {
            if (worldSeen) {
                removed.append(i);
                ++i;
            }
            worldSeen = true;
            continue;
        }
        if (name)
            name(i);
    }
    return removed;
}

void CEntityLump::ensureValidity(Entities &entities)
{
    const QVector<int> removed = ensureValidity(rowsOf(entities), {});
    for (qsizetype i = removed.size() - 1; i >= 0; --i)
        entities.erase(entities.begin() + removed.at(i));
}

QByteArray CEntityLump::buildLump(const Rows &rows, const std::function<void(int)> &progress)
{
    QByteArray lump;
    qsizetype estimate = 1;
    for (const CEntity *entity : rows) {
        estimate += 4;
        for (const CEntity::Keyvalue &pair : entity->keyvalues())
            estimate += pair.first.size() + pair.second.size() + 6;
    }
    lump.reserve(estimate);
    for (int i = 0; i < rows.size(); ++i) {
        lump.append("{\n");
        for (const CEntity::Keyvalue &pair : rows.at(i)->keyvalues()) {
            lump.append('"');
            lump.append(pair.first.toLatin1());
            lump.append("\" \"");
            lump.append(pair.second.toLatin1());
            lump.append("\"\n");
        }
        lump.append("}\n");
        if (progress)
            progress(i + 1);
    }
    lump.append('\0');
    return lump;
}

int CEntityLump::filter(const Rows &rows, QVector<bool> &hidden, const FilterOptions &options)
{
    hidden.resize(rows.size());
    const int flags = options.flags;
    const bool invert = flags & Filter_InvertResults;
    const bool ignoreHidden = flags & Filter_IgnoreHidden;
    const bool byValue = flags & Filter_Value;
    const bool byClassName = flags & Filter_ClassName;
    const bool byKey = flags & Filter_Key;
    const TextTest test(options.text, flags);

    int count = int(rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        if (options.text.isEmpty()) {
            hidden[i] = invert;
        } else if (ignoreHidden && hidden.at(i)) {
            continue;
        } else {
            bool match = false;
            for (const CEntity::Keyvalue &pair : rows.at(i)->keyvalues()) {
                if ((byValue || (byClassName && pair.first == ClassnameKey)) && test(pair.second)) {
                    match = true;
                    break;
                }
                if (byKey && test(pair.first)) {
                    match = true;
                    break;
                }
            }
            hidden[i] = match == invert;
        }
        if (hidden.at(i))
            --count;
    }
    return count;
}

int CEntityLump::findInSphere(const Rows &rows, QVector<bool> &hidden, const float centre[3],
                              bool radiusValid, float radius, bool ignoreHidden)
{
    const CVector3 middle(centre[0], centre[1], centre[2]);
    return findRows(rows, hidden, ignoreHidden, [&](const CVector3 &origin) {
        return radiusValid && !((origin - middle) > radius);
    });
}

int CEntityLump::findInPrism(const Rows &rows, QVector<bool> &hidden, const float minimum[3],
                             const float maximum[3], bool ignoreHidden)
{
    float low[3];
    float high[3];
    for (int axis = 0; axis < 3; ++axis) {
        low[axis] = qMin(minimum[axis], maximum[axis]);
        high[axis] = qMax(minimum[axis], maximum[axis]);
    }
    return findRows(rows, hidden, ignoreHidden, [&](const CVector3 &origin) {
        const float at[3] = { origin.x, origin.y, origin.z };
        for (int axis = 0; axis < 3; ++axis) {
            if (!(low[axis] <= at[axis] && at[axis] <= high[axis]))
                return false;
        }
        return true;
    });
}

CEntityLump::Entities CEntityLump::fromVMF(const CFileVMF &vmf,
                                           const std::function<bool()> &ignoreHidden)
{
    Entities entities;
    bool asked = false;
    bool ignore = false;
    for (const CFileVMF::entity &source : vmf.entities) {
        if (!source.world.solids.isEmpty())
            continue;
        if (!source.editor.visgroupshown) {
            if (!asked) {
                ignore = ignoreHidden && ignoreHidden();
                asked = true;
            }
            if (ignore)
                continue;
        }
        auto entity = std::make_unique<CEntity>();
        for (const QVector<QByteArray> *list :
             { &source.world.keyvalues, &source.world.connections }) {
            for (qsizetype i = 0; i + 1 < list->size(); i += 2)
                entity->addKeyvalue(QString::fromLatin1(list->at(i)),
                                    QString::fromLatin1(list->at(i + 1)));
        }
        entities.push_back(std::move(entity));
    }
    return entities;
}

void CEntityLump::toVMF(const Rows &rows, const QStringList &studioKeys, CFileVMF &vmf,
                        const NameRow &name)
{
    for (int i = 0; i < rows.size(); ++i) {
        const CEntity &entity = *rows.at(i);
        if (entity.getValue(ClassnameKey).compare(WorldspawnValue, Qt::CaseInsensitive) == 0) {
            for (const CEntity::Keyvalue &pair : entity.keyvalues())
                appendByCommas(vmf.world, pair.first, pair.second);
            continue;
        }
        if (name)
            name(i);
        vmf.entities.append(CFileVMF::entity());
        for (const CEntity::Keyvalue &pair : entity.keyvalues()) {
            if (studioKeys.contains(pair.first, Qt::CaseInsensitive) && !pair.second.isEmpty()
                && pair.second.at(0) == QLatin1Char('*')) {
                // A brush model of the map, which a map source cannot hold.
                if (!vmf.entities.isEmpty())
                    vmf.entities.removeLast();
                continue;
            }
            if (!vmf.entities.isEmpty())
                appendByCommas(vmf.entities.last().world, pair.first, pair.second);
        }
    }
}

CEntityLump::Rows CEntityLump::rowsOf(const Entities &entities)
{
    Rows rows;
    rows.reserve(qsizetype(entities.size()));
    for (const auto &entity : entities)
        rows.append(entity.get());
    return rows;
}
