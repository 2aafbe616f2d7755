#include "textures/VVTFNewImageWidget.h"

#include "textures/VVTFResizeParametersBox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

VVTFNewImageWidget::VVTFNewImageWidget(QWidget *parent)
    : QWidget(parent)
{
    framesAsGroup = new QGroupBox(QStringLiteral("Multiple Frames As"), this);
    framesRadio = new QRadioButton(QStringLiteral("Frames"), framesAsGroup);
    facesRadio = new QRadioButton(QStringLiteral("Faces"), framesAsGroup);
    slicesRadio = new QRadioButton(QStringLiteral("Slices"), framesAsGroup);
    framesRadio->setChecked(true);
    auto *framesLayout = new QHBoxLayout(framesAsGroup);
    framesLayout->addWidget(framesRadio);
    framesLayout->addWidget(facesRadio);
    framesLayout->addWidget(slicesRadio);

    auto *basicGroup = new QGroupBox(QStringLiteral("Basic Settings"), this);
    formatCombo = new QComboBox(basicGroup);
    for (int format = 0; format < VTF::FormatCount; ++format)
        formatCombo->addItem(QString::fromLatin1(VTF::getFormatName(VTF::Format_t(format))));
    formatCombo->setCurrentIndex(formatIndex);
    auto *basicLayout = new QFormLayout(basicGroup);
    basicLayout->addRow(QStringLiteral("Format:"), formatCombo);

    auto *autoGroup = new QGroupBox(QStringLiteral("Automatic Operations"), this);
    reflectivityCheck = new QCheckBox(QStringLiteral("Compute Reflectivity"), autoGroup);
    mipmapsCheck = new QCheckBox(QStringLiteral("Generate Mipmaps"), autoGroup);
    spheremapsCheck = new QCheckBox(QStringLiteral("Generate Spheremaps"), autoGroup);
    reflectivityCheck->setChecked(true);
    mipmapsCheck->setChecked(true);
    spheremapsCheck->setChecked(true);
    auto *autoLayout = new QVBoxLayout(autoGroup);
    autoLayout->addWidget(reflectivityCheck);
    autoLayout->addWidget(mipmapsCheck);
    autoLayout->addWidget(spheremapsCheck);

    resizeBox = new VVTFResizeParametersBox(this);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(framesAsGroup);
    layout->addWidget(basicGroup);
    layout->addWidget(autoGroup);
    layout->addWidget(resizeBox);

    connect(formatCombo, &QComboBox::currentIndexChanged, this, &VVTFNewImageWidget::formatChanged);
    connect(facesRadio, &QRadioButton::toggled, this, &VVTFNewImageWidget::framesAsToggled);

    setImageCount(1);
}

bool VVTFNewImageWidget::isFormatAccepted(int index)
{
    return index >= 0 && index < VTF::FormatCount && index != VTF::P8
        && index != VTF::RGBA16161616F;
}

void VVTFNewImageWidget::setImageCount(unsigned short count)
{
    const bool powerOfTwo = count != 0 && (count & (count - 1)) == 0;
    framesAsGroup->setEnabled(count >= 2);
    facesRadio->setEnabled(count == 6 || count == 7);
    slicesRadio->setEnabled(powerOfTwo);
    // A choice that no longer applies falls back to frames.
    if ((facesRadio->isChecked() && !facesRadio->isEnabled())
        || (slicesRadio->isChecked() && !slicesRadio->isEnabled()))
        framesRadio->setChecked(true);
    spheremapsCheck->setChecked(count == 6);
    spheremapsCheck->setEnabled(facesRadio->isChecked());
}

VVTFNewImageWidget::FramesAs VVTFNewImageWidget::framesAs() const
{
    if (!framesAsGroup->isEnabled())
        return AsFrames;
    if (facesRadio->isChecked())
        return AsFaces;
    if (slicesRadio->isChecked())
        return AsSlices;
    return AsFrames;
}

bool VVTFNewImageWidget::computeReflectivity() const
{
    return reflectivityCheck->isChecked();
}

bool VVTFNewImageWidget::generateMipmaps() const
{
    return mipmapsCheck->isChecked();
}

bool VVTFNewImageWidget::generateSpheremaps() const
{
    return spheremapsCheck->isEnabled() && spheremapsCheck->isChecked();
}

void VVTFNewImageWidget::formatChanged(int index)
{
    if (!isFormatAccepted(index)) {
        const QSignalBlocker blocker(formatCombo);
        formatCombo->setCurrentIndex(formatIndex);
        return;
    }
    formatIndex = index;
}

void VVTFNewImageWidget::framesAsToggled(bool)
{
    spheremapsCheck->setEnabled(facesRadio->isChecked());
}
