// Helpers for the object store's tests: a store file of the test's own, databases with unique names,
// records, and child processes whose output is read through a pipe.
#pragma once
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "windbase.h"

namespace storekit {

// The folder of the tests' store files (made on first use), with a trailing backslash.
std::wstring WorkDir();
// The store file of this test program; PAGEMARK_OBJECT_STORE names it before the first Ce call, and the
// file is deleted then so that the run starts from an empty store.
std::wstring TestStorePath();
void UseTestStore();

// A database name that no other test uses.
std::wstring UniqueName(const wchar_t* stem);
// Creates a database and returns its oid (0 on failure).
CEOID MakeDb(const std::wstring& name, std::vector<SORTORDERSPEC> sorts = {}, DWORD type = 0);
HANDLE OpenDb(CEOID oid, CEPROPID sort = 0, DWORD flags = 0);

CEPROPVAL I2(WORD id, short v);
CEPROPVAL UI2(WORD id, USHORT v);
CEPROPVAL I4(WORD id, long v);
CEPROPVAL UI4(WORD id, ULONG v);
CEPROPVAL Text(WORD id, const wchar_t* v);
CEPROPVAL Blob(WORD id, const BYTE* p, DWORD n);
CEPROPVAL Bool(WORD id, BOOL v);
CEPROPVAL R8(WORD id, double v);
CEPROPVAL Time(WORD id, uint64_t v);
CEPROPVAL Deleted(CEPROPID propid);

CEOID Write(HANDLE h, CEOID oid, std::vector<CEPROPVAL> props);

// One read of the current record with CEDB_ALLOWREALLOC. `ids` empty reads all properties.
struct Read {
  CEOID oid = 0;
  DWORD error = 0;
  std::vector<CEPROPVAL> props;  // pointers into `block`
  LPBYTE block = nullptr;
  DWORD size = 0;
  ~Read();
  const CEPROPVAL* Find(CEPROPID id) const;
};
void ReadCurrent(HANDLE h, Read* out, std::vector<CEPROPID> ids = {});
// The oid and last error of a seek, with the index it reported (0xFFFFFFFF when untouched).
struct Seek {
  CEOID oid;
  DWORD error;
  DWORD index;
};
Seek SeekTo(HANDLE h, DWORD type, DWORD_PTR value);
Seek SeekValue(HANDLE h, DWORD type, const CEPROPVAL& v);

CEDBASEINFO DbInfo(CEOID oid);
uint64_t ModTime(CEOID oid);

// A child process of this test (a helper from the bin folder) with its standard output on a pipe.
class Child {
 public:
  Child() = default;
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  // Starts `program` (a file name in the bin folder) with the arguments; `storePath` empty keeps this
  // process's store for the child.
  bool Start(const std::wstring& program, const std::wstring& arguments, const std::wstring& storePath = L"");
  // The next line of output, without the line end; false on timeout or when the child closed its output.
  bool ReadLine(std::string* line, DWORD timeoutMs);
  // Waits for the child's end; its exit code, or -1 on timeout (the child is then killed).
  int Wait(DWORD timeoutMs);
  void Kill();
  // All output that remains once the child has ended.
  std::vector<std::string> RestOfOutput(DWORD timeoutMs);
  HANDLE Process() const { return process_; }

 private:
  HANDLE process_ = nullptr;
  HANDLE out_ = nullptr;
  std::string pending_;
  bool closed_ = false;
};

std::vector<std::string> Split(const std::string& line);
std::string ReadFileBytes(const std::wstring& path);
bool WriteFileBytes(const std::wstring& path, const std::string& bytes);
std::string Narrow(const std::wstring& w);

}  // namespace storekit
