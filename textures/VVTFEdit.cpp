// VVTF, fourth part: import, export, clipboard, image replacement, counts and range operations.
#include "textures/VVTF.h"

#include "app/ZIRK.h"
#include "textures/CFileVTF.h"
#include "textures/VVTFImageRangeWidget.h"
#include "textures/VVTFNewImageWidget.h"
#include "textures/VVTFResizeParametersBox.h"
#include "util/QProgressDialogger.h"
#include "util/QWidgetDialog.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>

#include <cfloat>
#include <memory>

namespace {

const char *const ImageFilter = "Supported Formats (*.png *.jpg *.jpeg *.tiff *.bmp *.gif *.ppm "
                                "*.pgm *.pbm *.xpm *.xbm)";

const char *const ExportFilters[] = { "Portable Network Graphics (*.png)",
                                      "Joint Photographic Experts Group (*.jpg *.jpeg)",
                                      "Tagged Image File Format (*.tiff)",
                                      "Windows Bitmap (*.bmp)",
                                      "Portable Pixmap (*.ppm)",
                                      "Portable Graymap (*.pgm)",
                                      "Portable Bitmap (*.pbm)",
                                      "X11 Pixmap (*.xpm)",
                                      "X11 Bitmap (*.xbm)" };

// RGBA8888 of an image at the given size, resized with the filter when it differs.
bool imageToRGBA(const QImage &image, unsigned short width, unsigned short height,
                 MagickCore::FilterTypes filter, QByteArray &rgba)
{
    if (image.width() == width && image.height() == height) {
        rgba = VTF::toRGBA8888(image);
        return true;
    }
    std::unique_ptr<Magick::Image> magick(VTF::toMagickImage(image));
    if (!magick)
        return false;
    magick->filterType(filter);
    if (!VTF::resizeMagickImage(*magick, width, height))
        return false;
    rgba = VTF::toRGBA8888(*magick);
    return rgba.size() == int(width) * int(height) * 4;
}

QStringList mipmapSizeList(const CFileVTF *vtf, int count)
{
    QStringList items;
    for (int mipmap = count - 1; mipmap >= 0; --mipmap) {
        unsigned short width = 0;
        unsigned short height = 0;
        vtf->getMipmapSize(static_cast<unsigned char>(mipmap), width, height);
        items << QStringLiteral("%1 x %2").arg(width).arg(height);
    }
    return items;
}

} // namespace

bool VVTF::getInterpolationType(MagickCore::FilterTypes &filter)
{
    QStringList names;
    for (int i = 1; i <= 29; ++i)
        names << QString::fromLatin1(VTF::magickFilterName(MagickCore::FilterTypes(i)));
    bool ok = false;
    const QString chosen
        = QInputDialog::getItem(this, QStringLiteral("Resample"),
                                QStringLiteral("Resample Filter:"), names, 11, false, &ok);
    if (!ok)
        return false;
    filter = MagickCore::FilterTypes(names.indexOf(chosen) + 1);
    return true;
}

void VVTF::afterShapeChange()
{
    updateTabLayout();
    updateInfoTab();
    updateFlagList();
    updateFaceActions();
    if (updateCurrentImage(curMipmap, curFrame, curFace, curSlice))
        updateActiveImage();
    else
        updateViewControls();
    setModified();
}

void VVTF::vtfImport()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Import"), QString::fromLatin1(ImageFilter),
                              QString());
    const QString path = zirk->getExistingFile();
    if (!path.isEmpty())
        vtfImportShared(path);
}

bool VVTF::vtfImportShared(const QString &path)
{
    QImageReader reader(path);
    if (!reader.canRead()) {
        warn(QStringLiteral("Device Error: Unable to read \"%1\"").arg(path));
        return false;
    }
    const int count = qBound(1, reader.imageCount(), 65535);

    auto *options = new VVTFNewImageWidget;
    options->setImageCount(static_cast<unsigned short>(count));
    QWidgetDialog dialog(options, this);
    dialog.setWindowTitle(QStringLiteral("New VTF"));
    if (dialog.exec() != QDialog::Accepted)
        return false;

    const QSize size = reader.size();
    const unsigned int width = options->resizeBox->resizeWidth(qMax(1, size.width()));
    const unsigned int height = options->resizeBox->resizeHeight(qMax(1, size.height()));
    const MagickCore::FilterTypes filter = options->resizeBox->filterType();

    QProgressDialogger progress(QStringLiteral("Allocating memory..."), 0, 7, QString(), this);
    progress.setWindowTitle(QStringLiteral("Import"));
    progress.setCloseWhenFinished(true);
    progress.setValue(0);

    auto fail = [&](const QString &text, CFileVTF *file) {
        delete file;
        progress.logMessage(text, true);
        progress.setValue(7);
        progress.close();
        warn(text);
        return false;
    };

    // 1: a texture of the chosen size and shape.
    auto *file = new CFileVTF(static_cast<unsigned short>(qMin(width, 65535u)),
                              static_cast<unsigned short>(qMin(height, 65535u)));
    if (file->getWidth() != width || file->getHeight() != height)
        return fail(
            QStringLiteral("Request Error: Invalid image size %1 x %2").arg(width).arg(height),
            file);
    bool shaped = true;
    if (count > 1) {
        switch (options->framesAs()) {
        case VVTFNewImageWidget::AsFrames:
            shaped = file->setFrameCount(static_cast<unsigned short>(count));
            break;
        case VVTFNewImageWidget::AsFaces:
            shaped = file->setFaceCount(static_cast<unsigned char>(count));
            break;
        case VVTFNewImageWidget::AsSlices:
            shaped = file->setSliceCount(static_cast<unsigned short>(count));
            break;
        }
    }
    if (!shaped)
        return fail(file->getLastError(), file);
    const unsigned char top = file->getMipmapCount() - 1;

    // 2: every image of the file into its place.
    progress.setLabelText(QStringLiteral("Reading images..."));
    progress.setValue(1);
    for (int index = 0; index < count; ++index) {
        QImage image;
        if (!reader.read(&image))
            return fail(reader.errorString(), file);
        QByteArray rgba;
        if (!imageToRGBA(image, static_cast<unsigned short>(width),
                         static_cast<unsigned short>(height), filter, rgba))
            return fail(QStringLiteral("Device Error: Unable to read \"%1\"").arg(path), file);
        unsigned short frame = 0;
        unsigned char face = 0;
        unsigned short slice = 0;
        if (count > 1) {
            switch (options->framesAs()) {
            case VVTFNewImageWidget::AsFrames:
                frame = static_cast<unsigned short>(index);
                break;
            case VVTFNewImageWidget::AsFaces:
                face = static_cast<unsigned char>(index);
                break;
            case VVTFNewImageWidget::AsSlices:
                slice = static_cast<unsigned short>(index);
                break;
            }
        }
        file->setImage(rgba, static_cast<unsigned short>(width),
                       static_cast<unsigned short>(height), top, frame, face, slice, false);
    }

    // 3 to 7: the automatic operations, then the format.
    progress.setLabelText(QStringLiteral("Computing reflectivity..."));
    progress.setValue(2);
    if (options->computeReflectivity()) {
        float red = 0.0f;
        float green = 0.0f;
        float blue = 0.0f;
        file->computeReflectivity(red, green, blue, top, top, 0, AllFrames, 0, AllFaces, 0,
                                  AllSlices);
        file->setReflectivity(red, green, blue);
    }
    progress.setLabelText(QStringLiteral("Generating mipmaps..."));
    progress.setValue(3);
    if (options->generateMipmaps())
        file->generateMipmaps(top, 0, top, 0, AllFrames, 0, AllFaces, 0, AllSlices, filter);
    progress.setLabelText(QStringLiteral("Generating thumbnail..."));
    progress.setValue(4);
    if (file->getFaceCount() == 1 && file->getSliceCount() == 1)
        file->generateThumbnail();
    progress.setLabelText(QStringLiteral("Generating spheremaps..."));
    progress.setValue(5);
    if (options->generateSpheremaps()
        && !file->generateSphereMaps(0, AllMipmaps, 0, AllFrames, 0, AllSlices))
        return fail(file->getLastError(), file);
    progress.setLabelText(QStringLiteral("Formatting..."));
    progress.setValue(6);
    file->setHighResImageFormat(options->format());
    progress.setValue(7);

    const QString name = QFileInfo(path).completeBaseName();
    file->setName(name, false);
    if (!vtf) {
        vtfOpenShared(file, name);
        setModified();
    } else {
        ZIRK::get()->showVVTF(file, name);
    }
    return true;
}

void VVTF::vtfExport()
{
    if (!vtf)
        return;
    QStringList filters;
    for (const char *filter : ExportFilters)
        filters << QString::fromLatin1(filter);
    bool ok = false;
    const QString filter = QInputDialog::getItem(
        this, QStringLiteral("Export"), QStringLiteral("Image Format:"), filters, 0, false, &ok);
    if (!ok)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save Image"), filter, QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        vtfExportShared(path);
}

bool VVTF::vtfExportShared(const QString &path)
{
    if (!vtf)
        return false;
    unsigned char firstMipmap = treeMipmap;
    unsigned char lastMipmap = treeMipmap;
    unsigned short firstFrame = treeFrame == AllFrames ? 0 : treeFrame;
    unsigned short lastFrame = treeFrame;
    unsigned char firstFace = treeFace == AllFaces ? 0 : treeFace;
    unsigned char lastFace = treeFace;
    unsigned short firstSlice = treeSlice == AllSlices ? 0 : treeSlice;
    unsigned short lastSlice = treeSlice;
    if (treeMipmap == AllMipmaps)
        firstMipmap = 0;
    vtf->validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace, lastFace,
                                firstSlice, lastSlice);
    const int total = (lastMipmap - firstMipmap + 1) * (lastFrame - firstFrame + 1)
        * (lastFace - firstFace + 1) * (lastSlice - firstSlice + 1);

    const QFileInfo info(path);
    QString base = info.completeBaseName();
    if (base.isEmpty())
        base = QStringLiteral("untitled");
    const QString suffix = info.suffix();
    for (int mipmap = firstMipmap; mipmap <= lastMipmap; ++mipmap) {
        for (int frame = firstFrame; frame <= lastFrame; ++frame) {
            for (int face = firstFace; face <= lastFace; ++face) {
                for (int slice = firstSlice; slice <= lastSlice; ++slice) {
                    QString target = path;
                    if (total > 1) {
                        target = info.dir().filePath(
                            base
                            + QStringLiteral("_%1_%2_%3_%4")
                                  .arg(mipmap)
                                  .arg(frame)
                                  .arg(face)
                                  .arg(slice)
                            + (suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix));
                    }
                    QByteArray rgba;
                    unsigned short width = 0;
                    unsigned short height = 0;
                    vtf->getMipmapSize(static_cast<unsigned char>(mipmap), width, height);
                    if (!vtf->getImage(static_cast<unsigned char>(mipmap),
                                       static_cast<unsigned short>(frame),
                                       static_cast<unsigned char>(face),
                                       static_cast<unsigned short>(slice), rgba)) {
                        warn(QStringLiteral("Read Error: Unable to read \"%1\"").arg(target));
                        return false;
                    }
                    std::unique_ptr<QImage> image(
                        VTF::toQImage(rgba, width, height,
                                      VTF::DrawFlags_t(VTF::DrawRGB | VTF::DrawMask), false));
                    if (!image || !image->save(target)) {
                        warn(QStringLiteral("Write Error: Unable to write \"%1\"").arg(target));
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

void VVTF::vtfCopy()
{
    if (!vtf)
        return;
    normalizeCurTreeIndicies();
    QByteArray rgba;
    if (!vtf->getImage(treeMipmap, treeFrame, treeFace, treeSlice, rgba))
        return;
    unsigned short width = 0;
    unsigned short height = 0;
    vtf->getMipmapSize(treeMipmap, width, height);
    std::unique_ptr<QImage> image(
        VTF::toQImage(rgba, width, height, VTF::DrawFlags_t(drawFlags & 0x3F), false));
    if (image)
        QApplication::clipboard()->setImage(*image);
}

void VVTF::vtfPaste()
{
    if (!vtf)
        return;
    const QMimeData *data = QApplication::clipboard()->mimeData();
    if (!data || !data->hasImage())
        return;
    const QImage image = qvariant_cast<QImage>(data->imageData());
    if (image.isNull())
        return;
    replaceSelectedImage(image);
}

bool VVTF::replaceSelectedImage(const QImage &image)
{
    if (treeOnThumbnail()) {
        const unsigned short width = vtf->getLowResImageWidth();
        const unsigned short height = vtf->getLowResImageHeight();
        MagickCore::FilterTypes filter = MagickCore::MitchellFilter;
        if ((image.width() != width || image.height() != height) && !getInterpolationType(filter))
            return false;
        QByteArray rgba;
        if (!imageToRGBA(image, width, height, filter, rgba)
            || !vtf->setLowResImageData(rgba, width, height, false))
            return false;
        setModified();
        showThumbnail();
        return true;
    }
    normalizeCurTreeIndicies();
    unsigned short width = 0;
    unsigned short height = 0;
    vtf->getMipmapSize(treeMipmap, width, height);
    MagickCore::FilterTypes filter = MagickCore::MitchellFilter;
    if ((image.width() != width || image.height() != height) && !getInterpolationType(filter))
        return false;
    QByteArray rgba;
    if (!imageToRGBA(image, width, height, filter, rgba)
        || !vtf->setImage(rgba, width, height, treeMipmap, treeFrame, treeFace, treeSlice, false))
        return false;
    setModified();
    if (updateCurrentImage(treeMipmap, treeFrame, treeFace, treeSlice))
        updateActiveImage();
    return true;
}

void VVTF::vtfTreeFromFile()
{
    if (!vtf)
        return;
    normalizeCurTreeIndicies();
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("From File"), QString::fromLatin1(ImageFilter),
                              QString());
    const QString path = zirk->getExistingFile();
    if (!path.isEmpty())
        vtfTreeFromFileShared(path);
}

bool VVTF::vtfTreeFromFileShared(const QString &path)
{
    if (!vtf)
        return false;
    QFile device(path);
    if (!device.open(QIODevice::ReadOnly)) {
        warn(QStringLiteral("Read Error: Unable to open \"%1\"").arg(path));
        return false;
    }
    QImageReader reader(&device);
    QImage image;
    if (!reader.read(&image)) {
        warn(QStringLiteral("Read Error: Unable to read \"%1\"").arg(path));
        return false;
    }
    return replaceSelectedImage(image);
}

void VVTF::vtfTreeFromImage()
{
    if (!vtf || treeOnThumbnail())
        return;
    normalizeCurTreeIndicies();
    auto *range = new VVTFImageRangeWidget;
    range->construct(vtf, treeMipmap, treeMipmap, treeFrame, treeFrame, treeFace, treeFace,
                     treeSlice, treeSlice);
    range->setStartOnly();
    QWidgetDialog dialog(range, this);
    dialog.setWindowTitle(QStringLiteral("From Image"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    MagickCore::FilterTypes filter = MagickCore::MitchellFilter;
    if (range->firstMipmap() != treeMipmap && !getInterpolationType(filter))
        return;
    if (!vtf->setImageFromImage(range->firstMipmap(), range->firstFrame(), range->firstFace(),
                                range->firstSlice(), treeMipmap, treeFrame, treeFace, treeSlice,
                                filter))
        return;
    setModified();
    if (updateCurrentImage(treeMipmap, treeFrame, treeFace, treeSlice))
        updateActiveImage();
}

void VVTF::vtfThumbnail()
{
    if (!vtf)
        return;
    if (!vtf->generateThumbnail())
        return;
    updateTabLayout();
    updateInfoTab();
    setModified();
}

void VVTF::vtfFrameCount()
{
    if (!vtf)
        return;
    bool ok = false;
    const int count
        = QInputDialog::getInt(this, QStringLiteral("Frame Count"), QStringLiteral("Frame Count:"),
                               vtf->getFrameCount(), 1, 65536, 1, &ok);
    if (!ok)
        return;
    if (!vtf->setFrameCount(static_cast<unsigned short>(count))) {
        warn(vtf->getLastError());
        return;
    }
    afterShapeChange();
}

void VVTF::vtfSliceCount()
{
    if (!vtf)
        return;
    QStringList items;
    int current = 0;
    for (int i = 0; i <= 12; ++i) {
        items << QString::number(1 << i);
        if ((1 << i) == vtf->getSliceCount())
            current = i;
    }
    bool ok = false;
    const QString chosen
        = QInputDialog::getItem(this, QStringLiteral("Slice Count"), QStringLiteral("Slice Count:"),
                                items, current, false, &ok);
    if (!ok)
        return;
    if (!vtf->setSliceCount(static_cast<unsigned short>(chosen.toUInt()))) {
        warn(vtf->getLastError());
        return;
    }
    afterShapeChange();
}

void VVTF::vtfMipmapCount()
{
    if (!vtf)
        return;
    // Row n is a chain of n + 1 mipmaps, shown by the size its largest would have.
    QStringList items;
    for (int count = 1; count <= 13; ++count) {
        unsigned short width = 0;
        unsigned short height = 0;
        vtf->getMipmapSize(static_cast<unsigned char>(count - 1), width, height);
        items << QStringLiteral("%1 x %2").arg(width).arg(height);
    }
    bool ok = false;
    const QString chosen = QInputDialog::getItem(this, QStringLiteral("Mipmap Count"),
                                                 QStringLiteral("Largest Mipmap:"), items,
                                                 qMax(0, vtf->getMipmapCount() - 1), false, &ok);
    if (!ok)
        return;
    const int index = items.indexOf(chosen);
    if (!vtf->setMipmapCount(static_cast<unsigned char>(index + 1))) {
        warn(vtf->getLastError());
        return;
    }
    curMipmap = vtf->getMipmapCount() - 1;
    afterShapeChange();
}

bool VVTF::vtfSetFacesShared(unsigned char count)
{
    if (!vtf)
        return false;
    if (!vtf->setFaceCount(count)) {
        warn(vtf->getLastError());
        return false;
    }
    if (count == 1)
        vtf->setFlag(VTF::FlagEnvironmentMap, false);
    afterShapeChange();
    return true;
}

void VVTF::updateFaceActions()
{
    if (!vtf)
        return;
    const unsigned char counts[3] = { 1, 6, 7 };
    for (int i = 0; i < 3; ++i)
        actionFaces[i]->setIcon(
            QIcon(QStringLiteral(":/resources/icons/")
                  + QLatin1String(vtf->getFaceCount() == counts[i] ? "tick" : "cross")));
    // A chain of one has nothing to generate.
    actionGenerateMipmaps->setEnabled(vtf->getMipmapCount() >= 2);
}

bool VVTF::runRangeDialog(const QString &title, unsigned char &firstMipmap,
                          unsigned char &lastMipmap, unsigned short &firstFrame,
                          unsigned short &lastFrame, unsigned char &firstFace,
                          unsigned char &lastFace, unsigned short &firstSlice,
                          unsigned short &lastSlice)
{
    auto *range = new VVTFImageRangeWidget;
    // The tree selection is the default: a node stands for everything below it.
    const unsigned char mipmap = treeMipmap;
    range->construct(vtf, mipmap == AllMipmaps ? 0 : mipmap, mipmap,
                     treeFrame == AllFrames ? 0 : treeFrame, treeFrame,
                     treeFace == AllFaces ? 0 : treeFace, treeFace,
                     treeSlice == AllSlices ? 0 : treeSlice, treeSlice);
    QWidgetDialog dialog(range, this);
    dialog.setWindowTitle(title);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    firstMipmap = range->firstMipmap();
    lastMipmap = range->lastMipmap();
    firstFrame = range->firstFrame();
    lastFrame = range->lastFrame();
    firstFace = range->firstFace();
    lastFace = range->lastFace();
    firstSlice = range->firstSlice();
    lastSlice = range->lastSlice();
    return true;
}

void VVTF::vtfGenerateMipmaps()
{
    if (!vtf)
        return;
    unsigned char firstMipmap, lastMipmap, firstFace, lastFace;
    unsigned short firstFrame, lastFrame, firstSlice, lastSlice;
    if (!runRangeDialog(QStringLiteral("Generate Mipmaps"), firstMipmap, lastMipmap, firstFrame,
                        lastFrame, firstFace, lastFace, firstSlice, lastSlice))
        return;
    const QStringList sizes = mipmapSizeList(vtf, vtf->getMipmapCount());
    bool ok = false;
    const QString chosen
        = QInputDialog::getItem(this, QStringLiteral("Generate Mipmaps"),
                                QStringLiteral("Source Mipmap:"), sizes, 0, false, &ok);
    if (!ok)
        return;
    const unsigned char source
        = static_cast<unsigned char>(vtf->getMipmapCount() - 1 - sizes.indexOf(chosen));
    MagickCore::FilterTypes filter = MagickCore::MitchellFilter;
    if (!getInterpolationType(filter))
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // The result is false on every path; the work is done all the same.
    vtf->generateMipmaps(source, firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace,
                         lastFace, firstSlice, lastSlice, filter);
    QApplication::restoreOverrideCursor();
    afterShapeChange();
}

void VVTF::vtfGenerateSpheremaps()
{
    if (!vtf)
        return;
    unsigned char firstMipmap, lastMipmap, firstFace, lastFace;
    unsigned short firstFrame, lastFrame, firstSlice, lastSlice;
    if (!runRangeDialog(QStringLiteral("Generate Spheremaps"), firstMipmap, lastMipmap, firstFrame,
                        lastFrame, firstFace, lastFace, firstSlice, lastSlice))
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool ok = vtf->generateSphereMaps(firstMipmap, lastMipmap, firstFrame, lastFrame,
                                            firstSlice, lastSlice);
    QApplication::restoreOverrideCursor();
    if (!ok && !vtf->getLastError().isEmpty())
        warn(vtf->getLastError());
    afterShapeChange();
}

void VVTF::vtfCorrectGamma()
{
    if (!vtf)
        return;
    unsigned char firstMipmap, lastMipmap, firstFace, lastFace;
    unsigned short firstFrame, lastFrame, firstSlice, lastSlice;
    if (!runRangeDialog(QStringLiteral("Correct Gamma"), firstMipmap, lastMipmap, firstFrame,
                        lastFrame, firstFace, lastFace, firstSlice, lastSlice))
        return;
    bool ok = false;
    const double gamma
        = QInputDialog::getDouble(this, QStringLiteral("Correct Gamma"),
                                  QStringLiteral("Gamma Correction:"), 1.0, 0.0, FLT_MAX, 6, &ok);
    if (!ok)
        return;
    vtf->correctImageGamma(float(gamma), firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace,
                           lastFace, firstSlice, lastSlice);
    afterShapeChange();
}

void VVTF::vtfComputeReflectivity()
{
    if (!vtf)
        return;
    unsigned char firstMipmap, lastMipmap, firstFace, lastFace;
    unsigned short firstFrame, lastFrame, firstSlice, lastSlice;
    if (!runRangeDialog(QStringLiteral("Compute Reflectivity"), firstMipmap, lastMipmap, firstFrame,
                        lastFrame, firstFace, lastFace, firstSlice, lastSlice))
        return;
    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
    vtf->computeReflectivity(red, green, blue, firstMipmap, lastMipmap, firstFrame, lastFrame,
                             firstFace, lastFace, firstSlice, lastSlice);
    vtf->setReflectivity(red, green, blue);
    updateInfoTab();
    setModified();
}
