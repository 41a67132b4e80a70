// The device shell's context menu extension calls on their own: what they load for a context and a
// class, the ids they hand out, the commands they run, and what they refuse. The sample extension is
// registered in the test's device.
#include <doctest/doctest.h>
#include <windows.h>
#include <objidl.h>

#include <aygshell.h>

#include <string>
#include <vector>

#include "ArrayVectors.h"
#include "DoctestVectors.h"
#include "PluginTestSupport.h"
#include "TestPaths.h"
#include "TestRegistry.h"
#include "plugins/ContextMenuExtensions.h"

using namespace plugintest;

namespace {

// COM for the length of a test, as the item has it while it loads extensions.
struct Com {
  HRESULT started = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  ~Com() {
    if (SUCCEEDED(started)) CoUninitialize();
  }
};

struct Menu {
  HMENU menu = CreatePopupMenu();
  ~Menu() { DestroyMenu(menu); }
};

}  // namespace

TEST_CASE("an extension registered for the context and class adds its command at the first id") {
  ClearAll();
  AddSampleExtension();
  Com com;
  Menu menu;
  ContextMenuExtensions owner;
  owner.SetSelection(ArrayOf(std::vector<CEOID>{3, 4}));
  HANDLE handle = nullptr;
  testpaths::ClearDeviceJournal();
  REQUIRE(
      SHLoadContextMenuExtensions(&owner, L"Contacts", L"Main_ContextMenu", menu.menu, 500, 510, &handle));
  REQUIRE(handle != nullptr);
  CHECK(MenuLines(menu.menu) == std::vector<std::string>{"Sample extension command #500"});
  CHECK(
      JournalEvents("aygshell") ==
      std::vector<std::string>{
          std::string("context menu extension ") + "{6B1F3C2A-5D4E-4F80-9A1B-2C3D4E5F6071}" +
              ": 1 command(s) from 500",
          "SHLoadContextMenuExtensions Contacts Main_ContextMenu ids 500-510: 1 extension(s), 1 command(s)"});
  CHECK(JournalEvents("sampleext").front() == "Initialize: 2 contact(s), ids 3 4");

  testpaths::ClearDeviceJournal();
  CHECK(SHInvokeContextMenuCommand(nullptr, 500, handle));
  CHECK(JournalEvents("sampleext") == std::vector<std::string>{"InvokeCommand: ids 3 4"});
  // An id outside what the extension took.
  CHECK_FALSE(SHInvokeContextMenuCommand(nullptr, 501, handle));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(SHFreeContextMenuExtensions(handle));
  CHECK(JournalEvents("aygshell").back() == "SHFreeContextMenuExtensions: 1 extension(s)");
}

TEST_CASE("another context or class finds no extensions") {
  ClearAll();
  AddSampleExtension();
  Com com;
  Menu menu;
  ContextMenuExtensions owner;
  owner.SetSelection(ArrayOf(std::vector<CEOID>{3}));
  HANDLE handle = reinterpret_cast<HANDLE>(1);
  CHECK_FALSE(SHLoadContextMenuExtensions(&owner, L"Phone", L"Log", menu.menu, 500, 510, &handle));
  CHECK(handle == nullptr);
  CHECK_FALSE(SHLoadContextMenuExtensions(&owner, L"Contacts", L"Other", menu.menu, 500, 510, &handle));
  CHECK(GetMenuItemCount(menu.menu) == 0);
}

TEST_CASE("a registered class that COM can't create is skipped") {
  ClearAll();
  Com com;
  const std::wstring unknown = std::wstring(kExtensionsKey) + L"\\{00000000-1111-2222-3333-444444444444}";
  testreg::WriteString(HKEY_LOCAL_MACHINE, unknown, L"", L"");
  Menu menu;
  ContextMenuExtensions owner;
  owner.SetSelection(ArrayOf(std::vector<CEOID>{3}));
  HANDLE handle = nullptr;
  CHECK_FALSE(
      SHLoadContextMenuExtensions(&owner, L"Contacts", L"Main_ContextMenu", menu.menu, 500, 510, &handle));
  CHECK(handle == nullptr);
  CHECK(GetMenuItemCount(menu.menu) == 0);
  // With the sample beside it, the sample alone is loaded.
  AddSampleExtension();
  REQUIRE(
      SHLoadContextMenuExtensions(&owner, L"Contacts", L"Main_ContextMenu", menu.menu, 500, 510, &handle));
  CHECK(MenuLines(menu.menu) == std::vector<std::string>{"Sample extension command #500"});
  CHECK(SHFreeContextMenuExtensions(handle));
}

TEST_CASE("the extension reads nothing from an owner without selection, and refuses to load") {
  ClearAll();
  AddSampleExtension();
  Com com;
  Menu menu;
  ContextMenuExtensions owner;
  HANDLE handle = nullptr;
  testpaths::ClearDeviceJournal();
  CHECK_FALSE(
      SHLoadContextMenuExtensions(&owner, L"Contacts", L"Main_ContextMenu", menu.menu, 500, 510, &handle));
  CHECK(JournalEvents("sampleext") == std::vector<std::string>{"Initialize: GetData 0x80004001"});
  CHECK(GetMenuItemCount(menu.menu) == 0);
}

TEST_CASE("bad arguments and handles are refused") {
  Menu menu;
  HANDLE handle = nullptr;
  CHECK_FALSE(SHLoadContextMenuExtensions(nullptr, nullptr, L"Main_ContextMenu", menu.menu, 1, 2, &handle));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(
      SHLoadContextMenuExtensions(nullptr, L"Contacts", L"Main_ContextMenu", menu.menu, 1, 2, nullptr));
  CHECK_FALSE(
      SHLoadContextMenuExtensions(nullptr, L"Contacts", L"Main_ContextMenu", menu.menu, 3, 2, &handle));
  CHECK_FALSE(SHLoadContextMenuExtensions(nullptr, L"Contacts", L"Main_ContextMenu", nullptr, 1, 2, &handle));
  int notHandle = 0;
  CHECK_FALSE(SHInvokeContextMenuCommand(nullptr, 1, &notHandle));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);
  CHECK_FALSE(SHInvokeContextMenuCommand(nullptr, 1, nullptr));
  CHECK_FALSE(SHFreeContextMenuExtensions(&notHandle));
  CHECK_FALSE(SHFreeContextMenuExtensions(nullptr));
}
