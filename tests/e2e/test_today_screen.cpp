// The item on the stand-in Today screen: TodayHost.exe reads the registry, loads PagemarkToday.dll,
// asks for its height and shows it; a start that dies half way takes the item off the screen.
#include <doctest/doctest.h>
#include <windows.h>
#include <wincodec.h>
#include <fstream>
#include <string>
#include <vector>
#include "TestPaths.h"
#include "TestRegistry.h"

using namespace testpaths;
using namespace testreg;

namespace {

const std::wstring kSettingsKey = std::wstring(kSettingsRoot) + L"\\Settings";
const unsigned kHostTimeoutMs = 60000;

// A fresh device state: the item's settings gone, the item registered by its own export, as an
// installer does, and an empty journal.
void FreshDevice() {
  DeleteTree(HKEY_CURRENT_USER, kSettingsRoot);
  DeleteTree(HKEY_LOCAL_MACHINE, kTodayItemKey);
  ClearDeviceJournal();
  HMODULE item = LoadLibraryW((BinDir() + L"PagemarkToday.dll").c_str());
  REQUIRE(item != nullptr);
  typedef BOOL (*Export)();
  Export registerItem =
      reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(item, "RegisterTodayItem")));
  REQUIRE(reinterpret_cast<void*>(registerItem) != nullptr);
  // The same export by its ordinal.
  bool sameByOrdinal = reinterpret_cast<void*>(GetProcAddress(item, MAKEINTRESOURCEA(243))) ==
                       reinterpret_cast<void*>(registerItem);
  CHECK(sameByOrdinal);
  CHECK(registerItem());
  FreeLibrary(item);
}

std::wstring WriteScript(const std::wstring& name, const std::string& body) {
  std::wstring path = BinDir() + name;
  std::ofstream(path.c_str(), std::ios::binary) << body;
  return path;
}

std::string Narrow(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(n - 1, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &out[0], n, nullptr, nullptr);
  return out;
}

int RunHost(const std::wstring& script, const std::vector<std::pair<std::wstring, std::wstring>>& env = {}) {
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + script + L"\" /exit", kHostTimeoutMs, env);
}

struct Image {
  UINT width = 0, height = 0;
  std::vector<BYTE> bgra;
  COLORREF At(UINT x, UINT y) const {
    const BYTE* p = &bgra[(y * width + x) * 4];
    return RGB(p[2], p[1], p[0]);
  }
};

bool LoadPng(const std::wstring& path, Image* image) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  IWICImagingFactory* factory = nullptr;
  if (FAILED(
          CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory))))
    return false;
  bool ok = false;
  IWICBitmapDecoder* decoder = nullptr;
  IWICBitmapFrameDecode* frame = nullptr;
  IWICFormatConverter* converter = nullptr;
  if (SUCCEEDED(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                   WICDecodeMetadataCacheOnDemand, &decoder)) &&
      SUCCEEDED(decoder->GetFrame(0, &frame)) && SUCCEEDED(factory->CreateFormatConverter(&converter)) &&
      SUCCEEDED(converter->Initialize(frame, GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone, nullptr,
                                      0, WICBitmapPaletteTypeCustom)) &&
      SUCCEEDED(converter->GetSize(&image->width, &image->height))) {
    image->bgra.resize(image->width * image->height * 4);
    ok = SUCCEEDED(converter->CopyPixels(nullptr, image->width * 4, static_cast<UINT>(image->bgra.size()),
                                         image->bgra.data()));
  }
  if (converter) converter->Release();
  if (frame) frame->Release();
  if (decoder) decoder->Release();
  factory->Release();
  return ok;
}

// The rows of the strip: the longest run of rows whose middle pixel is of the strip's bluish gradient.
int StripRows(const Image& image, int* firstRow) {
  int best = 0, run = 0;
  *firstRow = -1;
  for (UINT y = 0; y < image.height; ++y) {
    COLORREF c = image.At(image.width / 2, y);
    bool strip = GetBValue(c) >= 0xE0 && GetRValue(c) >= 0x60 && GetRValue(c) <= 0xE0 &&
                 GetBValue(c) > GetRValue(c) + 0x10;
    run = strip ? run + 1 : 0;
    if (run > best) {
      best = run;
      *firstRow = static_cast<int>(y) - run + 1;
    }
  }
  return best;
}

}  // namespace

TEST_CASE("the Today host loads the item from the registry, gets its height and shows the strip") {
  FreshDevice();
  std::wstring shot = BinDir() + L"e2e-today.png";
  DeleteFileW(shot.c_str());
  std::wstring script = WriteScript(L"e2e-today.txt", "wait 3000\nshot " + Narrow(shot) + "\nquit\n");
  CHECK(RunHost(script) == 0);

  std::vector<JournalLine> journal = ReadDeviceJournal();
  bool loaded = false;
  for (const JournalLine& line : journal)
    if (line.source == "TodayHost" && line.event.rfind("item Pagemark loaded ", 0) == 0) loaded = true;
  CHECK(loaded);
  CHECK(JournalHas(journal, "TodayHost", "item Pagemark height 19"));  // ScaleY(20) - 1 at 96 dpi

  Image image;
  REQUIRE(LoadPng(shot, &image));
  CHECK(image.width == 240);
  CHECK(image.height == 320);
  int first = -1;
  int rows = StripRows(image, &first);
  CAPTURE(first);
  // The strip's gradient inside its one-pixel frame.
  CHECK(rows >= 15);
  CHECK(rows <= 19);

  DWORD failed = 9;
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"TodayFailed", &failed));
  CHECK(failed == 0);
}

TEST_CASE("a start that dies half way leaves TodayFailed at 1, and the next host start takes the item off") {
  FreshDevice();
  std::wstring script = WriteScript(L"e2e-guard.txt", "wait 1500\nquit\n");

  // The first start dies in the middle of the item's start-up, taking the host with it.
  int code = RunHost(script, {{L"PAGEMARK_DIE_AT_STEP", L"12"}});
  CHECK(code == 0xDEAD);
  DWORD failed = 0;
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"TodayFailed", &failed));
  CHECK(failed == 1);
  CHECK(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));

  // The next start finds the guard set: the item unregisters itself and gives the host no window.
  ClearDeviceJournal();
  CHECK(RunHost(script) == 0);
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"TodayFailed", &failed));
  CHECK(failed == 0);
  CHECK_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));
  std::vector<JournalLine> journal = ReadDeviceJournal();
  bool refused = false;
  for (const JournalLine& line : journal)
    if (line.source == "TodayHost" && line.event.rfind("item Pagemark load failed", 0) == 0) refused = true;
  CHECK(refused);

  // And the start after that doesn't see the item at all.
  ClearDeviceJournal();
  CHECK(RunHost(script) == 0);
  for (const JournalLine& line : ReadDeviceJournal()) CHECK(line.event.find("Pagemark") == std::string::npos);
}

TEST_CASE(
    "the item as the device has it installed loads: its folder under Program Files, the system library in "
    "\\windows") {
  FreshDevice();
  const wchar_t installed[] = L"\\Program Files\\Zovrix Pagemark\\PagemarkToday.dll";
  REQUIRE(GetFileAttributesW(installed) != INVALID_FILE_ATTRIBUTES);
  REQUIRE(GetFileAttributesW(L"\\windows\\coredll.dll") != INVALID_FILE_ATTRIBUTES);
  REQUIRE(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kTodayItemKey, L"DLL", REG_SZ, installed,
                          static_cast<DWORD>((wcslen(installed) + 1) * sizeof(wchar_t))) == ERROR_SUCCESS);
  std::wstring script = WriteScript(L"e2e-installed.txt", "wait 1500\nquit\n");
  CHECK(RunHost(script) == 0);
  std::vector<JournalLine> journal = ReadDeviceJournal();
  CHECK(JournalHas(journal, "TodayHost",
                   "item Pagemark loaded \\Program Files\\Zovrix Pagemark\\PagemarkToday.dll"));
  CHECK(JournalHas(journal, "TodayHost", "item Pagemark height 19"));
  FreshDevice();
}
