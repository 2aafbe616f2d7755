#pragma once

// Reading one attribute value of a binary DMX file, over bytes in memory or a data stream.
// Every count and length is held against the bytes that are left before anything is
// allocated for it.

#include "particles/CDmxAttribute.h"
#include "particles/CDmxElement.h"
#include "particles/DmxTicks.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <cstring>
#include <memory>

namespace DmxRead {

inline const char *const EndOfFile = "Read Error: Unexpected end of file";
inline const char *const ElementIndex = "Read Error: Element index out of bounds";
inline const char *const StringIndex = "Read Error: String index out of bounds";
inline const char *const ArrayCount = "Read Error: Array count exceeds file size";
inline const char *const BinaryLength = "Read Error: Binary length exceeds file size";

// Latin-1 white space as QChar::isSpace sees it, so that trimming bytes before they become
// text trims what trimming the text would.
inline bool isSpace(unsigned char c)
{
    return (c >= 9 && c <= 13) || c == 32 || c == 0x85 || c == 0xA0;
}

inline QString trimmedLatin1(const char *begin, qsizetype length)
{
    const char *end = begin + length;
    while (begin < end && isSpace(uchar(*begin)))
        ++begin;
    while (end > begin && isSpace(uchar(end[-1])))
        --end;
    return QString::fromLatin1(begin, end - begin);
}

// Bytes in memory.
class MemorySource
{
public:
    MemorySource(const char *data, qsizetype size)
        : data(data)
        , size(size)
    { }

    qsizetype remaining() const { return size - pos; }
    qsizetype position() const { return pos; }

    [[nodiscard]] bool raw(void *out, qsizetype length)
    {
        if (length > remaining())
            return false;
        std::memcpy(out, data + pos, size_t(length));
        pos += length;
        return true;
    }
    template<typename T> [[nodiscard]] bool number(T &out)
    {
        if (qsizetype(sizeof(T)) > remaining())
            return false;
        out = qFromLittleEndian<T>(data + pos);
        pos += qsizetype(sizeof(T));
        return true;
    }
    // A NUL-terminated string, trimmed; false when no NUL is left.
    [[nodiscard]] bool cString(QString &out)
    {
        const void *hit = std::memchr(data + pos, 0, size_t(remaining()));
        if (!hit)
            return false;
        const qsizetype length = static_cast<const char *>(hit) - (data + pos);
        out = trimmedLatin1(data + pos, length);
        pos += length + 1;
        return true;
    }
    [[nodiscard]] bool bytes(QByteArray &out, qsizetype length)
    {
        if (length > remaining())
            return false;
        out = QByteArray(data + pos, length);
        pos += length;
        return true;
    }

private:
    const char *data;
    qsizetype size;
    qsizetype pos = 0;
};

// A little-endian data stream on a device; what is left is what the device still has.
class StreamSource
{
public:
    explicit StreamSource(QDataStream &stream)
        : stream(stream)
    { }

    qsizetype remaining() const
    {
        QIODevice *device = stream.device();
        return device ? qsizetype(device->bytesAvailable()) : 0;
    }
    [[nodiscard]] bool raw(void *out, qsizetype length)
    {
        if (length > remaining())
            return false;
        return stream.readRawData(static_cast<char *>(out), int(length)) == length;
    }
    template<typename T> [[nodiscard]] bool number(T &out)
    {
        char buffer[sizeof(T)];
        if (!raw(buffer, qsizetype(sizeof(T))))
            return false;
        out = qFromLittleEndian<T>(buffer);
        return true;
    }
    [[nodiscard]] bool cString(QString &out)
    {
        QByteArray text;
        char c = 0;
        for (;;) {
            if (!raw(&c, 1))
                return false;
            if (c == 0)
                break;
            text.append(c);
        }
        out = trimmedLatin1(text.constData(), text.size());
        return true;
    }
    [[nodiscard]] bool bytes(QByteArray &out, qsizetype length)
    {
        if (length > remaining())
            return false;
        QByteArray buffer(length, Qt::Uninitialized);
        if (!raw(buffer.data(), length))
            return false;
        out = buffer;
        return true;
    }

private:
    QDataStream &stream;
};

// What a value may refer to: the file's elements and dictionary, and the form of strings.
struct Context
{
    const QList<CDmxElement *> *elements = nullptr;
    const QList<QString *> *dictionary = nullptr;
    bool stringsByIndex = false;
    // When set, the index of every element referred to is added here.
    QList<qint32> *references = nullptr;
};

inline qsizetype itemSize(int type, bool stringsByIndex)
{
    switch (type) {
    case CDmxAttribute::ATTRIBUTE_BOOLEAN:
        return 1;
    case CDmxAttribute::ATTRIBUTE_STRING:
        return stringsByIndex ? 2 : 1;
    case CDmxAttribute::ATTRIBUTE_VECTOR2:
        return 8;
    case CDmxAttribute::ATTRIBUTE_VECTOR3:
    case CDmxAttribute::ATTRIBUTE_QANGLE:
        return 12;
    case CDmxAttribute::ATTRIBUTE_VECTOR4:
    case CDmxAttribute::ATTRIBUTE_QUATERNION:
        return 16;
    case CDmxAttribute::ATTRIBUTE_MATRIX:
        return 64;
    default:
        return 4;
    }
}

template<typename Source>
CDmxElement *element(Source &source, const Context &context, const char *&error)
{
    qint32 index = 0;
    if (!source.number(index))
        return error = EndOfFile, nullptr;
    if (!context.elements || index < 0 || index >= context.elements->size())
        return error = ElementIndex, nullptr;
    if (context.references)
        context.references->append(index);
    return context.elements->at(index);
}

template<typename T, size_t N, typename Source> bool numbers(Source &source, std::array<T, N> &out)
{
    for (T &item : out) {
        if (!source.number(item))
            return false;
    }
    return true;
}

// One value of a simple type (1 to 14) as an object of its own, for array items; null with
// error set when it cannot be read.
template<typename Source>
void *simpleItem(int type, Source &source, const Context &context, const char *&error);

enum class Outcome { Value, NoValue, Error };

// Reads one value of a simple type (0 to 14) into the attribute.
template<typename Source>
Outcome simpleValue(CDmxAttribute &target, int type, Source &source, const Context &context,
                    const char *&error)
{
    using A = CDmxAttribute;
    const auto id = A::ParticleAttributeType_t(type);
    auto fail = [&error](const char *text) {
        error = text;
        return Outcome::Error;
    };
    switch (type) {
    case A::ATTRIBUTE_NULL:
        return target.setValue(id, nullptr) ? Outcome::Value : Outcome::NoValue;
    case A::ATTRIBUTE_ELEMENT: {
        CDmxElement *value = element(source, context, error);
        if (!value)
            return Outcome::Error;
        return target.setValue(id, value) ? Outcome::Value : Outcome::NoValue;
    }
    case A::ATTRIBUTE_INTEGER:
        if (!source.number(*target.emplaceValue<DmxInteger>(id, 0)))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_FLOAT:
        if (!source.number(*target.emplaceValue<DmxFloat>(id, 0.0f)))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_BOOLEAN:
        if (!source.number(*target.emplaceValue<DmxBoolean>(id, DmxBoolean(0))))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_STRING: {
        if (context.stringsByIndex) {
            quint16 index = 0;
            if (!source.number(index))
                return fail(EndOfFile);
            if (!context.dictionary || index >= context.dictionary->size())
                return fail(StringIndex);
            target.emplaceValue<DmxString>(id, *context.dictionary->at(index));
            return Outcome::Value;
        }
        if (!source.cString(*target.emplaceValue<DmxString>(id)))
            return fail(EndOfFile);
        return Outcome::Value;
    }
    case A::ATTRIBUTE_BINARY: {
        qint32 length = 0;
        if (!source.number(length))
            return fail(EndOfFile);
        if (length < 0 || length > source.remaining())
            return fail(BinaryLength);
        if (!source.bytes(*target.emplaceValue<DmxBinary>(id), length))
            return fail(EndOfFile);
        return Outcome::Value;
    }
    case A::ATTRIBUTE_TIME: {
        qint32 ticks = 0;
        if (!source.number(ticks))
            return fail(EndOfFile);
        target.emplaceValue<DmxTime>(id, DmxTicks::toSeconds(ticks));
        return Outcome::Value;
    }
    case A::ATTRIBUTE_COLOR:
        if (!numbers(source, *target.emplaceValue<DmxColor>(id)))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_VECTOR2:
        if (!numbers(source, *target.emplaceValue<DmxVector2>(id)))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_VECTOR3:
    case A::ATTRIBUTE_QANGLE:
        if (!numbers(source, *target.emplaceValue<DmxVector3>(id)))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_VECTOR4:
    case A::ATTRIBUTE_QUATERNION:
        if (!numbers(source, *target.emplaceValue<DmxVector4>(id)))
            return fail(EndOfFile);
        return Outcome::Value;
    case A::ATTRIBUTE_MATRIX:
        // Every component is read over the identity it starts from.
        if (!numbers(source,
                     *target.emplaceValue<DmxMatrix>(
                         id, DmxMatrix { 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 })))
            return fail(EndOfFile);
        return Outcome::Value;
    default:
        return Outcome::NoValue;
    }
}

template<typename Source>
void *simpleItem(int type, Source &source, const Context &context, const char *&error)
{
    CDmxAttribute item;
    item.ownsValue = type != CDmxAttribute::ATTRIBUTE_ELEMENT;
    if (simpleValue(item, type, source, context, error) != Outcome::Value)
        return nullptr;
    return item.releaseValue();
}

// Reads one value of any type into the attribute. NoValue for ids outside the table.
template<typename Source>
Outcome value(CDmxAttribute &target, int type, Source &source, const Context &context,
              const char *&error)
{
    error = nullptr;
    if (!CDmxAttribute::isArrayType(type))
        return simpleValue(target, type, source, context, error);

    const int itemType = type - CDmxAttribute::ArrayOffset;
    const auto id = CDmxAttribute::ParticleAttributeType_t(type);
    qint32 count = 0;
    if (!source.number(count))
        return error = EndOfFile, Outcome::Error;
    count = std::max(count, 0);
    if (qint64(count) * itemSize(itemType, context.stringsByIndex) > source.remaining())
        return error = ArrayCount, Outcome::Error;

    if (type == CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY) {
        auto *list = target.emplaceValue<DmxElementArray>(id);
        list->reserve(count);
        for (qint32 i = 0; i < count; ++i) {
            CDmxElement *item = element(source, context, error);
            if (!item)
                return Outcome::Error;
            list->append(item);
        }
        return Outcome::Value;
    }
    auto *list = target.emplaceValue<DmxValueArray>(id);
    list->reserve(count);
    for (qint32 i = 0; i < count; ++i) {
        void *item = simpleItem(itemType, source, context, error);
        if (!item)
            return Outcome::Error;
        list->append(item);
    }
    return Outcome::Value;
}

} // namespace DmxRead
