// The game data reader: its scanning primitives, its name tables, the rules of the scanner with
// their odd corners, the sample files, and hostile text.

#include "ZirkTest.h"
#include "gamedata/CFileFGD.h"
#include "gamedata/Parse.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

struct Result
{
    bool ok = false;
    CFileFGD file;
};

std::unique_ptr<Result> parse(const QByteArray &text)
{
    auto result = std::make_unique<Result>();
    result->ok = result->file.createFromData(text);
    return result;
}

QString names(const std::vector<QByteArray> &list)
{
    QStringList out;
    for (const QByteArray &item : list)
        out.append(QString::fromLatin1(item));
    return out.join(QLatin1Char('|'));
}

// Classes by a scan of its own: lines that begin with an "@...Class" word.
int countClassLines(const QByteArray &data)
{
    static const QRegularExpression classLine(QStringLiteral("^[ \\t]*@\\w*class\\b"),
                                              QRegularExpression::CaseInsensitiveOption
                                                  | QRegularExpression::MultilineOption);
    return int(QString::fromLatin1(data).count(classLine));
}

} // namespace

class TestGamedataFgd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whitespaceAndComments_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("end");
        QTest::newRow("blanks and controls") << QByteArray(" \t\a\b\r\n\v\fx") << 0 << 8;
        QTest::newRow("comments and blanks") << QByteArray("  // a\n// b\n\tx") << 0 << 13;
        QTest::newRow("comment to the end") << QByteArray("// only") << 0 << 7;
        QTest::newRow("lone slash at the end") << QByteArray("  /") << 0 << 2;
        QTest::newRow("single slash") << QByteArray("/x") << 0 << 0;
        QTest::newRow("past the end") << QByteArray("ab") << 5 << 5;
    }

    void whitespaceAndComments()
    {
        QFETCH(QByteArray, data);
        QFETCH(int, start);
        QFETCH(int, end);
        qsizetype pos = start;
        Parse::ignoreWhitespace(data, pos);
        QCOMPARE(int(pos), end);
    }

    void returnHelpers()
    {
        const QByteArray data("name(type) // c\nrest");
        qsizetype pos = 0;
        QByteArray out;
        Parse::returnUntil(data, pos, '(', out);
        QCOMPARE(out, QByteArray("name"));
        QCOMPARE(int(pos), 4);
        Parse::returnUntil(data, pos, '#', out);
        QCOMPARE(out, data.mid(4));
        QCOMPARE(pos, data.size());
        Parse::returnUntil(data, pos, ')', out);
        QVERIFY(out.isEmpty());

        pos = 5;
        Parse::returnUntilWhitespaceOr(data, pos, ')', out);
        QCOMPARE(out, QByteArray("type"));
        const QByteArray commented("word//comment");
        pos = 0;
        Parse::returnUntilWhitespace(commented, pos, out);
        QCOMPARE(out, QByteArray("word"));
        QCOMPARE(int(pos), 4);
    }

    void strings_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<int>("end");
        QTest::newRow("plain") << QByteArray("\"abc\" x") << QByteArray("abc") << 6;
        QTest::newRow("joined") << QByteArray("\"a\" + \"b\"") << QByteArray("ab") << 9;
        QTest::newRow("joined over lines and comments")
            << QByteArray("\"a \" +\n // c\n \"b\" :") << QByteArray("a b") << 18;
        QTest::newRow("unclosed") << QByteArray("\"abc") << QByteArray("abc") << 4;
        QTest::newRow("not quoted") << QByteArray("abc") << QByteArray() << 0;
        QTest::newRow("dangling plus") << QByteArray("\"a\" +") << QByteArray("a") << 5;
        QTest::newRow("next string stays") << QByteArray("\"a\"\n\"b\"") << QByteArray("a") << 4;
    }

    void strings()
    {
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, expected);
        QFETCH(int, end);
        qsizetype pos = 0;
        QByteArray out("stale");
        Parse::returnString(data, pos, out);
        QCOMPARE(out, expected);
        QCOMPARE(int(pos), end);
    }

    void getStringAndColour()
    {
        QCOMPARE(Parse::getString("  \"base.fgd\" // x"), QByteArray("base.fgd"));
        QCOMPARE(Parse::getString("  base.fgd\"x"), QByteArray("base.fgd"));
        QCOMPARE(Parse::getString("\"open"), QByteArray("open"));
        QCOMPARE(Parse::getString(" \n "), QByteArray());
        QCOMPARE(Parse::getQRgb("  300 -4  12 9", 7), qRgb(255, 0, 12));
        QCOMPARE(Parse::getQRgb("1 2", 7), QRgb(7));
        QCOMPARE(Parse::getQRgb("", 7), QRgb(7));
    }

    void nameTables()
    {
        QCOMPARE(FGD::getClassByString("@pointclass"), FGD::PointClass);
        QCOMPARE(FGD::getClassByString("@NpcClass"), FGD::NPCClass);
        QCOMPARE(FGD::getClassByString("@KeyframeClass"), FGD::KeyFrameClass);
        QCOMPARE(FGD::getClassByString("@ExtendClass"), FGD::BaseClass);
        QCOMPARE(FGD::getClassName(FGD::FilterClass), QStringLiteral("@FilterClass"));
        QCOMPARE(FGD::getClassName(FGD::Class_t(99)), QString());
        QCOMPARE(FGD::getParameterByString("target_destination"), FGD::TargetDestination);
        QCOMPARE(FGD::getParameterByString("color255"), FGD::Color255);
        QCOMPARE(FGD::getParameterByString("studioprop"), FGD::Studio);
        QCOMPARE(FGD::getParameterByString("Choices"), FGD::String);
        QCOMPARE(FGD::getParameterByString("boolean"), FGD::String);
        QCOMPARE(FGD::getParameterByString("node_destination"), FGD::NodeDest);
        QCOMPARE(FGD::getParameterName(FGD::Flags), QStringLiteral("flags"));
        QCOMPARE(FGD::getParameterName(FGD::Parameter_t(-1)), QString());
    }

    void fileResults_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("entities");
        QTest::newRow("empty") << QByteArray() << true << 0;
        QTest::newRow("comments only") << QByteArray("// a\n  // b\n\n") << true << 0;
        QTest::newRow("percent after the last class")
            << QByteArray("@PointClass = a [ ]\n%\ngarbage") << true << 1;
        QTest::newRow("stray bracket") << QByteArray("@PointClass = a [ ]\n]") << false << 1;
        QTest::newRow("stray word") << QByteArray("hello") << false << 0;
        QTest::newRow("auto visgroup")
            << QByteArray("@PointClass = a []\n@AutoVisGroup = \"x\" []") << false << 1;
        QTest::newRow("auto visgroup in other case")
            << QByteArray("@autovisgroup = \"x\" []") << false << 0;
        QTest::newRow("no bracket") << QByteArray("@PointClass = a : \"d\" x") << false << 1;
        QTest::newRow("unclosed body") << QByteArray("@PointClass = a [ k(string)") << true << 1;
        QTest::newRow("unbalanced quote")
            << QByteArray("@PointClass = a : \"open [ k(string) : \"x\" ]") << false << 1;
        QTest::newRow("flags without equals")
            << QByteArray("@PointClass = a [ spawnflags(flags) [ ] ]") << false << 1;
        QTest::newRow("flags without bracket")
            << QByteArray("@PointClass = a [ spawnflags(flags) = 1 ]") << false << 1;
        QTest::newRow("choices without bracket")
            << QByteArray("@PointClass = a [ k(choices) : \"K\" : 0 = x ]") << false << 1;
        QTest::newRow("choices without list")
            << QByteArray("@PointClass = a [ k(choices) : \"K\" ]") << true << 1;
        QTest::newRow("mapsize takes the next class")
            << QByteArray("@mapsize(-16384, 16384)\n@SolidClass = worldspawn : \"W\" [ ]\n"
                          "@PointClass = b [ ]")
            << true << 2;
    }

    void fileResults()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, ok);
        QFETCH(int, entities);
        auto result = parse(text);
        QCOMPARE(result->ok, ok);
        QCOMPARE(int(result->file.entities.size()), entities);
    }

    void materialExclusionTakesTheFirstWord()
    {
        auto result = parse("// header\n@MaterialExclusion\n[\n\t\"debug\"\n\t\"engine\"\n]\n"
                            "@PointClass = a []");
        QVERIFY(!result->ok);
        QCOMPARE(result->file.materialExclusions, QStringList { QStringLiteral("//") });
        QVERIFY(result->file.entities.empty());
        // Without its closing bracket the block runs to the end and the file is good.
        auto open = parse("\"word\" @MaterialExclusion [ \"a\"\n \"b\"\n");
        QVERIFY(!open->ok);
        auto unclosed = parse("@MaterialExclusion\n[\n \"a\"\n \"b\"\n");
        QVERIFY(unclosed->ok);
        QCOMPARE(unclosed->file.materialExclusions,
                 QStringList { QStringLiteral("@MaterialExclusion") });
    }

    void includesAreListedOnly()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("self.fgd"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("@include \"self.fgd\"\n@include \"Self.FGD\"\n@include \"missing.fgd\"\n"
                   "@include notes.txt\n@include\n@include \"\"\n@PointClass = a []\n");
        file.close();
        CFileFGD fgd;
        QVERIFY(fgd.createFromFile(path));
        QCOMPARE(fgd.includes,
                 (QStringList { QStringLiteral("self.fgd"), QStringLiteral("missing.fgd") }));
        QCOMPARE(fgd.entities.size(), size_t(1));
    }

    void missingFileIsGood()
    {
        CFileFGD fgd;
        QVERIFY(fgd.createFromFile(QStringLiteral("/nonexistent/zirk/none.fgd")));
        QVERIFY(fgd.entities.empty());
    }

    void classHeader()
    {
        auto result = parse(
            "@NpcClass base(Targetname, Parentname ,Angles) color(0 300 12) iconsprite(\"a.vmt\")\n"
            "  sphere(FadeMinDist) sphere() sphere(fademindist) size(-16 -16 0, 16 16 72)\n"
            "  line(255 255 0, targetname, target) cylinder(1 2 3, a, b, c, d, e, f)\n"
            "  line(1 2, too, few) halfgridsnap unknown(x) studioprop(\"models/x.mdl\")\n"
            "  = npc_thing : \"One\" + \" two\" [ ]");
        QVERIFY(result->ok);
        const CFileFGD::Entity_t &e = result->file.entities.at(0);
        QCOMPARE(e.type, FGD::NPCClass);
        QCOMPARE(e.name, QByteArray("npc_thing"));
        QCOMPARE(e.description, QByteArray("One two"));
        QCOMPARE(names(e.bases), QStringLiteral("Targetname|Parentname|Angles"));
        QCOMPARE(e.helperFlags, quint32(CFileFGD::HelperColor));
        QCOMPARE(e.color, qRgb(0, 255, 12));
        QCOMPARE(e.iconsprite, QByteArray("a.vmt"));
        QCOMPARE(e.spheres,
                 (QStringList { QStringLiteral("fademindist"), QStringLiteral("radius") }));
        QCOMPARE(e.sizeMin.z, 0.0f);
        QCOMPARE(e.sizeMin.x, -16.0f);
        QVERIFY(e.hasSizeMax);
        QCOMPARE(e.sizeMax.z, 72.0f);
        QCOMPARE(e.lines.size(), size_t(2));
        QCOMPARE(e.lines[0].color, qRgb(255, 255, 0));
        QCOMPARE(e.lines[0].target, QByteArray("target"));
        QCOMPARE(e.lines[1].color, QRgb(0xFFFFFFFF));
        QCOMPARE(e.cylinders.size(), size_t(1));
        QCOMPARE(e.cylinders[0].fields[5], QByteArray("f"));
        // "studio" is tested first and takes "studioprop" as well.
        QCOMPARE(e.studio, QByteArray("models/x.mdl"));
        QVERIFY(e.studioProp.isEmpty());
    }

    void helperCorners()
    {
        auto result = parse("@PointClass studio() size(8 8) line(bad, a, b) color(1 2) = a []\n"
                            "@PointClass size(1 2 3 4) base(X = b []");
        QVERIFY(result->ok);
        const CFileFGD::Entity_t &a = result->file.entities.at(0);
        QCOMPARE(a.helperFlags, quint32(CFileFGD::HelperStudioFromEntity));
        QCOMPARE(a.color, QRgb(0xFFFF00FF));
        QCOMPARE(a.sizeMin.y, 8.0f);
        QCOMPARE(a.sizeMin.z, 0.0f);
        QVERIFY(!a.hasSizeMax);
        QCOMPARE(a.lines.at(0).color, QRgb(0xFFFFFFFF));
        const CFileFGD::Entity_t &b = result->file.entities.at(1);
        QCOMPARE(b.sizeMin.z, 3.0f);
        // A missing ")" ends the argument at the end of the helper text.
        QCOMPARE(names(b.bases), QStringLiteral("X"));
    }

    void body()
    {
        auto result
            = parse("@BaseClass sphere(radius) = base_thing [\n"
                    "  targetname(target_source) : \"Name\" : : \"The name.\"\n"
                    "  radius(float) readonly : \"Radius\" : 64 : \"R\"\n"
                    "  skin(integer) : \"Skin\" : \"0\"\n"
                    "  mode(choices) : \"Mode\" : 1 : \"How\" =\n"
                    "  [\n    0 : \"Off\"\n    \"1\" : \"On\" + \" now\"\n    2\n  ]\n"
                    "  spawnflags(flags) =\n  [\n    1 : \"One\" : 1\n    3 : \"Three\" : 1\n"
                    "    4 : \"Four\" : 0\n    -1 : \"Minus\" : 1\n    1024 : \"Ten\"\n  ]\n"
                    "  input Kill(void) : \"Removes\"\n"
                    "  output OnTrigger(string)\n"
                    "  inputs(void) : \"Looks like an input\"\n"
                    "]");
        QVERIFY(result->ok);
        const CFileFGD::Entity_t &e = result->file.entities.at(0);
        QCOMPARE(e.keyvalues.size(), size_t(5));
        const CFileFGD::Keyvalue_t &name = e.keyvalues[0];
        QCOMPARE(name.type, FGD::TargetSource);
        QCOMPARE(name.displayName, QByteArray("Name"));
        QVERIFY(name.defaultValue.isEmpty());
        QCOMPARE(name.description, QByteArray("The name."));
        const CFileFGD::Keyvalue_t &radius = e.keyvalues[1];
        QVERIFY(radius.readonly);
        QVERIFY(radius.sphere);
        QCOMPARE(radius.defaultValue, QByteArray("64"));
        QCOMPARE(radius.description, QByteArray("R"));
        QCOMPARE(e.keyvalues[2].defaultValue, QByteArray("0"));
        const CFileFGD::Keyvalue_t &mode = e.keyvalues[3];
        QCOMPARE(mode.type, FGD::Choices);
        QCOMPARE(mode.choices.size(), size_t(3));
        QCOMPARE(mode.choices[1].value, QByteArray("1"));
        QCOMPARE(mode.choices[1].name, QByteArray("On now"));
        QCOMPARE(mode.choices[2].value, QByteArray("2"));
        QVERIFY(mode.choices[2].name.isEmpty());
        // A flag that is not a single bit is dropped with its name.
        QCOMPARE(e.spawnflagMask, quint32(1 | 4 | 1024));
        QCOMPARE(e.spawnflagDefaults, quint32(1));
        QCOMPARE(e.spawnflagNames[0], QByteArray("One"));
        QCOMPARE(e.spawnflagNames[2], QByteArray("Four"));
        QCOMPARE(e.spawnflagNames[10], QByteArray("Ten"));
        QVERIFY(e.spawnflagNames[1].isEmpty());
        QCOMPARE(e.inputs.size(), size_t(1));
        QCOMPARE(e.inputs[0].name, QByteArray("Kill"));
        QCOMPARE(e.inputs[0].description, QByteArray("Removes"));
        QCOMPARE(e.outputs.at(0).type, FGD::String);
        QVERIFY(e.outputs[0].description.isEmpty());
        QCOMPARE(e.keyvalues[4].name, QByteArray("inputs"));
        QCOMPARE(e.keyvalues[4].type, FGD::Void);
    }

    void keyvalueWithoutColonTakesTheNextLine()
    {
        // The word behind the type is read whatever stands there, so a bare keyvalue swallows
        // the head of the next one as its readonly word and that one's texts as its own.
        auto result = parse("@PointClass = a [\n bare(string)\n next(integer) : \"Next\" : 5\n]");
        QVERIFY(result->ok);
        const CFileFGD::Entity_t &e = result->file.entities.at(0);
        QCOMPARE(e.keyvalues.size(), size_t(1));
        QCOMPARE(e.keyvalues[0].name, QByteArray("bare"));
        QCOMPARE(e.keyvalues[0].displayName, QByteArray("Next"));
        QCOMPARE(e.keyvalues[0].defaultValue, QByteArray("5"));
    }

    void failureKeepsWhatWasRead()
    {
        auto result = parse("@PointClass = a [ k(string) : \"K\" ]\n@SolidClass = b [ x(integer) : "
                            "\"X\" ]\n@PointClass = c : \"C\" (");
        QVERIFY(!result->ok);
        QCOMPARE(result->file.entities.size(), size_t(3));
        QCOMPARE(result->file.entities[1].keyvalues.at(0).type, FGD::Integer);
        QCOMPARE(result->file.entities[2].name, QByteArray("c"));
        QCOMPARE(result->file.entities[2].description, QByteArray("C"));
    }

    void samples()
    {
        // Files with auto visgroups or material exclusions are refused, unless the directive
        // stands straight behind "@mapsize(...)": that line opens a class whose helper text
        // runs to the next "=", which takes the directive in.
        ZIRK_REQUIRE_SAMPLES(samplesDir);
        static const QRegularExpression directive(
            QStringLiteral("^[ \\t]*@(AutoVisGroup|MaterialExclusion)"),
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
        static const QRegularExpression behindMapsize(
            QStringLiteral("^@mapsize\\([^)]*\\)\\s*@(AutoVisGroup|MaterialExclusion)"),
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
        QDirIterator it(samplesDir + QStringLiteral("/fgd"), { QStringLiteral("*.fgd") },
                        QDir::Files);
        int files = 0;
        int swallowed = 0;
        while (it.hasNext()) {
            const QString path = it.next();
            QFile device(path);
            QVERIFY(device.open(QIODevice::ReadOnly));
            const QString text = QString::fromLatin1(device.readAll());
            const bool taken = text.contains(behindMapsize);
            const bool refused = text.contains(directive) && !taken;
            CFileFGD fgd;
            QVERIFY2(fgd.createFromFile(path) == !refused, qPrintable(path));
            if (!refused)
                QVERIFY2(!fgd.entities.empty(), qPrintable(path));
            if (taken) {
                QVERIFY(fgd.entities.front().name.startsWith('"'));
                ++swallowed;
            }
            ++files;
        }
        QVERIFY(files > 0);
        QVERIFY(swallowed > 0);
    }

    void sampleClassCounts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("firstClass");
        QTest::addColumn<int>("lost");
        QTest::newRow("small") << "sdk2004_cstrike.fgd"
                               << "Target" << 0;
        QTest::newRow("with include") << "bliink_projectbliink.fgd"
                                      << "info_player_spawn" << 0;
        QTest::newRow("game") << "sourcepp_portal2.fgd"
                              << "worldspawn" << 0;
        QTest::newRow("large") << "sdk2004_halflife2.fgd"
                               << "TalkNPC" << 0;
        // Behind "spawnflags( Flags )" the type text begins with a blank, so it is no flags
        // block, and the keyvalue reading that follows runs over the next class.
        QTest::newRow("blank in a flags type") << "sdk2004_base.fgd"
                                               << "Angles" << 1;
    }

    void sampleClassCounts()
    {
        QFETCH(QString, name);
        QFETCH(QString, firstClass);
        QFETCH(int, lost);
        ZIRK_REQUIRE_SAMPLES(samplesDir);
        const QString path = samplesDir + QStringLiteral("/fgd/") + name;
        QFile device(path);
        QVERIFY(device.open(QIODevice::ReadOnly));
        const QByteArray data = device.readAll();
        CFileFGD fgd;
        QVERIFY(fgd.createFromData(data));
        QCOMPARE(int(fgd.entities.size()), countClassLines(data) - lost);
        QCOMPARE(QString::fromLatin1(fgd.entities.front().name), firstClass);
        for (const CFileFGD::Entity_t &entity : fgd.entities)
            QVERIFY2(!entity.name.isEmpty(), qPrintable(name));
    }

    void hostileText()
    {
        // Cuts and byte flips of a real file: every result is orderly and quick.
        ZIRK_REQUIRE_SAMPLES(samplesDir);
        QFile device(samplesDir + QStringLiteral("/fgd/sourcepp_portal.fgd"));
        QVERIFY(device.open(QIODevice::ReadOnly));
        const QByteArray original = device.readAll();
        const char noise[] = { '[', ']', '(', ')', '"', ':', '=', '+', '@', '/', '\n', ' ', 'x' };
        QRandomGenerator random(15);
        for (int round = 0; round < 300; ++round) {
            QByteArray data = original.left(random.bounded(1, int(original.size())));
            for (int flips = random.bounded(1, 20); flips > 0; --flips)
                data[random.bounded(int(data.size()))] = noise[random.bounded(int(sizeof(noise)))];
            CFileFGD fgd;
            (void)fgd.createFromData(data);
        }
        for (const QByteArray &data :
             { QByteArray(100000, '['), QByteArray(100000, '"'), QByteArray(100000, '('),
               QByteArray("@PointClass = a [") + QByteArray(100000, ':'),
               QByteArray("@PointClass = a [ k(choices) : \"\" = [") + QByteArray(100000, '"'),
               QByteArray("@PointClass = a [ s(flags) = [") + QByteArray(100000, ':'),
               QByteArray("@PointClass ") + QByteArray(100000, '(') }) {
            CFileFGD fgd;
            (void)fgd.createFromData(data);
        }
    }

    void tenMegabytes()
    {
        QByteArray data;
        int classes = 0;
        while (data.size() < 10 * 1024 * 1024) {
            data += "@PointClass base(Targetname) sphere(r) size(-8 -8 -8, 8 8 8) = thing_"
                + QByteArray::number(classes++)
                + " : \"A thing\" + \" to test\"\n[\n"
                  "\tr(float) : \"Radius\" : 64 : \"How far\"\n"
                  "\tmode(choices) : \"Mode\" : 0 = [ 0 : \"Off\" 1 : \"On\" ]\n"
                  "\tspawnflags(flags) = [ 1 : \"Start\" : 1 2 : \"Other\" : 0 ]\n"
                  "\tinput Enable(void) : \"Enables\"\n\toutput OnHit(void) : \"Hit\"\n]\n\n";
        }
        CFileFGD fgd;
        QVERIFY(fgd.createFromData(data));
        QCOMPARE(int(fgd.entities.size()), classes);
        QCOMPARE(fgd.entities.back().keyvalues.at(1).choices.size(), size_t(2));
        QCOMPARE(fgd.entities.back().spawnflagDefaults, quint32(1));
    }
};

QTEST_GUILESS_MAIN(TestGamedataFgd)
#include "tst_gamedata_fgd.moc"
