#include "packages/CVPKDirectory.h"

#include "packages/CChildNameIndex.h"

#include <QFileDevice>
#include <QHash>
#include <QIODevice>
#include <QtEndian>

#include <array>
#include <cstring>
#include <limits>

namespace {
const char *incompleteRead = "Read Error: Incomplete read";

// The bytes that a path trim strips: both separators and what QChar::isSpace
// counts. Tree strings are Latin-1, one character a byte.
const std::array<bool, 256> &trimmable()
{
    static const std::array<bool, 256> table = [] {
        std::array<bool, 256> out {};
        for (int c = 0; c < 256; ++c)
            out[size_t(c)] = c == '/' || c == '\\' || QChar(char16_t(c)).isSpace();
        return out;
    }();
    return table;
}

struct Span_t
{
    const uchar *data = nullptr;
    qsizetype size = 0;
};

// Walks the tree bytes in place: strings are views, never copies.
class TreeCursor
{
public:
    TreeCursor(const uchar *data, qint64 size)
        : at(data)
        , end(data + size)
        , trim(trimmable())
    { }

    // The next NUL-terminated string, trimmed as a path is (strings shorter
    // than two characters stay as they are). False when no NUL follows.
    bool string(Span_t &out)
    {
        const void *nul = std::memchr(at, 0, size_t(end - at));
        if (!nul)
            return false;
        out.data = at;
        out.size = static_cast<const uchar *>(nul) - at;
        at = static_cast<const uchar *>(nul) + 1;
        if (out.size >= 2) {
            while (out.size > 0 && trim[out.data[out.size - 1]])
                --out.size;
            while (out.size > 0 && trim[*out.data]) {
                ++out.data;
                --out.size;
            }
        }
        return true;
    }

    const uchar *take(qint64 count)
    {
        if (count > end - at)
            return nullptr;
        const uchar *start = at;
        at += count;
        return start;
    }

private:
    const uchar *at;
    const uchar *end;
    const std::array<bool, 256> &trim;
};

bool hasSeparator(const Span_t &span)
{
    for (qsizetype i = 0; i < span.size; ++i) {
        if (span.data[i] == '/' || span.data[i] == '\\')
            return true;
    }
    return false;
}

struct Totals_t
{
    qsizetype entries = 0;
    qsizetype nameChars = 0;
    qsizetype preloadBytes = 0;
};

// Walks a copy of the cursor over the whole tree.
bool countTree(TreeCursor cursor, Totals_t &totals)
{
    Span_t extension, path, baseName;
    for (;;) {
        if (!cursor.string(extension))
            return false;
        if (extension.size == 0)
            return true;
        for (;;) {
            if (!cursor.string(path))
                return false;
            if (path.size == 0)
                break;
            for (;;) {
                if (!cursor.string(baseName))
                    return false;
                if (baseName.size == 0)
                    break;
                const uchar *fields = cursor.take(18);
                if (!fields)
                    return false;
                const quint16 preload = qFromLittleEndian<quint16>(fields + 4);
                if (!cursor.take(preload))
                    return false;
                ++totals.entries;
                totals.nameChars += baseName.size + 1 + extension.size + 1;
                totals.preloadBytes += preload;
            }
        }
    }
}

// Appends Latin-1 bytes to a buffer that the caller has made large enough.
char16_t *widen(char16_t *out, const Span_t &span)
{
    for (qsizetype i = 0; i < span.size; ++i)
        out[i] = span.data[i];
    return out + span.size;
}

} // namespace

void CVPKDirectory::clear()
{
    hasHeader = false;
    signature = version = treeSize = 0;
    entries.clear();
    paths.clear();
    names.clear();
    preloads.clear();
    nameHashes.clear();
    pathEntryCounts.clear();
}

QStringView CVPKDirectory::entryNameView(qsizetype index) const
{
    const qsizetype start = entries.at(index).nameStart;
    const qsizetype next
        = index + 1 < entries.size() ? qsizetype(entries.at(index + 1).nameStart) : names.size();
    return QStringView(names).mid(start, next - 1 - start);
}

QString CVPKDirectory::entryName(qsizetype index) const
{
    // A view into the shared buffer, which holds one reference to it: the
    // names follow each other NUL-separated, so that each view is terminated
    // as the text of a string must be.
    const QStringView name = entryNameView(index);
    QString::DataPointer view = names.data_ptr();
    view.ptr += name.data() - names.constData();
    view.size = name.size();
    return QString(std::move(view));
}

bool CVPKDirectory::read(QIODevice &device, QString &error)
{
    clear();
    if (!device.seek(0)) {
        error = QStringLiteral("Stream Error: Seek error");
        return false;
    }
    // The tree is read in place from a mapping of the file; a device that
    // cannot be mapped is read whole.
    QFileDevice *file = qobject_cast<QFileDevice *>(&device);
    const qint64 size = device.size();
    uchar *mapped = (file && size > 0) ? file->map(0, size) : nullptr;
    if (mapped) {
        const bool ok = parse(mapped, size, error);
        file->unmap(mapped);
        return ok;
    }
    const QByteArray bytes = device.readAll();
    return parse(reinterpret_cast<const uchar *>(bytes.constData()), bytes.size(), error);
}

bool CVPKDirectory::parse(const uchar *data, qint64 size, QString &error)
{
    TreeCursor cursor(data, size);
    if (size >= 4 && qFromLittleEndian<quint32>(data) == headerSignature) {
        const uchar *header = cursor.take(headerSize);
        if (!header) {
            error = QString::fromLatin1(incompleteRead);
            return false;
        }
        hasHeader = true;
        signature = headerSignature;
        version = qFromLittleEndian<quint32>(header + 4);
        treeSize = qFromLittleEndian<quint32>(header + 8);
    }

    auto fail = [&error]() {
        error = QString::fromLatin1(incompleteRead);
        return false;
    };
    // A first walk counts what the records need, so that every buffer is
    // allocated once at its final size; it also finds a truncated tree.
    Totals_t totals;
    if (!countTree(cursor, totals))
        return fail();
    const qsizetype maxOffset = std::numeric_limits<quint32>::max();
    if (totals.nameChars > maxOffset || totals.preloadBytes > maxOffset)
        return fail();
    // reserve() allocates exactly; resize() alone would round up for growth.
    entries.reserve(totals.entries);
    nameHashes.reserve(totals.entries);
    names.reserve(totals.nameChars);
    names.resize(totals.nameChars);
    preloads.reserve(totals.preloadBytes);
    preloads.resize(totals.preloadBytes);
    char16_t *nameOut = reinterpret_cast<char16_t *>(names.data());
    char *preloadOut = preloads.data();
    QHash<QByteArray, quint32> pathIds;
    Span_t extension, path, baseName;
    for (;;) {
        if (!cursor.string(extension))
            return fail();
        if (extension.size == 0)
            break;
        const bool extensionHasSeparator = hasSeparator(extension);
        for (;;) {
            if (!cursor.string(path))
                return fail();
            if (path.size == 0)
                break;
            // Each directory is listed once per extension: keep one copy.
            const QByteArray key
                = QByteArray::fromRawData(reinterpret_cast<const char *>(path.data), path.size);
            auto known = pathIds.constFind(key);
            if (known == pathIds.constEnd()) {
                known = pathIds.insert(QByteArray(key.constData(), key.size()),
                                       quint32(paths.size()));
                paths.append(QString::fromLatin1(key));
                pathEntryCounts.append(0);
            }
            const quint32 pathIndex = known.value();
            for (;;) {
                if (!cursor.string(baseName))
                    return fail();
                if (baseName.size == 0)
                    break;
                const uchar *fields = cursor.take(18);
                if (!fields)
                    return fail();
                Entry_t entry;
                entry.crc = qFromLittleEndian<quint32>(fields);
                entry.preloadBytes = qFromLittleEndian<quint16>(fields + 4);
                entry.archiveIndex = qFromLittleEndian<quint16>(fields + 6);
                entry.archiveOffset = qFromLittleEndian<quint32>(fields + 8);
                entry.archiveLength = qFromLittleEndian<quint32>(fields + 12);
                entry.terminator = qFromLittleEndian<quint16>(fields + 16);
                const uchar *preload = cursor.take(entry.preloadBytes);
                if (!preload)
                    return fail();
                entry.nameHasSeparator = extensionHasSeparator || hasSeparator(baseName);
                entry.pathIndex = pathIndex;

                entry.nameStart = quint32(nameOut - reinterpret_cast<char16_t *>(names.data()));
                const char16_t *name = nameOut;
                nameOut = widen(nameOut, baseName);
                *nameOut++ = u'.';
                nameOut = widen(nameOut, extension);
                nameHashes.append(CChildNameIndex::foldedHash(QStringView(name, nameOut - name)));
                *nameOut++ = u'\0';

                entry.preloadStart = quint32(preloadOut - preloads.data());
                std::memcpy(preloadOut, preload, entry.preloadBytes);
                preloadOut += entry.preloadBytes;

                ++pathEntryCounts[pathIndex];
                entries.append(entry);
            }
        }
    }
    return true;
}
