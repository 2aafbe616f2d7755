#include "gamedata/Parse.h"

#include <QList>

#include <algorithm>
#include <cstring>

namespace {

bool startsComment(const QByteArray &data, qsizetype pos)
{
    return pos + 1 < data.size() && data[pos] == '/' && data[pos + 1] == '/';
}

// The white space of QByteArray::trimmed.
bool isTrimSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

bool Parse::isWhitespace(char c)
{
    return c == ' ' || (c >= 7 && c <= 13);
}

void Parse::ignoreWhitespace(const QByteArray &data, qsizetype &pos)
{
    const qsizetype size = data.size();
    while (pos < size) {
        if (isWhitespace(data[pos])) {
            ++pos;
        } else if (startsComment(data, pos)) {
            const char *begin = data.constData() + pos;
            const void *end = std::memchr(begin, '\n', size_t(size - pos));
            pos = end ? (static_cast<const char *>(end) - data.constData()) + 1 : size;
        } else {
            return;
        }
    }
}

void Parse::returnUntil(const QByteArray &data, qsizetype &pos, char stop, QByteArray &out)
{
    const qsizetype size = data.size();
    if (pos >= size) {
        pos = std::max(pos, size);
        out.clear();
        return;
    }
    const char *begin = data.constData() + pos;
    const void *found = std::memchr(begin, stop, size_t(size - pos));
    const qsizetype end = found ? static_cast<const char *>(found) - data.constData() : size;
    out = data.mid(pos, end - pos);
    pos = end;
}

void Parse::returnUntilWhitespace(const QByteArray &data, qsizetype &pos, QByteArray &out)
{
    const qsizetype size = data.size();
    const qsizetype start = std::min(pos, size);
    qsizetype end = start;
    while (end < size && !isWhitespace(data[end]) && !startsComment(data, end))
        ++end;
    out = data.mid(start, end - start);
    pos = end;
}

void Parse::returnUntilWhitespaceOr(const QByteArray &data, qsizetype &pos, char stop,
                                    QByteArray &out)
{
    const qsizetype size = data.size();
    const qsizetype start = std::min(pos, size);
    qsizetype end = start;
    while (end < size && data[end] != stop && !isWhitespace(data[end]) && !startsComment(data, end))
        ++end;
    out = data.mid(start, end - start);
    pos = end;
}

QByteArray Parse::getString(const QByteArray &text)
{
    // Scans in place: the reader hands over whole files here.
    const qsizetype size = text.size();
    qsizetype begin = 0;
    while (begin < size && isTrimSpace(text[begin]))
        ++begin;
    qsizetype end = size;
    while (end > begin && isTrimSpace(text[end - 1]))
        --end;
    if (begin >= end)
        return QByteArray();
    if (text[begin] == '"') {
        const char *from = text.constData() + begin + 1;
        const void *quote = std::memchr(from, '"', size_t(end - begin - 1));
        const qsizetype stop = quote ? static_cast<const char *>(quote) - text.constData() : end;
        return text.mid(begin + 1, stop - begin - 1);
    }
    qsizetype stop = begin;
    while (stop < end && !isTrimSpace(text[stop]) && text[stop] != '"')
        ++stop;
    return text.mid(begin, stop - begin);
}

void Parse::returnString(const QByteArray &data, qsizetype &pos, QByteArray &out)
{
    out.clear();
    QByteArray piece;
    while (pos < data.size() && data[pos] == '"') {
        ++pos;
        returnUntil(data, pos, '"', piece);
        out += piece;
        if (pos < data.size())
            ++pos;
        ignoreWhitespace(data, pos);
        if (pos >= data.size() || data[pos] != '+')
            return;
        ++pos;
        ignoreWhitespace(data, pos);
    }
}

QRgb Parse::getQRgb(const QByteArray &text, QRgb fallback)
{
    const QList<QByteArray> items = text.simplified().split(' ');
    if (items.size() < 3)
        return fallback;
    int rgb[3];
    for (int i = 0; i < 3; ++i)
        rgb[i] = std::clamp(items[i].toInt(), 0, 255);
    return qRgb(rgb[0], rgb[1], rgb[2]);
}
