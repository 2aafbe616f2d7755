// Conversion between versions against the built-in templates, and the templates as the
// settings load them.
#include "PcfTestSupport.h"
#include "ZirkTest.h"
#include "app/ProgramSettings_t.h"

#include <QTemporaryDir>
#include <QtTest>

class TestParticlesFormat : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void settingsLoadTheTemplates();
    void templateContents();
    void orangeBoxToLeft4Dead();
    void sequenceTwoRandomGoesAtVersion3();
    void version3MarkedValues();
    void childrenRules();
    void customAttributeDropped_data();
    void customAttributeDropped();
    void refusals();
    void conversionsWriteAndReadBack();

private:
    // A system made from the "default" system of a template, in a new file of its version.
    std::unique_ptr<CFilePCF> fileFromTemplate(int version, CDmxElement *&system);
    CDmxElement *pattern(int version) const;

    std::unique_ptr<ProgramSettings_t> settings;
    QTemporaryDir dir;
};

void TestParticlesFormat::initTestCase()
{
    zirkInitTestResources();
    const QString ini = dir.filePath(QStringLiteral("noitazilait.ini"));
    QFile file(ini);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[general]\n[/general]\n");
    file.close();
    settings = std::make_unique<ProgramSettings_t>(ini);
}

CDmxElement *TestParticlesFormat::pattern(int version) const
{
    return settings->particleTemplates->at(version)->findSystemByName(QStringLiteral("default"));
}

std::unique_ptr<CFilePCF> TestParticlesFormat::fileFromTemplate(int version, CDmxElement *&system)
{
    // Export the template's default system into a new file: all its operators come along.
    const CFilePCF *source = settings->particleTemplates->at(version);
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::ParticleFormatVersion_t(version)));
    system = source->findSystemByName(QStringLiteral("default"))->clone();
    system->name = QStringLiteral("mine");
    system->scrambleGUIDHierarchy(true);
    file->systemDefinitions()->append(system);
    file->elements.append(system);
    const QList<CDmxElement::Pair_t *> parts = system->listSubElements(CDmxElement::Unlimited, 0);
    for (const CDmxElement::Pair_t *pair : parts)
        file->elements.append(pair->second);
    qDeleteAll(parts);
    return file;
}

void TestParticlesFormat::settingsLoadTheTemplates()
{
    QCOMPARE(settings->particleTemplates->size(), 4);
    QVERIFY(!settings->particleTemplates->at(0));
    const int counts[] = { 0, 81, 90, 111 };
    for (int version = 1; version <= 3; ++version) {
        const CFilePCF *file = settings->particleTemplates->at(version);
        QVERIFY(file);
        QCOMPARE(int(file->version), version);
        QCOMPARE(file->elements.size(), counts[version]);
    }
    // Reading the settings again replaces the templates by fresh copies.
    QVERIFY(settings->reload());
    for (int version = 1; version <= 3; ++version)
        QCOMPARE(settings->particleTemplates->at(version)->elements.size(), counts[version]);
}

void TestParticlesFormat::templateContents()
{
    // Lists per version as tabled; operators are elements named by their function.
    const int forces[] = { 0, 3, 5, 7 };
    const int constraints[] = { 0, 5, 5, 6 };
    const int operators[] = { 0, 35, 39, 43 };
    const int initializers[] = { 0, 28, 31, 45 };
    for (int version = 1; version <= 3; ++version) {
        const CDmxElement *system = pattern(version);
        QCOMPARE(system->attributes.at(0)->name, QStringLiteral("renderers"));
        QCOMPARE(system->attributes.at(6)->name, QStringLiteral("constraints"));
        auto count = [system](const char *list) {
            return system->getAttributeByName(QString::fromLatin1(list))->elementArray()->size();
        };
        QCOMPARE(count("renderers"), 4);
        QCOMPARE(count("emitters"), 3);
        QCOMPARE(count("forces"), forces[version]);
        QCOMPARE(count("constraints"), constraints[version]);
        QCOMPARE(count("operators"), operators[version]);
        QCOMPARE(count("initializers"), initializers[version]);
        QCOMPARE(count("children"), 0);
        for (const CDmxElement *op :
             *system->getAttributeByName(QStringLiteral("operators"))->elementArray()) {
            QCOMPARE(op->attributes.first()->name, QStringLiteral("functionName"));
            QCOMPARE(op->attributes.first()->getValueAsString(), op->name);
        }
        // "empty" has the same attributes with empty lists.
        const CDmxElement *empty
            = settings->particleTemplates->at(version)->findSystemByName(QStringLiteral("empty"));
        QCOMPARE(empty->attributes.size(), system->attributes.size());
        QVERIFY(empty->getAttributeByName(QStringLiteral("operators"))->elementArray()->isEmpty());
    }
    // Version 3 puts an operator's attributes after functionName last first.
    const CDmxElement *fadeIn = nullptr;
    for (const CDmxElement *op :
         *pattern(3)->getAttributeByName(QStringLiteral("operators"))->elementArray()) {
        if (op->name == QLatin1String("Alpha Fade In Random"))
            fadeIn = op;
    }
    QVERIFY(fadeIn);
    QStringList tail;
    for (qsizetype i = fadeIn->attributes.size() - 4; i < fadeIn->attributes.size(); ++i)
        tail << fadeIn->attributes.at(i)->name;
    QCOMPARE(tail,
             QStringList({ "proportional 0/1", "fade in time exponent", "fade in time max",
                           "fade in time min" }));
    QCOMPARE(fadeIn->attributes.at(1)->name, QStringLiteral("operator strength random scale max"));
}

void TestParticlesFormat::orangeBoxToLeft4Dead()
{
    CDmxElement *system = nullptr;
    std::unique_ptr<CFilePCF> file = fileFromTemplate(1, system);
    QVERIFY(!system->getAttributeByName(QStringLiteral("fallback max count")));
    const qsizetype before = file->elements.size();
    PCFDelegate delegate;
    QCOMPARE(delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D, pattern(2)), nullptr);
    QCOMPARE(file->version, CFilePCF::PCF_ORANGEBOX); // the caller sets it
    QCOMPARE(system->getAttributeByName(QStringLiteral("fallback max count"))->getValueAsString(),
             QStringLiteral("-1"));
    // Color Random is the one version 1 operator that version 2 lacks.
    QCOMPARE(file->elements.size(), before - 1);
    QVERIFY(file->findElementsByName(QStringLiteral("Color Random")).isEmpty());
    QCOMPARE(system->getAttributeByName(QStringLiteral("initializers"))->elementArray()->size(),
             27);
    // An operator that stays gains the parameters version 2 added.
    const QList<CDmxElement *> emitters
        = file->findElementsByName(QStringLiteral("emit_instantaneously"));
    QCOMPARE(emitters.size(), 1);
    QVERIFY(emitters.first()->getAttributeByName(QStringLiteral("num_to_emit_minimum")));
}

void TestParticlesFormat::sequenceTwoRandomGoesAtVersion3()
{
    CDmxElement *system = nullptr;
    std::unique_ptr<CFilePCF> file = fileFromTemplate(2, system);
    QCOMPARE(file->findElementsByName(QStringLiteral("Sequence Two Random")).size(), 1);
    PCFDelegate delegate;
    QCOMPARE(delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D2, pattern(3)), nullptr);
    QVERIFY(file->findElementsByName(QStringLiteral("Sequence Two Random")).isEmpty());
    for (const CDmxElement *item :
         *system->getAttributeByName(QStringLiteral("initializers"))->elementArray())
        QVERIFY(item->name != QLatin1String("Sequence Two Random"));
}

void TestParticlesFormat::version3MarkedValues()
{
    CDmxElement *system = nullptr;
    std::unique_ptr<CFilePCF> file = fileFromTemplate(1, system);
    PCFDelegate delegate;
    QCOMPARE(delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D2, pattern(3)), nullptr);
    auto value = [system](const char *name) {
        const CDmxAttribute *attribute = system->getAttributeByName(QString::fromLatin1(name));
        return attribute ? attribute->getValueAsString() : QStringLiteral("(none)");
    };
    // New attributes come with the template's values; those the system had stay.
    const CDmxAttribute *freeze
        = system->getAttributeByName(QStringLiteral("freeze simulation after time"));
    QVERIFY(freeze);
    QCOMPARE(*static_cast<const float *>(freeze->value), 1.02e10f);
    QCOMPARE(value("fallback max count"), QStringLiteral("-2"));
    QCOMPARE(value("draw through leafsystem"), QStringLiteral("0"));
    QCOMPARE(value("max_particles"), QStringLiteral("1000"));
    QCOMPARE(value("Sort particles"), QStringLiteral("1"));
    // And the operators get the parameters of version 3.
    const CDmxElement *op
        = system->getAttributeByName(QStringLiteral("renderers"))->elementArray()->first();
    QCOMPARE(op->getAttributeByName(QStringLiteral("operator time scale max"))->getValueAsString(),
             QStringLiteral("1"));
}

void TestParticlesFormat::childrenRules()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *parent = PcfTree::system(*file, QStringLiteral("parent"));
    CDmxElement *child = PcfTree::system(*file, QStringLiteral("child"));
    CDmxElement *noDelay = PcfTree::addChild(*file, parent, child, false);
    CDmxElement *intDelay = PcfTree::addChild(*file, parent, child, false);
    intDelay->attributes.prepend(PcfTree::attribute(
        QStringLiteral("delay"), CDmxAttribute::ATTRIBUTE_INTEGER, new DmxInteger(3)));
    CDmxElement *stray = PcfTree::element(DmxNames::operatorType(), QStringLiteral("stray"));
    file->elements.append(stray);
    parent->getAttributeByName(QStringLiteral("children"))->elementArray()->append(stray);

    PCFDelegate delegate;
    QCOMPARE(delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D, pattern(2)), nullptr);
    // A child without delay gets a FLOAT delay of 0; one of another type loses it for that.
    for (CDmxElement *item : { noDelay, intDelay }) {
        QCOMPARE(item->attributes.size(), 2);
        const CDmxAttribute *delay = item->getAttributeByName(QStringLiteral("delay"));
        QCOMPARE(delay->type, CDmxAttribute::ATTRIBUTE_FLOAT);
        QCOMPARE(delay->getValueAsString(), QStringLiteral("0"));
        QCOMPARE(item->getAttributeByName(QStringLiteral("child"))->elementValue(), child);
    }
    // What is not a child entry leaves the list and the file.
    QCOMPARE(parent->getAttributeByName(QStringLiteral("children"))->elementArray()->size(), 2);
    QVERIFY(!file->elements.contains(stray));
    QVERIFY(file->elements.contains(child));
}

void TestParticlesFormat::customAttributeDropped_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::newRow("1 to 1") << 1 << 1;
    QTest::newRow("2 to 2") << 2 << 2;
    QTest::newRow("3 to 1") << 3 << 1;
    QTest::newRow("1 to 3") << 1 << 3;
}

void TestParticlesFormat::customAttributeDropped()
{
    QFETCH(int, from);
    QFETCH(int, to);
    CDmxElement *system = nullptr;
    std::unique_ptr<CFilePCF> file = fileFromTemplate(from, system);
    system->attributes.append(PcfTree::floatAttribute(QStringLiteral("my own"), 3.0f));
    CDmxElement *extra = PcfTree::element(QStringLiteral("DmeThing"), QStringLiteral("thing"));
    file->elements.append(extra);
    system->attributes.append(
        PcfTree::attribute(QStringLiteral("thing"), CDmxAttribute::ATTRIBUTE_ELEMENT, extra));
    PCFDelegate delegate;
    QCOMPARE(
        delegate.formatAsVersion(file.get(), CFilePCF::ParticleFormatVersion_t(to), pattern(to)),
        nullptr);
    QVERIFY(!system->getAttributeByName(QStringLiteral("my own")));
    QVERIFY(!system->getAttributeByName(QStringLiteral("thing")));
    QVERIFY(!file->elements.contains(extra));
}

void TestParticlesFormat::refusals()
{
    PCFDelegate delegate;
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    auto message = [](const char *text) { return QString::fromLatin1(text); };
    QCOMPARE(message(delegate.formatAsVersion(nullptr, CFilePCF::PCF_L4D, pattern(2))),
             QStringLiteral("Formatting Error: No data specified"));
    QCOMPARE(message(delegate.formatAsVersion(file.get(), CFilePCF::PCF_INVALID, pattern(2))),
             QStringLiteral("Formatting Error: Invalid target version specified"));
    QCOMPARE(message(delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D2, nullptr)),
             QStringLiteral("Formatting Error: Template data for target version does not exist"));
    file->version = CFilePCF::PCF_INVALID;
    QCOMPARE(message(delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D, pattern(2))),
             QStringLiteral("Formatting Error: Invalid source version specified"));
}

void TestParticlesFormat::conversionsWriteAndReadBack()
{
    // Every conversion of every template gives a file that writes and reads back whole.
    for (int from = 1; from <= 3; ++from) {
        for (int to = 1; to <= 3; ++to) {
            CDmxElement *system = nullptr;
            std::unique_ptr<CFilePCF> file = fileFromTemplate(from, system);
            PCFDelegate delegate;
            QCOMPARE(delegate.formatAsVersion(file.get(), CFilePCF::ParticleFormatVersion_t(to),
                                              pattern(to)),
                     nullptr);
            file->version = CFilePCF::ParticleFormatVersion_t(to);
            QString error;
            std::unique_ptr<CFilePCF> back = pcfRoundTrip(*file, error);
            QVERIFY2(back, qPrintable(error));
            QCOMPARE(pcfDifference(*file, *back), QString());
            // The system now has exactly the attributes of the target's template system.
            QCOMPARE(system->attributes.size(), pattern(to)->attributes.size());
        }
    }
}

QTEST_GUILESS_MAIN(TestParticlesFormat)
#include "tst_particles_format.moc"
