#include "materials/VMTText.h"

#include "util/UtilText.h"

namespace VMTText {

const char *const ShaderInsertionFailed = "Unable to find suitable shader insertion point.";
const char *const ShaderReplacementQuestionable
    = "Shader replacement accuracy may be questionable.";
const char *const ShaderInsertionQuestionable = "Shader insertion accuracy may be questionable.";
const char *const KeyValueInsertionFailed = "Unable to find suitable keyvalue insertion point.";
const char *const ProxyInsertionFailed = "Unable to find suitable proxy insertion point.";

namespace {

// First character of the trimmed line, or a null character for a blank line.
QChar leadingCharacter(const QString &line)
{
    const QStringView trimmed = QStringView(line).trimmed();
    return trimmed.isEmpty() ? QChar() : trimmed.front();
}

bool trimmedIs(const QString &line, QChar c)
{
    const QStringView trimmed = QStringView(line).trimmed();
    return trimmed.size() == 1 && trimmed.front() == c;
}

bool isBlank(const QString &line)
{
    return QStringView(line).trimmed().isEmpty();
}

// The lines that may stand in front of a new keyvalue or Proxies block: keyvalues ("..." or
// $...) and the opening brace.
bool isInsertionAnchor(const QString &line)
{
    const QChar c = leadingCharacter(line);
    return c == u'"' || c == u'$' || c == u'{';
}

// Index of the nearest line at or above from that satisfies the test, or -1.
template<typename Test> qsizetype searchUpward(const QStringList &lines, qsizetype from, Test test)
{
    for (qsizetype i = from; i >= 0; --i) {
        if (test(lines.at(i)))
            return i;
    }
    return -1;
}

qsizetype firstProxiesLine(const QStringList &lines)
{
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (isProxiesLine(lines.at(i)))
            return i;
    }
    return -1;
}

QString joined(const QStringList &lines)
{
    return lines.join(QLatin1Char('\n'));
}

// Parameter lines of a proxy entry, one "\t\t\t\"key\" \"value\"\n" each.
QString proxyParameters(const QStringList &keys, const QStringList *values)
{
    QString body;
    const qsizetype count = qMin(keys.size(), MaxProxyParameters);
    for (qsizetype i = 0; i < count; ++i) {
        body += QLatin1String("\t\t\t\"") + keys.at(i) + QLatin1String("\" \"")
            + (values ? values->value(i) : QString()) + QLatin1String("\"\n");
    }
    return body;
}

// Removes the blank lines directly above index at; returns the new index of the line at at.
qsizetype removeBlankLinesAbove(QStringList &lines, qsizetype at)
{
    qsizetype first = at;
    while (first > 0 && isBlank(lines.at(first - 1)))
        --first;
    lines.remove(first, at - first);
    return first;
}

// The closing line of the material: the nearest line from the bottom whose trimmed form is
// "}". Blank lines in front of it go.
void tidyClosingBrace(QStringList &lines)
{
    const qsizetype last = searchUpward(lines, lines.size() - 1,
                                        [](const QString &line) { return trimmedIs(line, u'}'); });
    if (last >= 0)
        removeBlankLinesAbove(lines, last);
}

// Everything from the Proxies line down to the first "\t}" line, or to the end.
void removeWholeBlock(QStringList &lines, qsizetype proxies)
{
    qsizetype end = proxies;
    while (end < lines.size() && lines.at(end) != QLatin1String("\t}"))
        ++end;
    lines.remove(proxies, qMin(end + 1, lines.size()) - proxies);
    tidyClosingBrace(lines);
}

} // namespace

bool isProxiesLine(const QString &line)
{
    return line == QLatin1String("Proxies") || line == QLatin1String("\"Proxies\"")
        || line == QLatin1String("\tProxies") || line == QLatin1String("\t\"Proxies\"");
}

const char *addShader(QString &text, const QString &shader)
{
    if (QStringView(text).trimmed().isEmpty()) {
        text += QLatin1Char('"') + shader + QLatin1String("\"\n{\n}\n");
        return nullptr;
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.size() > MaxLines)
        return ShaderInsertionFailed;
    const QString shaderLine = QStringLiteral("\"%1\"").arg(shader);
    auto quoted = [](const QString &line) { return line.startsWith(QLatin1Char('"')); };

    const qsizetype brace = lines.indexOf(QStringLiteral("{"));
    if (brace < 0) {
        const auto hit = std::find_if(lines.begin(), lines.end(), quoted);
        if (hit == lines.end())
            return ShaderInsertionFailed;
        *hit = shaderLine;
        text = joined(lines);
        return ShaderInsertionQuestionable;
    }
    const qsizetype shaderAt = searchUpward(lines, brace, quoted);
    if (shaderAt >= 0) {
        lines[shaderAt] = shaderLine;
        text = joined(lines);
        return nullptr;
    }
    // Nothing quoted above the brace: the attempt is only reported, the text is kept as it was.
    const qsizetype nonEmpty
        = searchUpward(lines, brace - 1, [](const QString &line) { return !line.isEmpty(); });
    return nonEmpty >= 0 ? ShaderReplacementQuestionable : ShaderInsertionQuestionable;
}

const char *addParameter(QString &text, const QString &key, const QString &value)
{
    if (QStringView(text).trimmed().isEmpty()) {
        text += QLatin1String("\"\"\n{\n\t\"") + key + QLatin1String("\" \"") + value
            + QLatin1String("\"\n}\n");
        return nullptr;
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.size() > MaxLines)
        return KeyValueInsertionFailed;
    const QString parameterLine = QStringLiteral("\t\"%1\" \"%2\"").arg(key, value);
    const QString lowerKey = key.toLower();

    qsizetype end = lines.size();
    QString lineKey;
    QString lineValue;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (isProxiesLine(lines.at(i))) {
            end = i;
            break;
        }
        if (UTIL_getPart(lines.at(i), lineKey, lineValue) && lineKey.toLower() == lowerKey) {
            lines[i] = parameterLine;
            text = joined(lines);
            return nullptr;
        }
    }
    const qsizetype anchor = searchUpward(lines, end - 1, isInsertionAnchor);
    if (anchor < 0)
        return KeyValueInsertionFailed;
    lines.insert(anchor + 1, parameterLine);
    text = joined(lines);
    return nullptr;
}

const char *addProxy(QString &text, const QString &name, const QStringList &keys,
                     const QStringList *values)
{
    // The lead-ins end with the opening quote of the name.
    const QString entry = name + QLatin1String("\"\n\t\t{\n") + proxyParameters(keys, values)
        + QLatin1String("\t\t}");
    if (QStringView(text).trimmed().isEmpty()) {
        text += QLatin1String("\"\"\n{\n\n\t\"Proxies\"\n\t{\n\t\t\"") + entry
            + QLatin1String("\n\t}\n}\n");
        return nullptr;
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.size() > MaxLines)
        return ProxyInsertionFailed;

    if (firstProxiesLine(lines) < 0) {
        const qsizetype anchor = searchUpward(lines, lines.size() - 1, isInsertionAnchor);
        if (anchor < 0)
            return ProxyInsertionFailed;
        lines.insert(anchor + 1,
                     QLatin1String("\n\t\"Proxies\"\n\t{\n\t\t\"") + entry
                         + QLatin1String("\n\t}"));
        text = joined(lines);
        return nullptr;
    }

    // The last closing line is taken for the material's, the one above it for the block's.
    auto closing = [](const QString &line) { return leadingCharacter(line) == u'}'; };
    const qsizetype materialEnd = searchUpward(lines, lines.size() - 1, closing);
    qsizetype blockEnd = 0;
    if (materialEnd == 0)
        return ProxyInsertionFailed;
    if (materialEnd > 0) {
        blockEnd = searchUpward(lines, materialEnd - 1, closing);
        if (blockEnd < 0)
            return ProxyInsertionFailed;
    }
    // Without any closing line the entry lands in front of the first line; kept that way.
    lines.insert(blockEnd, QLatin1String("\n\t\t\"") + entry);
    text = joined(lines);
    return nullptr;
}

void removeProxy(QString &text, const QString &name)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.isEmpty() || lines.size() > MaxLines)
        return;
    const qsizetype before = lines.size();
    const qsizetype proxies = firstProxiesLine(lines);
    if (proxies < 0)
        return;

    if (name.isEmpty()) {
        removeWholeBlock(lines, proxies);
    } else {
        const QString lowerName = name.toLower();
        qsizetype kept = 0;
        QString key;
        QString value;
        qsizetype j = proxies + 1;
        while (j < lines.size()) {
            if (UTIL_getPart(lines.at(j), key, value)) {
                ++j;
                continue;
            }
            if (key.toLower() == lowerName) {
                // No nesting is counted: the first closing brace ends the proxy.
                qsizetype end = j;
                while (end < lines.size() && !trimmedIs(lines.at(end), u'}'))
                    ++end;
                lines.remove(j, qMin(end + 1, lines.size()) - j);
                while (j < lines.size() && isBlank(lines.at(j)))
                    lines.remove(j);
                continue;
            }
            if (leadingCharacter(lines.at(j)) == u'"') {
                ++kept;
                while (j < lines.size() && !trimmedIs(lines.at(j), u'}'))
                    ++j;
            }
            ++j;
        }
        if (kept == 0) {
            // Nothing else in the block: the block goes as a whole, judged on the text as it was.
            removeProxy(text, QString());
            return;
        }
        const qsizetype last = searchUpward(
            lines, lines.size() - 1, [](const QString &line) { return trimmedIs(line, u'}'); });
        if (last >= 0) {
            const qsizetype blockClose = removeBlankLinesAbove(lines, last) - 1;
            if (blockClose >= 0)
                removeBlankLinesAbove(lines, blockClose);
        }
    }
    if (lines.size() != before)
        text = joined(lines);
}

} // namespace VMTText
