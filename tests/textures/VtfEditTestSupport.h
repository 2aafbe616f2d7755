#pragma once

// Helpers of the texture editor tests: answering the modal dialogs that the windows open, and
// small synthetic textures.

#include "textures/CFileVTF.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <functional>

// Polls for the next modal dialog and hands it to the answer once it is visible. The answer
// must close the dialog.
inline void answerNextDialog(std::function<void(QWidget *)> answer)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, answer] {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        answer(modal);
    });
    timer->start();
}

// Records the text of the next message box and presses the given button.
inline void answerNextMessageBox(QString *text,
                                 QMessageBox::StandardButton button = QMessageBox::Ok)
{
    answerNextDialog([text, button](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box) {
            widget->close();
            return;
        }
        if (text)
            *text = box->text();
        QAbstractButton *target = box->button(button);
        if (!target)
            target = box->buttons().value(0);
        QTest::mouseClick(target, Qt::LeftButton);
    });
}

// Presses Ok in a dialog with a button box.
inline void pressOk(QWidget *dialog)
{
    auto *box = dialog->findChild<QDialogButtonBox *>();
    QVERIFY(box);
    QTest::mouseClick(box->button(QDialogButtonBox::Ok), Qt::LeftButton);
}

// A texture whose images all hold one colour, in RGBA8888.
inline CFileVTF *makeTexture(unsigned short width, unsigned short height, unsigned short frames = 1,
                             QRgb colour = qRgba(10, 20, 30, 255))
{
    auto *vtf = new CFileVTF(width, height);
    if (frames > 1)
        vtf->setFrameCount(frames);
    for (int mipmap = 0; mipmap < vtf->getMipmapCount(); ++mipmap) {
        unsigned short w = 0;
        unsigned short h = 0;
        vtf->getMipmapSize(static_cast<unsigned char>(mipmap), w, h);
        QByteArray rgba;
        for (int i = 0; i < w * h; ++i) {
            const char texel[4] = { char(qRed(colour)), char(qGreen(colour)), char(qBlue(colour)),
                                    char(qAlpha(colour)) };
            rgba.append(texel, 4);
        }
        for (int frame = 0; frame < frames; ++frame)
            vtf->setImage(rgba, w, h, static_cast<unsigned char>(mipmap),
                          static_cast<unsigned short>(frame), 0, 0, false);
    }
    return vtf;
}

// Turns a texture into one of the given stored format without converting, with zeroed images:
// reaches formats the converters refuse, such as the tone-mapped one.
inline void forceFormat(CFileVTF *vtf, VTF::Format_t format)
{
    vtf->VTFHeader.highResImageFormat = format;
    for (int mipmap = 0; mipmap < vtf->images.size(); ++mipmap) {
        unsigned short w = 0;
        unsigned short h = 0;
        vtf->getMipmapSize(static_cast<unsigned char>(mipmap), w, h);
        for (auto &frame : vtf->images[mipmap])
            for (auto &face : frame)
                for (QByteArray &slice : face)
                    slice = QByteArray(VTF::bytesPerSizeOfFormat(w, h, format), '\0');
    }
}
