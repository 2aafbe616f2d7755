// Builds the three particle template files from the table in particle_templates.txt:
//   zirk_pcftemplates TABLE OUTDIR
// It runs at build time; the files go into the program's resources.

#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/DmxNames.h"
#include "particles/PCFDelegate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>

#include <cstdio>
#include <memory>

namespace {

struct SystemAttribute
{
    QString name;
    CDmxAttribute::ParticleAttributeType_t type;
    int since;
    QString value;
    QString valueV3;
};

struct Operator
{
    QString list;
    QString name;
    QString versions;
};

struct Parameter
{
    QString list; // empty for the common ones
    QString operatorName;
    QString name;
    CDmxAttribute::ParticleAttributeType_t type;
    int since;
    QString value;
};

struct Table
{
    QStringList lists;
    QList<SystemAttribute> system;
    QList<Operator> operators;
    QList<Parameter> common;
    QList<Parameter> parameters;
};

const char *const fileNames[] = { nullptr, "particle_defaults_orangebox.pcf",
                                  "particle_defaults_l4d.pcf", "particle_defaults_l4d2.pcf" };
const int expectedCounts[] = { 0, 81, 90, 111 };

// A fixed namespace, so that the same table always gives the same GUIDs and the same bytes.
const QUuid guidNamespace(0x5a1c3e70, 0x2f4b, 0x4d8e, 0x9a, 0x61, 0x0c, 0x7e, 0x3b, 0x52, 0xd4,
                          0x18);

[[noreturn]] void fail(const QString &text)
{
    std::fprintf(stderr, "zirk_pcftemplates: %s\n", qPrintable(text));
    std::exit(1);
}

CDmxAttribute::ParticleAttributeType_t typeByName(const QString &name, int line)
{
    for (int type = 0; type < CDmxAttribute::ATTRIBUTE_TYPE_COUNT; ++type) {
        const auto id = CDmxAttribute::ParticleAttributeType_t(type);
        if (CDmxAttribute::attributeTypeToAttributeName(id) == name)
            return id;
    }
    fail(QStringLiteral("line %1: unknown type \"%2\"").arg(line).arg(name));
}

int versionNumber(const QString &text, int line)
{
    bool ok = false;
    const int version = text.toInt(&ok);
    if (!ok || version < 1 || version > 3)
        fail(QStringLiteral("line %1: bad version \"%2\"").arg(line).arg(text));
    return version;
}

Table readTable(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        fail(QStringLiteral("cannot read %1").arg(path));
    Table table;
    QTextStream stream(&file);
    int line = 0;
    while (!stream.atEnd()) {
        ++line;
        const QString text = stream.readLine();
        if (text.trimmed().isEmpty() || text.trimmed().startsWith(QLatin1Char('#')))
            continue;
        QStringList parts = text.split(QLatin1Char('|'));
        for (QString &part : parts)
            part = part.trimmed();
        const QString kind = parts.takeFirst();
        auto need = [&](qsizetype count) {
            if (parts.size() != count)
                fail(QStringLiteral("line %1: %2 columns expected").arg(line).arg(count + 1));
        };
        if (kind == QLatin1String("list")) {
            need(1);
            table.lists.append(parts.at(0));
        } else if (kind == QLatin1String("system")) {
            need(5);
            table.system.append({ parts.at(0), typeByName(parts.at(1), line),
                                  versionNumber(parts.at(2), line), parts.at(3), parts.at(4) });
        } else if (kind == QLatin1String("operator")) {
            need(3);
            table.operators.append({ parts.at(0), parts.at(1), parts.at(2) });
        } else if (kind == QLatin1String("common")) {
            need(4);
            table.common.append({ QString(), QString(), parts.at(0), typeByName(parts.at(1), line),
                                  versionNumber(parts.at(2), line), parts.at(3) });
        } else if (kind == QLatin1String("parameter")) {
            need(6);
            table.parameters.append({ parts.at(0), parts.at(1), parts.at(2),
                                      typeByName(parts.at(3), line),
                                      versionNumber(parts.at(4), line), parts.at(5) });
        } else {
            fail(QStringLiteral("line %1: unknown kind \"%2\"").arg(line).arg(kind));
        }
    }
    return table;
}

CDmxAttribute *makeAttribute(const QString &name, CDmxAttribute::ParticleAttributeType_t type,
                             const QString &value)
{
    auto attribute = std::make_unique<CDmxAttribute>();
    attribute->name = name;
    if (!attribute->setValue(type, CFilePCF::defaultDataForAttributeType(type)))
        fail(QStringLiteral("no value of type %1").arg(type));
    if (type == CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY)
        return attribute.release();
    if (const char *error = attribute->setValueFromString(value))
        fail(QStringLiteral("%1 = \"%2\": %3").arg(name, value, QLatin1String(error)));
    return attribute.release();
}

CDmxElement *makeElement(const QString &type, const QString &name, const QString &key)
{
    auto *element = new CDmxElement;
    element->type = type;
    element->name = name;
    element->guid = QUuid::createUuidV5(guidNamespace, key);
    return element;
}

CDmxElement *makeOperator(const Table &table, const Operator &op, int version)
{
    CDmxElement *element
        = makeElement(DmxNames::operatorType(), op.name,
                      QStringLiteral("%1/%2/%3").arg(version).arg(op.list, op.name));
    QList<CDmxAttribute *> rest;
    for (const Parameter &parameter : table.parameters) {
        if (parameter.list == op.list && parameter.operatorName == op.name
            && parameter.since <= version)
            rest.append(makeAttribute(parameter.name, parameter.type, parameter.value));
    }
    for (const Parameter &parameter : table.common) {
        if (parameter.since <= version)
            rest.append(makeAttribute(parameter.name, parameter.type, parameter.value));
    }
    if (version == CFilePCF::PCF_L4D2)
        std::reverse(rest.begin(), rest.end());
    element->attributes.append(
        makeAttribute(DmxNames::functionName(), CDmxAttribute::ATTRIBUTE_STRING, op.name));
    element->attributes.append(rest);
    return element;
}

CDmxElement *makeSystem(const Table &table, const QString &name, int version,
                        const QHash<QString, QList<CDmxElement *>> &operators)
{
    CDmxElement *system = makeElement(DmxNames::systemType(), name,
                                      QStringLiteral("%1/system/%2").arg(version).arg(name));
    for (const QString &list : table.lists) {
        CDmxAttribute *attribute
            = makeAttribute(list, CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY, QString());
        *attribute->elementArray() = operators.value(list);
        system->attributes.append(attribute);
    }
    for (const SystemAttribute &entry : table.system) {
        if (entry.since <= version)
            system->attributes.append(
                makeAttribute(entry.name, entry.type,
                              version == CFilePCF::PCF_L4D2 ? entry.valueV3 : entry.value));
    }
    return system;
}

std::unique_ptr<CFilePCF> makeTemplate(const Table &table, int version)
{
    auto file = std::make_unique<CFilePCF>();
    file->version = CFilePCF::ParticleFormatVersion_t(version);
    CDmxElement *root = makeElement(DmxNames::rootType(), QStringLiteral("untitled"),
                                    QStringLiteral("%1/root").arg(version));
    file->elements.append(root);

    QHash<QString, QList<CDmxElement *>> byList;
    QList<CDmxElement *> operators;
    for (const QString &list : table.lists) {
        for (const Operator &op : table.operators) {
            if (op.list == list && op.versions.contains(QString::number(version))) {
                CDmxElement *element = makeOperator(table, op, version);
                byList[list].append(element);
                operators.append(element);
            }
        }
    }
    CDmxElement *defaults = makeSystem(table, QStringLiteral("default"), version, byList);
    CDmxElement *empty = makeSystem(table, QStringLiteral("empty"), version, {});
    file->elements << defaults << empty << operators;

    CDmxAttribute *systems = makeAttribute(DmxNames::systemDefinitions(),
                                           CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY, QString());
    *systems->elementArray() = { defaults, empty };
    root->attributes.append(systems);
    return file;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 3)
        fail(QStringLiteral("usage: zirk_pcftemplates TABLE OUTDIR"));
    const Table table = readTable(QString::fromLocal8Bit(argv[1]));
    const QDir outDir(QString::fromLocal8Bit(argv[2]));
    if (!outDir.mkpath(QStringLiteral(".")))
        fail(QStringLiteral("cannot make %1").arg(outDir.path()));
    for (int version = 1; version <= 3; ++version) {
        std::unique_ptr<CFilePCF> file = makeTemplate(table, version);
        if (file->elements.size() != expectedCounts[version])
            fail(QStringLiteral("version %1 has %2 elements, %3 expected")
                     .arg(version)
                     .arg(file->elements.size())
                     .arg(expectedCounts[version]));
        PCFDelegate delegate;
        const QString path = outDir.filePath(QLatin1String(fileNames[version]));
        if (!delegate.writeFile(path, file.get(), file->version))
            fail(QStringLiteral("%1: %2").arg(path, delegate.getLastError()));
    }
    return 0;
}
