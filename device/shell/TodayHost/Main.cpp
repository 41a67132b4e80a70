// TodayHost.exe [/script FILE] [/exit]
//   /script FILE  runs the commands of FILE once the items are loaded (see Script.cpp)
//   /exit         ends the program when the script has run
#include "TodayHost.h"

#include <DeviceJournal.h>
#include <objbase.h>
#include <shellapi.h>

#include <cwchar>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
  int argc = 0;
  LPWSTR* argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  std::wstring script;
  bool exitAtEnd = false;
  for (int i = 1; argv && i < argc; ++i) {
    if (_wcsicmp(argv[i], L"/script") == 0 || _wcsicmp(argv[i], L"-script") == 0) {
      if (i + 1 >= argc) {
        DeviceJournalWrite(todayhost::kJournalSource, L"usage: /script needs a file");
        LocalFree(argv);
        return 2;
      }
      script = argv[++i];
    } else if (_wcsicmp(argv[i], L"/exit") == 0 || _wcsicmp(argv[i], L"-exit") == 0) {
      exitAtEnd = true;
    } else {
      DeviceJournalWrite(todayhost::kJournalSource, L"usage: unknown argument %ls", argv[i]);
      LocalFree(argv);
      return 2;
    }
  }
  if (argv) LocalFree(argv);

  // The Today screen is the device's shell: it draws at the screen's real density.
  SetProcessDPIAware();
  HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);

  int code = 0;
  {
    todayhost::Host host(instance, script, exitAtEnd);
    if (!host.Start()) {
      code = 3;
    } else {
      MSG msg;
      while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
      }
    }
  }
  if (SUCCEEDED(com)) CoUninitialize();
  DeviceJournalWrite(todayhost::kJournalSource, L"exit");
  return code;
}
