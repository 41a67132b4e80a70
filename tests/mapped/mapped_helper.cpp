// A second process for the mapped storage tests. Commands:
//   dump PATH OUT [MINIMUM]   opens PATH and writes L and the data with the word behind it to OUT;
//                             then puts the mark 0x5EED5EED at data offset 8 (exit 2: refused)
//   store PATH                opens PATH as a store with a 36-byte header (exit 2: refused)
//   create PATH LENGTH SEED   makes a file of LENGTH bytes of pattern SEED with a background save
//   savekill PATH EVENT AT    opens PATH, changes it, starts a background save that signals EVENT
//                             after AT bytes and then waits there for this process to be killed
#include <windows.h>

#include <cstring>
#include <cwchar>
#include <cstdlib>
#include <vector>

#include "MappedTestSupport.h"
#include "storage/mapped/ArenaStore.h"
#include "storage/mapped/MappedFile.h"
#include "storage/mapped/WriteBackProbe.h"

namespace {

int Dump(const wchar_t* path, const wchar_t* out, uint32_t minimum) {
  MappedFile file;
  if (!file.Open(path, minimum)) return 2;
  uint32_t length = file.Length();
  std::vector<uint8_t> bytes(4 + length + 4);
  WriteWord32(bytes.data(), 0, length);
  std::memcpy(bytes.data() + 4, file.Data(), length + 4);
  if (!WriteFileBytes(out, bytes)) return 3;
  WriteWord32(file.Data(), 8, 0x5EED5EED);
  return 0;
}

int Store(const wchar_t* path) {
  ArenaStore store(36, L"IndexStore");
  return store.Open(path) ? 0 : 2;
}

int Create(const wchar_t* path, uint32_t length, uint32_t seed) {
  MappedFile file;
  if (!file.Create(path, length)) return 2;
  FillPattern(file.Data(), length, seed);
  if (!file.Save(TRUE)) return 3;
  file.Close();
  return 0;
}

#ifdef PAGEMARK_TEST_HOOKS
HANDLE g_event = nullptr;
DWORD g_at = 0;

void HoldAt(MappedFile*, DWORD written) {
  if (written != g_at) return;
  SetEvent(g_event);
  // The test ends this process from outside now. Should that not happen, the save goes on and the
  // exit code tells the test so.
  Sleep(60000);
}
#endif

int SaveKill(const wchar_t* path, const wchar_t* eventName, DWORD at) {
#ifdef PAGEMARK_TEST_HOOKS
  g_event = OpenEventW(EVENT_MODIFY_STATE, FALSE, eventName);
  if (g_event == nullptr) return 5;
  g_at = at;
  MappedFile file;
  if (!file.Open(path, 0)) return 2;
  file.Data()[40] ^= 0xFF;
  SetWriteBackProbe(HoldAt);
  if (!file.Save(TRUE)) return 3;
  file.FinishSave();
  return 4;
#else
  (void)path;
  (void)eventName;
  (void)at;
  return 6;
#endif
}

}  // namespace

int main() {
  const std::vector<std::wstring> args = testpaths::ProgramArguments();
  const size_t count = args.size();
  if (count < 3) return 100;
  auto word = [&](size_t i) { return args[i].c_str(); };
  auto number = [&](size_t i) { return _wtoi(args[i].c_str()); };
  const std::wstring& command = args[1];
  if (command == L"dump" && count >= 4) return Dump(word(2), word(3), count >= 5 ? uint32_t(number(4)) : 0);
  if (command == L"store") return Store(word(2));
  if (command == L"create" && count >= 5) return Create(word(2), uint32_t(number(3)), uint32_t(number(4)));
  if (command == L"savekill" && count >= 5) return SaveKill(word(2), word(3), DWORD(number(4)));
  return 101;
}
