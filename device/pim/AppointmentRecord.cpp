#include "AppointmentRecord.h"

#include <stdio.h>

namespace {

const wchar_t kDatabase[] = L"Appointments Database";
// The stand-in's own property numbers for the record's four values.
const CEPROPID kSubject = MAKE_CEPROPID(0x0001, CEVT_LPWSTR);
const CEPROPID kStart = MAKE_CEPROPID(0x0002, CEVT_FILETIME);
const CEPROPID kDuration = MAKE_CEPROPID(0x0003, CEVT_I4);
const CEPROPID kBody = MAKE_CEPROPID(0x0004, CEVT_LPWSTR);

HANDLE OpenAppointments(bool create) {
  CEOID database = 0;
  HANDLE handle = CeOpenDatabase(&database, const_cast<LPWSTR>(kDatabase), 0, 0, nullptr);
  if (handle != INVALID_HANDLE_VALUE || !create) return handle;
  if (CeCreateDatabase(const_cast<LPWSTR>(kDatabase), 0, 0, nullptr) == 0) return INVALID_HANDLE_VALUE;
  database = 0;
  return CeOpenDatabase(&database, const_cast<LPWSTR>(kDatabase), 0, 0, nullptr);
}

}  // namespace

bool SaveAppointmentRecord(AppointmentRecord& record) {
  HANDLE handle = OpenAppointments(true);
  if (handle == INVALID_HANDLE_VALUE) return false;
  CEPROPVAL values[4] = {};
  values[0].propid = kSubject;
  values[0].val.lpwstr = const_cast<LPWSTR>(record.subject.c_str());
  values[1].propid = kStart;
  SystemTimeToFileTime(&record.start, &values[1].val.filetime);
  values[2].propid = kDuration;
  values[2].val.lVal = record.durationMinutes;
  values[3].propid = kBody;
  values[3].val.lpwstr = const_cast<LPWSTR>(record.body.c_str());
  CEOID written = CeWriteRecordProps(handle, record.oid, 4, values);
  DWORD error = GetLastError();
  CloseHandle(handle);
  if (written == 0) {
    SetLastError(error);
    return false;
  }
  record.oid = written;
  return true;
}

bool LoadAppointmentRecord(CEOID oid, AppointmentRecord& record) {
  HANDLE handle = OpenAppointments(false);
  if (handle == INVALID_HANDLE_VALUE) return false;
  bool loaded = false;
  DWORD index = 0;
  if (oid != 0 && CeSeekDatabase(handle, CEDB_SEEK_CEOID, oid, &index) == oid) {
    WORD count = 0;
    LPBYTE buffer = nullptr;
    DWORD size = 0;
    if (CeReadRecordProps(handle, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size) == oid) {
      record = AppointmentRecord();
      record.oid = oid;
      const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(buffer);
      for (WORD i = 0; i < count; ++i) {
        if (values[i].wFlags & CEDB_PROPNOTFOUND) continue;
        if (values[i].propid == kSubject) record.subject = values[i].val.lpwstr;
        if (values[i].propid == kBody) record.body = values[i].val.lpwstr;
        if (values[i].propid == kDuration) record.durationMinutes = values[i].val.lVal;
        if (values[i].propid == kStart) FileTimeToSystemTime(&values[i].val.filetime, &record.start);
      }
      loaded = true;
    }
    if (buffer) LocalFree(buffer);
  }
  CloseHandle(handle);
  return loaded;
}

namespace {

// The text with its control characters written as \xNN, so that it stays on one journal line.
std::wstring OneLine(const std::wstring& text) {
  std::wstring line;
  for (wchar_t ch : text) {
    if (ch >= 0x20) {
      line += ch;
      continue;
    }
    wchar_t escaped[8];
    swprintf(escaped, 8, L"\\x%02x", static_cast<unsigned>(ch));
    line += escaped;
  }
  return line;
}

}  // namespace

std::wstring DescribeAppointment(const AppointmentRecord& record) {
  wchar_t when[40];
  swprintf(when, 40, L"%04u-%02u-%02u %02u:%02u", record.start.wYear, record.start.wMonth, record.start.wDay,
           record.start.wHour, record.start.wMinute);
  return L"subject=\"" + OneLine(record.subject) + L"\" start=" + when + L" duration=" +
         std::to_wstring(record.durationMinutes) + L" body=\"" + OneLine(record.body) + L"\"";
}
