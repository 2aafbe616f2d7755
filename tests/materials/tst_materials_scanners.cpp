#include "MaterialsTestSupport.h"
#include "ModelFixtures.h"
#include "ZirkTest.h"
#include "materials/CFileMDL.h"
#include "materials/CFilePHY.h"
#include "materials/CFileVMT.h"
#include "materials/CReferenceScan.h"
#include "materials/ContentScanners.h"
#include "particles/PCFDelegate.h"
#include "util/CNotificationRecorder.h"

#include <QTemporaryDir>

#include <memory>

namespace {

// One scan over its own found list, with the test vocabulary.
struct Scan
{
    explicit Scan(const QString &root = QString())
        : root(root)
    {
        fillScanVocabulary(settings);
    }
    CReferenceScan &walk()
    {
        if (!scan)
            scan = std::make_unique<CReferenceScan>(found, root, key, value, extra, &errors,
                                                    settings);
        return *scan;
    }
    void vmt(const QByteArray &text)
    {
        const std::unique_ptr<CFileVMT> material(CFileVMT::createFromData(text));
        walk().scanVMT(*material);
    }

    ProgramSettings_t settings { QStringLiteral("/nonexistent/noitazilait.ini") };
    QString root;
    QStringList found;
    QStringList errors;
    QString key, value, extra;
    std::unique_ptr<CReferenceScan> scan;
};

QString rootOf(const QTemporaryDir &dir)
{
    return dir.path() + QLatin1Char('/');
}

// Restores the working directory when it goes.
struct WorkingDirectory
{
    explicit WorkingDirectory(const QString &path) { QDir::setCurrent(path); }
    ~WorkingDirectory() { QDir::setCurrent(previous); }
    QString previous = QDir::currentPath();
};

} // namespace

class TestMaterialsScanners : public QObject
{
    Q_OBJECT

private slots:
    void materialTextureKeys_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("once however often")
            << QByteArray("\"$basetexture\" \"a/b.vtf\"\n$BaseTexture a\\b\n$bumpmap \"a/b\"")
            << QStringList { "materials/a/b.vtf" };
        QTest::newRow("exception")
            << QByteArray("$envmap env_cubemap\n$envmap Env_CubeMap") << QStringList();
        QTest::newRow("second exception of a list")
            << QByteArray("$refracttexture _rt_FullFrameFB") << QStringList();
        QTest::newRow("exception only for its key") << QByteArray("$basetexture env_cubemap")
                                                    << QStringList { "materials/env_cubemap.vtf" };
        QTest::newRow("inside a proxy counts too")
            << QByteArray("Proxies\n{\n Sine\n {\n $basetexture \"x\"\n }\n}")
            << QStringList { "materials/x.vtf" };
        QTest::newRow("unknown keys and empty values")
            << QByteArray("$surfaceprop metal\n$basetexture \"\"\n$bumpmap") << QStringList();
        QTest::newRow("text ends at NUL")
            << QByteArray("$basetexture a\0$bumpmap b", 25) << QStringList { "materials/a.vtf" };
    }

    void materialTextureKeys()
    {
        QFETCH(QByteArray, text);
        Scan scan;
        scan.vmt(text);
        QTEST(scan.found, "found");
        QVERIFY(scan.errors.isEmpty());
    }

    void materialIncludes()
    {
        // Without a root the include is listed and not followed.
        Scan bare;
        bare.vmt("include \"materials/x.vmt\"");
        QCOMPARE(bare.found, QStringList { "materials/x.vmt" });
        QVERIFY(bare.errors.isEmpty());

        // Two materials that include each other, and a material key with its sprite.
        QTemporaryDir dir;
        writeFile(dir.filePath("materials/a.vmt"),
                  "include materials/b.vmt\n$basetexture ta\n$bottommaterial water\n");
        writeFile(dir.filePath("materials/b.vmt"), "include \"materials/a.vmt\"\n$bumpmap tb\n");
        writeFile(dir.filePath("materials/water.vmt"), "$basetexture w\n");
        writeFile(dir.filePath("materials/water.spr"), "$basetexture ws\n");
        QDir().mkpath(dir.filePath("materials/broken.vmt"));
        Scan scan(rootOf(dir));
        scan.settings.vmtMaterialKeys->append(QStringLiteral("$BottomMaterial"));
        scan.vmt("include materials/a.vmt\ninclude materials/broken.vmt");
        QCOMPARE(
            scan.found,
            (QStringList { "materials/a.vmt", "materials/b.vmt", "materials/tb.vtf",
                           "materials/ta.vtf", "materials/water.vmt", "materials/w.vtf",
                           "materials/water.spr", "materials/ws.vtf", "materials/broken.vmt" }));
        QCOMPARE(scan.errors,
                 QStringList { "Read Error: Unable to read \".../materials/broken.vmt\"" });
    }

    void materialChainTooLong()
    {
        QTemporaryDir dir;
        const int length = CReferenceScan::MaxDepth + 20;
        for (int i = 0; i < length; ++i)
            writeFile(dir.filePath(QStringLiteral("materials/c%1.vmt").arg(i)),
                      QStringLiteral("include materials/c%1.vmt\n").arg(i + 1).toLatin1());
        Scan scan(rootOf(dir));
        scan.vmt("include materials/c0.vmt");
        // Listed deeper than it is read; one line says where the walk stopped.
        QCOMPARE(scan.found.size(), CReferenceScan::MaxDepth + 1);
        QCOMPARE(scan.errors.size(), 1);
        QVERIFY(
            scan.errors.first().startsWith(QStringLiteral("Read Error: Reference chain too deep")));
    }

    void modelReferences()
    {
        QTemporaryDir dir;
        const QString root = rootOf(dir);
        MdlFixture included;
        included.textures = { "inc" };
        included.directories = { "shared" };
        writeFile(dir.filePath("models/anims.mdl"), included.build());
        MdlFixture prop;
        prop.textures = { "t1", "t2", "t3" };
        prop.directories = { "models/props", "shared" };
        prop.includes = { "models/anims.mdl" };
        writeFile(dir.filePath("models/prop.mdl"), prop.build());
        writeFile(dir.filePath("models/prop.phy"),
                  buildPhy({ "s" }, "break { \"model\" \"gibs/gib1\" }\n"));
        writeFile(dir.filePath("materials/shared/t1.vmt"), "$basetexture shared/t1\n");

        CNotificationRecorder boxes;
        Scan scan(root);
        const WorkingDirectory working(root); // the collision file is read by its package path
        std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(root + "models/prop.mdl"));
        QVERIFY(model);
        scan.walk().scanMDL(*model);
        const QStringList expected {
            "models/prop.vvd", "models/prop.dx90.vtx", "models/prop.dx80.vtx", "models/prop.sw.vtx",
            "models/prop.vtx", "models/prop.phy", "/models/gibs/gib1.mdl",
            // the include model, read by its file name, which keeps the include's slash
            "/models/anims.mdl", "/models/anims.vvd", "/models/anims.dx90.vtx",
            "/models/anims.dx80.vtx", "/models/anims.sw.vtx", "/models/anims.vtx",
            "/models/anims.phy", "/materials/shared/inc.vmt",
            // two directories times three textures, textures outside
            "/materials/models/props/t1.vmt", "/materials/shared/t1.vmt", "materials/shared/t1.vtf",
            "/materials/models/props/t2.vmt", "/materials/shared/t2.vmt",
            "/materials/models/props/t3.vmt", "/materials/shared/t3.vmt"
        };
        QCOMPARE(scan.found, expected);
        QVERIFY(scan.errors.isEmpty());
        QCOMPARE(boxes.entries().size(), 1);
    }

    void modelIncludeCycleEnds()
    {
        QTemporaryDir dir;
        MdlFixture a;
        a.includes = { "models/b.mdl" };
        MdlFixture b;
        b.includes = { "models/a.mdl" };
        writeFile(dir.filePath("models/a.mdl"), a.build());
        writeFile(dir.filePath("models/b.mdl"), b.build());
        std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(dir.filePath("models/a.mdl")));
        Scan scan(rootOf(dir));
        scan.walk().scanMDL(*model);
        QVERIFY(scan.found.contains(QStringLiteral("/models/b.mdl")));
        QVERIFY(scan.found.contains(QStringLiteral("/models/a.mdl")));
        QCOMPARE(scan.found.size(), 6 + 2 + 6 + 6);
    }

    void modelFromMemory()
    {
        MdlFixture fixture;
        fixture.textures = { "a" };
        fixture.directories = { "d" };
        fixture.includes = { "models/i.mdl" };
        QTemporaryDir dir;
        writeFile(dir.filePath("m.mdl"), fixture.build());
        std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(dir.filePath("m.mdl")));
        QVERIFY(model);
        model->path.clear();
        Scan scan(rootOf(dir));
        scan.walk().scanMDL(*model);
        QCOMPARE(scan.found, (QStringList { "/models/i.mdl", "/materials/d/a.vmt" }));
    }

    void modelCompanionPhysicsAgainstWorkingDirectory()
    {
        QTemporaryDir dir;
        const QString root = rootOf(dir);
        writeFile(dir.filePath("models/p.mdl"), MdlFixture().build());
        writeFile(dir.filePath("models/p.phy"), buildPhy({}, ""));
        std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(root + "models/p.mdl"));
        QTemporaryDir elsewhere;
        const WorkingDirectory working(elsewhere.path());
        Scan scan(root);
        scan.walk().scanMDL(*model);
        QCOMPARE(scan.found.size(), 6);
        QCOMPARE(scan.errors, QStringList { "Read Error: Unable to read \".../models/p.phy\"" });
    }

    void physicsModels_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("path");
        QTest::newRow("plain") << "a/b"
                               << "/models/a/b.mdl";
        QTest::newRow("with suffix") << "a/b.mdl"
                                     << "/models/a/b.mdl";
        QTest::newRow("suffix in capitals") << "a/b.MDL"
                                            << "/models/a/b.MDL.mdl";
    }

    void physicsModels()
    {
        QFETCH(QString, value);
        CNotificationRecorder boxes;
        const QByteArray text = "break { \"model\" \"" + value.toLatin1()
            + "\" \"Model\" \"x\" }\n"
              "solid {\n\"model\" \"skipped\"\n}\n";
        QTemporaryDir dir;
        writeFile(dir.filePath("p.phy"), buildPhy({}, text));
        std::unique_ptr<CFilePHY> physics(CFilePHY::createFromFile(dir.filePath("p.phy")));
        QVERIFY(physics);
        Scan scan;
        scan.walk().scanPHY(*physics);
        QFETCH(QString, path);
        QCOMPARE(scan.found, QStringList { path });
    }

    void soundscripts_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("ordinary line ends, wave later")
            << QByteArray("\"Door.Open\"\n{\n\"wave\" \"#\"\n}") << QStringList();
        QTest::newRow("first token wave, a sound character")
            << QByteArray("wave \"#\"\n{\n}") << QStringList { "sound/" };
        QTest::newRow("a name that is kept is dropped")
            << QByteArray("wave \"doors/open.wav\"") << QStringList();
        QTest::newRow("plain separator")
            << QByteArray("x y\r?\nWAVE \"*\"\r?\nwave \"@\"") << QStringList { "sound/" };
    }

    void soundscripts()
    {
        QFETCH(QByteArray, text);
        Scan scan;
        scan.walk().scanSoundscript(text);
        QTEST(scan.found, "found");
    }

    void particleFiles()
    {
        QTemporaryDir dir;
        const QString root = rootOf(dir);
        writeFile(dir.filePath("materials/effects/fire.vmt"), "$basetexture effects/fire\n");
        std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
        CDmxElement *fire = ParticleFixture::addSystem(*file, "fire", "effects/fire.vmt");
        CDmxElement *smoke = ParticleFixture::addSystem(*file, "smoke", "effects\\smoke.vmt");
        CDmxElement *ember = ParticleFixture::addSystem(*file, "ember", "effects/ember.vmt");
        ParticleFixture::addSystem(*file, "bare", QString());
        ParticleFixture::addChild(*file, fire, smoke);
        ParticleFixture::addChild(*file, smoke, ember);

        Scan all(root);
        all.walk().scanPCF(*file, QString());
        QCOMPARE(all.found,
                 (QStringList { "materials/effects/fire.vmt", "materials/effects/fire.vtf",
                                "materials/effects/smoke.vmt", "materials/effects/ember.vmt" }));
        // One system brings its children at every depth, and nothing else.
        Scan one;
        one.walk().scanPCF(*file, QStringLiteral("smoke"));
        QCOMPARE(one.found,
                 (QStringList { "materials/effects/smoke.vmt", "materials/effects/ember.vmt" }));
        Scan none;
        none.walk().scanPCF(*file, QStringLiteral("nothing"));
        QVERIFY(none.found.isEmpty());
    }

    void particleManifests()
    {
        QTemporaryDir dir;
        const QString root = rootOf(dir);
        std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
        ParticleFixture::addSystem(*file, "spark", "effects/spark.vmt");
        PCFDelegate writer;
        QVERIFY(QDir().mkpath(root + "particles"));
        QVERIFY2(writer.writeFile(root + "particles/a.pcf", file.get(), CFilePCF::PCF_ORANGEBOX),
                 qPrintable(writer.getLastError()));
        writeFile(dir.filePath("particles/bad.pcf"), "not a particle file");
        const QByteArray manifest = "particles_manifest\r?\n{\r?\n\"file\" \"!particles/a.pcf\""
                                    "\r?\n\"file\" \"particles/bad.pcf\"\r?\n"
                                    "\"file\" \"particles/missing.pcf\"\r?\n}";
        Scan scan(root);
        scan.walk().scanParticleManifest(manifest);
        QCOMPARE(scan.found, (QStringList { "particles/a.pcf", "materials/effects/spark.vmt" }));
        QCOMPARE(scan.errors,
                 QStringList { "Read Error: Unable to read \".../particles/bad.pcf\"" });

        // The shared calling shape, with the settings of the program.
        writeFile(dir.filePath("particles_manifest.txt"), manifest);
        QStringList found;
        QStringList errors;
        QString key, value, extra;
        scanParticleManifest(root + "particles_manifest.txt", found, root, key, value, extra,
                             &errors);
        QCOMPARE(found.first(), QStringLiteral("particles/a.pcf"));
        scanSoundscript(root + "missing.txt", found, key, value, extra, &errors);
        QCOMPARE(found.size(), 2);
    }

    void signatureFormsShareOneList()
    {
        const std::unique_ptr<CFileVMT> material(CFileVMT::createFromData("include x.vmt\n"));
        QStringList found { "X.VMT" };
        QStringList errors;
        QString key, value, extra;
        material->listReferencedContent(found, QString(), key, value, extra, &errors);
        QCOMPARE(found, QStringList { "X.VMT" });
    }

    // Real files: no crash, and what they name comes out.
    void samples()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        CNotificationRecorder boxes;
        Scan scan;
        for (const QString &name : QDir(samples + "/vmt").entryList(QDir::Files)) {
            const std::unique_ptr<CFileVMT> material(
                CFileVMT::createFromFile(samples + "/vmt/" + name));
            QVERIFY(material);
            scan.walk().scanVMT(*material);
        }
        QVERIFY(scan.found.contains(QStringLiteral("materials/money/goldbar.vtf"),
                                    Qt::CaseInsensitive));
        for (const QString &name : QDir(samples + "/scripts").entryList(QDir::Files))
            scan.walk().scanSoundscript(readFile(samples + "/scripts/" + name));
        for (const QString &name : QDir(samples + "/mdl").entryList({ "*.mdl", "*.phy" })) {
            std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(samples + "/mdl/" + name));
            std::unique_ptr<CFilePHY> physics(CFilePHY::createFromFile(samples + "/mdl/" + name));
            if (model)
                scan.walk().scanMDL(*model);
            if (physics)
                scan.walk().scanPHY(*physics);
        }
        QVERIFY(scan.found.contains(QStringLiteral("/materials/money/goldbar.vmt"),
                                    Qt::CaseInsensitive));
        const QString pcf = samples + "/pcf/";
        Scan particles(pcf);
        for (const QString &name : QDir(pcf).entryList({ "*manifest*" }))
            particles.walk().scanParticleManifest(readFile(pcf + name));
        QVERIFY(scan.errors.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestMaterialsScanners)
#include "tst_materials_scanners.moc"
