#include "textures/VVTFParticleSheetWidget.h"

#include "util/UtilText.h"

#include <QBuffer>
#include <QCheckBox>
#include <QDataStream>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <cfloat>

namespace {

constexpr qint64 SequenceHeaderSize = 16;

QString floatText(float value)
{
    return UTIL_standardNotationFloat(value, 6);
}

// A parsed float clamped to 0 up to the largest float; NaN counts as 0.
float clampedValue(float value)
{
    if (!(value >= 0.0f))
        return 0.0f;
    return value > FLT_MAX ? FLT_MAX : value;
}

} // namespace

VVTFParticleSheetWidget::VVTFParticleSheetWidget(const QByteArray &data, QWidget *parent)
    : QWidget(parent)
    , original(data)
{
    parsed = parse(data);

    auto *sequenceGroup = new QGroupBox(QStringLiteral("Sequence"), this);
    sequenceLabel = new QLabel(sequenceGroup);
    previousSequenceButton = new QPushButton(QStringLiteral("<"), sequenceGroup);
    nextSequenceButton = new QPushButton(QStringLiteral(">"), sequenceGroup);
    loopCheck = new QCheckBox(QStringLiteral("Loop"), sequenceGroup);
    sequenceDurationEdit = new QLineEdit(sequenceGroup);
    auto *sequenceNav = new QHBoxLayout;
    sequenceNav->addWidget(previousSequenceButton);
    sequenceNav->addWidget(sequenceLabel, 1, Qt::AlignCenter);
    sequenceNav->addWidget(nextSequenceButton);
    auto *sequenceForm = new QFormLayout(sequenceGroup);
    sequenceForm->addRow(sequenceNav);
    sequenceForm->addRow(loopCheck);
    sequenceForm->addRow(QStringLiteral("Duration Scalar:"), sequenceDurationEdit);

    auto *frameGroup = new QGroupBox(QStringLiteral("Frame"), this);
    frameLabel = new QLabel(frameGroup);
    previousFrameButton = new QPushButton(QStringLiteral("<"), frameGroup);
    nextFrameButton = new QPushButton(QStringLiteral(">"), frameGroup);
    frameDurationEdit = new QLineEdit(frameGroup);
    auto *frameNav = new QHBoxLayout;
    frameNav->addWidget(previousFrameButton);
    frameNav->addWidget(frameLabel, 1, Qt::AlignCenter);
    frameNav->addWidget(nextFrameButton);

    const char *heads[4] = { "Start X", "Start Y", "End X", "End Y" };
    auto *rectGrid = new QGridLayout;
    for (int column = 0; column < 4; ++column)
        rectGrid->addWidget(new QLabel(QString::fromLatin1(heads[column]), frameGroup), 0, column);
    for (int column = 0; column < 4; ++column) {
        coordEdits[column] = new QLineEdit(frameGroup);
        rectGrid->addWidget(coordEdits[column], 1, column);
    }
    extraNormalsGroup = new QGroupBox(QStringLiteral("Extra Normals"), frameGroup);
    extraNormalsGroup->setCheckable(true);
    auto *normalsGrid = new QGridLayout(extraNormalsGroup);
    for (int i = 4; i < 16; ++i) {
        coordEdits[i] = new QLineEdit(extraNormalsGroup);
        normalsGrid->addWidget(coordEdits[i], i / 4 - 1, i % 4);
    }
    for (QLineEdit *edit : coordEdits)
        connect(edit, &QLineEdit::editingFinished, this,
                &VVTFParticleSheetWidget::normalLineChanged);

    auto *frameForm = new QFormLayout(frameGroup);
    frameForm->addRow(frameNav);
    frameForm->addRow(QStringLiteral("Duration Scalar:"), frameDurationEdit);
    frameForm->addRow(rectGrid);
    frameForm->addRow(extraNormalsGroup);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(sequenceGroup);
    layout->addWidget(frameGroup);

    connect(previousSequenceButton, &QPushButton::clicked, this,
            &VVTFParticleSheetWidget::previousSequence);
    connect(nextSequenceButton, &QPushButton::clicked, this,
            &VVTFParticleSheetWidget::nextSequence);
    connect(previousFrameButton, &QPushButton::clicked, this,
            &VVTFParticleSheetWidget::previousFrame);
    connect(nextFrameButton, &QPushButton::clicked, this, &VVTFParticleSheetWidget::nextFrame);
    connect(loopCheck, &QCheckBox::toggled, this, &VVTFParticleSheetWidget::loopToggled);
    connect(extraNormalsGroup, &QGroupBox::toggled, this,
            &VVTFParticleSheetWidget::extraNormalsToggled);
    connect(sequenceDurationEdit, &QLineEdit::editingFinished, this,
            &VVTFParticleSheetWidget::durationScalarLineChanged);
    connect(frameDurationEdit, &QLineEdit::editingFinished, this,
            &VVTFParticleSheetWidget::durationScalarLineChanged);

    {
        const QSignalBlocker blocker(extraNormalsGroup);
        extraNormalsGroup->setChecked(false);
    }
    if (parsed) {
        QDataStream peek(data);
        peek.setByteOrder(QDataStream::LittleEndian);
        quint32 version = 0;
        peek >> version;
        const QSignalBlocker blocker(extraNormalsGroup);
        extraNormalsGroup->setChecked(version == 1);
    }
    setEnabled(parsed);
    updateWidgets();
}

VVTFParticleSheetWidget::~VVTFParticleSheetWidget()
{
    // A line edit that loses focus while the widgets go reports editingFinished; by then this
    // object is only a QWidget, so nothing of it may answer.
    for (QObject *child : findChildren<QObject *>())
        QObject::disconnect(child, nullptr, this, nullptr);
}

bool VVTFParticleSheetWidget::parse(const QByteArray &data)
{
    sequences.clear();
    QDataStream stream(data);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    quint32 version = 0;
    quint32 count = 0;
    stream >> version >> count;
    if (stream.status() != QDataStream::Ok || version > 1)
        return false;
    const qint64 frameSize = 4 + (version == 0 ? 16 : 64);
    qint64 remaining = data.size() - 8;
    // Every count is checked against what is left before anything is reserved.
    if (qint64(count) * SequenceHeaderSize > remaining)
        return false;
    for (quint32 s = 0; s < count; ++s) {
        Sequence_t sequence;
        stream >> sequence.number >> sequence.loop >> sequence.frameCount
            >> sequence.durationScalar;
        remaining -= SequenceHeaderSize;
        if (qint64(sequence.frameCount) * frameSize > remaining)
            return false;
        sequence.frames.resize(sequence.frameCount);
        for (Frame_t &frame : sequence.frames) {
            stream >> frame.duration;
            for (int i = 0; i < (version == 0 ? 4 : 16); ++i)
                stream >> frame.coords[i];
        }
        remaining -= qint64(sequence.frameCount) * frameSize;
        if (stream.status() != QDataStream::Ok)
            return false;
        sequences.append(sequence);
    }
    return true;
}

void VVTFParticleSheetWidget::getData(QByteArray &data)
{
    data.clear();
    if (!parsed) {
        data = original;
        return;
    }
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    const quint32 version = extraNormalsGroup->isChecked() ? 1 : 0;
    stream << version << quint32(sequences.size());
    for (const Sequence_t &sequence : std::as_const(sequences)) {
        stream << sequence.number << sequence.loop << quint32(sequence.frames.size())
               << sequence.durationScalar;
        for (const Frame_t &frame : sequence.frames) {
            stream << frame.duration;
            for (int i = 0; i < (version == 0 ? 4 : 16); ++i)
                stream << frame.coords[i];
        }
    }
}

VVTFParticleSheetWidget::Sequence_t *VVTFParticleSheetWidget::sequence()
{
    return curSequence < unsigned(sequences.size()) ? &sequences[curSequence] : nullptr;
}

VVTFParticleSheetWidget::Frame_t *VVTFParticleSheetWidget::frame()
{
    Sequence_t *current = sequence();
    if (!current || curFrame >= unsigned(current->frames.size()))
        return nullptr;
    return &current->frames[curFrame];
}

void VVTFParticleSheetWidget::setSequence(unsigned int index)
{
    curSequence = sequences.isEmpty() ? 0 : qMin<unsigned int>(index, sequences.size() - 1);
    curFrame = 0;
    updateWidgets();
}

void VVTFParticleSheetWidget::setFrame(unsigned int index)
{
    const Sequence_t *current = sequence();
    curFrame = (!current || current->frames.isEmpty())
        ? 0
        : qMin<unsigned int>(index, current->frames.size() - 1);
    updateWidgets();
}

void VVTFParticleSheetWidget::updateWidgets()
{
    const Sequence_t *seq = sequence();
    const Frame_t *current = frame();
    const int sequenceCount = sequences.size();
    const int frameCount = seq ? seq->frames.size() : 0;
    sequenceLabel->setText(QStringLiteral("Sequence: %1/%2")
                               .arg(sequenceCount ? curSequence + 1 : 0)
                               .arg(sequenceCount));
    frameLabel->setText(
        QStringLiteral("Frame: %1/%2").arg(frameCount ? curFrame + 1 : 0).arg(frameCount));
    previousSequenceButton->setEnabled(curSequence > 0);
    nextSequenceButton->setEnabled(int(curSequence) + 1 < sequenceCount);
    previousFrameButton->setEnabled(curFrame > 0);
    nextFrameButton->setEnabled(int(curFrame) + 1 < frameCount);

    {
        const QSignalBlocker blocker(loopCheck);
        loopCheck->setChecked(seq && seq->loop != 0);
    }
    loopCheck->setEnabled(seq != nullptr);
    sequenceDurationEdit->setEnabled(seq != nullptr);
    sequenceDurationEdit->setText(seq ? floatText(seq->durationScalar) : QString());
    frameDurationEdit->setEnabled(current != nullptr);
    frameDurationEdit->setText(current ? floatText(current->duration) : QString());
    for (int i = 0; i < 16; ++i) {
        coordEdits[i]->setEnabled(current != nullptr);
        coordEdits[i]->setText(current ? floatText(current->coords[i]) : QString());
    }
}

void VVTFParticleSheetWidget::nextSequence()
{
    if (int(curSequence) + 1 < sequences.size())
        setSequence(curSequence + 1);
}

void VVTFParticleSheetWidget::previousSequence()
{
    if (curSequence > 0)
        setSequence(curSequence - 1);
}

void VVTFParticleSheetWidget::nextFrame()
{
    const Sequence_t *seq = sequence();
    if (seq && int(curFrame) + 1 < seq->frames.size())
        setFrame(curFrame + 1);
}

void VVTFParticleSheetWidget::previousFrame()
{
    if (curFrame > 0)
        setFrame(curFrame - 1);
}

void VVTFParticleSheetWidget::loopToggled()
{
    if (Sequence_t *seq = sequence())
        seq->loop = loopCheck->isChecked() ? 1 : 0;
}

void VVTFParticleSheetWidget::extraNormalsToggled(bool)
{
    // The extra rectangles are kept at all times; the check decides only what is written.
    updateWidgets();
}

void VVTFParticleSheetWidget::normalLineChanged()
{
    auto *edit = qobject_cast<QLineEdit *>(sender());
    Frame_t *current = frame();
    if (!edit || !current)
        return;
    const int index
        = std::find(std::begin(coordEdits), std::end(coordEdits), edit) - std::begin(coordEdits);
    if (index >= 16)
        return;
    bool ok = false;
    const float value = edit->text().trimmed().toFloat(&ok);
    if (ok)
        current->coords[index] = clampedValue(value);
    edit->setText(floatText(current->coords[index]));
}

void VVTFParticleSheetWidget::durationScalarLineChanged()
{
    auto *edit = qobject_cast<QLineEdit *>(sender());
    float *target = nullptr;
    if (edit == sequenceDurationEdit && sequence())
        target = &sequence()->durationScalar;
    else if (edit == frameDurationEdit && frame())
        target = &frame()->duration;
    if (!target)
        return;
    bool ok = false;
    const float value = edit->text().trimmed().toFloat(&ok);
    if (ok)
        *target = clampedValue(value);
    edit->setText(floatText(*target));
}
