#include "ToolManager.h"

#include <cwchar>

#include "Output.h"
#include "storage/contact/ContactNames.h"
#include "sync/PimSync.h"

namespace {

const wchar_t kToolWindowClass[] = L"PagemarkToolCoordination";
// How often, and how far apart, an open is tried while another process still holds the index.
const int kOpenAttempts = 20;
const DWORD kOpenRetryMs = 250;

LRESULT CALLBACK ToolWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
  return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeToolWindow() {
  HINSTANCE instance = GetModuleHandleW(nullptr);
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = ToolWindowProc;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = kToolWindowClass;
  RegisterClassW(&windowClass);
  // A top-level window that is never shown: the other processes find it in the shared record.
  return CreateWindowExW(0, kToolWindowClass, L"pimtool", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, instance,
                         nullptr);
}

}  // namespace

ToolManager::ToolManager() : sync(nullptr), window(nullptr) {}

ToolManager::~ToolManager() {
  manager.Close();
  Leave();
}

bool ToolManager::Join(bool write) {
  PimSync* coordinator = PimSync::GetInstance();
  if (!coordinator->Open()) return false;
  window = MakeToolWindow();
  if (window == nullptr) return false;
  g_syncMessageHandler = this;
  sync = coordinator;
  if (!sync->Register(window)) {
    // The record is full: the tool reads what it finds and never writes.
    PrintError(L"pimtool: ten processes of the product run already; the index is only read");
    return true;
  }
  if (write && !sync->IsMaster()) sync->ChangeToMaster(window);
  return true;
}

void ToolManager::Leave() {
  if (sync != nullptr && window != nullptr) sync->Unregister(window);
  if (g_syncMessageHandler == this) g_syncMessageHandler = nullptr;
  if (window != nullptr) DestroyWindow(window);
  window = nullptr;
  sync = nullptr;
}

bool ToolManager::Open(bool write) {
  Join(write);
  for (int attempt = 1;; ++attempt) {
    if (manager.Open(GetModuleHandleW(nullptr), nullptr, sync, nullptr)) return true;
    const DWORD error = GetLastError();
    // A process that has just let go of the index may still hold its mapping for a moment, while it
    // finishes writing it back; new index files can't be made until it has.
    if (error != ERROR_ALREADY_EXISTS || attempt >= kOpenAttempts) {
      PrintError(L"pimtool: the contacts or their index can't be opened (error " + std::to_wstring(error) +
                 L")");
      return false;
    }
    manager.Close();
    MSG msg;
    for (DWORD waited = 0; waited < kOpenRetryMs; waited += 10) {
      while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
      Sleep(10);
    }
  }
}

void ToolManager::OnChangeToMaster() {
  sync->SetMaster(TRUE);
  manager.TakeOverIndex();
}

void ToolManager::OnChangeToSlave() { sync->SetMaster(FALSE); }

void ToolManager::OnSlaveReload() { manager.ReloadIndex(); }

void ToolManager::OnSlaveStop() { manager.CloseIndex(); }

void ToolManager::OnUpdateLinkType(DWORD id, DWORD item) {
  if (sync != nullptr && sync->IsMaster()) manager.SetDefaultItem(static_cast<CEOID>(id), item);
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
