// VVTF, third part: the "Flags", "Info" and "Resources" tabs.
#include "textures/VVTF.h"

#include "textures/CFileVTF.h"
#include "textures/VVTFParticleSheetWidget.h"
#include "util/QWidgetDialog.h"
#include "util/UtilText.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

constexpr int ResourcesTab = 4;

bool isLockedFlag(quint32 bit)
{
    return bit == VTF::FlagOneBitAlpha || bit == VTF::FlagEightBitAlpha
        || bit == VTF::FlagEnvironmentMap;
}

QString unitText(float value)
{
    return UTIL_standardNotationFloat(value, 6);
}

QString hexWord(quint32 value)
{
    return QStringLiteral("0x")
        + QString::number(value, 16).toUpper().rightJustified(8, QLatin1Char('0'));
}

} // namespace

QWidget *VVTF::buildFlagsTab()
{
    flagList = new QListWidget;
    flagList->setObjectName(QStringLiteral("flagList"));
    for (int bit = 0; bit < 32; ++bit) {
        const char *name = VTF::getFlagName(VTF::Flags_t(1u << bit));
        auto *item = new QListWidgetItem(QString::fromLatin1(name), flagList);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        item->setCheckState(Qt::Unchecked);
    }
    connect(flagList, &QListWidget::itemClicked, this, &VVTF::vtfFlagClicked);
    // Space toggles the flag under the keyboard's cursor, as a click does.
    auto *space = new QShortcut(QKeySequence(Qt::Key_Space), flagList, nullptr, nullptr,
                                Qt::WidgetShortcut);
    connect(space, &QShortcut::activated, this, [this] {
        if (QListWidgetItem *item = flagList->currentItem())
            vtfFlagClicked(item);
    });
    return flagList;
}

bool VVTF::isFlagLocked(quint32 bit) const
{
    // The alpha bits follow the format and the envmap bit the faces; a normal map can't be an
    // environment map.
    return isLockedFlag(bit)
        || (bit == VTF::FlagNormalMap && vtf && vtf->hasFlag(VTF::FlagEnvironmentMap));
}

void VVTF::showFlag(QListWidgetItem *item, quint32 bit)
{
    const bool set = vtf->getFlags() & bit;
    const bool locked = isFlagLocked(bit);
    item->setCheckState(set ? Qt::Checked : Qt::Unchecked);
    item->setBackground(set ? QColor(192, 255, 192) : QColor(255, 192, 192));
    item->setForeground(locked ? QColor(96, 96, 96) : QColor(Qt::black));
    item->setIcon(locked ? QIcon(QStringLiteral(":/resources/icons/lock")) : QIcon());
    // Greyed out and passed over by the keyboard, yet still shown with its state.
    item->setFlags(locked ? Qt::NoItemFlags : (Qt::ItemIsEnabled | Qt::ItemIsSelectable));
}

void VVTF::updateFlagList()
{
    if (!vtf)
        return;
    const QSignalBlocker blocker(flagList);
    for (int bit = 0; bit < 32; ++bit)
        showFlag(flagList->item(bit), 1u << bit);
}

void VVTF::vtfFlagClicked(QListWidgetItem *item)
{
    if (!vtf || !item)
        return;
    const int row = flagList->row(item);
    if (row < 0 || row > 31)
        return;
    const quint32 bit = 1u << row;
    if (isFlagLocked(bit))
        return;
    vtf->setFlags(vtf->getFlags() ^ bit);
    showFlag(item, bit);
    setModified();
}

QWidget *VVTF::buildInfoTab()
{
    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    versionCombo = new QComboBox(page);
    for (int minor = 0; minor <= 5; ++minor)
        versionCombo->addItem(QStringLiteral("7.%1").arg(minor));
    formatCombo = new QComboBox(page);
    thumbnailCombo = new QComboBox(page);
    thumbnailCombo->addItem(QString::fromLatin1(VTF::getFormatName(VTF::NONE)));
    for (int format = 0; format < VTF::FormatCount; ++format) {
        const QString name = QString::fromLatin1(VTF::getFormatName(VTF::Format_t(format)));
        formatCombo->addItem(name);
        thumbnailCombo->addItem(name);
    }
    sizeLabel = new QLabel(page);
    firstFrameEdit = new QLineEdit(page);
    bumpmapEdit = new QLineEdit(page);
    for (QLineEdit *&edit : reflectEdits)
        edit = new QLineEdit(page);
    form->addRow(QStringLiteral("Version:"), versionCombo);
    form->addRow(QStringLiteral("Size:"), sizeLabel);
    form->addRow(QStringLiteral("Format:"), formatCombo);
    form->addRow(QStringLiteral("Thumbnail"), thumbnailCombo);
    form->addRow(QStringLiteral("First Frame:"), firstFrameEdit);
    form->addRow(QStringLiteral("Bumpmap:"), bumpmapEdit);
    form->addRow(QStringLiteral("Reflect. R:"), reflectEdits[0]);
    form->addRow(QStringLiteral("Reflect. G:"), reflectEdits[1]);
    form->addRow(QStringLiteral("Reflect. B:"), reflectEdits[2]);
    connectInfoEdits();
    return page;
}

void VVTF::connectInfoEdits()
{
    connect(versionCombo, &QComboBox::currentIndexChanged, this, [this](int minor) {
        if (!vtf || updating || minor < 0)
            return;
        vtf->setVersion(vtf->getVersionMajor(), quint32(minor));
        tabs->setTabEnabled(ResourcesTab, minor >= 3);
        setModified();
    });
    connect(formatCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!vtf || updating || index < 0)
            return;
        QApplication::setOverrideCursor(Qt::WaitCursor);
        const bool ok = vtf->setHighResImageFormat(VTF::Format_t(index));
        QApplication::restoreOverrideCursor();
        if (!ok) {
            const QSignalBlocker blocker(formatCombo);
            formatCombo->setCurrentIndex(vtf->getHighResImageFormat());
            return;
        }
        updateFlagList();
        updateHdrSliders();
        if (updateCurrentImage(curMipmap, curFrame, curFace, curSlice))
            updateActiveImage();
        setModified();
    });
    connect(thumbnailCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!vtf || updating || index < 0)
            return;
        const VTF::Format_t before = vtf->getLowResImageFormat();
        if (!vtf->setLowResImageFormat(VTF::Format_t(index - 1))) {
            const QSignalBlocker blocker(thumbnailCombo);
            thumbnailCombo->setCurrentIndex(vtf->getLowResImageFormat() + 1);
            return;
        }
        // A new thumbnail starts blank; give it the picture at once.
        if (before == VTF::NONE && vtf->getLowResImageFormat() != VTF::NONE)
            vtf->generateThumbnail();
        updateTabLayout();
        setModified();
    });
    connect(firstFrameEdit, &QLineEdit::editingFinished, this, [this] {
        if (!vtf)
            return;
        bool ok = false;
        const unsigned short value = firstFrameEdit->text().trimmed().toUShort(&ok);
        if (ok) {
            const unsigned short before = vtf->getFirstFrame();
            vtf->setFirstFrame(value);
            if (vtf->getFirstFrame() != before)
                setModified();
        }
        firstFrameEdit->setText(QString::number(vtf->getFirstFrame()));
    });
    connect(bumpmapEdit, &QLineEdit::editingFinished, this, [this] {
        if (!vtf)
            return;
        bool ok = false;
        const float value = bumpmapEdit->text().trimmed().toFloat(&ok);
        if (ok) {
            vtf->setBumpmapScale(qBound(0.0f, value, 1.0f));
            setModified();
        }
        bumpmapEdit->setText(unitText(vtf->getBumpmapScale()));
    });
    for (int channel = 0; channel < 3; ++channel) {
        connect(reflectEdits[channel], &QLineEdit::editingFinished, this, [this, channel] {
            if (!vtf)
                return;
            float values[3];
            vtf->getReflectivity(values[0], values[1], values[2]);
            bool ok = false;
            const float value = reflectEdits[channel]->text().trimmed().toFloat(&ok);
            if (ok) {
                values[channel] = qBound(0.0f, value, 1.0f);
                vtf->setReflectivity(values[0], values[1], values[2]);
                setModified();
            }
            reflectEdits[channel]->setText(unitText(values[channel]));
        });
    }
}

void VVTF::updateInfoTab()
{
    if (!vtf)
        return;
    updating = true;
    versionCombo->setCurrentIndex(qMin<int>(vtf->getVersionMinor(), 5));
    formatCombo->setCurrentIndex(vtf->getHighResImageFormat());
    thumbnailCombo->setCurrentIndex(vtf->getLowResImageFormat() + 1);
    updating = false;
    sizeLabel->setText(QStringLiteral("%1 x %2, %3 mipmaps, %4 frames, %5 faces, %6 slices")
                           .arg(vtf->getWidth())
                           .arg(vtf->getHeight())
                           .arg(vtf->getMipmapCount())
                           .arg(vtf->getFrameCount())
                           .arg(vtf->getFaceCount())
                           .arg(vtf->getSliceCount()));
    firstFrameEdit->setText(QString::number(vtf->getFirstFrame()));
    bumpmapEdit->setText(unitText(vtf->getBumpmapScale()));
    float values[3];
    vtf->getReflectivity(values[0], values[1], values[2]);
    for (int channel = 0; channel < 3; ++channel)
        reflectEdits[channel]->setText(unitText(values[channel]));
    tabs->setTabEnabled(ResourcesTab, vtf->getVersionMinor() >= 3);
}

QWidget *VVTF::buildResourcesTab()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);

    crcGroup = new QGroupBox(QStringLiteral("Cyclic Redundancy Check"), page);
    crcGroup->setCheckable(true);
    crcStatusLabel = new QLabel(QStringLiteral("Absent"), crcGroup);
    auto *crcForm = new QFormLayout(crcGroup);
    crcForm->addRow(QStringLiteral("Status:"), crcStatusLabel);

    lodGroup = new QGroupBox(QStringLiteral("Level Of Detail"), page);
    lodGroup->setCheckable(true);
    for (QLineEdit *&edit : lodEdits)
        edit = new QLineEdit(lodGroup);
    auto *xboxGroup = new QGroupBox(QStringLiteral("XBox 360"), lodGroup);
    auto *xboxForm = new QFormLayout(xboxGroup);
    xboxForm->addRow(QStringLiteral("Clamp X:"), lodEdits[2]);
    xboxForm->addRow(QStringLiteral("Clamp Y:"), lodEdits[3]);
    auto *lodForm = new QFormLayout(lodGroup);
    lodForm->addRow(QStringLiteral("Clamp X:"), lodEdits[0]);
    lodForm->addRow(QStringLiteral("Clamp Y:"), lodEdits[1]);
    lodForm->addRow(xboxGroup);

    ts0Group = new QGroupBox(QStringLiteral("Texture Settings"), page);
    ts0Group->setCheckable(true);
    ts0Edit = new QLineEdit(hexWord(0), ts0Group);
    auto *ts0Form = new QFormLayout(ts0Group);
    ts0Form->addRow(QStringLiteral("Flags:"), ts0Edit);

    auto *kvGroup = new QGroupBox(QStringLiteral("Keyvalue Data"), page);
    keyValuesLabel = new QLabel(QStringLiteral("Absent"), kvGroup);
    auto *kvForm = new QFormLayout(kvGroup);
    kvForm->addRow(QStringLiteral("Status:"), keyValuesLabel);

    sheetButton = new QPushButton(QStringLiteral("Sprite Sheet"), page);
    connect(sheetButton, &QPushButton::clicked, this, &VVTF::vtfSheetButtonClicked);

    layout->addWidget(crcGroup);
    layout->addWidget(lodGroup);
    layout->addWidget(ts0Group);
    layout->addWidget(kvGroup);
    layout->addWidget(sheetButton);
    layout->addStretch(1);
    connectResourceEdits();
    return page;
}

void VVTF::connectResourceEdits()
{
    using Resource = CFileVTF::Resource_t;
    connect(crcGroup, &QGroupBox::toggled, this, [this](bool on) {
        if (!vtf || updating)
            return;
        if (on)
            vtf->addResourceOfType(Resource::CRC);
        else
            vtf->removeResourceOfType(Resource::CRC);
        updateResourcesTab();
        setModified();
    });
    connect(lodGroup, &QGroupBox::toggled, this, [this](bool on) {
        if (!vtf || updating)
            return;
        if (on)
            vtf->addResourceOfType(Resource::LOD);
        else
            vtf->removeResourceOfType(Resource::LOD);
        updateResourcesTab();
        setModified();
    });
    connect(ts0Group, &QGroupBox::toggled, this, [this](bool on) {
        if (!vtf || updating)
            return;
        if (on)
            vtf->addResourceOfType(Resource::TS0);
        else
            vtf->removeResourceOfType(Resource::TS0);
        updateResourcesTab();
        setModified();
    });
    for (int byte = 0; byte < 4; ++byte) {
        connect(lodEdits[byte], &QLineEdit::editingFinished, this, [this, byte] {
            Resource *lod = vtf ? vtf->getResourceOfType(Resource::LOD) : nullptr;
            if (!lod)
                return;
            bool ok = false;
            const uint value = lodEdits[byte]->text().trimmed().toUInt(&ok);
            if (ok) {
                const int shift = byte * 8;
                lod->data = (lod->data & ~(0xFFu << shift)) | (qMin(value, 255u) << shift);
                setModified();
            }
            lodEdits[byte]->setText(QString::number((lod->data >> (byte * 8)) & 0xFF));
        });
    }
    connect(ts0Edit, &QLineEdit::editingFinished, this, [this] {
        Resource *ts0 = vtf ? vtf->getResourceOfType(Resource::TS0) : nullptr;
        if (!ts0)
            return;
        bool ok = false;
        const uint value = ts0Edit->text().trimmed().toUInt(&ok, 16);
        if (ok) {
            ts0->data = value;
            setModified();
        }
        ts0Edit->setText(hexWord(ts0->data));
    });
}

void VVTF::updateResourcesTab()
{
    if (!vtf)
        return;
    using Resource = CFileVTF::Resource_t;
    updating = true;
    const Resource *crc = vtf->getResourceOfType(Resource::CRC);
    crcGroup->setChecked(crc != nullptr);
    crcStatusLabel->setText(
        !crc ? QStringLiteral("Absent")
             : (crc->data ? hexWord(crc->data) : QStringLiteral("Uncalculated")));
    const Resource *lod = vtf->getResourceOfType(Resource::LOD);
    lodGroup->setChecked(lod != nullptr);
    for (int byte = 0; byte < 4; ++byte)
        lodEdits[byte]->setText(lod ? QString::number((lod->data >> (byte * 8)) & 0xFF)
                                    : QString());
    const Resource *ts0 = vtf->getResourceOfType(Resource::TS0);
    ts0Group->setChecked(ts0 != nullptr);
    ts0Edit->setText(hexWord(ts0 ? ts0->data : 0));
    keyValuesLabel->setText(vtf->getResourceOfType(Resource::KeyValues) ? QStringLiteral("Present")
                                                                        : QStringLiteral("Absent"));
    sheetButton->setEnabled(vtf->getResourceOfType(Resource::Sheet) != nullptr);
    updating = false;
}

void VVTF::vtfSheetButtonClicked()
{
    CFileVTF::Resource_t *sheet
        = vtf ? vtf->getResourceOfType(CFileVTF::Resource_t::Sheet) : nullptr;
    if (!sheet)
        return;
    auto *widget = new VVTFParticleSheetWidget(sheet->bytes);
    QWidgetDialog dialog(widget, this);
    dialog.setWindowTitle(QStringLiteral("Sprite Sheet"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    QByteArray data;
    widget->getData(data);
    // Look the resource up again: the list may not hold the same address after the dialog.
    sheet = vtf->getResourceOfType(CFileVTF::Resource_t::Sheet);
    if (sheet && data != sheet->bytes) {
        sheet->bytes = data;
        setModified();
    }
}
