#include "app/QtSingleApplication.h"
#include "app/ZIRK.h"
#include "util/UtilWidgets.h"

#include <Magick++.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>

#include <cstdlib>

namespace {

const char *const InstanceId = "ZIRK";
const int MessageTimeout = 5000;

void showBox(QMessageBox::Icon icon, const QString &text)
{
    QMessageBox box(icon, QString::fromLatin1(InstanceId), text, QMessageBox::Ok);
    box.exec();
}

} // namespace

int main(int argc, char **argv)
{
    Magick::InitializeMagick(argv ? argv[0] : nullptr);
    Q_INIT_RESOURCE(ZIRK);
    if (argc == 0)
        return 0;

    QtSingleApplication application(QString::fromLatin1(InstanceId), argc, argv);
    QCoreApplication::setAttribute(Qt::AA_DontShowIconsInMenus, false);

    // A running instance takes the probe; then this process is only a courier.
    if (application.sendMessage(QString(), MessageTimeout)) {
        if (argc < 2)
            return 0;
        for (int i = 1; i < argc; ++i)
            application.sendMessage(QString::fromLatin1(argv[i]), MessageTimeout);
        return 0;
    }

    QString programPath = QString::fromLatin1(argv[0]);
    if (programPath.isEmpty()) {
        showBox(QMessageBox::Critical, QStringLiteral("Unknown or invalid arguments"));
        return 0;
    }

    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "-setCurrent") != 0)
            continue;
        if (i + 1 >= argc) {
            showBox(QMessageBox::Warning,
                    QStringLiteral("Argument Failure: No directory specified."));
            std::exit(0);
        }
        ++i;
        if (!QDir::setCurrent(QString::fromLatin1(argv[i]))) {
            showBox(QMessageBox::Warning,
                    QStringLiteral("Argument Failure: Unable to set working directory."));
            std::exit(0);
        }
    }

    // The program's own folder always becomes the working directory; "-setCurrent"
    // only decides where a relative program path is resolved.
    programPath = QFileInfo(programPath).absolutePath();
    if (!QDir::setCurrent(programPath)) {
        showBox(QMessageBox::Critical, QStringLiteral("Unable to set working directory."));
        return 0;
    }
    QString settingsPath = programPath;
    if (!settingsPath.endsWith(QLatin1Char('/')) && !settingsPath.endsWith(QLatin1Char('\\')))
        settingsPath += QLatin1Char('/');
    settingsPath += QLatin1String("noitazilait.ini");
    if (!QFile::exists(settingsPath)) {
        showBox(QMessageBox::Critical,
                QStringLiteral(
                    "Configuration file \"noitazilait.ini\" not found in working directory."));
        return 0;
    }

    ZIRK *window = ZIRK::get(argc, argv);
    // Readers in the core library reach the user through message boxes.
    UTIL_installMessageBoxNotifier();
    QObject::connect(&application, &QtSingleApplication::messageReceived, window,
                     &ZIRK::handleMessage);
    application.setActivationWindow(window, false);
    QApplication::setWindowIcon(
        QIcon(QStringLiteral(":/resources/icons/multi_manager_icon_48.png")));
    window->setVisible(true);

    for (int i = 1; i < argc; ++i)
        window->handleMessage(QString::fromLatin1(argv[i]));

    return QApplication::exec();
}
