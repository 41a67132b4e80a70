// SearchTree: one ternary search tree of the index file, with its reverse map. The tree lives in the
// IndexStore's arena and is reached through two slots of the file's header, its root and its reverse
// map, so that every process that maps the file sees the same tree.
//
// A key is a run of UTF-16 characters, compared as unsigned 16-bit numbers. Each node holds one
// character; a key that ends at a node has its contact list there. A node made for the last but
// several characters of a new key keeps the rest of the key as a tail of its own, so that a unique
// word costs two blocks instead of a node for every character; a later key that shares the tail's
// beginning splits it into a chain of nodes.
//
// The reverse map lists, for every contact, the nodes that the contact was added to (a ring of 92-byte
// blocks per contact), so that taking a contact out is proportional to what it holds. A split may
// move a contact's list below the node recorded, but always down the equal branch, which is where
// the removal looks.
//
// The file may be damaged. Every node, list, tail and chain block is checked against the data before
// it is read (IndexStore::NodeAt and its kind), and every walk along links ends after more steps than
// the file could hold nodes; what doesn't hold together marks the store damaged
// (ArenaStore::NoteDamage), and the operation ends early. The owner then fails the operation with
// ERROR_INVALID_DATA.
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "storage/index/IndexFormat.h"
#include "storage/index/IndexStore.h"

// Receives the contact lists that a prefix lookup reaches.
class TreeListVisitor {
 public:
  virtual ~TreeListVisitor() {}
  virtual void OnList(const uint32_t* oids, uint32_t count) = 0;
};

class SearchTree {
 public:
  SearchTree(IndexStore* store, uint32_t rootSlot, uint32_t reverseSlot);
  virtual ~SearchTree();

  uint32_t Root() const { return store->HeaderWord(rootSlot); }
  uint32_t ReverseMap() const { return store->HeaderWord(reverseSlot); }
  IndexStore* Store() const { return store; }

  // Puts `oid` into the list of `key` (`length` characters, at least one). `node` receives the node's
  // offset, which the caller records in the reverse map, or 0 when the list held the oid already.
  // False, with nothing of the key stored, when the store can't grow.
  virtual BOOL Add(const wchar_t* key, int length, CEOID oid, uint32_t* node);

  // The oids of every key that begins with `key`: the list of the node where the key ends (or whose
  // tail the key's rest begins) and every list below its equal branch; ascending, no duplicates.
  // An empty key, or a key that no stored key begins with, gives nothing.
  virtual void FindPrefix(const wchar_t* key, int length, Array<CEOID>& ids) const;

  // Gives `visitor` every list that FindPrefix gathers, as they stand (not sorted, an oid possibly in
  // several). A link or list that leaves the file, or a walk longer than the file could hold, ends
  // the lookup early.
  virtual void VisitPrefix(const wchar_t* key, int length, TreeListVisitor& visitor) const;

  // The node where `key` ends exactly, or 0.
  virtual uint32_t FindNode(const wchar_t* key, int length) const;

  // Appends `nodes` (offsets, none 0) to the chain of `oid` in the reverse map, making the chain and
  // the map entry when the oid is new. False, with the map as it was, when the store can't grow.
  virtual BOOL RecordNodes(CEOID oid, const Array<uint32_t>& nodes);

  // Takes `oid` out of every list that its chain leads to, prunes the nodes that are left without
  // use, frees the chain and drops the map entry. `extraNodes`, when given, are further nodes the
  // oid was added to that the chain doesn't name yet. Needs no memory from the store.
  virtual void Remove(CEOID oid, const Array<uint32_t>* extraNodes);

  // Frees every node, list and tail (in tree order), every chain and the reverse map, and clears both
  // header slots.
  virtual void FreeAll();

  // Tree order (the node, then its less, equal and greater branches) within the subtree `top`: the
  // node after `node`, or 0 at the end (and when a link leaves the data).
  uint32_t NextNode(uint32_t node, uint32_t top) const;

  // The tail text of a node with the tail flag, or null (for a node without a tail, and for one whose
  // tail leaves the data or has no end inside it); `chars` receives its length.
  const wchar_t* TailOf(uint32_t node, int* chars = nullptr) const;

 protected:
  // The node for `key`, made when missing (see Add). False with the tree unchanged (apart from
  // splits, which keep every key where it is found) when the store can't grow.
  BOOL GetNode(const wchar_t* key, int length, uint32_t* result);
  // An unlinked node for key[i] with `parent`: 24 bytes for the key's last character, otherwise 28
  // bytes with the rest of the key, key[i + 1 .. length), as its tail.
  BOOL NewNode(const wchar_t* key, int i, int length, uint32_t parent, uint32_t* result);
  // Splits the tail of `node`, whose own character matched key[i - 1], so that key[i .. length) can
  // end below it.
  BOOL Split(uint32_t node, const wchar_t* key, int i, int length, uint32_t* result);
  // The node under which every key beginning with `key` lies (its own key ends there or its tail
  // begins with the rest), or 0.
  uint32_t FindPrefixNode(const wchar_t* key, int length) const;
  // The walk of FindNode (`prefix` false) and FindPrefixNode (true).
  uint32_t FindKeyNode(const wchar_t* key, int length, bool prefix) const;
  // Whether `node` hangs in the tree: its parent links lead to the root, each parent naming it as a
  // child. Reads only nodes inside the data; notes damage when not.
  bool IsLiveNode(uint32_t node) const;
  // How many characters of key[i ..) the tail of `node` matches, and whether the tail ended with them
  // (`whole`); -1 when the tail leaves the data.
  int MatchTail(uint32_t node, const wchar_t* key, int i, int length, bool* whole) const;
  // Frees a node's tail block (when it has one) and the node.
  void FreeNode(uint32_t node);
  void SetRoot(uint32_t node) { store->SetHeaderWord(rootSlot, node); }

  // Removal: from `start` down the equal branch, the oid leaves each list; then pruning from the
  // last node. Every node visited or freed goes into `passed` (ascending).
  void RemoveDown(uint32_t start, CEOID oid, Array<uint32_t>& passed);
  void RemoveFromList(uint32_t node, CEOID oid);
  void Prune(uint32_t node, Array<uint32_t>& passed);
  // The chain's nodes, in order.
  void ReadChain(uint32_t head, Array<uint32_t>& nodes) const;
  void FreeChain(uint32_t head);
  // Index of `oid` in the reverse map, or -(insertion point) - 1.
  int FindEntry(CEOID oid) const;
  // Blocks for `count` more node offsets on a chain whose last block has `freeSlots` free slots.
  BOOL AllocateChainBlocks(int count, int freeSlots, Array<uint32_t>& blocks);

  IndexStore* store;
  uint32_t rootSlot;
  uint32_t reverseSlot;
  // Scratch of list removal: the ids that remain, while the old list is already freed.
  Array<uint32_t> scratch;

 private:
  SearchTree(const SearchTree&);
  SearchTree& operator=(const SearchTree&);
};

// Binary search in an ascending run of `count` words: the index, or -(insertion point) - 1.
int SearchWords(const uint32_t* words, int count, uint32_t value);
// Inserts `value` into an ascending Array unless it is there; says whether it was added.
bool InsertSortedOffset(Array<uint32_t>& sorted, uint32_t value);
