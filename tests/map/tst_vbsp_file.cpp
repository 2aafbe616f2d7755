// The detail type listing: reading with its clamps and order, the writer's layout, the tree
// operations, the sample files and hostile text.

#include "ZirkTest.h"
#include "map/CFileVBSP.h"

#include <QDirIterator>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <memory>
#include <sstream>

namespace {

std::unique_ptr<CFileVBSP> readText(const std::string &text)
{
    std::istringstream in(text);
    return std::unique_ptr<CFileVBSP>(CFileVBSP::readStream(in, "test.vbsp"));
}

std::string writeText(const CFileVBSP &file)
{
    std::ostringstream out;
    file.writeStream(out);
    return out.str();
}

// One prop named "p" in group "g" of type "t", with the given key lines inside it.
std::unique_ptr<CFileVBSP> readProp(const std::string &lines)
{
    return readText("detail\n{\n\tt\n\t{\n\t\tg\n\t\t{\n\t\t\tp\n\t\t\t{\n" + lines
                    + "\n\t\t\t}\n\t\t}\n\t}\n}\n");
}

const CFileVBSP::detailprop *onlyProp(const CFileVBSP &file)
{
    if (file.detailtypes.size() != 1 || file.detailtypes[0]->detailgroups.size() != 1
        || file.detailtypes[0]->detailgroups[0]->detailprops.size() != 1)
        return nullptr;
    return file.detailtypes[0]->detailgroups[0]->detailprops[0];
}

// Every field of the tree, also those that the writer leaves out.
QString dump(const CFileVBSP &file)
{
    QString out;
    for (const CFileVBSP::detailtype *type : file.detailtypes) {
        out += QStringLiteral("T %1 %2\n")
                   .arg(QString::fromStdString(type->name))
                   .arg(type->density);
        for (const CFileVBSP::detailgroup *group : type->detailgroups) {
            out += QStringLiteral(" G %1 %2\n")
                       .arg(QString::fromStdString(group->name))
                       .arg(group->alpha);
            for (const CFileVBSP::detailprop *p : group->detailprops) {
                out += QStringLiteral("  P %1 [%2] %3 %4 %5 %6 %7 | %8 %9")
                           .arg(QString::fromStdString(p->name), QString::fromStdString(p->model))
                           .arg(p->x)
                           .arg(p->y)
                           .arg(p->width)
                           .arg(p->height)
                           .arg(p->textureDimension)
                           .arg(p->uOrigin)
                           .arg(p->vOrigin);
                out += QStringLiteral(" %1 %2 | %3 %4 %5 %6 %7 %8 [%9]")
                           .arg(p->uWidth)
                           .arg(p->vHeight)
                           .arg(p->spriterandomscale)
                           .arg(p->amount)
                           .arg(p->detailOrientation)
                           .arg(p->minangle)
                           .arg(p->maxangle)
                           .arg(p->upright)
                           .arg(QString::fromStdString(p->sprite_shape));
                out += QStringLiteral(" %1 %2 %3\n")
                           .arg(p->shape_angle)
                           .arg(p->shape_size)
                           .arg(p->sway);
            }
        }
    }
    return out;
}

} // namespace

class TestVbspFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void propKeys_data()
    {
        QTest::addColumn<QString>("lines");
        QTest::addColumn<QString>("expected");
        // expected: x y width height dim | u v uw vh | scale amount orientation min max upright
        QTest::newRow("defaults") << ""
                                  << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 0";
        QTest::newRow("sprite with three values") << "\"sprite\" \"1 2 3\""
                                                  << "1 2 3 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 0";
        QTest::newRow("sprite clamped") << "\"sprite\" \"5000 -1 4096 0 8192\""
                                        << "4096 0 4096 0 4096 | 0.5 0 0 0 | 0 1 2 180 180 0";
        QTest::newRow("spritesize of three ignored")
            << "\"spritesize\" \"0.1 0.2 0.3\""
            << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 0";
        QTest::newRow("spritesize clamped") << "\"spritesize\" \"0.25 2 -1 0.75\""
                                            << "0 0 0 0 1024 | 0.25 1 0 0.75 | 0 1 2 180 180 0";
        QTest::newRow("orientation high") << "\"detailOrientation\" \"7\""
                                          << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 0";
        QTest::newRow("orientation low") << "\"detailOrientation\" \"-1\""
                                         << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 0 180 180 0";
        QTest::newRow("scale and amount clamped")
            << "\"spriterandomscale\" \"3\"\n\"amount\" \"-2\""
            << "0 0 0 0 1024 | 0.5 0 0 0 | 1 0 2 180 180 0";
        QTest::newRow("minimum above the default maximum")
            << "\"minangle\" \"200\""
            << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 0";
        QTest::newRow("maximum read first frees the minimum")
            << "\"maxangle\" \"300\"\n\"minangle\" \"200\""
            << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 200 300 0";
        QTest::newRow("maximum below the minimum") << "\"minangle\" \"90\"\n\"maxangle\" \"10\""
                                                   << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 90 90 0";
        QTest::newRow("angles out of range") << "\"minangle\" \"-5\"\n\"maxangle\" \"999\""
                                             << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 0 360 0";
        QTest::newRow("upright any nonzero") << "\"upright\" \"-3\""
                                             << "0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 1";
        QTest::newRow("junk numbers and unknown keys")
            << "\"amount\" \"abc\"\n\"colour\" \"1\"\n\"sprite\" \"x 7\""
            << "0 7 0 0 1024 | 0.5 0 0 0 | 0 0 2 180 180 0";
        QTest::newRow("not a number") << "\"amount\" \"nan\"\n\"spriterandomscale\" \"inf\""
                                      << "0 0 0 0 1024 | 0.5 0 0 0 | 1 0 2 180 180 0";
        QTest::newRow("unquoted value at the line's end reads as nothing")
            << "\"amount\" 0.5"
            << "0 0 0 0 1024 | 0.5 0 0 0 | 0 0 2 180 180 0";
    }

    void propKeys()
    {
        QFETCH(QString, lines);
        QFETCH(QString, expected);
        auto file = readProp(lines.toStdString());
        QVERIFY(file);
        const CFileVBSP::detailprop *p = onlyProp(*file);
        QVERIFY(p);
        const QString actual = QStringLiteral("%1 %2 %3 %4 %5 | %6 %7 %8 %9")
                                   .arg(p->x)
                                   .arg(p->y)
                                   .arg(p->width)
                                   .arg(p->height)
                                   .arg(p->textureDimension)
                                   .arg(p->uOrigin)
                                   .arg(p->vOrigin)
                                   .arg(p->uWidth)
                                   .arg(p->vHeight)
            + QStringLiteral(" | %1 %2 %3 %4 %5 %6")
                  .arg(p->spriterandomscale)
                  .arg(p->amount)
                  .arg(p->detailOrientation)
                  .arg(p->minangle)
                  .arg(p->maxangle)
                  .arg(int(p->upright));
        QCOMPARE(actual, expected);
    }

    void typeAndGroupValues()
    {
        auto file
            = readText("\"detail\"\n{\n t\n {\n  \"density\" \"-4\"\n  g\n  {\n"
                       "   \"alpha\" \"1.5\"\n  }\n }\n u\n {\n  \"density\" \"1e300\"\n }\n}\n");
        QCOMPARE(file->detailtypes.size(), size_t(2));
        QCOMPARE(file->detailtypes[0]->density, 0.0f);
        QCOMPARE(file->detailtypes[0]->detailgroups[0]->alpha, 1.0f);
        QVERIFY(std::isfinite(file->detailtypes[1]->density));
        QVERIFY(file->detailShapeSupport);
        QCOMPARE(file->path, std::string("test.vbsp"));
    }

    void structureOfOddFiles_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("no detail line") << "something\n{\n a\n}\n"
                                        << "";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("lines before detail are skipped")
            << "// header\nfoo bar\ndetail\n{\n t\n {\n }\n}\n"
            << "T t 0\n";
        QTest::newRow("blank and comment lines at every depth")
            << "detail\n{\n\n t\n\n {\n\t\t\n  g\n  // note\n  {\n\n   p\n   {\n\n   }\n  }\n "
               "}\n}\n"
            << "T t 0\n G g 0\n  P p [] 0 0 0 0 1024 | 0.5 0 0 0 | 0 1 2 180 180 0 [] 0 0 0\n";
        QTest::newRow("unterminated blocks end with the file")
            << "detail\n{\n t\n {\n g\n {\n p\n {\n \"amount\" \"0.5\"\n"
            << "T t 0\n G g 0\n  P p [] 0 0 0 0 1024 | 0.5 0 0 0 | 0 0.5 2 180 180 0 [] 0 0 0\n";
        QTest::newRow("two detail blocks add up")
            << "detail\n{\n a\n {\n }\n}\ndetail\n{\n b\n {\n }\n}\n"
            << "T a 0\nT b 0\n";
        QTest::newRow("duplicate names are kept") << "detail\n{\n a\n {\n }\n a\n {\n }\n}\n"
                                                  << "T a 0\nT a 0\n";
        QTest::newRow("carriage returns")
            << "detail\r\n{\r\n a\r\n {\r\n  \"density\" \"2\"\r\n }\r\n}\r\n"
            << "T a 2\n";
    }

    void structureOfOddFiles()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        auto file = readText(text.toStdString());
        QVERIFY(file);
        QCOMPARE(dump(*file), expected);
    }

    void unopenableFiles()
    {
        QTemporaryDir dir;
        QVERIFY(!CFileVBSP::readFile(dir.filePath(QStringLiteral("missing.vbsp")).toStdString()));
        QVERIFY(!CFileVBSP::readFile(dir.path().toStdString()));
        CFileVBSP file;
        QVERIFY(!file.writeFile(dir.filePath(QStringLiteral("no/such/dir/x.vbsp")).toStdString()));
    }

    void writerLayout()
    {
        CFileVBSP file;
        CFileVBSP::detailtype *type = file.addDetailtype("grass");
        type->density = 800;
        CFileVBSP::detailgroup *group = type->addDetailgroup("g1");
        group->alpha = 0.5f;
        CFileVBSP::detailprop *sprite = group->addDetailprop("s");
        sprite->x = 1;
        sprite->y = 2;
        sprite->width = 3;
        sprite->height = 4;
        sprite->textureDimension = 512;
        sprite->minangle = 90;
        sprite->upright = true;
        sprite->sprite_shape = "tri";
        sprite->shape_angle = 45;
        sprite->shape_size = 0.25f;
        sprite->sway = 0.125f;
        CFileVBSP::detailprop *model = group->addDetailprop("m");
        model->model = "models/a.mdl";
        model->amount = 0.3f;
        model->maxangle = 270;
        type->addDetailgroup("g2");
        file.addDetailtype("empty");
        const std::string expected = "detail\n{\n"
                                     "\tgrass\n\t{\n\t\t\"density\" \"800\"\n"
                                     "\t\tg1\n\t\t{\n\t\t\t\"alpha\" \"0.5\"\n"
                                     "\t\t\ts\n\t\t\t{\n"
                                     "\t\t\t\t\"sprite_shape\" \"tri\"\n"
                                     "\t\t\t\t\"sprite\" \"1 2 3 4 512\"\n"
                                     "\t\t\t\t\"spritesize\" \"0.5 0 0 0\"\n"
                                     "\t\t\t\t\"spriterandomscale\" \"0\"\n"
                                     "\t\t\t\t\"amount\" \"1\"\n"
                                     "\t\t\t\t\"detailOrientation\" \"2\"\n"
                                     "\t\t\t\t\"shape_angle\" \"45\"\n"
                                     "\t\t\t\t\"shape_size\" \"0.25\"\n"
                                     "\t\t\t\t\"sway\" \"0.125\"\n"
                                     "\t\t\t\t\"minangle\" \"90\"\n"
                                     "\t\t\t\t\"upright\" \"1\"\n"
                                     "\t\t\t}\n"
                                     "\n"
                                     "\t\t\tm\n\t\t\t{\n"
                                     "\t\t\t\t\"model\" \"models/a.mdl\"\n"
                                     "\t\t\t\t\"amount\" \"0.3\"\n"
                                     "\t\t\t\t\"maxangle\" \"270\"\n"
                                     "\t\t\t}\n"
                                     "\t\t}\n"
                                     "\n"
                                     "\t\tg2\n\t\t{\n\t\t\t\"alpha\" \"0\"\n\t\t}\n"
                                     "\t}\n"
                                     "\n"
                                     "\tempty\n\t{\n\t\t\"density\" \"0\"\n\t}\n"
                                     "}\n";
        QCOMPARE(QString::fromStdString(writeText(file)), QString::fromStdString(expected));
        auto back = readText(expected);
        QCOMPARE(dump(*back), dump(file));
    }

    void writerShapeSwitch_data()
    {
        QTest::addColumn<bool>("support");
        QTest::addColumn<QString>("shape");
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("absent");
        const QString shapeKey = QStringLiteral("\"sprite_shape\"");
        const QString angle = QStringLiteral("\"shape_angle\"");
        const QString size = QStringLiteral("\"shape_size\"");
        const QString sway = QStringLiteral("\"sway\"");
        QTest::newRow("empty shape still sways")
            << true << "" << QStringList { sway } << QStringList { shapeKey, angle, size };
        QTest::newRow("cross has no angle")
            << true << "cross" << QStringList { shapeKey, sway } << QStringList { angle, size };
        QTest::newRow("tri") << true << "tri" << QStringList { shapeKey, angle, size, sway }
                             << QStringList {};
        QTest::newRow("support off")
            << false << "tri" << QStringList {} << QStringList { shapeKey, angle, size, sway };
    }

    void writerShapeSwitch()
    {
        QFETCH(bool, support);
        QFETCH(QString, shape);
        QFETCH(QStringList, present);
        QFETCH(QStringList, absent);
        CFileVBSP file;
        file.detailShapeSupport = support;
        file.addDetailtype("t")->addDetailgroup("g")->addDetailprop("p")->sprite_shape
            = shape.toStdString();
        const QString text = QString::fromStdString(writeText(file));
        for (const QString &key : present)
            QVERIFY2(text.contains(key), qPrintable(key));
        for (const QString &key : absent)
            QVERIFY2(!text.contains(key), qPrintable(key));
        QVERIFY(!text.contains(QStringLiteral("minangle")));
        QVERIFY(!text.contains(QStringLiteral("upright")));
    }

    void modelPropLeavesSpriteOut()
    {
        CFileVBSP file;
        CFileVBSP::detailprop *p = file.addDetailtype("t")->addDetailgroup("g")->addDetailprop("p");
        p->model = "m.mdl";
        p->x = 5;
        const QString text = QString::fromStdString(writeText(file));
        for (const char *key :
             { "\"sprite\"", "\"spritesize\"", "detailOrientation", "sway", "spriterandomscale" })
            QVERIFY2(!text.contains(QLatin1String(key)), key);
    }

    void containerOperations()
    {
        CFileVBSP file;
        CFileVBSP::detailtype *a = file.addDetailtype("a");
        QVERIFY(a);
        QVERIFY(!file.addDetailtype("a"));
        QCOMPARE(file.getDetailtype("a"), a);
        QVERIFY(!file.getDetailtype("A"));
        QCOMPARE(file.addDetailtype(new CFileVBSP::detailtype("a"))->name, std::string("a_1"));
        QCOMPARE(file.addDetailtype(new CFileVBSP::detailtype("a"))->name, std::string("a_2"));
        // Adopting an object that is in the list already leaves it there once.
        file.addDetailtype(a);
        QCOMPARE(file.detailtypes.size(), size_t(3));
        QCOMPARE(file.getDetailtypeIndex(a), 0);
        file.swapDetailtypeIndices(0, 2);
        file.swapDetailtypeIndices(0, 7);
        QCOMPARE(file.getDetailtypeIndex(a), 2);
        file.removeDetailtype(2u, true);
        file.removeDetailtype(9u, true);
        QCOMPARE(file.getDetailtypeIndex(a), -1);
        QCOMPARE(file.detailtypes.size(), size_t(2));
        CFileVBSP::detailtype *kept = file.detailtypes[0];
        file.removeDetailtype(kept, false);
        QCOMPARE(file.detailtypes.size(), size_t(1));
        delete kept;

        CFileVBSP::detailgroup *group = file.detailtypes[0]->addDetailgroup("g");
        CFileVBSP::detailprop *p = group->addDetailprop("p");
        QVERIFY(!group->addDetailprop("p"));
        group->addDetailprop("q");
        group->swapDetailpropIndices(0, 1);
        QCOMPARE(group->getDetailpropIndex(p), 1);
        QCOMPARE(group->getDetailprop("q")->name, std::string("q"));
        group->removeDetailprop(p, true);
        QCOMPARE(group->detailprops.size(), size_t(1));
    }

    void deepCopies()
    {
        CFileVBSP file;
        CFileVBSP::detailtype *type = file.addDetailtype("t");
        CFileVBSP::detailprop *p = type->addDetailgroup("g")->addDetailprop("p");
        p->x = 9;
        CFileVBSP::detailtype copy(*type);
        p->x = 1;
        type->detailgroups[0]->name = "changed";
        QCOMPARE(copy.detailgroups[0]->name, std::string("g"));
        QCOMPARE(copy.detailgroups[0]->detailprops[0]->x, 9);
        QVERIFY(copy.detailgroups[0] != type->detailgroups[0]);
    }

    void samplesRoundTrip()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QDirIterator it(samples + QStringLiteral("/vbsp"), { QStringLiteral("*.vbsp") },
                        QDir::Files);
        QTemporaryDir dir;
        int count = 0;
        while (it.hasNext()) {
            const QString path = it.next();
            std::unique_ptr<CFileVBSP> first(CFileVBSP::readFile(path.toStdString()));
            QVERIFY2(first, qPrintable(path));
            QVERIFY2(!first->detailtypes.empty(), qPrintable(path));
            const QString copy = dir.filePath(QStringLiteral("copy.vbsp"));
            QVERIFY(first->writeFile(copy.toStdString()));
            std::unique_ptr<CFileVBSP> second(CFileVBSP::readFile(copy.toStdString()));
            QVERIFY(second);
            QCOMPARE(dump(*second), dump(*first));
            ++count;
        }
        QVERIFY(count > 0);
    }

    void sampleStructure()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        std::unique_ptr<CFileVBSP> file(CFileVBSP::readFile(
            (samples + QStringLiteral("/vbsp/bliink_detail.vbsp")).toStdString()));
        QVERIFY(file);
        const CFileVBSP::detailtype *type = file->getDetailtype("swamp_land_001");
        QVERIFY(type);
        QCOMPARE(type->density, 800.0f);
        QCOMPARE(type->detailgroups.size(), size_t(2));
        QCOMPARE(type->detailgroups[1]->name, std::string("Group2"));
        QCOMPARE(type->detailgroups[1]->detailprops[0]->model,
                 std::string("models/props_foliage/Grass_tuft_003a.mdl"));
        QCOMPARE(type->detailgroups[1]->detailprops[0]->amount, 0.05f);
    }

    void hostileText()
    {
        // Random lines built from the file's own vocabulary, and plain noise: the reader
        // returns an object every time, and its writer takes whatever came out.
        const char *words[] = { "detail",
                                "{",
                                "}",
                                "\"sprite\"",
                                "\"spritesize\"",
                                "\"amount\"",
                                "\"minangle\"",
                                "\"maxangle\"",
                                "\"1 2 3\"",
                                "\"-9e99\"",
                                "\"",
                                "name",
                                "\"density\"",
                                "\"alpha\"",
                                "\"model\"",
                                "//",
                                "\"x\"" };
        QRandomGenerator random(15);
        for (int round = 0; round < 200; ++round) {
            std::string text;
            const int lines = random.bounded(1, 80);
            for (int i = 0; i < lines; ++i) {
                if (random.bounded(10) == 0) {
                    for (int j = random.bounded(40); j > 0; --j)
                        text += char(random.bounded(1, 256));
                } else {
                    text += words[random.bounded(int(std::size(words)))];
                    text += ' ';
                    text += words[random.bounded(int(std::size(words)))];
                }
                text += '\n';
            }
            auto file = readText(text);
            QVERIFY(file);
            QVERIFY(readText(writeText(*file)));
        }
        std::string deep = "detail\n";
        for (int i = 0; i < 100000; ++i)
            deep += "{\n";
        auto file = readText(deep);
        QVERIFY(file);
    }
};

QTEST_GUILESS_MAIN(TestVbspFile)
#include "tst_vbsp_file.moc"
