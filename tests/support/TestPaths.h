// Where the test programs and the device's files are, and whole files read and written.
#pragma once
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace testpaths {

// The folder of the running test program (the build's bin folder), with a trailing backslash.
std::wstring BinDir();
// The device's temporary folder, with a trailing backslash.
std::wstring TempFolder();
// The words of this program's command line, its own name first.
std::vector<std::wstring> ProgramArguments();

struct JournalLine {
  unsigned long tick;
  std::string source;
  std::string event;
};
// The device journal, line by line (UTF-8 text as written by the device).
std::vector<JournalLine> ReadDeviceJournal();
void ClearDeviceJournal();
// True when some line of the given source has exactly this event text.
bool JournalHas(const std::vector<JournalLine>& lines, const std::string& source, const std::string& event);

// CreateProcessW of `program` with `commandLine` (which it may change), no security attributes, no flags,
// the caller's environment and folder. Tried once more, with a line on standard error, when the new
// process died while the system was still starting it (ERROR_INTERNAL_ERROR): a failure of the host,
// seen rarely on a loaded machine, before any code of the program itself ran.
BOOL StartProcess(const std::wstring& program, std::wstring& commandLine, BOOL inheritHandles,
                  STARTUPINFOW* startup, PROCESS_INFORMATION* process);

// Runs a program with a command line and waits for it; returns its exit code, or -1 on timeout
// (the program is then killed) or when it could not start.
int RunAndWait(const std::wstring& program, const std::wstring& arguments, unsigned timeoutMs,
               const std::vector<std::pair<std::wstring, std::wstring>>& environment = {});
// The same with the program's standard output and error caught, as written (console line ends
// included); either may be null.
int RunCaptured(const std::wstring& program, const std::wstring& arguments, unsigned timeoutMs,
                std::string* out, std::string* err,
                const std::vector<std::pair<std::wstring, std::wstring>>& environment = {});

// The whole content of a file; empty when it can't be read.
std::vector<uint8_t> ReadFileBytes(const std::wstring& path);
std::string ReadFileText(const std::wstring& path);
// The lines of a text file without their line ends; none when it can't be read.
std::vector<std::string> ReadFileLines(const std::wstring& path);
// Makes the file anew with these bytes; false when not all of them could be written.
bool WriteFileBytes(const std::wstring& path, const std::vector<uint8_t>& bytes);
bool WriteFileText(const std::wstring& path, const std::string& text);
bool FileExists(const std::wstring& path);
// The size of a file; -1 when it isn't there.
int64_t FileSizeOf(const std::wstring& path);

// Keeps a test program to an object store file of its own, made afresh for each run, so that the
// device's own databases are never touched: unless PAGEMARK_OBJECT_STORE names one already, it is set
// to `path` and the file is deleted. The store reads the variable at the first database call, so a
// program makes one of these a global of its support file.
class OwnObjectStore {
 public:
  explicit OwnObjectStore(const wchar_t* path);
};

}  // namespace testpaths
