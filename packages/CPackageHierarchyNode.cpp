#include "packages/CPackageHierarchyNode.h"

#include "packages/CChildNameIndex.h"
#include "packages/IPackageDelegate.h"

#include <QFile>
#include <limits>

CPackageHierarchyNode::CPackageHierarchyNode()
    : CPackageHierarchyNode(QString())
{ }

CPackageHierarchyNode::CPackageHierarchyNode(QString name, IPackageDelegate *owner, int entryIndex)
    : QString(std::move(name))
    , data(nullptr)
    , index(entryIndex)
    , hasData(false)
    , dataIsPath(false)
    , dataLength(0)
    , markedForDeletion(false)
    , delegate(owner)
{ }

CPackageHierarchyNode::~CPackageHierarchyNode()
{
    // Leave the parent while the name still exists, so that its index can
    // drop the entry; the base destructor would do it after the name is gone.
    if (parent)
        parent->removeNode(this);
    delete data;
    data = nullptr;
}

CPackageHierarchyNode *CPackageHierarchyNode::getParent()
{
    return parent ? parent->asPackageNode() : nullptr;
}

const CPackageHierarchyNode *CPackageHierarchyNode::getParent() const
{
    return parent ? static_cast<const CHierarchyNode *>(parent)->asPackageNode() : nullptr;
}

const CPackageHierarchyNode *CPackageHierarchyNode::getRoot() const
{
    return CHierarchyNode::getRoot()->asPackageNode();
}

CPackageHierarchyNode *CPackageHierarchyNode::getNodeByIndex(unsigned int i)
{
    CHierarchyNode *node = CHierarchyNode::getNodeByIndex(i);
    return node ? node->asPackageNode() : nullptr;
}

const CPackageHierarchyNode *CPackageHierarchyNode::getNodeByIndex(unsigned int i) const
{
    const CHierarchyNode *node = CHierarchyNode::getNodeByIndex(i);
    return node ? node->asPackageNode() : nullptr;
}

CPackageHierarchyNode *CPackageHierarchyNode::first()
{
    CHierarchyNode *node = CHierarchyNode::first();
    return node ? node->asPackageNode() : nullptr;
}

const CPackageHierarchyNode *CPackageHierarchyNode::first() const
{
    const CHierarchyNode *node = CHierarchyNode::first();
    return node ? node->asPackageNode() : nullptr;
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
    CHierarchyNode *node = CHierarchyNode::last();
    return node ? node->asPackageNode() : nullptr;
}

const CPackageHierarchyNode *CPackageHierarchyNode::last() const
{
    const CHierarchyNode *node = CHierarchyNode::last();
    return node ? node->asPackageNode() : nullptr;
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
    // The index goes first, so that the children leave without updating it.
    children->branchData.reset();
    CHierarchyNode::makeLeaf();
}

bool CPackageHierarchyNode::addNode(CHierarchyNode *node, unsigned int at)
{
    CPackageHierarchyNode *named = node ? node->asPackageNode() : nullptr;
    if (!named || named->isEmpty())
        return false;
    if (getNodeByString(*named))
        return false;
    return CHierarchyNode::addNode(node, at);
}

CChildNameIndex *CPackageHierarchyNode::nameIndex() const
{
    return children ? static_cast<CChildNameIndex *>(children->branchData.get()) : nullptr;
}

CChildNameIndex &CPackageHierarchyNode::childNames() const
{
    CChildNameIndex *index = nameIndex();
    if (!index) {
        auto made = std::make_unique<CChildNameIndex>();
        made->reserve(qsizetype(children->size()));
        for (CHierarchyNode *child : *children) {
            if (CPackageHierarchyNode *named = child->asPackageNode())
                made->insert(named);
        }
        index = made.get();
        children->branchData = std::move(made);
    }
    return *index;
}

void CPackageHierarchyNode::childAttached(CHierarchyNode *child)
{
    CPackageHierarchyNode *named = child->asPackageNode();
    if (CChildNameIndex *index = nameIndex(); named && index)
        index->insert(named);
}

void CPackageHierarchyNode::childDetaching(CHierarchyNode *child)
{
    CPackageHierarchyNode *named = child->asPackageNode();
    if (CChildNameIndex *index = nameIndex(); named && index)
        index->remove(named);
}

void CPackageHierarchyNode::reserveChildren(qsizetype count)
{
    if (isLeaf() || count <= 0)
        return;
    children->reserve(children->size() + size_t(count));
    if (CChildNameIndex *index = nameIndex())
        index->reserve(index->size() + count);
}

void CPackageHierarchyNode::appendNewLeafUnchecked(CPackageHierarchyNode *leaf)
{
    Q_ASSERT(isBranch() && leaf && !leaf->parent && leaf->isLeaf() && !leaf->isEmpty());
    children->push_back(leaf);
    leaf->parent = this;
    if (CChildNameIndex *index = nameIndex())
        index->insert(leaf);
}

void CPackageHierarchyNode::releaseNameIndex()
{
    if (children)
        children->branchData.reset();
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
    if (isLeaf())
        return nullptr;
    return childNames().find(name);
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
    // Measure first, then fill one buffer from its end: one allocation for
    // the whole path however deep the node lies. The walk calls the base's
    // parent accessor directly: this runs for every entry of a package.
    const CHierarchyNode *start = includeSelf ? static_cast<const CHierarchyNode *>(this) : parent;
    qsizetype length = -1;
    for (const CHierarchyNode *node = start; node && node->CHierarchyNode::getParent();
         node = node->CHierarchyNode::getParent()) {
        const CPackageHierarchyNode *named = node->asPackageNode();
        length += 1 + (named ? named->size() : 0);
    }
    if (length <= 0)
        return QString();
    QString path(length, Qt::Uninitialized);
    char16_t *begin = reinterpret_cast<char16_t *>(path.data());
    char16_t *end = begin + length;
    for (const CHierarchyNode *node = start; node && node->CHierarchyNode::getParent();
         node = node->CHierarchyNode::getParent()) {
        if (const CPackageHierarchyNode *named = node->asPackageNode()) {
            const qsizetype size = named->size();
            const char16_t *name = reinterpret_cast<const char16_t *>(named->constData());
            end -= size;
            // Names are short: a plain loop beats a call to memmove.
            for (qsizetype i = 0; i < size; ++i)
                end[i] = name[i];
        }
        if (end != begin)
            *--end = u'/';
    }
    return path;
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
