#include "textures/VTF.h"

namespace VTF {
namespace {

struct FormatInfo
{
    const char *name;
    int bitsPerPixel;
    int bitsPerAlpha;
    bool hasAlpha;
};

// The alpha columns are kept as the file format's tools have always reported
// them: BGRA4444 claims 8 alpha bits, and the X and bluescreen formats claim
// alpha with 0 bits.
const FormatInfo formatTable[FormatCount] = {
    { "RGBA8888", 32, 8, true },
    { "ABGR8888", 32, 8, true },
    { "RGB888", 24, 0, false },
    { "BGR888", 24, 0, false },
    { "RGB565", 16, 0, false },
    { "I8", 8, 0, false },
    { "IA88", 16, 8, true },
    { "P8", 8, 0, false },
    { "A8", 8, 8, true },
    { "RGB888_BLUESCREEN", 24, 0, true },
    { "BGR888_BLUESCREEN", 24, 0, true },
    { "ARGB8888", 32, 8, true },
    { "BGRA8888", 32, 8, true },
    { "DXT1", 4, 0, false },
    { "DXT3", 8, 8, true },
    { "DXT5", 8, 8, true },
    { "BGRX8888", 32, 0, true },
    { "BGR565", 16, 0, false },
    { "BGRX5551", 16, 0, true },
    { "BGRA4444", 16, 8, true },
    { "DXT1_ONEBITALPHA", 4, 1, true },
    { "BGRA5551", 16, 1, true },
    { "UV88", 16, 0, false },
    { "UVWQ8888", 32, 8, true },
    { "RGBA16161616F", 64, 8, true },
    { "RGBA16161616", 64, 8, true },
    { "UVLX8888", 32, 8, true },
};

const char *const flagNames[32] = {
    "Point Sampling",
    "Trilinear Filtering",
    "Clamp S",
    "Clamp T",
    "Anisotropic Filtering",
    "Hint DTX5",
    "PWL Corrected / No Compress",
    "Normal Map",
    "Disable Mipmaps",
    "No LOD",
    "No Minimum Mipmap",
    "Procedural",
    "One Bit Alpha",
    "Eight Bit Alpha",
    "Environment Map",
    "Render Target",
    "Depth Render Target",
    "No Debug Override",
    "Simple Copy",
    "Pre SRGB / One Over MIP Level In Alpha",
    "Pre Multiply By One Over MIP",
    "Normal to DuDv",
    "Alpha Test MIP Generation",
    "No Depth Buffer",
    "NICE Filtered",
    "Clamp U",
    "Vertex Texture",
    "SSBump",
    "Flag 28",
    "Border",
    "Flag 30",
    "Flag 31",
};

const char *const envFaceNames[7] = { "Right", "Left", "Back", "Front", "Up", "Down", "Spheremap" };

const char *const cimgResizeNames[7]
    = { "None", "Nearest Neighbor", "Moving Average", "Linear", "Grid", "Bicubic", "Lanczos" };

inline bool isTabled(Format_t format)
{
    return format >= 0 && format < FormatCount;
}

} // namespace

int bitsPerPixelOfFormat(Format_t format)
{
    return isTabled(format) ? formatTable[format].bitsPerPixel : 0;
}

int bitsPerAlphaOfFormat(Format_t format)
{
    return isTabled(format) ? formatTable[format].bitsPerAlpha : 0;
}

bool doesFormatHaveAlpha(Format_t format)
{
    return isTabled(format) && formatTable[format].hasAlpha;
}

int bytesPerSizeOfFormat(unsigned short width, unsigned short height, Format_t format)
{
    if (format == DXT1 || format == DXT3 || format == DXT5 || format == DXT1_ONEBITALPHA) {
        if (width & 3)
            width = static_cast<unsigned short>((width & ~3u) + 4);
        if (height & 3)
            height = static_cast<unsigned short>((height & ~3u) + 4);
    }
    if (!isTabled(format))
        return 0;
    // 32-bit signed product with its wrap, done unsigned to stay defined.
    const quint32 bits
        = quint32(width) * quint32(height) * quint32(formatTable[format].bitsPerPixel);
    return static_cast<qint32>(bits) / 8;
}

const char *getFormatName(Format_t format)
{
    if (format == NONE)
        return "NONE";
    return isTabled(format) ? formatTable[format].name : nullptr;
}

const char *getFlagName(Flags_t flag)
{
    const quint32 value = flag;
    if (value == 0 || (value & (value - 1)) != 0)
        return nullptr;
    int index = 0;
    while ((value >> index) != 1)
        ++index;
    return flagNames[index];
}

const char *getEnvFaceName(unsigned char index)
{
    return index < 7 ? envFaceNames[index] : nullptr;
}

const char *getCImgResizeName(unsigned char index)
{
    return index < 7 ? cimgResizeNames[index] : nullptr;
}

void computeBaseMipmap(unsigned short width, unsigned short height, unsigned char mipmapCount,
                       unsigned short &baseWidth, unsigned short &baseHeight,
                       unsigned char &baseMipmap)
{
    baseWidth = width;
    baseHeight = height;
    baseMipmap = static_cast<unsigned char>(mipmapCount - 1);
    while (baseWidth > 1 && baseHeight > 1) {
        baseWidth /= 2;
        baseHeight /= 2;
        --baseMipmap;
    }
}

} // namespace VTF
