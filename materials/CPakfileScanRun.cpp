#include "materials/CPakfileScanRun.h"

#include "app/ProgramSettings_t.h"
#include "materials/CFileMDL.h"
#include "materials/CFilePHY.h"
#include "materials/CFileVMT.h"
#include "materials/CPakfileTool.h"
#include "packages/CDelegateBSP.h"
#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/PCFDelegate.h"
#include "util/UtilPath.h"
#include "util/UtilText.h"

#include <QBuffer>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QSet<QString> foldedSet(const QStringList *list)
{
    QSet<QString> set;
    if (list) {
        for (const QString &entry : *list)
            set.insert(entry.toCaseFolded());
    }
    return set;
}

bool sameKey(const QString &a, const char *b)
{
    return a.compare(QLatin1String(b), Qt::CaseInsensitive) == 0;
}

QByteArray readWhole(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

CPakfileScanRun::CPakfileScanRun(const CPakfileScan::Options_t &options,
                                 const CPakfileScan::Progress_t &progress)
    : mask(options.mask)
    , map(options.map)
    , settings(options.settings ? *options.settings : *ProgramSettings_t::get())
    , progress(progress)
    , contentDirectory(CPakfileScan::normalizeContentDirectory(options.contentDirectory))
{
    scan = std::make_unique<CReferenceScan>(found, contentDirectory, key, value, extra, &errors,
                                            settings);
    studioKeys = foldedSet(settings.studioKeys);
    spriteKeys = foldedSet(settings.spriteKeys);
    soundKeys = foldedSet(settings.soundKeys);
    sceneKeys = foldedSet(settings.sceneKeys);
    particleKeys = foldedSet(settings.particleKeys);
    if (settings.specialKeys) {
        for (qsizetype i = settings.specialKeys->size() - 1; i >= 0; --i)
            specialKeys[settings.specialKeys->at(i).toCaseFolded()] = int(i);
    }
}

CPakfileScanRun::~CPakfileScanRun() = default;

QVector<CPakfileScan::Row_t> CPakfileScanRun::run()
{
    if (!map)
        return {};
    if (!contentDirectory.isEmpty())
        loadParticleFiles();
    if (has(CPakfileScan::PackedMaterials | CPakfileScan::PackedModels
            | CPakfileScan::PackedPhysics))
        scanPacked();
    if (has(CPakfileScan::Materials))
        scanBrushMaterials();
    if (has(CPakfileScan::EntityMask))
        scanEntities();
    if (has(CPakfileScan::StaticProps))
        scanStaticProps();
    if (has(CPakfileScan::MapSpecificFiles))
        scanMapFiles();
    QVector<CPakfileScan::Row_t> rows = buildTable();
    step(int(rows.size()));
    particleFiles.clear();
    return rows;
}

void CPakfileScanRun::stage(const QString &label, int maximum)
{
    if (progress.stage)
        progress.stage(label, maximum);
}

void CPakfileScanRun::step(int value)
{
    if (progress.log) {
        for (; errorsShown < errors.size(); ++errorsShown)
            progress.log(errors.at(errorsShown), true);
    }
    if (progress.value)
        progress.value(value);
}

void CPakfileScanRun::addWithFollowUp(const QString &path, Reader_t reader)
{
    if (!scan->appendIfNew(path) || !scan->existsBelowRoot(path))
        return;
    if (reader == ReadMaterial)
        scan->followVMT(contentDirectory + path, path);
    else
        scan->followMDL(contentDirectory + path, path);
}

void CPakfileScanRun::loadParticleFiles()
{
    const QStringList entries
        = QDir(contentDirectory + QStringLiteral("particles/"))
              .entryList({ QStringLiteral("*.pcf") }, QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QString &entry : entries) {
        auto file = std::make_unique<CFilePCF>();
        PCFDelegate reader;
        // The bare name as the listing gives it, read against the working directory: that is
        // how this stage has always found its files.
        if (!reader.readFile(entry, file.get())) {
            scan->readError(entry.mid(contentDirectory.size()));
            continue;
        }
        QSet<QString> names;
        if (const DmxElementArray *systems = file->systemDefinitions()) {
            for (const CDmxElement *system : *systems)
                names.insert(system->name);
        }
        particleSystems.push_back(std::move(names));
        particleFiles.push_back(std::move(file));
    }
    step(0);
}

void CPakfileScanRun::scanPacked()
{
    const int count = map->getNodeCount();
    stage(QStringLiteral("Scanning packed content..."), qMax(0, count - 64));
    for (int index = 64; index < count; ++index) {
        const CPackageHierarchyNode *node = map->getNodeByIndex(unsigned(index));
        if (node) {
            const QString &name = node->getName();
            const auto endsWith = [&name](const char *suffix) {
                return name.endsWith(QLatin1String(suffix), Qt::CaseInsensitive);
            };
            if (has(CPakfileScan::PackedMaterials) && (endsWith(".vmt") || endsWith(".spr"))) {
                const std::unique_ptr<QByteArray> data(map->getFileByIndex(unsigned(index)));
                if (data) {
                    const std::unique_ptr<CFileVMT> material(CFileVMT::createFromData(*data));
                    scan->scanVMT(*material);
                }
            } else if ((has(CPakfileScan::PackedModels) && endsWith(".mdl"))
                       || (has(CPakfileScan::PackedPhysics) && endsWith(".phy"))) {
                const std::unique_ptr<QByteArray> data(map->getFileByIndex(unsigned(index)));
                if (data) {
                    QBuffer buffer(data.get());
                    buffer.open(QIODevice::ReadOnly);
                    QDataStream stream(&buffer);
                    stream.setByteOrder(QDataStream::LittleEndian);
                    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
                    if (endsWith(".mdl")) {
                        const std::unique_ptr<CFileMDL> model(CFileMDL::createFromStream(stream));
                        if (model)
                            scan->scanMDL(*model);
                    } else {
                        const std::unique_ptr<CFilePHY> physics(CFilePHY::createFromStream(stream));
                        if (physics)
                            scan->scanPHY(*physics);
                    }
                }
            }
        }
        step(index - 63);
    }
}

void CPakfileScanRun::scanBrushMaterials()
{
    const QVector<QByteArray> names = map->getBrushTextureList();
    stage(QStringLiteral("Scanning materials..."), int(names.size()));
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (!names.at(i).isEmpty())
            addWithFollowUp(QStringLiteral("materials/") + QString::fromLatin1(names.at(i))
                                + QStringLiteral(".vmt"),
                            ReadMaterial);
        step(int(i + 1));
    }
}

void CPakfileScanRun::scanEntities()
{
    const QVector<QByteArray> lines = map->getEntityKeyvalueList();
    stage(QStringLiteral("Scanning entities..."), int(lines.size()));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray &line = lines.at(i);
        if (!line.isEmpty() && line != "{" && line != "}")
            scanEntityLine(QString::fromLatin1(line));
        step(int(i + 1));
    }
}

void CPakfileScanRun::scanEntityLine(const QString &line)
{
    UTIL_getParts(line, key, value, extra);
    const QString pathValue = UTIL_cleanFilePath(value);
    const QString foldedKey = key.toCaseFolded();
    // The first list that holds the key, among those whose stage is on, has the line.
    if (has(CPakfileScan::Models) && studioKeys.contains(foldedKey)) {
        // "*12" names a brush model of the map itself.
        if (!pathValue.isEmpty() && !pathValue.startsWith(QLatin1Char('*')))
            addWithFollowUp(pathValue, ReadModel);
    } else if (has(CPakfileScan::Materials) && spriteKeys.contains(foldedKey)) {
        if (!pathValue.isEmpty())
            addWithFollowUp(pathValue, ReadMaterial);
    } else if (has(CPakfileScan::Sounds) && soundKeys.contains(foldedKey)) {
        if (!pathValue.isEmpty())
            scan->appendIfNew(QStringLiteral("sound/") + pathValue);
    } else if (has(CPakfileScan::Particles) && particleKeys.contains(foldedKey)) {
        const QString systemName = value;
        for (size_t i = 0; i < particleFiles.size(); ++i) {
            if (particleSystems[i].contains(systemName))
                scan->scanPCF(*particleFiles[i], systemName);
        }
    } else if (has(CPakfileScan::Scenes) && sceneKeys.contains(foldedKey)) {
        if (!pathValue.isEmpty())
            scan->appendIfNew(pathValue);
        return;
    }
    if (has(CPakfileScan::SpecialFiles) && scanSpecialKey())
        return;
    if (has(CPakfileScan::Detailsprites) && sameKey(key, "detailmaterial")
        && !pathValue.isEmpty()) {
        addWithFollowUp(QStringLiteral("materials/") + pathValue + QStringLiteral(".vmt"),
                        ReadMaterial);
        return;
    }
    if (has(CPakfileScan::Skybox) && sameKey(key, "skyname") && !pathValue.isEmpty()) {
        static const char *const suffixes[] = { "up", "dn", "lf", "rt", "ft", "bk" };
        for (const char *suffix : suffixes)
            addWithFollowUp(QStringLiteral("materials/skybox/") + pathValue + QLatin1String(suffix)
                                + QStringLiteral(".vmt"),
                            ReadMaterial);
    }
}

bool CPakfileScanRun::scanSpecialKey()
{
    const auto at = specialKeys.constFind(key.toCaseFolded());
    if (at == specialKeys.constEnd() || !settings.specialKeyPatterns
        || *at >= settings.specialKeyPatterns->size())
        return false;
    // The stored pattern itself takes the value, so that from now on it has no "*" left and
    // every later line gives what the first gave. That is how the files have always come out.
    QString &pattern = (*settings.specialKeyPatterns)[*at];
    pattern.replace(QLatin1Char('*'), value, Qt::CaseSensitive);
    scan->appendIfNew(UTIL_cleanFilePath(pattern));
    return true;
}

void CPakfileScanRun::scanStaticProps()
{
    const QVector<QByteArray> names = map->getGameLumpPropStatic();
    stage(QStringLiteral("Scanning static props..."), int(names.size()));
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (!names.at(i).isEmpty())
            addWithFollowUp(QString::fromLatin1(names.at(i)), ReadModel);
        step(int(i + 1));
    }
}

void CPakfileScanRun::scanMapFiles()
{
    const QStringList *patterns = settings.mapFiles;
    const QStringList *kinds = settings.mapFileCategories;
    const qsizetype count = patterns ? patterns->size() : 0;
    stage(QStringLiteral("Scanning map specific files..."), int(count));
    const QString mapName = map->getPackageName();
    for (qsizetype i = 0; i < count; ++i) {
        QString path = patterns->at(i);
        path.replace(QLatin1Char('*'), mapName, Qt::CaseInsensitive);
        UTIL_cleanFilePath(path);
        // Unlike everywhere else, this stage compares paths with regard to case.
        if (!scan->containsExactly(path)) {
            scan->append(path);
            const QString kind = kinds && i < kinds->size() ? kinds->at(i) : QString();
            if (!contentDirectory.isEmpty()) {
                if (sameKey(kind, "Soundscape") || sameKey(kind, "Soundscript"))
                    scan->scanSoundscript(readWhole(contentDirectory + path));
                else if (sameKey(kind, "Particle Manifest"))
                    scan->scanParticleManifest(readWhole(contentDirectory + path));
            }
        }
        step(int(i + 1));
    }
}

QVector<CPakfileScan::Row_t> CPakfileScanRun::buildTable()
{
    stage(QStringLiteral("Building table..."), int(found.size()));
    QVector<CPakfileScan::Row_t> rows;
    rows.reserve(found.size());
    const CPackageHierarchyNode *root = map->getRootDirectoryNode();
    QFile file;
    for (qsizetype r = 0; r < found.size(); ++r) {
        CPakfileScan::Row_t row;
        row.path = found.at(r);
        if (root)
            row.node = root->getNodeByPath(IPackageDelegate::splitPackagePath(row.path));
        const qsizetype slash = row.path.lastIndexOf(QLatin1Char('/'));
        row.name = row.path.mid(slash + 1);
        if (slash >= 0)
            row.directory = UTIL_cleanFilePath(row.path.left(slash));
        row.size = QStringLiteral("N/A");
        if (!contentDirectory.isEmpty()) {
            file.setFileName(contentDirectory + row.path);
            if (file.open(QIODevice::ReadOnly)) {
                row.size = QString::number(file.size());
                file.close();
            }
        }
        row.type = CPakfileTool::typeForExtension(UTIL_getFileExtension(row.name, true));
        row.onDisk = CPakfileScan::existsOnDisk(contentDirectory, QLatin1Char('/') + row.directory,
                                                row.name);
        rows.append(row);
        step(int(r + 1));
    }
    return rows;
}
