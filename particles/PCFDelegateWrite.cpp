// Writing particle files.
#include "particles/CDmxElement.h"
#include "particles/DmxTicks.h"
#include "particles/PCFDelegate.h"

#include <QHash>
#include <QSaveFile>
#include <QtEndian>

namespace {

// Indices into the dictionary are 16 bits wide everywhere in the file.
constexpr qsizetype MaxDictionarySize = 65536;

class ByteWriter
{
public:
    explicit ByteWriter(QByteArray &out)
        : out(out)
    { }

    template<typename T> void number(T value)
    {
        char bytes[sizeof(T)];
        qToLittleEndian(value, bytes);
        out.append(bytes, qsizetype(sizeof(T)));
    }
    // The text up to its first NUL, then a NUL.
    void cString(const QString &text)
    {
        const QByteArray bytes = text.toLatin1();
        out.append(bytes.constData(), qsizetype(qstrlen(bytes.constData())));
        out.append('\0');
    }
    void raw(const QByteArray &bytes) { out.append(bytes); }
    // A text as a little-endian data stream writes a QString.
    void streamedString(const QString &text)
    {
        if (text.isNull()) {
            number<quint32>(0xffffffffu);
            return;
        }
        number<quint32>(quint32(text.size() * 2));
        for (QChar c : text)
            number<quint16>(c.unicode());
    }
    void guid(const QUuid &id)
    {
        number<quint32>(id.data1);
        number<quint16>(id.data2);
        number<quint16>(id.data3);
        out.append(reinterpret_cast<const char *>(id.data4), 8);
    }

private:
    QByteArray &out;
};

class PCFWriter
{
public:
    PCFWriter(CFilePCF *file, CFilePCF::ParticleFormatVersion_t version, QByteArray &out)
        : file(file)
        , version(version)
        , out(out)
        , writer(out)
    { }

    bool write(QString &error);

private:
    quint16 addString(const QString &text);
    bool buildDictionary(QString &error);
    bool writeValue(const CDmxAttribute *attribute, qsizetype element, qsizetype index,
                    QString &error);
    bool writeElementArray(const DmxElementArray &items, qsizetype element, qsizetype index,
                           QString &error);
    void writeSimpleItem(int type, const void *value);
    template<typename T, size_t N> void writeDiagonal(const DmxValueArray &items);

    CFilePCF *file;
    CFilePCF::ParticleFormatVersion_t version;
    QByteArray &out;
    ByteWriter writer;
    QList<QString> dictionary;
    QHash<QString, qsizetype> dictionaryIndex;
    QHash<const CDmxElement *, qint32> elementIndex;
};

quint16 PCFWriter::addString(const QString &text)
{
    auto found = dictionaryIndex.constFind(text);
    if (found == dictionaryIndex.cend()) {
        found = dictionaryIndex.insert(text, dictionary.size());
        dictionary.append(text);
    }
    return quint16(found.value());
}

bool PCFWriter::buildDictionary(QString &error)
{
    const bool v3 = version == CFilePCF::PCF_L4D2;
    for (CDmxElement *element : std::as_const(file->elements)) {
        element->typeIndex = addString(element->type);
        if (v3)
            element->nameIndex = addString(element->name);
        for (CDmxAttribute *attribute : std::as_const(element->attributes)) {
            attribute->nameIndex = addString(attribute->name);
            if (v3 && attribute->type == CDmxAttribute::ATTRIBUTE_STRING && attribute->value)
                attribute->valueIndex
                    = addString(*static_cast<const DmxString *>(attribute->value));
        }
    }
    // The file's dictionary is the one just built from now on.
    qDeleteAll(file->stringDictionary);
    file->stringDictionary.clear();
    file->stringDictionary.reserve(dictionary.size());
    for (const QString &text : std::as_const(dictionary))
        file->stringDictionary.append(new QString(text));
    // The stored count is what is tested for the 16-bit forms, not the rebuilt list.
    if (!v3 && file->stringDictionaryCount >= 32768)
        return error = QStringLiteral("Write Error: String dictionary contains too many entries"),
               false;
    // Beyond this no index could reach the entries.
    if (dictionary.size() > MaxDictionarySize)
        return error = QStringLiteral("Write Error: String dictionary contains too many entries"),
               false;
    return true;
}

bool PCFWriter::write(QString &error)
{
    writer.raw(CFilePCF::formatVersionToMagicString(version).toLatin1());
    writer.raw(QByteArray("\n\0", 2));
    if (!buildDictionary(error))
        return false;
    if (version == CFilePCF::PCF_L4D2)
        writer.number<qint32>(qint32(dictionary.size()));
    else
        writer.number<qint16>(qint16(dictionary.size()));
    for (const QString &text : std::as_const(dictionary))
        writer.cString(text);

    const QList<CDmxElement *> &elements = file->elements;
    elementIndex.reserve(elements.size());
    for (qsizetype i = elements.size() - 1; i >= 0; --i)
        elementIndex.insert(elements.at(i), qint32(i));

    writer.number<qint32>(qint32(elements.size()));
    for (const CDmxElement *element : elements) {
        writer.number<quint16>(element->typeIndex);
        if (version == CFilePCF::PCF_L4D2)
            writer.number<quint16>(element->nameIndex);
        else
            writer.cString(element->name);
        writer.guid(element->guid);
    }
    for (qsizetype i = 0; i < elements.size(); ++i) {
        const CDmxElement *element = elements.at(i);
        writer.number<qint32>(qint32(element->attributes.size()));
        for (qsizetype j = 0; j < element->attributes.size(); ++j) {
            const CDmxAttribute *attribute = element->attributes.at(j);
            writer.number<quint16>(attribute->nameIndex);
            writer.number<quint8>(quint8(attribute->type));
            if (!writeValue(attribute, i, j, error))
                return false;
        }
    }
    return true;
}

bool PCFWriter::writeElementArray(const DmxElementArray &items, qsizetype element, qsizetype index,
                                  QString &error)
{
    writer.number<qint32>(qint32(items.size()));
    for (qsizetype k = 0; k < items.size(); ++k) {
        const auto found = elementIndex.constFind(items.at(k));
        if (found == elementIndex.cend())
            return error = QStringLiteral("Write Error: Unreferenced element: Element: %1    "
                                          "Attribute: %2   Item: %3")
                               .arg(element)
                               .arg(index)
                               .arg(k),
                   false;
        writer.number<qint32>(found.value());
    }
    return true;
}

void PCFWriter::writeSimpleItem(int type, const void *value)
{
    switch (type) {
    case CDmxAttribute::ATTRIBUTE_INTEGER:
        writer.number<qint32>(*static_cast<const DmxInteger *>(value));
        break;
    case CDmxAttribute::ATTRIBUTE_FLOAT:
        writer.number<float>(*static_cast<const DmxFloat *>(value));
        break;
    case CDmxAttribute::ATTRIBUTE_BOOLEAN:
        writer.number<quint8>(*static_cast<const DmxBoolean *>(value));
        break;
    case CDmxAttribute::ATTRIBUTE_TIME:
        writer.number<qint32>(DmxTicks::fromSeconds(*static_cast<const DmxTime *>(value)));
        break;
    case CDmxAttribute::ATTRIBUTE_BINARY: {
        const DmxBinary &bytes = *static_cast<const DmxBinary *>(value);
        writer.number<qint32>(qint32(bytes.size()));
        writer.raw(bytes);
        break;
    }
    case CDmxAttribute::ATTRIBUTE_COLOR:
        for (quint8 c : *static_cast<const DmxColor *>(value))
            writer.number<quint8>(c);
        break;
    case CDmxAttribute::ATTRIBUTE_VECTOR2:
        for (float f : *static_cast<const DmxVector2 *>(value))
            writer.number<float>(f);
        break;
    case CDmxAttribute::ATTRIBUTE_VECTOR3:
    case CDmxAttribute::ATTRIBUTE_QANGLE:
        for (float f : *static_cast<const DmxVector3 *>(value))
            writer.number<float>(f);
        break;
    case CDmxAttribute::ATTRIBUTE_VECTOR4:
    case CDmxAttribute::ATTRIBUTE_QUATERNION:
        for (float f : *static_cast<const DmxVector4 *>(value))
            writer.number<float>(f);
        break;
    case CDmxAttribute::ATTRIBUTE_MATRIX:
        for (float f : *static_cast<const DmxMatrix *>(value))
            writer.number<float>(f);
        break;
    default:
        break;
    }
}

// The arrays of several components write, count times, component j of item j: the diagonal
// of the list, the form this program has always written. Items missing from a short list
// count as zero.
template<typename T, size_t N> void PCFWriter::writeDiagonal(const DmxValueArray &items)
{
    writer.number<qint32>(qint32(items.size()));
    for (qsizetype n = 0; n < items.size(); ++n) {
        for (size_t j = 0; j < N; ++j) {
            const auto *item = qsizetype(j) < items.size()
                ? static_cast<const std::array<T, N> *>(items.at(qsizetype(j)))
                : nullptr;
            writer.number<T>(item ? (*item)[j] : T(0));
        }
    }
}

bool PCFWriter::writeValue(const CDmxAttribute *attribute, qsizetype element, qsizetype index,
                           QString &error)
{
    const int type = attribute->type;
    const void *value = attribute->value;
    switch (type) {
    case CDmxAttribute::ATTRIBUTE_ELEMENT: {
        const auto found = elementIndex.constFind(static_cast<const CDmxElement *>(value));
        if (found == elementIndex.cend())
            return error = QStringLiteral(
                               "Write Error: Unreferenced element: Element: %1   Attribute: %2")
                               .arg(element)
                               .arg(index),
                   false;
        writer.number<qint32>(found.value());
        return true;
    }
    case CDmxAttribute::ATTRIBUTE_STRING: {
        const DmxString &text = *static_cast<const DmxString *>(value);
        if (file->version != CFilePCF::PCF_L4D2) {
            writer.cString(text);
            return true;
        }
        const auto found = dictionaryIndex.constFind(text);
        if (found == dictionaryIndex.cend())
            return error = QStringLiteral("Write Error: String \"%1\" not found in dictionary: "
                                          "Element: %2    Attribute: %3")
                               .arg(text)
                               .arg(element)
                               .arg(index),
                   false;
        writer.number<quint16>(quint16(found.value()));
        return true;
    }
    case CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY:
        return writeElementArray(*attribute->elementArray(), element, index, error);
    case CDmxAttribute::ATTRIBUTE_STRING_ARRAY: {
        if (file->version == CFilePCF::PCF_L4D2)
            return error = QStringLiteral("Write Error: ATTRIBUTE_STRING_ARRAY not yet supported "
                                          "for format Binary 4 PCF 2"),
                   false;
        const DmxValueArray &items = *attribute->valueArray();
        writer.number<qint32>(qint32(items.size()));
        for (const void *item : items)
            writer.streamedString(*static_cast<const DmxString *>(item));
        return true;
    }
    case CDmxAttribute::ATTRIBUTE_BINARY_ARRAY: {
        // Each item's bytes without its length.
        const DmxValueArray &items = *attribute->valueArray();
        writer.number<qint32>(qint32(items.size()));
        for (const void *item : items)
            writer.raw(*static_cast<const DmxBinary *>(item));
        return true;
    }
    case CDmxAttribute::ATTRIBUTE_COLOR_ARRAY:
        writeDiagonal<quint8, 4>(*attribute->valueArray());
        return true;
    case CDmxAttribute::ATTRIBUTE_VECTOR2_ARRAY:
        writeDiagonal<float, 2>(*attribute->valueArray());
        return true;
    case CDmxAttribute::ATTRIBUTE_VECTOR3_ARRAY:
    case CDmxAttribute::ATTRIBUTE_QANGLE_ARRAY:
        writeDiagonal<float, 3>(*attribute->valueArray());
        return true;
    case CDmxAttribute::ATTRIBUTE_VECTOR4_ARRAY:
    case CDmxAttribute::ATTRIBUTE_QUATERNION_ARRAY:
        writeDiagonal<float, 4>(*attribute->valueArray());
        return true;
    case CDmxAttribute::ATTRIBUTE_MATRIX_ARRAY:
        writeDiagonal<float, 16>(*attribute->valueArray());
        return true;
    default:
        break;
    }
    if (CDmxAttribute::isSimpleType(type) && value) {
        writeSimpleItem(type, value);
        return true;
    }
    if (CDmxAttribute::isArrayType(type) && value) {
        const DmxValueArray &items = *attribute->valueArray();
        writer.number<qint32>(qint32(items.size()));
        for (const void *item : items)
            writeSimpleItem(type - CDmxAttribute::ArrayOffset, item);
        return true;
    }
    return error = QStringLiteral("Write Error: Attribute of unknown type: Element: %1   "
                                  "Attribute: %2")
                       .arg(element)
                       .arg(index),
           false;
}

} // namespace

bool PCFDelegate::writeData(QByteArray &out, CFilePCF *file,
                            CFilePCF::ParticleFormatVersion_t version)
{
    if (!file) {
        lastError = QStringLiteral("Write Error: No data specified");
        return false;
    }
    if (!CFilePCF::isWritableVersion(version)) {
        lastError = QStringLiteral("Write Error: Invalid version specified");
        return false;
    }
    out.clear();
    PCFWriter writer(file, version, out);
    return writer.write(lastError);
}

bool PCFDelegate::writeFile(const QString &path, CFilePCF *file,
                            CFilePCF::ParticleFormatVersion_t version)
{
    if (!file) {
        lastError = QStringLiteral("Write Error: No data specified");
        return false;
    }
    if (!CFilePCF::isWritableVersion(version)) {
        lastError = QStringLiteral("Write Error: Invalid version specified");
        return false;
    }
    // Written aside and renamed over the target: a failed write leaves no new file behind
    // and the old one, if any, as it was.
    QSaveFile device(path);
    if (!device.open(QIODevice::WriteOnly)) {
        lastError = QStringLiteral("Write Error: Unable to open file");
        return false;
    }
    QByteArray bytes;
    if (!writeData(bytes, file, version)) {
        device.cancelWriting();
        return false;
    }
    if (device.write(bytes) != bytes.size() || !device.commit()) {
        device.cancelWriting();
        lastError = QStringLiteral("Write Error: Unable to write file");
        return false;
    }
    return true;
}
