#pragma once

#include "packages/CHierarchyNode.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

class CChildNameIndex;
class IPackageDelegate;

// A node of a package tree: its QString base is its name. Children are
// unique by name without regard to case. A leaf can carry pending data (new
// content, or the path of a file on disk holding it) until the delegate's
// flush writes it.
//
// Rename a node only through setName(): its parent may keep an index of the
// children's names, made on the first lookup by name.
class CPackageHierarchyNode : public CHierarchyNode, public QString
{
public:
    CPackageHierarchyNode();
    explicit CPackageHierarchyNode(QString name, IPackageDelegate *owner = nullptr,
                                   int entryIndex = -1);
    ~CPackageHierarchyNode() override;

    CPackageHierarchyNode *getParent() override;
    const CPackageHierarchyNode *getParent() const override;
    const CPackageHierarchyNode *getRoot() const override;
    bool addNode(CHierarchyNode *node, unsigned int index = ~0u) override;
    CPackageHierarchyNode *getNodeByIndex(unsigned int index) override;
    const CPackageHierarchyNode *getNodeByIndex(unsigned int index) const override;
    CPackageHierarchyNode *first() override;
    const CPackageHierarchyNode *first() const override;
    CPackageHierarchyNode *front() override;
    const CPackageHierarchyNode *front() const override;
    CPackageHierarchyNode *last() override;
    const CPackageHierarchyNode *last() const override;
    CPackageHierarchyNode *back() override;
    const CPackageHierarchyNode *back() const override;
    void makeLeaf() override;
    CPackageHierarchyNode *asPackageNode() override { return this; }
    const CPackageHierarchyNode *asPackageNode() const override { return this; }

    const QString &getName() const { return *this; }
    bool setName(const QString &name);

    // The direct child of that name, without regard to case.
    CPackageHierarchyNode *getNodeByString(const QString &name) const;
    CPackageHierarchyNode *getNodeByPath(const QStringList &parts) const;
    CPackageHierarchyNode *getNodeByPath(const QStringList &parts, bool leaf) const;
    // Walks like getNodeByPath and creates what is missing: branches, and a
    // leaf at the end if asked. New nodes take this node's delegate. A step
    // that exists under another case is refused: two entries may not differ
    // in case alone.
    CPackageHierarchyNode *getNewNodeByPath(const QStringList &parts, bool leaf);
    QString getPath(bool includeSelf = true) const;

    // For delegates that build a whole tree at once: room for `count` more
    // children, and the append of a new leaf (no parent, not added anywhere)
    // at the end WITHOUT the check for a sibling of the same name and WITHOUT
    // the counts: the caller makes the check before the tree is used, and
    // adds the leaves to the counts (modifyNodeCounts) once per branch.
    void reserveChildren(qsizetype count);
    void appendNewLeafUnchecked(CPackageHierarchyNode *leaf);
    // Frees this branch's name index; it comes back on the next lookup by
    // name. A freshly read package has little use for the indexes of its
    // widest directories.
    void releaseNameIndex();

    void setData(const QByteArray &bytes, bool isPath);
    bool updateDataLengthAtPath();
    bool deleteData();
    bool isDataInPackage() const;

    QByteArray *data;
    int index;
    bool hasData;
    bool dataIsPath;
    unsigned int dataLength;
    bool markedForDeletion;
    IPackageDelegate *delegate;

protected:
    void childAttached(CHierarchyNode *child) override;
    void childDetaching(CHierarchyNode *child) override;

private:
    CPackageHierarchyNode *walk(const QStringList &parts) const;
    // The children by name without regard to case, made when first needed
    // and kept with the child list: it keeps name lookups constant in time
    // for wide directories. Null for a leaf, or when none is made yet.
    CChildNameIndex *nameIndex() const;
    CChildNameIndex &childNames() const;
};
