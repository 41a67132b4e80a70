#include "storage/index/OidTree.h"

#include <stdlib.h>

#include "foundation/DebugUtils.h"
#include "storage/index/IndexFormat.h"

namespace {

// No balanced tree of 32-bit keys is deeper than this.
const int kDepthLimit = 80;

}  // namespace

OidTree::OidTree() : root(nullptr), count(0) {}

OidTree::~OidTree() { Clear(); }

void OidTree::FreeSubtree(Node* node) {
  // Iterative: descend to a leaf, free it, go back up.
  while (node != nullptr) {
    if (node->left != nullptr) {
      node = node->left;
    } else if (node->right != nullptr) {
      node = node->right;
    } else {
      Node* parent = node->parent;
      if (parent != nullptr) {
        if (parent->left == node)
          parent->left = nullptr;
        else
          parent->right = nullptr;
      }
      free(node);
      node = parent;
    }
  }
}

void OidTree::Clear() {
  FreeSubtree(root);
  root = nullptr;
  count = 0;
}

OidTree::Node* OidTree::Lookup(uint32_t oid) const {
  Node* node = root;
  while (node != nullptr) {
    if (oid == node->oid) return node;
    node = oid < node->oid ? node->left : node->right;
  }
  return nullptr;
}

bool OidTree::Find(uint32_t oid, uint32_t* value) const {
  Node* node = Lookup(oid);
  if (node == nullptr) return false;
  if (value != nullptr) *value = node->value;
  return true;
}

OidTree::Node* OidTree::Minimum(Node* node) {
  while (node->left != nullptr) node = node->left;
  return node;
}

OidTree::Node*& OidTree::Child(Node* node, bool right) { return right ? node->right : node->left; }

void OidTree::Rotate(Node* x, bool right) {
  Node* y = Child(x, !right);
  Child(x, !right) = Child(y, right);
  if (Child(y, right) != nullptr) Child(y, right)->parent = x;
  Transplant(x, y);
  Child(y, right) = x;
  x->parent = y;
}

bool OidTree::Insert(uint32_t oid, uint32_t value) {
  Node* parent = nullptr;
  Node* at = root;
  while (at != nullptr) {
    if (oid == at->oid) {
      at->value = value;
      return false;
    }
    parent = at;
    at = oid < at->oid ? at->left : at->right;
  }
  Node* node = CheckAllocation(static_cast<Node*>(malloc(sizeof(Node))));
  node->parent = parent;
  node->left = nullptr;
  node->right = nullptr;
  node->oid = oid;
  node->value = value;
  node->red = true;
  if (parent == nullptr)
    root = node;
  else if (oid < parent->oid)
    parent->left = node;
  else
    parent->right = node;
  ++count;
  FixInsert(node);
  return true;
}

void OidTree::FixInsert(Node* node) {
  // The two cases are mirror images: `side` is the side of its parent that the node's parent hangs on.
  while (node->parent != nullptr && node->parent->red) {
    Node* parent = node->parent;
    Node* grand = parent->parent;
    const bool side = parent == grand->right;
    Node* uncle = Child(grand, !side);
    if (uncle != nullptr && uncle->red) {
      parent->red = false;
      uncle->red = false;
      grand->red = true;
      node = grand;
    } else {
      if (node == Child(parent, !side)) {
        node = parent;
        Rotate(node, side);
        parent = node->parent;
      }
      parent->red = false;
      grand->red = true;
      Rotate(grand, !side);
    }
  }
  root->red = false;
}

void OidTree::Transplant(Node* node, Node* replacement) {
  if (node->parent == nullptr)
    root = replacement;
  else if (node == node->parent->left)
    node->parent->left = replacement;
  else
    node->parent->right = replacement;
  if (replacement != nullptr) replacement->parent = node->parent;
}

bool OidTree::Erase(uint32_t oid) {
  Node* node = Lookup(oid);
  if (node == nullptr) return false;
  Node* child;
  Node* childParent;
  bool removedRed = node->red;
  if (node->left == nullptr) {
    child = node->right;
    childParent = node->parent;
    Transplant(node, node->right);
  } else if (node->right == nullptr) {
    child = node->left;
    childParent = node->parent;
    Transplant(node, node->left);
  } else {
    Node* next = Minimum(node->right);
    removedRed = next->red;
    child = next->right;
    if (next->parent == node) {
      childParent = next;
    } else {
      childParent = next->parent;
      Transplant(next, next->right);
      next->right = node->right;
      next->right->parent = next;
    }
    Transplant(node, next);
    next->left = node->left;
    next->left->parent = next;
    next->red = node->red;
  }
  free(node);
  --count;
  if (!removedRed) FixErase(child, childParent);
  return true;
}

void OidTree::FixErase(Node* node, Node* parent) {
  // `node` may be null (a black leaf); `parent` is where it hangs, on the side `side`. The two sides
  // are mirror images: the sibling's child on the node's side is the near one, the other the far one.
  while (node != root && (node == nullptr || !node->red)) {
    const bool side = node != parent->left;
    Node* sibling = Child(parent, !side);
    if (sibling->red) {
      sibling->red = false;
      parent->red = true;
      Rotate(parent, side);
      sibling = Child(parent, !side);
    }
    const bool nearBlack = Child(sibling, side) == nullptr || !Child(sibling, side)->red;
    const bool farBlack = Child(sibling, !side) == nullptr || !Child(sibling, !side)->red;
    if (nearBlack && farBlack) {
      sibling->red = true;
      node = parent;
      parent = node->parent;
    } else {
      if (farBlack) {
        Child(sibling, side)->red = false;
        sibling->red = true;
        Rotate(sibling, !side);
        sibling = Child(parent, !side);
      }
      sibling->red = parent->red;
      parent->red = false;
      if (Child(sibling, !side) != nullptr) Child(sibling, !side)->red = false;
      Rotate(parent, side);
      node = root;
      parent = nullptr;
    }
  }
  if (node != nullptr) node->red = false;
}

void OidTree::List(Array<uint32_t>& oids, Array<uint32_t>& values) const {
  oids.RemoveAll();
  values.RemoveAll();
  // In order without recursion: leftmost, then successors by the parent links.
  Node* node = root != nullptr ? Minimum(root) : nullptr;
  while (node != nullptr) {
    oids.Add(node->oid);
    values.Add(node->value);
    if (node->right != nullptr) {
      node = Minimum(node->right);
    } else {
      Node* parent = node->parent;
      while (parent != nullptr && node == parent->right) {
        node = parent;
        parent = parent->parent;
      }
      node = parent;
    }
  }
}

int OidTree::CheckSubtree(const Node* node, const Node* parent, bool hasLow, uint32_t low, bool hasHigh,
                          uint32_t high, int depth, int& seen, Str& report) const {
  if (node == nullptr) return 1;
  Str line;
  if (++seen > count + 1 || depth > kDepthLimit) {
    AddReportLine(report, L"contact tree: more nodes than its count, too deep, or a cycle");
    return -1;
  }
  int broken = 0;
  if (node->parent != parent) {
    line.Format(L"contact tree: node %u doesn't name its parent", node->oid);
    AddReportLine(report, line);
    broken = 1;
  }
  if ((hasLow && node->oid <= low) || (hasHigh && node->oid >= high)) {
    line.Format(L"contact tree: node %u stands out of order", node->oid);
    AddReportLine(report, line);
    broken = 1;
  }
  if (node->red &&
      ((node->left != nullptr && node->left->red) || (node->right != nullptr && node->right->red))) {
    line.Format(L"contact tree: red node %u has a red child", node->oid);
    AddReportLine(report, line);
    broken = 1;
  }
  int left = CheckSubtree(node->left, node, hasLow, low, true, node->oid, depth + 1, seen, report);
  if (left < 0) return -1;
  int right = CheckSubtree(node->right, node, true, node->oid, hasHigh, high, depth + 1, seen, report);
  if (right < 0) return -1;
  if (left != right) {
    line.Format(L"contact tree: below node %u the black heights differ (%d, %d)", node->oid, left, right);
    AddReportLine(report, line);
    broken = 1;
  }
  if (broken) return -1;
  return left + (node->red ? 0 : 1);
}

bool OidTree::Check(Str& report) const {
  const int before = report.GetLength();
  if (root != nullptr && root->red) AddReportLine(report, L"contact tree: the root is red");
  int seen = 0;
  CheckSubtree(root, nullptr, false, 0, false, 0, 0, seen, report);
  if (report.GetLength() == before && seen != count) {
    Str line;
    line.Format(L"contact tree: %d nodes, but a count of %d", seen, count);
    AddReportLine(report, line);
  }
  return report.GetLength() == before;
}
