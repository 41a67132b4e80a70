// pimtool on the device: generate, import, list and dump against an object store of the test's own.
#include <doctest/doctest.h>
#include <windows.h>
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>
#include <wincodec.h>
#include "Generator.h"
#include "HelperProcess.h"
#include "MessagePump.h"
#include "PictureBytes.h"
#include "SharedLog.h"
#include "ToolPeerProtocol.h"
#include "TestPaths.h"
#include "ToolRun.h"
#include "foundation/DataFolder.h"
#include "storage/contact/ContactNames.h"
#include "storage/contact/ImageLibrary.h"

using namespace tooltest;

namespace {
std::string DateOf(uint64_t fileTime) {
  FILETIME time = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
  SYSTEMTIME date;
  FileTimeToSystemTime(&time, &date);
  char text[16];
  snprintf(text, sizeof text, "%04u-%02u-%02u", date.wYear, date.wMonth, date.wDay);
  return text;
}

// The lines dump prints for the extended data of a tool contact.
std::vector<std::string> ExpectedExtendedLines(const ToolContact& c) {
  std::vector<std::string> lines;
  auto pairs = [&lines](const char* name, const std::vector<LabelledValue>& list) {
    for (const LabelledValue& pair : list)
      lines.push_back(std::string(name) + " (" + ToUtf8(pair.label) + "): " + ToUtf8(pair.value));
  };
  pairs("Phone", c.phones);
  pairs("Email", c.emails);
  for (const ToolMessenger& m : c.messengers)
    lines.push_back("Messenger (" + ToUtf8(m.kind) + "): " + ToUtf8(m.id) +
                    (m.note.empty() ? "" : " (" + ToUtf8(m.note) + ")"));
  pairs("WebPage", c.webPages);
  for (const ToolAddress& a : c.addresses) {
    std::string line = "Address (" + ToUtf8(a.label) + "): ";
    for (const std::wstring& part : a.parts) line += ToUtf8(part) + "; ";
    lines.push_back(line + std::to_string(a.format));
  }
  pairs("People", c.people);
  for (const ToolDate& d : c.dates) lines.push_back("Date (" + ToUtf8(d.label) + "): " + DateOf(d.date));
  pairs("Link", c.links);
  pairs("Other", c.otherValues);
  if (!c.photo.empty()) lines.push_back("Photo: " + ToUtf8(c.photo));
  return lines;
}

// The contacts that one run of `dump` printed, each from its "Id: " line to its "Checksum: " line as a
// run with that id alone prints it. A blank line and the next "Id: " line part them.
std::vector<std::string> DumpBlocks(const std::string& out) {
  std::vector<std::string> blocks;
  size_t start = 0;
  while (start < out.size()) {
    const size_t gap = out.find("\n\nId: ", start);
    const size_t end = gap == std::string::npos ? out.size() : gap + 1;
    blocks.push_back(out.substr(start, end - start));
    start = gap == std::string::npos ? out.size() : gap + 2;
  }
  return blocks;
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
    CHECK(line.substr(10, ToUtf8(static_cast<const wchar_t*>(name)).size()) ==
          ToUtf8(static_cast<const wchar_t*>(name)));
  }
}

TEST_CASE("dump prints the stored fields, dates, categories, Note and extended data of one contact") {
  FreshStore();
  REQUIRE(Tool(L"pimtool.exe", L"generate 60 --seed 11").code == 0);
  std::vector<std::string> lines = Lines(Tool(L"pimtool.exe", L"list").out);
  REQUIRE(lines.size() == 61);
  // One run shows them all, one after the other.
  std::vector<std::string> ids;
  std::wstring arguments = L"dump";
  for (int i = 0; i < 60; ++i) {
    ids.push_back(lines[i].substr(0, 8));
    arguments += L" " + std::wstring(ids.back().begin(), ids.back().end());
  }
  Run all = Tool(L"pimtool.exe", arguments);
  REQUIRE(all.code == 0);
  CHECK(all.err.empty());
  const std::vector<std::string> blocks = DumpBlocks(all.out);
  CHECK(blocks.size() == 60);
  int extendedContacts = 0, richNotes = 0;
  for (int i = 0; i < 60; ++i) {
    ToolContact expected = GenerateContact(11, i);
    const std::string& id = ids[i];
    REQUIRE(static_cast<size_t>(i) < blocks.size());
    const std::string& dump = blocks[i];
    CAPTURE(dump);
    CHECK(dump.rfind("Id: " + id + "\n", 0) == 0);
    if (!expected.text[FieldLastName].empty())
      CHECK(dump.find("LastName: " + ToUtf8(expected.text[FieldLastName]) + "\n") != std::string::npos);
    if (!expected.text[FieldMobilePhone].empty())
      CHECK(dump.find("MobilePhone: " + ToUtf8(expected.text[FieldMobilePhone]) + "\n") != std::string::npos);
    if (!expected.categories.empty()) CHECK(dump.find("Categories: ") != std::string::npos);
    for (const std::wstring& category : expected.categories)
      CHECK(dump.find(ToUtf8(category)) != std::string::npos);
    if (!expected.note.empty()) {
      // A Note kept rich, or made rich to carry extended data, shows its lines joined by spaces.
      std::string note;
      for (char c : ToUtf8(expected.note))
        if (c != '\r') note += c;
      if (expected.richNote || expected.HasExtended())
        for (char& c : note)
          if (c == '\n') c = ' ';
      CHECK(dump.find("Note: " + note + "\n") != std::string::npos);
    }
    CHECK((expected.birthday != 0) == (dump.find("Birthday: ") != std::string::npos));
    // The extended data comes back from the Note, line by line in the order of the block.
    std::string extended;
    for (const std::string& line : ExpectedExtendedLines(expected)) extended += line + "\n";
    CHECK(dump.find(extended + "Checksum: ") != std::string::npos);
    if (expected.richNote || expected.HasExtended())
      CHECK(dump.find("NoteForm: rich\n") != std::string::npos);
    else if (!expected.note.empty())
      CHECK(dump.find("NoteForm: plain\n") != std::string::npos);
    else
      CHECK(dump.find("NoteForm: ") == std::string::npos);
    if (expected.HasExtended()) ++extendedContacts;
    if (expected.richNote) ++richNotes;
  }
  // The seed gives both kinds of Note and plenty of extended data.
  CHECK(extendedContacts > 10);
  CHECK(richNotes > 0);
  // The run with one id prints exactly its block.
  Run one = Tool(L"pimtool.exe", L"dump " + std::wstring(ids[7].begin(), ids[7].end()));
  CHECK(one.code == 0);
  CHECK(one.out == blocks[7]);
  CHECK(Tool(L"pimtool.exe", L"dump 7fffffff").code == 1);
  CHECK(Tool(L"pimtool.exe", L"dump zz").code == 2);
  // An id without a contact is reported and passed over; the others are shown.
  Run gap = Tool(L"pimtool.exe", L"dump " + std::wstring(ids[0].begin(), ids[0].end()) + L" 7fffffff " +
                                     std::wstring(ids[1].begin(), ids[1].end()));
  CHECK(gap.code == 1);
  CHECK(gap.out == blocks[0] + "\n" + blocks[1]);
  CHECK(gap.err.find("7fffffff") != std::string::npos);
  CHECK(Tool(L"pimtool.exe", L"dump " + std::wstring(ids[0].begin(), ids[0].end()) + L" zz").code == 2);
}

TEST_CASE("import reads a vCard file, reports a malformed card by its line and imports the rest") {
  FreshStore();
  std::wstring path = L"\\Temp\\pimtool-test.vcf";
  std::ofstream(path.c_str(), std::ios::binary)
      << "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Alpha;Ann\r\nTEL;TYPE=CELL:555-0101\r\nEND:VCARD\r\n"
         "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Broken;Bob\r\nno colon here\r\nEND:VCARD\r\n"
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Gamma;Gil\r\nEND:VCARD\r\n";
  Run import = Tool(L"pimtool.exe", L"import " + path);
  // The skipped card makes the command fail, though the others are in.
  CHECK(import.code == 1);
  CHECK(import.out == "added 2 contacts\n");
  CHECK(import.err.find(":9: ") != std::string::npos);
  std::vector<std::string> lines = Lines(Tool(L"pimtool.exe", L"list").out);
  REQUIRE(lines.size() == 3);
  CHECK(lines[0].substr(10) == "Alpha, Ann");
  CHECK(lines[1].substr(10) == "Gamma, Gil");
  CHECK(Tool(L"pimtool.exe", L"import \\Temp\\no-such-file.vcf").code == 1);
}

TEST_CASE("import reports a card the database refuses by its first line and reason, and goes on") {
  FreshStore();
  std::wstring path = L"\\Temp\\pimtool-oversized.vcf";
  std::string file = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Alpha;Ann\r\nEND:VCARD\r\n";  // lines 1-4
  // Line 5: a thousand further mails make the Note too large for one database value.
  file += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Many;Mails\r\n";
  for (int k = 0; k < 1000; ++k)
    file += "EMAIL;TYPE=INTERNET:person" + std::to_string(k) + "@example.com\r\n";
  file += "END:VCARD\r\n";
  const int longNameLine = 5 + 3 + 1000 + 1;
  file += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + std::string(70000, 'x') + ";Long\r\nEND:VCARD\r\n";
  file += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Omega;Olga\r\nCATEGORIES:Friends\r\nEND:VCARD\r\n";
  std::ofstream(path.c_str(), std::ios::binary) << file;
  Run import = Tool(L"pimtool.exe", L"import " + path);
  CHECK(import.code == 1);
  CHECK(import.out == "added 2 contacts, 2 refused\n");
  CHECK(import.err.find(":5: the database refused the contact: its Note") != std::string::npos);
  CHECK(import.err.find(":" + std::to_string(longNameLine) +
                        ": the database refused the contact: its LastName has 70000 characters") !=
        std::string::npos);
  std::vector<std::string> lines = Lines(Tool(L"pimtool.exe", L"list").out);
  REQUIRE(lines.size() == 3);
  CHECK(lines[0].substr(10) == "Alpha, Ann");
  CHECK(lines[1].substr(10) == "Omega, Olga");
}

TEST_CASE("import writes the extended data of a card into its Note, and dump reads it back") {
  FreshStore();
  std::wstring path = L"\\Temp\\pimtool-extended.vcf";
  std::ofstream(path.c_str(), std::ios::binary)
      << "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Petrov;Ivan\r\n"
         "TEL;TYPE=CELL:+7 900 000-00-01\r\nTEL;TYPE=CELL:+7 900 000-00-02\r\n"
         "item1.TEL;TYPE=CELL:+7 812 555-01-02\r\nitem1.X-ABLabel:" +
             ToUtf8(L"Дача") +
             "\r\n"
             "X-ICQ:123456789\r\nIMPP;TYPE=WORK:xmpp:ivan@jabber.example\r\n"
             "ADR;TYPE=HOME:;;1 Main St;Springfield;;12345;USA\r\nADR;TYPE=HOME:;;2 Lake "
             "Rd;Shelbyville;;54321;USA\r\n"
             "item2.X-ABDATE:2001-02-03\r\nitem2.X-ABLabel:_$!<Anniversary>!$_\r\n"
             "X-ABRELATEDNAMES;TYPE=brother:Piotr [the elder]\r\n"
             "PHOTO;VALUE=URI:file:///photos/ivan.jpg\r\n"
             "NOTE:Call after 6\\nKey: [42]\r\n"
             "END:VCARD\r\n";
  Run import = Tool(L"pimtool.exe", L"import " + path);
  CHECK(import.code == 0);
  CHECK(import.out == "added 1 contacts\n");
  std::vector<std::string> lines = Lines(Tool(L"pimtool.exe", L"list").out);
  REQUIRE(lines.size() == 2);
  std::string id = lines[0].substr(0, 8);
  Run dump = Tool(L"pimtool.exe", L"dump " + std::wstring(id.begin(), id.end()));
  CAPTURE(dump.out);
  REQUIRE(dump.code == 0);
  CHECK(dump.out.find("MobilePhone: +7 900 000-00-01\n") != std::string::npos);
  CHECK(dump.out.find("HomeStreet: 1 Main St\n") != std::string::npos);
  CHECK(dump.out.find("NoteForm: rich\n"
                      "Note: Call after 6 Key: [42]\n"
                      "Phone (Mobile): +7 900 000-00-02\n"
                      "Phone (" +
                      ToUtf8(L"Дача") +
                      "): +7 812 555-01-02\n"
                      "Messenger (ICQ): 123456789\n"
                      "Messenger (Jabber): ivan@jabber.example (work)\n"
                      "Address (Home): 2 Lake Rd; Shelbyville; ; 54321; USA; 0\n"
                      "People (Brother): Piotr [the elder]\n"
                      "Date (Anniversary): 2001-02-03\n"
                      "Photo: ivan.jpg\n"
                      "Checksum: ") != std::string::npos);
}

TEST_CASE("a wrong command line is refused with status 2") {
  CHECK(Tool(L"pimtool.exe", L"").code == 2);
  CHECK(Tool(L"pimtool.exe", L"frobnicate").code == 2);
  CHECK(Tool(L"pimtool.exe", L"generate many").code == 2);
  CHECK(Tool(L"pimtool.exe", L"generate 5 --seed").code == 2);
}

TEST_CASE("a crash of any kind ends the tool with status 1 and a line on standard error") {
  Run fault = Tool(L"pimtool.exe", L"selftest fault");
  CHECK(fault.code == 1);
  CHECK(fault.err.find("pimtool: crashed (exception 0xc0000005") != std::string::npos);
  Run stop = Tool(L"pimtool.exe", L"selftest stop");
  CHECK(stop.code == 1);
  CHECK(stop.err.find("pimtool: stopped on a broken rule") != std::string::npos);
  Run thrown = Tool(L"pimtool.exe", L"selftest throw");
  CHECK(thrown.code == 1);
  CHECK(thrown.err.find("pimtool: crashed") != std::string::npos);
  CHECK(Tool(L"pimtool.exe", L"selftest nothing").code == 2);
}

namespace {

// Forty generated contacts and a process that plays the item beside the tool, started on the test's
// store with its own log.
struct ItemBeside {
  explicit ItemBeside(const wchar_t* logName)
      : log(Prepare(logName)),
        item({L"tool_peer.exe", toolpeer::kPeerClass, toolpeer::CmdQuit, 60000, false}, "item", log) {}
  ~ItemBeside() { SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", nullptr); }
  static std::wstring Prepare(const wchar_t* logName) {
    FreshStore();
    REQUIRE(Tool(L"pimtool.exe", L"generate 40").code == 0);
    SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore);
    const std::wstring path = testpaths::TempFolder() + logName;
    DeleteFileW(path.c_str());
    return path;
  }
  std::wstring log;
  helperproc::HelperProcess item;
};

}  // namespace

TEST_CASE("pimtool beside the item: a write takes over as master for its run and hands the index back") {
  ItemBeside beside(L"pimtool-peer.log");
  helperproc::HelperProcess& item = beside.item;
  const std::wstring& log = beside.log;
  // The item is first in: master, with the index it built.
  REQUIRE(item.Command(toolpeer::CmdOpen) == 3);
  REQUIRE(item.Command(toolpeer::CmdCount) == 40);

  Run add = Tool(L"pimtool.exe", std::wstring(L"add LastName=") + toolpeer::kLookedFor + L" FirstName=Zed");
  CAPTURE(add.err);
  CHECK(add.code == 0);
  CHECK(add.err.empty());
  // The item gave way to the tool, reloaded the index it wrote, and is master again once the tool left.
  REQUIRE(PumpUntil([&] { return item.Command(toolpeer::CmdIsMaster) == 1; }, 10000));
  CHECK(item.Command(toolpeer::CmdCount) == 41);
  CHECK(item.Command(toolpeer::CmdFound) == 1);
  const std::vector<std::string> events = sharedlog::ReadLines(log);
  auto seen = [&events](const std::string& line) {
    return std::find(events.begin(), events.end(), line) != events.end();
  };
  CHECK(seen("item ChangeToSlave"));
  CHECK(seen("item SlaveReload"));
  CHECK(seen("item ChangeToMaster"));

  // A read beside the master is a slave's: it finds the new contact and leaves the item master.
  Run search = Tool(L"pimtool.exe", std::wstring(L"search --text ") + toolpeer::kLookedFor);
  CHECK(search.code == 0);
  CHECK(search.out.find("Zzyzx, Zed") != std::string::npos);
  CHECK(item.Command(toolpeer::CmdIsMaster) == 1);
  CHECK(Tool(L"pimtool.exe", L"check").code == 0);
}

TEST_CASE("pimtool beside the item: a rebuild stops the item's use of the index and hands it back") {
  ItemBeside beside(L"pimtool-peer-rebuild.log");
  helperproc::HelperProcess& item = beside.item;
  const std::wstring& log = beside.log;
  REQUIRE(item.Command(toolpeer::CmdOpen) == 3);
  Run rebuild = Tool(L"pimtool.exe", L"rebuild");
  CAPTURE(rebuild.err);
  CHECK(rebuild.code == 0);
  REQUIRE(PumpUntil([&] { return item.Command(toolpeer::CmdIsMaster) == 1; }, 10000));
  const std::vector<std::string> after = sharedlog::ReadLines(log);
  CHECK(std::count(after.begin(), after.end(), "item SlaveStop") >= 1);
  CHECK(std::count(after.begin(), after.end(), "item ChangeToMaster") == 1);
  CHECK(item.Command(toolpeer::CmdCount) == 40);
}

namespace {

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::wstring DataFile(const std::string& name) {
  return std::wstring(static_cast<const wchar_t*>(GetDataFolder())) + L"\\" + Wide(name);
}

// The id of the contact whose line of `pimtool list` holds `name`; empty when none does.
std::string IdOf(const std::string& name) {
  for (const std::string& line : Lines(Tool(L"pimtool.exe", L"list").out))
    if (line.size() > 10 && line.find(name, 10) != std::string::npos) return line.substr(0, 8);
  return std::string();
}

// What dump prints after "Photo: " for the contact, or empty.
std::string PhotoLine(const std::string& id) {
  const std::string out = Tool(L"pimtool.exe", L"dump " + Wide(id)).out;
  const size_t at = out.find("\nPhoto: ");
  if (at == std::string::npos) return std::string();
  return out.substr(at + 8, out.find('\n', at + 1) - at - 8);
}

// A photo file of the data folder, read by the item's image library.
struct PhotoFile {
  int width = 0;
  int height = 0;
  std::vector<COLORREF> pixels;  // top-down
  COLORREF At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};

bool ReadPhotoFile(const std::string& name, PhotoFile& file) {
  HBITMAP bitmap = ImageLoadPng(DataFile(name).c_str(), &file.width, &file.height);
  if (!bitmap) return false;
  // The rows asked for top-down, whichever way the bitmap holds them.
  const int stride = (file.width * 3 + 3) & ~3;
  std::vector<BYTE> rows(static_cast<size_t>(stride) * file.height);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = file.width;
  info.bmiHeader.biHeight = -file.height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  HDC dc = GetDC(nullptr);
  const int copied = GetDIBits(dc, bitmap, 0, file.height, rows.data(), &info, DIB_RGB_COLORS);
  ReleaseDC(nullptr, dc);
  DeleteObject(bitmap);
  for (int y = 0; y < file.height; ++y) {
    const BYTE* row = rows.data() + static_cast<size_t>(y) * stride;
    for (int x = 0; x < file.width; ++x)
      file.pixels.push_back(RGB(row[x * 3 + 2], row[x * 3 + 1], row[x * 3]));
  }
  return copied == file.height;
}

bool Near(COLORREF a, COLORREF b, int tolerance) {
  return abs(GetRValue(a) - GetRValue(b)) <= tolerance && abs(GetGValue(a) - GetGValue(b)) <= tolerance &&
         abs(GetBValue(a) - GetBValue(b)) <= tolerance;
}

}  // namespace

TEST_CASE(
    "import stores embedded photos as the contacts' photo files, named in their Notes; a damaged one alone "
    "is refused") {
  using namespace picturebytes;
  FreshStore();
  // Files of earlier runs would make the names unique with a counter.
  for (const char* name : {"Greta_Hollis.png", "Walter_Wide.png", "Bea_Bitmap.png", "Dan_Damaged.png"})
    DeleteFileW(DataFile(name).c_str());
  // Each picture is told apart at its top from its bottom, so that a picture turned over shows.
  const std::string png = Encode(GUID_ContainerFormatPng, 40, 30, [](int x, int y) {
    return y < 6 ? RGB(20, 180, 20) : x < 20 ? RGB(200, 40, 40) : RGB(40, 40, 200);
  });
  const std::string jpeg = Encode(GUID_ContainerFormatJpeg, 960, 640,
                                  [](int, int y) { return y < 320 ? RGB(40, 160, 60) : RGB(200, 200, 40); });
  const std::string bmp = Encode(GUID_ContainerFormatBmp, 16, 16,
                                 [](int, int y) { return y < 8 ? RGB(250, 200, 0) : RGB(0, 0, 250); });
  REQUIRE_FALSE(png.empty());
  REQUIRE_FALSE(jpeg.empty());
  REQUIRE_FALSE(bmp.empty());
  // A JPEG's signature in front of what no decoder reads.
  const std::string damaged = std::string("\xFF\xD8\xFF\xE0", 4) + std::string(300, 'x');

  std::string file;
  auto nextLine = [&file]() {
    int lines = 1;
    for (size_t at = 0; (at = file.find("\r\n", at)) != std::string::npos; at += 2) ++lines;
    return lines;
  };
  file += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Hollis;Greta\r\nTEL;TYPE=CELL:+44 7700 900123\r\n";
  file += "PHOTO;ENCODING=b;TYPE=PNG:" + Folded(Base64(png), 74, " ");
  file += "NOTE:Prefers calls after ten.\r\nEND:VCARD\r\n";
  file += "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Wide;Walter\r\nPHOTO;ENCODING=BASE64;TYPE=JPEG:\r\n" +
          Folded(Base64(jpeg), 64, "    ") + "\r\nEND:VCARD\r\n";
  file += "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Bitmap;Bea\r\nPHOTO;BMP;BASE64:\r\n" +
          Folded(Base64(bmp), 76, "") + "\r\nEMAIL;INTERNET:bea@example.org\r\nEND:VCARD\r\n";
  file += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Damaged;Dan\r\n";
  const int damagedLine = nextLine();
  file += "PHOTO;ENCODING=b;TYPE=JPEG:" + Base64(damaged) + "\r\nTEL;TYPE=WORK:555-0142\r\nEND:VCARD\r\n";
  file += "BEGIN:VCARD\r\nVERSION:3.0\r\nORG:Nameless Ltd\r\nPHOTO:data:image/png;base64," + Base64(png) +
          "\r\nEND:VCARD\r\n";
  const std::wstring path = L"\\Temp\\pimtool-photos.vcf";
  std::ofstream(path.c_str(), std::ios::binary) << file;

  Run import = Tool(L"pimtool.exe", L"import " + path);
  CAPTURE(import.err);
  // The refused picture leaves its card imported, and the command succeeds.
  CHECK(import.code == 0);
  CHECK(import.out == "added 5 contacts\n");
  CHECK(import.err.find(":" + std::to_string(damagedLine) + ": PHOTO refused: the JPEG picture is damaged") !=
        std::string::npos);
  CHECK(import.err.find("; the rest of the card is imported") != std::string::npos);

  // Each photo is a PNG file in the data folder under the name the item gives it, and the Note names it.
  const std::string greta = IdOf("Hollis, Greta");
  REQUIRE_FALSE(greta.empty());
  CHECK(PhotoLine(greta) == "Greta_Hollis.png");
  PhotoFile photo;
  REQUIRE(ReadPhotoFile("Greta_Hollis.png", photo));
  CHECK(photo.width == 40);
  CHECK(photo.height == 30);
  CHECK(photo.At(5, 2) == RGB(20, 180, 20));
  CHECK(photo.At(5, 15) == RGB(200, 40, 40));
  CHECK(photo.At(35, 25) == RGB(40, 40, 200));

  // A picture larger than a phone shows is scaled down to fit 480 pixels, its proportions kept.
  CHECK(PhotoLine(IdOf("Wide, Walter")) == "Walter_Wide.png");
  PhotoFile wide;
  REQUIRE(ReadPhotoFile("Walter_Wide.png", wide));
  CHECK(wide.width == 480);
  CHECK(wide.height == 320);
  CHECK(Near(wide.At(240, 80), RGB(40, 160, 60), 12));
  CHECK(Near(wide.At(240, 240), RGB(200, 200, 40), 12));

  CHECK(PhotoLine(IdOf("Bitmap, Bea")) == "Bea_Bitmap.png");
  PhotoFile small;
  REQUIRE(ReadPhotoFile("Bea_Bitmap.png", small));
  CHECK(small.width == 16);
  CHECK(small.At(8, 2) == RGB(250, 200, 0));
  CHECK(small.At(8, 12) == RGB(0, 0, 250));

  // The damaged picture: no photo, no file; the rest of the card is there.
  const std::string dan = IdOf("Damaged, Dan");
  REQUIRE_FALSE(dan.empty());
  CHECK(PhotoLine(dan).empty());
  CHECK(Tool(L"pimtool.exe", L"dump " + Wide(dan)).out.find("WorkPhone: 555-0142\n") != std::string::npos);
  CHECK(GetFileAttributesW(DataFile("Dan_Damaged.png").c_str()) == INVALID_FILE_ATTRIBUTES);

  // A contact without names: the file is named by the record's id, in decimal.
  const std::string nameless = IdOf("Nameless Ltd");
  REQUIRE_FALSE(nameless.empty());
  const std::string byId = std::to_string(strtoul(nameless.c_str(), nullptr, 16)) + ".png";
  CHECK(PhotoLine(nameless) == byId);
  PhotoFile company;
  CHECK(ReadPhotoFile(byId, company));
  DeleteFileW(DataFile(byId).c_str());
}
