// SearchTree: prefix lookup and the walk of a subtree, without recursion.
#include "storage/index/SearchTree.h"

#include "foundation/ShellSort.h"

uint32_t SearchTree::NextNode(uint32_t node, uint32_t top) const {
  const TreeNode* n = store->Node(node);
  if (n->less != 0) return n->less;
  if (n->equal != 0) return n->equal;
  if (n->greater != 0) return n->greater;
  // Climb until a parent offers a branch not yet visited: coming from less, equal and then greater;
  // coming from equal, greater.
  while (node != top) {
    uint32_t parent = store->Node(node)->parent;
    if (parent == 0) break;
    const TreeNode* p = store->Node(parent);
    if (node == p->less) {
      if (p->equal != 0) return p->equal;
      if (p->greater != 0) return p->greater;
    } else if (node == p->equal) {
      if (p->greater != 0) return p->greater;
    }
    node = parent;
  }
  return 0;
}

uint32_t SearchTree::FindNode(const wchar_t* key, int length) const {
  if (key == nullptr || length <= 0 || store->Data() == nullptr) return 0;
  uint32_t node = Root();
  int i = 0;
  while (node != 0) {
    const TreeNode* n = store->Node(node);
    wchar_t c = key[i];
    if (c == n->ch) {
      ++i;
      if (i == length) return n->tailFlag == kTailFlag ? 0 : node;
      if (n->tailFlag == kTailFlag) {
        // The key ends here only if its rest is the whole tail.
        const wchar_t* tail = TailOf(node);
        int k = 0;
        while (i + k < length && tail[k] != 0 && tail[k] == key[i + k]) ++k;
        return (i + k == length && tail[k] == 0) ? node : 0;
      }
      node = n->equal;
    } else if (c > n->ch) {
      node = n->greater;
    } else {
      node = n->less;
    }
  }
  return 0;
}

bool SearchTree::NodeInside(uint32_t node) const {
  return node >= kIndexHeaderSize && node % 4 == 0 &&
         static_cast<uint64_t>(node) + kNodeSize <= store->Length();
}

bool SearchTree::ListInside(uint32_t list) const {
  const uint64_t length = store->Length();
  if (list % 4 != 0 || static_cast<uint64_t>(list) + 4 > length) return false;
  return static_cast<uint64_t>(list) + 4 + 4ull * store->Words(list)[0] <= length;
}

uint32_t SearchTree::FindPrefixNode(const wchar_t* key, int length) const {
  if (key == nullptr || length <= 0 || store->Data() == nullptr) return 0;
  uint32_t node = Root();
  int i = 0;
  // No key path is longer than the file has nodes.
  for (uint32_t steps = store->Length() / kNodeSize; node != 0 && steps > 0; --steps) {
    if (!NodeInside(node)) return 0;
    const TreeNode* n = store->Node(node);
    wchar_t c = key[i];
    if (c == n->ch) {
      ++i;
      if (i == length) return node;
      if (n->tailFlag == kTailFlag) {
        const wchar_t* tail = TailOf(node);
        int k = 0;
        while (i + k < length && tail[k] != 0 && tail[k] == key[i + k]) ++k;
        if (i + k == length) return node;
      }
      node = n->equal;
    } else if (c > n->ch) {
      node = n->greater;
    } else {
      node = n->less;
    }
  }
  return 0;
}

void SearchTree::VisitPrefix(const wchar_t* key, int length, TreeListVisitor& visitor) const {
  const uint32_t found = FindPrefixNode(key, length);
  if (found == 0) return;
  const uint32_t list = store->Node(found)->list;
  if (list != 0) {
    if (!ListInside(list)) return;
    visitor.OnList(store->Words(list) + 1, store->Words(list)[0]);
  }
  // A sound subtree has fewer nodes than the file has room for; a circle would walk for ever.
  uint32_t steps = store->Length() / kNodeSize;
  const uint32_t top = store->Node(found)->equal;
  for (uint32_t at = top; at != 0; at = NextNode(at, top)) {
    if (steps-- == 0 || !NodeInside(at)) return;
    const uint32_t atList = store->Node(at)->list;
    if (atList == 0) continue;
    if (!ListInside(atList)) return;
    visitor.OnList(store->Words(atList) + 1, store->Words(atList)[0]);
  }
}

namespace {

class GatherIds : public TreeListVisitor {
 public:
  explicit GatherIds(Array<CEOID>& target) : ids(target) {}
  void OnList(const uint32_t* oids, uint32_t count) override {
    const int base = ids.GetSize();
    ids.SetSize(base + static_cast<int>(count));
    for (uint32_t k = 0; k < count; ++k) ids[base + static_cast<int>(k)] = oids[k];
  }

 private:
  Array<CEOID>& ids;
};

}  // namespace

void SearchTree::FindPrefix(const wchar_t* key, int length, Array<CEOID>& ids) const {
  ids.RemoveAll();
  GatherIds gather(ids);
  VisitPrefix(key, length, gather);
  SortUniqueIds(ids);
}
