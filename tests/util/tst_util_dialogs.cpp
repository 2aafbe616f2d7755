#include "ZirkTest.h"
#include "util/QFileListDialog.h"
#include "util/QListDialog.h"
#include "util/QProgressDialogger.h"
#include "util/QSearchDialog.h"
#include "util/QWidgetDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>

namespace {

// Answers the next modal dialog of type T as soon as it runs.
template<typename T, typename Answer> void whenModal(Answer answer)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, answer]() {
        if (T *dialog = qobject_cast<T *>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            answer(dialog);
        }
    });
    timer->start();
}

QPushButton *boxButton(QListDialog *dialog, QDialogButtonBox::StandardButton which)
{
    return dialog->buttonBox()->button(which);
}

void clickRow(QListWidget *list, int row)
{
    const QRect rect = list->visualItemRect(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
}

} // namespace

class TestUtilDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { zirkInitTestResources(); }

    void progressStartsAsDescribed()
    {
        QWidget parent;
        parent.setWindowTitle(QStringLiteral("Batch"));
        QProgressDialogger dialog(&parent);
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Batch"));
        QVERIFY(dialog.isModal());
        QCOMPARE(dialog.labelText(), QStringLiteral("Processing..."));
        QCOMPARE(dialog.minimum(), 0);
        QCOMPARE(dialog.maximum(), 100);
        QVERIFY(!dialog.isLogVisible());
        QVERIFY(dialog.buttonToggleLog()->isHidden());
        QCOMPARE(dialog.buttonToggleLog()->text(), QStringLiteral("More >>"));
        QCOMPARE(dialog.buttonCancel()->text(), QStringLiteral("Cancel"));
        QCOMPARE(dialog.buttonOk()->text(), QStringLiteral("Ok"));
        QVERIFY(!dialog.buttonOk()->isEnabled());

        QProgressDialogger second(QStringLiteral("Converting"), 2, 9, QStringLiteral("start"));
        QCOMPARE(second.labelText(), QStringLiteral("Converting"));
        QCOMPARE(second.minimum(), 2);
        QCOMPARE(second.maximum(), 9);
        QCOMPARE(second.logText(), QStringLiteral("start"));
    }

    void progressClosesWhenFinished()
    {
        QProgressDialogger dialog;
        dialog.setCloseWhenFinished(true);
        dialog.setRange(0, 3);
        dialog.setValue(1);
        QVERIFY(dialog.isVisible());
        QVERIFY(!dialog.buttonOk()->isEnabled());
        QVERIFY(dialog.buttonCancel()->isEnabled());
        dialog.incrementValue();
        dialog.incrementValue();
        QCOMPARE(dialog.value(), 3);
        QVERIFY(!dialog.isVisible());
        QVERIFY(dialog.buttonOk()->isEnabled());
        QVERIFY(!dialog.buttonCancel()->isEnabled());
        dialog.incrementValue();
        QCOMPARE(dialog.value(), 3);
    }

    void progressStaysOpenAfterAnError()
    {
        QProgressDialogger dialog;
        dialog.setCloseWhenFinished(true);
        dialog.setRange(0, 2);
        dialog.setValue(1);
        dialog.logMessage(QStringLiteral("Read Error: broken"), true);
        QVERIFY(dialog.isError());
        QVERIFY(!dialog.closeWhenFinished());
        dialog.setValue(2);
        QVERIFY(dialog.isVisible());
        QVERIFY(dialog.buttonOk()->isEnabled());
        QVERIFY(dialog.isLogVisible());
        QVERIFY(dialog.logText().contains(QStringLiteral("Read Error: broken")));

        QTest::mouseClick(dialog.buttonOk(), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }

    void progressErrorWithoutAbortStillCloses()
    {
        QProgressDialogger dialog;
        dialog.setCloseWhenFinished(true);
        dialog.setAbortAutoCloseOnError(false);
        dialog.setRange(0, 1);
        dialog.setValue(0);
        dialog.logMessage(QStringLiteral("minor"), true);
        dialog.setValue(1);
        QVERIFY(!dialog.isVisible());
    }

    void progressLogStaysClosedOnceHidden()
    {
        QProgressDialogger dialog;
        dialog.setValue(10);
        dialog.logMessage(QStringLiteral("first"), false);
        QVERIFY(dialog.isLogVisible());
        QVERIFY(dialog.buttonToggleLog()->isVisible());
        QCOMPARE(dialog.buttonToggleLog()->text(), QStringLiteral("Less <<"));

        QTest::mouseClick(dialog.buttonToggleLog(), Qt::LeftButton);
        QVERIFY(!dialog.isLogVisible());
        QCOMPARE(dialog.buttonToggleLog()->text(), QStringLiteral("More >>"));

        dialog.logMessage(QStringLiteral("second"), false);
        dialog.logMessage(QStringLiteral("third"), true);
        QVERIFY(!dialog.isLogVisible());
        QCOMPARE(dialog.logText(), QStringLiteral("first\nsecond\nthird"));

        QTest::mouseClick(dialog.buttonToggleLog(), Qt::LeftButton);
        QVERIFY(dialog.isLogVisible());
    }

    void progressEmptyMessageIsNotLogged()
    {
        QProgressDialogger dialog;
        dialog.logMessage(QString(), true);
        QVERIFY(dialog.logText().isEmpty());
        QVERIFY(dialog.isError());
        dialog.unsetError();
        QVERIFY(!dialog.isError());
    }

    void progressCancelIsAFlagForTheJob()
    {
        QProgressDialogger dialog;
        dialog.setRange(0, 100);
        QSignalSpy spy(&dialog, &QProgressDialogger::canceled);
        dialog.setValue(5);
        QTest::mouseClick(dialog.buttonCancel(), Qt::LeftButton);
        QCOMPARE(spy.size(), 1);
        QVERIFY(dialog.isCanceled());
        QVERIFY(dialog.isVisible());
        dialog.unsetCanceled();

        QTest::keyClick(&dialog, Qt::Key_Escape);
        QCOMPARE(spy.size(), 2);
        QVERIFY(dialog.isCanceled());
        dialog.unsetCanceled();

        // The window's close button does not touch the job.
        dialog.close();
        QVERIFY(!dialog.isCanceled());
        QCOMPARE(spy.size(), 2);
        dialog.setValue(6);
        QVERIFY(dialog.isVisible());
    }

    void listDialogBuildsItsList()
    {
        QListDialog dialog;
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Select Item(s)"));

        QWidget parent;
        parent.setWindowTitle(QStringLiteral("Pakfile"));
        QListDialog child(&parent);
        QCOMPARE(child.windowTitle(), QStringLiteral("Pakfile"));
    }

    void getItemWithNothingSelected()
    {
        whenModal<QListDialog>([](QListDialog *dialog) {
            QVERIFY(dialog->listWidget()->selectedItems().isEmpty());
            QTest::mouseClick(boxButton(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        });
        QCOMPARE(QListDialog::getItem(nullptr, QStringLiteral("Pick"), { "a", "b", "c" }, -1), -1);
    }

    void getItemReturnsTheChosenRow()
    {
        whenModal<QListDialog>([](QListDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Pick"));
            QCOMPARE(dialog->listWidget()->currentRow(), 1);
            QTest::mouseClick(boxButton(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        });
        QCOMPARE(QListDialog::getItem(nullptr, QStringLiteral("Pick"), { "a", "b", "c" }, 1), 1);

        whenModal<QListDialog>([](QListDialog *dialog) {
            QListWidget *list = dialog->listWidget();
            const QPoint at = list->visualItemRect(list->item(2)).center();
            // The first click of a double click arrives as a click of its own.
            QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, at);
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, at);
        });
        QCOMPARE(QListDialog::getItem(nullptr, QStringLiteral("Pick"), { "a", "b", "c" }, 0), 2);

        whenModal<QListDialog>([](QListDialog *dialog) {
            clickRow(dialog->listWidget(), 2);
            QTest::mouseClick(boxButton(dialog, QDialogButtonBox::Cancel), Qt::LeftButton);
        });
        QCOMPARE(QListDialog::getItem(nullptr, QStringLiteral("Pick"), { "a", "b", "c" }, 0), -1);
    }

    void showItemsHasOnlyOk()
    {
        bool seen = false;
        whenModal<QListDialog>([&seen](QListDialog *dialog) {
            seen = true;
            QCOMPARE(dialog->listWidget()->count(), 2);
            QCOMPARE(dialog->listWidget()->selectionMode(), QAbstractItemView::NoSelection);
            QVERIFY(!boxButton(dialog, QDialogButtonBox::Cancel));
            QTest::mouseClick(boxButton(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        });
        QListDialog::showItems(nullptr, QStringLiteral("Missing"), { "x.vmt", "y.vtf" });
        QVERIFY(seen);
    }

    void multiSelectionGivesRowsInOrder()
    {
        QListDialog dialog;
        dialog.setSelectionMode(QAbstractItemView::MultiSelection);
        dialog.setItems({ "a", "b", "c", "d" }, -1);
        dialog.show();
        clickRow(dialog.listWidget(), 3);
        clickRow(dialog.listWidget(), 1);
        QCOMPARE(dialog.getMultiSelected(), (QList<int> { 1, 3 }));
        QCOMPARE(dialog.getSelected(), 1);
    }

    void fileListRemoveAndAccept()
    {
        whenModal<QFileListDialog>([](QFileListDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Files"));
            QCOMPARE(dialog->buttonBrowse()->text(), QStringLiteral("Browse..."));
            QCOMPARE(dialog->buttonRemove()->text(), QStringLiteral("Remove"));
            QListWidget *list = dialog->listWidget();
            QCOMPARE(list->selectionMode(), QAbstractItemView::ExtendedSelection);
            clickRow(list, 0);
            QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier,
                              list->visualItemRect(list->item(2)).center());
            QTest::mouseClick(dialog->buttonRemove(), Qt::LeftButton);
            QCOMPARE(list->count(), 1);
            QTest::mouseClick(dialog->buttonBox()->button(QDialogButtonBox::Ok), Qt::LeftButton);
        });
        const QStringList result
            = QFileListDialog::getFileList(QStringLiteral("*.vtf"), QStringLiteral("Files"),
                                           { "a.vtf", "b.vtf", "c.vtf" }, nullptr);
        QCOMPARE(result, QStringList { "b.vtf" });
    }

    void fileListCancelKeepsTheGivenFiles()
    {
        whenModal<QFileListDialog>([](QFileListDialog *dialog) {
            dialog->listWidget()->clear();
            QTest::mouseClick(dialog->buttonBox()->button(QDialogButtonBox::Cancel),
                              Qt::LeftButton);
        });
        const QStringList files { "a.vtf" };
        QCOMPARE(QFileListDialog::getFileList(QString(), QStringLiteral("Files"), files, nullptr),
                 files);
    }

    void fileListBrowseAddsFiles()
    {
        QTemporaryDir dir;
        const QString picked = dir.filePath("picked.vtf");
        QFile file(picked);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();

        QString caption;
        whenModal<QFileListDialog>([&](QFileListDialog *dialog) {
            whenModal<QFileDialog>([&](QFileDialog *browse) {
                caption = browse->windowTitle();
                browse->selectFile(picked);
                QMetaObject::invokeMethod(browse, "accept", Qt::QueuedConnection);
            });
            QTest::mouseClick(dialog->buttonBrowse(), Qt::LeftButton);
            QTest::mouseClick(dialog->buttonBox()->button(QDialogButtonBox::Ok), Qt::LeftButton);
        });
        const QStringList result = QFileListDialog::getFileList(
            QStringLiteral("Textures (*.vtf)"), QStringLiteral("Files"), { "old.vtf" }, nullptr);
        QCOMPARE(caption, QStringLiteral("Select Files"));
        QCOMPARE(result, (QStringList { "old.vtf", picked }));
    }

    void widgetDialogHostsTheWidget()
    {
        auto *edit = new QLineEdit;
        QWidgetDialog dialog(edit, nullptr, QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QCOMPARE(edit->parentWidget(), &dialog);
        QCOMPARE(dialog.widget(), edit);
        whenModal<QWidgetDialog>([](QWidgetDialog *shown) {
            QTest::keyClicks(qobject_cast<QLineEdit *>(shown->widget()), "typed");
            QTest::mouseClick(shown->buttonBox()->button(QDialogButtonBox::Ok), Qt::LeftButton);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(edit->text(), QStringLiteral("typed"));

        whenModal<QWidgetDialog>([](QWidgetDialog *shown) {
            QTest::mouseClick(shown->buttonBox()->button(QDialogButtonBox::Cancel), Qt::LeftButton);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    }

    void searchDialogAsTheUserFillsIt()
    {
        QSearchDialog dialog;
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Search"));
        QVERIFY(!dialog.windowIcon().isNull());
        QComboBox *mode = dialog.modeCombo();
        QCOMPARE(mode->count(), 4);
        const QStringList modes { "Substring", "Whole String", "Wildcard", "Regular Expression" };
        for (int i = 0; i < modes.size(); ++i)
            QCOMPARE(mode->itemText(i), modes.at(i));
        QCOMPARE(dialog.getSearchMode(), QSearchDialog::Substring);
        QCOMPARE(dialog.caseSensitiveBox()->text(), QStringLiteral("Case Sensitive"));
        QCOMPARE(dialog.buttonOk()->text(), QStringLiteral("Ok"));
        QCOMPARE(dialog.buttonCancel()->text(), QStringLiteral("Cancel"));

        whenModal<QSearchDialog>([](QSearchDialog *shown) {
            QTest::keyClicks(shown->queryEdit(), "*.vmt");
            shown->modeCombo()->setFocus();
            QTest::keyClick(shown->modeCombo(), Qt::Key_Down);
            QTest::keyClick(shown->modeCombo(), Qt::Key_Down);
            QTest::mouseClick(shown->caseSensitiveBox(), Qt::LeftButton);
            QTest::mouseClick(shown->buttonOk(), Qt::LeftButton);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(dialog.getQuery(), QStringLiteral("*.vmt"));
        QCOMPARE(dialog.getSearchMode(), QSearchDialog::Wildcard);
        QVERIFY(dialog.isCaseSensitive());
        QCOMPARE(dialog.getCaseSensitivity(), Qt::CaseSensitive);

        // Fixed size: the layout does not let the user resize it.
        QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
    }
};

QTEST_MAIN(TestUtilDialogs)
#include "tst_util_dialogs.moc"
