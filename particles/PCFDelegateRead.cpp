// Reading particle files.
#include "particles/CDmxElement.h"
#include "particles/DmxNames.h"
#include "particles/DmxValueReader.h"
#include "particles/PCFDelegate.h"

#include <QFile>

#include <vector>

namespace {

// An element record takes at least a type index, a name (an index in version 3, else an
// empty string's NUL) and a GUID.
qsizetype minimumRecordSize(CFilePCF::ParticleFormatVersion_t version)
{
    return version == CFilePCF::PCF_L4D2 ? 2 + 2 + 16 : 2 + 1 + 16;
}

CFilePCF::ParticleFormatVersion_t versionOfHeader(const QString &header)
{
    for (auto version :
         { CFilePCF::PCF_DMX, CFilePCF::PCF_ORANGEBOX, CFilePCF::PCF_L4D, CFilePCF::PCF_L4D2 }) {
        if (header == CFilePCF::formatVersionToMagicString(version))
            return version;
    }
    return CFilePCF::PCF_INVALID;
}

// True when following element references from some element leads back to it. The
// references are given as, for each element, a run of target indices.
bool referencesLoop(const std::vector<qsizetype> &firstReference, const QList<qint32> &targets)
{
    const qsizetype count = qsizetype(firstReference.size()) - 1;
    enum : char { Unseen, Open, Done };
    std::vector<char> state(size_t(count), Unseen);
    std::vector<std::pair<qsizetype, qsizetype>> stack; // element, next reference
    for (qsizetype start = 0; start < count; ++start) {
        if (state[size_t(start)] != Unseen)
            continue;
        state[size_t(start)] = Open;
        stack.emplace_back(start, firstReference[size_t(start)]);
        while (!stack.empty()) {
            auto &[element, next] = stack.back();
            if (next == firstReference[size_t(element) + 1]) {
                state[size_t(element)] = Done;
                stack.pop_back();
                continue;
            }
            const qint32 target = targets.at(next++);
            if (state[size_t(target)] == Open)
                return true;
            if (state[size_t(target)] == Unseen) {
                state[size_t(target)] = Open;
                stack.emplace_back(target, firstReference[size_t(target)]);
            }
        }
    }
    return false;
}

class PCFReader
{
public:
    PCFReader(const char *data, qsizetype size, CFilePCF *file)
        : source(data, size)
        , file(file)
    { }

    bool read(QString &error);

private:
    bool readHeader(QString &error);
    bool readDictionary(QString &error);
    bool readRecords(QString &error);
    bool readAttributes(QString &error);

    DmxRead::MemorySource source;
    CFilePCF *file;
    QList<qint32> references;
    std::vector<qsizetype> firstReference;
};

bool PCFReader::read(QString &error)
{
    if (!readHeader(error) || !readDictionary(error))
        return false;
    qint32 count = 0;
    if (!source.number(count))
        return error = QString::fromLatin1(DmxRead::EndOfFile), false;
    file->elementCount = count;
    if (count == 0)
        return error = QStringLiteral("Read Error: Empty element array"), false;
    if (count < 0)
        return true;
    if (qint64(count) * minimumRecordSize(file->version) > source.remaining())
        return error = QStringLiteral("Read Error: Element count exceeds file size"), false;
    return readRecords(error) && readAttributes(error);
}

bool PCFReader::readHeader(QString &error)
{
    QString header;
    if (!source.cString(header)) {
        file->version = CFilePCF::PCF_INVALID;
        return error = QStringLiteral("Read Error: Invalid or unrecognized format"), false;
    }
    file->version = versionOfHeader(header);
    if (file->version == CFilePCF::PCF_DMX)
        return error = QStringLiteral("Read Error: Format recognized but not supported"), false;
    if (file->version == CFilePCF::PCF_INVALID)
        return error = QStringLiteral("Read Error: Invalid or unrecognized format"), false;
    return true;
}

bool PCFReader::readDictionary(QString &error)
{
    qint32 count = 0;
    if (file->version == CFilePCF::PCF_L4D2) {
        if (!source.number(count))
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
    } else {
        qint16 shortCount = 0;
        if (!source.number(shortCount))
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
        count = shortCount;
    }
    file->stringDictionaryCount = count;
    if (count == 0)
        return error = QStringLiteral("Read Error: Empty string dictionary"), false;
    // A negative count, which 32768 or more comes to in a 16-bit count, reads no strings.
    if (count < 0)
        return true;
    if (count > source.remaining())
        return error = QStringLiteral("Read Error: String dictionary count exceeds file size"),
               false;
    file->stringDictionary.reserve(count);
    for (qint32 i = 0; i < count; ++i) {
        auto text = std::make_unique<QString>();
        if (!source.cString(*text))
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
        file->stringDictionary.append(text.release());
    }
    return true;
}

bool PCFReader::readRecords(QString &error)
{
    const QList<QString *> &dictionary = file->stringDictionary;
    const bool namesByIndex = file->version == CFilePCF::PCF_L4D2;
    const qint32 count = file->elementCount;
    file->elements.reserve(count);
    for (qint32 i = 0; i < count; ++i) {
        auto *element = new CDmxElement;
        file->elements.append(element);
        quint16 typeIndex = 0;
        if (!source.number(typeIndex))
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
        if (typeIndex >= dictionary.size())
            return error = QStringLiteral("Read Error: Element type name index out of bounds"),
                   false;
        element->type = *dictionary.at(typeIndex);
        if (namesByIndex) {
            quint16 nameIndex = 0;
            if (!source.number(nameIndex))
                return error = QString::fromLatin1(DmxRead::EndOfFile), false;
            if (nameIndex >= dictionary.size())
                return error = QStringLiteral("Read Error: Element name index out of bounds"),
                       false;
            element->name = *dictionary.at(nameIndex);
        } else if (!source.cString(element->name)) {
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
        }
        quint32 data1 = 0;
        quint16 data2 = 0;
        quint16 data3 = 0;
        uchar data4[8];
        if (!source.number(data1) || !source.number(data2) || !source.number(data3)
            || !source.raw(data4, 8))
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
        element->guid = QUuid(data1, data2, data3, data4[0], data4[1], data4[2], data4[3], data4[4],
                              data4[5], data4[6], data4[7]);
    }
    return true;
}

bool PCFReader::readAttributes(QString &error)
{
    const QList<QString *> &dictionary = file->stringDictionary;
    DmxRead::Context context;
    context.elements = &file->elements;
    context.dictionary = &dictionary;
    context.stringsByIndex = file->version == CFilePCF::PCF_L4D2;
    context.references = &references;
    firstReference.reserve(size_t(file->elements.size()) + 1);

    bool unexpected = false;
    for (qsizetype i = 0; i < file->elements.size(); ++i) {
        CDmxElement *element = file->elements.at(i);
        firstReference.push_back(references.size());
        qint32 count = 0;
        if (!source.number(count))
            return error = QString::fromLatin1(DmxRead::EndOfFile), false;
        element->attributeCount = count;
        if (qint64(count) * 3 > source.remaining())
            return error = QStringLiteral("Read Error: Attribute count exceeds file size"), false;
        element->attributes.reserve(std::max(count, 0));
        for (qint32 j = 0; j < count; ++j) {
            auto *attribute = new CDmxAttribute;
            element->attributes.append(attribute);
            quint16 nameIndex = 0;
            quint8 type = 0;
            if (!source.number(nameIndex))
                return error = QString::fromLatin1(DmxRead::EndOfFile), false;
            if (nameIndex >= dictionary.size())
                return error = QStringLiteral("Read Error: Attribute name index out of bounds"),
                       false;
            attribute->name = *dictionary.at(nameIndex);
            if (!source.number(type))
                return error = QString::fromLatin1(DmxRead::EndOfFile), false;
            if (type == CDmxAttribute::ATTRIBUTE_ELEMENT && attribute->name == DmxNames::child())
                attribute->ownsValue = false;
            const char *valueError = nullptr;
            switch (DmxRead::value(*attribute, type, source, context, valueError)) {
            case DmxRead::Outcome::Value:
                break;
            case DmxRead::Outcome::Error:
                return error = QString::fromLatin1(valueError), false;
            case DmxRead::Outcome::NoValue:
                return error
                       = QStringLiteral("ERROR: Unable to set value: Element: %1 Attribute: %2")
                             .arg(i)
                             .arg(j),
                       false;
            }
            // The system list must come first; the code that follows relies on its form.
            if (i == 0 && j == 0
                && (attribute->name != DmxNames::systemDefinitions()
                    || attribute->type != CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY))
                unexpected = true;
        }
    }
    firstReference.push_back(references.size());
    if (unexpected)
        return error = QStringLiteral("Read Error: Unexpected attribute"), false;
    // Copies, listings and GUID changes follow references down; a file whose references
    // come back round to where they started would send them round for ever.
    if (referencesLoop(firstReference, references))
        return error = QStringLiteral("Read Error: Element references form a loop"), false;
    return true;
}

} // namespace

bool PCFDelegate::readFile(const QString &path, CFilePCF *file)
{
    QFile device(path);
    if (!file || !device.open(QIODevice::ReadOnly)) {
        lastError = QStringLiteral("Read Error: Unable to open file");
        return false;
    }
    // Mapped where the system allows it, so that the bytes are not copied first.
    const qint64 size = device.size();
    if (size > 0) {
        if (const uchar *mapped = device.map(0, size)) {
            PCFReader reader(reinterpret_cast<const char *>(mapped), qsizetype(size), file);
            const bool ok = reader.read(lastError);
            device.unmap(const_cast<uchar *>(mapped));
            return ok;
        }
    }
    return readData(device.readAll(), file);
}

bool PCFDelegate::readData(const QByteArray &data, CFilePCF *file)
{
    if (!file) {
        lastError = QStringLiteral("Read Error: Unable to open file");
        return false;
    }
    PCFReader reader(data.constData(), data.size(), file);
    return reader.read(lastError);
}
