// The reader: one forward pass over lines. Only block names are tested and nesting is not
// tracked (but in cameras and group): the pairs of a block nobody knows fall into the block
// around it, and its closing brace ends that block. Files of other tools rely on none of
// this, but files written by this reader's own writer read back to the same model.
#include "map/CFileVMF.h"

#include "map/CLineTokenizer.h"
#include "util/UtilDevice.h"

#include <QIODevice>

namespace {

// Visgroups deeper than this are read as blocks of unknown name: a file of nothing but
// "visgroup" lines must not take the stack with it.
constexpr int MaxVisgroupDepth = 64;

// The read position over the shared work space of one read.
struct Cursor
{
    QIODevice &device;
    unsigned long long limit;
    QByteArray &line;
    QByteArray &key;
    QByteArray &value;

    void next()
    {
        line = UTIL_readLineFromQIODevice(device);
        CLineTokenizer::split(line, key, value);
    }
    // The end of the data counts as the limit too, so that a limit past the end cannot hold
    // a loop at an empty device.
    bool atLimit() const
    {
        const qint64 pos = device.pos();
        return pos < 0 || static_cast<unsigned long long>(pos) >= limit || device.atEnd();
    }
    bool closing() const { return key.size() == 1 && key.at(0) == '}'; }
    bool isPair() const { return !value.isNull(); }
    bool hasText() const { return !value.isEmpty(); }
    char first() const { return value.isEmpty() ? '\0' : value.at(0); }
    // Names compare folded to lower case; the words asked for are lower case already.
    bool keyIs(const char *word) const { return key.compare(word, Qt::CaseInsensitive) == 0; }
    bool keyIsExactly(const char *word) const { return key == word; }

    // The usual loop: the current line first, then the next one, until a closing line or
    // the limit.
    template<typename Handle> void loop(Handle handle)
    {
        for (;;) {
            handle();
            if (atLimit())
                return;
            next();
            if (closing())
                return;
        }
    }
};

template<typename T> bool parseUnsigned(const QByteArray &text, T &target)
{
    bool ok = false;
    const uint number = text.toUInt(&ok, 10);
    if (ok)
        target = static_cast<T>(number);
    return ok;
}

void readRows(Cursor &c, QVector<QByteArray> &rows)
{
    c.next();
    c.loop([&] {
        if (c.isPair()) {
            if (rows.isEmpty())
                rows.reserve(17);
            rows.append(c.value);
        }
    });
}

void readDispinfo(Cursor &c, CFileVMF::dispinfo &target)
{
    c.next();
    c.loop([&] {
        if (c.isPair()) {
            if (c.keyIs("startposition"))
                target.startposition = c.value;
            else if (c.keyIs("subdiv"))
                target.subdiv = c.first() == '1';
            else if (c.keyIs("elevation")) {
                bool ok = false;
                const float number = c.value.toFloat(&ok);
                if (ok)
                    target.elevation = number;
            } else if (c.keyIs("power"))
                parseUnsigned(c.value, target.power);
            else if (c.keyIs("flags"))
                parseUnsigned(c.value, target.flags);
            return;
        }
        if (c.keyIs("normals"))
            readRows(c, target.normals);
        else if (c.keyIs("distances"))
            readRows(c, target.distances);
        else if (c.keyIs("offsets"))
            readRows(c, target.offsets);
        else if (c.keyIs("offset_normals"))
            readRows(c, target.offset_normals);
        else if (c.keyIs("alphas"))
            readRows(c, target.alphas);
        else if (c.keyIs("triangle_tags"))
            readRows(c, target.triangle_tags);
        else if (c.keyIsExactly("allowed_verts")) {
            c.next();
            c.loop([&] {
                if (c.isPair())
                    target.allowed_verts = c.value;
            });
        }
    });
}

void readSide(Cursor &c, CFileVMF::side &target)
{
    c.next();
    c.loop([&] {
        if (!c.isPair()) {
            if (c.keyIs("dispinfo")) {
                target.dispinfo = std::make_unique<CFileVMF::dispinfo>();
                readDispinfo(c, *target.dispinfo);
            }
            return;
        }
        if (c.keyIs("plane"))
            target.plane = c.value;
        else if (c.keyIs("material"))
            target.material = c.value;
        else if (c.keyIs("uaxis"))
            target.uaxis = c.value;
        else if (c.keyIs("vaxis"))
            target.vaxis = c.value;
        else if (c.keyIs("rotation")) {
            bool ok = false;
            const int number = c.value.toInt(&ok, 10);
            if (ok)
                target.rotation = static_cast<qint16>(number);
        } else if (c.keyIs("id"))
            parseUnsigned(c.value, target.id);
        else if (c.keyIs("lightmapscale"))
            parseUnsigned(c.value, target.lightmapscale);
        else if (c.keyIs("smoothing_groups"))
            parseUnsigned(c.value, target.smoothing_groups);
    });
}

void readConnections(Cursor &c, QVector<QByteArray> &connections)
{
    c.next();
    c.loop([&] {
        if (c.isPair()) {
            connections.append(c.key);
            connections.append(c.value);
        }
    });
}

void readGroup(Cursor &c, CFileVMF::group &target)
{
    // The first closing line is taken for the end of the inner editor block, wherever the
    // keys stand.
    bool innerOpen = true;
    c.next();
    for (;;) {
        if (c.isPair()) {
            if (c.keyIs("color"))
                target.color = c.value;
            else if (c.keyIs("visgroupshown"))
                target.visgroupshown = c.first() != '0';
            else if (c.keyIs("visgroupautoshown"))
                target.visgroupautoshown = c.first() != '0';
            else if (c.keyIs("id"))
                parseUnsigned(c.value, target.id);
            else if (c.keyIs("groupid"))
                parseUnsigned(c.value, target.groupid);
        }
        if (c.atLimit())
            return;
        c.next();
        if (c.closing()) {
            if (!innerOpen)
                return;
            innerOpen = false;
            c.key.clear();
        }
    }
}

// A block whose pairs count only when their value is not empty.
template<typename Handle> void readSettings(Cursor &c, Handle handle)
{
    c.loop([&] {
        if (c.hasText())
            handle();
    });
}

void readVisgroupAt(Cursor &c, CFileVMF::visgroup &target, int depth)
{
    c.next();
    c.loop([&] {
        if (!c.isPair()) {
            if (depth < MaxVisgroupDepth && c.keyIs("visgroup")) {
                target.children.append(CFileVMF::visgroup());
                readVisgroupAt(c, target.children.last(), depth + 1);
            }
            return;
        }
        if (c.keyIs("name"))
            target.name = c.value;
        else if (c.keyIs("color"))
            target.color = c.value;
        else if (c.keyIs("visgroupid"))
            parseUnsigned(c.value, target.visgroupid);
    });
}

} // namespace

CFileVMF::CFileVMF() = default;

CFileVMF::side::side(const side &other)
    : id(other.id)
    , plane(other.plane)
    , material(other.material)
    , uaxis(other.uaxis)
    , vaxis(other.vaxis)
    , rotation(other.rotation)
    , lightmapscale(other.lightmapscale)
    , smoothing_groups(other.smoothing_groups)
    , dispinfo(other.dispinfo ? std::make_unique<struct dispinfo>(*other.dispinfo) : nullptr)
{ }

CFileVMF::side &CFileVMF::side::operator=(const side &other)
{
    if (this != &other) {
        side copy(other);
        *this = std::move(copy);
    }
    return *this;
}

CFileVMF::side::~side() = default;

void CFileVMF::readEditor(QIODevice &device, unsigned long long limit, struct editor &target,
                          QByteArray &line, QByteArray &key, QByteArray &value)
{
    // Keys count only as written in lower case here.
    Cursor c { device, limit, line, key, value };
    c.loop([&] {
        if (!c.isPair())
            return;
        if (c.keyIsExactly("color"))
            target.color = c.value;
        else if (c.keyIsExactly("comments"))
            target.comments = c.value;
        else if (c.keyIsExactly("logicalpos"))
            target.logicalpos = c.value;
        else if (c.keyIsExactly("visgroupshown"))
            target.visgroupshown = c.first() != '0';
        else if (c.keyIsExactly("visgroupautoshown"))
            target.visgroupautoshown = c.first() != '0';
        else if (c.keyIsExactly("groupid"))
            parseUnsigned(c.value, target.groupid);
        else if (c.keyIsExactly("visgroupid")) {
            quint32 id = 0;
            if (parseUnsigned(c.value, id))
                target.visgroupids.append(id);
        }
    });
}

void CFileVMF::readVisgroup(QIODevice &device, unsigned long long limit, visgroup &target,
                            QByteArray &line, QByteArray &key, QByteArray &value)
{
    Cursor c { device, limit, line, key, value };
    readVisgroupAt(c, target, 1);
}

void CFileVMF::readWorld(QIODevice &device, unsigned long long limit, struct world &target,
                         struct editor *owner, QByteArray &line, QByteArray &key, QByteArray &value)
{
    Cursor c { device, limit, line, key, value };
    bool hidden = false;
    c.next();
    for (;;) {
        if (c.isPair()) {
            target.keyvalues.append(c.key);
            target.keyvalues.append(c.value);
        } else if (c.keyIs("solid")) {
            target.solids.append(solid());
            solid &s = target.solids.last();
            c.next();
            c.loop([&] {
                if (c.keyIs("side")) {
                    s.sides.append(side());
                    readSide(c, s.sides.last());
                } else if (c.keyIs("editor")) {
                    readEditor(device, limit, s.editor, line, key, value);
                } else if (c.keyIs("id")) {
                    parseUnsigned(c.value, s.id);
                }
            });
        } else if (c.keyIs("hidden")) {
            hidden = true;
        } else if (c.keyIs("connections")) {
            readConnections(c, target.connections);
        } else if (c.keyIs("group")) {
            target.groups.append(group());
            readGroup(c, target.groups.last());
        } else if (c.keyIs("editor")) {
            if (owner)
                readEditor(device, limit, *owner, line, key, value);
        }
        if (c.atLimit())
            return;
        c.next();
        if (hidden && c.closing()) {
            c.next();
            hidden = false;
        }
        if (c.closing())
            return;
    }
}

CFileVMF *CFileVMF::createFromDevice(QIODevice &device, unsigned long long size)
{
    if (!device.isOpen() || !device.isReadable())
        return nullptr;

    const qint64 start = qMax<qint64>(0, device.pos());
    unsigned long long limit = static_cast<unsigned long long>(qMax<qint64>(0, device.size()));
    if (size != ~0ULL && size <= ~0ULL - static_cast<unsigned long long>(start))
        limit = static_cast<unsigned long long>(start) + size;

    auto vmf = std::make_unique<CFileVMF>();
    QByteArray line;
    QByteArray key;
    QByteArray value;
    Cursor c { device, limit, line, key, value };
    int cameraDepth = 0;

    while (!c.atLimit()) {
        c.next();
        if (c.keyIs("entity")) {
            vmf->entities.append(entity());
            entity &e = vmf->entities.last();
            readWorld(device, limit, e.world, &e.editor, line, key, value);
        } else if (c.keyIs("versioninfo")) {
            readSettings(c, [&] {
                if (c.keyIs("prefab"))
                    vmf->prefab = c.first() == '1';
                else if (c.keyIs("editorversion"))
                    parseUnsigned(c.value, vmf->editorversion);
                else if (c.keyIs("editorbuild"))
                    parseUnsigned(c.value, vmf->editorbuild);
                else if (c.keyIs("mapversion"))
                    parseUnsigned(c.value, vmf->mapversion);
                else if (c.keyIs("formatversion"))
                    parseUnsigned(c.value, vmf->formatversion);
            });
        }
        if (c.keyIs("visgroups")) {
            c.next();
            c.loop([&] {
                if (c.keyIs("visgroup")) {
                    vmf->visgroups.append(visgroup());
                    readVisgroup(device, limit, vmf->visgroups.last(), line, key, value);
                }
            });
        }
        if (c.keyIs("viewsettings")) {
            readSettings(c, [&] {
                if (c.keyIs("bsnaptogrid"))
                    vmf->bSnapToGrid = c.first() != '0';
                else if (c.keyIs("bshowgrid"))
                    vmf->bShowGrid = c.first() != '0';
                else if (c.keyIs("bshowlogicalgrid"))
                    vmf->bShowLogicalGrid = c.first() == '1';
                else if (c.keyIs("bshow3dgrid"))
                    vmf->bShow3DGrid = c.first() == '1';
                else if (c.keyIs("ngridspacing"))
                    parseUnsigned(c.value, vmf->nGridSpacing);
            });
        }
        if (c.keyIs("world"))
            readWorld(device, limit, vmf->world, nullptr, line, key, value);
        if (c.keyIs("cameras")) {
            for (;;) {
                if (c.key == "{") {
                    ++cameraDepth;
                } else if (c.key == "}") {
                    if (--cameraDepth == 0)
                        break;
                } else if (c.keyIs("camera") && c.value.isEmpty()) {
                    vmf->cameras.list.append(camera());
                } else if (c.isPair() && c.keyIs("activecamera")) {
                    parseUnsigned(c.value, vmf->cameras.activecamera);
                } else if (c.isPair() && c.keyIs("position")) {
                    if (!vmf->cameras.list.isEmpty())
                        vmf->cameras.list.last().position = c.value;
                } else if (c.isPair() && c.keyIs("look")) {
                    if (!vmf->cameras.list.isEmpty())
                        vmf->cameras.list.last().look = c.value;
                }
                if (c.atLimit())
                    break;
                c.next();
            }
        }
        if (c.keyIs("cordon")) {
            readSettings(c, [&] {
                if (c.keyIs("mins"))
                    vmf->cordon.mins = c.value;
                else if (c.keyIs("maxs"))
                    vmf->cordon.maxs = c.value;
                else if (c.keyIs("active"))
                    vmf->cordon.active = c.first() == '1';
            });
        }
    }
    return vmf.release();
}
