// Sphere maps and the operations over a range of images.

#include "textures/CFileVTF.h"
#include "util/CVector3.h"

#include <cmath>
#include <cstdlib>

namespace {

struct SFace_t
{
    const unsigned char *data;
    CVector3 u, v, normal, origin;
};

float dot(const CVector3 &a, const CVector3 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

CVector3 scaled(const CVector3 &a, float s)
{
    return CVector3(a.x * s, a.y * s, a.z * s);
}

// Where each file face goes among the prepared faces.
const int preparedOfFileFace[6] = { 2, 0, 5, 4, 3, 1 };

// Texel index from a face coordinate; rays that graze an edge land a hair
// outside, and are kept on the face.
int texelIndex(float extent, float coordinate, int size)
{
    const float position = extent * coordinate;
    if (!(position > 0.0f))
        return 0;
    if (position >= float(size - 1))
        return size - 1;
    return int(position);
}

} // namespace

bool CFileVTF::generateSphereMap(unsigned char mipmap, unsigned short frame, unsigned short slice,
                                 QByteArray *faces, QByteArray &sphereMap)
{
    static SFace_t SFace[6];
    static bool built = false;
    if (!built) {
        const float table[6][4][3] = {
            { { 0, 0, -1 }, { 0, 1, 0 }, { -1, 0, 0 }, { -0.5f, -0.5f, 0.5f } },
            { { 1, 0, 0 }, { 0, 1, 0 }, { 0, 0, -1 }, { -0.5f, -0.5f, -0.5f } },
            { { 0, 0, 1 }, { 0, 1, 0 }, { 1, 0, 0 }, { 0.5f, -0.5f, -0.5f } },
            { { -1, 0, 0 }, { 0, 1, 0 }, { 0, 0, 1 }, { 0.5f, -0.5f, 0.5f } },
            { { 1, 0, 0 }, { 0, 0, 1 }, { 0, 1, 0 }, { -0.5f, 0.5f, -0.5f } },
            { { 1, 0, 0 }, { 0, 0, -1 }, { 0, -1, 0 }, { -0.5f, -0.5f, 0.5f } },
        };
        for (int i = 0; i < 6; ++i) {
            CVector3 *fields[4] = { &SFace[i].u, &SFace[i].v, &SFace[i].normal, &SFace[i].origin };
            for (int k = 0; k < 4; ++k)
                *fields[k] = CVector3(table[i][k][0], table[i][k][1], table[i][k][2]);
            SFace[i].data = nullptr;
        }
        built = true;
    }

    if (!(VTFHeader.flags & VTF::FlagEnvironmentMap)) {
        lastError = QStringLiteral("Request Error: Image is not an enviroment map");
        return false;
    }
    const int faceCount = getFaceCount();
    if (isStructureEmpty() || (faceCount != 6 && faceCount != 7)) {
        lastError = QStringLiteral("Request Error: Enviroment map does not have correct number "
                                   "of faces");
        return false;
    }
    if (!hasImage(mipmap, frame, 5, slice))
        return false;

    unsigned short width, height;
    getMipmapSize(mipmap, width, height);
    if (width == 0 || height == 0)
        return false;
    VTF::Format_t format = VTFHeader.highResImageFormat;
    if (format == VTF::RGBA16161616F)
        format = VTF::RGBA16161616;
    for (int fileFace = 0; fileFace < 6; ++fileFace) {
        QByteArray &face = faces[preparedOfFileFace[fileFace]];
        if (!VTF::formatToRGBA8888(images[mipmap][frame][fileFace][slice], width, height, format,
                                   face, VTF::DefaultHdrKey, VTF::DefaultHdrShift,
                                   VTF::DefaultHdrGamma, 0.0f))
            return false;
    }
    for (int j : { 0, 2, 3 })
        VTF::mirrorImage(reinterpret_cast<unsigned char *>(faces[j].data()), width, height);
    for (int j : { 4, 5 })
        VTF::flipImage(reinterpret_cast<unsigned char *>(faces[j].data()), width, height);
    for (int j = 0; j < 6; ++j)
        SFace[j].data = reinterpret_cast<const unsigned char *>(faces[j].constData());

    // The background is the average of the floor.
    const qint64 pixels = qint64(width) * height;
    qint64 sums[3] = { 0, 0, 0 };
    for (qint64 i = 0; i < pixels; ++i)
        for (int c = 0; c < 3; ++c)
            sums[c] += SFace[5].data[i * 4 + c];
    const float background[3]
        = { float(sums[0] / pixels) * 0.003921f, float(sums[1] / pixels) * 0.003921f,
            float(sums[2] / pixels) * 0.003921f };

    sphereMap.resize(pixels * 4);
    unsigned char *out = reinterpret_cast<unsigned char *>(sphereMap.data());
    const size_t stride = size_t(width) * 4;
    const CVector3 eye(0.0f, 0.0f, 1.0f);
    for (unsigned int y = 0; y < height; ++y) {
        for (unsigned int x = 0; x < width; ++x, out += 4) {
            float colour[3] = { 0.0f, 0.0f, 0.0f };
            for (int sample = 0; sample < 4; ++sample) {
                const double du = drand48();
                const double dv = drand48();
                const float u = float((du + x) / width - 0.5);
                const float v = float((dv + y) / height - 0.5);
                if (u * u + v * v >= 0.25f) {
                    for (int c = 0; c < 3; ++c)
                        colour[c] += background[c];
                    continue;
                }
                const CVector3 n(2.0f * u, 2.0f * v, 2.0f * std::sqrt(0.25f - u * u - v * v));
                CVector3 r = scaled(n, 2.0f * dot(n, eye)) - eye;

                const float ax = std::fabs(r.x), ay = std::fabs(r.y), az = std::fabs(r.z);
                int index;
                if (ax >= ay && ax >= az)
                    index = r.x > 0.0f ? 2 : 0;
                else if (ay >= az)
                    index = r.y > 0.0f ? 4 : 5;
                else
                    index = r.z > 0.0f ? 3 : 1;
                const SFace_t &face = SFace[index];

                r = scaled(r, dot(face.origin, face.normal) / dot(r, face.normal));
                const CVector3 d = r - face.origin;
                const float s = dot(d, face.u);
                const float t = dot(d, face.v);
                const int column = texelIndex(float(width), s, width);
                const int row = texelIndex(float(height), t, height);
                const unsigned char *texel = face.data + size_t(row) * stride + size_t(column) * 4;
                for (int c = 0; c < 3; ++c)
                    colour[c] += float(texel[c]) / 255.0f;
            }
            for (int c = 0; c < 3; ++c) {
                const float value = colour[c] * 255.0f * 0.25f;
                out[c] = static_cast<unsigned char>(qBound(0, int(value), 255));
            }
            out[3] = 255;
        }
    }
    return true;
}

bool CFileVTF::generateSphereMaps(unsigned char firstMipmap, unsigned char lastMipmap,
                                  unsigned short firstFrame, unsigned short lastFrame,
                                  unsigned short firstSlice, unsigned short lastSlice)
{
    unsigned char firstFace = 0, lastFace = 0;
    validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace, lastFace,
                           firstSlice, lastSlice);
    if (!(VTFHeader.flags & VTF::FlagEnvironmentMap)) {
        lastError = QStringLiteral("Request Error: Image is not an enviroment map");
        return false;
    }
    if (isStructureEmpty() || getFaceCount() < 6) {
        lastError = QStringLiteral("Request Error: Enviroment map does not have correct number "
                                   "of faces");
        return false;
    }
    if (!setFaceCount(7))
        return false;

    QByteArray faces[6];
    QByteArray sphereMap;
    for (unsigned int m = firstMipmap; m <= lastMipmap; ++m) {
        unsigned short width, height;
        getMipmapSize(static_cast<unsigned char>(m), width, height);
        for (unsigned int frame = firstFrame; frame <= lastFrame; ++frame) {
            for (unsigned int slice = firstSlice; slice <= lastSlice; ++slice) {
                if (!hasImage(static_cast<unsigned char>(m), frame, 6, slice))
                    return false;
                if (!generateSphereMap(static_cast<unsigned char>(m),
                                       static_cast<unsigned short>(frame),
                                       static_cast<unsigned short>(slice), faces, sphereMap)
                    || !VTF::formatFromRGBA8888(sphereMap, width, height,
                                                VTFHeader.highResImageFormat,
                                                images[m][frame][6][slice]))
                    return false;
            }
        }
    }
    return true;
}

void CFileVTF::computeReflectivity(float &red, float &green, float &blue, unsigned char firstMipmap,
                                   unsigned char lastMipmap, unsigned short firstFrame,
                                   unsigned short lastFrame, unsigned char firstFace,
                                   unsigned char lastFace, unsigned short firstSlice,
                                   unsigned short lastSlice) const
{
    validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace, lastFace,
                           firstSlice, lastSlice);
    red = green = blue = 0.0f;
    QByteArray rgba;
    for (unsigned int m = firstMipmap; m <= lastMipmap; ++m) {
        unsigned short width, height;
        getMipmapSize(static_cast<unsigned char>(m), width, height);
        for (unsigned int frame = firstFrame; frame <= lastFrame; ++frame)
            for (unsigned int face = firstFace; face <= lastFace; ++face)
                for (unsigned int slice = firstSlice; slice <= lastSlice; ++slice) {
                    if (!hasImage(static_cast<unsigned char>(m), frame, face, slice)
                        || !VTF::formatToRGBA8888(images[m][frame][face][slice], width, height,
                                                  VTFHeader.highResImageFormat, rgba, hdrKey,
                                                  hdrShift, hdrGamma, 0.0f))
                        continue;
                    float r, g, b;
                    VTF::computeReflectivity(
                        reinterpret_cast<const unsigned char *>(rgba.constData()), width, height, r,
                        g, b);
                    red += r;
                    green += g;
                    blue += b;
                }
    }
    const float count = float(lastMipmap - firstMipmap + 1) * float(lastFrame - firstFrame + 1)
        * float(lastFace - firstFace + 1) * float(lastSlice - firstSlice + 1);
    red *= 1.0f / count;
    green *= 1.0f / count;
    blue *= 1.0f / count;
}

void CFileVTF::correctImageGamma(float gamma, unsigned char firstMipmap, unsigned char lastMipmap,
                                 unsigned short firstFrame, unsigned short lastFrame,
                                 unsigned char firstFace, unsigned char lastFace,
                                 unsigned short firstSlice, unsigned short lastSlice)
{
    if (gamma == 1.0f)
        return;
    validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace, lastFace,
                           firstSlice, lastSlice);
    VTF::Format_t format = VTFHeader.highResImageFormat;
    if (format == VTF::RGBA16161616F)
        format = VTF::RGBA16161616;
    QByteArray rgba;
    rgba.reserve(qint64(getWidth()) * getHeight() * 4);
    for (unsigned int m = firstMipmap; m <= lastMipmap; ++m) {
        unsigned short width, height;
        getMipmapSize(static_cast<unsigned char>(m), width, height);
        for (unsigned int frame = firstFrame; frame <= lastFrame; ++frame)
            for (unsigned int face = firstFace; face <= lastFace; ++face)
                for (unsigned int slice = firstSlice; slice <= lastSlice; ++slice) {
                    if (!hasImage(static_cast<unsigned char>(m), frame, face, slice)
                        || !VTF::formatToRGBA8888(images[m][frame][face][slice], width, height,
                                                  format, rgba, hdrKey, hdrShift, hdrGamma, 0.0f))
                        continue;
                    // The mipmap's width serves as its height as well, so a tall
                    // texture has only its top square corrected; a wide one stops
                    // at the end of its pixels.
                    VTF::correctImageGamma(reinterpret_cast<unsigned char *>(rgba.data()), width,
                                           qMin(width, height), gamma);
                    setImage(rgba, width, height, static_cast<unsigned char>(m),
                             static_cast<unsigned short>(frame), static_cast<unsigned char>(face),
                             static_cast<unsigned short>(slice), false);
                }
    }
}
