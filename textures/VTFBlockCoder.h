#pragma once

// DXT block coding shared by the conversions. Encoding splits the image into
// bands of whole block rows and codes them on all cores; blocks are
// independent, so the bytes are those of one call over the whole image.

#include "textures/VTF.h"

#include <cstddef>

namespace VTF {
namespace BlockCoder {

// True for the four block formats.
bool isBlockFormat(Format_t format);

// Decodes width x height pixels of RGBA8888 from blocks of the given format,
// byte for byte as squish's DecompressImage does. `available` is the size of
// the block data: DXT1_ONEBITALPHA is sized as DXT1 but read with the DXT5
// decoder's 16-byte stride, and what lies beyond the data reads as zeros.
void decode(const unsigned char *blocks, size_t available, unsigned int width, unsigned int height,
            Format_t format, unsigned char *rgba);

// Encodes RGBA8888 into blocks with the program's fit, metric and weighting;
// blocks must hold the whole rounded-up image. threads 0 uses every core.
void encode(const unsigned char *rgba, unsigned int width, unsigned int height, Format_t format,
            unsigned char *blocks, unsigned int threads = 0);

// The squish flags used for encoding a block format.
int encodeFlags(Format_t format);

// The colour metric handed to squish.
const float *perceptualMetric();

} // namespace BlockCoder
} // namespace VTF
