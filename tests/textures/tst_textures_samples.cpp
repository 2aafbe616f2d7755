#include "ZirkTest.h"

#include "textures/CFileVTF.h"

#include <QDirIterator>

#include <memory>

namespace {

// The writer leaves out what it does not write: a thumbnail-less file, a sheet,
// key values or an unknown resource give a directory that does not match its data.
bool writerKeepsLayout(const CFileVTF &vtf)
{
    if (vtf.getVersionMinor() < 3)
        return true;
    if (vtf.getLowResImageFormat() == VTF::NONE)
        return false;
    for (const CFileVTF::Resource_t &resource : vtf.getResources()) {
        const quint32 tag = resource.id & 0xFFFFFF;
        if (tag != (CFileVTF::Resource_t::LowResImage & 0xFFFFFF)
            && tag != (CFileVTF::Resource_t::HighResImage & 0xFFFFFF)
            && tag != (CFileVTF::Resource_t::LOD & 0xFFFFFF)
            && tag != (CFileVTF::Resource_t::TS0 & 0xFFFFFF)
            && tag != (CFileVTF::Resource_t::CRC & 0xFFFFFF))
            return false;
    }
    return true;
}

} // namespace

class TestTextureSamples : public QObject
{
    Q_OBJECT

private slots:
    void everySample_data();
    void everySample();
};

void TestTextureSamples::everySample_data()
{
    QTest::addColumn<QString>("path");
    ZIRK_REQUIRE_SAMPLES(samples);
    int count = 0;
    for (const QString &folder : { QStringLiteral("vtf"), QStringLiteral("vtf_from_pakfile") }) {
        QDirIterator it(samples + QLatin1Char('/') + folder, { QStringLiteral("*.vtf") },
                        QDir::Files);
        while (it.hasNext()) {
            const QString path = it.next();
            QTest::newRow(qPrintable(folder + QLatin1Char('/') + it.fileName())) << path;
            ++count;
        }
    }
    QVERIFY(count > 80);
}

void TestTextureSamples::everySample()
{
    QFETCH(QString, path);
    QString error;
    std::unique_ptr<CFileVTF> vtf(CFileVTF::createFromFile(path, error));

    const QString name = QFileInfo(path).fileName();
    if (name.contains(QLatin1String("_v76_")) || name.contains(QLatin1String("momentum"))) {
        QVERIFY(!vtf);
        QCOMPARE(error, QStringLiteral("Internal Error: Format too new"));
        return;
    }
    QVERIFY2(vtf, qPrintable(error));

    // Every image has the size its header gives, mipmap by mipmap.
    const CFileVTF::VTFHeader_t &header = vtf->getHeader();
    QCOMPARE(int(vtf->getMipmapCount()), int(header.mipmapCount));
    QCOMPARE(vtf->getWidth(), header.width);
    QCOMPARE(vtf->getHeight(), header.height);
    QCOMPARE(int(vtf->getFrameCount()), int(header.frames));
    for (int m = 0; m < vtf->getMipmapCount(); ++m) {
        const unsigned short width = vtf->getMipmapWidth(m), height = vtf->getMipmapHeight(m);
        QCOMPARE(width, qMax(1, header.width >> (header.mipmapCount - 1 - m)));
        QCOMPARE(height, qMax(1, header.height >> (header.mipmapCount - 1 - m)));
        const int bytes = VTF::bytesPerSizeOfFormat(width, height, header.highResImageFormat);
        for (const CFileVTF::Faces &faces : vtf->getImages()[m])
            for (const CFileVTF::Slices &slices : faces)
                for (const QByteArray &image : slices)
                    QCOMPARE(image.size(), bytes);
    }

    QList<QByteArray> original;
    for (int m = 0; m < vtf->getMipmapCount(); ++m)
        for (int f = 0; f < vtf->getFrameCount(); ++f)
            for (int face = 0; face < vtf->getFaceCount(); ++face)
                for (int s = 0; s < vtf->getSliceCount(); ++s) {
                    QByteArray rgba;
                    QVERIFY(vtf->getImage(m, f, face, s, rgba));
                    QCOMPARE(rgba.size(),
                             int(vtf->getMipmapWidth(m)) * vtf->getMipmapHeight(m) * 4);
                    original.append(rgba);
                }
    QByteArray thumbnail;
    if (vtf->getLowResImageFormat() != VTF::NONE)
        QVERIFY(vtf->getLowResImage(thumbnail));

    // Written again at its own version, it reads back to the same images.
    QByteArray written;
    QVERIFY2(vtf->serialize(written), qPrintable(vtf->getLastError()));
    std::unique_ptr<CFileVTF> again(CFileVTF::createFromData(written));
    if (!writerKeepsLayout(*vtf))
        return; // the writer's omissions make no promise here, only that nothing breaks
    QVERIFY(again);
    QCOMPARE(again->getVersionMinor(), vtf->getVersionMinor());
    QCOMPARE(again->getImages(), vtf->getImages());
    QCOMPARE(again->getLowResImageData(), vtf->getLowResImageData());
    QCOMPARE(again->getFlags(), vtf->getFlags());
}

QTEST_GUILESS_MAIN(TestTextureSamples)
#include "tst_textures_samples.moc"
