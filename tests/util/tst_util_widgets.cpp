#include "ZirkTest.h"
#include "util/QIconProvider.h"
#include "util/UtilWidgets.h"

#include <QApplication>
#include <QDir>
#include <QFontMetrics>
#include <QMessageBox>
#include <QTimer>
#include <QWidget>

namespace {

int leftoverTemporaryFiles()
{
    return int(QDir(QDir::tempPath())
                   .entryList({ QStringLiteral("zirk_icon_*") }, QDir::Files | QDir::Hidden)
                   .size());
}

QImage imageOf(const QIcon &icon)
{
    return icon.pixmap(16, 16).toImage();
}

} // namespace

class TestUtilWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { zirkInitTestResources(); }

    void iconProviderCachesOncePerExtension()
    {
        const int before = leftoverTemporaryFiles();
        QIconProvider provider;
        QCOMPARE(provider.cachedCount(), 0);
        const QIconProvider::Data *upper = provider.getDataForExtension(QStringLiteral("VTF"));
        QVERIFY(upper);
        QCOMPARE(*upper->first, QStringLiteral("vtf"));
        QVERIFY(upper->second && upper->third);
        QCOMPARE(provider.getDataForExtension(QStringLiteral(" vtf ")), upper);
        QCOMPARE(provider.cachedCount(), 1);

        QCOMPARE(provider.getTypeForExtension(QStringLiteral("vtf")), *upper->third);
        QCOMPARE(imageOf(provider.getShellIconForExtension(QStringLiteral("Vtf"))),
                 imageOf(*upper->second));
        QCOMPARE(provider.cachedCount(), 1);

        provider.getDataForExtension(QStringLiteral("vmt"));
        QCOMPARE(provider.cachedCount(), 2);
        QCOMPARE(leftoverTemporaryFiles(), before);
    }

    void iconProviderDefaults_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << QStringLiteral("  ");
        QTest::newRow("separator") << QStringLiteral("x/../../y");
    }

    void iconProviderDefaults()
    {
        QFETCH(QString, extension);
        QIconProvider provider;
        QCOMPARE(provider.getDataForExtension(extension), nullptr);
        QCOMPARE(provider.getTypeForExtension(extension), QStringLiteral("FILE"));
        QCOMPARE(imageOf(provider.getShellIconForExtension(extension)),
                 imageOf(provider.getDefaultIcon()));
        QCOMPARE(provider.cachedCount(), 0);
    }

    void shellIconForExtension()
    {
        const QImage empty = imageOf(QIcon(QStringLiteral(":/resources/icons/empty")));
        QVERIFY(!empty.isNull());
        QCOMPARE(imageOf(UTIL_shellIconForExtension(QString())), empty);
        // The same extension twice in a row must not trip over its own file.
        const QIcon first = UTIL_shellIconForExtension(QStringLiteral("TXT"));
        const QIcon second = UTIL_shellIconForExtension(QStringLiteral("txt"));
        QVERIFY(!first.isNull());
        QCOMPARE(imageOf(first), imageOf(second));
        QVERIFY(!UTIL_shellIconForExtension(QStringLiteral("vtf")).isNull());
    }

    void centerOverWidget()
    {
        QWidget parent;
        parent.resize(400, 301);
        parent.move(50, 60);
        QWidget child;
        child.setFixedSize(100, 50);
        UTIL_centerOverWidget(&child, &parent);
        QCOMPARE(child.pos(), QPoint(150, 125));

        child.move(7, 8);
        UTIL_centerOverWidget(&child, nullptr);
        UTIL_centerOverWidget(nullptr, &parent);
        QCOMPARE(child.pos(), QPoint(7, 8));
    }

    void notificationsBecomeMessageBoxes_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("icon");
        QTest::newRow("information")
            << int(CNotifier::Information) << int(QMessageBox::Information);
        QTest::newRow("warning") << int(CNotifier::Warning) << int(QMessageBox::Warning);
        QTest::newRow("critical") << int(CNotifier::Critical) << int(QMessageBox::Critical);
    }

    void notificationsBecomeMessageBoxes()
    {
        QFETCH(int, kind);
        QFETCH(int, icon);
        const CNotifier::Handler before = UTIL_installMessageBoxNotifier();
        QString title, text;
        int shownIcon = -1;
        auto *timer = new QTimer(this);
        timer->setInterval(10);
        connect(timer, &QTimer::timeout, [&, timer]() {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                return;
            timer->stop();
            title = box->windowTitle();
            text = box->text();
            shownIcon = int(box->icon());
            QTest::keyClick(box, Qt::Key_Enter);
        });
        timer->start();
        CNotifier::notify(CNotifier::Kind(kind), QStringLiteral("Pakfile"),
                          QStringLiteral("Read Error: odd"));
        delete timer;
        CNotifier::setHandler(before);
        QCOMPARE(title, QStringLiteral("Pakfile"));
        QCOMPARE(text, QStringLiteral("Read Error: odd"));
        QCOMPARE(shownIcon, icon);
    }

    void fontWidth()
    {
        const QFontMetrics metrics { QFont() };
        QCOMPARE(UTIL_getFontWidth(QStringLiteral("models/props")),
                 metrics.horizontalAdvance(QStringLiteral("models/props")));
        QVERIFY(UTIL_getFontWidth(QStringLiteral("ww")) > UTIL_getFontWidth(QStringLiteral("w")));
        QCOMPARE(UTIL_getFontWidth(QString()), 0);
    }
};

QTEST_MAIN(TestUtilWidgets)
#include "tst_util_widgets.moc"
