// The coordinator's shared record of 26 words through a view of the test's own, made with the names
// the product's processes use. The constructor zeroes it, so that each test starts from an empty
// record whatever ran before.
#pragma once
#include <windows.h>

#include <cstdint>
#include <vector>

class SyncRecordView {
 public:
  SyncRecordView();
  ~SyncRecordView();
  SyncRecordView(const SyncRecordView&) = delete;
  SyncRecordView& operator=(const SyncRecordView&) = delete;

  uint32_t Word(int index) const;
  void SetWord(int index, uint32_t value);
  // The window words 0 to 9 up to the first 0.
  std::vector<uint32_t> Windows() const;

 private:
  HANDLE m_mutex;
  HANDLE m_mapping;
  uint32_t* m_words;
};
