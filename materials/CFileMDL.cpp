#include "materials/CFileMDL.h"

#include "util/UtilPath.h"

#include <QDataStream>
#include <QFile>
#include <QSaveFile>

#include <cstddef>
#include <cstring>
#include <memory>

static_assert(sizeof(StudioHeader_t) == 400, "the header struct mirrors the file layout");
static_assert(offsetof(StudioHeader_t, mass) == 328);
static_assert(offsetof(StudioHeader_t, directionalDotProduct) == 376);
static_assert(offsetof(StudioHeader_t, studioHDR2Offset) == 392);

namespace {

using H = StudioHeader_t;

#define ZIRK_FIELD(label, kind, member)                                                            \
    {                                                                                              \
        label, CFileMDL::kind, offsetof(H, member)                                                 \
    }

const QVector<CFileMDL::HeaderField_t> fieldTable = {
    ZIRK_FIELD(nullptr, FieldMagic, magic),
    ZIRK_FIELD("Version", FieldInteger, version),
    ZIRK_FIELD("Checksum", FieldInteger, checksum),
    ZIRK_FIELD("Internal Name", FieldRaw64, internalName),
    ZIRK_FIELD("File Length", FieldInteger, fileLength),
    ZIRK_FIELD("Eye Position", FieldVector, eyePosition),
    ZIRK_FIELD("Illumination Position", FieldVector, illuminationPosition),
    ZIRK_FIELD("Hull Minimum", FieldVector, hullMinimum),
    ZIRK_FIELD("Hull Maximum", FieldVector, hullMaximum),
    ZIRK_FIELD("View Bounding Box Minimum", FieldVector, viewBoundingBoxMinimum),
    ZIRK_FIELD("View Bounding Box Maximum", FieldVector, viewBoundingBoxMaximum),
    ZIRK_FIELD("Flags", FieldInteger, flags),
    ZIRK_FIELD("Bone Count", FieldInteger, boneCount),
    ZIRK_FIELD("Bone Offset", FieldInteger, boneOffset),
    ZIRK_FIELD("Bone Controller Count", FieldInteger, boneControllerCount),
    ZIRK_FIELD("Bone Controller Offset", FieldInteger, boneControllerOffset),
    ZIRK_FIELD("Hitbox Count", FieldInteger, hitboxCount),
    ZIRK_FIELD("Hitbox Offset", FieldInteger, hitboxOffset),
    ZIRK_FIELD("Local Animation Count", FieldInteger, localAnimationCount),
    ZIRK_FIELD("Local Animation Offset", FieldInteger, localAnimationOffset),
    ZIRK_FIELD("Local Sequence Count", FieldInteger, localSequenceCount),
    ZIRK_FIELD("Local Sequence Offset", FieldInteger, localSequenceOffset),
    ZIRK_FIELD("Activity List Version", FieldInteger, activityListVersion),
    ZIRK_FIELD("Events Indexed", FieldInteger, eventsIndexed),
    ZIRK_FIELD("Texture Count", FieldInteger, textureCount),
    ZIRK_FIELD("Texture Offset", FieldInteger, textureOffset),
    ZIRK_FIELD("Texture Directory Count", FieldInteger, textureDirectoryCount),
    ZIRK_FIELD("Texture Directory Offset", FieldInteger, textureDirectoryOffset),
    ZIRK_FIELD("Skin Reference Count", FieldInteger, skinReferenceCount),
    ZIRK_FIELD("Skin Family Offset", FieldInteger, skinFamilyOffset),
    ZIRK_FIELD("Skin Reference Offset", FieldInteger, skinReferenceOffset),
    ZIRK_FIELD("Body Part Count", FieldInteger, bodyPartCount),
    ZIRK_FIELD("Body Part Offset", FieldInteger, bodyPartOffset),
    ZIRK_FIELD("Attachment Count", FieldInteger, attachmentCount),
    ZIRK_FIELD("Attachment Offset", FieldInteger, attachmentOffset),
    ZIRK_FIELD("Local Node Count", FieldInteger, localNodeCount),
    ZIRK_FIELD("Local Node Offset", FieldInteger, localNodeOffset),
    ZIRK_FIELD("Local Node Name Offset", FieldInteger, localNodeNameOffset),
    ZIRK_FIELD("Flex Description Count", FieldInteger, flexDescriptionCount),
    ZIRK_FIELD("Flex Description Offset", FieldInteger, flexDescriptionOffset),
    ZIRK_FIELD("Flex Controller Count", FieldInteger, flexControllerCount),
    ZIRK_FIELD("Flex Controller Offset", FieldInteger, flexControllerOffset),
    ZIRK_FIELD("Flex Rule Count", FieldInteger, flexRuleCount),
    ZIRK_FIELD("Flex Rule Offset", FieldInteger, flexRuleOffset),
    ZIRK_FIELD("Inverse Kinematic Chain Count", FieldInteger, ikChainCount),
    ZIRK_FIELD("Inverse Kinematic Chain Offset", FieldInteger, ikChainOffset),
    ZIRK_FIELD("Mouths Count", FieldInteger, mouthsCount),
    ZIRK_FIELD("Mouths Offset", FieldInteger, mouthsOffset),
    ZIRK_FIELD("Local Pose Parameter Count", FieldInteger, localPoseParameterCount),
    ZIRK_FIELD("Local Pose Parameter Offset", FieldInteger, localPoseParameterOffset),
    ZIRK_FIELD("Surface Prop Offset", FieldInteger, surfacePropOffset),
    ZIRK_FIELD("Keyvalue Offset", FieldInteger, keyvalueOffset),
    ZIRK_FIELD("Keyvalue Count", FieldInteger, keyvalueCount),
    ZIRK_FIELD("Inverse Kinematic Lock Count", FieldInteger, ikLockCount),
    ZIRK_FIELD("Inverse Kinematic Lock Offset", FieldInteger, ikLockOffset),
    ZIRK_FIELD("Mass", FieldFloat, mass),
    ZIRK_FIELD("Contents", FieldInteger, contents),
    ZIRK_FIELD("Include Model Count", FieldInteger, includeModelCount),
    ZIRK_FIELD("Include Model Offset", FieldInteger, includeModelOffset),
    ZIRK_FIELD("Virtual Model", FieldInteger, virtualModel),
    ZIRK_FIELD("Animation Block Name Offset", FieldInteger, animationBlockNameOffset),
    ZIRK_FIELD("Animation Block Count", FieldInteger, animationBlockCount),
    ZIRK_FIELD("Animation Block Offset", FieldInteger, animationBlockOffset),
    ZIRK_FIELD("Animation Block Model", FieldInteger, animationBlockModel),
    ZIRK_FIELD("Bone Table Name Offset", FieldInteger, boneTableNameOffset),
    ZIRK_FIELD("Vertex Base", FieldInteger, vertexBase),
    ZIRK_FIELD("Offset Base", FieldInteger, offsetBase),
    ZIRK_FIELD("Directional Dot Product", FieldByte, directionalDotProduct),
    ZIRK_FIELD("Root LOD", FieldByte, rootLOD),
    ZIRK_FIELD("Allowed Root LODs", FieldByte, allowedRootLODs),
    ZIRK_FIELD(nullptr, FieldByte, unusedByte),
    ZIRK_FIELD(nullptr, FieldInteger, unusedWord),
    ZIRK_FIELD("Flex Controller UI Count", FieldInteger, flexControllerUICount),
    ZIRK_FIELD("Flex Controller UI Offset", FieldInteger, flexControllerUIOffset),
    ZIRK_FIELD("Studio HDR2 Offset", FieldInteger, studioHDR2Offset),
    ZIRK_FIELD(nullptr, FieldInteger, lastWord),
};

#undef ZIRK_FIELD

void readField(QDataStream &stream, const CFileMDL::HeaderField_t &field, StudioHeader_t &header)
{
    char *at = reinterpret_cast<char *>(&header) + field.offset;
    switch (field.kind) {
    case CFileMDL::FieldInteger: {
        qint32 value = 0;
        stream >> value;
        std::memcpy(at, &value, sizeof value);
        break;
    }
    case CFileMDL::FieldFloat: {
        float value = 0;
        stream >> value;
        std::memcpy(at, &value, sizeof value);
        break;
    }
    case CFileMDL::FieldVector: {
        Vector3 value {};
        stream >> value.x >> value.y >> value.z;
        std::memcpy(at, &value, sizeof value);
        break;
    }
    case CFileMDL::FieldByte: {
        quint8 value = 0;
        stream >> value;
        *reinterpret_cast<quint8 *>(at) = value;
        break;
    }
    case CFileMDL::FieldRaw64:
        stream.readRawData(at, 64);
        break;
    case CFileMDL::FieldMagic:
        stream.readRawData(at, 4);
        break;
    }
}

// The number of records of `size` bytes from `offset` that the device really holds, at most
// `count`. Counts and offsets of a model are never trusted with an allocation.
qint64 recordsThatFit(const QIODevice &device, qint64 base, qint64 offset, qint64 count,
                      qint64 size)
{
    if (count <= 0 || offset < 0)
        return 0;
    const qint64 available = device.size() - (base + offset);
    if (available <= 0)
        return 0;
    return qMin(count, available / size);
}

// Names longer than any real path are cut here, so that a table of hostile offsets that all
// point into one long unterminated run costs no more than this much each.
constexpr qint64 MaxNameLength = 1024;

// The NUL-terminated string at pos. With dropLastAtEnd, a string that runs into the end of the
// data loses its last byte, as the stream string reader of the utilities does.
QByteArray readName(QIODevice &device, qint64 pos, bool dropLastAtEnd)
{
    if (pos < 0 || pos >= device.size() || !device.seek(pos))
        return QByteArray();
    QByteArray bytes = device.read(MaxNameLength);
    const qsizetype nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes.truncate(nul);
    else if (dropLastAtEnd && device.atEnd())
        bytes.chop(1);
    return bytes;
}

QByteArray cleanName(const QByteArray &name)
{
    return UTIL_cleanFilePath(QString::fromLatin1(name)).toLatin1();
}

} // namespace

const QVector<CFileMDL::HeaderField_t> &CFileMDL::headerFields()
{
    return fieldTable;
}

CFileMDL *CFileMDL::createFromStream(QDataStream &stream)
{
    QIODevice *device = stream.device();
    if (!device || !device->isReadable())
        return nullptr;
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);

    // Offsets count from the start of the model, which need not be the device's start.
    const qint64 base = device->pos();
    auto model = std::make_unique<CFileMDL>();
    readField(stream, fieldTable.first(), model->header);
    if (stream.status() != QDataStream::Ok || std::memcmp(model->header.magic, "IDST", 4) != 0)
        return nullptr;
    if (!model->readHeader(stream, base))
        return nullptr;
    if (device->isSequential())
        return model.release();
    model->readTextures(stream, base);
    model->readTextureDirectories(stream, base);
    model->readKeyvalues(stream, base);
    model->readIncludeModels(stream, base);
    if (model->header.surfacePropOffset > 0)
        model->surfaceProp = readName(*device, base + model->header.surfacePropOffset, true);
    return model.release();
}

CFileMDL *CFileMDL::createFromDevice(QIODevice &device)
{
    if (!device.isOpen() && !device.open(QIODevice::ReadOnly))
        return nullptr;
    QDataStream stream(&device);
    return createFromStream(stream);
}

CFileMDL *CFileMDL::createFromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    CFileMDL *model = createFromDevice(file);
    if (model)
        model->path = path;
    return model;
}

bool CFileMDL::readHeader(QDataStream &stream, qint64 base)
{
    for (qsizetype i = 1; i < fieldTable.size(); ++i)
        readField(stream, fieldTable.at(i), header);
    if (stream.status() != QDataStream::Ok)
        return false;
    if (header.studioHDR2Offset == 0)
        return true;
    QIODevice &device = *stream.device();
    const qint64 at = base + header.studioHDR2Offset;
    if (header.studioHDR2Offset < 0 || device.isSequential() || at >= device.size()
        || !device.seek(at))
        return false;
    stream >> header2.sourceBoneTransformCount >> header2.sourceBoneTransformOffset
        >> header2.illuminationPositionAttachment >> header2.maxEyeDeflection
        >> header2.linearBoneOffset;
    for (qint32 &word : header2.reserved)
        stream >> word;
    return stream.status() == QDataStream::Ok;
}

void CFileMDL::readTextures(QDataStream &stream, qint64 base)
{
    QIODevice &device = *stream.device();
    const qint64 count
        = recordsThatFit(device, base, header.textureOffset, header.textureCount, 64);
    if (count == 0 || !device.seek(base + header.textureOffset))
        return;
    stream.resetStatus();
    textures.resize(count);
    QVector<qint64> namePositions(count);
    for (qint64 i = 0; i < count; ++i) {
        StudioTexture_t &texture = textures[i];
        const qint64 position = device.pos();
        stream >> texture.nameOffset;
        namePositions[i] = position + texture.nameOffset;
        stream >> texture.flags >> texture.used >> texture.unused >> texture.material
            >> texture.clientMaterial;
        for (qint32 &word : texture.reserved)
            stream >> word;
    }
    textureNames.reserve(count);
    for (qint64 i = 0; i < count; ++i)
        textureNames.append(cleanName(readName(device, namePositions[i], true)));
}

void CFileMDL::readTextureDirectories(QDataStream &stream, qint64 base)
{
    QIODevice &device = *stream.device();
    const qint64 count = recordsThatFit(device, base, header.textureDirectoryOffset,
                                        header.textureDirectoryCount, 4);
    if (count == 0 || !device.seek(base + header.textureDirectoryOffset))
        return;
    stream.resetStatus();
    textureDirectoryOffsets.resize(count);
    for (unsigned int &offset : textureDirectoryOffsets)
        stream >> offset;
    textureDirectories.reserve(count);
    for (unsigned int offset : std::as_const(textureDirectoryOffsets))
        textureDirectories.append(cleanName(readName(device, base + offset, true)));
}

void CFileMDL::readKeyvalues(QDataStream &stream, qint64 base)
{
    QIODevice &device = *stream.device();
    const qint64 at = base + header.keyvalueOffset;
    if (header.keyvalueCount <= 0 || header.keyvalueOffset < 0 || at >= device.size()
        || !device.seek(at))
        return;
    const QByteArray block
        = device.read(qMin<qint64>(header.keyvalueCount, device.size() - device.pos()));
    QString line;
    line.reserve(1024);
    for (const char c : block) {
        if (c == '\0')
            break;
        if (c == '\n') {
            if (!line.isEmpty())
                keyvalues.append(line);
            line.clear();
            line.reserve(1024);
        } else {
            line.append(QLatin1Char(c));
        }
    }
}

void CFileMDL::readIncludeModels(QDataStream &stream, qint64 base)
{
    QIODevice &device = *stream.device();
    const qint64 count
        = recordsThatFit(device, base, header.includeModelOffset, header.includeModelCount, 8);
    if (count == 0 || !device.seek(base + header.includeModelOffset))
        return;
    stream.resetStatus();
    includeModelRecords.resize(count);
    for (CPair<unsigned int, StudioModelGroup_t> &record : includeModelRecords) {
        record.first = static_cast<unsigned int>(device.pos());
        stream >> record.second.labelOffset >> record.second.nameOffset;
    }
    includeModels.resize(count);
    for (qint64 i = 0; i < count; ++i) {
        const CPair<unsigned int, StudioModelGroup_t> &record = includeModelRecords.at(i);
        includeModels[i].second
            = readName(device, qint64(record.first) + record.second.nameOffset, false);
    }
}

bool CFileMDL::saveFile(const QString &target)
{
    const QString name = target.isEmpty() ? path : target;
    if (name.isEmpty()) {
        lastError = QStringLiteral("Write Error: Invalid file path");
        return false;
    }
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly) || !file.commit()) {
        lastError = QStringLiteral("File Error: Unable to open \"%1\"").arg(name);
        return false;
    }
    return true;
}
