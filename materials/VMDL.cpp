#include "materials/VMDL.h"

#include <QFileInfo>
#include <QHeaderView>
#include <QIcon>
#include <QMessageBox>
#include <QTreeWidget>
#include <QVBoxLayout>

VMDL::VMDL(QWidget *parent)
    : QWidget(parent)
{
    setWindowTitle(QStringLiteral("Model Data"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/brick")));
    createTree();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tree);
}

void VMDL::createTree()
{
    tree = new QTreeWidget;
    tree->setObjectName(QStringLiteral("modelTree"));
    tree->setColumnCount(2);
    tree->setHeaderLabels({ QStringLiteral("Field"), QStringLiteral("Value") });
    tree->setAlternatingRowColors(true);
    tree->setUniformRowHeights(true);
    tree->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
}

QSize VMDL::sizeHint() const
{
    return QSize(480, 560);
}

bool VMDL::fileOpen(const QString &path)
{
    CModelInfo::Node_t info;
    QString error;
    if (!CModelInfo::describeFile(path, info, error)) {
        QMessageBox::warning(this, windowTitle(), error);
        return false;
    }
    tree->clear();
    auto *top = new QTreeWidgetItem(tree);
    fillItem(top, info);
    top->setExpanded(true);
    setWindowTitle(QStringLiteral("Model Data - %1").arg(QFileInfo(path).fileName()));
    return true;
}

void VMDL::fillItem(QTreeWidgetItem *item, const CModelInfo::Node_t &node)
{
    item->setText(0, node.label);
    item->setText(1, node.value);
    item->setToolTip(1, node.value);
    for (const CModelInfo::Node_t &child : node.children)
        fillItem(new QTreeWidgetItem(item), child);
}
