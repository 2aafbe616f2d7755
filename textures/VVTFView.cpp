// VVTF, second part: the layout tree, the image view and the view controls.
#include "textures/VVTF.h"

#include "textures/CFileVTF.h"

#include <QAction>
#include <QDockWidget>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QPixmap>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <iterator>
#include <memory>

namespace {

// Item data of a layout node: the four indices, with "all" below the node.
enum { RoleMipmap = Qt::UserRole, RoleFrame, RoleFace, RoleSlice, RoleThumbnail };

const char *const LevelNames[4] = { "Mipmap:", "Frame:", "Face:", "Slice:" };

// The zoom factors that the keys and the wheel step through.
constexpr double ZoomSteps[]
    = { 1.0 / 16, 1.0 / 8, 1.0 / 4, 1.0 / 2, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32 };
constexpr int ZoomStepCount = int(std::size(ZoomSteps));
constexpr int MaximumZoomedSide = 16384;

} // namespace

void VVTF::buildTabs()
{
    tabs = new QTabWidget(this);
    tabs->addTab(buildLayoutTab(), QStringLiteral("Layout"));
    tabs->addTab(buildImageTab(), QStringLiteral("Image"));
    tabs->addTab(buildFlagsTab(), QStringLiteral("Flags"));
    // The form tabs scroll rather than make the window taller than a small workspace.
    for (auto [page, title] :
         { std::pair { buildInfoTab(), "Info" }, std::pair { buildResourcesTab(), "Resources" } }) {
        auto *scroll = new QScrollArea;
        scroll->setWidget(page);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        tabs->addTab(scroll, QString::fromLatin1(title));
    }
    setCentralWidget(tabs);
}

QWidget *VVTF::buildLayoutTab()
{
    layoutTree = new QTreeWidget;
    layoutTree->setHeaderHidden(true);
    layoutTree->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(layoutTree, &QTreeWidget::itemSelectionChanged, this, &VVTF::vtfTreeSelectionChanged);
    connect(layoutTree, &QTreeWidget::customContextMenuRequested, this, &VVTF::vtfTreeContextMenu);
    return layoutTree;
}

QWidget *VVTF::buildImageTab()
{
    auto *scroll = new QScrollArea;
    imageScroll = scroll;
    scroll->viewport()->installEventFilter(this);
    scroll->setBackgroundRole(QPalette::Dark);
    imageArea = new QWidget;
    auto *grid = new QGridLayout(imageArea);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    imageLabel = new QLabel(imageArea);
    grid->addWidget(imageLabel, 0, 0);
    for (int i = 0; i < 3; ++i) {
        tileLabels[i] = new QLabel(imageArea);
        tileLabels[i]->hide();
        grid->addWidget(tileLabels[i], i == 1 ? 1 : 0 + (i == 2), i == 1 ? 0 : 1);
    }
    scroll->setWidget(imageArea);
    scroll->setAlignment(Qt::AlignCenter);
    return scroll;
}

QSlider *VVTF::makeHdrSlider(int minimum, int maximum, int value, int tick)
{
    auto *slider = new QSlider(Qt::Horizontal);
    slider->setRange(minimum, maximum);
    slider->setValue(value);
    slider->setTickInterval(tick);
    slider->setTickPosition(QSlider::TicksBelow);
    slider->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(slider, &QSlider::valueChanged, this, &VVTF::vtfHdrSliderChanged);
    connect(slider, &QSlider::customContextMenuRequested, this,
            [slider, value] { slider->setValue(value); });
    return slider;
}

void VVTF::buildViewControls()
{
    auto *panel = new QWidget;
    auto *grid = new QGridLayout(panel);
    for (int level = 0; level < 4; ++level) {
        grid->addWidget(new QLabel(QString::fromLatin1(LevelNames[level]), panel), level, 0);
        previousButtons[level] = new QPushButton(QStringLiteral("<"), panel);
        levelLabels[level] = new QLabel(QStringLiteral("0/0"), panel);
        levelLabels[level]->setAlignment(Qt::AlignCenter);
        // Wide enough for any count, so that the dock keeps its width while frames run.
        levelLabels[level]->setMinimumWidth(
            levelLabels[level]->fontMetrics().horizontalAdvance(QStringLiteral("65535/65535")));
        nextButtons[level] = new QPushButton(QStringLiteral(">"), panel);
        previousButtons[level]->setMaximumWidth(32);
        nextButtons[level]->setMaximumWidth(32);
        grid->addWidget(previousButtons[level], level, 1);
        grid->addWidget(levelLabels[level], level, 2);
        grid->addWidget(nextButtons[level], level, 3);
        connect(previousButtons[level], &QPushButton::clicked, this,
                [this, level] { vtfLevelStep(level, -1); });
        connect(nextButtons[level], &QPushButton::clicked, this,
                [this, level] { vtfLevelStep(level, 1); });
    }
    grid->addWidget(new QLabel(QStringLiteral("Zoom:"), panel), 4, 0);
    auto *zoomOut = new QPushButton(QStringLiteral("-"), panel);
    zoomLabel = new QLabel(QStringLiteral("100%"), panel);
    zoomLabel->setObjectName(QStringLiteral("zoomLabel"));
    zoomLabel->setAlignment(Qt::AlignCenter);
    auto *zoomIn = new QPushButton(QStringLiteral("+"), panel);
    zoomOut->setMaximumWidth(32);
    zoomIn->setMaximumWidth(32);
    grid->addWidget(zoomOut, 4, 1);
    grid->addWidget(zoomLabel, 4, 2);
    grid->addWidget(zoomIn, 4, 3);
    connect(zoomOut, &QPushButton::clicked, this, &VVTF::vtfZoomOut);
    connect(zoomIn, &QPushButton::clicked, this, &VVTF::vtfZoomIn);
    keySlider = makeHdrSlider(0, 800, 125, 80);
    shiftSlider = makeHdrSlider(-100, 100, 40, 20);
    gammaSlider = makeHdrSlider(0, 1600, 400, 160);
    grid->addWidget(new QLabel(QStringLiteral("Key:"), panel), 5, 0);
    grid->addWidget(keySlider, 5, 1, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("Shift:"), panel), 6, 0);
    grid->addWidget(shiftSlider, 6, 1, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("Gamma:"), panel), 7, 0);
    grid->addWidget(gammaSlider, 7, 1, 1, 3);
    grid->setRowStretch(8, 1);

    viewDock = new QDockWidget(QStringLiteral("View Controls"), this);
    viewDock->setObjectName(QStringLiteral("View Controls"));
    viewDock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetClosable);
    viewDock->setWidget(panel);
    addDockWidget(Qt::RightDockWidgetArea, viewDock);
}

void VVTF::updateTabLayout()
{
    const QSignalBlocker blocker(layoutTree);
    layoutTree->clear();
    if (!vtf)
        return;
    if (vtf->getLowResImageFormat() != VTF::NONE) {
        auto *item = new QTreeWidgetItem(layoutTree, { QStringLiteral("Thumbnail") });
        item->setData(0, RoleThumbnail, true);
    }
    const unsigned char faces = vtf->getFaceCount();
    const unsigned short slices = vtf->getSliceCount();
    const unsigned short frames = vtf->getFrameCount();
    for (int mipmap = vtf->getMipmapCount() - 1; mipmap >= 0; --mipmap) {
        unsigned short width = 0;
        unsigned short height = 0;
        vtf->getMipmapSize(static_cast<unsigned char>(mipmap), width, height);
        auto *mipItem
            = new QTreeWidgetItem(layoutTree, { QStringLiteral("%1 x %2").arg(width).arg(height) });
        mipItem->setData(0, RoleMipmap, mipmap);
        mipItem->setData(0, RoleFrame, int(AllFrames));
        mipItem->setData(0, RoleFace, int(AllFaces));
        mipItem->setData(0, RoleSlice, int(AllSlices));
        for (int frame = 0; frame < frames; ++frame) {
            auto *frameItem
                = new QTreeWidgetItem(mipItem, { QStringLiteral("Frame %1").arg(frame) });
            frameItem->setData(0, RoleMipmap, mipmap);
            frameItem->setData(0, RoleFrame, frame);
            frameItem->setData(0, RoleFace, int(AllFaces));
            frameItem->setData(0, RoleSlice, int(AllSlices));
            QList<QTreeWidgetItem *> faceParents;
            if (faces > 1) {
                for (int face = 0; face < faces; ++face) {
                    auto *faceItem
                        = new QTreeWidgetItem(frameItem,
                                              { QStringLiteral("Face ")
                                                + QString::fromLatin1(VTF::getEnvFaceName(
                                                    static_cast<unsigned char>(face))) });
                    faceItem->setData(0, RoleMipmap, mipmap);
                    faceItem->setData(0, RoleFrame, frame);
                    faceItem->setData(0, RoleFace, face);
                    faceItem->setData(0, RoleSlice, int(AllSlices));
                    faceParents.append(faceItem);
                }
            } else {
                faceParents.append(frameItem);
            }
            if (slices > 1) {
                for (int face = 0; face < faceParents.size(); ++face) {
                    for (int slice = 0; slice < slices; ++slice) {
                        auto *sliceItem = new QTreeWidgetItem(
                            faceParents[face], { QStringLiteral("Slice %1").arg(slice) });
                        sliceItem->setData(0, RoleMipmap, mipmap);
                        sliceItem->setData(0, RoleFrame, frame);
                        sliceItem->setData(0, RoleFace, faces > 1 ? face : 0);
                        sliceItem->setData(0, RoleSlice, slice);
                    }
                }
            }
        }
    }
    treeMipmap = AllMipmaps;
    treeFrame = AllFrames;
    treeFace = AllFaces;
    treeSlice = AllSlices;
    thumbnailSelected = false;
}

void VVTF::vtfTreeSelectionChanged()
{
    const QList<QTreeWidgetItem *> selected = layoutTree->selectedItems();
    if (!vtf || selected.isEmpty())
        return;
    QTreeWidgetItem *item = selected.first();
    if (item->data(0, RoleThumbnail).toBool()) {
        thumbnailSelected = true;
        showThumbnail();
        return;
    }
    thumbnailSelected = false;
    treeMipmap = static_cast<unsigned char>(item->data(0, RoleMipmap).toInt());
    treeFrame = static_cast<unsigned short>(item->data(0, RoleFrame).toInt());
    treeFace = static_cast<unsigned char>(item->data(0, RoleFace).toInt());
    treeSlice = static_cast<unsigned short>(item->data(0, RoleSlice).toInt());
    unsigned char mipmap = treeMipmap;
    unsigned short frame = treeFrame == AllFrames ? 0 : treeFrame;
    unsigned char face = treeFace == AllFaces ? 0 : treeFace;
    unsigned short slice = treeSlice == AllSlices ? 0 : treeSlice;
    if (updateCurrentImage(mipmap, frame, face, slice))
        updateActiveImage();
}

void VVTF::vtfTreeContextMenu(const QPoint &position)
{
    if (!vtf)
        return;
    QMenu menu(this);
    menu.addAction(actionFromFile);
    menu.addAction(actionFromImage);
    menu.addSeparator();
    const QList<QAction *> edits = { actionCopy,
                                     actionPaste,
                                     actionGenerateMipmaps,
                                     actionGenerateSpheremaps,
                                     actionCorrectGamma,
                                     actionComputeReflectivity };
    for (QAction *action : edits)
        menu.addAction(action);
    // On the thumbnail only replacement from a file or the clipboard makes sense.
    const bool thumbnail = treeOnThumbnail();
    actionFromImage->setEnabled(!thumbnail);
    actionGenerateMipmaps->setEnabled(!thumbnail && vtf->getMipmapCount() >= 2);
    actionGenerateSpheremaps->setEnabled(!thumbnail);
    actionCorrectGamma->setEnabled(!thumbnail);
    actionComputeReflectivity->setEnabled(!thumbnail);
    actionCopy->setEnabled(!thumbnail);
    menu.exec(layoutTree->viewport()->mapToGlobal(position));
    for (QAction *action : edits)
        action->setEnabled(true);
    actionFromImage->setEnabled(true);
    updateFaceActions();
    vtfClipboardDataChanged();
}

void VVTF::normalizeCurTreeIndicies()
{
    if (treeMipmap == AllMipmaps)
        treeMipmap = vtf && vtf->getMipmapCount() ? vtf->getMipmapCount() - 1 : 0;
    if (treeFrame == AllFrames)
        treeFrame = 0;
    if (treeFace == AllFaces)
        treeFace = 0;
    if (treeSlice == AllSlices)
        treeSlice = 0;
}

bool VVTF::updateCurrentImage(unsigned char mipmap, unsigned short frame, unsigned char face,
                              unsigned short slice)
{
    if (!vtf)
        return false;
    vtf->forceValidateDimensions(mipmap, frame, face, slice);
    QByteArray rgba;
    if (!vtf->getImage(mipmap, frame, face, slice, rgba))
        return false;
    curMipmap = mipmap;
    curFrame = frame;
    curFace = face;
    curSlice = slice;
    curImage = rgba;
    vtf->getMipmapSize(mipmap, curWidth, curHeight);
    imageLoaded = true;
    updateViewControls();
    return true;
}

void VVTF::showImage(const QByteArray &rgba, unsigned short width, unsigned short height)
{
    std::unique_ptr<QImage> image(
        VTF::toQImage(rgba, width, height, VTF::DrawFlags_t(drawFlags & 0x3F), true));
    shownPixmap = image ? QPixmap::fromImage(*image) : QPixmap();
    applyZoom();
}

void VVTF::applyZoom()
{
    zoom = qBound(ZoomSteps[0], zoom, largestZoom());
    zoomLabel->setText(QStringLiteral("%1%").arg(qRound(zoom * 100)));
    if (shownPixmap.isNull() && !imageLoaded)
        return;
    const QSize size(qMax(1, qRound(shownPixmap.width() * zoom)),
                     qMax(1, qRound(shownPixmap.height() * zoom)));
    // Texels stay sharp squares when enlarged: a small texture is read pixel by pixel.
    imageLabel->setPixmap(
        zoom == 1.0 || shownPixmap.isNull()
            ? shownPixmap
            : shownPixmap.scaled(size, Qt::IgnoreAspectRatio,
                                 zoom > 1.0 ? Qt::FastTransformation : Qt::SmoothTransformation));
    imageLabel->setFixedSize(shownPixmap.isNull() ? QSize(0, 0) : size);
    const int width = imageLabel->width();
    const int height = imageLabel->height();
    const bool tile = (drawFlags & (DrawTileRequested | DrawTileShown)) != 0;
    drawFlags &= ~unsigned(DrawTileRequested | DrawTileShown);
    if (tile) {
        vtfToggleTile();
    } else {
        for (QLabel *label : tileLabels) {
            label->clear();
            label->hide();
        }
        imageArea->setFixedSize(width, height);
    }
}

void VVTF::updateActiveImage()
{
    if (!imageLoaded)
        return;
    thumbnailSelected = false;
    showImage(curImage, curWidth, curHeight);
}

void VVTF::showThumbnail()
{
    QByteArray rgba;
    if (!vtf || !vtf->getLowResImage(rgba))
        return;
    showImage(rgba, vtf->getLowResImageWidth(), vtf->getLowResImageHeight());
}

void VVTF::vtfToggleTile()
{
    if (drawFlags & DrawTileShown) {
        drawFlags &= ~unsigned(DrawTileShown);
        for (QLabel *label : tileLabels) {
            label->clear();
            label->hide();
        }
        imageArea->setFixedSize(imageLabel->size());
    } else {
        drawFlags |= DrawTileShown;
        const QPixmap pixmap = imageLabel->pixmap();
        for (QLabel *label : tileLabels) {
            label->setPixmap(pixmap);
            label->setFixedSize(imageLabel->size());
            label->show();
        }
        imageArea->setFixedSize(imageLabel->width() * 2, imageLabel->height() * 2);
    }
    const QSignalBlocker blocker(actionTile);
    actionTile->setChecked(drawFlags & DrawTileShown);
}

double VVTF::largestZoom() const
{
    // The enlarged picture is a real pixmap: keep it to a size that memory holds.
    const int side = qMax(1, qMax(shownPixmap.width(), shownPixmap.height()));
    return qBound(1.0, double(MaximumZoomedSide) / side, ZoomSteps[ZoomStepCount - 1]);
}

void VVTF::setZoom(double factor)
{
    zoom = factor;
    applyZoom();
}

void VVTF::vtfZoomIn()
{
    for (double step : ZoomSteps) {
        if (step > zoom * 1.001) {
            setZoom(step);
            return;
        }
    }
}

void VVTF::vtfZoomOut()
{
    for (int i = ZoomStepCount - 1; i >= 0; --i) {
        if (ZoomSteps[i] < zoom * 0.999) {
            setZoom(ZoomSteps[i]);
            return;
        }
    }
}

void VVTF::vtfZoomFit()
{
    if (shownPixmap.isNull())
        return;
    const int tiles = (drawFlags & DrawTileShown) ? 2 : 1;
    const QSize room = imageScroll->viewport()->size();
    setZoom(qMin(double(room.width()) / (shownPixmap.width() * tiles),
                 double(room.height()) / (shownPixmap.height() * tiles)));
}

void VVTF::vtfZoomActual()
{
    setZoom(1.0);
}

bool VVTF::eventFilter(QObject *watched, QEvent *event)
{
    if (imageScroll && watched == imageScroll->viewport() && event->type() == QEvent::Wheel) {
        auto *wheel = static_cast<QWheelEvent *>(event);
        if (wheel->modifiers() & Qt::ControlModifier) {
            if (wheel->angleDelta().y() > 0)
                vtfZoomIn();
            else if (wheel->angleDelta().y() < 0)
                vtfZoomOut();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void VVTF::vtfToggleMask()
{
    drawFlags ^= VTF::DrawMask;
    actionMask->setIcon(
        QIcon(QStringLiteral(":/resources/icons/")
              + QString::fromLatin1((drawFlags & VTF::DrawMask) ? "tick" : "cross")));
    if (imageLoaded)
        updateActiveImage();
}

void VVTF::vtfToggleAnimation(bool on)
{
    if (!on || !vtf) {
        animationTimer.stop();
        return;
    }
    curFrame = static_cast<unsigned short>(vtf->getFirstFrame() - 1);
    animationTimer.start();
}

void VVTF::vtfAnimationTimeout()
{
    if (!vtf)
        return;
    const unsigned short frames = vtf->getFrameCount();
    unsigned short frame = static_cast<unsigned short>(curFrame + 1);
    if (frames == 0 || frame > frames - 1)
        frame = 0;
    if (updateCurrentImage(curMipmap, frame, curFace, curSlice))
        updateActiveImage();
}

void VVTF::vtfLevelStep(int level, int step)
{
    if (!vtf)
        return;
    int mipmap = curMipmap;
    int frame = curFrame;
    int face = curFace;
    int slice = curSlice;
    int *values[4] = { &mipmap, &frame, &face, &slice };
    *values[level] = qMax(0, *values[level] + step);
    if (updateCurrentImage(static_cast<unsigned char>(mipmap), static_cast<unsigned short>(frame),
                           static_cast<unsigned char>(face), static_cast<unsigned short>(slice)))
        updateActiveImage();
}

void VVTF::updateViewControls()
{
    if (!vtf)
        return;
    const int lasts[4] = { qMax(0, vtf->getMipmapCount() - 1), qMax(0, vtf->getFrameCount() - 1),
                           qMax(0, vtf->getFaceCount() - 1), qMax(0, vtf->getSliceCount() - 1) };
    const int values[4] = { curMipmap, curFrame, curFace, curSlice };
    for (int level = 0; level < 4; ++level) {
        levelLabels[level]->setText(QStringLiteral("%1/%2").arg(values[level]).arg(lasts[level]));
        previousButtons[level]->setEnabled(values[level] > 0);
        nextButtons[level]->setEnabled(values[level] < lasts[level]);
    }
}

void VVTF::updateHdrSliders()
{
    const bool hdr = vtf && vtf->getHighResImageFormat() == VTF::RGBA16161616F;
    keySlider->setEnabled(hdr);
    shiftSlider->setEnabled(hdr);
    gammaSlider->setEnabled(hdr);
}

void VVTF::vtfHdrSliderChanged()
{
    if (!vtf)
        return;
    vtf->setHdrKey(keySlider->value() / 100.0f);
    vtf->setHdrShift(shiftSlider->value() / 100.0f);
    vtf->setHdrGamma(gammaSlider->value() / 100.0f);
    if (imageLoaded && updateCurrentImage(curMipmap, curFrame, curFace, curSlice))
        updateActiveImage();
}
