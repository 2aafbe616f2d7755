#include "BspFixture.h"
#include "PackageDelegateTest.h"
#include "ZirkTest.h"
#include "packages/CDelegateBSP.h"
#include "util/CNotificationRecorder.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QtEndian>
#include <QtTest>
#include <memory>

namespace {

const QByteArray entitiesText
    = "{\n\"classname\" \"worldspawn\"\n}\n\n{\r\n \"classname\" \"light\" \n}\n";

QByteArray staticProps(const QList<QByteArray> &names, int claimedCount = -1)
{
    QByteArray out;
    uchar b[4];
    qToLittleEndian<qint32>(claimedCount < 0 ? names.size() : claimedCount, b);
    out.append(reinterpret_cast<const char *>(b), 4);
    for (const QByteArray &name : names) {
        QByteArray padded = name;
        padded.resize(128, '\0');
        out.append(padded);
    }
    out.append("trailing prop data");
    return out;
}

BspFixture standardMap()
{
    BspFixture f;
    f.version = 20;
    f.lumps[0] = entitiesText;
    f.lumps[1] = QByteArray(100, 'p');
    f.lumps[43] = QByteArray("tools/toolsnodraw\0Brick/Wall01\0\0dev\\dev_measure\0", 48);
    f.lumps[44] = QByteArray(12, 't');
    f.lumps[59] = QByteArray(4, 'm');
    f.gameLumps = { { BspFixture::fourCC(0) ^ 1, 1, 2, QByteArray("detail props") },
                    { CDelegateBSP::StaticPropId, 0, 10,
                      staticProps({ "models/a.mdl", "  models/b.mdl  " }) } };
    f.pakfile = { { "materials/a.vmt", "LightmappedGeneric { }", {}, {}, 0 },
                  { "materials/Sub/b.vtf", QByteArray(700, '\x05'), "EX", "entry note", 8 },
                  { "readme.txt", "hello", {}, {}, 0 } };
    f.pakComment = QByteArray("map comment\0\0", 13);
    return f;
}

QMap<QString, QByteArray> standardFiles()
{
    return { { "lumps/Entities.lmp", entitiesText },
             { "lumps/Planes.lmp", QByteArray(100, 'p') },
             { "materials/a.vmt", "LightmappedGeneric { }" },
             { "materials/Sub/b.vtf", QByteArray(700, '\x05') },
             { "readme.txt", "hello" } };
}

QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

class TestDelegateBSP : public PackageDelegateTest
{
    Q_OBJECT

protected:
    IPackageDelegate *createDelegate() const override { return new CDelegateBSP; }
    QString buildFixture(const QString &dir) override
    {
        const QString path = dir + "/fixture.bsp";
        return standardMap().write(path) ? path : QString();
    }
    QMap<QString, QByteArray> fixtureFiles() const override { return standardFiles(); }
    int expectedPackageType() const override { return IPackageDelegate::PackageType_BSP; }
    bool supportsFlush() const override { return true; }

    // A copy of `fixture` opened read-write, under a new name in the scratch folder.
    std::unique_ptr<CDelegateBSP> openMap(const BspFixture &fixture, const QString &name,
                                          bool readOnly = false)
    {
        const QString path = scratchDir() + "/" + name;
        if (!fixture.write(path))
            return nullptr;
        auto d = std::make_unique<CDelegateBSP>();
        if (!d->openPackage(path, readOnly)) {
            qWarning("%s: %s", qPrintable(name), qPrintable(d->getLastError()));
            return nullptr;
        }
        return d;
    }
    QString openError(const BspFixture &fixture, const QString &name)
    {
        const QString path = scratchDir() + "/" + name;
        if (!fixture.write(path))
            return "<unwritten>";
        CDelegateBSP d;
        return d.openPackage(path, true) ? QString() : d.getLastError();
    }

private slots:
    void headerRefusals_data();
    void headerRefusals();
    void headerOnlyMap();
    void lumpNamesByVersion_data();
    void lumpNamesByVersion();
    void lumpInfoFields();
    void emptyPakfiles();
    void gameLumpDirectory();
    void staticPropDictionary();
    void entityAndTextureLists();
    void gameLumpOffsetsFollowTheDevice();
    void signatureNoticeAtEntries313To315();
    void hostilePakfiles_data();
    void hostilePakfiles();
    void hostileGameLump_data();
    void hostileGameLump();
    void lenientNames();
    void corruptedMapsFailCleanly();
    void flushUnchangedTwice_data();
    void flushUnchangedTwice();
    void flushLargerLumpKeepsGameLumpRight();
    void flushDeleteAndAdd();
    void flushWithoutEntries();
    void flushMissingReferenceLeavesMap();
    void flushIntoReadOnlyFolder();
    void markedLumpIsEmptied();
    void readOnlyPackageComesBackWritable();
    void pakfileAsZip();
    void samplesOpenAndSurviveFlush();
    void negativeSamplesAreRefused();
};

void TestDelegateBSP::headerRefusals_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");
    BspFixture empty;
    empty.withGameLump = false;
    empty.withPakfile = false;
    QByteArray v18 = empty.build();
    qToLittleEndian<qint32>(18, v18.data() + 4);
    QByteArray v22 = empty.build();
    qToLittleEndian<qint32>(22, v22.data() + 4);
    QByteArray badMagic = empty.build();
    badMagic[0] = 'I';
    // Nothing to weigh: offsets and lengths both sum to the data size, 0.
    QByteArray v21(1036, '\0');
    qToLittleEndian<quint32>(0x50534256, v21.data());
    qToLittleEndian<qint32>(21, v21.data() + 4);

    QTest::newRow("short") << QByteArray(1035, 'V') << "File Error: File smaller than header";
    QTest::newRow("magic") << badMagic << "File Error: Magic number mismatch";
    QTest::newRow("version 18") << v18 << "Delegate Error: File format too old";
    QTest::newRow("version 22") << v22 << "Delegate Error: File format too new";
    QTest::newRow("v21 undecidable") << v21 << "Delegate Error: Unable to determine BSP version";
}

void TestDelegateBSP::headerRefusals()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    const QString path = scratchDir() + "/refused.bsp";
    QFile out(path);
    QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
    out.write(bytes);
    out.close();
    CDelegateBSP d;
    QVERIFY(!d.openPackage(path, true));
    QCOMPARE(d.getLastError(), error);
    QVERIFY(!d.isPackageOpen());

    QVERIFY(!d.openPackage(scratchDir() + "/does-not-exist.bsp", true));
    QCOMPARE(d.getLastError(), QStringLiteral("File Error: Unable to open"));
}

void TestDelegateBSP::headerOnlyMap()
{
    BspFixture f;
    f.withGameLump = false;
    f.withPakfile = false;
    QCOMPARE(f.build().size(), 1036);
    auto d = openMap(f, "header-only.bsp");
    QVERIFY(d);
    QCOMPARE(d->getNodeCount(), 64);
    for (int i = 0; i < 64; ++i)
        QCOMPARE(d->getFileSizeByIndex(i), 0u);
    const CPackageHierarchyNode *root = d->getRootDirectoryNode();
    QCOMPARE(root->getChildCount(), 1u);
    QCOMPARE(*root->first(), QStringLiteral("lumps"));
    QCOMPARE(root->getSubLeafCount(), 64);
    QCOMPARE(d->getGameLumpCount(), 0);
    QVERIFY(d->getGameLumpPropStatic().isEmpty());
    QCOMPARE(d->getMapRevision(), 7);
}

void TestDelegateBSP::lumpNamesByVersion_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("reordered");
    QTest::addColumn<int>("internal");
    QTest::addColumn<QStringList>("present");
    QTest::newRow("19") << 19 << false << 19
                        << QStringList { "Portals.lmp", "LUMP_11.lmp", "LightmapPages.lmp",
                                         "PhysCollideSurface.lmp", "LUMP_63.lmp" };
    QTest::newRow("20") << 20 << false << 20
                        << QStringList { "FaceIDs.lmp",          "LUMP_22.lmp",  "LightingHDR.lmp",
                                         "LeafAmbientIndex.lmp", "MapFlags.lmp", "LUMP_62.lmp" };
    QTest::newRow("21 reordered") << 21 << true << 21
                                  << QStringList { "PropCollision.lmp", "PhysLevel.lmp",
                                                   "LUMP_63.lmp", "LUMP_53.lmp" };
    QTest::newRow("21 standard") << 21 << false << 22
                                 << QStringList { "PropBlob.lmp", "DispMultiBlend.lmp" };
}

void TestDelegateBSP::lumpNamesByVersion()
{
    QFETCH(int, version);
    QFETCH(bool, reordered);
    QFETCH(int, internal);
    QFETCH(QStringList, present);
    BspFixture f = standardMap();
    f.version = version;
    f.reordered = reordered;
    auto d = openMap(f, QStringLiteral("names%1%2.bsp").arg(version).arg(reordered));
    QVERIFY(d);
    QCOMPARE(d->getInternalVersion(), internal);
    const CPackageHierarchyNode *lumps = d->getRootDirectoryNode()->getNodeByString("lumps");
    for (const QString &name : present)
        QVERIFY2(lumps->getNodeByString(name), qPrintable(name));
    QCOMPARE(lumps->getChildCount(), 64u);
    // The lumps read alike in either order.
    std::unique_ptr<QByteArray> planes(d->getFileByIndex(1));
    QVERIFY(planes);
    QCOMPARE(*planes, QByteArray(100, 'p'));
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Planes, CDelegateBSP::LumpField_Version), 1u);
}

void TestDelegateBSP::lumpInfoFields()
{
    const auto *d = static_cast<const CDelegateBSP *>(delegate());
    const BspReadBack r = BspReadBack::read(fixture());
    QVERIFY2(r.error.isEmpty(), qPrintable(r.error));
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Entities, CDelegateBSP::LumpField_Offset), 1036u);
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Pakfile, CDelegateBSP::LumpField_Offset),
             r.lumps[40].offset);
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Planes, CDelegateBSP::LumpField_Length), 100u);
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Texinfo, CDelegateBSP::LumpField_Version), 0u);
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Nodes, CDelegateBSP::LumpField_Version), 2u);
    // "AAA" and the lump number: the first character ends up in the highest byte.
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Planes, CDelegateBSP::LumpField_FourCC),
             0x01414141u);
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Planes, CDelegateBSP::LumpDataField_t(5)), 0u);
    QCOMPARE(d->getLumpName(CDelegateBSP::Lump_GameLump), QStringLiteral("GameLump"));
    QCOMPARE(d->getPakfileCommentTrimmed(), QStringLiteral("map comment"));
    QCOMPARE(d->getPakfileEntryCount(), 3);
    const ZIPEntry_t *entry = d->getPakfileEntry(65);
    QVERIFY(entry);
    QCOMPARE(entry->second.fileName, QByteArray("materials/Sub/b.vtf"));
    QCOMPARE(entry->second.crc32, BspFixture::crc32(QByteArray(700, '\x05')));
    QVERIFY(!d->getPakfileEntry(3));
    // On disk: data, both fixed headers, both names, extras and the comment.
    QCOMPARE(d->getPackageFileSizeOnDiskByIndex(65), 700u + 76u + 19u * 2 + 2u + 2u + 10u);
    QCOMPARE(d->getPackageFileSizeByIndex(99), 0u);
}

void TestDelegateBSP::emptyPakfiles()
{
    BspFixture none = standardMap();
    none.withPakfile = false;
    auto d = openMap(none, "no-pakfile.bsp");
    QVERIFY(d);
    QCOMPARE(d->getRootDirectoryNode()->getChildCount(), 1u);
    QCOMPARE(d->getNodeCount(), 64);

    BspFixture empty = standardMap();
    empty.pakfile.clear();
    empty.pakComment.clear();
    d = openMap(empty, "empty-zip.bsp");
    QVERIFY(d);
    QCOMPARE(d->getRootDirectoryNode()->getChildCount(), 1u);
    QCOMPARE(d->getPakfileEntryCount(), 0);
}

void TestDelegateBSP::gameLumpDirectory()
{
    BspFixture f = standardMap();
    f.gameLumps.clear();
    auto d = openMap(f, "no-game-lumps.bsp");
    QVERIFY(d);
    QCOMPARE(d->getGameLumpCount(), 0);
    QCOMPARE(d->getGameLumpIndexByID(CDelegateBSP::StaticPropId), -1);

    const auto *full = static_cast<const CDelegateBSP *>(delegate());
    QCOMPARE(full->getGameLumpCount(), 2);
    QCOMPARE(full->getGameLumpIndexByID(CDelegateBSP::StaticPropId), 1);
    QCOMPARE(full->getGameLump(0).second, QByteArray("detail props"));
    QCOMPARE(full->getGameLump(0).first.flags, quint16(1));
    QCOMPARE(full->getGameLump(0).first.version, quint16(2));
}

void TestDelegateBSP::staticPropDictionary()
{
    const auto *d = static_cast<const CDelegateBSP *>(delegate());
    QCOMPARE(d->getGameLumpPropStatic(), QVector<QByteArray>({ "models/a.mdl", "models/b.mdl" }));

    // A count that promises more than the data holds stops at the data.
    BspFixture f = standardMap();
    f.gameLumps[1].data = staticProps({ "models/c.mdl" }, 1000000);
    f.gameLumps[1].data.chop(18);
    auto lying = openMap(f, "lying-props.bsp");
    QVERIFY(lying);
    QCOMPARE(lying->getGameLumpPropStatic(), QVector<QByteArray>({ "models/c.mdl" }));
}

void TestDelegateBSP::entityAndTextureLists()
{
    auto *d = static_cast<CDelegateBSP *>(delegate());
    QCOMPARE(d->getEntityKeyvalueList(),
             QVector<QByteArray>({ "{", "\"classname\" \"worldspawn\"", "}", "{",
                                   "\"classname\" \"light\"", "}" }));
    QCOMPARE(d->getBrushTextureList(),
             QVector<QByteArray>({ "tools/toolsnodraw", "Brick/Wall01", "", "dev/dev_measure" }));

    QVERIFY(d->setBrushTextureList({ "a/b", "c" }));
    std::unique_ptr<QByteArray> text(d->getFileByIndex(43));
    QCOMPARE(*text, QByteArray("a/b\nc\n"));
    QVERIFY(!d->getNodeByIndex(44)->hasData);
    // The list itself is read from the file, not from pending data.
    QCOMPARE(d->getBrushTextureList().size(), 4);
}

void TestDelegateBSP::gameLumpOffsetsFollowTheDevice()
{
    const auto *d = static_cast<const CDelegateBSP *>(delegate());
    const quint32 lumpOffset
        = d->getLumpInfo(CDelegateBSP::Lump_GameLump, CDelegateBSP::LumpField_Offset);
    QByteArray out(100, '-');
    QBuffer buffer(&out);
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    QVERIFY(buffer.seek(100));
    QVERIFY(d->getPackageFileByIndex(&buffer, CDelegateBSP::Lump_GameLump));
    // Each offset is where the entry's data now lies in the device.
    for (int i = 0; i < 2; ++i) {
        const quint32 offset = qFromLittleEndian<quint32>(out.constData() + 100 + 4 + 16 * i + 8);
        const quint32 length = qFromLittleEndian<quint32>(out.constData() + 100 + 4 + 16 * i + 12);
        QCOMPARE(out.mid(offset, length), d->getGameLump(i).second);
        QVERIFY(offset > 100 && offset < lumpOffset);
    }
    QCOMPARE(out.size(), 100 + int(d->getPackageFileSizeByIndex(CDelegateBSP::Lump_GameLump)));

    QVERIFY(!d->getPackageFileByIndex(nullptr, 0));
    QCOMPARE(d->getLastError(), QStringLiteral("Request Error: NULL device"));
}

void TestDelegateBSP::signatureNoticeAtEntries313To315()
{
    BspFixture f = standardMap();
    f.pakfile.clear();
    for (int i = 0; i < 320; ++i)
        f.pakfile.append({ QStringLiteral("f/%1.txt").arg(i).toLatin1(), "x", {}, {}, 0 });
    CNotificationRecorder recorder;
    auto d = openMap(f, "many.bsp");
    QVERIFY(d);
    const QList<CNotifier::Entry> seen = recorder.entries();
    QCOMPARE(seen.size(), 3);
    qint64 previous = 0;
    for (const CNotifier::Entry &e : seen) {
        QCOMPARE(e.kind, CNotifier::Information);
        QCOMPARE(e.title, QStringLiteral("signature"));
        bool ok = false;
        const qint64 position = e.text.toLongLong(&ok);
        QVERIFY(ok);
        QVERIFY(position > previous);
        previous = position;
    }
    QCOMPARE(d->getPakfileEntryCount(), 320);
}

void TestDelegateBSP::hostilePakfiles_data()
{
    QTest::addColumn<QByteArray>("pak");
    QTest::addColumn<QString>("error");
    const QVector<FixturePakEntry> two
        = { { "a.txt", "aaa", {}, {}, 0 }, { "b/c.txt", "ccc", {}, {}, 0 } };
    const QByteArray good = BspFixture::zip(two, "c");

    QByteArray lyingCount = good;
    qToLittleEndian<quint16>(60000, lyingCount.data() + lyingCount.size() - 1 - 22 + 8);
    QByteArray badDisk = good;
    qToLittleEndian<quint16>(1, badDisk.data() + badDisk.size() - 1 - 22 + 6);
    QByteArray localBeyond = good;
    qToLittleEndian<quint32>(0x7fffffff, localBeyond.data() + good.size() - 1 - 22 - 46 - 7 + 42);
    QByteArray longComment = good;
    qToLittleEndian<quint16>(500, longComment.data() + longComment.size() - 1 - 2);
    QByteArray longName = good;
    qToLittleEndian<quint16>(60000, longName.data() + good.size() - 1 - 22 - 46 - 7 + 28);

    const QString unableCentral = "Read Error: Unable to locate next central directory entry";
    QTest::newRow("truncated end record")
        << good.left(good.size() - 10) << "File Error: Unable to locate end record of pakfile";
    QTest::newRow("no archive") << QByteArray(300, 'z')
                                << "File Error: Unable to locate end record of pakfile";
    QTest::newRow("count lies") << lyingCount << unableCentral;
    QTest::newRow("disks") << badDisk << "Read Error: Pakfile has invalid disk arrangement";
    QTest::newRow("local offset") << localBeyond << "Read Error: Seek Error";
    QTest::newRow("comment") << longComment << "Read Error: Read error";
    QTest::newRow("name") << longName << "Stream Error: Unable to read file name";
    QTest::newRow("dot dot") << BspFixture::zip({ { "a/../../x.txt", "x", {}, {}, 0 } }, {})
                             << "Delegate Error: Unable to create leaf at \"a/../../x.txt\"";
    QTest::newRow("case twins") << BspFixture::zip(
        { { "Textures/a.vtf", "1", {}, {}, 0 }, { "textures/A.VTF", "2", {}, {}, 0 } }, {})
                                << "Delegate Error: Unable to create leaf at \"textures/A.VTF\"";
    QTest::newRow("same twice") << BspFixture::zip(
        { { "x.txt", "1", {}, {}, 0 }, { "x.txt", "2", {}, {}, 0 } }, {})
                                << "Delegate Error: Unable to create leaf at \"x.txt\"";
    QTest::newRow("through a file")
        << BspFixture::zip({ { "x", "1", {}, {}, 0 }, { "x/y", "2", {}, {}, 0 } }, {})
        << "Delegate Error: Unable to create leaf at \"x/y\"";
}

void TestDelegateBSP::hostilePakfiles()
{
    QFETCH(QByteArray, pak);
    QFETCH(QString, error);
    BspFixture f = standardMap();
    f.withPakfile = false;
    f.lumps[40] = pak;
    QCOMPARE(openError(f, "hostile.bsp"), error);
}

void TestDelegateBSP::hostileGameLump_data()
{
    QTest::addColumn<int>("patch");
    QTest::addColumn<quint32>("value");
    QTest::addColumn<QString>("error");
    QTest::newRow("two billion entries") << 0 << 2000000000u << "Read Error: Incomplete read";
    QTest::newRow("negative count") << 0 << 0xFFFFFFF0u << "Read Error: Incomplete read";
    QTest::newRow("entry offset beyond") << 4 + 8 << 0x7FFFFFF0u << "Read Error: Seek Error";
    QTest::newRow("entry length beyond") << 4 + 12 << 0x10000000u << "Read Error: Incomplete read";
}

void TestDelegateBSP::hostileGameLump()
{
    QFETCH(int, patch);
    QFETCH(quint32, value);
    QFETCH(QString, error);
    BspFixture f = standardMap();
    QByteArray bytes = f.build();
    const BspReadBack r = BspReadBack::read(fixture());
    qToLittleEndian<quint32>(value, bytes.data() + r.lumps[35].offset + patch);
    const QString path = scratchDir() + "/hostile-game.bsp";
    QFile out(path);
    QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
    out.write(bytes);
    out.close();
    CDelegateBSP d;
    QVERIFY(!d.openPackage(path, true));
    QCOMPARE(d.getLastError(), error);

    // A lump table pointing past the end refuses the read, not the open.
    BspFixture g = standardMap();
    QByteArray far = g.build();
    qToLittleEndian<quint32>(0x7FFFFF00u, far.data() + 8 + 16 * 1);
    QFile out2(path);
    QVERIFY(out2.open(QIODevice::WriteOnly | QIODevice::Truncate));
    out2.write(far);
    out2.close();
    QVERIFY(d.openPackage(path, true));
    std::unique_ptr<QByteArray> planes(d.getFileByIndex(1));
    QVERIFY(!planes);
    QCOMPARE(d.getLastError(), QStringLiteral("Read Error: Seek error"));
}

void TestDelegateBSP::lenientNames()
{
    BspFixture f = standardMap();
    f.pakfile = { { "/abs/x.txt", "1", {}, {}, 0 },
                  { "", "skipped", {}, {}, 0 },
                  { "win\\dir\\y.txt", "2", {}, {}, 0 } };
    auto d = openMap(f, "lenient.bsp");
    QVERIFY(d);
    const CPackageHierarchyNode *root = d->getRootDirectoryNode();
    QVERIFY(root->getNodeByPath({ "abs", "x.txt" }, true));
    QVERIFY(root->getNodeByPath({ "win", "dir", "y.txt" }, true));
    // The nameless entry gets no table entry, and the entries stay in step.
    QCOMPARE(d->getNodeCount(), 66);
    QCOMPARE(d->getPakfileEntryCount(), 2);
    std::unique_ptr<QByteArray> y(d->getFileByPath("win/dir/y.txt"));
    QCOMPARE(*y, QByteArray("2"));
    QVERIFY(!d->isPackageFileAtIndex(66));
}

void TestDelegateBSP::corruptedMapsFailCleanly()
{
    // Random damage anywhere: every open and every read ends in a result.
    const QByteArray pristine = standardMap().build();
    QRandomGenerator random(20261121);
    const QString path = scratchDir() + "/damaged.bsp";
    CNotificationRecorder quiet;
    for (int round = 0; round < 300; ++round) {
        QByteArray bytes = pristine;
        const int hits = 1 + random.bounded(8);
        for (int i = 0; i < hits; ++i) {
            const int at = random.bounded(bytes.size());
            bytes[at] = char(random.bounded(256));
        }
        if (round % 10 == 0)
            bytes.truncate(random.bounded(bytes.size()));
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        out.write(bytes);
        out.close();
        CDelegateBSP d;
        if (!d.openPackage(path, true)) {
            QVERIFY(!d.getLastError().isEmpty() || d.isPackageOpen());
            continue;
        }
        for (int i = 0; i < d.getNodeCount(); ++i)
            delete d.getFileByIndex(i);
        d.getEntityKeyvalueList();
        d.getBrushTextureList();
        d.getGameLumpPropStatic();
    }
}

void TestDelegateBSP::flushUnchangedTwice_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("reordered");
    QTest::addColumn<int>("written");
    QTest::newRow("19") << 19 << false << 19;
    QTest::newRow("20") << 20 << false << 20;
    QTest::newRow("21 reordered") << 21 << true << 21;
    QTest::newRow("21 standard") << 21 << false << 22;
}

void TestDelegateBSP::flushUnchangedTwice()
{
    QFETCH(int, version);
    QFETCH(bool, reordered);
    QFETCH(int, written);
    BspFixture f = standardMap();
    f.version = version;
    f.reordered = reordered;
    const QString name = QStringLiteral("twice%1%2.bsp").arg(version).arg(reordered);
    auto d = openMap(f, name);
    QVERIFY(d);
    const QString path = d->getPackagePath();
    const BspReadBack before = BspReadBack::read(path, reordered);
    QVERIFY(before.error.isEmpty());

    for (int round = 0; round < 2; ++round) {
        std::unique_ptr<FlushSyncronizer> sync(d->flushAdvanced());
        QVERIFY2(d->flush(sync.get()), qPrintable(d->getLastError()));
        QVERIFY(sync->isFinished());
        QCOMPARE(sync->getTotal(), 64u + 2 * 3);
        QCOMPARE(sync->getProcessed(), sync->getTotal());
        QVERIFY(!QFile::exists(path + ".tmp"));
        QVERIFY(QFile::exists(path + ".backup"));

        const BspReadBack after = BspReadBack::read(path, reordered);
        QVERIFY2(after.error.isEmpty(), qPrintable(after.error));
        QCOMPARE(after.version, written);
        QCOMPARE(after.revision, before.revision);
        quint32 previous = 0;
        QList<int> order;
        for (int i = 0; i < 64; ++i) {
            if (i != 35 && i != 40)
                QCOMPARE(after.lumpBytes(i), before.lumpBytes(i));
            QCOMPARE(after.lumps[i].version, before.lumps[i].version);
            QCOMPARE(after.lumps[i].fourCC, before.lumps[i].fourCC);
            if (after.lumps[i].length)
                order << i;
        }
        std::sort(order.begin(), order.end(),
                  [&](int a, int b) { return after.lumps[a].offset < after.lumps[b].offset; });
        // The non-empty lumps keep their order, but the archive goes last.
        QCOMPARE(order.last(), 40);
        for (int i : order) {
            QVERIFY(after.lumps[i].offset >= previous);
            previous = after.lumps[i].offset + after.lumps[i].length;
        }
        QCOMPARE(qint64(previous), qint64(after.file.size()));
        QCOMPARE(after.gameLumps.size(), 2);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(after.gameLumps[i].data, before.gameLumps[i].data);
        QCOMPARE(after.entries.size(), before.entries.size());
        for (int i = 0; i < before.entries.size(); ++i) {
            QCOMPARE(after.entries[i].name, before.entries[i].name);
            QCOMPARE(after.entries[i].data, before.entries[i].data);
            QCOMPARE(after.entries[i].crc, BspFixture::crc32(before.entries[i].data));
            QCOMPARE(after.entries[i].method, before.entries[i].method);
        }
        QCOMPARE(after.comment, before.comment);
        QCOMPARE(d->getGameLumpPropStatic().size(), 2);
    }
    // What was written as 22 is refused on the next open, by design.
    CDelegateBSP again;
    QCOMPARE(again.openPackage(path, true), written != 22);
}

void TestDelegateBSP::flushLargerLumpKeepsGameLumpRight()
{
    auto d = openMap(standardMap(), "larger.bsp");
    QVERIFY(d);
    const QByteArray bigger = entitiesText.repeated(50);
    QVERIFY(d->setFileByPath(bigger, false, "lumps/Entities.lmp"));
    QVERIFY2(d->flush(nullptr), qPrintable(d->getLastError()));
    const BspReadBack r = BspReadBack::read(d->getPackagePath());
    QCOMPARE(r.lumpBytes(0), bigger);
    QCOMPARE(r.gameLumps.size(), 2);
    QCOMPARE(r.gameLumps[0].data, QByteArray("detail props"));
    QCOMPARE(r.gameLumps[1].data, staticProps({ "models/a.mdl", "  models/b.mdl  " }));
    QCOMPARE(d->getGameLump(0).second, QByteArray("detail props"));
    QCOMPARE(d->getEntityKeyvalueList().size(), 6 * 50);
    // The lump keeps its pending data for the next flush.
    QVERIFY(d->getNodeByIndex(0)->hasData);
}

void TestDelegateBSP::flushDeleteAndAdd()
{
    auto d = openMap(standardMap(), "delete-add.bsp");
    QVERIFY(d);
    CPackageHierarchyNode *gone
        = d->getRootDirectoryNode()->getNodeByPath({ "materials", "a.vmt" }, true);
    QVERIFY(d->fileMarkForDeletionByNode(gone));
    CPackageHierarchyNode *added = d->setFileByPath("new file", false, "scripts/new.txt");
    QVERIFY(added);
    QCOMPARE(added->index, 67);
    std::unique_ptr<FlushSyncronizer> sync(d->flushAdvanced());
    QVERIFY2(d->flush(sync.get()), qPrintable(d->getLastError()));

    const BspReadBack r = BspReadBack::read(d->getPackagePath());
    QCOMPARE(r.entries.size(), 3);
    QCOMPARE(r.entries[0].name, QByteArray("materials/Sub/b.vtf"));
    QCOMPARE(r.entries[1].name, QByteArray("readme.txt"));
    QCOMPARE(r.entries[2].name, QByteArray("scripts/new.txt"));
    // Unchanged entries are read by their place among those kept: after the
    // first is deleted, each takes the bytes of the one before it.
    QCOMPARE(r.entries[0].data, QByteArray("LightmappedGeneric { }"));
    QCOMPARE(r.entries[1].data, QByteArray(700, '\x05'));
    QCOMPARE(r.entries[2].data, QByteArray("new file"));
    QCOMPARE(r.entries[2].method, quint16(0));
    QCOMPARE(r.entries[0].method, quint16(8));

    QCOMPARE(d->getNodeCount(), 67);
    QVERIFY(!d->getRootDirectoryNode()->getNodeByPath({ "materials", "a.vmt" }));
    QCOMPARE(added->index, 66);
    QVERIFY(!added->hasData);
    QVERIFY(added->isDataInPackage());
    std::unique_ptr<QByteArray> back(d->getFileByNode(added));
    QCOMPARE(*back, QByteArray("new file"));
    QCOMPARE(d->getPakfileEntry(66)->first.fileName, QByteArray("scripts/new.txt"));
}

void TestDelegateBSP::flushWithoutEntries()
{
    BspFixture f = standardMap();
    f.pakfile = { { "only.txt", "1", {}, {}, 0 } };
    auto d = openMap(f, "no-entries.bsp");
    QVERIFY(d);
    QVERIFY(d->fileMarkForDeletionByPath("only.txt"));
    QVERIFY(d->flush(nullptr));
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Pakfile, CDelegateBSP::LumpField_Length), 22u + 13u);
    QCOMPARE(d->getPakfileEntryCount(), 0);
    const BspReadBack r = BspReadBack::read(d->getPackagePath());
    QCOMPARE(r.entries.size(), 0);
    QCOMPARE(r.comment, f.pakComment);
}

void TestDelegateBSP::flushMissingReferenceLeavesMap()
{
    auto d = openMap(standardMap(), "missing-ref.bsp");
    QVERIFY(d);
    const QString path = d->getPackagePath();
    const QByteArray original = fileBytes(path);
    const QString disk = scratchDir() + "/soon-gone.txt";
    {
        QFile f(disk);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("soon gone");
    }
    QVERIFY(d->fileAddFromDisk("docs/gone.txt", disk, false));
    QVERIFY(QFile::remove(disk));
    QFile::remove(path + ".backup");

    std::unique_ptr<FlushSyncronizer> sync(d->flushAdvanced());
    QVERIFY(!d->flush(sync.get()));
    const QString error
        = QStringLiteral("File Error: Unable to open \"%1\" referenced by \"gone.txt\"").arg(disk);
    QCOMPARE(d->getLastError(), error);
    QVERIFY(sync->isFailed());
    QCOMPARE(sync->getMessageErrorCount(), 1);
    QCOMPARE(sync->getMessages().at(0).first, error);
    QCOMPARE(fileBytes(path), original);
    QVERIFY(!QFile::exists(path + ".tmp"));
    QVERIFY(!QFile::exists(path + ".backup"));
    // Still usable: dropping the broken entry lets the flush through.
    QVERIFY(d->isPackageOpen());
    QVERIFY(!d->fileMarkForDeletionByPath("docs/gone.txt"));
    QVERIFY(d->flush(nullptr));
}

void TestDelegateBSP::flushIntoReadOnlyFolder()
{
    QDir(scratchDir()).mkdir("locked");
    const QString dir = scratchDir() + "/locked";
    auto d = openMap(standardMap(), "locked/map.bsp");
    QVERIFY(d);
    QFile::setPermissions(dir, QFile::ReadOwner | QFile::ExeOwner);
    QFile probe(dir + "/probe");
    const bool writable = probe.open(QIODevice::WriteOnly);
    if (writable) {
        probe.remove();
        QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QSKIP("this user can write into read-only folders");
    }
    const QByteArray original = fileBytes(d->getPackagePath());
    QVERIFY(!d->flush(nullptr));
    QCOMPARE(d->getLastError(), QStringLiteral("File Error: Unable to open temporary file"));
    QCOMPARE(fileBytes(d->getPackagePath()), original);
    QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void TestDelegateBSP::markedLumpIsEmptied()
{
    auto d = openMap(standardMap(), "marked-lump.bsp");
    QVERIFY(d);
    QVERIFY(d->fileMarkForDeletionByPath("lumps/Planes.lmp"));
    QVERIFY(d->flush(nullptr));
    QCOMPARE(d->getLumpInfo(CDelegateBSP::Lump_Planes, CDelegateBSP::LumpField_Length), 0u);
    // The mark stays on the lump.
    QVERIFY(d->getNodeByIndex(1)->markedForDeletion);
    std::unique_ptr<QByteArray> entities(d->getFileByIndex(0));
    QCOMPARE(*entities, entitiesText);
}

void TestDelegateBSP::readOnlyPackageComesBackWritable()
{
    // The flush leaves the read-only state to its callers.
    auto d = openMap(standardMap(), "read-only.bsp", true);
    QVERIFY(d);
    QVERIFY(d->isPackageReadOnly());
    QVERIFY(d->flush(nullptr));
    QVERIFY(d->isPackageOpen());
    QVERIFY(!d->isPackageReadOnly());
}

void TestDelegateBSP::pakfileAsZip()
{
    auto *d = static_cast<CDelegateBSP *>(delegate());
    QVERIFY(d->fileMarkForDeletionByPath("readme.txt"));
    QVERIFY(d->setFileByPath("changed", false, "materials/a.vmt"));
    QVERIFY(d->setFileByPath("extra", false, "added.txt"));

    QByteArray current;
    QBuffer out(&current);
    QVERIFY(out.open(QIODevice::WriteOnly));
    QVERIFY(d->writePakfileZip(&out, 40));
    QVector<ReadBackEntry> entries;
    QByteArray comment;
    QString error;
    QVERIFY2(BspReadBack::readZip(current, entries, comment, error), qPrintable(error));
    QCOMPARE(entries.size(), 3);
    QCOMPARE(entries[0].data, QByteArray("changed"));
    QCOMPARE(entries[1].data, QByteArray(700, '\x05'));
    QCOMPARE(entries[2].name, QByteArray("added.txt"));
    QVERIFY(comment.isEmpty());
    QCOMPARE(qFromLittleEndian<quint16>(current.constData() + current.size() - 2), quint16(0));

    QByteArray stored;
    QBuffer plain(&stored);
    QVERIFY(plain.open(QIODevice::WriteOnly));
    QVERIFY(d->writePakfileZip(&plain, 0));
    entries.clear();
    QVERIFY(BspReadBack::readZip(stored, entries, comment, error));
    QCOMPARE(entries.size(), 3);
    QCOMPARE(entries[0].data, QByteArray("LightmappedGeneric { }"));
    QCOMPARE(entries[2].name, QByteArray("readme.txt"));
    QCOMPARE(comment, QByteArray("map comment\0\0", 13));

    QVERIFY(!d->writePakfileZip(nullptr, 0));
    QCOMPARE(d->getLastError(), QStringLiteral("Request Error: NULL device"));
}

void TestDelegateBSP::samplesOpenAndSurviveFlush()
{
    ZIRK_REQUIRE_SAMPLES(samples);
    const QDir dir(samples + "/bsp");
    const QStringList maps = dir.entryList({ "*.bsp" }, QDir::Files, QDir::Name);
    QVERIFY(!maps.isEmpty());
    CNotificationRecorder recorder;
    for (const QString &name : maps) {
        const QString copy = scratchDir() + "/sample-" + name;
        QFile::remove(copy);
        QVERIFY(QFile::copy(dir.filePath(name), copy));
        QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
        CDelegateBSP d;
        const bool opened = d.openPackage(copy, false);
        if (name.contains("x360")) {
            QVERIFY(!opened);
            QCOMPARE(d.getLastError(), QStringLiteral("File Error: Magic number mismatch"));
            continue;
        }
        if (name.contains("momentum")) {
            QVERIFY(!opened);
            QCOMPARE(d.getLastError(), QStringLiteral("Delegate Error: File format too new"));
            continue;
        }
        QVERIFY2(opened, qPrintable(name + ": " + d.getLastError()));
        const bool reordered = d.getInternalVersion() == 21;
        const BspReadBack before = BspReadBack::read(copy, reordered);
        QVERIFY2(before.error.isEmpty(), qPrintable(name + ": " + before.error));
        QCOMPARE(d.getPakfileEntryCount(), before.entries.size());
        for (int i = 0; i < before.entries.size(); ++i) {
            std::unique_ptr<QByteArray> bytes(d.getFileByIndex(64 + i));
            QVERIFY(bytes);
            QCOMPARE(*bytes, before.entries[i].data);
        }
        QVERIFY2(d.flush(nullptr), qPrintable(name + ": " + d.getLastError()));
        const BspReadBack after = BspReadBack::read(copy, reordered);
        QVERIFY2(after.error.isEmpty(), qPrintable(name + ": " + after.error));
        for (int i = 0; i < 64; ++i) {
            if (i != 35 && i != 40)
                QVERIFY2(after.lumpBytes(i) == before.lumpBytes(i),
                         qPrintable(QStringLiteral("%1 lump %2").arg(name).arg(i)));
        }
        QCOMPARE(after.gameLumps.size(), before.gameLumps.size());
        for (int i = 0; i < before.gameLumps.size(); ++i)
            QVERIFY2(after.gameLumps[i].data == before.gameLumps[i].data,
                     qPrintable(QStringLiteral("%1 game lump %2").arg(name).arg(i)));
        QCOMPARE(after.entries.size(), before.entries.size());
        for (int i = 0; i < before.entries.size(); ++i) {
            QCOMPARE(after.entries[i].data, before.entries[i].data);
            QCOMPARE(after.entries[i].method, before.entries[i].method);
        }
        QCOMPARE(after.comment, before.comment);
        QFile::remove(copy);
        QFile::remove(copy + ".backup");
    }
}

void TestDelegateBSP::negativeSamplesAreRefused()
{
    ZIRK_REQUIRE_SAMPLES(samples);
    const QDir dir(samples + "/bsp_negative");
    const QStringList files = dir.entryList(QDir::Files, QDir::Name);
    QVERIFY(!files.isEmpty());
    for (const QString &name : files) {
        CDelegateBSP d;
        QVERIFY2(!d.openPackage(dir.filePath(name), true), qPrintable(name));
        QVERIFY2(d.getLastError() == "File Error: Magic number mismatch"
                     || d.getLastError() == "File Error: File smaller than header",
                 qPrintable(name + ": " + d.getLastError()));
    }
}

QTEST_GUILESS_MAIN(TestDelegateBSP)
#include "tst_bsp.moc"
