#pragma once

#include "textures/VTFMagick.h"

#include <QByteArray>
#include <QMainWindow>
#include <QPixmap>
#include <QTimer>

class CFileVTF;
class QAction;
class QActionGroup;
class QCheckBox;
class QComboBox;
class QDockWidget;
class QGroupBox;
class QImage;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QMenu;
class QPushButton;
class QScrollArea;
class QSlider;
class QTabWidget;
class QTreeWidget;
class QTreeWidgetItem;

// The texture editor: one VTF file in the tabs "Layout", "Image", "Flags", "Info" and
// "Resources", with the view controls in a dock.
class VVTF : public QMainWindow
{
    Q_OBJECT

public:
    // Bits of drawFlags above the channel view of VTF::DrawFlags_t.
    enum { DrawTileRequested = 64, DrawTileShown = 128 };
    static constexpr unsigned char AllMipmaps = 255;
    static constexpr unsigned short AllFrames = 65535;
    static constexpr unsigned char AllFaces = 255;
    static constexpr unsigned short AllSlices = 65535;

    explicit VVTF(QWidget *parent = nullptr);
    explicit VVTF(const QString &path, QWidget *parent = nullptr);
    // Takes the file over; the name is the title, the file's own name if empty.
    VVTF(CFileVTF *file, const QString &name, QWidget *parent = nullptr);
    ~VVTF() override;

    CFileVTF *getFile() const { return vtf; }

    // The work behind the menu entries, once a path or value has been chosen. Each reports
    // failures with a message box and returns false.
    bool vtfOpenShared(const QString &path);
    void vtfOpenShared(CFileVTF *file, const QString &name);
    bool vtfNewShared(unsigned short width, unsigned short height);
    bool vtfImportShared(const QString &path);
    bool vtfExportShared(const QString &path);
    bool vtfSaveShared(const QString &path, bool copy);
    bool vtfTreeFromFileShared(const QString &path);
    bool vtfSetFacesShared(unsigned char count);

    bool updateCurrentImage(unsigned char mipmap, unsigned short frame, unsigned char face,
                            unsigned short slice);
    void updateActiveImage();
    void updateTabLayout();
    void normalizeCurTreeIndicies();
    // The filter for a resize, asked for in a list; false when cancelled.
    bool getInterpolationType(MagickCore::FilterTypes &filter);

    unsigned int getDrawFlags() const { return drawFlags; }
    unsigned char getCurMipmap() const { return curMipmap; }
    unsigned short getCurFrame() const { return curFrame; }
    unsigned char getCurFace() const { return curFace; }
    unsigned short getCurSlice() const { return curSlice; }
    bool isImageLoaded() const { return imageLoaded; }
    bool isAnimating() const { return animationTimer.isActive(); }
    const QByteArray &getCurImage() const { return curImage; }

    // Widgets, reachable for tests and the workspace.
    QTabWidget *tabs = nullptr;
    QTreeWidget *layoutTree = nullptr;
    QListWidget *flagList = nullptr;
    QLabel *imageLabel = nullptr;
    QLabel *tileLabels[3] = {};
    QWidget *imageArea = nullptr;
    QScrollArea *imageScroll = nullptr;
    QLabel *zoomLabel = nullptr;
    QSlider *keySlider = nullptr;
    QSlider *shiftSlider = nullptr;
    QSlider *gammaSlider = nullptr;
    QLabel *levelLabels[4] = {};
    QPushButton *previousButtons[4] = {};
    QPushButton *nextButtons[4] = {};
    QComboBox *versionCombo = nullptr;
    QComboBox *formatCombo = nullptr;
    QComboBox *thumbnailCombo = nullptr;
    QLineEdit *firstFrameEdit = nullptr;
    QLineEdit *bumpmapEdit = nullptr;
    QLineEdit *reflectEdits[3] = {};
    QLabel *sizeLabel = nullptr;
    QGroupBox *crcGroup = nullptr;
    QLabel *crcStatusLabel = nullptr;
    QGroupBox *lodGroup = nullptr;
    QLineEdit *lodEdits[4] = {};
    QGroupBox *ts0Group = nullptr;
    QLineEdit *ts0Edit = nullptr;
    QLabel *keyValuesLabel = nullptr;
    QPushButton *sheetButton = nullptr;

    QAction *actionNew = nullptr;
    QAction *actionOpen = nullptr;
    QAction *actionImport = nullptr;
    QAction *actionExport = nullptr;
    QAction *actionSave = nullptr;
    QAction *actionSaveAs = nullptr;
    QAction *actionSaveCopyAs = nullptr;
    QAction *actionExit = nullptr;
    QAction *actionCopy = nullptr;
    QAction *actionPaste = nullptr;
    QAction *actionThumbnail = nullptr;
    QAction *actionFrameCount = nullptr;
    QAction *actionSliceCount = nullptr;
    QAction *actionMipmapCount = nullptr;
    QAction *actionFaces[3] = {};
    QAction *actionGenerateMipmaps = nullptr;
    QAction *actionGenerateSpheremaps = nullptr;
    QAction *actionCorrectGamma = nullptr;
    QAction *actionComputeReflectivity = nullptr;
    QAction *actionChannels[5] = {};
    QAction *actionMask = nullptr;
    QAction *actionTile = nullptr;
    QAction *actionAnimation = nullptr;
    QAction *actionZoomIn = nullptr;
    QAction *actionZoomOut = nullptr;
    QAction *actionZoomFit = nullptr;
    QAction *actionZoomActual = nullptr;
    QAction *actionFromFile = nullptr;
    QAction *actionFromImage = nullptr;
    QMenu *fileMenu = nullptr;
    QMenu *editMenu = nullptr;
    QMenu *experimentalMenu = nullptr;
    QMenu *viewMenu = nullptr;
    QMenu *faceMenu = nullptr;
    QDockWidget *viewDock = nullptr;

public Q_SLOTS:
    void vtfNew();
    void vtfOpen();
    void vtfImport();
    void vtfExport();
    void vtfSave();
    void vtfSaveAs();
    void vtfSaveCopyAs();
    void vtfCopy();
    void vtfPaste();
    void vtfThumbnail();
    void vtfFrameCount();
    void vtfSliceCount();
    void vtfMipmapCount();
    void vtfGenerateMipmaps();
    void vtfGenerateSpheremaps();
    void vtfCorrectGamma();
    void vtfComputeReflectivity();
    void vtfTreeFromFile();
    void vtfTreeFromImage();
    void vtfToggleTile();
    void vtfToggleMask();
    void vtfToggleAnimation(bool on);
    void vtfAnimationTimeout();
    void vtfClipboardDataChanged();
    void vtfSheetButtonClicked();
    void vtfTreeSelectionChanged();
    void vtfTreeContextMenu(const QPoint &position);
    void vtfFlagClicked(QListWidgetItem *item);
    void vtfHdrSliderChanged();
    void vtfLevelStep(int level, int step);
    void vtfZoomIn();
    void vtfZoomOut();
    void vtfZoomFit();
    void vtfZoomActual();
    // "Exit": closes this window and, in the workspace, its frame.
    void closeFrame();

    double getZoom() const { return zoom; }

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void build();
    void buildMenus();
    void buildTabs();
    QWidget *buildLayoutTab();
    QWidget *buildImageTab();
    QWidget *buildFlagsTab();
    QWidget *buildInfoTab();
    QWidget *buildResourcesTab();
    void buildViewControls();
    QSlider *makeHdrSlider(int minimum, int maximum, int value, int tick);

    void setFileLoaded(bool loaded);
    void updateTitle();
    void setModified();
    void updateViewControls();
    void updateFlagList();
    bool isFlagLocked(quint32 bit) const;
    void showFlag(QListWidgetItem *item, quint32 bit);
    void updateInfoTab();
    void updateResourcesTab();
    // Tick or cross on the face counts; mipmap generation wants at least two mipmaps.
    void updateFaceActions();
    void updateHdrSliders();
    void refreshAll();
    void showThumbnail();
    void showImage(const QByteArray &rgba, unsigned short width, unsigned short height);
    // Shows the image last given to showImage at the current zoom, tiled if asked.
    void applyZoom();
    void setZoom(double factor);
    double largestZoom() const;
    bool treeOnThumbnail() const { return thumbnailSelected; }
    void connectInfoEdits();
    void connectResourceEdits();
    bool replaceSelectedImage(const QImage &image);
    bool runRangeDialog(const QString &title, unsigned char &firstMipmap, unsigned char &lastMipmap,
                        unsigned short &firstFrame, unsigned short &lastFrame,
                        unsigned char &firstFace, unsigned char &lastFace,
                        unsigned short &firstSlice, unsigned short &lastSlice);
    void afterShapeChange();
    void warn(const QString &text);

    unsigned int drawFlags = VTF::DrawRGB | VTF::DrawMask;
    unsigned char treeMipmap = AllMipmaps;
    unsigned short treeFrame = AllFrames;
    unsigned char treeFace = AllFaces;
    unsigned short treeSlice = AllSlices;
    bool thumbnailSelected = false;
    unsigned char curMipmap = 0;
    unsigned short curFrame = 0;
    unsigned char curFace = 0;
    unsigned short curSlice = 0;
    bool imageLoaded = false;
    QByteArray curImage;
    unsigned short curWidth = 0;
    unsigned short curHeight = 0;
    QTimer animationTimer;
    double zoom = 1.0;
    QPixmap shownPixmap;
    CFileVTF *vtf = nullptr;
    QString displayName;
    bool updating = false;
};
