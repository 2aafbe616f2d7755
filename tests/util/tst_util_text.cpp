#include "ZirkTest.h"
#include "util/UtilText.h"

Q_DECLARE_METATYPE(std::string)

class TestUtilText : public QObject
{
    Q_OBJECT

private slots:
    void isWhitespace()
    {
        for (char c : { ' ', '\t', '\r', '\n', '\v', '\f', '\b', '\a' })
            QVERIFY2(UTIL_isWhitespace(c), qPrintable(QString::number(int(c))));
        for (char c : { 'a', '\0', '"', '/', char(0xA0), char(27) })
            QVERIFY2(!UTIL_isWhitespace(c), qPrintable(QString::number(int(c))));
    }

    void getPart_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("found");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("stdValue");
        QTest::addColumn<QString>("qtValue");
        QTest::addColumn<bool>("qtValueNull");

        QTest::newRow("value at line end refused") << "key value" << false << "key"
                                                   << ""
                                                   << "" << true;
        QTest::newRow("trailing blank kept") << "key value " << true << "key"
                                             << "value "
                                             << "value " << false;
        QTest::newRow("quoted") << "\t\"$basetexture\" \"a b/c\"" << true << "$basetexture"
                                << "a b/c"
                                << "a b/c" << false;
        QTest::newRow("quoted value unterminated") << "k \"abc" << false << "k"
                                                   << ""
                                                   << "" << true;
        QTest::newRow("key only") << "  key  " << false << "key"
                                  << "?"
                                  << "" << true;
        QTest::newRow("key then comment") << "key //x y" << false << "key"
                                          << "?"
                                          << "" << true;
        QTest::newRow("comment line") << "  // key value " << false << ""
                                      << ""
                                      << "" << true;
        QTest::newRow("blank line") << " \t " << false << ""
                                    << ""
                                    << "" << true;
        QTest::newRow("empty quotes") << "\"\" \"\"" << true << ""
                                      << ""
                                      << "" << false;
        QTest::newRow("single quote char key") << "\" v " << true << "\""
                                               << "v "
                                               << "v " << false;
        QTest::newRow("half quoted key") << "\"key v\t" << true << "key"
                                         << "v\t"
                                         << "v\t" << false;
    }

    void getPart()
    {
        QFETCH(QString, line);
        QFETCH(bool, found);
        QFETCH(QString, key);
        QFETCH(QString, stdValue);
        QFETCH(QString, qtValue);
        QFETCH(bool, qtValueNull);

        std::string stdKey = "stale", stdVal = "stale";
        QCOMPARE(UTIL_getPart(line.toStdString(), stdKey, stdVal), found);
        QCOMPARE(QString::fromStdString(stdKey), key);
        QCOMPARE(QString::fromStdString(stdVal), stdValue);

        QString qtKey = "stale", qtVal = "stale";
        QCOMPARE(UTIL_getPart(line, qtKey, qtVal), found);
        QCOMPARE(qtKey, key);
        QCOMPARE(qtVal, qtValue);
        if (qtValueNull)
            QVERIFY(qtVal.isEmpty());
        if (!found && !stdValue.isEmpty())
            QVERIFY(qtVal.isNull());
    }

    void getPartWhiteSpaceDiffers()
    {
        // Backspace counts as white space in the byte form only.
        std::string key, value;
        QVERIFY(UTIL_getPart(std::string("k\bv\b"), key, value));
        QCOMPARE(key, std::string("k"));
        QCOMPARE(value, std::string("v\b"));

        QString qtKey, qtValue;
        QVERIFY(!UTIL_getPart(QStringLiteral("k\bv\b"), qtKey, qtValue));
        QCOMPARE(qtKey, QStringLiteral("k\bv\b"));
    }

    void getPartsTokens_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("tokens");
        QTest::newRow("plain") << "a bb  ccc" << QStringList { "a", "bb", "ccc" };
        QTest::newRow("quoted") << "\"key one\" \"value\"" << QStringList { "key one", "value" };
        QTest::newRow("comment") << "k v // the rest \"x\""
                                 << QStringList { "k", "v", "// the rest \"x" };
        QTest::newRow("longest wins") << "\"a\"b c" << QStringList { "a\"b", "c" };
        QTest::newRow("quote inside token") << "x\"y" << QStringList { "x\"y" };
        QTest::newRow("padded quoted") << "\" pad \"" << QStringList { "pad" };
        QTest::newRow("empty") << "" << QStringList {};
    }

    void getPartsTokens()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, tokens);
        QCOMPARE(UTIL_getParts(line), tokens);
    }

    void getPartsKeyValueComment_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("comment");
        QTest::newRow("all three") << "\"$alpha\" 1 // see below"
                                   << "$alpha"
                                   << "1"
                                   << "// see below";
        QTest::newRow("extra ignored") << "a b c d"
                                       << "a"
                                       << "b"
                                       << "";
        QTest::newRow("comment only") << "//only"
                                      << ""
                                      << ""
                                      << "//only";
        QTest::newRow("key only") << "  alone "
                                  << "alone"
                                  << ""
                                  << "";
    }

    void getPartsKeyValueComment()
    {
        QFETCH(QString, line);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, comment);
        QString k = "stale", v = "stale", c = "stale";
        UTIL_getParts(line, k, v, c);
        QCOMPARE(k, key);
        QCOMPARE(v, value);
        QCOMPARE(c, comment);
        QCOMPARE(k.isNull(), key.isEmpty());
        QCOMPARE(v.isNull(), value.isEmpty());
        QCOMPARE(c.isNull(), comment.isEmpty());

        QString k2, v2;
        UTIL_getParts(line, k2, v2);
        QCOMPARE(k2, key);
        QCOMPARE(v2, value);
    }

    void getPartsBytes()
    {
        QByteArray key = "stale", value = "stale", comment = "stale";
        QByteArray line("\"\" \"\xe9t\xe9\" // c");
        line.append('\0');
        line.append("ignored after the NUL");
        UTIL_getParts(line, key, value, comment);
        QVERIFY(key.isEmpty());
        QVERIFY(!key.isNull());
        QCOMPARE(value, QByteArray("\xe9t\xe9"));
        QCOMPARE(comment, QByteArray("// c"));

        UTIL_getParts(QByteArray("single"), key, value);
        QCOMPARE(key, QByteArray("single"));
        QVERIFY(value.isNull());
    }

    void groupDigits_data()
    {
        QTest::addColumn<qulonglong>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0ULL << "0";
        QTest::newRow("123") << 123ULL << "123";
        QTest::newRow("1234") << 1234ULL << "1,234";
        QTest::newRow("123456") << 123456ULL << "123,456";
        QTest::newRow("1234567") << 1234567ULL << "1,234,567";
        QTest::newRow("max") << ~0ULL << "18,446,744,073,709,551,615";
    }

    void groupDigits()
    {
        QFETCH(qulonglong, value);
        QFETCH(QString, text);
        QCOMPARE(UTIL_groupDigits(value), text);
    }

    void standardNotationFloat_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("precision");
        QTest::addColumn<QString>("text");
        QTest::newRow("fraction") << 1.5 << 6 << "1.5";
        QTest::newRow("integral") << 100.0 << 3 << "100";
        QTest::newRow("rounded") << 0.126 << 2 << "0.13";
        QTest::newRow("small") << 0.0001 << 3 << "0";
        QTest::newRow("negative") << -2.50 << 4 << "-2.5";
        QTest::newRow("precision 0 eats zeros") << 100.0 << 0 << "1";
        QTest::newRow("precision 0 keeps digits") << 123.0 << 0 << "123";
        QTest::newRow("precision 0 zero") << 0.0 << 0 << "";
        QTest::newRow("large") << 1e20 << 1 << "100000000000000000000";
    }

    void standardNotationFloat()
    {
        QFETCH(double, value);
        QFETCH(int, precision);
        QFETCH(QString, text);
        QCOMPARE(UTIL_standardNotationFloat(value, precision), text);
    }

    void powersOfTwo_data()
    {
        QTest::addColumn<qulonglong>("value");
        QTest::addColumn<qulonglong>("next");
        QTest::addColumn<qulonglong>("nextStrict");
        QTest::addColumn<qulonglong>("last");
        QTest::addColumn<qulonglong>("nearest");
        const qulonglong top = 1ULL << 63;
        QTest::newRow("0") << 0ULL << 1ULL << 1ULL << 1ULL << 1ULL;
        QTest::newRow("1") << 1ULL << 1ULL << 2ULL << 1ULL << 1ULL;
        QTest::newRow("3") << 3ULL << 4ULL << 4ULL << 2ULL << 4ULL;
        QTest::newRow("5") << 5ULL << 8ULL << 8ULL << 4ULL << 4ULL;
        QTest::newRow("6 tie goes up") << 6ULL << 8ULL << 8ULL << 4ULL << 8ULL;
        QTest::newRow("8") << 8ULL << 8ULL << 16ULL << 8ULL << 8ULL;
        QTest::newRow("1000") << 1000ULL << 1024ULL << 1024ULL << 512ULL << 1024ULL;
        QTest::newRow("2^63") << top << top << top << 0ULL << top;
        QTest::newRow("2^62+1") << (1ULL << 62) + 1 << top << top << (1ULL << 62) << (1ULL << 62);
        QTest::newRow("2^63+5 uses low bits") << top + 5 << 8ULL << 8ULL << 4ULL << 4ULL;
    }

    void powersOfTwo()
    {
        QFETCH(qulonglong, value);
        QFETCH(qulonglong, next);
        QFETCH(qulonglong, nextStrict);
        QFETCH(qulonglong, last);
        QFETCH(qulonglong, nearest);
        QCOMPARE(UTIL_nextPowerOfTwo(value, false), next);
        QCOMPARE(UTIL_nextPowerOfTwo(value, true), nextStrict);
        QCOMPARE(UTIL_lastPowerOfTwo(value, false), last);
        QCOMPARE(UTIL_lastPowerOfTwo(value, true), last);
        QCOMPARE(UTIL_nearestPowerOfTwo(value), nearest);
    }

    void flagToIndex_data()
    {
        QTest::addColumn<qulonglong>("flag");
        QTest::addColumn<int>("index");
        QTest::newRow("0") << 0ULL << -1;
        QTest::newRow("1") << 1ULL << 0;
        QTest::newRow("0x400") << 0x400ULL << 10;
        QTest::newRow("bit 30") << (1ULL << 30) << 30;
        QTest::newRow("bit 31") << 0x80000000ULL << -1;
        QTest::newRow("bit 32") << (1ULL << 32) << -1;
        QTest::newRow("bit 63") << (1ULL << 63) << -1;
        QTest::newRow("two bits") << 0x6ULL << -1;
    }

    void flagToIndex()
    {
        QFETCH(qulonglong, flag);
        QFETCH(int, index);
        QCOMPARE(UTIL_flagToIndex(flag), index);
    }
};

QTEST_GUILESS_MAIN(TestUtilText)
#include "tst_util_text.moc"
