// VTFMass, second part: the run over the source directory and the work on each file.
#include "textures/VTFMass.h"

#include "textures/CFileVTF.h"
#include "textures/VTFMagick.h"
#include "textures/VVTFResizeParametersBox.h"
#include "util/UtilPath.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QGroupBox>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSaveFile>

#include <memory>

namespace {

const char *const ImageSuffixes[]
    = { "png", "jpg", "jpeg", "tiff", "tif", "bmp", "gif", "ppm", "pgm", "pbm", "xpm", "xbm" };

bool takesFile(VTFMass::Mode mode, const QString &suffix)
{
    if (mode != VTFMass::FromOther)
        return suffix.compare(QLatin1String("vtf"), Qt::CaseInsensitive) == 0;
    for (const char *known : ImageSuffixes)
        if (suffix.compare(QLatin1String(known), Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

QString quoted(const QString &shown)
{
    return QStringLiteral("\".../%1\"").arg(shown);
}

QString cleanAbsolute(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

} // namespace

void VTFMass::closeEvent(QCloseEvent *event)
{
    // The run holds this window on its stack; stop it first.
    if (running) {
        cancelFlag = true;
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

void VTFMass::startFormat()
{
    running = true;
    const Mode currentMode = mode();

    // 1: the name filter.
    QRegExp filter;
    const QString text = filterEdit->text();
    switch (FilterMode(filterModeCombo->currentIndex())) {
    case Substring:
        filter = QRegExp(QLatin1Char('*') + text + QLatin1Char('*'), Qt::CaseSensitive,
                         QRegExp::Wildcard);
        break;
    case Wildcard:
        filter = QRegExp(text, Qt::CaseSensitive, QRegExp::Wildcard);
        break;
    case RegEx:
        filter = QRegExp(text, Qt::CaseInsensitive, QRegExp::RegExp);
        break;
    }
    if (!filter.isValid()) {
        logLine(QStringLiteral("Request Error: Name filter is not valid"));
        finishRun();
        return;
    }

    // 2 to 4: the directories.
    const QString source = sourceEdit->text().trimmed();
    const QString target = targetEdit->text().trimmed();
    if (currentMode == ModifyExisting && !overwriteCheck->isChecked() && !target.isEmpty()
        && cleanAbsolute(source) == cleanAbsolute(target)) {
        logLine(QStringLiteral("Request Error: In-place modification of VTFs requires overwrite "
                               "permission"));
        finishRun();
        return;
    }
    const QFileInfo sourceInfo(source);
    if (source.isEmpty() || !sourceInfo.isDir() || !sourceInfo.isReadable()) {
        logLine(QStringLiteral("Read Error: Source directory not readable"));
        finishRun();
        return;
    }
    if (target.isEmpty()) {
        logLine(QStringLiteral("Write Error: No target directory specified"));
        finishRun();
        return;
    }
    if (!QFileInfo(target).isDir() && !UTIL_makeDirectoriesForPath(target, false)) {
        logLine(QStringLiteral("Write Error: Unable to create target directory"));
        finishRun();
        return;
    }

    // 5: the files, listed before any is written, so that output landing in the source tree
    // is never taken as input.
    const QDir sourceDir(source);
    QStringList files;
    QDirIterator it(source, QDir::Files | QDir::Hidden | QDir::NoSymLinks,
                    recursiveCheck->isChecked() ? QDirIterator::Subdirectories
                                                : QDirIterator::NoIteratorFlags);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        if (info.isSymLink() || !info.isFile())
            continue;
        if (!takesFile(currentMode, info.suffix()))
            continue;
        if (!filter.exactMatch(info.completeBaseName()))
            continue;
        files << path;
    }
    files.sort();
    progressBar->setRange(0, qMax(1, int(files.size())));

    // 6: one file after the other, yielding in between so that a cancel gets through.
    int done = 0;
    for (const QString &path : std::as_const(files)) {
        QCoreApplication::processEvents();
        if (cancelFlag)
            break;
        progressLabel->setText(QStringLiteral("File %1 of %2").arg(done + 1).arg(files.size()));
        const QString relative = sourceDir.relativeFilePath(path);
        const QString relativeDir = QFileInfo(relative).path();
        const bool nested = preserveCheck->isChecked() && relativeDir != QLatin1String(".");
        const QString targetDir = nested ? QDir(target).filePath(relativeDir) : target;
        const QString shownDir = nested ? relativeDir + QLatin1Char('/') : QString();
        if (!QFileInfo(targetDir).isDir() && !UTIL_makeDirectoriesForPath(targetDir, false)) {
            logLine(QStringLiteral("Write Error: Unable to open %1").arg(quoted(shownDir)));
        } else if (currentMode == ToOther) {
            exportTexture(path, targetDir, relative, shownDir);
        } else {
            const QString name = currentMode == FromOther
                ? QFileInfo(path).completeBaseName() + QStringLiteral(".vtf")
                : QFileInfo(path).fileName();
            const QString targetPath = QDir(targetDir).filePath(name);
            if (QFileInfo::exists(targetPath) && !overwriteCheck->isChecked()) {
                logLine(QStringLiteral("Destination exists for %1").arg(quoted(shownDir + name)));
            } else if (currentMode == FromOther) {
                convertImage(path, targetPath, relative, shownDir + name);
            } else {
                modifyTexture(path, targetPath, relative, shownDir + name);
            }
        }
        progressBar->setValue(++done);
    }
    if (cancelFlag)
        logLine(QStringLiteral("Cancelled"));
    else
        logLine(QStringLiteral("Done"));
    finishRun();
}

void VTFMass::applyFlags(CFileVTF &vtf, int set)
{
    if (!flagsGroup[set]->isChecked())
        return;
    // The alpha and envmap bits stay as the format and faces made them.
    const quint32 locked = VTF::FlagOneBitAlpha | VTF::FlagEightBitAlpha | VTF::FlagEnvironmentMap;
    quint32 flags = vtf.getFlags() & locked;
    for (int bit = 0; bit < 32; ++bit) {
        const quint32 flag = 1u << bit;
        if (!(flag & locked) && flagLists[set]->item(bit)->checkState() == Qt::Checked)
            flags |= flag;
    }
    vtf.setFlags(flags);
}

void VTFMass::applyResources(CFileVTF &vtf, int set)
{
    using Resource = CFileVTF::Resource_t;
    if (lodActions[set][ResourceRemove]->isChecked()) {
        vtf.removeResourceOfType(Resource::LOD);
    } else if (lodActions[set][ResourceApply]->isChecked()) {
        quint32 word = 0;
        for (int byte = 0; byte < 4; ++byte)
            word |= qMin(lodEdits[set][byte]->text().trimmed().toUInt(), 255u) << (byte * 8);
        vtf.addResourceOfType(Resource::LOD)->data = word;
    }
    if (ts0Actions[set][ResourceRemove]->isChecked()) {
        vtf.removeResourceOfType(Resource::TS0);
    } else if (ts0Actions[set][ResourceApply]->isChecked()) {
        vtf.addResourceOfType(Resource::TS0)->data
            = ts0Edits[set]->text().trimmed().toUInt(nullptr, 16);
    }
}

bool VTFMass::writeTexture(CFileVTF &vtf, const QString &target, const QString &targetShown)
{
    // Written aside and renamed into place: a failed write leaves no partial file, and an
    // overwritten file stays as it was.
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly)) {
        logLine(QStringLiteral("Write Error: Unable to open %1").arg(quoted(targetShown)));
        return false;
    }
    if (!vtf.serialize(static_cast<QIODevice &>(file)) || !file.flush()) {
        file.cancelWriting();
        logLine(QStringLiteral("Write Error: Unable to write %1").arg(quoted(targetShown)));
        return false;
    }
    if (!file.commit()) {
        logLine(QStringLiteral("Write Error: Unable to write %1").arg(quoted(targetShown)));
        return false;
    }
    return true;
}

bool VTFMass::convertImage(const QString &path, const QString &target, const QString &shown,
                           const QString &targetShown)
{
    QImageReader reader(path);
    QImage image;
    if (!reader.read(&image) || image.isNull()) {
        logLine(QStringLiteral("Read Error: Unable to read %1").arg(quoted(shown)));
        return false;
    }
    const unsigned int width = resizeBox->resizeWidth(image.width());
    const unsigned int height = resizeBox->resizeHeight(image.height());
    const MagickCore::FilterTypes filter = resizeBox->filterType();
    QByteArray rgba;
    if (width != unsigned(image.width()) || height != unsigned(image.height())) {
        std::unique_ptr<Magick::Image> magick(VTF::toMagickImage(image));
        if (magick) {
            magick->filterType(filter);
            if (VTF::resizeMagickImage(*magick, static_cast<unsigned short>(width),
                                       static_cast<unsigned short>(height)))
                rgba = VTF::toRGBA8888(*magick);
        }
    } else {
        rgba = VTF::toRGBA8888(image);
    }
    CFileVTF vtf(static_cast<unsigned short>(qMin(width, 65535u)),
                 static_cast<unsigned short>(qMin(height, 65535u)));
    const unsigned char top = vtf.getMipmapCount() - 1;
    if (vtf.getWidth() != width || vtf.getHeight() != height
        || !vtf.setImage(rgba, static_cast<unsigned short>(width),
                         static_cast<unsigned short>(height), top, 0, 0, 0, false)) {
        logLine(QStringLiteral("Request Error: Image size %1 x %2 is not a texture size for %3")
                    .arg(width)
                    .arg(height)
                    .arg(quoted(shown)));
        return false;
    }
    if (mipmapsCheck->isChecked())
        vtf.generateMipmaps(top, 0, top, 0, 0, 0, 0, 0, 0, filter);
    if (reflectivityCheck->isChecked()) {
        float red = 0.0f;
        float green = 0.0f;
        float blue = 0.0f;
        vtf.computeReflectivity(red, green, blue, top, top, 0, 0, 0, 0, 0, 0);
        vtf.setReflectivity(red, green, blue);
    }
    vtf.setLowResImageFormat(VTF::RGBA8888);
    // The thumbnail is drawn from the picture before it takes its format.
    vtf.generateThumbnail();
    vtf.setLowResImageFormat(VTF::Format_t(thumbnailCombo[0]->currentIndex() - 1));
    applyFlags(vtf, 0);
    vtf.setHighResImageFormat(VTF::Format_t(formatCombo[0]->currentIndex()));
    vtf.setVersion(7, quint32(versionCombo[0]->currentIndex()));
    applyResources(vtf, 0);
    if (!writeTexture(vtf, target, targetShown))
        return false;
    logLine(QStringLiteral("Converted %1").arg(quoted(shown)));
    return true;
}

bool VTFMass::modifyTexture(const QString &path, const QString &target, const QString &shown,
                            const QString &targetShown)
{
    QString error;
    std::unique_ptr<CFileVTF> vtf(IFileClass<CFileVTF>::createFromFile(path, error));
    if (!vtf) {
        logLine(QStringLiteral("Read Error: Unable to read %1").arg(quoted(shown)));
        return false;
    }
    if (setVersionGroup->isChecked())
        vtf->setVersion(vtf->getVersionMajor(), quint32(versionCombo[1]->currentIndex()));
    if (setThumbnailGroup->isChecked()) {
        const bool hadThumbnail = vtf->getLowResImageFormat() != VTF::NONE;
        const VTF::Format_t format = VTF::Format_t(thumbnailCombo[1]->currentIndex() - 1);
        if (!hadThumbnail && format != VTF::NONE) {
            // A new thumbnail would start blank: draw it first, then give it its format.
            vtf->setLowResImageFormat(VTF::RGBA8888);
            vtf->generateThumbnail();
        }
        vtf->setLowResImageFormat(format);
    }
    if (setFormatGroup->isChecked())
        vtf->setHighResImageFormat(VTF::Format_t(formatCombo[1]->currentIndex()));
    applyFlags(*vtf, 1);
    applyResources(*vtf, 1);
    if (!writeTexture(*vtf, target, targetShown))
        return false;
    logLine(QStringLiteral("Modified %1").arg(quoted(shown)));
    return true;
}

bool VTFMass::exportTexture(const QString &path, const QString &targetDir, const QString &shown,
                            const QString &targetShownDir)
{
    QString error;
    std::unique_ptr<CFileVTF> vtf(IFileClass<CFileVTF>::createFromFile(path, error));
    if (!vtf || vtf->getMipmapCount() == 0) {
        logLine(QStringLiteral("Read Error: Unable to read %1").arg(quoted(shown)));
        return false;
    }
    const QString format = imageFormatCombo->currentText();
    const QString base = QFileInfo(path).completeBaseName();
    const bool indexed = allMipmapsCheck->isChecked() || allFramesCheck->isChecked()
        || allFacesCheck->isChecked() || allSlicesCheck->isChecked();
    const int topMipmap = vtf->getMipmapCount() - 1;
    const int firstMipmap = allMipmapsCheck->isChecked() ? 0 : topMipmap;
    const int lastFrame = allFramesCheck->isChecked() ? vtf->getFrameCount() - 1 : 0;
    const int lastFace = allFacesCheck->isChecked() ? vtf->getFaceCount() - 1 : 0;
    const int lastSlice = allSlicesCheck->isChecked() ? vtf->getSliceCount() - 1 : 0;
    bool ok = true;
    for (int mipmap = topMipmap; mipmap >= firstMipmap; --mipmap) {
        for (int frame = 0; frame <= lastFrame; ++frame) {
            for (int face = 0; face <= lastFace; ++face) {
                for (int slice = 0; slice <= lastSlice; ++slice) {
                    QString name = base;
                    if (indexed)
                        name += QStringLiteral("_%1_%2_%3_%4")
                                    .arg(mipmap)
                                    .arg(frame)
                                    .arg(face)
                                    .arg(slice);
                    name += QLatin1Char('.') + format;
                    const QString targetPath = QDir(targetDir).filePath(name);
                    const QString targetShown = targetShownDir + name;
                    if (QFileInfo::exists(targetPath) && !overwriteCheck->isChecked()) {
                        logLine(QStringLiteral("Destination %1 exists").arg(quoted(targetShown)));
                        continue;
                    }
                    QByteArray rgba;
                    unsigned short width = 0;
                    unsigned short height = 0;
                    vtf->getMipmapSize(static_cast<unsigned char>(mipmap), width, height);
                    if (!vtf->getImage(static_cast<unsigned char>(mipmap),
                                       static_cast<unsigned short>(frame),
                                       static_cast<unsigned char>(face),
                                       static_cast<unsigned short>(slice), rgba)) {
                        logLine(QStringLiteral("Read Error: Unable to read %1").arg(quoted(shown)));
                        return false;
                    }
                    std::unique_ptr<QImage> image(
                        VTF::toQImage(rgba, width, height,
                                      VTF::DrawFlags_t(VTF::DrawRGB | VTF::DrawMask), false));
                    QSaveFile file(targetPath);
                    if (!file.open(QIODevice::WriteOnly)) {
                        logLine(QStringLiteral("Write Error: Unable to open %1")
                                    .arg(quoted(targetShown)));
                        ok = false;
                        continue;
                    }
                    QImageWriter writer(&file, format.toLatin1());
                    if (!image || !writer.write(*image) || !file.flush()) {
                        file.cancelWriting();
                        logLine(QStringLiteral("Write Error: Unable to write %1")
                                    .arg(quoted(targetShown)));
                        ok = false;
                        continue;
                    }
                    if (!file.commit()) {
                        logLine(QStringLiteral("Write Error: Unable to write %1")
                                    .arg(quoted(targetShown)));
                        ok = false;
                    }
                }
            }
        }
    }
    if (ok)
        logLine(QStringLiteral("Exported %1").arg(quoted(shown)));
    return ok;
}
