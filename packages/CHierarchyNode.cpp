#include "packages/CHierarchyNode.h"

#include <algorithm>

CHierarchyNode::CHierarchyNode()
    : parent(nullptr)
    , children(nullptr)
    , subNodeCount(0)
    , subLeafCount(0)
{ }

CHierarchyNode::~CHierarchyNode()
{
    if (parent)
        parent->removeNode(this);
    deleteChildren();
}

void CHierarchyNode::deleteChildren()
{
    if (!children)
        return;
    // The children are detached by hand: letting each one look itself up in
    // this vector would make the teardown of a wide directory quadratic.
    Children_t *doomed = children;
    children = nullptr;
    for (CHierarchyNode *child : *doomed) {
        child->parent = nullptr;
        delete child;
    }
    delete doomed;
    subNodeCount = 0;
    subLeafCount = 0;
}

const CHierarchyNode *CHierarchyNode::getRoot() const
{
    const CHierarchyNode *node = this;
    while (node->parent)
        node = node->parent;
    return node;
}

bool CHierarchyNode::inHierarchyWith(CHierarchyNode *other) const
{
    return other && other->getRoot() == getRoot();
}

std::pair<int, int> CHierarchyNode::weight() const
{
    return { (children ? 1 : 0) + subNodeCount, (children ? 0 : 1) + subLeafCount };
}

bool CHierarchyNode::addNode(CHierarchyNode *node, unsigned int index)
{
    if (!node || !children || node->parent == this)
        return false;
    // A node cannot become its own descendant.
    for (const CHierarchyNode *up = this; up; up = up->parent) {
        if (up == node)
            return false;
    }
    if (node->parent)
        node->parent->removeNode(node);

    node->parent = this;
    if (index < children->size())
        children->insert(children->begin() + index, node);
    else
        children->push_back(node);

    const std::pair<int, int> w = node->weight();
    modifyNodeCounts(w.first, w.second, true);
    childAttached(node);
    return true;
}

void CHierarchyNode::removeNode(CHierarchyNode *node)
{
    if (!node || !children || node->parent != this)
        return;
    // Searching from the end makes the common "undo the last add" cheap.
    auto it = std::find(children->rbegin(), children->rend(), node);
    if (it == children->rend())
        return;
    childDetaching(node);
    const std::pair<int, int> w = node->weight();
    modifyNodeCounts(-w.first, -w.second, true);
    children->erase(std::next(it).base());
    node->parent = nullptr;
}

void CHierarchyNode::modifyNodeCounts(int nodeDelta, int leafDelta, bool includeSelf)
{
    for (CHierarchyNode *node = includeSelf ? this : parent; node; node = node->parent) {
        node->subNodeCount += nodeDelta;
        node->subLeafCount += leafDelta;
    }
}

CHierarchyNode *CHierarchyNode::getNodeByIndex(unsigned int index)
{
    if (!children || index >= children->size())
        return nullptr;
    return (*children)[index];
}

const CHierarchyNode *CHierarchyNode::getNodeByIndex(unsigned int index) const
{
    if (!children || index >= children->size())
        return nullptr;
    return (*children)[index];
}

CHierarchyNode *CHierarchyNode::first()
{
    return (children && !children->empty()) ? children->front() : nullptr;
}

const CHierarchyNode *CHierarchyNode::first() const
{
    return (children && !children->empty()) ? children->front() : nullptr;
}

CHierarchyNode *CHierarchyNode::front()
{
    return first();
}

const CHierarchyNode *CHierarchyNode::front() const
{
    return first();
}

CHierarchyNode *CHierarchyNode::last()
{
    return (children && !children->empty()) ? children->back() : nullptr;
}

const CHierarchyNode *CHierarchyNode::last() const
{
    return (children && !children->empty()) ? children->back() : nullptr;
}

CHierarchyNode *CHierarchyNode::back()
{
    return last();
}

const CHierarchyNode *CHierarchyNode::back() const
{
    return last();
}

void CHierarchyNode::makeNode()
{
    if (children)
        return;
    modifyNodeCounts(1, -1, false);
    children = new Children_t();
}

void CHierarchyNode::makeLeaf()
{
    if (!children)
        return;
    modifyNodeCounts(-(1 + subNodeCount), 1 - subLeafCount, false);
    // Hooks of the subclasses see every child leave before it goes.
    for (CHierarchyNode *child : *children)
        childDetaching(child);
    deleteChildren();
}

void CHierarchyNode::childAttached(CHierarchyNode *) { }

void CHierarchyNode::childDetaching(CHierarchyNode *) { }

void CHierarchyNode::collectLeaves(std::vector<CHierarchyNode *> &out, unsigned int depth) const
{
    if (!children)
        return;
    for (CHierarchyNode *child : *children) {
        if (!child->children)
            out.push_back(child);
        else if (depth != 0)
            child->collectLeaves(out, depth - 1);
    }
}

void CHierarchyNode::collectNodes(std::vector<CHierarchyNode *> &out, unsigned int depth) const
{
    if (!children)
        return;
    for (CHierarchyNode *child : *children) {
        if (!child->children)
            continue;
        out.push_back(child);
        if (depth != 0)
            child->collectNodes(out, depth - 1);
    }
}

std::vector<CHierarchyNode *> CHierarchyNode::getSubLeafList(unsigned int depth) const
{
    std::vector<CHierarchyNode *> out;
    collectLeaves(out, depth);
    return out;
}

std::vector<CHierarchyNode *> CHierarchyNode::getSubNodeList(unsigned int depth) const
{
    std::vector<CHierarchyNode *> out;
    collectNodes(out, depth);
    return out;
}

bool CHierarchyNode::isNodeInHierarchy(const CHierarchyNode *node, unsigned int) const
{
    // A walk into deeper branches would never change the answer, which is
    // defined as "a direct child", so it is not made.
    if (!node || !children)
        return false;
    return node->parent == this;
}
