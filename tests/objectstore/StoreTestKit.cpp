#include "StoreTestKit.h"

#include <TestPaths.h>

#include <cstring>

namespace storekit {

std::wstring WorkDir() {
  wchar_t win[MAX_PATH];
  GetWindowsDirectoryW(win, MAX_PATH);
  std::wstring dir = std::wstring(win, 2) + L"\\Temp";
  CreateDirectoryW(dir.c_str(), nullptr);
  dir += L"\\objectstore-tests";
  CreateDirectoryW(dir.c_str(), nullptr);
  return dir + L"\\";
}

std::wstring TestStorePath() { return WorkDir() + L"conformance.cdb"; }

void UseTestStore() {
  static bool done = false;
  if (done) return;
  done = true;
  std::wstring path = TestStorePath();
  DeleteFileW(path.c_str());
  DeleteFileW((WorkDir() + L"conformance.log").c_str());
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", path.c_str());
}

// Every Ce call of this program goes to the test store: set it before any test runs.
static const bool g_storeChosen = (UseTestStore(), true);

std::wstring UniqueName(const wchar_t* stem) {
  static unsigned counter = 0;
  wchar_t buf[64];
  swprintf(buf, 64, L"%ls %lu-%u", stem, static_cast<unsigned long>(GetCurrentProcessId()), ++counter);
  return buf;
}

CEOID MakeDb(const std::wstring& name, std::vector<SORTORDERSPEC> sorts, DWORD type) {
  UseTestStore();
  return CeCreateDatabase(const_cast<LPWSTR>(name.c_str()), type, static_cast<WORD>(sorts.size()),
                          sorts.empty() ? nullptr : sorts.data());
}

HANDLE OpenDb(CEOID oid, CEPROPID sort, DWORD flags) {
  CEOID o = oid;
  return CeOpenDatabase(&o, nullptr, sort, flags, nullptr);
}

static CEPROPVAL Val(WORD id, WORD type) {
  CEPROPVAL v;
  std::memset(&v, 0, sizeof v);
  v.propid = MAKE_CEPROPID(id, type);
  return v;
}

CEPROPVAL I2(WORD id, short x) {
  CEPROPVAL v = Val(id, CEVT_I2);
  v.val.iVal = x;
  return v;
}
CEPROPVAL UI2(WORD id, USHORT x) {
  CEPROPVAL v = Val(id, CEVT_UI2);
  v.val.uiVal = x;
  return v;
}
CEPROPVAL I4(WORD id, long x) {
  CEPROPVAL v = Val(id, CEVT_I4);
  v.val.lVal = x;
  return v;
}
CEPROPVAL UI4(WORD id, ULONG x) {
  CEPROPVAL v = Val(id, CEVT_UI4);
  v.val.ulVal = x;
  return v;
}
CEPROPVAL Text(WORD id, const wchar_t* x) {
  CEPROPVAL v = Val(id, CEVT_LPWSTR);
  v.val.lpwstr = const_cast<LPWSTR>(x);
  return v;
}
CEPROPVAL Blob(WORD id, const BYTE* p, DWORD n) {
  CEPROPVAL v = Val(id, CEVT_BLOB);
  v.val.blob.dwCount = n;
  v.val.blob.lpb = const_cast<LPBYTE>(p);
  return v;
}
CEPROPVAL Bool(WORD id, BOOL x) {
  CEPROPVAL v = Val(id, CEVT_BOOL);
  v.val.boolVal = x;
  return v;
}
CEPROPVAL R8(WORD id, double x) {
  CEPROPVAL v = Val(id, CEVT_R8);
  v.val.dblVal = x;
  return v;
}
CEPROPVAL Time(WORD id, uint64_t x) {
  CEPROPVAL v = Val(id, CEVT_FILETIME);
  v.val.filetime.dwLowDateTime = static_cast<DWORD>(x);
  v.val.filetime.dwHighDateTime = static_cast<DWORD>(x >> 32);
  return v;
}
CEPROPVAL Deleted(CEPROPID propid) {
  CEPROPVAL v;
  std::memset(&v, 0, sizeof v);
  v.propid = propid;
  v.wFlags = CEDB_PROPDELETE;
  return v;
}

CEOID Write(HANDLE h, CEOID oid, std::vector<CEPROPVAL> props) {
  return CeWriteRecordProps(h, oid, static_cast<WORD>(props.size()), props.data());
}

Read::~Read() {
  if (block) LocalFree(block);
}

const CEPROPVAL* Read::Find(CEPROPID id) const {
  for (const CEPROPVAL& v : props) {
    if (v.propid == id) return &v;
  }
  return nullptr;
}

void ReadCurrent(HANDLE h, Read* out, std::vector<CEPROPID> ids) {
  WORD count = static_cast<WORD>(ids.size());
  SetLastError(0xDEAD);
  out->oid = CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, ids.empty() ? nullptr : ids.data(), &out->block,
                               &out->size);
  out->error = GetLastError();
  out->props.clear();
  if (out->oid && out->block) {
    const CEPROPVAL* p = reinterpret_cast<const CEPROPVAL*>(out->block);
    out->props.assign(p, p + count);
  }
}

Seek SeekTo(HANDLE h, DWORD type, DWORD_PTR value) {
  Seek s;
  s.index = 0xFFFFFFFF;
  SetLastError(0xDEAD);
  s.oid = CeSeekDatabase(h, type, value, &s.index);
  s.error = GetLastError();
  return s;
}

Seek SeekValue(HANDLE h, DWORD type, const CEPROPVAL& v) {
  return SeekTo(h, type, reinterpret_cast<DWORD_PTR>(&v));
}

CEDBASEINFO DbInfo(CEOID oid) {
  CEOIDINFO info;
  std::memset(&info, 0, sizeof info);
  CeOidGetInfo(oid, &info);
  return info.infDatabase;
}

uint64_t ModTime(CEOID oid) {
  CEDBASEINFO d = DbInfo(oid);
  return (static_cast<uint64_t>(d.ftLastModified.dwHighDateTime) << 32) | d.ftLastModified.dwLowDateTime;
}

// ---- Child processes ---------------------------------------------------------------------------------

Child::~Child() {
  Kill();
  if (out_) CloseHandle(out_);
}

bool Child::Start(const std::wstring& program, const std::wstring& arguments, const std::wstring& storePath) {
  SECURITY_ATTRIBUTES sa{sizeof sa, nullptr, TRUE};
  HANDLE readEnd = nullptr, writeEnd = nullptr;
  if (!CreatePipe(&readEnd, &writeEnd, &sa, 1 << 16)) return false;
  SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
  std::wstring exe = testpaths::BinDir() + program;
  std::wstring commandLine = L"\"" + exe + L"\" " + arguments;
  STARTUPINFOW si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdOutput = writeEnd;
  si.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  std::wstring saved = TestStorePath();
  if (!storePath.empty()) SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", storePath.c_str());
  PROCESS_INFORMATION pi{};
  BOOL ok = testpaths::StartProcess(exe, commandLine, TRUE, &si, &pi);
  if (!storePath.empty()) SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", saved.c_str());
  CloseHandle(writeEnd);
  if (!ok) {
    CloseHandle(readEnd);
    return false;
  }
  CloseHandle(pi.hThread);
  process_ = pi.hProcess;
  out_ = readEnd;
  return true;
}

bool Child::ReadLine(std::string* line, DWORD timeoutMs) {
  ULONGLONG deadline = GetTickCount64() + timeoutMs;
  for (;;) {
    size_t nl = pending_.find('\n');
    if (nl != std::string::npos) {
      *line = pending_.substr(0, nl);
      if (!line->empty() && line->back() == '\r') line->pop_back();
      pending_.erase(0, nl + 1);
      return true;
    }
    if (closed_) return false;
    DWORD avail = 0;
    if (!PeekNamedPipe(out_, nullptr, 0, nullptr, &avail, nullptr)) {
      closed_ = true;
      continue;
    }
    if (avail) {
      std::string buf(avail, '\0');
      DWORD got = 0;
      if (!ReadFile(out_, &buf[0], avail, &got, nullptr)) {
        closed_ = true;
        continue;
      }
      pending_.append(buf, 0, got);
      continue;
    }
    if (GetTickCount64() >= deadline) return false;
    Sleep(5);
  }
}

int Child::Wait(DWORD timeoutMs) {
  if (!process_) return -1;
  if (WaitForSingleObject(process_, timeoutMs) != WAIT_OBJECT_0) {
    Kill();
    return -1;
  }
  DWORD code = 0;
  GetExitCodeProcess(process_, &code);
  return static_cast<int>(code);
}

void Child::Kill() {
  if (!process_) return;
  TerminateProcess(process_, 0xDEAD);
  WaitForSingleObject(process_, 10000);
  CloseHandle(process_);
  process_ = nullptr;
}

std::vector<std::string> Child::RestOfOutput(DWORD timeoutMs) {
  std::vector<std::string> lines;
  std::string line;
  while (ReadLine(&line, timeoutMs)) lines.push_back(line);
  if (!pending_.empty()) lines.push_back(pending_);
  pending_.clear();
  return lines;
}

std::vector<std::string> Split(const std::string& line) {
  std::vector<std::string> out;
  size_t i = 0;
  while (i < line.size()) {
    size_t j = line.find(' ', i);
    if (j == std::string::npos) j = line.size();
    if (j > i) out.push_back(line.substr(i, j - i));
    i = j + 1;
  }
  return out;
}

std::string ReadFileBytes(const std::wstring& path) {
  std::string bytes;
  HANDLE h = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                         nullptr, OPEN_EXISTING, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return bytes;
  LARGE_INTEGER size;
  GetFileSizeEx(h, &size);
  bytes.resize(static_cast<size_t>(size.QuadPart));
  DWORD got = 0;
  if (!bytes.empty()) ReadFile(h, &bytes[0], static_cast<DWORD>(bytes.size()), &got, nullptr);
  bytes.resize(got);
  CloseHandle(h);
  return bytes;
}

bool WriteFileBytes(const std::wstring& path, const std::string& bytes) {
  HANDLE h = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD put = 0;
  BOOL ok = bytes.empty() || WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &put, nullptr);
  CloseHandle(h);
  return ok && put == bytes.size();
}

std::string Narrow(const std::wstring& w) {
  std::string s;
  for (wchar_t c : w) s.push_back(c < 128 ? static_cast<char>(c) : '?');
  return s;
}

}  // namespace storekit
