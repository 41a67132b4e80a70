#include "SyncRecordView.h"

#include <doctest/doctest.h>

SyncRecordView::SyncRecordView() : m_mutex(nullptr), m_mapping(nullptr), m_words(nullptr) {
  m_mutex = CreateMutexW(nullptr, FALSE, L"9694E7F0-1902-4855-AA4D-F879CF68BE6A");
  REQUIRE(m_mutex != nullptr);
  m_mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 104,
                                 L"450DC470-F520-401d-8A4B-F51506298DBE");
  REQUIRE(m_mapping != nullptr);
  m_words = static_cast<uint32_t*>(MapViewOfFile(m_mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 104));
  REQUIRE(m_words != nullptr);
  REQUIRE(WaitForSingleObject(m_mutex, 10000) == WAIT_OBJECT_0);
  for (int i = 0; i < 26; ++i) m_words[i] = 0;
  ReleaseMutex(m_mutex);
}

SyncRecordView::~SyncRecordView() {
  if (m_words != nullptr) UnmapViewOfFile(m_words);
  if (m_mapping != nullptr) CloseHandle(m_mapping);
  if (m_mutex != nullptr) CloseHandle(m_mutex);
}

uint32_t SyncRecordView::Word(int index) const { return m_words[index]; }

void SyncRecordView::SetWord(int index, uint32_t value) { m_words[index] = value; }

std::vector<uint32_t> SyncRecordView::Windows() const {
  std::vector<uint32_t> windows;
  for (int i = 0; i < 10 && m_words[i] != 0; ++i) windows.push_back(m_words[i]);
  return windows;
}
