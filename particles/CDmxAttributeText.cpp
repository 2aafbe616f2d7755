// Text forms of attribute values, as the editor shows them and takes them back.
#include "particles/CDmxAttribute.h"
#include "particles/CDmxElement.h"
#include "particles/DmxTicks.h"
#include "util/UtilText.h"

#include <QStringList>

#include <cmath>

namespace {

// The binary text shows at most this many bytes: the line is meant for a tree cell.
constexpr qsizetype MaxBinaryShown = 255;

const char *const unknownType = "Unable to change attribute of unknown value type.";
const char *const arrayType = "Unable to set value of array type from string.";
const char *const parseFailure = "Unable to parse value from string.";

QString floatText(float value)
{
    return UTIL_standardNotationFloat(double(value), 6);
}

template<size_t N> QString floatsText(const std::array<float, N> &values)
{
    QString text;
    for (size_t i = 0; i < N; ++i) {
        if (i)
            text += QLatin1Char(' ');
        text += floatText(values[i]);
    }
    return text;
}

QString binaryText(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return QString();
    QString text;
    const qsizetype shown = std::min(bytes.size(), MaxBinaryShown);
    text.reserve(shown * 3);
    for (qsizetype i = 0; i < shown; ++i) {
        text += QString::number(quint8(bytes.at(i)), 16);
        text += QLatin1Char(' ');
    }
    // Two characters go, one more than the trailing blank: the last digit is not shown.
    text.chop(2);
    text = text.toUpper();
    if (bytes.size() > shown)
        text += QStringLiteral(" ...");
    return text;
}

QStringList blankSeparated(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

template<size_t N> bool parseFloats(const QString &text, std::array<float, N> &out)
{
    const QStringList parts = blankSeparated(text);
    if (size_t(parts.size()) != N)
        return false;
    std::array<float, N> values {};
    for (size_t i = 0; i < N; ++i) {
        bool ok = false;
        values[i] = parts.at(qsizetype(i)).toFloat(&ok);
        if (!ok)
            return false;
    }
    out = values;
    return true;
}

bool parseBinary(const QString &text, QByteArray &out)
{
    QByteArray digits = text.toLatin1().toUpper();
    digits = digits.simplified();
    digits.replace(' ', QByteArray());
    if (digits.size() % 2)
        digits.chop(1);
    QByteArray bytes;
    bytes.reserve(digits.size() / 2);
    auto nibble = [](char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    };
    for (qsizetype i = 0; i < digits.size(); i += 2) {
        const int high = nibble(digits.at(i));
        const int low = nibble(digits.at(i + 1));
        if (high < 0 || low < 0)
            return false;
        bytes.append(char(high * 16 + low));
    }
    out = bytes;
    return true;
}

} // namespace

QString CDmxAttribute::getValueAsString() const
{
    if (!value)
        return QString();
    switch (type) {
    case ATTRIBUTE_ELEMENT:
        return static_cast<const CDmxElement *>(value)->name;
    case ATTRIBUTE_INTEGER:
        return QString::number(*static_cast<const DmxInteger *>(value));
    case ATTRIBUTE_FLOAT:
    case ATTRIBUTE_TIME:
        return floatText(*static_cast<const DmxFloat *>(value));
    case ATTRIBUTE_BOOLEAN:
        return QString::number(*static_cast<const DmxBoolean *>(value));
    case ATTRIBUTE_STRING:
        return *static_cast<const DmxString *>(value);
    case ATTRIBUTE_BINARY:
        return binaryText(*static_cast<const DmxBinary *>(value));
    case ATTRIBUTE_COLOR: {
        const DmxColor &c = *static_cast<const DmxColor *>(value);
        return QStringLiteral("%1 %2 %3 %4").arg(c[0]).arg(c[1]).arg(c[2]).arg(c[3]);
    }
    case ATTRIBUTE_VECTOR2:
        return floatsText(*static_cast<const DmxVector2 *>(value));
    case ATTRIBUTE_VECTOR3:
    case ATTRIBUTE_QANGLE:
        return floatsText(*static_cast<const DmxVector3 *>(value));
    case ATTRIBUTE_VECTOR4:
    case ATTRIBUTE_QUATERNION:
        return floatsText(*static_cast<const DmxVector4 *>(value));
    case ATTRIBUTE_MATRIX:
        return floatsText(*static_cast<const DmxMatrix *>(value));
    case ATTRIBUTE_ELEMENT_ARRAY:
        return QStringLiteral("%1 Item(s)").arg(elementArray()->size());
    default:
        if (isArrayType(type))
            return QStringLiteral("%1 Item(s)").arg(valueArray()->size());
        return QString();
    }
}

const char *CDmxAttribute::setValueFromString(const QString &text)
{
    if (type <= ATTRIBUTE_ELEMENT || type >= ATTRIBUTE_TYPE_COUNT)
        return unknownType;
    if (isArrayType(type))
        return arrayType;
    if (!value)
        return unknownType;
    bool ok = true;
    switch (type) {
    case ATTRIBUTE_INTEGER: {
        const int number = text.toInt(&ok, 10);
        if (ok)
            *static_cast<DmxInteger *>(value) = number;
        break;
    }
    case ATTRIBUTE_FLOAT: {
        const float number = text.toFloat(&ok);
        if (ok)
            *static_cast<DmxFloat *>(value) = number;
        break;
    }
    case ATTRIBUTE_BOOLEAN: {
        const int number = text.toInt(&ok, 10);
        if (ok)
            *static_cast<DmxBoolean *>(value) = number != 0 ? 1 : 0;
        break;
    }
    case ATTRIBUTE_STRING: {
        const QByteArray bytes = text.toLatin1();
        *static_cast<DmxString *>(value) = QString::fromLatin1(bytes.constData());
        break;
    }
    case ATTRIBUTE_BINARY:
        ok = parseBinary(text, *static_cast<DmxBinary *>(value));
        break;
    case ATTRIBUTE_TIME: {
        const float seconds = text.toFloat(&ok);
        // Four decimals, the resolution of the file form.
        if (ok)
            *static_cast<DmxTime *>(value) = float(DmxTicks::fromSeconds(seconds)) / 10000.0f;
        break;
    }
    case ATTRIBUTE_COLOR: {
        const QStringList parts = blankSeparated(text);
        DmxColor color {};
        ok = parts.size() == 4;
        for (qsizetype i = 0; ok && i < 4; ++i)
            color[size_t(i)] = quint8(std::clamp(parts.at(i).toInt(&ok, 10), 0, 255));
        if (ok)
            *static_cast<DmxColor *>(value) = color;
        break;
    }
    case ATTRIBUTE_VECTOR2:
        ok = parseFloats(text, *static_cast<DmxVector2 *>(value));
        break;
    case ATTRIBUTE_VECTOR3:
    case ATTRIBUTE_QANGLE:
        ok = parseFloats(text, *static_cast<DmxVector3 *>(value));
        break;
    case ATTRIBUTE_VECTOR4:
    case ATTRIBUTE_QUATERNION:
        ok = parseFloats(text, *static_cast<DmxVector4 *>(value));
        break;
    case ATTRIBUTE_MATRIX:
        ok = parseFloats(text, *static_cast<DmxMatrix *>(value));
        break;
    default:
        return unknownType;
    }
    return ok ? nullptr : parseFailure;
}
