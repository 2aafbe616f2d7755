// The particle manifest of a map: which particle files its `effect_name` keys need.
#include "packages/CDelegateBSP.h"
#include "particles/CDmxElement.h"
#include "particles/PCFBatch.h"
#include "particles/PCFDelegate.h"
#include "util/UtilText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <memory>
#include <vector>

namespace {

// The bytes of the map's entity lump, or an empty array when it has none or it lies
// beyond the end of the file.
QByteArray entityLump(const QString &mapPath, QString &error)
{
    CDelegateBSP map;
    if (!map.openPackage(mapPath, true)) {
        error = map.getLastError();
        return QByteArray();
    }
    const quint64 offset
        = map.getLumpInfo(CDelegateBSP::Lump_Entities, CDelegateBSP::LumpField_Offset);
    const quint64 length
        = map.getLumpInfo(CDelegateBSP::Lump_Entities, CDelegateBSP::LumpField_Length);
    map.closePackage();
    QFile file(mapPath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("Read Error: Unable to open file");
        return QByteArray();
    }
    if (length == 0 || offset + length > quint64(file.size()) || !file.seek(qint64(offset)))
        return QByteArray();
    return file.read(qint64(length));
}

} // namespace

PCFBatch::ManifestResult PCFBatch::generateMapManifest(const ManifestOptions &options,
                                                       const Observer &observer)
{
    ManifestResult result;
    const QStringList paths = particleFilesIn(options.particleDirectory);
    if (paths.isEmpty()) {
        result.failure = QStringLiteral("No files to manifest.");
        observer.error(result.failure);
        return result;
    }

    struct Particles
    {
        QString path;
        std::unique_ptr<CFilePCF> file;
        bool used = false;
    };
    std::vector<Particles> particles;
    observer.startStage(QStringLiteral("Processing..."), int(paths.size()));
    for (qsizetype i = 0; i < paths.size(); ++i) {
        Particles entry { paths.at(i), std::make_unique<CFilePCF>() };
        PCFDelegate delegate;
        if (delegate.readFile(entry.path, entry.file.get()))
            particles.push_back(std::move(entry));
        else
            observer.error(QStringLiteral("%1: %2").arg(entry.path, delegate.getLastError()));
        if (!observer.stepDone(int(i + 1))) {
            result.cancelled = true;
            return result;
        }
    }
    if (particles.empty()) {
        result.failure = QStringLiteral("No particles found.");
        observer.error(result.failure);
        return result;
    }

    QString mapError;
    const QByteArray entities = entityLump(options.mapPath, mapError);
    if (!mapError.isEmpty()) {
        result.failure = mapError;
        observer.error(QStringLiteral("%1: %2").arg(options.mapPath, mapError));
        return result;
    }
    const QList<QByteArray> lines = entities.split('\n');
    observer.startStage(QStringLiteral("Scanning..."), int(lines.size()));
    int done = 0;
    for (const QByteArray &line : lines) {
        QByteArray key;
        QByteArray value;
        UTIL_getParts(line, key, value);
        if (key == "effect_name") {
            const QString system = QString::fromLatin1(value);
            bool found = false;
            for (Particles &entry : particles) {
                if (entry.file->findSystemByName(system)) {
                    entry.used = true;
                    found = true;
                    break;
                }
            }
            if (!found)
                observer.error(QStringLiteral("System \"%1\" not found.").arg(system));
        }
        // Lines are cheap: the step is reported now and then, and cancelling still works.
        if ((++done % 256 == 0 || done == int(lines.size())) && !observer.stepDone(done)) {
            result.cancelled = true;
            return result;
        }
    }

    QByteArray text("particles_manifest\n{\n");
    for (const Particles &entry : particles) {
        if (!entry.used)
            continue;
        const QString name = QFileInfo(entry.path).fileName();
        result.listed.append(entry.path);
        text += "\tfile\t\"particles/" + name.toLatin1() + "\"\n";
    }
    text += "}\n";

    const QFileInfo map(options.mapPath);
    result.manifestPath = map.dir().filePath(map.baseName() + QStringLiteral("_manifest.txt"));
    QSaveFile out(result.manifestPath);
    if (out.open(QIODevice::WriteOnly) && out.write(text) == text.size() && out.commit()) {
        result.written.append(result.manifestPath);
        observer.note(QStringLiteral("Wrote \"%1\"").arg(result.manifestPath));
    } else {
        result.unwritten.append(result.manifestPath);
        observer.error(QStringLiteral("Unable to write \"%1\"").arg(result.manifestPath));
    }
    observer.note(QString::fromLatin1(Complete));
    return result;
}
