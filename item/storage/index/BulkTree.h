// BulkTree: a ternary search tree in ordinary memory, for full rebuilds. It takes the same keys as a
// SearchTree and splits its tails in the same way, but grows without touching the mapped file; when
// every contact is in, it is written into the index file in one pass, block by block in tree order.
// Building in the file itself would fragment its arena with the growth of every list.
//
// Nothing is allocated per key: nodes come in chunks, every node's contacts are a chain of links in
// one pool, and every tail is a run of characters in another (a split's tails are runs inside the
// tail they came from).
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

class IndexStore;

class BulkTree {
 public:
  BulkTree();
  virtual ~BulkTree();

  // Puts `oid` under `key` (`length` characters, at least one).
  virtual void Add(const wchar_t* key, int length, uint32_t oid);
  // The oids of the key that ends exactly at `key`, as they stand (for tests and the tools).
  virtual void FindKey(const wchar_t* key, int length, Array<uint32_t>& ids) const;
  // Writes the tree into `store` under the two header slots: every node in tree order (the node, then
  // its less, equal and greater branches) gets a block of 24 or 28 bytes in that order; then each
  // node is filled, with its list (sorted) and its tail; then the reverse map, oids ascending, with a
  // chain for each. An empty tree writes a root of 0 and a reverse map of one word, 0. False when the
  // store can't grow.
  virtual BOOL Write(IndexStore& store, uint32_t rootSlot, uint32_t reverseSlot);
  virtual void Clear();
  int NodeCount() const { return static_cast<int>(used) - 1; }

 private:
  struct Node {
    uint32_t parent;  // indexes into the tree's chunks; 0 is none
    uint32_t greater;
    uint32_t equal;
    uint32_t less;
    uint32_t firstId;  // the node's contacts: a chain in `links`, 0 when none
    uint32_t lastId;
    uint32_t idCount;     // links in the chain
    uint32_t tailStart;   // the rest of the key, in `tailChars`
    uint32_t tailLength;  // 0: no tail
    uint32_t offset;      // the node's block in the index file, once written
    wchar_t ch;
  };
  // One contact of a node's list, in the order of arrival.
  struct IdLink {
    uint32_t oid;
    uint32_t next;  // 0 ends the chain
  };

  static const uint32_t kChunkNodes = 4096;

  BulkTree(const BulkTree&);
  BulkTree& operator=(const BulkTree&);

  Node& At(uint32_t index) const {
    return (*chunks[static_cast<int>(index / kChunkNodes)])[static_cast<int>(index % kChunkNodes)];
  }
  const wchar_t* Tail(const Node& node) const { return tailChars.GetData() + node.tailStart; }
  uint32_t Make(wchar_t ch, uint32_t parent);
  // A node for key[i] under `parent`, with the rest of the key as its tail when more than one
  // character is left.
  uint32_t NewNode(const wchar_t* key, int i, int length, uint32_t parent);
  uint32_t Split(uint32_t node, const wchar_t* key, int i, int length);
  uint32_t GetNode(const wchar_t* key, int length);
  uint32_t NextNode(uint32_t node) const;
  // The node's contacts, ascending and each once, in `ids`.
  void ListOf(const Node& node, Array<uint32_t>& ids) const;

  Array<Array<Node>*> chunks;
  uint32_t used;
  uint32_t root;
  // The pools, used up to their counts; they grow by doubling.
  Array<IdLink> links;
  uint32_t linkCount;
  Array<wchar_t> tailChars;
  uint32_t tailCount;
};
