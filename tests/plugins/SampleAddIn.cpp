// A sample add-in for the contacts' menus: its one command writes to the device journal what it was
// given (how many contacts, their record ids, and the window it was given as parent).
#include <windows.h>
#include <windbase.h>

#include <DeviceJournal.h>

#include <string>

extern "C" HRESULT CePimCommand(HWND parent, int itemType, UINT count, const CEOID* ids, void* reserved) {
  std::wstring list;
  for (UINT i = 0; ids && i < count; ++i) list += L" " + std::to_wstring(ids[i]);
  RECT rect = {0, 0, 0, 0};
  if (parent) GetWindowRect(parent, &rect);
  const unsigned long style = parent ? static_cast<unsigned long>(GetWindowLongW(parent, GWL_STYLE)) : 0;
  DeviceJournalWrite(L"sampleaddin", L"CePimCommand type %d count %u ids%ls", itemType, count, list.c_str());
  DeviceJournalWrite(L"sampleaddin", L"parent %ls style 0x%08lx width %ld height %ld owner %ls reserved %ls",
                     parent && IsWindow(parent) ? L"window" : L"none", style, rect.right - rect.left,
                     rect.bottom - rect.top, parent && GetParent(parent) ? L"some" : L"none",
                     reserved ? L"set" : L"null");
  return S_OK;
}
