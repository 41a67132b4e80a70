// storehelper: the second process of the object store's tests. It works on the store that
// PAGEMARK_OBJECT_STORE names and reports on standard output, one line per event, flushed at once.
//   listen NAME COUNT TIMEOUTMS   opens NAME with a notification request (and a legacy notify window),
//                                 prints "ready OID", then one line per notification received, until
//                                 COUNT WM_DBNOTIFICATIONs came or the time ran out; "done N" at the end
//   burst NAME COUNT BLOBSIZE     writes COUNT records, printing "ack OID SEQ" after each write returns
//   write NAME VALUE              writes one record, prints "wrote OID"
//   read NAME                     prints "rec OID VALUE" per record in creation order, then "end ERROR"
//   hold NAME MS                  opens NAME, prints "holding", keeps it open for MS milliseconds
//   populate                      fills the store with databases of every value type:
//                                 "populated DBS RECORDS CREATED"
//   churn NAME N BLOBSIZE         rewrites one big record N times: "churned OID"
//   probe                         reads every record of every database in every order and checks each
//                                 record's checksum: "ok DBS RECS", "refused ERROR", or "bad ..." lines
#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "windbase.h"

namespace {

const CEPROPID kValue = MAKE_CEPROPID(1, CEVT_I4);
const CEPROPID kBlob = MAKE_CEPROPID(2, CEVT_BLOB);
const CEPROPID kSum = MAKE_CEPROPID(0xFFF0, CEVT_UI4);

void Say(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(stdout, fmt, ap);
  va_end(ap);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

std::wstring Wide(const char* s) {
  int n = MultiByteToWideChar(CP_UTF8, 0, s, -1, nullptr, 0);
  std::wstring w(static_cast<size_t>(n > 0 ? n - 1 : 0), L'\0');
  if (n > 1) MultiByteToWideChar(CP_UTF8, 0, s, -1, &w[0], n);
  return w;
}

// Order-independent checksum of a record's properties other than the checksum itself.
uint32_t PropHash(const CEPROPVAL& v) {
  uint32_t h = 2166136261u;
  auto mix = [&](const void* p, size_t n) {
    const BYTE* b = static_cast<const BYTE*>(p);
    for (size_t i = 0; i < n; ++i) {
      h ^= b[i];
      h *= 16777619u;
    }
  };
  mix(&v.propid, 4);
  switch (TypeFromPropID(v.propid)) {
    case CEVT_I2:
    case CEVT_UI2:
      mix(&v.val.iVal, 2);
      break;
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      mix(&v.val.lVal, 4);
      break;
    case CEVT_FILETIME:
    case CEVT_R8:
      mix(&v.val.filetime, 8);
      break;
    case CEVT_LPWSTR:
      if (v.val.lpwstr) mix(v.val.lpwstr, wcslen(v.val.lpwstr) * 2);
      break;
    case CEVT_BLOB:
      if (v.val.blob.lpb) mix(v.val.blob.lpb, v.val.blob.dwCount);
      break;
  }
  return h;
}

uint32_t RecordSum(const CEPROPVAL* props, size_t count) {
  uint32_t sum = 0;
  for (size_t i = 0; i < count; ++i) {
    if (props[i].propid != kSum && !(props[i].wFlags & CEDB_PROPNOTFOUND)) sum += PropHash(props[i]);
  }
  return sum;
}

CEOID WriteWithSum(HANDLE h, CEOID oid, std::vector<CEPROPVAL> props) {
  CEPROPVAL sum;
  std::memset(&sum, 0, sizeof sum);
  sum.propid = kSum;
  sum.val.ulVal = RecordSum(props.data(), props.size());
  props.push_back(sum);
  return CeWriteRecordProps(h, oid, static_cast<WORD>(props.size()), props.data());
}

CEPROPVAL Val(CEPROPID id) {
  CEPROPVAL v;
  std::memset(&v, 0, sizeof v);
  v.propid = id;
  return v;
}

HANDLE OpenDbHandle(CEOID db) {
  CEOID o = db;
  return CeOpenDatabase(&o, nullptr, 0, 0, nullptr);
}

HANDLE OpenByName(const std::wstring& name, CEOID* oid, DWORD flags = 0) {
  *oid = 0;
  return CeOpenDatabase(oid, const_cast<LPWSTR>(name.c_str()), 0, flags, nullptr);
}

// ---- listen -------------------------------------------------------------------------------------------

CENOTIFYREQUEST g_request;
HANDLE g_listenHandle = INVALID_HANDLE_VALUE;
int g_exCount = 0;

void ReportValue(CEOID oid) {
  DWORD index = 0;
  if (!CeSeekDatabase(g_listenHandle, CEDB_SEEK_CEOID, oid, &index)) {
    Say("unseen %lu %lu", oid, GetLastError());
    return;
  }
  LPBYTE buf = nullptr;
  DWORD size = 0;
  WORD count = 1;
  CEPROPID id = kValue;
  CEOID got = CeReadRecordProps(g_listenHandle, CEDB_ALLOWREALLOC, &count, &id, &buf, &size);
  const CEPROPVAL* v = reinterpret_cast<const CEPROPVAL*>(buf);
  if (got && v && !(v->wFlags & CEDB_PROPNOTFOUND)) {
    Say("seen %lu %ld", oid, v->val.lVal);
  } else {
    Say("unseen %lu %lu", oid, GetLastError());
  }
  if (buf) LocalFree(buf);
}

LRESULT CALLBACK ListenProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_DBNOTIFICATION) {
    CENOTIFICATION* n = reinterpret_cast<CENOTIFICATION*>(lp);
    Say("ex %u %lu %lu %lu %lu", n->uType, n->oid, n->oidParent, n->dwParam, n->dwSize);
    if (n->uType == DB_CEOID_CREATED || n->uType == DB_CEOID_CHANGED) ReportValue(n->oid);
    if (!CeFreeNotification(&g_request, n)) Say("free-failed %lu", GetLastError());
    ++g_exCount;
    return 0;
  }
  if (msg >= DB_CEOID_CREATED && msg <= DB_CEOID_CHANGED) {
    Say("legacy %u %lu %lu", msg, static_cast<unsigned long>(wp), static_cast<unsigned long>(lp));
    return 0;
  }
  return DefWindowProcW(hwnd, msg, wp, lp);
}

int Listen(const std::wstring& name, int count, DWORD timeoutMs) {
  WNDCLASSW wc{};
  wc.lpfnWndProc = ListenProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"StoreHelperListen";
  RegisterClassW(&wc);
  HWND hwnd =
      CreateWindowExW(0, wc.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, wc.hInstance, nullptr);
  std::memset(&g_request, 0, sizeof g_request);
  g_request.dwSize = 20;
  g_request.hwnd = hwnd;
  g_request.dwFlags = CEDB_EXNOTIFICATION;
  g_request.hHeap = HeapCreate(0, 0, 0);
  g_request.dwParam = 0xC0FFEE;
  CEGUID guid;
  CREATE_INVALIDGUID(&guid);
  CEOID oid = 0;
  g_listenHandle = CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(name.c_str()), 0, 0, &g_request);
  if (g_listenHandle == INVALID_HANDLE_VALUE) {
    Say("open-failed %lu", GetLastError());
    return 1;
  }
  CEOID legacyOid = 0;
  HANDLE legacy = CeOpenDatabase(&legacyOid, const_cast<LPWSTR>(name.c_str()), 0, 0, hwnd);
  if (legacy == INVALID_HANDLE_VALUE) {
    Say("open-failed %lu", GetLastError());
    return 1;
  }
  Say("ready %lu", oid);
  ULONGLONG deadline = GetTickCount64() + timeoutMs;
  while (g_exCount < count && GetTickCount64() < deadline) {
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
    MSG m;
    while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&m);
  }
  // Anything else that is already queued (legacy messages of the last change) still counts.
  ULONGLONG settle = GetTickCount64() + 300;
  while (GetTickCount64() < settle) {
    MSG m;
    while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&m);
    Sleep(10);
  }
  Say("done %d", g_exCount);
  CloseHandle(legacy);
  CloseHandle(g_listenHandle);
  return 0;
}

// ---- writers ------------------------------------------------------------------------------------------

int Burst(const std::wstring& name, int count, DWORD blobSize) {
  CEOID db = 0;
  HANDLE h = OpenByName(name, &db);
  if (h == INVALID_HANDLE_VALUE) {
    Say("open-failed %lu", GetLastError());
    return 1;
  }
  std::vector<BYTE> blob(blobSize);
  for (int i = 0; i < count; ++i) {
    for (DWORD k = 0; k < blobSize; ++k) blob[k] = static_cast<BYTE>(i * 31 + k);
    CEPROPVAL value = Val(kValue);
    value.val.lVal = i;
    CEPROPVAL b = Val(kBlob);
    b.val.blob.dwCount = blobSize;
    b.val.blob.lpb = blob.data();
    CEOID oid = WriteWithSum(h, 0, {value, b});
    if (!oid) {
      Say("write-failed %lu", GetLastError());
      return 1;
    }
    Say("ack %lu %d", oid, i);
  }
  CloseHandle(h);
  return 0;
}

int WriteOne(const std::wstring& name, long value) {
  CEOID db = 0;
  HANDLE h = OpenByName(name, &db);
  if (h == INVALID_HANDLE_VALUE) {
    Say("open-failed %lu", GetLastError());
    return 1;
  }
  CEPROPVAL v = Val(kValue);
  v.val.lVal = value;
  CEOID oid = CeWriteRecordProps(h, 0, 1, &v);
  Say("wrote %lu", oid);
  CloseHandle(h);
  return oid ? 0 : 1;
}

int ReadAll(const std::wstring& name) {
  CEOID db = 0;
  HANDLE h = OpenByName(name, &db, CEDB_AUTOINCREMENT);
  if (h == INVALID_HANDLE_VALUE) {
    Say("open-failed %lu", GetLastError());
    return 1;
  }
  LPBYTE buf = nullptr;
  DWORD size = 0;
  for (;;) {
    WORD count = 1;
    CEPROPID id = kValue;
    CEOID oid = CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, &id, &buf, &size);
    if (!oid) break;
    const CEPROPVAL* v = reinterpret_cast<const CEPROPVAL*>(buf);
    Say("rec %lu %ld", oid, (v->wFlags & CEDB_PROPNOTFOUND) ? -1L : v->val.lVal);
  }
  Say("end %lu", GetLastError());
  if (buf) LocalFree(buf);
  CloseHandle(h);
  return 0;
}

int Hold(const std::wstring& name, DWORD ms) {
  CEOID db = 0;
  HANDLE h = OpenByName(name, &db);
  if (h == INVALID_HANDLE_VALUE) {
    Say("open-failed %lu", GetLastError());
    return 1;
  }
  Say("holding");
  Sleep(ms);
  CloseHandle(h);
  return 0;
}

int Populate() {
  const wchar_t* words[] = {L"alpha", L"Bravo", L"charlie", L"Delta", L"echo", L"Foxtrot",
                            L"golf",  L"Hotel", L"Ünïcode", L"Zulu",  L"",     L"kilo lima"};
  int dbs = 0, recs = 0, created = 0;
  for (int d = 0; d < 3; ++d) {
    wchar_t name[32];
    swprintf(name, 32, L"Populated %d", d);
    SORTORDERSPEC sorts[3] = {{MAKE_CEPROPID(10, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE},
                              {MAKE_CEPROPID(11, CEVT_I4), CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST},
                              {MAKE_CEPROPID(12, CEVT_FILETIME), 0}};
    CEOID db = CeCreateDatabase(name, 0x1000u + static_cast<DWORD>(d), static_cast<WORD>(d + 1), sorts);
    if (!db) {
      Say("create-failed %lu", GetLastError());
      return 1;
    }
    ++dbs;
    HANDLE h = OpenDbHandle(db);
    std::vector<CEOID> made;
    for (int i = 0; i < 25; ++i) {
      std::vector<CEPROPVAL> p;
      CEPROPVAL t = Val(MAKE_CEPROPID(10, CEVT_LPWSTR));
      t.val.lpwstr = const_cast<LPWSTR>(words[i % 12]);
      p.push_back(t);
      if (i % 4 != 0) {
        CEPROPVAL n = Val(MAKE_CEPROPID(11, CEVT_I4));
        n.val.lVal = (i * 7919) % 100 - 50;
        p.push_back(n);
      }
      CEPROPVAL ft = Val(MAKE_CEPROPID(12, CEVT_FILETIME));
      ft.val.filetime.dwLowDateTime = static_cast<DWORD>(i * 1000003u);
      ft.val.filetime.dwHighDateTime = 0x01D00000u + static_cast<DWORD>(i % 3);
      p.push_back(ft);
      CEPROPVAL s = Val(MAKE_CEPROPID(13, CEVT_I2));
      s.val.iVal = static_cast<short>(-i);
      p.push_back(s);
      CEPROPVAL r = Val(MAKE_CEPROPID(14, CEVT_R8));
      r.val.dblVal = i / 3.0;
      p.push_back(r);
      BYTE bytes[40];
      for (int k = 0; k < 40; ++k) bytes[k] = static_cast<BYTE>(i + k);
      CEPROPVAL b = Val(MAKE_CEPROPID(15, CEVT_BLOB));
      b.val.blob.dwCount = static_cast<DWORD>(i % 40);
      b.val.blob.lpb = bytes;
      p.push_back(b);
      CEOID oid = WriteWithSum(h, 0, p);
      if (!oid) {
        Say("write-failed %lu", GetLastError());
        return 1;
      }
      made.push_back(oid);
      ++recs;
      ++created;
    }
    // Replacements and deletions, so that the file holds every kind of entry.
    for (size_t i = 0; i < made.size(); i += 5) {
      CEPROPVAL u = Val(MAKE_CEPROPID(16, CEVT_UI2));
      u.val.uiVal = static_cast<USHORT>(i);
      CEPROPVAL bo = Val(MAKE_CEPROPID(17, CEVT_BOOL));
      bo.val.boolVal = TRUE;
      CeSeekDatabase(h, CEDB_SEEK_CEOID, made[i], nullptr);
      LPBYTE buf = nullptr;
      DWORD size = 0;
      WORD count = 0;
      CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, nullptr, &buf, &size);
      std::vector<CEPROPVAL> p;
      const CEPROPVAL* v = reinterpret_cast<const CEPROPVAL*>(buf);
      for (WORD k = 0; k < count; ++k) {
        if (v[k].propid != kSum) p.push_back(v[k]);
      }
      p.push_back(u);
      p.push_back(bo);
      if (!WriteWithSum(h, made[i], p)) Say("rewrite-failed %lu", GetLastError());
      if (buf) LocalFree(buf);
    }
    for (size_t i = 3; i < made.size(); i += 7) {
      if (CeDeleteRecord(h, made[i])) --recs;
    }
    CloseHandle(h);
  }
  Say("populated %d %d %d", dbs, recs, created);
  return 0;
}

int Churn(const std::wstring& name, int n, DWORD blobSize) {
  CEOID db = CeCreateDatabase(const_cast<LPWSTR>(name.c_str()), 0, 0, nullptr);
  if (!db) {
    Say("create-failed %lu", GetLastError());
    return 1;
  }
  HANDLE h = OpenDbHandle(db);
  std::vector<BYTE> blob(blobSize);
  CEOID big = 0;
  for (int i = 0; i < n; ++i) {
    for (DWORD k = 0; k < blobSize; ++k) blob[k] = static_cast<BYTE>(i + k * 3);
    CEPROPVAL value = Val(kValue);
    value.val.lVal = i;
    CEPROPVAL b = Val(kBlob);
    b.val.blob.dwCount = blobSize;
    b.val.blob.lpb = blob.data();
    big = WriteWithSum(h, big, {value, b});
    if (!big) {
      Say("write-failed %lu", GetLastError());
      return 1;
    }
  }
  for (int i = 0; i < 5; ++i) {
    CEPROPVAL value = Val(kValue);
    value.val.lVal = 1000 + i;
    WriteWithSum(h, 0, {value});
  }
  CloseHandle(h);
  Say("churned %lu", big);
  return 0;
}

int Probe() {
  HANDLE e = CeFindFirstDatabase(0);
  if (e == INVALID_HANDLE_VALUE) {
    Say("refused %lu", GetLastError());
    return 0;
  }
  int dbs = 0, recs = 0, bad = 0;
  CEOID db;
  while ((db = CeFindNextDatabase(e)) != 0) {
    CEOIDINFO info;
    if (!CeOidGetInfo(db, &info) || info.wObjType != OBJTYPE_DATABASE) {
      Say("bad info %lu %lu", db, GetLastError());
      ++bad;
      continue;
    }
    ++dbs;
    const CEDBASEINFO& d = info.infDatabase;
    for (int order = -1; order < d.wNumSortOrder; ++order) {
      CEOID o = db;
      CEPROPID sort = order < 0 ? 0 : d.rgSortSpecs[order].propid;
      HANDLE h = CeOpenDatabase(&o, nullptr, sort, CEDB_AUTOINCREMENT, nullptr);
      if (h == INVALID_HANDLE_VALUE) {
        Say("bad open %lu %lu", db, GetLastError());
        ++bad;
        continue;
      }
      LPBYTE buf = nullptr;
      DWORD size = 0;
      int n = 0;
      for (;;) {
        WORD count = 0;
        CEOID oid = CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, nullptr, &buf, &size);
        if (!oid) {
          if (GetLastError() != ERROR_NO_MORE_ITEMS) {
            Say("bad read %lu %lu", db, GetLastError());
            ++bad;
          }
          break;
        }
        ++n;
        const CEPROPVAL* v = reinterpret_cast<const CEPROPVAL*>(buf);
        const CEPROPVAL* sum = nullptr;
        for (WORD k = 0; k < count; ++k) {
          if (v[k].propid == kSum) sum = &v[k];
        }
        if (sum && sum->val.ulVal != RecordSum(v, count)) {
          Say("bad sum %lu", oid);
          ++bad;
        }
      }
      if (buf) LocalFree(buf);
      CloseHandle(h);
      if (order < 0) recs += n;
      if (n != d.wNumRecords) {
        Say("bad count %lu %d %u", db, n, d.wNumRecords);
        ++bad;
      }
    }
  }
  DWORD end = GetLastError();
  CloseHandle(e);
  if (end == ERROR_FILE_CORRUPT) {
    Say("refused %lu", end);
  } else if (!bad) {
    Say("ok %d %d", dbs, recs);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string verb = argc > 1 ? argv[1] : "";
  if (verb == "listen" && argc == 5)
    return Listen(Wide(argv[2]), std::atoi(argv[3]), std::strtoul(argv[4], nullptr, 10));
  if (verb == "burst" && argc == 5)
    return Burst(Wide(argv[2]), std::atoi(argv[3]), std::strtoul(argv[4], nullptr, 10));
  if (verb == "write" && argc == 4) return WriteOne(Wide(argv[2]), std::atol(argv[3]));
  if (verb == "read" && argc == 3) return ReadAll(Wide(argv[2]));
  if (verb == "hold" && argc == 4) return Hold(Wide(argv[2]), std::strtoul(argv[3], nullptr, 10));
  if (verb == "populate" && argc == 2) return Populate();
  if (verb == "churn" && argc == 5)
    return Churn(Wide(argv[2]), std::atoi(argv[3]), std::strtoul(argv[4], nullptr, 10));
  if (verb == "probe" && argc == 2) return Probe();
  std::fprintf(stderr, "storehelper: bad arguments\n");
  return 2;
}
