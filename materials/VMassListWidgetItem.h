#pragma once

#include <QListWidgetItem>
#include <QString>

// A row of the Mass VMT Editor's file list: the material's absolute path and its path relative
// to its "/materials/" directory (without extension; empty elsewhere).
class VMassListWidgetItem : public QListWidgetItem
{
public:
    VMassListWidgetItem(const QString &path, const QString &relativePath,
                        QListWidget *list = nullptr);

    QString path;
    QString relativePath;
};
