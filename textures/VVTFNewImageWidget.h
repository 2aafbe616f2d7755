#pragma once

#include "textures/VTF.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QRadioButton;
class VVTFResizeParametersBox;

// The options of an image import: how several images are laid out, the pixel format, the
// automatic operations and the resize parameters.
class VVTFNewImageWidget : public QWidget
{
    Q_OBJECT

public:
    enum FramesAs { AsFrames, AsFaces, AsSlices };

    explicit VVTFNewImageWidget(QWidget *parent = nullptr);

    void setImageCount(unsigned short count);

    FramesAs framesAs() const;
    VTF::Format_t format() const { return VTF::Format_t(formatIndex); }
    bool computeReflectivity() const;
    bool generateMipmaps() const;
    bool generateSpheremaps() const;

    // The formats a texture can be converted to from RGBA8888.
    static bool isFormatAccepted(int index);

    QGroupBox *framesAsGroup = nullptr;
    QRadioButton *framesRadio = nullptr;
    QRadioButton *facesRadio = nullptr;
    QRadioButton *slicesRadio = nullptr;
    QComboBox *formatCombo = nullptr;
    QCheckBox *reflectivityCheck = nullptr;
    QCheckBox *mipmapsCheck = nullptr;
    QCheckBox *spheremapsCheck = nullptr;
    VVTFResizeParametersBox *resizeBox = nullptr;

public Q_SLOTS:
    void formatChanged(int index);
    void framesAsToggled(bool checked);

private:
    int formatIndex = VTF::DXT5;
};
