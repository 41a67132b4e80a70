// SearchTree: taking a contact out, pruning what is left without use, and freeing a whole tree.
// Nothing here asks the store for memory, so a removal always succeeds: a list that shrinks is copied
// aside, its block freed, and the smaller list allocated in the room that was just given back.
#include "storage/index/SearchTree.h"

#include <string.h>

namespace {

// An allocation that follows the release of a block at least as large: it can't fail.
uint32_t AllocateFreed(IndexStore* store, uint32_t size) {
  uint32_t offset;
  if (!store->AllocateBlock(size, &offset))
    FailureStop(L"Unable open memory as mapped file!!!", L"IndexStore", __LINE__);
  return offset;
}

}  // namespace

void SearchTree::RemoveFromList(uint32_t node, CEOID oid) {
  TreeNode* n = store->Node(node);
  uint32_t list = n->list;
  if (list == 0) return;
  uint32_t count = store->Words(list)[0];
  int at = SearchWords(store->Words(list) + 1, static_cast<int>(count), static_cast<uint32_t>(oid));
  if (at < 0) return;
  if (count == 1) {
    store->FreeOffset(list);
    store->Node(node)->list = 0;
    return;
  }
  scratch.SetSize(static_cast<int>(count - 1));
  const uint32_t* source = store->Words(list) + 1;
  memcpy(scratch.GetData(), source, static_cast<size_t>(at) * 4);
  memcpy(scratch.GetData() + at, source + at + 1,
         static_cast<size_t>(count - 1 - static_cast<uint32_t>(at)) * 4);
  store->FreeOffset(list);
  uint32_t fresh = AllocateFreed(store, 4 + 4 * (count - 1));
  uint32_t* target = store->Words(fresh);
  target[0] = count - 1;
  memcpy(target + 1, scratch.GetData(), static_cast<size_t>(count - 1) * 4);
  store->Node(node)->list = fresh;
}

void SearchTree::Prune(uint32_t node, Array<uint32_t>& passed) {
  for (;;) {
    TreeNode* n = store->Node(node);
    if (n->list != 0) return;
    if (n->less != 0 || n->equal != 0 || n->greater != 0) {
      // Still a way to other keys: it stays, but a tail without a list means nothing now.
      if (n->tailFlag == kTailFlag) {
        store->FreeOffset(n->tail);
        n->tailFlag = 0;
        n->tail = 0;
      }
      return;
    }
    uint32_t parent = n->parent;
    if (parent == 0) {
      SetRoot(0);
    } else {
      TreeNode* p = store->Node(parent);
      if (p->less == node)
        p->less = 0;
      else if (p->equal == node)
        p->equal = 0;
      else if (p->greater == node)
        p->greater = 0;
    }
    FreeNode(node);
    InsertSortedOffset(passed, node);
    if (parent == 0) return;
    node = parent;
  }
}

void SearchTree::RemoveDown(uint32_t start, CEOID oid, Array<uint32_t>& passed) {
  uint32_t node = start;
  for (;;) {
    InsertSortedOffset(passed, node);
    RemoveFromList(node, oid);
    uint32_t equal = store->Node(node)->equal;
    if (equal == 0) break;
    node = equal;
  }
  if (store->Node(node)->list == 0) Prune(node, passed);
}

void SearchTree::ReadChain(uint32_t head, Array<uint32_t>& nodes) const {
  uint32_t block = head;
  do {
    const ChainBlock* b = reinterpret_cast<const ChainBlock*>(store->Data() + block);
    for (uint32_t k = 0; k < b->used && k < static_cast<uint32_t>(kChainSlots); ++k) nodes.Add(b->slots[k]);
    block = b->next;
  } while (block != head && block != 0);
}

void SearchTree::FreeChain(uint32_t head) {
  Array<uint32_t> blocks;
  uint32_t block = head;
  do {
    blocks.Add(block);
    block = reinterpret_cast<const ChainBlock*>(store->Data() + block)->next;
  } while (block != head && block != 0);
  for (int k = 0; k < blocks.GetSize(); ++k) store->FreeOffset(blocks[k]);
}

void SearchTree::Remove(CEOID oid, const Array<uint32_t>* extraNodes) {
  if (store->Data() == nullptr) return;
  const int entry = FindEntry(oid);
  Array<uint32_t> nodes;
  uint32_t chain = 0;
  if (entry >= 0) {
    chain = reinterpret_cast<const ReverseEntry*>(store->Words(ReverseMap()) + 1)[entry].chain;
    ReadChain(chain, nodes);
  }
  if (extraNodes != nullptr) nodes.Append(*extraNodes);

  // Each node once: one that was passed already, by a walk down from above or by pruning, is skipped
  // wherever it stands again.
  Array<uint32_t> passed;
  for (int k = 0; k < nodes.GetSize(); ++k) {
    uint32_t node = nodes[k];
    if (node == 0 || SearchWords(passed.GetData(), passed.GetSize(), node) >= 0) continue;
    RemoveDown(node, oid, passed);
  }

  if (entry < 0) return;
  FreeChain(chain);
  const uint32_t map = ReverseMap();
  const uint32_t count = store->Words(map)[0];
  if (count == 1) {
    store->Words(map)[0] = 0;
    return;
  }
  const uint32_t remaining = count - 1;
  scratch.SetSize(static_cast<int>(remaining * 2));
  const uint32_t* source = store->Words(map) + 1;
  const uint32_t before = static_cast<uint32_t>(entry) * 2;
  memcpy(scratch.GetData(), source, before * 4);
  memcpy(scratch.GetData() + before, source + before + 2, static_cast<size_t>(remaining * 2 - before) * 4);
  store->FreeOffset(map);
  uint32_t fresh = AllocateFreed(store, 4 + 8 * remaining);
  uint32_t* target = store->Words(fresh);
  target[0] = remaining;
  memcpy(target + 1, scratch.GetData(), static_cast<size_t>(remaining * 2) * 4);
  store->SetHeaderWord(reverseSlot, fresh);
}

void SearchTree::FreeAll() {
  if (store->Data() == nullptr) return;
  Array<uint32_t> nodes;
  const uint32_t root = Root();
  for (uint32_t node = root; node != 0; node = NextNode(node, root)) nodes.Add(node);
  for (int k = 0; k < nodes.GetSize(); ++k) {
    TreeNode* n = store->Node(nodes[k]);
    if (n->list != 0) store->FreeOffset(n->list);
    FreeNode(nodes[k]);
  }
  SetRoot(0);
  const uint32_t map = ReverseMap();
  if (map != 0) {
    const uint32_t count = store->Words(map)[0];
    const ReverseEntry* entries = reinterpret_cast<const ReverseEntry*>(store->Words(map) + 1);
    Array<uint32_t> chains;
    for (uint32_t k = 0; k < count; ++k) chains.Add(entries[k].chain);
    for (int k = 0; k < chains.GetSize(); ++k) FreeChain(chains[k]);
    store->FreeOffset(map);
  }
  store->SetHeaderWord(reverseSlot, 0);
}
