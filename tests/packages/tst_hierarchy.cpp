#include "packages/CChildNameIndex.h"
#include "packages/CPackageHierarchyNode.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

namespace {

CPackageHierarchyNode *branch(const QString &name)
{
    auto *node = new CPackageHierarchyNode(name);
    node->makeNode();
    return node;
}

CPackageHierarchyNode *leaf(const QString &name)
{
    return new CPackageHierarchyNode(name);
}

QStringList parts(const QString &path)
{
    return path.split(QLatin1Char('/'));
}

} // namespace

class TestHierarchy : public QObject
{
    Q_OBJECT

private slots:
    void countersFollowAddAndRemove();
    void addNodeRefusals();
    void addNodeInsertsBeforeIndex();
    void makeLeafOfLoadedBranch();
    void makeNodeOfLeaf();
    void moveBetweenTreesFixesBoth();
    void deletingUnhooks();
    void subListsRespectDepth();
    void isNodeInHierarchyOnlySeesChildren();
    void leafHasNoChildren();
    void siblingNamesIgnoreCase();
    void setNameKeepsNamesUnique();
    void getNodeByPathKinds_data();
    void getNodeByPathKinds();
    void getNewNodeByPath();
    void getNewNodeByPathRefusesCaseCollision();
    void getPathOfNodes();
    void pendingDataOnNode();
    void wideDirectoryLookups();
    void nameLookupsFollowLowerCase_data();
    void nameLookupsFollowLowerCase();
    void indexSurvivesRandomChanges();
    void pathsThroughForeignNodes();
};

void TestHierarchy::countersFollowAddAndRemove()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *a = branch("a");
    a->addNode(leaf("1"));
    a->addNode(leaf("2"));
    CPackageHierarchyNode *b = branch("b");
    b->addNode(leaf("3"));
    a->addNode(b);
    QCOMPARE(a->getSubNodeCount(), 1);
    QCOMPARE(a->getSubLeafCount(), 3);

    QVERIFY(root->addNode(a));
    QCOMPARE(root->getSubNodeCount(), 2);
    QCOMPARE(root->getSubLeafCount(), 3);
    QCOMPARE(root->getSubCount(), 5);

    // A leaf added deep down counts in every ancestor.
    QVERIFY(b->addNode(leaf("4")));
    QCOMPARE(root->getSubLeafCount(), 4);
    QCOMPARE(a->getSubLeafCount(), 4);
    QCOMPARE(b->getSubLeafCount(), 2);

    a->removeNode(b);
    QCOMPARE(b->getParent(), nullptr);
    QCOMPARE(root->getSubNodeCount(), 1);
    QCOMPARE(root->getSubLeafCount(), 2);
    QCOMPARE(b->getSubLeafCount(), 2);
    delete b;

    // Not a child: nothing happens.
    CPackageHierarchyNode stranger("x");
    root->removeNode(&stranger);
    root->removeNode(nullptr);
    QCOMPARE(root->getSubCount(), 3);
}

void TestHierarchy::addNodeRefusals()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *file = leaf("file");
    QVERIFY(!root->addNode(nullptr));
    QVERIFY(root->addNode(file));
    QVERIFY(!root->addNode(file)); // already a child
    std::unique_ptr<CPackageHierarchyNode> other(leaf("other"));
    QVERIFY(!file->addNode(other.get())); // a leaf takes no children
    std::unique_ptr<CHierarchyNode> plain(new CHierarchyNode);
    QVERIFY(!root->addNode(plain.get())); // a node without a name has no place here
    std::unique_ptr<CPackageHierarchyNode> nameless(new CPackageHierarchyNode());
    QVERIFY(!root->addNode(nameless.get()));

    // A branch cannot go below itself.
    CPackageHierarchyNode *dir = branch("dir");
    root->addNode(dir);
    QVERIFY(!dir->addNode(root.get()));
    QVERIFY(!dir->addNode(dir));
    QCOMPARE(root->getSubCount(), 2);
}

void TestHierarchy::addNodeInsertsBeforeIndex()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    root->addNode(leaf("a"));
    root->addNode(leaf("c"));
    root->addNode(leaf("b"), 1);
    root->addNode(leaf("z"), 99);
    root->addNode(leaf("first"), 0);
    QStringList names;
    for (unsigned int i = 0; i < root->getChildCount(); ++i)
        names << *root->getNodeByIndex(i);
    QCOMPARE(names, QStringList({ "first", "a", "b", "c", "z" }));
    QCOMPARE(*root->first(), QStringLiteral("first"));
    QCOMPARE(*root->back(), QStringLiteral("z"));
    QVERIFY(!root->getNodeByIndex(5));
}

void TestHierarchy::makeLeafOfLoadedBranch()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *top = branch("top");
    root->addNode(top);
    CPackageHierarchyNode *dir = branch("dir");
    top->addNode(dir);
    for (int i = 0; i < 5; ++i)
        dir->addNode(leaf(QString::number(i)));
    QCOMPARE(root->getSubNodeCount(), 2);
    QCOMPARE(root->getSubLeafCount(), 5);

    dir->makeLeaf();
    QVERIFY(dir->isLeaf());
    QCOMPARE(dir->getSubCount(), 0);
    QCOMPARE(top->getSubNodeCount(), 0);
    QCOMPARE(top->getSubLeafCount(), 1);
    QCOMPARE(root->getSubNodeCount(), 1);
    QCOMPARE(root->getSubLeafCount(), 1);
    QCOMPARE(top->getNodeByString("DIR"), dir);
    dir->makeLeaf(); // a leaf stays as it is
    QCOMPARE(root->getSubLeafCount(), 1);
}

void TestHierarchy::makeNodeOfLeaf()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *f = leaf("f");
    root->addNode(f);
    QCOMPARE(root->getSubLeafCount(), 1);
    f->makeNode();
    QVERIFY(f->isBranch());
    QCOMPARE(f->getChildCount(), 0u);
    QCOMPARE(root->getSubLeafCount(), 0);
    QCOMPARE(root->getSubNodeCount(), 1);
    QCOMPARE(f->getSubCount(), 0);
    f->makeNode();
    QCOMPARE(root->getSubNodeCount(), 1);
}

void TestHierarchy::moveBetweenTreesFixesBoth()
{
    std::unique_ptr<CPackageHierarchyNode> one(branch("one"));
    std::unique_ptr<CPackageHierarchyNode> two(branch("two"));
    CPackageHierarchyNode *dir = branch("dir");
    dir->addNode(leaf("a"));
    dir->addNode(leaf("b"));
    one->addNode(dir);
    QVERIFY(dir->inHierarchyWith(one.get()));

    QVERIFY(two->addNode(dir));
    QCOMPARE(one->getSubCount(), 0);
    QCOMPARE(one->getNodeByString("dir"), nullptr);
    QCOMPARE(two->getSubNodeCount(), 1);
    QCOMPARE(two->getSubLeafCount(), 2);
    QCOMPARE(dir->getParent(), two.get());
    QVERIFY(dir->inHierarchyWith(two.get()));
    QVERIFY(!dir->inHierarchyWith(one.get()));
    QVERIFY(!dir->inHierarchyWith(nullptr));
    QCOMPARE(dir->getNodeByString("a")->getRoot(), two.get());
}

void TestHierarchy::deletingUnhooks()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *dir = branch("dir");
    root->addNode(dir);
    dir->addNode(leaf("a"));
    CPackageHierarchyNode *b = leaf("b");
    dir->addNode(b);
    delete b;
    QCOMPARE(dir->getChildCount(), 1u);
    QCOMPARE(root->getSubLeafCount(), 1);
    QVERIFY(!dir->getNodeByString("b"));
    // A node of the same name fits again.
    QVERIFY(dir->addNode(leaf("B")));
    delete dir;
    QCOMPARE(root->getChildCount(), 0u);
    QCOMPARE(root->getSubCount(), 0);
}

void TestHierarchy::subListsRespectDepth()
{
    // root: f1, d1{ f2, d2{ f3 } }, f4
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    root->addNode(leaf("f1"));
    CPackageHierarchyNode *d1 = branch("d1");
    root->addNode(d1);
    d1->addNode(leaf("f2"));
    CPackageHierarchyNode *d2 = branch("d2");
    d1->addNode(d2);
    d2->addNode(leaf("f3"));
    root->addNode(leaf("f4"));

    auto names = [](const std::vector<CHierarchyNode *> &list) {
        QStringList out;
        for (CHierarchyNode *n : list)
            out << *static_cast<CPackageHierarchyNode *>(n);
        return out;
    };
    QCOMPARE(names(root->getSubLeafList()), QStringList({ "f1", "f2", "f3", "f4" }));
    QCOMPARE(names(root->getSubLeafList(0)), QStringList({ "f1", "f4" }));
    QCOMPARE(names(root->getSubLeafList(1)), QStringList({ "f1", "f2", "f4" }));
    QCOMPARE(names(root->getSubNodeList()), QStringList({ "d1", "d2" }));
    QCOMPARE(names(root->getSubNodeList(0)), QStringList({ "d1" }));
}

void TestHierarchy::isNodeInHierarchyOnlySeesChildren()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *dir = branch("dir");
    root->addNode(dir);
    CPackageHierarchyNode *deep = leaf("deep");
    dir->addNode(deep);
    QVERIFY(root->isNodeInHierarchy(dir));
    QVERIFY(!root->isNodeInHierarchy(deep));
    QVERIFY(!root->isNodeInHierarchy(deep, 5));
    QVERIFY(dir->isNodeInHierarchy(deep, 0));
    QVERIFY(!deep->isNodeInHierarchy(deep));
}

void TestHierarchy::leafHasNoChildren()
{
    std::unique_ptr<CPackageHierarchyNode> f(leaf("f"));
    QVERIFY(!f->getNodeByIndex(0));
    QVERIFY(!f->first());
    QVERIFY(!f->last());
    QVERIFY(!f->getNodeByString("x"));
    QVERIFY(!f->getNodeByPath(QStringList { "x" }));
    QVERIFY(!f->getNewNodeByPath(QStringList { "x" }, true));
    QVERIFY(f->getSubLeafList().empty());
}

void TestHierarchy::siblingNamesIgnoreCase()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    QVERIFY(root->addNode(branch("Textures")));
    std::unique_ptr<CPackageHierarchyNode> twin(branch("textures"));
    QVERIFY(!root->addNode(twin.get()));
    QCOMPARE(root->getChildCount(), 1u);
    QCOMPARE(*root->getNodeByString("TEXTURES"), QStringLiteral("Textures"));
}

void TestHierarchy::setNameKeepsNamesUnique()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *a = leaf("a");
    CPackageHierarchyNode *b = leaf("b");
    root->addNode(a);
    root->addNode(b);
    QVERIFY(!b->setName(QString()));
    QVERIFY(!b->setName("A"));
    QVERIFY(b->setName("B")); // its own name in another case is fine
    QVERIFY(b->setName("c"));
    QCOMPARE(root->getNodeByString("C"), b);
    QVERIFY(!root->getNodeByString("b"));
    QVERIFY(root->addNode(leaf("b")));
    std::unique_ptr<CPackageHierarchyNode> lone(leaf("x"));
    QVERIFY(lone->setName("y"));
}

void TestHierarchy::getNodeByPathKinds_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<int>("kind"); // -1 none, 0 branch, 1 leaf
    QTest::newRow("dir") << QStringList { "a", "b" } << 0;
    QTest::newRow("file") << QStringList { "a", "b", "c.txt" } << 1;
    QTest::newRow("empty part skipped") << QStringList { "a", "", "b", "c.txt" } << 1;
    QTest::newRow("other case") << QStringList { "A", "B", "C.TXT" } << 1;
    QTest::newRow("missing") << QStringList { "a", "x" } << -1;
    QTest::newRow("through a file") << QStringList { "a", "b", "c.txt", "d" } << -1;
    QTest::newRow("no parts") << QStringList {} << -1;
}

void TestHierarchy::getNodeByPathKinds()
{
    QFETCH(QStringList, path);
    QFETCH(int, kind);
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    QVERIFY(root->getNewNodeByPath(parts("a/b/c.txt"), true));

    CPackageHierarchyNode *any = root->getNodeByPath(path);
    QCOMPARE(any != nullptr, kind >= 0);
    QCOMPARE(root->getNodeByPath(path, true) != nullptr, kind == 1);
    QCOMPARE(root->getNodeByPath(path, false) != nullptr, kind == 0);
}

void TestHierarchy::getNewNodeByPath()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *f = root->getNewNodeByPath(parts("a/b/c.txt"), true);
    QVERIFY(f);
    QVERIFY(f->isLeaf());
    QCOMPARE(f->index, -1);
    QCOMPARE(root->getSubNodeCount(), 2);
    QCOMPARE(root->getSubLeafCount(), 1);

    // An existing step is reused, an existing end of the right kind returned.
    QCOMPARE(root->getNewNodeByPath(parts("a/b/c.txt"), true), f);
    CPackageHierarchyNode *b = root->getNewNodeByPath(parts("a/b"), false);
    QCOMPARE(b, f->getParent());
    QVERIFY(!root->getNewNodeByPath(parts("a/b"), true));
    QVERIFY(!root->getNewNodeByPath(parts("a/b/c.txt"), false));

    // Nothing grows below a file.
    QVERIFY(!root->getNewNodeByPath(parts("a/b/c.txt/d"), true));
    QCOMPARE(f->getChildCount(), 0u);
    QCOMPARE(root->getSubCount(), 3);

    CPackageHierarchyNode *d = root->getNewNodeByPath(parts("a/d"), false);
    QVERIFY(d && d->isBranch());
    QVERIFY(!root->getNewNodeByPath(QStringList(), true));
}

void TestHierarchy::getNewNodeByPathRefusesCaseCollision()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    QVERIFY(root->getNewNodeByPath(parts("Textures/a.vtf"), true));
    QVERIFY(!root->getNewNodeByPath(parts("textures/A.VTF"), true));
    QVERIFY(!root->getNewNodeByPath(parts("Textures/A.vtf"), true));
    QVERIFY(!root->getNewNodeByPath(parts("TEXTURES/b.vtf"), true));
    QVERIFY(root->getNewNodeByPath(parts("Textures/b.vtf"), true));
    QCOMPARE(root->getSubLeafCount(), 2);
    // Plain lookups still ignore case.
    QVERIFY(root->getNodeByPath(parts("textures/A.VTF"), true));
}

void TestHierarchy::getPathOfNodes()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    CPackageHierarchyNode *f = root->getNewNodeByPath(parts("a/b/c.txt"), true);
    QCOMPARE(f->getPath(true), QStringLiteral("a/b/c.txt"));
    QCOMPARE(f->getPath(false), QStringLiteral("a/b"));
    QCOMPARE(f->getParent()->getPath(true), QStringLiteral("a/b"));
    QCOMPARE(root->getPath(true), QString());
    QCOMPARE(root->getPath(false), QString());
    QCOMPARE(root->getNodeByString("a")->getPath(false), QString());
}

void TestHierarchy::pendingDataOnNode()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("disk.bin");
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(1234, 'x'));
    }
    CPackageHierarchyNode node("n");
    node.setData(QFile::encodeName(path), true);
    QVERIFY(node.hasData);
    QVERIFY(node.dataIsPath);
    QCOMPARE(node.dataLength, 1234u);
    node.setData(QByteArray("abc"), false);
    QCOMPARE(node.dataLength, 0u);
    QVERIFY(!node.updateDataLengthAtPath());
    QCOMPARE(*node.data, QByteArray("abc"));
    // Without a delegate the node has no entry to fall back on.
    QVERIFY(!node.deleteData());
    QVERIFY(node.hasData);

    node.setData(QFile::encodeName(path + "-missing"), true);
    QVERIFY(!node.updateDataLengthAtPath());
}

void TestHierarchy::wideDirectoryLookups()
{
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    const int count = 20000;
    for (int i = 0; i < count; ++i)
        QVERIFY(root->getNewNodeByPath({ "dir", QStringLiteral("File%1.txt").arg(i) }, true));
    CPackageHierarchyNode *dir = root->getNodeByString("DIR");
    QCOMPARE(dir->getChildCount(), static_cast<unsigned int>(count));
    QCOMPARE(root->getSubLeafCount(), count);
    QCOMPARE(*dir->getNodeByString("file12345.TXT"), QStringLiteral("File12345.txt"));
    // Removing from the middle keeps the index right.
    delete dir->getNodeByString("file100.txt");
    QVERIFY(!dir->getNodeByString("File100.txt"));
    QCOMPARE(root->getSubLeafCount(), count - 1);
}

void TestHierarchy::nameLookupsFollowLowerCase_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<bool>("found");
    QTest::newRow("ascii") << "Wall.VTF"
                           << "wall.vtf" << true;
    QTest::newRow("latin-1 letters")
        << QStringLiteral("\u00C9T\u00C9.txt") << QStringLiteral("\u00E9t\u00E9.TXT") << true;
    QTest::newRow("sharp s stays") << QStringLiteral("stra\u00DFe") << "STRASSE" << false;
    QTest::newRow("micro sign is lower already")
        << QStringLiteral("\u00B5") << QStringLiteral("\u039C") << false;
    // Outside Latin-1 the whole string is lowered: the Kelvin sign lowers to "k".
    QTest::newRow("kelvin sign") << QStringLiteral("\u212A.txt") << "k.txt" << true;
    QTest::newRow("greek") << QStringLiteral("\u03A3\u03A3") << QStringLiteral("\u03C3\u03C3")
                           << true;
    QTest::newRow("other length") << "ab"
                                  << "abc" << false;
}

void TestHierarchy::nameLookupsFollowLowerCase()
{
    QFETCH(QString, stored);
    QFETCH(QString, asked);
    QFETCH(bool, found);
    QCOMPARE(stored.toLower() == asked.toLower(), found);
    QCOMPARE(CChildNameIndex::foldedEquals(stored, asked), found);
    if (found)
        QCOMPARE(CChildNameIndex::foldedHash(stored), CChildNameIndex::foldedHash(asked));
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    QVERIFY(root->addNode(leaf(stored)));
    QCOMPARE(root->getNodeByString(asked) != nullptr, found);
    QCOMPARE(root->addNode(leaf(asked)), !found);
}

void TestHierarchy::indexSurvivesRandomChanges()
{
    // Adds, renames, removals and deletions, each checked against lower-cased
    // names kept beside the tree.
    QRandomGenerator random(1905);
    std::unique_ptr<CPackageHierarchyNode> root(branch("root"));
    QHash<QString, CPackageHierarchyNode *> expected;
    std::vector<std::unique_ptr<CPackageHierarchyNode>> detached;
    const QStringList alphabet {
        "a", "B", "c", QStringLiteral("\u00E9"), QStringLiteral("\u00C9"), QStringLiteral("\u212A"),
        "k"
    };
    auto randomName = [&]() {
        QString name;
        const int length = 1 + int(random.bounded(3));
        for (int i = 0; i < length; ++i)
            name += alphabet.at(int(random.bounded(alphabet.size())));
        return name;
    };
    for (int step = 0; step < 3000; ++step) {
        const QString name = randomName();
        CPackageHierarchyNode *child = root->getNodeByString(name);
        QCOMPARE(child, expected.value(name.toLower(), nullptr));
        switch (random.bounded(4)) {
        case 0:
        case 1: {
            CPackageHierarchyNode *fresh = leaf(name);
            const bool added = root->addNode(fresh);
            QCOMPARE(added, !child);
            if (added)
                expected.insert(name.toLower(), fresh);
            else
                delete fresh;
            break;
        }
        case 2:
            if (child) {
                const QString renamed = randomName();
                const bool free = !expected.contains(renamed.toLower())
                    || expected.value(renamed.toLower()) == child;
                QCOMPARE(child->setName(renamed), free);
                if (free) {
                    expected.remove(name.toLower());
                    expected.insert(renamed.toLower(), child);
                }
            }
            break;
        default:
            if (child) {
                expected.remove(name.toLower());
                if (random.bounded(2)) {
                    delete child;
                } else {
                    root->removeNode(child);
                    detached.emplace_back(child);
                }
            }
            break;
        }
    }
    QCOMPARE(qsizetype(root->getChildCount()), expected.size());
    for (auto it = expected.begin(); it != expected.end(); ++it)
        QCOMPARE(root->getNodeByString(it.key().toUpper()), it.value());
}

void TestHierarchy::pathsThroughForeignNodes()
{
    // A package node below a plain node: the plain node adds an empty name,
    // as it always has.
    CHierarchyNode top;
    top.makeNode();
    auto *middle = new CHierarchyNode();
    middle->makeNode();
    QVERIFY(top.addNode(middle));
    auto *named = branch("named");
    QVERIFY(middle->addNode(named));
    CPackageHierarchyNode *file = leaf("file.txt");
    QVERIFY(named->addNode(file));
    QCOMPARE(file->getPath(true), QStringLiteral("/named/file.txt"));
    QCOMPARE(file->getPath(false), QStringLiteral("/named"));
    QVERIFY(!named->getParent());
}

QTEST_GUILESS_MAIN(TestHierarchy)
#include "tst_hierarchy.moc"
