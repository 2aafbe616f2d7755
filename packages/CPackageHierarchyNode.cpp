#include "packages/CPackageHierarchyNode.h"

#include "packages/IPackageDelegate.h"

#include <QFile>
#include <limits>

CPackageHierarchyNode::CPackageHierarchyNode()
    : CPackageHierarchyNode(QString())
{ }

CPackageHierarchyNode::CPackageHierarchyNode(const QString &name, IPackageDelegate *owner,
                                             int entryIndex)
    : QString(name)
    , data(nullptr)
    , index(entryIndex)
    , hasData(false)
    , dataIsPath(false)
    , dataLength(0)
    , markedForDeletion(false)
    , delegate(owner)
    , nameIndex(nullptr)
{ }

CPackageHierarchyNode::~CPackageHierarchyNode()
{
    // Leave the parent while the name still exists, so that its index can
    // drop the entry; the base destructor would do it after the name is gone.
    if (parent)
        parent->removeNode(this);
    delete data;
    data = nullptr;
    delete nameIndex;
    nameIndex = nullptr;
}

CPackageHierarchyNode *CPackageHierarchyNode::getParent()
{
    return dynamic_cast<CPackageHierarchyNode *>(parent);
}

const CPackageHierarchyNode *CPackageHierarchyNode::getParent() const
{
    return dynamic_cast<const CPackageHierarchyNode *>(parent);
}

const CPackageHierarchyNode *CPackageHierarchyNode::getRoot() const
{
    return dynamic_cast<const CPackageHierarchyNode *>(CHierarchyNode::getRoot());
}

CPackageHierarchyNode *CPackageHierarchyNode::getNodeByIndex(unsigned int i)
{
    return dynamic_cast<CPackageHierarchyNode *>(CHierarchyNode::getNodeByIndex(i));
}

const CPackageHierarchyNode *CPackageHierarchyNode::getNodeByIndex(unsigned int i) const
{
    return dynamic_cast<const CPackageHierarchyNode *>(CHierarchyNode::getNodeByIndex(i));
}

CPackageHierarchyNode *CPackageHierarchyNode::first()
{
    return dynamic_cast<CPackageHierarchyNode *>(CHierarchyNode::first());
}

const CPackageHierarchyNode *CPackageHierarchyNode::first() const
{
    return dynamic_cast<const CPackageHierarchyNode *>(CHierarchyNode::first());
}

CPackageHierarchyNode *CPackageHierarchyNode::front()
{
    return first();
}

const CPackageHierarchyNode *CPackageHierarchyNode::front() const
{
    return first();
}

CPackageHierarchyNode *CPackageHierarchyNode::last()
{
    return dynamic_cast<CPackageHierarchyNode *>(CHierarchyNode::last());
}

const CPackageHierarchyNode *CPackageHierarchyNode::last() const
{
    return dynamic_cast<const CPackageHierarchyNode *>(CHierarchyNode::last());
}

CPackageHierarchyNode *CPackageHierarchyNode::back()
{
    return last();
}

const CPackageHierarchyNode *CPackageHierarchyNode::back() const
{
    return last();
}

void CPackageHierarchyNode::makeLeaf()
{
    if (isLeaf())
        return;
    delete nameIndex;
    nameIndex = nullptr;
    CHierarchyNode::makeLeaf();
}

bool CPackageHierarchyNode::addNode(CHierarchyNode *node, unsigned int at)
{
    CPackageHierarchyNode *named = dynamic_cast<CPackageHierarchyNode *>(node);
    if (!named || named->isEmpty())
        return false;
    if (getNodeByString(*named))
        return false;
    return CHierarchyNode::addNode(node, at);
}

void CPackageHierarchyNode::childAttached(CHierarchyNode *child)
{
    CPackageHierarchyNode *named = dynamic_cast<CPackageHierarchyNode *>(child);
    if (!named)
        return;
    if (!nameIndex)
        nameIndex = new QHash<QString, CPackageHierarchyNode *>();
    nameIndex->insert(lookupKey(*named), named);
}

void CPackageHierarchyNode::childDetaching(CHierarchyNode *child)
{
    CPackageHierarchyNode *named = dynamic_cast<CPackageHierarchyNode *>(child);
    if (!named || !nameIndex)
        return;
    auto it = nameIndex->find(lookupKey(*named));
    if (it != nameIndex->end() && it.value() == named)
        nameIndex->erase(it);
}

bool CPackageHierarchyNode::setName(const QString &name)
{
    if (name.isEmpty())
        return false;
    CPackageHierarchyNode *up = getParent();
    if (up) {
        const CPackageHierarchyNode *other = up->getNodeByString(name);
        if (other && other != this)
            return false;
        up->childDetaching(this);
    }
    QString::operator=(name);
    if (up)
        up->childAttached(this);
    return true;
}

CPackageHierarchyNode *CPackageHierarchyNode::getNodeByString(const QString &name) const
{
    if (isLeaf() || !nameIndex)
        return nullptr;
    return nameIndex->value(lookupKey(name), nullptr);
}

CPackageHierarchyNode *CPackageHierarchyNode::walk(const QStringList &parts) const
{
    const CPackageHierarchyNode *node = this;
    for (const QString &part : parts) {
        if (part.isEmpty())
            continue;
        node = node->getNodeByString(part);
        if (!node)
            return nullptr;
    }
    return const_cast<CPackageHierarchyNode *>(node);
}

CPackageHierarchyNode *CPackageHierarchyNode::getNodeByPath(const QStringList &parts) const
{
    if (isLeaf() || parts.isEmpty())
        return nullptr;
    return walk(parts);
}

CPackageHierarchyNode *CPackageHierarchyNode::getNodeByPath(const QStringList &parts,
                                                            bool leaf) const
{
    CPackageHierarchyNode *node = getNodeByPath(parts);
    if (!node || node->isLeaf() != leaf)
        return nullptr;
    return node;
}

CPackageHierarchyNode *CPackageHierarchyNode::getNewNodeByPath(const QStringList &parts, bool leaf)
{
    if (isLeaf() || parts.isEmpty())
        return nullptr;

    int lastStep = parts.size() - 1;
    while (lastStep >= 0 && parts.at(lastStep).isEmpty())
        --lastStep;

    CPackageHierarchyNode *node = this;
    for (int i = 0; i <= lastStep; ++i) {
        const QString &part = parts.at(i);
        if (part.isEmpty())
            continue;
        const bool isLast = (i == lastStep);
        if (node->isLeaf())
            return nullptr; // nothing can live below a file

        CPackageHierarchyNode *child = node->getNodeByString(part);
        if (child) {
            if (static_cast<const QString &>(*child) != part)
                return nullptr; // same name in another case: a collision
            node = child;
            continue;
        }

        child = new CPackageHierarchyNode(part, node->delegate, -1);
        if (!(isLast && leaf))
            child->makeNode();
        if (!node->addNode(child)) {
            delete child;
            return nullptr;
        }
        node = child;
    }
    if (node == this && lastStep < 0)
        return leaf ? nullptr : node;
    if (node->isLeaf() != leaf)
        return nullptr;
    return node;
}

QString CPackageHierarchyNode::getPath(bool includeSelf) const
{
    QStringList names;
    const CHierarchyNode *node = includeSelf ? static_cast<const CHierarchyNode *>(this) : parent;
    for (; node && node->getParent(); node = node->getParent()) {
        const CPackageHierarchyNode *named = dynamic_cast<const CPackageHierarchyNode *>(node);
        names.prepend(named ? static_cast<const QString &>(*named) : QString());
    }
    return names.join(QLatin1Char('/'));
}

void CPackageHierarchyNode::setData(const QByteArray &bytes, bool isPath)
{
    delete data;
    data = new QByteArray(bytes);
    hasData = true;
    dataIsPath = isPath;
    if (isPath)
        updateDataLengthAtPath();
    else
        dataLength = 0;
}

bool CPackageHierarchyNode::updateDataLengthAtPath()
{
    if (!dataIsPath || !data)
        return false;
    const int nul = data->indexOf('\0');
    QFile source(QFile::decodeName(nul < 0 ? *data : data->left(nul)));
    if (!source.open(QIODevice::ReadOnly)) {
        dataLength = 0;
        return false;
    }
    const qint64 size = source.size();
    dataLength = size > std::numeric_limits<unsigned int>::max()
        ? std::numeric_limits<unsigned int>::max()
        : static_cast<unsigned int>(size);
    return true;
}

bool CPackageHierarchyNode::deleteData()
{
    if (!isDataInPackage())
        return false;
    delete data;
    data = nullptr;
    hasData = false;
    dataIsPath = false;
    dataLength = 0;
    return true;
}

bool CPackageHierarchyNode::isDataInPackage() const
{
    return delegate && index >= 0
        && delegate->isPackageFileAtIndex(static_cast<unsigned int>(index));
}
