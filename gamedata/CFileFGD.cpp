#include "gamedata/CFileFGD.h"

#include "gamedata/Parse.h"
#include "util/UtilText.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <cstring>

namespace {

using Entity_t = CFileFGD::Entity_t;
using Keyvalue_t = CFileFGD::Keyvalue_t;
using InputOutput_t = CFileFGD::InputOutput_t;

// Directives are matched without regard to case, as the files in circulation spell them
// several ways.
bool directiveAt(const QByteArray &data, qsizetype pos, const char *word)
{
    const qsizetype length = qstrlen(word);
    return data.size() - pos >= length && qstrnicmp(data.constData() + pos, word, length) == 0;
}

QByteArray unquote(QByteArray text)
{
    if (text.startsWith('"'))
        text.remove(0, 1);
    if (text.endsWith('"'))
        text.chop(1);
    return text;
}

void readTriple(const QByteArray &piece, CVector3 &out)
{
    const QList<QByteArray> items = piece.trimmed().split(' ');
    float *fields[] = { &out.x, &out.y, &out.z };
    for (int i = 0; i < 3; ++i)
        *fields[i] = i < items.size() ? float(items[i].toInt()) : 0.0f;
}

QRgb opaqueColor(const QList<QByteArray> &items)
{
    int rgb[3];
    for (int i = 0; i < 3; ++i)
        rgb[i] = std::clamp(items[i].toInt(), 0, 255);
    return qRgb(rgb[0], rgb[1], rgb[2]);
}

// One pass over the whole file in memory. Every loop moves forward at least one byte a round,
// and nothing recurses, so that no input can hang it or run it out of stack.
class Reader
{
public:
    Reader(CFileFGD &file, const QByteArray &data)
        : file(file)
        , data(data)
        , size(data.size())
    { }

    bool run();

private:
    bool at(char c) const { return pos < size && data[pos] == c; }
    void skip() { Parse::ignoreWhitespace(data, pos); }
    void advance()
    {
        if (pos < size)
            ++pos;
    }

    void readInclude();
    void readMaterialExclusion();
    bool readEntity();
    void applyHelpers(Entity_t &entity, const QByteArray &text);
    void applyHelper(Entity_t &entity, const QByteArray &name, const QByteArray &argument);
    bool readBody(Entity_t &entity);
    void readInputOutput(std::vector<InputOutput_t> &list, const QByteArray &name);
    bool readKeyvalue(Entity_t &entity, const QByteArray &head);
    bool readFlags(Entity_t &entity);
    bool readChoices(Keyvalue_t &keyvalue);

    CFileFGD &file;
    const QByteArray &data;
    const qsizetype size;
    qsizetype pos = 0;
    // Lower-cased keys for the case-blind membership tests, so that they stay constant-time.
    QSet<QString> includeKeys;
    QSet<QString> exclusionKeys;
    QSet<QString> sphereKeys;
};

bool Reader::run()
{
    for (const QString &name : std::as_const(file.includes))
        includeKeys.insert(name.toLower());
    for (const QString &name : std::as_const(file.materialExclusions))
        exclusionKeys.insert(name.toLower());
    skip();
    while (true) {
        if (pos >= size)
            return true;
        // A file may close its definitions with a percent sign; any other stray byte fails.
        if (data[pos] != '@')
            return data[pos] == '%';
        if (directiveAt(data, pos, "@include")) {
            pos += 8;
            readInclude();
        } else if (directiveAt(data, pos, "@MaterialExclusion")) {
            pos += 18;
            readMaterialExclusion();
        } else if (directiveAt(data, pos, "@AutoVisGroup")) {
            return false;
        } else if (!readEntity()) {
            return false;
        }
        skip();
    }
}

void Reader::readInclude()
{
    QByteArray line;
    Parse::returnUntil(data, pos, '\n', line);
    line = line.trimmed();
    if (line.isEmpty())
        return;
    const QByteArray name = Parse::getString(line);
    if (name.isEmpty() || !name.toLower().endsWith(".fgd"))
        return;
    const QString text = QString::fromLatin1(name);
    const QString key = text.toLower();
    if (!includeKeys.contains(key)) {
        includeKeys.insert(key);
        file.includes.append(text);
    }
}

void Reader::readMaterialExclusion()
{
    // Every line of the block yields the first word of the whole file, not its own: kept as the
    // format's reader has always done it. The block then ends on its bracket, which the
    // top level refuses. Since the word never changes, only the first line has work to do.
    skip();
    bool added = false;
    while (pos < size && data[pos] != ']') {
        const void *lineFeed = std::memchr(data.constData() + pos, '\n', size_t(size - pos));
        pos = lineFeed ? static_cast<const char *>(lineFeed) - data.constData() : size;
        if (!added) {
            added = true;
            const QString word = QString::fromLatin1(Parse::getString(data));
            if (!word.isEmpty() && !exclusionKeys.contains(word.toLower())) {
                exclusionKeys.insert(word.toLower());
                file.materialExclusions.append(word);
            }
        }
        skip();
    }
}

bool Reader::readEntity()
{
    // Appended before it is read, so that a failure leaves the half-read entity in place.
    file.entities.emplace_back();
    Entity_t &entity = file.entities.back();
    sphereKeys.clear();

    QByteArray text;
    Parse::returnUntilWhitespace(data, pos, text);
    entity.type = FGD::getClassByString(text);
    skip();
    Parse::returnUntil(data, pos, '=', text);
    applyHelpers(entity, text);
    advance();
    skip();
    Parse::returnUntilWhitespaceOr(data, pos, ':', entity.name);
    skip();
    if (at(':')) {
        advance();
        skip();
        Parse::returnString(data, pos, entity.description);
        skip();
    }
    if (!at('['))
        return false;
    return readBody(entity);
}

void Reader::applyHelpers(Entity_t &entity, const QByteArray &text)
{
    qsizetype at = 0;
    Parse::ignoreWhitespace(text, at);
    QByteArray name;
    QByteArray argument;
    while (at < text.size()) {
        Parse::returnUntil(text, at, '(', name);
        if (at < text.size())
            ++at;
        // A missing ")" ends the argument at the end of the text.
        Parse::returnUntil(text, at, ')', argument);
        if (at < text.size())
            ++at;
        applyHelper(entity, name.toLower(), argument);
        Parse::ignoreWhitespace(text, at);
    }
}

void Reader::applyHelper(Entity_t &entity, const QByteArray &name, const QByteArray &argument)
{
    // Tested by prefix in this order: "studio" comes first and takes "studioprop" too, so that
    // studioProp is never filled by reading.
    if (name.startsWith("base")) {
        for (const QByteArray &piece : argument.split(','))
            entity.bases.push_back(piece.trimmed());
    } else if (name.startsWith("color")) {
        const QList<QByteArray> items = argument.simplified().split(' ');
        if (items.size() > 2) {
            entity.helperFlags |= CFileFGD::HelperColor;
            entity.color = opaqueColor(items);
        }
    } else if (name.startsWith("iconsprite")) {
        entity.iconsprite = unquote(argument.trimmed());
    } else if (name.startsWith("sphere")) {
        QByteArray key = argument.trimmed().toLower();
        if (key.isEmpty())
            key = "radius";
        const QString text = QString::fromLatin1(key);
        if (!sphereKeys.contains(text)) {
            sphereKeys.insert(text);
            entity.spheres.append(text);
        }
    } else if (name.startsWith("studio")) {
        entity.studio = unquote(argument.trimmed());
        if (entity.studio.isEmpty())
            entity.helperFlags |= CFileFGD::HelperStudioFromEntity;
    } else if (name.startsWith("size")) {
        const QList<QByteArray> pieces = argument.simplified().split(',');
        readTriple(pieces.first(), entity.sizeMin);
        entity.hasSizeMax = pieces.size() > 1;
        if (entity.hasSizeMax)
            readTriple(pieces[1], entity.sizeMax);
    } else if (name.startsWith("line")) {
        const QList<QByteArray> pieces = argument.simplified().split(',');
        if (pieces.size() > 2) {
            CFileFGD::Line_t line;
            line.color = Parse::getQRgb(pieces[0], line.color);
            line.source = pieces[1].trimmed();
            line.target = pieces[2].trimmed();
            entity.lines.push_back(line);
        }
    } else if (name.startsWith("cylinder")) {
        const QList<QByteArray> pieces = argument.simplified().split(',');
        if (pieces.size() > 6) {
            CFileFGD::Cylinder_t cylinder;
            cylinder.color = Parse::getQRgb(pieces[0], cylinder.color);
            for (int i = 0; i < 6; ++i)
                cylinder.fields[size_t(i)] = pieces[i + 1].trimmed();
            entity.cylinders.push_back(cylinder);
        }
    }
}

bool Reader::readBody(Entity_t &entity)
{
    advance();
    QByteArray head;
    while (true) {
        skip();
        if (pos >= size)
            return true;
        if (data[pos] == ']') {
            advance();
            return true;
        }
        Parse::returnUntil(data, pos, '(', head);
        advance();
        if (head.startsWith("output ")) {
            readInputOutput(entity.outputs, head.mid(7));
        } else if (head.startsWith("input ")) {
            readInputOutput(entity.inputs, head.mid(6));
        } else if (!readKeyvalue(entity, head)) {
            return false;
        }
    }
}

void Reader::readInputOutput(std::vector<InputOutput_t> &list, const QByteArray &name)
{
    InputOutput_t entry;
    entry.name = name;
    QByteArray type;
    Parse::returnUntil(data, pos, ')', type);
    entry.type = FGD::getParameterByString(type);
    advance();
    skip();
    if (at(':')) {
        advance();
        skip();
        Parse::returnString(data, pos, entry.description);
    }
    list.push_back(std::move(entry));
}

bool Reader::readKeyvalue(Entity_t &entity, const QByteArray &head)
{
    entity.keyvalues.emplace_back();
    Keyvalue_t &keyvalue = entity.keyvalues.back();
    keyvalue.name = head;
    keyvalue.sphere = sphereKeys.contains(QString::fromLatin1(head).toLower());
    QByteArray type;
    Parse::returnUntil(data, pos, ')', type);
    advance();
    skip();
    if (type.toLower().startsWith("flags")) {
        entity.keyvalues.pop_back();
        return readFlags(entity);
    }
    keyvalue.type = FGD::getParameterByString(type);

    QByteArray word;
    Parse::returnUntilWhitespaceOr(data, pos, ':', word);
    keyvalue.readonly = word.startsWith("readonly");
    skip();
    advance();
    skip();
    Parse::returnString(data, pos, keyvalue.displayName);
    skip();
    if (at(':')) {
        advance();
        skip();
        if (at('"'))
            Parse::returnString(data, pos, keyvalue.defaultValue);
        else if (pos < size && data[pos] != ':')
            Parse::returnUntilWhitespaceOr(data, pos, ':', keyvalue.defaultValue);
        skip();
        if (at(':')) {
            advance();
            skip();
            if (at('"'))
                Parse::returnString(data, pos, keyvalue.description);
        }
    }
    if (keyvalue.type != FGD::Choices)
        return true;
    skip();
    return at('=') ? readChoices(keyvalue) : true;
}

bool Reader::readFlags(Entity_t &entity)
{
    if (!at('='))
        return false;
    advance();
    skip();
    if (!at('['))
        return false;
    advance();
    skip();
    QByteArray text;
    while (pos < size && data[pos] != ']') {
        const qsizetype before = pos;
        Parse::returnUntilWhitespaceOr(data, pos, ':', text);
        bool ok = false;
        quint32 value = quint32(text.toInt(&ok, 10));
        // A value that is not a single bit defines nothing.
        if (!ok || (value & (value - 1)) != 0)
            value = 0;
        skip();
        advance();
        skip();
        Parse::returnString(data, pos, text);
        if (value != 0) {
            entity.spawnflagMask |= value;
            const int index = UTIL_flagToIndex(value);
            if (index >= 0 && index < 32)
                entity.spawnflagNames[size_t(index)] = text;
        }
        skip();
        if (at(':')) {
            advance();
            skip();
            Parse::returnUntilWhitespace(data, pos, text);
            if (text.startsWith('1'))
                entity.spawnflagDefaults |= value;
        }
        skip();
        if (pos == before)
            advance();
    }
    advance();
    return true;
}

bool Reader::readChoices(Keyvalue_t &keyvalue)
{
    advance();
    skip();
    if (!at('['))
        return false;
    advance();
    skip();
    while (pos < size && data[pos] != ']') {
        const qsizetype before = pos;
        CFileFGD::Choice_t choice;
        if (at('"'))
            Parse::returnString(data, pos, choice.value);
        else
            Parse::returnUntilWhitespaceOr(data, pos, ':', choice.value);
        skip();
        if (at(':')) {
            advance();
            skip();
            Parse::returnString(data, pos, choice.name);
        }
        skip();
        keyvalue.choices.push_back(std::move(choice));
        if (pos == before)
            advance();
    }
    advance();
    return true;
}

} // namespace

bool CFileFGD::createFromFile(const QString &path)
{
    // An unreadable file counts as a good, empty one.
    QFile device(path);
    if (!device.open(QIODevice::ReadOnly))
        return true;
    const QByteArray data = device.readAll();
    device.close();
    return createFromData(data);
}

bool CFileFGD::createFromData(const QByteArray &data)
{
    Reader reader(*this, data);
    return reader.run();
}
