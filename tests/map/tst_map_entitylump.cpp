#include "ZirkTest.h"
#include "map/CEntityLump.h"
#include "map/CEntityLumpFile.h"
#include "map/CFileVMF.h"
#include "map/CLumpFileHeader.h"
#include "packages/CDelegateBSP.h"

#include <QBuffer>
#include <QDirIterator>
#include <QTemporaryDir>

namespace {

using Pairs = QList<QStringList>; // one list of key, value, key, value... an entity

CEntityLump::Entities parseText(const QByteArray &text)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    return CEntityLump::parse(buffer, text.size());
}

Pairs pairsOf(const CEntityLump::Rows &rows)
{
    Pairs all;
    for (const CEntity *entity : rows) {
        QStringList flat;
        for (const CEntity::Keyvalue &pair : entity->keyvalues())
            flat << pair.first << pair.second;
        all.append(flat);
    }
    return all;
}

Pairs pairsOf(const CEntityLump::Entities &entities)
{
    return pairsOf(CEntityLump::rowsOf(entities));
}

CEntityLump::Entities make(const Pairs &pairs)
{
    CEntityLump::Entities entities;
    for (const QStringList &flat : pairs) {
        auto entity = std::make_unique<CEntity>();
        for (int i = 0; i + 1 < flat.size(); i += 2)
            entity->addKeyvalue(flat.at(i), flat.at(i + 1));
        entities.push_back(std::move(entity));
    }
    return entities;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray lmp(qint32 offset, qint32 id, qint32 length, const QByteArray &data)
{
    CLumpFileHeader header;
    header.offset = offset;
    header.id = id;
    header.length = length;
    return header.bytes() + data;
}

QByteArray lumpOf(const CDelegateBSP &bsp, int lump)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!bsp.getPackageFileByIndex(&buffer, unsigned(lump)))
        return QByteArray("unreadable");
    return bytes;
}

} // namespace

class TestMapEntityLump : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<Pairs>("expected");
        QTest::newRow("two entities")
            << QByteArray("{\n\"classname\" \"worldspawn\"\n}\n{\n"
                          "\"classname\" \"light\"\n\"_light\" \"1 "
                          "1 1\"\n}\n\0",
                          72)
            << Pairs { { "classname", "worldspawn" }, { "classname", "light", "_light", "1 1 1" } };
        QTest::newRow("no final brace")
            << QByteArray("{\n\"a\" \"1\"\n}\n{\n\"b\" \"2\"\n") << Pairs { { "a", "1" } };
        QTest::newRow("empty entity dropped")
            << QByteArray("{\n}\n{\n\"a\" \"1\"\n}\n") << Pairs { { "a", "1" } };
        QTest::newRow("empty value dropped")
            << QByteArray("{\n\"spawnflags\" \"\"\n\"a\" \"1\"\n}\n") << Pairs { { "a", "1" } };
        QTest::newRow("comments and comment values")
            << QByteArray("{ \n\"a\" \"1\" // note\n\"message\" \"//x\"\n// \"b\" \"2\"\n}\n")
            << Pairs { { "a", "1" } };
        QTest::newRow("repeated keys in order")
            << QByteArray("{\n\"OnTrigger\" \"a,b,,0,-1\"\n\"x\" \"y\"\n\"OnTrigger\" \"c\"\n}\n")
            << Pairs { { "OnTrigger", "a,b,,0,-1", "x", "y", "OnTrigger", "c" } };
        QTest::newRow("second brace abandons")
            << QByteArray("{\n\"a\" \"1\"\n{\n\"b\" \"2\"\n}\n") << Pairs { { "b", "2" } };
        QTest::newRow("pairs outside ignored")
            << QByteArray("\"a\" \"1\"\n}\n{\n\"b\" \"2\"\n}\n") << Pairs { { "b", "2" } };
        QTest::newRow("brace with comment is no brace")
            << QByteArray("{ // open\n\"a\" \"1\"\n}\n") << Pairs {};
        QTest::newRow("CR LF and padding")
            << QByteArray("  {\r\n\t\"a\"   \"1\"\r\n }\t\r\n") << Pairs { { "a", "1" } };
        QTest::newRow("Latin-1 kept") << QByteArray("{\n\"m\" \"caf\xe9\"\n}\n")
                                      << Pairs { { "m", QString::fromLatin1("caf\xe9") } };
    }
    void parse()
    {
        QFETCH(QByteArray, text);
        QFETCH(Pairs, expected);
        QCOMPARE(pairsOf(parseText(text)), expected);
    }

    void parseStopsAtEnd()
    {
        const QByteArray text = "{\n\"a\" \"1\"\n}\n{\n\"b\" \"2\"\n}\n";
        QBuffer buffer;
        buffer.setData(text);
        buffer.open(QIODevice::ReadOnly);
        QCOMPARE(pairsOf(CEntityLump::parse(buffer, 12)), Pairs({ { "a", "1" } }));
    }

    void buildRoundTrip()
    {
        const Pairs pairs { { "classname", "worldspawn", "message", "a \"b\"" },
                            { "classname", "logic_relay", "OnTrigger", "x,y,,0,-1", "OnTrigger",
                              "z,w,,1,-1" } };
        const CEntityLump::Entities entities = make(pairs);
        int progressed = 0;
        const QByteArray lump
            = CEntityLump::buildLump(CEntityLump::rowsOf(entities), [&](int n) { progressed = n; });
        QCOMPARE(progressed, 2);
        QVERIFY(
            lump.startsWith("{\n\"classname\" \"worldspawn\"\n\"message\" \"a \"b\"\"\n}\n{\n"));
        QVERIFY(lump.endsWith(QByteArray("}\n\0", 3)));
        QCOMPARE(lump.count('\0'), 1);
        // The quote inside the value is not escaped, so it does not come back whole.
        const Pairs back = pairsOf(parseText(lump));
        QCOMPARE(back.at(1), pairs.at(1));
        QCOMPARE(CEntityLump::buildLump({}), QByteArray(1, '\0'));
    }

    void ensureValidity()
    {
        const CEntityLump::Entities entities = make({ { "classname", "worldspawn" },
                                                      { "classname", "worldspawn" },
                                                      { "targetname", "x" },
                                                      { "classname", "worldspawn" },
                                                      { "a", "b" },
                                                      { "classname", "Worldspawn" } });
        QVector<int> named;
        const QVector<int> removed = CEntityLump::ensureValidity(
            CEntityLump::rowsOf(entities), [&](int row) { named.append(row); });
        QCOMPARE(removed, QVector<int>({ 1, 3 }));
        QCOMPARE(named, QVector<int>({ 5 }));

        CEntityLump::Entities copy = make(pairsOf(entities));
        CEntityLump::ensureValidity(copy);
        QCOMPARE(copy.size(), size_t(4));
        QCOMPARE(copy.at(1)->getValue("targetname"), QStringLiteral("x"));
    }

    void ensureEntityName()
    {
        CEntity named;
        named.addKeyvalue("classname", "light");
        int calls = 0;
        QVERIFY(!CEntityLump::ensureEntityName(named, [&] { ++calls; }));
        CEntity unnamed;
        unnamed.addKeyvalue("targetname", "t");
        QVERIFY(CEntityLump::ensureEntityName(unnamed, [&] { ++calls; }));
        QCOMPARE(calls, 1);
        QVERIFY(!unnamed.hasKey("classname"));
        QVERIFY(CEntityLump::ensureEntityName(unnamed, {}));
        QCOMPARE(unnamed.displayText(), QStringLiteral(" (t)"));
        QCOMPARE(named.displayText(), QStringLiteral("light"));
    }

    void entityPairs()
    {
        CEntity entity;
        entity.addKeyvalue("a", "1");
        entity.addKeyvalue("b", "2", 0);
        entity.addKeyvalue("c", "3", 99);
        entity.addKeyvalue("d", "4", -5);
        entity.setKeyvalue("a", "x");
        entity.setKeyvalue("e", "5");
        entity.addKeyvalue("a", "y");
        QCOMPARE(pairsOf(CEntityLump::Rows { &entity }),
                 Pairs({ { "d", "4", "b", "2", "a", "x", "c", "3", "e", "5", "a", "y" } }));
        QVERIFY(entity.hasKeyvalue("a", "y") && !entity.hasKeyvalue("A", "y"));
        QVERIFY(entity.hasValue("5") && !entity.hasKey("f"));
        entity.removeKeyvalue("a");
        QCOMPARE(entity.getValue("a"), QStringLiteral("y"));
        QVERIFY(entity.getValue("zz").isEmpty());
    }

    void filter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("flags");
        QTest::addColumn<QVector<bool>>("before");
        QTest::addColumn<QVector<bool>>("hidden");
        QTest::addColumn<int>("shown");
        using F = CEntityLump::FilterFlag_t;
        const QVector<bool> none(4, false);
        QTest::newRow("empty text shows all")
            << QString() << 0 << QVector<bool>(4, true) << none << 4;
        QTest::newRow("empty text inverted hides all")
            << QString() << int(F::Filter_InvertResults) << none << QVector<bool>(4, true) << 0;
        QTest::newRow("no field matches nothing")
            << "light" << 0 << none << QVector<bool>(4, true) << 0;
        QTest::newRow("class name exact, case folded")
            << "LIGHT" << int(F::Filter_ClassName) << none
            << QVector<bool> { false, true, true, true } << 1;
        QTest::newRow("class name case sensitive")
            << "LIGHT" << int(F::Filter_ClassName | F::Filter_CaseSensitive) << none
            << QVector<bool>(4, true) << 0;
        QTest::newRow("class name substring")
            << "light" << int(F::Filter_ClassName | F::Filter_Substring) << none
            << QVector<bool> { false, false, true, true } << 2;
        QTest::newRow("class name ignores other keys' values")
            << "door" << int(F::Filter_ClassName) << none << QVector<bool>(4, true) << 0;
        QTest::newRow("value") << "door" << int(F::Filter_Value) << none
                               << QVector<bool> { true, true, false, true } << 1;
        QTest::newRow("key") << "TARGETNAME" << int(F::Filter_Key) << none
                             << QVector<bool> { true, true, false, true } << 1;
        QTest::newRow("inverted") << "door" << int(F::Filter_Value | F::Filter_InvertResults)
                                  << none << QVector<bool> { false, false, true, false } << 3;
        QTest::newRow("ignore hidden leaves hidden rows counted")
            << "light" << int(F::Filter_ClassName | F::Filter_Substring | F::Filter_IgnoreHidden)
            << QVector<bool> { true, true, false, false }
            << QVector<bool> { true, true, true, true } << 2;
    }
    void filter()
    {
        QFETCH(QString, text);
        QFETCH(int, flags);
        QFETCH(QVector<bool>, before);
        QFETCH(QVector<bool>, hidden);
        QFETCH(int, shown);
        const CEntityLump::Entities entities
            = make({ { "classname", "light" },
                     { "classname", "light_spot" },
                     { "classname", "func_door", "targetname", "door" },
                     {} });
        QVector<bool> flags2 = before;
        QCOMPARE(CEntityLump::filter(CEntityLump::rowsOf(entities), flags2, { text, flags }),
                 shown);
        QCOMPARE(flags2, hidden);
    }

    void filterOutsideLatin1()
    {
        const CEntityLump::Entities entities
            = make({ { "classname", QString::fromUtf8("\xc3\x89TOILE") },
                     { "classname", QString::fromUtf8("\xce\xa3igma") } });
        QVector<bool> hidden;
        const int shown = CEntityLump::filter(
            CEntityLump::rowsOf(entities), hidden,
            { QString::fromUtf8("\xcf\x83IGMA"), CEntityLump::Filter_ClassName });
        QCOMPARE(shown, 1);
        QCOMPARE(hidden, QVector<bool>({ true, false }));
        CEntityLump::filter(CEntityLump::rowsOf(entities), hidden,
                            { QString::fromUtf8("\xc3\xa9toi"),
                              CEntityLump::Filter_ClassName | CEntityLump::Filter_Substring });
        QCOMPARE(hidden, QVector<bool>({ false, true }));
    }

    void findInSphere()
    {
        const CEntityLump::Entities entities = make({ { "origin", "0 0 0" },
                                                      { "origin", "10 0 0" },
                                                      { "origin", "1 2" },
                                                      { "origin", "1 2 3 4" },
                                                      { "origin", " 3  0 0 " },
                                                      { "a", "b" },
                                                      { "origin", "x 0 0" } });
        const CEntityLump::Rows rows = CEntityLump::rowsOf(entities);
        const float centre[3] = { 0, 0, 0 };
        QVector<bool> hidden(rows.size(), true);
        QCOMPARE(CEntityLump::findInSphere(rows, hidden, centre, true, 10, false), 2);
        QCOMPARE(hidden, QVector<bool>({ false, true, true, true, false, true, true }));
        QCOMPARE(CEntityLump::findInSphere(rows, hidden, centre, true, -10.5f, false), 3);
        QCOMPARE(CEntityLump::findInSphere(rows, hidden, centre, false, 10, false), 0);
        hidden = QVector<bool>(rows.size(), false);
        hidden[1] = true;
        QCOMPARE(CEntityLump::findInSphere(rows, hidden, centre, true, 5, true), 3);
        QVERIFY(hidden.at(1));
    }

    void findInPrism()
    {
        const CEntityLump::Entities entities = make({ { "origin", "10 -10 0" },
                                                      { "origin", "11 0 0" },
                                                      { "origin", "0 0 0" },
                                                      { "origin", "1 2" } });
        const CEntityLump::Rows rows = CEntityLump::rowsOf(entities);
        const float minimum[3] = { 10, -10, 0 };
        const float maximum[3] = { -10, 10, 0 };
        QVector<bool> hidden;
        QCOMPARE(CEntityLump::findInPrism(rows, hidden, minimum, maximum, false), 2);
        QCOMPARE(hidden, QVector<bool>({ false, true, false, true }));
    }

    void fromVMF()
    {
        CFileVMF vmf;
        CFileVMF::entity point;
        point.world.keyvalues = { "classname", "info_target", "spawnflags", "" };
        point.world.connections = { "OnUser1", "a,b,,0,-1" };
        CFileVMF::entity brush;
        brush.world.keyvalues = { "classname", "func_detail" };
        brush.world.solids.append(CFileVMF::solid());
        CFileVMF::entity hidden;
        hidden.editor.visgroupshown = false;
        hidden.world.keyvalues = { "classname", "hidden_one" };
        vmf.entities = { point, brush, hidden, hidden };

        int asked = 0;
        CEntityLump::Entities kept = CEntityLump::fromVMF(vmf, [&] {
            ++asked;
            return false;
        });
        QCOMPARE(asked, 1);
        QCOMPARE(pairsOf(kept),
                 Pairs({ { "classname", "info_target", "spawnflags", "", "OnUser1", "a,b,,0,-1" },
                         { "classname", "hidden_one" },
                         { "classname", "hidden_one" } }));
        kept = CEntityLump::fromVMF(vmf, [] { return true; });
        QCOMPARE(kept.size(), size_t(1));
    }

    void toVMF()
    {
        const CEntityLump::Entities entities
            = make({ { "classname", "WorldSpawn", "skyname", "sky", "odd", "a,b,c,d,e" },
                     { "classname", "func_brush", "model", "*1", "after", "x" },
                     { "classname", "logic_relay", "OnTrigger", "a,b,c,d,e", "four", "a,b,c,d" },
                     { "classname", "func_door", "model", "*5", "speed", "100" },
                     { "classname", "prop_static", "model", "models/a.mdl" } });
        CFileVMF vmf;
        QVector<int> named;
        CEntityLump::toVMF(CEntityLump::rowsOf(entities), { "Model" }, vmf,
                           [&](int row) { named.append(row); });
        QCOMPARE(named, QVector<int>({ 1, 2, 3, 4 }));
        QCOMPARE(vmf.world.keyvalues,
                 QVector<QByteArray>({ "classname", "WorldSpawn", "skyname", "sky" }));
        QCOMPARE(vmf.world.connections, QVector<QByteArray>({ "odd", "a,b,c,d,e" }));
        // The first brush entity had nothing before it: its later pairs are dropped. The
        // second sends its later pairs to the relay.
        QCOMPARE(vmf.entities.size(), 2);
        QCOMPARE(
            vmf.entities.at(0).world.keyvalues,
            QVector<QByteArray>({ "classname", "logic_relay", "four", "a,b,c,d", "speed", "100" }));
        QCOMPARE(vmf.entities.at(0).world.connections,
                 QVector<QByteArray>({ "OnTrigger", "a,b,c,d,e" }));
        QCOMPARE(vmf.entities.at(1).world.keyvalues.value(3), QByteArray("models/a.mdl"));
    }

    void openLMPChecks_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("error");
        const QByteArray text = "{\n\"a\" \"1\"\n}\n";
        QTest::newRow("good") << lmp(20, 0, int(text.size()), text) << QString();
        QTest::newRow("start") << lmp(19, 5, 1000, text) << "Unexpected start of data.";
        QTest::newRow("end") << lmp(20, 0, int(text.size()) + 1, text) << "Unexpected end of data.";
        QTest::newRow("huge length") << lmp(20, 0, 0x7fffffff, text) << "Unexpected end of data.";
        QTest::newRow("not entities")
            << lmp(20, 5, int(text.size()), text) << "Lump does not contain entity information.";
        QTest::newRow("short header") << QByteArray("\x14\0\0", 3) << "Unexpected start of data.";
    }
    void openLMPChecks()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, error);
        QTemporaryDir dir;
        const QString path = dir.filePath("e.lmp");
        QVERIFY(writeFile(path, file));
        CEntityLump::Entities entities;
        QString text;
        const bool ok = CEntityLumpFile::readEntities(path, {}, entities, text);
        QCOMPARE(ok, error.isEmpty());
        QCOMPARE(text, error);
        if (ok)
            QCOMPARE(pairsOf(entities), Pairs({ { "a", "1" } }));
        QFile missing;
        QVERIFY(!CEntityLumpFile::openLMP(dir.filePath("none.lmp"), missing, text));
        QCOMPARE(text, QStringLiteral("Unable to open file."));
    }

    void lmpReadsToTheFileEnd()
    {
        // The length in the header does not bound the parse.
        QTemporaryDir dir;
        const QString path = dir.filePath("e.lmp");
        QVERIFY(writeFile(path, lmp(24, 0, 2, "    {\n\"a\" \"1\"\n}\n{\n\"b\" \"2\"\n}\n")));
        CEntityLump::Entities entities;
        QString error;
        QVERIFY(CEntityLumpFile::readEntities(path, {}, entities, error));
        QCOMPARE(entities.size(), size_t(2));
    }

    void writeLMP()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("out.lmp");
        const QByteArray lump = QByteArray("{\n\"a\" \"1\"\n}\n") + '\0';
        QString error;
        qint64 askedWith = 0;
        QVERIFY(CEntityLumpFile::writeLMP(path, lump, { [&](qint64 size) {
                                              askedWith = size;
                                              return size + 100;
                                          } },
                                          error));
        QCOMPARE(askedWith, qint64(lump.size()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QCOMPARE(bytes.size(), 20 + lump.size() + 100);
        QCOMPARE(bytes.left(20), lmp(20, 0, int(lump.size()), QByteArray()));
        QCOMPARE(bytes.mid(20, lump.size()), lump);
        QCOMPARE(bytes.mid(20 + lump.size()), QByteArray(100, '\0'));

        QVERIFY(!CEntityLumpFile::writeLMP(dir.filePath("no/such/dir.lmp"), lump, {}, error));
        QVERIFY(error.isEmpty());
    }

    void vmfRefusals()
    {
        QTemporaryDir dir;
        QString error;
        const QString missing = dir.filePath("missing.vmf");
        QVERIFY(!CEntityLumpFile::readVMF(missing, error));
        QCOMPARE(error, QStringLiteral("Unable to read \"%1\"").arg(missing));
        QVERIFY(!QFile::exists(missing));
        const QString readOnly = dir.filePath("ro.vmf");
        QVERIFY(writeFile(readOnly, "entity\n{\n}\n"));
        QFile::setPermissions(readOnly, QFile::ReadOwner);
        if (QFile(readOnly).open(QIODevice::ReadWrite))
            QSKIP("running with rights that ignore file permissions");
        QVERIFY(!CEntityLumpFile::readVMF(readOnly, error));
    }

    void sampleLumpFiles()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QString error;
        CEntityLump::Entities entities;
        QVERIFY(CEntityLumpFile::readEntities(samples + "/lmp/l4d2cu_c3m2_swamp_l_0.lmp", {},
                                              entities, error));
        QCOMPARE(entities.size(), size_t(335));
        QVERIFY(!CEntityLumpFile::readEntities(samples + "/lmp/l4d2cu_c11m3_garage_l_1.lmp", {},
                                               entities, error));
        QCOMPARE(error, QStringLiteral("Lump does not contain entity information."));
    }

    void sampleMapsAndSources()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        for (const QString &kind :
             { QStringLiteral("bsp"), QStringLiteral("bsp_negative"), QStringLiteral("vmf") }) {
            QDirIterator it(samples + "/" + kind, QDir::Files);
            while (it.hasNext()) {
                const QString path = it.next();
                CEntityLump::Entities entities;
                QString error;
                const bool ok = CEntityLumpFile::readEntities(
                    path, [] { return false; }, entities, error);
                if (kind == "bsp_negative")
                    QVERIFY2(!ok || path.endsWith("POINTER"), qPrintable(path));
                else if (!ok)
                    QVERIFY2(!error.isEmpty(), qPrintable(path));
                else if (kind == "bsp")
                    QVERIFY2(!entities.empty(), qPrintable(path));
            }
        }
    }

    void saveIntoMapKeepsOtherLumps()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QTemporaryDir dir;
        for (const char *name :
             { "portalelc_servers.bsp", "ths_l4d2_thsdev_test_mechanic01.bsp", "gmod8_h53.bsp" }) {
            const QString source = samples + "/bsp/" + name;
            const QString path = dir.filePath(name);
            QVERIFY(QFile::copy(source, path));
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);

            CEntityLump::Entities entities;
            QString error;
            QVERIFY2(CEntityLumpFile::readEntities(path, {}, entities, error), qPrintable(error));
            entities.front()->setKeyvalue("message", "changed by the test");
            entities.push_back(std::make_unique<CEntity>());
            entities.back()->addKeyvalue("classname", "info_null");
            const QByteArray lump = CEntityLump::buildLump(CEntityLump::rowsOf(entities));
            bool flushed = false;
            int smaller = 0;
            QVERIFY2(
                CEntityLumpFile::writeToBSP(path, lump, { [&] { ++smaller; } }, flushed, error),
                qPrintable(error));
            QVERIFY2(flushed, qPrintable(error));
            QCOMPARE(smaller, 0);

            CDelegateBSP before;
            CDelegateBSP after;
            QVERIFY(before.openPackage(source, true));
            QVERIFY(after.openPackage(path, true));
            QCOMPARE(lumpOf(after, 0), lump);
            for (int i = 1; i < CDelegateBSP::Lump_Count; ++i)
                QVERIFY2(lumpOf(before, i) == lumpOf(after, i),
                         qPrintable(QStringLiteral("%1 lump %2").arg(name).arg(i)));

            // A smaller lump is asked about, and goes in at its new size all the same.
            const QByteArray tiny = QByteArray("{\n\"classname\" \"worldspawn\"\n}\n") + '\0';
            QVERIFY(
                CEntityLumpFile::writeToBSP(path, tiny, { [&] { ++smaller; } }, flushed, error));
            QCOMPARE(smaller, 1);
            QVERIFY(after.openPackage(path, true));
            QCOMPARE(lumpOf(after, 0), tiny);
        }
    }

    void exportAndImportHeadless()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QTemporaryDir dir;
        const QString map = dir.filePath("map.bsp");
        QVERIFY(QFile::copy(samples + "/bsp/bsptool_tf2_test2.bsp", map));
        QFile::setPermissions(map, QFile::ReadOwner | QFile::WriteOwner);
        CEntityLump::Entities entities;
        QString error;
        QVERIFY(CEntityLumpFile::readEntities(map, {}, entities, error));
        const QString lumpFile = dir.filePath("e.lmp");
        const QString source = dir.filePath("e.vmf");
        QVERIFY(CEntityLumpFile::writeEntities(lumpFile, entities, { "model" }, error));
        QVERIFY(CEntityLumpFile::writeEntities(source, entities, { "model" }, error));

        CEntityLump::Entities fromLump;
        QVERIFY(CEntityLumpFile::readEntities(lumpFile, {}, fromLump, error));
        QCOMPARE(pairsOf(fromLump), pairsOf(entities));
        CEntityLump::Entities fromSource;
        QVERIFY(CEntityLumpFile::readEntities(source, {}, fromSource, error));
        QVERIFY(!fromSource.empty() && fromSource.size() < entities.size());

        QVERIFY2(CEntityLumpFile::writeEntities(map, fromLump, {}, error), qPrintable(error));
        QVERIFY(!CEntityLumpFile::writeEntities(dir.filePath("x.txt"), fromLump, {}, error));
        QCOMPARE(error, QStringLiteral("File type \"txt\" not recognized"));
    }
};

QTEST_GUILESS_MAIN(TestMapEntityLump)
#include "tst_map_entitylump.moc"
