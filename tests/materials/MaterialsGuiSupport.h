#pragma once

// Answers to the modal dialogs that the material windows open.

#include "MaterialsTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

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

// Chooses path in the shared file dialog and accepts it.
inline void answerFileDialog(const QString &path, QString *title = nullptr)
{
    answerNextDialog([path, title](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        if (title)
            *title = dialog->windowTitle();
        dialog->setDirectory(QFileInfo(path).path());
        auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        QVERIFY(edit);
        edit->setText(QFileInfo(path).fileName());
        static_cast<QDialog *>(dialog)->accept();
    });
}

inline void cancelNextDialog(QString *title = nullptr)
{
    answerNextDialog([title](QWidget *widget) {
        if (title)
            *title = widget->windowTitle();
        if (auto *dialog = qobject_cast<QDialog *>(widget))
            dialog->reject();
        else
            widget->close();
    });
}

// Records the next message box and presses the button.
struct MessageBoxSeen
{
    QString title;
    QString text;
    QString informative;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
};

inline void answerNextMessageBox(MessageBoxSeen *seen, QMessageBox::StandardButton button)
{
    answerNextDialog([seen, button](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box) {
            widget->close();
            return;
        }
        if (seen) {
            seen->title = box->windowTitle();
            seen->text = box->text();
            seen->informative = box->informativeText();
            seen->icon = box->icon();
            seen->defaultButton = box->standardButton(box->defaultButton());
        }
        QAbstractButton *target = box->button(button);
        QVERIFY(target);
        target->click();
    });
}
