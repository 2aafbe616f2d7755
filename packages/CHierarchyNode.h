#pragma once

#include <memory>
#include <utility>
#include <vector>

class CPackageHierarchyNode;

// A generic tree in which every node knows how many branches and leaves lie
// anywhere below it, so that browsing can show counts without walking.
//
// A node with a child vector is a branch (even when the vector is empty), a
// node without one is a leaf. A branch owns its children.
class CHierarchyNode
{
public:
    CHierarchyNode();
    virtual ~CHierarchyNode();

    CHierarchyNode(const CHierarchyNode &) = delete;
    CHierarchyNode &operator=(const CHierarchyNode &) = delete;

    // Inline, so that a qualified call from a walk up the tree costs nothing.
    virtual CHierarchyNode *getParent() { return parent; }
    virtual const CHierarchyNode *getParent() const { return parent; }
    virtual const CHierarchyNode *getRoot() const;
    virtual bool inHierarchyWith(CHierarchyNode *other) const;
    virtual bool addNode(CHierarchyNode *node, unsigned int index = ~0u);
    virtual CHierarchyNode *getNodeByIndex(unsigned int index);
    virtual const CHierarchyNode *getNodeByIndex(unsigned int index) const;
    virtual CHierarchyNode *first();
    virtual const CHierarchyNode *first() const;
    virtual CHierarchyNode *front();
    virtual const CHierarchyNode *front() const;
    virtual CHierarchyNode *last();
    virtual const CHierarchyNode *last() const;
    virtual CHierarchyNode *back();
    virtual const CHierarchyNode *back() const;
    virtual void makeLeaf();
    virtual void makeNode();
    // The node as a package node, or null: a walk over a package tree asks
    // this at every step, where a dynamic_cast would cost far more.
    virtual CPackageHierarchyNode *asPackageNode() { return nullptr; }
    virtual const CPackageHierarchyNode *asPackageNode() const { return nullptr; }

    // Branches plus leaves anywhere below this node.
    int getSubCount() const { return subNodeCount + subLeafCount; }
    // first: branches below, second: leaves below.
    std::pair<int, int> getSubCountPair() const { return { subNodeCount, subLeafCount }; }
    int getSubLeafCount() const { return subLeafCount; }
    int getSubNodeCount() const { return subNodeCount; }
    void modifyNodeCounts(int nodeDelta, int leafDelta, bool includeSelf);
    void removeNode(CHierarchyNode *node);
    std::vector<CHierarchyNode *> getSubLeafList(unsigned int depth = ~0u) const;
    std::vector<CHierarchyNode *> getSubNodeList(unsigned int depth = ~0u) const;
    // Only direct children are ever found: the deeper walk runs but its
    // answer is not used. Callers rely on that result.
    bool isNodeInHierarchy(const CHierarchyNode *node, unsigned int depth = ~0u) const;

    bool isLeaf() const { return children == nullptr; }
    bool isBranch() const { return children != nullptr; }
    // Number of direct children; 0 for a leaf.
    unsigned int getChildCount() const
    {
        return children ? static_cast<unsigned int>(children->size()) : 0u;
    }

    // What a subclass keeps for a branch alone (a lookup index, say): held by
    // the child list, so that leaves carry nothing for it.
    class BranchData_t
    {
    public:
        virtual ~BranchData_t() = default;
    };

protected:
    // The child list of a branch, and the branch data that goes with it.
    struct Children_t : std::vector<CHierarchyNode *>
    {
        std::unique_ptr<BranchData_t> branchData;
    };

    // Called after a child joined this branch, and before a child leaves it
    // (removal or deletion), so that subclasses can keep lookup indexes.
    virtual void childAttached(CHierarchyNode *child);
    virtual void childDetaching(CHierarchyNode *child);

    CHierarchyNode *parent;
    Children_t *children;
    int subNodeCount;
    int subLeafCount;

private:
    // Branches and leaves this node brings with it, itself included.
    std::pair<int, int> weight() const;
    void collectLeaves(std::vector<CHierarchyNode *> &out, unsigned int depth) const;
    void collectNodes(std::vector<CHierarchyNode *> &out, unsigned int depth) const;
    void deleteChildren();
};
