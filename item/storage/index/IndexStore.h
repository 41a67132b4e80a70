// IndexStore: the mapped file pim_index1.dat that holds the search index: a 36-byte header (see
// IndexFormat.h) and an arena for the trees, their reverse maps, the two sorted contact lists and the
// contact map. It is an ArenaStore, so every structure reaches memory through the store's operations
// (MakeRef, ToPointer, ToOffset, Allocate, FreeOffset, FreeRef, Base) and stores offsets only.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/mapped/ArenaStore.h"
#include "storage/index/IndexFormat.h"

// The file's name in the temporary folder.
extern const wchar_t kIndexFileName[];  // "pim_index1.dat"

class IndexStore : public ArenaStore {
 public:
  // Room a new index is created with.
  static constexpr uint32_t kCreateSize = 102400;
  // Bytes of the data that a deferred open reads before it returns: the header and the arena's.
  static constexpr uint32_t kHeadBytes = 4096;

  IndexStore();
  ~IndexStore() override;

  // The backing file; by default pim_index1.dat in the temporary folder.
  void SetPath(const wchar_t* path);
  const wchar_t* GetPath() const { return path; }
  // The temporary folder (with a backslash at its end) and kIndexFileName.
  static Str DefaultPath();

  // A new, empty index with room for `size` bytes of structures: the header zeroed but for its mark
  // and version.
  virtual BOOL Create(uint32_t size);
  // Opens the index file. It is refused, and closed, when its arena doesn't hold together, or when the
  // mark isn't 1 and at the same time the version isn't 5: either value alone is enough. A
  // `minimumLength` above the present length extends the data by the difference.
  virtual BOOL Open(uint32_t minimumLength);
  // The index file for a quick start: the same rule of mark and version, judged from the file's head
  // while the rest is copied in the background (ArenaStore::OpenDeferred). The count words of the
  // structures the header names are read from the file at once, so that CheckLayout can tell before
  // the copy has ended whether they lie inside the data; the walks of Check and VerifyArena are the
  // owner's to run.
  virtual BOOL OpenDeferred();
  // Whether every structure that the header names lies inside the data: each link 0 or past the header,
  // and the counted entries of the sorted lists, the reverse maps and the contact map within the data.
  // Appends a line per finding to `report` when not null.
  BOOL CheckLayout(Str* report) const;
  // The count of the counted structure at `offset` (a count word, then `count` entries of
  // `entryBytes`): false when the word or the entries would pass the data's end.
  BOOL CountedAt(uint32_t offset, uint32_t entryBytes, uint32_t* count) const;

  // The header's word at `slot` (one of the k...Slot offsets), 0 when nothing is open.
  uint32_t HeaderWord(uint32_t slot) const;
  void SetHeaderWord(uint32_t slot, uint32_t value);

  // Allocates `size` bytes and gives the block's offset; false, and 0, when the store can't grow
  // (the end of the mapping). A store that can't map more memory at all is a failure stop.
  BOOL AllocateBlock(uint32_t size, uint32_t* offset);
  // The structures of the file, checked against the data before they are used: null, with the
  // store noted damaged (ArenaStore::NoteDamage), when they don't lie inside it.
  // A tree node: 24 bytes, and the tail's offset too when it has the tail flag.
  TreeNode* NodeAt(uint32_t offset) {
    return const_cast<TreeNode*>(static_cast<const IndexStore*>(this)->NodeAt(offset));
  }
  const TreeNode* NodeAt(uint32_t offset) const;
  // A counted structure: a count word, then that many entries of `entryBytes`; its words.
  uint32_t* CountedWords(uint32_t offset, uint32_t entryBytes) {
    return const_cast<uint32_t*>(static_cast<const IndexStore*>(this)->CountedWords(offset, entryBytes));
  }
  const uint32_t* CountedWords(uint32_t offset, uint32_t entryBytes) const;
  // A block of a reverse map's chain, with no more slots used than it has.
  ChainBlock* ChainAt(uint32_t offset) {
    return const_cast<ChainBlock*>(static_cast<const IndexStore*>(this)->ChainAt(offset));
  }
  const ChainBlock* ChainAt(uint32_t offset) const;
  // The tail text at `offset` and the characters that may be read from it before the data ends.
  const wchar_t* TailAt(uint32_t offset, uint32_t* room) const;
  // More steps than any walk over the file's nodes or blocks can take: a walk that gets this far goes
  // in circles.
  uint32_t StepLimit() const { return length / ArenaAllocator::kMinimumPayload + 1; }
  uint32_t NodeLimit() const { return length / kNodeSize + 1; }

  // The 32-bit words at `offset`.
  uint32_t* Words(uint32_t offset) { return reinterpret_cast<uint32_t*>(data + offset); }
  const uint32_t* Words(uint32_t offset) const { return reinterpret_cast<const uint32_t*>(data + offset); }
  TreeNode* Node(uint32_t offset) { return reinterpret_cast<TreeNode*>(data + offset); }
  const TreeNode* Node(uint32_t offset) const { return reinterpret_cast<const TreeNode*>(data + offset); }

  // Walks everything the file holds and lists what is broken, one line of text for each finding:
  // the header, the arena's blocks and free ring (every tag), the trees and their links, tails and
  // lists, the reverse maps and their chains (which must name only live nodes, from which the
  // contact's lists are reached down the equal branch), the sorted lists and the contact map, and
  // that every block in use belongs to exactly one structure. True when nothing was found.
  BOOL Check(Str& report) const;

 private:
  wchar_t path[MAX_PATH];
};
