#include "MaterialsTestSupport.h"
#include "ZirkTest.h"

#include "materials/CVMTBatch.h"
#include "materials/VMTText.h"

#include <QRandomGenerator>
#include <QTemporaryDir>

namespace {

struct Line
{
    QString text;
    bool isError;
};

// Runs a batch and collects its log.
CVMTBatch::Status_t run(const QList<CVMTBatch::Entry_t> &entries,
                        const CVMTBatch::Options_t &options, QList<Line> &log)
{
    return CVMTBatch::run(entries, options, [&log](const QString &text, bool isError) {
        log.append({ text, isError });
    });
}

QStringList texts(const QList<Line> &log)
{
    QStringList list;
    for (const Line &line : log)
        list << line.text;
    return list;
}

CVMTBatch::Entry_t entry(const QString &path)
{
    return { path, CVMTBatch::relativePath(path) };
}

const QByteArray Material = "\"VertexLitGeneric\"\n"
                            "{\n"
                            "\t\"$basetexture\" \"models/a\"\n"
                            "\t\"$bumpmap\" \"models/a_normal\"\n"
                            "\t// lit\n"
                            "\t\"$selfillum\" \"1\"\n"
                            "\n"
                            "\t\"Proxies\"\n"
                            "\t{\n"
                            "\t\t\"Sine\"\n"
                            "\t\t{\n"
                            "\t\t\t\"resultVar\" \"$selfillumtint\"\n"
                            "\t\t}\n"
                            "\t}\n"
                            "}\n";

} // namespace

class TestMaterialsBatch : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString path(const QString &relative) const { return dir.filePath(relative); }

private slots:
    void relativePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("relative");
        QTest::newRow("plain") << "/g/materials/brick/wall.vmt"
                               << "brick/wall";
        QTest::newRow("the last materials folder") << "/g/materials/x/materials/a.vmt"
                                                   << "a";
        QTest::newRow("any case, dotted folder") << "/g/Materials/b.c/d"
                                                 << "b.c/d";
        QTest::newRow("elsewhere") << "/g/textures/a.vmt"
                                   << "";
    }

    void relativePath()
    {
        QFETCH(QString, path);
        QFETCH(QString, relative);
        QCOMPARE(CVMTBatch::relativePath(path), relative);
    }

    void entryForPath_data()
    {
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<bool>("listed");
        QTest::addColumn<QString>("material"); // relative to the folder
        QTest::addColumn<QByteArray>("text"); // of the material afterwards
        QTest::addColumn<QString>("message");
        QTest::newRow("material") << "game/materials/brick/wall.vmt" << true
                                  << "game/materials/brick/wall.vmt" << Material << "";
        QTest::newRow("texture with its material")
            << "game/materials/brick/wall.vtf" << true << "game/materials/brick/wall.vmt"
            << Material << "";
        QTest::newRow("texture without: a new material")
            << "game/materials/brick/new.VTF" << true << "game/materials/brick/new.vmt"
            << QByteArray("\"LightmappedGeneric\"\n{\n\t\"$basetexture\" \"brick/new\"\n}\n") << "";
        QTest::newRow("material elsewhere")
            << "loose/a.vmt" << true << "loose/a.vmt" << QByteArray("\"S\"\n{\n}\n") << "";
        QTest::newRow("texture elsewhere without material")
            << "loose/b.vtf" << false << "loose/b.vmt" << QByteArray()
            << "%1\" not under a \"materials\" directory missing matching VMT.";
        QTest::newRow("material that cannot be created")
            << "game/materials/gone/c.vtf" << false << "game/materials/gone/c.vmt" << QByteArray()
            << "Unable to create .vmt for \"%1\"";
    }

    void entryForPath()
    {
        QFETCH(QString, chosen);
        QFETCH(bool, listed);
        QFETCH(QString, material);
        QFETCH(QByteArray, text);
        QFETCH(QString, message);
        QTemporaryDir root;
        writeFile(root.filePath(QStringLiteral("game/materials/brick/wall.vmt")), Material);
        writeFile(root.filePath(QStringLiteral("game/materials/brick/wall.vtf")), "VTF");
        writeFile(root.filePath(QStringLiteral("game/materials/brick/new.VTF")), "VTF");
        writeFile(root.filePath(QStringLiteral("loose/a.vmt")), "\"S\"\n{\n}\n");
        // "gone" is a file, so no material can be created below it.
        writeFile(root.filePath(QStringLiteral("game/materials/gone")), "");

        CVMTBatch::Entry_t entry;
        QString log;
        const QString full = root.filePath(chosen);
        QCOMPARE(CVMTBatch::entryForPath(full, entry, log), listed);
        QCOMPARE(log, message.isEmpty() ? QString() : message.arg(full));
        QCOMPARE(readFile(root.filePath(material)), text);
        if (listed) {
            QCOMPARE(entry.path, root.filePath(material));
            QCOMPARE(entry.relativePath, CVMTBatch::relativePath(entry.path));
        }
    }

    void apply_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("remove");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("asterisk");
        QTest::addColumn<QString>("expected"); // "=" for no change
        using B = CVMTBatch;
        const QString head = QStringLiteral("\"VertexLitGeneric\"\n{\n");
        const QString tail = QString::fromLatin1(Material.mid(Material.indexOf("\n\t\"Proxies\"")));
        QTest::newRow("relative path for *") << int(B::Parameter) << false << "$detail"
                                             << "*_detail"
                                             << ""
                                             << head
                + "\t\"$basetexture\" \"models/a\"\n\t\"$bumpmap\" \"models/a_normal\"\n\t// "
                  "lit\n\t\"$selfillum\" \"1\"\n\t\"$detail\" \"brick/wall_detail\"\n"
                + tail;
        QTest::newRow("value of a key for *") << int(B::Parameter) << false << "$basetexture"
                                              << "*2"
                                              << "$bumpmap"
                                              << head
                + "\t\"$basetexture\" \"models/a_normal2\"\n\t\"$bumpmap\" \"models/a_normal\"\n"
                  "\t// lit\n\t\"$selfillum\" \"1\"\n"
                + tail;
        QTest::newRow("no such key: no parameter") << int(B::Parameter) << false << "$detail"
                                                   << "*"
                                                   << "$envmap"
                                                   << "=";
        QTest::newRow("key below Proxies: no parameter") << int(B::Parameter) << false << "$detail"
                                                         << "*"
                                                         << "resultVar"
                                                         << "=";
        QTest::newRow("no * : as it stands") << int(B::Parameter) << false << "$selfillum"
                                             << "0"
                                             << "$envmap"
                                             << head
                + "\t\"$basetexture\" \"models/a\"\n\t\"$bumpmap\" \"models/a_normal\"\n\t// "
                  "lit\n\t\"$selfillum\" \"0\"\n"
                + tail;
        QTest::newRow("remove all parameters") << int(B::Parameter) << true << ""
                                               << ""
                                               << "" << head + "\t// lit\n" + tail;
        QTest::newRow("remove one key")
            << int(B::Parameter) << true << "$bumpmap"
            << ""
            << ""
            << head + "\t\"$basetexture\" \"models/a\"\n\t// lit\n\t\"$selfillum\" \"1\"\n" + tail;
        QTest::newRow("remove key and value, value differs")
            << int(B::Parameter) << true << "$bumpmap"
            << "other"
            << ""
            << "=";
        QTest::newRow("remove key, exact case only") << int(B::Parameter) << true << "$BUMPMAP"
                                                     << ""
                                                     << ""
                                                     << "=";
        QTest::newRow("remove proxy") << int(B::Proxy) << true << "sine"
                                      << ""
                                      << ""
                                      << head
                + "\t\"$basetexture\" \"models/a\"\n\t\"$bumpmap\" \"models/a_normal\"\n\t// "
                  "lit\n\t\"$selfillum\" \"1\"\n}\n";
    }

    void apply()
    {
        QFETCH(int, type);
        QFETCH(bool, remove);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, asterisk);
        QFETCH(QString, expected);
        CVMTBatch::Options_t options;
        options.type = CVMTBatch::AddDataType_t(type);
        options.remove = remove;
        options.key = key;
        options.value = value;
        options.asteriskKey = asterisk;
        options.proxyName = key;
        QString text = QString::fromLatin1(Material);
        bool unchanged = true;
        QVERIFY(!CVMTBatch::apply(text, { QStringLiteral("/m"), QStringLiteral("brick/wall") },
                                  options, unchanged));
        QCOMPARE(text, expected == QLatin1String("=") ? QString::fromLatin1(Material) : expected);
        QCOMPARE(unchanged, !remove && value.contains(QLatin1Char('*')) && expected == "=");
    }

    void runGoesOnPastFailures()
    {
        const QString good1 = path(QStringLiteral("run/materials/a.vmt"));
        const QString crlf = path(QStringLiteral("run/materials/b.vmt"));
        const QString missing = path(QStringLiteral("run/materials/missing.vmt"));
        const QString locked = path(QStringLiteral("run/materials/locked.vmt"));
        const QString unquoted = path(QStringLiteral("run/materials/c.vmt"));
        const QString good2 = path(QStringLiteral("run/materials/d.vmt"));
        writeFile(good1, Material);
        writeFile(crlf, "\"Old\"\r\n{\r\n\t\"$a\" \"1\"\r\n}\r\n");
        writeFile(locked, Material);
        writeFile(unquoted, "Old\r\n{\r\n}\r\n");
        writeFile(good2, "\"Old\"\n{\n}");
        if (!lockFile(locked))
            QSKIP("no way to make a file unwritable here");

        CVMTBatch::Options_t options;
        options.shader = QStringLiteral("UnlitGeneric");
        QList<Line> log;
        QList<int> progress;
        const auto status = CVMTBatch::run(
            { entry(good1), entry(crlf), entry(missing), entry(locked), entry(unquoted),
              entry(good2) },
            options,
            [&log](const QString &text, bool isError) {
                log.append({ text, isError });
            },
            [&progress](int done) {
                progress << done;
                return true;
            });
        unlockFile(locked);
        QCOMPARE(status, CVMTBatch::Complete);
        QCOMPARE(progress, QList<int>({ 1, 2, 3, 4, 5, 6 }));
        QCOMPARE(texts(log),
                 QStringList({ QStringLiteral("Unable to read from \"%1\"").arg(missing),
                               QStringLiteral("Unable to write to \"%1\"").arg(locked),
                               QStringLiteral("\"%1\": Shader replacement accuracy may be "
                                              "questionable.")
                                   .arg(unquoted) }));
        for (const Line &line : log)
            QVERIFY(line.isError);
        QVERIFY(readFile(good1).startsWith("\"UnlitGeneric\"\n{\n\t\"$basetexture\""));
        // Read as text: the carriage returns go with the change.
        QCOMPARE(readFile(crlf), QByteArray("\"UnlitGeneric\"\n{\n\t\"$a\" \"1\"\n}\n"));
        QCOMPARE(readFile(locked), Material);
        // Nothing changed, nothing written: the line ends stay.
        QCOMPARE(readFile(unquoted), QByteArray("Old\r\n{\r\n}\r\n"));
        QCOMPARE(readFile(good2), QByteArray("\"UnlitGeneric\"\n{\n}"));
    }

    void proxiesWithValuesAndTheWholeBlock()
    {
        const QString file = path(QStringLiteral("proxy/materials/p.vmt"));
        writeFile(file, Material);
        CVMTBatch::Options_t options;
        options.type = CVMTBatch::Proxy;
        options.proxyName = QStringLiteral("Clamp");
        options.proxyKeys = QStringList { QStringLiteral("min"), QStringLiteral("max") };
        options.proxyValues = QStringList { QStringLiteral("0"), QStringLiteral("1") };
        QList<Line> log;
        QCOMPARE(run({ entry(file) }, options, log), CVMTBatch::Complete);
        QVERIFY(log.isEmpty());
        QVERIFY(readFile(file).endsWith(
            "\t\t}\n\n\t\t\"Clamp\"\n\t\t{\n\t\t\t\"min\" \"0\"\n\t\t\t\"max\" "
            "\"1\"\n\t\t}\n\t}\n}\n"));
        // An empty name adds nothing; removing with an empty name takes the block.
        options.proxyName.clear();
        QCOMPARE(run({ entry(file) }, options, log), CVMTBatch::Complete);
        options.remove = true;
        QCOMPARE(run({ entry(file) }, options, log), CVMTBatch::Complete);
        QCOMPARE(readFile(file),
                 Material.left(Material.indexOf("\n\t\"Proxies\"")) + QByteArray("}\n"));
    }

    void invalidTypesAndCancel()
    {
        const QString file = path(QStringLiteral("invalid/a.vmt"));
        writeFile(file, Material);
        CVMTBatch::Options_t options;
        options.type = CVMTBatch::AddDataType_t(7);
        QList<Line> log;
        QCOMPARE(run({ entry(file) }, options, log), CVMTBatch::Failed);
        options.type = CVMTBatch::Shader;
        options.remove = true;
        QCOMPARE(run({ entry(file) }, options, log), CVMTBatch::Failed);
        QCOMPARE(texts(log), QStringList(2, "Invalid datatype specified for mass VMT editing."));
        QCOMPARE(readFile(file), Material);

        options.remove = false;
        options.shader = QStringLiteral("New");
        const QString second = path(QStringLiteral("invalid/b.vmt"));
        writeFile(second, Material);
        const auto status = CVMTBatch::run(
            { entry(file), entry(second) }, options, [](const QString &, bool) {},
            [](int) { return false; });
        QCOMPARE(status, CVMTBatch::Canceled);
        QVERIFY(readFile(file).startsWith("\"New\""));
        QCOMPARE(readFile(second), Material);
    }

    // Bad input: a binary file, a 50 MB material, a text beyond the routines' line limit. Each
    // gets its message, nothing is lost, and the run goes on.
    void badInput()
    {
        QRandomGenerator random(4);
        QByteArray binary(64 * 1024, '\0');
        for (char &c : binary)
            c = char(random.bounded(256));
        binary.replace('{', '(');
        binary.replace('"', '\'');
        const QString binaryPath = path(QStringLiteral("bad/binary.vmt"));
        writeFile(binaryPath, binary);

        QByteArray big = "\"Big\"\n{\n";
        const QByteArray line = "\t\"$key\" \"" + QByteArray(60, 'v') + "\"\n";
        while (big.size() < 50 * 1024 * 1024)
            big += line;
        big += "}\n";
        const QString bigPath = path(QStringLiteral("bad/big.vmt"));
        writeFile(bigPath, big);
        const QString last = path(QStringLiteral("bad/last.vmt"));
        writeFile(last, "\"Old\"\n{\n}\n");

        CVMTBatch::Options_t options;
        options.shader = QStringLiteral("New");
        QList<Line> log;
        QCOMPARE(run({ entry(binaryPath), entry(bigPath), entry(last) }, options, log),
                 CVMTBatch::Complete);
        QCOMPARE(texts(log),
                 QStringList(
                     { QStringLiteral("\"%1\": %2")
                           .arg(binaryPath, QString::fromLatin1(VMTText::ShaderInsertionFailed)),
                       QStringLiteral("\"%1\": %2")
                           .arg(bigPath, QString::fromLatin1(VMTText::ShaderInsertionFailed)) }));
        QCOMPARE(readFile(binaryPath), binary);
        QCOMPARE(readFile(bigPath).size(), big.size());
        QCOMPARE(readFile(last), QByteArray("\"New\"\n{\n}\n"));
    }
};

QTEST_GUILESS_MAIN(TestMaterialsBatch)
#include "tst_materials_batch.moc"
