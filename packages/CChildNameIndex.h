#pragma once

#include "packages/CHierarchyNode.h"

#include <QString>
#include <QtGlobal>

#include <memory>

class CPackageHierarchyNode;

// The children of one package branch by name, without regard to case: an
// open-addressing table of node pointers and the hashes of their folded
// names. Names compare as their lower-case forms do; names of Latin-1
// characters alone (every name an archive can hold) are folded a character
// at a time without building the lower-case string.
class CChildNameIndex : public CHierarchyNode::BranchData_t
{
public:
    CChildNameIndex() = default;
    CChildNameIndex(const CChildNameIndex &) = delete;
    CChildNameIndex &operator=(const CChildNameIndex &) = delete;

    static quint32 foldedHash(const QString &name) { return foldedHash(QStringView(name)); }
    static quint32 foldedHash(QStringView name);
    static bool foldedEquals(QStringView a, QStringView b);

    // Room for `count` names without growing.
    void reserve(qsizetype count);
    CPackageHierarchyNode *find(const QString &name) const { return find(name, foldedHash(name)); }
    CPackageHierarchyNode *find(const QString &name, quint32 hash) const;
    // Adds a node whose name is not there yet.
    void insert(CPackageHierarchyNode *node) { insert(node, foldedHash(nameOf(node))); }
    void insert(CPackageHierarchyNode *node, quint32 hash);
    // Forgets this very node (not another of the same name).
    void remove(CPackageHierarchyNode *node);
    qsizetype size() const { return count; }

private:
    struct Slot_t
    {
        CPackageHierarchyNode *node;
        quint32 hash;
    };
    static const QString &nameOf(const CPackageHierarchyNode *node);
    void grow(qsizetype capacity);

    std::unique_ptr<Slot_t[]> table;
    qsizetype capacity = 0; // a power of two, or 0
    qsizetype count = 0;
};
