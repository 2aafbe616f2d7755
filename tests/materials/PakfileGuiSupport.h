#pragma once

// Answers to the dialogs of the pakfile editor's tests. Progress dialogs are not questions:
// they are passed over, and the one a job leaves open with its log is fetched apart.

#include "util/QListDialog.h"
#include "util/QProgressDialogger.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

inline bool isProgressDialog(const QWidget *widget)
{
    return qobject_cast<const QProgressDialog *>(widget)
        || qobject_cast<const QProgressDialogger *>(widget);
}

inline QWidget *currentQuestion()
{
    QWidget *modal = QApplication::activeModalWidget();
    if (modal && modal->isVisible() && !isProgressDialog(modal))
        return modal;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QDialog *>(widget) && !isProgressDialog(widget) && widget->isVisible()
            && widget->windowModality() != Qt::NonModal)
            return widget;
    }
    return nullptr;
}

using Answer = std::function<void(QWidget *)>;

// Answers the next dialogs one after the other from one timer.
inline void answerInTurn(QList<Answer> answers)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    auto last = std::make_shared<QPointer<QWidget>>();
    auto queue = std::make_shared<QList<Answer>>(std::move(answers));
    QObject::connect(timer, &QTimer::timeout, [timer, last, queue] {
        QWidget *modal = currentQuestion();
        if (!modal || modal == last->data())
            return;
        *last = modal;
        if (qEnvironmentVariableIsSet("ZIRK_DEBUG_ANSWERS"))
            qDebug() << "answering" << modal->metaObject()->className() << modal->windowTitle();
        const Answer answer = queue->takeFirst();
        if (queue->isEmpty()) {
            timer->stop();
            timer->deleteLater();
        }
        answer(modal);
    });
    timer->start();
}

// Keeps the box's texts and presses the button.
inline Answer pressInBox(QMessageBox::StandardButton button, QString *text = nullptr,
                         QString *informative = nullptr, QString *title = nullptr)
{
    return [=](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        QVERIFY2(box, qPrintable(widget->windowTitle()));
        if (text)
            *text = box->text();
        if (informative)
            *informative = box->informativeText();
        if (title)
            *title = box->windowTitle();
        QAbstractButton *target = box->button(button);
        QVERIFY(target);
        target->click();
    };
}

// The shared file dialog keeps its selection between uses, and a selected row wins over the
// typed name: an entry left selected from the last use (a folder, say) would take the accept.
inline void clearFileDialogSelection(QFileDialog *dialog)
{
    for (QAbstractItemView *view : dialog->findChildren<QAbstractItemView *>()) {
        if (view->selectionModel())
            view->selectionModel()->clearSelection();
    }
}

inline Answer chooseFile(const QString &path, QString *title = nullptr)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        if (title)
            *title = dialog->windowTitle();
        dialog->setDirectory(QFileInfo(path).path());
        clearFileDialogSelection(dialog);
        auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        QVERIFY(edit);
        edit->setText(QFileInfo(path).fileName());
        static_cast<QDialog *>(dialog)->accept();
        QVERIFY2(!dialog->isVisible(), qPrintable(dialog->selectedFiles().join(", ")));
    };
}

inline Answer chooseDirectory(const QString &path, QString *title = nullptr)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        if (title)
            *title = dialog->windowTitle();
        dialog->setDirectory(path);
        clearFileDialogSelection(dialog);
        static_cast<QDialog *>(dialog)->accept();
    };
}

inline Answer chooseListRow(int row, QStringList *items = nullptr)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<QListDialog *>(widget);
        QVERIFY(dialog);
        if (items) {
            items->clear();
            for (int i = 0; i < dialog->listWidget()->count(); ++i)
                items->append(dialog->listWidget()->item(i)->text());
        }
        dialog->listWidget()->setCurrentRow(row);
        dialog->accept();
    };
}

inline Answer chooseListItem(const QString &text)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<QListDialog *>(widget);
        QVERIFY(dialog);
        const QList<QListWidgetItem *> found
            = dialog->listWidget()->findItems(text, Qt::MatchExactly);
        QVERIFY2(!found.isEmpty(), qPrintable(text));
        dialog->listWidget()->setCurrentItem(found.first());
        dialog->accept();
    };
}

inline Answer typeText(const QString &text, QString *label = nullptr)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<QInputDialog *>(widget);
        QVERIFY(dialog);
        if (label)
            *label = dialog->labelText();
        dialog->setTextValue(text);
        dialog->accept();
    };
}

inline Answer closeDialog(QString *title = nullptr)
{
    return [=](QWidget *widget) {
        if (title)
            *title = widget->windowTitle();
        static_cast<QDialog *>(widget)->reject();
    };
}

// Waits until every queued answer has been given.
inline void waitForQuestions()
{
    QTest::qWait(30);
    QTRY_VERIFY(!currentQuestion());
}

// The progress dialog that a job left open because it logged something; null if none.
inline QProgressDialogger *leftOpenProgress(QWidget *owner)
{
    for (QProgressDialogger *dialog : owner->findChildren<QProgressDialogger *>()) {
        if (dialog->isVisible())
            return dialog;
    }
    return nullptr;
}
