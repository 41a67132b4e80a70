// SearchTree: making the node of a key, splitting tails, and adding an oid to a key's list.
#include "storage/index/SearchTree.h"

#include <string.h>
#include <wchar.h>

#include "foundation/Str.h"

SearchTree::SearchTree(IndexStore* owner, uint32_t root, uint32_t reverse)
    : store(owner), rootSlot(root), reverseSlot(reverse) {}

SearchTree::~SearchTree() {}

int SearchWords(const uint32_t* words, int count, uint32_t value) {
  int low = 0;
  int high = count - 1;
  while (low <= high) {
    int middle = low + (high - low) / 2;
    uint32_t probe = words[middle];
    if (probe == value) return middle;
    if (probe < value)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return -low - 1;
}

bool InsertSortedOffset(Array<uint32_t>& sorted, uint32_t value) {
  int at = SearchWords(sorted.GetData(), sorted.GetSize(), value);
  if (at >= 0) return false;
  sorted.InsertAt(-at - 1, value);
  return true;
}

const wchar_t* SearchTree::TailOf(uint32_t node, int* chars) const {
  if (chars != nullptr) *chars = 0;
  const TreeNode* n = store->NodeAt(node);
  if (n == nullptr || n->tailFlag != kTailFlag || n->tail == 0) return nullptr;
  uint32_t room = 0;
  const wchar_t* tail = store->TailAt(n->tail, &room);
  if (tail == nullptr) return nullptr;
  uint32_t k = 0;
  while (k < room && tail[k] != 0) ++k;
  if (k == room) {
    store->NoteDamage();
    return nullptr;
  }
  if (chars != nullptr) *chars = static_cast<int>(k);
  return tail;
}

void SearchTree::FreeNode(uint32_t node) {
  const TreeNode* n = store->NodeAt(node);
  if (n == nullptr) return;
  if (n->tailFlag == kTailFlag && n->tail != 0) store->FreeOffset(n->tail);
  store->FreeOffset(node);
}

namespace {

void InitNode(TreeNode* node, uint32_t parent, wchar_t ch) {
  memset(node, 0, kNodeSize);
  node->parent = parent;
  node->ch = static_cast<uint16_t>(ch);
}

}  // namespace

BOOL SearchTree::NewNode(const wchar_t* key, int i, int length, uint32_t parent, uint32_t* result) {
  *result = 0;
  uint32_t node;
  if (length - i == 1) {
    if (!store->AllocateBlock(kNodeSize, &node)) return FALSE;
    InitNode(store->Node(node), parent, key[i]);
    *result = node;
    return TRUE;
  }
  if (!store->AllocateBlock(kTailNodeSize, &node)) return FALSE;
  // The rest after this node's character, with its NUL: (length - i) * 2 bytes.
  const uint32_t tailBytes = static_cast<uint32_t>(length - i) * 2;
  uint32_t tail;
  if (!store->AllocateBlock(tailBytes, &tail)) {
    store->FreeOffset(node);
    return FALSE;
  }
  wchar_t* text = reinterpret_cast<wchar_t*>(store->Data() + tail);
  memcpy(text, key + i + 1, static_cast<size_t>(length - i - 1) * sizeof(wchar_t));
  text[length - i - 1] = 0;
  TreeNode* n = store->Node(node);
  InitNode(n, parent, key[i]);
  n->tailFlag = kTailFlag;
  n->tail = tail;
  *result = node;
  return TRUE;
}

BOOL SearchTree::Split(uint32_t node, const wchar_t* key, int i, int length, uint32_t* result) {
  *result = 0;
  // A copy of the tail: its block is freed below.
  int tailChars = 0;
  const wchar_t* stored = TailOf(node, &tailChars);
  if (stored == nullptr) {
    store->NoteDamage();
    return FALSE;
  }
  Str tail(stored, tailChars);
  const wchar_t* t = tail;
  const int tailLength = tail.GetLength();
  const int restLength = length - i;
  if (tailLength == restLength && wmemcmp(t, key + i, static_cast<size_t>(restLength)) == 0) {
    *result = node;
    return TRUE;
  }
  int common = 0;
  while (common < tailLength && common < restLength && t[common] == key[i + common]) ++common;
  const bool tailEnded = common == tailLength;
  const bool restEnded = common == restLength;

  // Every block first, so that a store that can't grow leaves the tree as it was.
  Array<uint32_t> chain;
  uint32_t tailNode = 0;
  uint32_t restNode = 0;
  bool complete = true;
  for (int k = 0; k < common && complete; ++k) {
    uint32_t made;
    if (store->AllocateBlock(kNodeSize, &made)) {
      InitNode(store->Node(made), 0, t[k]);
      chain.Add(made);
    } else {
      complete = false;
    }
  }
  if (complete && !tailEnded) complete = NewNode(t, common, tailLength, 0, &tailNode) != FALSE;
  if (complete && !restEnded) complete = NewNode(key, i + common, length, 0, &restNode) != FALSE;
  if (!complete) {
    for (int k = 0; k < chain.GetSize(); ++k) store->FreeOffset(chain[k]);
    if (tailNode != 0) FreeNode(tailNode);
    if (restNode != 0) FreeNode(restNode);
    return FALSE;
  }

  // The shared characters become a chain of equal children.
  uint32_t current = node;
  for (int k = 0; k < chain.GetSize(); ++k) {
    store->Node(chain[k])->parent = current;
    store->Node(current)->equal = chain[k];
    current = chain[k];
  }
  // The list of the old key follows the tail down.
  TreeNode* n = store->Node(node);
  uint32_t list = n->list;
  n->list = 0;
  if (tailEnded) {
    store->Node(current)->list = list;
  } else {
    store->Node(tailNode)->parent = current;
    store->Node(tailNode)->list = list;
    store->Node(current)->equal = tailNode;
  }
  n = store->Node(node);
  store->FreeOffset(n->tail);
  n->tailFlag = 0;
  n->tail = 0;

  if (restEnded) {
    *result = current;
    return TRUE;
  }
  const wchar_t ch = key[i + common];
  if (!tailEnded) {
    // The tail's node is the equal child now: the new key stands beside it.
    TreeNode* e = store->Node(tailNode);
    store->Node(restNode)->parent = tailNode;
    if (ch < e->ch)
      e->less = restNode;
    else
      e->greater = restNode;
  } else {
    store->Node(restNode)->parent = current;
    store->Node(current)->equal = restNode;
  }
  *result = restNode;
  return TRUE;
}

BOOL SearchTree::GetNode(const wchar_t* key, int length, uint32_t* result) {
  *result = 0;
  bool madeRoot = false;
  if (Root() == 0) {
    uint32_t root;
    if (!store->AllocateBlock(kNodeSize, &root)) return FALSE;
    InitNode(store->Node(root), 0, key[0]);
    SetRoot(root);
    madeRoot = true;
  }
  uint32_t node = Root();
  int i = 0;
  wchar_t c = key[0];
  BOOL done = FALSE;
  for (uint32_t steps = store->NodeLimit();; --steps) {
    TreeNode* n = store->NodeAt(node);
    if (n == nullptr) return FALSE;
    if (steps == 0) {
      store->NoteDamage();
      return FALSE;
    }
    uint32_t made = 0;
    if (c == n->ch) {
      ++i;
      if (i == length) {
        if (n->equal != 0 || n->tailFlag != kTailFlag) {
          *result = node;
          return TRUE;
        }
        done = Split(node, key, i, length, result);
        break;
      }
      if (n->equal != 0) {
        node = n->equal;
        c = key[i];
        continue;
      }
      if (n->tailFlag == kTailFlag) {
        done = Split(node, key, i, length, result);
        break;
      }
      done = NewNode(key, i, length, node, &made);
      if (done) store->Node(node)->equal = made;
    } else if (c > n->ch) {
      if (n->greater != 0) {
        node = n->greater;
        continue;
      }
      done = NewNode(key, i, length, node, &made);
      if (done) store->Node(node)->greater = made;
    } else {
      if (n->less != 0) {
        node = n->less;
        continue;
      }
      done = NewNode(key, i, length, node, &made);
      if (done) store->Node(node)->less = made;
    }
    *result = made;
    break;
  }
  if (!done && madeRoot && !store->IsDamaged()) {
    // The root made for this key alone has no use.
    uint32_t root = Root();
    TreeNode* r = store->Node(root);
    if (r->equal == 0 && r->less == 0 && r->greater == 0 && r->list == 0) {
      store->FreeOffset(root);
      SetRoot(0);
    }
  }
  return done;
}

BOOL SearchTree::Add(const wchar_t* key, int length, CEOID oid, uint32_t* result) {
  *result = 0;
  if (key == nullptr || length <= 0 || store->Data() == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (store->IsDamaged()) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  uint32_t node;
  if (!GetNode(key, length, &node)) return FALSE;
  const uint32_t id = static_cast<uint32_t>(oid);
  uint32_t list = store->Node(node)->list;
  if (list != 0 && store->CountedWords(list, sizeof(uint32_t)) == nullptr) return FALSE;
  uint32_t count = list != 0 ? store->Words(list)[0] : 0;
  int at = -1;
  if (list != 0) {
    at = SearchWords(store->Words(list) + 1, static_cast<int>(count), id);
    if (at >= 0) return TRUE;  // there already: nothing to record
    at = -at - 1;
  } else {
    at = 0;
  }
  uint32_t fresh;
  if (!store->AllocateBlock(4 + 4 * (count + 1), &fresh)) {
    if (store->IsDamaged()) return FALSE;
    DWORD error = GetLastError();
    Array<uint32_t> passed;
    Prune(node, passed);  // a node made for this key alone goes again
    SetLastError(error);
    return FALSE;
  }
  uint32_t* target = store->Words(fresh);
  target[0] = count + 1;
  if (list != 0) {
    const uint32_t* source = store->Words(list) + 1;
    memcpy(target + 1, source, static_cast<size_t>(at) * 4);
    memcpy(target + 2 + at, source + at, static_cast<size_t>(count - static_cast<uint32_t>(at)) * 4);
    store->FreeOffset(list);
  }
  target[1 + at] = id;
  store->Node(node)->list = fresh;
  *result = node;
  return TRUE;
}
