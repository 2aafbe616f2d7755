#include "ZirkTest.h"

#include "textures/CFileVTF.h"
#include "textures/VTFMagick.h"

#include <memory>

namespace {

QByteArray solid(int width, int height, uchar r, uchar g, uchar b, uchar a = 255)
{
    QByteArray out(width * height * 4, Qt::Uninitialized);
    for (int i = 0; i < width * height; ++i) {
        out[i * 4] = char(r);
        out[i * 4 + 1] = char(g);
        out[i * 4 + 2] = char(b);
        out[i * 4 + 3] = char(a);
    }
    return out;
}

void fill(CFileVTF &vtf, unsigned char mipmap, unsigned char face, uchar r, uchar g, uchar b)
{
    const int w = vtf.getMipmapWidth(mipmap), h = vtf.getMipmapHeight(mipmap);
    QVERIFY(vtf.setImage(solid(w, h, r, g, b), w, h, mipmap, 0, face, 0, false));
}

bool near(const QByteArray &rgba, uchar r, uchar g, uchar b, int tolerance)
{
    for (int i = 0; i + 3 < rgba.size(); i += 4)
        if (qAbs(uchar(rgba[i]) - r) > tolerance || qAbs(uchar(rgba[i + 1]) - g) > tolerance
            || qAbs(uchar(rgba[i + 2]) - b) > tolerance)
            return false;
    return !rgba.isEmpty();
}

} // namespace

class TestTextureOperations : public QObject
{
    Q_OBJECT

private slots:
    void countRefusals_data();
    void countRefusals();
    void thirteenMipmapsOnOnePixel();
    void fewerMipmapsKeepSmallOnes();
    void frameCount();
    void faceCountRules();
    void sliceCount();
    void highResFormatChange();
    void lowResImage();
    void thumbnails();
    void generateMipmapsDownward();
    void generateMipmapsUpward();
    void setImageFromImage();
    void sphereMap();
    void gammaAndReflectivity();
    void rangeValidation();
};

void TestTextureOperations::countRefusals_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("error");
    QTest::newRow("frames 0") << "frames" << 0 << false << "Request Error: Invalid frame count";
    QTest::newRow("faces 2") << "faces" << 2 << false << "Request Error: Invalid face count";
    QTest::newRow("faces 0") << "faces" << 0 << false << "Request Error: Invalid face count";
    QTest::newRow("slices 0") << "slices" << 0 << false << "Request Error: Invalid slice count";
    QTest::newRow("slices 3") << "slices" << 3 << false
                              << "Request Error: Slice count not a power of two";
    QTest::newRow("mipmaps 0") << "mipmaps" << 0 << false << "Request Error: Invalid mipmap count";
    QTest::newRow("mipmaps 14") << "mipmaps" << 14 << false
                                << "Request Error: Invalid mipmap count";
}

void TestTextureOperations::countRefusals()
{
    QFETCH(QString, what);
    QFETCH(int, value);
    QFETCH(bool, result);
    QFETCH(QString, error);
    CFileVTF vtf(4, 4);
    bool got = false;
    if (what == QLatin1String("frames"))
        got = vtf.setFrameCount(value);
    else if (what == QLatin1String("faces"))
        got = vtf.setFaceCount(value);
    else if (what == QLatin1String("slices"))
        got = vtf.setSliceCount(value);
    else
        got = vtf.setMipmapCount(value);
    QCOMPARE(got, result);
    QCOMPARE(vtf.getLastError(), error);
    QCOMPARE(int(vtf.getMipmapCount()), 3);
    QCOMPARE(int(vtf.getFaceCount()), 1);
}

void TestTextureOperations::thirteenMipmapsOnOnePixel()
{
    CFileVTF vtf(1, 1);
    QCOMPARE(int(vtf.getMipmapCount()), 1);
    QVERIFY(vtf.setMipmapCount(13));
    QCOMPARE(vtf.getWidth(), 4096);
    QCOMPARE(vtf.getHeight(), 4096);
    QCOMPARE(vtf.getImages()[12][0][0][0].size(), 4096 * 4096 * 4);
    QVERIFY(vtf.setMipmapCount(1));
    QCOMPARE(vtf.getWidth(), 1);
}

void TestTextureOperations::fewerMipmapsKeepSmallOnes()
{
    CFileVTF vtf(256, 256);
    QCOMPARE(int(vtf.getMipmapCount()), 9);
    for (int m = 0; m < 9; ++m)
        fill(vtf, m, 0, uchar(m * 10), 0, 0);
    QVERIFY(vtf.setMipmapCount(5));
    QCOMPARE(vtf.getWidth(), 16);
    QCOMPARE(vtf.getHeight(), 16);
    for (int m = 0; m < 5; ++m) {
        QByteArray rgba;
        QVERIFY(vtf.getImage(m, 0, 0, 0, rgba));
        QVERIFY(near(rgba, uchar(m * 10), 0, 0, 0));
    }
    // Growing again makes larger, zeroed mipmaps.
    QVERIFY(vtf.setMipmapCount(6));
    QCOMPARE(vtf.getWidth(), 32);
    QCOMPARE(vtf.getImages()[5][0][0][0], QByteArray(32 * 32 * 4, 0));
}

void TestTextureOperations::frameCount()
{
    CFileVTF vtf(4, 4);
    QVERIFY(vtf.setFrameCount(3));
    QCOMPARE(int(vtf.getFrameCount()), 3);
    QCOMPARE(vtf.getImages()[2][2][0][0], QByteArray(64, 0));
    QCOMPARE(vtf.getImages()[0][2][0][0], QByteArray(4, 0));
    vtf.setFirstFrame(2);
    QCOMPARE(int(vtf.getFirstFrame()), 2);
    vtf.setFirstFrame(9);
    QCOMPARE(int(vtf.getFirstFrame()), 2);
    QVERIFY(vtf.setFrameCount(2));
    QCOMPARE(int(vtf.getFirstFrame()), 1);
    QVERIFY(vtf.setFrameCount(2));
}

void TestTextureOperations::faceCountRules()
{
    CFileVTF wide(8, 4);
    QVERIFY(wide.setFaceCount(6));
    QCOMPARE(int(wide.getFaceCount()), 1);
    QCOMPARE(wide.getLastError(), QStringLiteral("Request Error: Envmaps must be square"));

    CFileVTF cube(8, 8);
    QVERIFY(cube.setFaceCount(6));
    QCOMPARE(int(cube.getFaceCount()), 6);
    QVERIFY(cube.hasFlag(VTF::FlagEnvironmentMap));
    QCOMPARE(int(cube.getFirstFrame()), 0xFFFF);
    cube.setFirstFrame(0); // ignored with six faces
    QCOMPARE(int(cube.getFirstFrame()), 0xFFFF);
    QVERIFY(cube.setFaceCount(7));
    QCOMPARE(int(cube.getFirstFrame()), 0);
    QCOMPARE(cube.getImages()[3][0][6][0], QByteArray(8 * 8 * 4, 0));
    QVERIFY(cube.setFaceCount(6));
    QCOMPARE(int(cube.getFirstFrame()), 0xFFFF);
    QVERIFY(cube.setFaceCount(1));
    QCOMPARE(int(cube.getFaceCount()), 1);
    QVERIFY(cube.hasFlag(VTF::FlagEnvironmentMap)); // left for the caller to clear

    CFileVTF volume(8, 8);
    QVERIFY(volume.setSliceCount(2));
    QVERIFY(!volume.setFaceCount(6));
    QCOMPARE(volume.getLastError(),
             QStringLiteral("Request Error: Depth textures cannot be envmaps"));
}

void TestTextureOperations::sliceCount()
{
    CFileVTF vtf(4, 4);
    QVERIFY(vtf.setSliceCount(4));
    QCOMPARE(int(vtf.getSliceCount()), 4);
    // Slices keep the mipmap's size.
    QCOMPARE(vtf.getImages()[0][0][0][3].size(), 4);
    QCOMPARE(vtf.getImages()[2][0][0][3].size(), 64);
    QVERIFY(vtf.setSliceCount(1));
    QCOMPARE(int(vtf.getSliceCount()), 1);

    CFileVTF cube(4, 4);
    QVERIFY(cube.setFaceCount(6));
    QVERIFY(!cube.setSliceCount(2));
    QCOMPARE(cube.getLastError(),
             QStringLiteral("Request Error: Depth textures cannot be envmaps"));
}

void TestTextureOperations::highResFormatChange()
{
    CFileVTF vtf(4, 4);
    fill(vtf, 2, 0, 10, 20, 30);
    QVERIFY(!vtf.setHighResImageFormat(VTF::RGBA16161616F));
    QVERIFY(!vtf.setHighResImageFormat(VTF::P8));
    QVERIFY(!vtf.setHighResImageFormat(VTF::NONE));
    QVERIFY(!vtf.setHighResImageFormat(VTF::Format_t(27)));
    QCOMPARE(vtf.getHighResImageFormat(), VTF::RGBA8888);

    QVERIFY(vtf.setHighResImageFormat(VTF::BGR888));
    QCOMPARE(vtf.getImages()[2][0][0][0].size(), 48);
    QCOMPARE(vtf.getFlags() & 0x3000u, 0u);
    QVERIFY(vtf.setHighResImageFormat(VTF::DXT5));
    QCOMPARE(vtf.getFlags() & 0x3000u, 0x2000u);
    QCOMPARE(vtf.getImages()[2][0][0][0].size(), 16);
    QVERIFY(vtf.setHighResImageFormat(VTF::BGRA8888));
    QByteArray rgba;
    QVERIFY(vtf.getImage(2, 0, 0, 0, rgba));
    QVERIFY(near(rgba, 10, 20, 30, 8));
    QVERIFY(vtf.setHighResImageFormat(VTF::DXT1_ONEBITALPHA));
    QCOMPARE(vtf.getFlags() & 0x3000u, 0x1000u);
    QCOMPARE(vtf.getImages()[2][0][0][0].size(), 8);
}

void TestTextureOperations::lowResImage()
{
    CFileVTF vtf(64, 64);
    QVERIFY(!vtf.setLowResImageData(QByteArray(32 * 32 * 4, 0), 32, 32, false));
    QVERIFY(!vtf.setLowResImageData(QByteArray(12 * 16 * 4, 0), 12, 16, false));
    QVERIFY(vtf.setLowResImageData(solid(16, 16, 200, 0, 0), 16, 16, false));
    QCOMPARE(vtf.getLowResImageFormat(), VTF::DXT1);
    QCOMPARE(int(vtf.getLowResImageWidth()), 16);
    QCOMPARE(vtf.getLowResImageData().size(), 128);
    QByteArray rgba;
    QVERIFY(vtf.getLowResImage(rgba));
    QVERIFY(near(rgba, 200, 0, 0, 8));

    QVERIFY(vtf.setLowResImageFormat(VTF::RGBA8888));
    QCOMPARE(vtf.getLowResImageData().size(), 16 * 16 * 4);
    QVERIFY(!vtf.setLowResImageData(QByteArray(5, 0), 16, 16, true));
    QVERIFY(vtf.setLowResImageData(QByteArray(8 * 8 * 4, 7), 8, 8, true));
    QCOMPARE(int(vtf.getLowResImageWidth()), 8);
    QVERIFY(!vtf.setLowResImageFormat(VTF::P8));
    QVERIFY(vtf.setLowResImageFormat(VTF::NONE));
    QCOMPARE(int(vtf.getLowResImageWidth()), 0);
    QCOMPARE(vtf.getLowResImageFormat(), VTF::NONE);

    // From none, the thumbnail takes the size of mipmap 4 and zeros.
    QVERIFY(vtf.setLowResImageFormat(VTF::DXT5));
    QCOMPARE(int(vtf.getLowResImageWidth()), 16);
    QCOMPARE(vtf.getLowResImageData(), QByteArray(256, 0));
}

void TestTextureOperations::thumbnails()
{
    CFileVTF vtf(8, 8);
    QCOMPARE(int(vtf.getMipmapCount()), 4);
    fill(vtf, 3, 0, 0, 250, 0);
    fill(vtf, 2, 0, 0, 0, 250);
    QVERIFY(!vtf.generateThumbnail(4, 0, 0, 0));
    QVERIFY(vtf.generateThumbnail());
    QCOMPARE(int(vtf.getLowResImageWidth()), 8);
    QByteArray rgba;
    QVERIFY(vtf.getLowResImage(rgba));
    QVERIFY(near(rgba, 0, 250, 0, 8));
    QVERIFY(vtf.generateThumbnail(2, 0, 0, 0));
    QCOMPARE(int(vtf.getLowResImageWidth()), 4);

    // Above mipmap 4 the image is scaled down to mipmap 4's size.
    CFileVTF big(64, 32);
    fill(big, 6, 0, 90, 60, 30);
    QVERIFY(big.generateThumbnail(6, 0, 0, 0));
    QCOMPARE(int(big.getLowResImageWidth()), 16);
    QCOMPARE(int(big.getLowResImageHeight()), 8);
    QVERIFY(big.getLowResImage(rgba));
    QVERIFY(near(rgba, 90, 60, 30, 8));
}

void TestTextureOperations::generateMipmapsDownward()
{
    CFileVTF vtf(256, 256);
    fill(vtf, 8, 0, 120, 60, 200);
    const QByteArray top = vtf.getImages()[8][0][0][0];
    QVERIFY(!vtf.generateMipmaps(8, 0, 8, 0, 0, 0, 0, 0, 0, MagickCore::PointFilter));
    QCOMPARE(vtf.getImages()[8][0][0][0], top);
    for (int m = 7; m >= 0; --m) {
        QByteArray rgba;
        QVERIFY(vtf.getImage(m, 0, 0, 0, rgba));
        QVERIFY2(near(rgba, 120, 60, 200, 2), qPrintable(QString::number(m)));
    }

    // A source above the last mipmap generates nothing downward.
    CFileVTF other(16, 16);
    fill(other, 4, 0, 50, 50, 50);
    QVERIFY(!other.generateMipmaps(4, 0, 2, 0, 0, 0, 0, 0, 0, MagickCore::PointFilter));
    QCOMPARE(other.getImages()[1][0][0][0], QByteArray(2 * 2 * 4, 0));
}

void TestTextureOperations::generateMipmapsUpward()
{
    CFileVTF vtf(16, 16);
    fill(vtf, 1, 0, 30, 40, 50);
    QVERIFY(!vtf.generateMipmaps(1, 0, 4, 0, 0, 0, 0, 0, 0, MagickCore::PointFilter));
    for (int m = 2; m <= 4; ++m) {
        QByteArray rgba;
        QVERIFY(vtf.getImage(m, 0, 0, 0, rgba));
        QVERIFY2(near(rgba, 30, 40, 50, 2), qPrintable(QString::number(m)));
    }
    QByteArray rgba;
    QVERIFY(vtf.getImage(0, 0, 0, 0, rgba));
    QVERIFY(near(rgba, 30, 40, 50, 2));
}

void TestTextureOperations::setImageFromImage()
{
    CFileVTF vtf(16, 16);
    QVERIFY(vtf.setFrameCount(2));
    fill(vtf, 4, 0, 99, 88, 77);
    QVERIFY(vtf.setImageFromImage(4, 0, 0, 0, 2, 1, 0, 0, MagickCore::TriangleFilter));
    QByteArray rgba;
    QVERIFY(vtf.getImage(2, 1, 0, 0, rgba));
    QVERIFY(near(rgba, 99, 88, 77, 2));
    QVERIFY(vtf.setImageFromImage(4, 0, 0, 0, 4, 1, 0, 0, MagickCore::TriangleFilter));
    QCOMPARE(vtf.getImages()[4][1][0][0], vtf.getImages()[4][0][0][0]);
    QVERIFY(!vtf.setImageFromImage(5, 0, 0, 0, 4, 1, 0, 0, MagickCore::TriangleFilter));
    QVERIFY(!vtf.setImageFromImage(4, 0, 0, 0, 4, 2, 0, 0, MagickCore::TriangleFilter));
    // setImage checks the size against the mipmap.
    QVERIFY(!vtf.setImage(solid(8, 8, 1, 1, 1), 8, 8, 4, 0, 0, 0, false));
    QVERIFY(!vtf.setImage(QByteArray(10, 0), 16, 16, 4, 0, 0, 0, true));
}

void TestTextureOperations::sphereMap()
{
    CFileVTF plain(16, 16);
    QByteArray faces[6];
    QByteArray sphere;
    QVERIFY(!plain.generateSphereMap(4, 0, 0, faces, sphere));
    QCOMPARE(plain.getLastError(), QStringLiteral("Request Error: Image is not an enviroment map"));
    plain.setFlag(VTF::FlagEnvironmentMap, true);
    QVERIFY(!plain.generateSphereMaps(0, 4, 0, 0, 0, 0));
    QCOMPARE(plain.getLastError(),
             QStringLiteral("Request Error: Enviroment map does not have correct number of faces"));

    CFileVTF cube(16, 16);
    QVERIFY(cube.setFaceCount(6));
    const uchar colours[6][3] = { { 200, 0, 0 },   { 0, 200, 0 },   { 0, 0, 200 },
                                  { 200, 200, 0 }, { 0, 200, 200 }, { 90, 60, 30 } };
    for (int face = 0; face < 6; ++face)
        fill(cube, 4, face, colours[face][0], colours[face][1], colours[face][2]);

    QVERIFY(cube.generateSphereMap(4, 0, 0, faces, sphere));
    QCOMPARE(sphere.size(), 16 * 16 * 4);
    // Outside the disc lies the average of the "Back" face (file face 2).
    uchar expected[3];
    for (int c = 0; c < 3; ++c) {
        const float background = float(colours[2][c]) * 0.003921f;
        float sum = 0.0f;
        for (int i = 0; i < 4; ++i)
            sum += background;
        expected[c] = uchar(int(sum * 255.0f * 0.25f));
    }
    for (int corner : { 0, 15, 16 * 15, 16 * 16 - 1 }) {
        QCOMPARE(uchar(sphere[corner * 4]), expected[0]);
        QCOMPARE(uchar(sphere[corner * 4 + 1]), expected[1]);
        QCOMPARE(uchar(sphere[corner * 4 + 2]), expected[2]);
        QCOMPARE(uchar(sphere[corner * 4 + 3]), uchar(255));
    }
    // The middle of the ball reflects straight back along +z, into "Up".
    const int centre = (8 * 16 + 8) * 4;
    QVERIFY(uchar(sphere[centre]) < 50 && uchar(sphere[centre + 1]) > 150
            && uchar(sphere[centre + 2]) > 150);

    QVERIFY(cube.generateSphereMaps(0, 4, 0, 0, 0, 0));
    QCOMPARE(int(cube.getFaceCount()), 7);
    QByteArray stored;
    QVERIFY(cube.getImage(4, 0, 6, 0, stored));
    QCOMPARE(stored.mid(0, 3), sphere.mid(0, 3));
}

void TestTextureOperations::gammaAndReflectivity()
{
    CFileVTF vtf(4, 8);
    fill(vtf, 3, 0, 100, 100, 100);
    const CFileVTF::Mipmaps before = vtf.getImages();
    vtf.correctImageGamma(1.0f, 200, 100, 900, 800, 9, 3, 70, 1);
    QCOMPARE(vtf.getImages(), before);

    // A tall texture has only its top square corrected.
    vtf.correctImageGamma(2.0f, 3, 3, 0, 0, 0, 0, 0, 0);
    QByteArray rgba;
    QVERIFY(vtf.getImage(3, 0, 0, 0, rgba));
    QVERIFY(uchar(rgba[0]) > 100);
    QCOMPARE(uchar(rgba[4 * 4 * 4]), uchar(100));
    QCOMPARE(uchar(rgba[3]), uchar(255));

    CFileVTF white(4, 4);
    for (int m = 0; m < 3; ++m)
        fill(white, m, 0, 255, 255, 255);
    float r = 0, g = 0, b = 0;
    white.computeReflectivity(r, g, b, 0, 2, 0, 0, 0, 0, 0, 0);
    QVERIFY(qAbs(r - 1.0f) < 1e-4f && qAbs(g - 1.0f) < 1e-4f && qAbs(b - 1.0f) < 1e-4f);
}

void TestTextureOperations::rangeValidation()
{
    CFileVTF vtf(8, 8);
    QVERIFY(vtf.setFrameCount(3));
    unsigned char firstMipmap = 9, lastMipmap = 1, firstFace = 4, lastFace = 0;
    unsigned short firstFrame = 7, lastFrame = 1, firstSlice = 0, lastSlice = 5;
    vtf.validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace, lastFace,
                               firstSlice, lastSlice);
    QCOMPARE(int(firstMipmap), 1);
    QCOMPARE(int(lastMipmap), 3);
    QCOMPARE(int(firstFrame), 1);
    QCOMPARE(int(lastFrame), 2);
    QCOMPARE(int(firstFace), 0);
    QCOMPARE(int(lastFace), 0);
    QCOMPARE(int(lastSlice), 0);
}

QTEST_GUILESS_MAIN(TestTextureOperations)
#include "tst_textures_operations.moc"
