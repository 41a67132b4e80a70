#include "TestPaths.h"
#include <windows.h>

#include <cstdio>
#include <shellapi.h>
#include <DeviceJournal.h>
#include <fstream>
#include <sstream>

namespace testpaths {

std::wstring BinDir() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring dir(path);
  return dir.substr(0, dir.find_last_of(L'\\') + 1);
}

std::wstring TempFolder() {
  wchar_t folder[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, folder);
  std::wstring path(folder, length);
  if (path.empty() || path.back() != L'\\') path += L'\\';
  return path;
}

std::vector<std::wstring> ProgramArguments() {
  std::vector<std::wstring> words;
  int count = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &count);
  if (argv == nullptr) return words;
  for (int i = 0; i < count; ++i) words.push_back(argv[i]);
  LocalFree(argv);
  return words;
}

std::vector<JournalLine> ReadDeviceJournal() {
  std::vector<JournalLine> lines;
  std::ifstream in(DEVICE_JOURNAL_PATH, std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t first = line.find('\t');
    size_t second = first == std::string::npos ? first : line.find('\t', first + 1);
    if (second == std::string::npos) continue;
    lines.push_back({std::stoul(line.substr(0, first)), line.substr(first + 1, second - first - 1),
                     line.substr(second + 1)});
  }
  return lines;
}

void ClearDeviceJournal() { DeleteFileW(DEVICE_JOURNAL_PATH); }

bool JournalHas(const std::vector<JournalLine>& lines, const std::string& source, const std::string& event) {
  for (const JournalLine& line : lines)
    if (line.source == source && line.event == event) return true;
  return false;
}

namespace {

// Starts `program` with `environment` set for it alone, standard output and error to `out` and `err`
// when they are given, and waits for it. -1 when it could not be started or did not end in time;
// `why` then says which.
int RunWithHandles(const std::wstring& program, const std::wstring& arguments, unsigned timeoutMs,
                   const std::vector<std::pair<std::wstring, std::wstring>>& environment, HANDLE out,
                   HANDLE err, std::string* why = nullptr) {
  std::vector<std::pair<std::wstring, std::wstring>> saved;
  for (const auto& entry : environment) {
    wchar_t old[1024];
    DWORD n = GetEnvironmentVariableW(entry.first.c_str(), old, 1024);
    saved.push_back({entry.first, n ? std::wstring(old) : std::wstring()});
    SetEnvironmentVariableW(entry.first.c_str(), entry.second.c_str());
  }
  std::wstring commandLine = L"\"" + program + L"\" " + arguments;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  const bool redirect = out != nullptr || err != nullptr;
  if (redirect) {
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = out ? out : GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = err ? err : GetStdHandle(STD_ERROR_HANDLE);
  }
  PROCESS_INFORMATION process = {};
  BOOL started = StartProcess(program, commandLine, redirect ? TRUE : FALSE, &startup, &process);
  const DWORD startError = GetLastError();
  for (const auto& entry : saved)
    SetEnvironmentVariableW(entry.first.c_str(), entry.second.empty() ? nullptr : entry.second.c_str());
  if (!started) {
    if (why) *why = "the program could not be started (error " + std::to_string(startError) + ")\n";
    return -1;
  }
  int code = -1;
  const DWORD waited = WaitForSingleObject(process.hProcess, timeoutMs);
  if (waited == WAIT_OBJECT_0) {
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    code = static_cast<int>(exitCode);
  } else {
    if (why)
      *why = waited == WAIT_TIMEOUT
                 ? "the program did not end within " + std::to_string(timeoutMs) + " ms\n"
                 : "waiting for the program failed (error " + std::to_string(GetLastError()) + ")\n";
    TerminateProcess(process.hProcess, 1);
    WaitForSingleObject(process.hProcess, 5000);
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code;
}

// A file the started program writes into and this one reads afterwards.
HANDLE InheritableFile(const std::wstring& path) {
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
}

}  // namespace

BOOL StartProcess(const std::wstring& program, std::wstring& commandLine, BOOL inheritHandles,
                  STARTUPINFOW* startup, PROCESS_INFORMATION* process) {
  const std::wstring line = commandLine;
  BOOL started = CreateProcessW(program.c_str(), &commandLine[0], nullptr, nullptr, inheritHandles, 0,
                                nullptr, nullptr, startup, process);
  if (!started && GetLastError() == ERROR_INTERNAL_ERROR) {
    std::fprintf(stderr, "run: a program died while it was being started (error %lu); started again\n",
                 static_cast<unsigned long>(ERROR_INTERNAL_ERROR));
    Sleep(200);
    commandLine = line;
    started = CreateProcessW(program.c_str(), &commandLine[0], nullptr, nullptr, inheritHandles, 0, nullptr,
                             nullptr, startup, process);
  }
  return started;
}

int RunAndWait(const std::wstring& program, const std::wstring& arguments, unsigned timeoutMs,
               const std::vector<std::pair<std::wstring, std::wstring>>& environment) {
  return RunWithHandles(program, arguments, timeoutMs, environment, nullptr, nullptr);
}

int RunCaptured(const std::wstring& program, const std::wstring& arguments, unsigned timeoutMs,
                std::string* out, std::string* err,
                const std::vector<std::pair<std::wstring, std::wstring>>& environment) {
  // A name of its own for every run: a program started earlier (with inherited handles) may still hold
  // the files of an earlier run open.
  static LONG runs = 0;
  const std::wstring stem = TempFolder() + L"run-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                            std::to_wstring(InterlockedIncrement(&runs));
  const std::wstring outPath = stem + L".out", errPath = stem + L".err";
  HANDLE outFile = InheritableFile(outPath);
  DWORD fileError = outFile == INVALID_HANDLE_VALUE ? GetLastError() : 0;
  HANDLE errFile = InheritableFile(errPath);
  if (errFile == INVALID_HANDLE_VALUE && fileError == 0) fileError = GetLastError();
  int code = -1;
  std::string why;
  if (outFile != INVALID_HANDLE_VALUE && errFile != INVALID_HANDLE_VALUE)
    code = RunWithHandles(program, arguments, timeoutMs, environment, outFile, errFile, &why);
  else
    why = "the files for the program's output could not be made (error " + std::to_string(fileError) + ")\n";
  if (outFile != INVALID_HANDLE_VALUE) CloseHandle(outFile);
  if (errFile != INVALID_HANDLE_VALUE) CloseHandle(errFile);
  if (out) *out = ReadFileText(outPath);
  // What went wrong in starting or waiting stands in front of what the program itself wrote.
  if (err) *err = (why.empty() ? std::string() : "run: " + why) + ReadFileText(errPath);
  DeleteFileW(outPath.c_str());
  DeleteFileW(errPath.c_str());
  return code;
}

std::string ReadFileText(const std::wstring& path) {
  HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return std::string();
  std::string bytes;
  std::vector<char> chunk(65536);
  DWORD read = 0;
  while (ReadFile(file, chunk.data(), static_cast<DWORD>(chunk.size()), &read, nullptr) && read > 0)
    bytes.append(chunk.data(), read);
  CloseHandle(file);
  return bytes;
}

std::vector<std::string> ReadFileLines(const std::wstring& path) {
  std::vector<std::string> lines;
  std::istringstream in(ReadFileText(path));
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

std::vector<uint8_t> ReadFileBytes(const std::wstring& path) {
  const std::string text = ReadFileText(path);
  return std::vector<uint8_t>(text.begin(), text.end());
}

bool WriteFileBytes(const std::wstring& path, const std::vector<uint8_t>& bytes) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  BOOL ok = bytes.empty() || WriteFile(file, bytes.data(), DWORD(bytes.size()), &written, nullptr);
  CloseHandle(file);
  return ok && written == bytes.size();
}

bool WriteFileText(const std::wstring& path, const std::string& text) {
  return WriteFileBytes(path, std::vector<uint8_t>(text.begin(), text.end()));
}

bool FileExists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

int64_t FileSizeOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return -1;
  return (int64_t(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

OwnObjectStore::OwnObjectStore(const wchar_t* path) {
  wchar_t given[MAX_PATH];
  if (GetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", given, MAX_PATH) == 0) {
    SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", path);
    DeleteFileW(path);
  }
}

}  // namespace testpaths
