#pragma once

// The program's DXT encoder: squish's iterative cluster fit with the
// perceptual metric, computed for several blocks at once (see
// VTFClusterFit.h) and giving squish's bytes for every block.

#include "textures/VTF.h"

namespace VTF {
namespace BlockEncoder {

// Codes the block rows [firstRow, lastRow) of an RGBA8888 image into
// `blocks`, which holds the whole image's blocks, as squish's CompressImage
// codes them with the flags and metric of BlockCoder::encodeFlags and
// BlockCoder::perceptualMetric.
void encodeRows(const uchar *rgba, unsigned int width, unsigned int height, Format_t format,
                unsigned int firstRow, unsigned int lastRow, uchar *blocks);

} // namespace BlockEncoder
} // namespace VTF
