#include "../packages/BspFixture.h"
#include "MapWindowTestSupport.h"
#include "ZirkTest.h"
#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "map/VBSPINFO.h"
#include "packages/CDelegateBSP.h"

#include <QClipboard>
#include <QHeaderView>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QTableWidget>
#include <QTemporaryDir>

namespace {

QTableWidget *tableOf(QWidget *window)
{
    return window->findChild<QTableWidget *>(QStringLiteral("lumpTable"));
}

QString header(QWidget *window, int lump)
{
    const QTableWidgetItem *item = tableOf(window)->verticalHeaderItem(lump);
    return item ? item->text() : QString();
}

QString cell(QWidget *window, int lump, int column)
{
    const QTableWidgetItem *item = tableOf(window)->item(lump, column);
    return item ? item->text() : QString();
}

void clickHeader(QWidget *window, int lump)
{
    QHeaderView *headers = tableOf(window)->verticalHeader();
    const int y = headers->sectionViewportPosition(lump) + headers->sectionSize(lump) / 2;
    QTest::mouseClick(headers->viewport(), Qt::LeftButton, {}, QPoint(5, y));
}

// Presses the option dialog's button.
std::function<void(QWidget *)> option(const char *button, QString *title = nullptr)
{
    return [button, title](QWidget *dialog) {
        if (title)
            *title = dialog->windowTitle();
        auto *target = dialog->findChild<QPushButton *>(QLatin1String(button));
        QVERIFY(target);
        QTest::mouseClick(target, Qt::LeftButton);
    };
}

std::function<void(QWidget *)> directory(const QString &path)
{
    return [path](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        dialog->setDirectory(path);
        static_cast<QDialog *>(dialog)->accept();
    };
}

std::function<void(QWidget *)> file(const QString &path, QString *title = nullptr)
{
    return [path, title](QWidget *widget) {
        if (title)
            *title = widget->windowTitle();
        chooseInFileDialog(widget, path);
    };
}

} // namespace

class TestMapVBspInfo : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    QString map;

    VBSPINFO *openInspector()
    {
        BspFixture fixture;
        fixture.version = 19;
        fixture.lumps[5] = QByteArray("five-five-five");
        fixture.lumps[22] = QByteArray("portals");
        fixture.withPakfile = false;
        map = dir.filePath(QStringLiteral("map.bsp"));
        fixture.write(map);
        auto *window = new VBSPINFO(map);
        window->resize(700, 500);
        window->show();
        if (!QTest::qWaitForWindowExposed(window))
            qWarning("the inspector did not show");
        return window;
    }

private slots:
    void initTestCase() { zirkInitTestResources(); }

    void showsTheLumpTable()
    {
        std::unique_ptr<VBSPINFO> window(openInspector());
        QCOMPARE(window->windowTitle(), QStringLiteral("BSP Info"));
        QCOMPARE(tableOf(window.get())->rowCount(), 64);
        QCOMPARE(header(window.get(), 0), QStringLiteral("Entities"));
        QCOMPARE(header(window.get(), 22), QStringLiteral("Portals"));
        QCOMPARE(header(window.get(), 63), QStringLiteral("Unused"));
        QCOMPARE(cell(window.get(), 5, 1), QStringLiteral("14"));
        QCOMPARE(cell(window.get(), 5, 2), QString::number(BspFixture::lumpVersion(5)));
        QCOMPARE(cell(window.get(), 5, 3),
                 QStringLiteral("'%1' (5) , 'A' (65) , 'A' (65) , 'A' (65)").arg(QChar(5)));
        QVERIFY(!(tableOf(window.get())->item(5, 0)->flags() & Qt::ItemIsEditable)
                || tableOf(window.get())->editTriggers() == QAbstractItemView::NoEditTriggers);

        tableOf(window.get())->setCurrentCell(5, 1);
        window->tableItemCopy();
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("14"));
    }

    void refusesWhatIsNoMap()
    {
        const QString path = dir.filePath(QStringLiteral("text.bsp"));
        QVERIFY(writeBytes(path, QByteArray(2000, 'x')));
        QString text;
        QString title;
        answerNextMessageBox(&text, QMessageBox::Ok, &title);
        VBSPINFO window(path);
        QVERIFY(!text.isEmpty());
        QCOMPARE(title, QStringLiteral("BSP Info"));
        QCOMPARE(header(&window, 3), QStringLiteral("LUMP 3"));
        QVERIFY(!window.openFile(CDelegateBSP()));
    }

    void cancelDoesNothing()
    {
        std::unique_ptr<VBSPINFO> window(openInspector());
        const QByteArray before = readBytes(map);
        QString title;
        answerInTurn({ option("cancelButton", &title) });
        clickHeader(window.get(), 5);
        QCOMPARE(title, QStringLiteral("Lump Nodes"));
        QCOMPARE(readBytes(map), before);
    }

    void extractsLumps()
    {
        std::unique_ptr<VBSPINFO> window(openInspector());
        const QString out = dir.filePath(QStringLiteral("out"));
        QDir().mkpath(out);

        QString question;
        answerInTurn(
            { option("extractButton"), directory(out), pressInBox(QMessageBox::Yes, &question) });
        clickHeader(window.get(), 5);
        QCOMPARE(question, QStringLiteral("Save as *.lmp?"));
        QCOMPARE(readBytes(out + "/l_5.lmp").size(), 34);

        answerInTurn({ option("extractButton"), directory(out), pressInBox(QMessageBox::No) });
        clickHeader(window.get(), 5);
        QCOMPARE(readBytes(out + "/l_5"), QByteArray("five-five-five"));

        // Again: the file is there, and Cancel keeps it.
        QVERIFY(writeBytes(out + "/l_5", "kept"));
        QString overwrite;
        answerInTurn({ option("extractButton"), directory(out), pressInBox(QMessageBox::No),
                       pressInBox(QMessageBox::Cancel, &overwrite) });
        clickHeader(window.get(), 5);
        QCOMPARE(overwrite,
                 QStringLiteral("File %1 already exists.\n\nOverwrite?").arg(out + "/l_5"));
        QCOMPARE(readBytes(out + "/l_5"), QByteArray("kept"));

        // Named by the lump with the setting on.
        ProgramSettings_t::get()->saveLumpNameNotNumber = true;
        answerInTurn({ option("extractButton"), directory(out), pressInBox(QMessageBox::No) });
        clickHeader(window.get(), 22);
        ProgramSettings_t::get()->saveLumpNameNotNumber = false;
        QCOMPARE(readBytes(out + "/Portals"), QByteArray("portals"));
    }

    void replacesLumps()
    {
        std::unique_ptr<VBSPINFO> window(openInspector());
        const QString offer = dir.filePath(QStringLiteral("offer.lmp"));
        QVERIFY(writeBytes(offer, lumpFileBytes("abcd", 5).left(20 + 3)));

        // The header says four bytes; the file holds three.
        QString title;
        QString text;
        answerInTurn(
            { option("replaceButton"), file(offer, &title), pressInBox(QMessageBox::Ok, &text) });
        clickHeader(window.get(), 5);
        QCOMPARE(title, QStringLiteral("Select Lump"));
        QCOMPARE(text, QStringLiteral("Unexpected end of data"));

        // Any other file goes in whole.
        const QString plain = dir.filePath(QStringLiteral("plain.dat"));
        QVERIFY(writeBytes(plain, "replacement"));
        answerInTurn({ option("replaceButton"), file(plain) });
        clickHeader(window.get(), 5);
        QCOMPARE(cell(window.get(), 5, 1), QStringLiteral("11"));
        const BspReadBack back = BspReadBack::read(map);
        QCOMPARE(back.lumpBytes(5), QByteArray("replacement"));
        QCOMPARE(back.lumpBytes(22), QByteArray("portals"));
    }

    void opensFromTheWorkspace()
    {
        QVERIFY(writeBytes(dir.filePath("noitazilait.ini"), QByteArray()));
        QVERIFY(QDir::setCurrent(dir.path()));
        ZIRK *zirk = ZIRK::get();
        std::unique_ptr<VBSPINFO> window(openInspector());
        const int before = zirk->getWorkspace()->subWindowList().size();
        zirk->showVBSPInfo(map);
        QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before + 1);
        auto *shown
            = qobject_cast<VBSPINFO *>(zirk->getWorkspace()->subWindowList().last()->widget());
        QVERIFY(shown);
        QCOMPARE(header(shown, 5), QStringLiteral("Nodes"));

        QString text;
        QString title;
        answerNextMessageBox(&text, QMessageBox::Ok, &title);
        zirk->showVBSPInfo(dir.filePath("none.bsp"));
        QCOMPARE(title, QStringLiteral("BSP Info"));
        QCOMPARE(text, QStringLiteral("File Error: Unable to open"));
        QCOMPARE(zirk->getWorkspace()->subWindowList().size(), before + 1);
    }
};

QTEST_MAIN(TestMapVBspInfo)
#include "tst_map_vbspinfo.moc"
