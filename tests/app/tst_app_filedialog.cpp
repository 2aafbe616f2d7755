// The shared file dialog as its callers use it: the folder that extraction and
// the batch converter get is the one the user chose in it, in each of the ways
// of choosing, and nothing of one task carries into the next.
#include "ArchiveFixtures.h"
#include "ZirkTest.h"

#include "app/ZIRK.h"
#include "packages/VPackage.h"
#include "packages/VPackageTreeWidgetItem.h"
#include "textures/VTFMass.h"
#include "util/QProgressDialogger.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QDialogButtonBox>
#include <QDirIterator>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <Magick++.h>

#include <functional>

namespace {

enum Way { TypeAndEnter, SelectAndChoose, GoInAndChoose };

QFileDialog *sharedDialog()
{
    return ZIRK::get()->getFileDialog();
}

QLineEdit *nameEdit(QFileDialog *dialog)
{
    return dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
}

QListView *folderView(QFileDialog *dialog)
{
    return dialog->findChild<QListView *>(QStringLiteral("listView"));
}

QPushButton *acceptButton(QFileDialog *dialog)
{
    auto *box = dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
    for (QAbstractButton *button : box->buttons()) {
        if (box->buttonRole(button) == QDialogButtonBox::AcceptRole)
            return qobject_cast<QPushButton *>(button);
    }
    return nullptr;
}

// The row of a name in the folder on display, once the model has listed it.
QModelIndex rowOf(QListView *view, const QString &name)
{
    QModelIndex found;
    (void)QTest::qWaitFor([&] {
        const QAbstractItemModel *model = view->model();
        for (int row = 0; row < model->rowCount(view->rootIndex()); ++row) {
            const QModelIndex index = model->index(row, 0, view->rootIndex());
            if (index.data().toString() == name) {
                found = index;
                return true;
            }
        }
        return false;
    });
    return found;
}

// Runs `answer` on the shared dialog once it is up. Whatever the answer does,
// or fails to do, the dialog is closed afterwards so that the getter returns.
void answerLater(const std::function<void(QFileDialog *)> &answer)
{
    QTimer::singleShot(0, [answer] {
        QFileDialog *dialog = sharedDialog();
        if (QTest::qWaitFor([dialog] { return dialog && dialog->isVisible(); }))
            answer(dialog);
        if (dialog && dialog->isVisible()
            && !QTest::qWaitFor([dialog] { return !dialog->isVisible(); }, 300))
            dialog->reject();
    });
}

// The user's typing goes to the name field of an active dialog.
void focusNameEdit(QFileDialog *dialog)
{
    dialog->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(dialog));
    nameEdit(dialog)->setFocus();
    QTRY_VERIFY(nameEdit(dialog)->hasFocus());
}

// The dialog starts on `shown`, and the user chooses `chosen` (a folder inside
// `shown` for the two ways that pick from the list).
void chooseFolder(QFileDialog *dialog, Way way, const QString &shown, const QString &chosen)
{
    dialog->setDirectory(shown);
    QListView *view = folderView(dialog);
    QVERIFY(view);
    switch (way) {
    case TypeAndEnter:
        focusNameEdit(dialog);
        QTest::keyClicks(nameEdit(dialog), chosen);
        QTest::keyClick(nameEdit(dialog), Qt::Key_Return);
        break;
    case SelectAndChoose: {
        const QModelIndex index = rowOf(view, QFileInfo(chosen).fileName());
        QVERIFY(index.isValid());
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                          view->visualRect(index).center());
        QTest::mouseClick(acceptButton(dialog), Qt::LeftButton);
        break;
    }
    case GoInAndChoose: {
        const QModelIndex index = rowOf(view, QFileInfo(chosen).fileName());
        QVERIFY(index.isValid());
        const QPoint at = view->visualRect(index).center();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, at);
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, at);
        QTRY_COMPARE(dialog->directory().absolutePath(), chosen);
        QTest::mouseClick(acceptButton(dialog), Qt::LeftButton);
        break;
    }
    }
}

void answerLater(Way way, const QString &shown, const QString &chosen)
{
    answerLater([=](QFileDialog *dialog) { chooseFolder(dialog, way, shown, chosen); });
}

QStringList filesBelow(const QString &root)
{
    QStringList files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(root).relativeFilePath(it.next());
    files.sort();
    return files;
}

// Every file below root but those below one folder inside it.
QStringList filesOutside(const QString &root, const QString &inside)
{
    QStringList files = filesBelow(root);
    const QString prefix = QDir(root).relativeFilePath(inside) + QLatin1Char('/');
    files.removeIf([&prefix](const QString &file) { return file.startsWith(prefix); });
    return files;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestFileDialog : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_package;

    static void finishExtraction(VPackage &viewer)
    {
        auto *log = viewer.findChild<QProgressDialogger *>();
        QVERIFY(log);
        QTRY_VERIFY(log->buttonOk()->isEnabled());
        QVERIFY2(!log->isError(), qPrintable(log->logText()));
        log->buttonOk()->click();
        QTRY_VERIFY(!viewer.findChild<QProgressDialogger *>());
    }

private Q_SLOTS:
    void initTestCase()
    {
        zirkInitTestResources();
        Magick::InitializeMagick(nullptr);
        QVERIFY(m_dir.isValid());
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("noitazilait.ini")),
                          "[general]\nminimize_output_on_startup:true\n[/general]\n"));
        QVERIFY(QDir::setCurrent(m_dir.path()));
        ZIRK::get()->show();
        QVERIFY(QTest::qWaitForWindowExposed(ZIRK::get()));
        m_package = m_dir.filePath(QStringLiteral("small_dir.vpk"));
        fixtures::VpkBuilder builder;
        builder.add(QStringLiteral("docs/readme.txt"), "read me");
        builder.add(QStringLiteral("materials/wall.vmt"), "wall material");
        QVERIFY(writeFile(m_package, builder.build()));
    }

    void waysOfChoosing_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("type a path and press Enter") << int(TypeAndEnter);
        QTest::newRow("select a folder and press Choose") << int(SelectAndChoose);
        QTest::newRow("go into a folder and press Choose") << int(GoInAndChoose);
    }

    void waysOfChoosing_extraction_data() { waysOfChoosing_data(); }

    void waysOfChoosing_extraction()
    {
        QFETCH(int, way);
        QTemporaryDir work;
        const QString shown = work.filePath(QStringLiteral("shown"));
        const QString chosen = way == TypeAndEnter
            ? work.filePath(QStringLiteral("elsewhere/typed"))
            : shown + QStringLiteral("/picked");
        QVERIFY(QDir().mkpath(shown));
        QVERIFY(QDir().mkpath(chosen));
        QVERIFY(QDir().mkpath(shown + QStringLiteral("/other")));

        VPackage viewer(m_package);
        QVERIFY(viewer.getDelegate());
        viewer.show();
        QTreeWidget *tree = viewer.getTreeWidget();
        tree->setCurrentItem(tree->topLevelItem(0));
        answerLater(Way(way), shown, chosen);
        viewer.treeContextExtract();
        finishExtraction(viewer);

        QCOMPARE(filesBelow(chosen),
                 QStringList(
                     { QStringLiteral("docs/readme.txt"), QStringLiteral("materials/wall.vmt") }));
        // Nothing anywhere else: not in the folder on display, nor beside it.
        QCOMPARE(filesOutside(work.path(), chosen), QStringList());
    }

    void waysOfChoosing_batchTarget_data() { waysOfChoosing_data(); }

    void waysOfChoosing_batchTarget()
    {
        QFETCH(int, way);
        QTemporaryDir work;
        const QString source = work.filePath(QStringLiteral("source"));
        const QString shown = work.filePath(QStringLiteral("shown"));
        const QString chosen = way == TypeAndEnter
            ? work.filePath(QStringLiteral("elsewhere/typed"))
            : shown + QStringLiteral("/picked");
        QVERIFY(QDir().mkpath(chosen));
        QVERIFY(QDir().mkpath(shown + QStringLiteral("/other")));
        QVERIFY(QDir().mkpath(source));
        QImage image(8, 8, QImage::Format_ARGB32);
        image.fill(qRgba(10, 20, 30, 255));
        QVERIFY(image.save(source + QStringLiteral("/tile.png")));

        VTFMass mass;
        mass.show();
        mass.sourceEdit->setText(source);
        mass.targetEdit->setText(shown);
        answerLater(Way(way), shown, chosen);
        QTest::mouseClick(mass.targetBrowse, Qt::LeftButton);
        QCOMPARE(mass.targetEdit->text(), chosen);

        QTest::mouseClick(mass.controlButton, Qt::LeftButton);
        QTRY_VERIFY(!mass.isRunning());
        QVERIFY2(mass.logText().endsWith(QStringLiteral("Done")), qPrintable(mass.logText()));
        QCOMPARE(filesBelow(chosen), QStringList({ QStringLiteral("tile.vtf") }));
        QCOMPARE(filesOutside(work.path(), chosen),
                 QStringList({ QStringLiteral("source/tile.png") }));
    }

    void cancelledBrowseKeepsTheField()
    {
        VTFMass mass;
        mass.sourceEdit->setText(QStringLiteral("/kept/as/it/was"));
        answerLater([](QFileDialog *dialog) { dialog->reject(); });
        QTest::mouseClick(mass.sourceBrowse, Qt::LeftButton);
        QCOMPARE(mass.sourceEdit->text(), QStringLiteral("/kept/as/it/was"));
    }

    // An earlier task's name must not come back in the next one, nor its
    // completion list stay up; the directory is what carries over.
    void nothingOfOneTaskCarriesIntoTheNext()
    {
        QTemporaryDir work;
        QVERIFY(writeFile(work.filePath(QStringLiteral("map_one.bsp")), "x"));
        QVERIFY(writeFile(work.filePath(QStringLiteral("map_two.bsp")), "x"));
        ZIRK *zirk = ZIRK::get();

        zirk->configureFileDialog(zirk, QStringLiteral("Open"), QStringLiteral("Maps (*.bsp)"),
                                  work.path());
        answerLater([](QFileDialog *dialog) {
            focusNameEdit(dialog);
            QLineEdit *edit = nameEdit(dialog);
            // A partial name brings up the completion list.
            // The folder is listed on another thread; a busy machine can take seconds.
            QTest::keyClicks(edit, QStringLiteral("map_"));
            QTRY_VERIFY_WITH_TIMEOUT(edit->completer()->popup()->isVisible(), 30000);
            QTest::keyClicks(edit, QStringLiteral("one.bsp"));
            QTest::keyClick(edit, Qt::Key_Return);
            if (dialog->isVisible())
                QTest::keyClick(edit, Qt::Key_Return);
        });
        QCOMPARE(zirk->getExistingFile(), work.filePath(QStringLiteral("map_one.bsp")));
        QLineEdit *edit = nameEdit(sharedDialog());
        QVERIFY(!edit->completer()->popup()->isVisible());

        // "Select Directory" next comes up on the same folder with nothing chosen in it.
        zirk->configureFileDialog(zirk, QStringLiteral("Select Directory"), QString(), QString());
        QString shownName = QStringLiteral("<not shown>");
        answerLater([&shownName](QFileDialog *dialog) {
            shownName = nameEdit(dialog)->text();
            QTest::mouseClick(acceptButton(dialog), Qt::LeftButton);
        });
        QCOMPARE(zirk->getDirectory(true), work.path());
        QCOMPARE(shownName, QString());

        // Save As after an export comes up without the export's name.
        zirk->configureFileDialog(zirk, QStringLiteral("Save Image"), QStringLiteral("PNG (*.png)"),
                                  work.path());
        answerLater([](QFileDialog *dialog) {
            focusNameEdit(dialog);
            QTest::keyClicks(nameEdit(dialog), QStringLiteral("exported"));
            QTest::keyClick(nameEdit(dialog), Qt::Key_Return);
        });
        QCOMPARE(zirk->getAnyFile(), work.filePath(QStringLiteral("exported.png")));
        zirk->configureFileDialog(zirk, QStringLiteral("Save As"),
                                  QStringLiteral("Valve Texture File (*.vtf)"), QString());
        shownName = QStringLiteral("<not shown>");
        answerLater([&shownName](QFileDialog *dialog) {
            shownName = nameEdit(dialog)->text();
            dialog->reject();
        });
        QCOMPARE(zirk->getAnyFile(), QString());
        QCOMPARE(shownName, QString());
    }
};

QTEST_MAIN(TestFileDialog)
#include "tst_app_filedialog.moc"
