// SearchTree: the reverse map. For every oid, ascending, the head of a chain: a ring of 92-byte
// blocks {next, previous, used, 20 node offsets}; the head's previous is the last block, and a chain
// of one block links to itself. New offsets fill the last block and then new blocks at the ring's end.
#include "storage/index/SearchTree.h"

#include <string.h>

namespace {

ChainBlock* BlockAt(IndexStore* store, uint32_t offset) {
  return reinterpret_cast<ChainBlock*>(store->Data() + offset);
}

}  // namespace

int SearchTree::FindEntry(CEOID oid) const {
  const uint32_t map = ReverseMap();
  if (map == 0) return -1;
  const uint32_t* words = store->CountedWords(map, sizeof(ReverseEntry));
  if (words == nullptr) return -1;
  const uint32_t count = words[0];
  // Entries are pairs: search the oids by hand.
  const ReverseEntry* entries = reinterpret_cast<const ReverseEntry*>(words + 1);
  const uint32_t id = static_cast<uint32_t>(oid);
  int low = 0;
  int high = static_cast<int>(count) - 1;
  while (low <= high) {
    int middle = low + (high - low) / 2;
    if (entries[middle].oid == id) return middle;
    if (entries[middle].oid < id)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return -low - 1;
}

BOOL SearchTree::AllocateChainBlocks(int count, int freeSlots, Array<uint32_t>& blocks) {
  blocks.RemoveAll();
  int missing = count - freeSlots;
  while (missing > 0) {
    uint32_t block;
    if (!store->AllocateBlock(kChainBlockSize, &block)) {
      for (int k = 0; k < blocks.GetSize(); ++k) store->FreeOffset(blocks[k]);
      blocks.RemoveAll();
      return FALSE;
    }
    memset(BlockAt(store, block), 0, kChainBlockSize);
    blocks.Add(block);
    missing -= kChainSlots;
  }
  return TRUE;
}

BOOL SearchTree::RecordNodes(CEOID oid, const Array<uint32_t>& nodes) {
  if (nodes.GetSize() == 0) return TRUE;
  if (store->Data() == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  const int entry = FindEntry(oid);
  if (store->IsDamaged()) return FALSE;
  Array<uint32_t> blocks;
  uint32_t head;
  if (entry >= 0) {
    head = reinterpret_cast<const ReverseEntry*>(store->Words(ReverseMap()) + 1)[entry].chain;
    // The chain's head and last block, and the last block's link back to the head, before anything
    // is added behind them.
    const ChainBlock* h = store->ChainAt(head);
    if (h == nullptr) return FALSE;
    const ChainBlock* last = store->ChainAt(h->prev);
    if (last == nullptr) return FALSE;
    if (last->next != head) {
      store->NoteDamage();
      return FALSE;
    }
    if (!AllocateChainBlocks(nodes.GetSize(), kChainSlots - static_cast<int>(last->used), blocks))
      return FALSE;
  } else {
    // A new chain, and a map one entry longer with the oid in its place.
    if (!AllocateChainBlocks(nodes.GetSize(), 0, blocks)) return FALSE;
    const uint32_t oldMap = ReverseMap();
    const uint32_t count = oldMap != 0 ? store->Words(oldMap)[0] : 0;
    uint32_t map;
    if (!store->AllocateBlock(4 + 8 * (count + 1), &map)) {
      for (int k = 0; k < blocks.GetSize(); ++k) store->FreeOffset(blocks[k]);
      return FALSE;
    }
    head = blocks[0];
    blocks.RemoveAt(0);
    ChainBlock* h = BlockAt(store, head);
    h->next = head;
    h->prev = head;
    const uint32_t at = static_cast<uint32_t>(-entry - 1);
    uint32_t* target = store->Words(map);
    target[0] = count + 1;
    if (oldMap != 0) {
      const uint32_t* source = store->Words(oldMap) + 1;
      memcpy(target + 1, source, static_cast<size_t>(at) * 8);
      memcpy(target + 3 + at * 2, source + at * 2, static_cast<size_t>(count - at) * 8);
      store->FreeOffset(oldMap);
    }
    ReverseEntry* added = reinterpret_cast<ReverseEntry*>(target + 1) + at;
    added->oid = static_cast<uint32_t>(oid);
    added->chain = head;
    store->SetHeaderWord(reverseSlot, map);
  }

  int nextBlock = 0;
  for (int k = 0; k < nodes.GetSize(); ++k) {
    ChainBlock* h = BlockAt(store, head);
    ChainBlock* last = BlockAt(store, h->prev);
    if (last->used == static_cast<uint32_t>(kChainSlots)) {
      const uint32_t block = blocks[nextBlock++];
      const uint32_t lastOffset = h->prev;
      ChainBlock* b = BlockAt(store, block);
      b->next = head;
      b->prev = lastOffset;
      last->next = block;
      h->prev = block;
      last = b;
    }
    last->slots[last->used++] = nodes[k];
  }
  return TRUE;
}
