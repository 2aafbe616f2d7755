#include "ZirkTest.h"

#include "materials/CFileVMT.h"
#include "materials/VMTText.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <memory>

namespace {

using Routine = std::function<const char *(QString &)>;

// What each routine writes, for the expected texts below.
const QString NewShader = QStringLiteral("\"ZirkShader\"");
const QString ReplacedParameter = QStringLiteral("\t\"$basetexture\" \"zirk/replaced\"");
const QString NewParameter = QStringLiteral("\t\"$zirkparam\" \"1\"");
const QStringList NewBlock = { QString(),
                               QStringLiteral("\t\"Proxies\""),
                               QStringLiteral("\t{"),
                               QStringLiteral("\t\t\"ZirkProxy\""),
                               QStringLiteral("\t\t{"),
                               QStringLiteral("\t\t\t\"a\" \"\""),
                               QStringLiteral("\t\t\t\"b\" \"\""),
                               QStringLiteral("\t\t}"),
                               QStringLiteral("\t}") };
const QStringList NewEntry = NewBlock.mid(0, 1) + NewBlock.mid(3, 5);

// Applies an expected edit to the lines of a text: "=" nothing, "rN" line N becomes the given
// line, "iN" the given lines go in at N, "dA-B" lines A to B go.
QString edited(const QString &text, const QString &edit, const QStringList &with)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    if (edit == QLatin1String("="))
        return text;
    const QString where = edit.mid(1);
    switch (edit.at(0).toLatin1()) {
    case 'r':
        lines[where.toInt()] = with.value(0);
        break;
    case 'i':
        for (qsizetype i = 0; i < with.size(); ++i)
            lines.insert(where.toInt() + i, with.at(i));
        break;
    case 'd': {
        const int from = where.section(QLatin1Char('-'), 0, 0).toInt();
        const int to = where.section(QLatin1Char('-'), 1, 1).toInt();
        lines.remove(from, to - from + 1);
        break;
    }
    default:
        qFatal("bad edit %s", qPrintable(edit));
    }
    return lines.join(QLatin1Char('\n'));
}

QString readLatin1(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
}

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString lines(int count, const QString &line)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list << line;
    return list.join(QLatin1Char('\n'));
}

} // namespace

class TestMaterialsText : public QObject
{
    Q_OBJECT

private slots:
    void addShader_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("warning");
        const QString none;
        const QString insertion = QLatin1String(VMTText::ShaderInsertionQuestionable);
        const QString replacement = QLatin1String(VMTText::ShaderReplacementQuestionable);
        QTest::newRow("blank text keeps its blanks") << " \n  \n"
                                                     << " \n  \n\"new\"\n{\n}\n"
                                                     << none;
        QTest::newRow("empty") << ""
                               << "\"new\"\n{\n}\n"
                               << none;
        QTest::newRow("ordinary") << "\"old\"\n{\n}\n"
                                  << "\"new\"\n{\n}\n"
                                  << none;
        QTest::newRow("whole line goes") << "\"old\" // was\n{\n\t\"$a\" \"b\"\n}"
                                         << "\"new\"\n{\n\t\"$a\" \"b\"\n}" << none;
        QTest::newRow("nearest quoted line above the brace")
            << "\"a\"\n// c\n\"b\"\n\n{\n}"
            << "\"a\"\n// c\n\"new\"\n\n{\n}" << none;
        QTest::newRow("brace on the first line") << "{\n\t\"$a\" \"b\"\n}"
                                                 << "{\n\t\"$a\" \"b\"\n}" << insertion;
        QTest::newRow("only empty lines above the brace") << "\n\n{\n}"
                                                          << "\n\n{\n}" << insertion;
        QTest::newRow("unquoted shader: reported, kept") << "Shader\n{\n}\n"
                                                         << "Shader\n{\n}\n"
                                                         << replacement;
        QTest::newRow("no brace line: first quoted line") << "x\n\"a\" \"b\"\n\"c\"\n"
                                                          << "x\n\"new\"\n\"c\"\n"
                                                          << insertion;
        QTest::newRow("indented brace takes the no-brace path") << "\"old\"\n\t{\n}\n"
                                                                << "\"new\"\n\t{\n}\n"
                                                                << insertion;
        QTest::newRow("CRLF takes the no-brace path") << "\"old\"\r\n{\r\n}\r\n"
                                                      << "\"new\"\n{\r\n}\r\n"
                                                      << insertion;
        QTest::newRow("nowhere to go") << "a\nb\n"
                                       << "a\nb\n"
                                       << QString::fromLatin1(VMTText::ShaderInsertionFailed);
    }

    void addShader()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QString, warning);
        QCOMPARE(QString::fromLatin1(VMTText::addShader(text, QStringLiteral("new"))), warning);
        QCOMPARE(text, expected);
    }

    void addShaderTakesTheNameLiterally()
    {
        QString text = QStringLiteral("\"old\"\n{\n}");
        QVERIFY(!VMTText::addShader(text, QStringLiteral("a%1b%2")));
        QCOMPARE(text, QStringLiteral("\"a%1b%2\"\n{\n}"));
    }

    void addParameter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("warning");
        const QString none;
        const QString failed = QLatin1String(VMTText::KeyValueInsertionFailed);
        QTest::newRow("template") << "\n"
                                  << "$k"
                                  << "\n\"\"\n{\n\t\"$k\" \"v\"\n}\n"
                                  << none;
        QTest::newRow("key replaced, its case taken, comment gone")
            << "\"S\"\n{\n\t$basetexture \"a\" // c\n}\n"
            << "$BaseTexture"
            << "\"S\"\n{\n\t\"$BaseTexture\" \"v\"\n}\n"
            << none;
        QTest::newRow("first of two") << "\"S\"\n{\n\"$k\" \"1\"\n\"$k\" \"2\"\n}"
                                      << "$k"
                                      << "\"S\"\n{\n\t\"$k\" \"v\"\n\"$k\" \"2\"\n}" << none;
        QTest::newRow("inserted behind the last keyvalue")
            << "\"S\"\n{\n\t\"$a\" \"1\"\n\n// c\n}\n"
            << "$k"
            << "\"S\"\n{\n\t\"$a\" \"1\"\n\t\"$k\" \"v\"\n\n// c\n}\n"
            << none;
        QTest::newRow("inserted behind the brace") << "\"S\"\n{\n}\n"
                                                   << "$k"
                                                   << "\"S\"\n{\n\t\"$k\" \"v\"\n}\n"
                                                   << none;
        QTest::newRow("key below Proxies is out of reach")
            << "\"S\"\n{\n\t\"$a\" \"1\"\n\t\"Proxies\"\n\t{\n\t\t\"$k\" \"x\"\n\t}\n}"
            << "$k"
            << "\"S\"\n{\n\t\"$a\" \"1\"\n\t\"$k\" \"v\"\n\t\"Proxies\"\n\t{\n\t\t\"$k\" "
               "\"x\"\n\t}\n}"
            << none;
        QTest::newRow("unquoted last value is no keyvalue")
            << "S\n{\n$k old\n}"
            << "$k"
            << "S\n{\n$k old\n\t\"$k\" \"v\"\n}" << none;
        QTest::newRow("lone unquoted line") << "shader"
                                            << "$k"
                                            << "shader" << failed;
        QTest::newRow("Proxies on the first line") << "Proxies\n{\n}"
                                                   << "$k"
                                                   << "Proxies\n{\n}" << failed;
    }

    void addParameter()
    {
        QFETCH(QString, text);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        QFETCH(QString, warning);
        QCOMPARE(QString::fromLatin1(VMTText::addParameter(text, key, QStringLiteral("v"))),
                 warning);
        QCOMPARE(text, expected);
    }

    void addParameterTakesKeyAndValueLiterally()
    {
        QString text;
        QVERIFY(!VMTText::addParameter(text, QStringLiteral("$a%2"), QStringLiteral("%1")));
        QCOMPARE(text, QStringLiteral("\"\"\n{\n\t\"$a%2\" \"%1\"\n}\n"));
        QVERIFY(!VMTText::addParameter(text, QStringLiteral("$b"), QStringLiteral("%1")));
        QCOMPARE(text, QStringLiteral("\"\"\n{\n\t\"$a%2\" \"%1\"\n\t\"$b\" \"%1\"\n}\n"));
    }

    void addProxy_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("warning");
        const QString none;
        const QString failed = QLatin1String(VMTText::ProxyInsertionFailed);
        const QString entry
            = QStringLiteral("\t\t\"P\"\n\t\t{\n\t\t\t\"k1\" \"v1\"\n\t\t\t\"k2\" \"\"\n\t\t}");
        QTest::newRow("template") << ""
                                  << "\"\"\n{\n\n\t\"Proxies\"\n\t{\n" + entry + "\n\t}\n}\n"
                                  << none;
        QTest::newRow("new block behind the last keyvalue")
            << "\"S\"\n{\n\t\"$a\" \"1\"\n}\n"
            << "\"S\"\n{\n\t\"$a\" \"1\"\n\n\t\"Proxies\"\n\t{\n" + entry + "\n\t}\n}\n"
            << none;
        QTest::newRow("into the block")
            << "\"S\"\n{\n\t\"Proxies\"\n\t{\n\t\t\"Q\"\n\t\t{\n\t\t}\n\t}\n}\n"
            << "\"S\"\n{\n\t\"Proxies\"\n\t{\n\t\t\"Q\"\n\t\t{\n\t\t}\n\n" + entry + "\n\t}\n}\n"
            << none;
        QTest::newRow("Proxies and one closing line") << "\"S\"\n{\n\t\"Proxies\"\n\t{\n}\n"
                                                      << "\"S\"\n{\n\t\"Proxies\"\n\t{\n}\n"
                                                      << failed;
        QTest::newRow("closing line first") << "}\nProxies\n"
                                            << "}\nProxies\n"
                                            << failed;
        QTest::newRow("Proxies without any closing line: in front of the first line")
            << "Proxies\n{"
            << "\n" + entry + "\nProxies\n{" << none;
        QTest::newRow("nothing to stand behind") << "a\nb"
                                                 << "a\nb" << failed;
        QTest::newRow("other indentation is no Proxies line")
            << "\"S\"\n{\n  Proxies\n}"
            << "\"S\"\n{\n\n\t\"Proxies\"\n\t{\n" + entry + "\n\t}\n  Proxies\n}" << none;
    }

    void addProxy()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QString, warning);
        // Fewer values than keys: the rest are empty.
        const QStringList values { QStringLiteral("v1") };
        QCOMPARE(QString::fromLatin1(
                     VMTText::addProxy(text, QStringLiteral("P"),
                                       { QStringLiteral("k1"), QStringLiteral("k2") }, &values)),
                 warning);
        QCOMPARE(text, expected);
    }

    void addProxyWithoutValuesAndTooManyKeys()
    {
        QString text;
        QVERIFY(!VMTText::addProxy(text, QStringLiteral("P"), { QStringLiteral("k") }, nullptr));
        QVERIFY(text.contains(QStringLiteral("\n\t\t\t\"k\" \"\"\n")));
        QStringList keys;
        for (int i = 0; i < 300; ++i)
            keys << QStringLiteral("k%1").arg(i);
        text.clear();
        QVERIFY(!VMTText::addProxy(text, QStringLiteral("P"), keys, nullptr));
        QCOMPARE(text.count(QStringLiteral("\t\t\t\"k")), 255);
        QVERIFY(text.contains(QStringLiteral("\"k254\"")));
        QVERIFY(!text.contains(QStringLiteral("\"k255\"")));
    }

    void removeProxy_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        const QString head = QStringLiteral("\"S\"\n{\n\t\"$a\" \"1\"\n");
        const QString sine = QStringLiteral("\t\t\"Sine\"\n\t\t{\n\t\t\t\"a\" \"b\"\n\t\t}\n");
        const QString clamp = QStringLiteral("\t\t\"Clamp\"\n\t\t{\n\t\t}\n");
        QTest::newRow("the only proxy takes the block and the blanks above the end")
            << head + "\n\t\"Proxies\"\n\t{\n" + sine + "\t}\n\n}\n"
            << "SINE" << head + "}\n";
        QTest::newRow("one of two")
            << head + "\t\"Proxies\"\n\t{\n" + sine + "\n" + clamp + "\t}\n}\n"
            << "sine" << head + "\t\"Proxies\"\n\t{\n" + clamp + "\t}\n}\n";
        QTest::newRow("both of a name, one kept")
            << head + "\t\"Proxies\"\n\t{\n" + sine + clamp + "\n" + sine + "\n\t}\n}"
            << "Sine" << head + "\t\"Proxies\"\n\t{\n" + clamp + "\t}\n}";
        QTest::newRow("a name the block lacks: only the blanks before the closing lines")
            << head + "\t\"Proxies\"\n\t{\n" + sine + "\n\n\t}\n\n}\n"
            << "Clamp" << head + "\t\"Proxies\"\n\t{\n" + sine + "\t}\n}\n";
        QTest::newRow("whole block")
            << head + "\t\"Proxies\"\n\t{\n" + sine + clamp + "\t}\n\n\n}\n"
            << "" << head + "}\n";
        QTest::newRow("block not closed by a tab and brace: all to the end")
            << "S\n{\nProxies\n{\nSine\n{\n}\n}\n}\n"
            << ""
            << "S\n{";
        QTest::newRow("unquoted other proxies are not counted as kept")
            << "S\n{\n$a 1\n\nProxies\n{\nSine\n{\n}\nClamp\n{\n}\n}\n}"
            << "sine"
            << "S\n{\n$a 1\n";
        QTest::newRow("no Proxies line") << head + "}\n"
                                         << "" << head + "}\n";
        QTest::newRow("empty text") << ""
                                    << ""
                                    << "";
        QTest::newRow("empty block") << head + "\t\"Proxies\"\n\t{\n\t}\n}"
                                     << "X" << head + "}";
    }

    void removeProxy()
    {
        QFETCH(QString, text);
        QFETCH(QString, name);
        QFETCH(QString, expected);
        VMTText::removeProxy(text, name);
        QCOMPARE(text, expected);
    }

    // Lines are addressed with 16-bit indices: past that the routines refuse and change nothing.
    void longTextsAreRefusedWhole_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("refused");
        QTest::newRow("32,767 lines") << 32767 << false;
        QTest::newRow("32,768 lines") << 32768 << true;
        QTest::newRow("200,000 lines") << 200000 << true;
    }

    void longTextsAreRefusedWhole()
    {
        QFETCH(int, count);
        QFETCH(bool, refused);
        // The shader at the top, the Proxies block and the last brace at the bottom.
        const QString text = QStringLiteral("\"S\"\n{\n")
            + lines(count - 7, QStringLiteral("\t\"$a\" \"1\""))
            + QStringLiteral("\n\t\"Proxies\"\n\t{\n\t\t\"P\"\n\t}\n}");
        QCOMPARE(text.count(QLatin1Char('\n')) + 1, count);
        const QList<std::pair<Routine, const char *>> routines = {
            { [](QString &t) { return VMTText::addShader(t, QStringLiteral("N")); },
              VMTText::ShaderInsertionFailed },
            { [](QString &t) { return VMTText::addParameter(t, QStringLiteral("$b"), {}); },
              VMTText::KeyValueInsertionFailed },
            { [](QString &t) { return VMTText::addProxy(t, QStringLiteral("Q"), {}, nullptr); },
              VMTText::ProxyInsertionFailed },
            { [](QString &t) {
                 VMTText::removeProxy(t, QString());
                 return nullptr;
             },
              nullptr },
        };
        for (const auto &[routine, warning] : routines) {
            QString changed = text;
            const char *result = routine(changed);
            if (refused) {
                QCOMPARE(result, warning);
                QCOMPARE(changed, text);
            } else {
                QVERIFY(!result);
                QVERIFY(changed != text);
            }
        }
    }

    // Random bytes as a material: any of the known warnings or success, and never a crash.
    void binaryTextGetsOrdinaryAnswers()
    {
        const QList<const char *> known = { nullptr,
                                            VMTText::ShaderInsertionFailed,
                                            VMTText::ShaderReplacementQuestionable,
                                            VMTText::ShaderInsertionQuestionable,
                                            VMTText::KeyValueInsertionFailed,
                                            VMTText::ProxyInsertionFailed };
        // The warnings are returned as the very pointers of the list.
        QRandomGenerator random(10);
        for (int round = 0; round < 50; ++round) {
            QByteArray bytes(4096, '\0');
            for (char &c : bytes)
                c = char(random.bounded(256));
            // Some of the shapes the routines look for, scattered about.
            for (const char *shape : { "\n{\n", "\n}\n", "\n\"x\"\n", "\nProxies\n", "\n\t}\n" })
                bytes.insert(random.bounded(bytes.size()), shape);
            const QString text = QString::fromLatin1(bytes);
            QString t = text;
            QVERIFY(known.contains(VMTText::addShader(t, QStringLiteral("N"))));
            t = text;
            QVERIFY(known.contains(VMTText::addParameter(t, QStringLiteral("$k"), {})));
            t = text;
            QVERIFY(known.contains(VMTText::addProxy(t, QStringLiteral("P"), {}, nullptr)));
            t = text;
            VMTText::removeProxy(t, QStringLiteral("x"));
            t = text;
            VMTText::removeProxy(t, QString());
        }
    }

    void hugeSingleLine()
    {
        // 50 MB in one line: one pass, no line limit reached.
        QString text = QStringLiteral("\"S\" ") + QString(50 * 1024 * 1024, QLatin1Char('x'));
        QCOMPARE(QString::fromLatin1(VMTText::addShader(text, QStringLiteral("N"))),
                 QLatin1String(VMTText::ShaderInsertionQuestionable));
        QCOMPARE(text, QStringLiteral("\"N\""));
    }

    // Every sample material through every routine, with the edit each must make to its lines.
    void samples_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("shader"); // warning letter (0, R, I) and edit
        QTest::addColumn<QString>("parameter"); // $basetexture replaced or inserted
        QTest::addColumn<QString>("inserted"); // a new key
        QTest::addColumn<QString>("proxy"); // ZirkProxy, new block or entry
        QTest::addColumn<QString>("again"); // ZirkProxy a second time, on the first result
        QTest::addColumn<QString>("block"); // the whole Proxies block removed
        QTest::addColumn<QString>("named"); // the first proxy removed by name
        QTest::addColumn<QString>("roundTrip"); // ZirkProxy removed from the second result
        ZIRK_REQUIRE_SAMPLES(samples);
        const QString dir = samples + QStringLiteral("/vmt");
        struct Row
        {
            const char *file, *shader, *parameter, *inserted, *proxy, *again, *block, *named,
                *roundTrip;
        };
        const Row rows[] = {
            { "bliink_HUD_ammo_back", "0r0", "r2", "i6", "i6", "i14", "=", "=", "=" },
            { "bliink_decals_metal_shot1", "R=", "r2", "i4", "i4", "i12", "=", "=", "=" },
            { "bliink_decals_metal_shot1_subrect", "R=", "i7", "i7", "i7", "i15", "=", "=", "=" },
            { "bliink_dev_dev_water2", "R=", "i26", "i26", "i39", "i45", "d26-41", "d26-41",
              "d26-41" },
            { "bliink_dev_dev_water2_cheap", "R=", "i30", "i30", "i47", "i53", "d30-49", "d30-49",
              "d30-49" },
            { "bliink_dev_dev_water3", "R=", "i33", "i33", "i50", "i56", "d33-52", "d33-52",
              "d33-52" },
            { "bliink_dev_ocean", "R=", "i23", "i23", "i34", "i40", "d23-36", "d23-36", "d23-36" },
            { "bliink_effects_tiledfire_fire_tiled_precache", "R=", "r2", "i7", "i7", "i15", "=",
              "=", "=" },
            { "bliink_fusebox_fusebox_redux_skin_1", "0r0", "r2", "i5", "i5", "i13", "=", "=",
              "=" },
            { "bliink_fusebox_fusebox_redux_skin_2", "0r0", "r2", "i5", "i5", "i13", "=", "=",
              "=" },
            { "bliink_fusebox_fusebox_redux_skin_3", "0r0", "r2", "i5", "i5", "i13", "=", "=",
              "=" },
            { "bliink_fusebox_fusebox_redux_skin_4", "0r0", "r2", "i5", "i5", "i13", "=", "=",
              "=" },
            { "bliink_models_error_new_light1", "R=", "r3", "i5", "i14", "i20", "d5-16", "d5-16",
              "d5-16" },
            { "bliink_models_props_fusebox", "0r0", "r2", "i12", "i12", "i20", "=", "=", "=" },
            { "bliink_noise_3d", "0r0", "r2", "i3", "i3", "i11", "=", "=", "=" },
            { "bliink_particle_headshot_headshot", "R=", "r2", "i7", "i7", "i15", "=", "=", "=" },
            { "bliink_particle_leaf_greenleaf", "R=", "r2", "i4", "i4", "i12", "=", "=", "=" },
            { "bliink_particle_leaf_leafdead", "R=", "r2", "i5", "i5", "i13", "=", "=", "=" },
            { "bliink_particle_pebble1_particle_pebble_1", "R=", "r2", "i6", "i6", "i14", "=", "=",
              "=" },
            { "bliink_particle_sparks_sparks", "R=", "r3", "i10", "i10", "i18", "=", "=", "=" },
            { "bliink_particle_sparks_sparks_nontrail", "R=", "r3", "i9", "i9", "i17", "=", "=",
              "=" },
            { "bliink_particle_sparks_sparks_ob", "R=", "r3", "i11", "i11", "i19", "=", "=", "=" },
            { "bliink_shadereditor_colorpicker_sv", "0r0", "r2", "i9", "i9", "i17", "=", "=", "=" },
            { "bliink_sprites_bubble", "R=", "r6", "i7", "i15", "i21", "d7-17", "d7-17", "d7-17" },
            { "bliink_sprites_gunsmoke", "R=", "r4", "i5", "i5", "i13", "=", "=", "=" },
            { "bliink_sprites_light_glow02_add_noz", "R=", "r2", "i10", "i10", "i18", "=", "=",
              "=" },
            { "bliink_sprites_physbeam", "0r0", "r4", "i6", "i6", "i14", "=", "=", "=" },
            { "bliink_vgui_common_swarm_cycle", "R=", "r2", "i9", "i9", "i17", "=", "=", "=" },
            { "bliink_vgui_common_swarm_cycle_anim", "R=", "r2", "i9", "i17", "i23", "d9-19",
              "d9-19", "d9-19" },
            { "bliink_voice_voice_icon_hud", "R=", "r2", "i20", "i20", "i28", "=", "=", "=" },
            // CRLF: no line is exactly "{", so the first quoted line is taken, with a warning.
            { "gmod8_money_goldbar", "Ir0", "r2", "i7", "i7", "i15", "=", "=", "=" },
            { "l4d2cu_props_vehicles_boat_cabin35_glass_alarm", "R=", "r2", "i21", "i65", "i71",
              "d21-66", "d21-66", "d21-66" },
            { "portalelc_halflife_+0~generic85", "0r0", "r2", "i5", "i5", "i13", "=", "=", "=" },
            { "portalelc_halflife_lab1_comp3e", "0r0", "r2", "i6", "i6", "i14", "=", "=", "=" },
            { "portalelc_lights_light_blue001", "0r0", "r2", "i7", "i7", "i15", "=", "=", "=" },
        };
        QStringList files = QDir(dir).entryList({ QStringLiteral("*.vmt") }, QDir::Files);
        for (const Row &row : rows) {
            const QString file = QString::fromLatin1(row.file) + QStringLiteral(".vmt");
            if (!files.removeOne(file))
                continue;
            QTest::newRow(row.file)
                << dir + QLatin1Char('/') + file << row.shader << row.parameter << row.inserted
                << row.proxy << row.again << row.block << row.named << row.roundTrip;
        }
        // A sample added later still goes through the routines, without expectations.
        for (const QString &file : files)
            QTest::newRow(qPrintable(file)) << dir + QLatin1Char('/') + file << ""
                                            << ""
                                            << ""
                                            << ""
                                            << ""
                                            << ""
                                            << ""
                                            << "";
    }

    void samples()
    {
        QFETCH(QString, file);
        QFETCH(QString, shader);
        QFETCH(QString, parameter);
        QFETCH(QString, inserted);
        QFETCH(QString, proxy);
        QFETCH(QString, again);
        QFETCH(QString, block);
        QFETCH(QString, named);
        QFETCH(QString, roundTrip);
        const QString input = readLatin1(file);
        QVERIFY(!input.isEmpty());

        QString text = input;
        const char *warning = VMTText::addShader(text, QStringLiteral("ZirkShader"));
        QString adding = input;
        QVERIFY(!VMTText::addParameter(adding, QStringLiteral("$basetexture"),
                                       QStringLiteral("zirk/replaced")));
        QString insert = input;
        QVERIFY(!VMTText::addParameter(insert, QStringLiteral("$zirkparam"), QStringLiteral("1")));
        const QStringList keys { QStringLiteral("a"), QStringLiteral("b") };
        QString once = input;
        QVERIFY(!VMTText::addProxy(once, QStringLiteral("ZirkProxy"), keys, nullptr));
        QString twice = once;
        QVERIFY(!VMTText::addProxy(twice, QStringLiteral("ZirkProxy"), keys, nullptr));
        QCOMPARE(twice.count(QStringLiteral("\"ZirkProxy\"")), 2);
        QString whole = input;
        VMTText::removeProxy(whole, QString());
        if (shader.isEmpty())
            return;

        const char letter = shader.at(0).toLatin1();
        QCOMPARE(warning,
                 letter == 'R'       ? VMTText::ShaderReplacementQuestionable
                     : letter == 'I' ? VMTText::ShaderInsertionQuestionable
                                     : nullptr);
        QCOMPARE(text, edited(input, shader.mid(1), { NewShader }));
        QCOMPARE(adding, edited(input, parameter, { ReplacedParameter }));
        QCOMPARE(insert, edited(input, inserted, { NewParameter }));
        const bool hadBlock = input.contains(QStringLiteral("\nProxies\n"));
        QCOMPARE(once, edited(input, proxy, hadBlock ? NewEntry : NewBlock));
        QCOMPARE(twice, edited(once, again, NewEntry));
        QCOMPARE(whole, edited(input, block, {}));

        // The first proxy of the sample by its name, and the added one from the second result.
        QString removed = input;
        const qsizetype at = input.indexOf(QStringLiteral("\nProxies\n{\n"));
        if (at >= 0)
            VMTText::removeProxy(removed, input.mid(at + 11).section(QLatin1Char('\n'), 0, 0));
        QCOMPARE(removed, edited(input, named, {}));
        QString back = twice;
        VMTText::removeProxy(back, QStringLiteral("zirkproxy"));
        QCOMPARE(back, edited(input, roundTrip, {}));
    }

    void fileFromData_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QList<QByteArray>>("lines");
        QTest::addColumn<QByteArray>("saved");
        QTest::newRow("mixed line ends")
            << QByteArray("a\r\nb\nc") << QList<QByteArray> { "a", "b", "c" }
            << QByteArray("a\nb\nc\n");
        QTest::newRow("ends with a line end")
            << QByteArray("a\r\nb\n") << QList<QByteArray> { "a", "b", "" }
            << QByteArray("a\nb\n\n");
        QTest::newRow("stops at NUL") << QByteArray("a\nb\0c\nd", 7)
                                      << QList<QByteArray> { "a", "b" } << QByteArray("a\nb\n");
        QTest::newRow("empty") << QByteArray() << QList<QByteArray> { "" } << QByteArray("\n");
        QTest::newRow("lone and double carriage returns")
            << QByteArray("a\rb\r\r\nc") << QList<QByteArray> { "a\rb\r", "c" }
            << QByteArray("a\rb\r\nc\n");
        QTest::newRow("bytes above 127 kept")
            << QByteArray("\"\xe9\xff\"") << QList<QByteArray> { "\"\xe9\xff\"" }
            << QByteArray("\"\xe9\xff\"\n");
    }

    void fileFromData()
    {
        QFETCH(QByteArray, data);
        QFETCH(QList<QByteArray>, lines);
        QFETCH(QByteArray, saved);
        std::unique_ptr<CFileVMT> vmt(CFileVMT::createFromData(data));
        QVERIFY(vmt);
        QCOMPARE(QList<QByteArray>(vmt->lines.begin(), vmt->lines.end()), lines);
        QVERIFY(vmt->path.isEmpty());
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("out.vmt"));
        QVERIFY(vmt->saveFile(path));
        QCOMPARE(readBytes(path), saved);
    }

    void fileFromDeviceAndFile()
    {
        QByteArray data("\"S\"\n{\n}\n");
        QBuffer buffer(&data);
        std::unique_ptr<CFileVMT> whole(CFileVMT::createFromDevice(buffer, ~0u));
        QVERIFY(whole);
        QCOMPARE(whole->lines.size(), 4);
        buffer.seek(4);
        std::unique_ptr<CFileVMT> part(CFileVMT::createFromDevice(buffer, 2));
        QVERIFY(part);
        QCOMPARE(part->lines, QVector<QByteArray>({ "{", "" }));
        // More than the device holds, even hugely more, is refused.
        buffer.seek(0);
        QVERIFY(!CFileVMT::createFromDevice(buffer, data.size() + 1));
        buffer.seek(0);
        QVERIFY(!CFileVMT::createFromDevice(buffer, 0xfffffff0u));

        QTemporaryDir dir;
        QVERIFY(!CFileVMT::createFromFile(dir.filePath(QStringLiteral("missing.vmt"))));
        QVERIFY(!CFileVMT::createFromFile(dir.path()));
        const QString path = dir.filePath(QStringLiteral("a.vmt"));
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("\"S\"\r\n{\r\n}");
        }
        std::unique_ptr<CFileVMT> vmt(CFileVMT::createFromFile(path));
        QVERIFY(vmt);
        QCOMPARE(vmt->path, path);
        // An empty target means the stored path; no path at all is refused.
        vmt->lines.append("// more");
        QVERIFY(vmt->saveFile(QString()));
        QCOMPARE(readBytes(path), QByteArray("\"S\"\n{\n}\n// more\n"));
        CFileVMT fresh;
        QVERIFY(!fresh.saveFile(QString()));
        QVERIFY(!vmt->saveFile(dir.filePath(QStringLiteral("no/such/dir/a.vmt"))));
    }

    void everySampleFileLoadsAndSavesItsLines()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QTemporaryDir dir;
        const QDir vmts(samples + QStringLiteral("/vmt"));
        for (const QString &name : vmts.entryList({ QStringLiteral("*.vmt") }, QDir::Files)) {
            std::unique_ptr<CFileVMT> vmt(CFileVMT::createFromFile(vmts.filePath(name)));
            QVERIFY2(vmt, qPrintable(name));
            const QString out = dir.filePath(name);
            QVERIFY(vmt->saveFile(out));
            // Line ends become "\n", with one behind the last line; nothing else changes.
            QByteArray expected = readBytes(vmts.filePath(name));
            expected.replace("\r\n", "\n");
            expected += '\n';
            QCOMPARE(readBytes(out), expected);
        }
    }
};

QTEST_GUILESS_MAIN(TestMaterialsText)
#include "tst_materials_text.moc"
