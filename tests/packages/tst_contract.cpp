// The common delegate tests run against a minimal delegate defined here, so
// that the contract is checked independently of any real format. The
// synchroniser is tested here too.
#include "PackageDelegateTest.h"
#include "packages/IPackageDelegate.h"

#include <QBuffer>
#include <QFile>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

namespace {

// One "path<TAB>hex" line per entry.
class CListDelegate : public IPackageDelegate
{
public:
    ~CListDelegate() override { closePackage(); }

    bool openPackage(const QString &path, bool readOnly) override
    {
        if (path.isEmpty()) {
            lastError = QStringLiteral("Request Error: Invalid file path");
            return false;
        }
        closePackage();
        file.setFileName(path);
        if (!file.open(readOnly ? QIODevice::ReadOnly : QIODevice::ReadWrite)) {
            lastError = QStringLiteral("File Error: Unable to open");
            return false;
        }
        entries.clear();
        for (const QByteArray &line : file.readAll().split('\n')) {
            const int tab = line.indexOf('\t');
            if (tab > 0)
                entries.append({ QString::fromLatin1(line.left(tab)),
                                 QByteArray::fromHex(line.mid(tab + 1)) });
        }
        return generateInternalDirectoryStructure();
    }
    void closePackage() override { file.close(); }
    int getPackageType() const override { return 99; }
    bool flush(FlushSyncronizer *sync) override
    {
        lastError = QStringLiteral("Delegate Error: No logic for flush()");
        if (sync)
            sync->doFail();
        return false;
    }
    bool isPackageFileAtIndex(unsigned int index) const override
    {
        return index < static_cast<unsigned int>(entries.size());
    }
    unsigned int getPackageFileSizeByIndex(unsigned int index) const override
    {
        return isPackageFileAtIndex(index) ? entries.at(index).second.size() : 0;
    }
    unsigned int getPackageFileSizeOnDiskByIndex(unsigned int index) const override
    {
        return getPackageFileSizeByIndex(index) * 2 + 1;
    }
    bool getPackageFileByIndex(QIODevice *device, unsigned int index) const override
    {
        if (!device) {
            lastError = QStringLiteral("Write Error: Device invalid");
            return false;
        }
        if (!isPackageFileAtIndex(index)) {
            lastError = QStringLiteral("Request Error: Index out of bounds");
            return false;
        }
        return device->write(entries.at(index).second) == entries.at(index).second.size();
    }
    bool generateInternalDirectoryStructure() override
    {
        delete root;
        root = new CPackageHierarchyNode(QStringLiteral("root"), this);
        root->makeNode();
        nodes.clear();
        for (const auto &entry : entries) {
            CPackageHierarchyNode *node
                = root->getNewNodeByPath(splitPackagePath(entry.first), true);
            if (!node)
                return false;
            node->index = nodes.size();
            nodes.append(node);
        }
        return true;
    }

private:
    QVector<std::pair<QString, QByteArray>> entries;
};

const QMap<QString, QByteArray> &listFiles()
{
    static const QMap<QString, QByteArray> files {
        { "readme.txt", "hello" },
        { "materials/a.vmt", "LightmappedGeneric\n{\n}\n" },
        { "materials/sub/b.vtf", QByteArray(300, '\x07') },
        { "sound/x.wav", QByteArray() },
    };
    return files;
}

} // namespace

class TestContract : public PackageDelegateTest
{
    Q_OBJECT

protected:
    IPackageDelegate *createDelegate() const override { return new CListDelegate; }
    QString buildFixture(const QString &dir) override
    {
        const QString path = dir + "/fixture.lst";
        QFile out(path);
        if (!out.open(QIODevice::WriteOnly))
            return QString();
        for (auto it = listFiles().cbegin(); it != listFiles().cend(); ++it)
            out.write(it.key().toLatin1() + '\t' + it.value().toHex() + '\n');
        return path;
    }
    QMap<QString, QByteArray> fixtureFiles() const override { return listFiles(); }
    int expectedPackageType() const override { return 99; }

private slots:
    void baseNamesAndState();
    void branchSumsLeaveNullNodeText();
    void sizePairsOfDirectories();
    void settingFromDevices();
    void addingJoinsDirectoriesInTheirCase();
    void synchroniserCountsAndSignals();
    void synchroniserMessagesAndFlags();
};

void TestContract::baseNamesAndState()
{
    QCOMPARE(delegate()->getPackageName(), QStringLiteral("fixture"));
    QCOMPARE(delegate()->getPackagePath(), fixture());
    QVERIFY(delegate()->isPackageReadOnly());
    std::unique_ptr<FlushSyncronizer> sync(delegate()->flushAdvanced());
    QCOMPARE(sync->getTotal(), 0u);
    QVERIFY(!sync->isFinished());
    QCOMPARE(IPackageDelegate::splitPackagePath("\\a//b\\c/"), QStringList({ "a", "b", "c" }));
}

void TestContract::branchSumsLeaveNullNodeText()
{
    const CPackageHierarchyNode *root = delegate()->getRootDirectoryNode();
    delegate()->setLastError(QString());
    // materials holds a file and a directory with a file: a deeper tree.
    const CPackageHierarchyNode *materials = root->getNodeByString("materials");
    QCOMPARE(delegate()->getFileSizeByNode(materials), 23u + 300u);
    QCOMPARE(delegate()->getLastError(), QStringLiteral("Request Error: NULL node"));

    delegate()->setLastError(QString());
    const CPackageHierarchyNode *sub = materials->getNodeByString("sub");
    QCOMPARE(delegate()->getFileSizeByNode(sub), 300u);
    QCOMPARE(delegate()->getLastError(), QString());
}

void TestContract::sizePairsOfDirectories()
{
    const CPackageHierarchyNode *materials
        = delegate()->getRootDirectoryNode()->getNodeByString("materials");
    const quint64 pair = delegate()->getPackageFileSizePairByNode(materials);
    QCOMPARE(static_cast<quint32>(pair), 323u);
    QCOMPARE(static_cast<quint32>(pair >> 32), (23u * 2 + 1) + (300u * 2 + 1));
}

void TestContract::settingFromDevices()
{
    QBuffer closed;
    QVERIFY(!delegate()->setFileByPath(closed, "x/y.txt", ~0u));
    QCOMPARE(delegate()->getLastError(), QStringLiteral("Write Error: Device not open"));
    QByteArray sink;
    QBuffer writeOnly(&sink);
    writeOnly.open(QIODevice::WriteOnly);
    QVERIFY(!delegate()->setFileByPath(writeOnly, "x/y.txt", ~0u));
    QCOMPARE(delegate()->getLastError(), QStringLiteral("Write Error: Device not readable"));
    QVERIFY(!delegate()->getRootDirectoryNode()->getNodeByString("x"));

    QByteArray source("abcdef");
    QBuffer in(&source);
    in.open(QIODevice::ReadOnly);
    CPackageHierarchyNode *node = delegate()->setFileByPath(in, "x/y.txt", 4);
    QVERIFY(node);
    QCOMPARE(*node->data, QByteArray("abcd"));
    QVERIFY(!node->dataIsPath);
    QVERIFY(!delegate()->setFileByPath(in, "x/z.txt", 4));
    QCOMPARE(delegate()->getLastError(), QStringLiteral("Read Error: Incomplete"));
    // A file below a file cannot be made.
    in.seek(0);
    QVERIFY(!delegate()->setFileByPath(in, "readme.txt/inner", ~0u));
    QCOMPARE(delegate()->getLastError(),
             QStringLiteral("Delegate Error: Unable to create leaf at \"readme.txt/inner\""));
}

void TestContract::addingJoinsDirectoriesInTheirCase()
{
    const QString disk = scratchDir() + "/add-me.txt";
    QFile f(disk);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("x");
    f.close();
    CPackageHierarchyNode *node = delegate()->fileAddFromDisk("MATERIALS/SUB/new.vmt", disk, false);
    QVERIFY2(node, qPrintable(delegate()->getLastError()));
    QCOMPARE(node->getPath(true), QStringLiteral("materials/sub/new.vmt"));
    // A plain set keeps the strict rule: another case of a step is a collision.
    QVERIFY(!delegate()->setFileByPath(QByteArray("y"), false, "MATERIALS/other.vmt"));
}

void TestContract::synchroniserCountsAndSignals()
{
    FlushSyncronizer sync;
    QSignalSpy total(&sync, &FlushSyncronizer::totalChanged);
    QSignalSpy processed(&sync, &FlushSyncronizer::itemsProcessedChanged);
    QSignalSpy failed(&sync, &FlushSyncronizer::itemsFailedChanged);
    sync.setTotal(10);
    sync.setTotal(10); // unchanged: no signal
    sync.incrementProcessed();
    sync.incrementProcessed();
    sync.setProcessed(2);
    sync.incrementFailed();
    QCOMPARE(total.count(), 1);
    QCOMPARE(total.at(0).at(0).toInt(), 10);
    QCOMPARE(processed.count(), 2);
    QCOMPARE(processed.at(1).at(0).toInt(), 2);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(sync.getFailed(), 1u);

    sync.reset();
    QCOMPARE(sync.getTotal(), 0u);
    QCOMPARE(sync.getProcessed(), 0u);
    QCOMPARE(sync.getFailed(), 0u);
}

void TestContract::synchroniserMessagesAndFlags()
{
    FlushSyncronizer sync;
    QSignalSpy strings(&sync, &FlushSyncronizer::newMessageString);
    QSignalSpy counts(&sync, &FlushSyncronizer::newMessageCount);
    QSignalSpy errors(&sync, &FlushSyncronizer::newMessageError);
    QSignalSpy failed(&sync, qOverload<bool>(&FlushSyncronizer::flushFailed));
    QSignalSpy finished(&sync, qOverload<>(&FlushSyncronizer::flushFinished));
    QSignalSpy canceled(&sync, qOverload<bool>(&FlushSyncronizer::flushCanceled));

    sync.logMessage("note", false);
    sync.logMessage("bad", true);
    QCOMPARE(strings.count(), 2);
    QCOMPARE(counts.at(1).at(0).toInt(), 2);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).at(0).toInt(), 1);
    QCOMPARE(sync.getMessageErrorCount(), 1);
    QCOMPARE(sync.getMessages().size(), 2);
    QCOMPARE(sync.getMessages().at(1).first, QStringLiteral("bad"));
    QVERIFY(sync.getMessages().at(1).second);

    sync.doFail();
    sync.doFinish();
    sync.doCancel();
    QVERIFY(sync.isFailed() && sync.isFinished() && sync.isCanceled());
    QCOMPARE(failed.count(), 1);
    QVERIFY(failed.at(0).at(0).toBool());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(canceled.count(), 1);

    sync.reset();
    QVERIFY(!sync.isFailed() && !sync.isFinished() && !sync.isCanceled());
    QVERIFY(sync.getMessages().isEmpty());
    QCOMPARE(sync.getMessageErrorCount(), 0);
}

QTEST_GUILESS_MAIN(TestContract)
#include "tst_contract.moc"
