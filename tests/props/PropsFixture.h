// A props store on a file of the test's own in the temporary folder, removed before and after.
#pragma once
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "PropsTestSupport.h"
#include "storage/props/PropsStore.h"

struct PropsFixture {
  std::wstring path;
  PropsStore store;

  explicit PropsFixture(const std::wstring& name) : path(PropsTempFile(name)) {
    DeleteFileW(path.c_str());
    store.SetPath(path.c_str());
  }
  ~PropsFixture() {
    store.Close();
    DeleteFileW(path.c_str());
  }

  uint32_t Add(const ModelRecord& model) {
    ContactExtended block;
    ToBlock(model, block);
    return store.AddRecord(block, model.checksum);
  }
  bool Update(uint32_t offset, const ModelRecord& model) {
    ContactExtended block;
    ToBlock(model, block);
    return store.UpdateRecord(offset, block, model.checksum) != FALSE;
  }
  // The record read back through the store; `ok` tells whether the read worked.
  ModelRecord Read(uint32_t offset, bool& ok) const {
    ContactExtended block;
    uint32_t checksum = 0;
    ok = store.GetRecord(offset, block, &checksum) != FALSE;
    return FromBlock(block, checksum);
  }
  std::vector<uint8_t> Image() const {
    return std::vector<uint8_t>(store.Data(), store.Data() + store.Length());
  }
  uint32_t FirstUnused() const { return ReadWord32(store.Data(), 28 + 4); }
  uint32_t FreeHead() const { return ReadWord32(store.Data(), 28); }
  uint32_t FreeCount() const { return ReadWord32(store.Data(), 28 + 8); }
  std::string CheckReport() const {
    Str report;
    store.Check(report);
    std::string text;
    for (int i = 0; i < report.GetLength(); ++i) text += char(report[i] < 128 ? report[i] : '?');
    return text;
  }
};

// Data offset of the n-th block of a pool (n from 0).
inline uint32_t BlockOffset(uint32_t n) { return 28 + 12 + 128 * n; }
