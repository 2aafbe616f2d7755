#include "ArchiveFixtures.h"
#include "PackageDelegateTest.h"
#include "ZirkTest.h"

#include "packages/CDelegateVPK.h"
#include "packages/CPackageHierarchyNode.h"
#include "packages/FlushSyncronizer.h"

#include <QBuffer>
#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>

using fixtures::VpkBuilder;

class tst_packages_vpk : public PackageDelegateTest
{
    Q_OBJECT

protected:
    IPackageDelegate *createDelegate() const override { return new CDelegateVPK(); }

    QMap<QString, QByteArray> fixtureFiles() const override
    {
        return { { QStringLiteral("materials/brick/wall.vmt"), "\"LightmappedGeneric\" {}" },
                 { QStringLiteral("materials/brick/wall.vtf"), QByteArray(3000, 'v') },
                 { QStringLiteral("sound/a.wav"), "preloaded and archived" },
                 { QStringLiteral("docs/readme.txt"), "in the directory file" } };
    }

    QString buildFixture(const QString &) override
    {
        VpkBuilder builder;
        const QMap<QString, QByteArray> files = fixtureFiles();
        builder.add(QStringLiteral("materials/brick/wall.vmt"),
                    files.value(QStringLiteral("materials/brick/wall.vmt")), 0);
        builder.add(QStringLiteral("materials/brick/wall.vtf"),
                    files.value(QStringLiteral("materials/brick/wall.vtf")), 2);
        builder.add(QStringLiteral("sound/a.wav"), files.value(QStringLiteral("sound/a.wav")), 2,
                    9);
        builder.add(QStringLiteral("docs/readme.txt"),
                    files.value(QStringLiteral("docs/readme.txt")));
        return write(builder, QStringLiteral("pak01_dir.vpk"));
    }

    int expectedPackageType() const override { return 4; }

private:
    QTemporaryDir temp;

    // Writes the directory and its numbered archives under the base name.
    QString write(VpkBuilder &builder, const QString &fileName, bool header = true)
    {
        const QString path = temp.filePath(fileName);
        fixtures::writeFile(path, builder.build(header));
        const int marker = fileName.lastIndexOf(QLatin1String("_dir.vpk"), -1, Qt::CaseInsensitive);
        const QMap<quint16, QByteArray> archives = builder.archives();
        for (auto it = archives.begin(); it != archives.end(); ++it) {
            const QString base = marker >= 0 ? fileName.left(marker) : fileName;
            fixtures::writeFile(
                temp.filePath(base
                              + QStringLiteral("_%1.vpk").arg(it.key(), 3, 10, QLatin1Char('0'))),
                it.value());
        }
        return path;
    }

    // Names, kinds, entry numbers and child order of a whole tree, with the
    // lookups by name of every child.
    static QString describe(const CPackageHierarchyNode *node)
    {
        QString out = node->getName();
        if (node->isLeaf())
            return out + QLatin1Char('=') + QString::number(node->index);
        out += QLatin1Char('{');
        for (unsigned int c = 0; c < node->getChildCount(); ++c) {
            const CPackageHierarchyNode *child = node->getNodeByIndex(c);
            if (node->getNodeByString(child->getName().toUpper()) != child)
                out += QLatin1String("<lookup fails>");
            out += describe(child) + QLatin1Char(',');
        }
        return out + QLatin1Char('}');
    }

    static QByteArray read(const CDelegateVPK &vpk, const QString &path)
    {
        QByteArray *data = vpk.getFileByPath(path);
        if (!data)
            return QByteArray("<failed: ") + vpk.getLastError().toLatin1() + ">";
        const QByteArray copy = *data;
        delete data;
        return copy;
    }

private slots:
    void numberedArchivesAreFoundBesideTheDirectory()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("materials/a.vmt"), "seven", 7);
        builder.add(QStringLiteral("materials/b.vmt"), "one two three", 123);
        builder.add(QStringLiteral("materials/c.vmt"), "in the directory");
        const QString path = write(builder, QStringLiteral("pak01_dir.vpk"));
        QVERIFY(QFile::exists(temp.filePath(QStringLiteral("pak01_007.vpk"))));
        QVERIFY(QFile::exists(temp.filePath(QStringLiteral("pak01_123.vpk"))));

        CDelegateVPK vpk;
        QVERIFY2(vpk.openPackage(path, false), qPrintable(vpk.getLastError()));
        QCOMPARE(vpk.getPackageType(), 4);
        QCOMPARE(read(vpk, QStringLiteral("materials/a.vmt")), QByteArray("seven"));
        QCOMPARE(read(vpk, QStringLiteral("MATERIALS\\B.VMT")), QByteArray("one two three"));
        QCOMPARE(read(vpk, QStringLiteral("materials/c.vmt")), QByteArray("in the directory"));
        // Reading from an archive does not change what the package is.
        QCOMPARE(vpk.getPackagePath(), path);
        QCOMPARE(vpk.getArchiveName(7), temp.filePath(QStringLiteral("pak01_007.vpk")));
        QCOMPARE(vpk.getArchiveName(1234), temp.filePath(QStringLiteral("pak01_1234.vpk")));
    }

    void singleFileReadsWithoutArchiveNames()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("scripts/x.txt"), "behind the tree");
        builder.add(QStringLiteral("scripts/y.txt"), "needs an archive", 0);
        const QString path = write(builder, QStringLiteral("single.vpk"));
        CDelegateVPK vpk;
        QVERIFY2(vpk.openPackage(path, true), qPrintable(vpk.getLastError()));
        QCOMPARE(read(vpk, QStringLiteral("scripts/x.txt")), QByteArray("behind the tree"));
        QVERIFY(!vpk.getFileByPath(QStringLiteral("scripts/y.txt")));
        QCOMPARE(
            vpk.getLastError(),
            QStringLiteral("Request Error: File name not compatible with archive segmentation"));
    }

    void fileWithoutSignatureParsesFromTheStart()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("a/b.txt"), "headerless");
        const QString path = write(builder, QStringLiteral("bare.vpk"), false);
        CDelegateVPK vpk;
        QVERIFY2(vpk.openPackage(path, true), qPrintable(vpk.getLastError()));
        QVERIFY(!vpk.hasHeader());
        QCOMPARE(vpk.getTreeSize(), 0u);
        QCOMPARE(read(vpk, QStringLiteral("a/b.txt")), QByteArray("headerless"));
    }

    void blankPathIsADirectoryOfThatName()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("top.txt"), "at the root");
        const QString path = write(builder, QStringLiteral("blank.vpk"));
        CDelegateVPK vpk;
        QVERIFY2(vpk.openPackage(path, true), qPrintable(vpk.getLastError()));
        CPackageHierarchyNode *root = vpk.getRootDirectoryNode();
        QVERIFY(root);
        CPackageHierarchyNode *blank = root->getNodeByString(QStringLiteral(" "));
        QVERIFY(blank);
        QVERIFY(blank->isBranch());
        QVERIFY(blank->getNodeByString(QStringLiteral("top.txt")));
        QCOMPARE(read(vpk, QStringLiteral(" /top.txt")), QByteArray("at the root"));
    }

    void preloadOnlyEntriesNeedNoArchive()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("p/whole.bin"), "all of it preloaded", 5, 19);
        builder.add(QStringLiteral("p/split.bin"), "preloadREST", 0x7FFF, 7);
        const QString path = write(builder, QStringLiteral("preload_dir.vpk"));
        QFile::remove(temp.filePath(QStringLiteral("preload_005.vpk")));
        CDelegateVPK vpk;
        QVERIFY2(vpk.openPackage(path, true), qPrintable(vpk.getLastError()));
        QCOMPARE(read(vpk, QStringLiteral("p/whole.bin")), QByteArray("all of it preloaded"));
        QCOMPARE(read(vpk, QStringLiteral("p/split.bin")), QByteArray("preloadREST"));
        QCOMPARE(vpk.getFileSizeByPath(QStringLiteral("p/split.bin")), 11u);
    }

    void collidingPathsFailTheOpening_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("same file") << "Dir/File.txt"
                                   << "dir/FILE.TXT";
        QTest::newRow("file over directory") << "a/b.c/x.txt"
                                             << "A/B.c";
        QTest::newRow("directory under file") << "a/b.txt"
                                              << "a/B.TXT/c.txt";
    }

    void collidingPathsFailTheOpening()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        VpkBuilder builder;
        builder.add(first, "one");
        const int dot = second.lastIndexOf('.');
        const int slash = second.lastIndexOf('/');
        builder.addRaw(second.mid(dot + 1), second.left(slash),
                       second.mid(slash + 1, dot - slash - 1), "two");
        const QString path = write(builder, QStringLiteral("collide.vpk"));
        CDelegateVPK vpk;
        QVERIFY(!vpk.openPackage(path, true));
        QCOMPARE(vpk.getLastError(), QStringLiteral("File Error: Malformed directory structure"));
        QVERIFY(!vpk.getRootDirectoryNode());
    }

    // The tree is built by a fast path (files straight into their directory,
    // names checked at the end); it must come out exactly as the plain rule
    // makes it: each record's path and name split and walked in order.
    void treeMatchesRecordByRecordBuild()
    {
        const QStringList directories { "a", "A", "a/b", "a\\b", "a/B", " ", "x/y", "a/f" };
        const QStringList bases { "f", "F", "g", "b", "x", "s/t", "h" };
        const QStringList extensions { "txt", "TXT", "c", "b.c", "d/e" };
        QRandomGenerator random(77);
        int opened = 0, refused = 0;
        for (int round = 0; round < 400; ++round) {
            VpkBuilder builder;
            const int files = 1 + int(random.bounded(7));
            for (int f = 0; f < files; ++f)
                builder.addRaw(extensions.at(int(random.bounded(extensions.size()))),
                               directories.at(int(random.bounded(directories.size()))),
                               bases.at(int(random.bounded(bases.size()))), "x");
            const QString path = write(builder, QStringLiteral("random.vpk"));

            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            CVPKDirectory directory;
            QString error;
            QVERIFY(directory.read(file, error));
            CPackageHierarchyNode expected(QStringLiteral("root"));
            expected.makeNode();
            bool ok = true;
            for (int i = 0; ok && i < directory.entries.size(); ++i) {
                QString full = directory.entryPath(i);
                if (!full.isEmpty())
                    full += QLatin1Char('/');
                full += directory.entryName(i);
                CPackageHierarchyNode *leaf
                    = expected.getNewNodeByPath(IPackageDelegate::splitPackagePath(full), true);
                ok = leaf && leaf->index == -1;
                if (ok)
                    leaf->index = i;
            }

            CDelegateVPK vpk;
            QCOMPARE(vpk.openPackage(path, true), ok);
            if (!ok) {
                ++refused;
                continue;
            }
            ++opened;
            QCOMPARE(describe(vpk.getRootDirectoryNode()), describe(&expected));
            for (int i = 0; i < vpk.getNodeCount(); ++i)
                QCOMPARE(vpk.getNodeByIndex(unsigned(i))->index, i);
            QCOMPARE(vpk.getRootDirectoryNode()->getSubLeafCount(), expected.getSubLeafCount());
            QCOMPARE(vpk.getRootDirectoryNode()->getSubNodeCount(), expected.getSubNodeCount());
        }
        QVERIFY(opened > 20 && refused > 20);
    }

    void hostileDirectoriesFailInOrder_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        VpkBuilder builder;
        builder.add(QStringLiteral("d/f.txt"), "0123456789", 0x7FFF, 4);
        const QByteArray good = builder.build();
        // Cut before the closing empty strings: the tree never ends.
        QTest::newRow("unterminated tree")
            << good.left(good.size() - 9) << "Read Error: Incomplete read";
        QTest::newRow("cut in a record") << good.left(12 + 12) << "Read Error: Incomplete read";
        QByteArray preload = good;
        // The preload count sits 4 bytes into the record after "txt\0d\0f\0".
        const int record = 12 + 4 + 2 + 2;
        preload[record + 4] = char(0xFF);
        preload[record + 5] = char(0xFF);
        QTest::newRow("preload past the end") << preload << "Read Error: Incomplete read";
        QTest::newRow("empty file") << QByteArray() << "Read Error: Incomplete read";
        QTest::newRow("no strings at all") << QByteArray(64, 'x') << "Read Error: Incomplete read";
    }

    void hostileDirectoriesFailInOrder()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, error);
        const QString path = temp.filePath(QStringLiteral("hostile.vpk"));
        QVERIFY(fixtures::writeFile(path, bytes));
        CDelegateVPK vpk;
        QVERIFY(!vpk.openPackage(path, true));
        QCOMPARE(vpk.getLastError(), error);
    }

    void dataOutsideTheArchiveIsRefused_data()
    {
        QTest::addColumn<quint32>("offset");
        QTest::addColumn<quint32>("length");
        QTest::addColumn<QString>("error");
        QTest::newRow("offset past the end") << 0xFFFFFF00u << 4u << "Stream Error: Seek error";
        QTest::newRow("length past the end")
            << 0u << 0xFFFFFFF0u << "Stream Error: Incomplete read";
    }

    void dataOutsideTheArchiveIsRefused()
    {
        QFETCH(quint32, offset);
        QFETCH(quint32, length);
        QFETCH(QString, error);
        VpkBuilder builder;
        builder.add(QStringLiteral("d/f.txt"), "short", 1);
        builder.build();
        builder.files[0].offset = offset;
        builder.files[0].length = length;
        // Rebuild the tree with the forged numbers by hand.
        QByteArray tree;
        fixtures::putCString(tree, QStringLiteral("txt"));
        fixtures::putCString(tree, QStringLiteral("d"));
        fixtures::putCString(tree, QStringLiteral("f"));
        fixtures::putU32(tree, 0);
        fixtures::putU16(tree, 0);
        fixtures::putU16(tree, 1);
        fixtures::putU32(tree, offset);
        fixtures::putU32(tree, length);
        fixtures::putU16(tree, 0xFFFF);
        tree.append(QByteArray(3, '\0'));
        QByteArray dir;
        fixtures::putU32(dir, 0x55AA1234);
        fixtures::putU32(dir, 1);
        fixtures::putU32(dir, quint32(tree.size()));
        dir.append(tree);
        QVERIFY(fixtures::writeFile(temp.filePath(QStringLiteral("far_dir.vpk")), dir));
        QVERIFY(fixtures::writeFile(temp.filePath(QStringLiteral("far_001.vpk")), "short"));
        CDelegateVPK vpk;
        QVERIFY2(vpk.openPackage(temp.filePath(QStringLiteral("far_dir.vpk")), true),
                 qPrintable(vpk.getLastError()));
        QVERIFY(!vpk.getFileByPath(QStringLiteral("d/f.txt")));
        QCOMPARE(vpk.getLastError(), error);
    }

    void missingArchiveAndFlushAreReported()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("d/f.txt"), "gone", 9);
        const QString path = write(builder, QStringLiteral("missing_dir.vpk"));
        QFile::remove(temp.filePath(QStringLiteral("missing_009.vpk")));
        CDelegateVPK vpk;
        QVERIFY(vpk.openPackage(path, true));
        QVERIFY(!vpk.getFileByPath(QStringLiteral("d/f.txt")));
        QCOMPARE(vpk.getLastError(), QStringLiteral("File Error: Package does not exist"));
        QCOMPARE(vpk.getPackageFileSizeByIndex(0), 4u);
        QCOMPARE(vpk.getPackageFileSizeByIndex(1), 0u);

        FlushSyncronizer *sync = vpk.flushAdvanced();
        QVERIFY(!vpk.flush(sync));
        QCOMPARE(vpk.getLastError(), QStringLiteral("Delegate Error: No logic for flush()"));
        QVERIFY(sync->isFailed());
        delete sync;

        CDelegateVPK unopened;
        QVERIFY(!unopened.openPackage(QString(), true));
        QCOMPARE(unopened.getLastError(), QStringLiteral("Request Error: Invalid file path"));
        QVERIFY(!unopened.openPackage(temp.filePath(QStringLiteral("nothing.vpk")), true));
        QCOMPARE(unopened.getLastError(), QStringLiteral("File Error: Unable to open"));
    }

    void corruptedDirectoriesNeverCrash()
    {
        VpkBuilder builder;
        builder.add(QStringLiteral("a/b/c.txt"), "first file", 0x7FFF, 3);
        builder.add(QStringLiteral("a/d.vmt"), "second", 1);
        builder.add(QStringLiteral("e/f.vtf"), QByteArray(200, 'f'));
        const QString path = write(builder, QStringLiteral("mutant_dir.vpk"));
        const QByteArray original = builder.build();
        int opened = 0;
        for (const QByteArray &bytes : fixtures::mutations(original, 400, 4)) {
            QVERIFY(fixtures::writeFile(path, bytes));
            CDelegateVPK vpk;
            if (!vpk.openPackage(path, true)) {
                QVERIFY(!vpk.getLastError().isEmpty());
                continue;
            }
            ++opened;
            for (int i = 0; i < vpk.getNodeCount(); ++i)
                delete vpk.getFileByIndex(unsigned(i));
        }
        QVERIFY(opened > 0);
    }

    void everySampleOpensOrFailsCleanly()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        const QDir dir(samples + QStringLiteral("/vpk"));
        const QStringList mustOpen { QStringLiteral("l4d2cu_talker_debug.vpk"),
                                     QStringLiteral("portalguns_pak01_dir.vpk"),
                                     QStringLiteral("ths_l4d2_addon_iv_script_system.vpk"),
                                     QStringLiteral("valvepython_test_dir.vpk") };
        int checked = 0;
        for (const QString &name : dir.entryList(QDir::Files)) {
            CDelegateVPK vpk;
            const bool opened = vpk.openPackage(dir.filePath(name), true);
            if (mustOpen.contains(name))
                QVERIFY2(opened, qPrintable(name + ": " + vpk.getLastError()));
            if (!opened) {
                QVERIFY2(vpk.getLastError().contains(QLatin1String("Error: ")), qPrintable(name));
                continue;
            }
            for (int i = 0; i < vpk.getNodeCount(); ++i) {
                const CVPKDirectory::Entry_t *entry = vpk.getEntryByIndex(unsigned(i));
                QVERIFY(entry);
                QByteArray *data = vpk.getFileByIndex(unsigned(i));
                if (mustOpen.contains(name)) {
                    QVERIFY2(data, qPrintable(name + ": " + vpk.getLastError()));
                    QCOMPARE(fixtures::crc32(*data), entry->crc);
                    QCOMPARE(unsigned(data->size()), vpk.getPackageFileSizeByIndex(unsigned(i)));
                    ++checked;
                }
                delete data;
            }
        }
        QCOMPARE(checked, 5 + 3 + 8 + 3);
    }
};

QTEST_GUILESS_MAIN(tst_packages_vpk)
#include "tst_packages_vpk.moc"
