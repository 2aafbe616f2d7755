#include "VtfEditTestSupport.h"
#include "ZirkTest.h"

#include "textures/VVTFImageRangeWidget.h"
#include "textures/VVTFNewImageWidget.h"
#include "textures/VVTFParticleSheetWidget.h"
#include "textures/VVTFResizeParametersBox.h"

#include <QBuffer>
#include <QCheckBox>
#include <QComboBox>
#include <QDataStream>
#include <QDirIterator>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

#include <memory>

namespace {

struct SheetFrame
{
    float duration;
    float coords[16];
};

// A sheet payload: sequences of frames, with 4 or 16 floats a frame by version.
QByteArray makeSheet(quint32 version, const QList<QList<SheetFrame>> &sequences)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream out(&buffer);
    out.setByteOrder(QDataStream::LittleEndian);
    out.setFloatingPointPrecision(QDataStream::SinglePrecision);
    out << version << quint32(sequences.size());
    for (int s = 0; s < sequences.size(); ++s) {
        out << quint32(s * 3 + 1) << quint32(s % 2) << quint32(sequences[s].size()) << 1.5f;
        for (const SheetFrame &frame : sequences[s]) {
            out << frame.duration;
            for (int i = 0; i < (version ? 16 : 4); ++i)
                out << frame.coords[i];
        }
    }
    return bytes;
}

SheetFrame frameOf(float base)
{
    SheetFrame frame { base, {} };
    for (int i = 0; i < 16; ++i)
        frame.coords[i] = base / 10.0f + float(i) * 0.0625f;
    return frame;
}

void typeInto(QLineEdit *edit, const QString &text)
{
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
}

} // namespace

class TestVtfEditWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { zirkInitTestResources(); }

    void resizeBoxDefaults()
    {
        VVTFResizeParametersBox box;
        QCOMPARE(box.title(), QStringLiteral("Resize Parameters"));
        QCOMPARE(box.filterCombo->count(), 29);
        QCOMPARE(box.filterCombo->currentText(), QStringLiteral("Mitchell"));
        QCOMPARE(box.filterType(), MagickCore::MitchellFilter);
        QCOMPARE(box.clampWidthCombo->currentText(), QStringLiteral("4096"));
        QCOMPARE(box.widthCombo->currentIndex(), 0);
    }

    void resizeSides_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<unsigned int>("side");
        QTest::addColumn<unsigned int>("clamp");
        QTest::addColumn<unsigned int>("expected");
        QTest::newRow("nearest down") << 0 << 100u << 4096u << 128u;
        QTest::newRow("nearest up") << 0 << 90u << 4096u << 64u;
        QTest::newRow("next") << 1 << 65u << 4096u << 128u;
        QTest::newRow("previous") << 2 << 127u << 4096u << 64u;
        QTest::newRow("clamped") << 1 << 3000u << 1024u << 1024u;
        QTest::newRow("exact kept") << 3 << 300u << 16u << 300u;
    }

    void resizeSides()
    {
        QFETCH(int, method);
        QFETCH(unsigned int, side);
        QFETCH(unsigned int, clamp);
        QFETCH(unsigned int, expected);
        QCOMPARE(VVTFResizeParametersBox::resizeSide(side, VVTFResizeParametersBox::Method(method),
                                                     clamp),
                 expected);
    }

    void exactMethodDisablesItsClamp()
    {
        VVTFResizeParametersBox box;
        box.show();
        box.widthCombo->setFocus();
        // Three steps down reach "Exact Power of Two".
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(box.widthCombo, Qt::Key_Down);
        QCOMPARE(box.widthCombo->currentText(), QStringLiteral("Exact Power of Two"));
        QVERIFY(!box.clampWidthCombo->isEnabled());
        QVERIFY(box.clampHeightCombo->isEnabled());
        QTest::keyClick(box.widthCombo, Qt::Key_Up);
        QVERIFY(box.clampWidthCombo->isEnabled());
    }

    void imageCountRules_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("group");
        QTest::addColumn<bool>("faces");
        QTest::addColumn<bool>("slices");
        QTest::addColumn<bool>("spheremaps");
        QTest::newRow("one") << 1 << false << false << true << false;
        QTest::newRow("two") << 2 << true << false << true << false;
        QTest::newRow("three") << 3 << true << false << false << false;
        QTest::newRow("six") << 6 << true << true << false << true;
        QTest::newRow("seven") << 7 << true << true << false << false;
        QTest::newRow("eight") << 8 << true << false << true << false;
    }

    void imageCountRules()
    {
        QFETCH(int, count);
        QFETCH(bool, group);
        QFETCH(bool, faces);
        QFETCH(bool, slices);
        QFETCH(bool, spheremaps);
        VVTFNewImageWidget widget;
        widget.setImageCount(static_cast<unsigned short>(count));
        QCOMPARE(widget.framesAsGroup->isEnabled(), group);
        QCOMPARE(widget.facesRadio->isEnabledTo(widget.framesAsGroup), faces);
        QCOMPARE(widget.slicesRadio->isEnabledTo(widget.framesAsGroup), slices);
        QCOMPARE(widget.spheremapsCheck->isChecked(), spheremaps);
        // Sphere maps only make sense once the images are faces.
        QVERIFY(!widget.spheremapsCheck->isEnabled());
        QCOMPARE(widget.framesAs(), VVTFNewImageWidget::AsFrames);
    }

    void choosingFacesEnablesSpheremaps()
    {
        VVTFNewImageWidget widget;
        widget.setImageCount(6);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QTest::mouseClick(widget.facesRadio, Qt::LeftButton);
        QCOMPARE(widget.framesAs(), VVTFNewImageWidget::AsFaces);
        QVERIFY(widget.spheremapsCheck->isEnabled());
        QVERIFY(widget.generateSpheremaps());
        QTest::mouseClick(widget.framesRadio, Qt::LeftButton);
        QVERIFY(!widget.spheremapsCheck->isEnabled());
        QVERIFY(!widget.generateSpheremaps());
    }

    void refusedFormatsKeepThePrevious_data()
    {
        QTest::addColumn<int>("from");
        QTest::newRow("P8 after IA88") << int(VTF::IA88);
        QTest::newRow("RGBA16161616F after UVWQ8888") << int(VTF::UVWQ8888);
    }

    void refusedFormatsKeepThePrevious()
    {
        QFETCH(int, from);
        VVTFNewImageWidget widget;
        widget.show();
        QCOMPARE(widget.format(), VTF::DXT5);
        widget.formatCombo->setFocus();
        widget.formatCombo->setCurrentIndex(from);
        QCOMPARE(int(widget.format()), from);
        // One step down is the refused format.
        QTest::keyClick(widget.formatCombo, Qt::Key_Down);
        QCOMPARE(widget.formatCombo->currentIndex(), from);
        QCOMPARE(int(widget.format()), from);
        QTest::keyClick(widget.formatCombo, Qt::Key_Up);
        QCOMPARE(int(widget.format()), from - 1);
    }

    void rangeFieldsClampAndRestore()
    {
        std::unique_ptr<CFileVTF> vtf(makeTexture(16, 16, 3));
        VVTFImageRangeWidget range;
        range.construct(vtf.get(), 0, 255, 1, 65535, 0, 255, 0, 65535);
        range.show();
        QVERIFY(QTest::qWaitForWindowExposed(&range));
        QCOMPARE(range.mipmapStart->count(), 5);
        QCOMPARE(range.mipmapStart->itemText(0), QStringLiteral("16 x 16"));
        QCOMPARE(range.firstMipmap(), 0);
        QCOMPARE(range.lastMipmap(), 4);
        QCOMPARE(range.firstFrame(), 1);
        QCOMPARE(range.lastFrame(), 2);
        QCOMPARE(range.edits[VVTFImageRangeWidget::FrameEnd]->text(), QStringLiteral("2"));

        QLineEdit *start = range.edits[VVTFImageRangeWidget::FrameStart];
        typeInto(start, QStringLiteral("9"));
        QCOMPARE(range.firstFrame(), 2);
        QCOMPARE(start->text(), QStringLiteral("2"));
        typeInto(start, QStringLiteral("0"));
        QCOMPARE(range.firstFrame(), 0);
        typeInto(start, QStringLiteral("abc"));
        QCOMPARE(range.firstFrame(), 0);
        QCOMPARE(start->text(), QStringLiteral("0"));
        typeInto(start, QStringLiteral("70000"));
        QCOMPARE(start->text(), QStringLiteral("0"));
        // A single face: anything typed becomes 0.
        typeInto(range.edits[VVTFImageRangeWidget::FaceEnd], QStringLiteral("5"));
        QCOMPARE(range.lastFace(), 0);
    }

    void rangeSingleChoice()
    {
        std::unique_ptr<CFileVTF> vtf(makeTexture(8, 8, 2));
        VVTFImageRangeWidget range;
        range.construct(vtf.get(), 3, 3, 1, 1, 0, 0, 0, 0);
        range.setStartOnly();
        QCOMPARE(range.labels[0]->text(), QStringLiteral("Mipmap:"));
        QCOMPARE(range.labels[3]->text(), QStringLiteral("Slice:"));
        QVERIFY(!range.mipmapEnd->isEnabled());
        QVERIFY(range.edits[VVTFImageRangeWidget::FrameEnd]->isHidden());
        QCOMPARE(range.firstMipmap(), 3);
        QCOMPARE(range.lastMipmap(), 3);
        QCOMPARE(range.firstFrame(), 1);
    }

    void sheetVersionZeroRoundTrips()
    {
        const QByteArray bytes = makeSheet(0, { { frameOf(1), frameOf(2) }, { frameOf(3) }, {} });
        VVTFParticleSheetWidget widget(bytes);
        QVERIFY(widget.isParsed());
        QCOMPARE(widget.sequenceLabel->text(), QStringLiteral("Sequence: 1/3"));
        QCOMPARE(widget.frameLabel->text(), QStringLiteral("Frame: 1/2"));
        QVERIFY(!widget.extraNormalsGroup->isChecked());
        QByteArray out;
        widget.getData(out);
        QCOMPARE(out, bytes);
    }

    void sheetExtraNormalsMakeVersionOne()
    {
        const QByteArray bytes = makeSheet(0, { { frameOf(1), frameOf(2) } });
        VVTFParticleSheetWidget widget(bytes);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        widget.extraNormalsGroup->setFocus();
        QTest::keyClick(widget.extraNormalsGroup, Qt::Key_Space);
        QVERIFY(widget.extraNormalsGroup->isChecked());
        QByteArray out;
        widget.getData(out);
        QCOMPARE(out.size(), 8 + 16 + 2 * (4 + 64));
        QCOMPARE(out.left(4), QByteArray::fromHex("01000000"));
        // Unchecking again gives the original bytes back.
        QTest::keyClick(widget.extraNormalsGroup, Qt::Key_Space);
        widget.getData(out);
        QCOMPARE(out, bytes);
    }

    void sheetVersionOneRoundTrips()
    {
        const QByteArray bytes = makeSheet(1, { { frameOf(4) }, { frameOf(5), frameOf(6) } });
        VVTFParticleSheetWidget widget(bytes);
        QVERIFY(widget.extraNormalsGroup->isChecked());
        QByteArray out;
        widget.getData(out);
        QCOMPARE(out, bytes);
    }

    void sheetFieldsClampAndStep()
    {
        const QByteArray bytes = makeSheet(0, { { frameOf(1), frameOf(2) }, { frameOf(3) } });
        VVTFParticleSheetWidget widget(bytes);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        typeInto(widget.frameDurationEdit, QStringLiteral("-5"));
        QCOMPARE(widget.frameDurationEdit->text(), QStringLiteral("0"));
        QCOMPARE(widget.getSequences()[0].frames[0].duration, 0.0f);
        typeInto(widget.sequenceDurationEdit, QStringLiteral("-0.25"));
        QCOMPARE(widget.getSequences()[0].durationScalar, 0.0f);
        typeInto(widget.coordEdits[2], QStringLiteral("0.5"));
        QCOMPARE(widget.coordEdits[2]->text(), QStringLiteral("0.5"));
        typeInto(widget.coordEdits[2], QStringLiteral("x"));
        QCOMPARE(widget.coordEdits[2]->text(), QStringLiteral("0.5"));
        QCOMPARE(widget.getSequences()[0].frames[0].coords[2], 0.5f);

        QTest::mouseClick(widget.nextFrameButton, Qt::LeftButton);
        QCOMPARE(widget.frameLabel->text(), QStringLiteral("Frame: 2/2"));
        QVERIFY(!widget.nextFrameButton->isEnabled());
        QTest::mouseClick(widget.nextSequenceButton, Qt::LeftButton);
        QCOMPARE(widget.sequenceLabel->text(), QStringLiteral("Sequence: 2/2"));
        QCOMPARE(widget.frameLabel->text(), QStringLiteral("Frame: 1/1"));
        QVERIFY(widget.loopCheck->isChecked());
        widget.loopCheck->setFocus();
        QTest::keyClick(widget.loopCheck, Qt::Key_Space);
        QCOMPARE(widget.getSequences()[1].loop, 0u);

        QByteArray out;
        widget.getData(out);
        VVTFParticleSheetWidget reread(out);
        QCOMPARE(reread.getSequences()[0].frames[0].duration, 0.0f);
        QCOMPARE(reread.getSequences()[0].frames[0].coords[2], 0.5f);
        QCOMPARE(reread.getSequences()[1].loop, 0u);
    }

    void sheetEmptyAndHostile_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("parsed");
        QTest::newRow("empty sheet") << makeSheet(0, {}) << true;
        QTest::newRow("no bytes") << QByteArray() << false;
        QTest::newRow("huge sequence count") << QByteArray::fromHex("00000000ffffffff") << false;
        QByteArray hugeFrames = makeSheet(0, { {} });
        hugeFrames.replace(16, 4, QByteArray::fromHex("ffffff7f"));
        QTest::newRow("huge frame count") << hugeFrames << false;
        QTest::newRow("unknown version") << makeSheet(7, {}) << false;
        QTest::newRow("cut short") << makeSheet(0, { { frameOf(1) } }).left(30) << false;
    }

    void sheetEmptyAndHostile()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, parsed);
        VVTFParticleSheetWidget widget(bytes);
        QCOMPARE(widget.isParsed(), parsed);
        QCOMPARE(widget.sequenceLabel->text(), QStringLiteral("Sequence: 0/0"));
        QCOMPARE(widget.frameLabel->text(), QStringLiteral("Frame: 0/0"));
        QByteArray out;
        widget.getData(out);
        QCOMPARE(out, bytes);
    }

    void sampleSheetsRoundTrip()
    {
        ZIRK_REQUIRE_SAMPLES(samples);
        int sheets = 0;
        for (const QString &folder :
             { QStringLiteral("vtf"), QStringLiteral("vtf_from_pakfile") }) {
            QDirIterator it(samples + QLatin1Char('/') + folder, { QStringLiteral("*.vtf") },
                            QDir::Files);
            while (it.hasNext()) {
                QString error;
                std::unique_ptr<CFileVTF> vtf(
                    IFileClass<CFileVTF>::createFromFile(it.next(), error));
                const CFileVTF::Resource_t *sheet
                    = vtf ? vtf->getResourceOfType(CFileVTF::Resource_t::Sheet) : nullptr;
                if (!sheet)
                    continue;
                ++sheets;
                VVTFParticleSheetWidget widget(sheet->bytes);
                QByteArray out;
                widget.getData(out);
                QVERIFY2(out == sheet->bytes, qPrintable(it.filePath()));
            }
        }
        qInfo("%d sample sheets", sheets);
    }
};

QTEST_MAIN(TestVtfEditWidgets)
#include "tst_vtfedit_widgets.moc"
