#include "../packages/BspFixture.h"
#include "ZirkTest.h"
#include "map/CBspLumpTool.h"
#include "map/CLumpFileHeader.h"
#include "packages/CDelegateBSP.h"

#include <QDirIterator>
#include <QTemporaryDir>

namespace {

// The lump names by map version: where a lump has a name only for some versions, those
// versions are listed, all others are "Unused".
struct NameRule
{
    int lump;
    const char *name;
    QList<int> versions; // empty: all versions
};

const QList<NameRule> &nameRules()
{
    static const QList<NameRule> rules = {
        { 11, "FaceIDs", { 20, 21, 22 } },
        { 22, "Portals", { 19 } },
        { 22, "PropCollision", { 21, 22 } },
        { 23, "Clusters", { 19 } },
        { 23, "PropHulls", { 21, 22 } },
        { 24, "PortalVerts", { 19 } },
        { 24, "PropHullVerts", { 21, 22 } },
        { 25, "ClusterPortals", { 19 } },
        { 25, "PropTris", { 21, 22 } },
        { 28, "PhysDisp", { 20, 21, 22 } },
        { 49, "PhysCollideSurface", { 19 } },
        { 49, "PropBlob", { 21, 22 } },
        { 51, "LightmapPages", { 19 } },
        { 51, "LeafAmbientIndexHDR", { 20, 21, 22 } },
        { 52, "LightmapPageInfos", { 19 } },
        { 52, "LeafAmbientIndex", { 20, 21, 22 } },
        { 53, "LightingHDR", { 20 } },
        { 54, "WorldlightsHDR", { 20 } },
        { 55, "LeafAmbientLightingHDR", { 20 } },
        { 56, "LeafAmbientLighting", { 20 } },
        { 59, "MapFlags", { 20, 21, 22 } },
        { 60, "OverlayFades", { 20, 21, 22 } },
        { 61, "OverlaySystemLevels", { 20, 21, 22 } },
        { 62, "PhysLevel", { 21, 22 } },
        { 63, "DispMultiBlend", { 22 } },
    };
    return rules;
}

const char *const allVersions[64] = { "Entities",
                                      "Planes",
                                      "Texdata",
                                      "Vertexes",
                                      "Visibility",
                                      "Nodes",
                                      "Texinfo",
                                      "Faces",
                                      "Lighting",
                                      "Occlusion",
                                      "Leaves",
                                      nullptr,
                                      "Edges",
                                      "Surfedges",
                                      "Models",
                                      "Worldlights",
                                      "LeafFaces",
                                      "LeafBrushes",
                                      "Brushes",
                                      "Brushsides",
                                      "Areas",
                                      "AreaPortals",
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      "Dispinfo",
                                      "OriginalFaces",
                                      nullptr,
                                      "PhysCollide",
                                      "VertNormals",
                                      "VertNormalIndices",
                                      "DispLightmapAlphas",
                                      "DispVerts",
                                      "DispLightmapSamplePos",
                                      "GameLump",
                                      "LeafWaterData",
                                      "Primitives",
                                      "PrimVerts",
                                      "PrimIndices",
                                      "Pakfile",
                                      "ClipPortalVerts",
                                      "Cubemaps",
                                      "TexdataStringData",
                                      "TexdataStringTable",
                                      "Overlays",
                                      "LeafMinDistToWater",
                                      "FaceMacroTextureInfo",
                                      "DispTris",
                                      nullptr,
                                      "WaterOverlays",
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      "XZipPakFile",
                                      "FacesHDR",
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr };

QString expectedName(int lump, int version)
{
    if (allVersions[lump])
        return QString::fromLatin1(allVersions[lump]);
    for (const NameRule &rule : nameRules()) {
        if (rule.lump == lump && rule.versions.contains(version))
            return QString::fromLatin1(rule.name);
    }
    return QStringLiteral("Unused");
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing");
}

bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray lumpFile(qint32 offset, qint32 id, qint32 version, qint32 length, const QByteArray &data,
                    qint32 revision = 0)
{
    CLumpFileHeader header;
    header.offset = offset;
    header.id = id;
    header.version = version;
    header.length = length;
    header.revision = revision;
    return header.bytes() + data;
}

} // namespace

class TestMapBspInfo : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    QString map;

    // A version 20 map with lumps 5 and 6 filled and lump 9 empty.
    void makeMap(int version = 20)
    {
        BspFixture fixture;
        fixture.version = version;
        fixture.lumps[5] = QByteArray("five-five-five");
        fixture.lumps[6] = QByteArray("sixsix");
        fixture.withPakfile = false;
        map = dir.filePath(QStringLiteral("map%1.bsp").arg(version));
        QVERIFY(fixture.write(map));
    }

private slots:
    void lumpNames()
    {
        for (int version : { 19, 20, 21, 22 })
            for (int lump = 0; lump < 64; ++lump)
                QCOMPARE(CBspLumpTool::lumpName(lump, version), expectedName(lump, version));
    }

    void fourCCText()
    {
        QCOMPARE(CBspLumpTool::fourCCText(0x41420063),
                 QStringLiteral("'A' (65) , 'B' (66) , '%1' (0) , 'c' (99)").arg(QChar(0)));
    }

    void tableRows()
    {
        makeMap();
        CDelegateBSP bsp;
        QVERIFY(bsp.openPackage(map, true));
        const QVector<CBspLumpTool::Row> rows = CBspLumpTool::rows(bsp);
        QCOMPARE(rows.size(), 64);
        QCOMPARE(rows.at(5).name, QStringLiteral("Nodes"));
        QCOMPARE(rows.at(5).length, 14u);
        QCOMPARE(rows.at(5).version, quint32(BspFixture::lumpVersion(5)));
        QCOMPARE(rows.at(5).fourCC, qbswap(BspFixture::fourCC(5)));
        QCOMPARE(rows.at(5).fourCCText, CBspLumpTool::fourCCText(rows.at(5).fourCC));
        QCOMPARE(rows.at(53).name, QStringLiteral("LightingHDR"));
    }

    void extractFileNames()
    {
        QCOMPARE(CBspLumpTool::extractFileName(22, 19, true, false), QStringLiteral("Portals"));
        QCOMPARE(CBspLumpTool::extractFileName(22, 19, false, false), QStringLiteral("l_22"));
        QCOMPARE(CBspLumpTool::extractFileName(22, 20, true, true), QStringLiteral("Unused.lmp"));
    }

    void extractZeroLengthLump()
    {
        makeMap();
        QString error;
        QString written;
        QVERIFY(CBspLumpTool::extract({ map, 9, dir.path(), true, false, {} }, error, &written));
        QCOMPARE(written, dir.filePath("l_9.lmp"));
        QCOMPARE(readAll(written), lumpFile(20, 9, BspFixture::lumpVersion(9), 0, QByteArray(), 7));
        QVERIFY(CBspLumpTool::extract({ map, 9, dir.path(), false, true, {} }, error, &written));
        QCOMPARE(written, dir.filePath("Occlusion"));
        QCOMPARE(readAll(written), QByteArray(""));
    }

    void extractWithHeaderAndOverwrite()
    {
        makeMap();
        QString error;
        QString written;
        QVERIFY(CBspLumpTool::extract({ map, 5, dir.path(), true, false, {} }, error, &written));
        QCOMPARE(readAll(written),
                 lumpFile(20, 5, BspFixture::lumpVersion(5), 14, "five-five-five", 7));
        // Declined: nothing written, no message.
        QVERIFY(!CBspLumpTool::extract(
            { map, 5, dir.path(), true, false, [](const QString &) { return false; } }, error));
        QVERIFY(error.isEmpty());
        QCOMPARE(readAll(written).size(), 34);
        QString asked;
        QVERIFY(CBspLumpTool::extract({ map, 5, dir.path(), true, false,
                                        [&](const QString &path) {
                                            asked = path;
                                            return true;
                                        } },
                                      error));
        QCOMPARE(asked, written);
        QVERIFY(!CBspLumpTool::extract({ map, 5, dir.filePath("none"), false, false, {} }, error));
        QCOMPARE(error,
                 QStringLiteral("Write Error: Unable to open file \"%1\"")
                     .arg(dir.filePath("none/l_5")));
        QVERIFY(!CBspLumpTool::extract({ dir.filePath("no.bsp"), 5, dir.path(), false, false, {} },
                                       error));
        QCOMPARE(error, QStringLiteral("File Error: Unable to open"));
    }

    void replaceRefusals_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("error");
        const qint32 v6 = BspFixture::lumpVersion(6);
        QTest::newRow("trailing byte")
            << lumpFile(20, 6, v6, 3, "abcd") << 6 << "Unexpected end of data";
        QTest::newRow("type mismatch")
            << lumpFile(20, 5, v6, 3, "abc") << 6 << "Lump type mismatch";
        QTest::newRow("start") << lumpFile(24, 6, v6, 3, "abc") << 6 << "Unexpected start of data";
        QTest::newRow("header only")
            << lumpFile(20, 6, v6, 0, QByteArray()) << 6 << "Unexpected end of file";
        QTest::newRow("short header")
            << QByteArray("\x14\0\0\0", 4) << 6 << "Unexpected end of file";
        QTest::newRow("lying length")
            << lumpFile(20, 6, v6, -17, "abc") << 6 << "Unexpected end of data";
        QTest::newRow("version") << lumpFile(20, 6, v6 + 1, 3, "abc") << 6
                                 << "Lump version mismatch";
    }
    void replaceRefusals()
    {
        QFETCH(QByteArray, file);
        QFETCH(int, row);
        QFETCH(QString, error);
        makeMap();
        const QByteArray before = readAll(map);
        const QString path = dir.filePath("offer.LMP");
        QVERIFY(writeAll(path, file));
        QString text;
        QCOMPARE(CBspLumpTool::replace({ map, row, path }, text), CBspLumpTool::Replace_Refused);
        QCOMPARE(text, error);
        QCOMPARE(readAll(map), before);
    }

    void replaceByLumpAndPlainFile()
    {
        makeMap();
        const QString offer = dir.filePath("offer.lmp");
        QVERIFY(writeAll(offer, lumpFile(20, 6, BspFixture::lumpVersion(6), 5, "fresh")));
        QString error;
        QVector<CBspLumpTool::Row> rows;
        QCOMPARE(CBspLumpTool::replace({ map, 6, offer }, error, &rows),
                 CBspLumpTool::Replace_Done);
        QCOMPARE(rows.at(6).length, 5u);
        BspReadBack back = BspReadBack::read(map);
        QVERIFY2(back.error.isEmpty(), qPrintable(back.error));
        QCOMPARE(back.lumpBytes(6), QByteArray("fresh"));
        QCOMPARE(back.lumpBytes(5), QByteArray("five-five-five"));

        // Any other file is the lump's data, header and all, without a test.
        const QString plain = dir.filePath("offer.bin");
        const QByteArray bytes = lumpFile(20, 1, 1, 99, "not checked");
        QVERIFY(writeAll(plain, bytes));
        QCOMPARE(CBspLumpTool::replace({ map, 5, plain }, error, &rows),
                 CBspLumpTool::Replace_Done);
        back = BspReadBack::read(map);
        QCOMPARE(back.lumpBytes(5), bytes);
        QCOMPARE(back.lumpBytes(6), QByteArray("fresh"));
        QCOMPARE(rows.at(5).length, quint32(bytes.size()));

        QCOMPARE(CBspLumpTool::replace({ map, 5, dir.filePath("gone.bin") }, error),
                 CBspLumpTool::Replace_Refused);
        QCOMPARE(error, QStringLiteral("Unable to open file \"%1\"").arg(dir.filePath("gone.bin")));
    }

    void sampleMaps()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        for (const QString &kind : { QStringLiteral("bsp"), QStringLiteral("bsp_negative") }) {
            QDirIterator it(samples + "/" + kind, QDir::Files);
            while (it.hasNext()) {
                const QString path = it.next();
                CDelegateBSP bsp;
                if (!bsp.openPackage(path, true))
                    continue;
                QVERIFY2(kind == "bsp", qPrintable(path));
                const QVector<CBspLumpTool::Row> rows = CBspLumpTool::rows(bsp);
                QCOMPARE(rows.at(0).name, QStringLiteral("Entities"));
                QVERIFY2(rows.at(0).length > 0, qPrintable(path));
                QString error;
                QString written;
                QVERIFY(CBspLumpTool::extract(
                    { path, 0, dir.path(), true, true, [](const QString &) { return true; } },
                    error, &written));
                QCOMPARE(readAll(written).size(), 20 + int(rows.at(0).length));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestMapBspInfo)
#include "tst_map_bspinfo.moc"
