// A clean registry and a parent window standing in for the Today host, for in-process tests.
#pragma once
#include <windows.h>
#include <todaycmn.h>
#include "TestRegistry.h"
#include "today/PimToday.h"

struct TodayFixture {
  HWND host = nullptr;
  TODAYLISTITEM item = {};

  TodayFixture() {
    // The library's attach keeps its module; here the item's code and resources are in the program.
    g_hModule = GetModuleHandleW(nullptr);
    testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, testreg::kTodayItemKey);
    host = CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW, 0, 0, 240, 320, nullptr, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
    wcscpy(item.szName, L"Pagemark");
    item.tlit = tlitCustom;
    item.fEnabled = TRUE;
    item.hinstDLL = GetModuleHandleW(nullptr);
  }

  ~TodayFixture() {
    if (g_pimToday && g_pimToday->GetHwnd()) DestroyWindow(g_pimToday->GetHwnd());
    if (host) DestroyWindow(host);
    // Leaves the process as a library detach would.
    delete g_pimToday;
    g_pimToday = nullptr;
    for (const wchar_t* name : kItemWindowClasses) UnregisterClassW(name, GetModuleHandleW(nullptr));
    testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, testreg::kTodayItemKey);
  }

  DWORD TodayFailed() {
    DWORD value = 0xFFFF;
    testreg::ReadDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\Settings",
                       L"TodayFailed", &value);
    return value;
  }
  void SetTodayFailed(DWORD value) {
    testreg::WriteDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\Settings",
                        L"TodayFailed", value);
  }
};
