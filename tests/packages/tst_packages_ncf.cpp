#include "ArchiveFixtures.h"
#include "PackageDelegateTest.h"
#include "ZirkTest.h"

#include "packages/CDelegateNCF.h"
#include "packages/CPackageHierarchyNode.h"

#include <QBuffer>
#include <QTemporaryDir>

using fixtures::CacheBuilder;

class tst_packages_ncf : public PackageDelegateTest
{
    Q_OBJECT

protected:
    IPackageDelegate *createDelegate() const override { return new CDelegateNCF(); }

    QMap<QString, QByteArray> fixtureFiles() const override
    {
        return { { QStringLiteral("bin/engine.dll"), QByteArray(70, 'e') },
                 { QStringLiteral("bin/tools/vbsp.exe"), QByteArray(33, 'b') },
                 { QStringLiteral("gameinfo.txt"), QByteArray(12, 'g') } };
    }

    QString buildFixture(const QString &dir) override
    {
        const QString path = dir + QStringLiteral("/fixture.ncf");
        return fixtures::writeFile(path, sample().buildNcf()) ? path : QString();
    }

    int expectedPackageType() const override { return 3; }
    bool deliversContent() const override { return false; }
    bool staysOpen() const override { return false; }

private:
    QTemporaryDir temp;

    CacheBuilder sample() const
    {
        CacheBuilder b;
        const int root = b.addDirectory(QString(), -1);
        const int bin = b.addDirectory(QStringLiteral("bin"), root);
        b.addFile(QStringLiteral("engine.dll"), bin, QByteArray(70, 'e'), {});
        const int tools = b.addDirectory(QStringLiteral("tools"), bin);
        b.addFile(QStringLiteral("vbsp.exe"), tools, QByteArray(33, 'b'), {});
        b.addFile(QStringLiteral("gameinfo.txt"), root, QByteArray(12, 'g'), {});
        return b;
    }

    QString open(CDelegateNCF &ncf, const QByteArray &bytes)
    {
        const QString path = temp.filePath(QStringLiteral("case.ncf"));
        if (!fixtures::writeFile(path, bytes))
            return QStringLiteral("<unwritable>");
        return ncf.openPackage(path, true) ? QString() : ncf.getLastError();
    }

private slots:
    void sizesShowWhileContentIsRefused()
    {
        CDelegateNCF ncf;
        QCOMPARE(open(ncf, sample().buildNcf()), QString());
        QVERIFY(!ncf.isPackageOpen());
        // Table index and directory entry number agree, directories included.
        QCOMPARE(ncf.getNodeCount(), 6);
        QCOMPARE(ncf.getNodeByIndex(1)->getName(), QStringLiteral("bin"));
        QVERIFY(!ncf.isPackageFileAtIndex(1));
        QVERIFY(ncf.isPackageFileAtIndex(2));
        QCOMPARE(ncf.getPackageFileSizeByIndex(2), 70u);
        QCOMPARE(ncf.getPackageFileSizeByIndex(1), 0u);
        QCOMPARE(ncf.getPackageFileSizeOnDiskByIndex(2), 0u);
        QCOMPARE(ncf.getFileSizeByPath(QStringLiteral("BIN/TOOLS/vbsp.exe")), 33u);
        QCOMPARE(ncf.getFileSizeByNode(ncf.getRootDirectoryNode()), 70u + 33u + 12u);

        QByteArray sink;
        QBuffer out(&sink);
        out.open(QIODevice::WriteOnly);
        QVERIFY(!ncf.getPackageFileByIndex(&out, 2));
        QCOMPARE(ncf.getLastError(),
                 QStringLiteral("Request Error: NCF files do not contain data"));
        QVERIFY(!ncf.getFileByPath(QStringLiteral("gameinfo.txt")));
        QCOMPARE(ncf.getLastError(),
                 QStringLiteral("Request Error: NCF files do not contain data"));

        QCOMPARE(ncf.getFileNameFromOffset(0), QString());
        QCOMPARE(ncf.getFileNameFromOffset(1), QStringLiteral("bin"));
        QCOMPARE(ncf.getFileNameFromOffset(2), QStringLiteral("in"));
        QCOMPARE(ncf.getFileNameFromOffset(100000), QString());
    }

    void corruptedDirectoriesNeverCrash()
    {
        int opened = 0;
        for (const QByteArray &bytes : fixtures::mutations(sample().buildNcf(), 400, 5)) {
            CDelegateNCF ncf;
            if (!open(ncf, bytes).isEmpty())
                continue;
            ++opened;
            QVERIFY(ncf.getRootDirectoryNode());
            ncf.getFileSizeByNode(ncf.getRootDirectoryNode());
        }
        QVERIFY(opened > 0);
    }

    void brokenDirectoriesFailTheOpening_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        const QString nodes
            = QStringLiteral("Delegate Error: Unable to create nodes for internal file system");
        {
            CacheBuilder b = sample();
            b.addDirectory(QStringLiteral("second"), -1);
            QTest::newRow("two parentless entries")
                << b.buildNcf() << "Delegate Error: Multiple root directories found";
        }
        {
            CacheBuilder b;
            b.addDirectory(QStringLiteral("a"), 1);
            b.addDirectory(QStringLiteral("b"), 0);
            QTest::newRow("no root") << b.buildNcf() << "Delegate Error: No root directory found";
        }
        {
            CacheBuilder b = sample();
            b.addFile(QStringLiteral("GameInfo.TXT"), 0, "x", {});
            QTest::newRow("case collision") << b.buildNcf() << nodes;
        }
        {
            CacheBuilder b = sample();
            b.addFile(QStringLiteral("under.txt"), 2, "x", {});
            QTest::newRow("parent is a file")
                << b.buildNcf() << "Delegate Error: Parent node is leaf";
        }
        {
            CacheBuilder b = sample();
            b.nameTableOverride = QByteArray("");
            QTest::newRow("empty name table") << b.buildNcf() << nodes;
        }
        {
            CacheBuilder b = sample();
            b.items[2].nameOffsetOverride = 0x7FFFFFFF;
            QTest::newRow("name offset past the table") << b.buildNcf() << nodes;
        }
        {
            CacheBuilder b = sample();
            b.items[2].parent = 4000;
            QTest::newRow("parent past the directory") << b.buildNcf() << nodes;
        }
        {
            CacheBuilder b = sample();
            const int x = b.addDirectory(QStringLiteral("x"), 7);
            const int y = b.addDirectory(QStringLiteral("y"), x);
            QCOMPARE(y, 7);
            QTest::newRow("parents in a loop") << b.buildNcf() << nodes;
        }
        {
            CacheBuilder b = sample();
            b.items[1].parent = 1;
            QTest::newRow("own parent") << b.buildNcf() << nodes;
        }
        {
            QByteArray bytes = sample().buildNcf();
            // The item count of the directory header: a count no file can hold.
            bytes[11 * 4 + 3 * 4 + 3] = char(0x7F);
            QTest::newRow("item count past the end") << bytes << "Read Error: Incomplete read";
        }
        {
            QByteArray bytes = sample().buildNcf();
            bytes[11 * 4 + 7 * 4 + 3] = char(0x7F);
            QTest::newRow("name size past the end")
                << bytes << "Read Error: Unable to read directory item names";
        }
        QTest::newRow("empty file") << QByteArray() << "Delegate Error: No root directory found";
    }

    void brokenDirectoriesFailTheOpening()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, error);
        CDelegateNCF ncf;
        QCOMPARE(open(ncf, bytes), error);
        QVERIFY(!ncf.getRootDirectoryNode());
    }
};

QTEST_GUILESS_MAIN(tst_packages_ncf)
#include "tst_packages_ncf.moc"
