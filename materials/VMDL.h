#pragma once

#include "materials/CModelInfo.h"

#include <QWidget>

class QTreeWidget;
class QTreeWidgetItem;

// The model data window: the header fields of a compiled model or of its collision file in a
// tree, read from the file on disk. It only shows; nothing is written back.
class VMDL : public QWidget
{
    Q_OBJECT

public:
    explicit VMDL(QWidget *parent = nullptr);

    // Shows the reader's refusal in a warning box and keeps what was shown before.
    bool fileOpen(const QString &path);
    QSize sizeHint() const override;

private:
    void createTree();
    void fillItem(QTreeWidgetItem *item, const CModelInfo::Node_t &node);

    QTreeWidget *tree = nullptr;
};
