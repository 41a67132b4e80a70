// A second process for the mapped storage tests. Commands:
//   dump PATH OUT [MINIMUM]   opens PATH and writes L and the data with the word behind it to OUT;
//                             then puts the mark 0x5EED5EED at data offset 8 (exit 2: refused)
//   store PATH                opens PATH as a store with a 36-byte header (exit 2: refused)
//   create PATH LENGTH SEED   makes a file of LENGTH bytes of pattern SEED with a background save
//   savekill PATH EVENT AT    opens PATH, changes it, starts a background save that signals EVENT
//                             after AT bytes and then waits there for this process to be killed
#include <windows.h>
#include <shellapi.h>

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
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  if (argv == nullptr || argc < 3) return 100;
  std::wstring command = argv[1];
  if (command == L"dump" && argc >= 4)
    return Dump(argv[2], argv[3], argc >= 5 ? uint32_t(_wtoi(argv[4])) : 0);
  if (command == L"store") return Store(argv[2]);
  if (command == L"create" && argc >= 5)
    return Create(argv[2], uint32_t(_wtoi(argv[3])), uint32_t(_wtoi(argv[4])));
  if (command == L"savekill" && argc >= 5) return SaveKill(argv[2], argv[3], DWORD(_wtoi(argv[4])));
  return 101;
}
