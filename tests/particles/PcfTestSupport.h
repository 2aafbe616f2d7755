#pragma once

// Helpers of the particle tests: bytes of hand-made particle files, small element trees,
// and a comparison of two files as trees.

#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/DmxNames.h"
#include "particles/PCFDelegate.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QtEndian>

#include <memory>

// Writes the bytes of a particle file field by field, little-endian.
class PcfBytes
{
public:
    explicit PcfBytes(int version)
    {
        raw(CFilePCF::formatVersionToMagicString(CFilePCF::ParticleFormatVersion_t(version))
                .toLatin1());
        raw(QByteArray("\n\0", 2));
    }
    PcfBytes &raw(const QByteArray &bytes)
    {
        data.append(bytes);
        return *this;
    }
    PcfBytes &text(const char *value)
    {
        data.append(value);
        data.append('\0');
        return *this;
    }
    template<typename T> PcfBytes &number(T value)
    {
        char bytes[sizeof(T)];
        qToLittleEndian(value, bytes);
        data.append(bytes, qsizetype(sizeof(T)));
        return *this;
    }
    PcfBytes &i16(qint16 v) { return number(v); }
    PcfBytes &u16(quint16 v) { return number(v); }
    PcfBytes &i32(qint32 v) { return number(v); }
    PcfBytes &u8(quint8 v) { return number(v); }
    PcfBytes &f32(float v) { return number(v); }
    PcfBytes &guid(quint32 seed)
    {
        number<quint32>(seed);
        number<quint16>(0x1234);
        number<quint16>(0x4567);
        data.append("\x89\xab\xcd\xef\x01\x23\x45\x67", 8);
        return *this;
    }

    QByteArray data;
};

// A file of one version with a root and the given systems, built in memory.
struct PcfTree
{
    static CDmxAttribute *attribute(const QString &name,
                                    CDmxAttribute::ParticleAttributeType_t type, void *value)
    {
        auto *made = new CDmxAttribute;
        made->name = name;
        if (!made->setValue(type, value))
            qFatal("attribute without value");
        return made;
    }
    static CDmxAttribute *floatAttribute(const QString &name, float value)
    {
        return attribute(name, CDmxAttribute::ATTRIBUTE_FLOAT, new DmxFloat(value));
    }
    static CDmxElement *element(const QString &type, const QString &name)
    {
        auto *made = new CDmxElement;
        made->type = type;
        made->name = name;
        made->guid = QUuid::createUuid();
        return made;
    }
    static CDmxElement *system(CFilePCF &file, const QString &name)
    {
        CDmxElement *made = element(DmxNames::systemType(), name);
        for (const char *list : { "renderers", "operators", "initializers", "emitters", "children",
                                  "forces", "constraints" })
            made->attributes.append(attribute(QString::fromLatin1(list),
                                              CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY,
                                              new DmxElementArray));
        file.elements.append(made);
        file.systemDefinitions()->append(made);
        return made;
    }
    static CDmxElement *addOperator(CFilePCF &file, CDmxElement *system, const QString &list,
                                    const QString &name)
    {
        CDmxElement *made = element(DmxNames::operatorType(), name);
        made->attributes.append(attribute(DmxNames::functionName(), CDmxAttribute::ATTRIBUTE_STRING,
                                          new QString(name)));
        system->getAttributeByName(list)->elementArray()->append(made);
        file.elements.append(made);
        return made;
    }
    // A DmeParticleChild in the parent's children naming child, optionally without delay.
    static CDmxElement *addChild(CFilePCF &file, CDmxElement *parent, CDmxElement *child,
                                 bool withDelay = true)
    {
        CDmxElement *made = element(DmxNames::childType(), child->name);
        if (withDelay)
            made->attributes.append(floatAttribute(DmxNames::delay(), 0.5f));
        CDmxAttribute *link = new CDmxAttribute;
        link->name = DmxNames::child();
        link->ownsValue = false;
        if (!link->setValue(CDmxAttribute::ATTRIBUTE_ELEMENT, child))
            qFatal("child without value");
        made->attributes.append(link);
        parent->getAttributeByName(DmxNames::children())->elementArray()->append(made);
        file.elements.append(made);
        return made;
    }
};

// Empty when the two files hold the same tree, else where they first differ.
inline QString pcfDifference(const CFilePCF &a, const CFilePCF &b)
{
    if (a.version != b.version)
        return QStringLiteral("version %1 / %2").arg(a.version).arg(b.version);
    if (a.elements.size() != b.elements.size())
        return QStringLiteral("element count %1 / %2")
            .arg(a.elements.size())
            .arg(b.elements.size());
    QHash<const CDmxElement *, qsizetype> indexA;
    QHash<const CDmxElement *, qsizetype> indexB;
    for (qsizetype i = 0; i < a.elements.size(); ++i) {
        indexA.insert(a.elements.at(i), i);
        indexB.insert(b.elements.at(i), i);
    }
    for (qsizetype i = 0; i < a.elements.size(); ++i) {
        const CDmxElement *x = a.elements.at(i);
        const CDmxElement *y = b.elements.at(i);
        const QString where = QStringLiteral("element %1 (%2)").arg(i).arg(x->name);
        if (x->type != y->type || x->name != y->name || x->guid != y->guid)
            return where + QStringLiteral(": header");
        if (x->attributes.size() != y->attributes.size())
            return where + QStringLiteral(": attribute count");
        for (qsizetype j = 0; j < x->attributes.size(); ++j) {
            const CDmxAttribute *p = x->attributes.at(j);
            const CDmxAttribute *q = y->attributes.at(j);
            const QString at = where + QStringLiteral(" attribute %1 (%2)").arg(j).arg(p->name);
            if (p->name != q->name || p->type != q->type || p->ownsValue != q->ownsValue)
                return at + QStringLiteral(": name, type or ownership");
            if (const CDmxElement *e = p->elementValue()) {
                if (indexA.value(e, -1) != indexB.value(q->elementValue(), -2))
                    return at + QStringLiteral(": element");
            } else if (const DmxElementArray *items = p->elementArray()) {
                const DmxElementArray *others = q->elementArray();
                if (items->size() != others->size())
                    return at + QStringLiteral(": item count");
                for (qsizetype k = 0; k < items->size(); ++k) {
                    if (indexA.value(items->at(k), -1) != indexB.value(others->at(k), -2))
                        return at + QStringLiteral(": item %1").arg(k);
                }
            } else if (p->getValueAsString() != q->getValueAsString()) {
                return at
                    + QStringLiteral(": value %1 / %2")
                          .arg(p->getValueAsString(), q->getValueAsString());
            }
        }
    }
    return QString();
}

// Writes a file in its own version and reads it back.
inline std::unique_ptr<CFilePCF> pcfRoundTrip(CFilePCF &file, QString &error)
{
    PCFDelegate delegate;
    QByteArray bytes;
    if (!delegate.writeData(bytes, &file, file.version)) {
        error = delegate.getLastError();
        return nullptr;
    }
    auto back = std::make_unique<CFilePCF>();
    if (!delegate.readData(bytes, back.get())) {
        error = delegate.getLastError();
        return nullptr;
    }
    return back;
}
