#include "materials/CFileVMT.h"

#include <QFile>
#include <QSaveFile>

#include <cstring>
#include <memory>

CFileVMT *CFileVMT::createFromData(const QByteArray &data)
{
    auto vmt = std::make_unique<CFileVMT>();
    const char *begin = data.constData();
    const char *nul = static_cast<const char *>(std::memchr(begin, '\0', size_t(data.size())));
    const char *end = nul ? nul : begin + data.size();
    // Bytes are kept as they are (Latin-1 both ways); only the line ends go.
    for (const char *line = begin;;) {
        const char *feed = static_cast<const char *>(std::memchr(line, '\n', size_t(end - line)));
        const char *stop = feed ? feed : end;
        const char *cut = (feed && stop > line && stop[-1] == '\r') ? stop - 1 : stop;
        vmt->lines.append(QByteArray(line, cut - line));
        if (!feed)
            break;
        line = feed + 1;
    }
    return vmt.release();
}

CFileVMT *CFileVMT::createFromDevice(QIODevice &device, unsigned int length)
{
    if (!device.isOpen() && !device.open(QIODevice::ReadOnly))
        return nullptr;
    if (!device.isReadable())
        return nullptr;
    QByteArray data;
    if (length == ~0u) {
        data = device.readAll();
    } else {
        // A length beyond what the device holds is refused before anything is allocated.
        if (!device.isSequential() && qint64(length) > device.size() - device.pos())
            return nullptr;
        // Read in steps, so that a sequential device's claim costs no more than its data.
        qint64 left = length;
        while (left > 0) {
            const QByteArray chunk = device.read(qMin<qint64>(left, 1 << 20));
            if (chunk.isEmpty())
                return nullptr;
            data += chunk;
            left -= chunk.size();
        }
    }
    return createFromData(data);
}

CFileVMT *CFileVMT::createFromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    CFileVMT *vmt = createFromDevice(file, ~0u);
    if (vmt)
        vmt->path = path;
    return vmt;
}

bool CFileVMT::saveFile(const QString &target)
{
    const QString where = target.isEmpty() ? path : target;
    if (where.isEmpty())
        return false;
    QSaveFile file(where);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QByteArray out;
    qsizetype size = 0;
    for (const QByteArray &line : lines)
        size += line.size() + 1;
    out.reserve(size);
    for (const QByteArray &line : lines) {
        out += line;
        out += '\n';
    }
    if (file.write(out) != out.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}
