#include "util/UtilText.h"

#include <QRegExp>

bool UTIL_isWhitespace(char c)
{
    switch (c) {
    case ' ':
    case '\t':
    case '\r':
    case '\n':
    case '\v':
    case '\f':
    case '\b':
    case '\a':
        return true;
    default:
        return false;
    }
}

namespace {

// Shared by both forms of UTIL_getPart: Str is std::string or QString, IsSpace the
// white-space test of that form.
template<typename Str, typename IsSpace>
int scanPart(const Str &line, Str &key, Str &value, IsSpace isSpace, const Str &quote,
             const Str &comment)
{
    using Size = decltype(line.size());
    const Size n = line.size();
    auto startsComment = [&](Size at) {
        return at + 1 < n && line.at(at) == comment.at(0) && line.at(at + 1) == comment.at(1);
    };
    auto stripQuotes = [&](Str &part) {
        if (part.size() < 2)
            return;
        if (part.at(0) == quote.at(0))
            part = part.substr(1, part.size() - 1);
        if (!part.empty() && part.at(part.size() - 1) == quote.at(0))
            part = part.substr(0, part.size() - 1);
    };

    Size i = 0;
    while (i < n && isSpace(line.at(i)))
        ++i;
    if (i >= n || startsComment(i))
        return 0; // nothing at all

    Size j = i;
    while (j < n && !isSpace(line.at(j)))
        ++j;
    key = line.substr(i, j - i);
    stripQuotes(key);

    while (j < n && isSpace(line.at(j)))
        ++j;
    if (j >= n || startsComment(j))
        return 1; // key without value

    Size k = j + 1;
    if (line.at(j) == quote.at(0)) {
        while (k < n && line.at(k) != quote.at(0))
            ++k;
    } else {
        while (k < n && !isSpace(line.at(k)))
            ++k;
    }
    if (k >= n)
        return 2; // value without its terminator

    value = line.substr(j, k - j + 1);
    stripQuotes(value);
    return 3;
}

// A thin std::string-like face over QString, so that one scanner serves both forms.
struct QStr : QString
{
    using QString::QString;
    QStr() = default;
    QStr(const QString &s)
        : QString(s)
    { }
    bool empty() const { return isEmpty(); }
    QStr substr(qsizetype pos, qsizetype len) const { return QStr(mid(pos, len)); }
};

} // namespace

bool UTIL_getPart(const std::string &line, std::string &key, std::string &value)
{
    const int state = scanPart(
        line, key, value, [](char c) { return UTIL_isWhitespace(c); }, std::string("\""),
        std::string("//"));
    switch (state) {
    case 0:
        key.clear();
        value.clear();
        return false;
    case 1:
        value.assign(1, '?');
        return false;
    case 2:
        value.clear();
        return false;
    default:
        return true;
    }
}

bool UTIL_getPart(const QString &line, QString &key, QString &value)
{
    QStr k, v;
    const int state = scanPart(
        QStr(line), k, v, [](QChar c) { return c.isSpace(); }, QStr(QStringLiteral("\"")),
        QStr(QStringLiteral("//")));
    switch (state) {
    case 0:
        key.clear();
        value.clear();
        return false;
    case 1:
        key = k;
        value = QString();
        return false;
    case 2:
        key = k;
        value.clear();
        return false;
    default:
        key = k;
        value = v;
        return true;
    }
}

QStringList UTIL_getParts(const QString &line)
{
    // QRegExp on purpose: its leftmost-longest alternation lets a run of non-space win over
    // a shorter quoted string at the same place ("a"b is one token).
    static QRegExp rx(QStringLiteral("(\\\"[^\\\"]+\\\"|//.*$|(\\S)+)"), Qt::CaseInsensitive);
    QStringList parts;
    qsizetype pos = 0;
    while ((pos = rx.indexIn(line, pos)) != -1) {
        QString token = rx.cap(1);
        pos += qMax(1, rx.matchedLength());
        if (token.endsWith(QLatin1Char('"')))
            token.chop(1);
        if (token.startsWith(QLatin1Char('"')))
            token.remove(0, 1);
        parts.append(token.trimmed());
    }
    return parts;
}

void UTIL_getParts(const QString &line, QString &key, QString &value, QString &comment)
{
    key = QString();
    value = QString();
    comment = QString();
    int found = 0;
    const QStringList parts = UTIL_getParts(line);
    for (const QString &part : parts) {
        if (part.startsWith(QLatin1String("//"))) {
            comment = part.trimmed();
        } else if (found == 0) {
            key = part;
            ++found;
        } else if (found == 1) {
            value = part;
            ++found;
        }
    }
}

void UTIL_getParts(const QString &line, QString &key, QString &value)
{
    static QString comment;
    UTIL_getParts(line, key, value, comment);
}

namespace {

QString latin1UpToNul(const QByteArray &bytes)
{
    const qsizetype nul = bytes.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? bytes : bytes.left(nul));
}

QByteArray backToBytes(const QString &text)
{
    if (text.isNull())
        return QByteArray();
    QByteArray bytes = text.toLatin1();
    if (bytes.isNull())
        bytes = QByteArray("");
    return bytes;
}

} // namespace

void UTIL_getParts(const QByteArray &line, QByteArray &key, QByteArray &value, QByteArray &comment)
{
    QString k, v, c;
    UTIL_getParts(latin1UpToNul(line), k, v, c);
    key = backToBytes(k);
    value = backToBytes(v);
    comment = backToBytes(c);
}

void UTIL_getParts(const QByteArray &line, QByteArray &key, QByteArray &value)
{
    static QByteArray comment;
    UTIL_getParts(line, key, value, comment);
}

QString UTIL_groupDigits(unsigned long long value)
{
    const QString digits = QString::number(value);
    QString grouped;
    grouped.reserve(digits.size() + digits.size() / 3);
    const qsizetype n = digits.size();
    for (qsizetype i = 0; i < n; ++i) {
        if (i > 0 && (n - i) % 3 == 0)
            grouped.append(QLatin1Char(','));
        grouped.append(digits.at(i));
    }
    return grouped;
}

QString UTIL_standardNotationFloat(double value, int precision)
{
    QString text = QStringLiteral("%1").arg(value, 0, 'f', precision, QLatin1Char(' '));
    // A missing dot is not told apart from one further right: with precision 0 the zeros of
    // an integer go as well. Kept, callers know.
    if (text.lastIndexOf(QLatin1Char('.')) != 0) {
        while (!text.isEmpty()) {
            const QChar last = text.at(text.size() - 1);
            if (last == QLatin1Char('0')) {
                text.chop(1);
            } else {
                if (last == QLatin1Char('.'))
                    text.chop(1);
                break;
            }
        }
    }
    return text;
}

namespace {

constexpr unsigned long long kTopBit = 1ULL << 63;

inline bool isPowerOfTwo(unsigned long long v)
{
    return v != 0 && (v & (v - 1)) == 0;
}

// Highest set bit among bits 62..0, as a value; 0 when none is set.
unsigned long long highestLowBit(unsigned long long v)
{
    for (int bit = 62; bit >= 0; --bit) {
        if (v & (1ULL << bit))
            return 1ULL << bit;
    }
    return 0;
}

} // namespace

unsigned long long UTIL_nextPowerOfTwo(const unsigned long long &value, bool strict)
{
    if (value == 0)
        return 1;
    if (isPowerOfTwo(value))
        return (strict && value != kTopBit) ? value << 1 : value;
    return highestLowBit(value) << 1;
}

unsigned long long UTIL_lastPowerOfTwo(const unsigned long long &value, bool strict)
{
    Q_UNUSED(strict);
    if (value == 0)
        return 1;
    return highestLowBit(value);
}

unsigned long long UTIL_nearestPowerOfTwo(const unsigned long long &value)
{
    if (isPowerOfTwo(value))
        return value;
    const unsigned long long next = UTIL_nextPowerOfTwo(value, false);
    const unsigned long long last = UTIL_lastPowerOfTwo(value, false);
    const unsigned long long result = (value - last >= next - value) ? next : last;
    return result == 0 ? 1 : result;
}

int UTIL_flagToIndex(unsigned long long flag)
{
    if (!isPowerOfTwo(flag))
        return -1;
    // The bit is matched against a signed 32 bit 1 << i widened to 64 bits: bit 31 widens to
    // a negative value and higher bits cannot be reached, so both give -1.
    for (int i = 0; i < 32; ++i) {
        const qint32 narrow = static_cast<qint32>(static_cast<quint32>(1) << i);
        if (flag == static_cast<unsigned long long>(static_cast<qint64>(narrow)))
            return i;
    }
    return -1;
}
