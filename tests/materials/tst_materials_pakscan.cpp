#include "../packages/BspFixture.h"
#include "MaterialsTestSupport.h"
#include "ModelFixtures.h"
#include "ZirkTest.h"
#include "materials/CPakfileScan.h"
#include "materials/CPakfileTool.h"
#include "packages/CDelegateBSP.h"
#include "packages/FlushSyncronizer.h"
#include "particles/PCFDelegate.h"
#include "util/CNotificationRecorder.h"

#include <QTemporaryDir>

#include <memory>

namespace {

QByteArray entities(const QList<QList<QByteArray>> &list)
{
    QByteArray text;
    for (const QList<QByteArray> &entity : list) {
        text += "{\n";
        for (qsizetype i = 0; i + 1 < entity.size(); i += 2)
            text += "\"" + entity.at(i) + "\" \"" + entity.at(i + 1) + "\"\n";
        text += "}\n";
    }
    return text;
}

FixturePakEntry packed(const QByteArray &name, const QByteArray &data)
{
    FixturePakEntry entry;
    entry.name = name;
    entry.data = data;
    return entry;
}

QByteArray staticProps(const QList<QByteArray> &names)
{
    QByteArray data(4, '\0');
    put32(data, 0, qint32(names.size()));
    for (const QByteArray &name : names)
        data += name.leftJustified(128, '\0');
    return data;
}

// A map on disk and a content directory beside it, scanned with the test vocabulary.
struct ScanFixture
{
    ScanFixture()
    {
        fillScanVocabulary(settings);
        map.lumps[0] = QByteArray();
    }
    QString content(const QString &relative = QString()) const
    {
        return dir.filePath(QStringLiteral("content/") + relative);
    }
    [[nodiscard]] bool open()
    {
        path = dir.filePath(QStringLiteral("maps/test.bsp"));
        QDir().mkpath(dir.filePath(QStringLiteral("maps")));
        if (!map.write(path))
            return false;
        bsp = std::make_unique<CDelegateBSP>();
        return bsp->openPackage(path, false);
    }
    QVector<CPakfileScan::Row_t> scan(quint16 mask, bool withContent = true)
    {
        CPakfileScan::Options_t options;
        options.mask = mask;
        options.contentDirectory = withContent ? content() : QString();
        options.map = bsp.get();
        options.settings = &settings;
        CPakfileScan::Progress_t progress;
        progress.stage = [this](const QString &label, int) { stages.append(label); };
        progress.log = [this](const QString &text, bool) { log.append(text); };
        return CPakfileScan::run(options, progress);
    }
    static QStringList paths(const QVector<CPakfileScan::Row_t> &rows)
    {
        QStringList list;
        for (const CPakfileScan::Row_t &row : rows)
            list.append(row.path);
        return list;
    }

    QTemporaryDir dir;
    ProgramSettings_t settings { QStringLiteral("/nonexistent/noitazilait.ini") };
    BspFixture map;
    QString path;
    std::unique_ptr<CDelegateBSP> bsp;
    QStringList stages;
    QStringList log;
};

struct WorkingDirectory
{
    explicit WorkingDirectory(const QString &path) { QDir::setCurrent(path); }
    ~WorkingDirectory() { QDir::setCurrent(previous); }
    QString previous = QDir::currentPath();
};

const quint16 EntityStages = CPakfileScan::Materials | CPakfileScan::Skybox
    | CPakfileScan::Detailsprites | CPakfileScan::Models | CPakfileScan::Sounds
    | CPakfileScan::Scenes | CPakfileScan::Particles | CPakfileScan::SpecialFiles;

} // namespace

class TestMaterialsPakScan : public QObject
{
    Q_OBJECT

private slots:
    void optionsAndStates()
    {
        QCOMPARE(CPakfileScan::DefaultMask, quint16(0x1FF8));
        QCOMPARE(CPakfileScan::optionLabel(0), QStringLiteral("Materials (Packed)"));
        QCOMPARE(CPakfileScan::optionLabel(12), QStringLiteral("Map Specific Files"));
        QCOMPARE(CPakfileScan::normalizeContentDirectory(QStringLiteral("/home/u/hl2//")),
                 QStringLiteral("/home/u/hl2/"));
        QCOMPARE(CPakfileScan::normalizeContentDirectory(QString()), QString());
        // On disk, marked, in package.
        const struct
        {
            bool disk, marked, packed;
            QColor colour;
        } states[] = { { true, true, true, QColor(255, 255, 192) },
                       { true, true, false, QColor(192, 255, 192) },
                       { true, false, true, QColor(192, 255, 255) },
                       { true, false, false, QColor(255, 224, 192) },
                       { false, true, true, QColor(192, 192, 255) },
                       { false, false, true, QColor(192, 192, 255) },
                       { false, true, false, QColor(255, 192, 192) },
                       { false, false, false, QColor(255, 192, 192) } };
        for (const auto &state : states)
            QCOMPARE(CPakfileScan::stateColour(
                         CPakfileScan::rowState(state.disk, state.marked, state.packed)),
                     state.colour);
    }

    void packedContentNeedsItsBits()
    {
        ScanFixture fixture;
        fixture.map.pakfile = { packed("materials/packed.vmt", "$basetexture inner\n") };
        MdlFixture model;
        model.textures = { "skin" };
        model.directories = { "props" };
        fixture.map.pakfile.append(packed("models/packed.mdl", model.build()));
        QVERIFY(fixture.open());
        QVERIFY(!ScanFixture::paths(fixture.scan(CPakfileScan::DefaultMask))
                     .contains(QStringLiteral("materials/inner.vtf")));
        QVERIFY(!fixture.stages.contains(QStringLiteral("Scanning packed content...")));
        fixture.stages.clear();
        const auto rows = fixture.scan(CPakfileScan::PackedMaterials | CPakfileScan::PackedModels);
        // A model from memory has no path, so it brings no companions.
        QCOMPARE(ScanFixture::paths(rows),
                 (QStringList { "materials/inner.vtf", "/materials/props/skin.vmt" }));
        QCOMPARE(fixture.stages.first(), QStringLiteral("Scanning packed content..."));
    }

    void brushMaterialsAndTable()
    {
        ScanFixture fixture;
        fixture.map.lumps[43] = QByteArray("BRICK/Wall01\0metal\0\0", 20);
        fixture.map.pakfile = { packed("materials/metal.vmt", "x") };
        QVERIFY(fixture.open());
        writeFile(fixture.content("materials/metal.vmt"), "$basetexture metal_d\n");
        writeFile(fixture.content("materials/metal_d.vtf"), "12345");
        const auto rows = fixture.scan(CPakfileScan::Materials);
        QCOMPARE(ScanFixture::paths(rows),
                 (QStringList { "materials/BRICK/Wall01.vmt", "materials/metal.vmt",
                                "materials/metal_d.vtf" }));
        QCOMPARE(
            fixture.stages,
            (QStringList { "Scanning materials...", "Scanning entities...", "Building table..." }));
        QCOMPARE(rows.at(0).name, QStringLiteral("Wall01.vmt"));
        QCOMPARE(rows.at(0).directory, QStringLiteral("materials/BRICK"));
        QCOMPARE(rows.at(0).size, QStringLiteral("N/A"));
        QVERIFY(!rows.at(0).onDisk && !rows.at(0).node);
        QCOMPARE(rows.at(1).type, QStringLiteral("Material"));
        QVERIFY(rows.at(1).node && rows.at(1).onDisk);
        QCOMPARE(rows.at(2).size, QStringLiteral("5"));
        QCOMPARE(rows.at(2).type, QStringLiteral("Texture"));

        // Without a content directory only the first level is found, and no size is known.
        const auto bare = fixture.scan(CPakfileScan::Materials, false);
        QCOMPARE(bare.size(), 2);
        QCOMPARE(bare.at(1).size, QStringLiteral("N/A"));
    }

    void entityKeys()
    {
        ScanFixture fixture;
        fixture.map.lumps[0] = entities({
            { "classname", "func_brush", "model", "*12" },
            { "classname", "prop_dynamic", "model", "models/x.mdl", "gibmodel", "models/x.mdl" },
            { "classname", "env_skypainted", "skyname", "sky_day" },
            { "classname", "ambient_generic", "message", "ambient/a.wav" },
            { "classname", "logic_script", "vscripts", "first.nut" },
            { "classname", "logic_script", "vscripts", "second.nut" },
            { "classname", "logic_choreographed_scene", "SceneFile", "scenes/intro.vcd" },
            { "classname", "worldspawn", "detailmaterial", "detail/grass" },
            { "classname", "env_sprite", "spritename", "sprites/glow.vmt" },
        });
        QVERIFY(fixture.open());
        MdlFixture model;
        model.textures = { "skin" };
        model.directories = { "models/x" };
        writeFile(fixture.content("models/x.mdl"), model.build());
        const auto rows = fixture.scan(EntityStages);
        const QStringList found = ScanFixture::paths(rows);
        QCOMPARE(
            found,
            (QStringList { "models/x.mdl", "models/x.vvd", "models/x.dx90.vtx", "models/x.dx80.vtx",
                           "models/x.sw.vtx", "models/x.vtx", "models/x.phy",
                           "/materials/models/x/skin.vmt", "materials/skybox/sky_dayup.vmt",
                           "materials/skybox/sky_daydn.vmt", "materials/skybox/sky_daylf.vmt",
                           "materials/skybox/sky_dayrt.vmt", "materials/skybox/sky_dayft.vmt",
                           "materials/skybox/sky_daybk.vmt", "sound/ambient/a.wav",
                           "scripts/vscripts/first.nut", "scenes/intro.vcd",
                           "materials/detail/grass.vmt", "sprites/glow.vmt" }));
        const CPakfileScan::Row_t &sound = rows.at(found.indexOf("sound/ambient/a.wav"));
        QCOMPARE(sound.name, QStringLiteral("a.wav"));
        QCOMPARE(QLatin1Char('/') + sound.directory, QStringLiteral("/sound/ambient"));
        QCOMPARE(sound.type, QStringLiteral("Sound"));
        // The special key's pattern took the first value for good.
        QCOMPARE(fixture.settings.specialKeyPatterns->at(1),
                 QStringLiteral("scripts/vscripts/first.nut"));
    }

    void specialKeysAloneStartNothing()
    {
        ScanFixture fixture;
        fixture.map.lumps[0] = entities({ { "vscripts", "a.nut", "skyname", "x" } });
        QVERIFY(fixture.open());
        QVERIFY(fixture.scan(CPakfileScan::SpecialFiles).isEmpty());
        QCOMPARE(fixture.scan(CPakfileScan::SpecialFiles | CPakfileScan::Scenes).size(), 1);
    }

    void particleSystemsOfTheContentDirectory()
    {
        ScanFixture fixture;
        fixture.map.lumps[0]
            = entities({ { "classname", "info_particle_system", "effect_name", "spark" } });
        QVERIFY(fixture.open());
        std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
        ParticleFixture::addSystem(*file, "spark", "effects/spark.vmt");
        QVERIFY(QDir().mkpath(fixture.content("particles")));
        PCFDelegate writer;
        QVERIFY(writer.writeFile(fixture.content("particles/fx.pcf"), file.get(),
                                 CFilePCF::PCF_ORANGEBOX));
        {
            // The files are read by their bare names, against the working directory.
            const WorkingDirectory working(fixture.content("particles"));
            const auto rows = fixture.scan(CPakfileScan::Particles);
            QCOMPARE(ScanFixture::paths(rows), QStringList { "materials/effects/spark.vmt" });
            QVERIFY(fixture.log.isEmpty());
        }
        QVERIFY(fixture.scan(CPakfileScan::Particles).isEmpty());
        QCOMPARE(fixture.log, QStringList { "Read Error: Unable to read \".../\"" });
    }

    void staticPropsAndMapFiles()
    {
        ScanFixture fixture;
        fixture.map.gameLumps
            = { { BspFixture::fourCC(0), 0, 0, "other" },
                { CDelegateBSP::StaticPropId, 0, 5,
                  staticProps({ "models/props/crate.mdl", "models/tree.mdl" }) } };
        fixture.map.lumps[0] = entities({ { "SceneFile", "Maps/test.nav" } });
        QVERIFY(fixture.open());
        writeFile(fixture.content("maps/test_particles.txt"),
                  "particles_manifest\r?\n\"file\" \"!particles/p.pcf\"");
        std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
        ParticleFixture::addSystem(*file, "p", "effects/p.vmt");
        QVERIFY(QDir().mkpath(fixture.content("particles")));
        PCFDelegate writer;
        QVERIFY(writer.writeFile(fixture.content("particles/p.pcf"), file.get(),
                                 CFilePCF::PCF_ORANGEBOX));
        writeFile(fixture.content("scripts/soundscapes_test.txt"), "wave \"#\"");
        const auto rows = fixture.scan(CPakfileScan::StaticProps | CPakfileScan::MapSpecificFiles
                                       | CPakfileScan::Scenes);
        QCOMPARE(
            ScanFixture::paths(rows),
            (QStringList { "Maps/test.nav", "models/props/crate.mdl", "models/tree.mdl",
                           // case-sensitive here: the other spelling is listed again
                           "maps/test.nav", "maps/test_particles.txt", "particles/p.pcf",
                           "materials/effects/p.vmt", "scripts/soundscapes_test.txt", "sound/" }));
        // The pattern of this stage is copied, so a second scan finds the same path.
        QVERIFY(ScanFixture::paths(fixture.scan(CPakfileScan::MapSpecificFiles))
                    .contains(QStringLiteral("maps/test.nav")));
    }

    void autoMarkAndApply()
    {
        ScanFixture fixture;
        fixture.map.lumps[43] = QByteArray("a\0b\0c\0", 6);
        fixture.map.pakfile = { packed("materials/b.vmt", "old b") };
        QVERIFY(fixture.open());
        writeFile(fixture.content("materials/a.vmt"), "new a");
        writeFile(fixture.content("materials/b.vmt"), "new b");
        QVector<CPakfileScan::Row_t> rows = fixture.scan(CPakfileScan::Materials);
        QCOMPARE(rows.size(), 3);

        // Nothing marked: nothing changes.
        CPakfileScan::ApplyResult_t nothing
            = CPakfileScan::apply(*fixture.bsp, fixture.content(), rows);
        QVERIFY(nothing.added.isEmpty() && nothing.updated.isEmpty() && nothing.errors.isEmpty());
        QCOMPARE(fixture.bsp->getPakfileEntryCount(), 1);

        CPakfileScan::markMissing(rows);
        QVERIFY(rows.at(0).marked);
        QVERIFY(!rows.at(1).marked); // the package holds it
        QVERIFY(!rows.at(2).marked); // not on disk
        rows[1].marked = true;
        const CPakfileScan::ApplyResult_t result = CPakfileScan::apply(
            *fixture.bsp, CPakfileScan::normalizeContentDirectory(fixture.content()), rows);
        QVERIFY2(result.errors.isEmpty(), qPrintable(result.errors.join('\n')));
        QCOMPARE(result.added.size(), 1);
        QCOMPARE(result.updated.size(), 1);
        QCOMPARE(result.added.first()->getPath(true), QStringLiteral("materials/a.vmt"));
        QStringList warnings;
        QVERIFY(CPakfileTool::save(*fixture.bsp, nullptr, warnings));
        QVERIFY(warnings.isEmpty());
        const BspReadBack back = BspReadBack::read(fixture.path);
        QCOMPARE(back.entries.size(), 2);
        QCOMPARE(back.entries.at(0).data, QByteArray("new b"));
        QCOMPARE(back.entries.at(1).data, QByteArray("new a"));
    }

    // Cycles between models and materials, files that do not read, a wide content directory:
    // the scan ends and reports.
    void hostileContent()
    {
        ScanFixture fixture;
        fixture.map.lumps[0] = entities({ { "model", "models/a.mdl" },
                                          { "model", "models/bad.mdl" },
                                          { "spritename", "materials/loop.vmt" } });
        QVERIFY(fixture.open());
        MdlFixture a;
        a.textures = { "loop" };
        a.directories = { "" };
        a.includes = { "models/a.mdl" };
        writeFile(fixture.content("models/a.mdl"), a.build());
        writeFile(fixture.content("models/bad.mdl"), "IDST but short");
        writeFile(fixture.content("materials/loop.vmt"),
                  "include materials/loop.vmt\n$bottommaterial loop");
        fixture.settings.vmtMaterialKeys->append(QStringLiteral("$bottommaterial"));
        for (int i = 0; i < 2000; ++i)
            writeFile(fixture.content(QStringLiteral("materials/wide/f%1.vtf").arg(i)), "x");
        const auto rows = fixture.scan(CPakfileScan::DefaultMask);
        QVERIFY(ScanFixture::paths(rows).contains(QStringLiteral("materials/loop.vmt")));
        QVERIFY(fixture.log.contains(
            QStringLiteral("Read Error: Unable to read \".../models/bad.mdl\"")));
    }

    // A real map, scanned against a content directory made for it, takes its brush materials
    // and static props into its pakfile, and the saved map holds them byte for byte.
    void realMapRoundTrip()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        CNotificationRecorder boxes;
        QTemporaryDir dir;
        bool tried = false;
        for (const QString &name : QDir(samples + "/bsp").entryList({ "*.bsp" })) {
            const QString copy = dir.filePath(name);
            QVERIFY(QFile::copy(samples + "/bsp/" + name, copy));
            QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
            CDelegateBSP map;
            if (!map.openPackage(copy, false))
                continue;
            // Every map that opens can be scanned without a content directory.
            ProgramSettings_t settings(QStringLiteral("/nonexistent/noitazilait.ini"));
            fillScanVocabulary(settings);
            CPakfileScan::Options_t bare;
            bare.mask = 0x1FFF;
            bare.map = &map;
            bare.settings = &settings;
            (void)CPakfileScan::run(bare);
            if (tried || map.getInternalVersion() == 22 || map.getBrushTextureList().isEmpty()
                || map.getGameLumpPropStatic().isEmpty())
                continue;
            tried = true;
            const QString content = dir.filePath(QStringLiteral("content_") + name + "/");
            for (const QByteArray &texture : map.getBrushTextureList())
                writeFile(content + "materials/" + QString::fromLatin1(texture) + ".vmt",
                          "\"LightmappedGeneric\"\n{\n}\n" + texture);
            for (const QByteArray &prop : map.getGameLumpPropStatic())
                writeFile(content + QString::fromLatin1(prop), "IDST" + prop);
            CPakfileScan::Options_t options;
            options.mask = CPakfileScan::Materials | CPakfileScan::StaticProps;
            options.contentDirectory = content;
            options.map = &map;
            options.settings = &settings;
            QVector<CPakfileScan::Row_t> rows = CPakfileScan::run(options);
            CPakfileScan::markMissing(rows);
            // What the package held already stays as it was.
            QStringList expected;
            for (const CPakfileScan::Row_t &row : std::as_const(rows)) {
                if (row.marked)
                    expected.append(row.path);
            }
            QVERIFY(expected.contains(QString::fromLatin1(map.getGameLumpPropStatic().first())));
            const CPakfileScan::ApplyResult_t applied
                = CPakfileScan::apply(map, CPakfileScan::normalizeContentDirectory(content), rows);
            QVERIFY2(applied.errors.isEmpty(), qPrintable(applied.errors.join('\n')));
            QVERIFY(!applied.added.isEmpty());
            QStringList warnings;
            QVERIFY2(CPakfileTool::save(map, nullptr, warnings), qPrintable(map.getLastError()));
            QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join('\n')));
            CDelegateBSP saved;
            QVERIFY2(saved.openPackage(copy, true), qPrintable(saved.getLastError()));
            for (const QString &path : std::as_const(expected)) {
                const std::unique_ptr<QByteArray> bytes(saved.getFileByPath(path));
                QVERIFY2(bytes, qPrintable(name + ": " + path));
                QCOMPARE(*bytes, readFile(content + path));
            }
        }
        QVERIFY2(tried, "no sample map with brush materials and static props");
    }
};

QTEST_GUILESS_MAIN(TestMaterialsPakScan)
#include "tst_materials_pakscan.moc"
