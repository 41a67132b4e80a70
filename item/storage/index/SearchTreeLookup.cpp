// SearchTree: prefix lookup and the walk of a subtree, without recursion.
#include "storage/index/SearchTree.h"

#include "foundation/ShellSort.h"

uint32_t SearchTree::NextNode(uint32_t node, uint32_t top) const {
  const TreeNode* n = store->NodeAt(node);
  if (n == nullptr) return 0;
  if (n->less != 0) return n->less;
  if (n->equal != 0) return n->equal;
  if (n->greater != 0) return n->greater;
  // Climb until a parent offers a branch not yet visited: coming from less, equal and then greater;
  // coming from equal, greater. No sound path up is longer than the file has nodes.
  for (uint32_t steps = store->NodeLimit(); node != top; --steps) {
    const TreeNode* at = store->NodeAt(node);
    if (at == nullptr) return 0;
    if (steps == 0) {
      store->NoteDamage();
      return 0;
    }
    uint32_t parent = at->parent;
    if (parent == 0) break;
    const TreeNode* p = store->NodeAt(parent);
    if (p == nullptr) return 0;
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

int SearchTree::MatchTail(uint32_t node, const wchar_t* key, int i, int length, bool* whole) const {
  *whole = false;
  const TreeNode* n = store->NodeAt(node);
  if (n == nullptr) return -1;
  uint32_t room = 0;
  const wchar_t* tail = store->TailAt(n->tail, &room);
  if (tail == nullptr) return -1;
  uint32_t k = 0;
  while (static_cast<uint32_t>(length - i) > k && k < room && tail[k] != 0 && tail[k] == key[i + k]) ++k;
  if (k == room) {
    // The tail runs to the data's end without its NUL.
    store->NoteDamage();
    return -1;
  }
  *whole = tail[k] == 0;
  return static_cast<int>(k);
}

uint32_t SearchTree::FindKeyNode(const wchar_t* key, int length, bool prefix) const {
  if (key == nullptr || length <= 0 || store->Data() == nullptr) return 0;
  uint32_t node = Root();
  int i = 0;
  // No key path is longer than the file has nodes.
  for (uint32_t steps = store->NodeLimit(); node != 0; --steps) {
    const TreeNode* n = store->NodeAt(node);
    if (n == nullptr) return 0;
    if (steps == 0) {
      store->NoteDamage();
      return 0;
    }
    wchar_t c = key[i];
    if (c == n->ch) {
      ++i;
      if (i == length) return prefix || n->tailFlag != kTailFlag ? node : 0;
      if (n->tailFlag == kTailFlag) {
        // A key ends here only if its rest is the whole tail; a prefix, if its rest begins the tail.
        bool whole = false;
        const int k = MatchTail(node, key, i, length, &whole);
        if (k < 0) return 0;
        if (i + k == length && (prefix || whole)) return node;
        if (!prefix) return 0;
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

uint32_t SearchTree::FindNode(const wchar_t* key, int length) const {
  return FindKeyNode(key, length, false);
}

uint32_t SearchTree::FindPrefixNode(const wchar_t* key, int length) const {
  return FindKeyNode(key, length, true);
}

bool SearchTree::IsLiveNode(uint32_t node) const {
  uint32_t at = node;
  for (uint32_t steps = store->NodeLimit(); steps > 0; --steps) {
    const TreeNode* n = store->NodeAt(at);
    if (n == nullptr) return false;
    if (n->parent == 0) {
      if (at == Root()) return true;
      break;
    }
    const TreeNode* p = store->NodeAt(n->parent);
    if (p == nullptr) return false;
    if (p->less != at && p->equal != at && p->greater != at) break;
    at = n->parent;
  }
  store->NoteDamage();
  return false;
}

void SearchTree::VisitPrefix(const wchar_t* key, int length, TreeListVisitor& visitor) const {
  const uint32_t found = FindPrefixNode(key, length);
  if (found == 0) return;
  // The lists of a sound tree hold fewer oids together than the file has words.
  uint64_t oids = 0;
  const uint32_t list = store->Node(found)->list;
  if (list != 0) {
    const uint32_t* words = store->CountedWords(list, sizeof(uint32_t));
    if (words == nullptr) return;
    oids += words[0];
    visitor.OnList(words + 1, words[0]);
  }
  // A sound subtree has fewer nodes than the file has room for; a circle would walk for ever.
  uint32_t steps = store->NodeLimit();
  const uint32_t top = store->Node(found)->equal;
  for (uint32_t at = top; at != 0; at = NextNode(at, top)) {
    const TreeNode* n = store->NodeAt(at);
    if (n == nullptr) return;
    if (steps-- == 0) {
      store->NoteDamage();
      return;
    }
    if (n->list == 0) continue;
    const uint32_t* words = store->CountedWords(n->list, sizeof(uint32_t));
    if (words == nullptr) return;
    oids += words[0];
    if (oids > store->Length() / sizeof(uint32_t)) {
      store->NoteDamage();
      return;
    }
    visitor.OnList(words + 1, words[0]);
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
  if (store->IsDamaged()) {
    ids.RemoveAll();
    return;
  }
  SortUniqueIds(ids);
}
