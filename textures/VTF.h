#pragma once

// The pixel layer of the texture tools: the VTF pixel formats and their
// conversion to and from RGBA8888 (red, green, blue, alpha; rows top to
// bottom; no padding), bridges to QImage, and a few whole-buffer operations
// on RGBA8888 images. The bridges to Magick::Image, which only resizing and
// importing need, are in VTFMagick.h.

#include <QByteArray>
#include <QtGlobal>

class QImage;

namespace VTF {

enum Format_t : qint32 {
    NONE = -1,
    RGBA8888 = 0,
    ABGR8888,
    RGB888,
    BGR888,
    RGB565,
    I8,
    IA88,
    P8,
    A8,
    RGB888_BLUESCREEN,
    BGR888_BLUESCREEN,
    ARGB8888,
    BGRA8888,
    DXT1,
    DXT3,
    DXT5,
    BGRX8888,
    BGR565,
    BGRX5551,
    BGRA4444,
    DXT1_ONEBITALPHA,
    BGRA5551,
    UV88,
    UVWQ8888,
    RGBA16161616F,
    RGBA16161616,
    UVLX8888,
    FormatCount
};

enum Flags_t : quint32 {
    FlagPointSampling = 0x1,
    FlagTrilinearFiltering = 0x2,
    FlagClampS = 0x4,
    FlagClampT = 0x8,
    FlagAnisotropicFiltering = 0x10,
    FlagHintDXT5 = 0x20,
    FlagPWLCorrected = 0x40,
    FlagNormalMap = 0x80,
    FlagNoMipmaps = 0x100,
    FlagNoLOD = 0x200,
    FlagNoMinimumMipmap = 0x400,
    FlagProcedural = 0x800,
    FlagOneBitAlpha = 0x1000,
    FlagEightBitAlpha = 0x2000,
    FlagEnvironmentMap = 0x4000,
    FlagRenderTarget = 0x8000,
    FlagDepthRenderTarget = 0x10000,
    FlagNoDebugOverride = 0x20000,
    FlagSimpleCopy = 0x40000,
    FlagPreSRGB = 0x80000,
    FlagPreMultiplyByOneOverMip = 0x100000,
    FlagNormalToDuDv = 0x200000,
    FlagAlphaTestMipGeneration = 0x400000,
    FlagNoDepthBuffer = 0x800000,
    FlagNICEFiltered = 0x1000000,
    FlagClampU = 0x2000000,
    FlagVertexTexture = 0x4000000,
    FlagSSBump = 0x8000000,
    Flag28 = 0x10000000,
    FlagBorder = 0x20000000,
    Flag30 = 0x40000000,
    Flag31 = 0x80000000
};

// The low five bits select one channel view; DrawMask is independent of them.
enum DrawFlags_t : quint32 {
    DrawRGB = 1,
    DrawRed = 2,
    DrawGreen = 4,
    DrawBlue = 8,
    DrawAlpha = 16,
    DrawMask = 32
};

// Table queries; anything outside 0..26 (NONE included) gives 0 or false.
int bitsPerPixelOfFormat(Format_t format);
int bitsPerAlphaOfFormat(Format_t format);
bool doesFormatHaveAlpha(Format_t format);

// Bytes of one image. Block formats round each side up to 4 in 16-bit
// arithmetic (65533..65535 wrap to 0); the product is taken in 32-bit signed
// arithmetic, so absurd sizes wrap and may come out negative.
int bytesPerSizeOfFormat(unsigned short width, unsigned short height, Format_t format);

const char *getFormatName(Format_t format);
const char *getFlagName(Flags_t flag);
const char *getEnvFaceName(unsigned char index);
const char *getCImgResizeName(unsigned char index);

// Tone mapping defaults for RGBA16161616F.
constexpr float DefaultHdrKey = 1.25f;
constexpr float DefaultHdrShift = 0.4f;
constexpr float DefaultHdrGamma = 4.0f;

bool formatToRGBA8888(const QByteArray &source, unsigned int width, unsigned int height,
                      Format_t format, QByteArray &destination, float key = DefaultHdrKey,
                      float shift = DefaultHdrShift, float gamma = DefaultHdrGamma,
                      float luminance = 0.0f);
bool formatFromRGBA8888(const QByteArray &source, unsigned int width, unsigned int height,
                        Format_t format, QByteArray &destination);

QByteArray toRGBA8888(const QImage &image);

// The returned object belongs to the caller. A buffer too small for the size
// asked gives an image left blank.
QImage *toQImage(const QByteArray &rgba, unsigned short width, unsigned short height,
                 DrawFlags_t flags, bool checkerboard);

void computeBaseMipmap(unsigned short width, unsigned short height, unsigned char mipmapCount,
                       unsigned short &baseWidth, unsigned short &baseHeight,
                       unsigned char &baseMipmap);
void computeReflectivity(const unsigned char *rgba, unsigned int width, unsigned int height,
                         float &red, float &green, float &blue);
void correctImageGamma(unsigned char *rgba, unsigned int width, unsigned int height, float gamma);
void flipImage(unsigned char *rgba, unsigned int width, unsigned int height);
void mirrorImage(unsigned char *rgba, unsigned int width, unsigned int height);

} // namespace VTF
