#pragma once

#include "util/CNotifier.h"

#include <QList>

// Catches every notification while it lives and gives back the previous handler when it
// goes. For tests and batch work that must not stop at a message box.
class CNotificationRecorder
{
public:
    CNotificationRecorder();
    ~CNotificationRecorder();
    CNotificationRecorder(const CNotificationRecorder &) = delete;
    CNotificationRecorder &operator=(const CNotificationRecorder &) = delete;

    QList<CNotifier::Entry> entries() const { return recorded; }
    void clear() { recorded.clear(); }

private:
    QList<CNotifier::Entry> recorded;
    CNotifier::Handler previous;
};
