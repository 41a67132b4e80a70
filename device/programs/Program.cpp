// A program of the device that is only started with a command line and ends at once: the mail program
// "tmail.exe", the pocket mail program "pmail.exe", the browser "iexplore.exe", the file opener that
// the shell starts for a linked file, and "Pagemark.exe" in place of the product's main program. The
// stand-in device has nothing to send or show, so the program writes the command line it received to
// the device journal and ends. PROGRAM_FILE names it.
#include <windows.h>

#include <DeviceJournal.h>

#include "CommandLine.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  const wchar_t* arguments = ProgramArguments(PROGRAM_FILE L".exe");
  if (*arguments)
    DeviceJournalWrite(PROGRAM_FILE, L"run %ls", arguments);
  else
    DeviceJournalWrite(PROGRAM_FILE, L"run");
  return 0;
}
