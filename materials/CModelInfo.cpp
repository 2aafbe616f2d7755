#include "materials/CModelInfo.h"

#include "materials/CFileMDL.h"
#include "materials/CFilePHY.h"
#include "util/UtilText.h"

#include <QFileInfo>

#include <cstring>
#include <memory>

namespace {

using Node_t = CModelInfo::Node_t;

QString number(float value)
{
    return UTIL_standardNotationFloat(value, 6);
}

Node_t vectorNode(const QString &label, const Vector3 &vector)
{
    return { label,
             QStringLiteral("%1, %2, %3").arg(number(vector.x), number(vector.y), number(vector.z)),
             { { QStringLiteral("X"), number(vector.x), {} },
               { QStringLiteral("Y"), number(vector.y), {} },
               { QStringLiteral("Z"), number(vector.z), {} } } };
}

Node_t headerField(const StudioHeader_t &header, const CFileMDL::HeaderField_t &field)
{
    const char *at = reinterpret_cast<const char *>(&header) + field.offset;
    const QString label = QString::fromLatin1(field.label);
    switch (field.kind) {
    case CFileMDL::FieldInteger: {
        qint32 value = 0;
        std::memcpy(&value, at, sizeof value);
        return { label, QString::number(value), {} };
    }
    case CFileMDL::FieldFloat: {
        float value = 0;
        std::memcpy(&value, at, sizeof value);
        return { label, number(value), {} };
    }
    case CFileMDL::FieldVector: {
        Vector3 value {};
        std::memcpy(&value, at, sizeof value);
        return vectorNode(label, value);
    }
    case CFileMDL::FieldByte:
        return { label, QString::number(*reinterpret_cast<const quint8 *>(at)), {} };
    case CFileMDL::FieldRaw64: {
        // The reader keeps all 64 bytes; the name ends at the first NUL.
        const char *end = static_cast<const char *>(std::memchr(at, 0, 64));
        return { label, QString::fromLatin1(at, end ? end - at : 64), {} };
    }
    case CFileMDL::FieldMagic:
        break;
    }
    return { label, QString::fromLatin1(at, 4), {} };
}

Node_t listNode(const QString &label, const QVector<QByteArray> &items, const char *itemLabel)
{
    Node_t node { label, QString::number(items.size()), {} };
    for (qsizetype i = 0; i < items.size(); ++i)
        node.children.append({ QStringLiteral("%1 %2").arg(QLatin1String(itemLabel)).arg(i),
                               QString::fromLatin1(items.at(i)),
                               {} });
    return node;
}

} // namespace

Node_t CModelInfo::describe(const CFileMDL &model)
{
    Node_t tree { QFileInfo(model.path).fileName(), QStringLiteral("Studio Model"), {} };
    for (const CFileMDL::HeaderField_t &field : CFileMDL::headerFields()) {
        if (field.label)
            tree.children.append(headerField(model.header, field));
    }
    tree.children.append(listNode(QStringLiteral("Textures"), model.textureNames, "Texture"));
    tree.children.append(
        listNode(QStringLiteral("Texture Directories"), model.textureDirectories, "Directory"));
    tree.children.append(
        { QStringLiteral("Surface Prop"), QString::fromLatin1(model.surfaceProp), {} });
    Node_t keyvalues { QStringLiteral("Keyvalues"), QString::number(model.keyvalues.size()), {} };
    for (qsizetype i = 0; i < model.keyvalues.size(); ++i)
        keyvalues.children.append({ QStringLiteral("Line %1").arg(i), model.keyvalues.at(i), {} });
    tree.children.append(keyvalues);
    QVector<QByteArray> includes;
    for (const CPair<QByteArray, QByteArray> &include : model.includeModels)
        includes.append(include.second);
    tree.children.append(listNode(QStringLiteral("Include Models"), includes, "Model"));
    return tree;
}

Node_t CModelInfo::describe(const CFilePHY &physics)
{
    Node_t tree { QFileInfo(physics.path).fileName(), QStringLiteral("Physics Model"), {} };
    tree.children.append(
        { QStringLiteral("Header Size"), QString::number(physics.headerSize), {} });
    tree.children.append({ QStringLiteral("ID"), QString::number(physics.id), {} });
    tree.children.append(
        { QStringLiteral("Solid Count"), QString::number(physics.solidCount), {} });
    tree.children.append({ QStringLiteral("Checksum"), QString::number(physics.checksum), {} });
    Node_t solids { QStringLiteral("Solids"), QString::number(physics.solids.size()), {} };
    for (qsizetype i = 0; i < physics.solids.size(); ++i)
        solids.children.append({ QStringLiteral("Solid %1").arg(i),
                                 QStringLiteral("%1 bytes").arg(physics.solids.at(i).size()),
                                 {} });
    tree.children.append(solids);
    Node_t sections { QStringLiteral("Sections"), QString::number(physics.sections.size()), {} };
    for (const CFilePHY::Section_t &section : physics.sections) {
        Node_t node { section.first, QString::number(section.second.size()), {} };
        for (const CFilePHY::Pair_t &pair : section.second)
            node.children.append({ pair.first, pair.second, {} });
        sections.children.append(node);
    }
    tree.children.append(sections);
    return tree;
}

bool CModelInfo::describeFile(const QString &path, Node_t &tree, QString &error)
{
    if (path.endsWith(QLatin1String(".phy"), Qt::CaseInsensitive)) {
        const std::unique_ptr<CFilePHY> physics(CFilePHY::createFromFile(path));
        if (physics) {
            tree = describe(*physics);
            return true;
        }
    } else {
        const std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(path));
        if (model) {
            tree = describe(*model);
            return true;
        }
    }
    error = QStringLiteral("Read Error: Unable to read \"%1\"").arg(path);
    return false;
}

QString CModelInfo::toText(const Node_t &tree)
{
    QString text;
    const auto write = [&text](const auto &self, const Node_t &node, int level) -> void {
        text += QString(level * 2, QLatin1Char(' ')) + node.label;
        if (!node.value.isEmpty())
            text += QStringLiteral(": ") + node.value;
        text += QLatin1Char('\n');
        for (const Node_t &child : node.children)
            self(self, child, level + 1);
    };
    write(write, tree, 0);
    return text;
}
