#include "textures/VVTFImageRangeWidget.h"

#include "textures/CFileVTF.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>

VVTFImageRangeWidget::VVTFImageRangeWidget(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QGridLayout(this);
    const char *names[4] = { "Mipmap(s):", "Frame(s):", "Face(s):", "Slice(s):" };
    for (int row = 0; row < 4; ++row) {
        labels[row] = new QLabel(QString::fromLatin1(names[row]), this);
        layout->addWidget(labels[row], row, 0);
    }
    mipmapStart = new QComboBox(this);
    mipmapEnd = new QComboBox(this);
    layout->addWidget(mipmapStart, 0, 1);
    layout->addWidget(mipmapEnd, 0, 2);
    for (int field = 0; field < FieldCount; ++field) {
        edits[field] = new QLineEdit(QStringLiteral("0"), this);
        layout->addWidget(edits[field], 1 + field / 2, 1 + field % 2);
        connect(edits[field], &QLineEdit::editingFinished, this,
                [this, field] { fieldEdited(field); });
    }
}

VVTFImageRangeWidget::~VVTFImageRangeWidget()
{
    // A line edit that loses focus while the widgets go reports editingFinished; by then this
    // object is only a QWidget, so nothing of it may answer.
    for (QObject *child : findChildren<QObject *>())
        QObject::disconnect(child, nullptr, this, nullptr);
}

void VVTFImageRangeWidget::construct(const CFileVTF *file, unsigned char firstMipmap,
                                     unsigned char lastMipmap, unsigned short firstFrame,
                                     unsigned short lastFrame, unsigned char firstFace,
                                     unsigned char lastFace, unsigned short firstSlice,
                                     unsigned short lastSlice)
{
    mipmapStart->clear();
    mipmapEnd->clear();
    mipmapCount = file ? file->getMipmapCount() : 0;
    const unsigned short frames = file ? file->getFrameCount() : 0;
    const unsigned char faces = file ? file->getFaceCount() : 0;
    const unsigned short slices = file ? file->getSliceCount() : 0;
    lastFrameIndex = frames ? frames - 1 : 0;
    lastFaceIndex = faces ? faces - 1 : 0;
    lastSliceIndex = slices ? slices - 1 : 0;

    if (file)
        file->validateDimensionRange(firstMipmap, lastMipmap, firstFrame, lastFrame, firstFace,
                                     lastFace, firstSlice, lastSlice);
    for (int index = 0; index < mipmapCount; ++index) {
        unsigned short width = 0;
        unsigned short height = 0;
        file->getMipmapSize(mipmapOfIndex(index), width, height);
        const QString text = QStringLiteral("%1 x %2").arg(width).arg(height);
        mipmapStart->addItem(text);
        mipmapEnd->addItem(text);
    }
    // The combos list the largest first, so the last mipmap is the first row.
    if (mipmapCount > 0) {
        mipmapStart->setCurrentIndex(mipmapCount - 1 - qMin<int>(firstMipmap, mipmapCount - 1));
        mipmapEnd->setCurrentIndex(mipmapCount - 1 - qMin<int>(lastMipmap, mipmapCount - 1));
    }

    const unsigned short given[FieldCount]
        = { firstFrame, lastFrame, firstFace, lastFace, firstSlice, lastSlice };
    for (int field = 0; field < FieldCount; ++field) {
        values[field] = qMin(given[field], lastIndexOf(field));
        edits[field]->setText(QString::number(values[field]));
    }
}

unsigned short VVTFImageRangeWidget::lastIndexOf(int field) const
{
    switch (field / 2) {
    case 0:
        return lastFrameIndex;
    case 1:
        return lastFaceIndex;
    default:
        return lastSliceIndex;
    }
}

unsigned char VVTFImageRangeWidget::mipmapOfIndex(int index) const
{
    return static_cast<unsigned char>(qMax(0, mipmapCount - 1 - index));
}

void VVTFImageRangeWidget::fieldEdited(int field)
{
    bool ok = false;
    const unsigned short value = edits[field]->text().trimmed().toUShort(&ok);
    if (ok)
        values[field] = qMin(value, lastIndexOf(field));
    edits[field]->setText(QString::number(values[field]));
}

unsigned char VVTFImageRangeWidget::firstMipmap() const
{
    return mipmapOfIndex(qMax(0, mipmapStart->currentIndex()));
}

unsigned char VVTFImageRangeWidget::lastMipmap() const
{
    // A single choice has only its start.
    if (!mipmapEnd->isEnabled())
        return firstMipmap();
    return mipmapOfIndex(qMax(0, mipmapEnd->currentIndex()));
}

void VVTFImageRangeWidget::setImageToImage()
{
    labels[0]->setText(QStringLiteral("Mipmap:"));
    labels[1]->setText(QStringLiteral("Frame:"));
    labels[2]->setText(QStringLiteral("Face:"));
    labels[3]->setText(QStringLiteral("Slice:"));
    mipmapEnd->setEnabled(false);
    for (int field = FrameEnd; field < FieldCount; field += 2)
        edits[field]->setEnabled(false);
}

void VVTFImageRangeWidget::setStartOnly()
{
    mipmapEnd->hide();
    for (int field = FrameEnd; field < FieldCount; field += 2)
        edits[field]->hide();
    setImageToImage();
}
