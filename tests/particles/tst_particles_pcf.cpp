// The particle file format: layouts of the three versions, the writer's own forms, every
// refusal of hostile bytes, and round trips of the templates and the sample files.
#include "PcfTestSupport.h"
#include "ZirkTest.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

class TestParticlesPcf : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { zirkInitTestResources(); }
    void newFileLayouts();
    void stringsAreTrimmed_data();
    void stringsAreTrimmed();
    void forwardReferencesAndChildOwnership();
    void badInput_data();
    void badInput();
    void unexpectedFirstAttribute();
    void negativeCounts();
    void writerRefusals();
    void writerArrayForms();
    void dictionaryCountTestedAsStored();
    void unreferencedElementLeavesNoFile();
    void finders();
    void exportSystemsPointsChildrenAtCopies();
    void templatesRoundTrip_data();
    void templatesRoundTrip();
    void samples();
    void mutatedFilesNeverCrash();
    void valuesFromAStream();
};

namespace {

std::unique_ptr<CFilePCF> readBytes(const QByteArray &bytes, QString &error, bool &ok)
{
    auto file = std::make_unique<CFilePCF>();
    PCFDelegate delegate;
    ok = delegate.readData(bytes, file.get());
    error = delegate.getLastError();
    return file;
}

// A version 1 file: dictionary, then count elements (each of the type entry 0 and named
// "e"), then the attribute blocks given.
PcfBytes version1(const QList<QByteArray> &dictionary, qint32 count)
{
    PcfBytes bytes(1);
    bytes.i16(qint16(dictionary.size()));
    for (const QByteArray &text : dictionary)
        bytes.text(text.constData());
    bytes.i32(count);
    for (qint32 i = 0; i < count; ++i)
        bytes.u16(0).text("e").guid(quint32(i));
    return bytes;
}

} // namespace

void TestParticlesPcf::newFileLayouts()
{
    for (int version = 1; version <= 3; ++version) {
        std::unique_ptr<CFilePCF> file(
            CFilePCF::newPCF(CFilePCF::ParticleFormatVersion_t(version)));
        QVERIFY(file);
        PCFDelegate delegate;
        QByteArray bytes;
        QVERIFY(delegate.writeData(bytes, file.get(), file->version));
        PcfBytes expected(version);
        const QUuid guid = file->root()->guid;
        if (version == 3) {
            // 32-bit dictionary count, the name in the dictionary, names as indices.
            expected.i32(3).text("DmElement").text("untitled").text("particleSystemDefinitions");
            expected.i32(1).u16(0).u16(1);
        } else {
            expected.i16(2).text("DmElement").text("particleSystemDefinitions");
            expected.i32(1).u16(0).text("untitled");
        }
        expected.number<quint32>(guid.data1)
            .number<quint16>(guid.data2)
            .number<quint16>(guid.data3);
        expected.raw(QByteArray(reinterpret_cast<const char *>(guid.data4), 8));
        expected.i32(1).u16(version == 3 ? 2 : 1).u8(15).i32(0);
        QCOMPARE(bytes.toHex(), expected.data.toHex());

        QString error;
        std::unique_ptr<CFilePCF> back = pcfRoundTrip(*file, error);
        QVERIFY2(back, qPrintable(error));
        QCOMPARE(pcfDifference(*file, *back), QString());
        QCOMPARE(back->stringDictionary.size(), version == 3 ? 3 : 2);
    }
    QVERIFY(!CFilePCF::newPCF(CFilePCF::PCF_INVALID));
    QVERIFY(!CFilePCF::newPCF(CFilePCF::PCF_DMX));
}

void TestParticlesPcf::stringsAreTrimmed_data()
{
    QTest::addColumn<int>("version");
    QTest::newRow("inline strings") << 1;
    QTest::newRow("through the dictionary") << 3;
}

void TestParticlesPcf::stringsAreTrimmed()
{
    QFETCH(int, version);
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::ParticleFormatVersion_t(version)));
    CDmxElement *system = PcfTree::system(*file, QStringLiteral(" padded "));
    system->attributes.append(PcfTree::attribute(QStringLiteral("material"),
                                                 CDmxAttribute::ATTRIBUTE_STRING,
                                                 new QString(QStringLiteral(" a "))));
    QString error;
    std::unique_ptr<CFilePCF> back = pcfRoundTrip(*file, error);
    QVERIFY2(back, qPrintable(error));
    QCOMPARE(back->elements.at(1)->name, QStringLiteral("padded"));
    QCOMPARE(
        back->elements.at(1)->getAttributeByName(QStringLiteral("material"))->getValueAsString(),
        QStringLiteral("a"));
}

void TestParticlesPcf::forwardReferencesAndChildOwnership()
{
    // The root names element 2 before its record is read; a `child` never owns its element.
    PcfBytes bytes = version1({ "t", "particleSystemDefinitions", "child", "other" }, 3);
    bytes.i32(1).u16(1).u8(15).i32(1).i32(2);
    bytes.i32(2).u16(2).u8(1).i32(2).u16(3).u8(1).i32(2);
    bytes.i32(0);
    QString error;
    bool ok = false;
    std::unique_ptr<CFilePCF> file = readBytes(bytes.data, error, ok);
    QVERIFY2(ok, qPrintable(error));
    QCOMPARE(file->systemDefinitions()->first(), file->elements.at(2));
    QVERIFY(!file->elements.at(1)->attributes.at(0)->ownsValue);
    QVERIFY(file->elements.at(1)->attributes.at(1)->ownsValue);
    QCOMPARE(file->elements.at(1)->attributeCount, 2);
}

void TestParticlesPcf::badInput_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");

    const QList<QByteArray> dictionary { "t", "particleSystemDefinitions" };
    auto withRoot = [&](qint32 count) {
        PcfBytes bytes = version1(dictionary, count);
        bytes.i32(1).u16(1).u8(15).i32(0);
        return bytes;
    };
    QTest::newRow("not a particle file")
        << QByteArray("hello\0", 6) << "Read Error: Invalid or unrecognized format";
    QTest::newRow("no header end") << QByteArray("<!-- dmx encoding binary 2 format pcf 1 -->")
                                   << "Read Error: Invalid or unrecognized format";
    QTest::newRow("newer encoding") << QByteArray("<!-- dmx encoding binary 5 format pcf 2 -->\n")
            + QByteArray(1, '\0') << "Read Error: Invalid or unrecognized format";
    QTest::newRow("dmx") << PcfBytes(-1).data << "Read Error: Format recognized but not supported";
    QTest::newRow("empty dictionary")
        << PcfBytes(1).i16(0).data << "Read Error: Empty string dictionary";
    QTest::newRow("dictionary beyond the file")
        << PcfBytes(3).i32(2000000000).text("a").data
        << "Read Error: String dictionary count exceeds file size";
    QTest::newRow("dictionary cut short")
        << PcfBytes(1).i16(3).text("a").raw("bc").data << "Read Error: Unexpected end of file";
    QTest::newRow("empty element array")
        << version1(dictionary, 0).data << "Read Error: Empty element array";
    PcfBytes huge = version1(dictionary, 0);
    huge.data.chop(4);
    huge.i32(0x7fffffff);
    QTest::newRow("elements beyond the file")
        << huge.data << "Read Error: Element count exceeds file size";
    PcfBytes badType(1);
    badType.i16(1).text("t").i32(1).u16(1).text("e").guid(0).i32(0);
    QTest::newRow("type index") << badType.data
                                << "Read Error: Element type name index out of bounds";
    PcfBytes badName(3);
    badName.i32(1).text("t").i32(1).u16(0).u16(5).guid(0).i32(0);
    QTest::newRow("name index") << badName.data << "Read Error: Element name index out of bounds";
    QTest::newRow("attribute name index") << version1(dictionary, 1).i32(1).u16(9).u8(2).i32(0).data
                                          << "Read Error: Attribute name index out of bounds";
    QTest::newRow("attributes beyond the file") << version1(dictionary, 1).i32(1000000).data
                                                << "Read Error: Attribute count exceeds file size";
    QTest::newRow("type byte 29") << version1(dictionary, 1).i32(1).u16(1).u8(29).i32(0).data
                                  << "ERROR: Unable to set value: Element: 0 Attribute: 0";
    QTest::newRow("type byte 255") << withRoot(2).i32(1).u16(0).u8(255).data
                                   << "ERROR: Unable to set value: Element: 1 Attribute: 0";
    QTest::newRow("binary beyond the file")
        << withRoot(2).i32(1).u16(0).u8(6).i32(100).raw("ab").data
        << "Read Error: Binary length exceeds file size";
    QTest::newRow("negative binary") << withRoot(2).i32(1).u16(0).u8(6).i32(-5).data
                                     << "Read Error: Binary length exceeds file size";
    QTest::newRow("array beyond the file") << withRoot(2).i32(1).u16(0).u8(28).i32(1000).data
                                           << "Read Error: Array count exceeds file size";
    QTest::newRow("element index")
        << withRoot(2).i32(1).u16(0).u8(1).i32(7).data << "Read Error: Element index out of bounds";
    QTest::newRow("element index -1") << withRoot(2).i32(1).u16(0).u8(15).i32(1).i32(-1).data
                                      << "Read Error: Element index out of bounds";
    PcfBytes badString(3);
    badString.i32(2).text("t").text("particleSystemDefinitions").i32(1).u16(0).u16(0).guid(0);
    badString.i32(2).u16(1).u8(15).i32(0).u16(0).u8(5).u16(40);
    QTest::newRow("string index") << badString.data << "Read Error: String index out of bounds";
    QTest::newRow("value cut short")
        << withRoot(2).i32(1).u16(0).u8(14).f32(1).data << "Read Error: Unexpected end of file";
    // Element 1 holds itself; copies and listings would follow it round for ever.
    QTest::newRow("self loop") << withRoot(2).i32(1).u16(0).u8(15).i32(1).i32(1).data
                               << "Read Error: Element references form a loop";
    PcfBytes twoStep = version1(dictionary, 3);
    twoStep.i32(1).u16(1).u8(15).i32(1).i32(1);
    twoStep.i32(1).u16(0).u8(1).i32(2).i32(1).u16(0).u8(15).i32(1).i32(1);
    QTest::newRow("loop of two") << twoStep.data << "Read Error: Element references form a loop";
}

void TestParticlesPcf::badInput()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    QString message;
    bool ok = true;
    readBytes(bytes, message, ok);
    QVERIFY(!ok);
    QCOMPARE(message, error);

    // The same bytes cut anywhere are refused, never a crash.
    for (qsizetype length = 0; length < bytes.size(); ++length) {
        readBytes(bytes.left(length), message, ok);
        QVERIFY(!ok);
    }
}

void TestParticlesPcf::unexpectedFirstAttribute()
{
    // The whole file is read, then refused; what was read stays.
    PcfBytes bytes = version1({ "t", "systems" }, 1);
    bytes.i32(1).u16(1).u8(15).i32(0);
    QString error;
    bool ok = true;
    std::unique_ptr<CFilePCF> file = readBytes(bytes.data, error, ok);
    QVERIFY(!ok);
    QCOMPARE(error, QStringLiteral("Read Error: Unexpected attribute"));
    QCOMPARE(file->elements.size(), 1);
    QCOMPARE(file->elements.first()->attributes.size(), 1);
}

void TestParticlesPcf::negativeCounts()
{
    QString error;
    bool ok = false;
    // A negative element count reads as a file with no elements.
    PcfBytes bytes(1);
    bytes.i16(1).text("t").i32(-3);
    std::unique_ptr<CFilePCF> file = readBytes(bytes.data, error, ok);
    QVERIFY2(ok, qPrintable(error));
    QVERIFY(file->elements.isEmpty());
    QVERIFY(!file->findSystemByName(QStringLiteral("x")));
    // A 16-bit count of 32768 or more reads no strings at all.
    PcfBytes many(2);
    many.u16(40000).i32(1).u16(0).text("e").guid(0).i32(0);
    file = readBytes(many.data, error, ok);
    QVERIFY(!ok);
    QCOMPARE(error, QStringLiteral("Read Error: Element type name index out of bounds"));
    QCOMPARE(file->stringDictionaryCount, qint32(-25536));
}

void TestParticlesPcf::writerRefusals()
{
    PCFDelegate delegate;
    QByteArray bytes;
    QVERIFY(!delegate.writeData(bytes, nullptr, CFilePCF::PCF_L4D));
    QCOMPARE(delegate.getLastError(), QStringLiteral("Write Error: No data specified"));
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D2));
    QVERIFY(!delegate.writeData(bytes, file.get(), CFilePCF::PCF_INVALID));
    QCOMPARE(delegate.getLastError(), QStringLiteral("Write Error: Invalid version specified"));

    CDmxElement *system = PcfTree::system(*file, QStringLiteral("s"));
    auto *strings = PcfTree::attribute(QStringLiteral("list"),
                                       CDmxAttribute::ATTRIBUTE_STRING_ARRAY, new DmxValueArray);
    system->attributes.append(strings);
    QVERIFY(!delegate.writeData(bytes, file.get(), file->version));
    QCOMPARE(delegate.getLastError(),
             QStringLiteral("Write Error: ATTRIBUTE_STRING_ARRAY not yet supported for format "
                            "Binary 4 PCF 2"));
    delete system->attributes.takeLast();

    // The version argument builds the dictionary, the file's version writes the strings.
    system->attributes.append(PcfTree::attribute(QStringLiteral("material"),
                                                 CDmxAttribute::ATTRIBUTE_STRING,
                                                 new QString(QStringLiteral("abc"))));
    QVERIFY(!delegate.writeData(bytes, file.get(), CFilePCF::PCF_L4D));
    QCOMPARE(delegate.getLastError(),
             QStringLiteral("Write Error: String \"abc\" not found in dictionary: Element: 1    "
                            "Attribute: 7"));

    auto *unknown = new CDmxAttribute;
    unknown->name = QStringLiteral("nothing");
    system->attributes.append(unknown);
    QVERIFY(!delegate.writeData(bytes, file.get(), file->version));
    QCOMPARE(delegate.getLastError(),
             QStringLiteral("Write Error: Attribute of unknown type: Element: 1   Attribute: 8"));
}

void TestParticlesPcf::writerArrayForms()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_ORANGEBOX));
    CDmxElement *root = file->root();
    auto *vectors = new DmxValueArray { new DmxVector3 { 1, 2, 3 }, new DmxVector3 { 4, 5, 6 },
                                        new DmxVector3 { 7, 8, 9 } };
    root->attributes.append(
        PcfTree::attribute(QStringLiteral("v"), CDmxAttribute::ATTRIBUTE_VECTOR3_ARRAY, vectors));
    auto *binaries = new DmxValueArray { new DmxBinary("ab"), new DmxBinary("c") };
    root->attributes.append(
        PcfTree::attribute(QStringLiteral("b"), CDmxAttribute::ATTRIBUTE_BINARY_ARRAY, binaries));
    auto *strings = new DmxValueArray { new QString(QStringLiteral("hi")) };
    root->attributes.append(
        PcfTree::attribute(QStringLiteral("s"), CDmxAttribute::ATTRIBUTE_STRING_ARRAY, strings));
    auto *times = new DmxValueArray { new DmxTime(1.5f) };
    root->attributes.append(
        PcfTree::attribute(QStringLiteral("t"), CDmxAttribute::ATTRIBUTE_TIME_ARRAY, times));
    PCFDelegate delegate;
    QByteArray bytes;
    QVERIFY(delegate.writeData(bytes, file.get(), file->version));

    PcfBytes tail(1);
    // Three times the diagonal: x of item 0, y of item 1, z of item 2.
    tail.i32(3);
    for (int n = 0; n < 3; ++n)
        tail.f32(1).f32(5).f32(9);
    tail.u16(3).u8(20).i32(2).raw("abc"); // no length per item
    tail.u16(4).u8(19).i32(1).i32(4).raw(QByteArray("h\0i\0", 4)); // as a data stream writes
    tail.u16(5).u8(21).i32(1).i32(15000);
    QVERIFY(bytes.endsWith(tail.data.mid(tail.data.indexOf('\0') + 1)));
}

void TestParticlesPcf::dictionaryCountTestedAsStored()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    PCFDelegate delegate;
    QByteArray bytes;
    file->stringDictionaryCount = 32768;
    QVERIFY(!delegate.writeData(bytes, file.get(), file->version));
    QCOMPARE(delegate.getLastError(),
             QStringLiteral("Write Error: String dictionary contains too many entries"));
    // The version 3 count is 32 bits wide and not tested.
    file->version = CFilePCF::PCF_L4D2;
    QVERIFY(delegate.writeData(bytes, file.get(), file->version));
    // A new file passes whatever its dictionary comes to.
    file->stringDictionaryCount = 0;
    file->version = CFilePCF::PCF_L4D;
    QVERIFY(delegate.writeData(bytes, file.get(), file->version));
}

void TestParticlesPcf::unreferencedElementLeavesNoFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("out.pcf"));
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *parent = PcfTree::system(*file, QStringLiteral("parent"));
    CDmxElement *child = PcfTree::system(*file, QStringLiteral("child"));
    CDmxElement *other = PcfTree::system(*file, QStringLiteral("other"));
    PcfTree::addChild(*file, parent, child);
    PcfTree::addChild(*file, other, child);
    PCFDelegate delegate;
    QVERIFY(delegate.writeFile(path, file.get(), file->version));
    QVERIFY(QFile::exists(path));

    // Deleting the child's parent system leaves the other `child` naming a removed element.
    file->removeElement(child, true);
    QVERIFY(!file->elements.contains(child));
    QVERIFY(
        !delegate.writeFile(dir.filePath(QStringLiteral("new.pcf")), file.get(), file->version));
    QVERIFY(delegate.getLastError().startsWith(
        QStringLiteral("Write Error: Unreferenced element: Element: ")));
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("new.pcf"))));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList { QStringLiteral("out.pcf") });

    // The same through a list of elements: the item form of the message.
    file->elements.removeOne(other);
    QVERIFY(!delegate.writeFile(path, file.get(), file->version));
    QCOMPARE(
        delegate.getLastError(),
        QStringLiteral("Write Error: Unreferenced element: Element: 0    Attribute: 0   Item: 1"));
    QVERIFY(!QDir(dir.path()).entryList(QDir::Files).contains(QStringLiteral("new.pcf")));
    file->elements.append(other);
}

void TestParticlesPcf::finders()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *fire = PcfTree::system(*file, QStringLiteral("Fire"));
    PcfTree::system(*file, QStringLiteral("smoke"));
    CDmxElement *loose = PcfTree::element(DmxNames::systemType(), QStringLiteral("loose"));
    file->elements.append(loose);
    QCOMPARE(file->findSystemByName(QStringLiteral("Fire")), fire);
    QVERIFY(!file->findSystemByName(QStringLiteral("fire")));
    QVERIFY(!file->findSystemByName(QStringLiteral("loose")));
    QCOMPARE(file->findElementsByType(DmxNames::systemType()).size(), 3);
    QCOMPARE(file->findElementsByName(QStringLiteral("smoke")).size(), 1);
}

void TestParticlesPcf::exportSystemsPointsChildrenAtCopies()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    CDmxElement *a = PcfTree::system(*file, QStringLiteral("a"));
    CDmxElement *b = PcfTree::system(*file, QStringLiteral("b"));
    CDmxElement *c = PcfTree::system(*file, QStringLiteral("c"));
    PcfTree::addChild(*file, a, b);
    PcfTree::addChild(*file, b, c);
    PcfTree::addChild(*file, a, c);

    const QList<CDmxElement *> chosen { a };
    std::unique_ptr<QList<CDmxElement *>> copies(file->exportSystems(&chosen));
    QVERIFY(copies);
    QCOMPARE(copies->size(), 3); // a, b, c: c once though it is reached twice
    QCOMPARE(copies->at(0)->name, QStringLiteral("a"));
    const QList<CDmxElement::Pair_t *> children = copies->at(0)->listChildren(0, 0);
    QCOMPARE(children.size(), 2);
    QCOMPARE(children.at(0)->second, copies->at(1));
    QCOMPARE(children.at(1)->second, copies->at(2));
    qDeleteAll(children);
    CFilePCF::deleteCopies(*copies);

    QVERIFY(!file->exportSystems(nullptr));
    const QList<CDmxElement *> none;
    QVERIFY(!file->exportSystems(&none));
    const QList<CDmxElement *> notSystem { file->root() };
    QVERIFY(!file->exportSystems(&notSystem));
}

void TestParticlesPcf::templatesRoundTrip_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("elements");
    QTest::newRow("orange box") << ":/resources/data/particle_defaults_orangebox.pcf" << 1 << 81;
    QTest::newRow("left 4 dead") << ":/resources/data/particle_defaults_l4d.pcf" << 2 << 90;
    QTest::newRow("left 4 dead 2") << ":/resources/data/particle_defaults_l4d2.pcf" << 3 << 111;
}

void TestParticlesPcf::templatesRoundTrip()
{
    QFETCH(QString, path);
    QFETCH(int, version);
    QFETCH(int, elements);
    QFile resource(path);
    QVERIFY(resource.open(QIODevice::ReadOnly));
    const QByteArray bytes = resource.readAll();
    QString error;
    bool ok = false;
    std::unique_ptr<CFilePCF> file = readBytes(bytes, error, ok);
    QVERIFY2(ok, qPrintable(error));
    QCOMPARE(int(file->version), version);
    QCOMPARE(file->elements.size(), elements);
    QCOMPARE(file->systemDefinitions()->size(), 2);
    QVERIFY(file->findSystemByName(QStringLiteral("default")));
    QVERIFY(file->findSystemByName(QStringLiteral("empty")));
    // Written in its own version it gives the same bytes, since it was written by us.
    PCFDelegate delegate;
    QByteArray again;
    QVERIFY(delegate.writeData(again, file.get(), file->version));
    QCOMPARE(again.size(), bytes.size());
    QVERIFY(again == bytes);
}

void TestParticlesPcf::samples()
{
    ZIRK_REQUIRE_SAMPLES(samplesDir);
    const QFileInfoList files
        = QDir(samplesDir + QStringLiteral("/pcf")).entryInfoList({ QStringLiteral("*.pcf") });
    QVERIFY(!files.isEmpty());
    int read = 0;
    for (const QFileInfo &info : files) {
        auto file = std::make_unique<CFilePCF>();
        PCFDelegate delegate;
        QFile device(info.filePath());
        QVERIFY(device.open(QIODevice::ReadOnly));
        const QByteArray head = device.read(64);
        if (head.startsWith("<!-- dmx encoding binary 5")) {
            QVERIFY(!delegate.readFile(info.filePath(), file.get()));
            QCOMPARE(delegate.getLastError(),
                     QStringLiteral("Read Error: Invalid or unrecognized format"));
            continue;
        }
        QVERIFY2(delegate.readFile(info.filePath(), file.get()),
                 qPrintable(info.fileName() + QStringLiteral(": ") + delegate.getLastError()));
        QString error;
        std::unique_ptr<CFilePCF> back = pcfRoundTrip(*file, error);
        QVERIFY2(back, qPrintable(info.fileName() + QStringLiteral(": ") + error));
        QCOMPARE(pcfDifference(*file, *back), QString());
        ++read;
    }
    QVERIFY(read >= 9);
}

void TestParticlesPcf::mutatedFilesNeverCrash()
{
    // Bytes of real files changed at random: every outcome is a clean refusal or a file
    // that the rest of the code can work with.
    QList<QByteArray> seeds;
    for (const char *path : { ":/resources/data/particle_defaults_orangebox.pcf",
                              ":/resources/data/particle_defaults_l4d2.pcf" }) {
        QFile resource(QString::fromLatin1(path));
        QVERIFY(resource.open(QIODevice::ReadOnly));
        seeds << resource.readAll();
    }
    std::unique_ptr<CFilePCF> pattern(new CFilePCF);
    {
        QFile resource(QStringLiteral(":/resources/data/particle_defaults_l4d.pcf"));
        QVERIFY(resource.open(QIODevice::ReadOnly));
        PCFDelegate delegate;
        QVERIFY(delegate.readData(resource.readAll(), pattern.get()));
    }
    QRandomGenerator random(20261121);
    int readable = 0;
    for (int round = 0; round < 600; ++round) {
        QByteArray bytes = seeds.at(round % seeds.size());
        const int changes = 1 + int(random.bounded(8));
        for (int c = 0; c < changes; ++c) {
            const qsizetype at = qsizetype(random.bounded(quint32(bytes.size())));
            switch (random.bounded(3)) {
            case 0:
                bytes[at] = char(random.bounded(256));
                break;
            case 1:
                bytes.truncate(at);
                break;
            default:
                bytes[at] = char(0xff);
                break;
            }
            if (bytes.isEmpty())
                break;
        }
        QString error;
        bool ok = false;
        std::unique_ptr<CFilePCF> file = readBytes(bytes, error, ok);
        if (!ok) {
            QVERIFY(!error.isEmpty());
            continue;
        }
        ++readable;
        PCFDelegate delegate;
        QByteArray again;
        (void)delegate.writeData(again, file.get(), file->version);
        if (const DmxElementArray *systems = file->systemDefinitions()) {
            QList<CDmxElement *> all;
            for (CDmxElement *system : *systems) {
                if (system->type == DmxNames::systemType())
                    all << system;
            }
            if (QList<CDmxElement *> *copies = file->exportSystems(&all)) {
                CFilePCF::deleteCopies(*copies);
                delete copies;
            }
        }
        (void)delegate.formatAsVersion(file.get(), CFilePCF::PCF_L4D,
                                       pattern->findSystemByName(QStringLiteral("default")));
        (void)delegate.writeData(again, file.get(), file->version);
    }
    QVERIFY(readable > 0);
}

void TestParticlesPcf::valuesFromAStream()
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D2));
    file->stringDictionary << new QString(QStringLiteral("zero"))
                           << new QString(QStringLiteral("one"));
    PcfBytes bytes(1);
    bytes.data.clear();
    bytes.i32(0).i32(3).u16(1).u16(9).i32(30000).i32(2).f32(1).f32(2).i32(-1).u8(4);
    QDataStream stream(bytes.data);
    stream.setByteOrder(QDataStream::LittleEndian);
    DMXDelegate delegate;
    using A = CDmxAttribute;
    auto take = [&](A::ParticleAttributeType_t type) {
        auto attribute = std::make_unique<A>();
        attribute->ownsValue = type != A::ATTRIBUTE_ELEMENT;
        void *value = delegate.dataForAttributeType(type, stream, file.get());
        if (!value || !attribute->setValue(type, value))
            return QStringLiteral("(none)");
        return attribute->getValueAsString();
    };
    QCOMPARE(take(A::ATTRIBUTE_ELEMENT), QStringLiteral("untitled"));
    QCOMPARE(take(A::ATTRIBUTE_ELEMENT), QStringLiteral("(none)")); // index 3: no such element
    QCOMPARE(take(A::ATTRIBUTE_STRING), QStringLiteral("one"));
    QCOMPARE(take(A::ATTRIBUTE_STRING), QStringLiteral("(none)")); // index 9: no such string
    QCOMPARE(take(A::ATTRIBUTE_TIME), QStringLiteral("3"));
    QCOMPARE(take(A::ATTRIBUTE_VECTOR2_ARRAY), QStringLiteral("(none)")); // one item short
    QCOMPARE(take(A::ATTRIBUTE_NULL), QStringLiteral("(none)"));
    QCOMPARE(take(A::ParticleAttributeType_t(40)), QStringLiteral("(none)"));
}

QTEST_GUILESS_MAIN(TestParticlesPcf)
#include "tst_particles_pcf.moc"
