#include "ZirkTest.h"

#include "textures/CFileVTF.h"

#include <QBuffer>
#include <QDataStream>

#include <memory>

using Resource = CFileVTF::Resource_t;

namespace {

// Writes a VTF header the way the files of each version lay it out, followed by
// whatever the test appends.
struct FileBuilder
{
    quint32 major = 7, minor = 2, headerSize = 0;
    quint16 width = 4, height = 4;
    quint32 flags = 0;
    quint16 frames = 1, firstFrame = 0;
    qint32 format = VTF::RGBA8888;
    quint8 mipmaps = 1;
    qint32 lowFormat = VTF::NONE;
    quint8 lowWidth = 0, lowHeight = 0;
    quint16 depth = 1;
    QList<QPair<quint32, quint32>> directory;
    qint64 resourceCountOverride = -1;

    int headerBytes() const
    {
        if (minor <= 1)
            return 64;
        if (minor == 2)
            return 80;
        return 80 + 8 * int(directory.size());
    }

    QByteArray header() const
    {
        QByteArray out;
        QDataStream s(&out, QIODevice::WriteOnly);
        s.setByteOrder(QDataStream::LittleEndian);
        s.setFloatingPointPrecision(QDataStream::SinglePrecision);
        s << quint32(0x465456) << major << minor
          << (headerSize ? headerSize : quint32(headerBytes())) << width << height << flags
          << frames << firstFrame << quint32(0) << 0.5f << 0.5f << 0.5f << quint32(0) << 1.0f
          << format << mipmaps << lowFormat << lowWidth << lowHeight;
        const char zeros[16] = {};
        if (minor <= 1) {
            s.writeRawData(zeros, 1);
        } else if (minor == 2) {
            s << depth;
            s.writeRawData(zeros, 15);
        } else {
            s << depth;
            s.writeRawData(zeros, 3);
            s << quint32(resourceCountOverride >= 0 ? resourceCountOverride : directory.size());
            s.writeRawData(zeros, 8);
            for (const auto &entry : directory)
                s << entry.first << entry.second;
        }
        return out;
    }
};

// n images of the given size, each byte telling which image it belongs to.
QByteArray numberedImages(int count, int size)
{
    QByteArray out;
    for (int i = 0; i < count; ++i)
        out += QByteArray(size, char(i + 1));
    return out;
}

std::unique_ptr<CFileVTF> load(const QByteArray &bytes, QString &error)
{
    QBuffer buffer;
    buffer.setData(bytes);
    return std::unique_ptr<CFileVTF>(CFileVTF::createFromDevice(buffer, error));
}

quint32 word(const QByteArray &bytes, int offset)
{
    return quint32(uchar(bytes[offset])) | quint32(uchar(bytes[offset + 1])) << 8
        | quint32(uchar(bytes[offset + 2])) << 16 | quint32(uchar(bytes[offset + 3])) << 24;
}

quint16 half(const QByteArray &bytes, int offset)
{
    return quint16(uchar(bytes[offset]) | uchar(bytes[offset + 1]) << 8);
}

} // namespace

class TestTextureContainer : public QObject
{
    Q_OBJECT

private slots:
    void depthZeroIsOneSlice();
    void envmapFacesByFirstFrame_data();
    void envmapFacesByFirstFrame();
    void sevenFacesWrittenAtVersion70();
    void newTextureDirectory();
    void noDirectoryReadsBehindHeader();
    void resourceDefaultsAndTags();
    void zeroMipmaps();
    void nonPowerOfTwoHeader();
    void shortChainKeepsRealSizes();
    void versionChecks_data();
    void versionChecks();
    void badInput_data();
    void badInput();
    void shortThumbnailFailsSilently();
    void writerRefusals();
    void writerOmissions();
    void newTextureShape();
    void mutatedHeadersNeverCrash();
};

void TestTextureContainer::depthZeroIsOneSlice()
{
    FileBuilder b;
    b.minor = 2;
    b.depth = 0;
    QString error;
    auto vtf = load(b.header() + numberedImages(1, 64), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(int(vtf->getSliceCount()), 1);
    QCOMPARE(vtf->getImages()[0][0][0][0], QByteArray(64, 1));
}

void TestTextureContainer::envmapFacesByFirstFrame_data()
{
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("firstFrame");
    QTest::addColumn<int>("faces");
    for (int minor = 0; minor <= 5; ++minor) {
        QTest::addRow("7.%d sphere", minor) << minor << 0 << 7;
        QTest::addRow("7.%d no sphere", minor) << minor << 0xFFFF << 6;
    }
}

void TestTextureContainer::envmapFacesByFirstFrame()
{
    QFETCH(int, minor);
    QFETCH(int, firstFrame);
    QFETCH(int, faces);
    FileBuilder b;
    b.minor = minor;
    b.flags = VTF::FlagEnvironmentMap;
    b.firstFrame = quint16(firstFrame);
    QString error;
    auto vtf = load(b.header() + numberedImages(faces, 64), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(int(vtf->getFaceCount()), faces);
    QCOMPARE(vtf->getImages()[0][0][faces - 1][0], QByteArray(64, char(faces)));
}

void TestTextureContainer::sevenFacesWrittenAtVersion70()
{
    CFileVTF vtf(4, 4);
    QVERIFY(vtf.setFaceCount(7));
    QCOMPARE(int(vtf.getFaceCount()), 7);
    QCOMPARE(int(vtf.getFirstFrame()), 0);
    vtf.setVersion(7, 0);
    QByteArray bytes;
    QVERIFY(vtf.serialize(bytes));
    QCOMPARE(int(half(bytes, 26)), 0xFFFF);
    // 4x4, 2x2 and 1x1 RGBA8888, six faces each, behind a 64 byte header.
    QCOMPARE(bytes.size(), 64 + 6 * (64 + 16 + 4));
    QString error;
    auto back = load(bytes, error);
    QVERIFY2(back, qPrintable(error));
    QCOMPARE(int(back->getFaceCount()), 6);
    // At 7.1 all seven go out.
    vtf.setVersion(7, 1);
    QVERIFY(vtf.serialize(bytes));
    QCOMPARE(int(half(bytes, 26)), 0);
    QCOMPARE(bytes.size(), 64 + 7 * (64 + 16 + 4));
}

void TestTextureContainer::newTextureDirectory()
{
    CFileVTF vtf(8, 8);
    QCOMPARE(vtf.getVersionMinor(), 3u);
    QVERIFY(vtf.getResources().isEmpty());
    QVERIFY(vtf.setLowResImageFormat(VTF::DXT1));
    QCOMPARE(int(vtf.getLowResImageWidth()), 8);
    QByteArray bytes;
    QVERIFY(vtf.serialize(bytes));
    QCOMPARE(vtf.getHeaderSize(), 96u);
    QCOMPARE(word(bytes, 12), 96u);
    QCOMPARE(word(bytes, 68), 2u);
    QCOMPARE(word(bytes, 80), quint32(Resource::LowResImage));
    QCOMPARE(word(bytes, 84), 96u);
    QCOMPARE(word(bytes, 88), quint32(Resource::HighResImage));
    QCOMPARE(word(bytes, 92), 96u + 32u); // behind the 8x8 DXT1 thumbnail
    QCOMPARE(bytes.size(), 96 + 32 + (256 + 64 + 16 + 4));
    QString error;
    auto back = load(bytes, error);
    QVERIFY2(back, qPrintable(error));
    QCOMPARE(back->getImages(), vtf.getImages());
    QCOMPARE(back->getResources().size(), 2);
}

void TestTextureContainer::noDirectoryReadsBehindHeader()
{
    FileBuilder b;
    b.minor = 3;
    b.lowFormat = VTF::RGBA8888;
    b.lowWidth = b.lowHeight = 1;
    QString error;
    auto vtf = load(b.header() + QByteArray(4, 9) + numberedImages(1, 64), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(vtf->getLowResImageData(), QByteArray(4, 9));
    QCOMPARE(vtf->getImages()[0][0][0][0], QByteArray(64, 1));
}

void TestTextureContainer::resourceDefaultsAndTags()
{
    CFileVTF vtf;
    Resource *lod = vtf.addResourceOfType(Resource::LOD);
    QCOMPARE(lod->data, 0x1E1E1E1Eu);
    QCOMPARE(vtf.addResourceOfType(Resource::TS0)->data, 0u);
    QCOMPARE(vtf.addResourceOfType(Resource::LOD)->data, 0x1E1E1E1Eu);
    QCOMPARE(vtf.getResources().size(), 2);
    // Tags compare on their low 24 bits alone.
    QVERIFY(vtf.getResourceOfType(Resource::ID_t(0x444F4C | 0x4000000)));
    vtf.removeResourceOfType(Resource::LOD);
    QVERIFY(!vtf.getResourceOfType(Resource::LOD));
    QCOMPARE(vtf.getResources().size(), 1);

    // Two entries of one tag fold into one, the later word winning.
    FileBuilder b;
    b.minor = 4;
    b.directory
        = { { Resource::HighResImage, 0 }, { Resource::LOD, 0x0101 }, { Resource::LOD, 0x0202 } };
    b.directory[0].second = quint32(b.headerBytes());
    QString error;
    auto read = load(b.header() + numberedImages(1, 64), error);
    QVERIFY2(read, qPrintable(error));
    QCOMPARE(read->getResources().size(), 2);
    QCOMPARE(read->getResourceOfType(Resource::LOD)->data, 0x0202u);
}

void TestTextureContainer::zeroMipmaps()
{
    FileBuilder b;
    b.mipmaps = 0;
    QString error;
    auto vtf = load(b.header(), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(int(vtf->getMipmapCount()), 0);
    QCOMPARE(int(vtf->getFrameCount()), 0);
    QByteArray rgba;
    QVERIFY(!vtf->getImage(0, 0, 0, 0, rgba));
}

void TestTextureContainer::nonPowerOfTwoHeader()
{
    // 12x6 with three mipmaps halves to 3x1, and the others follow from there.
    FileBuilder b;
    b.width = 12;
    b.height = 6;
    b.mipmaps = 3;
    const int sizes = (3 * 1 + 6 * 2 + 12 * 4) * 4;
    QString error;
    auto vtf = load(b.header() + QByteArray(sizes, 1), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(vtf->getMipmapWidth(0), 3);
    QCOMPARE(vtf->getMipmapHeight(0), 1);
    QCOMPARE(vtf->getMipmapWidth(2), 12);
    QCOMPARE(vtf->getMipmapHeight(2), 4);
}

void TestTextureContainer::shortChainKeepsRealSizes()
{
    FileBuilder b;
    b.width = 256;
    b.height = 64;
    b.mipmaps = 1;
    b.format = VTF::DXT1;
    QString error;
    auto vtf = load(b.header() + QByteArray(256 * 64 / 2, 1), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(vtf->getMipmapWidth(0), 256);
    QCOMPARE(vtf->getMipmapHeight(0), 64);
    QByteArray rgba;
    QVERIFY(vtf->getImage(0, 0, 0, 0, rgba));
    QCOMPARE(rgba.size(), 256 * 64 * 4);

    b.mipmaps = 3;
    const int bytes = (64 * 16 + 128 * 32 + 256 * 64) / 2;
    vtf = load(b.header() + QByteArray(bytes, 1), error);
    QVERIFY2(vtf, qPrintable(error));
    QCOMPARE(vtf->getMipmapWidth(0), 64);
    QCOMPARE(vtf->getMipmapHeight(0), 16);
    QCOMPARE(vtf->getWidth(), 256);
}

void TestTextureContainer::versionChecks_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<QString>("error");
    QTest::newRow("6.2") << 6 << 2 << "Internal Error: Format too old";
    QTest::newRow("7.6") << 7 << 6 << "Internal Error: Format too new";
    QTest::newRow("8.5") << 8 << 5 << "Internal Error: Format too new";
    QTest::newRow("8.1 passes") << 8 << 1 << "";
    QTest::newRow("7.5") << 7 << 5 << "";
}

void TestTextureContainer::versionChecks()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(QString, error);
    FileBuilder b;
    b.major = quint32(major);
    b.minor = quint32(minor);
    QString got;
    auto vtf = load(b.header() + numberedImages(1, 64), got);
    QCOMPARE(got, error);
    QCOMPARE(bool(vtf), error.isEmpty());
}

void TestTextureContainer::badInput_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");

    FileBuilder b;
    QByteArray wrongMagic = b.header() + numberedImages(1, 64);
    wrongMagic[0] = 'X';
    QTest::newRow("magic") << wrongMagic << "File Error: Magic number mismatch";
    QTest::newRow("empty") << QByteArray() << "Read Error: Incomplete";
    QTest::newRow("header cut") << b.header().left(40) << "Read Error: Incomplete";
    QTest::newRow("images cut") << b.header() + QByteArray(63, 1) << "Read Error: Incomplete";

    FileBuilder huge;
    huge.width = huge.height = 65535;
    huge.mipmaps = 255;
    huge.frames = 65535;
    huge.depth = 65535;
    QTest::newRow("absurd sizes") << huge.header() + QByteArray(1000, 0)
                                  << "Read Error: Incomplete";
    huge.width = huge.height = 4096;
    huge.mipmaps = 13;
    huge.format = VTF::RGBA16161616F;
    QTest::newRow("big texture, small file") << huge.header() << "Read Error: Incomplete";
    FileBuilder unknown;
    unknown.format = 1000;
    unknown.frames = 65535;
    unknown.depth = 65535;
    unknown.mipmaps = 255;
    QTest::newRow("unknown format, many images") << unknown.header() << "Read Error: Incomplete";

    FileBuilder many;
    many.minor = 4;
    many.resourceCountOverride = 0xFFFFFFFF;
    QTest::newRow("resource count") << many.header() << "Read Error: Incomplete";

    FileBuilder sheet;
    sheet.minor = 4;
    sheet.directory = { { Resource::Sheet, 96 }, { Resource::HighResImage, 96 } };
    QByteArray sheetBytes = sheet.header();
    sheetBytes += QByteArray("\xff\xff\xff\x7f", 4) + numberedImages(1, 64);
    QTest::newRow("sheet length") << sheetBytes << "Read Error: Incomplete";

    FileBuilder offsets;
    offsets.minor = 5;
    offsets.directory = { { Resource::HighResImage, 0x7FFFFFF0 } };
    QTest::newRow("image offset") << offsets.header() + numberedImages(1, 64)
                                  << "Device Error: Seek failure";
    offsets.directory = { { Resource::HighResImage, 88 + 32 } };
    QTest::newRow("image offset near end")
        << offsets.header() + numberedImages(1, 64) << "Read Error: Incomplete";
}

void TestTextureContainer::badInput()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    QString got;
    auto vtf = load(bytes, got);
    QVERIFY(!vtf);
    QCOMPARE(got, error);
}

void TestTextureContainer::shortThumbnailFailsSilently()
{
    FileBuilder b;
    b.lowFormat = VTF::DXT1;
    b.lowWidth = b.lowHeight = 16;
    QString error = QStringLiteral("untouched");
    auto vtf = load(b.header() + QByteArray(100, 0), error);
    QVERIFY(!vtf);
    QVERIFY(error.isEmpty());
}

void TestTextureContainer::writerRefusals()
{
    CFileVTF vtf;
    QDataStream noDevice;
    QVERIFY(!vtf.serialize(noDevice));
    QCOMPARE(vtf.getLastError(), QStringLiteral("Stream Error: No device"));

    QBuffer closed;
    QDataStream closedStream(&closed);
    QVERIFY(!vtf.serialize(closedStream));
    QCOMPARE(vtf.getLastError(), QStringLiteral("Device Error: Not open"));

    QBuffer readOnly;
    readOnly.open(QIODevice::ReadOnly);
    QDataStream readStream(&readOnly);
    QVERIFY(!vtf.serialize(readStream));
    QCOMPARE(vtf.getLastError(), QStringLiteral("Device Error: Not writable"));
}

void TestTextureContainer::writerOmissions()
{
    CFileVTF vtf(4, 4);
    vtf.setVersion(7, 4);
    vtf.addResourceOfType(Resource::TS0)->data = 0x1234;
    vtf.addResourceOfType(Resource::Sheet)->bytes = QByteArray(40, 's');
    vtf.addResourceOfType(Resource::KeyValues)->bytes = QByteArray(10, 'k');
    vtf.addResourceOfType(Resource::CRC)->data = 0xABCD;
    vtf.addResourceOfType(Resource::ID_t(0x585858)); // unknown tag
    vtf.addResourceOfType(Resource::LOD);
    QByteArray bytes;
    QVERIFY(vtf.serialize(bytes));
    // Six listed, less the checksum, plus the missing thumbnail and image entries.
    QCOMPARE(vtf.getHeaderSize(), 80u + 6 * 8 - 8 + 8 + 8);
    QCOMPARE(word(bytes, 68), 8u);
    // Written: sheet, key values, images, LOD, TS0 (no thumbnail without a format).
    QCOMPARE(word(bytes, 80), quint32(Resource::Sheet));
    QCOMPARE(word(bytes, 84), vtf.getHeaderSize());
    QCOMPARE(word(bytes, 88), quint32(Resource::KeyValues));
    QCOMPARE(word(bytes, 92), vtf.getHeaderSize() + 40);
    QCOMPARE(word(bytes, 96), quint32(Resource::HighResImage));
    QCOMPARE(word(bytes, 100), vtf.getHeaderSize() + 50);
    QCOMPARE(word(bytes, 104), quint32(Resource::LOD));
    QCOMPARE(word(bytes, 108), 0x1E1E1E1Eu);
    QCOMPARE(word(bytes, 112), quint32(Resource::TS0));
    QCOMPARE(word(bytes, 116), 0x1234u);
    // The images follow the directory at once; no payload is written.
    QCOMPARE(bytes.size(), 120 + 64 + 16 + 4);
}

void TestTextureContainer::newTextureShape()
{
    CFileVTF vtf(256, 64);
    QCOMPARE(vtf.getFileName(), QStringLiteral("untitled"));
    QCOMPARE(int(vtf.getMipmapCount()), 9);
    QCOMPARE(vtf.getWidth(), 256);
    QCOMPARE(vtf.getHeight(), 64);
    QCOMPARE(int(vtf.getBaseMipmap()), 2);
    QCOMPARE(vtf.getImages()[8][0][0][0], QByteArray(256 * 64 * 4, 0));
    CFileVTF odd(100, 0);
    QCOMPARE(odd.getWidth(), 1);
    QCOMPARE(int(odd.getMipmapCount()), 1);
}

void TestTextureContainer::mutatedHeadersNeverCrash()
{
    // A valid 7.4 file with a thumbnail, a sheet, a LOD and three DXT5 mipmaps,
    // then damaged byte by byte in its header and directory.
    CFileVTF vtf(16, 16);
    vtf.setVersion(7, 4);
    QVERIFY(vtf.setHighResImageFormat(VTF::DXT5));
    QVERIFY(vtf.setLowResImageFormat(VTF::DXT1));
    vtf.addResourceOfType(Resource::LOD);
    QByteArray good;
    QVERIFY(vtf.serialize(good));
    QString error;
    QVERIFY(load(good, error));

    quint32 seed = 2024;
    auto next = [&seed]() {
        seed = seed * 1664525u + 1013904223u;
        return seed >> 8;
    };
    int loaded = 0;
    for (int round = 0; round < 3000; ++round) {
        QByteArray bytes = good;
        const int flips = 1 + int(next() % 4);
        for (int i = 0; i < flips; ++i)
            bytes[int(next() % 112)] = char(next());
        if (round % 7 == 0)
            bytes.truncate(int(next() % bytes.size()));
        auto damaged = load(bytes, error);
        if (!damaged)
            continue;
        ++loaded;
        for (int m = 0; m < damaged->getMipmapCount(); ++m)
            for (int f = 0; f < qMin<int>(damaged->getFrameCount(), 3); ++f)
                for (int face = 0; face < damaged->getFaceCount(); ++face) {
                    QByteArray rgba;
                    damaged->getImage(m, f, face, 0, rgba);
                }
        QByteArray thumbnail, written;
        damaged->getLowResImage(thumbnail);
        damaged->serialize(written);
    }
    QVERIFY(loaded > 0);
}

QTEST_GUILESS_MAIN(TestTextureContainer)
#include "tst_textures_container.moc"
