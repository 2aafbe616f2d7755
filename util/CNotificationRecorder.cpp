#include "util/CNotificationRecorder.h"

CNotificationRecorder::CNotificationRecorder()
{
    previous = CNotifier::setHandler(
        [this](CNotifier::Kind kind, const QString &title, const QString &text) {
            recorded.append(CNotifier::Entry { kind, title, text });
        });
}

CNotificationRecorder::~CNotificationRecorder()
{
    CNotifier::setHandler(std::move(previous));
}
