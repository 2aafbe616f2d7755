#include "ArchiveFixtures.h"
#include "PackageDelegateTest.h"
#include "ZirkTest.h"

#include "packages/CDelegateGCF.h"
#include "packages/CPackageHierarchyNode.h"

#include <QBuffer>
#include <QTemporaryDir>

using fixtures::CacheBuilder;
using Links = QList<QPair<quint32, quint32>>;

class tst_packages_gcf : public PackageDelegateTest
{
    Q_OBJECT

protected:
    IPackageDelegate *createDelegate() const override { return new CDelegateGCF(); }

    QMap<QString, QByteArray> fixtureFiles() const override
    {
        return { { QStringLiteral("maps/adjacent.bsp"), content(32) },
                 { QStringLiteral("maps/scattered.bsp"), content(20) },
                 { QStringLiteral("cfg/tiny.cfg"), QByteArray("hi") } };
    }

    QString buildFixture(const QString &dir) override
    {
        const QString path = dir + QStringLiteral("/fixture.gcf");
        return fixtures::writeFile(path, sample().buildGcf()) ? path : QString();
    }

    int expectedPackageType() const override { return 2; }

private:
    QTemporaryDir temp;

    static QByteArray content(int size)
    {
        QByteArray out;
        for (int i = 0; i < size; ++i)
            out.append(char('A' + i % 26));
        return out;
    }

    // Blocks of 16 bytes: adjacent.bsp in 2 and 3, scattered.bsp in 1 and 5,
    // tiny.cfg in 7; empty.cfg has no block entry at all, so it cannot be read
    // and is left out of the files every delegate must deliver.
    CacheBuilder sample(quint32 terminator = 0) const
    {
        CacheBuilder b;
        b.terminator = terminator;
        const int root = b.addDirectory(QString(), -1);
        const int maps = b.addDirectory(QStringLiteral("maps"), root);
        b.addFile(QStringLiteral("adjacent.bsp"), maps, content(32), { 2, 3 });
        b.addFile(QStringLiteral("scattered.bsp"), maps, content(20), { 1, 5 });
        const int cfg = b.addDirectory(QStringLiteral("cfg"), root);
        b.addFile(QStringLiteral("tiny.cfg"), cfg, "hi", { 7 });
        b.addFile(QStringLiteral("empty.cfg"), cfg, QByteArray(), {});
        return b;
    }

    QString open(CDelegateGCF &gcf, const QByteArray &bytes)
    {
        const QString path = temp.filePath(QStringLiteral("case.gcf"));
        if (!fixtures::writeFile(path, bytes))
            return QStringLiteral("<unwritable>");
        return gcf.openPackage(path, true) ? QString() : gcf.getLastError();
    }

    static QByteArray read(const CDelegateGCF &gcf, const QString &path)
    {
        QByteArray *data = gcf.getFileByPath(path);
        if (!data)
            return "<failed: " + gcf.getLastError().toLatin1() + ">";
        const QByteArray copy = *data;
        delete data;
        return copy;
    }

private slots:
    void fragmentationCountsStepsOutOfOrder_data()
    {
        QTest::addColumn<quint32>("terminator");
        QTest::newRow("chains end at 0xFFFF") << 0u;
        QTest::newRow("chains end at 0xFFFFFFFF") << 1u;
    }

    void fragmentationCountsStepsOutOfOrder()
    {
        QFETCH(quint32, terminator);
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, sample(terminator).buildGcf()), QString());
        QCOMPARE(gcf.getFragmentationByPath(QStringLiteral("maps/adjacent.bsp")), 0.0f);
        QCOMPARE(gcf.getFragmentationByPath(QStringLiteral("maps/scattered.bsp")), 50.0f);
        const CPackageHierarchyNode *maps = gcf.getRootDirectoryNode()->getNodeByString("maps");
        QCOMPARE(gcf.getFragmentationPairByNode(maps), (quint64(4) << 32) | 1u);
        QCOMPARE(gcf.getFragmentationByNode(maps), 25.0f);
        QCOMPARE(gcf.getFragmentationByNode(nullptr), 0.0f);
        QCOMPARE(gcf.getFragmentationByIndex(1), 25.0f);
        QCOMPARE(gcf.getFragmentationByIndex(99), 0.0f);
        QCOMPARE(read(gcf, QStringLiteral("maps/scattered.bsp")), content(20));
    }

    void corruptedCachesNeverCrash()
    {
        const QByteArray original = sample().buildGcf();
        int opened = 0;
        for (const QByteArray &bytes : fixtures::mutations(original, 400, 6)) {
            CDelegateGCF gcf;
            if (!open(gcf, bytes).isEmpty())
                continue;
            ++opened;
            for (int i = 0; i < gcf.getNodeCount(); ++i) {
                delete gcf.getFileByIndex(unsigned(i));
                gcf.getFragmentationByIndex(unsigned(i));
                gcf.getPackageFileSizeOnDiskByIndex(unsigned(i));
            }
            gcf.getFragmentationByNode(gcf.getRootDirectoryNode());
        }
        QVERIFY(opened > 0);
    }

    void sizeOnDiskIsRoundedAsWritten()
    {
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, sample().buildGcf()), QString());
        QCOMPARE(gcf.getBlockSize(), 16u);
        // 32 is an exact multiple and still gains a block; 0 takes one block.
        QCOMPARE(gcf.getPackageFileSizeOnDiskByIndex(2), 48u);
        QCOMPARE(gcf.getPackageFileSizeOnDiskByIndex(3), 32u);
        QCOMPARE(gcf.getPackageFileSizeOnDiskByIndex(5), 16u);
        QCOMPARE(gcf.getPackageFileSizeOnDiskByIndex(6), 16u);
        QCOMPARE(gcf.getPackageFileSizeOnDiskByIndex(1), 0u);
    }

    void requestsFailWithTheirText()
    {
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, sample().buildGcf()), QString());
        QByteArray sink;
        QBuffer out(&sink);
        out.open(QIODevice::WriteOnly);
        QVERIFY(!gcf.getPackageFileByIndex(&out, 6));
        QCOMPARE(gcf.getLastError(), QStringLiteral("Read Error: Entry has no data"));
        QVERIFY(!gcf.getPackageFileByIndex(&out, 1));
        QCOMPARE(gcf.getLastError(), QStringLiteral("Request Error: Entry is not a file"));
        QVERIFY(!gcf.getPackageFileByIndex(&out, 70));
        QCOMPARE(gcf.getLastError(), QStringLiteral("Request Error: File index out of bounds"));
        QVERIFY(sink.isEmpty());
        gcf.closePackage();
        QVERIFY(!gcf.getPackageFileByIndex(&out, 2));
        QCOMPARE(gcf.getLastError(), QStringLiteral("File Error: Package not open"));
    }

    void brokenChainsEndWithAnError_data()
    {
        QTest::addColumn<Links>("links");
        QTest::addColumn<QString>("error");
        // adjacent.bsp runs 2 -> 3; a forged map sends 2 elsewhere.
        QTest::newRow("block past the count")
            << Links { { 2, 4000 } } << "Read Error: Incomplete read";
        QTest::newRow("chain ends early")
            << Links { { 2, 0xFFFF } } << "Read Error: Incomplete read";
    }

    void brokenChainsEndWithAnError()
    {
        QFETCH(Links, links);
        QFETCH(QString, error);
        CacheBuilder b = sample();
        b.forcedLinks = links;
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, b.buildGcf()), QString());
        QVERIFY(!gcf.getFileByPath(QStringLiteral("maps/adjacent.bsp")));
        QCOMPARE(gcf.getLastError(), error);
    }

    void loopingChainEnds()
    {
        // A file much longer than its blocks, in a chain that loops 4 -> 4.
        CacheBuilder b;
        const int root = b.addDirectory(QString(), -1);
        b.addFile(QStringLiteral("loop.bin"), root, QByteArray(16 * 1000, 'L'), { 4 });
        b.forcedLinks = { { 4, 4 } };
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, b.buildGcf()), QString());
        QVERIFY(!gcf.getFileByPath(QStringLiteral("loop.bin")));
        QCOMPARE(gcf.getLastError(), QStringLiteral("Read Error: Incomplete read"));
        const quint64 pair = gcf.getFragmentationPairByNode(gcf.getNodeByIndex(1));
        QCOMPARE(pair >> 32, quint64(b.blockCount));
    }

    void truncatedCachesFailTheOpening_data()
    {
        QTest::addColumn<int>("cut");
        QTest::addColumn<QString>("error");
        QTest::newRow("in the block entries")
            << 11 * 4 + 8 * 4 + 10 << "Read Error: Incomplete read";
        QTest::newRow("empty file") << 0 << "Read Error: Incomplete read";
    }

    void truncatedCachesFailTheOpening()
    {
        QFETCH(int, cut);
        QFETCH(QString, error);
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, sample().buildGcf().left(cut)),
                 cut == 0 ? QString("Delegate Error: No root directory found") : error);
    }

    void hugeBlockCountIsRefusedBeforeAllocating()
    {
        QByteArray bytes = sample().buildGcf();
        // blockCount in the file header.
        bytes[9 * 4 + 3] = char(0x7F);
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, bytes), QStringLiteral("Read Error: Incomplete read"));
    }

    void firstBlockOffsetPastTheEndIsASeekError()
    {
        QByteArray bytes = sample().buildGcf();
        const int header = bytes.size() - 16 * 8 - 8 - 6 * 4;
        bytes[header + 3 * 4 + 3] = char(0x7F);
        CDelegateGCF gcf;
        QCOMPARE(open(gcf, bytes), QStringLiteral("Stream Error: Seek error"));
    }
};

QTEST_GUILESS_MAIN(tst_packages_gcf)
#include "tst_packages_gcf.moc"
