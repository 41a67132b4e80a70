// SMS, mail, web pages and linked files: the command lines the device's programs receive.
#include <doctest/doctest.h>
#include <string>
#include "PhoneTestSupport.h"
#include "TestRegistry.h"
#include "TracerBoxWatcher.h"
#include "foundation/Settings.h"
#include "phone/Communication.h"

using namespace phonetest;

namespace {

const wchar_t kInboxKey[] = L"Software\\Microsoft\\Shell\\Rai\\:MSINBOX";

void SetMailProgram(const wchar_t* program) {
  if (program) {
    testreg::WriteString(HKEY_LOCAL_MACHINE, kInboxKey, L"1", program);
  } else {
    HKEY key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kInboxKey, 0, KEY_WRITE, &key) == ERROR_SUCCESS) {
      RegDeleteValueW(key, L"1");
      RegCloseKey(key);
    }
  }
}

std::wstring MailProgram() {
  Str program;
  GetMailProgram(program);
  return std::wstring(program);
}

}  // namespace

TEST_SUITE_BEGIN("phone");

TEST_CASE("GetMailProgram: the inbox's program without quotes, else tmail.exe; the key is made") {
  testreg::DeleteTree(HKEY_LOCAL_MACHINE, kInboxKey);
  CHECK(MailProgram() == L"tmail.exe");
  CHECK(testreg::KeyExists(HKEY_LOCAL_MACHINE, kInboxKey));
  SetMailProgram(L"\"\\windows\\pmail.exe\"");
  CHECK(MailProgram() == L"\\windows\\pmail.exe");
  SetMailProgram(L"");
  CHECK(MailProgram() == L"tmail.exe");
  SetMailProgram(nullptr);
}

TEST_CASE("SendMail starts the mail program with -To and the address") {
  SetMailProgram(nullptr);
  const size_t mark = JournalMark();
  SendMail(L"ivan.petrov@example.com");
  CHECK(WaitForEvent(mark, "tmail", "run -To \"ivan.petrov@example.com\""));
}

TEST_CASE("SendMail goes to pmail.exe when the inbox's program can't be started") {
  SetMailProgram(L"\"nosuchmail.exe\"");
  const size_t mark = JournalMark();
  SendMail(L"anna@example.de");
  CHECK(WaitForEvent(mark, "pmail", "run -To \"anna@example.de\""));
  CHECK(EventsSince(mark, "tmail").empty());
  SetMailProgram(nullptr);
}

TEST_CASE("SendSms keeps the number's digits and plus, and names the recipient without forbidden signs") {
  SetMailProgram(nullptr);
  const size_t mark = JournalMark();
  SendSms(L"+7 (916) 123-45-67 mob.", L"Petrov, Ivan: <work>");
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"Petrov Ivan work<+79161234567>\""));
}

TEST_CASE("A name of only forbidden characters yields the form without angle brackets") {
  SetMailProgram(nullptr);
  const size_t mark = JournalMark();
  SendSms(L"+79161234567", L",;[]{}<>:");
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"+79161234567\""));
  const size_t second = JournalMark();
  SendSms(L"5551234", nullptr);
  CHECK(WaitForEvent(second, "tmail", "run -service \"SMS\" -To \"5551234\""));
}

TEST_CASE("A name too long for the line is dropped whole; a number too long keeps nothing") {
  SetMailProgram(nullptr);
  const std::wstring longName(300, L'a');
  size_t mark = JournalMark();
  SendSms(L"5551234", longName.c_str());
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"5551234\""));
  const std::wstring longNumber(250, L'7');
  mark = JournalMark();
  SendSms(longNumber.c_str(), L"Ann");
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"Ann<>\""));
}

TEST_CASE("SendSmsToContact names the recipient by FileAs or company with SortType 1, else by name") {
  SetMailProgram(nullptr);
  ClearSettings();
  Contact contact = MakeContact(L"Ivan", L"Petrov", L"Ivan at work", L"Acme");
  size_t mark = JournalMark();
  SendSmsToContact(L"5551234", &contact);
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"Petrov Ivan<5551234>\""));

  SetSettingDword(SECTION_SETTINGS, L"SortType", 1, TRUE);
  mark = JournalMark();
  SendSmsToContact(L"5551234", &contact);
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"Ivan at work<5551234>\""));
  contact.text[ContactField::FileAs] = L"";
  mark = JournalMark();
  SendSmsToContact(L"5551234", &contact);
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"Acme<5551234>\""));

  mark = JournalMark();
  SendSmsToContact(L"5551234", nullptr);
  CHECK(WaitForEvent(mark, "tmail", "run -service \"SMS\" -To \"5551234\""));
  ClearSettings();
}

TEST_CASE("OpenUrl starts the browser with the address as its command line") {
  const size_t mark = JournalMark();
  OpenUrl(L"http://www.example.com/people?id=42");
  CHECK(WaitForEvent(mark, "iexplore", "run http://www.example.com/people?id=42"));
}

TEST_CASE("OpenUrl tells in a box when the browser can't be started") {
  REQUIRE(MoveFileW(L"\\windows\\iexplore.exe", L"\\windows\\iexplore.aside"));
  TracerBoxWatcher boxes(L"Pagemark");
  const size_t mark = JournalMark();
  OpenUrl(L"http://www.example.com/");
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"Cannot find Iexplore.exe"});
  CHECK(MoveFileW(L"\\windows\\iexplore.aside", L"\\windows\\iexplore.exe"));
  CHECK(EventsSince(mark, "iexplore").empty());
}

TEST_CASE("ShellOpen opens a linked file with the device's program for its type") {
  const wchar_t file[] = L"\\My Documents\\Pagemark Files\\linked note.txt";
  REQUIRE(testpaths::WriteFileText(file, "a note"));
  const size_t mark = JournalMark();
  CHECK(ShellOpen(file, nullptr));
  CHECK(WaitForEvent(mark, "fileopen", "run \"C:\\My Documents\\Pagemark Files\\linked note.txt\""));
  DeleteFileW(file);
}

TEST_CASE("ShellOpen gives false for a file of a type the device has no program for, or no file") {
  const wchar_t file[] = L"\\My Documents\\Pagemark Files\\data.zzq";
  REQUIRE(testpaths::WriteFileText(file, "?"));
  const size_t mark = JournalMark();
  // The device's shell may say so in a box of its own; it is closed as a user would.
  ShellBoxCloser boxes;
  CHECK_FALSE(ShellOpen(file, nullptr));
  CHECK_FALSE(ShellOpen(L"\\My Documents\\Pagemark Files\\missing.txt", nullptr));
  Sleep(500);
  CHECK(EventsSince(mark, "fileopen").empty());
  DeleteFileW(file);
}

TEST_SUITE_END();
