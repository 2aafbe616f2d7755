#include "map/CLineTokenizer.h"

#include <cstring>

void CLineTokenizer::split(const QByteArray &line, QByteArray &key, QByteArray &value)
{
    key = QByteArray();
    value = QByteArray();

    const char *text = line.constData();
    const void *nul = std::memchr(text, '\0', size_t(line.size()));
    const qsizetype size = nul ? static_cast<const char *>(nul) - text : line.size();
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);

    int found = 0;
    qsizetype pos = 0;
    while (found < 2) {
        while (pos < size && isBlank(bytes[pos]))
            ++pos;
        if (pos >= size)
            break;

        // The longest alternative that matches here wins.
        const qsizetype start = pos;
        qsizetype end = start;
        while (end < size && !isBlank(bytes[end]))
            ++end;
        if (bytes[start] == '"') {
            const void *quote = std::memchr(text + start + 1, '"', size_t(size - start - 1));
            if (quote) {
                const qsizetype close = static_cast<const char *>(quote) - text;
                if (close > start + 1 && close + 1 > end)
                    end = close + 1;
            }
        } else if (bytes[start] == '/' && start + 1 < size && bytes[start + 1] == '/') {
            end = size;
        }
        pos = end;

        qsizetype first = start;
        qsizetype last = end;
        if (bytes[last - 1] == '"')
            --last;
        if (last > first && bytes[first] == '"')
            ++first;
        while (first < last && isBlank(bytes[first]))
            ++first;
        while (last > first && isBlank(bytes[last - 1]))
            --last;

        if (last - first >= 2 && bytes[first] == '/' && bytes[first + 1] == '/')
            continue;
        QByteArray &part = found == 0 ? key : value;
        part = QByteArray(text + first, last - first);
        if (part.isNull())
            part = QByteArray("");
        ++found;
    }
}
