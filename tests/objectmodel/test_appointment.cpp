// Appointments through the object model: made, saved, shown by the device's calendar and opened there
// for editing; and the popup's command that makes one from the contact under the list's caret.
#include <doctest/doctest.h>
#include <windows.h>

#include <stdio.h>
#include <string>

#include "ItemFixture.h"
#include "ObjectModelSupport.h"
#include "plugins/PimObjectModel.h"
#include "today/PopupWnd.h"

using omtest::EventsSince;
using omtest::JournalMark;
using omtest::WaitForEvents;

namespace {

// The text as the device's journal writes it: control characters as \xNN.
std::string Escaped(const std::wstring& text) {
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
  return omtest::Narrow(line);
}

std::string Description(const std::wstring& subject, const std::string& start, const std::wstring& body) {
  return "subject=\"" + Escaped(subject) + "\" start=" + start + " duration=15 body=\"" + Escaped(body) +
         "\"";
}

// The record id that an "appointment save N ..." or "show N ..." event names.
std::string IdOf(const std::string& event, const std::string& verb) {
  if (event.compare(0, verb.size(), verb) != 0) return "";
  size_t end = event.find(' ', verb.size());
  return event.substr(verb.size(), end == std::string::npos ? std::string::npos : end - verb.size());
}

std::string Minute(const SYSTEMTIME& time) {
  char text[32];
  snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u", time.wYear, time.wMonth, time.wDay, time.wHour,
           time.wMinute);
  return text;
}

// What the object model and the calendar journal for one appointment, checked in order.
void CheckAppointmentJournal(size_t mark, const std::string& description) {
  std::vector<std::string> calendar = WaitForEvents(mark, "calendar", 2, 25000);
  REQUIRE(calendar.size() >= 2);
  std::vector<std::string> model = EventsSince(mark, "pimstore");
  std::vector<std::string> appointment;
  for (const std::string& event : model)
    if (event.compare(0, 12, "appointment ") == 0) appointment.push_back(event);
  REQUIRE(appointment.size() == 3);
  const std::string id = IdOf(appointment[0], "appointment save ");
  REQUIRE(!id.empty());
  CHECK(appointment[0] == "appointment save " + id + " " + description);
  CHECK(appointment[1] == "appointment display " + id);
  CHECK(appointment[2] == "appointment save " + id + " " + description);
  // The calendar shows that record, then is asked to open it for editing.
  CHECK(calendar[0] == "show " + id + " " + description);
  CHECK(calendar[1] == "command 105");
}

// The device without its calendar program for as long as it lives.
struct CalendarAway {
  bool moved;
  CalendarAway() : moved(MoveFileW(L"\\windows\\calendar.exe", L"\\windows\\calendar.exe.away") != FALSE) {}
  ~CalendarAway() {
    if (moved) MoveFileW(L"\\windows\\calendar.exe.away", L"\\windows\\calendar.exe");
  }
};

}  // namespace

TEST_CASE("an appointment of 15 minutes is saved, shown in the calendar and opened there for editing") {
  PimObjectModel model;
  size_t mark = JournalMark();
  SYSTEMTIME start = {};
  start.wYear = 2026;
  start.wMonth = 12;
  start.wDay = 3;
  start.wHour = 14;
  start.wMinute = 30;
  const std::wstring body = std::wstring(L"Mobile: 222") + wchar_t(0x000D) + wchar_t(0x0007) + L"Boat: 333";
  CHECK(model.MakeAppointment(Str(L"Dr. Ida Berg"), Str(body.c_str()), start));
  CHECK(EventsSince(mark, "pimstore").front() == "logon window=0");
  CheckAppointmentJournal(mark, Description(L"Dr. Ida Berg", "2026-12-03 14:30", body));
  omtest::CloseCalendar(mark);
}

TEST_CASE("a calendar that can't be started fails the appointment after its first save") {
  CalendarAway away;
  REQUIRE(away.moved);
  PimObjectModel model;
  size_t mark = JournalMark();
  SYSTEMTIME start = {};
  GetLocalTime(&start);
  CHECK_FALSE(model.MakeAppointment(Str(L"Otto Quinn"), Str(), start));
  std::vector<std::string> events = EventsSince(mark, "pimstore");
  CHECK(omtest::CountStartingWith(events, "appointment save ") == 1);
  CHECK(omtest::CountStartingWith(events, "appointment display ") == 1);
}

TEST_CASE_FIXTURE(ItemFixture, "the popup's appointment command makes one from the contact under the caret") {
  People();
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  PopupWnd& popup = g_pimToday->GetPopup();
  ListPosition at = popup.GetList().GetCurrent();
  REQUIRE(at.group >= 0);
  REQUIRE(at.item >= 0);
  Contact contact;
  REQUIRE(g_dataSource.ReadAt(at.group, at.item, contact));
  Str subject, body;
  PopupWnd::ComposeAppointment(contact, subject, body);
  REQUIRE(subject.GetLength() > 0);

  size_t mark = JournalMark();
  SYSTEMTIME before;
  GetLocalTime(&before);
  // What the list does for its "appointment" command: the listener's operation.
  popup.OnMakeAppointment();
  SYSTEMTIME after;
  GetLocalTime(&after);
  std::vector<std::string> calendar = WaitForEvents(mark, "calendar", 2, 25000);
  REQUIRE(calendar.size() >= 2);
  // It starts at the minute it was made.
  std::string made = Minute(before);
  std::vector<std::string> saves;
  for (const std::string& event : EventsSince(mark, "pimstore"))
    if (event.compare(0, 17, "appointment save ") == 0) saves.push_back(event);
  REQUIRE(saves.size() == 2);
  if (saves[0].find(" start=" + made + " ") == std::string::npos) made = Minute(after);
  CheckAppointmentJournal(mark, Description(std::wstring(subject), made, std::wstring(body)));
  omtest::CloseCalendar(mark);
  DeleteAllContacts();
}
