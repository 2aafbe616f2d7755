// The operations that change the shape or the content of a texture.

#include "textures/CFileVTF.h"
#include "textures/VTFMagick.h"

#include <memory>
#include <new>

namespace {

const unsigned short NoSphereMap = 0xFFFF;

bool isPowerOfTwo(unsigned int value)
{
    return value != 0 && (value & (value - 1)) == 0;
}

// Zeroed bytes, or false when they cannot be had.
bool zeroed(int size, QByteArray &out)
{
    if (size < 0)
        return false;
    try {
        out = QByteArray(size, 0);
    } catch (const std::bad_alloc &) {
        return false;
    }
    return out.size() == size;
}

} // namespace

bool CFileVTF::makeBlankImage(unsigned char mipmap, QByteArray &image) const
{
    unsigned short width, height;
    getMipmapSize(mipmap, width, height);
    return zeroed(VTF::bytesPerSizeOfFormat(width, height, VTFHeader.highResImageFormat), image);
}

void CFileVTF::forceValidateDimensions(unsigned char &mipmap, unsigned short &frame,
                                       unsigned char &face, unsigned short &slice) const
{
    mipmap = static_cast<unsigned char>(qMin<int>(mipmap, qMax<int>(0, images.size() - 1)));
    if (isStructureEmpty())
        return;
    frame = static_cast<unsigned short>(qMin<int>(frame, getFrameCount() - 1));
    face = static_cast<unsigned char>(qMin<int>(face, getFaceCount() - 1));
    slice = static_cast<unsigned short>(qMin<int>(slice, getSliceCount() - 1));
}

void CFileVTF::validateDimensionRange(unsigned char &firstMipmap, unsigned char &lastMipmap,
                                      unsigned short &firstFrame, unsigned short &lastFrame,
                                      unsigned char &firstFace, unsigned char &lastFace,
                                      unsigned short &firstSlice, unsigned short &lastSlice) const
{
    forceValidateDimensions(firstMipmap, firstFrame, firstFace, firstSlice);
    forceValidateDimensions(lastMipmap, lastFrame, lastFace, lastSlice);
    if (firstMipmap > lastMipmap)
        qSwap(firstMipmap, lastMipmap);
    if (firstFrame > lastFrame)
        qSwap(firstFrame, lastFrame);
    if (firstFace > lastFace)
        qSwap(firstFace, lastFace);
    if (firstSlice > lastSlice)
        qSwap(firstSlice, lastSlice);
}

bool CFileVTF::setFrameCount(unsigned short count)
{
    if (count == 0) {
        lastError = QStringLiteral("Request Error: Invalid frame count");
        return false;
    }
    const unsigned short current = getFrameCount();
    if (count == current)
        return true;
    if (count < current) {
        for (Frames &frames : images) {
            frames.resize(count);
            frames.squeeze();
        }
        if (VTFHeader.firstFrame != NoSphereMap)
            VTFHeader.firstFrame = qMin<unsigned short>(VTFHeader.firstFrame, count - 1);
        return true;
    }
    const int faces = getFaceCount(), slices = getSliceCount();
    for (int m = 0; m < images.size(); ++m) {
        Frames &frames = images[m];
        const int from = int(frames.size());
        frames.resize(count);
        for (int f = from; f < count; ++f) {
            frames[f].resize(faces);
            for (Slices &sliceList : frames[f]) {
                sliceList.resize(slices);
                for (QByteArray &image : sliceList) {
                    if (!makeBlankImage(static_cast<unsigned char>(m), image)) {
                        setFrameCount(current);
                        lastError = QStringLiteral("Error: Out of memory");
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

bool CFileVTF::setFaceCount(unsigned char count)
{
    if (count != 1 && count != 6 && count != 7) {
        lastError = QStringLiteral("Request Error: Invalid face count");
        return false;
    }
    if (count != 1 && (getSliceCount() > 1 || isStructureEmpty())) {
        lastError = QStringLiteral("Request Error: Depth textures cannot be envmaps");
        return false;
    }
    const unsigned char current = getFaceCount();
    if (count == current)
        return true;
    if (baseWidth != baseHeight) {
        // Reported, but not a failure: the texture simply stays as it is.
        lastError = QStringLiteral("Request Error: Envmaps must be square");
        return true;
    }
    const int slices = getSliceCount();
    for (int m = 0; m < images.size(); ++m) {
        for (Faces &faces : images[m]) {
            const int from = int(faces.size());
            faces.resize(count);
            if (count < from) {
                faces.squeeze();
                continue;
            }
            for (int face = from; face < count; ++face) {
                faces[face].resize(slices);
                for (QByteArray &image : faces[face]) {
                    if (!makeBlankImage(static_cast<unsigned char>(m), image)) {
                        setFaceCount(current);
                        lastError = QStringLiteral("Error: Out of memory");
                        return false;
                    }
                }
            }
        }
    }
    if (count > 1)
        VTFHeader.flags |= VTF::FlagEnvironmentMap;
    if (count == 6) {
        VTFHeader.firstFrame = NoSphereMap;
        return true;
    }
    if (current == 6)
        setFirstFrame(0);
    return true;
}

void CFileVTF::setFirstFrame(unsigned short frame)
{
    if (getFaceCount() == 6)
        return;
    const unsigned short frames = getFrameCount();
    VTFHeader.firstFrame = frames == 0 ? frame : qMin<unsigned short>(frame, frames - 1);
}

bool CFileVTF::setSliceCount(unsigned short count)
{
    if (count == 0) {
        lastError = QStringLiteral("Request Error: Invalid slice count");
        return false;
    }
    if (getFaceCount() != 1 || isStructureEmpty()) {
        lastError = QStringLiteral("Request Error: Depth textures cannot be envmaps");
        return false;
    }
    if (!isPowerOfTwo(count)) {
        lastError = QStringLiteral("Request Error: Slice count not a power of two");
        return false;
    }
    const unsigned short current = getSliceCount();
    if (count == current)
        return true;
    for (int m = 0; m < images.size(); ++m) {
        for (Faces &faces : images[m]) {
            for (Slices &slices : faces) {
                const int from = int(slices.size());
                slices.resize(count);
                if (count < from) {
                    slices.squeeze();
                    continue;
                }
                for (int s = from; s < count; ++s) {
                    if (!makeBlankImage(static_cast<unsigned char>(m), slices[s])) {
                        setSliceCount(current);
                        lastError = QStringLiteral("Error: Out of memory");
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

bool CFileVTF::setMipmapCount(unsigned char count)
{
    if (count == 0 || count > 13) {
        lastError = QStringLiteral("Request Error: Invalid mipmap count");
        return false;
    }
    const int current = int(images.size());
    if (count == current)
        return true;
    if (count < current) {
        // The largest go; the base stays, so the top size shrinks.
        images.resize(count);
        images.squeeze();
        return true;
    }
    const int frames = getFrameCount(), faces = getFaceCount(), slices = getSliceCount();
    images.resize(count);
    for (int m = current; m < count; ++m) {
        images[m].resize(frames);
        for (Faces &faceList : images[m]) {
            faceList.resize(faces);
            for (Slices &sliceList : faceList) {
                sliceList.resize(slices);
                for (QByteArray &image : sliceList) {
                    if (!makeBlankImage(static_cast<unsigned char>(m), image)) {
                        images.resize(current);
                        images.squeeze();
                        lastError = QStringLiteral("Error: Out of memory");
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

bool CFileVTF::setHighResImageFormat(VTF::Format_t format)
{
    if (format < 0 || format == VTF::P8 || format == VTF::RGBA16161616F || format > VTF::UVLX8888)
        return false;
    const VTF::Format_t current = VTFHeader.highResImageFormat;
    if (format == current)
        return true;

    // Converted into a copy, so that a failure leaves the texture as it was.
    Mipmaps converted = images;
    QByteArray rgba;
    for (int m = 0; m < converted.size(); ++m) {
        unsigned short width, height;
        getMipmapSize(static_cast<unsigned char>(m), width, height);
        rgba.reserve(qint64(width) * height * 4);
        for (Faces &faces : converted[m]) {
            for (Slices &slices : faces) {
                for (QByteArray &image : slices) {
                    if (!VTF::formatToRGBA8888(image, width, height, current, rgba,
                                               VTF::DefaultHdrKey, VTF::DefaultHdrShift,
                                               VTF::DefaultHdrGamma, 0.0f)
                        || !VTF::formatFromRGBA8888(rgba, width, height, format, image))
                        return false;
                }
            }
        }
    }
    images.swap(converted);
    VTFHeader.highResImageFormat = format;
    VTFHeader.flags &= ~quint32(VTF::FlagOneBitAlpha | VTF::FlagEightBitAlpha);
    if (VTF::bitsPerAlphaOfFormat(format) == 1)
        VTFHeader.flags |= VTF::FlagOneBitAlpha;
    else if (VTF::bitsPerAlphaOfFormat(format) == 8)
        VTFHeader.flags |= VTF::FlagEightBitAlpha;
    return true;
}

bool CFileVTF::setLowResImageFormat(VTF::Format_t format)
{
    const VTF::Format_t current = VTFHeader.lowResImageFormat;
    if (format == VTF::NONE) {
        if (current == VTF::NONE)
            return true;
        VTFHeader.lowResImageWidth = 0;
        VTFHeader.lowResImageHeight = 0;
        VTFHeader.lowResImageFormat = VTF::NONE;
        return true;
    }
    if (format < 0 || format == VTF::P8 || format == VTF::RGBA16161616F || format > VTF::UVLX8888)
        return false;
    if (format == current)
        return true;

    if (current == VTF::NONE) {
        const int mipmap = qMax(0, qMin(4, int(getMipmapCount()) - 1));
        unsigned short width, height;
        getMipmapSize(static_cast<unsigned char>(mipmap), width, height);
        VTFHeader.lowResImageWidth = static_cast<quint8>(width);
        VTFHeader.lowResImageHeight = static_cast<quint8>(height);
        if (!zeroed(VTF::bytesPerSizeOfFormat(VTFHeader.lowResImageWidth,
                                              VTFHeader.lowResImageHeight, format),
                    lowResImage))
            return false;
        VTFHeader.lowResImageFormat = format;
        return true;
    }

    QByteArray rgba, converted;
    if (!VTF::formatToRGBA8888(lowResImage, VTFHeader.lowResImageWidth, VTFHeader.lowResImageHeight,
                               current, rgba, VTF::DefaultHdrKey, VTF::DefaultHdrShift,
                               VTF::DefaultHdrGamma, 0.0f)
        || !VTF::formatFromRGBA8888(rgba, VTFHeader.lowResImageWidth, VTFHeader.lowResImageHeight,
                                    format, converted))
        return false;
    lowResImage = converted;
    VTFHeader.lowResImageFormat = format;
    return true;
}

bool CFileVTF::setLowResImageData(const QByteArray &data, unsigned short width,
                                  unsigned short height, bool native)
{
    if (!isPowerOfTwo(width) || width > 16 || !isPowerOfTwo(height) || height > 16)
        return false;
    if (native) {
        if (data.size() != VTF::bytesPerSizeOfFormat(width, height, VTFHeader.lowResImageFormat))
            return false;
        lowResImage = data;
    } else {
        if (data.size() != qint64(width) * 4 * height)
            return false;
        if (VTFHeader.lowResImageFormat != VTF::NONE) {
            QByteArray converted;
            if (!VTF::formatFromRGBA8888(data, width, height, VTFHeader.lowResImageFormat,
                                         converted))
                return false;
            lowResImage = converted;
        } else {
            // A thumbnail set on a file without one is stored as DXT1.
            VTFHeader.lowResImageWidth = static_cast<quint8>(width);
            VTFHeader.lowResImageHeight = static_cast<quint8>(height);
            VTFHeader.lowResImageFormat = VTF::RGBA8888;
            lowResImage = data;
            setLowResImageFormat(VTF::DXT1);
        }
    }
    VTFHeader.lowResImageWidth = static_cast<quint8>(width);
    VTFHeader.lowResImageHeight = static_cast<quint8>(height);
    return true;
}

bool CFileVTF::setImage(const QByteArray &data, unsigned short width, unsigned short height,
                        unsigned char mipmap, unsigned short frame, unsigned char face,
                        unsigned short slice, bool native)
{
    unsigned short mipmapWidth, mipmapHeight;
    getMipmapSize(mipmap, mipmapWidth, mipmapHeight);
    if (width != mipmapWidth || height != mipmapHeight)
        return false;
    const qint64 expected = native
        ? VTF::bytesPerSizeOfFormat(width, height, VTFHeader.highResImageFormat)
        : qint64(width) * 4 * height;
    if (data.size() != expected || !hasImage(mipmap, frame, face, slice))
        return false;
    QByteArray &image = images[mipmap][frame][face][slice];
    if (native) {
        image = data;
        return true;
    }
    return VTF::formatFromRGBA8888(data, width, height, VTFHeader.highResImageFormat, image);
}

bool CFileVTF::setImageFromImage(unsigned char sourceMipmap, unsigned short sourceFrame,
                                 unsigned char sourceFace, unsigned short sourceSlice,
                                 unsigned char targetMipmap, unsigned short targetFrame,
                                 unsigned char targetFace, unsigned short targetSlice, int filter)
{
    if (!hasImage(sourceMipmap, sourceFrame, sourceFace, sourceSlice)
        || !hasImage(targetMipmap, targetFrame, targetFace, targetSlice))
        return false;

    if (sourceMipmap == targetMipmap) {
        if (sourceFrame == targetFrame && sourceFace == targetFace && sourceSlice == targetSlice)
            return true;
        images[targetMipmap][targetFrame][targetFace][targetSlice]
            = images[sourceMipmap][sourceFrame][sourceFace][sourceSlice];
        return true;
    }

    unsigned short width, height, targetWidth, targetHeight;
    getMipmapSize(sourceMipmap, width, height);
    getMipmapSize(targetMipmap, targetWidth, targetHeight);
    VTF::Format_t format = VTFHeader.highResImageFormat;
    if (format == VTF::RGBA16161616F)
        format = VTF::RGBA16161616;
    QByteArray rgba;
    if (!VTF::formatToRGBA8888(images[sourceMipmap][sourceFrame][sourceFace][sourceSlice], width,
                               height, format, rgba, VTF::DefaultHdrKey, VTF::DefaultHdrShift,
                               VTF::DefaultHdrGamma, 0.0f))
        return false;
    std::unique_ptr<Magick::Image> image(VTF::toMagickImage(
        rgba, width, height, VTF::DrawFlags_t(VTF::DrawRGB | VTF::DrawMask), false));
    if (!image)
        return false;
    try {
        image->filterType(MagickCore::FilterTypes(filter));
    } catch (...) {
        return false;
    }
    if (!VTF::resizeMagickImage(*image, targetWidth, targetHeight))
        return false;
    return setImage(VTF::toRGBA8888(*image), targetWidth, targetHeight, targetMipmap, targetFrame,
                    targetFace, targetSlice, false);
}

bool CFileVTF::generateMipmaps(unsigned char source, unsigned char firstMipmap,
                               unsigned char lastMipmap, unsigned short firstFrame,
                               unsigned short lastFrame, unsigned char firstFace,
                               unsigned char lastFace, unsigned short firstSlice,
                               unsigned short lastSlice, int)
{
    if (source >= images.size() || isStructureEmpty())
        return false;
    validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace, lastFace,
                           firstSlice, lastSlice);
    if (firstFrame > lastFrame)
        return false;

    unsigned short sourceWidth, sourceHeight;
    getMipmapSize(source, sourceWidth, sourceHeight);
    QByteArray rgba;
    rgba.reserve(qint64(getWidth()) * getHeight() * 4);

    for (unsigned int frame = firstFrame; frame <= lastFrame; ++frame) {
        for (unsigned int face = firstFace; face <= lastFace; ++face) {
            for (unsigned int slice = firstSlice; slice <= lastSlice; ++slice) {
                if (!hasImage(source, frame, face, slice))
                    continue;
                const QByteArray sourceImage = images[source][frame][face][slice];
                for (bool downward : { true, false }) {
                    if (downward ? !(source > firstMipmap) : !(source < lastMipmap))
                        continue;
                    if (!VTF::formatToRGBA8888(sourceImage, sourceWidth, sourceHeight,
                                               VTFHeader.highResImageFormat, rgba, hdrKey, hdrShift,
                                               hdrGamma, 0.0f))
                        continue;
                    std::unique_ptr<Magick::Image> image(
                        VTF::toMagickImage(rgba, sourceWidth, sourceHeight,
                                           VTF::DrawFlags_t(VTF::DrawRGB | VTF::DrawMask), false));
                    if (!image)
                        continue;
                    // Each step resizes the result of the one before. Downward the
                    // unsigned m wraps below zero, which the test against the last
                    // mipmap catches.
                    unsigned char m = downward
                        ? static_cast<unsigned char>(qMin<int>(source - 1, lastMipmap))
                        : static_cast<unsigned char>(qMax<int>(source + 1, firstMipmap));
                    while (downward ? (m >= firstMipmap && m < lastMipmap) : (m <= lastMipmap)) {
                        unsigned short width, height;
                        getMipmapSize(m, width, height);
                        if (!VTF::resizeMagickImage(*image, width, height))
                            break;
                        setImage(VTF::toRGBA8888(*image), width, height, m,
                                 static_cast<unsigned short>(frame),
                                 static_cast<unsigned char>(face),
                                 static_cast<unsigned short>(slice), false);
                        if (downward)
                            --m;
                        else if (++m == 0)
                            break;
                    }
                }
            }
        }
    }
    // Always false, also after all the work: callers do not read it as failure.
    return false;
}

bool CFileVTF::generateThumbnail(unsigned char mipmap, unsigned short frame, unsigned char face,
                                 unsigned short slice)
{
    QByteArray rgba;
    if (!hasImage(mipmap, frame, face, slice) || !getImage(mipmap, frame, face, slice, rgba))
        return false;
    unsigned short width, height;
    if (mipmap > 4) {
        unsigned short sourceWidth, sourceHeight;
        getMipmapSize(mipmap, sourceWidth, sourceHeight);
        getMipmapSize(4, width, height);
        std::unique_ptr<Magick::Image> image(
            VTF::toMagickImage(rgba, sourceWidth, sourceHeight,
                               VTF::DrawFlags_t(VTF::DrawRGB | VTF::DrawMask), false));
        if (!image)
            return false;
        try {
            image->filterType(MagickCore::MitchellFilter);
        } catch (...) {
            return false;
        }
        if (!VTF::resizeMagickImage(*image, width, height))
            return false;
        return setLowResImageData(VTF::toRGBA8888(*image), width, height, false);
    }
    getMipmapSize(mipmap, width, height);
    return setLowResImageData(rgba, width, height, false);
}

bool CFileVTF::generateThumbnail()
{
    bool result = false;
    for (int mipmap = 4; mipmap >= 0; --mipmap) {
        result = generateThumbnail(static_cast<unsigned char>(mipmap), 0, 0, 0);
        if (result)
            break;
    }
    return result;
}
