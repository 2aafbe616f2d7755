#pragma once

#include "packages/CHierarchyNode.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

class IPackageDelegate;

// A node of a package tree: its QString base is its name. Children are
// unique by name without regard to case. A leaf can carry pending data (new
// content, or the path of a file on disk holding it) until the delegate's
// flush writes it.
//
// Rename a node only through setName(): its parent keeps an index of the
// children's names.
class CPackageHierarchyNode : public CHierarchyNode, public QString
{
public:
    CPackageHierarchyNode();
    explicit CPackageHierarchyNode(const QString &name, IPackageDelegate *owner = nullptr,
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
    static QString lookupKey(const QString &name) { return name.toLower(); }
    CPackageHierarchyNode *walk(const QStringList &parts) const;

    // Lower-cased child name to child; present on branches that have had a
    // child. Keeps name lookups constant in time for wide directories.
    QHash<QString, CPackageHierarchyNode *> *nameIndex;
};
