// VVTF, first part: construction, menus, opening, saving and closing.
#include "textures/VVTF.h"

#include "app/ZIRK.h"
#include "textures/CFileVTF.h"
#include "util/QWidgetDialog.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDockWidget>
#include <QFileInfo>
#include <QFormLayout>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QSaveFile>
#include <QTabWidget>

namespace {

const char *const EditorTitle = "VTF Editor";
const char *const TextureFilter = "Valve Texture File (*.vtf)";

QIcon icon(const char *name)
{
    return QIcon(QStringLiteral(":/resources/icons/") + QString::fromLatin1(name));
}

} // namespace

VVTF::VVTF(QWidget *parent)
    : QMainWindow(parent)
{
    build();
    setFileLoaded(false);
    updateTitle();
}

VVTF::VVTF(const QString &path, QWidget *parent)
    : VVTF(parent)
{
    vtfOpenShared(path);
}

VVTF::VVTF(CFileVTF *file, const QString &name, QWidget *parent)
    : VVTF(parent)
{
    if (file)
        vtfOpenShared(file, name);
}

VVTF::~VVTF()
{
    // A line edit that loses focus while the widgets go reports editingFinished; by then this
    // object is only a QMainWindow, so nothing of it may answer.
    for (QObject *child : findChildren<QObject *>())
        QObject::disconnect(child, nullptr, this, nullptr);
    animationTimer.stop();
    delete vtf;
}

void VVTF::build()
{
    setWindowIcon(icon("vvtf"));
    animationTimer.setInterval(200);
    connect(&animationTimer, &QTimer::timeout, this, &VVTF::vtfAnimationTimeout);
    buildTabs();
    buildViewControls();
    buildMenus();
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this,
            &VVTF::vtfClipboardDataChanged);
    vtfClipboardDataChanged();
    resize(800, 600);
}

void VVTF::buildMenus()
{
    auto make = [this](QMenu *menu, const QString &text, const char *iconName, auto slot) {
        QAction *action = menu->addAction(text);
        if (iconName)
            action->setIcon(icon(iconName));
        connect(action, &QAction::triggered, this, slot);
        return action;
    };

    fileMenu = menuBar()->addMenu(QStringLiteral("File"));
    actionNew = make(fileMenu, QStringLiteral("New"), "page_white", &VVTF::vtfNew);
    actionOpen = make(fileMenu, QStringLiteral("Open..."), "folder", &VVTF::vtfOpen);
    fileMenu->addSeparator();
    actionImport = make(fileMenu, QStringLiteral("Import..."), "picture_add", &VVTF::vtfImport);
    actionExport = make(fileMenu, QStringLiteral("Export..."), "picture_go", &VVTF::vtfExport);
    fileMenu->addSeparator();
    actionSave = make(fileMenu, QStringLiteral("Save"), "disk", &VVTF::vtfSave);
    actionSaveAs = make(fileMenu, QStringLiteral("Save As..."), "disk_multiple", &VVTF::vtfSaveAs);
    actionSaveCopyAs
        = make(fileMenu, QStringLiteral("Save Copy As..."), "page_save", &VVTF::vtfSaveCopyAs);
    fileMenu->addSeparator();
    actionExit = make(fileMenu, QStringLiteral("Exit"), "cross", &VVTF::closeFrame);
    actionNew->setShortcuts(QKeySequence::New);
    actionOpen->setShortcuts(QKeySequence::Open);
    actionSave->setShortcuts(QKeySequence::Save);
    actionSaveAs->setShortcuts(QKeySequence::SaveAs);
    actionExit->setShortcuts(QKeySequence::Close);

    editMenu = menuBar()->addMenu(QStringLiteral("Edit"));
    actionCopy = make(editMenu, QStringLiteral("Copy"), "page_copy", &VVTF::vtfCopy);
    actionPaste = make(editMenu, QStringLiteral("Paste"), "page_paste", &VVTF::vtfPaste);
    editMenu->addSeparator();
    actionThumbnail = make(editMenu, QStringLiteral("Thumbnail"), "picture", &VVTF::vtfThumbnail);
    editMenu->addSeparator();
    actionFrameCount
        = make(editMenu, QStringLiteral("Frame Count..."), nullptr, &VVTF::vtfFrameCount);
    actionSliceCount
        = make(editMenu, QStringLiteral("Slice Count..."), nullptr, &VVTF::vtfSliceCount);
    actionMipmapCount
        = make(editMenu, QStringLiteral("Mipmap Count..."), nullptr, &VVTF::vtfMipmapCount);
    faceMenu = editMenu->addMenu(QStringLiteral("Face Count"));
    const char *faceTexts[3] = { "One (Non-envmap)", "Six (Envmap)", "Seven (Envmap + Spheremap)" };
    const unsigned char faceCounts[3] = { 1, 6, 7 };
    for (int i = 0; i < 3; ++i) {
        actionFaces[i] = faceMenu->addAction(QString::fromLatin1(faceTexts[i]));
        const unsigned char count = faceCounts[i];
        connect(actionFaces[i], &QAction::triggered, this,
                [this, count] { vtfSetFacesShared(count); });
    }

    experimentalMenu = menuBar()->addMenu(QStringLiteral("Edit (Experimental)"));
    actionGenerateMipmaps = make(experimentalMenu, QStringLiteral("Generate Mipmaps..."), nullptr,
                                 &VVTF::vtfGenerateMipmaps);
    actionGenerateSpheremaps = make(experimentalMenu, QStringLiteral("Generate Spheremaps..."),
                                    nullptr, &VVTF::vtfGenerateSpheremaps);
    actionCorrectGamma = make(experimentalMenu, QStringLiteral("Correct Gamma..."), nullptr,
                              &VVTF::vtfCorrectGamma);
    actionComputeReflectivity = make(experimentalMenu, QStringLiteral("Compute Reflectivity..."),
                                     nullptr, &VVTF::vtfComputeReflectivity);

    viewMenu = menuBar()->addMenu(QStringLiteral("View"));
    auto *channels = new QActionGroup(this);
    const char *channelTexts[5] = { "Red", "Green", "Blue", "Alpha", "RGB" };
    const unsigned int channelBits[5]
        = { VTF::DrawRed, VTF::DrawGreen, VTF::DrawBlue, VTF::DrawAlpha, VTF::DrawRGB };
    for (int i = 0; i < 5; ++i) {
        actionChannels[i] = viewMenu->addAction(QString::fromLatin1(channelTexts[i]));
        actionChannels[i]->setCheckable(true);
        actionChannels[i]->setActionGroup(channels);
        const unsigned int bit = channelBits[i];
        connect(actionChannels[i], &QAction::triggered, this, [this, bit] {
            drawFlags = (drawFlags & ~0x1Fu) | bit;
            if (imageLoaded)
                updateActiveImage();
        });
    }
    actionChannels[4]->setChecked(true);
    viewMenu->addSeparator();
    actionMask = make(viewMenu, QStringLiteral("Mask"), "tick", &VVTF::vtfToggleMask);
    actionTile = make(viewMenu, QStringLiteral("Tile"), nullptr, &VVTF::vtfToggleTile);
    actionTile->setCheckable(true);
    actionAnimation = viewMenu->addAction(QStringLiteral("Toggle Animation"));
    actionAnimation->setCheckable(true);
    connect(actionAnimation, &QAction::toggled, this, &VVTF::vtfToggleAnimation);
    viewMenu->addSeparator();
    actionZoomIn = make(viewMenu, QStringLiteral("Zoom In"), "zoom_in", &VVTF::vtfZoomIn);
    // Ctrl and the unshifted "=" key too, where "+" needs Shift.
    actionZoomIn->setShortcuts(QKeySequence::keyBindings(QKeySequence::ZoomIn)
                               << QKeySequence(Qt::CTRL | Qt::Key_Equal));
    actionZoomOut = make(viewMenu, QStringLiteral("Zoom Out"), "zoom_out", &VVTF::vtfZoomOut);
    actionZoomOut->setShortcuts(QKeySequence::ZoomOut);
    actionZoomFit = make(viewMenu, QStringLiteral("Zoom to Fit"), nullptr, &VVTF::vtfZoomFit);
    actionZoomActual = make(viewMenu, QStringLiteral("Actual Size"), nullptr, &VVTF::vtfZoomActual);
    actionZoomActual->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_0));
    viewMenu->addSeparator();
    viewMenu->addAction(viewDock->toggleViewAction());

    actionFromFile = new QAction(QStringLiteral("From File..."), this);
    connect(actionFromFile, &QAction::triggered, this, &VVTF::vtfTreeFromFile);
    actionFromImage = new QAction(QStringLiteral("From Image..."), this);
    connect(actionFromImage, &QAction::triggered, this, &VVTF::vtfTreeFromImage);
}

void VVTF::closeFrame()
{
    // Inside the workspace the frame goes too, after this window agreed to close.
    if (auto *frame = qobject_cast<QMdiSubWindow *>(parentWidget()))
        frame->close();
    else
        close();
}

void VVTF::setFileLoaded(bool loaded)
{
    for (QMenu *menu : { editMenu, experimentalMenu, viewMenu })
        menu->setEnabled(loaded);
    for (QAction *action : { actionExport, actionSave, actionSaveAs, actionSaveCopyAs })
        action->setEnabled(loaded);
    tabs->setEnabled(loaded);
    viewDock->setEnabled(loaded);
}

void VVTF::updateTitle()
{
    if (!vtf) {
        setWindowTitle(QStringLiteral("Untitled[*]"));
        return;
    }
    setWindowTitle(displayName + QStringLiteral("[*]"));
}

void VVTF::setModified()
{
    setWindowModified(true);
}

void VVTF::warn(const QString &text)
{
    QMessageBox::warning(this, QString::fromLatin1(EditorTitle), text);
}

bool VVTF::vtfOpenShared(const QString &path)
{
    QString error;
    CFileVTF *file = IFileClass<CFileVTF>::createFromFile(path, error);
    if (!file) {
        warn(error);
        return false;
    }
    vtfOpenShared(file, QFileInfo(path).fileName());
    return true;
}

void VVTF::vtfOpenShared(CFileVTF *file, const QString &name)
{
    if (file == vtf)
        return;
    animationTimer.stop();
    if (actionAnimation->isChecked()) {
        const QSignalBlocker blocker(actionAnimation);
        actionAnimation->setChecked(false);
    }
    delete vtf;
    vtf = file;
    displayName = name.isEmpty() ? vtf->getFileName() : name;
    if (displayName.isEmpty())
        displayName = QStringLiteral("untitled");
    imageLoaded = false;
    thumbnailSelected = false;
    zoom = 1.0;
    treeMipmap = AllMipmaps;
    treeFrame = AllFrames;
    treeFace = AllFaces;
    treeSlice = AllSlices;
    {
        const QSignalBlocker blocker(keySlider);
        keySlider->setValue(qRound(vtf->getHdrKey() * 100));
    }
    {
        const QSignalBlocker blocker(shiftSlider);
        shiftSlider->setValue(qRound(vtf->getHdrShift() * 100));
    }
    {
        const QSignalBlocker blocker(gammaSlider);
        gammaSlider->setValue(qRound(vtf->getHdrGamma() * 100));
    }
    setFileLoaded(true);
    refreshAll();
    // The largest mipmap is the one shown first.
    const unsigned char top = vtf->getMipmapCount() ? vtf->getMipmapCount() - 1 : 0;
    if (updateCurrentImage(top, 0, 0, 0))
        updateActiveImage();
    setWindowModified(false);
    updateTitle();
}

void VVTF::refreshAll()
{
    updateTabLayout();
    updateFlagList();
    updateInfoTab();
    updateResourcesTab();
    updateFaceActions();
    updateHdrSliders();
    updateViewControls();
}

bool VVTF::vtfNewShared(unsigned short width, unsigned short height)
{
    auto *file = new CFileVTF(width, height);
    if (!vtf) {
        vtfOpenShared(file, QString());
        return true;
    }
    ZIRK::get()->showVVTF(file, QString());
    return true;
}

void VVTF::vtfNew()
{
    auto *form = new QWidget;
    auto *layout = new QFormLayout(form);
    QComboBox *combos[2];
    for (QComboBox *&combo : combos) {
        combo = new QComboBox(form);
        for (int i = 0; i <= 12; ++i)
            combo->addItem(QString::number(1 << i));
        combo->setCurrentIndex(9);
    }
    combos[0]->setObjectName(QStringLiteral("width"));
    combos[1]->setObjectName(QStringLiteral("height"));
    layout->addRow(QStringLiteral("Width:"), combos[0]);
    layout->addRow(QStringLiteral("Height:"), combos[1]);
    QWidgetDialog dialog(form, this);
    dialog.setWindowTitle(QStringLiteral("New VTF"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    vtfNewShared(static_cast<unsigned short>(1 << combos[0]->currentIndex()),
                 static_cast<unsigned short>(1 << combos[1]->currentIndex()));
}

void VVTF::vtfOpen()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Open"), QString::fromLatin1(TextureFilter),
                              QString());
    const QString path = zirk->getExistingFile();
    if (path.isEmpty())
        return;
    if (vtf) {
        zirk->showVVTF(path);
        return;
    }
    vtfOpenShared(path);
}

bool VVTF::vtfSaveShared(const QString &path, bool copy)
{
    if (!vtf)
        return false;
    // Written aside and renamed over the target, so that a failed write leaves the old file
    // (or none) and never a partial one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        warn(QStringLiteral("Write Error: Unable to open \"%1\"").arg(path));
        return false;
    }
    if (!vtf->serialize(static_cast<QIODevice &>(file)) || !file.flush()) {
        file.cancelWriting();
        file.commit();
        warn(vtf->getLastError().isEmpty()
                 ? QStringLiteral("Write Error: Unable to write \"%1\"").arg(path)
                 : vtf->getLastError());
        return false;
    }
    if (!file.commit()) {
        warn(QStringLiteral("Write Error: Unable to write \"%1\"").arg(path));
        return false;
    }
    if (!copy) {
        vtf->setPath(path);
        vtf->setName(QFileInfo(path).baseName());
        displayName = QFileInfo(path).fileName();
        setWindowModified(false);
        updateTitle();
    }
    return true;
}

void VVTF::vtfSave()
{
    if (!vtf)
        return;
    if (vtf->getFilePath().isEmpty()) {
        vtfSaveAs();
        return;
    }
    vtfSaveShared(vtf->getFilePath(), false);
}

void VVTF::vtfSaveAs()
{
    if (!vtf)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save As"), QString::fromLatin1(TextureFilter),
                              QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        vtfSaveShared(path, false);
}

void VVTF::vtfSaveCopyAs()
{
    if (!vtf)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save Copy As"),
                              QString::fromLatin1(TextureFilter), QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        vtfSaveShared(path, true);
}

void VVTF::closeEvent(QCloseEvent *event)
{
    if (!isWindowModified()) {
        animationTimer.stop();
        event->accept();
        return;
    }
    QMessageBox box(QMessageBox::Warning, QString::fromLatin1(EditorTitle),
                    QStringLiteral("The file has been modified."),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(QStringLiteral("Do you want to save your changes?"));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        vtfSave();
        if (isWindowModified()) {
            event->ignore();
            return;
        }
        break;
    case QMessageBox::Discard:
        break;
    default:
        event->ignore();
        return;
    }
    animationTimer.stop();
    event->accept();
}

void VVTF::vtfClipboardDataChanged()
{
    const QMimeData *data = QApplication::clipboard()->mimeData();
    actionPaste->setEnabled(data && data->hasImage());
}
