#include "ZirkTest.h"
#include "util/UtilPath.h"

#include <QTemporaryDir>

class TestUtilPath : public QObject
{
    Q_OBJECT

private slots:
    void nameAndPath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("base");
        QTest::newRow("no separator") << "name.txt"
                                      << "name.txt"
                                      << "name.txt"
                                      << "name";
        QTest::newRow("mixed separators") << "a\\b/c.d"
                                          << "c.d"
                                          << "a\\b"
                                          << "c";
        QTest::newRow("backslash last") << "a/b\\c.tar.gz"
                                        << "c.tar.gz"
                                        << "a/b"
                                        << "c";
        QTest::newRow("trailing separator") << "dir/"
                                            << ""
                                            << "dir"
                                            << "";
        QTest::newRow("rooted") << "/x"
                                << "x"
                                << ""
                                << "x";
        QTest::newRow("dot in folder only") << "a.b/c"
                                            << "c"
                                            << "a.b"
                                            << "c";
        QTest::newRow("empty") << ""
                               << ""
                               << ""
                               << "";
    }

    void nameAndPath()
    {
        QFETCH(QString, path);
        QFETCH(QString, name);
        QFETCH(QString, folder);
        QFETCH(QString, base);
        QCOMPARE(UTIL_getFileName(path), name);
        QCOMPARE(UTIL_getFilePath(path), folder);
        QCOMPARE(UTIL_fileBaseName(path), base);
    }

    void extension_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("full");
        QTest::newRow("plain") << "a/b.vtf"
                               << "vtf"
                               << "vtf";
        QTest::newRow("double") << "x\\c.tar.gz"
                                << "gz"
                                << "tar.gz";
        QTest::newRow("dot only in folder") << "a.b/c"
                                            << ""
                                            << "";
        QTest::newRow("trailing dot") << "c."
                                      << ""
                                      << "";
        QTest::newRow("hidden file") << ".vimrc"
                                     << "vimrc"
                                     << "vimrc";
    }

    void extension()
    {
        QFETCH(QString, path);
        QFETCH(QString, last);
        QFETCH(QString, full);
        QCOMPARE(UTIL_getFileExtension(path, false), last);
        QCOMPARE(UTIL_getFileExtension(path, true), full);
    }

    void trimFileName_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("trimmed");
        QTest::newRow("plain") << "a/b.vtf"
                               << "a/b";
        QTest::newRow("ignores separators") << "a.b/c"
                                            << "a";
        QTest::newRow("last dot") << "c.tar.gz"
                                  << "c.tar";
        QTest::newRow("no dot") << "abc"
                                << "abc";
    }

    void trimFileName()
    {
        QFETCH(QString, path);
        QFETCH(QString, trimmed);
        UTIL_trimFileName(path);
        QCOMPARE(path, trimmed);
    }

    void trimFilePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("trimmed");
        QTest::newRow("both ends") << " /a/b\\ \t"
                                   << "a/b";
        QTest::newRow("inner kept") << "a//b"
                                    << "a//b";
        QTest::newRow("single separator kept") << "/"
                                               << "/";
        QTest::newRow("single blank kept") << " "
                                           << " ";
        QTest::newRow("two separators") << "//"
                                        << "";
    }

    void trimFilePath()
    {
        QFETCH(QString, path);
        QFETCH(QString, trimmed);
        const QString copy = UTIL_trimFilePath(static_cast<const QString &>(path));
        QCOMPARE(copy, trimmed);
        UTIL_trimFilePath(path);
        QCOMPARE(path, trimmed);
    }

    void slashes()
    {
        QString path = QStringLiteral("a\\b/c\\");
        QCOMPARE(UTIL_filePathSlashToForward(static_cast<const QString &>(path)),
                 QStringLiteral("a/b/c/"));
        QCOMPARE(path, QStringLiteral("a\\b/c\\"));
        UTIL_filePathSlashToBackwards(path);
        QCOMPARE(path, QStringLiteral("a\\b\\c\\"));
        UTIL_filePathSlashToForward(path);
        QCOMPARE(path, QStringLiteral("a/b/c/"));
    }

    void compareFilePath_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("equal");
        QTest::newRow("both empty") << ""
                                    << "" << true;
        QTest::newRow("case") << "Models/A.mdl"
                              << "models/a.MDL" << true;
        QTest::newRow("separator kinds") << "a\\b/c"
                                         << "a/b\\c" << true;
        QTest::newRow("lengths") << "a/b"
                                 << "a//b" << false;
        QTest::newRow("separator vs letter") << "a/b"
                                             << "axb" << false;
        QTest::newRow("different") << "a/b"
                                   << "a/c" << false;
    }

    void compareFilePath()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(bool, equal);
        QCOMPARE(UTIL_compareFilePath(a, b), equal);
        QCOMPARE(UTIL_compareFilePath(b, a), equal);
    }

    void compareQString()
    {
        QVERIFY(UTIL_compareQString("Abc", "aBC", Qt::CaseInsensitive));
        QVERIFY(!UTIL_compareQString("Abc", "aBC", Qt::CaseSensitive));
        QVERIFY(UTIL_compareQString("Abc", "Abc", Qt::CaseSensitive));
        QVERIFY(!UTIL_compareQString("Abc", "Abd", Qt::CaseInsensitive));
    }

    void cleanFilePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("clean");
        QTest::addColumn<bool>("isNull");
        QTest::newRow("mixed runs") << " \\models//a\\\\b.mdl/ "
                                    << "models/a/b.mdl" << false;
        QTest::newRow("rooted loses root") << "/usr/share"
                                           << "usr/share" << false;
        QTest::newRow("inner blank kept") << "a b\\/c"
                                          << "a b/c" << false;
        QTest::newRow("only separators") << " /\\ "
                                         << "" << true;
        QTest::newRow("already clean") << "materials/x.vmt"
                                       << "materials/x.vmt" << false;
        QTest::newRow("single character") << "a"
                                          << "a" << false;
    }

    void cleanFilePath()
    {
        QFETCH(QString, path);
        QFETCH(QString, clean);
        QFETCH(bool, isNull);
        QString work = path;
        UTIL_cleanFilePath(work);
        QCOMPARE(work, clean);
        QCOMPARE(work.isNull(), isNull);
        QCOMPARE(UTIL_cleanFilePath(static_cast<const QString &>(path)), clean);

        QByteArray bytes = path.toLatin1();
        bytes.append('\0');
        bytes.append("/trailing/garbage");
        QCOMPARE(UTIL_cleanFilePath(bytes), clean);
    }

    void cleanFilePathEmptyStaysEmpty()
    {
        QString empty(QLatin1String(""));
        UTIL_cleanFilePath(empty);
        QVERIFY(empty.isEmpty());
        QVERIFY(!empty.isNull());
    }

    void cleanFilePathKeepsHighLatin1Bytes()
    {
        QCOMPARE(UTIL_cleanFilePath(QByteArray("/caf\xe9\\x/")), QStringLiteral("caf\u00e9/x"));
    }

    void extensionForFileDialogFilter_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("extension");
        QTest::newRow("two patterns") << "Images (*.png *.jpg)"
                                      << "png";
        QTest::newRow("one pattern") << "Valve Texture File (*.vtf)"
                                     << "vtf";
        QTest::newRow("bare") << "*.vmt"
                              << "vmt";
        QTest::newRow("none") << "All Files (*)"
                              << "";
    }

    void extensionForFileDialogFilter()
    {
        QFETCH(QString, filter);
        QFETCH(QString, extension);
        QCOMPARE(UTIL_extensionForFileDialogFilter(filter), extension);
    }

    void makeDirectoriesKeepsTheFileNameAsFolder()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath("one/two/name.vtf");
        QVERIFY(UTIL_makeDirectoriesForPath(file, true));
        // The file name has become a folder too; callers depend on that.
        QVERIFY(QFileInfo(file).isDir());

        const QString folder = dir.filePath("three/four");
        QVERIFY(UTIL_makeDirectoriesForPath(folder, false));
        QVERIFY(QFileInfo(folder).isDir());

        const QString literal = dir.filePath("five\\\\|/six");
        QVERIFY(UTIL_makeDirectoriesForPath(literal, true));
        QVERIFY(QFileInfo(dir.filePath("five")).isDir());
        QVERIFY(!QFileInfo(dir.filePath("five\\\\|")).exists());
    }
};

QTEST_GUILESS_MAIN(TestUtilPath)
#include "tst_util_path.moc"
