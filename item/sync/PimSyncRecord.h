// The record that the product's processes share: 26 unsigned 32-bit words, 104 bytes, the same in
// every process and on every build. Window handles are kept in 32-bit words, which holds them whole
// since window handles carry 32 significant bits.
//
//   word 0        window of the master, or 0
//   words 1 to 9  windows of the slaves, without gaps, then zeros
//   words 10..18  change flags 0, 1, 2, 3, 8, 4, 5, 6, 7
//   words 19..24  reserved for the product's other programs
//   word 25       change flag 9
#pragma once

#include <windows.h>

#include <stdint.h>

const int kPimSyncRecordWords = 26;
const int kPimSyncWindowWords = 10;  // words 0 to 9
const int kPimSyncMasterWord = 0;

struct PimSyncRecord {
  uint32_t words[kPimSyncRecordWords];
};
static_assert(sizeof(PimSyncRecord) == 104, "all processes must agree on the shared record");

// Change flags, by index.
enum PimSyncFlag {
  SyncFlagLetterGroups = 0,      // letter groups changed
  SyncFlagLetterGroupsType = 1,  // letter groups changed (their type); same effect as flag 0
  SyncFlagPhoneTemplates = 2,
  SyncFlagListFont = 3,
  SyncFlagSortOrder = 4,
  SyncFlagNameOnly = 5,
  SyncFlagDoubleSized = 6,
  SyncFlagIncrH = 7,
  SyncFlagViewFont = 8,
  SyncFlagContacts = 9,  // contacts changed
};
const int kPimSyncFlagCount = 10;

// The word that holds flag `index`, or -1 for an index that names no flag.
inline int PimSyncFlagWord(int index) {
  static const int kWords[kPimSyncFlagCount] = {10, 11, 12, 13, 15, 16, 17, 18, 14, 25};
  if (index < 0 || index >= kPimSyncFlagCount) return -1;
  return kWords[index];
}

// A window handle as the record keeps it, and back. The way back widens with the sign, as the
// platform does for handles.
inline uint32_t PimSyncWord(HWND window) { return static_cast<uint32_t>(reinterpret_cast<UINT_PTR>(window)); }
inline HWND PimSyncWindow(uint32_t word) {
  return reinterpret_cast<HWND>(static_cast<LONG_PTR>(static_cast<int32_t>(word)));
}
