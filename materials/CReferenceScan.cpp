#include "materials/CReferenceScan.h"

#include "app/ProgramSettings_t.h"
#include "materials/CFileMDL.h"
#include "materials/CFilePHY.h"
#include "materials/CFileVMT.h"
#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/DmxNames.h"
#include "particles/PCFDelegate.h"
#include "util/UtilPath.h"
#include "util/UtilText.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>

#include <memory>

// Counts the nesting of follow-ups for as long as it lives.
class CReferenceScan::Depth
{
public:
    explicit Depth(CReferenceScan &scan)
        : scan(scan)
    {
        ++scan.depth;
    }
    ~Depth() { --scan.depth; }
    Depth(const Depth &) = delete;
    Depth &operator=(const Depth &) = delete;

private:
    CReferenceScan &scan;
};

namespace {

QString fold(const QString &text)
{
    return text.toCaseFolded();
}

bool sameKey(const QString &a, const char *b)
{
    return a.compare(QLatin1String(b), Qt::CaseInsensitive) == 0;
}

// The soundscript and manifest readers split on this plain three-character string, not on a
// pattern, so that a normal file stays one "line".
const QString &plainLineSeparator()
{
    static const QString separator = QStringLiteral("\r?\n");
    return separator;
}

QString textUpToNul(const QByteArray &data)
{
    const qsizetype nul = data.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? data : data.left(nul));
}

} // namespace

CReferenceScan::CReferenceScan(QStringList &found, const QString &root, QString &key,
                               QString &value, QString &extra, QStringList *errors,
                               const ProgramSettings_t &settings)
    : list(found)
    , rootDirectory(root)
    , key(key)
    , value(value)
    , extra(extra)
    , errors(errors)
    , keys(settings)
{
    folded.reserve(found.size());
    exact.reserve(found.size());
    for (const QString &path : std::as_const(found)) {
        ++folded[fold(path)];
        exact.insert(path);
    }
    if (settings.vmtTextureKeys) {
        // Backwards, so that the first of two equal keys wins, as a linear search would.
        for (qsizetype i = settings.vmtTextureKeys->size() - 1; i >= 0; --i)
            textureKeyIndex[fold(settings.vmtTextureKeys->at(i))] = int(i);
    }
    if (settings.vmtMaterialKeys) {
        for (const QString &materialKey : std::as_const(*settings.vmtMaterialKeys))
            materialKeys.insert(fold(materialKey));
    }
}

bool CReferenceScan::contains(const QString &path) const
{
    return folded.contains(fold(path));
}

bool CReferenceScan::containsExactly(const QString &path) const
{
    return exact.contains(path);
}

bool CReferenceScan::appendIfNew(const QString &path)
{
    if (contains(path))
        return false;
    append(path);
    return true;
}

void CReferenceScan::append(const QString &path)
{
    list.append(path);
    ++folded[fold(path)];
    exact.insert(path);
}

void CReferenceScan::removeLast(const QString &path)
{
    if (list.isEmpty() || list.last() != path)
        return;
    list.removeLast();
    const QString key = fold(path);
    if (--folded[key] <= 0)
        folded.remove(key);
    exact.remove(path);
}

void CReferenceScan::logError(const QString &text)
{
    if (errors)
        errors->append(text);
}

void CReferenceScan::readError(const QString &path)
{
    logError(QStringLiteral("Read Error: Unable to read \".../%1\"").arg(path));
}

bool CReferenceScan::existsBelowRoot(const QString &path) const
{
    return !rootDirectory.isEmpty() && QFileInfo::exists(rootDirectory + path);
}

void CReferenceScan::followVMT(const QString &diskPath, const QString &shownPath)
{
    if (depth >= MaxDepth) {
        logError(
            QStringLiteral("Read Error: Reference chain too deep at \".../%1\"").arg(shownPath));
        return;
    }
    const std::unique_ptr<CFileVMT> material(CFileVMT::createFromFile(diskPath));
    if (!material) {
        readError(shownPath);
        return;
    }
    Depth nested(*this);
    scanVMT(*material);
}

void CReferenceScan::followMDL(const QString &diskPath, const QString &shownPath)
{
    if (depth >= MaxDepth) {
        logError(
            QStringLiteral("Read Error: Reference chain too deep at \".../%1\"").arg(shownPath));
        return;
    }
    const std::unique_ptr<CFileMDL> model(CFileMDL::createFromFile(diskPath));
    if (!model) {
        readError(shownPath);
        return;
    }
    Depth nested(*this);
    scanMDL(*model);
}

void CReferenceScan::scanVMT(const CFileVMT &material)
{
    for (const QByteArray &line : material.lines)
        scanVMTLine(textUpToNul(line));
}

void CReferenceScan::scanVMTLine(const QString &line)
{
    UTIL_getParts(line, key, value, extra);
    UTIL_cleanFilePath(value);
    if (key.isEmpty() || value.isEmpty())
        return;
    // No structure is tracked: a key inside a proxy or a sub-block counts like any other.
    if (sameKey(key, "include")) {
        const QString include = value;
        if (appendIfNew(include) && existsBelowRoot(include))
            followVMT(rootDirectory + include, include);
        return;
    }
    const QString foldedKey = fold(key);
    if (materialKeys.contains(foldedKey)) {
        const QString base = value;
        const QString material = QStringLiteral("materials/") + base + QStringLiteral(".vmt");
        if (appendIfNew(material) && existsBelowRoot(material))
            followVMT(rootDirectory + material, material);
        const QString sprite = QStringLiteral("materials/") + base + QStringLiteral(".spr");
        if (existsBelowRoot(sprite) && appendIfNew(sprite))
            followVMT(rootDirectory + sprite, sprite);
        return;
    }
    const auto texture = textureKeyIndex.constFind(foldedKey);
    if (texture == textureKeyIndex.constEnd())
        return;
    if (value.endsWith(QLatin1String(".vtf"), Qt::CaseInsensitive))
        value.chop(4);
    const QList<QStringList *> *exceptionLists = keys.vmtTextureKeyFiles;
    const QStringList *exceptions = exceptionLists && *texture < exceptionLists->size()
        ? exceptionLists->at(*texture)
        : nullptr;
    if (exceptions && exceptions->contains(value, Qt::CaseInsensitive))
        return;
    appendIfNew(QStringLiteral("materials/") + value + QStringLiteral(".vtf"));
}

void CReferenceScan::scanMDL(const CFileMDL &model)
{
    scanModelCompanions(model);
    for (const CPair<QByteArray, QByteArray> &include : model.includeModels) {
        const QString reference = QLatin1Char('/') + QString::fromLatin1(include.second);
        if (!appendIfNew(reference) || !existsBelowRoot(reference))
            continue;
        if (depth >= MaxDepth) {
            logError(QStringLiteral("Read Error: Reference chain too deep at \".../%1\"")
                         .arg(reference));
            continue;
        }
        QFile file(rootDirectory + reference);
        std::unique_ptr<CFileMDL> included;
        if (file.open(QIODevice::ReadOnly)) {
            QDataStream stream(&file);
            stream.setByteOrder(QDataStream::LittleEndian);
            included.reset(CFileMDL::createFromStream(stream));
        }
        if (!included) {
            readError(reference);
            continue;
        }
        included->path = file.fileName();
        Depth nested(*this);
        scanMDL(*included);
    }
    for (const QByteArray &texture : model.textureNames) {
        for (const QByteArray &directory : model.textureDirectories) {
            // Not cleaned: the leading slash stays, beside the "materials/..." form of others.
            const QString material = QString::fromLatin1(QByteArray("/materials/") + directory + '/'
                                                         + texture + ".vmt");
            if (appendIfNew(material) && existsBelowRoot(material))
                followVMT(rootDirectory + material, material);
        }
    }
}

void CReferenceScan::scanModelCompanions(const CFileMDL &model)
{
    if (model.path.isEmpty() || rootDirectory.isEmpty()
        || !model.path.startsWith(rootDirectory, Qt::CaseInsensitive))
        return;
    const QString relative = model.path.mid(rootDirectory.size());
    const qsizetype separator
        = qMax(relative.lastIndexOf(QLatin1Char('/')), relative.lastIndexOf(QLatin1Char('\\')));
    const qsizetype dot = relative.indexOf(QLatin1Char('.'), separator + 1);
    const QString base = dot < 0 ? relative : relative.left(dot);
    static const char *const extensions[]
        = { ".vvd", ".dx90.vtx", ".dx80.vtx", ".sw.vtx", ".vtx", ".phy" };
    bool physicsIsNew = false; // ".phy" comes last
    for (const char *extension : extensions)
        physicsIsNew = appendIfNew(base + QLatin1String(extension));
    const QString physicsPath = base + QStringLiteral(".phy");
    if (!physicsIsNew || !existsBelowRoot(physicsPath))
        return;
    // Read by its package path, against the working directory, as it always was.
    const std::unique_ptr<CFilePHY> physics(CFilePHY::createFromFile(physicsPath));
    if (!physics) {
        readError(physicsPath);
        return;
    }
    Depth nested(*this);
    scanPHY(*physics);
}

void CReferenceScan::scanPHY(const CFilePHY &physics)
{
    for (const CFilePHY::Section_t &section : physics.sections) {
        if (section.first != QLatin1String("break"))
            continue;
        for (const CFilePHY::Pair_t &pair : section.second) {
            if (pair.first != QLatin1String("model") && pair.first != QLatin1String("ragdoll"))
                continue;
            QString model = QStringLiteral("/models/") + pair.second;
            if (!pair.second.endsWith(QLatin1String(".mdl")))
                model += QStringLiteral(".mdl");
            if (!appendIfNew(model) || !existsBelowRoot(model))
                continue;
            if (depth >= MaxDepth) {
                logError(QStringLiteral("Read Error: Reference chain too deep at \".../%1\"")
                             .arg(model));
                continue;
            }
            QFile file(rootDirectory + model);
            std::unique_ptr<CFileMDL> broken;
            if (file.open(QIODevice::ReadOnly)) {
                QDataStream stream(&file);
                broken.reset(CFileMDL::createFromStream(stream));
            }
            if (!broken) {
                readError(model);
                continue;
            }
            Depth nested(*this);
            scanMDL(*broken);
        }
    }
}

void CReferenceScan::scanSoundscript(const QByteArray &data)
{
    const QStringList &soundChars = keys.soundChars ? *keys.soundChars : QStringList();
    const qsizetype charCount = soundChars.size();
    // The index into the sound characters persists from one line to the next.
    qsizetype j = 0;
    const QStringList lines = textUpToNul(data).split(plainLineSeparator());
    for (const QString &line : lines) {
        UTIL_getParts(line, key, value, extra);
        if (!sameKey(key, "wave") || value.isEmpty())
            continue;
        for (qsizetype i = 0; i < 2; ++i) {
            // One look-up per position: a repeated look-up at the same place finds the same
            // entry again and would never end.
            if (i < value.size() && j < charCount) {
                j = charCount;
                for (qsizetype c = 0; c < charCount; ++c) {
                    if (!soundChars.at(c).isEmpty() && soundChars.at(c).at(0) == value.at(i)) {
                        j = c;
                        break;
                    }
                }
            }
        }
        value = value.mid(j);
        UTIL_cleanFilePath(value);
        if (value.isEmpty()) {
            value.insert(0, QStringLiteral("sound/"));
            appendIfNew(value);
        }
    }
}

void CReferenceScan::scanPCF(const CFilePCF &file, const QString &systemName)
{
    if (systemName.isEmpty()) {
        for (const CDmxElement *element : file.findElementsByType(DmxNames::systemType()))
            scanMaterialElement(element);
        return;
    }
    const CDmxElement *system = file.findSystemByName(systemName);
    if (!system)
        return;
    scanMaterialElement(system);
    const QList<CDmxElement::Pair_t *> children = system->listChildren(CDmxElement::Unlimited, 0);
    for (const CDmxElement::Pair_t *child : children)
        scanMaterialElement(child->second);
    qDeleteAll(children);
}

void CReferenceScan::scanMaterialElement(const CDmxElement *element)
{
    const CDmxAttribute *attribute = element->getAttributeByName(QStringLiteral("material"));
    if (!attribute || attribute->type != CDmxAttribute::ATTRIBUTE_STRING || !attribute->value)
        return;
    const QString material = UTIL_cleanFilePath(QStringLiteral("/materials/")
                                                + *static_cast<const QString *>(attribute->value));
    if (!appendIfNew(material) || !existsBelowRoot(material))
        return;
    const std::unique_ptr<CFileVMT> vmt(CFileVMT::createFromFile(rootDirectory + material));
    if (!vmt) {
        logError(QStringLiteral("Read Error: Unable to read \"...%1\"").arg(material));
        return;
    }
    if (depth >= MaxDepth)
        return;
    Depth nested(*this);
    scanVMT(*vmt);
}

void CReferenceScan::scanParticleManifest(const QByteArray &data)
{
    const QStringList lines = textUpToNul(data).split(plainLineSeparator());
    for (const QString &line : lines) {
        UTIL_getParts(line, key, value, extra);
        if (!sameKey(key, "file") || value.isEmpty())
            continue;
        UTIL_cleanFilePath(value);
        if (value.startsWith(QLatin1Char('!')))
            value.remove(0, 1);
        const QString particles = value;
        if (particles.isEmpty() || contains(particles) || !existsBelowRoot(particles))
            continue;
        append(particles);
        CFilePCF file;
        PCFDelegate reader;
        if (reader.readFile(rootDirectory + particles, &file)) {
            scanPCF(file, QString());
        } else {
            removeLast(particles);
            readError(particles);
        }
    }
}
