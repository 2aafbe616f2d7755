// VTFMass, first part: the window, its pages and the start/cancel/return button.
#include "textures/VTFMass.h"

#include "app/ZIRK.h"
#include "textures/VVTFNewImageWidget.h"
#include "textures/VVTFResizeParametersBox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QImageWriter>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTextEdit>
#include <QVBoxLayout>

#include <memory>

namespace {

QComboBox *makeVersionCombo(QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    for (int minor = 0; minor <= 5; ++minor)
        combo->addItem(QStringLiteral("7.%1").arg(minor));
    combo->setCurrentIndex(3);
    return combo;
}

// A format combo that refuses the formats nothing converts to, jumping back to the last
// accepted one.
QComboBox *makeFormatCombo(QWidget *parent, bool withNone, int current)
{
    auto *combo = new QComboBox(parent);
    if (withNone)
        combo->addItem(QString::fromLatin1(VTF::getFormatName(VTF::NONE)));
    for (int format = 0; format < VTF::FormatCount; ++format)
        combo->addItem(QString::fromLatin1(VTF::getFormatName(VTF::Format_t(format))));
    combo->setCurrentIndex(current);
    const int offset = withNone ? 1 : 0;
    auto accepted = std::make_shared<int>(current);
    QObject::connect(combo, &QComboBox::currentIndexChanged, combo,
                     [combo, accepted, offset](int index) {
                         const int format = index - offset;
                         if (format == VTF::NONE || VVTFNewImageWidget::isFormatAccepted(format)) {
                             *accepted = index;
                             return;
                         }
                         const QSignalBlocker blocker(combo);
                         combo->setCurrentIndex(*accepted);
                     });
    return combo;
}

QListWidget *makeFlagList(QWidget *parent)
{
    auto *list = new QListWidget(parent);
    for (int bit = 0; bit < 32; ++bit) {
        const quint32 flag = 1u << bit;
        auto *item
            = new QListWidgetItem(QString::fromLatin1(VTF::getFlagName(VTF::Flags_t(flag))), list);
        // The alpha bits follow the format and the envmap bit the faces.
        const bool locked = flag == VTF::FlagOneBitAlpha || flag == VTF::FlagEightBitAlpha
            || flag == VTF::FlagEnvironmentMap;
        item->setFlags(locked ? Qt::ItemFlags() : (Qt::ItemIsEnabled | Qt::ItemIsUserCheckable));
        item->setCheckState(Qt::Unchecked);
    }
    return list;
}

// A settings page scrolls rather than push the window past a small workspace.
QWidget *scrolling(QWidget *page)
{
    auto *area = new QScrollArea;
    area->setWidget(page);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    return area;
}

} // namespace

VTFMass::VTFMass(QWidget *parent)
    : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Mass VTF Editor"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/vtfmass2")));

    pageList = new QListWidget(this);
    pageList->addItems({ QStringLiteral("Basic Settings"), QStringLiteral("Mode Settings") });
    pageList->setFixedWidth(pageList->sizeHintForColumn(0) + 2 * pageList->frameWidth() + 12);

    pages = new QStackedWidget(this);
    pages->addWidget(scrolling(buildBasicPage()));
    pages->addWidget(scrolling(buildFromOtherPage()));
    pages->addWidget(scrolling(buildExistingPage()));
    pages->addWidget(scrolling(buildToOtherPage()));

    auto *logPage = new QWidget;
    log = new QTextEdit(logPage);
    log->setReadOnly(true);
    progressLabel = new QLabel(logPage);
    progressBar = new QProgressBar(logPage);
    auto *logLayout = new QVBoxLayout(logPage);
    logLayout->addWidget(log, 1);
    logLayout->addWidget(progressLabel);
    logLayout->addWidget(progressBar);
    pages->addWidget(logPage);

    controlButton = new QPushButton(QStringLiteral("Apply"), this);
    connect(controlButton, &QPushButton::clicked, this, &VTFMass::cycleFormatControl);

    connect(pageList, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row == 0)
            pages->setCurrentIndex(BasicPage);
        else if (row == 1)
            showModePage();
    });
    connect(modeCombo, &QComboBox::currentIndexChanged, this, [this] {
        if (pageList->currentRow() == 1)
            showModePage();
    });
    pageList->setCurrentRow(0);

    auto *top = new QHBoxLayout;
    top->addWidget(pageList);
    top->addWidget(pages, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(controlButton);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top, 1);
    layout->addLayout(buttons);
    resize(640, 480);
}

VTFMass::~VTFMass()
{
    // A line edit that loses focus while the widgets go reports editingFinished; by then this
    // object is only a QWidget, so nothing of it may answer.
    for (QObject *child : findChildren<QObject *>())
        QObject::disconnect(child, nullptr, this, nullptr);
}

QWidget *VTFMass::buildBasicPage()
{
    auto *page = new QWidget;
    auto *dirs = new QGroupBox(QStringLiteral("Directories"), page);
    sourceEdit = new QLineEdit(dirs);
    targetEdit = new QLineEdit(dirs);
    sourceBrowse = new QPushButton(QStringLiteral("Browse..."), dirs);
    targetBrowse = new QPushButton(QStringLiteral("Browse..."), dirs);
    auto *dirGrid = new QGridLayout(dirs);
    dirGrid->addWidget(new QLabel(QStringLiteral("Source Directory:"), dirs), 0, 0);
    dirGrid->addWidget(sourceEdit, 0, 1);
    dirGrid->addWidget(sourceBrowse, 0, 2);
    dirGrid->addWidget(new QLabel(QStringLiteral("Target Directory:"), dirs), 1, 0);
    dirGrid->addWidget(targetEdit, 1, 1);
    dirGrid->addWidget(targetBrowse, 1, 2);
    auto browse = [this](QLineEdit *edit, bool write) {
        ZIRK *zirk = ZIRK::get();
        zirk->configureFileDialog(this, QStringLiteral("Browse"), QString(), edit->text());
        const QString path = zirk->getDirectory(write);
        if (!path.isEmpty())
            edit->setText(path);
    };
    connect(sourceBrowse, &QPushButton::clicked, this,
            [this, browse] { browse(sourceEdit, false); });
    connect(targetBrowse, &QPushButton::clicked, this,
            [this, browse] { browse(targetEdit, true); });

    auto *filterGroup = new QGroupBox(QStringLiteral("Name Filter"), page);
    filterEdit = new QLineEdit(filterGroup);
    filterModeCombo = new QComboBox(filterGroup);
    filterModeCombo->addItems(
        { QStringLiteral("Substring"), QStringLiteral("Wildcard"), QStringLiteral("RegEx") });
    auto *filterLayout = new QHBoxLayout(filterGroup);
    filterLayout->addWidget(new QLabel(QStringLiteral("Name Filter:"), filterGroup));
    filterLayout->addWidget(filterEdit, 1);
    filterLayout->addWidget(filterModeCombo);

    auto *options = new QGroupBox(QStringLiteral("Options"), page);
    recursiveCheck = new QCheckBox(QStringLiteral("Recursive"), options);
    preserveCheck = new QCheckBox(QStringLiteral("Preserve File Structure"), options);
    overwriteCheck = new QCheckBox(QStringLiteral("Overwrite"), options);
    auto *optionLayout = new QHBoxLayout(options);
    optionLayout->addWidget(recursiveCheck);
    optionLayout->addWidget(preserveCheck);
    optionLayout->addWidget(overwriteCheck);

    auto *format = new QGroupBox(QStringLiteral("Format"), page);
    modeCombo = new QComboBox(format);
    modeCombo->addItems(
        { QStringLiteral("Other"), QStringLiteral("Existing"), QStringLiteral("To Other") });
    auto *formatLayout = new QFormLayout(format);
    formatLayout->addRow(QStringLiteral("From:"), modeCombo);

    auto *layout = new QVBoxLayout(page);
    layout->addWidget(dirs);
    layout->addWidget(filterGroup);
    layout->addWidget(options);
    layout->addWidget(format);
    layout->addStretch(1);
    return page;
}

QGroupBox *VTFMass::buildFlagsGroup(int set)
{
    flagsGroup[set] = new QGroupBox(QStringLiteral("Flags"));
    flagsGroup[set]->setCheckable(true);
    flagsGroup[set]->setChecked(false);
    flagLists[set] = makeFlagList(flagsGroup[set]);
    auto *layout = new QVBoxLayout(flagsGroup[set]);
    layout->addWidget(flagLists[set]);
    return flagsGroup[set];
}

QWidget *VTFMass::buildResourcesGroup(int set)
{
    auto *group = new QGroupBox(QStringLiteral("Resources"));
    auto *lod = new QGroupBox(QStringLiteral("Level Of Detail"), group);
    auto *ts0 = new QGroupBox(QStringLiteral("Texture Settings"), group);
    const char *actionTexts[3] = { "Apply", "Skip", "Remove" };
    auto *lodLayout = new QGridLayout(lod);
    auto *ts0Layout = new QGridLayout(ts0);
    for (int i = 0; i < 3; ++i) {
        lodActions[set][i] = new QRadioButton(QString::fromLatin1(actionTexts[i]), lod);
        ts0Actions[set][i] = new QRadioButton(QString::fromLatin1(actionTexts[i]), ts0);
        lodLayout->addWidget(lodActions[set][i], 0, i);
        ts0Layout->addWidget(ts0Actions[set][i], 0, i);
    }
    // A new texture has nothing to remove.
    lodActions[set][ResourceRemove]->setVisible(set == 1);
    ts0Actions[set][ResourceRemove]->setVisible(set == 1);
    lodActions[set][ResourceSkip]->setChecked(true);
    ts0Actions[set][ResourceSkip]->setChecked(true);
    const char *lodTexts[4] = { "Clamp X:", "Clamp Y:", "X360", "" };
    for (int byte = 0; byte < 4; ++byte) {
        lodEdits[set][byte] = new QLineEdit(QStringLiteral("30"), lod);
        if (byte < 3)
            lodLayout->addWidget(new QLabel(QString::fromLatin1(lodTexts[byte]), lod), 1 + byte, 0);
        lodLayout->addWidget(lodEdits[set][byte], 1 + qMin(byte, 2), byte == 3 ? 2 : 1);
    }
    ts0Edits[set] = new QLineEdit(QStringLiteral("0x00000000"), ts0);
    ts0Layout->addWidget(ts0Edits[set], 1, 0, 1, 3);
    lodLayout->setRowStretch(4, 1);
    ts0Layout->setRowStretch(2, 1);
    auto *layout = new QHBoxLayout(group);
    layout->addWidget(lod);
    layout->addWidget(ts0);
    return group;
}

QWidget *VTFMass::buildFromOtherPage()
{
    auto *page = new QWidget;
    auto *basic = new QGroupBox(QStringLiteral("Format"), page);
    versionCombo[0] = makeVersionCombo(basic);
    formatCombo[0] = makeFormatCombo(basic, false, VTF::DXT5);
    thumbnailCombo[0] = makeFormatCombo(basic, true, VTF::DXT1 + 1);
    mipmapsCheck = new QCheckBox(QStringLiteral("Generate Mipmaps"), basic);
    mipmapsCheck->setChecked(true);
    reflectivityCheck = new QCheckBox(QStringLiteral("Compute Reflectivity"), basic);
    reflectivityCheck->setChecked(true);
    auto *form = new QFormLayout(basic);
    form->addRow(QStringLiteral("Version:"), versionCombo[0]);
    form->addRow(QStringLiteral("Format:"), formatCombo[0]);
    form->addRow(QStringLiteral("Thumbnail Format:"), thumbnailCombo[0]);
    form->addRow(mipmapsCheck);
    form->addRow(reflectivityCheck);
    resizeBox = new VVTFResizeParametersBox(page);

    auto *grid = new QGridLayout(page);
    grid->addWidget(basic, 0, 0);
    grid->addWidget(resizeBox, 0, 1);
    grid->addWidget(buildFlagsGroup(0), 1, 0);
    grid->addWidget(buildResourcesGroup(0), 1, 1);
    return page;
}

QWidget *VTFMass::buildExistingPage()
{
    auto *page = new QWidget;
    auto *modify = new QGroupBox(QStringLiteral("Modify"), page);
    setVersionGroup = new QGroupBox(QStringLiteral("Set Version"), modify);
    setFormatGroup = new QGroupBox(QStringLiteral("Set Format"), modify);
    setThumbnailGroup = new QGroupBox(QStringLiteral("Set Thumbnail Format"), modify);
    versionCombo[1] = makeVersionCombo(setVersionGroup);
    formatCombo[1] = makeFormatCombo(setFormatGroup, false, VTF::DXT5);
    thumbnailCombo[1] = makeFormatCombo(setThumbnailGroup, true, VTF::DXT1 + 1);
    QGroupBox *groups[3] = { setVersionGroup, setFormatGroup, setThumbnailGroup };
    QComboBox *combos[3] = { versionCombo[1], formatCombo[1], thumbnailCombo[1] };
    const char *labels[3] = { "Version:", "Format:", "Thumbnail Format:" };
    auto *modifyLayout = new QVBoxLayout(modify);
    for (int i = 0; i < 3; ++i) {
        groups[i]->setCheckable(true);
        groups[i]->setChecked(false);
        auto *form = new QFormLayout(groups[i]);
        form->addRow(QString::fromLatin1(labels[i]), combos[i]);
        modifyLayout->addWidget(groups[i]);
    }
    modifyLayout->addStretch(1);

    auto *grid = new QGridLayout(page);
    grid->addWidget(modify, 0, 0);
    grid->addWidget(buildFlagsGroup(1), 0, 1);
    grid->addWidget(buildResourcesGroup(1), 1, 0, 1, 2);
    return page;
}

QWidget *VTFMass::buildToOtherPage()
{
    auto *page = new QWidget;
    auto *formatGroup = new QGroupBox(QStringLiteral("Image Format"), page);
    imageFormatCombo = new QComboBox(formatGroup);
    const QList<QByteArray> writable = QImageWriter::supportedImageFormats();
    for (const char *format : { "png", "jpg", "bmp", "tiff", "ppm", "pgm", "pbm", "xpm", "xbm" })
        if (writable.contains(QByteArray(format)))
            imageFormatCombo->addItem(QString::fromLatin1(format));
    auto *formatLayout = new QFormLayout(formatGroup);
    formatLayout->addRow(QStringLiteral("Image Format:"), imageFormatCombo);

    auto *selection = new QGroupBox(QStringLiteral("Selection"), page);
    allMipmapsCheck = new QCheckBox(QStringLiteral("All Mipmaps"), selection);
    allFramesCheck = new QCheckBox(QStringLiteral("All Frames"), selection);
    allFacesCheck = new QCheckBox(QStringLiteral("All Faces"), selection);
    allSlicesCheck = new QCheckBox(QStringLiteral("All Slices"), selection);
    auto *selectionLayout = new QVBoxLayout(selection);
    for (QCheckBox *check : { allMipmapsCheck, allFramesCheck, allFacesCheck, allSlicesCheck })
        selectionLayout->addWidget(check);

    auto *layout = new QVBoxLayout(page);
    layout->addWidget(formatGroup);
    layout->addWidget(selection);
    layout->addStretch(1);
    return page;
}

VTFMass::Mode VTFMass::mode() const
{
    return Mode(qBound(0, modeCombo->currentIndex(), 2));
}

QString VTFMass::logText() const
{
    return log->toPlainText();
}

void VTFMass::logLine(const QString &text)
{
    log->append(text);
}

void VTFMass::showModePage()
{
    pages->setCurrentIndex(int(FromOtherPage) + int(mode()));
}

void VTFMass::setSettingsEnabled(bool enabled)
{
    pageList->setEnabled(enabled);
    for (int page = BasicPage; page <= ToOtherPage; ++page)
        pages->widget(page)->setEnabled(enabled);
}

void VTFMass::cycleFormatControl()
{
    if (pages->currentIndex() == LogPage) {
        cancelFlag = !cancelFlag;
        if (cancelFlag) {
            controlButton->setEnabled(false);
            controlButton->setText(QStringLiteral("Return"));
        } else {
            setSettingsEnabled(true);
            pageList->setCurrentRow(1);
            showModePage();
            controlButton->setText(QStringLiteral("Apply"));
        }
        return;
    }
    setSettingsEnabled(false);
    log->clear();
    progressLabel->clear();
    progressBar->setRange(0, 1);
    progressBar->setValue(0);
    pages->setCurrentIndex(LogPage);
    controlButton->setText(QStringLiteral("Cancel"));
    cancelFlag = false;
    startFormat();
}

void VTFMass::finishRun()
{
    running = false;
    // The run is over: the flag stays up, so the next press returns to the settings.
    cancelFlag = true;
    controlButton->setText(QStringLiteral("Return"));
    controlButton->setEnabled(true);
}
