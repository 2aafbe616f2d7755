// The program's own block decoder against squish, byte for byte: over many
// random blocks, over blocks built to hit every palette mode, over odd image
// sizes, and over every block-compressed image of the sample files.

#include "ToneMapReference.h"
#include "ZirkTest.h"

#include "textures/CFileVTF.h"
#include "textures/VTF.h"
#include "textures/VTFBlockCoder.h"
#include "textures/VTFToneMap.h"

#include <QDirIterator>
#include <QRandomGenerator>

#include <squish.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>

using namespace VTF;

Q_DECLARE_METATYPE(VTF::Format_t)

namespace {

int squishDecodeFlags(Format_t format)
{
    return format == DXT1 ? squish::kDxt1 : format == DXT3 ? squish::kDxt3 : squish::kDxt5;
}

// What squish makes of an image; the one-bit-alpha variant strides 16 bytes
// a block over its data followed by zeros.
QByteArray squishDecode(const QByteArray &blocks, int width, int height, Format_t format)
{
    QByteArray source = blocks;
    if (format == DXT1_ONEBITALPHA)
        source += QByteArray(blocks.size(), 0);
    QByteArray out(width * height * 4, 0);
    squish::DecompressImage(reinterpret_cast<squish::u8 *>(out.data()), width, height,
                            source.constData(), squishDecodeFlags(format));
    return out;
}

QByteArray ownDecode(const QByteArray &blocks, int width, int height, Format_t format)
{
    QByteArray out(width * height * 4, 0);
    BlockCoder::decode(reinterpret_cast<const uchar *>(blocks.constData()), size_t(blocks.size()),
                       unsigned(width), unsigned(height), format,
                       reinterpret_cast<uchar *>(out.data()));
    return out;
}

QByteArray randomBytes(QRandomGenerator &random, qsizetype count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    for (qsizetype i = 0; i + 4 <= count; i += 4) {
        const quint32 word = random.generate();
        memcpy(bytes.data() + i, &word, 4);
    }
    for (qsizetype i = count & ~qsizetype(3); i < count; ++i)
        bytes[i] = char(random.generate());
    return bytes;
}

} // namespace

class TestTextureBlockCoding : public QObject
{
    Q_OBJECT

private slots:
    void decoderMatchesSquishBlockByBlock_data();
    void decoderMatchesSquishBlockByBlock();
    void decoderMatchesSquishOnOddSizes_data();
    void decoderMatchesSquishOnOddSizes();
    void decoderMatchesSquishOnSamples();
    void encoderMatchesSquishOnRandomImages_data();
    void encoderMatchesSquishOnRandomImages();
    void encoderMatchesSquishOnSamples();
    void toneCurveMatchesPow_data();
    void toneCurveMatchesPow();
    void luminanceMatchesReference();
    void toneMapMatchesReference_data();
    void toneMapMatchesReference();
};

void TestTextureBlockCoding::decoderMatchesSquishBlockByBlock_data()
{
    QTest::addColumn<Format_t>("format");
    QTest::newRow("DXT1") << DXT1;
    QTest::newRow("DXT3") << DXT3;
    QTest::newRow("DXT5") << DXT5;
}

void TestTextureBlockCoding::decoderMatchesSquishBlockByBlock()
{
    // Half a million random blocks, then blocks whose endpoints are equal or
    // ordered either way (the palette modes of colour and alpha), laid out as
    // one wide image so that every block is compared whole.
    QFETCH(Format_t, format);
    const int blockBytes = format == DXT1 ? 8 : 16;
    QRandomGenerator random(uint(format) * 7919u);
    const int blocksPerImage = 4096;
    for (int image = 0; image < 64; ++image) {
        QByteArray blocks = randomBytes(random, qsizetype(blocksPerImage) * blockBytes);
        if (image % 2) {
            for (int b = 0; b < blocksPerImage; ++b) {
                char *block = blocks.data() + b * blockBytes;
                char *colour = format == DXT1 ? block : block + 8;
                switch (b % 4) {
                case 0: // equal colour endpoints, equal alpha endpoints
                    colour[2] = colour[0];
                    colour[3] = colour[1];
                    block[1] = block[0];
                    break;
                case 1: // the second endpoints one above the first
                    colour[2] = char(colour[0] + 1);
                    colour[3] = colour[1];
                    block[1] = char(block[0] + 1);
                    break;
                case 2: // extremes
                    colour[0] = colour[1] = char(0xFF);
                    colour[2] = colour[3] = 0;
                    block[0] = char(0xFF);
                    block[1] = 0;
                    break;
                default:
                    break;
                }
            }
        }
        const int width = blocksPerImage * 4;
        const QByteArray expected = squishDecode(blocks, width, 4, format);
        const QByteArray actual = ownDecode(blocks, width, 4, format);
        if (actual != expected) {
            for (int p = 0; p < width * 4; ++p)
                QVERIFY2(memcmp(actual.constData() + p * 4, expected.constData() + p * 4, 4) == 0,
                         qPrintable(QStringLiteral("image %1, block %2").arg(image).arg(p / 4)));
        }
    }
}

void TestTextureBlockCoding::decoderMatchesSquishOnOddSizes_data()
{
    QTest::addColumn<Format_t>("format");
    for (Format_t format : { DXT1, DXT3, DXT5, DXT1_ONEBITALPHA })
        QTest::newRow(getFormatName(format)) << format;
}

void TestTextureBlockCoding::decoderMatchesSquishOnOddSizes()
{
    // Partial blocks at the right and bottom edges, and the one-bit-alpha
    // variant's read past its data.
    QFETCH(Format_t, format);
    QRandomGenerator random(uint(format) + 17u);
    for (int width = 1; width <= 19; ++width) {
        for (int height = 1; height <= 19; height += 3) {
            const QByteArray blocks
                = randomBytes(random, bytesPerSizeOfFormat(ushort(width), ushort(height), format));
            QByteArray converted;
            QVERIFY(formatToRGBA8888(blocks, uint(width), uint(height), format, converted));
            QCOMPARE(converted, squishDecode(blocks, width, height, format));
        }
    }
}

void TestTextureBlockCoding::decoderMatchesSquishOnSamples()
{
    ZIRK_REQUIRE_SAMPLES(samples);
    int images = 0;
    for (const QString &folder : { QStringLiteral("vtf"), QStringLiteral("vtf_from_pakfile") }) {
        QDirIterator it(samples + QLatin1Char('/') + folder, { QStringLiteral("*.vtf") },
                        QDir::Files);
        while (it.hasNext()) {
            const QString path = it.next();
            QString error;
            std::unique_ptr<CFileVTF> vtf(CFileVTF::createFromFile(path, error));
            if (!vtf || !BlockCoder::isBlockFormat(vtf->getHighResImageFormat()))
                continue;
            const Format_t format = vtf->getHighResImageFormat();
            for (int m = 0; m < vtf->getMipmapCount(); ++m) {
                const int width = vtf->getMipmapWidth(m), height = vtf->getMipmapHeight(m);
                for (const CFileVTF::Faces &faces : vtf->getImages()[m])
                    for (const CFileVTF::Slices &slices : faces)
                        for (const QByteArray &image : slices) {
                            QByteArray converted;
                            QVERIFY(formatToRGBA8888(image, uint(width), uint(height), format,
                                                     converted));
                            QVERIFY2(converted == squishDecode(image, width, height, format),
                                     qPrintable(path));
                            ++images;
                        }
            }
        }
    }
    QVERIFY(images > 100);
}

namespace {

// What squish's CompressImage makes of an image with the program's flags and
// metric; DXT1 is fed the opaque copy that the conversion makes of it.
QByteArray squishEncode(QByteArray rgba, int width, int height, Format_t format)
{
    if (format == DXT1)
        for (qsizetype i = 3; i < rgba.size(); i += 4)
            rgba[i] = char(255);
    QByteArray blocks(bytesPerSizeOfFormat(ushort(width), ushort(height), format), 0);
    squish::CompressImage(reinterpret_cast<const squish::u8 *>(rgba.constData()), width, height,
                          blocks.data(), BlockCoder::encodeFlags(format),
                          const_cast<float *>(BlockCoder::perceptualMetric()));
    return blocks;
}

// Images that reach every path of the coder: noise (sixteen colours a block),
// few colours (repeats, one colour, two), gradients, and alpha that is
// partly transparent, wholly transparent, or graded.
QByteArray testImage(QRandomGenerator &random, int width, int height, int kind)
{
    QByteArray rgba(width * height * 4, Qt::Uninitialized);
    const quint32 palette[4]
        = { random.generate(), random.generate(), random.generate(), random.generate() };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            quint32 pixel = random.generate();
            switch (kind % 6) {
            case 1: // a few colours
                pixel = palette[random.bounded(1 + (x / 4 + y / 4) % 4)];
                break;
            case 2: // smooth
                pixel = quint32(x * 255 / qMax(1, width - 1)) | (quint32(y * 3) << 8)
                    | (quint32((x + y) & 0xFF) << 16) | (pixel & 0xFF000000u);
                break;
            case 3: // noise with a little range
                pixel = (palette[0] & 0xF0F0F0F0u) | (pixel & 0x0F0F0F0Fu);
                break;
            case 4: // transparent holes and solid blocks
                if ((x / 4 + y / 4) % 3 == 0)
                    pixel &= 0x00FFFFFFu;
                else if ((x / 4 + y / 4) % 3 == 1)
                    pixel = palette[1] | 0xFF000000u;
                break;
            default:
                break;
            }
            memcpy(rgba.data() + (y * width + x) * 4, &pixel, 4);
        }
    }
    return rgba;
}

} // namespace

void TestTextureBlockCoding::encoderMatchesSquishOnRandomImages_data()
{
    QTest::addColumn<Format_t>("format");
    for (Format_t format : { DXT1, DXT3, DXT5, DXT1_ONEBITALPHA })
        QTest::newRow(getFormatName(format)) << format;
}

void TestTextureBlockCoding::encoderMatchesSquishOnRandomImages()
{
    // Many small images of every kind and odd size, the lanes filled and
    // refilled in every order, on one thread and on several.
    QFETCH(Format_t, format);
    QRandomGenerator random(uint(format) * 31u + 1u);
    for (int image = 0; image < 60; ++image) {
        const int width = 1 + int(random.bounded(70)), height = 1 + int(random.bounded(40));
        const QByteArray rgba = testImage(random, width, height, image);
        QByteArray converted;
        QVERIFY(formatFromRGBA8888(rgba, uint(width), uint(height), format, converted));
        QVERIFY2(converted == squishEncode(rgba, width, height, format),
                 qPrintable(QStringLiteral("image %1 (%2x%3)").arg(image).arg(width).arg(height)));
        QByteArray single(converted.size(), 0);
        if (format != DXT1) {
            BlockCoder::encode(reinterpret_cast<const uchar *>(rgba.constData()), uint(width),
                               uint(height), format, reinterpret_cast<uchar *>(single.data()), 1);
            QCOMPARE(single, converted);
        }
    }
}

void TestTextureBlockCoding::encoderMatchesSquishOnSamples()
{
    // The largest image of every sample texture (and of every frame and
    // face), in each block format.
    ZIRK_REQUIRE_SAMPLES(samples);
    int images = 0;
    QDirIterator it(samples + QStringLiteral("/vtf"), { QStringLiteral("*.vtf") }, QDir::Files);
    while (it.hasNext()) {
        const QString path = it.next();
        QString error;
        std::unique_ptr<CFileVTF> vtf(CFileVTF::createFromFile(path, error));
        if (!vtf || vtf->getMipmapCount() == 0)
            continue;
        const int top = vtf->getMipmapCount() - 1;
        const int width = vtf->getMipmapWidth(top), height = vtf->getMipmapHeight(top);
        if (width * height > 256 * 256)
            continue; // the large ones add time, not cases
        for (int face = 0; face < vtf->getFaceCount(); ++face) {
            QByteArray rgba;
            if (!vtf->getImage(uchar(top), 0, uchar(face), 0, rgba))
                continue;
            for (Format_t format : { DXT1, DXT5, DXT1_ONEBITALPHA, DXT3 }) {
                QByteArray converted;
                QVERIFY(formatFromRGBA8888(rgba, uint(width), uint(height), format, converted));
                QVERIFY2(converted == squishEncode(rgba, width, height, format),
                         qPrintable(path + QLatin1Char(' ') + getFormatName(format)));
            }
            ++images;
        }
    }
    QVERIFY(images > 40);
}

void TestTextureBlockCoding::toneCurveMatchesPow_data()
{
    QTest::addColumn<float>("gamma");
    for (float gamma : { 4.0f, 1.0f, 2.2f, 0.5f, 3.7f, 7.25f, 10.0f, 0.0f, -1.5f, 0.05f, 300.0f })
        QTest::newRow(qPrintable(QString::number(double(gamma)))) << gamma;
}

void TestTextureBlockCoding::toneCurveMatchesPow()
{
    // Every float near the working range, then floats of every magnitude and
    // sign, the infinities and NaN.
    QFETCH(float, gamma);
    auto check = [gamma](float value) {
        const uchar expected = tonemapreference::channel(value, gamma);
        if (ToneMap::tabulatedChannel(value, gamma) != expected)
            QFAIL(qPrintable(QStringLiteral("value %1 (bits %2)")
                                 .arg(double(value), 0, 'g', 9)
                                 .arg(quint32(std::bit_cast<quint32>(value)), 8, 16)));
    };
    for (float value = 0.0f; value < 1.5f; value = std::nextafter(value + 1e-6f, 2.0f))
        check(value);
    // Each step of the curve to the last bit: where the byte first reaches k,
    // found by halving over the positive floats, and its neighbours.
    if (gamma > 0.0f) {
        for (uint byte = 1; byte < 256; ++byte) {
            quint32 low = 1, high = std::bit_cast<quint32>(FLT_MAX);
            if (tonemapreference::channel(FLT_MAX, gamma) < byte)
                break;
            while (low < high) {
                const quint32 middle = low + (high - low) / 2;
                if (tonemapreference::channel(std::bit_cast<float>(middle), gamma) >= byte)
                    high = middle;
                else
                    low = middle + 1;
            }
            for (quint32 bits = low - 2; bits <= low + 2; ++bits)
                check(std::bit_cast<float>(bits));
        }
    }
    QRandomGenerator random(quint32(gamma * 1000.0f) + 5u);
    for (int i = 0; i < 300000; ++i)
        check(std::bit_cast<float>(random.generate()));
    for (float value :
         { 0.0f, -0.0f, -1.0f, -2.5f, std::numeric_limits<float>::infinity(),
           -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
           std::numeric_limits<float>::denorm_min(), FLT_MAX, -FLT_MAX })
        check(value);
}

void TestTextureBlockCoding::luminanceMatchesReference()
{
    // The running sum of logs, bit for bit: over bright and dark images, and
    // over images whose logs swing about 0 so that the sum passes near it
    // (where its rounding is finest and the checks redo most steps).
    QRandomGenerator random(404);
    for (int round = 0; round < 40; ++round) {
        const int pixels = 1 + int(random.bounded(5000));
        QByteArray words(pixels * 8, Qt::Uninitialized);
        uchar *p = reinterpret_cast<uchar *>(words.data());
        const quint32 range = round % 4 == 0 ? 65536u
            : round % 4 == 1                 ? 5u
            : round % 4 == 2                 ? 300u
                                             : 2u;
        for (int i = 0; i < pixels * 4; ++i) {
            const quint32 word = random.bounded(range) + (round % 4 == 2 ? 0x3000u : 0u);
            p[i * 2] = uchar(word);
            p[i * 2 + 1] = uchar(word >> 8);
        }
        const float expected = tonemapreference::luminance(p, size_t(pixels));
        const float actual = ToneMap::logAverageLuminance(p, size_t(pixels));
        QCOMPARE(std::bit_cast<quint32>(actual), std::bit_cast<quint32>(expected));
    }
}

void TestTextureBlockCoding::toneMapMatchesReference_data()
{
    QTest::addColumn<float>("key");
    QTest::addColumn<float>("shift");
    QTest::addColumn<float>("gamma");
    QTest::addColumn<float>("luminance");
    QTest::newRow("defaults") << DefaultHdrKey << DefaultHdrShift << DefaultHdrGamma << 0.0f;
    QTest::newRow("given luminance")
        << DefaultHdrKey << DefaultHdrShift << DefaultHdrGamma << 5000.0f;
    QTest::newRow("no shift") << 2.0f << 0.0f << 2.2f << 0.0f;
    QTest::newRow("negative shift, odd gamma") << 0.5f << -0.2f << 3.0f << 0.0f;
    QTest::newRow("negative shift, even gamma") << 0.5f << -0.3f << 2.0f << 0.0f;
    QTest::newRow("steep") << 8.0f << 0.9f << 9.5f << 0.0f;
}

void TestTextureBlockCoding::toneMapMatchesReference()
{
    // Random words (black pixels among them, whose luminance is 0) and
    // smooth half-float ramps, through the format conversion.
    QFETCH(float, key);
    QFETCH(float, shift);
    QFETCH(float, gamma);
    QFETCH(float, luminance);
    QRandomGenerator random(quint32(gamma * 100.0f));
    for (int round = 0; round < 6; ++round) {
        const int width = 64 + round * 7, height = 33 + round;
        QByteArray pixels(width * height * 8, Qt::Uninitialized);
        uchar *p = reinterpret_cast<uchar *>(pixels.data());
        for (int i = 0; i < width * height; ++i, p += 8) {
            for (int c = 0; c < 4; ++c) {
                quint16 word = quint16(random.generate());
                if (round % 2)
                    word = quint16(0x3000 + (i % width) * 9 + c * 300 + (word & 7));
                if (round == 2 && i % 5 == 0)
                    word = 0;
                p[c * 2] = uchar(word);
                p[c * 2 + 1] = uchar(word >> 8);
            }
        }
        QByteArray expected(width * height * 4, 0);
        tonemapreference::map(reinterpret_cast<const uchar *>(pixels.constData()),
                              size_t(width * height), reinterpret_cast<uchar *>(expected.data()),
                              key, shift, gamma, luminance);
        QByteArray converted;
        QVERIFY(formatToRGBA8888(pixels, uint(width), uint(height), RGBA16161616F, converted, key,
                                 shift, gamma, luminance));
        QCOMPARE(converted, expected);
    }
}

QTEST_GUILESS_MAIN(TestTextureBlockCoding)
#include "tst_textures_blockcoding.moc"
