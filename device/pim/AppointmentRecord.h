// The appointments of the stand-in device: records of its "Appointments Database", written by the
// object model's appointments and read by the calendar program that shows them.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <string>

struct AppointmentRecord {
  CEOID oid = 0;  // 0 until first saved
  std::wstring subject;
  std::wstring body;
  SYSTEMTIME start = {};  // local time
  long durationMinutes = 0;
};

// Writes the record, a new one when `oid` is 0 (and then sets it); false with the store's last error.
bool SaveAppointmentRecord(AppointmentRecord& record);
// Reads record `oid`; false when there is none.
bool LoadAppointmentRecord(CEOID oid, AppointmentRecord& record);
// One line for the journal: subject="..." start=YYYY-MM-DD hh:mm duration=N body="..."
std::wstring DescribeAppointment(const AppointmentRecord& record);
