#include "../packages/BspFixture.h"
#include "MaterialsTestSupport.h"
#include "ZirkTest.h"
#include "materials/CPakfileTool.h"
#include "packages/CDelegateBSP.h"
#include "packages/FlushSyncronizer.h"

#include <QTemporaryDir>

#include <memory>

namespace {

FixturePakEntry packed(const QByteArray &name, const QByteArray &data)
{
    FixturePakEntry entry;
    entry.name = name;
    entry.data = data;
    return entry;
}

// A map with a few packed files, on disk and open.
struct MapFixture
{
    explicit MapFixture(const QVector<FixturePakEntry> &entries
                        = { packed("materials/a.vmt", "aaaa"), packed("materials/b.vmt", "bb"),
                            packed("models/c.mdl", "cccccc") })
    {
        map.pakfile = entries;
    }
    [[nodiscard]] bool open()
    {
        path = dir.filePath(QStringLiteral("test.bsp"));
        if (!map.write(path))
            return false;
        bsp = std::make_unique<CDelegateBSP>();
        return bsp->openPackage(path, false);
    }
    CPackageHierarchyNode *node(const QString &path) const
    {
        return bsp->getRootDirectoryNode()->getNodeByPath(IPackageDelegate::splitPackagePath(path));
    }

    QTemporaryDir dir;
    BspFixture map;
    QString path;
    std::unique_ptr<CDelegateBSP> bsp;
};

} // namespace

class TestMaterialsPakfile : public QObject
{
    Q_OBJECT

private slots:
    void typeForExtension_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("type");
        QTest::newRow("vmt") << "vmt"
                             << "Material";
        QTest::newRow("spr") << "spr"
                             << "Material";
        QTest::newRow("hdr") << "hdr.vtf"
                             << "Texture (HDR)";
        QTest::newRow("xbox") << "xbox.vtx"
                              << "Mesh (XBox)";
        QTest::newRow("vtx") << "vtx"
                             << "Mesh";
        QTest::newRow("dx90") << "dx90.vtx"
                              << "Mesh (DX9)";
        QTest::newRow("mp3") << "mp3"
                             << "Sound";
        QTest::newRow("ain") << "ain"
                             << "Nodegraph";
        QTest::newRow("case counts") << "VMT"
                                     << "Other";
        QTest::newRow("nothing") << ""
                                 << "Other";
    }

    void typeForExtension()
    {
        QFETCH(QString, extension);
        QTEST(CPakfileTool::typeForExtension(extension), "type");
    }

    void statistics()
    {
        const auto rows = CPakfileTool::statistics(
            { "Material", "Material", "Mesh (XBox)", "Cache", "Navigation Mesh", "Texture" });
        QCOMPARE(rows.first().first, QStringLiteral("Material:"));
        QCOMPARE(rows.first().second, 2);
        QCOMPARE(rows.size(), 20);
        QCOMPARE(rows.at(18).first, QStringLiteral("Other:"));
        QCOMPARE(rows.at(18).second, 2);
        QCOMPARE(rows.at(11).first, QStringLiteral("Mesh (XBox):"));
        QCOMPARE(rows.at(11).second, 1);
        QCOMPARE(rows.last().first, QStringLiteral("Total:"));
        QCOMPARE(rows.last().second, 6);
    }

    void addFiles()
    {
        MapFixture fixture;
        QVERIFY(fixture.open());
        const QString source = fixture.dir.filePath(QStringLiteral("disk/"));
        writeFile(source + "a.vmt", "new a");
        writeFile(source + "b.vmt", "new b");
        writeFile(source + "new.vmt", "brand new");
        QStringList asked;
        CPakfileTool::Answer_t answer = CPakfileTool::No;
        const auto overwrite = [&](const QString &path) {
            asked.append(path);
            return answer;
        };
        // "No" keeps the package's file; the new one goes in under the joined path.
        auto result = CPakfileTool::addFiles(
            *fixture.bsp, { source + "a.vmt", source + "new.vmt", source + "missing.vmt" },
            QStringLiteral("\\materials//"), overwrite);
        QCOMPARE(asked, QStringList { "materials/a.vmt" });
        QCOMPARE(result.added.size(), 1);
        QCOMPARE(result.added.first()->getPath(true), QStringLiteral("materials/new.vmt"));
        QVERIFY(result.changed.isEmpty());
        QCOMPARE(result.log,
                 QStringList { "File Error: Unable to open \"" + source + "missing.vmt\"" });
        QCOMPARE(CPakfileTool::nodeState(fixture.node("materials/new.vmt")), CPakfileTool::New);

        // "Yes to All" is asked once and holds for the rest of the run.
        asked.clear();
        answer = CPakfileTool::YesToAll;
        result = CPakfileTool::addFiles(*fixture.bsp, { source + "a.vmt", source + "b.vmt" },
                                        QStringLiteral("materials"), overwrite);
        QCOMPARE(asked.size(), 1);
        QCOMPARE(result.changed.size(), 2);
        QCOMPARE(CPakfileTool::nodeState(fixture.node("materials/b.vmt")), CPakfileTool::Modified);

        // Cancel ends the run; a directory is no place for a file.
        answer = CPakfileTool::Cancel;
        result = CPakfileTool::addFiles(*fixture.bsp, { source + "a.vmt", source + "b.vmt" },
                                        QStringLiteral("materials"), overwrite);
        QVERIFY(result.canceled);
        writeFile(source + "materials", "not a directory");
        result
            = CPakfileTool::addFiles(*fixture.bsp, { source + "materials" }, QString(), overwrite);
        QCOMPARE(result.log, QStringList { "Delegate Error: Target node is not leaf" });
    }

    void toggleDeletion()
    {
        MapFixture fixture;
        QVERIFY(fixture.open());
        CPackageHierarchyNode *packedNode = fixture.node("materials/a.vmt");
        QVERIFY(!CPakfileTool::toggleDeletion(*fixture.bsp, packedNode));
        QCOMPARE(CPakfileTool::nodeState(packedNode), CPakfileTool::Deleted);
        QCOMPARE(CPakfileTool::stateColour(CPakfileTool::Deleted), QColor(255, 192, 192));
        QVERIFY(!CPakfileTool::toggleDeletion(*fixture.bsp, packedNode));
        QCOMPARE(CPakfileTool::nodeState(packedNode), CPakfileTool::Untouched);
        writeFile(fixture.dir.filePath("n.txt"), "n");
        CPackageHierarchyNode *added
            = fixture.bsp->fileAddFromDisk("n.txt", fixture.dir.filePath("n.txt"), false);
        QVERIFY(added);
        QVERIFY(CPakfileTool::toggleDeletion(*fixture.bsp, added));
        QVERIFY(!fixture.node("n.txt"));
    }

    void saveFiles()
    {
        MapFixture fixture;
        QVERIFY(fixture.open());
        const QString source = fixture.dir.filePath(QStringLiteral("pending.vmt"));
        writeFile(source, "pending");
        QVERIFY(fixture.bsp->fileAddFromDisk("materials/a.vmt", source, true));
        QVERIFY(fixture.bsp->fileAddFromDisk("materials/b.vmt", source, true));
        const QString out = fixture.dir.filePath(QStringLiteral("out"));
        QDir().mkpath(out);
        QVector<CPakfileTool::SaveItem_t> items {
            { fixture.node("materials/a.vmt"), "/materials" },
            { fixture.node("materials/b.vmt"), "/materials" },
            { fixture.node("models/c.mdl"), "/models" },
        };
        int modifiedAsked = 0;
        CPakfileTool::SaveQuestions_t questions;
        questions.modified = [&](const QString &) {
            // The first gets its pending data, and "No to All" the original for the rest.
            return ++modifiedAsked == 1 ? CPakfileTool::Yes : CPakfileTool::NoToAll;
        };
        QStringList log = CPakfileTool::saveFiles(*fixture.bsp, items, out, true, questions);
        QVERIFY2(log.isEmpty(), qPrintable(log.join('\n')));
        QCOMPARE(modifiedAsked, 2);
        QCOMPARE(readFile(out + "/materials/a.vmt"), QByteArray("pending"));
        QCOMPARE(readFile(out + "/materials/b.vmt"), QByteArray("bb"));
        QCOMPARE(readFile(out + "/models/c.mdl"), QByteArray("cccccc"));

        // Flat, with a file in the way: "No" skips it, "Yes" replaces.
        writeFile(out + "/c.mdl", "keep");
        QStringList overwriteAsked;
        questions.modified = {};
        questions.overwrite = [&](const QString &name) {
            overwriteAsked.append(name);
            return CPakfileTool::No;
        };
        log = CPakfileTool::saveFiles(*fixture.bsp, { items.at(2) }, out + "/", false, questions);
        QCOMPARE(overwriteAsked, QStringList { "c.mdl" });
        QCOMPARE(readFile(out + "/c.mdl"), QByteArray("keep"));
        questions.overwrite = [](const QString &) { return CPakfileTool::Yes; };
        log = CPakfileTool::saveFiles(*fixture.bsp, { items.at(2) }, out, false, questions);
        QCOMPARE(readFile(out + "/c.mdl"), QByteArray("cccccc"));
    }

    void exportZip_data()
    {
        QTest::addColumn<QVector<FixturePakEntry>>("entries");
        QTest::addColumn<QByteArray>("oldComment");
        QTest::addColumn<QByteArray>("comment");
        QTest::newRow("empty pakfile") << QVector<FixturePakEntry>() << QByteArray()
                                       << QByteArray("Pakfile extracted from test.bsp");
        QTest::newRow("old comment")
            << QVector<FixturePakEntry> { packed("a.txt", "a") } << QByteArray("made by hand")
            << QByteArray("Pakfile extracted from test.bsp with previous comment \"made by hand\"");
        QTest::newRow("old comment too long") << QVector<FixturePakEntry> { packed("a.txt", "a") }
                                              << QByteArray(65535, 'c') << QByteArray();
    }

    void exportZip()
    {
        QFETCH(QVector<FixturePakEntry>, entries);
        QFETCH(QByteArray, oldComment);
        MapFixture fixture(entries);
        fixture.map.pakComment = oldComment;
        QVERIFY(fixture.open());
        const QString zipPath = fixture.dir.filePath(QStringLiteral("out.zip"));
        QString error;
        const CPakfileTool::ExportResult_t result
            = CPakfileTool::exportZip(*fixture.bsp, zipPath, error);
        QFETCH(QByteArray, comment);
        QCOMPARE(result,
                 comment.isEmpty() ? CPakfileTool::ExportedCommentTooLong : CPakfileTool::Exported);
        if (comment.isEmpty())
            QCOMPARE(error,
                     QStringLiteral("Unable to write modified ZIP comment; old comment too long"));
        QVector<ReadBackEntry> read;
        QByteArray readComment;
        QString readError;
        QVERIFY2(BspReadBack::readZip(readFile(zipPath), read, readComment, readError),
                 qPrintable(readError));
        QCOMPARE(readComment, comment);
        QCOMPARE(read.size(), entries.size());
    }

    void exportFailureLeavesNoFile()
    {
        MapFixture fixture;
        QVERIFY(fixture.open());
        QString error;
        const QString zipPath = fixture.dir.filePath(QStringLiteral("no/such/dir/out.zip"));
        QCOMPARE(CPakfileTool::exportZip(*fixture.bsp, zipPath, error), CPakfileTool::ExportFailed);
        QVERIFY(!error.isEmpty());
        QVERIFY(!QFile::exists(zipPath));
    }

    // The flush takes an unchanged entry's bytes by its place among the kept entries: after a
    // deletion the entries behind it come out with earlier bytes, and the save says so.
    void saveAfterDeletionNamesShiftedEntries()
    {
        MapFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(fixture.bsp->fileMarkForDeletionByNode(fixture.node("materials/a.vmt")));
        const std::unique_ptr<FlushSyncronizer> sync(fixture.bsp->flushAdvanced());
        QStringList warnings;
        QVERIFY(CPakfileTool::save(*fixture.bsp, sync.get(), warnings));
        const QString backup = fixture.path + ".backup";
        QCOMPARE(warnings,
                 (QStringList {
                     "Delegate Error: The save gave \"materials/b.vmt\" the bytes of another "
                     "entry; its own bytes are in the original map \""
                         + backup + "\"",
                     "Delegate Error: The save gave \"models/c.mdl\" the bytes of another entry; "
                     "its own bytes are in the original map \""
                         + backup + "\"" }));
        const BspReadBack back = BspReadBack::read(fixture.path);
        QCOMPARE(back.entries.at(0).data, QByteArray("aaaa")); // as the flush has it

        // Without a deletion there is nothing to say.
        warnings.clear();
        QVERIFY(CPakfileTool::save(*fixture.bsp, nullptr, warnings));
        QVERIFY(warnings.isEmpty());
    }

    void saveOfAStandardOrderVersion21Map()
    {
        MapFixture fixture;
        fixture.map.version = 21;
        QVERIFY(fixture.open());
        QCOMPARE(fixture.bsp->getInternalVersion(), 22);
        QStringList warnings;
        QVERIFY(CPakfileTool::save(*fixture.bsp, nullptr, warnings));
        QCOMPARE(warnings,
                 QStringList { "Delegate Error: The saved map will not open again (Delegate "
                               "Error: File format too new); the original map is \""
                               + fixture.path + ".backup\"" });
        CDelegateBSP original;
        QVERIFY(original.openPackage(fixture.path + ".backup", true));
    }
};

QTEST_GUILESS_MAIN(TestMaterialsPakfile)
#include "tst_materials_pakfile.moc"
