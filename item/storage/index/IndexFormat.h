// The stored records of the index file pim_index1.dat. The file is a MappedFile whose data starts with a
// 36-byte header and continues with an arena (ArenaAllocator) to the end. Every link below is an offset
// from the start of the data, 0 meaning none; all integers are little-endian and laid out as on the
// 32-bit device, byte for byte.
#pragma once

#include <stdint.h>

class Str;

// The header at data offset 0.
struct IndexHeader {
  uint32_t mark;           // 1
  uint32_t version;        // 5
  uint32_t wordRoot;       // root node of the word tree
  uint32_t keypadRoot;     // root node of the keypad tree
  uint32_t wordReverse;    // reverse map of the word tree
  uint32_t keypadReverse;  // reverse map of the keypad tree
  uint32_t nameList;       // contact list sorted by name
  uint32_t fileAsList;     // contact list sorted by File As
  uint32_t contactMap;     // oid -> record of the props store
};

// Offsets of the header's fields, by which a tree or a list names its own slot.
const uint32_t kIndexMarkSlot = 0;
const uint32_t kIndexVersionSlot = 4;
const uint32_t kWordRootSlot = 8;
const uint32_t kKeypadRootSlot = 12;
const uint32_t kWordReverseSlot = 16;
const uint32_t kKeypadReverseSlot = 20;
const uint32_t kNameListSlot = 24;
const uint32_t kFileAsListSlot = 28;
const uint32_t kContactMapSlot = 32;
const uint32_t kIndexHeaderSize = 36;

const uint32_t kIndexMark = 1;
const uint32_t kIndexVersion = 5;

// A node of a ternary search tree: 24 bytes, or 28 when the rest of its key is kept as a tail.
struct TreeNode {
  uint32_t parent;   // 0 for the root
  uint32_t greater;  // child for characters greater than this one
  uint32_t equal;    // child for the next character of the key
  uint32_t less;     // child for characters less than this one
  uint32_t list;     // contact list of the key that ends here, or 0
  uint16_t ch;       // this node's UTF-16 character
  uint8_t tailFlag;  // 0, or kTailFlag
  uint8_t pad;
  uint32_t tail;  // block of the key's rest, NUL-terminated UTF-16; present only with the flag
};

const uint32_t kNodeSize = 24;
const uint32_t kTailNodeSize = 28;
const uint8_t kTailFlag = 255;

// A contact list: u32 count, then the oids, ascending, no duplicates. The sorted lists of the header
// share the shape, in their own order; the reverse maps and the contact map hold pairs instead.
struct ReverseEntry {
  uint32_t oid;
  uint32_t chain;  // head block of the oid's chain
};

struct ContactMapEntry {
  uint32_t oid;
  uint32_t record;  // offset of the contact's record in the props store
};

// One block of a reverse map's chain: a ring of these lists the nodes a contact was added to.
const int kChainSlots = 20;
struct ChainBlock {
  uint32_t next;
  uint32_t prev;  // of the head: the last block
  uint32_t used;
  uint32_t slots[kChainSlots];
};

const uint32_t kChainBlockSize = 92;

static_assert(sizeof(IndexHeader) == kIndexHeaderSize, "index header layout");
static_assert(sizeof(TreeNode) == kTailNodeSize, "tree node layout");
static_assert(__builtin_offsetof(TreeNode, ch) == 20 && __builtin_offsetof(TreeNode, tailFlag) == 22 &&
                  __builtin_offsetof(TreeNode, tail) == kNodeSize,
              "tree node fields");
static_assert(sizeof(ChainBlock) == kChainBlockSize, "chain block layout");
static_assert(sizeof(ReverseEntry) == 8 && sizeof(ContactMapEntry) == 8, "pair layout");

// The two trees of the index.
enum IndexTreeKind {
  WordTree = 0,
  KeypadTree = 1,
};

// The two sorted contact lists.
enum SortedListKind {
  SortByName = 0,
  SortByFileAs = 1,
};

// Appends one finding of a check to `report`, as a line of its own.
void AddReportLine(Str& report, const wchar_t* line);
