#include "ZirkTest.h"
#include "map/CFileVMF.h"
#include "map/CLineTokenizer.h"
#include "util/UtilText.h"

#include <QBuffer>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTextStream>

#include <memory>

namespace {

std::unique_ptr<CFileVMF> readText(const QByteArray &text, unsigned long long size = ~0ULL)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    return std::unique_ptr<CFileVMF>(CFileVMF::createFromDevice(buffer, size));
}

QByteArray writeText(const CFileVMF &vmf)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!vmf.writeFile(buffer))
        return QByteArray("write failed");
    buffer.close();
    return buffer.data();
}

QByteArray wrapWorld(const QByteArray &body)
{
    return "world\n{\n" + body + "}\n";
}

// The lines between the line `start` and the first line that equals `stop`, both excluded.
QByteArray section(const QByteArray &text, const QByteArray &start, const QByteArray &stop)
{
    const qsizetype from = text.indexOf("\n" + start + "\n");
    if (from < 0)
        return QByteArray();
    const qsizetype begin = from + start.size() + 2;
    const qsizetype end = text.indexOf("\n" + stop + "\n", begin - 1);
    return text.mid(begin, end < 0 ? -1 : end - begin + 1);
}

} // namespace

class TestMapVmf : public QObject
{
    Q_OBJECT

private slots:
    // The hand-written tokenizer against the regular expression it replaces.
    void tokenizerMatchesRegExp_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("pair") << QByteArray("\t\"classname\" \"info_null\"");
        QTest::newRow("bare") << QByteArray("classname info_null");
        QTest::newRow("empty quotes") << QByteArray("\"name\" \"\"");
        QTest::newRow("comment value") << QByteArray("\"message\" \"//x\"");
        QTest::newRow("three") << QByteArray("\"a\" \"b\" \"c\"");
        QTest::newRow("padded") << QByteArray(" \"  padded  \" ");
        QTest::newRow("glued") << QByteArray("\"a\"\"b\"");
        QTest::newRow("quote in run") << QByteArray("\"a\"b c");
        QTest::newRow("unclosed") << QByteArray("\"a b");
        QTest::newRow("comment after") << QByteArray("key // value \"x\"");
        QTest::newRow("slashes in run") << QByteArray("a//b c");
        QTest::newRow("quoted spaces then run") << QByteArray("\"a b\"c\" d");
        QTest::newRow("lone quote") << QByteArray("\" v");
        QTest::newRow("nbsp") << QByteArray("\"\xa0k\xa0\" v\x85w");
        QTest::newRow("nul cut") << QByteArray("key\0value", 9);
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("brace") << QByteArray("  }  ");
    }
    void tokenizerMatchesRegExp()
    {
        QFETCH(QByteArray, line);
        compareTokens(line);
    }

    void tokenizerMatchesRegExpOnRandomLines()
    {
        // Every byte alone and beside a quote, then random lines over the troublesome bytes.
        for (int c = 1; c < 256; ++c) {
            const char ch = char(c);
            for (const QByteArray &line : { QByteArray(1, ch), QByteArray("\"") + ch + "\" " + ch,
                                            QByteArray("a") + ch + "b \"" + ch + ch + "\"" }) {
                compareTokens(line);
                if (QTest::currentTestFailed())
                    return;
            }
        }
        const char alphabet[]
            = { '"', '"', '/', '/', ' ', '\t', 'a', 'b', '\x85', '\xa0', '\x01', '{', '\x0b' };
        QRandomGenerator random(14);
        for (int i = 0; i < 20000; ++i) {
            QByteArray line;
            const int length = int(random.bounded(12));
            for (int j = 0; j < length; ++j)
                line.append(alphabet[random.bounded(int(sizeof alphabet))]);
            compareTokens(line);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void emptyDeviceGivesDefaults()
    {
        auto vmf = readText(QByteArray());
        QVERIFY(vmf);
        QCOMPARE(vmf->formatversion, quint16(100));
        QCOMPARE(vmf->cameras.activecamera, qint16(-1));
        QVERIFY(vmf->entities.isEmpty());
        QVERIFY(vmf->bSnapToGrid && vmf->bShowGrid && !vmf->bShowLogicalGrid);
        QCOMPARE(vmf->nGridSpacing, quint16(8));
    }

    void closedDeviceIsRefused()
    {
        QBuffer buffer;
        QVERIFY(!CFileVMF::createFromDevice(buffer, ~0ULL));
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(!CFileVMF::createFromDevice(buffer, ~0ULL));
    }

    void worldPairs_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QList<QByteArray>>("keyvalues");
        QTest::newRow("empty value kept")
            << QByteArray("\"classname\" \"\"\n") << QList<QByteArray> { "classname", "" };
        QTest::newRow("bare key is a block name")
            << QByteArray("classname\n") << QList<QByteArray> {};
        QTest::newRow("comment value drops the pair")
            << QByteArray("\"message\" \"//note\"\n") << QList<QByteArray> {};
        QTest::newRow("third token dropped")
            << QByteArray("\"a\" \"b\" \"c\"\n") << QList<QByteArray> { "a", "b" };
        QTest::newRow("padding trimmed")
            << QByteArray(" \"  padded  \" \"x\"\n") << QList<QByteArray> { "padded", "x" };
        QTest::newRow("duplicates and order kept")
            << QByteArray("\"id\" \"1\"\n\"b\" \"2\"\n\"b\" \"3\"\n")
            << QList<QByteArray> { "id", "1", "b", "2", "b", "3" };
        QTest::newRow("editor in world spills")
            << QByteArray("editor\n{\n\"color\" \"1 2 3\"\n}\n\"late\" \"x\"\n")
            << QList<QByteArray> { "color", "1 2 3" };
    }
    void worldPairs()
    {
        QFETCH(QByteArray, body);
        QFETCH(QList<QByteArray>, keyvalues);
        auto vmf = readText(wrapWorld(body));
        QCOMPARE(QList<QByteArray>(vmf->world.keyvalues.begin(), vmf->world.keyvalues.end()),
                 keyvalues);
    }

    void numbersAndFlags()
    {
        auto vmf
            = readText("versioninfo\n{\n\"editorversion\" \"\"\n\"EditorBuild\" \"70000\"\n"
                       "\"mapversion\" \"-3\"\n\"prefab\" \"1\"\n}\n"
                       "viewsettings\n{\n\"bSnapToGrid\" \"x\"\n\"bShowGrid\" \"0\"\n"
                       "\"bShowLogicalGrid\" \"2\"\n\"bShow3DGrid\" \"1\"\n}\n"
                       "cameras\n{\n\"activecamera\" \"-1\"\ncamera\n{\n\"position\" "
                       "\"[1 2 3]\"\n}\n}\ncordon\n{\n\"active\" \"1\"\n\"mins\" \"(0 0 0)\"\n}\n"
                       + wrapWorld("solid\n{\n\"id\" \"4294967296\"\nside\n{\n"
                                   "\"rotation\" \"90.5\"\n\"lightmapscale\" \"65552\"\n"
                                   "\"smoothing_groups\" \"-1\"\ndispinfo\n{\n"
                                   "\"Power\" \"300\"\n}\n}\n}\n"));
        QCOMPARE(vmf->editorversion, quint16(0));
        QCOMPARE(vmf->editorbuild, quint16(70000 & 0xFFFF));
        QCOMPARE(vmf->mapversion, quint16(0));
        QVERIFY(vmf->prefab);
        QVERIFY(vmf->bSnapToGrid);
        QVERIFY(!vmf->bShowGrid);
        QVERIFY(!vmf->bShowLogicalGrid);
        QVERIFY(vmf->bShow3DGrid);
        QCOMPARE(vmf->cameras.activecamera, qint16(-1));
        QCOMPARE(vmf->cameras.list.size(), 1);
        QCOMPARE(vmf->cameras.list.at(0).position, QByteArray("[1 2 3]"));
        QVERIFY(vmf->cordon.active);
        QCOMPARE(vmf->cordon.mins, QByteArray("(0 0 0)"));
        QCOMPARE(vmf->world.solids.size(), 1);
        const CFileVMF::solid &solid = vmf->world.solids.at(0);
        QCOMPARE(solid.id, quint32(0));
        QCOMPARE(solid.sides.size(), 1);
        QCOMPARE(solid.sides.at(0).rotation, qint16(0));
        QCOMPARE(solid.sides.at(0).lightmapscale, quint16(16));
        QCOMPARE(solid.sides.at(0).smoothing_groups, quint32(0));
        QVERIFY(solid.sides.at(0).dispinfo);
        QCOMPARE(solid.sides.at(0).dispinfo->power, quint8(44));
    }

    void hiddenWrappers()
    {
        const QByteArray solid
            = "solid\n{\n\"id\" \"%1\"\neditor\n{\n\"visgroupshown\" \"0\"\n}\n}\n";
        auto vmf = readText(wrapWorld("hidden\n{\n" + QByteArray(solid).replace("%1", "1")
                                      + QByteArray(solid).replace("%1", "2") + "}\n"
                                      + QByteArray(solid).replace("%1", "3").replace("0", "1"))
                            + "hidden\n{\nentity\n{\n\"classname\" \"light\"\neditor\n{\n"
                              "\"visgroupshown\" \"1\"\n}\n}\n}\n");
        QCOMPARE(vmf->world.solids.size(), 3);
        QCOMPARE(vmf->world.solids.at(2).id, quint32(3));
        QVERIFY(!vmf->world.solids.at(1).editor.visgroupshown);
        QVERIFY(vmf->world.solids.at(2).editor.visgroupshown);
        QCOMPARE(vmf->entities.size(), 1);
        QVERIFY(vmf->entities.at(0).editor.visgroupshown);
    }

    void blocksInsideEntities()
    {
        auto vmf
            = readText("entity\n{\n\"classname\" \"logic_relay\"\nconnections\n{\n"
                       "\"OnTrigger\" \"a,b,,0,-1\"\n\"OnTrigger\" \"a,b,,0,-1\"\n}\n"
                       "foo\n{\n\"inner\" \"1\"\n}\n\"after\" \"2\"\n}\n"
                       "entity\n{\n\"classname\" \"x\"\neditor\n{\n\"Color\" \"1 1 1\"\n"
                       "\"visgroupid\" \"5\"\n\"visgroupid\" \"6\"\n}\ngroup\n{\n\"id\" \"9\"\n"
                       "editor\n{\n\"Color\" \"0 0 0\"\n}\n}\n}\n");
        QCOMPARE(vmf->entities.size(), 2);
        const CFileVMF::entity &relay = vmf->entities.at(0);
        QCOMPARE(relay.world.connections.size(), 4);
        QCOMPARE(relay.world.keyvalues,
                 QVector<QByteArray>({ "classname", "logic_relay", "inner", "1" }));
        const CFileVMF::entity &second = vmf->entities.at(1);
        QCOMPARE(second.editor.color, QByteArray("255 255 255"));
        QCOMPARE(second.editor.visgroupids, QVector<quint32>({ 5, 6 }));
        QCOMPARE(second.world.groups.size(), 1);
        QCOMPARE(second.world.groups.at(0).id, quint32(9));
        QCOMPARE(second.world.groups.at(0).color, QByteArray("0 0 0"));
    }

    void dispinfoRows()
    {
        auto vmf = readText(wrapWorld(
            "solid\n{\nside\n{\ndispinfo\n{\n\"power\" \"3\"\n}\ndispinfo\n{\n\"elevation\" "
            "\"0.5\"\n\"subdiv\" \"1\"\nnormals\n{\n\"row7\" \"a\"\n\"row2\" \"b\"\n}\n"
            "allowed_verts\n{\n\"10\" \"x\"\n\"10\" \"y\"\n}\nALLOWED_VERTS\n{\n\"10\" \"z\"\n}\n"
            "}\n}\n}\n"));
        const CFileVMF::side &side = vmf->world.solids.at(0).sides.at(0);
        QVERIFY(side.dispinfo);
        QCOMPARE(side.dispinfo->power, quint8(2));
        QCOMPARE(side.dispinfo->elevation, 0.5f);
        QVERIFY(side.dispinfo->subdiv);
        QCOMPARE(side.dispinfo->normals, QVector<QByteArray>({ "a", "b" }));
        QCOMPARE(side.dispinfo->allowed_verts, QByteArray("y"));

        // A copied side owns a copy of the displacement.
        CFileVMF::side copy = side;
        QVERIFY(copy.dispinfo && copy.dispinfo.get() != side.dispinfo.get());
        QCOMPARE(copy.dispinfo->normals, side.dispinfo->normals);
    }

    void sizeLimitsTheRead()
    {
        const QByteArray text = "entity\n{\n\"a\" \"1\"\n}\nentity\n{\n\"b\" \"2\"\n}\n";
        auto vmf = readText(text, 12);
        QCOMPARE(vmf->entities.size(), 1);
        QCOMPARE(vmf->entities.at(0).world.keyvalues, QVector<QByteArray>({ "a", "1" }));
        QCOMPARE(readText(text, 1u << 30)->entities.size(), 2);
    }

    void hostileInputEnds()
    {
        // Deep nesting of unknown blocks and of visgroups, and a file of nothing but braces.
        QByteArray deep = "visgroups\n{\n";
        for (int i = 0; i < 200000; ++i)
            deep += "visgroup\n{\n";
        auto vmf = readText(deep);
        QCOMPARE(vmf->visgroups.size(), 1);
        int depth = 1;
        for (const CFileVMF::visgroup *v = &vmf->visgroups.at(0); !v->children.isEmpty();
             v = &v->children.at(0))
            ++depth;
        QVERIFY(depth < 100);

        QByteArray braces = "world\n";
        braces += QByteArray(4 << 20, '{').replace("{", "{\n");
        QVERIFY(readText(braces));
        QVERIFY(readText(QByteArray(1 << 20, '"')));
        QVERIFY(readText("cameras\n}\n}\n{\n"));
    }

    void defaultWriteLayout()
    {
        const QByteArray text = writeText(CFileVMF());
        QCOMPARE(
            text,
            QByteArray("versioninfo\n{\n\t\"editorversion\" \"0\"\n\t\"editorbuild\" \"0\"\n"
                       "\t\"mapversion\" \"0\"\n\t\"formatversion\" \"100\"\n\t\"prefab\" "
                       "\"0\"\n}\nvisgroups\n{\n}\nviewsettings\n{\n\t\"bSnapToGrid\" \"1\"\n"
                       "\t\"bShowGrid\" \"1\"\n\t\"bShowLogicalGrid\" \"0\"\n\t\"nGridSpacing\" "
                       "\"8\"\n\t\"bShow3DGrid\" \"0\"\n}\nworld\n{\n}\ncameras\n{\n\t"
                       "\"activecamera\" \"-1\"\n}\ncordon\n{\n\t\"mins\" \"(-1024 -1024 "
                       "-1024)\"\n\t\"maxs\" \"(1024 1024 1024)\"\n\t\"active\" \"0\"\n}\n"));
    }

    void writeEntityAndSolids()
    {
        CFileVMF vmf;
        CFileVMF::solid hiddenSolid;
        hiddenSolid.id = 7;
        hiddenSolid.editor.visgroupshown = false;
        vmf.world.solids.append(hiddenSolid);

        CFileVMF::entity point;
        point.world.keyvalues = { "classname", "info_target", "message", "say \"hi\"" };
        vmf.entities.append(point);

        CFileVMF::entity hidden;
        hidden.editor.visgroupshown = false;
        hidden.world.solids.append(hiddenSolid);
        vmf.entities.append(hidden);

        const QByteArray text = writeText(vmf);
        QCOMPARE(
            section(text, "world", "entity"),
            QByteArray("{\n\thidden\n\t{\n\t\tsolid\n\t\t{\n\t\t\t\"id\" \"7\"\n\t\t\teditor\n"
                       "\t\t\t{\n\t\t\t\t\"color\" \"255 255 255\"\n\t\t\t\t\"visgroupshown\" "
                       "\"0\"\n\t\t\t\t\"visgroupautoshown\" \"1\"\n\t\t\t}\n\t\t}\n\t}\n}\n"));
        QVERIFY(text.contains("entity\n{\n\t\"classname\" \"info_target\"\n\t\"message\" "
                              "\"say \"hi\"\"\n\teditor\n\t{\n\t\t\"color\" \"255 255 255\"\n\t\t"
                              "\"visgroupshown\" \"1\"\n\t\t\"visgroupautoshown\" \"1\"\n\t\t"
                              "\"logicalpos\" \"[0 0]\"\n\t}\n}\n"));
        QVERIFY(text.contains("hidden\n{\n\tentity\n\t{\n\t\tsolid\n\t\t{\n\t\t\t\"id\" \"7\"\n"));
        QCOMPARE(text.count("hidden\n"), 2);
    }

    void writeDispinfo()
    {
        CFileVMF vmf;
        CFileVMF::solid solid;
        CFileVMF::side side;
        side.smoothing_groups = 0x80000000u;
        side.dispinfo = std::make_unique<CFileVMF::dispinfo>();
        side.dispinfo->elevation = 1000000.0f;
        solid.sides.append(side);
        vmf.world.solids.append(solid);
        QByteArray text = writeText(vmf);
        QVERIFY(
            text.contains("\t\t\t\"smoothing_groups\" \"-2147483648\"\n\t\t\tdispinfo\n\t\t\t{\n"
                          "\t\t\t\t\"power\" \"2\"\n\t\t\t\t\"startposition\" \"\"\n\t\t\t\t"
                          "\"flags\" \"1\"\n\t\t\t\t\"elevation\" \"1e+06\"\n\t\t\t\t\"subdiv\" "
                          "\"0\"\n\t\t\t}\n"));
        vmf.world.solids[0].sides[0].dispinfo->elevation = 0.5f;
        vmf.world.solids[0].sides[0].dispinfo->offsets = { "0 0 0", "1 1 1" };
        vmf.world.solids[0].sides[0].dispinfo->allowed_verts = "-1 -1";
        text = writeText(vmf);
        QVERIFY(text.contains("\"elevation\" \"0.5\""));
        QVERIFY(text.contains("\t\t\t\toffsets\n\t\t\t\t{\n\t\t\t\t\t\"row0\" \"0 0 0\"\n"
                              "\t\t\t\t\t\"row1\" \"1 1 1\"\n\t\t\t\t}\n"));
        QVERIFY(text.contains("allowed_verts\n\t\t\t\t{\n\t\t\t\t\t\"10\" \"-1 -1\"\n"));
        auto back = readText(text);
        QCOMPARE(back->world.solids.at(0).sides.at(0).smoothing_groups, quint32(0));
    }

    void writeFailures()
    {
        CFileVMF vmf;
        QVERIFY(!vmf.writeFile(QString()));
        QCOMPARE(vmf.lastError, QStringLiteral("Write Error: Invalid file path"));
        QVERIFY(!vmf.writeFile(QStringLiteral("/nonexistent-dir/x.vmf")));
        QCOMPARE(vmf.lastError,
                 QStringLiteral("Write Error: Unable to open \"/nonexistent-dir/x.vmf\""));
        QBuffer buffer;
        QVERIFY(!vmf.writeFile(buffer));
        QCOMPARE(vmf.lastError, QStringLiteral("Write Error: Device not open"));
        buffer.open(QIODevice::ReadOnly);
        QVERIFY(!vmf.writeFile(buffer));
        QCOMPARE(vmf.lastError, QStringLiteral("Write Error: Device not writable"));
    }

    void latinBytesSurvive()
    {
        auto vmf = readText(wrapWorld("\"message\" \"caf\xe9 \x80\xff\"\n"));
        QCOMPARE(vmf->world.keyvalues.value(1), QByteArray("caf\xe9 \x80\xff"));
        QVERIFY(writeText(*vmf).contains("\"message\" \"caf\xe9 \x80\xff\""));
    }

    void samplesAreFixedPoints()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QDirIterator it(samples + QStringLiteral("/vmf"), { QStringLiteral("*.vmf") }, QDir::Files);
        int count = 0;
        QTemporaryDir temp;
        while (it.hasNext()) {
            const QString path = it.next();
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            std::unique_ptr<CFileVMF> first(CFileVMF::createFromDevice(file, ~0ULL));
            QVERIFY2(first, qPrintable(path));
            const QByteArray once = writeText(*first);
            auto second = readText(once);
            const QByteArray twice = writeText(*second);
            QVERIFY2(once == twice, qPrintable(path));
            QCOMPARE(second->entities.size(), first->entities.size());
            QCOMPARE(second->world.solids.size(), first->world.solids.size());
            QCOMPARE(second->world.keyvalues, first->world.keyvalues);
            QCOMPARE(second->visgroups.size(), first->visgroups.size());
            // Through a file as well.
            const QString out = temp.filePath(QStringLiteral("out.vmf"));
            QVERIFY(second->writeFile(out));
            QFile written(out);
            QVERIFY(written.open(QIODevice::ReadOnly));
            QCOMPARE(written.readAll(), twice);
            ++count;
        }
        QVERIFY(count > 0);
    }

    void sampleContent()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        QFile file(samples + QStringLiteral("/vmf/bsptool_tf2_test_displacement_decompile.vmf"));
        if (!file.open(QIODevice::ReadOnly))
            QSKIP("sample missing");
        std::unique_ptr<CFileVMF> vmf(CFileVMF::createFromDevice(file, ~0ULL));
        int displacements = 0;
        for (const CFileVMF::solid &solid : vmf->world.solids)
            for (const CFileVMF::side &side : solid.sides)
                displacements += side.dispinfo ? 1 : 0;
        QVERIFY(displacements > 0);
        QVERIFY(!vmf->world.keyvalues.isEmpty());
        QCOMPARE(vmf->world.keyvalues.size() % 2, 0);
    }

private:
    static void compareTokens(const QByteArray &line)
    {
        QByteArray key;
        QByteArray value;
        QByteArray expectedKey;
        QByteArray expectedValue;
        CLineTokenizer::split(line, key, value);
        UTIL_getParts(line, expectedKey, expectedValue);
        const QByteArray shown = line.toPercentEncoding();
        QVERIFY2(key == expectedKey && key.isNull() == expectedKey.isNull(),
                 qPrintable(shown + " key " + key + " / " + expectedKey));
        QVERIFY2(value == expectedValue && value.isNull() == expectedValue.isNull(),
                 qPrintable(shown + " value " + value + " / " + expectedValue));
    }
};

QTEST_GUILESS_MAIN(TestMapVmf)
#include "tst_map_vmf.moc"
