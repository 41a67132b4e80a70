#include "ToolManager.h"

#include <cwchar>

#include "Output.h"
#include "storage/contact/ContactNames.h"

ToolManager::ToolManager() {}

ToolManager::~ToolManager() { manager.Close(); }

bool ToolManager::Open() {
  if (!manager.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr)) {
    PrintError(L"pimtool: the contacts or their index can't be opened (error " +
               std::to_wstring(GetLastError()) + L")");
    return false;
  }
  return true;
}

void ToolManager::Settle() {
  // The notifications of the tool's own writes are posted to this thread before each write returns.
  // They are taken in, and what they queued is applied at once, as the gathering timer would apply it
  // when it ran out: there is nothing further of the tool's own to wait for.
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
  if (manager.PendingWindow().Count() > 0) manager.OnEventTimer();
}

std::wstring ListNameOf(ContactManager& manager, CEOID oid) {
  Str last, first, company, title;
  if (!manager.ReadNameFields(oid, last, first, company, title)) return std::wstring();
  Str name = ListName(last, first, company, title);
  return static_cast<const wchar_t*>(name);
}

std::wstring HexId(CEOID oid) {
  wchar_t text[16];
  swprintf(text, 16, L"%08lx", static_cast<unsigned long>(oid));
  return text;
}

CEOID ParseId(const wchar_t* text) {
  wchar_t* end = nullptr;
  unsigned long value = wcstoul(text, &end, 16);
  return (end != nullptr && *end == 0 && end != text) ? static_cast<CEOID>(value) : 0;
}
