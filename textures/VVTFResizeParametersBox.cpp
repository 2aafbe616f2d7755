#include "textures/VVTFResizeParametersBox.h"

#include "textures/VTF.h"
#include "util/UtilText.h"

#include <QComboBox>
#include <QFormLayout>

namespace {

constexpr int LargestSideIndex = 12; // 4096

QComboBox *makeMethodCombo(QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    combo->addItems({ QStringLiteral("Nearest Power of Two"), QStringLiteral("Next Power of Two"),
                      QStringLiteral("Previous Power of Two"),
                      QStringLiteral("Exact Power of Two") });
    return combo;
}

QComboBox *makeClampCombo(QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    for (int i = 0; i <= LargestSideIndex; ++i)
        combo->addItem(QString::number(1u << i));
    combo->setCurrentIndex(LargestSideIndex);
    return combo;
}

} // namespace

VVTFResizeParametersBox::VVTFResizeParametersBox(QWidget *parent)
    : QGroupBox(QStringLiteral("Resize Parameters"), parent)
{
    filterCombo = new QComboBox(this);
    for (int filter = 1; filter <= 29; ++filter)
        filterCombo->addItem(
            QString::fromLatin1(VTF::magickFilterName(MagickCore::FilterTypes(filter))));
    filterCombo->setCurrentIndex(11);
    widthCombo = makeMethodCombo(this);
    heightCombo = makeMethodCombo(this);
    clampWidthCombo = makeClampCombo(this);
    clampHeightCombo = makeClampCombo(this);

    auto *layout = new QFormLayout(this);
    layout->addRow(QStringLiteral("Resize Filter:"), filterCombo);
    layout->addRow(QStringLiteral("Resize Width:"), widthCombo);
    layout->addRow(QStringLiteral("Resize Height:"), heightCombo);
    layout->addRow(QStringLiteral("Clamp Width:"), clampWidthCombo);
    layout->addRow(QStringLiteral("Clamp Height:"), clampHeightCombo);

    connect(widthCombo, &QComboBox::currentIndexChanged, this,
            &VVTFResizeParametersBox::resizeWidthChanged);
    connect(heightCombo, &QComboBox::currentIndexChanged, this,
            &VVTFResizeParametersBox::resizeHeightChanged);
}

MagickCore::FilterTypes VVTFResizeParametersBox::filterType() const
{
    return MagickCore::FilterTypes(filterCombo->currentIndex() + 1);
}

VVTFResizeParametersBox::Method VVTFResizeParametersBox::widthMethod() const
{
    return Method(widthCombo->currentIndex());
}

VVTFResizeParametersBox::Method VVTFResizeParametersBox::heightMethod() const
{
    return Method(heightCombo->currentIndex());
}

unsigned int VVTFResizeParametersBox::clampWidth() const
{
    return 1u << clampWidthCombo->currentIndex();
}

unsigned int VVTFResizeParametersBox::clampHeight() const
{
    return 1u << clampHeightCombo->currentIndex();
}

unsigned int VVTFResizeParametersBox::resizeSide(unsigned int side, Method method,
                                                 unsigned int clamp)
{
    unsigned long long value = side;
    switch (method) {
    case NearestPowerOfTwo:
        value = UTIL_nearestPowerOfTwo(value);
        break;
    case NextPowerOfTwo:
        value = UTIL_nextPowerOfTwo(value);
        break;
    case PreviousPowerOfTwo:
        value = UTIL_lastPowerOfTwo(value);
        break;
    case ExactPowerOfTwo:
        return side;
    }
    return static_cast<unsigned int>(qMin<unsigned long long>(value, clamp));
}

unsigned int VVTFResizeParametersBox::resizeWidth(unsigned int width) const
{
    return resizeSide(width, widthMethod(), clampWidth());
}

unsigned int VVTFResizeParametersBox::resizeHeight(unsigned int height) const
{
    return resizeSide(height, heightMethod(), clampHeight());
}

void VVTFResizeParametersBox::resizeWidthChanged()
{
    clampWidthCombo->setEnabled(widthMethod() != ExactPowerOfTwo);
}

void VVTFResizeParametersBox::resizeHeightChanged()
{
    clampHeightCombo->setEnabled(heightMethod() != ExactPowerOfTwo);
}
