// Context menu extensions: in-process COM servers that a program registers with the shell for a context
// and a class of menu, under HKLM\Software\Microsoft\Shell\Extensions\ContextMenus\<context>\<class>,
// one subkey named by the class id of each. Loading creates each one, hands it the owner's data object
// and lets it add its commands in the id range; invoking finds the extension that owns the id.
#include <aygshell.h>
#include <objbase.h>
#include <shlobj.h>

#include <cwchar>
#include <vector>

#include "Shell.h"

namespace ayg {

namespace {

const wchar_t kExtensionsKey[] = L"Software\\Microsoft\\Shell\\Extensions\\ContextMenus";
// Marks a handle as one this library gave out.
const DWORD kHandleMark = 0x434D4558;

struct LoadedExtension {
  IContextMenu* menu;
  UINT first;  // the first command id it was given
  UINT count;  // how many ids from there it took
  wchar_t name[40];
};

struct ExtensionSet {
  DWORD mark;
  std::vector<LoadedExtension> extensions;
};

ExtensionSet* FromHandle(HANDLE handle) {
  ExtensionSet* set = static_cast<ExtensionSet*>(handle);
  if (!set || IsBadReadPtr(set, sizeof(DWORD)) || set->mark != kHandleMark) return nullptr;
  return set;
}

// Creates the extension of class `name`, gives it the data object and lets it add its commands from
// `next` on; false when it can't be created or refuses.
bool LoadOne(const wchar_t* name, HKEY key, IDataObject* data, HMENU menu, UINT next, UINT last,
             LoadedExtension* loaded) {
  CLSID clsid;
  if (FAILED(CLSIDFromString(const_cast<LPOLESTR>(name), &clsid))) {
    Journal(L"context menu extension %ls: not a class id", name);
    return false;
  }
  IContextMenu* contextMenu = nullptr;
  HRESULT result = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IContextMenu,
                                    reinterpret_cast<void**>(&contextMenu));
  if (FAILED(result)) {
    Journal(L"context menu extension %ls: not created, 0x%08lx", name, static_cast<unsigned long>(result));
    return false;
  }
  IShellExtInit* init = nullptr;
  if (SUCCEEDED(contextMenu->QueryInterface(IID_IShellExtInit, reinterpret_cast<void**>(&init)))) {
    result = init->Initialize(nullptr, data, key);
    init->Release();
    if (FAILED(result)) {
      Journal(L"context menu extension %ls: initialisation refused, 0x%08lx", name,
              static_cast<unsigned long>(result));
      contextMenu->Release();
      return false;
    }
  }
  result =
      contextMenu->QueryContextMenu(menu, static_cast<UINT>(GetMenuItemCount(menu)), next, last, CMF_NORMAL);
  if (FAILED(result)) {
    Journal(L"context menu extension %ls: no commands, 0x%08lx", name, static_cast<unsigned long>(result));
    contextMenu->Release();
    return false;
  }
  loaded->menu = contextMenu;
  loaded->first = next;
  loaded->count = HRESULT_CODE(result);
  lstrcpynW(loaded->name, name, 40);
  return true;
}

}  // namespace

}  // namespace ayg

using namespace ayg;

extern "C" BOOL SHLoadContextMenuExtensions(IUnknown* owner, LPCWSTR context, LPCWSTR menuClass, HMENU menu,
                                            UINT first, UINT last, HANDLE* extensions) {
  if (extensions) *extensions = nullptr;
  if (!context || !menuClass || !menu || !extensions || first > last) {
    Journal(L"SHLoadContextMenuExtensions: invalid parameter");
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  wchar_t path[512];
  _snwprintf(path, 511, L"%ls\\%ls\\%ls", kExtensionsKey, context, menuClass);
  path[511] = 0;
  HKEY key = nullptr;
  LONG opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key);
  if (opened != ERROR_SUCCESS) {
    Journal(L"SHLoadContextMenuExtensions %ls %ls ids %u-%u: none registered", context, menuClass, first,
            last);
    SetLastError(static_cast<DWORD>(opened));
    return FALSE;
  }
  IDataObject* data = nullptr;
  if (owner) owner->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(&data));

  ExtensionSet* set = new ExtensionSet;
  set->mark = kHandleMark;
  UINT next = first;
  for (DWORD index = 0;; ++index) {
    wchar_t name[64];
    DWORD chars = 64;
    if (RegEnumKeyExW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    if (next > last) break;
    HKEY own = nullptr;
    RegOpenKeyExW(key, name, 0, KEY_READ, &own);
    LoadedExtension loaded = {};
    if (LoadOne(name, own, data, menu, next, last, &loaded)) {
      Journal(L"context menu extension %ls: %u command(s) from %u", name, loaded.count, loaded.first);
      set->extensions.push_back(loaded);
      next += loaded.count;
    }
    if (own) RegCloseKey(own);
  }
  RegCloseKey(key);
  if (data) data->Release();

  Journal(L"SHLoadContextMenuExtensions %ls %ls ids %u-%u: %u extension(s), %u command(s)", context,
          menuClass, first, last, static_cast<unsigned>(set->extensions.size()), next - first);
  if (set->extensions.empty()) {
    delete set;
    SetLastError(ERROR_NO_MORE_ITEMS);
    return FALSE;
  }
  *extensions = set;
  return TRUE;
}

extern "C" BOOL SHInvokeContextMenuCommand(HWND owner, UINT command, HANDLE extensions) {
  ExtensionSet* set = FromHandle(extensions);
  if (!set) {
    Journal(L"SHInvokeContextMenuCommand %u: not a handle of extensions", command);
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  for (const LoadedExtension& loaded : set->extensions) {
    if (command < loaded.first || command - loaded.first >= loaded.count) continue;
    CMINVOKECOMMANDINFO info = {};
    info.cbSize = sizeof info;
    info.hwnd = owner;
    info.lpVerb = MAKEINTRESOURCEA(command - loaded.first);
    info.nShow = SW_SHOWNORMAL;
    const HRESULT result = loaded.menu->InvokeCommand(&info);
    Journal(L"SHInvokeContextMenuCommand %u: extension %ls command %u, 0x%08lx", command, loaded.name,
            command - loaded.first, static_cast<unsigned long>(result));
    if (FAILED(result)) SetLastError(static_cast<DWORD>(result));
    return SUCCEEDED(result);
  }
  Journal(L"SHInvokeContextMenuCommand %u: no extension has it", command);
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

extern "C" BOOL SHFreeContextMenuExtensions(HANDLE extensions) {
  ExtensionSet* set = FromHandle(extensions);
  if (!set) {
    Journal(L"SHFreeContextMenuExtensions: not a handle of extensions");
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  for (LoadedExtension& loaded : set->extensions) loaded.menu->Release();
  Journal(L"SHFreeContextMenuExtensions: %u extension(s)", static_cast<unsigned>(set->extensions.size()));
  set->mark = 0;
  delete set;
  return TRUE;
}
