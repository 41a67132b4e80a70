// SearchTree: taking a contact out, pruning what is left without use, and freeing a whole tree.
// Nothing here asks the store for memory, so a removal of a sound contact always succeeds: a list that
// shrinks is copied aside, its block freed, and the smaller list allocated in the room that was just
// given back. A removal that meets damage stops where it is; the store is damaged then and changes no
// more.
#include "storage/index/SearchTree.h"

#include <string.h>

namespace {

// An allocation that follows the release of a block at least as large: it can't fail but in a store
// that was found damaged meanwhile, which gives 0.
uint32_t AllocateFreed(IndexStore* store, uint32_t size) {
  uint32_t offset;
  if (store->AllocateBlock(size, &offset)) return offset;
  if (!store->IsDamaged()) FailureStop(L"Unable open memory as mapped file!!!", L"IndexStore", __LINE__);
  return 0;
}

}  // namespace

void SearchTree::RemoveFromList(uint32_t node, CEOID oid) {
  TreeNode* n = store->NodeAt(node);
  if (n == nullptr) return;
  uint32_t list = n->list;
  if (list == 0) return;
  const uint32_t* words = store->CountedWords(list, sizeof(uint32_t));
  if (words == nullptr) return;
  uint32_t count = words[0];
  int at = SearchWords(words + 1, static_cast<int>(count), static_cast<uint32_t>(oid));
  if (at < 0) return;
  if (count == 1) {
    store->FreeOffset(list);
    if (store->IsDamaged()) return;
    store->Node(node)->list = 0;
    return;
  }
  scratch.SetSize(static_cast<int>(count - 1));
  const uint32_t* source = words + 1;
  memcpy(scratch.GetData(), source, static_cast<size_t>(at) * 4);
  memcpy(scratch.GetData() + at, source + at + 1,
         static_cast<size_t>(count - 1 - static_cast<uint32_t>(at)) * 4);
  store->FreeOffset(list);
  if (store->IsDamaged()) return;
  uint32_t fresh = AllocateFreed(store, 4 + 4 * (count - 1));
  if (fresh == 0) return;
  uint32_t* target = store->Words(fresh);
  target[0] = count - 1;
  memcpy(target + 1, scratch.GetData(), static_cast<size_t>(count - 1) * 4);
  store->Node(node)->list = fresh;
}

void SearchTree::Prune(uint32_t node, Array<uint32_t>& passed) {
  for (uint32_t steps = store->NodeLimit(); !store->IsDamaged(); --steps) {
    TreeNode* n = store->NodeAt(node);
    if (n == nullptr) return;
    if (steps == 0) {
      store->NoteDamage();
      return;
    }
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
      if (Root() != node) {
        store->NoteDamage();
        return;
      }
      SetRoot(0);
    } else {
      TreeNode* p = store->NodeAt(parent);
      if (p == nullptr) return;
      if (p->less == node)
        p->less = 0;
      else if (p->equal == node)
        p->equal = 0;
      else if (p->greater == node)
        p->greater = 0;
      else {
        // The parent doesn't know this node: the links don't hold together.
        store->NoteDamage();
        return;
      }
    }
    FreeNode(node);
    InsertSortedOffset(passed, node);
    if (parent == 0) return;
    node = parent;
  }
}

void SearchTree::RemoveDown(uint32_t start, CEOID oid, Array<uint32_t>& passed) {
  uint32_t node = start;
  for (uint32_t steps = store->NodeLimit();; --steps) {
    if (steps == 0) {
      store->NoteDamage();
      return;
    }
    InsertSortedOffset(passed, node);
    RemoveFromList(node, oid);
    if (store->IsDamaged()) return;
    uint32_t equal = store->Node(node)->equal;
    if (equal == 0) break;
    const TreeNode* e = store->NodeAt(equal);
    if (e == nullptr) return;
    if (e->parent != node) {
      store->NoteDamage();
      return;
    }
    node = equal;
  }
  if (store->Node(node)->list == 0) Prune(node, passed);
}

void SearchTree::ReadChain(uint32_t head, Array<uint32_t>& nodes) const {
  uint32_t block = head;
  uint32_t steps = store->Length() / kChainBlockSize + 1;
  do {
    const ChainBlock* b = store->ChainAt(block);
    if (b == nullptr) return;
    if (steps-- == 0) {
      store->NoteDamage();
      return;
    }
    for (uint32_t k = 0; k < b->used; ++k) nodes.Add(b->slots[k]);
    block = b->next;
  } while (block != head && block != 0);
}

void SearchTree::FreeChain(uint32_t head) {
  Array<uint32_t> blocks;
  uint32_t block = head;
  uint32_t steps = store->Length() / kChainBlockSize + 1;
  do {
    const ChainBlock* b = store->ChainAt(block);
    if (b == nullptr) return;
    if (steps-- == 0) {
      store->NoteDamage();
      return;
    }
    blocks.Add(block);
    block = b->next;
  } while (block != head && block != 0);
  for (int k = 0; k < blocks.GetSize(); ++k) store->FreeOffset(blocks[k]);
}

void SearchTree::Remove(CEOID oid, const Array<uint32_t>* extraNodes) {
  if (store->Data() == nullptr || store->IsDamaged()) return;
  const int entry = FindEntry(oid);
  if (store->IsDamaged()) return;
  Array<uint32_t> nodes;
  uint32_t chain = 0;
  if (entry >= 0) {
    chain = reinterpret_cast<const ReverseEntry*>(store->Words(ReverseMap()) + 1)[entry].chain;
    ReadChain(chain, nodes);
    if (store->IsDamaged()) return;
  }
  if (extraNodes != nullptr) nodes.Append(*extraNodes);

  // Every node named must hang in the tree before anything changes: a chain that names something
  // else has been damaged, and following it would write into whatever lies there.
  {
    Array<uint32_t> judged;
    for (int k = 0; k < nodes.GetSize(); ++k) {
      const uint32_t node = nodes[k];
      if (node == 0 || !InsertSortedOffset(judged, node)) continue;
      if (!IsLiveNode(node)) return;
    }
  }

  // Each node once: one that was passed already, by a walk down from above or by pruning, is skipped
  // wherever it stands again.
  Array<uint32_t> passed;
  for (int k = 0; k < nodes.GetSize(); ++k) {
    uint32_t node = nodes[k];
    if (node == 0 || SearchWords(passed.GetData(), passed.GetSize(), node) >= 0) continue;
    RemoveDown(node, oid, passed);
    if (store->IsDamaged()) return;
  }

  if (entry < 0) return;
  FreeChain(chain);
  if (store->IsDamaged()) return;
  const uint32_t map = ReverseMap();
  const uint32_t* words = store->CountedWords(map, sizeof(ReverseEntry));
  if (words == nullptr) return;
  const uint32_t count = words[0];
  if (count == 1) {
    store->Words(map)[0] = 0;
    return;
  }
  const uint32_t remaining = count - 1;
  scratch.SetSize(static_cast<int>(remaining * 2));
  const uint32_t* source = words + 1;
  const uint32_t before = static_cast<uint32_t>(entry) * 2;
  memcpy(scratch.GetData(), source, before * 4);
  memcpy(scratch.GetData() + before, source + before + 2, static_cast<size_t>(remaining * 2 - before) * 4);
  store->FreeOffset(map);
  if (store->IsDamaged()) return;
  uint32_t fresh = AllocateFreed(store, 4 + 8 * remaining);
  if (fresh == 0) return;
  uint32_t* target = store->Words(fresh);
  target[0] = remaining;
  memcpy(target + 1, scratch.GetData(), static_cast<size_t>(remaining * 2) * 4);
  store->SetHeaderWord(reverseSlot, fresh);
}

void SearchTree::FreeAll() {
  if (store->Data() == nullptr || store->IsDamaged()) return;
  Array<uint32_t> nodes;
  const uint32_t root = Root();
  uint32_t steps = store->NodeLimit();
  for (uint32_t node = root; node != 0; node = NextNode(node, root)) {
    if (store->NodeAt(node) == nullptr) return;
    if (steps-- == 0) {
      store->NoteDamage();
      return;
    }
    nodes.Add(node);
  }
  if (store->IsDamaged()) return;
  for (int k = 0; k < nodes.GetSize(); ++k) {
    TreeNode* n = store->Node(nodes[k]);
    if (n->list != 0) store->FreeOffset(n->list);
    FreeNode(nodes[k]);
  }
  SetRoot(0);
  const uint32_t map = ReverseMap();
  if (map != 0) {
    const uint32_t* words = store->CountedWords(map, sizeof(ReverseEntry));
    if (words == nullptr) return;
    const uint32_t count = words[0];
    const ReverseEntry* entries = reinterpret_cast<const ReverseEntry*>(words + 1);
    Array<uint32_t> chains;
    for (uint32_t k = 0; k < count; ++k) chains.Add(entries[k].chain);
    for (int k = 0; k < chains.GetSize(); ++k) FreeChain(chains[k]);
    store->FreeOffset(map);
  }
  store->SetHeaderWord(reverseSlot, 0);
}
