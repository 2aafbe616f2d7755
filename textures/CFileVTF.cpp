#include "textures/CFileVTF.h"

#include "util/UtilText.h"

#include <QDataStream>
#include <QHash>
#include <QIODevice>

#include <new>

namespace {

const quint32 Signature = 0x465456;

// Bytes the device can still deliver from its current position.
qint64 bytesLeft(QIODevice *device)
{
    if (device->isSequential())
        return device->bytesAvailable();
    return qMax<qint64>(0, device->size() - device->pos());
}

bool readRaw(QDataStream &stream, char *data, qint64 size)
{
    return size == 0 || stream.readRawData(data, int(size)) == size;
}

} // namespace

void CFileVTF::Resource_t::setId(ID_t value)
{
    id = value;
    bytes.clear();
    data = sameTag(value, LOD) ? 0x1E1E1E1E : 0;
}

CFileVTF::CFileVTF(unsigned short width, unsigned short height)
{
    if (width == 0 || (width & (width - 1)) != 0)
        width = 1;
    if (height == 0 || (height & (height - 1)) != 0)
        height = 1;
    const int topIndex = UTIL_flagToIndex(qMax(width, height));
    baseMipmap = static_cast<unsigned char>(topIndex);
    baseWidth = width;
    baseHeight = height;
    while (baseWidth > 1 && baseHeight > 1) {
        baseWidth /= 2;
        baseHeight /= 2;
        --baseMipmap;
    }
    const int bytes = VTF::bytesPerSizeOfFormat(1, 1, VTFHeader.highResImageFormat);
    images = Mipmaps(1, Frames(1, Faces(1, Slices(1, QByteArray(bytes, 0)))));
    setMipmapCount(static_cast<unsigned char>(topIndex + 1));
    fileName = QStringLiteral("untitled");
}

CFileVTF::~CFileVTF() = default;

CFileVTF::Resource_t *CFileVTF::getResourceOfType(Resource_t::ID_t id)
{
    for (Resource_t &resource : resources)
        if (Resource_t::sameTag(resource.id, id))
            return &resource;
    return nullptr;
}

CFileVTF::Resource_t *CFileVTF::addResourceOfType(Resource_t::ID_t id)
{
    if (Resource_t *existing = getResourceOfType(id))
        return existing;
    Resource_t resource;
    resource.setId(id);
    resources.append(resource);
    return &resources.last();
}

void CFileVTF::removeResourceOfType(Resource_t::ID_t id)
{
    for (int i = 0; i < resources.size(); ++i) {
        if (Resource_t::sameTag(resources[i].id, id)) {
            resources.remove(i);
            return;
        }
    }
}

bool CFileVTF::isStructureEmpty() const
{
    return images.isEmpty() || images[0].isEmpty() || images[0][0].isEmpty()
        || images[0][0][0].isEmpty();
}

unsigned short CFileVTF::getFrameCount() const
{
    return isStructureEmpty() ? 0 : static_cast<unsigned short>(images[0].size());
}

unsigned char CFileVTF::getFaceCount() const
{
    return isStructureEmpty() ? 0 : static_cast<unsigned char>(images[0][0].size());
}

unsigned short CFileVTF::getSliceCount() const
{
    return isStructureEmpty() ? 0 : static_cast<unsigned short>(images[0][0][0].size());
}

void CFileVTF::getMipmapSize(unsigned char mipmap, unsigned short &width,
                             unsigned short &height) const
{
    const int step = static_cast<signed char>(static_cast<unsigned char>(mipmap - baseMipmap));
    if (step >= 0) {
        width = step >= 16 ? 0 : static_cast<unsigned short>(baseWidth << step);
        height = step >= 16 ? 0 : static_cast<unsigned short>(baseHeight << step);
    } else {
        width = static_cast<unsigned short>(qMax(1, -step >= 16 ? 0 : baseWidth >> -step));
        height = static_cast<unsigned short>(qMax(1, -step >= 16 ? 0 : baseHeight >> -step));
    }
}

unsigned short CFileVTF::getMipmapWidth(unsigned char mipmap) const
{
    unsigned short width, height;
    getMipmapSize(mipmap, width, height);
    return width;
}

unsigned short CFileVTF::getMipmapHeight(unsigned char mipmap) const
{
    unsigned short width, height;
    getMipmapSize(mipmap, width, height);
    return height;
}

unsigned short CFileVTF::getWidth() const
{
    return images.isEmpty() ? VTFHeader.width : getMipmapWidth(getMipmapCount() - 1);
}

unsigned short CFileVTF::getHeight() const
{
    return images.isEmpty() ? VTFHeader.height : getMipmapHeight(getMipmapCount() - 1);
}

bool CFileVTF::hasImage(unsigned char mipmap, unsigned short frame, unsigned char face,
                        unsigned short slice) const
{
    return mipmap < images.size() && frame < images[mipmap].size()
        && face < images[mipmap][frame].size() && slice < images[mipmap][frame][face].size();
}

const QByteArray *CFileVTF::getImageData(unsigned char mipmap, unsigned short frame,
                                         unsigned char face, unsigned short slice) const
{
    return hasImage(mipmap, frame, face, slice) ? &images[mipmap][frame][face][slice] : nullptr;
}

bool CFileVTF::getImage(unsigned char mipmap, unsigned short frame, unsigned char face,
                        unsigned short slice, QByteArray &rgba) const
{
    if (!hasImage(mipmap, frame, face, slice))
        return false;
    unsigned short width, height;
    getMipmapSize(mipmap, width, height);
    return VTF::formatToRGBA8888(images[mipmap][frame][face][slice], width, height,
                                 VTFHeader.highResImageFormat, rgba, hdrKey, hdrShift, hdrGamma,
                                 0.0f);
}

bool CFileVTF::getLowResImage(QByteArray &rgba) const
{
    if (VTFHeader.lowResImageFormat == VTF::NONE)
        return false;
    return VTF::formatToRGBA8888(lowResImage, VTFHeader.lowResImageWidth,
                                 VTFHeader.lowResImageHeight, VTFHeader.lowResImageFormat, rgba);
}

void CFileVTF::updateChecksumResource() { }

void CFileVTF::setVersion(quint32 major, quint32 minor)
{
    VTFHeader.versionMajor = major;
    VTFHeader.versionMinor = minor;
}

void CFileVTF::setFlag(VTF::Flags_t flag, bool on)
{
    if (on)
        VTFHeader.flags |= flag;
    else
        VTFHeader.flags &= ~quint32(flag);
}

void CFileVTF::getReflectivity(float &red, float &green, float &blue) const
{
    red = VTFHeader.reflectivity[0];
    green = VTFHeader.reflectivity[1];
    blue = VTFHeader.reflectivity[2];
}

void CFileVTF::setReflectivity(float red, float green, float blue)
{
    VTFHeader.reflectivity[0] = red;
    VTFHeader.reflectivity[1] = green;
    VTFHeader.reflectivity[2] = blue;
}

bool CFileVTF::createFromStream(QDataStream &stream)
{
    QIODevice *device = stream.device();
    if (!device) {
        lastError = QStringLiteral("Stream Error: No device");
        return false;
    }
    const qint64 start = device->pos();
    VTFHeader_t &h = VTFHeader;
    auto incomplete = [this]() {
        lastError = QStringLiteral("Read Error: Incomplete");
        return false;
    };

    quint32 signature = 0;
    stream >> signature;
    if (stream.status() != QDataStream::Ok)
        return incomplete();
    if (signature != Signature) {
        lastError = QStringLiteral("File Error: Magic number mismatch");
        return false;
    }
    stream >> h.versionMajor >> h.versionMinor;
    if (stream.status() != QDataStream::Ok)
        return incomplete();
    if (h.versionMajor < 7) {
        lastError = QStringLiteral("Internal Error: Format too old");
        return false;
    }

    qint32 highFormat = 0, lowFormat = 0;
    stream >> h.headerSize >> h.width >> h.height >> h.flags >> h.frames >> h.firstFrame;
    stream.readRawData(h.padding0, 4);
    stream >> h.reflectivity[0] >> h.reflectivity[1] >> h.reflectivity[2];
    stream.readRawData(h.padding1, 4);
    stream >> h.bumpmapScale >> highFormat >> h.mipmapCount >> lowFormat >> h.lowResImageWidth
        >> h.lowResImageHeight;
    h.highResImageFormat = VTF::Format_t(highFormat);
    h.lowResImageFormat = VTF::Format_t(lowFormat);

    h.depth = 1;
    if (h.versionMinor > 1) {
        stream >> h.depth;
        if (h.depth == 0)
            h.depth = 1;
    }
    if (h.versionMinor > 2) {
        stream.readRawData(h.padding2, 3);
        stream >> h.resourceCount;
        stream.readRawData(h.padding3, 8);
    }
    if (stream.status() != QDataStream::Ok)
        return incomplete();
    const bool knownVersion = h.versionMinor <= 4 || (h.versionMinor == 5 && h.versionMajor <= 7);
    if (!knownVersion) {
        lastError = QStringLiteral("Internal Error: Format too new");
        return false;
    }

    resources.clear();
    if (h.versionMinor > 2) {
        if (qint64(h.resourceCount) * 8 > bytesLeft(device))
            return incomplete();
        // Entries of one tag fold into one resource, the later word winning.
        QHash<quint32, int> byTag;
        for (quint32 i = 0; i < h.resourceCount; ++i) {
            quint32 id = 0, data = 0;
            stream >> id >> data;
            const quint32 tag = id & 0xFFFFFF;
            auto found = byTag.constFind(tag);
            if (found == byTag.constEnd()) {
                Resource_t resource;
                resource.setId(Resource_t::ID_t(id));
                byTag.insert(tag, int(resources.size()));
                resources.append(resource);
                found = byTag.constFind(tag);
            }
            resources[found.value()].data = data;
        }
        if (stream.status() != QDataStream::Ok)
            return incomplete();
    }

    for (Resource_t::ID_t kind : { Resource_t::Sheet, Resource_t::KeyValues }) {
        Resource_t *resource = getResourceOfType(kind);
        if (!resource)
            continue;
        device->seek(start + resource->data);
        quint32 length = 0;
        stream >> length;
        if (stream.status() != QDataStream::Ok || qint64(length) > bytesLeft(device))
            return incomplete();
        resource->bytes.resize(qint64(length));
        if (!readRaw(stream, resource->bytes.data(), length))
            return incomplete();
    }

    const qint64 lowResSize = qMax(
        0, VTF::bytesPerSizeOfFormat(h.lowResImageWidth, h.lowResImageHeight, h.lowResImageFormat));
    qint64 lowResOffset = h.headerSize;
    qint64 imageOffset = h.headerSize + lowResSize;
    if (const Resource_t *resource = getResourceOfType(Resource_t::LowResImage))
        lowResOffset = resource->data;
    if (const Resource_t *resource = getResourceOfType(Resource_t::HighResImage))
        imageOffset = resource->data;

    if (!device->seek(start + lowResOffset)) {
        lastError = QStringLiteral("Device Error: Seek failure");
        return false;
    }
    // A short thumbnail fails without a message of its own.
    if (lowResSize > bytesLeft(device))
        return false;
    lowResImage.resize(lowResSize);
    if (!readRaw(stream, lowResImage.data(), lowResSize))
        return false;

    if (!device->seek(start + imageOffset)) {
        lastError = QStringLiteral("Device Error: Seek failure");
        return false;
    }
    return readImages(stream);
}

bool CFileVTF::readImages(QDataStream &stream)
{
    const VTFHeader_t &h = VTFHeader;
    QIODevice *device = stream.device();
    auto incomplete = [this]() {
        lastError = QStringLiteral("Read Error: Incomplete");
        return false;
    };

    images.clear();
    VTF::computeBaseMipmap(h.width, h.height, h.mipmapCount, baseWidth, baseHeight, baseMipmap);
    if (h.mipmapCount == 0)
        return true;

    int faces = 1;
    if (h.flags & VTF::FlagEnvironmentMap)
        faces = h.firstFrame < 0xFFFF ? 7 : 6;

    // Everything the header asks for must fit in what is left, before any of
    // it is allocated: a hostile header cannot make us reserve more than the file holds.
    const qint64 available = bytesLeft(device);
    QVector<int> sizes(h.mipmapCount);
    for (int m = 0; m < h.mipmapCount; ++m) {
        unsigned short width, height;
        getMipmapSize(static_cast<unsigned char>(m), width, height);
        sizes[m] = VTF::bytesPerSizeOfFormat(width, height, h.highResImageFormat);
        if (sizes[m] < 0)
            return incomplete();
    }
    auto fits = [&](int faceCount) {
        const qint64 perMipmap = qint64(h.frames) * faceCount * h.depth;
        // Images of no bytes still cost their place in the structure.
        if (perMipmap * h.mipmapCount > qMax<qint64>(available, 1 << 16))
            return false;
        qint64 total = 0;
        for (int m = 0; m < h.mipmapCount; ++m) {
            total += qint64(sizes[m]) * perMipmap;
            if (total > available)
                return false;
        }
        return true;
    };
    if (!fits(faces)) {
        // Writers of 7.5 dropped the sphere map but left firstFrame at 0: such
        // a cube map holds six faces where seven were announced.
        if (faces != 7 || !fits(6))
            return incomplete();
        faces = 6;
    }

    try {
        images.resize(h.mipmapCount);
        for (int m = 0; m < h.mipmapCount; ++m) {
            Frames &frames = images[m];
            frames.resize(h.frames);
            for (Faces &faceList : frames) {
                faceList.resize(faces);
                for (Slices &slices : faceList) {
                    slices.resize(h.depth);
                    for (QByteArray &image : slices) {
                        image.resize(sizes[m]);
                        if (!readRaw(stream, image.data(), sizes[m]))
                            return incomplete();
                    }
                }
            }
        }
    } catch (const std::bad_alloc &) {
        return incomplete();
    }
    return true;
}

bool CFileVTF::serialize(QDataStream &stream)
{
    QIODevice *device = stream.device();
    if (!device) {
        lastError = QStringLiteral("Stream Error: No device");
        return false;
    }
    if (!device->isOpen()) {
        lastError = QStringLiteral("Device Error: Not open");
        return false;
    }
    if (!device->isWritable()) {
        lastError = QStringLiteral("Device Error: Not writable");
        return false;
    }
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);

    VTFHeader_t &h = VTFHeader;
    const quint32 minor = h.versionMinor;
    const bool hasLowResEntry = getResourceOfType(Resource_t::LowResImage) != nullptr;
    const bool hasHighResEntry = getResourceOfType(Resource_t::HighResImage) != nullptr;
    const quint32 listed = quint32(resources.size());

    if (minor <= 1) {
        h.headerSize = 64;
    } else if (minor == 2) {
        h.headerSize = 80;
    } else {
        h.headerSize = 80 + 8 * listed;
        if (getResourceOfType(Resource_t::CRC))
            h.headerSize -= 8;
        if (!hasLowResEntry)
            h.headerSize += 8;
        if (!hasHighResEntry)
            h.headerSize += 8;
    }

    const bool envmap = h.flags & VTF::FlagEnvironmentMap;
    const quint16 firstFrame = (envmap && minor == 0) ? 0xFFFF : h.firstFrame;
    const unsigned short frames = getFrameCount();
    const unsigned char mipmaps = getMipmapCount();
    const unsigned short slices = getSliceCount();

    stream << Signature << h.versionMajor << h.versionMinor << h.headerSize << getWidth()
           << getHeight() << h.flags << frames << firstFrame << quint32(0) << h.reflectivity[0]
           << h.reflectivity[1] << h.reflectivity[2] << quint32(0) << h.bumpmapScale
           << qint32(h.highResImageFormat) << quint8(mipmaps) << qint32(h.lowResImageFormat)
           << h.lowResImageWidth << h.lowResImageHeight;

    const char zeros[16] = {};
    if (minor <= 1) {
        stream.writeRawData(zeros, 1);
    } else if (minor == 2) {
        stream << slices;
        stream.writeRawData(zeros, 15);
    } else {
        const quint32 count = listed + (hasLowResEntry ? 0 : 1) + (hasHighResEntry ? 0 : 1);
        stream << slices;
        stream.writeRawData(zeros, 3);
        stream << count;
        stream.writeRawData(zeros, 8);

        // A fixed order, whatever the list's; the payloads of the sheet and the
        // key values are not written although their space is reserved.
        quint32 offset = h.headerSize;
        if (h.lowResImageFormat != VTF::NONE) {
            stream << quint32(Resource_t::LowResImage) << offset;
            offset += quint32(lowResImage.size());
        }
        for (Resource_t::ID_t kind : { Resource_t::Sheet, Resource_t::KeyValues }) {
            if (const Resource_t *resource = getResourceOfType(kind)) {
                stream << quint32(kind) << offset;
                offset += quint32(resource->bytes.size());
            }
        }
        stream << quint32(Resource_t::HighResImage) << offset;
        for (Resource_t::ID_t kind : { Resource_t::LOD, Resource_t::TS0 }) {
            if (const Resource_t *resource = getResourceOfType(kind))
                stream << quint32(kind) << resource->data;
        }
    }
    if (stream.status() != QDataStream::Ok) {
        lastError = QStringLiteral("Device Error: Incomplete write");
        return false;
    }

    auto write = [&](const QByteArray &bytes) {
        return bytes.isEmpty()
            || stream.writeRawData(bytes.constData(), int(bytes.size())) == bytes.size();
    };
    // Without a thumbnail format there is no thumbnail, whatever bytes linger.
    if (h.lowResImageFormat != VTF::NONE && !write(lowResImage)) {
        lastError = QStringLiteral("Device Error: Incomplete write");
        return false;
    }

    for (const Frames &frameList : images) {
        for (const Faces &faceList : frameList) {
            int faceCount = int(faceList.size());
            if (minor == 0)
                faceCount = qMin(faceCount, 6);
            for (int face = 0; face < faceCount; ++face) {
                const Slices &sliceList = faceList[face];
                const int sliceCount
                    = minor <= 1 ? qMin<int>(1, int(sliceList.size())) : int(sliceList.size());
                for (int slice = 0; slice < sliceCount; ++slice) {
                    if (!write(sliceList[slice])) {
                        lastError = QStringLiteral("Device Error: Incomplete write");
                        return false;
                    }
                }
            }
        }
    }
    return true;
}
