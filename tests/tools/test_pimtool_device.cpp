// pimtool on the device: generate, import, list and dump against an object store of the test's own.
#include <doctest/doctest.h>
#include <windows.h>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>
#include "Generator.h"
#include "TestPaths.h"
#include "storage/ContactNames.h"

namespace {

const wchar_t kStore[] = L"\\Temp\\pimtool-test.cdb";

struct Run {
  int code = -1;
  std::string out;
  std::string err;
};

std::string ReadFile(const std::wstring& path) {
  std::ifstream in(path.c_str(), std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  // Console output in text mode ends its lines with CR LF; compare lines without the CR.
  std::string text;
  for (char c : s.str())
    if (c != '\r') text += c;
  return text;
}

// Runs a program of the build with the test's store, its output caught in files.
Run Tool(const std::wstring& program, const std::wstring& arguments) {
  std::wstring outPath = L"\\Temp\\pimtool-test.out", errPath = L"\\Temp\\pimtool-test.err";
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE out = CreateFileW(outPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  HANDLE err = CreateFileW(errPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore);
  std::wstring path = testpaths::BinDir() + program;
  std::wstring commandLine = L"\"" + path + L"\" " + arguments;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = out;
  startup.hStdError = err;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  PROCESS_INFORMATION process = {};
  Run run;
  if (CreateProcessW(path.c_str(), &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
    if (WaitForSingleObject(process.hProcess, 120000) == WAIT_OBJECT_0) {
      DWORD code = 0;
      GetExitCodeProcess(process.hProcess, &code);
      run.code = static_cast<int>(code);
    } else {
      TerminateProcess(process.hProcess, 1);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", nullptr);
  CloseHandle(out);
  CloseHandle(err);
  run.out = ReadFile(outPath);
  run.err = ReadFile(errPath);
  return run;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream s(text);
  std::string line;
  while (std::getline(s, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

std::string Utf8(const std::wstring& text) {
  if (text.empty()) return std::string();
  int n = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string out(n, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &out[0], n, nullptr, nullptr);
  return out;
}

void FreshStore() {
  DeleteFileW(kStore);
  REQUIRE(Tool(L"ceadmin.exe", L"init").code == 0);
}

}  // namespace

TEST_CASE("generate writes the generator's contacts and list shows them in order with their ids") {
  FreshStore();
  Run generate = Tool(L"pimtool.exe", L"generate 150 --seed 5");
  CHECK(generate.code == 0);
  CHECK(generate.out == "added 150 contacts\n");

  Run list = Tool(L"pimtool.exe", L"list");
  CHECK(list.code == 0);
  std::vector<std::string> lines = Lines(list.out);
  REQUIRE(lines.size() == 151);
  CHECK(lines.back() == "150 contacts");
  for (int i = 0; i < 150; ++i) {
    ToolContact expected = GenerateContact(5, i);
    Str name = ListName(expected.text[FieldLastName].c_str(), expected.text[FieldFirstName].c_str(),
                        expected.text[FieldTitle].c_str());
    const std::string& line = lines[i];
    CAPTURE(line);
    REQUIRE(line.size() >= 10);
    CHECK(line.find_first_not_of("0123456789abcdef") == 8);  // the record id in hexadecimal
    CHECK(line.substr(10, Utf8(static_cast<const wchar_t*>(name)).size()) == Utf8(static_cast<const wchar_t*>(name)));
  }
}

TEST_CASE("dump prints the stored fields, dates, categories and Note of one contact") {
  FreshStore();
  REQUIRE(Tool(L"pimtool.exe", L"generate 60 --seed 11").code == 0);
  std::vector<std::string> lines = Lines(Tool(L"pimtool.exe", L"list").out);
  REQUIRE(lines.size() == 61);
  for (int i = 0; i < 60; ++i) {
    ToolContact expected = GenerateContact(11, i);
    std::string id = lines[i].substr(0, 8);
    Run dump = Tool(L"pimtool.exe", L"dump " + std::wstring(id.begin(), id.end()));
    CAPTURE(dump.out);
    REQUIRE(dump.code == 0);
    CHECK(dump.out.rfind("Id: " + id + "\n", 0) == 0);
    if (!expected.text[FieldLastName].empty())
      CHECK(dump.out.find("LastName: " + Utf8(expected.text[FieldLastName]) + "\n") != std::string::npos);
    if (!expected.text[FieldMobilePhone].empty())
      CHECK(dump.out.find("MobilePhone: " + Utf8(expected.text[FieldMobilePhone]) + "\n") != std::string::npos);
    if (!expected.categories.empty())
      CHECK(dump.out.find("Categories: ") != std::string::npos);
    for (const std::wstring& category : expected.categories) CHECK(dump.out.find(Utf8(category)) != std::string::npos);
    if (!expected.note.empty()) {
      std::string note;
      for (char c : Utf8(expected.note))
        if (c != '\r') note += c;
      CHECK(dump.out.find("Note: " + note) != std::string::npos);
    }
    CHECK((expected.birthday != 0) == (dump.out.find("Birthday: ") != std::string::npos));
  }
  CHECK(Tool(L"pimtool.exe", L"dump 7fffffff").code == 1);
  CHECK(Tool(L"pimtool.exe", L"dump zz").code == 2);
}

TEST_CASE("import reads a vCard file, reports a malformed card by its line and imports the rest") {
  FreshStore();
  std::wstring path = L"\\Temp\\pimtool-test.vcf";
  std::ofstream(path.c_str(), std::ios::binary) << "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Alpha;Ann\r\nTEL;TYPE=CELL:555-0101\r\nEND:VCARD\r\n"
                                                   "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Broken;Bob\r\nno colon here\r\nEND:VCARD\r\n"
                                                   "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Gamma;Gil\r\nEND:VCARD\r\n";
  Run import = Tool(L"pimtool.exe", L"import " + path);
  CHECK(import.code == 0);
  CHECK(import.out == "added 2 contacts\n");
  CHECK(import.err.find(":9: ") != std::string::npos);
  std::vector<std::string> lines = Lines(Tool(L"pimtool.exe", L"list").out);
  REQUIRE(lines.size() == 3);
  CHECK(lines[0].substr(10) == "Alpha, Ann");
  CHECK(lines[1].substr(10) == "Gamma, Gil");
  CHECK(Tool(L"pimtool.exe", L"import \\Temp\\no-such-file.vcf").code == 1);
}

TEST_CASE("a wrong command line is refused with status 2") {
  CHECK(Tool(L"pimtool.exe", L"").code == 2);
  CHECK(Tool(L"pimtool.exe", L"frobnicate").code == 2);
  CHECK(Tool(L"pimtool.exe", L"generate many").code == 2);
  CHECK(Tool(L"pimtool.exe", L"generate 5 --seed").code == 2);
}
