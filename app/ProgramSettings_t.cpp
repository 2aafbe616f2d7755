#include "app/ProgramSettings_t.h"

#include "particles/PCFDelegate.h"

#include <QFile>
#include <QTextStream>

enum class ProgramSettings_t::Section {
    General,
    SoundChars,
    Shaders,
    Parameters,
    Proxies,
    VBspInfo,
    BspLumps,
    VPakfile,
    ContentDirectories,
    VmtMaterialKeys,
    VmtTextureKeys,
    StudioKeys,
    MaterialKeys,
    SpriteKeys,
    SoundKeys,
    SceneKeys,
    ParticleKeys,
    SpecialKeys,
    MapFiles,
    VVbsp,
    DetailOrientations,
    SpriteShapes,
};

namespace {

using Section = ProgramSettings_t::Section;

struct SectionTag
{
    const char *name;
    Section section;
};

const SectionTag topLevelTags[] = {
    { "general", Section::General },   { "soundchars", Section::SoundChars },
    { "shaders", Section::Shaders },   { "parameters", Section::Parameters },
    { "proxies", Section::Proxies },   { "vbspinfo", Section::VBspInfo },
    { "vpakfile", Section::VPakfile }, { "vvbsp", Section::VVbsp },
};

const SectionTag vbspinfoTags[] = { { "bsplumps", Section::BspLumps } };

const SectionTag vpakfileTags[] = {
    { "contentdirectories", Section::ContentDirectories },
    { "vmtmaterialkeys", Section::VmtMaterialKeys },
    { "vmttexturekeys", Section::VmtTextureKeys },
    { "studiokeys", Section::StudioKeys },
    { "materialkeys", Section::MaterialKeys },
    { "spritekeys", Section::SpriteKeys },
    { "soundkeys", Section::SoundKeys },
    { "scenekeys", Section::SceneKeys },
    { "particlekeys", Section::ParticleKeys },
    { "specialkeys", Section::SpecialKeys },
    { "mapfiles", Section::MapFiles },
};

const SectionTag vvbspTags[] = {
    { "detailorientations", Section::DetailOrientations },
    { "spriteshapes", Section::SpriteShapes },
};

// The separator scan runs on a 16 bit position: a colon beyond it is not seen.
int findSeparator(const QString &line)
{
    const quint16 end = quint16(qMin<qsizetype>(line.size(), 0xFFFF));
    for (quint16 i = 0; i < end; ++i) {
        if (line.at(i) == QLatin1Char(':'))
            return i;
    }
    return -1;
}

bool isTrue(const QString &value)
{
    return value.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}

// "name:value" into two parallel lists; without a separator the whole line goes to both.
void addPair(const QString &line, QStringList *names, QStringList *values)
{
    const int sep = findSeparator(line);
    if (sep < 0) {
        names->append(line);
        values->append(line);
    } else {
        names->append(line.left(sep));
        values->append(line.mid(sep + 1));
    }
}

QString closingTagOf(const char *name)
{
    return QStringLiteral("[/%1]").arg(QLatin1String(name));
}

} // namespace

ProgramSettings_t *ProgramSettings_t::get()
{
    static ProgramSettings_t *instance = new ProgramSettings_t();
    return instance;
}

ProgramSettings_t::ProgramSettings_t(const QString &path)
    : shaderNames(new QStringList)
    , shaderValues(new QStringList)
    , parameterNames(new QStringList)
    , parameterValues(new QStringList)
    , proxyNames(new QStringList)
    , proxyBodies(new QStringList)
    , proxyExtras(new QStringList)
    , particleTemplates(new QList<CFilePCF *>(4, nullptr))
    , soundChars(new QStringList)
    , soundCharLabels(new QStringList)
    , bspLumpNumbers(new QStringList)
    , bspLumpLabels(new QStringList)
    , contentDirectories(new QStringList)
    , vmtMaterialKeys(new QStringList)
    , vmtTextureKeys(new QStringList)
    , vmtTextureKeyFiles(new QList<QStringList *>)
    , studioKeys(new QStringList)
    , materialKeys(new QStringList)
    , spriteKeys(new QStringList)
    , soundKeys(new QStringList)
    , sceneKeys(new QStringList)
    , particleKeys(new QStringList)
    , specialKeys(new QStringList)
    , specialKeyPatterns(new QStringList)
    , mapFiles(new QStringList)
    , mapFileCategories(new QStringList)
    , detailOrientations(new QStringList)
    , spriteShapeNames(new QStringList)
    , spriteShapeValues(new QStringList)
    , m_path(path)
{
    reload();
}

ProgramSettings_t::~ProgramSettings_t()
{
    clearLists();
    for (QStringList *list :
         { shaderNames,        shaderValues,       parameterNames,   parameterValues,
           proxyNames,         proxyBodies,        proxyExtras,      soundChars,
           soundCharLabels,    bspLumpNumbers,     bspLumpLabels,    contentDirectories,
           vmtMaterialKeys,    vmtTextureKeys,     studioKeys,       materialKeys,
           spriteKeys,         soundKeys,          sceneKeys,        particleKeys,
           specialKeys,        specialKeyPatterns, mapFiles,         mapFileCategories,
           detailOrientations, spriteShapeNames,   spriteShapeValues })
        delete list;
    delete vmtTextureKeyFiles;
    qDeleteAll(*particleTemplates);
    delete particleTemplates;
}

void ProgramSettings_t::clearLists()
{
    for (QStringList *list :
         { shaderNames,        shaderValues,       parameterNames,   parameterValues,
           proxyNames,         proxyBodies,        proxyExtras,      soundChars,
           soundCharLabels,    bspLumpNumbers,     bspLumpLabels,    contentDirectories,
           vmtMaterialKeys,    vmtTextureKeys,     studioKeys,       materialKeys,
           spriteKeys,         soundKeys,          sceneKeys,        particleKeys,
           specialKeys,        specialKeyPatterns, mapFiles,         mapFileCategories,
           detailOrientations, spriteShapeNames,   spriteShapeValues })
        list->clear();
    qDeleteAll(*vmtTextureKeyFiles);
    vmtTextureKeyFiles->clear();
}

bool ProgramSettings_t::reload()
{
    QFile file(m_path);
    // Opening read-write would create a missing file; the program only reads it.
    if (!file.exists() || !file.open(QIODevice::ReadWrite | QIODevice::Text))
        return false;

    clearLists();

    QTextStream stream(&file);
    while (!stream.atEnd()) {
        const QString line = stream.readLine().trimmed();
        if (line.isEmpty())
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            for (const SectionTag &tag : topLevelTags) {
                if (line == QStringLiteral("[%1]").arg(QLatin1String(tag.name))) {
                    readSection(stream, tag.section, closingTagOf(tag.name));
                    break;
                }
            }
            continue;
        }
        static const QLatin1String versionTag("# NOITAZILAIT VERSION");
        if (line.startsWith(versionTag, Qt::CaseInsensitive))
            version = line.mid(versionTag.size()).trimmed().toUInt();
    }
    file.close();

    loadParticleTemplates();
    return true;
}

void ProgramSettings_t::loadParticleTemplates()
{
    static const char *const paths[]
        = { nullptr, ":/resources/data/particle_defaults_orangebox.pcf",
            ":/resources/data/particle_defaults_l4d.pcf",
            ":/resources/data/particle_defaults_l4d2.pcf" };
    // A template that does not read leaves its slot null, unreported.
    for (int version = CFilePCF::PCF_ORANGEBOX; version <= CFilePCF::PCF_L4D2; ++version) {
        delete particleTemplates->at(version);
        auto *file = new CFilePCF;
        PCFDelegate delegate;
        if (!delegate.readFile(QString::fromLatin1(paths[version]), file)) {
            delete file;
            file = nullptr;
        }
        (*particleTemplates)[version] = file;
    }
}

void ProgramSettings_t::readSection(QTextStream &stream, Section section, const QString &closingTag)
{
    // The first line after the tag is taken as an entry before any comparison
    // with the closing tag, and the last line of the file is only compared.
    QString line = stream.readLine();
    for (;;) {
        if (!line.isEmpty()) {
            const QChar first = line.at(0);
            const bool comment = first == QLatin1Char(';')
                || (first == QLatin1Char('#') && section != Section::SoundChars);
            if (!comment)
                readEntry(stream, section, line);
        }
        line = stream.readLine();
        if (line == closingTag || stream.atEnd())
            break;
    }
}

bool ProgramSettings_t::readNestedTag(QTextStream &stream, Section parent, const QString &line)
{
    const SectionTag *begin = nullptr;
    const SectionTag *end = nullptr;
    if (parent == Section::VBspInfo) {
        begin = std::begin(vbspinfoTags);
        end = std::end(vbspinfoTags);
    } else if (parent == Section::VPakfile) {
        begin = std::begin(vpakfileTags);
        end = std::end(vpakfileTags);
    } else if (parent == Section::VVbsp) {
        begin = std::begin(vvbspTags);
        end = std::end(vvbspTags);
    }
    for (const SectionTag *tag = begin; tag != end; ++tag) {
        if (line == QStringLiteral("[%1]").arg(QLatin1String(tag->name))) {
            readSection(stream, tag->section, closingTagOf(tag->name));
            return true;
        }
    }
    return false;
}

void ProgramSettings_t::readEntry(QTextStream &stream, Section section, const QString &line)
{
    const int sep = findSeparator(line);
    const QString key = sep < 0 ? line : line.left(sep);
    const QString value = sep < 0 ? QString() : line.mid(sep + 1);

    switch (section) {
    case Section::General:
        if (sep < 0)
            return;
        if (key == QLatin1String("minimize_output_on_startup"))
            minimizeOutput = isTrue(value);
        else if (key == QLatin1String("log_output_to_file"))
            logOutputToFile = isTrue(value);
        else if (key == QLatin1String("check_for_updates_on_startup"))
            checkForUpdates = isTrue(value);
        else if (key == QLatin1String("windows_command_run"))
            windowsCommandRun = value;
        else if (key == QLatin1String("linux_command_run"))
            linuxCommandRun = value;
        return;
    case Section::SoundChars:
        addPair(line, soundChars, soundCharLabels);
        return;
    case Section::Shaders:
        addPair(line, shaderNames, shaderValues);
        return;
    case Section::Parameters:
        addPair(line, parameterNames, parameterValues);
        return;
    case Section::BspLumps:
        addPair(line, bspLumpNumbers, bspLumpLabels);
        return;
    case Section::Proxies: {
        if (sep < 0) {
            proxyNames->append(line);
            proxyBodies->append(line);
            proxyExtras->append(QLatin1String(""));
            return;
        }
        // A multi-line body is written on one line, with "\" for each line break.
        proxyNames->append(key);
        const int second = line.indexOf(QLatin1Char(':'), sep + 1);
        if (second < 0) {
            QString body = line;
            body.replace(QLatin1Char('\\'), QLatin1Char('\n'));
            proxyBodies->append(body.mid(sep + 1));
            proxyExtras->append(QString());
        } else {
            QString body = line.mid(sep + 1, second - sep - 1);
            body.replace(QLatin1Char('\\'), QLatin1Char('\n'));
            proxyBodies->append(body);
            proxyExtras->append(line.mid(second + 1));
        }
        return;
    }
    case Section::VBspInfo:
        if (sep < 0)
            readNestedTag(stream, section, line);
        else if (key == QLatin1String("saveLumpNameNotNumber"))
            saveLumpNameNotNumber = isTrue(value);
        return;
    case Section::VPakfile:
        if (sep < 0)
            readNestedTag(stream, section, line);
        else if (key == QLatin1String("scan_pak_vmts"))
            scanPakVmts = isTrue(value);
        else if (key == QLatin1String("scan_pak_mdls"))
            scanPakMdls = isTrue(value);
        else if (key == QLatin1String("scan_pak_phys"))
            scanPakPhys = isTrue(value);
        else if (key == QLatin1String("new_pakfile_extra_reserve"))
            newPakfileExtraReserve = value.toInt();
        return;
    case Section::VVbsp:
        readNestedTag(stream, section, line);
        return;
    case Section::ContentDirectories:
        contentDirectories->append(line);
        return;
    case Section::VmtMaterialKeys:
    case Section::MaterialKeys:
        materialKeys->append(line);
        return;
    case Section::VmtTextureKeys:
        vmtTextureKeys->append(key);
        vmtTextureKeyFiles->append(
            sep < 0 ? nullptr : new QStringList(value.split(QLatin1Char(':'), Qt::SkipEmptyParts)));
        return;
    case Section::StudioKeys:
        studioKeys->append(line);
        return;
    case Section::SpriteKeys:
        spriteKeys->append(line);
        return;
    case Section::SoundKeys:
        soundKeys->append(line);
        return;
    case Section::SceneKeys:
        sceneKeys->append(line);
        return;
    case Section::ParticleKeys:
        particleKeys->append(line);
        return;
    case Section::SpecialKeys:
        specialKeys->append(key);
        specialKeyPatterns->append(sep < 0 ? QStringLiteral("/*") : value);
        return;
    case Section::MapFiles:
        mapFiles->append(key);
        mapFileCategories->append(sep < 0 ? QStringLiteral("Other") : value);
        return;
    case Section::DetailOrientations:
        detailOrientations->append(line);
        return;
    case Section::SpriteShapes:
        spriteShapeNames->append(key.toLower());
        spriteShapeValues->append(sep < 0 ? QLatin1String("") : value);
        return;
    }
}
