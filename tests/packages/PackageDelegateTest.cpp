#include "PackageDelegateTest.h"

#include "packages/IPackageDelegate.h"

#include <QBuffer>
#include <QFile>
#include <QtTest>
#include <memory>

namespace {

QByteArray readAll(const IPackageDelegate *d, const CPackageHierarchyNode *node, bool package)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const bool ok
        = package ? d->getPackageFileByNode(&buffer, node) : d->getFileByNode(&buffer, node);
    return ok ? bytes : QByteArray("<failed: ") + d->getLastError().toLatin1() + ">";
}

// The first fixture file lying in a subdirectory, else the first one.
QString pickPath(const QMap<QString, QByteArray> &files)
{
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        if (it.key().contains(QLatin1Char('/')))
            return it.key();
    }
    return files.isEmpty() ? QString() : files.firstKey();
}

} // namespace

IPackageDelegate *PackageDelegateTest::openDelegate(const QString &path, bool readOnly) const
{
    IPackageDelegate *d = createDelegate();
    if (!d->openPackage(path, readOnly)) {
        qWarning("open of %s failed: %s", qPrintable(path), qPrintable(d->getLastError()));
        delete d;
        return nullptr;
    }
    return d;
}

void PackageDelegateTest::initTestCase()
{
    QVERIFY(temp.isValid());
    fixturePath = buildFixture(temp.path());
    QVERIFY(!fixturePath.isEmpty());
    QVERIFY(!fixtureFiles().isEmpty());
}

void PackageDelegateTest::cleanupTestCase() { }

void PackageDelegateTest::init()
{
    current = openDelegate(fixturePath);
    QVERIFY(current);
}

void PackageDelegateTest::cleanup()
{
    delete current;
    current = nullptr;
}

void PackageDelegateTest::reportsItsType()
{
    QCOMPARE(current->getPackageType(), expectedPackageType());
    QCOMPARE(current->isPackageOpen(), staysOpen());
    QVERIFY(current->getRootDirectoryNode());
    QVERIFY(current->getRootDirectoryNode()->isBranch());
}

void PackageDelegateTest::emptyPathIsRefused()
{
    std::unique_ptr<IPackageDelegate> d(createDelegate());
    QVERIFY(!d->openPackage(QString(), true));
    QCOMPARE(d->getLastError(), QStringLiteral("Request Error: Invalid file path"));
}

void PackageDelegateTest::treeHoldsEveryFile()
{
    const QMap<QString, QByteArray> files = fixtureFiles();
    const CPackageHierarchyNode *root = current->getRootDirectoryNode();
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const CPackageHierarchyNode *node
            = root->getNodeByPath(IPackageDelegate::splitPackagePath(it.key()), true);
        QVERIFY2(node, qPrintable(it.key()));
        QCOMPARE(node->getPath(true), it.key());
        QCOMPARE(node->delegate, current);
        QVERIFY(node->index >= 0);
        QCOMPARE(current->getNodeByIndex(node->index), node);
        QVERIFY(current->isPackageFileAtIndex(node->index));
        QVERIFY(current->isFileAtIndex(node->index));
        QVERIFY(node->isDataInPackage());
    }
    QVERIFY(!current->isFileAtIndex(static_cast<unsigned int>(-1)));
    QVERIFY(!current->getNodeByIndex(current->getNodeCount()));
}

void PackageDelegateTest::readsAlikeByIndexNodeAndPath()
{
    const QMap<QString, QByteArray> files = fixtureFiles();
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const CPackageHierarchyNode *node = current->getRootDirectoryNode()->getNodeByPath(
            IPackageDelegate::splitPackagePath(it.key()), true);
        QVERIFY(node);
        if (!deliversContent()) {
            std::unique_ptr<QByteArray> none(current->getFileByNode(node));
            QVERIFY(!none);
            QVERIFY(!current->getLastError().isEmpty());
            continue;
        }
        QCOMPARE(readAll(current, node, false), it.value());
        QCOMPARE(readAll(current, node, true), it.value());
        std::unique_ptr<QByteArray> byIndex(current->getFileByIndex(node->index));
        QVERIFY(byIndex);
        QCOMPARE(*byIndex, it.value());
        std::unique_ptr<QByteArray> packageByIndex(current->getPackageFileByIndex(node->index));
        QVERIFY(packageByIndex);
        QCOMPARE(*packageByIndex, it.value());
        std::unique_ptr<QByteArray> byPath(current->getFileByPath(it.key()));
        QVERIFY(byPath);
        QCOMPARE(*byPath, it.value());
    }
    std::unique_ptr<QByteArray> beyond(current->getPackageFileByIndex(current->getNodeCount()));
    QVERIFY(!beyond);
    QCOMPARE(current->getLastError(), QStringLiteral("Request Error: Index out of bounds"));
}

void PackageDelegateTest::pathsIgnoreCaseAndSeparator()
{
    const QString path = pickPath(fixtureFiles());
    QString odd = path.toUpper();
    odd.replace(QLatin1Char('/'), QLatin1String("\\\\"));
    odd.prepend(QLatin1Char('/'));
    const CPackageHierarchyNode *root = current->getRootDirectoryNode();
    const CPackageHierarchyNode *node
        = root->getNodeByPath(IPackageDelegate::splitPackagePath(path), true);
    QVERIFY(node);
    QCOMPARE(root->getNodeByPath(IPackageDelegate::splitPackagePath(odd), true), node);
    QCOMPARE(current->getFileSizeByPath(odd), current->getFileSizeByNode(node));
}

void PackageDelegateTest::sizesAddUpOverDirectories()
{
    const QMap<QString, QByteArray> files = fixtureFiles();
    const CPackageHierarchyNode *root = current->getRootDirectoryNode();
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const CPackageHierarchyNode *node
            = root->getNodeByPath(IPackageDelegate::splitPackagePath(it.key()), true);
        QVERIFY(node);
        QCOMPARE(current->getFileSizeByNode(node), static_cast<unsigned int>(it.value().size()));
        QCOMPARE(current->getPackageFileSizeByNode(node),
                 static_cast<unsigned int>(it.value().size()));
        const quint64 pair = current->getPackageFileSizePairByNode(node);
        QCOMPARE(static_cast<unsigned int>(pair), static_cast<unsigned int>(it.value().size()));
        QCOMPARE(static_cast<unsigned int>(pair >> 32),
                 current->getPackageFileSizeOnDiskByNode(node));
    }
    // A directory sums what lies below it, and has no size on disk itself.
    const CPackageHierarchyNode *dir
        = root->getNodeByPath(IPackageDelegate::splitPackagePath(pickPath(files)), true)
              ->getParent();
    QVERIFY(dir);
    unsigned int sum = 0;
    for (CHierarchyNode *leaf : dir->getSubLeafList())
        sum += current->getFileSizeByNode(static_cast<CPackageHierarchyNode *>(leaf));
    QCOMPARE(current->getFileSizeByNode(dir), sum);
    QCOMPARE(current->getPackageFileSizeByNode(dir), sum);
    QCOMPARE(current->getPackageFileSizeOnDiskByNode(dir), 0u);
    QCOMPARE(current->getFileSizeByNode(nullptr), 0u);
    QCOMPARE(current->getLastError(), QStringLiteral("Request Error: NULL node"));
}

void PackageDelegateTest::deviceAndNodeChecks()
{
    const CPackageHierarchyNode *root = current->getRootDirectoryNode();
    const CPackageHierarchyNode *node
        = root->getNodeByPath(IPackageDelegate::splitPackagePath(pickPath(fixtureFiles())), true);
    QVERIFY(node);

    QVERIFY(!current->getFileByNode(nullptr, node));
    QCOMPARE(current->getLastError(), QStringLiteral("Write Error: Device invalid"));
    QBuffer closed;
    QVERIFY(!current->getFileByNode(&closed, node));
    QCOMPARE(current->getLastError(), QStringLiteral("Write Error: Device not open"));
    QByteArray bytes("x");
    QBuffer readOnly(&bytes);
    readOnly.open(QIODevice::ReadOnly);
    QVERIFY(!current->getFileByNode(&readOnly, node));
    QCOMPARE(current->getLastError(), QStringLiteral("Write Error: Device not writable"));

    QByteArray sink;
    QBuffer out(&sink);
    out.open(QIODevice::WriteOnly);
    QVERIFY(!current->getFileByNode(&out, nullptr));
    QCOMPARE(current->getLastError(), QStringLiteral("Request Error: NULL node"));
    QVERIFY(!current->getFileByNode(&out, node->getParent()));
    QCOMPARE(current->getLastError(), QStringLiteral("Request Error: Node is not leaf"));
    QVERIFY(sink.isEmpty());
}

void PackageDelegateTest::foreignNodeIsRefused()
{
    std::unique_ptr<IPackageDelegate> other(openDelegate(fixturePath));
    QVERIFY(other);
    const QString path = pickPath(fixtureFiles());
    CPackageHierarchyNode *foreign = other->getRootDirectoryNode()->getNodeByPath(
        IPackageDelegate::splitPackagePath(path), true);
    QVERIFY(foreign);

    const QString own = QStringLiteral("Request Error: Delegate does not own node");
    QVERIFY(!current->setFileByNode(QByteArray("new"), false, foreign));
    QCOMPARE(current->getLastError(), own);
    QVERIFY(!current->fileMarkForDeletionByNode(foreign));
    QCOMPARE(current->getLastError(), own);
    std::unique_ptr<QByteArray> data(current->getFileByNode(foreign));
    QVERIFY(!data);
    QCOMPARE(current->getLastError(), own);
    QVERIFY(!foreign->hasData);
    QVERIFY(!foreign->markedForDeletion);
}

void PackageDelegateTest::pendingBytesOverrideAndRevert()
{
    const QString path = pickPath(fixtureFiles());
    const QByteArray original = fixtureFiles().value(path);
    CPackageHierarchyNode *node = current->getRootDirectoryNode()->getNodeByPath(
        IPackageDelegate::splitPackagePath(path), true);
    QVERIFY(node);
    const QByteArray replacement("replacement content, longer than before ............");
    QCOMPARE(current->setFileByPath(replacement, false, path), node);
    QVERIFY(node->hasData);
    QCOMPARE(current->getFileSizeByNode(node), static_cast<unsigned int>(replacement.size()));
    QCOMPARE(readAll(current, node, false), replacement);
    if (deliversContent())
        QCOMPARE(readAll(current, node, true), original);

    QVERIFY(current->fileDeleteByNode(node));
    QVERIFY(!node->hasData);
    QVERIFY(!node->data);
    QCOMPARE(current->getFileSizeByNode(node), static_cast<unsigned int>(original.size()));

    // The same through a device, and the revert that also lifts a mark.
    QByteArray source("0123456789");
    QBuffer in(&source);
    in.open(QIODevice::ReadOnly);
    in.seek(4);
    QVERIFY(current->setFileByNode(in, node, ~0u));
    QCOMPARE(readAll(current, node, false), QByteArray("456789"));
    QVERIFY(current->fileMarkForDeletionByNode(node));
    QVERIFY(current->fileRevertByNode(node));
    QVERIFY(!node->hasData);
    QVERIFY(!node->markedForDeletion);

    in.seek(8);
    QVERIFY(!current->setFileByNode(in, node, 5));
    QCOMPARE(current->getLastError(), QStringLiteral("Read Error: Incomplete"));
    QVERIFY(!node->hasData);
}

void PackageDelegateTest::pendingPathIsReadAndMayVanish()
{
    const QString diskPath = temp.filePath(QStringLiteral("referenced.bin"));
    {
        QFile f(diskPath);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("from disk");
    }
    CPackageHierarchyNode *node
        = current->fileAddFromDisk(QStringLiteral("added/Sub/file.txt"), diskPath, false);
    QVERIFY2(node, qPrintable(current->getLastError()));
    QVERIFY(node->dataIsPath);
    QCOMPARE(node->dataLength, 9u);
    QCOMPARE(current->getFileSizeByPath(QStringLiteral("ADDED/sub/FILE.txt")), 9u);
    QCOMPARE(readAll(current, node, false), QByteArray("from disk"));

    QVERIFY(!current->fileAddFromDisk(QStringLiteral("added/sub/file.txt"), diskPath, false));
    QCOMPARE(current->getLastError(),
             QStringLiteral("Delegate Error: Data already exists at \"added/sub/file.txt\""));
    QCOMPARE(current->fileAddFromDisk(QStringLiteral("added/sub/file.txt"), diskPath, true), node);
    QVERIFY(!current->fileAddFromDisk(QStringLiteral("added/sub"), diskPath, true));
    QCOMPARE(current->getLastError(), QStringLiteral("Delegate Error: Target node is not leaf"));

    QVERIFY(QFile::remove(diskPath));
    std::unique_ptr<QByteArray> gone(current->getFileByNode(node));
    QVERIFY(!gone);
    QCOMPARE(current->getLastError(), QStringLiteral("Read Error: Unable to open referenced file"));
    QVERIFY(!current->fileAddFromDisk(QStringLiteral("x.txt"), diskPath, true));
}

void PackageDelegateTest::newFileMarkedForDeletionVanishes()
{
    const int before = current->getNodeCount();
    CPackageHierarchyNode *node
        = current->setFileByPath(QByteArray("new"), false, QStringLiteral("brand/new.txt"));
    QVERIFY(node);
    QCOMPARE(node->index, before);
    QCOMPARE(current->getNodeCount(), before + 1);
    QCOMPARE(current->getNodeByIndex(before), node);
    QCOMPARE(node->delegate, current);
    QVERIFY(!node->isDataInPackage());
    QVERIFY(!current->fileRevertByNode(node));

    QVERIFY(!current->fileMarkForDeletionByNode(node));
    QCOMPARE(current->getNodeCount(), before + 1);
    QVERIFY(!current->getNodeByIndex(before));
    QVERIFY(!current->isFileAtIndex(before));
    QVERIFY(!current->getRootDirectoryNode()->getNodeByPath(
        IPackageDelegate::splitPackagePath(QStringLiteral("brand/new.txt"))));
}

void PackageDelegateTest::packageEntryMarkAndUnmark()
{
    const QString path = pickPath(fixtureFiles());
    QVERIFY(current->fileMarkForDeletionByPath(path));
    CPackageHierarchyNode *node = current->getRootDirectoryNode()->getNodeByPath(
        IPackageDelegate::splitPackagePath(path), true);
    QVERIFY(node);
    QVERIFY(node->markedForDeletion);
    QVERIFY(current->fileUnmarkForDeletionByPath(path));
    QVERIFY(!node->markedForDeletion);
    QVERIFY(!current->fileMarkForDeletionByPath(QStringLiteral("no/such/file")));
    QCOMPARE(current->getLastError(), QStringLiteral("Request Error: NULL node"));
}

void PackageDelegateTest::nullTableEntryGivesNullNodeText()
{
    CPackageHierarchyNode *node
        = current->setFileByPath(QByteArray("x"), false, QStringLiteral("gone.txt"));
    QVERIFY(node);
    const int index = node->index;
    current->fileMarkForDeletionByNode(node);
    std::unique_ptr<QByteArray> data(current->getFileByIndex(index));
    QVERIFY(!data);
    QCOMPARE(current->getLastError(), QStringLiteral("Request Error: NULL node"));
    QCOMPARE(current->getFileSizeByIndex(index), 0u);
}

void PackageDelegateTest::flushBehaviour()
{
    if (supportsFlush())
        QSKIP("writing delegates test their flush themselves");
    std::unique_ptr<FlushSyncronizer> sync(current->flushAdvanced());
    QVERIFY(!current->flush(sync.get()));
    QCOMPARE(current->getLastError(), QStringLiteral("Delegate Error: No logic for flush()"));
    QVERIFY(sync->isFailed());
    QVERIFY(!current->flush(nullptr));
}
