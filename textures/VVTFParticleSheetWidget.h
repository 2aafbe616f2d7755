#pragma once

#include <QByteArray>
#include <QVector>
#include <QWidget>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

// Edits the sprite sheet resource of a texture: animation sequences whose frames point at
// rectangles of the texture. Version 0 has one rectangle a frame, version 1 four (the extra
// normals).
class VVTFParticleSheetWidget : public QWidget
{
    Q_OBJECT

public:
    struct Frame_t
    {
        float duration = 0.0f;
        // Start X, start Y, end X, end Y, four times; version 0 uses the first group only.
        float coords[16] = {};
    };

    struct Sequence_t
    {
        quint32 number = 0;
        quint32 loop = 0;
        quint32 frameCount = 0;
        float durationScalar = 0.0f;
        QVector<Frame_t> frames;
    };

    explicit VVTFParticleSheetWidget(const QByteArray &data, QWidget *parent = nullptr);
    ~VVTFParticleSheetWidget() override;

    void getData(QByteArray &data);

    void setSequence(unsigned int index);
    void setFrame(unsigned int index);
    void updateWidgets();

    // False when the payload was not a sheet this widget understands; getData then gives the
    // bytes back as they came.
    bool isParsed() const { return parsed; }
    const QVector<Sequence_t> &getSequences() const { return sequences; }
    unsigned int currentSequence() const { return curSequence; }
    unsigned int currentFrame() const { return curFrame; }

    QLabel *sequenceLabel = nullptr;
    QLabel *frameLabel = nullptr;
    QPushButton *previousSequenceButton = nullptr;
    QPushButton *nextSequenceButton = nullptr;
    QPushButton *previousFrameButton = nullptr;
    QPushButton *nextFrameButton = nullptr;
    QCheckBox *loopCheck = nullptr;
    QLineEdit *sequenceDurationEdit = nullptr;
    QLineEdit *frameDurationEdit = nullptr;
    QGroupBox *extraNormalsGroup = nullptr;
    QLineEdit *coordEdits[16] = {};

public Q_SLOTS:
    void nextSequence();
    void previousSequence();
    void nextFrame();
    void previousFrame();
    void loopToggled();
    void extraNormalsToggled(bool checked);
    void normalLineChanged();
    void durationScalarLineChanged();

private:
    bool parse(const QByteArray &data);
    Sequence_t *sequence();
    Frame_t *frame();

    QByteArray original;
    bool parsed = false;
    QVector<Sequence_t> sequences;
    unsigned int curSequence = 0;
    unsigned int curFrame = 0;
};
