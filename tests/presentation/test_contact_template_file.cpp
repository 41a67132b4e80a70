// The sectioned line file under the contact template: line ends over the reader's steps, the three
// kinds of section, headers, the open that deletes an empty file, and the writer's bytes.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "TestPaths.h"
#include "WideText.h"
#include "presentation/TextConfigFile.h"
#include "test_contact_template_support.h"

using namespace templatetest;

namespace {

std::vector<std::wstring> ReadSection(const std::wstring& path, const wchar_t* section) {
  TextConfigFile file;
  std::vector<std::wstring> lines;
  if (!file.Open(path.c_str(), FALSE)) return lines;
  Array<Str> read;
  file.ReadStrings(section, read);
  for (int i = 0; i < read.GetSize(); ++i) lines.push_back(std::wstring(read[i], read[i].GetLength()));
  return lines;
}

std::vector<std::wstring> ReadText(const std::wstring& text, const wchar_t* section) {
  std::wstring path = TempFile(L"text.tpl");
  REQUIRE(WriteBytes(path, Utf16(text)));
  return ReadSection(path, section);
}

}  // namespace

TEST_CASE("a CR at the end of one read step and its LF at the start of the next are one line end") {
  // The reader takes 25 bytes a step: the first two steps hold characters 0 to 24 (the odd byte of the
  // first is carried into the second), the third begins with character 25.
  std::wstring head = L"[S]\r\n";
  std::wstring first(24 - head.size(), L'a');
  std::wstring text = head + first + L"\r\n" + L"second";
  REQUIRE(text[24] == L'\r');
  REQUIRE(text[25] == L'\n');
  CHECK(ReadText(text, L"S") == std::vector<std::wstring>{first, L"second"});
}

TEST_CASE("line ends at every place over the steps give the lines and never an empty one") {
  for (size_t length = 1; length <= 60; ++length) {
    std::wstring line(length, L'x');
    // Characters that are not ASCII check the byte carried over between steps.
    for (size_t i = 0; i < length; i += 3) line[i] = static_cast<wchar_t>(0x0410 + i % 32);
    for (const std::wstring& end : {std::wstring(L"\r\n"), std::wstring(L"\n"), std::wstring(L"\r"),
                                    std::wstring(L"\r\n\r\n"), std::wstring(L"\n\r\r\n")}) {
      std::wstring text = L"[S]" + end + line + end + L"\x0416tail" + end + L"[T]" + end + L"other";
      INFO("length " << length << ", end of " << end.size() << " characters");
      CHECK(ReadText(text, L"S") == std::vector<std::wstring>{line, L"\x0416tail"});
      CHECK(ReadText(text, L"T") == std::vector<std::wstring>{L"other"});
    }
  }
}

TEST_CASE("the last line of a file with no line end is delivered") {
  CHECK(ReadText(L"[S]\r\nalpha\r\nomega", L"S") == std::vector<std::wstring>{L"alpha", L"omega"});
  CHECK(ReadText(L"[S]\r\nx", L"S") == std::vector<std::wstring>{L"x"});
  TextConfigFile file;
  std::wstring path = TempFile(L"flag.tpl");
  REQUIRE(WriteBytes(path, Utf16(L"[F]\r\nTRUE")));
  REQUIRE(file.Open(path.c_str(), FALSE));
  int32_t flag = 0;
  CHECK(file.ReadFlag(L"F", flag));
  CHECK(flag == 1);
}

TEST_CASE("a lone byte at the end of the file is no character") {
  std::vector<uint8_t> bytes = Utf16(L"[S]\r\nabc");
  bytes.push_back('d');
  std::wstring path = TempFile(L"odd.tpl");
  REQUIRE(WriteBytes(path, bytes));
  CHECK(ReadSection(path, L"S") == std::vector<std::wstring>{L"abc"});
}

TEST_CASE("value lines are taken whole, up to the next line that begins with a bracket") {
  std::wstring text =
      Lines({L"[S]", L"  Work phone  ", L"a [b]", L"\t", L"[T] trailing text", L"t1", L"[", L"u"});
  CHECK(ReadText(text, L"S") == std::vector<std::wstring>{L"  Work phone  ", L"a [b]", L"\t"});
  // Text behind the header's closing bracket is ignored; a line of a lone bracket ends a section too.
  CHECK(ReadText(text, L"T") == std::vector<std::wstring>{L"t1"});
}

TEST_CASE("headers are found exactly, with regard to case, anywhere in the file, the first one winning") {
  std::wstring text = Lines({L"[Late]", L"one", L"[phone]", L"lower", L"[Phone]", L"upper", L"[Phone]",
                             L"again", L" [Indented]", L"x", L"[PhoneBook]", L"book"});
  CHECK(ReadText(text, L"Phone") == std::vector<std::wstring>{L"upper"});
  CHECK(ReadText(text, L"Late") == std::vector<std::wstring>{L"one"});
  CHECK(ReadText(text, L"Indented").empty());
  CHECK(ReadText(text, L"PhoneBook") == std::vector<std::wstring>{L"book"});
  CHECK(ReadText(text, L"Missing").empty());
}

TEST_CASE("strings append to the caller's array and tell whether it ends up not empty") {
  std::wstring path = TempFile(L"append.tpl");
  REQUIRE(WriteBytes(path, Utf16(Lines({L"[Empty]", L"[Full]", L"b", L"c"}))));
  TextConfigFile file;
  REQUIRE(file.Open(path.c_str(), FALSE));
  Array<Str> lines;
  CHECK_FALSE(file.ReadStrings(L"Empty", lines));
  CHECK_FALSE(file.ReadStrings(L"Missing", lines));
  lines.Add(Str(L"a"));
  CHECK(file.ReadStrings(L"Empty", lines));
  CHECK(file.ReadStrings(L"Full", lines));
  REQUIRE(lines.GetSize() == 3);
  CHECK(U8(lines[2]) == "c");
}

TEST_CASE("a flag reads true or false in any case; anything else leaves the target as it was") {
  std::wstring path = TempFile(L"flags.tpl");
  REQUIRE(
      WriteBytes(path, Utf16(Lines({L"[Upper]", L"TRUE", L"[Mixed]", L"fAlSe", L"[Yes]", L"yes", L"[Spaced]",
                                    L"true ", L"[None]", L"[Last]", L"false", L"second line"}))));
  TextConfigFile file;
  REQUIRE(file.Open(path.c_str(), FALSE));
  int32_t flag = 7;
  CHECK(file.ReadFlag(L"Upper", flag));
  CHECK(flag == 1);
  CHECK(file.ReadFlag(L"Mixed", flag));
  CHECK(flag == 0);
  flag = 7;
  CHECK_FALSE(file.ReadFlag(L"Yes", flag));
  CHECK_FALSE(file.ReadFlag(L"Spaced", flag));
  CHECK_FALSE(file.ReadFlag(L"None", flag));  // the next header right behind
  CHECK_FALSE(file.ReadFlag(L"Missing", flag));
  CHECK(flag == 7);
  CHECK(file.ReadFlag(L"Last", flag));  // lines behind the first are not looked at
  CHECK(flag == 0);
}

TEST_CASE("numbers are read as decimal numbers, as the platform's number parser makes them") {
  std::wstring path = TempFile(L"numbers.tpl");
  REQUIRE(WriteBytes(path, Utf16(Lines({L"[N]", L"57", L"-3", L"12abc", L"abc", L"  8"}))));
  TextConfigFile file;
  REQUIRE(file.Open(path.c_str(), FALSE));
  Array<int32_t> numbers;
  CHECK(file.ReadNumbers(L"N", numbers));
  std::vector<int32_t> read(numbers.GetData(), numbers.GetData() + numbers.GetSize());
  CHECK(read == std::vector<int32_t>{57, -3, 12, 0, 8});
}

TEST_CASE("a very long line is read whole, however many steps it takes") {
  std::wstring huge(300000, L'h');
  for (size_t i = 0; i < huge.size(); i += 97) huge[i] = static_cast<wchar_t>(0x4E00 + i % 500);
  std::vector<std::wstring> lines = ReadText(L"[S]\r\n" + huge + L"\r\nshort\r\n", L"S");
  REQUIRE(lines.size() == 2);
  CHECK(lines[0] == huge);
  CHECK(lines[1] == L"short");
}

TEST_CASE("an absent file can't be opened, and is not made") {
  std::wstring path = TempFile(L"absent.tpl");
  TextConfigFile file;
  CHECK_FALSE(file.Open(path.c_str(), FALSE));
  CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
  CHECK_FALSE(testpaths::FileExists(path));
  CHECK_FALSE(file.Open(L"", FALSE));
  CHECK_FALSE(file.Open(nullptr, FALSE));
}

TEST_CASE("an empty file is deleted when opened for reading") {
  std::wstring path = TempFile(L"empty.tpl");
  REQUIRE(WriteBytes(path, {}));
  REQUIRE(testpaths::FileExists(path));
  TextConfigFile file;
  CHECK_FALSE(file.Open(path.c_str(), FALSE));
  CHECK(GetLastError() == ERROR_HANDLE_EOF);
  CHECK_FALSE(testpaths::FileExists(path));
}

TEST_CASE("a folder in the file's place is refused") {
  std::wstring path = TempFile(L"folder.tpl");
  RemoveDirectoryW(path.c_str());
  REQUIRE(CreateDirectoryW(path.c_str(), nullptr));
  TextConfigFile file;
  CHECK_FALSE(file.Open(path.c_str(), FALSE));
  CHECK_FALSE(file.Open(path.c_str(), TRUE));
  CHECK(RemoveDirectoryW(path.c_str()));
}

TEST_CASE("the writer appends sections as UTF-16 lines in CR LF, with no byte-order mark") {
  std::wstring path = TempFile(L"written.tpl");
  REQUIRE(WriteBytes(path, Utf16(L"old content that must go")));
  TextConfigFile file;
  REQUIRE(file.Open(path.c_str(), TRUE));
  Array<Str> labels;
  labels.Add(Str(L"Work phone"));
  labels.Add(Str(L"\x041C\x043E\x0431."));
  labels.Add(Str(L"Pager"));
  Array<int32_t> order;
  for (int32_t index : {1, 7, 0, -1, 1}) order.Add(index);
  Array<int32_t> numbers;
  numbers.Add(57);
  numbers.Add(-2);
  CHECK(file.WriteFlag(L"Flag", TRUE));
  CHECK(file.WriteStrings(L"Plain", labels));
  CHECK(file.WriteStrings(L"Ordered", labels, order));
  CHECK(file.WriteNumbers(L"Numbers", numbers));
  CHECK(file.WriteFlag(L"Off", FALSE));
  CHECK(file.WriteStrings(L"None", Array<Str>()));
  file.Close();
  std::wstring expected =
      Lines({L"[Flag]", L"true", L"[Plain]", L"Work phone", L"\x041C\x043E\x0431.", L"Pager", L"[Ordered]",
             L"\x041C\x043E\x0431.", L"Work phone", L"\x041C\x043E\x0431.", L"[Numbers]", L"57", L"-2",
             L"[Off]", L"false", L"[None]"});
  CHECK(testpaths::ReadFileBytes(path) == Utf16(expected));
}

TEST_CASE("reading or writing a file that is not open fails without a crash") {
  TextConfigFile file;
  Array<Str> lines;
  Array<int32_t> numbers;
  int32_t flag = 3;
  CHECK_FALSE(file.ReadFlag(L"S", flag));
  CHECK_FALSE(file.ReadStrings(L"S", lines));
  CHECK_FALSE(file.ReadNumbers(L"S", numbers));
  CHECK_FALSE(file.WriteFlag(L"S", TRUE));
  CHECK_FALSE(file.WriteStrings(L"S", lines));
  CHECK_FALSE(file.WriteNumbers(L"S", numbers));
  CHECK(flag == 3);
}
