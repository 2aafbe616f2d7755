#include "packages/FlushSyncronizer.h"

FlushSyncronizer::FlushSyncronizer(QObject *parent)
    : QObject(parent)
    , total(0)
    , processed(0)
    , failed(0)
    , messageErrors(0)
    , canceled(false)
    , failedFlag(false)
    , finished(false)
{ }

void FlushSyncronizer::setTotal(unsigned int value)
{
    if (value == total)
        return;
    total = value;
    emit totalChanged(static_cast<int>(total));
}

void FlushSyncronizer::setProcessed(unsigned int value)
{
    if (value == processed)
        return;
    processed = value;
    emit itemsProcessedChanged(static_cast<int>(processed));
}

void FlushSyncronizer::setFailed(unsigned int value)
{
    if (value == failed)
        return;
    failed = value;
    emit itemsFailedChanged(static_cast<int>(failed));
}

void FlushSyncronizer::incrementProcessed()
{
    setProcessed(processed + 1);
}

void FlushSyncronizer::incrementFailed()
{
    setFailed(failed + 1);
}

void FlushSyncronizer::logMessage(const QString &text, bool isError)
{
    CPair<QString, bool> entry;
    entry.first = text;
    entry.second = isError;
    messages.append(entry);
    emit newMessage();
    emit newMessageString(text);
    emit newMessageCount(static_cast<int>(messages.size()));
    if (isError) {
        ++messageErrors;
        emit newMessageError(messageErrors);
    }
}

void FlushSyncronizer::doCancel()
{
    canceled = true;
    emit flushCanceled();
    emit flushCanceled(true);
}

void FlushSyncronizer::doFail()
{
    failedFlag = true;
    emit flushFailed();
    emit flushFailed(true);
}

void FlushSyncronizer::doFinish()
{
    finished = true;
    emit flushFinished();
    emit flushFinished(true);
}

void FlushSyncronizer::reset()
{
    total = 0;
    processed = 0;
    failed = 0;
    messageErrors = 0;
    messages.clear();
    canceled = false;
    failedFlag = false;
    finished = false;
}

// Its own meta-object code, so that what links this class (the package code)
// does not pull in that of every other class of the library.
#include "moc_FlushSyncronizer.cpp"
