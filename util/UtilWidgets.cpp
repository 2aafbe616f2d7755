#include "util/UtilWidgets.h"

#include <QApplication>
#include <QDir>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QMessageBox>
#include <QTemporaryFile>
#include <QWidget>

void UTIL_centerOverWidget(QWidget *child, const QWidget *parent)
{
    if (!child || !parent)
        return;
    child->adjustSize();
    child->move((parent->width() - child->width()) / 2, (parent->height() - child->height()) / 2);
}

QIcon UTIL_shellIconForExtension(const QString &extension)
{
    const QIcon fallback(QStringLiteral(":/resources/icons/empty"));
    // A separator would let the renamed temporary file wander out of the temporary folder.
    if (extension.isEmpty() || extension.contains(QLatin1Char('/'))
        || extension.contains(QLatin1Char('\\')))
        return fallback;

    static QFileIconProvider provider;
    static QTemporaryFile file(QDir::tempPath() + QStringLiteral("/zirk_shell_icon_XXXXXX"));
    static QString stem;
    if (stem.isEmpty()) {
        if (!file.open())
            return fallback;
        stem = file.fileName();
    }

    const QString wanted = stem + QLatin1Char('.') + extension.toLower();
    if (file.fileName() != wanted && !file.rename(wanted))
        return fallback;
    return provider.icon(QFileInfo(wanted));
}

int UTIL_getFontWidth(const QString &text)
{
    static const QFontMetrics metrics { QFont() };
    return metrics.horizontalAdvance(text);
}

CNotifier::Handler UTIL_installMessageBoxNotifier()
{
    return CNotifier::setHandler(
        [](CNotifier::Kind kind, const QString &title, const QString &text) {
            QWidget *parent = QApplication::activeWindow();
            switch (kind) {
            case CNotifier::Information:
                QMessageBox::information(parent, title, text);
                break;
            case CNotifier::Warning:
                QMessageBox::warning(parent, title, text);
                break;
            case CNotifier::Critical:
                QMessageBox::critical(parent, title, text);
                break;
            }
        });
}
