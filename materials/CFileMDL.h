#pragma once

#include "util/CPair.h"
#include "util/CVector3.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

class QDataStream;
class QIODevice;

// One texture record of a compiled model, 64 bytes. Offsets count from the record's start.
struct StudioTexture_t
{
    qint32 nameOffset = 0;
    qint32 flags = 0;
    qint32 used = 0;
    qint32 unused = 0;
    qint32 material = 0;
    qint32 clientMaterial = 0;
    qint32 reserved[10] = {};
};

// One include model record, 8 bytes. Offsets count from the record's start.
struct StudioModelGroup_t
{
    qint32 labelOffset = 0;
    qint32 nameOffset = 0;
};

// The fixed header of a compiled model, in file order (400 bytes on disk).
struct StudioHeader_t
{
    char magic[4] = {};
    qint32 version = 0;
    qint32 checksum = 0;
    char internalName[64] = {};
    qint32 fileLength = 0;
    Vector3 eyePosition {};
    Vector3 illuminationPosition {};
    Vector3 hullMinimum {};
    Vector3 hullMaximum {};
    Vector3 viewBoundingBoxMinimum {};
    Vector3 viewBoundingBoxMaximum {};
    qint32 flags = 0;
    qint32 boneCount = 0, boneOffset = 0;
    qint32 boneControllerCount = 0, boneControllerOffset = 0;
    qint32 hitboxCount = 0, hitboxOffset = 0;
    qint32 localAnimationCount = 0, localAnimationOffset = 0;
    qint32 localSequenceCount = 0, localSequenceOffset = 0;
    qint32 activityListVersion = 0;
    qint32 eventsIndexed = 0;
    qint32 textureCount = 0, textureOffset = 0;
    qint32 textureDirectoryCount = 0, textureDirectoryOffset = 0;
    qint32 skinReferenceCount = 0, skinFamilyOffset = 0, skinReferenceOffset = 0;
    qint32 bodyPartCount = 0, bodyPartOffset = 0;
    qint32 attachmentCount = 0, attachmentOffset = 0;
    qint32 localNodeCount = 0, localNodeOffset = 0, localNodeNameOffset = 0;
    qint32 flexDescriptionCount = 0, flexDescriptionOffset = 0;
    qint32 flexControllerCount = 0, flexControllerOffset = 0;
    qint32 flexRuleCount = 0, flexRuleOffset = 0;
    qint32 ikChainCount = 0, ikChainOffset = 0;
    qint32 mouthsCount = 0, mouthsOffset = 0;
    qint32 localPoseParameterCount = 0, localPoseParameterOffset = 0;
    qint32 surfacePropOffset = 0;
    qint32 keyvalueOffset = 0, keyvalueCount = 0;
    qint32 ikLockCount = 0, ikLockOffset = 0;
    float mass = 0;
    qint32 contents = 0;
    qint32 includeModelCount = 0, includeModelOffset = 0;
    qint32 virtualModel = 0;
    qint32 animationBlockNameOffset = 0, animationBlockCount = 0, animationBlockOffset = 0;
    qint32 animationBlockModel = 0;
    qint32 boneTableNameOffset = 0;
    qint32 vertexBase = 0;
    qint32 offsetBase = 0;
    quint8 directionalDotProduct = 0;
    quint8 rootLOD = 0;
    quint8 allowedRootLODs = 0;
    quint8 unusedByte = 0;
    qint32 unusedWord = 0;
    qint32 flexControllerUICount = 0, flexControllerUIOffset = 0;
    qint32 studioHDR2Offset = 0;
    qint32 lastWord = 0;
};

// The second header, at "Studio HDR2 Offset" when that is non-zero. Stored, not used.
struct StudioHeader2_t
{
    qint32 sourceBoneTransformCount = 0;
    qint32 sourceBoneTransformOffset = 0;
    qint32 illuminationPositionAttachment = 0;
    float maxEyeDeflection = 0;
    qint32 linearBoneOffset = 0;
    qint32 reserved[59] = {};
};

// Just enough of a compiled studio model to show its header and to list the content it
// depends on: textures, texture directories, keyvalues and include models. Geometry is known
// only by its counts and offsets.
class CFileMDL
{
public:
    // How a header field is stored, for readers and viewers that walk the header by table.
    enum FieldKind_t { FieldInteger, FieldFloat, FieldVector, FieldByte, FieldRaw64, FieldMagic };
    struct HeaderField_t
    {
        const char *label; // null: read but not shown
        FieldKind_t kind;
        size_t offset; // inside StudioHeader_t
    };
    // The fields of StudioHeader_t in file order.
    static const QVector<HeaderField_t> &headerFields();

    // The creators answer null on any failure, without a text. The stream is set to
    // little-endian with single-precision floats.
    static CFileMDL *createFromStream(QDataStream &stream);
    static CFileMDL *createFromDevice(QIODevice &device);
    static CFileMDL *createFromFile(const QString &path);

    // Truncates the file and writes nothing: the model data window is a viewer, and no window
    // calls this.
    [[nodiscard]] bool saveFile(const QString &target);

    // Appends the companion files, include models and materials of this model to found and
    // follows what it can read below root. See CReferenceScan.
    void listReferencedContent(QStringList &found, const QString &root, QString &key,
                               QString &value, QString &extra, QStringList *errors) const;

    QString path;
    QString lastError;
    StudioHeader_t header;
    StudioHeader2_t header2;
    QVector<StudioTexture_t> textures;
    QVector<QByteArray> textureNames;
    QVector<unsigned int> textureDirectoryOffsets;
    QVector<QByteArray> textureDirectories;
    QByteArray surfaceProp;
    QStringList keyvalues;
    // Only the name of each include model is read; the records stay as they were.
    QVector<CPair<unsigned int, StudioModelGroup_t>> includeModelRecords;
    QVector<CPair<QByteArray, QByteArray>> includeModels;

private:
    // `base` is the device position of the model's first byte.
    bool readHeader(QDataStream &stream, qint64 base);
    void readTextures(QDataStream &stream, qint64 base);
    void readTextureDirectories(QDataStream &stream, qint64 base);
    void readKeyvalues(QDataStream &stream, qint64 base);
    void readIncludeModels(QDataStream &stream, qint64 base);
};
