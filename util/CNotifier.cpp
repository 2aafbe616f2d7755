#include "util/CNotifier.h"

#include <QDebug>

namespace {

CNotifier::Handler &currentHandler()
{
    static CNotifier::Handler handler;
    return handler;
}

} // namespace

void CNotifier::notify(Kind kind, const QString &title, const QString &text)
{
    // A copy, so that a handler may install another while it runs.
    const Handler handler = currentHandler();
    if (handler) {
        handler(kind, title, text);
        return;
    }
    qWarning("%s: %s", qUtf8Printable(title), qUtf8Printable(text));
}

CNotifier::Handler CNotifier::setHandler(Handler handler)
{
    Handler previous = std::move(currentHandler());
    currentHandler() = std::move(handler);
    return previous;
}
