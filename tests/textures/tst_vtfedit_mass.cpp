#include "VtfEditTestSupport.h"
#include "ZirkTest.h"

#include "textures/VTFMass.h"
#include "textures/VVTFResizeParametersBox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDirIterator>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTextEdit>

#include <csignal>
#include <memory>
#include <sys/resource.h>

namespace {

void writeImage(const QString &path, int width, int height, QRgb colour)
{
    QDir().mkpath(QFileInfo(path).path());
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    QVERIFY(image.save(path));
}

void writeBytes(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::unique_ptr<CFileVTF> load(const QString &path)
{
    QString error;
    return std::unique_ptr<CFileVTF>(IFileClass<CFileVTF>::createFromFile(path, error));
}

// Every file below a folder, relative to it, sorted.
QStringList filesBelow(const QString &root)
{
    QStringList files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(root).relativeFilePath(it.next());
    files.sort();
    return files;
}

void setDirectories(VTFMass &mass, const QString &source, const QString &target)
{
    mass.sourceEdit->setText(source);
    mass.targetEdit->setText(target);
}

// Presses the button once: the run happens inside the click.
void run(VTFMass &mass)
{
    QTest::mouseClick(mass.controlButton, Qt::LeftButton);
}

} // namespace

class TestVtfEditMass : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        zirkInitTestResources();
        Magick::InitializeMagick(nullptr);
    }

    void imagesToTextures()
    {
        QTemporaryDir source;
        QTemporaryDir target;
        writeImage(source.filePath(QStringLiteral("stone.png")), 64, 32, qRgba(90, 90, 90, 255));
        writeImage(source.filePath(QStringLiteral("sub/grass.png")), 100, 60,
                   qRgba(0, 200, 0, 128));
        writeImage(source.filePath(QStringLiteral("sub/note.bmp")), 16, 16, qRgba(1, 2, 3, 255));
        writeBytes(source.filePath(QStringLiteral("sub/broken.png")), "no picture in here");
        writeBytes(source.filePath(QStringLiteral("readme.txt")), "not taken");
        QVERIFY(QFile::link(source.filePath(QStringLiteral("stone.png")),
                            source.filePath(QStringLiteral("linked.png"))));

        VTFMass mass;
        mass.show();
        setDirectories(mass, source.path(), target.filePath(QStringLiteral("made/here")));
        mass.recursiveCheck->setChecked(true);
        mass.preserveCheck->setChecked(true);
        QCOMPARE(mass.controlButton->text(), QStringLiteral("Apply"));
        run(mass);

        QCOMPARE(filesBelow(target.path()),
                 QStringList({ QStringLiteral("made/here/stone.vtf"),
                               QStringLiteral("made/here/sub/grass.vtf"),
                               QStringLiteral("made/here/sub/note.vtf") }));
        const QString log = mass.logText();
        QVERIFY2(log.contains(QStringLiteral("Read Error: Unable to read \".../sub/broken.png\"")),
                 qPrintable(log));
        QVERIFY(!log.contains(QStringLiteral("linked")));
        QVERIFY(log.endsWith(QStringLiteral("Done")));
        QCOMPARE(mass.controlButton->text(), QStringLiteral("Return"));
        QCOMPARE(mass.pages->currentIndex(), int(VTFMass::LogPage));

        std::unique_ptr<CFileVTF> stone
            = load(target.filePath(QStringLiteral("made/here/stone.vtf")));
        QVERIFY(stone);
        QCOMPARE(stone->getWidth(), 64);
        QCOMPARE(stone->getHeight(), 32);
        QCOMPARE(stone->getMipmapCount(), 7);
        QCOMPARE(stone->getHighResImageFormat(), VTF::DXT5);
        QCOMPARE(stone->getLowResImageFormat(), VTF::DXT1);
        QCOMPARE(stone->getVersionMinor(), 3u);
        QByteArray rgba;
        QVERIFY(stone->getImage(0, 0, 0, 0, rgba));
        QVERIFY(qAbs(quint8(rgba[0]) - 90) < 8);
        std::unique_ptr<CFileVTF> grass
            = load(target.filePath(QStringLiteral("made/here/sub/grass.vtf")));
        QCOMPARE(grass->getWidth(), 128);
        QCOMPARE(grass->getHeight(), 64);

        // Return brings the settings back.
        run(mass);
        QCOMPARE(mass.controlButton->text(), QStringLiteral("Apply"));
        QVERIFY(mass.pages->currentIndex() != int(VTFMass::LogPage));
        QVERIFY(mass.pageList->isEnabled());
    }

    void existingDestinationsAreKept()
    {
        QTemporaryDir source;
        QTemporaryDir target;
        writeImage(source.filePath(QStringLiteral("a.png")), 8, 8, qRgba(1, 1, 1, 255));
        writeBytes(target.filePath(QStringLiteral("a.vtf")), "keep me");
        VTFMass mass;
        setDirectories(mass, source.path(), target.path());
        run(mass);
        QVERIFY(mass.logText().contains(QStringLiteral("Destination exists for \".../a.vtf\"")));
        QCOMPARE(readAll(target.filePath(QStringLiteral("a.vtf"))), QByteArray("keep me"));
        run(mass);
        mass.overwriteCheck->setChecked(true);
        run(mass);
        QVERIFY(load(target.filePath(QStringLiteral("a.vtf"))));
    }

    void nameFilters_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("made");
        const QStringList all = { QStringLiteral("Rock.vtf"), QStringLiteral("rock_mossy.vtf"),
                                  QStringLiteral("sand.vtf") };
        QTest::newRow("empty substring") << 0 << QString() << all;
        QTest::newRow("substring") << 0 << QStringLiteral("ock") << QStringList({ all[0], all[1] });
        QTest::newRow("substring respects case")
            << 0 << QStringLiteral("Ro") << QStringList({ all[0] });
        QTest::newRow("wildcard whole name")
            << 1 << QStringLiteral("r*") << QStringList({ all[1] });
        QTest::newRow("regex ignores case")
            << 2 << QStringLiteral("rock.*") << QStringList({ all[0], all[1] });
    }

    void nameFilters()
    {
        QFETCH(int, mode);
        QFETCH(QString, filter);
        QFETCH(QStringList, made);
        QTemporaryDir source;
        QTemporaryDir target;
        for (const char *name : { "Rock.png", "rock_mossy.png", "sand.png" })
            writeImage(source.filePath(QString::fromLatin1(name)), 4, 4, qRgba(9, 9, 9, 255));
        VTFMass mass;
        setDirectories(mass, source.path(), target.path());
        mass.filterEdit->setText(filter);
        mass.filterModeCombo->setCurrentIndex(mode);
        mass.mipmapsCheck->setChecked(false);
        run(mass);
        QCOMPARE(filesBelow(target.path()), made);
    }

    void runsThatEndAtOnce_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("filterMode");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("message");
        QTest::newRow("bad regex")
            << 0 << 2 << QStringLiteral("[") << QStringLiteral("src") << QStringLiteral("dst")
            << QStringLiteral("Request Error: Name filter is not valid");
        QTest::newRow("in place without overwrite")
            << 1 << 0 << QString() << QStringLiteral("src") << QStringLiteral("src")
            << QStringLiteral("Request Error: In-place modification of VTFs requires overwrite "
                              "permission");
        QTest::newRow("missing source")
            << 0 << 0 << QString() << QStringLiteral("nothing") << QStringLiteral("dst")
            << QStringLiteral("Read Error: Source directory not readable");
        QTest::newRow("no target") << 0 << 0 << QString() << QStringLiteral("src") << QString()
                                   << QStringLiteral("Write Error: No target directory specified");
        QTest::newRow("target under a file")
            << 0 << 0 << QString() << QStringLiteral("src") << QStringLiteral("src/a.png/x")
            << QStringLiteral("Write Error: Unable to create target directory");
    }

    void runsThatEndAtOnce()
    {
        QFETCH(int, mode);
        QFETCH(int, filterMode);
        QFETCH(QString, filter);
        QFETCH(QString, source);
        QFETCH(QString, target);
        QFETCH(QString, message);
        QTemporaryDir root;
        writeImage(root.filePath(QStringLiteral("src/a.png")), 4, 4, qRgba(1, 2, 3, 255));
        std::unique_ptr<CFileVTF> texture(makeTexture(4, 4));
        QFile vtfFile(root.filePath(QStringLiteral("src/t.vtf")));
        QVERIFY(vtfFile.open(QIODevice::WriteOnly));
        QVERIFY(texture->serialize(static_cast<QIODevice &>(vtfFile)));
        vtfFile.close();
        const QStringList before = filesBelow(root.path());

        VTFMass mass;
        mass.modeCombo->setCurrentIndex(mode);
        mass.filterModeCombo->setCurrentIndex(filterMode);
        mass.filterEdit->setText(filter);
        setDirectories(mass, root.filePath(source),
                       target.isEmpty() ? QString() : root.filePath(target));
        run(mass);
        QCOMPARE(mass.logText(), message);
        QCOMPARE(filesBelow(root.path()), before);
        QCOMPARE(mass.controlButton->text(), QStringLiteral("Return"));
        QVERIFY(mass.controlButton->isEnabled());
    }

    void modifyInPlace()
    {
        QTemporaryDir dir;
        std::unique_ptr<CFileVTF> texture(makeTexture(16, 16, 2, qRgba(200, 10, 10, 255)));
        texture->addResourceOfType(CFileVTF::Resource_t::TS0)->data = 7;
        QVERIFY(texture->generateThumbnail());
        const QString path = dir.filePath(QStringLiteral("wall.vtf"));
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(texture->serialize(static_cast<QIODevice &>(file)));
        }
        writeBytes(dir.filePath(QStringLiteral("bad.vtf")), "VTF");

        VTFMass mass;
        mass.modeCombo->setCurrentIndex(VTFMass::ModifyExisting);
        setDirectories(mass, dir.path(), dir.path());
        mass.overwriteCheck->setChecked(true);
        mass.setFormatGroup->setChecked(true);
        mass.formatCombo[1]->setCurrentIndex(VTF::BGR888);
        mass.setVersionGroup->setChecked(true);
        mass.versionCombo[1]->setCurrentIndex(4);
        mass.flagsGroup[1]->setChecked(true);
        mass.flagLists[1]->item(2)->setCheckState(Qt::Checked);
        mass.lodActions[1][VTFMass::ResourceApply]->setChecked(true);
        mass.lodEdits[1][0]->setText(QStringLiteral("4"));
        mass.lodEdits[1][1]->setText(QStringLiteral("900"));
        mass.ts0Actions[1][VTFMass::ResourceRemove]->setChecked(true);
        run(mass);

        const QString log = mass.logText();
        QVERIFY2(log.contains(QStringLiteral("Read Error: Unable to read \".../bad.vtf\"")),
                 qPrintable(log));
        QVERIFY(log.contains(QStringLiteral("Modified \".../wall.vtf\"")));
        std::unique_ptr<CFileVTF> modified = load(path);
        QVERIFY(modified);
        QCOMPARE(modified->getHighResImageFormat(), VTF::BGR888);
        QCOMPARE(modified->getVersionMinor(), 4u);
        QCOMPARE(modified->getFrameCount(), 2);
        QCOMPARE(modified->getFlags(), quint32(VTF::FlagClampS));
        const CFileVTF::Resource_t *lod = modified->getResourceOfType(CFileVTF::Resource_t::LOD);
        QVERIFY(lod);
        QCOMPARE(lod->data, 0x1E1EFF04u);
        QVERIFY(!modified->getResourceOfType(CFileVTF::Resource_t::TS0));
        QByteArray rgba;
        QVERIFY(modified->getImage(4, 1, 0, 0, rgba));
        QCOMPARE(quint8(rgba[0]), 200);
        QCOMPARE(filesBelow(dir.path()),
                 QStringList({ QStringLiteral("bad.vtf"), QStringLiteral("wall.vtf") }));
    }

    void texturesToImages()
    {
        QTemporaryDir source;
        QTemporaryDir target;
        std::unique_ptr<CFileVTF> texture(makeTexture(8, 4, 2, qRgba(10, 20, 30, 40)));
        texture->setVersion(7, 2);
        QFile file(source.filePath(QStringLiteral("anim.vtf")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(texture->serialize(static_cast<QIODevice &>(file)));
        file.close();

        VTFMass mass;
        mass.modeCombo->setCurrentIndex(VTFMass::ToOther);
        setDirectories(mass, source.path(), target.path());
        run(mass);
        QCOMPARE(filesBelow(target.path()), QStringList({ QStringLiteral("anim.png") }));
        const QImage top(target.filePath(QStringLiteral("anim.png")));
        QCOMPARE(top.size(), QSize(8, 4));
        QCOMPARE(top.pixel(1, 1), qRgba(10, 20, 30, 40));

        run(mass);
        mass.allFramesCheck->setChecked(true);
        mass.allMipmapsCheck->setChecked(true);
        run(mass);
        // Four mipmaps of two frames, beside the plain one of the first run.
        QCOMPARE(filesBelow(target.path()).size(), 9);
        QCOMPARE(QImage(target.filePath(QStringLiteral("anim_0_1_0_0.png"))).size(), QSize(1, 1));
        QVERIFY(mass.logText().endsWith(QStringLiteral("Done")));
    }

    void cancelStopsBetweenFiles()
    {
        QTemporaryDir source;
        QTemporaryDir target;
        for (int i = 0; i < 5; ++i)
            writeImage(source.filePath(QStringLiteral("f%1.png").arg(i)), 4, 4,
                       qRgba(i, i, i, 255));
        VTFMass mass;
        mass.show();
        setDirectories(mass, source.path(), target.path());
        // The click lands while the run yields before its first file.
        QTimer::singleShot(0, &mass, [&mass] {
            QCOMPARE(mass.controlButton->text(), QStringLiteral("Cancel"));
            run(mass);
            QVERIFY(!mass.controlButton->isEnabled());
        });
        run(mass);
        QCOMPARE(filesBelow(target.path()), QStringList());
        QVERIFY(mass.logText().endsWith(QStringLiteral("Cancelled")));
        QCOMPARE(mass.controlButton->text(), QStringLiteral("Return"));
        QVERIFY(mass.controlButton->isEnabled());
    }

    void failedWriteLeavesNoPartialFile()
    {
        QTemporaryDir source;
        QTemporaryDir target;
        writeImage(source.filePath(QStringLiteral("big.png")), 256, 256, qRgba(5, 6, 7, 255));
        writeImage(source.filePath(QStringLiteral("small.png")), 4, 4, qRgba(5, 6, 7, 255));
        VTFMass mass;
        setDirectories(mass, source.path(), target.path());
        mass.formatCombo[0]->setCurrentIndex(VTF::RGBA8888);

        // Files may not grow past 16 KiB: the large texture's write fails part way.
        struct rlimit saved;
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &saved), 0);
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limited = saved;
        limited.rlim_cur = 16 * 1024;
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &limited), 0);
        run(mass);
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previous);

        const QString log = mass.logText();
        QVERIFY2(log.contains(QStringLiteral("Write Error: Unable to write \".../big.vtf\"")),
                 qPrintable(log));
        QVERIFY(log.endsWith(QStringLiteral("Done")));
        QCOMPARE(filesBelow(target.path()), QStringList({ QStringLiteral("small.vtf") }));
    }
};

QTEST_MAIN(TestVtfEditMass)
#include "tst_vtfedit_mass.moc"
