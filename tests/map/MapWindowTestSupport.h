#pragma once

// Helpers of the map window tests: answering the modal dialogs that the windows open, and
// lump files.

#include "map/CLumpFileHeader.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

// The modal dialog waiting for an answer. A window-modal progress dialog can stay the active
// modal widget while a question stands above it, so the top-level widgets are searched too.
inline QWidget *currentQuestion()
{
    QWidget *modal = QApplication::activeModalWidget();
    if (modal && modal->isVisible() && !qobject_cast<QProgressDialog *>(modal))
        return modal;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QDialog *>(widget) && !qobject_cast<QProgressDialog *>(widget)
            && widget->isVisible() && widget->windowModality() != Qt::NonModal)
            return widget;
    }
    return nullptr;
}

// Polls for the next modal dialog and hands it to the answer once it is visible. The answer
// must close the dialog. Progress dialogs are not questions: they are passed over.
inline void answerNextDialog(std::function<void(QWidget *)> answer)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, answer] {
        QWidget *modal = currentQuestion();
        if (!modal)
            return;
        timer->stop();
        timer->deleteLater();
        answer(modal);
    });
    timer->start();
}

// Answers the next dialogs one after the other, each by its own answer, from one timer, so that
// no two answers race for the same dialog.
inline void answerInTurn(QList<std::function<void(QWidget *)>> answers)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    auto last = std::make_shared<QPointer<QWidget>>();
    auto queue = std::make_shared<QList<std::function<void(QWidget *)>>>(std::move(answers));
    QObject::connect(timer, &QTimer::timeout, [timer, last, queue] {
        QWidget *modal = currentQuestion();
        if (!modal || modal == last->data())
            return;
        *last = modal;
        const auto answer = queue->takeFirst();
        if (queue->isEmpty()) {
            timer->stop();
            timer->deleteLater();
        }
        answer(modal);
    });
    timer->start();
}

// An answer for answerInTurn: the message box's text is kept and the button pressed.
inline std::function<void(QWidget *)> pressInBox(QMessageBox::StandardButton button,
                                                 QString *text = nullptr)
{
    return [button, text](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        QVERIFY2(box, qPrintable(widget->windowTitle()));
        if (text)
            *text = box->text();
        QAbstractButton *target = box->button(button);
        QVERIFY(target);
        target->click();
    };
}

// Records the title and text of the next message box and presses the button.
inline void answerNextMessageBox(QString *text,
                                 QMessageBox::StandardButton button = QMessageBox::Ok,
                                 QString *title = nullptr)
{
    answerNextDialog([text, button, title](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box) {
            widget->close();
            return;
        }
        if (text)
            *text = box->text();
        if (title)
            *title = box->windowTitle();
        QAbstractButton *target = box->button(button);
        if (!target)
            target = box->buttons().value(0);
        QTest::mouseClick(target, Qt::LeftButton);
    });
}

// Answers every message box while it lives, with the button (or the first one the box has),
// and keeps the texts.
class MessageBoxAnswerer
{
public:
    explicit MessageBoxAnswerer(QMessageBox::StandardButton button = QMessageBox::Ok)
    {
        timer.setInterval(10);
        QObject::connect(&timer, &QTimer::timeout, [this, button] {
            auto *box = qobject_cast<QMessageBox *>(currentQuestion());
            if (!box || !box->isVisible() || box->property("answered").toBool())
                return;
            box->setProperty("answered", true);
            texts.append(box->text());
            QAbstractButton *target = box->button(button);
            if (!target)
                target = box->buttons().value(0);
            target->click();
        });
        timer.start();
    }

    QStringList texts;

private:
    QTimer timer;
};

inline QByteArray lumpFileBytes(const QByteArray &text, qint32 id = 0)
{
    CLumpFileHeader header;
    header.id = id;
    header.length = qint32(text.size());
    return header.bytes() + text;
}

inline bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Chooses the path in one of the file dialogs and accepts it.
inline void chooseInFileDialog(QWidget *widget, const QString &path)
{
    auto *dialog = qobject_cast<QFileDialog *>(widget);
    QVERIFY(dialog);
    dialog->setDirectory(QFileInfo(path).path());
    auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    QVERIFY(edit);
    edit->setText(QFileInfo(path).fileName());
    static_cast<QDialog *>(dialog)->accept();
}
