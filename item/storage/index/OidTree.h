// OidTree: a red-black tree in ordinary memory from a contact's oid to a 32-bit value. The contact
// index builds one from the contact map of its file when it opens and asks it, never the array, for
// a contact's record; the bulk builder keeps its contacts in one.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

class OidTree {
 public:
  OidTree();
  virtual ~OidTree();

  // Maps `oid` to `value`, replacing the value of a known oid. True when the oid was new.
  virtual bool Insert(uint32_t oid, uint32_t value);
  // Forgets `oid`; false when it wasn't known.
  virtual bool Erase(uint32_t oid);
  // Whether `oid` is known, and its value.
  virtual bool Find(uint32_t oid, uint32_t* value) const;
  virtual void Clear();
  int Count() const { return count; }

  // The oids and their values in ascending order of the oids.
  void List(Array<uint32_t>& oids, Array<uint32_t>& values) const;

  // Checks the tree's own rules and appends a line to `report` for each that is broken: ordered keys, parent links, a black root,
  // no red node with a red child, the same number of black nodes on every path, and the count.
  bool Check(Str& report) const;

 private:
  struct Node {
    Node* parent;
    Node* left;
    Node* right;
    uint32_t oid;
    uint32_t value;
    bool red;
  };

  OidTree(const OidTree&);
  OidTree& operator=(const OidTree&);

  Node* Lookup(uint32_t oid) const;
  // The child of `node` on the right when `right`, else the one on the left.
  static Node*& Child(Node* node, bool right);
  // Turns the tree at `node` toward `right` (a right rotation when true): the node's child on the
  // other side takes its place, and the node hangs below that child on this side.
  void Rotate(Node* node, bool right);
  void FixInsert(Node* node);
  void FixErase(Node* node, Node* parent);
  // Puts `replacement` where `node` stands under node's parent.
  void Transplant(Node* node, Node* replacement);
  static Node* Minimum(Node* node);
  static void FreeSubtree(Node* node);
  // Black height of the subtree, or -1 when something in it is broken (reported).
  int CheckSubtree(const Node* node, const Node* parent, bool hasLow, uint32_t low, bool hasHigh,
                   uint32_t high, int depth, int& seen, Str& report) const;

  Node* root;
  int count;
};
