// The writer: every block in one fixed order with the same keys, whatever the source of the
// model, tab indentation and LF line ends. Hidden wrappers are derived anew from the
// visgroupshown flags.
#include "map/CFileVMF.h"

#include <QSaveFile>
#include <QStringConverter>
#include <QTextStream>

namespace {

// Lines go out through a Latin-1 view: values are bytes and must come back as they were.
class Out
{
public:
    explicit Out(QTextStream &stream)
        : stream(stream)
    { }

    void line(const QByteArray &indent, int tabs, const char *text)
    {
        lead(indent, tabs);
        stream << QLatin1String(text) << '\n';
    }
    void pair(const QByteArray &indent, int tabs, const QByteArray &key, const QByteArray &value)
    {
        lead(indent, tabs);
        stream << '"' << QLatin1String(key) << "\" \"" << QLatin1String(value) << "\"\n";
    }
    void pair(const QByteArray &indent, int tabs, const char *key, const QByteArray &value)
    {
        pair(indent, tabs, QByteArray::fromRawData(key, qstrlen(key)), value);
    }
    template<typename N> void number(const QByteArray &indent, int tabs, const char *key, N n)
    {
        pair(indent, tabs, key, QByteArray::number(n));
    }
    void flag(const QByteArray &indent, int tabs, const char *key, bool on)
    {
        pair(indent, tabs, key, on ? QByteArrayLiteral("1") : QByteArrayLiteral("0"));
    }

private:
    void lead(const QByteArray &indent, int tabs)
    {
        if (!indent.isEmpty())
            stream << QLatin1String(indent);
        for (int i = 0; i < tabs; ++i)
            stream << '\t';
    }

    QTextStream &stream;
};

const QByteArray NoIndent;

void writeRows(Out &out, const QByteArray &indent, const char *name,
               const QVector<QByteArray> &rows)
{
    if (rows.isEmpty())
        return;
    out.line(indent, 4, name);
    out.line(indent, 4, "{");
    for (qsizetype n = 0; n < rows.size(); ++n)
        out.pair(indent, 5, QByteArray("row") + QByteArray::number(n), rows.at(n));
    out.line(indent, 4, "}");
}

void writeDispinfo(Out &out, const QByteArray &indent, const CFileVMF::dispinfo &d)
{
    out.line(indent, 3, "dispinfo");
    out.line(indent, 3, "{");
    out.number(indent, 4, "power", uint(d.power));
    out.pair(indent, 4, "startposition", d.startposition);
    out.number(indent, 4, "flags", uint(d.flags));
    out.pair(indent, 4, "elevation", QString::number(double(d.elevation), 'g', 6).toLatin1());
    out.flag(indent, 4, "subdiv", d.subdiv);
    writeRows(out, indent, "normals", d.normals);
    writeRows(out, indent, "distances", d.distances);
    writeRows(out, indent, "offsets", d.offsets);
    writeRows(out, indent, "offset_normals", d.offset_normals);
    writeRows(out, indent, "alphas", d.alphas);
    writeRows(out, indent, "triangle_tags", d.triangle_tags);
    if (!d.allowed_verts.isEmpty()) {
        out.line(indent, 4, "allowed_verts");
        out.line(indent, 4, "{");
        out.pair(indent, 5, "10", d.allowed_verts);
        out.line(indent, 4, "}");
    }
    out.line(indent, 3, "}");
}

void writeSide(Out &out, const QByteArray &indent, const CFileVMF::side &s)
{
    out.line(indent, 2, "side");
    out.line(indent, 2, "{");
    out.number(indent, 3, "id", s.id);
    out.pair(indent, 3, "plane", s.plane);
    out.pair(indent, 3, "material", s.material);
    out.pair(indent, 3, "uaxis", s.uaxis);
    out.pair(indent, 3, "vaxis", s.vaxis);
    out.number(indent, 3, "rotation", int(s.rotation));
    out.number(indent, 3, "lightmapscale", uint(s.lightmapscale));
    out.number(indent, 3, "smoothing_groups", qint32(s.smoothing_groups));
    if (s.dispinfo)
        writeDispinfo(out, indent, *s.dispinfo);
    out.line(indent, 2, "}");
}

void writeGroup(Out &out, const CFileVMF::group &g)
{
    out.line(NoIndent, 1, "group");
    out.line(NoIndent, 1, "{");
    out.number(NoIndent, 2, "id", g.id);
    out.line(NoIndent, 2, "editor");
    out.line(NoIndent, 2, "{");
    out.pair(NoIndent, 3, "color", g.color);
    if (g.groupid != 0)
        out.number(NoIndent, 3, "groupid", g.groupid);
    out.flag(NoIndent, 3, "visgroupshown", g.visgroupshown);
    out.flag(NoIndent, 3, "visgroupautoshown", g.visgroupautoshown);
    out.line(NoIndent, 2, "}");
    out.line(NoIndent, 1, "}");
}

} // namespace

bool CFileVMF::writeFile(const QString &path) const
{
    if (path.isEmpty()) {
        lastError = QStringLiteral("Write Error: Invalid file path");
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        lastError = QStringLiteral("Write Error: Unable to open \"%1\"").arg(path);
        return false;
    }
    if (!writeFile(file))
        return false;
    if (!file.commit()) {
        lastError = QStringLiteral("Write Error: Unable to write \"%1\"").arg(path);
        return false;
    }
    return true;
}

bool CFileVMF::writeFile(QIODevice &device) const
{
    if (!device.isOpen()) {
        lastError = QStringLiteral("Write Error: Device not open");
        return false;
    }
    if (!device.isWritable()) {
        lastError = QStringLiteral("Write Error: Device not writable");
        return false;
    }
    QTextStream stream(&device);
    stream.setEncoding(QStringConverter::Latin1);
    return writeFile(stream);
}

bool CFileVMF::writeFile(QTextStream &stream) const
{
    Out out(stream);
    QByteArray indent;

    out.line(indent, 0, "versioninfo");
    out.line(indent, 0, "{");
    out.number(indent, 1, "editorversion", uint(editorversion));
    out.number(indent, 1, "editorbuild", uint(editorbuild));
    out.number(indent, 1, "mapversion", uint(mapversion));
    out.number(indent, 1, "formatversion", uint(formatversion));
    out.flag(indent, 1, "prefab", prefab);
    out.line(indent, 0, "}");

    out.line(indent, 0, "visgroups");
    out.line(indent, 0, "{");
    for (const visgroup &v : visgroups)
        writeVisgroup(stream, v, indent);
    out.line(indent, 0, "}");

    out.line(indent, 0, "viewsettings");
    out.line(indent, 0, "{");
    out.flag(indent, 1, "bSnapToGrid", bSnapToGrid);
    out.flag(indent, 1, "bShowGrid", bShowGrid);
    out.flag(indent, 1, "bShowLogicalGrid", bShowLogicalGrid);
    out.number(indent, 1, "nGridSpacing", uint(nGridSpacing));
    out.flag(indent, 1, "bShow3DGrid", bShow3DGrid);
    out.line(indent, 0, "}");

    out.line(indent, 0, "world");
    out.line(indent, 0, "{");
    writeWorld(stream, world, indent, nullptr);
    out.line(indent, 0, "}");

    for (const entity &e : entities) {
        const bool hidden = !e.editor.visgroupshown;
        if (hidden) {
            indent.append('\t');
            out.line(NoIndent, 0, "hidden");
            out.line(NoIndent, 0, "{");
        } else {
            indent.clear();
        }
        out.line(indent, 0, "entity");
        out.line(indent, 0, "{");
        writeWorld(stream, e.world, indent, &e.editor);
        writeEditor(stream, e.editor, indent, true);
        out.line(indent, 0, "}");
        if (hidden) {
            out.line(NoIndent, 0, "}");
            indent.chop(1);
        }
    }

    out.line(indent, 0, "cameras");
    out.line(indent, 0, "{");
    out.number(indent, 1, "activecamera", int(cameras.activecamera));
    for (const camera &c : cameras.list) {
        out.line(indent, 1, "camera");
        out.line(indent, 1, "{");
        out.pair(indent, 2, "position", c.position);
        out.pair(indent, 2, "look", c.look);
        out.line(indent, 1, "}");
    }
    out.line(indent, 0, "}");

    out.line(indent, 0, "cordon");
    out.line(indent, 0, "{");
    out.pair(indent, 1, "mins", cordon.mins);
    out.pair(indent, 1, "maxs", cordon.maxs);
    out.flag(indent, 1, "active", cordon.active);
    out.line(indent, 0, "}");
    return true;
}

void CFileVMF::writeVisgroup(QTextStream &stream, const visgroup &target, QByteArray &indent) const
{
    Out out(stream);
    out.line(indent, 1, "visgroup");
    out.line(indent, 1, "{");
    out.pair(indent, 2, "name", target.name);
    out.number(indent, 2, "visgroupid", uint(target.visgroupid));
    out.pair(indent, 2, "color", target.color);
    if (!target.children.isEmpty()) {
        indent.append('\t');
        for (const visgroup &child : target.children)
            writeVisgroup(stream, child, indent);
        indent.chop(1);
    }
    out.line(indent, 1, "}");
}

void CFileVMF::writeEditor(QTextStream &stream, const struct editor &target, QByteArray &indent,
                           bool entityEditor) const
{
    Out out(stream);
    if (!entityEditor)
        indent.append('\t');
    out.line(indent, 1, "editor");
    out.line(indent, 1, "{");
    out.pair(indent, 2, "color", target.color);
    if (target.groupid != 0)
        out.number(indent, 2, "groupid", target.groupid);
    for (quint32 id : target.visgroupids)
        out.number(indent, 2, "visgroupid", id);
    out.flag(indent, 2, "visgroupshown", target.visgroupshown);
    out.flag(indent, 2, "visgroupautoshown", target.visgroupautoshown);
    if (!entityEditor) {
        out.line(indent, 1, "}");
        indent.chop(1);
        return;
    }
    if (!target.comments.isEmpty())
        out.pair(indent, 2, "comments", target.comments);
    out.pair(indent, 2, "logicalpos", target.logicalpos);
    out.line(indent, 1, "}");
}

void CFileVMF::writeWorld(QTextStream &stream, const struct world &target, QByteArray &indent,
                          const struct editor *owner) const
{
    Out out(stream);
    for (qsizetype i = 0; i + 1 < target.keyvalues.size(); i += 2)
        out.pair(indent, 1, target.keyvalues.at(i), target.keyvalues.at(i + 1));

    if (!target.connections.isEmpty()) {
        out.line(indent, 1, "connections");
        out.line(indent, 1, "{");
        for (qsizetype i = 0; i + 1 < target.connections.size(); i += 2)
            out.pair(indent, 2, target.connections.at(i), target.connections.at(i + 1));
        out.line(indent, 1, "}");
    }

    // A solid of a hidden entity is not wrapped a second time, whatever its own flag says.
    const bool wrapped = !(owner && !owner->visgroupshown);
    for (const solid &s : target.solids) {
        const bool hidden = wrapped && !s.editor.visgroupshown;
        if (hidden) {
            indent.append('\t');
            out.line(indent, 0, "hidden");
            out.line(indent, 0, "{");
        } else if (wrapped) {
            indent.clear();
        }
        out.line(indent, 1, "solid");
        out.line(indent, 1, "{");
        out.number(indent, 2, "id", s.id);
        for (const side &sd : s.sides)
            writeSide(out, indent, sd);
        writeEditor(stream, s.editor, indent, false);
        out.line(indent, 1, "}");
        if (hidden) {
            indent.chop(1);
            out.line(indent, 1, "}");
        } else if (wrapped) {
            indent.clear();
        }
    }

    for (const group &g : target.groups)
        writeGroup(out, g);
}
