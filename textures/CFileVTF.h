#pragma once

// A VTF texture (versions 7.0 to 7.5) held in memory: the header, the resource
// list, the thumbnail and every image, each in the file's own pixel format.
// images[mipmap][frame][face][slice]; mipmap 0 is the smallest.

#include "textures/VTF.h"
#include "util/IFileClass.h"

#include <QByteArray>
#include <QVector>

class CFileVTF : public IFileClass<CFileVTF>
{
public:
    struct Resource_t
    {
        // The tag is in the low 24 bits; the top byte holds flags (2: no data,
        // the second word is the value itself).
        enum ID_t : quint32 {
            LowResImage = 0x1,
            Sheet = 0x10,
            HighResImage = 0x30,
            KeyValues = 0x44564B,
            CRC = 0x2435243,
            LOD = 0x2444F4C,
            TS0 = 0x2305354
        };

        ID_t id = ID_t(0);
        quint32 data = 0;
        QByteArray bytes;

        // Stores the id and resets the payload; a LOD starts with a clamp of 30 each way.
        void setId(ID_t value);
        // True when the low 24 bits name the same resource.
        static bool sameTag(quint32 a, quint32 b) { return (a & 0xFFFFFF) == (b & 0xFFFFFF); }
    };

    struct VTFHeader_t
    {
        quint32 versionMajor = 7;
        quint32 versionMinor = 3;
        quint32 headerSize = 0;
        quint16 width = 0;
        quint16 height = 0;
        quint32 flags = VTF::FlagEightBitAlpha;
        quint16 frames = 0;
        quint16 firstFrame = 0;
        char padding0[4] = {};
        float reflectivity[3] = { 0.5f, 0.5f, 0.5f };
        char padding1[4] = {};
        float bumpmapScale = 1.0f;
        VTF::Format_t highResImageFormat = VTF::RGBA8888;
        quint8 mipmapCount = 0;
        VTF::Format_t lowResImageFormat = VTF::NONE;
        quint8 lowResImageWidth = 0;
        quint8 lowResImageHeight = 0;
        quint16 depth = 0;
        char padding2[15] = {};
        quint32 resourceCount = 0;
        char padding3[8] = {};
    };

    typedef QVector<QByteArray> Slices;
    typedef QVector<Slices> Faces;
    typedef QVector<Faces> Frames;
    typedef QVector<Frames> Mipmaps;

    // A side that is 0 or not a power of two becomes 1; the new texture has a
    // full chain of zeroed RGBA8888 mipmaps and is named "untitled".
    explicit CFileVTF(unsigned short width = 1, unsigned short height = 1);
    ~CFileVTF() override;

    using IFileClass<CFileVTF>::createFromStream;
    using IFileClass<CFileVTF>::serialize;

    bool createFromStream(QDataStream &stream) override;
    bool serialize(QDataStream &stream) override;

    Resource_t *getResourceOfType(Resource_t::ID_t id);
    Resource_t *addResourceOfType(Resource_t::ID_t id);
    void removeResourceOfType(Resource_t::ID_t id);
    const QVector<Resource_t> &getResources() const { return resources; }

    unsigned char getMipmapCount() const { return static_cast<unsigned char>(images.size()); }
    unsigned short getFrameCount() const;
    unsigned char getFaceCount() const;
    unsigned short getSliceCount() const;

    // Size of a mipmap by the base mipmap rule. The difference to the base is
    // taken in 8-bit arithmetic, as a signed step: a short chain whose base
    // wrapped below zero keeps its real sizes.
    void getMipmapSize(unsigned char mipmap, unsigned short &width, unsigned short &height) const;
    unsigned short getMipmapWidth(unsigned char mipmap) const;
    unsigned short getMipmapHeight(unsigned char mipmap) const;
    // The size of the largest mipmap, as written to a file.
    unsigned short getWidth() const;
    unsigned short getHeight() const;

    bool getImage(unsigned char mipmap, unsigned short frame, unsigned char face,
                  unsigned short slice, QByteArray &rgba) const;
    // The stored bytes of one image, or null if an index is out of range.
    const QByteArray *getImageData(unsigned char mipmap, unsigned short frame, unsigned char face,
                                   unsigned short slice) const;

    // No checksum is computed anywhere; kept for the callers that ask.
    void updateChecksumResource();

    // Header fields.
    quint32 getVersionMajor() const { return VTFHeader.versionMajor; }
    quint32 getVersionMinor() const { return VTFHeader.versionMinor; }
    void setVersion(quint32 major, quint32 minor);
    quint32 getFlags() const { return VTFHeader.flags; }
    void setFlags(quint32 flags) { VTFHeader.flags = flags; }
    bool hasFlag(VTF::Flags_t flag) const { return (VTFHeader.flags & flag) != 0; }
    void setFlag(VTF::Flags_t flag, bool on);
    unsigned short getFirstFrame() const { return VTFHeader.firstFrame; }
    void getReflectivity(float &red, float &green, float &blue) const;
    void setReflectivity(float red, float green, float blue);
    float getBumpmapScale() const { return VTFHeader.bumpmapScale; }
    void setBumpmapScale(float scale) { VTFHeader.bumpmapScale = scale; }
    VTF::Format_t getHighResImageFormat() const { return VTFHeader.highResImageFormat; }
    VTF::Format_t getLowResImageFormat() const { return VTFHeader.lowResImageFormat; }
    unsigned char getLowResImageWidth() const { return VTFHeader.lowResImageWidth; }
    unsigned char getLowResImageHeight() const { return VTFHeader.lowResImageHeight; }
    const QByteArray &getLowResImageData() const { return lowResImage; }
    // The thumbnail as RGBA8888; false without one.
    bool getLowResImage(QByteArray &rgba) const;
    quint32 getHeaderSize() const { return VTFHeader.headerSize; }
    const VTFHeader_t &getHeader() const { return VTFHeader; }

    unsigned short getBaseWidth() const { return baseWidth; }
    unsigned short getBaseHeight() const { return baseHeight; }
    unsigned char getBaseMipmap() const { return baseMipmap; }

    float getHdrKey() const { return hdrKey; }
    float getHdrShift() const { return hdrShift; }
    float getHdrGamma() const { return hdrGamma; }
    void setHdrKey(float value) { hdrKey = value; }
    void setHdrShift(float value) { hdrShift = value; }
    void setHdrGamma(float value) { hdrGamma = value; }

    const Mipmaps &getImages() const { return images; }

    // Shape and content operations.
    bool setFrameCount(unsigned short count);
    bool setFaceCount(unsigned char count);
    bool setSliceCount(unsigned short count);
    bool setMipmapCount(unsigned char count);
    void setFirstFrame(unsigned short frame);

    bool setHighResImageFormat(VTF::Format_t format);
    bool setLowResImageFormat(VTF::Format_t format);

    bool setImage(const QByteArray &data, unsigned short width, unsigned short height,
                  unsigned char mipmap, unsigned short frame, unsigned char face,
                  unsigned short slice, bool native);
    // `filter` is a Magick resize filter (a MagickCore::FilterTypes value),
    // given as a number so that this header needs none of Magick's.
    bool setImageFromImage(unsigned char sourceMipmap, unsigned short sourceFrame,
                           unsigned char sourceFace, unsigned short sourceSlice,
                           unsigned char targetMipmap, unsigned short targetFrame,
                           unsigned char targetFace, unsigned short targetSlice, int filter);
    bool setLowResImageData(const QByteArray &data, unsigned short width, unsigned short height,
                            bool native);

    // Works through the whole range and reports false all the same; the filter
    // is not applied (Magick's default is used). Callers ignore the result.
    bool generateMipmaps(unsigned char source, unsigned char firstMipmap, unsigned char lastMipmap,
                         unsigned short firstFrame, unsigned short lastFrame,
                         unsigned char firstFace, unsigned char lastFace, unsigned short firstSlice,
                         unsigned short lastSlice, int filter);

    bool generateThumbnail();
    bool generateThumbnail(unsigned char mipmap, unsigned short frame, unsigned char face,
                           unsigned short slice);

    // faces receives the six prepared cube faces.
    bool generateSphereMap(unsigned char mipmap, unsigned short frame, unsigned short slice,
                           QByteArray *faces, QByteArray &sphereMap);
    bool generateSphereMaps(unsigned char firstMipmap, unsigned char lastMipmap,
                            unsigned short firstFrame, unsigned short lastFrame,
                            unsigned short firstSlice, unsigned short lastSlice);

    void computeReflectivity(float &red, float &green, float &blue, unsigned char firstMipmap,
                             unsigned char lastMipmap, unsigned short firstFrame,
                             unsigned short lastFrame, unsigned char firstFace,
                             unsigned char lastFace, unsigned short firstSlice,
                             unsigned short lastSlice) const;
    void correctImageGamma(float gamma, unsigned char firstMipmap, unsigned char lastMipmap,
                           unsigned short firstFrame, unsigned short lastFrame,
                           unsigned char firstFace, unsigned char lastFace,
                           unsigned short firstSlice, unsigned short lastSlice);

    void validateDimensionRange(unsigned char &firstMipmap, unsigned char &lastMipmap,
                                unsigned short &firstFrame, unsigned short &lastFrame,
                                unsigned char &firstFace, unsigned char &lastFace,
                                unsigned short &firstSlice, unsigned short &lastSlice) const;
    void forceValidateDimensions(unsigned char &mipmap, unsigned short &frame, unsigned char &face,
                                 unsigned short &slice) const;

    VTFHeader_t VTFHeader;
    QVector<Resource_t> resources;
    QByteArray lowResImage;
    unsigned short baseWidth = 1;
    unsigned short baseHeight = 1;
    unsigned char baseMipmap = 0;
    float hdrKey = VTF::DefaultHdrKey;
    float hdrShift = VTF::DefaultHdrShift;
    float hdrGamma = VTF::DefaultHdrGamma;
    Mipmaps images;

private:
    bool readImages(QDataStream &stream);
    bool hasImage(unsigned char mipmap, unsigned short frame, unsigned char face,
                  unsigned short slice) const;
    bool isStructureEmpty() const;
    // A zeroed image for a mipmap in the high-resolution format; false when it
    // cannot be had.
    bool makeBlankImage(unsigned char mipmap, QByteArray &image) const;
};
