#include <doctest/doctest.h>
#include <windows.h>
TEST_CASE("window") { HWND h = CreateWindowW(L"STATIC", L"x", 0, 0,0,10,10, 0,0,0,0); CHECK(h != nullptr); }
