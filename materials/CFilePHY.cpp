#include "materials/CFilePHY.h"

#include "util/CNotifier.h"
#include "util/UtilDevice.h"
#include "util/UtilText.h"

#include <QDataStream>
#include <QFile>
#include <QSaveFile>

#include <memory>

CFilePHY *CFilePHY::createFromStream(QDataStream &stream)
{
    if (!stream.device() || !stream.device()->isReadable())
        return nullptr;
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    auto physics = std::make_unique<CFilePHY>();
    stream >> physics->headerSize >> physics->id >> physics->solidCount >> physics->checksum;
    if (stream.status() != QDataStream::Ok || !physics->readSolids(stream))
        return nullptr;
    physics->readText(stream);
    return physics.release();
}

CFilePHY *CFilePHY::createFromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    QDataStream stream(&file);
    CFilePHY *physics = createFromStream(stream);
    if (physics)
        physics->path = path;
    return physics;
}

bool CFilePHY::readSolids(QDataStream &stream)
{
    QIODevice &device = *stream.device();
    // Every solid brings at least its byte count, so a count the data cannot hold is a short
    // read before anything is allocated for it.
    const qint64 left
        = device.isSequential() ? device.bytesAvailable() : device.size() - device.pos();
    if (solidCount < 0 || qint64(solidCount) > left / 4)
        return false;
    solids.resize(solidCount);
    for (QByteArray &solid : solids) {
        qint32 size = 0;
        stream >> size;
        if (stream.status() != QDataStream::Ok || size < 0)
            return false;
        if (!device.isSequential() && qint64(size) > device.size() - device.pos())
            return false;
        solid.resize(size);
        if (stream.readRawData(solid.data(), size) != size)
            return false;
    }
    return true;
}

void CFilePHY::readText(QDataStream &stream)
{
    const QByteArray text = UTIL_readCStringFromQDataStream(stream, 0, 128).toLatin1();
    for (const QByteArray &bytes : text.split('\n')) {
        if (bytes.isEmpty())
            continue;
        const QString line = QString::fromLatin1(bytes);
        if (line.endsWith(QLatin1Char('{'))) {
            QString name = line.left(line.size() - 1).trimmed();
            const qsizetype nul = name.indexOf(QChar(0));
            if (nul >= 0)
                name.truncate(nul);
            sections.append(Section_t { name, {} });
        } else if (line.startsWith(QLatin1String("break {")) && line.endsWith(QLatin1Char('}'))) {
            readBreakLine(line);
        } else if (!sections.isEmpty()) {
            Pair_t pair;
            UTIL_getParts(line, pair.first, pair.second);
            sections.last().second.append(pair);
        }
    }
}

void CFilePHY::readBreakLine(const QString &line)
{
    if (line.size() < 9)
        return;
    QStringList tokens = UTIL_getParts(line.left(line.size() - 1).mid(7).trimmed());
    CNotifier::notify(CNotifier::Information, QStringLiteral("break {"),
                      tokens.join(QLatin1Char('\n')).trimmed());
    if (tokens.size() % 2)
        tokens.removeLast();
    if (tokens.isEmpty())
        return;
    Section_t section { QStringLiteral("break"), {} };
    for (qsizetype i = 0; i + 1 < tokens.size(); i += 2)
        section.second.append(Pair_t { tokens.at(i), tokens.at(i + 1) });
    sections.append(section);
}

bool CFilePHY::saveFile(const QString &target)
{
    const QString name = target.isEmpty() ? path : target;
    if (name.isEmpty()) {
        lastError = QStringLiteral("Write Error: Invalid file path");
        return false;
    }
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly)) {
        lastError = QStringLiteral("File Error: Unable to open \"%1\"").arg(name);
        return false;
    }
    QDataStream stream(&file);
    stream << headerSize << id << qint32(solids.size()) << checksum;
    for (const QByteArray &solid : solids) {
        stream << qint32(solid.size());
        stream.writeRawData(solid.constData(), int(solid.size()));
    }
    for (const Section_t &section : sections) {
        stream << section.first;
        for (const Pair_t &pair : section.second) {
            const QByteArray key = pair.first.toLatin1();
            const QByteArray value = pair.second.toLatin1();
            stream << "\"";
            stream.writeRawData(key.constData(), int(key.size()));
            stream << "\" \"";
            stream.writeRawData(value.constData(), int(value.size()));
            stream << "\"\n";
        }
        stream << "}\n";
    }
    stream << qint8(0);
    if (stream.status() != QDataStream::Ok || !file.commit()) {
        lastError = QStringLiteral("File Error: Unable to open \"%1\"").arg(name);
        return false;
    }
    return true;
}
