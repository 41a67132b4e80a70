#include "storage/index/BulkTree.h"

#include <string.h>
#include <wchar.h>

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"
#include "storage/index/IndexFormat.h"
#include "storage/index/IndexStore.h"

BulkTree::BulkTree() : used(0), root(0) { Clear(); }

BulkTree::~BulkTree() {
  for (int k = 0; k < chunks.GetSize(); ++k) delete chunks[k];
}

void BulkTree::Clear() {
  for (int k = 0; k < chunks.GetSize(); ++k) delete chunks[k];
  chunks.RemoveAll();
  used = 0;
  root = 0;
  Make(0, 0);  // index 0 stands for none
}

uint32_t BulkTree::Make(wchar_t ch, uint32_t parent) {
  if (used % kChunkNodes == 0) {
    Array<Node>* chunk = CheckAllocation(new Array<Node>);
    chunk->SetSize(static_cast<int>(kChunkNodes));
    chunks.Add(chunk);
  }
  const uint32_t index = used++;
  Node& node = At(index);
  node.parent = parent;
  node.greater = 0;
  node.equal = 0;
  node.less = 0;
  node.offset = 0;
  node.ch = ch;
  node.hasTail = false;
  return index;
}

uint32_t BulkTree::NewNode(const wchar_t* key, int i, int length, uint32_t parent) {
  const uint32_t index = Make(key[i], parent);
  if (length - i > 1) {
    Node& node = At(index);
    node.hasTail = true;
    node.tail = Str(key + i + 1, length - i - 1);
  }
  return index;
}

uint32_t BulkTree::Split(uint32_t node, const wchar_t* key, int i, int length) {
  const Str tail = At(node).tail;
  const wchar_t* t = tail;
  const int tailLength = tail.GetLength();
  const int restLength = length - i;
  if (tailLength == restLength && wmemcmp(t, key + i, static_cast<size_t>(restLength)) == 0) return node;
  int common = 0;
  while (common < tailLength && common < restLength && t[common] == key[i + common]) ++common;

  uint32_t current = node;
  for (int k = 0; k < common; ++k) {
    const uint32_t made = Make(t[k], current);
    At(current).equal = made;
    current = made;
  }
  uint32_t tailNode = 0;
  if (common == tailLength) {
    At(current).ids = At(node).ids;
  } else {
    tailNode = NewNode(t, common, tailLength, current);
    At(tailNode).ids = At(node).ids;
    At(current).equal = tailNode;
  }
  Node& old = At(node);
  old.ids.RemoveAll();
  old.tail.Empty();
  old.hasTail = false;

  if (common == restLength) return current;
  if (tailNode != 0) {
    const uint32_t made = NewNode(key, i + common, length, tailNode);
    if (key[i + common] < At(tailNode).ch)
      At(tailNode).less = made;
    else
      At(tailNode).greater = made;
    return made;
  }
  const uint32_t made = NewNode(key, i + common, length, current);
  At(current).equal = made;
  return made;
}

uint32_t BulkTree::GetNode(const wchar_t* key, int length) {
  if (root == 0) root = Make(key[0], 0);
  uint32_t node = root;
  int i = 0;
  wchar_t c = key[0];
  for (;;) {
    Node& n = At(node);
    if (c == n.ch) {
      ++i;
      if (i == length) {
        if (n.equal != 0 || !n.hasTail) return node;
        return Split(node, key, i, length);
      }
      if (n.equal != 0) {
        node = n.equal;
        c = key[i];
        continue;
      }
      if (n.hasTail) return Split(node, key, i, length);
      const uint32_t made = NewNode(key, i, length, node);
      At(node).equal = made;
      return made;
    }
    if (c > n.ch) {
      if (n.greater != 0) {
        node = n.greater;
        continue;
      }
      const uint32_t made = NewNode(key, i, length, node);
      At(node).greater = made;
      return made;
    }
    if (n.less != 0) {
      node = n.less;
      continue;
    }
    const uint32_t made = NewNode(key, i, length, node);
    At(node).less = made;
    return made;
  }
}

void BulkTree::Add(const wchar_t* key, int length, uint32_t oid) {
  if (key == nullptr || length <= 0) return;
  Node& node = At(GetNode(key, length));
  // A contact's keys come in together, so a repeat stands at the list's end.
  if (node.ids.GetSize() > 0 && node.ids[node.ids.GetSize() - 1] == oid) return;
  node.ids.Add(oid);
}

void BulkTree::FindKey(const wchar_t* key, int length, Array<uint32_t>& ids) const {
  ids.RemoveAll();
  if (key == nullptr || length <= 0) return;
  uint32_t node = root;
  int i = 0;
  while (node != 0) {
    const Node& n = At(node);
    if (key[i] == n.ch) {
      ++i;
      if (n.hasTail) {
        if (length - i == n.tail.GetLength() &&
            wmemcmp(key + i, n.tail, static_cast<size_t>(length - i)) == 0)
          ids = n.ids;
        return;
      }
      if (i == length) {
        ids = n.ids;
        return;
      }
      node = n.equal;
    } else {
      node = key[i] > n.ch ? n.greater : n.less;
    }
  }
}

uint32_t BulkTree::NextNode(uint32_t node) const {
  const Node& n = At(node);
  if (n.less != 0) return n.less;
  if (n.equal != 0) return n.equal;
  if (n.greater != 0) return n.greater;
  while (node != root) {
    const uint32_t parent = At(node).parent;
    const Node& p = At(parent);
    if (node == p.less) {
      if (p.equal != 0) return p.equal;
      if (p.greater != 0) return p.greater;
    } else if (node == p.equal) {
      if (p.greater != 0) return p.greater;
    }
    node = parent;
  }
  return 0;
}

namespace {

struct NodeOfOid {
  uint32_t oid;
  uint32_t node;
};

}  // namespace

BOOL BulkTree::Write(IndexStore& store, uint32_t rootSlot, uint32_t reverseSlot) {
  if (store.Data() == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (root == 0) {
    uint32_t map;
    if (!store.AllocateBlock(4, &map)) return FALSE;
    store.Words(map)[0] = 0;
    store.SetHeaderWord(rootSlot, 0);
    store.SetHeaderWord(reverseSlot, map);
    return TRUE;
  }

  // 1. A block for every node, in tree order.
  Array<uint32_t> order;
  for (uint32_t node = root; node != 0; node = NextNode(node)) order.Add(node);
  for (int k = 0; k < order.GetSize(); ++k) {
    Node& n = At(order[k]);
    if (!store.AllocateBlock(n.hasTail ? kTailNodeSize : kNodeSize, &n.offset)) return FALSE;
  }

  // 2. Each node's links, list and tail.
  Array<NodeOfOid> table;
  for (int k = 0; k < order.GetSize(); ++k) {
    Node& n = At(order[k]);
    uint32_t list = 0;
    if (n.ids.GetSize() > 0) {
      SortUniqueIds(n.ids);
      const uint32_t count = static_cast<uint32_t>(n.ids.GetSize());
      if (!store.AllocateBlock(4 + 4 * count, &list)) return FALSE;
      uint32_t* words = store.Words(list);
      words[0] = count;
      memcpy(words + 1, n.ids.GetData(), static_cast<size_t>(count) * 4);
      for (uint32_t i = 0; i < count; ++i) table.Add(NodeOfOid{n.ids[static_cast<int>(i)], n.offset});
    }
    uint32_t tail = 0;
    if (n.hasTail) {
      const uint32_t chars = static_cast<uint32_t>(n.tail.GetLength());
      if (!store.AllocateBlock((chars + 1) * 2, &tail)) return FALSE;
      memcpy(store.Data() + tail, static_cast<const wchar_t*>(n.tail), (chars + 1) * 2);
    }
    TreeNode* t = store.Node(n.offset);
    memset(t, 0, n.hasTail ? kTailNodeSize : kNodeSize);
    t->parent = n.parent != 0 ? At(n.parent).offset : 0;
    t->greater = n.greater != 0 ? At(n.greater).offset : 0;
    t->equal = n.equal != 0 ? At(n.equal).offset : 0;
    t->less = n.less != 0 ? At(n.less).offset : 0;
    t->list = list;
    t->ch = static_cast<uint16_t>(n.ch);
    if (n.hasTail) {
      t->tailFlag = kTailFlag;
      t->tail = tail;
    }
  }

  // 3. The reverse map: oids ascending, each with a chain of the nodes that hold it.
  ShellSort(table, [](const NodeOfOid& a, const NodeOfOid& b) {
    return a.oid < b.oid || (a.oid == b.oid && a.node < b.node);
  });
  uint32_t distinct = 0;
  for (int k = 0; k < table.GetSize(); ++k) {
    if (k == 0 || table[k].oid != table[k - 1].oid) ++distinct;
  }
  uint32_t map;
  if (!store.AllocateBlock(4 + 8 * distinct, &map)) return FALSE;
  store.Words(map)[0] = distinct;
  uint32_t entry = 0;
  for (int k = 0; k < table.GetSize();) {
    int end = k;
    while (end < table.GetSize() && table[end].oid == table[k].oid) ++end;
    uint32_t head = 0;
    uint32_t last = 0;
    for (int at = k; at < end; at += kChainSlots) {
      uint32_t block;
      if (!store.AllocateBlock(kChainBlockSize, &block)) return FALSE;
      ChainBlock* b = reinterpret_cast<ChainBlock*>(store.Data() + block);
      memset(b, 0, kChainBlockSize);
      const int fill = end - at < kChainSlots ? end - at : kChainSlots;
      for (int s = 0; s < fill; ++s) b->slots[s] = table[at + s].node;
      b->used = static_cast<uint32_t>(fill);
      if (head == 0) {
        head = block;
        b->next = block;
        b->prev = block;
      } else {
        ChainBlock* h = reinterpret_cast<ChainBlock*>(store.Data() + head);
        ChainBlock* l = reinterpret_cast<ChainBlock*>(store.Data() + last);
        l->next = block;
        b->prev = last;
        b->next = head;
        h->prev = block;
      }
      last = block;
    }
    ReverseEntry* entries = reinterpret_cast<ReverseEntry*>(store.Words(map) + 1);
    entries[entry].oid = table[k].oid;
    entries[entry].chain = head;
    ++entry;
    k = end;
  }
  store.SetHeaderWord(rootSlot, At(root).offset);
  store.SetHeaderWord(reverseSlot, map);
  return TRUE;
}
