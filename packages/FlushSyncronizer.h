#pragma once

#include "util/CPair.h"

#include <QList>
#include <QObject>
#include <QString>

// Carries the progress and the messages of a running flush to whoever shows
// them. Signals are direct: a flush runs on the calling thread to its end.
class FlushSyncronizer : public QObject
{
    Q_OBJECT

public:
    explicit FlushSyncronizer(QObject *parent = nullptr);

    unsigned int getTotal() const { return total; }
    unsigned int getProcessed() const { return processed; }
    unsigned int getFailed() const { return failed; }
    int getMessageErrorCount() const { return messageErrors; }
    const QList<CPair<QString, bool>> &getMessages() const { return messages; }
    bool isCanceled() const { return canceled; }
    bool isFailed() const { return failedFlag; }
    bool isFinished() const { return finished; }

public slots:
    void setTotal(unsigned int value);
    void setProcessed(unsigned int value);
    void setFailed(unsigned int value);
    void incrementProcessed();
    void incrementFailed();
    void logMessage(const QString &text, bool isError);
    void doCancel();
    void doFail();
    void doFinish();
    void reset();

signals:
    void totalChanged(int total);
    void itemsProcessedChanged(int processed);
    void itemsFailedChanged(int failed);
    void newMessage();
    void newMessageString(const QString &text);
    void newMessageCount(int count);
    void newMessageError(int errorCount);
    void flushCanceled();
    void flushCanceled(bool canceled);
    void flushFailed();
    void flushFailed(bool failed);
    void flushFinished();
    void flushFinished(bool finished);

private:
    unsigned int total;
    unsigned int processed;
    unsigned int failed;
    int messageErrors;
    QList<CPair<QString, bool>> messages;
    bool canceled;
    bool failedFlag;
    bool finished;
};
