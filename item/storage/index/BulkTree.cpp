#include "storage/index/BulkTree.h"

#include <string.h>
#include <wchar.h>

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"
#include "storage/index/IndexFormat.h"
#include "storage/index/IndexStore.h"

namespace {

// Makes room for `count` elements in an array used up to its own count, doubling its size.
template <class T>
void Reserve(Array<T>& items, uint32_t count) {
  if (count <= static_cast<uint32_t>(items.GetSize())) return;
  uint32_t size = static_cast<uint32_t>(items.GetSize()) * 2;
  if (size < 1024) size = 1024;
  if (size < count) size = count;
  items.SetSize(static_cast<int>(size));
}

struct NodeOfOid {
  uint32_t oid;
  uint32_t node;
};

// Orders the table by oid and then by node. A stable sort by oid, in two passes of 16 bits, keeps each
// oid's nodes in tree order, in which their blocks mostly ascend; a run that doesn't is sorted alone.
void SortByOidAndNode(Array<NodeOfOid>& table) {
  const int count = table.GetSize();
  if (count < 2) return;
  Array<NodeOfOid> spare;
  spare.SetSize(count);
  Array<uint32_t> starts;
  starts.SetSize(65536 + 1);
  NodeOfOid* from = table.GetData();
  NodeOfOid* to = spare.GetData();
  for (int pass = 0; pass < 2; ++pass) {
    const int shift = pass * 16;
    uint32_t* start = starts.GetData();
    memset(start, 0, sizeof(uint32_t) * (65536 + 1));
    for (int k = 0; k < count; ++k) ++start[((from[k].oid >> shift) & 0xFFFF) + 1];
    for (int d = 0; d < 65536; ++d) start[d + 1] += start[d];
    for (int k = 0; k < count; ++k) to[start[(from[k].oid >> shift) & 0xFFFF]++] = from[k];
    NodeOfOid* swap = from;
    from = to;
    to = swap;
  }
  // After two passes the result stands in the table again.
  for (int k = 0; k < count;) {
    int end = k + 1;
    bool ascending = true;
    while (end < count && from[end].oid == from[k].oid) {
      if (from[end].node < from[end - 1].node) ascending = false;
      ++end;
    }
    if (!ascending) {
      ShellSort(from + k, end - k, [](const NodeOfOid& a, const NodeOfOid& b) { return a.node < b.node; });
    }
    k = end;
  }
}

}  // namespace

BulkTree::BulkTree() : used(0), root(0), linkCount(1), tailCount(0) { Clear(); }

BulkTree::~BulkTree() {
  for (int k = 0; k < chunks.GetSize(); ++k) delete chunks[k];
}

void BulkTree::Clear() {
  for (int k = 0; k < chunks.GetSize(); ++k) delete chunks[k];
  chunks.RemoveAll();
  links.RemoveAll();
  tailChars.RemoveAll();
  used = 0;
  root = 0;
  linkCount = 1;  // link 0 stands for none
  tailCount = 0;
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
  memset(&node, 0, sizeof node);
  node.parent = parent;
  node.ch = ch;
  return index;
}

uint32_t BulkTree::NewNode(const wchar_t* key, int i, int length, uint32_t parent) {
  const uint32_t index = Make(key[i], parent);
  const int rest = length - i - 1;
  if (rest > 0) {
    Reserve(tailChars, tailCount + static_cast<uint32_t>(rest));
    memcpy(tailChars.GetData() + tailCount, key + i + 1, static_cast<size_t>(rest) * sizeof(wchar_t));
    Node& node = At(index);
    node.tailStart = tailCount;
    node.tailLength = static_cast<uint32_t>(rest);
    tailCount += static_cast<uint32_t>(rest);
  }
  return index;
}

uint32_t BulkTree::Split(uint32_t node, const wchar_t* key, int i, int length) {
  const uint32_t tailStart = At(node).tailStart;
  const int tailLength = static_cast<int>(At(node).tailLength);
  const int restLength = length - i;
  // Nothing below adds to the tail pool before the last use of `t`.
  const wchar_t* t = tailChars.GetData() + tailStart;
  if (tailLength == restLength && wmemcmp(t, key + i, static_cast<size_t>(restLength)) == 0) return node;
  int common = 0;
  while (common < tailLength && common < restLength && t[common] == key[i + common]) ++common;

  uint32_t current = node;
  for (int k = 0; k < common; ++k) {
    const uint32_t made = Make(t[k], current);
    At(current).equal = made;
    current = made;
  }
  // The list moves to where the old key now ends: `current`, or a new node for the rest of the tail,
  // whose own tail is the end of the old one.
  uint32_t tailNode = 0;
  uint32_t holder = current;
  if (common < tailLength) {
    tailNode = Make(t[common], current);
    const int left = tailLength - common - 1;
    if (left > 0) {
      At(tailNode).tailStart = tailStart + static_cast<uint32_t>(common) + 1;
      At(tailNode).tailLength = static_cast<uint32_t>(left);
    }
    At(current).equal = tailNode;
    holder = tailNode;
  }
  Node& old = At(node);
  Node& taker = At(holder);
  taker.firstId = old.firstId;
  taker.lastId = old.lastId;
  taker.idCount = old.idCount;
  old.firstId = 0;
  old.lastId = 0;
  old.idCount = 0;
  old.tailStart = 0;
  old.tailLength = 0;

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
        if (n.equal != 0 || n.tailLength == 0) return node;
        return Split(node, key, i, length);
      }
      if (n.equal != 0) {
        node = n.equal;
        c = key[i];
        continue;
      }
      if (n.tailLength != 0) return Split(node, key, i, length);
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
  if (node.lastId != 0 && links[static_cast<int>(node.lastId)].oid == oid) return;
  Reserve(links, linkCount + 1);
  const uint32_t link = linkCount++;
  links[static_cast<int>(link)].oid = oid;
  links[static_cast<int>(link)].next = 0;
  if (node.lastId != 0)
    links[static_cast<int>(node.lastId)].next = link;
  else
    node.firstId = link;
  node.lastId = link;
  ++node.idCount;
}

void BulkTree::ListOf(const Node& node, Array<uint32_t>& ids) const {
  ids.SetSize(static_cast<int>(node.idCount));
  uint32_t* out = ids.GetData();
  bool ascending = true;
  int k = 0;
  for (uint32_t link = node.firstId; link != 0; link = links[static_cast<int>(link)].next) {
    out[k] = links[static_cast<int>(link)].oid;
    if (k > 0 && out[k] <= out[k - 1]) ascending = false;
    ++k;
  }
  if (!ascending) SortUniqueIds(ids);
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
      bool found = false;
      if (n.tailLength != 0) {
        found = length - i == static_cast<int>(n.tailLength) &&
                wmemcmp(key + i, Tail(n), static_cast<size_t>(length - i)) == 0;
      } else if (i == length) {
        found = true;
      } else {
        node = n.equal;
        continue;
      }
      // The list as it stands, in the order of arrival.
      if (found) {
        for (uint32_t link = n.firstId; link != 0; link = links[static_cast<int>(link)].next)
          ids.Add(links[static_cast<int>(link)].oid);
      }
      return;
    }
    node = key[i] > n.ch ? n.greater : n.less;
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
  order.SetSize(NodeCount());
  int nodes = 0;
  for (uint32_t node = root; node != 0; node = NextNode(node)) {
    Reserve(order, static_cast<uint32_t>(nodes) + 1);
    order[nodes++] = node;
  }
  for (int k = 0; k < nodes; ++k) {
    Node& n = At(order[k]);
    if (!store.AllocateBlock(n.tailLength != 0 ? kTailNodeSize : kNodeSize, &n.offset)) return FALSE;
  }

  // 2. Each node's links, list and tail; every contact of a list is noted with the node.
  Array<NodeOfOid> table;
  table.SetSize(static_cast<int>(linkCount));
  int entries = 0;
  Array<uint32_t> ids;
  for (int k = 0; k < nodes; ++k) {
    Node& n = At(order[k]);
    uint32_t list = 0;
    if (n.idCount > 0) {
      ListOf(n, ids);
      const uint32_t count = static_cast<uint32_t>(ids.GetSize());
      if (!store.AllocateBlock(4 + 4 * count, &list)) return FALSE;
      uint32_t* words = store.Words(list);
      words[0] = count;
      memcpy(words + 1, ids.GetData(), static_cast<size_t>(count) * 4);
      for (uint32_t i = 0; i < count; ++i) table[entries++] = NodeOfOid{ids[static_cast<int>(i)], n.offset};
    }
    uint32_t tail = 0;
    if (n.tailLength != 0) {
      const uint32_t chars = n.tailLength;
      if (!store.AllocateBlock((chars + 1) * 2, &tail)) return FALSE;
      wchar_t* copy = reinterpret_cast<wchar_t*>(store.Data() + tail);
      memcpy(copy, Tail(n), chars * 2);
      copy[chars] = 0;
    }
    TreeNode* t = store.Node(n.offset);
    memset(t, 0, n.tailLength != 0 ? kTailNodeSize : kNodeSize);
    t->parent = n.parent != 0 ? At(n.parent).offset : 0;
    t->greater = n.greater != 0 ? At(n.greater).offset : 0;
    t->equal = n.equal != 0 ? At(n.equal).offset : 0;
    t->less = n.less != 0 ? At(n.less).offset : 0;
    t->list = list;
    t->ch = static_cast<uint16_t>(n.ch);
    if (n.tailLength != 0) {
      t->tailFlag = kTailFlag;
      t->tail = tail;
    }
  }
  table.SetSize(entries);

  // 3. The reverse map: oids ascending, each with a chain of the nodes that hold it.
  SortByOidAndNode(table);
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
    ReverseEntry* reverse = reinterpret_cast<ReverseEntry*>(store.Words(map) + 1);
    reverse[entry].oid = table[k].oid;
    reverse[entry].chain = head;
    ++entry;
    k = end;
  }
  store.SetHeaderWord(rootSlot, At(root).offset);
  store.SetHeaderWord(reverseSlot, map);
  return TRUE;
}
