#include "ZirkTest.h"

#include "textures/VTF.h"
#include "textures/VTFBlockCoder.h"
#include "textures/VTFMagick.h"

#include <QImage>

#include <squish.h>

#include <cmath>
#include <memory>

using namespace VTF;

Q_DECLARE_METATYPE(VTF::Format_t)

namespace {

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int v : values)
        out.append(char(v));
    return out;
}

// A deterministic image with smooth gradients and some noise in every channel.
QByteArray testImage(int width, int height, bool varyAlpha)
{
    QByteArray rgba(width * height * 4, Qt::Uninitialized);
    quint32 seed = 12345;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            char *p = rgba.data() + (y * width + x) * 4;
            p[0] = char((x * 255) / qMax(1, width - 1));
            p[1] = char((y * 255) / qMax(1, height - 1));
            p[2] = char(((x + y) * 7 + int(seed >> 28)) & 255);
            p[3] = varyAlpha ? char((x * 16 + y * 8) & 255) : char(255);
        }
    }
    return rgba;
}

} // namespace

class TestTextureFormats : public QObject
{
    Q_OBJECT

private slots:
    void sizes_data();
    void sizes();
    void names();
    void tableColumns();
    void toRGBA_data();
    void toRGBA();
    void fromRGBA_data();
    void fromRGBA();
    void refusals();
    void hostileSizesStayInBounds();
    void blockRoundTrip_data();
    void blockRoundTrip();
    void parallelEncoderMatchesOneCall_data();
    void parallelEncoderMatchesOneCall();
    void decodingMatchesSquish_data();
    void decodingMatchesSquish();
    void dxt1IgnoresAlphaButOneBitAlphaKeepsIt();
    void toneMapping();
    void qimageBridge();
    void magickBridgeKeepsFourChannels();
    void baseMipmap();
    void gammaAndReflectivity();
    void flipAndMirror();
};

void TestTextureFormats::sizes_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<Format_t>("format");
    QTest::addColumn<int>("expected");
    QTest::newRow("1x1 RGBA8888") << 1 << 1 << RGBA8888 << 4;
    QTest::newRow("1x1 DXT1") << 1 << 1 << DXT1 << 8;
    QTest::newRow("1x1 DXT5") << 1 << 1 << DXT5 << 16;
    QTest::newRow("5x5 DXT5") << 5 << 5 << DXT5 << 64;
    QTest::newRow("3x9 one-bit DXT1") << 3 << 9 << DXT1_ONEBITALPHA << 24;
    QTest::newRow("256x256 RGBA16161616F") << 256 << 256 << RGBA16161616F << 524288;
    QTest::newRow("7x3 BGR888") << 7 << 3 << BGR888 << 63;
    QTest::newRow("DXT side wraps in 16 bits") << 65535 << 4 << DXT1 << 0;
    QTest::newRow("product wraps in 32 bits") << 65535 << 65535 << RGBA16161616 << -1048568;
    QTest::newRow("NONE") << 16 << 16 << NONE << 0;
    QTest::newRow("beyond the table") << 16 << 16 << Format_t(27) << 0;
}

void TestTextureFormats::sizes()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(Format_t, format);
    QFETCH(int, expected);
    QCOMPARE(bytesPerSizeOfFormat(width, height, format), expected);
}

void TestTextureFormats::names()
{
    QCOMPARE(getFormatName(NONE), "NONE");
    QCOMPARE(getFormatName(DXT1_ONEBITALPHA), "DXT1_ONEBITALPHA");
    QCOMPARE(getFormatName(UVLX8888), "UVLX8888");
    QVERIFY(!getFormatName(Format_t(27)));
    QVERIFY(!getFormatName(Format_t(-2)));

    QCOMPARE(getFlagName(FlagHintDXT5), "Hint DTX5");
    QCOMPARE(getFlagName(FlagPreSRGB), "Pre SRGB / One Over MIP Level In Alpha");
    QCOMPARE(getFlagName(Flag31), "Flag 31");
    QVERIFY(!getFlagName(Flags_t(0x3)));
    QVERIFY(!getFlagName(Flags_t(0)));

    QCOMPARE(getEnvFaceName(0), "Right");
    QCOMPARE(getEnvFaceName(6), "Spheremap");
    QVERIFY(!getEnvFaceName(7));
    QCOMPARE(getCImgResizeName(6), "Lanczos");
    QVERIFY(!getCImgResizeName(7));

    QCOMPARE(magickFilterName(MagickCore::UndefinedFilter), "");
    QCOMPARE(magickFilterName(MagickCore::PointFilter), "Point");
    QCOMPARE(magickFilterName(MagickCore::MitchellFilter), "Mitchell");
    QCOMPARE(magickFilterName(MagickCore::SplineFilter), "Spline");
    QCOMPARE(magickFilterName(MagickCore::FilterTypes(30)), "");
}

void TestTextureFormats::tableColumns()
{
    QCOMPARE(bitsPerAlphaOfFormat(BGRA4444), 8);
    QCOMPARE(bitsPerAlphaOfFormat(DXT1), 0);
    QCOMPARE(bitsPerAlphaOfFormat(DXT1_ONEBITALPHA), 1);
    QCOMPARE(bitsPerAlphaOfFormat(BGRX8888), 0);
    QVERIFY(doesFormatHaveAlpha(BGRX8888));
    QVERIFY(doesFormatHaveAlpha(BGRX5551));
    QVERIFY(doesFormatHaveAlpha(RGB888_BLUESCREEN));
    QVERIFY(!doesFormatHaveAlpha(DXT1));
    QCOMPARE(bitsPerPixelOfFormat(DXT3), 8);
    QCOMPARE(bitsPerPixelOfFormat(NONE), 0);
    QVERIFY(!doesFormatHaveAlpha(NONE));
    QCOMPARE(bitsPerPixelOfFormat(Format_t(27)), 0);
}

void TestTextureFormats::toRGBA_data()
{
    QTest::addColumn<Format_t>("format");
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QByteArray>("rgba");
    QTest::newRow("RGBA8888") << RGBA8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 1, 2, 3, 4 });
    QTest::newRow("UVWQ8888") << UVWQ8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 1, 2, 3, 4 });
    QTest::newRow("UVLX8888") << UVLX8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 1, 2, 3, 4 });
    QTest::newRow("ABGR8888") << ABGR8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 4, 3, 2, 1 });
    QTest::newRow("RGB888") << RGB888 << bytes({ 1, 2, 3 }) << bytes({ 1, 2, 3, 255 });
    QTest::newRow("BGR888") << BGR888 << bytes({ 1, 2, 3 }) << bytes({ 3, 2, 1, 255 });
    QTest::newRow("RGB565 red") << RGB565 << bytes({ 0x1F, 0 }) << bytes({ 255, 0, 0, 255 });
    QTest::newRow("RGB565 green") << RGB565 << bytes({ 0xE0, 0x07 }) << bytes({ 0, 255, 0, 255 });
    QTest::newRow("RGB565 widening") << RGB565 << bytes({ 0x10, 0 }) << bytes({ 132, 0, 0, 255 });
    QTest::newRow("BGR565") << BGR565 << bytes({ 0x1F, 0 }) << bytes({ 0, 0, 255, 255 });
    QTest::newRow("I8") << I8 << bytes({ 7 }) << bytes({ 7, 7, 7, 255 });
    QTest::newRow("IA88") << IA88 << bytes({ 7, 9 }) << bytes({ 7, 7, 7, 9 });
    QTest::newRow("A8") << A8 << bytes({ 9 }) << bytes({ 255, 255, 255, 9 });
    QTest::newRow("bluescreen blue")
        << RGB888_BLUESCREEN << bytes({ 0, 0, 255 }) << bytes({ 0, 0, 255, 0 });
    QTest::newRow("bluescreen 254")
        << RGB888_BLUESCREEN << bytes({ 0, 0, 254 }) << bytes({ 0, 0, 254, 255 });
    QTest::newRow("bluescreen red 1")
        << RGB888_BLUESCREEN << bytes({ 1, 0, 255 }) << bytes({ 1, 0, 255, 255 });
    QTest::newRow("BGR bluescreen")
        << BGR888_BLUESCREEN << bytes({ 255, 0, 0 }) << bytes({ 0, 0, 255, 0 });
    QTest::newRow("ARGB8888 rotation")
        << ARGB8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 4, 1, 2, 3 });
    QTest::newRow("BGRA8888") << BGRA8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 3, 2, 1, 4 });
    QTest::newRow("BGRX8888 keeps X") << BGRX8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 3, 2, 1, 4 });
    QTest::newRow("BGRX5551") << BGRX5551 << bytes({ 0, 0xFC }) << bytes({ 255, 0, 0, 255 });
    QTest::newRow("BGRA5551 clear") << BGRA5551 << bytes({ 0x1F, 0 }) << bytes({ 0, 0, 255, 0 });
    QTest::newRow("BGRA4444") << BGRA4444 << bytes({ 0x21, 0x43 }) << bytes({ 51, 34, 17, 68 });
    QTest::newRow("UV88") << UV88 << bytes({ 5, 6 }) << bytes({ 5, 6, 0, 255 });
    QTest::newRow("RGBA16161616") << RGBA16161616
                                  << bytes({ 0xFF, 0xFF, 0x0A, 0x0A, 0x00, 0x01, 0x00, 0x00 })
                                  << bytes({ 255, 10, 0, 0 });
}

void TestTextureFormats::toRGBA()
{
    QFETCH(Format_t, format);
    QFETCH(QByteArray, stored);
    QFETCH(QByteArray, rgba);
    QByteArray out;
    QVERIFY(formatToRGBA8888(stored, 1, 1, format, out));
    QCOMPARE(out, rgba);
}

void TestTextureFormats::fromRGBA_data()
{
    QTest::addColumn<Format_t>("format");
    QTest::addColumn<QByteArray>("rgba");
    QTest::addColumn<QByteArray>("stored");
    QTest::newRow("RGBA8888") << RGBA8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 1, 2, 3, 4 });
    QTest::newRow("ABGR8888") << ABGR8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 4, 3, 2, 1 });
    QTest::newRow("RGB888") << RGB888 << bytes({ 1, 2, 3, 4 }) << bytes({ 1, 2, 3 });
    QTest::newRow("BGR888") << BGR888 << bytes({ 1, 2, 3, 4 }) << bytes({ 3, 2, 1 });
    QTest::newRow("RGB565 red") << RGB565 << bytes({ 255, 0, 0, 0 }) << bytes({ 0x1F, 0 });
    QTest::newRow("RGB565 blue") << RGB565 << bytes({ 0, 0, 255, 0 }) << bytes({ 0, 0xF8 });
    QTest::newRow("RGB565 green") << RGB565 << bytes({ 0, 255, 0, 0 }) << bytes({ 0xE0, 0x07 });
    QTest::newRow("BGR565 red") << BGR565 << bytes({ 255, 0, 0, 0 }) << bytes({ 0, 0xF8 });
    QTest::newRow("I8 white") << I8 << bytes({ 255, 255, 255, 0 }) << bytes({ 255 });
    QTest::newRow("I8 grey") << I8 << bytes({ 100, 100, 100, 0 }) << bytes({ 100 });
    QTest::newRow("I8 blue") << I8 << bytes({ 0, 0, 255, 0 }) << bytes({ 66 });
    QTest::newRow("IA88 red") << IA88 << bytes({ 255, 0, 0, 77 }) << bytes({ 125, 77 });
    QTest::newRow("A8") << A8 << bytes({ 1, 2, 3, 4 }) << bytes({ 4 });
    QTest::newRow("bluescreen alpha 0")
        << RGB888_BLUESCREEN << bytes({ 1, 2, 3, 0 }) << bytes({ 0, 0, 255 });
    QTest::newRow("bluescreen alpha 1")
        << RGB888_BLUESCREEN << bytes({ 1, 2, 3, 1 }) << bytes({ 1, 2, 3 });
    QTest::newRow("BGR bluescreen 0")
        << BGR888_BLUESCREEN << bytes({ 1, 2, 3, 0 }) << bytes({ 255, 0, 0 });
    QTest::newRow("BGR bluescreen 1")
        << BGR888_BLUESCREEN << bytes({ 1, 2, 3, 1 }) << bytes({ 3, 2, 1 });
    QTest::newRow("ARGB8888") << ARGB8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 2, 3, 4, 1 });
    QTest::newRow("BGRA8888") << BGRA8888 << bytes({ 1, 2, 3, 4 }) << bytes({ 3, 2, 1, 4 });
    QTest::newRow("BGRA5551 alpha 127") << BGRA5551 << bytes({ 0, 0, 0, 127 }) << bytes({ 0, 0 });
    QTest::newRow("BGRA5551 alpha 128")
        << BGRA5551 << bytes({ 0, 0, 0, 128 }) << bytes({ 0, 0x80 });
    QTest::newRow("BGRX5551 red") << BGRX5551 << bytes({ 255, 0, 0, 255 }) << bytes({ 0, 0xFC });
    QTest::newRow("BGRA4444") << BGRA4444 << bytes({ 51, 34, 17, 68 }) << bytes({ 0x21, 0x43 });
    QTest::newRow("UV88") << UV88 << bytes({ 5, 6, 7, 8 }) << bytes({ 5, 6 });
    QTest::newRow("RGBA16161616") << RGBA16161616 << bytes({ 1, 2, 3, 4 })
                                  << bytes({ 1, 1, 2, 2, 3, 3, 4, 4 });
    QTest::newRow("RGBA16161616F")
        << RGBA16161616F << bytes({ 1, 2, 3, 4 }) << bytes({ 1, 1, 2, 2, 3, 3, 4, 4 });
}

void TestTextureFormats::fromRGBA()
{
    QFETCH(Format_t, format);
    QFETCH(QByteArray, rgba);
    QFETCH(QByteArray, stored);
    QByteArray out;
    QVERIFY(formatFromRGBA8888(rgba, 1, 1, format, out));
    QCOMPARE(out, stored);
}

void TestTextureFormats::refusals()
{
    QByteArray out;
    QVERIFY(!formatToRGBA8888(bytes({ 1 }), 1, 1, P8, out));
    QVERIFY(!formatFromRGBA8888(bytes({ 1, 2, 3, 4 }), 1, 1, P8, out));
    QVERIFY(!formatToRGBA8888(bytes({ 1, 2, 3 }), 1, 1, RGBA8888, out));
    QVERIFY(!formatToRGBA8888(bytes({ 1, 2, 3, 4 }), 1, 1, Format_t(27), out));

    // A source of the wrong size is refused for every format but NONE.
    for (int f = 0; f < FormatCount; ++f)
        QVERIFY2(!formatFromRGBA8888(bytes({ 1, 2, 3 }), 1, 1, Format_t(f), out),
                 getFormatName(Format_t(f)));
    out = "something";
    QVERIFY(formatFromRGBA8888(bytes({ 1, 2, 3 }), 1, 1, NONE, out));
    QVERIFY(out.isEmpty());

    // Zero sides and NONE succeed with the RGBA buffer sized as asked.
    QVERIFY(formatToRGBA8888(QByteArray(), 0, 5, DXT5, out));
    QVERIFY(out.isEmpty());
    QVERIFY(formatToRGBA8888(QByteArray(), 2, 2, NONE, out));
    QCOMPARE(out.size(), 16);
}

void TestTextureFormats::hostileSizesStayInBounds()
{
    QByteArray out;
    // Sides beyond 16 bits wrap in the size rule; the conversion must notice.
    QVERIFY(!formatToRGBA8888(QByteArray(), 65536, 1, RGBA8888, out));
    QVERIFY(!formatToRGBA8888(QByteArray(4, 0), 65537, 1, RGBA8888, out));
    QVERIFY(!formatToRGBA8888(QByteArray(), 65535, 4, DXT1, out));
    QVERIFY(!formatToRGBA8888(QByteArray(), 60000, 60000, NONE, out));
    // The wrapped destination of a block format cannot hold the blocks.
    QVERIFY(!formatFromRGBA8888(QByteArray(65535 * 4, 0), 65535, 1, DXT1, out));
    // One array as source and destination.
    QByteArray same = bytes({ 1, 2, 3, 4, 5, 6, 7, 8 });
    QVERIFY(formatToRGBA8888(same, 2, 1, BGRA8888, same));
    QCOMPARE(same, bytes({ 3, 2, 1, 4, 7, 6, 5, 8 }));
}

void TestTextureFormats::blockRoundTrip_data()
{
    QTest::addColumn<Format_t>("format");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("tolerance");
    QTest::newRow("DXT1 8x8") << DXT1 << 8 << 8 << 24;
    QTest::newRow("DXT3 12x4") << DXT3 << 12 << 4 << 24;
    QTest::newRow("DXT5 6x5") << DXT5 << 6 << 5 << 24;
    QTest::newRow("DXT1 1x1") << DXT1 << 1 << 1 << 8;
    QTest::newRow("DXT5 1x1") << DXT5 << 1 << 1 << 8;
}

void TestTextureFormats::blockRoundTrip()
{
    QFETCH(Format_t, format);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, tolerance);
    // Smooth ramps, with alpha high enough that colour weighting stays mild.
    QByteArray rgba(width * height * 4, 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            char *p = rgba.data() + (y * width + x) * 4;
            p[0] = char(x * 12);
            p[1] = char(y * 12);
            p[2] = char(128);
            p[3] = char(format == DXT1 ? 255 : 255 - x * 8);
        }
    QByteArray blocks, back;
    QVERIFY(formatFromRGBA8888(rgba, width, height, format, blocks));
    QCOMPARE(blocks.size(), bytesPerSizeOfFormat(width, height, format));
    QVERIFY(formatToRGBA8888(blocks, width, height, format, back));
    QCOMPARE(back.size(), rgba.size());
    int worst = 0;
    for (int i = 0; i < rgba.size(); ++i)
        worst = qMax(worst, qAbs(int(uchar(rgba[i])) - int(uchar(back[i]))));
    QVERIFY2(worst <= tolerance, qPrintable(QString::number(worst)));
}

void TestTextureFormats::parallelEncoderMatchesOneCall_data()
{
    QTest::addColumn<Format_t>("format");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("DXT5 30x42") << DXT5 << 30 << 42;
    QTest::newRow("DXT1 64x37") << DXT1 << 64 << 37;
    QTest::newRow("DXT3 20x60") << DXT3 << 20 << 60;
    QTest::newRow("one-bit 16x33") << DXT1_ONEBITALPHA << 16 << 33;
}

void TestTextureFormats::parallelEncoderMatchesOneCall()
{
    QFETCH(Format_t, format);
    QFETCH(int, width);
    QFETCH(int, height);
    const QByteArray rgba = testImage(width, height, true);
    const int size = bytesPerSizeOfFormat(width, height, format);
    QByteArray single(size, 0);
    squish::CompressImage(reinterpret_cast<const squish::u8 *>(rgba.constData()), width, height,
                          single.data(), BlockCoder::encodeFlags(format),
                          const_cast<float *>(BlockCoder::perceptualMetric()));
    for (unsigned int threads : { 2u, 3u, 5u }) {
        QByteArray banded(size, 0);
        BlockCoder::encode(reinterpret_cast<const uchar *>(rgba.constData()), width, height, format,
                           reinterpret_cast<uchar *>(banded.data()), threads);
        QCOMPARE(banded, single);
    }
    if (format != DXT1) {
        QByteArray converted;
        QVERIFY(formatFromRGBA8888(rgba, width, height, format, converted));
        QCOMPARE(converted, single);
    }
}

void TestTextureFormats::decodingMatchesSquish_data()
{
    QTest::addColumn<Format_t>("format");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("DXT1 9x7") << DXT1 << 9 << 7;
    QTest::newRow("DXT3 2x13") << DXT3 << 2 << 13;
    QTest::newRow("DXT5 33x5") << DXT5 << 33 << 5;
    QTest::newRow("DXT5 130x131") << DXT5 << 130 << 131;
    QTest::newRow("DXT1 257x66") << DXT1 << 257 << 66;
    QTest::newRow("one-bit 11x6") << DXT1_ONEBITALPHA << 11 << 6;
    QTest::newRow("one-bit 200x100") << DXT1_ONEBITALPHA << 200 << 100;
}

void TestTextureFormats::decodingMatchesSquish()
{
    // Arbitrary block bytes decode exactly as squish decodes the whole image.
    QFETCH(Format_t, format);
    QFETCH(int, width);
    QFETCH(int, height);
    QByteArray blocks(bytesPerSizeOfFormat(width, height, format), Qt::Uninitialized);
    quint32 seed = quint32(width * 1000 + height);
    for (char &c : blocks) {
        seed = seed * 1664525u + 1013904223u;
        c = char(seed >> 24);
    }
    int flags = format == DXT1 ? squish::kDxt1 : format == DXT3 ? squish::kDxt3 : squish::kDxt5;
    QByteArray source = blocks;
    if (format == DXT1_ONEBITALPHA)
        source += QByteArray(blocks.size(), 0);
    QByteArray expected(width * height * 4, 0);
    squish::DecompressImage(reinterpret_cast<squish::u8 *>(expected.data()), width, height,
                            source.constData(), flags);
    QByteArray out;
    QVERIFY(formatToRGBA8888(blocks, width, height, format, out));
    QCOMPARE(out, expected);
}

void TestTextureFormats::dxt1IgnoresAlphaButOneBitAlphaKeepsIt()
{
    QByteArray rgba = testImage(4, 4, false);
    for (int i = 0; i < 16; ++i)
        rgba[i * 4 + 3] = char(i < 8 ? 0 : 255);
    QByteArray blocks, back;
    QVERIFY(formatFromRGBA8888(rgba, 4, 4, DXT1, blocks));
    QVERIFY(formatToRGBA8888(blocks, 4, 4, DXT1, back));
    for (int i = 0; i < 16; ++i)
        QCOMPARE(uchar(back[i * 4 + 3]), uchar(255));

    // The one-bit variant keeps its alpha when coding. It is decoded with the
    // DXT5 decoder, which reads blocks of 16 bytes: what lies beyond the
    // buffer counts as zeros.
    QVERIFY(formatFromRGBA8888(rgba, 4, 4, DXT1_ONEBITALPHA, blocks));
    QCOMPARE(blocks.size(), 8);
    QByteArray inDxt1(64, 0);
    squish::DecompressImage(reinterpret_cast<squish::u8 *>(inDxt1.data()), 4, 4, blocks.constData(),
                            squish::kDxt1);
    QCOMPARE(uchar(inDxt1[3]), uchar(0));
    QCOMPARE(uchar(inDxt1[15 * 4 + 3]), uchar(255));
    const QByteArray padded = blocks + QByteArray(8, 0);
    QByteArray expected(64, 0);
    squish::DecompressImage(reinterpret_cast<squish::u8 *>(expected.data()), 4, 4,
                            padded.constData(), squish::kDxt5);
    QVERIFY(formatToRGBA8888(blocks, 4, 4, DXT1_ONEBITALPHA, back));
    QCOMPARE(back, expected);
}

void TestTextureFormats::toneMapping()
{
    auto pixel = [](int r, int g, int b, int a) {
        QByteArray p;
        for (int w : { r, g, b, a }) {
            p.append(char(w & 255));
            p.append(char(w >> 8));
        }
        return p;
    };
    const QByteArray image = pixel(20000, 30000, 10000, 0x8000) + pixel(0, 0, 0, 0xFF00);
    QByteArray out;
    QVERIFY(formatToRGBA8888(image, 2, 1, RGBA16161616F, out, 1.25f, 0.4f, 4.0f, 0.0f));
    QCOMPARE(out.size(), 8);
    QCOMPARE(uchar(out[3]), uchar(0x80)); // high byte of the fourth word
    QCOMPARE(uchar(out[7]), uchar(0xFF));
    QCOMPARE(out.mid(4, 3), bytes({ 0, 0, 0 })); // a black texel has no colour to map

    // Green is formed from the high byte of its word alone.
    QByteArray lowGreen = pixel(20000, 0x7500, 10000, 0) + pixel(0, 0, 0, 0);
    QByteArray highGreen = pixel(20000, 0x75FF, 10000, 0) + pixel(0, 0, 0, 0);
    QByteArray a, b;
    QVERIFY(formatToRGBA8888(lowGreen, 2, 1, RGBA16161616F, a, 1.25f, 0.4f, 4.0f, 5000.0f));
    QVERIFY(formatToRGBA8888(highGreen, 2, 1, RGBA16161616F, b, 1.25f, 0.4f, 4.0f, 5000.0f));
    QCOMPARE(a, b);
    // A computed luminance is the one passed in explicitly when it is the same.
    QByteArray computed, given;
    QVERIFY(formatToRGBA8888(lowGreen.left(8), 1, 1, RGBA16161616F, computed));
    const float y = 0.299f * 20000 + 0.587f * float(0x7500) + 0.114f * 10000;
    const float lum = std::exp(float(std::log(y + 1e-10)) / 1.0f);
    QVERIFY(formatToRGBA8888(lowGreen.left(8), 1, 1, RGBA16161616F, given, 1.25f, 0.4f, 4.0f, lum));
    QCOMPARE(computed, given);
}

void TestTextureFormats::qimageBridge()
{
    // Texel 0 transparent red, texel 1 opaque green, at (0,0) and (8,0).
    QByteArray rgba(16 * 1 * 4, 0);
    rgba[0] = char(255);
    rgba[8 * 4 + 1] = char(255);
    rgba[8 * 4 + 3] = char(255);
    std::unique_ptr<QImage> image(toQImage(rgba, 16, 1, DrawFlags_t(DrawRGB | DrawMask), true));
    QCOMPARE(image->format(), QImage::Format_ARGB32);
    QCOMPARE(image->pixel(0, 0), qRgba(153, 153, 153, 255));
    QCOMPARE(image->pixel(8, 0), qRgba(0, 255, 0, 255));
    QCOMPARE(image->pixel(9, 0), qRgba(102, 102, 102, 255));

    image.reset(toQImage(rgba, 16, 1, DrawFlags_t(DrawRGB | DrawMask), false));
    QCOMPARE(image->pixel(0, 0), qRgba(255, 0, 0, 0));
    image.reset(toQImage(rgba, 16, 1, DrawRGB, false));
    QCOMPARE(image->pixel(0, 0), qRgba(255, 0, 0, 255));
    image.reset(toQImage(rgba, 16, 1, DrawAlpha, false));
    QCOMPARE(image->pixel(8, 0), qRgba(255, 255, 255, 255));
    image.reset(toQImage(rgba, 16, 1, DrawGreen, true));
    QCOMPARE(image->pixel(8, 0), qRgba(255, 255, 255, 255));
    QCOMPARE(image->pixel(0, 0), qRgba(0, 0, 0, 255));
    // A selector of two channels draws nothing, and a short buffer neither.
    image.reset(toQImage(rgba, 16, 1, DrawFlags_t(3), false));
    QCOMPARE(image->size(), QSize(16, 1));
    image.reset(toQImage(rgba, 64, 64, DrawRGB, false));
    QCOMPARE(image->size(), QSize(64, 64));

    const QByteArray source = testImage(5, 3, true);
    image.reset(toQImage(source, 5, 3, DrawFlags_t(DrawRGB | DrawMask), false));
    QCOMPARE(toRGBA8888(*image), source);
}

void TestTextureFormats::magickBridgeKeepsFourChannels()
{
    const QByteArray source = testImage(7, 5, true);
    std::unique_ptr<Magick::Image> image(
        toMagickImage(source, 7, 5, DrawFlags_t(DrawRGB | DrawMask), false));
    QVERIFY(image);
    QCOMPARE(toRGBA8888(*image), source);
    std::unique_ptr<QImage> q(toQImage(*image));
    QCOMPARE(toRGBA8888(*q), source);
    std::unique_ptr<Magick::Image> back(toMagickImage(*q));
    QCOMPARE(toRGBA8888(*back), source);

    // Opaque colour survives a resize: colour is not weighed by the alpha byte.
    QByteArray flat;
    for (int i = 0; i < 64; ++i)
        flat += bytes({ 200, 100, 50, i < 32 ? 255 : 0 });
    image.reset(toMagickImage(flat, 8, 8, DrawFlags_t(DrawRGB | DrawMask), false));
    QVERIFY(resizeMagickImage(*image, 4, 2));
    const QByteArray small = toRGBA8888(*image);
    QCOMPARE(small.size(), 4 * 2 * 4);
    for (int i = 0; i < 8; ++i) {
        QVERIFY(qAbs(int(uchar(small[i * 4])) - 200) <= 1);
        QVERIFY(qAbs(int(uchar(small[i * 4 + 1])) - 100) <= 1);
        QVERIFY(qAbs(int(uchar(small[i * 4 + 2])) - 50) <= 1);
    }
    QVERIFY(uchar(small[3]) > 200); // top row came mostly from opaque texels
    QVERIFY(uchar(small[7 * 4 + 3]) < 55);
}

void TestTextureFormats::baseMipmap()
{
    unsigned short w = 0, h = 0;
    unsigned char m = 0;
    computeBaseMipmap(256, 64, 9, w, h, m);
    QCOMPARE(w, 4);
    QCOMPARE(h, 1);
    QCOMPARE(m, 2);
    computeBaseMipmap(256, 256, 1, w, h, m);
    QCOMPARE(w, 1);
    QCOMPARE(h, 1);
    QCOMPARE(m, 248); // wraps below zero
}

void TestTextureFormats::gammaAndReflectivity()
{
    const QByteArray source = testImage(4, 4, true);
    QByteArray image = source;
    correctImageGamma(reinterpret_cast<uchar *>(image.data()), 4, 4, 1.0f);
    QCOMPARE(image, source);
    correctImageGamma(reinterpret_cast<uchar *>(image.data()), 4, 4, 2.2f);
    QVERIFY(image != source);
    for (int i = 0; i < 16; ++i) {
        QCOMPARE(image[i * 4 + 3], source[i * 4 + 3]);
        QVERIFY(uchar(image[i * 4]) >= uchar(source[i * 4]));
    }

    const QByteArray white(4 * 3 * 4, char(255));
    float r = 0, g = 0, b = 0;
    computeReflectivity(reinterpret_cast<const uchar *>(white.constData()), 4, 3, r, g, b);
    QVERIFY(qAbs(r - 1.0f) < 1e-5f && qAbs(g - 1.0f) < 1e-5f && qAbs(b - 1.0f) < 1e-5f);
    const QByteArray grey(4, char(128));
    computeReflectivity(reinterpret_cast<const uchar *>(grey.constData()), 1, 1, r, g, b);
    QVERIFY(qAbs(r - std::pow(128.0f / 255.0f, 2.2f)) < 1e-5f);
    computeReflectivity(reinterpret_cast<const uchar *>(white.constData()), 4, 0, r, g, b);
    QVERIFY(std::isnan(r));
}

void TestTextureFormats::flipAndMirror()
{
    QByteArray image = bytes({ 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4 });
    flipImage(reinterpret_cast<uchar *>(image.data()), 2, 2);
    QCOMPARE(image, bytes({ 3, 3, 3, 3, 4, 4, 4, 4, 1, 1, 1, 1, 2, 2, 2, 2 }));
    mirrorImage(reinterpret_cast<uchar *>(image.data()), 2, 2);
    QCOMPARE(image, bytes({ 4, 4, 4, 4, 3, 3, 3, 3, 2, 2, 2, 2, 1, 1, 1, 1 }));
    // A single column is left alone.
    QByteArray column = bytes({ 1, 1, 1, 1, 2, 2, 2, 2 });
    flipImage(reinterpret_cast<uchar *>(column.data()), 1, 2);
    QCOMPARE(column, bytes({ 1, 1, 1, 1, 2, 2, 2, 2 }));
    flipImage(nullptr, 4, 4);
}

QTEST_GUILESS_MAIN(TestTextureFormats)
#include "tst_textures_formats.moc"
