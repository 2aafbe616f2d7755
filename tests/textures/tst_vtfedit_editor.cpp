#include "VtfEditTestSupport.h"
#include "ZirkTest.h"

#include "app/ZIRK.h"
#include "textures/VVTF.h"
#include "textures/VVTFNewImageWidget.h"
#include "textures/VVTFParticleSheetWidget.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDirIterator>
#include <QDockWidget>
#include <QFileDialog>
#include <QGroupBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QWheelEvent>

#include <memory>

namespace {

constexpr int FlagsTab = 2;
constexpr int InfoTab = 3;
constexpr int ResourcesTab = 4;

void clickFlag(VVTF &window, const QString &name)
{
    window.tabs->setCurrentIndex(FlagsTab);
    const QList<QListWidgetItem *> items = window.flagList->findItems(name, Qt::MatchExactly);
    QCOMPARE(items.size(), 1);
    window.flagList->scrollToItem(items.first());
    const QRect rect = window.flagList->visualItemRect(items.first());
    QTest::mouseClick(window.flagList->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
}

void showWindow(VVTF &window)
{
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
}

QString writeTexture(const QTemporaryDir &dir, const QString &name, CFileVTF *vtf)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !vtf->serialize(static_cast<QIODevice &>(file)))
        return QString();
    return path;
}

// Six frames of distinct colours in one GIF file.
QString writeSixImageGif(const QTemporaryDir &dir)
{
    const QString path = dir.filePath(QStringLiteral("six.gif"));
    std::vector<Magick::Image> frames;
    const char *colours[6] = { "red", "green", "blue", "yellow", "cyan", "magenta" };
    for (const char *colour : colours) {
        Magick::Image image(Magick::Geometry(16, 16), Magick::Color(colour));
        image.animationDelay(10);
        frames.push_back(image);
    }
    Magick::writeImages(frames.begin(), frames.end(), path.toStdString());
    return path;
}

// Types a path into the file dialog's name field, as a user would.
void typeFileName(QFileDialog *dialog, const QString &path)
{
    dialog->setDirectory(QFileInfo(path).path());
    auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    QVERIFY(edit);
    edit->setText(QFileInfo(path).fileName());
}

} // namespace

class TestVtfEditEditor : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

private slots:
    void initTestCase()
    {
        zirkInitTestResources();
        Magick::InitializeMagick(nullptr);
        QVERIFY(dir.isValid());
    }

    void emptyWindowWaitsForAFile()
    {
        VVTF window;
        QCOMPARE(window.windowTitle(), QStringLiteral("Untitled[*]"));
        QVERIFY(!window.editMenu->isEnabled());
        QVERIFY(!window.viewMenu->isEnabled());
        QVERIFY(!window.actionSave->isEnabled());
        QVERIFY(window.actionOpen->isEnabled());
        QVERIFY(window.actionImport->isEnabled());
        QVERIFY(!window.tabs->isEnabled());
    }

    void opensAndShowsTheLargestMipmap()
    {
        VVTF window(makeTexture(32, 16, 2), QStringLiteral("brick.vtf"));
        QCOMPARE(window.windowTitle(), QStringLiteral("brick.vtf[*]"));
        QVERIFY(window.isImageLoaded());
        QCOMPARE(window.getCurMipmap(), 5);
        QCOMPARE(window.imageLabel->size(), QSize(32, 16));
        QVERIFY(window.editMenu->isEnabled());
        QVERIFY(!window.isWindowModified());
        // No thumbnail: the tree starts with the largest mipmap.
        QCOMPARE(window.layoutTree->topLevelItemCount(), 6);
        QCOMPARE(window.layoutTree->topLevelItem(0)->text(0), QStringLiteral("32 x 16"));
        QCOMPARE(window.layoutTree->topLevelItem(0)->child(1)->text(0), QStringLiteral("Frame 1"));
        QCOMPARE(window.levelLabels[0]->text(), QStringLiteral("5/5"));
        QCOMPARE(window.levelLabels[1]->text(), QStringLiteral("0/1"));
        QVERIFY(!window.nextButtons[0]->isEnabled());
        QVERIFY(window.nextButtons[1]->isEnabled());
    }

    void mipmapGenerationWantsTwoMipmaps()
    {
        VVTF single(makeTexture(1, 1), QString());
        QVERIFY(!single.actionGenerateMipmaps->isEnabled());
        VVTF chain(makeTexture(2, 2), QString());
        QVERIFY(chain.actionGenerateMipmaps->isEnabled());
    }

    void treeMenuOnTheThumbnail()
    {
        CFileVTF *vtf = makeTexture(16, 16);
        QVERIFY(vtf->generateThumbnail());
        VVTF window(vtf, QString());
        showWindow(window);
        window.tabs->setCurrentIndex(0);
        QTreeWidgetItem *thumbnail = window.layoutTree->topLevelItem(0);
        QCOMPARE(thumbnail->text(0), QStringLiteral("Thumbnail"));
        QList<QPair<QString, bool>> entries;
        auto readMenu = [&entries] {
            auto *timer = new QTimer;
            timer->setInterval(10);
            QObject::connect(timer, &QTimer::timeout, [timer, &entries] {
                auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                if (!menu)
                    return;
                timer->stop();
                timer->deleteLater();
                entries.clear();
                for (QAction *action : menu->actions())
                    if (!action->isSeparator())
                        entries.append({ action->text(), action->isEnabled() });
                menu->close();
            });
            timer->start();
        };
        auto enabled = [&entries](const char *text) {
            for (const auto &entry : std::as_const(entries))
                if (entry.first == QLatin1String(text))
                    return entry.second;
            return false;
        };

        window.layoutTree->setCurrentItem(thumbnail);
        readMenu();
        emit window.layoutTree->customContextMenuRequested(
            window.layoutTree->visualItemRect(thumbnail).center());
        QVERIFY(enabled("From File..."));
        QVERIFY(!enabled("From Image..."));
        QVERIFY(!enabled("Generate Mipmaps..."));
        QVERIFY(!enabled("Correct Gamma..."));

        QTreeWidgetItem *top = window.layoutTree->topLevelItem(1);
        window.layoutTree->setCurrentItem(top);
        readMenu();
        emit window.layoutTree->customContextMenuRequested(
            window.layoutTree->visualItemRect(top).center());
        QVERIFY(enabled("From Image..."));
        QVERIFY(enabled("Generate Mipmaps..."));
        QVERIFY(enabled("Copy"));
    }

    void stepsThroughLevels()
    {
        VVTF window(makeTexture(8, 8, 3), QString());
        showWindow(window);
        QTest::mouseClick(window.nextButtons[1], Qt::LeftButton);
        QCOMPARE(window.getCurFrame(), 1);
        QCOMPARE(window.levelLabels[1]->text(), QStringLiteral("1/2"));
        QTest::mouseClick(window.previousButtons[0], Qt::LeftButton);
        QCOMPARE(window.getCurMipmap(), 2);
        QCOMPARE(window.imageLabel->size(), QSize(4, 4));
        // A frame node shows that frame of its mipmap.
        QTreeWidgetItem *frame = window.layoutTree->topLevelItem(0)->child(2);
        window.layoutTree->setCurrentItem(frame);
        QCOMPARE(window.getCurMipmap(), 3);
        QCOMPARE(window.getCurFrame(), 2);
    }

    void lockedFlagsDoNotChange_data()
    {
        QTest::addColumn<QString>("flag");
        QTest::newRow("eight bit alpha") << QStringLiteral("Eight Bit Alpha");
        QTest::newRow("one bit alpha") << QStringLiteral("One Bit Alpha");
        QTest::newRow("environment map") << QStringLiteral("Environment Map");
    }

    void lockedFlagsDoNotChange()
    {
        QFETCH(QString, flag);
        VVTF window(makeTexture(16, 16), QString());
        showWindow(window);
        const quint32 before = window.getFile()->getFlags();
        clickFlag(window, flag);
        QCOMPARE(window.getFile()->getFlags(), before);
        QVERIFY(!window.isWindowModified());
    }

    // Space on the list toggles the flag under the cursor; locked flags are greyed out,
    // carry a lock and are passed over.
    void flagsByKeyboard()
    {
        CFileVTF *vtf = makeTexture(16, 16);
        VVTF window(vtf, QString());
        showWindow(window);
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.tabs->setCurrentIndex(FlagsTab);
        window.flagList->setFocus();
        window.flagList->setCurrentRow(2);
        QTest::keyClick(window.flagList, Qt::Key_Space);
        QVERIFY(vtf->hasFlag(VTF::FlagClampS));
        QVERIFY(window.isWindowModified());
        QTest::keyClick(window.flagList, Qt::Key_Down);
        QTest::keyClick(window.flagList, Qt::Key_Space);
        QVERIFY(vtf->hasFlag(VTF::FlagClampT));
        QTest::keyClick(window.flagList, Qt::Key_Up);
        QTest::keyClick(window.flagList, Qt::Key_Space);
        QVERIFY(!vtf->hasFlag(VTF::FlagClampS));

        auto isLocked = [&window](int row) {
            const QListWidgetItem *item = window.flagList->item(row);
            return !(item->flags() & Qt::ItemIsEnabled) && !item->icon().isNull();
        };
        QVERIFY(isLocked(12));
        QVERIFY(isLocked(13));
        QVERIFY(isLocked(14));
        QVERIFY(!isLocked(7));
        QVERIFY(window.vtfSetFacesShared(6));
        QVERIFY(isLocked(7));
        // The keyboard cannot reach around the lock either.
        window.flagList->setCurrentRow(7);
        QTest::keyClick(window.flagList, Qt::Key_Space);
        QVERIFY(!vtf->hasFlag(VTF::FlagNormalMap));
        QVERIFY(window.vtfSetFacesShared(1));
        QVERIFY(!isLocked(7));
    }

    void ordinaryFlagToggles()
    {
        VVTF window(makeTexture(16, 16), QString());
        showWindow(window);
        clickFlag(window, QStringLiteral("Clamp S"));
        QVERIFY(window.getFile()->hasFlag(VTF::FlagClampS));
        QVERIFY(window.isWindowModified());
        QListWidgetItem *item = window.flagList->item(2);
        QCOMPARE(item->background().color(), QColor(192, 255, 192));
        clickFlag(window, QStringLiteral("Clamp S"));
        QVERIFY(!window.getFile()->hasFlag(VTF::FlagClampS));
        QCOMPARE(item->background().color(), QColor(255, 192, 192));
    }

    void normalMapRefusedOnEnvmap()
    {
        CFileVTF *vtf = makeTexture(16, 16);
        VVTF window(vtf, QString());
        showWindow(window);
        QVERIFY(window.vtfSetFacesShared(6));
        QVERIFY(vtf->hasFlag(VTF::FlagEnvironmentMap));
        QCOMPARE(window.layoutTree->topLevelItem(0)->child(0)->child(5)->text(0),
                 QStringLiteral("Face Down"));
        clickFlag(window, QStringLiteral("Normal Map"));
        QVERIFY(!vtf->hasFlag(VTF::FlagNormalMap));
        // Back to one face the envmap bit goes, and the normal map can be set.
        QVERIFY(window.vtfSetFacesShared(1));
        QVERIFY(!vtf->hasFlag(VTF::FlagEnvironmentMap));
        clickFlag(window, QStringLiteral("Normal Map"));
        QVERIFY(vtf->hasFlag(VTF::FlagNormalMap));
    }

    void versionDecidesResources()
    {
        std::unique_ptr<CFileVTF> source(makeTexture(16, 16));
        source->setVersion(7, 2);
        const QString path = writeTexture(dir, QStringLiteral("old.vtf"), source.get());
        VVTF window(path);
        showWindow(window);
        QCOMPARE(window.getFile()->getVersionMinor(), 2u);
        QVERIFY(!window.tabs->isTabEnabled(ResourcesTab));
        window.tabs->setCurrentIndex(InfoTab);
        window.versionCombo->setFocus();
        QTest::keyClick(window.versionCombo, Qt::Key_Down);
        QCOMPARE(window.getFile()->getVersionMinor(), 3u);
        QVERIFY(window.tabs->isTabEnabled(ResourcesTab));
        QVERIFY(window.isWindowModified());
    }

    void keySliderOnlyForToneMapped_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("RGBA8888") << int(VTF::RGBA8888) << false;
        QTest::newRow("DXT5") << int(VTF::DXT5) << false;
        QTest::newRow("RGBA16161616") << int(VTF::RGBA16161616) << false;
        QTest::newRow("RGBA16161616F") << int(VTF::RGBA16161616F) << true;
    }

    void keySliderOnlyForToneMapped()
    {
        QFETCH(int, format);
        QFETCH(bool, enabled);
        CFileVTF *vtf = makeTexture(8, 8);
        forceFormat(vtf, VTF::Format_t(format));
        VVTF window(vtf, QString());
        QCOMPARE(window.keySlider->isEnabled(), enabled);
        QCOMPARE(window.shiftSlider->isEnabled(), enabled);
        QCOMPARE(window.gammaSlider->isEnabled(), enabled);
        QCOMPARE(window.keySlider->value(), 125);
        QCOMPARE(window.gammaSlider->value(), 400);
    }

    void hdrSliderChangesAndResets()
    {
        CFileVTF *vtf = makeTexture(8, 8);
        forceFormat(vtf, VTF::RGBA16161616F);
        VVTF window(vtf, QString());
        showWindow(window);
        window.keySlider->setFocus();
        QTest::keyClick(window.keySlider, Qt::Key_PageUp);
        QVERIFY(window.keySlider->value() > 125);
        QCOMPARE(vtf->getHdrKey(), window.keySlider->value() / 100.0f);
        emit window.keySlider->customContextMenuRequested(QPoint(1, 1));
        QCOMPARE(window.keySlider->value(), 125);
        QCOMPARE(vtf->getHdrKey(), 1.25f);
    }

    void animationWithOneFrameStays()
    {
        VVTF window(makeTexture(8, 8, 1), QString());
        showWindow(window);
        window.actionAnimation->trigger();
        QVERIFY(window.isAnimating());
        QTest::qWait(700);
        QCOMPARE(window.getCurFrame(), 0);
        QCOMPARE(window.levelLabels[1]->text(), QStringLiteral("0/0"));
        window.actionAnimation->trigger();
        QVERIFY(!window.isAnimating());
    }

    void animationWrapsAround()
    {
        VVTF window(makeTexture(8, 8, 3), QString());
        showWindow(window);
        window.actionAnimation->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(window.getCurFrame(), 2, 2000);
        QTRY_COMPARE_WITH_TIMEOUT(window.getCurFrame(), 0, 2000);
        window.actionAnimation->trigger();
    }

    // The view controls' width does not follow the digits of the running frame.
    void dockKeepsItsWidthWhileFramesRun()
    {
        VVTF window(makeTexture(8, 8, 120), QString());
        showWindow(window);
        QTest::qWait(50);
        const int width = window.viewDock->width();
        for (int step = 0; step < 101; ++step) {
            window.vtfAnimationTimeout();
            QCoreApplication::processEvents();
            QCOMPARE(window.viewDock->width(), width);
        }
        QCOMPARE(window.levelLabels[1]->text(), QStringLiteral("101/119"));
    }

    // A small texture is readable only enlarged: keys, the wheel, fit and actual size.
    void imageZooms()
    {
        VVTF window(makeTexture(32, 16, 1, qRgba(10, 200, 30, 255)), QString());
        showWindow(window);
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.tabs->setCurrentIndex(1);
        QWidget *viewport = window.imageScroll->viewport();
        viewport->setFocus();
        auto label = window.findChild<QLabel *>(QStringLiteral("zoomLabel"));
        QVERIFY(label);

        QTest::keySequence(&window, QKeySequence(QKeySequence::ZoomIn));
        QCOMPARE(window.imageLabel->size(), QSize(64, 32));
        QCOMPARE(label->text(), QStringLiteral("200%"));
        QTest::keyClick(viewport, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(window.imageLabel->size(), QSize(96, 48));
        // Enlarged texels are whole squares of the texel's colour.
        QCOMPARE(window.imageLabel->pixmap().toImage().pixel(2, 2),
                 window.imageLabel->pixmap().toImage().pixel(0, 0));

        const QPointF at(viewport->rect().center());
        QWheelEvent up(at, viewport->mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton,
                       Qt::ControlModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(viewport, &up);
        QCOMPARE(window.imageLabel->size(), QSize(128, 64));
        QWheelEvent down(at, viewport->mapToGlobal(at), QPoint(), QPoint(0, -120), Qt::NoButton,
                         Qt::ControlModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(viewport, &down);
        QCoreApplication::sendEvent(viewport, &down);
        QCOMPARE(window.imageLabel->size(), QSize(64, 32));
        QTest::keySequence(&window, QKeySequence(QKeySequence::ZoomOut));
        QTest::keySequence(&window, QKeySequence(QKeySequence::ZoomOut));
        QCOMPARE(window.imageLabel->size(), QSize(16, 8));

        window.actionZoomFit->trigger();
        const QSize room = viewport->size();
        QVERIFY(window.imageLabel->width() <= room.width());
        QVERIFY(window.imageLabel->height() <= room.height());
        QVERIFY(window.imageLabel->width() >= room.width() - 2
                || window.imageLabel->height() >= room.height() - 2);
        QTest::keyClick(viewport, Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(window.imageLabel->size(), QSize(32, 16));

        // The zoom holds for the next image, tiles included.
        QTest::keySequence(&window, QKeySequence(QKeySequence::ZoomIn));
        window.actionTile->trigger();
        QCOMPARE(window.imageArea->size(), QSize(128, 64));
        QVERIFY(window.updateCurrentImage(0, 0, 0, 0));
        window.updateActiveImage();
        QCOMPARE(window.imageLabel->size(), QSize(2, 2));
    }

    void channelMaskAndTile()
    {
        VVTF window(makeTexture(8, 8, 1, qRgba(200, 100, 50, 0)), QString());
        showWindow(window);
        QCOMPARE(window.getDrawFlags(), unsigned(VTF::DrawRGB | VTF::DrawMask));
        window.actionChannels[0]->trigger();
        QCOMPARE(window.getDrawFlags() & 0x1F, unsigned(VTF::DrawRed));
        QCOMPARE(window.imageLabel->pixmap().toImage().pixel(0, 0), qRgb(200, 200, 200));
        window.actionMask->trigger();
        QCOMPARE(window.getDrawFlags() & VTF::DrawMask, 0u);
        window.actionTile->trigger();
        QVERIFY(!window.tileLabels[2]->isHidden());
        QCOMPARE(window.imageArea->size(), QSize(16, 16));
        // The tile survives a redraw.
        window.actionChannels[4]->trigger();
        QVERIFY(!window.tileLabels[0]->isHidden());
        QCOMPARE(window.tileLabels[0]->pixmap().toImage().pixel(0, 0), qRgb(200, 100, 50));
        window.actionTile->trigger();
        QVERIFY(!!window.tileLabels[0]->isHidden());
        QCOMPARE(window.imageArea->size(), QSize(8, 8));
    }

    void infoFieldsParseAndClamp()
    {
        CFileVTF *vtf = makeTexture(8, 8, 4);
        VVTF window(vtf, QString());
        showWindow(window);
        window.tabs->setCurrentIndex(InfoTab);
        auto type = [](QLineEdit *edit, const QString &text) {
            edit->setFocus();
            edit->selectAll();
            QTest::keyClicks(edit, text);
            QTest::keyClick(edit, Qt::Key_Return);
        };
        type(window.bumpmapEdit, QStringLiteral("3.5"));
        QCOMPARE(vtf->getBumpmapScale(), 1.0f);
        QCOMPARE(window.bumpmapEdit->text(), QStringLiteral("1"));
        type(window.reflectEdits[1], QStringLiteral("0.25"));
        float r, g, b;
        vtf->getReflectivity(r, g, b);
        QCOMPARE(g, 0.25f);
        type(window.reflectEdits[1], QStringLiteral("nonsense"));
        QCOMPARE(window.reflectEdits[1]->text(), QStringLiteral("0.25"));
        type(window.firstFrameEdit, QStringLiteral("9"));
        QCOMPARE(vtf->getFirstFrame(), 3);
        QCOMPARE(window.firstFrameEdit->text(), QStringLiteral("3"));
    }

    void formatComboConvertsOrRefuses()
    {
        CFileVTF *vtf = makeTexture(8, 8);
        VVTF window(vtf, QString());
        showWindow(window);
        window.tabs->setCurrentIndex(InfoTab);
        window.formatCombo->setFocus();
        window.formatCombo->setCurrentIndex(VTF::DXT5);
        QCOMPARE(vtf->getHighResImageFormat(), VTF::DXT5);
        QVERIFY(vtf->hasFlag(VTF::FlagEightBitAlpha));
        QCOMPARE(vtf->getImageData(3, 0, 0, 0)->size(), 16 * 4);
        window.formatCombo->setCurrentIndex(VTF::P8);
        QCOMPARE(window.formatCombo->currentIndex(), int(VTF::DXT5));
        QCOMPARE(vtf->getHighResImageFormat(), VTF::DXT5);
    }

    void resourcesGroups()
    {
        CFileVTF *vtf = makeTexture(8, 8);
        VVTF window(vtf, QString());
        showWindow(window);
        window.tabs->setCurrentIndex(ResourcesTab);
        QCOMPARE(window.crcStatusLabel->text(), QStringLiteral("Absent"));
        QVERIFY(!window.sheetButton->isEnabled());
        window.crcGroup->setFocus();
        QTest::keyClick(window.crcGroup, Qt::Key_Space);
        QVERIFY(vtf->getResourceOfType(CFileVTF::Resource_t::CRC));
        QCOMPARE(window.crcStatusLabel->text(), QStringLiteral("Uncalculated"));

        window.lodGroup->setFocus();
        QTest::keyClick(window.lodGroup, Qt::Key_Space);
        QVERIFY(vtf->getResourceOfType(CFileVTF::Resource_t::LOD));
        QCOMPARE(window.lodEdits[0]->text(), QStringLiteral("30"));
        window.lodEdits[1]->setFocus();
        window.lodEdits[1]->selectAll();
        QTest::keyClicks(window.lodEdits[1], QStringLiteral("999"));
        QTest::keyClick(window.lodEdits[1], Qt::Key_Return);
        QCOMPARE(window.lodEdits[1]->text(), QStringLiteral("255"));
        QCOMPARE(vtf->getResourceOfType(CFileVTF::Resource_t::LOD)->data, 0x1E1EFF1Eu);

        window.ts0Group->setFocus();
        QTest::keyClick(window.ts0Group, Qt::Key_Space);
        QCOMPARE(window.ts0Edit->text(), QStringLiteral("0x00000000"));
        window.ts0Edit->setFocus();
        window.ts0Edit->selectAll();
        QTest::keyClicks(window.ts0Edit, QStringLiteral("abc12"));
        QTest::keyClick(window.ts0Edit, Qt::Key_Return);
        QCOMPARE(window.ts0Edit->text(), QStringLiteral("0x000ABC12"));
        QCOMPARE(vtf->getResourceOfType(CFileVTF::Resource_t::TS0)->data, 0xABC12u);

        QTest::keyClick(window.ts0Group, Qt::Key_Space);
        QVERIFY(!vtf->getResourceOfType(CFileVTF::Resource_t::TS0));
        QVERIFY(window.isWindowModified());
    }

    void spriteSheetButtonStoresTheEdit()
    {
        CFileVTF *vtf = makeTexture(8, 8);
        QByteArray sheet = QByteArray::fromHex("00000000"
                                               "01000000"
                                               "00000000"
                                               "00000000"
                                               "01000000"
                                               "0000803f"
                                               "0000803f"
                                               "00000000"
                                               "00000000"
                                               "0000803f"
                                               "0000803f");
        vtf->addResourceOfType(CFileVTF::Resource_t::Sheet)->bytes = sheet;
        VVTF window(vtf, QString());
        showWindow(window);
        window.tabs->setCurrentIndex(ResourcesTab);
        QVERIFY(window.sheetButton->isEnabled());
        answerNextDialog([](QWidget *dialog) {
            auto *widget = dialog->findChild<VVTFParticleSheetWidget *>();
            QVERIFY(widget);
            QCOMPARE(widget->frameLabel->text(), QStringLiteral("Frame: 1/1"));
            widget->frameDurationEdit->setFocus();
            widget->frameDurationEdit->selectAll();
            QTest::keyClicks(widget->frameDurationEdit, QStringLiteral("-2"));
            QTest::keyClick(widget->frameDurationEdit, Qt::Key_Return);
            pressOk(dialog);
        });
        QTest::mouseClick(window.sheetButton, Qt::LeftButton);
        const QByteArray stored = vtf->getResourceOfType(CFileVTF::Resource_t::Sheet)->bytes;
        QCOMPARE(stored.size(), sheet.size());
        QCOMPARE(stored.mid(24, 4), QByteArray(4, '\0'));
        QVERIFY(window.isWindowModified());
    }

    void importSixImagesAsFaces()
    {
        const QString path = writeSixImageGif(dir);
        VVTF window;
        showWindow(window);
        bool spheremapsChecked = false;
        answerNextDialog([&spheremapsChecked](QWidget *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("New VTF"));
            auto *options = dialog->findChild<VVTFNewImageWidget *>();
            QVERIFY(options);
            QVERIFY(options->framesAsGroup->isEnabled());
            spheremapsChecked = options->spheremapsCheck->isChecked();
            QTest::mouseClick(options->facesRadio, Qt::LeftButton);
            options->formatCombo->setCurrentIndex(VTF::RGBA8888);
            pressOk(dialog);
        });
        QVERIFY(window.vtfImportShared(path));
        QVERIFY(spheremapsChecked);
        CFileVTF *vtf = window.getFile();
        QVERIFY(vtf);
        QCOMPARE(vtf->getFaceCount(), 7);
        QVERIFY(vtf->hasFlag(VTF::FlagEnvironmentMap));
        QCOMPARE(vtf->getWidth(), 16);
        QCOMPARE(vtf->getMipmapCount(), 5);
        QCOMPARE(vtf->getHighResImageFormat(), VTF::RGBA8888);
        // The faces keep the order of the images: the second is green.
        QByteArray rgba;
        QVERIFY(vtf->getImage(4, 0, 1, 0, rgba));
        QVERIFY(quint8(rgba[1]) > 100 && quint8(rgba[0]) < 50);
        QVERIFY(window.isWindowModified());
        QCOMPARE(window.windowTitle(), QStringLiteral("six[*]"));
    }

    void importResizesToPowersOfTwo()
    {
        QImage image(100, 30, QImage::Format_ARGB32);
        image.fill(qRgba(255, 0, 0, 255));
        const QString path = dir.filePath(QStringLiteral("odd.png"));
        QVERIFY(image.save(path));
        VVTF window;
        answerNextDialog([](QWidget *dialog) { pressOk(dialog); });
        QVERIFY(window.vtfImportShared(path));
        CFileVTF *vtf = window.getFile();
        QCOMPARE(vtf->getWidth(), 128);
        QCOMPARE(vtf->getHeight(), 32);
        QCOMPARE(vtf->getHighResImageFormat(), VTF::DXT5);
        QCOMPARE(vtf->getLowResImageFormat(), VTF::DXT1);
        QCOMPARE(window.layoutTree->topLevelItem(0)->text(0), QStringLiteral("Thumbnail"));
    }

    void importOfANonImage()
    {
        const QString path = dir.filePath(QStringLiteral("fake.png"));
        QFile fake(path);
        QVERIFY(fake.open(QIODevice::WriteOnly));
        fake.write("this is not a picture");
        fake.close();
        VVTF window;
        QString text;
        answerNextMessageBox(&text);
        QVERIFY(!window.vtfImportShared(path));
        QCOMPARE(text, QStringLiteral("Device Error: Unable to read \"%1\"").arg(path));
        QVERIFY(!window.getFile());
        QCOMPARE(window.windowTitle(), QStringLiteral("Untitled[*]"));
    }

    void failedLoadKeepsTheTexture()
    {
        const QString path = dir.filePath(QStringLiteral("broken.vtf"));
        QFile broken(path);
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("VTX\0garbage", 11);
        broken.close();
        CFileVTF *vtf = makeTexture(8, 8);
        VVTF window(vtf, QStringLiteral("kept"));
        QString text;
        answerNextMessageBox(&text);
        QVERIFY(!window.vtfOpenShared(path));
        QCOMPARE(text, QStringLiteral("File Error: Magic number mismatch"));
        QCOMPARE(window.getFile(), vtf);
        QCOMPARE(window.windowTitle(), QStringLiteral("kept[*]"));
    }

    void saveClearsTheMarkAndReopens()
    {
        // With a thumbnail, so that the 7.3 directory the writer makes matches its data.
        CFileVTF *vtf = makeTexture(16, 16);
        QVERIFY(vtf->generateThumbnail());
        VVTF window(vtf, QString());
        showWindow(window);
        clickFlag(window, QStringLiteral("Clamp T"));
        QVERIFY(window.isWindowModified());
        const QString path = dir.filePath(QStringLiteral("saved.vtf"));
        const QString copy = dir.filePath(QStringLiteral("copy.vtf"));
        QVERIFY(window.vtfSaveShared(copy, true));
        QVERIFY(window.isWindowModified());
        QVERIFY(window.vtfSaveShared(path, false));
        QVERIFY(!window.isWindowModified());
        QCOMPARE(window.windowTitle(), QStringLiteral("saved.vtf[*]"));
        QCOMPARE(vtf->getFilePath(), path);

        VVTF reopened(path);
        QVERIFY(reopened.getFile());
        QVERIFY(reopened.getFile()->hasFlag(VTF::FlagClampT));
        QFile a(path), b(copy);
        QVERIFY(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
        QCOMPARE(a.readAll(), b.readAll());
    }

    void failedSaveLeavesNothing()
    {
        VVTF window(makeTexture(8, 8), QString());
        clickFlag(window, QStringLiteral("Clamp T"));
        const QString path = dir.filePath(QStringLiteral("missing/dir/out.vtf"));
        QString text;
        answerNextMessageBox(&text);
        QVERIFY(!window.vtfSaveShared(path, false));
        QVERIFY(text.startsWith(QStringLiteral("Write Error: Unable to open")));
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(window.isWindowModified());
    }

    void closeAsksWhenModified()
    {
        auto *window = new VVTF(makeTexture(8, 8), QString());
        showWindow(*window);
        clickFlag(*window, QStringLiteral("Clamp U"));
        QString text;
        answerNextDialog([&text](QWidget *widget) {
            auto *box = qobject_cast<QMessageBox *>(widget);
            QVERIFY(box);
            QCOMPARE(box->windowTitle(), QStringLiteral("VTF Editor"));
            text = box->informativeText();
            QTest::mouseClick(box->button(QMessageBox::Cancel), Qt::LeftButton);
        });
        QVERIFY(!window->close());
        QCOMPARE(text, QStringLiteral("Do you want to save your changes?"));
        answerNextDialog([](QWidget *widget) {
            auto *box = qobject_cast<QMessageBox *>(widget);
            QTest::mouseClick(box->button(QMessageBox::Discard), Qt::LeftButton);
        });
        QVERIFY(window->close());
        delete window;
    }

    void newDialogMakesA512Texture()
    {
        VVTF window;
        showWindow(window);
        answerNextDialog([](QWidget *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("New VTF"));
            auto *width = dialog->findChild<QComboBox *>(QStringLiteral("width"));
            QCOMPARE(width->currentText(), QStringLiteral("512"));
            width->setFocus();
            QTest::keyClick(width, Qt::Key_Up);
            pressOk(dialog);
        });
        window.actionNew->trigger();
        QVERIFY(window.getFile());
        QCOMPARE(window.getFile()->getWidth(), 256);
        QCOMPARE(window.getFile()->getHeight(), 512);
        QVERIFY(window.editMenu->isEnabled());
    }

    void frameCountThroughItsDialog()
    {
        CFileVTF *vtf = makeTexture(8, 8);
        VVTF window(vtf, QString());
        showWindow(window);
        answerNextDialog([](QWidget *dialog) {
            auto *input = qobject_cast<QInputDialog *>(dialog);
            QVERIFY(input);
            input->setIntValue(3);
            input->accept();
        });
        window.actionFrameCount->trigger();
        QCOMPARE(vtf->getFrameCount(), 3);
        QCOMPARE(window.layoutTree->topLevelItem(0)->childCount(), 3);
        QVERIFY(window.isWindowModified());
        // A slice count on an envmap is refused with the container's words.
        QVERIFY(window.vtfSetFacesShared(6));
        QString text;
        answerNextDialog([&text](QWidget *dialog) {
            auto *input = qobject_cast<QInputDialog *>(dialog);
            input->setTextValue(QStringLiteral("2"));
            answerNextMessageBox(&text);
            input->accept();
        });
        window.actionSliceCount->trigger();
        QCOMPARE(text, QStringLiteral("Request Error: Depth textures cannot be envmaps"));
        QCOMPARE(vtf->getSliceCount(), 1);
    }

    void exportWritesEveryImageOfTheSelection()
    {
        VVTF window(makeTexture(4, 4, 2, qRgba(1, 2, 3, 255)), QString());
        QTemporaryDir out;
        QVERIFY(window.vtfExportShared(out.filePath(QStringLiteral("shot.png"))));
        // Three mipmaps of two frames.
        QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), 6);
        QImage image(out.filePath(QStringLiteral("shot_2_1_0_0.png")));
        QCOMPARE(image.size(), QSize(4, 4));
        QCOMPARE(image.pixel(0, 0), qRgba(1, 2, 3, 255));
        // A single image keeps the name it was given.
        window.layoutTree->setCurrentItem(window.layoutTree->topLevelItem(1)->child(1));
        QVERIFY(window.vtfExportShared(out.filePath(QStringLiteral("one.png"))));
        QCOMPARE(QImage(out.filePath(QStringLiteral("one.png"))).size(), QSize(2, 2));
    }

    void pasteAndReplaceFromFile()
    {
        CFileVTF *vtf = makeTexture(8, 8);
        VVTF window(vtf, QString());
        showWindow(window);
        QImage red(8, 8, QImage::Format_ARGB32);
        red.fill(qRgba(255, 0, 0, 255));
        QApplication::clipboard()->setImage(red);
        QVERIFY(window.actionPaste->isEnabled());
        window.actionPaste->trigger();
        QByteArray rgba;
        QVERIFY(vtf->getImage(3, 0, 0, 0, rgba));
        QCOMPARE(quint8(rgba[0]), 255);
        QCOMPARE(quint8(rgba[1]), 0);
        QVERIFY(window.isWindowModified());

        // A file of another size asks for a filter and is resized.
        QImage blue(3, 5, QImage::Format_ARGB32);
        blue.fill(qRgba(0, 0, 255, 255));
        const QString path = dir.filePath(QStringLiteral("blue.png"));
        QVERIFY(blue.save(path));
        answerNextDialog([](QWidget *dialog) {
            auto *input = qobject_cast<QInputDialog *>(dialog);
            QVERIFY(input);
            QCOMPARE(input->labelText(), QStringLiteral("Resample Filter:"));
            QCOMPARE(input->textValue(), QStringLiteral("Mitchell"));
            input->accept();
        });
        QVERIFY(window.vtfTreeFromFileShared(path));
        QVERIFY(vtf->getImage(3, 0, 0, 0, rgba));
        QCOMPARE(quint8(rgba[2]), 255);
        QCOMPARE(quint8(rgba[0]), 0);

        QString text;
        answerNextMessageBox(&text);
        QVERIFY(!window.vtfTreeFromFileShared(dir.filePath(QStringLiteral("absent.png"))));
        QVERIFY(text.startsWith(QStringLiteral("Read Error: Unable to open \"")));
    }

    void everySampleOpensOrIsRefused()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        int opened = 0;
        int refused = 0;
        for (const QString &folder :
             { QStringLiteral("vtf"), QStringLiteral("vtf_from_pakfile") }) {
            QDirIterator it(samples + QLatin1Char('/') + folder, { QStringLiteral("*.vtf") },
                            QDir::Files);
            while (it.hasNext()) {
                const QString path = it.next();
                QString text;
                answerNextMessageBox(&text);
                VVTF window(path);
                if (window.getFile()) {
                    // Nothing was asked: stop the pending answer by showing it a box.
                    QMessageBox::information(nullptr, QString(), QString());
                    QVERIFY2(window.isImageLoaded() || window.getFile()->getMipmapCount() == 0,
                             qPrintable(path));
                    QCOMPARE(window.windowTitle(), QFileInfo(path).fileName() + "[*]");
                    ++opened;
                } else {
                    QVERIFY2(!text.isEmpty(), qPrintable(path));
                    QCOMPARE(window.windowTitle(), QStringLiteral("Untitled[*]"));
                    ++refused;
                }
            }
        }
        qInfo("%d sample textures opened, %d refused", opened, refused);
        QVERIFY(opened > 0);
    }

    // Last, as the workbench takes the message handler over.
    void openAndSaveAsThroughTheSharedDialog()
    {
        QFile settings(dir.filePath(QStringLiteral("noitazilait.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.close();
        QVERIFY(QDir::setCurrent(dir.path()));
        ZIRK::get();
        std::unique_ptr<CFileVTF> source(makeTexture(8, 8));
        source->setVersion(7, 2);
        const QString path = writeTexture(dir, QStringLiteral("picked.vtf"), source.get());

        VVTF window;
        QString title;
        answerNextDialog([&title, path](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            QVERIFY(dialog);
            title = dialog->windowTitle();
            typeFileName(dialog, path);
            static_cast<QDialog *>(dialog)->accept();
        });
        window.actionOpen->trigger();
        QCOMPARE(title, QStringLiteral("Open"));
        QVERIFY(window.getFile());
        QCOMPARE(window.windowTitle(), QStringLiteral("picked.vtf[*]"));

        clickFlag(window, QStringLiteral("Clamp T"));
        const QString renamed = dir.filePath(QStringLiteral("renamed"));
        answerNextDialog([&title, renamed](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            QVERIFY(dialog);
            title = dialog->windowTitle();
            typeFileName(dialog, renamed);
            static_cast<QDialog *>(dialog)->accept();
        });
        window.actionSaveAs->trigger();
        QCOMPARE(title, QStringLiteral("Save As"));
        QVERIFY(QFileInfo::exists(renamed + QStringLiteral(".vtf")));
        QVERIFY(!window.isWindowModified());
        QCOMPARE(window.windowTitle(), QStringLiteral("renamed.vtf[*]"));
        // The original stays as it was.
        std::unique_ptr<CFileVTF> original = [&path] {
            QString error;
            return std::unique_ptr<CFileVTF>(IFileClass<CFileVTF>::createFromFile(path, error));
        }();
        QVERIFY(original && !original->hasFlag(VTF::FlagClampT));
    }
};

QTEST_MAIN(TestVtfEditEditor)
#include "tst_vtfedit_editor.moc"
