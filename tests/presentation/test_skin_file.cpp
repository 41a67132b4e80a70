// The skin file beside the main program: where it is, how a key is found in its bytes, how a value
// becomes a colour or a number, and the skin's seven colours with their built-in values.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include "SkinTestSupport.h"
#include "presentation/Skin.h"
#include "presentation/SkinFile.h"

using namespace skintest;

namespace {

// The skin's colours by slot, and what each is without a skin file, as platform colours.
struct Expected {
  SkinColorSlot slot;
  const char* key;
  COLORREF standard;
};

const Expected kColours[] = {
    {kBigAbcFontColor, "BigAbcFontColor", 0x004A4A4A}, {kSmallAbcFontColor, "SmallAbcFontColor", 0x00202020},
    {kSmallAbcColor1, "SmallAbcColor1", 0x00F7DFD6},   {kSmallAbcColor2, "SmallAbcColor2", 0x00EFBE9B},
    {kTodayFontColor, "TodayFontColor", 0x009C2000},   {kTodayAbcColor1, "TodayAbcColor1", 0x00F7DFD6},
    {kTodayAbcColor2, "TodayAbcColor2", 0x00EF9673},
};

COLORREF TodayFontColorOf(const std::string& file) {
  WriteSkinFile(file);
  Skin skin;
  return skin.GetTodayFontColor();
}

// `count` bytes of lines that hold no key, ending in a line end.
std::string Filler(size_t count) {
  std::string text;
  while (text.size() < count) text += (count - text.size() >= 2) ? std::string("x") : std::string("\n");
  text.back() = '\n';
  return text;
}

}  // namespace

TEST_CASE_FIXTURE(CleanSkin, "the skin file stands in the folder of ProgramPath") {
  SetSetting(L"Settings", L"ProgramPath", L"\\Program Files\\Pagemark\\Pagemark.exe");
  CHECK(U8(GetSkinFilePath()) == "\\Program Files\\Pagemark\\skin.txt");
  // Without a backslash the whole setting is taken as the folder.
  SetSetting(L"Settings", L"ProgramPath", L"Pagemark.exe");
  CHECK(U8(GetSkinFilePath()) == "Pagemark.exe\\skin.txt");
  SetSetting(L"Settings", L"ProgramPath", L"");
  CHECK(U8(GetSkinFilePath()) == "\\skin.txt");
}

TEST_CASE_FIXTURE(CleanSkin, "without a skin file every colour is the built-in one") {
  Skin skin;
  for (const Expected& colour : kColours) {
    CAPTURE(colour.key);
    CHECK(skin.Color(colour.slot) == colour.standard);
  }
  CHECK(skin.GetBigAbcFontColor() == 0x004A4A4A);
  CHECK(skin.GetSmallAbcFontColor() == 0x00202020);
  CHECK(skin.GetSmallAbcColor1() == 0x00F7DFD6);
  CHECK(skin.GetSmallAbcColor2() == 0x00EFBE9B);
  CHECK(skin.GetTodayFontColor() == 0x009C2000);
  CHECK(skin.GetTodayAbcColor1() == 0x00F7DFD6);
  CHECK(skin.GetTodayAbcColor2() == 0x00EF9673);
  Str value;
  CHECK_FALSE(FindSkinValue(L"TodayFontColor", value));
  CHECK(value.IsEmpty());
}

TEST_CASE_FIXTURE(CleanSkin, "an empty skin file gives the built-in colours") {
  WriteSkinFile("");
  Skin skin;
  CHECK(skin.GetTodayAbcColor2() == 0x00EF9673);
}

TEST_CASE_FIXTURE(CleanSkin, "each of the seven keys sets its own colour, red and blue swapped") {
  std::string file;
  int n = 1;
  for (const Expected& colour : kColours) {
    char line[64];
    snprintf(line, sizeof line, "%s = %02X%02X%02X\r\n", colour.key, n, n + 0x10, n + 0x20);
    file += line;
    ++n;
  }
  WriteSkinFile(file);
  Skin skin;
  n = 1;
  for (const Expected& colour : kColours) {
    CAPTURE(colour.key);
    CHECK(skin.Color(colour.slot) == RGB(n, n + 0x10, n + 0x20));
    ++n;
  }
  CHECK(skin.GetBigAbcFontColor() == RGB(1, 0x11, 0x21));
  CHECK(skin.GetTodayAbcColor2() == RGB(7, 0x17, 0x27));
}

TEST_CASE_FIXTURE(CleanSkin, "TodayFontColor = FF0000 gives 0x000000FF") {
  CHECK(TodayFontColorOf("TodayFontColor = FF0000\r\n") == 0x000000FF);
}

TEST_CASE_FIXTURE(CleanSkin, "TodayFontColor=FF0000 gives the same, and so do blanks or equal signs alone") {
  CHECK(TodayFontColorOf("TodayFontColor=FF0000\r\n") == 0x000000FF);
  CHECK(TodayFontColorOf("TodayFontColor FF0000\n") == 0x000000FF);
  CHECK(TodayFontColorOf("TodayFontColor \t==  FF0000  \r\n") == 0x000000FF);
  CHECK(TodayFontColorOf("TodayFontColor==FF0000\r") == 0x000000FF);
}

TEST_CASE_FIXTURE(CleanSkin, "keys are case-sensitive") {
  CHECK(TodayFontColorOf("todayfontcolor = FF0000\r\n") == 0x009C2000);
}

TEST_CASE_FIXTURE(CleanSkin, "a value that isn't hexadecimal gives what the number parser makes of it") {
  CHECK(TodayFontColorOf("TodayFontColor = zzzzzz\r\n") == 0x00000000);
  CHECK(TodayFontColorOf("TodayFontColor = 12G456\r\n") == 0x00120000);
  // Found with nothing behind it: an empty value, read as 0.
  CHECK(TodayFontColorOf("TodayFontColor =\r\nTodayAbcColor1 = 010203\r\n") == 0x00000000);
}

TEST_CASE_FIXTURE(CleanSkin, "a key found as the tail of another key's name is taken there") {
  WriteSkinFile("MyTodayAbcColor1 = 010203\r\nTodayAbcColor1 = 0A0B0C\r\n");
  Skin skin;
  CHECK(skin.GetTodayAbcColor1() == 0x00030201);
  Str value;
  CHECK(FindSkinValue(L"AbcColor1", value));
  CHECK(U8(value) == "010203");
}

TEST_CASE_FIXTURE(CleanSkin,
                  "a key on the last line without a line end is found, its value running to the end") {
  CHECK(TodayFontColorOf("BigAbcFontColor = 111111\r\nTodayFontColor = ABCDEF") == 0x00EFCDAB);
}

TEST_CASE_FIXTURE(CleanSkin, "a key at the end of the file counts only with two bytes behind it") {
  // Two bytes behind the key: found.
  CHECK(TodayFontColorOf("TodayFontColor 5") == 0x00050000);
  CHECK(TodayFontColorOf("TodayFontColor=5") == 0x00050000);
  // One byte behind it: the search stops before the key.
  CHECK(TodayFontColorOf("TodayFontColor5") == 0x009C2000);
  CHECK(TodayFontColorOf("# TodayFontColor=") == 0x009C2000);
  // Blanks and equal signs up to the end: nothing there.
  CHECK(TodayFontColorOf("TodayFontColor =  ") == 0x009C2000);
}

TEST_CASE_FIXTURE(CleanSkin, "a key that runs over the end of a 4096-byte block is not found") {
  const std::string line = "TodayFontColor = FF0000\r\n";
  // The key starts six bytes before the block's end.
  CHECK(TodayFontColorOf(Filler(4090) + line) == 0x009C2000);
  // Wholly inside the second block: found.
  CHECK(TodayFontColorOf(Filler(4096) + line) == 0x000000FF);
  // Wholly inside the first, with its value as well.
  CHECK(TodayFontColorOf(Filler(4000) + line) == 0x000000FF);
}

TEST_CASE_FIXTURE(CleanSkin, "a value that runs over the end of a block is cut there") {
  // The key takes bytes 4080 to 4093, the equal sign 4094, and the value's first character is the
  // block's last byte.
  std::string file = Filler(4080) + "TodayFontColor=FF0000\r\n";
  REQUIRE(file.compare(4080, 14, "TodayFontColor") == 0);
  WriteSkinFile(file);
  Str value;
  CHECK(FindSkinValue(L"TodayFontColor", value));
  CHECK(U8(value) == "F");
  CHECK(TodayFontColorOf(file) == RGB(0, 0, 0x0F));
}

TEST_CASE_FIXTURE(CleanSkin, "a value ends at CR or LF and is trimmed at both ends") {
  WriteSkinFile("Title =   Blue sky  \t\r\nRows = 12\nOther = x");
  Str value;
  CHECK(GetSkinString(L"Title", value));
  CHECK(U8(value) == "Blue sky");
  CHECK(GetSkinString(L"Rows", value));
  CHECK(U8(value) == "12");
  int number = 0;
  CHECK(GetSkinInt(L"Rows", number));
  CHECK(number == 12);
  COLORREF colour = 0;
  CHECK(GetSkinColor(L"Rows", colour));
  CHECK(colour == RGB(0, 0, 0x12));
  CHECK_FALSE(GetSkinString(L"Missing", value));
  CHECK(value.IsEmpty());
  number = 77;
  CHECK_FALSE(GetSkinInt(L"Missing", number));
  CHECK(number == 77);
}

TEST_CASE_FIXTURE(CleanSkin, "the bytes of a value become characters one by one") {
  WriteSkinFile("Name = caf\xE9\r\n");
  Str value;
  REQUIRE(FindSkinValue(L"Name", value));
  REQUIRE(value.GetLength() == 4);
  CHECK(value[3] == L'\xE9');
}

TEST_CASE_FIXTURE(CleanSkin, "a colour is read from the file once; a later change of the file is not seen") {
  WriteSkinFile("TodayFontColor = 010203\r\n");
  Skin skin;
  CHECK(skin.GetTodayFontColor() == 0x00030201);
  WriteSkinFile("TodayFontColor = 0A0B0C\r\n");
  CHECK(skin.GetTodayFontColor() == 0x00030201);
  // A colour that was missing stays at its built-in value too.
  CHECK(skin.GetTodayAbcColor1() == 0x00F7DFD6);
  WriteSkinFile("TodayAbcColor1 = 0A0B0C\r\n");
  CHECK(skin.GetTodayAbcColor1() == 0x00F7DFD6);
  // A new skin reads the file again.
  Skin fresh;
  CHECK(fresh.GetTodayAbcColor1() == 0x000C0B0A);
}

TEST_CASE_FIXTURE(CleanSkin, "a skin file held open by another writer is still read") {
  WriteSkinFile("TodayFontColor = 102030\r\n");
  HANDLE writer = CreateFileW(kSkinFile, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, 0, nullptr);
  REQUIRE(writer != INVALID_HANDLE_VALUE);
  Skin skin;
  CHECK(skin.GetTodayFontColor() == 0x00302010);
  CloseHandle(writer);
}
