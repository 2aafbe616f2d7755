#include "MaterialsTestSupport.h"
#include "ModelFixtures.h"
#include "ZirkTest.h"
#include "materials/CFileMDL.h"
#include "materials/CFilePHY.h"
#include "materials/CModelInfo.h"
#include "util/CNotificationRecorder.h"

#include <QBuffer>
#include <QDataStream>
#include <QTemporaryDir>

#include <memory>

namespace {

std::unique_ptr<CFileMDL> modelFrom(const QByteArray &data)
{
    QBuffer buffer;
    buffer.setData(data);
    return std::unique_ptr<CFileMDL>(CFileMDL::createFromDevice(buffer));
}

std::unique_ptr<CFilePHY> physicsFrom(const QByteArray &data)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    return std::unique_ptr<CFilePHY>(CFilePHY::createFromStream(stream));
}

const CModelInfo::Node_t *child(const CModelInfo::Node_t &node, const QString &label)
{
    for (const CModelInfo::Node_t &item : node.children) {
        if (item.label == label)
            return &item;
    }
    return nullptr;
}

} // namespace

class TestMaterialsModels : public QObject
{
    Q_OBJECT

private slots:
    void modelReadsHeaderAndTables()
    {
        MdlFixture fixture;
        fixture.textures = { "Metal\\Plate", "glass" };
        fixture.directories = { "models\\props\\", "shared" };
        fixture.includes = { "models/anims/walk.mdl" };
        fixture.keyvalues = "prop_data {\n\"base\" \"Metal.Small\"\n}\nunterminated";
        const auto model = modelFrom(fixture.build());
        QVERIFY(model);
        QCOMPARE(model->header.version, 48);
        QCOMPARE(model->header.checksum, 0x12345678);
        QCOMPARE(QByteArray(model->header.internalName), QByteArray("test/model.mdl"));
        QCOMPARE(model->header.eyePosition.y, -2.0f);
        QCOMPARE(model->header.mass, 42.5f);
        QCOMPARE(model->textureNames, (QVector<QByteArray> { "Metal/Plate", "glass" }));
        QCOMPARE(model->textureDirectories, (QVector<QByteArray> { "models/props", "shared" }));
        QCOMPARE(model->includeModels.size(), 1);
        QCOMPARE(model->includeModels.first().second, QByteArray("models/anims/walk.mdl"));
        QVERIFY(model->includeModels.first().first.isEmpty());
        // The unterminated last line is dropped.
        QCOMPARE(model->keyvalues,
                 (QStringList { "prop_data {", "\"base\" \"Metal.Small\"", "}" }));
    }

    void modelKeyvalueEdges_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("a, b unterminated") << QByteArray("a\nb") << QStringList { "a" };
        QTest::newRow("empty lines skipped")
            << QByteArray("a\n\n\nb\n") << QStringList { "a", "b" };
        QTest::newRow("NUL ends the block") << QByteArray("a\nb\0c\n", 6) << QStringList { "a" };
        QTest::newRow("none") << QByteArray() << QStringList();
    }

    void modelKeyvalueEdges()
    {
        QFETCH(QByteArray, text);
        MdlFixture fixture;
        fixture.keyvalues = text;
        const auto model = modelFrom(fixture.build());
        QVERIFY(model);
        QFETCH(QStringList, lines);
        QCOMPARE(model->keyvalues, lines);
    }

    void modelRefusals_data()
    {
        QTest::addColumn<QByteArray>("data");
        const QByteArray good = MdlFixture().build();
        QByteArray wrongMagic = good;
        wrongMagic[3] = 'Q';
        QByteArray hdr2Outside = good;
        put32(hdr2Outside, 392, 1 << 30);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("magic") << wrongMagic;
        QTest::newRow("header ends early") << good.left(399);
        QTest::newRow("second header outside") << hdr2Outside;
    }

    void modelRefusals()
    {
        QFETCH(QByteArray, data);
        QVERIFY(!modelFrom(data));
    }

    // Counts and offsets that lie: the reader neither allocates for them nor reads outside.
    void modelHostileTables_data()
    {
        QTest::addColumn<int>("field");
        QTest::addColumn<qint32>("value");
        QTest::addColumn<int>("textures");
        QTest::newRow("huge texture count") << 204 << qint32(0x7fffffff) << 2;
        QTest::newRow("negative texture count") << 204 << qint32(-5) << 0;
        QTest::newRow("texture table outside") << 208 << qint32(1 << 30) << 0;
        QTest::newRow("negative texture table") << 208 << qint32(-64) << 0;
        QTest::newRow("huge directory count") << 212 << qint32(0x7fffffff) << 2;
        QTest::newRow("huge include count") << 336 << qint32(0x7fffffff) << 2;
        QTest::newRow("huge keyvalue count") << 316 << qint32(0x7fffffff) << 2;
        QTest::newRow("keyvalues outside") << 312 << qint32(1 << 30) << 2;
    }

    void modelHostileTables()
    {
        MdlFixture fixture;
        fixture.textures = { "a", "b" };
        fixture.directories = { "d" };
        fixture.includes = { "models/i.mdl" };
        fixture.keyvalues = "k\n";
        QByteArray data = fixture.build();
        QFETCH(int, field);
        QFETCH(qint32, value);
        put32(data, field, value);
        const auto model = modelFrom(data);
        QVERIFY(model);
        QFETCH(int, textures);
        QCOMPARE(model->textureNames.size(), textures);
        // Records that fit are read; the counts never exceed what the data holds.
        QVERIFY(model->textureDirectories.size() <= data.size() / 4);
        QVERIFY(model->includeModels.size() <= data.size() / 8);
    }

    void modelNamesBeyondTheEnd()
    {
        MdlFixture fixture;
        fixture.textures = { "a", "b" };
        QByteArray data = fixture.build();
        // Name offsets that point far beyond the data give empty names.
        put32(data, 400, 1 << 20);
        put32(data, 464, -(1 << 20));
        const auto model = modelFrom(data);
        QVERIFY(model);
        QCOMPARE(model->textureNames, (QVector<QByteArray> { QByteArray(), QByteArray() }));
    }

    void modelNameRunningIntoTheEnd()
    {
        MdlFixture fixture;
        fixture.textures = { "abc" };
        QByteArray data = fixture.build();
        data.chop(1); // the terminating NUL: the name now runs into the end
        const auto model = modelFrom(data);
        QVERIFY(model);
        // As the stream string reader of the utilities: the byte before the end is not kept.
        QCOMPARE(model->textureNames.first(), QByteArray("ab"));
    }

    void modelSaveTruncates()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("m.mdl"));
        writeFile(path, MdlFixture().build());
        std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(path));
        QVERIFY(model);
        QCOMPARE(model->path, path);
        QVERIFY(model->saveFile(QString()));
        QCOMPARE(QFileInfo(path).size(), 0);

        CFileMDL unnamed;
        QVERIFY(!unnamed.saveFile(QString()));
        QCOMPARE(unnamed.lastError, QStringLiteral("Write Error: Invalid file path"));
        const QString blocked = dir.filePath(QStringLiteral("missing/dir/m.mdl"));
        QVERIFY(!unnamed.saveFile(blocked));
        QCOMPARE(unnamed.lastError,
                 QStringLiteral("File Error: Unable to open \"%1\"").arg(blocked));
    }

    void physicsReadsSections()
    {
        CNotificationRecorder boxes;
        const QByteArray text
            = "solid {\n\"index\" \"0\"\n}\neditparams {\n\"totalmass\" \"10\"\n}\n"
              "break { \"model\" \"a\" \"ragdoll\" \"b\" }\n"
              "break { \"model\" \"c\" \"health\" }\n";
        const auto physics = physicsFrom(buildPhy({ "VPHYdata", "xy" }, text));
        QVERIFY(physics);
        QCOMPARE(physics->solidCount, 2);
        QCOMPARE(physics->solids, (QVector<QByteArray> { "VPHYdata", "xy" }));
        QCOMPARE(physics->checksum, 77);
        QCOMPARE(physics->sections.size(), 4);
        QCOMPARE(physics->sections.at(0).first, QStringLiteral("solid"));
        // The closing brace goes in as a pair with that key.
        QCOMPARE(physics->sections.at(0).second.size(), 2);
        QCOMPARE(physics->sections.at(0).second.at(1).first, QStringLiteral("}"));
        const CFilePHY::Section_t &broken = physics->sections.at(2);
        QCOMPARE(broken.first, QStringLiteral("break"));
        QCOMPARE(broken.second.size(), 2);
        QCOMPARE(broken.second.at(1).first, QStringLiteral("ragdoll"));
        QCOMPARE(broken.second.at(1).second, QStringLiteral("b"));
        // An odd token count loses its last token.
        QCOMPARE(physics->sections.at(3).second.size(), 1);
        // One box for each break line, with the tokens one a line.
        QCOMPARE(boxes.entries().size(), 2);
        QCOMPARE(boxes.entries().first().title, QStringLiteral("break {"));
        QCOMPARE(boxes.entries().first().text, QStringLiteral("model\na\nragdoll\nb"));
    }

    void physicsRefusals_data()
    {
        QTest::addColumn<QByteArray>("data");
        QByteArray negativeSize = buildPhy({ "abcd" }, "");
        put32(negativeSize, 16, -1);
        QByteArray oversized = buildPhy({ "abcd" }, "");
        put32(oversized, 16, 1 << 30);
        QByteArray negativeCount = buildPhy({}, "");
        put32(negativeCount, 8, -3);
        QByteArray hugeCount = buildPhy({}, "");
        put32(hugeCount, 8, 0x7fffffff);
        QTest::newRow("negative solid size") << negativeSize;
        QTest::newRow("oversized solid") << oversized;
        QTest::newRow("negative solid count") << negativeCount;
        QTest::newRow("huge solid count") << hugeCount;
        QTest::newRow("short header") << QByteArray(10, '\0');
    }

    void physicsRefusals()
    {
        QFETCH(QByteArray, data);
        QVERIFY(!physicsFrom(data));
    }

    void physicsWithoutText()
    {
        const auto physics = physicsFrom(buildPhy({ "s" }, QByteArray()).chopped(1));
        QVERIFY(physics);
        QVERIFY(physics->sections.isEmpty());
    }

    void physicsSaveIsBigEndian()
    {
        const auto physics = physicsFrom(buildPhy({ "ab" }, "sec {\n\"k\" \"v\"\n"));
        QVERIFY(physics);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("out.phy"));
        QVERIFY(physics->saveFile(path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QDataStream stream(&file);
        qint32 header = 0, id = 0, count = 0, checksum = 0, size = 0;
        stream >> header >> id >> count >> checksum >> size;
        QCOMPARE(header, 16);
        QCOMPARE(count, 1);
        QCOMPARE(checksum, 77);
        QCOMPARE(size, 2);
        QCOMPARE(file.read(2), QByteArray("ab"));
        QString name;
        stream >> name;
        QCOMPARE(name, QStringLiteral("sec"));
        char *quote = nullptr;
        stream >> quote;
        QCOMPARE(QByteArray(quote), QByteArray("\""));
        delete[] quote;
        QCOMPARE(file.read(1), QByteArray("k"));
        QVERIFY(file.readAll().endsWith(QByteArray("}\n\0", 3) + QByteArray(1, '\0')));

        CFilePHY unnamed;
        QVERIFY(!unnamed.saveFile(QString()));
        QCOMPARE(unnamed.lastError, QStringLiteral("Write Error: Invalid file path"));
    }

    void modelInfoTree()
    {
        MdlFixture fixture;
        fixture.textures = { "t" };
        const auto model = modelFrom(fixture.build());
        QVERIFY(model);
        const CModelInfo::Node_t tree = CModelInfo::describe(*model);
        const CModelInfo::Node_t *name = child(tree, QStringLiteral("Internal Name"));
        QVERIFY(name);
        QCOMPARE(name->value, QStringLiteral("test/model.mdl"));
        const CModelInfo::Node_t *eye = child(tree, QStringLiteral("Eye Position"));
        QVERIFY(eye);
        QCOMPARE(eye->children.size(), 3);
        QCOMPARE(eye->children.at(2).label, QStringLiteral("Z"));
        QCOMPARE(eye->children.at(2).value, QStringLiteral("3.25"));
        QVERIFY(child(tree, QStringLiteral("Allowed Root LODs")));
        QCOMPARE(child(tree, QStringLiteral("Textures"))->children.first().value,
                 QStringLiteral("t"));
        // Fields that are read but not shown stay out.
        QVERIFY(!child(tree, QString()));
        QVERIFY(CModelInfo::toText(tree).contains(QStringLiteral("\n  Checksum: 305419896\n")));

        QTemporaryDir dir;
        const QString junk = dir.filePath(QStringLiteral("junk.mdl"));
        writeFile(junk, "not a model");
        CModelInfo::Node_t refused;
        QString error;
        QVERIFY(!CModelInfo::describeFile(junk, refused, error));
        QCOMPARE(error, QStringLiteral("Read Error: Unable to read \"%1\"").arg(junk));
    }

    // Every model and collision sample loads; the other files beside them are refused.
    void samples()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        CNotificationRecorder boxes;
        const QDir dir(samples + QStringLiteral("/mdl"));
        int models = 0;
        for (const QString &name : dir.entryList(QDir::Files)) {
            const QString path = dir.filePath(name);
            std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(path));
            std::unique_ptr<CFilePHY> physics(CFilePHY::createFromFile(path));
            if (name.endsWith(QLatin1String(".mdl"))) {
                QVERIFY2(model, qPrintable(name));
                QCOMPARE(model->textureNames.size(), model->header.textureCount);
                QCOMPARE(model->header.fileLength, int(QFileInfo(path).size()));
                ++models;
            } else {
                QVERIFY2(!model, qPrintable(name));
            }
            if (name.endsWith(QLatin1String(".phy"))) {
                QVERIFY2(physics, qPrintable(name));
                QCOMPARE(physics->solids.size(), 1);
                QVERIFY(physics->solids.first().startsWith("VPHY"));
                CModelInfo::Node_t tree;
                QString error;
                QVERIFY(CModelInfo::describeFile(path, tree, error));
            }
        }
        QVERIFY(models >= 5);
        std::unique_ptr<CFileMDL> goldbar(
            CFileMDL::createFromFile(dir.filePath(QStringLiteral("gmod8_goldbar.mdl"))));
        QVERIFY(goldbar);
        QCOMPARE(quint32(goldbar->header.checksum), 0x2c7eba65u);
        QCOMPARE(QByteArray(goldbar->header.internalName), QByteArray("money/goldbar.mdl"));
    }
};

QTEST_GUILESS_MAIN(TestMaterialsModels)
#include "tst_materials_models.moc"
