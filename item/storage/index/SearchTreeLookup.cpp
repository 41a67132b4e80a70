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

void SearchTree::FindPrefix(const wchar_t* key, int length, Array<CEOID>& ids) const {
  ids.RemoveAll();
  if (key == nullptr || length <= 0 || store->Data() == nullptr) return;

  uint32_t found = 0;
  uint32_t node = Root();
  int i = 0;
  while (node != 0) {
    const TreeNode* n = store->Node(node);
    wchar_t c = key[i];
    if (c == n->ch) {
      ++i;
      if (i == length) {
        found = node;
        break;
      }
      if (n->tailFlag == kTailFlag) {
        const wchar_t* tail = TailOf(node);
        int k = 0;
        while (i + k < length && tail[k] != 0 && tail[k] == key[i + k]) ++k;
        if (i + k == length) {
          found = node;
          break;
        }
      }
      node = n->equal;
    } else if (c > n->ch) {
      node = n->greater;
    } else {
      node = n->less;
    }
  }
  if (found == 0) return;

  uint32_t list = store->Node(found)->list;
  if (list != 0) {
    const uint32_t* words = store->Words(list);
    for (uint32_t k = 0; k < words[0]; ++k) ids.Add(words[1 + k]);
  }
  const uint32_t top = store->Node(found)->equal;
  for (uint32_t at = top; at != 0; at = NextNode(at, top)) {
    uint32_t atList = store->Node(at)->list;
    if (atList == 0) continue;
    const uint32_t* words = store->Words(atList);
    for (uint32_t k = 0; k < words[0]; ++k) ids.Add(words[1 + k]);
  }
  SortUniqueIds(ids);
}
