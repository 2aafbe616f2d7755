#pragma once

#include <QString>
#include <functional>

// How core code raises a message meant for the user without knowing about widgets. The
// application routes it to a message box; tests and batch tools record it
// (CNotificationRecorder). With no handler installed the text goes to qWarning.
class CNotifier
{
public:
    enum Kind { Information, Warning, Critical };

    struct Entry
    {
        Kind kind;
        QString title;
        QString text;
    };

    using Handler = std::function<void(Kind, const QString &title, const QString &text)>;

    static void notify(Kind kind, const QString &title, const QString &text);
    // Installs handler (an empty one restores the default) and returns the previous one.
    static Handler setHandler(Handler handler);
};
