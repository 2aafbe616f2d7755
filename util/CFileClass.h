#pragma once

#include <QObject>
#include <QString>

// Base of every file class: where the file came from, what to call it, and the text of the
// last failure.
class CFileClass : public QObject
{
    Q_OBJECT

public:
    explicit CFileClass(QObject *parent = nullptr);
    ~CFileClass() override;

    const QString &getFilePath() const { return filePath; }
    const QString &getFileName() const { return fileName; }
    const QString &getLastError() const { return lastError; }

    // With notify, pathChanged carries the new path in both arguments.
    void setPath(const QString &path, bool notify = true);
    // With notify, nameChanged carries the old and the new name.
    void setName(const QString &name, bool notify = true);
    void setLastError(const QString &error) { lastError = error; }

    QString filePath;
    QString fileName;
    QString lastError;

signals:
    void pathChanged(QString, QString);
    void nameChanged(QString, QString);
};
