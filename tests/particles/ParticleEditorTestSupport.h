#pragma once

// Helpers of the particle editor tests: answering the modal dialogs and menus that the
// window opens, and finding rows of its tree.

#include "particles/VParticle.h"
#include "particles/VParticleTreeWidgetItem.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <functional>

// Polls for the next modal dialog (or popup menu) and hands it over once it is visible. The
// answer must close it.
inline void answerNext(std::function<void(QWidget *)> answer, bool popup = false)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, answer, popup] {
        QWidget *widget
            = popup ? QApplication::activePopupWidget() : QApplication::activeModalWidget();
        if (!widget || !widget->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        answer(widget);
    });
    timer->start();
}

// Waits for a modal dialog of that object name, passing over others that are up meanwhile.
inline void answerNamed(const QString &name, std::function<void(QWidget *)> answer)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, name, answer] {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == name && widget->isVisible()) {
                timer->stop();
                timer->deleteLater();
                answer(widget);
                return;
            }
        }
    });
    timer->start();
}

// Records the text of the next message box and presses the button.
inline void answerMessageBox(QString *text, QMessageBox::StandardButton button = QMessageBox::Ok)
{
    answerNext([text, button](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box) {
            widget->close();
            return;
        }
        if (text)
            *text = box->text();
        QAbstractButton *target = box->button(button);
        QTest::mouseClick(target ? target : box->buttons().value(0), Qt::LeftButton);
    });
}

// Types into the next input dialog and accepts it, or cancels it with an empty answer.
inline void answerInput(const QString &text, QString *title = nullptr)
{
    answerNext([text, title](QWidget *widget) {
        auto *dialog = qobject_cast<QInputDialog *>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        if (title)
            *title = dialog->windowTitle();
        if (text.isNull()) {
            dialog->reject();
            return;
        }
        // For a choice among items this selects the item of that text.
        dialog->setTextValue(text);
        dialog->accept();
    });
}

// In the next list dialog: records its title and rows, then picks the row with this text
// (a null text cancels).
inline void answerList(const QString &pick, QStringList *rows, QString *title = nullptr)
{
    answerNext([pick, rows, title](QWidget *widget) {
        auto *list = widget->findChild<QListWidget *>();
        if (title)
            *title = widget->windowTitle();
        if (rows && list) {
            rows->clear();
            for (int i = 0; i < list->count(); ++i)
                rows->append(list->item(i)->text());
        }
        const QList<QListWidgetItem *> found
            = list ? list->findItems(pick, Qt::MatchExactly) : QList<QListWidgetItem *>();
        auto *dialog = qobject_cast<QDialog *>(widget);
        if (pick.isNull() || found.isEmpty() || !dialog) {
            widget->close();
            return;
        }
        list->setCurrentItem(found.first());
        found.first()->setSelected(true);
        auto *buttons = widget->findChild<QDialogButtonBox *>();
        QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
    });
}

// Chooses paths in the workbench's file dialog.
inline void answerFileDialog(const QStringList &paths, QString *title = nullptr)
{
    answerNext([paths, title](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        if (title)
            *title = dialog->windowTitle();
        if (paths.isEmpty()) {
            dialog->reject();
            return;
        }
        // The names go into the name field, in quotes when there are several, as a user
        // types them; all from the folder of the first.
        dialog->setDirectory(QFileInfo(paths.first()).path());
        QStringList names;
        for (const QString &path : paths)
            names << QFileInfo(path).fileName();
        auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        edit->setText(names.size() == 1 ? names.first()
                                        : QLatin1Char('"') + names.join(QStringLiteral("\" \""))
                              + QLatin1Char('"'));
        static_cast<QDialog *>(dialog)->accept();
    });
}

inline QTreeWidget *particleTree(VParticle &window)
{
    return window.findChild<QTreeWidget *>(QStringLiteral("particleTree"));
}

// The first row along a path of column-0 texts, such as {"particleSystemDefinitions", "[0]"}.
inline VParticleTreeWidgetItem *particleRow(VParticle &window, const QStringList &path)
{
    QTreeWidget *tree = particleTree(window);
    QTreeWidgetItem *found = nullptr;
    for (const QString &step : path) {
        QTreeWidgetItem *next = nullptr;
        const int count = found ? found->childCount() : tree->topLevelItemCount();
        for (int i = 0; i < count && !next; ++i) {
            QTreeWidgetItem *candidate = found ? found->child(i) : tree->topLevelItem(i);
            if (candidate->text(0) == step)
                next = candidate;
        }
        if (!next)
            return nullptr;
        found = next;
    }
    return static_cast<VParticleTreeWidgetItem *>(found);
}

// Right-clicks the row and picks the context entry of that text. False when the entry is
// missing or disabled (the menu is closed then).
inline bool contextCommand(VParticle &window, QTreeWidgetItem *row, const QString &entry)
{
    QTreeWidget *tree = particleTree(window);
    tree->scrollToItem(row);
    bool picked = false;
    answerNext(
        [entry, &picked](QWidget *widget) {
            auto *menu = qobject_cast<QMenu *>(widget);
            QAction *action = nullptr;
            for (QAction *candidate : menu->actions()) {
                if (candidate->text() == entry)
                    action = candidate;
            }
            if (!action || !action->isEnabled()) {
                menu->close();
                return;
            }
            picked = true;
            menu->setActiveAction(action);
            QTest::keyClick(menu, Qt::Key_Return);
        },
        true);
    emit tree->customContextMenuRequested(tree->visualItemRect(row).center());
    return picked;
}
