#pragma once

#include <QWidget>

class CFileVTF;
class QComboBox;
class QLabel;
class QLineEdit;

// Picks a range of images of one texture, or with setImageToImage a single image. Mipmaps are
// chosen by size, largest first; frames, faces and slices are typed.
class VVTFImageRangeWidget : public QWidget
{
    Q_OBJECT

public:
    explicit VVTFImageRangeWidget(QWidget *parent = nullptr);
    ~VVTFImageRangeWidget() override;

    // The range is validated against the file; values past the end (the "all" of a tree
    // selection) become the last index.
    void construct(const CFileVTF *file, unsigned char firstMipmap, unsigned char lastMipmap,
                   unsigned short firstFrame, unsigned short lastFrame, unsigned char firstFace,
                   unsigned char lastFace, unsigned short firstSlice, unsigned short lastSlice);

    void setImageToImage();
    void setStartOnly();

    unsigned char firstMipmap() const;
    unsigned char lastMipmap() const;
    unsigned short firstFrame() const { return values[FrameStart]; }
    unsigned short lastFrame() const { return values[FrameEnd]; }
    unsigned char firstFace() const { return static_cast<unsigned char>(values[FaceStart]); }
    unsigned char lastFace() const { return static_cast<unsigned char>(values[FaceEnd]); }
    unsigned short firstSlice() const { return values[SliceStart]; }
    unsigned short lastSlice() const { return values[SliceEnd]; }

    enum Field { FrameStart, FrameEnd, FaceStart, FaceEnd, SliceStart, SliceEnd, FieldCount };

    QComboBox *mipmapStart = nullptr;
    QComboBox *mipmapEnd = nullptr;
    QLineEdit *edits[FieldCount] = {};
    QLabel *labels[4] = {};

private:
    void fieldEdited(int field);
    unsigned short lastIndexOf(int field) const;
    unsigned char mipmapOfIndex(int index) const;

    unsigned short values[FieldCount] = {};
    unsigned short lastFrameIndex = 0;
    unsigned short lastFaceIndex = 0;
    unsigned short lastSliceIndex = 0;
    int mipmapCount = 0;
};
