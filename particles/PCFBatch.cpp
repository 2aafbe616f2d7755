#include "particles/PCFBatch.h"

#include "particles/CDmxElement.h"
#include "particles/PCFDelegate.h"
#include "util/UtilContainers.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <memory>
#include <vector>

const char *const PCFBatch::Complete = "Operation complete.";

void PCFBatch::Observer::startStage(const QString &label, int steps) const
{
    if (stage)
        stage(label, steps);
}

bool PCFBatch::Observer::stepDone(int done) const
{
    return !step || step(done);
}

void PCFBatch::Observer::note(const QString &text) const
{
    if (log)
        log(text, false);
}

void PCFBatch::Observer::error(const QString &text) const
{
    if (log)
        log(text, true);
}

namespace {

struct Loaded
{
    QString path;
    std::unique_ptr<CFilePCF> file;
    bool changed = false;
};

// Reads every file; those that fail are logged and left out. False when stopped.
bool readAll(const QStringList &paths, const PCFBatch::Observer &observer,
             std::vector<Loaded> &loaded)
{
    observer.startStage(QStringLiteral("Reading..."), int(paths.size()));
    for (qsizetype i = 0; i < paths.size(); ++i) {
        Loaded entry { paths.at(i), std::make_unique<CFilePCF>() };
        PCFDelegate delegate;
        if (delegate.readFile(entry.path, entry.file.get()))
            loaded.push_back(std::move(entry));
        else
            observer.error(QStringLiteral("%1: %2").arg(entry.path, delegate.getLastError()));
        if (!observer.stepDone(int(i + 1)))
            return false;
    }
    return true;
}

// Writes back the files marked changed; a file that cannot be written is logged and the
// run goes on. False when stopped.
bool writeChanged(std::vector<Loaded> &loaded, const PCFBatch::Observer &observer,
                  PCFBatch::Result &result)
{
    int count = 0;
    for (const Loaded &entry : loaded)
        count += entry.changed ? 1 : 0;
    observer.startStage(QStringLiteral("Writing..."), count);
    int done = 0;
    for (Loaded &entry : loaded) {
        if (!entry.changed)
            continue;
        PCFDelegate delegate;
        if (delegate.writeFile(entry.path, entry.file.get(), entry.file->version)) {
            result.written.append(entry.path);
            observer.note(QStringLiteral("Wrote \"%1\"").arg(entry.path));
        } else {
            result.unwritten.append(entry.path);
            observer.error(QStringLiteral("Unable to write \"%1\": %2")
                               .arg(entry.path, delegate.getLastError()));
        }
        if (!observer.stepDone(++done))
            return false;
    }
    return true;
}

PCFBatch::Result stopped(PCFBatch::Result result)
{
    result.cancelled = true;
    return result;
}

} // namespace

QStringList PCFBatch::particleFilesIn(const QString &directory)
{
    QStringList files;
    const QFileInfoList entries = QDir(directory).entryInfoList(
        { QStringLiteral("*.pcf") }, QDir::Files | QDir::Readable, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo &entry : entries)
        files.append(entry.filePath());
    return files;
}

PCFBatch::Result PCFBatch::massFormat(const FormatOptions &options, const Observer &observer)
{
    Result result;
    if (!CFilePCF::isWritableVersion(options.version)) {
        result.failure = QStringLiteral("Formatting Error: Invalid target version specified");
        observer.error(result.failure);
        return result;
    }
    if (!options.systemTemplate) {
        result.failure
            = QStringLiteral("Formatting Error: Template data for target version does not exist");
        observer.error(result.failure);
        return result;
    }
    std::vector<Loaded> loaded;
    if (!readAll(options.files, observer, loaded))
        return stopped(result);

    observer.startStage(QStringLiteral("Formatting %1 files...").arg(loaded.size()),
                        int(loaded.size()));
    int done = 0;
    for (Loaded &entry : loaded) {
        PCFDelegate delegate;
        if (const char *error
            = delegate.formatAsVersion(entry.file.get(), options.version, options.systemTemplate)) {
            observer.error(QStringLiteral("%1: %2").arg(entry.path, QLatin1String(error)));
        } else {
            entry.file->version = options.version;
            entry.changed = true;
        }
        if (!observer.stepDone(++done))
            return stopped(result);
    }
    if (!writeChanged(loaded, observer, result))
        return stopped(result);
    observer.note(QString::fromLatin1(Complete));
    return result;
}

PCFBatch::Result PCFBatch::ensureUniqueGUIDs(const QStringList &files, const Observer &observer)
{
    Result result;
    std::vector<Loaded> loaded;
    if (!readAll(files, observer, loaded))
        return stopped(result);

    qsizetype elements = 0;
    QList<CPair<CFilePCF *, bool> *> pairs;
    for (const Loaded &entry : loaded) {
        elements += entry.file->elements.size();
        pairs.append(new CPair<CFilePCF *, bool> { entry.file.get(), false });
    }
    observer.startStage(
        QStringLiteral("Checking %1 element(s) in %2 file(s)...").arg(elements).arg(loaded.size()),
        0);
    DMXDelegate::ensureUniqueGUID(pairs);
    for (qsizetype i = 0; i < pairs.size(); ++i)
        loaded[size_t(i)].changed = pairs.at(i)->second;
    qDeleteAll(pairs);

    if (!writeChanged(loaded, observer, result))
        return stopped(result);
    observer.note(QString::fromLatin1(Complete));
    return result;
}

QList<PCFBatch::Hit> PCFBatch::findSystem(const QString &name, const QStringList &files,
                                          const Observer &observer, bool *cancelled)
{
    QList<Hit> hits;
    if (cancelled)
        *cancelled = false;
    observer.startStage(QStringLiteral("Searching..."), int(files.size()));
    for (qsizetype i = 0; i < files.size(); ++i) {
        CFilePCF file;
        PCFDelegate delegate;
        if (!delegate.readFile(files.at(i), &file))
            observer.error(QStringLiteral("%1: %2").arg(files.at(i), delegate.getLastError()));
        else if (const CDmxElement *system = file.findSystemByName(name))
            hits.append({ files.at(i), system->name });
        if (!observer.stepDone(int(i + 1))) {
            if (cancelled)
                *cancelled = true;
            break;
        }
    }
    return hits;
}

const char *PCFBatch::portShared(const CFilePCF *source, const QList<CDmxElement *> *systems,
                                 CFilePCF *target, bool preserveGUIDs, CDmxElement *targetTemplate)
{
    if (!source || !target)
        return "Request Error: No particle file to copy between";
    const bool convert = source->version != target->version;
    if (convert && !targetTemplate)
        return "Formatting Error: Template data for target version does not exist";
    DmxElementArray *targetSystems = target->systemDefinitions();
    if (!targetSystems)
        return "Request Error: The target has no list of particle systems";
    QList<CDmxElement *> *copies = source->exportSystems(systems);
    if (!copies)
        return "Request Error: The chosen particle systems cannot be copied";
    if (!preserveGUIDs) {
        for (CDmxElement *copy : std::as_const(*copies))
            copy->scrambleGUIDHierarchy(true);
    }

    // Every copy joins the file with all it holds; the `child` attributes of the copies
    // name other copies, which join anyway.
    QSet<CDmxElement *> present(target->elements.cbegin(), target->elements.cend());
    for (CDmxElement *copy : std::as_const(*copies)) {
        targetSystems->append(copy);
        QList<CDmxElement *> joining { copy };
        const QList<CDmxElement::Pair_t *> parts = copy->listSubElements(CDmxElement::Unlimited, 0);
        for (const CDmxElement::Pair_t *pair : parts)
            joining.append(pair->second);
        qDeleteAll(parts);
        for (CDmxElement *element : std::as_const(joining)) {
            if (!present.contains(element)) {
                present.insert(element);
                target->elements.append(element);
            }
        }
    }
    if (convert) {
        PCFDelegate delegate;
        QList<CDmxElement *> dropped;
        for (CDmxElement *copy : std::as_const(*copies))
            dropped += delegate.formatElementAsElement(copy, targetTemplate);
        dropped.removeIf([&present](CDmxElement *element) { return !present.contains(element); });
        target->removeElements(dropped, true);
    }
    delete copies;
    return nullptr;
}
