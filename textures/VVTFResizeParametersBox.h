#pragma once

#include <QGroupBox>

#include "textures/VTFMagick.h"

class QComboBox;

// How an image's sides become power-of-two texture sides, and with which filter an image is
// resized when they change.
class VVTFResizeParametersBox : public QGroupBox
{
    Q_OBJECT

public:
    enum Method { NearestPowerOfTwo, NextPowerOfTwo, PreviousPowerOfTwo, ExactPowerOfTwo };

    explicit VVTFResizeParametersBox(QWidget *parent = nullptr);

    MagickCore::FilterTypes filterType() const;
    Method widthMethod() const;
    Method heightMethod() const;
    unsigned int clampWidth() const;
    unsigned int clampHeight() const;

    // The texture side for an image side. An exact side is taken as it is (it may then not be
    // a power of two, which the caller refuses); the other methods are lowered to the clamp.
    unsigned int resizeWidth(unsigned int width) const;
    unsigned int resizeHeight(unsigned int height) const;
    static unsigned int resizeSide(unsigned int side, Method method, unsigned int clamp);

    QComboBox *filterCombo = nullptr;
    QComboBox *widthCombo = nullptr;
    QComboBox *heightCombo = nullptr;
    QComboBox *clampWidthCombo = nullptr;
    QComboBox *clampHeightCombo = nullptr;

public Q_SLOTS:
    void resizeWidthChanged();
    void resizeHeightChanged();
};
