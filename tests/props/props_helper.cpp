// A second process for the props store tests. Commands:
//   read PATH OUT        opens the store of PATH with the check, checks it, and writes to OUT its data
//                        length, its data, and each record in ring order as {offset, size, the record
//                        as the independent serialiser writes what was read}. Exit 2: refused; 3: the
//                        check found something; 4: a record didn't read; 5: OUT not written.
//   add PATH SEED COUNT OUT
//                        attaches to the store of PATH, adds COUNT random records of SEED and writes
//                        their offsets to OUT. Exit 2: refused; 4: an add failed; 5: OUT not written.
#include <windows.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "PropsTestSupport.h"
#include "storage/props/PropsStore.h"

namespace {

void Append(std::vector<uint8_t>& out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out.push_back(uint8_t(value >> (8 * i)));
}

int Read(const wchar_t* path, const wchar_t* outPath) {
  PropsStore store;
  store.SetPath(path);
  if (!store.Open(TRUE)) return 2;
  Str report;
  if (!store.Check(report)) return 3;
  std::vector<uint8_t> out;
  Append(out, store.Length());
  out.insert(out.end(), store.Data(), store.Data() + store.Length());
  uint32_t record = store.FirstRecord();
  for (uint32_t i = 0; i < store.RecordCount(); ++i) {
    ContactExtended block;
    uint32_t checksum = 0;
    if (!store.GetRecord(record, block, &checksum)) return 4;
    std::vector<uint8_t> bytes = Serialize(FromBlock(block, checksum));
    Append(out, record);
    Append(out, uint32_t(bytes.size()));
    out.insert(out.end(), bytes.begin(), bytes.end());
    record = ReadWord32(store.Data(), record + PropsStore::kNextRecordField);
  }
  store.Close();
  return WriteFileBytes(outPath, out) ? 0 : 5;
}

int Add(const wchar_t* path, uint32_t seed, int count, const wchar_t* outPath) {
  PropsStore store;
  store.SetPath(path);
  if (!store.Open(TRUE)) return 2;
  std::mt19937 random(seed);
  std::vector<uint8_t> out;
  for (int i = 0; i < count; ++i) {
    ContactExtended block;
    ModelRecord model = RandomRecord(random, 1);
    ToBlock(model, block);
    uint32_t offset = store.AddRecord(block, model.checksum);
    if (offset == 0) return 4;
    Append(out, offset);
  }
  return WriteFileBytes(outPath, out) ? 0 : 5;
}

}  // namespace

int main() {
  const std::vector<std::wstring> args = testpaths::ProgramArguments();
  if (args.size() == 4 && args[1] == L"read") return Read(args[2].c_str(), args[3].c_str());
  if (args.size() == 6 && args[1] == L"add")
    return Add(args[2].c_str(), uint32_t(wcstoul(args[3].c_str(), nullptr, 10)),
               int(wcstol(args[4].c_str(), nullptr, 10)), args[5].c_str());
  return 100;
}
