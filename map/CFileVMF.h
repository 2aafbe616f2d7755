#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <memory>

class QIODevice;
class QTextStream;

// A VMF map source in memory: the blocks that the entity lump editor imports from and exports
// to, with the geometry carried along so that a file read here can be written back. Text
// fields keep the bytes between the quotes. The reader is deliberately tolerant and never
// fails on content; the writer always produces one fixed layout, so that a read and a write
// normalise a file.
class CFileVMF
{
public:
    struct visgroup
    {
        QByteArray name = QByteArrayLiteral("unnamed");
        quint16 visgroupid = 0;
        QByteArray color = QByteArrayLiteral("255 255 255");
        QVector<visgroup> children;
    };

    struct camera
    {
        QByteArray position = QByteArrayLiteral("[0 0 0]");
        QByteArray look = QByteArrayLiteral("[0 256 0]");
    };

    struct cameras
    {
        qint16 activecamera = -1;
        QVector<camera> list;
    };

    struct cordon
    {
        QByteArray mins = QByteArrayLiteral("(-1024 -1024 -1024)");
        QByteArray maxs = QByteArrayLiteral("(1024 1024 1024)");
        bool active = false;
    };

    struct editor
    {
        QByteArray color = QByteArrayLiteral("255 255 255");
        quint32 groupid = 0;
        QVector<quint32> visgroupids;
        bool visgroupshown = true;
        bool visgroupautoshown = true;
        QByteArray logicalpos = QByteArrayLiteral("[0 0]");
        QByteArray comments = QByteArrayLiteral("");
    };

    struct dispinfo
    {
        quint8 power = 2;
        QByteArray startposition;
        quint8 flags = 1;
        float elevation = 0.0f;
        bool subdiv = false;
        // One element a row, in file order; the rows' keys are not kept.
        QVector<QByteArray> normals;
        QVector<QByteArray> distances;
        QVector<QByteArray> offsets;
        QVector<QByteArray> offset_normals;
        QVector<QByteArray> alphas;
        QVector<QByteArray> triangle_tags;
        QByteArray allowed_verts = QByteArrayLiteral("");
    };

    struct side
    {
        quint32 id = 0;
        QByteArray plane = QByteArrayLiteral("");
        QByteArray material = QByteArrayLiteral("");
        QByteArray uaxis = QByteArrayLiteral("");
        QByteArray vaxis = QByteArrayLiteral("");
        qint16 rotation = 0;
        quint16 lightmapscale = 16;
        quint32 smoothing_groups = 0;
        // Owned by the side; a copy of a side gets a copy of it.
        std::unique_ptr<struct dispinfo> dispinfo;

        side() = default;
        side(const side &other);
        side &operator=(const side &other);
        side(side &&) = default;
        side &operator=(side &&) = default;
        ~side();
    };

    struct solid
    {
        quint32 id = 0;
        QVector<side> sides;
        struct editor editor;
    };

    struct group
    {
        quint32 id = 0;
        QByteArray color = QByteArrayLiteral("255 255 255");
        quint32 groupid = 0;
        bool visgroupshown = true;
        bool visgroupautoshown = true;
    };

    // The map's world block, and the body of every entity. keyvalues and connections hold a
    // key at each even index and its value behind it; order and repeated keys are kept.
    struct world
    {
        QVector<QByteArray> keyvalues;
        QVector<QByteArray> connections;
        QVector<solid> solids;
        QVector<group> groups;
    };

    struct entity
    {
        struct world world;
        struct editor editor;
    };

    CFileVMF();

    // Reads `size` bytes from the device's position (all bits set: to the device's end). Null
    // only for a device that is not open or not readable; anything else gives whatever was
    // understood. The caller owns the result.
    static CFileVMF *createFromDevice(QIODevice &device, unsigned long long size);

    // Failures leave their text in lastError.
    [[nodiscard]] bool writeFile(const QString &path) const;
    [[nodiscard]] bool writeFile(QIODevice &device) const;
    // Writes through the stream's own encoding; the device forms pin Latin-1, so that every
    // byte of a value comes out as it went in.
    bool writeFile(QTextStream &stream) const;

    quint16 editorversion = 0;
    quint16 editorbuild = 0;
    quint16 mapversion = 0;
    quint16 formatversion = 100;
    bool prefab = false;
    QVector<visgroup> visgroups;
    bool bSnapToGrid = true;
    bool bShowGrid = true;
    bool bShowLogicalGrid = false;
    quint16 nGridSpacing = 8;
    bool bShow3DGrid = false;
    struct world world;
    QVector<entity> entities;
    struct cameras cameras;
    struct cordon cordon;
    QByteArray spare;
    mutable QString lastError;

private:
    static void readWorld(QIODevice &device, unsigned long long limit, struct world &target,
                          struct editor *owner, QByteArray &line, QByteArray &key,
                          QByteArray &value);
    static void readEditor(QIODevice &device, unsigned long long limit, struct editor &target,
                           QByteArray &line, QByteArray &key, QByteArray &value);
    static void readVisgroup(QIODevice &device, unsigned long long limit, visgroup &target,
                             QByteArray &line, QByteArray &key, QByteArray &value);

    void writeVisgroup(QTextStream &stream, const visgroup &target, QByteArray &indent) const;
    void writeEditor(QTextStream &stream, const struct editor &target, QByteArray &indent,
                     bool entityEditor) const;
    void writeWorld(QTextStream &stream, const struct world &target, QByteArray &indent,
                    const struct editor *owner) const;

    friend class CVMFReader;
};
