// The batch tools without any window: manifest, copying systems between files, finding,
// mass conversion and GUID uniqueness, with their logs, failures and cancelling.
#include "../packages/BspFixture.h"
#include "PcfTestSupport.h"
#include "ZirkTest.h"
#include "particles/PCFBatch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

class TestParticlesBatch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void manifestListsFirstFileOnly();
    void manifestFrameOnly_data();
    void manifestFrameOnly();
    void manifestRefusals();
    void manifestOfRealMap();
    void guidClashChangesOneFile();
    void nullGuidFilled();
    void portConvertsToTargetVersion();
    void portKeepsOrRenewsGuids();
    void massFormatGoesOnAndStops();
    void findSystem();

private:
    // A file of the version with systems of these names, written into the folder.
    QString writeParticles(const QString &name, int version, const QStringList &systems,
                           QList<QUuid> *guids = nullptr);
    QString writeMap(const QByteArray &entities);
    PCFBatch::Observer recorder();

    std::unique_ptr<QTemporaryDir> dir;
    QStringList log;
    QStringList errors;
    std::unique_ptr<CFilePCF> templates[4];
};

void TestParticlesBatch::initTestCase()
{
    zirkInitTestResources();
    const char *paths[] = { nullptr, ":/resources/data/particle_defaults_orangebox.pcf",
                            ":/resources/data/particle_defaults_l4d.pcf",
                            ":/resources/data/particle_defaults_l4d2.pcf" };
    for (int version = 1; version <= 3; ++version) {
        templates[version] = std::make_unique<CFilePCF>();
        PCFDelegate delegate;
        QVERIFY(delegate.readFile(QString::fromLatin1(paths[version]), templates[version].get()));
    }
}

void TestParticlesBatch::init()
{
    dir = std::make_unique<QTemporaryDir>();
    log.clear();
    errors.clear();
}

PCFBatch::Observer TestParticlesBatch::recorder()
{
    PCFBatch::Observer observer;
    observer.log = [this](const QString &text, bool error) { (error ? errors : log).append(text); };
    return observer;
}

QString TestParticlesBatch::writeParticles(const QString &name, int version,
                                           const QStringList &systems, QList<QUuid> *guids)
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::ParticleFormatVersion_t(version)));
    for (const QString &system : systems) {
        CDmxElement *made = PcfTree::system(*file, system);
        PcfTree::addOperator(*file, made, QStringLiteral("initializers"),
                             version == 3 ? QStringLiteral("Color Random")
                                          : QStringLiteral("Sequence Two Random"));
        if (guids && !guids->isEmpty())
            made->guid = guids->takeFirst();
    }
    const QString path = dir->filePath(name);
    PCFDelegate delegate;
    if (!delegate.writeFile(path, file.get(), file->version))
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QString TestParticlesBatch::writeMap(const QByteArray &entities)
{
    BspFixture map;
    map.withPakfile = false;
    if (!entities.isNull())
        map.lumps[0] = entities;
    const QString path = dir->filePath(QStringLiteral("maps/c1m1.bsp"));
    QDir().mkpath(QFileInfo(path).path());
    if (!map.write(path))
        qFatal("cannot write the map");
    return path;
}

void TestParticlesBatch::manifestListsFirstFileOnly()
{
    writeParticles(QStringLiteral("a_fire.pcf"), 2,
                   { QStringLiteral("fire"), QStringLiteral("smoke") });
    writeParticles(QStringLiteral("b_fire.pcf"), 1, { QStringLiteral("fire") });
    writeParticles(QStringLiteral("c_rain.pcf"), 3, { QStringLiteral("rain") });
    writeParticles(QStringLiteral("d_unused.pcf"), 3, { QStringLiteral("snow") });
    QFile broken(dir->filePath(QStringLiteral("e_broken.pcf")));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("not a particle file");
    broken.close();
    const QString map
        = writeMap("{\n\"classname\" \"info_particle_system\"\n\"effect_name\" \"fire\"\n}\n"
                   "{\n\"effect_name\" \"rain\"\n}\n{\n\"effect_name\" \"ghost\"\n}\n");

    const PCFBatch::ManifestResult result
        = PCFBatch::generateMapManifest({ map, dir->path() }, recorder());
    QCOMPARE(result.manifestPath, dir->filePath(QStringLiteral("maps/c1m1_manifest.txt")));
    QFile manifest(result.manifestPath);
    QVERIFY(manifest.open(QIODevice::ReadOnly));
    QCOMPARE(manifest.readAll(),
             QByteArray("particles_manifest\n{\n\tfile\t\"particles/a_fire.pcf\"\n"
                        "\tfile\t\"particles/c_rain.pcf\"\n}\n"));
    QCOMPARE(errors.size(), 2);
    QVERIFY(errors.at(0).startsWith(dir->filePath(QStringLiteral("e_broken.pcf"))));
    QCOMPARE(errors.at(1), QStringLiteral("System \"ghost\" not found."));
    QCOMPARE(log,
             QStringList({ QStringLiteral("Wrote \"%1\"").arg(result.manifestPath),
                           QStringLiteral("Operation complete.") }));
}

void TestParticlesBatch::manifestFrameOnly_data()
{
    QTest::addColumn<QByteArray>("entities");
    QTest::newRow("no system matched") << QByteArray("{\n\"effect_name\" \"other\"\n}\n");
    QTest::newRow("no effect_name keys") << QByteArray("{\n\"classname\" \"worldspawn\"\n}\n");
    QTest::newRow("no entities") << QByteArray();
}

void TestParticlesBatch::manifestFrameOnly()
{
    QFETCH(QByteArray, entities);
    writeParticles(QStringLiteral("fire.pcf"), 2, { QStringLiteral("fire") });
    const PCFBatch::ManifestResult result
        = PCFBatch::generateMapManifest({ writeMap(entities), dir->path() }, recorder());
    QFile manifest(result.manifestPath);
    QVERIFY(manifest.open(QIODevice::ReadOnly));
    QCOMPARE(manifest.readAll(), QByteArray("particles_manifest\n{\n}\n"));
    QVERIFY(log.contains(QStringLiteral("Wrote \"%1\"").arg(result.manifestPath)));
}

void TestParticlesBatch::manifestRefusals()
{
    const QString map = writeMap("{\n}\n");
    PCFBatch::ManifestResult result
        = PCFBatch::generateMapManifest({ map, dir->path() }, recorder());
    QCOMPARE(result.failure, QStringLiteral("No files to manifest."));
    QFile broken(dir->filePath(QStringLiteral("broken.pcf")));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.close();
    result = PCFBatch::generateMapManifest({ map, dir->path() }, recorder());
    QCOMPARE(result.failure, QStringLiteral("No particles found."));
    QVERIFY(!QFile::exists(dir->filePath(QStringLiteral("maps/c1m1_manifest.txt"))));

    // A map that does not open is said so, and nothing is written.
    writeParticles(QStringLiteral("fire.pcf"), 2, { QStringLiteral("fire") });
    QFile notMap(dir->filePath(QStringLiteral("maps/bad.bsp")));
    QVERIFY(notMap.open(QIODevice::WriteOnly));
    notMap.write("IBSP this is not a map of ours");
    notMap.close();
    result = PCFBatch::generateMapManifest({ notMap.fileName(), dir->path() }, recorder());
    QVERIFY(!result.failure.isEmpty());
    QVERIFY(!QFile::exists(dir->filePath(QStringLiteral("maps/bad_manifest.txt"))));
}

void TestParticlesBatch::manifestOfRealMap()
{
    ZIRK_REQUIRE_SAMPLES(samples);
    const QString source = samples + QStringLiteral("/bsp/ths_l4d2_map_cannals_escape01.bsp");
    const QString map = dir->filePath(QStringLiteral("escape.bsp"));
    QVERIFY(QFile::copy(source, map));
    writeParticles(QStringLiteral("flies.pcf"), 3, { QStringLiteral("Flies") });
    const PCFBatch::ManifestResult result
        = PCFBatch::generateMapManifest({ map, dir->path() }, recorder());
    QVERIFY2(result.failure.isEmpty(), qPrintable(result.failure));
    QCOMPARE(result.listed, QStringList { dir->filePath(QStringLiteral("flies.pcf")) });
}

void TestParticlesBatch::guidClashChangesOneFile()
{
    const QUuid shared = QUuid::createUuid();
    QList<QUuid> first { shared };
    QList<QUuid> second { shared };
    const QString a = writeParticles(QStringLiteral("a.pcf"), 2, { QStringLiteral("x") }, &first);
    const QString b = writeParticles(QStringLiteral("b.pcf"), 3, { QStringLiteral("y") }, &second);
    QFile fileA(a);
    QVERIFY(fileA.open(QIODevice::ReadOnly));
    const QByteArray bytesA = fileA.readAll();
    fileA.close();

    const PCFBatch::Result result = PCFBatch::ensureUniqueGUIDs({ a, b }, recorder());
    QCOMPARE(result.written, QStringList { b });
    QVERIFY(errors.isEmpty());
    QVERIFY(fileA.open(QIODevice::ReadOnly));
    QCOMPARE(fileA.readAll(), bytesA); // the first keeps its GUID and is not written
    CFilePCF readA;
    CFilePCF readB;
    PCFDelegate delegate;
    QVERIFY(delegate.readFile(a, &readA));
    QVERIFY(delegate.readFile(b, &readB));
    QCOMPARE(readA.elements.at(1)->guid, shared);
    QVERIFY(readB.elements.at(1)->guid != shared);
    QVERIFY(!readB.elements.at(1)->guid.isNull());

    // Run again: nothing left to change, nothing written.
    log.clear();
    QVERIFY(PCFBatch::ensureUniqueGUIDs({ a, b }, recorder()).written.isEmpty());
    QCOMPARE(log.last(), QStringLiteral("Operation complete."));
}

void TestParticlesBatch::nullGuidFilled()
{
    QList<QUuid> none { QUuid() };
    const QString a = writeParticles(QStringLiteral("a.pcf"), 1, { QStringLiteral("x") });
    const QString b = writeParticles(QStringLiteral("b.pcf"), 1, { QStringLiteral("y") }, &none);
    const PCFBatch::Result result = PCFBatch::ensureUniqueGUIDs({ a, b }, recorder());
    QCOMPARE(result.written, QStringList { b });
    CFilePCF readB;
    PCFDelegate delegate;
    QVERIFY(delegate.readFile(b, &readB));
    QVERIFY(!readB.elements.at(1)->guid.isNull());

    // The element level: the first holder of a GUID keeps it, a null one gets one.
    CDmxElement x, y, z;
    x.guid = y.guid = QUuid::createUuid();
    const QUuid kept = x.guid;
    QList<CPair<CDmxElement *, bool> *> pairs { new CPair<CDmxElement *, bool> { &x, false },
                                                new CPair<CDmxElement *, bool> { &z, false },
                                                new CPair<CDmxElement *, bool> { &y, false },
                                                new CPair<CDmxElement *, bool> { &x, false } };
    DMXDelegate::ensureUniqueGUID(pairs);
    QCOMPARE(x.guid, kept);
    QVERIFY(y.guid != kept && !z.guid.isNull());
    QCOMPARE(pairs.at(0)->second, false);
    QCOMPARE(pairs.at(1)->second, true);
    QCOMPARE(pairs.at(2)->second, true);
    QCOMPARE(pairs.at(3)->second, false);
    qDeleteAll(pairs);
}

void TestParticlesBatch::portConvertsToTargetVersion()
{
    CFilePCF source;
    CFilePCF target;
    PCFDelegate delegate;
    QVERIFY(delegate.readFile(
        writeParticles(QStringLiteral("s.pcf"), 1, { QStringLiteral("spark") }), &source));
    QVERIFY(delegate.readFile(writeParticles(QStringLiteral("t.pcf"), 3, { QStringLiteral("old") }),
                              &target));
    CDmxElement *spark = source.findSystemByName(QStringLiteral("spark"));
    CDmxElement *child = PcfTree::system(source, QStringLiteral("spark_child"));
    PcfTree::addChild(source, spark, child);
    const QList<CDmxElement *> chosen { spark };
    CDmxElement *pattern = templates[3]->findSystemByName(QStringLiteral("default"));

    QVERIFY(PCFBatch::portShared(&source, &chosen, &target, true, nullptr));
    QCOMPARE(QString::fromLatin1(PCFBatch::portShared(&source, &chosen, &target, true, nullptr)),
             QStringLiteral("Formatting Error: Template data for target version does not exist"));
    QCOMPARE(target.systemDefinitions()->size(), 1);

    QCOMPARE(PCFBatch::portShared(&source, &chosen, &target, true, pattern), nullptr);
    QCOMPARE(target.systemDefinitions()->size(), 3); // the system and its child system
    const CDmxElement *copy = target.findSystemByName(QStringLiteral("spark"));
    QVERIFY(copy && copy != spark);
    // Converted: version 3 attributes came, the operator version 3 lacks went.
    QVERIFY(copy->getAttributeByName(QStringLiteral("freeze simulation after time")));
    QVERIFY(copy->getAttributeByName(QStringLiteral("initializers"))->elementArray()->isEmpty());
    QVERIFY(target.findElementsByName(QStringLiteral("Sequence Two Random")).isEmpty());
    // The copy's child names the copied child, and the file writes and reads back.
    const QList<CDmxElement::Pair_t *> children = copy->listChildren(0, 0);
    QCOMPARE(children.size(), 1);
    QCOMPARE(children.first()->second, target.findSystemByName(QStringLiteral("spark_child")));
    qDeleteAll(children);
    QString error;
    std::unique_ptr<CFilePCF> back = pcfRoundTrip(target, error);
    QVERIFY2(back, qPrintable(error));
    QCOMPARE(pcfDifference(target, *back), QString());
}

void TestParticlesBatch::portKeepsOrRenewsGuids()
{
    CFilePCF source;
    PCFDelegate delegate;
    QVERIFY(delegate.readFile(writeParticles(QStringLiteral("s.pcf"), 2, { QStringLiteral("a") }),
                              &source));
    const QList<CDmxElement *> chosen { source.findSystemByName(QStringLiteral("a")) };
    const QUuid original = chosen.first()->guid;
    for (bool preserve : { true, false }) {
        std::unique_ptr<CFilePCF> target(CFilePCF::newPCF(CFilePCF::PCF_L4D));
        QCOMPARE(PCFBatch::portShared(&source, &chosen, target.get(), preserve, nullptr), nullptr);
        QCOMPARE(target->findSystemByName(QStringLiteral("a"))->guid == original, preserve);
        QCOMPARE(target->elements.size(), 3); // root, system, operator
    }
}

void TestParticlesBatch::massFormatGoesOnAndStops()
{
    const QString a = writeParticles(QStringLiteral("a.pcf"), 1, { QStringLiteral("x") });
    const QString b = writeParticles(QStringLiteral("b.pcf"), 2, { QStringLiteral("y") });
    const QString c = writeParticles(QStringLiteral("c.pcf"), 3, { QStringLiteral("z") });
    const QString missing = dir->filePath(QStringLiteral("missing.pcf"));
    // A file that reads but cannot be written back, whoever runs the test: its name leaves
    // no room for the name of the file that a save writes first.
    const QString locked = dir->filePath(QString(251, QLatin1Char('d')) + QStringLiteral(".pcf"));
    QVERIFY(QFile::copy(a, locked));

    PCFBatch::FormatOptions options;
    options.files = { a, missing, locked, b, c };
    options.version = CFilePCF::PCF_L4D2;
    PCFBatch::Result result = PCFBatch::massFormat(options, recorder());
    QCOMPARE(result.failure,
             QStringLiteral("Formatting Error: Template data for target version does not exist"));
    QVERIFY(result.written.isEmpty());

    options.systemTemplate = templates[3]->findSystemByName(QStringLiteral("default"));
    QStringList stages;
    PCFBatch::Observer observer = recorder();
    observer.stage = [&stages](const QString &label, int) { stages << label; };
    errors.clear();
    result = PCFBatch::massFormat(options, observer);
    QCOMPARE(stages,
             QStringList({ QStringLiteral("Reading..."), QStringLiteral("Formatting 4 files..."),
                           QStringLiteral("Writing...") }));
    QVERIFY(errors.first().startsWith(missing + QStringLiteral(": Read Error")));
    QCOMPARE(result.written, QStringList({ a, b, c }));
    QCOMPARE(result.unwritten, QStringList { locked });
    QVERIFY(errors.last().startsWith(QStringLiteral("Unable to write \"%1\"").arg(locked)));
    for (const QString &path : { a, b, c }) {
        CFilePCF back;
        PCFDelegate delegate;
        QVERIFY(delegate.readFile(path, &back));
        QCOMPARE(back.version, CFilePCF::PCF_L4D2);
    }

    // Stopped after the first file read: nothing is converted or written.
    const QString d = writeParticles(QStringLiteral("e.pcf"), 1, { QStringLiteral("w") });
    options.files = { d, a };
    observer.step = [](int done) { return done < 1; };
    result = PCFBatch::massFormat(options, observer);
    QVERIFY(result.cancelled);
    QVERIFY(result.written.isEmpty());
    CFilePCF untouched;
    PCFDelegate delegate;
    QVERIFY(delegate.readFile(d, &untouched));
    QCOMPARE(untouched.version, CFilePCF::PCF_ORANGEBOX);
}

void TestParticlesBatch::findSystem()
{
    const QString a = writeParticles(QStringLiteral("a.pcf"), 1, { QStringLiteral("Fire") });
    const QString b = writeParticles(QStringLiteral("b.pcf"), 3,
                                     { QStringLiteral("smoke"), QStringLiteral("Fire") });
    const QString c = writeParticles(QStringLiteral("c.pcf"), 2, { QStringLiteral("fire") });
    bool cancelled = true;
    const QList<PCFBatch::Hit> hits = PCFBatch::findSystem(
        QStringLiteral("Fire"), { a, dir->filePath(QStringLiteral("none.pcf")), b, c }, recorder(),
        &cancelled);
    QVERIFY(!cancelled);
    QCOMPARE(hits.size(), 2);
    QCOMPARE(hits.at(0).file, a);
    QCOMPARE(hits.at(1).file, b);
    QCOMPARE(errors.size(), 1);
}

QTEST_GUILESS_MAIN(TestParticlesBatch)
#include "tst_particles_batch.moc"
