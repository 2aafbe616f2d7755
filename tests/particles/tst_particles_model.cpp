// The element tree: value text forms, ownership, copies, GUIDs and the walks over
// element references, also where references loop.
#include "PcfTestSupport.h"

#include <QtTest>

using Type = CDmxAttribute::ParticleAttributeType_t;

class TestParticlesModel : public QObject
{
    Q_OBJECT

private slots:
    void typeNames();
    void textForms_data();
    void textForms();
    void setFromText_data();
    void setFromText();
    void setFromTextRefusals();
    void setValueOwnership();
    void cloneKeepsGuidAndCopiesDeep();
    void scrambleRenewsEveryGuid();
    void firstChildChain();
    void listings();
    void removeFromHierarchy();
    void loopsEndCleanly();
};

void TestParticlesModel::typeNames()
{
    QCOMPARE(CDmxAttribute::attributeTypeToAttributeName(CDmxAttribute::ATTRIBUTE_NULL),
             QStringLiteral("NULL"));
    QCOMPARE(CDmxAttribute::attributeTypeToAttributeName(CDmxAttribute::ATTRIBUTE_QANGLE_ARRAY),
             QStringLiteral("QANGLE_ARRAY"));
    QCOMPARE(CDmxAttribute::attributeTypeToAttributeName(Type(29)), QStringLiteral("UNKNOWN"));
    QCOMPARE(CDmxAttribute::attributeTypeToAttributeName(Type(-1)), QStringLiteral("UNKNOWN"));
    // Every array id is its item id plus 14, with a default value of its own.
    for (int type = CDmxAttribute::ATTRIBUTE_ELEMENT; type <= CDmxAttribute::ATTRIBUTE_MATRIX;
         ++type) {
        QCOMPARE(CDmxAttribute::attributeTypeToAttributeName(Type(type + 14)),
                 CDmxAttribute::attributeTypeToAttributeName(Type(type))
                     + QStringLiteral("_ARRAY"));
        CDmxAttribute attribute;
        QVERIFY(attribute.setValue(Type(type + 14),
                                   CFilePCF::defaultDataForAttributeType(Type(type + 14))));
        QCOMPARE(attribute.getValueAsString(), QStringLiteral("0 Item(s)"));
    }
}

void TestParticlesModel::textForms_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("shown");
    QTest::newRow("integer") << int(CDmxAttribute::ATTRIBUTE_INTEGER) << "-42"
                             << "-42";
    QTest::newRow("float trims zeros") << int(CDmxAttribute::ATTRIBUTE_FLOAT) << "1.5"
                                       << "1.5";
    QTest::newRow("float whole") << int(CDmxAttribute::ATTRIBUTE_FLOAT) << "2"
                                 << "2";
    QTest::newRow("boolean not zero") << int(CDmxAttribute::ATTRIBUTE_BOOLEAN) << "7"
                                      << "1";
    QTest::newRow("time four decimals") << int(CDmxAttribute::ATTRIBUTE_TIME) << "1.23456"
                                        << "1.2345";
    QTest::newRow("colour clamps") << int(CDmxAttribute::ATTRIBUTE_COLOR) << "300 -5 0 255"
                                   << "255 0 0 255";
    QTest::newRow("colour blanks skipped") << int(CDmxAttribute::ATTRIBUTE_COLOR) << " 1  2 3 4 "
                                           << "1 2 3 4";
    QTest::newRow("binary odd digit goes") << int(CDmxAttribute::ATTRIBUTE_BINARY) << "a b c"
                                           << "A";
    // The last digit of the last byte is never shown.
    QTest::newRow("binary display cut") << int(CDmxAttribute::ATTRIBUTE_BINARY) << "abcd"
                                        << "AB C";
    QTest::newRow("binary small bytes") << int(CDmxAttribute::ATTRIBUTE_BINARY) << "0a05"
                                        << "A ";
    QTest::newRow("vector3") << int(CDmxAttribute::ATTRIBUTE_VECTOR3) << "1 -2.5 3"
                             << "1 -2.5 3";
    QTest::newRow("quaternion") << int(CDmxAttribute::ATTRIBUTE_QUATERNION) << "0 0 0 1"
                                << "0 0 0 1";
    QTest::newRow("string to first NUL")
        << int(CDmxAttribute::ATTRIBUTE_STRING)
        << QStringLiteral("ab") + QChar(0) + QStringLiteral("cd") << "ab";
}

void TestParticlesModel::textForms()
{
    QFETCH(int, type);
    QFETCH(QString, input);
    QFETCH(QString, shown);
    CDmxAttribute attribute;
    QVERIFY(attribute.setValue(Type(type), CFilePCF::defaultDataForAttributeType(Type(type))));
    QCOMPARE(attribute.setValueFromString(input), nullptr);
    QCOMPARE(attribute.getValueAsString(), shown);
}

void TestParticlesModel::setFromText_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("input");
    QTest::newRow("colour of three") << int(CDmxAttribute::ATTRIBUTE_COLOR) << "1 2 3";
    QTest::newRow("colour not a number") << int(CDmxAttribute::ATTRIBUTE_COLOR) << "1 2 x 4";
    QTest::newRow("integer") << int(CDmxAttribute::ATTRIBUTE_INTEGER) << "1.5";
    QTest::newRow("vector2 of three") << int(CDmxAttribute::ATTRIBUTE_VECTOR2) << "1 2 3";
    QTest::newRow("matrix of fifteen")
        << int(CDmxAttribute::ATTRIBUTE_MATRIX) << "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0";
    QTest::newRow("binary not hex") << int(CDmxAttribute::ATTRIBUTE_BINARY) << "zz";
}

void TestParticlesModel::setFromText()
{
    QFETCH(int, type);
    QFETCH(QString, input);
    CDmxAttribute attribute;
    QVERIFY(attribute.setValue(Type(type), CFilePCF::defaultDataForAttributeType(Type(type))));
    const QString before = attribute.getValueAsString();
    QCOMPARE(QString::fromLatin1(attribute.setValueFromString(input)),
             QStringLiteral("Unable to parse value from string."));
    QCOMPARE(attribute.getValueAsString(), before);
}

void TestParticlesModel::setFromTextRefusals()
{
    CDmxAttribute empty;
    QCOMPARE(QString::fromLatin1(empty.setValueFromString(QStringLiteral("1"))),
             QStringLiteral("Unable to change attribute of unknown value type."));
    CDmxAttribute element;
    QVERIFY(element.setValue(CDmxAttribute::ATTRIBUTE_ELEMENT, new CDmxElement));
    QCOMPARE(QString::fromLatin1(element.setValueFromString(QStringLiteral("x"))),
             QStringLiteral("Unable to change attribute of unknown value type."));
    CDmxAttribute array;
    QVERIFY(array.setValue(CDmxAttribute::ATTRIBUTE_FLOAT_ARRAY, new DmxValueArray));
    QCOMPARE(QString::fromLatin1(array.setValueFromString(QStringLiteral("1"))),
             QStringLiteral("Unable to set value of array type from string."));
}

void TestParticlesModel::setValueOwnership()
{
    // An attribute that does not own its element leaves it alive when it takes another.
    auto kept = std::make_unique<CDmxElement>();
    kept->name = QStringLiteral("kept");
    CDmxAttribute reference;
    reference.ownsValue = false;
    QVERIFY(reference.setValue(CDmxAttribute::ATTRIBUTE_ELEMENT, kept.get()));
    QVERIFY(reference.setValue(CDmxAttribute::ATTRIBUTE_INTEGER, new DmxInteger(3)));
    QCOMPARE(kept->name, QStringLiteral("kept"));
    reference.ownsValue = true;

    // A null value is refused and leaves the type 0; type 0 takes no value.
    CDmxAttribute attribute;
    QVERIFY(!attribute.setValue(CDmxAttribute::ATTRIBUTE_FLOAT, nullptr));
    QCOMPARE(attribute.type, CDmxAttribute::ATTRIBUTE_NULL);
    QVERIFY(attribute.setValue(CDmxAttribute::ATTRIBUTE_NULL, nullptr));
    QCOMPARE(attribute.getValueAsString(), QString());
}

void TestParticlesModel::cloneKeepsGuidAndCopiesDeep()
{
    CFilePCF *file = CFilePCF::newPCF(CFilePCF::PCF_L4D);
    std::unique_ptr<CFilePCF> owner(file);
    CDmxElement *parent = PcfTree::system(*file, QStringLiteral("parent"));
    CDmxElement *child = PcfTree::system(*file, QStringLiteral("child"));
    PcfTree::addOperator(*file, parent, QStringLiteral("operators"),
                         QStringLiteral("Movement Basic"));
    PcfTree::addChild(*file, parent, child);

    std::unique_ptr<CDmxElement> copy(parent->clone());
    QVERIFY(copy);
    QCOMPARE(copy->guid, parent->guid);
    QCOMPARE(copy->name, parent->name);
    const CDmxElement *copiedOperator
        = copy->getAttributeByName(QStringLiteral("operators"))->elementArray()->first();
    QVERIFY(copiedOperator
            != parent->getAttributeByName(QStringLiteral("operators"))->elementArray()->first());
    // The child is copied too, though its attribute does not own it.
    const QList<CDmxElement::Pair_t *> children = copy->listChildren(0, 0);
    QCOMPARE(children.size(), 1);
    QVERIFY(children.first()->second != child);
    QCOMPARE(children.first()->second->guid, child->guid);
    QVERIFY(!children.first()->first->ownsValue);
    CFilePCF::deleteCopies({ copy.release() });
    qDeleteAll(children);
}

void TestParticlesModel::scrambleRenewsEveryGuid()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
    CDmxElement *parent = PcfTree::system(*file, QStringLiteral("parent"));
    CDmxElement *child = PcfTree::system(*file, QStringLiteral("child"));
    CDmxElement *op = PcfTree::addOperator(*file, parent, QStringLiteral("renderers"),
                                           QStringLiteral("render_rope"));
    CDmxElement *link = PcfTree::addChild(*file, parent, child);
    const QList<QUuid> before { parent->guid, child->guid, op->guid, link->guid };

    parent->scrambleGUIDHierarchy(false);
    QCOMPARE(parent->guid, before.at(0));
    QVERIFY(child->guid != before.at(1));
    QVERIFY(op->guid != before.at(2));
    QVERIFY(link->guid != before.at(3));
    parent->scrambleGUIDHierarchy(true);
    QVERIFY(parent->guid != before.at(0));
    QVERIFY(!parent->guid.isNull());
}

void TestParticlesModel::firstChildChain()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D2));
    CDmxElement *a = PcfTree::system(*file, QStringLiteral("a"));
    CDmxElement *b = PcfTree::system(*file, QStringLiteral("b"));
    CDmxElement *c = PcfTree::system(*file, QStringLiteral("c"));
    CDmxElement *d = PcfTree::system(*file, QStringLiteral("d"));
    PcfTree::addChild(*file, a, b);
    PcfTree::addChild(*file, a, d); // a second child is not on the chain
    PcfTree::addChild(*file, b, c);

    QVERIFY(a->isElementInChildHierarchy(b));
    QVERIFY(a->isElementInChildHierarchy(c)); // the child of the first child
    QVERIFY(!a->isElementInChildHierarchy(d));
    QVERIFY(!a->isElementInChildHierarchy(a));
    QVERIFY(!a->isElementInChildHierarchy(nullptr));
    QVERIFY(!c->isElementInChildHierarchy(a));

    // All children, to any depth, or the direct ones only.
    auto names = [](const QList<CDmxElement::Pair_t *> &pairs) {
        QStringList out;
        for (const CDmxElement::Pair_t *pair : pairs)
            out << pair->second->name;
        qDeleteAll(pairs);
        return out;
    };
    QCOMPARE(names(a->listChildren(CDmxElement::Unlimited, 0)),
             QStringList({ QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d") }));
    QCOMPARE(names(a->listChildren(0, 0)),
             QStringList({ QStringLiteral("b"), QStringLiteral("d") }));
}

void TestParticlesModel::listings()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *system = PcfTree::system(*file, QStringLiteral("s"));
    PcfTree::addOperator(*file, system, QStringLiteral("operators"), QStringLiteral("op1"));
    PcfTree::addOperator(*file, system, QStringLiteral("emitters"), QStringLiteral("op2"));
    const QList<CDmxElement::Pair_t *> all
        = file->root()->listSubElements(CDmxElement::Unlimited, 0);
    QStringList names;
    for (const CDmxElement::Pair_t *pair : all)
        names << pair->first->name + QLatin1Char(':') + pair->second->name;
    qDeleteAll(all);
    QCOMPARE(names,
             QStringList({ QStringLiteral("particleSystemDefinitions:s"),
                           QStringLiteral("operators:op1"), QStringLiteral("emitters:op2") }));
    const QList<CDmxElement::Pair_t *> top = file->root()->listSubElements(1, 0);
    QCOMPARE(top.size(), 1);
    qDeleteAll(top);
}

void TestParticlesModel::removeFromHierarchy()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *system = PcfTree::system(*file, QStringLiteral("s"));
    CDmxElement *op
        = PcfTree::addOperator(*file, system, QStringLiteral("operators"), QStringLiteral("op"));
    auto *single
        = PcfTree::attribute(QStringLiteral("single"), CDmxAttribute::ATTRIBUTE_ELEMENT, op);
    single->ownsValue = true;
    system->attributes.append(single);
    file->root()->removeElementFromHierarchy(op);
    QVERIFY(system->getAttributeByName(QStringLiteral("operators"))->elementArray()->isEmpty());
    QVERIFY(!system->getAttributeByName(QStringLiteral("single")));
    QVERIFY(file->elements.contains(op)); // only the references go
}

void TestParticlesModel::loopsEndCleanly()
{
    // A system that is its own child: an edit can make this along a later child.
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *a = PcfTree::system(*file, QStringLiteral("a"));
    CDmxElement *b = PcfTree::system(*file, QStringLiteral("b"));
    CDmxElement *c = PcfTree::system(*file, QStringLiteral("c"));
    PcfTree::addChild(*file, a, c);
    PcfTree::addChild(*file, a, b);
    PcfTree::addChild(*file, b, a);
    PcfTree::addChild(*file, c, c);

    QVERIFY(!a->clone());
    QVERIFY(!c->clone());
    a->scrambleGUIDHierarchy(true);
    QVERIFY(!c->isElementInChildHierarchy(a));
    const QList<CDmxElement::Pair_t *> children = a->listChildren(CDmxElement::Unlimited, 0);
    QVERIFY(children.size() < 10);
    qDeleteAll(children);
    const QList<CDmxElement::Pair_t *> below = a->listSubElements(CDmxElement::Unlimited, 0);
    QVERIFY(below.size() < 20);
    qDeleteAll(below);
    const QList<CDmxElement *> systems { a };
    QVERIFY(!file->exportSystems(&systems));

    // A lattice of shared elements would be copied once per path: the copy gives up.
    std::unique_ptr<CDmxElement> top(new CDmxElement);
    CDmxElement *level = top.get();
    QList<CDmxElement *> shared;
    for (int i = 0; i < 40; ++i) {
        auto *next = new CDmxElement;
        shared << next;
        for (int k = 0; k < 2; ++k) {
            auto *link
                = PcfTree::attribute(QStringLiteral("x"), CDmxAttribute::ATTRIBUTE_ELEMENT, next);
            link->ownsValue = false;
            level->attributes.append(link);
        }
        level = next;
    }
    QVERIFY(!top->clone());
    qDeleteAll(shared);
}

QTEST_GUILESS_MAIN(TestParticlesModel)
#include "tst_particles_model.moc"
