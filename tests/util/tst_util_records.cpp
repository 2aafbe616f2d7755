#include "ZirkTest.h"
#include "util/CPair.h"
#include "util/CTriplet.h"
#include "util/CVector3.h"
#include "util/UtilContainers.h"

namespace {

struct CCounted
{
    explicit CCounted(int *deaths)
        : deaths(deaths)
    { }
    ~CCounted() { ++*deaths; }
    int *deaths;
};

} // namespace

class TestUtilRecords : public QObject
{
    Q_OBJECT

private slots:
    void vectorAgainstVector_data()
    {
        QTest::addColumn<CVector3>("a");
        QTest::addColumn<CVector3>("b");
        QTest::addColumn<bool>("less");
        QTest::addColumn<bool>("lessEqual");
        QTest::addColumn<bool>("greater");
        QTest::addColumn<bool>("greaterEqual");
        QTest::addColumn<bool>("equal");
        QTest::newRow("shorter") << CVector3(1, 0, 0) << CVector3(2, 0, 0) << true << true << false
                                 << false << false;
        QTest::newRow("longer") << CVector3(3, 0, 0) << CVector3(0, 0, 2) << false << false << true
                                << true << false;
        QTest::newRow("same length, other direction")
            << CVector3(1, 0, 0) << CVector3(0, -1, 0) << false << false << true << true << false;
        QTest::newRow("identical")
            << CVector3(1, 2, 3) << CVector3(1, 2, 3) << false << true << true << true << true;
    }

    void vectorAgainstVector()
    {
        QFETCH(CVector3, a);
        QFETCH(CVector3, b);
        QFETCH(bool, less);
        QFETCH(bool, lessEqual);
        QFETCH(bool, greater);
        QFETCH(bool, greaterEqual);
        QFETCH(bool, equal);
        QCOMPARE(a < b, less);
        QCOMPARE(a <= b, lessEqual);
        QCOMPARE(a > b, greater);
        QCOMPARE(a >= b, greaterEqual);
        QCOMPARE(a == b, equal);
    }

    void vectorAgainstLength_data()
    {
        QTest::addColumn<float>("length");
        QTest::addColumn<bool>("less");
        QTest::addColumn<bool>("lessEqual");
        QTest::addColumn<bool>("greater");
        QTest::addColumn<bool>("greaterEqual");
        QTest::addColumn<bool>("equal");
        // The vector (3, 4, 0) has the unsquared length 25.
        QTest::newRow("equal") << 5.0f << false << true << true << true << true;
        QTest::newRow("negative squares") << -5.0f << false << true << true << true << true;
        QTest::newRow("longer") << 6.0f << true << true << false << false << false;
        QTest::newRow("shorter") << 4.0f << false << false << true << true << false;
    }

    void vectorAgainstLength()
    {
        QFETCH(float, length);
        QFETCH(bool, less);
        QFETCH(bool, lessEqual);
        QFETCH(bool, greater);
        QFETCH(bool, greaterEqual);
        QFETCH(bool, equal);
        const CVector3 v(3, 4, 0);
        QCOMPARE(v.getUnsquaredLength(), 25.0f);
        QCOMPARE(v < length, less);
        QCOMPARE(v <= length, lessEqual);
        QCOMPARE(v > length, greater);
        QCOMPARE(v >= length, greaterEqual);
        QCOMPARE(v == length, equal);
    }

    void vectorArithmeticAndConversion()
    {
        const Vector3 plain { 1.0f, -2.0f, 0.5f };
        const CVector3 v = plain;
        QVERIFY(v == CVector3(1.0f, -2.0f, 0.5f));
        QVERIFY(v + CVector3(1, 1, 1) == CVector3(2.0f, -1.0f, 1.5f));
        QVERIFY(v - v == CVector3());
        QCOMPARE(CVector3().getUnsquaredLength(), 0.0f);
    }

    void records()
    {
        CPair<int, QString> pair { 3, QStringLiteral("x") };
        QCOMPARE(pair.first, 3);
        QCOMPARE(pair.second, QStringLiteral("x"));
        CTriplet<int *, QString, double> triplet;
        QCOMPARE(triplet.first, nullptr);
        QVERIFY(triplet.second.isEmpty());
        QCOMPARE(triplet.third, 0.0);
    }

    void removeDuplicatesKeepsFirstOccurrences()
    {
        int a = 0, b = 0, c = 0;
        QList<int *> list { &a, &b, &a, &c, &b, &a };
        UTIL_removeDuplicates(list);
        QCOMPARE(list, (QList<int *> { &a, &b, &c }));

        std::vector<int *> vector { &c, &c, &a, &c };
        UTIL_removeDuplicates(vector);
        QVERIFY((vector == std::vector<int *> { &c, &a }));
    }

    void deleteAsPointerArrayDeletesEachOnce()
    {
        int deaths = 0;
        auto *x = new CCounted(&deaths);
        auto *y = new CCounted(&deaths);
        QList<CCounted *> list { x, y, x, y, x };
        UTIL_deleteListAsPointerArray(list);
        QCOMPARE(deaths, 2);
        QCOMPARE(list.size(), 2); // stale pointers stay for the caller to clear

        deaths = 0;
        std::vector<CCounted *> vector { new CCounted(&deaths), nullptr };
        vector.push_back(vector.front());
        UTIL_deleteVectorAsPointerArray(vector);
        QCOMPARE(deaths, 1);
        QCOMPARE(vector.size(), size_t(2));
    }
};

QTEST_GUILESS_MAIN(TestUtilRecords)
#include "tst_util_records.moc"
