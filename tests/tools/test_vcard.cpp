// The vCard reader of pimtool import.
#include <doctest/doctest.h>

#include <string>
#include <vector>
#include "MutationLoop.h"
#include "VCard.h"

namespace {

std::string ToUtf8(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) {
    unsigned u = c;
    if (u < 0x80)
      out += static_cast<char>(u);
    else if (u < 0x800)
      out += static_cast<char>(0xC0 | (u >> 6)), out += static_cast<char>(0x80 | (u & 0x3F));
    else
      out += static_cast<char>(0xE0 | (u >> 12)), out += static_cast<char>(0x80 | ((u >> 6) & 0x3F)),
          out += static_cast<char>(0x80 | (u & 0x3F));
  }
  return out;
}

}  // namespace

TEST_CASE("a vCard 3.0 card with names, several phones and mails, address, dates and escapes") {
  std::string file =
      "BEGIN:VCARD\r\n"
      "VERSION:3.0\r\n"
      "N:Smith;John;Quincy;Dr.;Jr.\r\n"
      "FN:John Smith\r\n"
      "ORG:Acme Corporation;Research\r\n"
      "TITLE:Chief Scientist\r\n"
      "TEL;TYPE=WORK,VOICE:+1 (617) 555-0100\r\n"
      "TEL;TYPE=WORK:617-555-0101\r\n"
      "TEL;TYPE=WORK:617-555-0102\r\n"
      "TEL;TYPE=CELL:+1 617 555 0199\r\n"
      "TEL;TYPE=HOME:555-1234 ext 5\r\n"
      "TEL;TYPE=FAX,WORK:617-555-0110\r\n"
      "TEL;TYPE=PAGER:617-555-0111\r\n"
      "EMAIL;TYPE=INTERNET:john@example.com\r\n"
      "EMAIL;TYPE=INTERNET,WORK:j.smith@acme.example\r\n"
      "EMAIL:third@example.org\r\n"
      "EMAIL:fourth@example.net\r\n"
      "URL:http://www.example.com/john\r\n"
      "ADR;TYPE=WORK:;Suite 5;1 Main Street;Boston;MA;02110;USA\r\n"
      "ADR;TYPE=HOME:;;22 Elm Street;Cambridge;MA;02139;USA\r\n"
      "BDAY:1970-05-17\r\n"
      "X-ANNIVERSARY:19950610\r\n"
      "CATEGORIES:Business,VIP\r\n"
      "NOTE:First line\\nSecond\\, with comma\\; and semicolon\r\n"
      "END:VCARD\r\n";
  VCardResult result = ParseVCards(file);
  CHECK(result.problems.empty());
  REQUIRE(result.contacts.size() == 1);
  const ToolContact& c = result.contacts[0];
  CHECK(c.text[FieldLastName] == L"Smith");
  CHECK(c.text[FieldFirstName] == L"John");
  CHECK(c.text[FieldMiddleName] == L"Quincy");
  CHECK(c.text[FieldTitle] == L"Dr.");
  CHECK(c.text[FieldSuffix] == L"Jr.");
  CHECK(c.text[FieldFileAs] == L"John Smith");
  CHECK(c.text[FieldCompany] == L"Acme Corporation");
  CHECK(c.text[FieldDepartment] == L"Research");
  CHECK(c.text[FieldJobTitle] == L"Chief Scientist");
  CHECK(c.text[FieldWorkPhone] == L"+1 (617) 555-0100");
  CHECK(c.text[FieldWorkPhone2] == L"617-555-0101");
  REQUIRE(c.phones.size() == 1);  // the third work number goes beside the fixed fields
  CHECK(c.phones[0].value == L"617-555-0102");
  CHECK(c.phones[0].label == L"Work");
  CHECK(c.text[FieldMobilePhone] == L"+1 617 555 0199");
  CHECK(c.text[FieldHomePhone] == L"555-1234 ext 5");
  CHECK(c.text[FieldWorkFax] == L"617-555-0110");
  CHECK(c.text[FieldPager] == L"617-555-0111");
  CHECK(c.text[FieldEmail1] == L"john@example.com");
  CHECK(c.text[FieldEmail2] == L"j.smith@acme.example");
  CHECK(c.text[FieldEmail3] == L"third@example.org");
  REQUIRE(c.emails.size() == 1);
  CHECK(c.emails[0].value == L"fourth@example.net");
  CHECK(c.text[FieldWebPage] == L"http://www.example.com/john");
  CHECK(c.text[FieldWorkStreet] == L"1 Main Street, Suite 5");
  CHECK(c.text[FieldWorkCity] == L"Boston");
  CHECK(c.text[FieldWorkState] == L"MA");
  CHECK(c.text[FieldWorkPostalCode] == L"02110");
  CHECK(c.text[FieldWorkCountry] == L"USA");
  CHECK(c.text[FieldHomeStreet] == L"22 Elm Street");
  CHECK(c.text[FieldHomeCity] == L"Cambridge");
  CHECK(c.birthday == DateToFileTime(1970, 5, 17));
  CHECK(c.anniversary == DateToFileTime(1995, 6, 10));
  CHECK(c.categories == std::vector<std::wstring>{L"Business", L"VIP"});
  CHECK(c.note == L"First line\r\nSecond, with comma; and semicolon");
}

TEST_CASE("vCard 2.1: bare types, quoted-printable with soft breaks, character sets and folded lines") {
  std::string file =
      "BEGIN:VCARD\n"
      "VERSION:2.1\n"
      "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=D0=98=D0=B2=D0=B0=D0=BD=D0=BE=D0=B2;=D0=98=D0=B2=D0=B0=D0="
      "BD\n"
      "TEL;HOME;VOICE:+7 (495) 123-45-67\n"
      "TEL;CELL:8001234567\n"
      "TEL;WORK;FAX:+7 495 765 4321\n"
      "NOTE;ENCODING=QUOTED-PRINTABLE:Line one=0D=0A=\n"
      "Line two\n"
      "ORG;CHARSET=WINDOWS-1251:\xCE\xCE\xCE \xD0\xEE\xEC\xE0\xF8\xEA\xE0\n"
      "TITLE:A title that goes on\n"
      " and on\n"
      "END:VCARD\n";
  VCardResult result = ParseVCards(file);
  CHECK(result.problems.empty());
  REQUIRE(result.contacts.size() == 1);
  const ToolContact& c = result.contacts[0];
  CHECK(c.text[FieldLastName] == L"Иванов");
  CHECK(c.text[FieldFirstName] == L"Иван");
  CHECK(c.text[FieldHomePhone] == L"+7 (495) 123-45-67");
  CHECK(c.text[FieldMobilePhone] == L"8001234567");
  CHECK(c.text[FieldWorkFax] == L"+7 495 765 4321");
  CHECK(c.note == L"Line one\r\nLine two");
  CHECK(c.text[FieldCompany] == L"ООО Ромашка");
  CHECK(c.text[FieldJobTitle] == L"A title that goes onand on");
}

TEST_CASE("UTF-8 and UTF-16 files with byte-order marks") {
  std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + ToUtf8(L"Müller;Jürgen") + "\r\nEND:VCARD\r\n";
  VCardResult utf8 = ParseVCards("\xEF\xBB\xBF" + card);
  REQUIRE(utf8.contacts.size() == 1);
  CHECK(utf8.contacts[0].text[FieldLastName] == L"Müller");

  std::wstring wide =
      L"\xFEFF"
      L"BEGIN:VCARD\r\nVERSION:3.0\r\nN:Шмидт;Анна\r\nEND:VCARD\r\n";
  std::string utf16(reinterpret_cast<const char*>(wide.data()), wide.size() * 2);
  VCardResult result = ParseVCards(utf16);
  REQUIRE(result.contacts.size() == 1);
  CHECK(result.contacts[0].text[FieldLastName] == L"Шмидт");
  CHECK(result.contacts[0].text[FieldFirstName] == L"Анна");
}

TEST_CASE("a malformed card is reported with its line and skipped; the others are read") {
  std::string file =
      "BEGIN:VCARD\n"                         // 1
      "VERSION:3.0\n"                         // 2
      "N:One;First\n"                         // 3
      "END:VCARD\n"                           // 4
      "BEGIN:VCARD\n"                         // 5
      "VERSION:3.0\n"                         // 6
      "N:Two;Broken\n"                        // 7
      "this line has no colon\n"              // 8
      "TEL:555-0000\n"                        // 9
      "END:VCARD\n"                           // 10
      "BEGIN:VCARD\n"                         // 11
      "VERSION:2.1\n"                         // 12
      "N;ENCODING=QUOTED-PRINTABLE:Bad=ZZ\n"  // 13
      "END:VCARD\n"                           // 14
      "BEGIN:VCARD\n"                         // 15
      "VERSION:3.0\n"                         // 16
      "BDAY:1970-13-45\n"                     // 17
      "END:VCARD\n"                           // 18
      "BEGIN:VCARD\n"                         // 19
      "VERSION:3.0\n"                         // 20
      "N:Three;Last\n"                        // 21
      "END:VCARD\n";                          // 22
  VCardResult result = ParseVCards(file);
  REQUIRE(result.contacts.size() == 2);
  CHECK(result.contacts[0].text[FieldLastName] == L"One");
  CHECK(result.contacts[1].text[FieldLastName] == L"Three");
  REQUIRE(result.problems.size() == 3);
  CHECK(result.problems[0].line == 8);
  CHECK(result.problems[1].line == 13);
  CHECK(result.problems[2].line == 17);
}

TEST_CASE("a card without its end, an end without a card, and an unknown version") {
  std::string file =
      "END:VCARD\n"        // 1
      "BEGIN:VCARD\n"      // 2
      "VERSION:3.0\n"      // 3
      "N:Lost;Card\n"      // 4
      "BEGIN:VCARD\n"      // 5
      "VERSION:9.9\n"      // 6
      "END:VCARD\n"        // 7
      "BEGIN:VCARD\n"      // 8
      "VERSION:3.0\n"      // 9
      "N:Kept;Card\n"      // 10
      "END:VCARD\n"        // 11
      "BEGIN:VCARD\n"      // 12
      "N:Unended;Card\n";  // 13
  VCardResult result = ParseVCards(file);
  REQUIRE(result.contacts.size() == 1);
  CHECK(result.contacts[0].text[FieldLastName] == L"Kept");
  REQUIRE(result.problems.size() == 4);
  CHECK(result.problems[0].line == 1);
  CHECK(result.problems[1].line == 2);
  CHECK(result.problems[2].line == 6);
  CHECK(result.problems[3].line == 12);
}

TEST_CASE("lines may end in CR alone, LF alone or CR LF, mixed in one file") {
  std::string crOnly;
  for (int k = 0; k < 40; ++k)
    crOnly += "BEGIN:VCARD\rVERSION:3.0\rN:Name" + std::to_string(k) + ";First\rTEL:555-01" +
              std::to_string(10 + k) + "\rEND:VCARD\r";
  VCardResult result = ParseVCards(crOnly);
  CHECK(result.problems.empty());
  REQUIRE(result.contacts.size() == 40);
  CHECK(result.contacts[39].text[FieldLastName] == L"Name39");
  CHECK(result.contacts[39].sourceLine == 39 * 5 + 1);
  // Mixed ends; a CR LF pair is one end, and LF CR two (an empty line between).
  result = ParseVCards("BEGIN:VCARD\r\nVERSION:3.0\rN:A;B\nEND:VCARD\n\rBEGIN:VCARD\rN:C;D\r\nEND:VCARD");
  CHECK(result.problems.empty());
  REQUIRE(result.contacts.size() == 2);
  CHECK(result.contacts[0].text[FieldLastName] == L"A");
  CHECK(result.contacts[1].text[FieldLastName] == L"C");
  CHECK(result.contacts[1].sourceLine == 6);
  // A folded line continues after a CR alone too.
  result = ParseVCards("BEGIN:VCARD\rN:Lo\r ng;X\rEND:VCARD\r");
  REQUIRE(result.contacts.size() == 1);
  CHECK(result.contacts[0].text[FieldLastName] == L"Long");
}

TEST_CASE("a card nested in another is skipped with it, once; a card that lacks its end loses only itself") {
  std::string file =
      "BEGIN:VCARD\n"    // 1
      "VERSION:2.1\n"    // 2
      "N:Outer;Olga\n"   // 3
      "AGENT:\n"         // 4
      "BEGIN:VCARD\n"    // 5
      "VERSION:2.1\n"    // 6
      "N:Inner;Ivan\n"   // 7
      "END:VCARD\n"      // 8
      "TEL:555-0100\n"   // 9
      "END:VCARD\n"      // 10
      "BEGIN:VCARD\n"    // 11
      "N:After;Anna\n"   // 12
      "END:VCARD\n"      // 13
      "BEGIN:VCARD\n"    // 14
      "N:Unended;Uma\n"  // 15
      "BEGIN:VCARD\n"    // 16
      "N:Next;Nina\n"    // 17
      "END:VCARD\n"      // 18
      "BEGIN:VCARD\n"    // 19
      "N:Last;Lev\n"     // 20
      "BEGIN:VCARD\n"    // 21
      "N:Deep;Dora\n"    // 22
      "END:VCARD\n";     // 23
  VCardResult result = ParseVCards(file);
  std::vector<std::wstring> names;
  for (const ToolContact& c : result.contacts) names.push_back(c.text[FieldLastName]);
  // Nested at line 5: neither Outer nor Inner, and nothing of Outer's tail. Unended lacks its end:
  // Next is a card of its own. Deep, at the end of the file, can't be told from a card of its own.
  CHECK(names == std::vector<std::wstring>{L"After", L"Next", L"Deep"});
  REQUIRE(result.problems.size() == 3);
  CHECK(result.problems[0].line == 1);
  CHECK(result.problems[0].message.find(L"lines 5 to 8") != std::wstring::npos);
  CHECK(result.problems[1].line == 14);
  CHECK(result.problems[1].message.find(L"line 16") != std::wstring::npos);
  CHECK(result.problems[2].line == 19);
  CHECK(result.contacts[0].sourceLine == 11);
  CHECK(result.contacts[1].sourceLine == 16);

  // Three BEGINs in a row: the first two are each reported once, the third is read.
  result = ParseVCards("BEGIN:VCARD\nN:A;A\nBEGIN:VCARD\nN:B;B\nBEGIN:VCARD\nN:C;C\nEND:VCARD\n");
  REQUIRE(result.contacts.size() == 1);
  CHECK(result.contacts[0].text[FieldLastName] == L"C");
  REQUIRE(result.problems.size() == 2);
  CHECK(result.problems[0].line == 1);
  CHECK(result.problems[1].line == 3);
  // A nested card in a card that ends with the file: one report, nothing read.
  result = ParseVCards("BEGIN:VCARD\nN:A;A\nBEGIN:VCARD\nN:B;B\nEND:VCARD\nTEL:1\n");
  CHECK(result.contacts.empty());
  REQUIRE(result.problems.size() == 1);
  CHECK(result.problems[0].line == 1);
}

TEST_CASE("messengers, labelled values, related names, further dates and addresses, and the photo's name") {
  std::string file =
      "BEGIN:VCARD\r\n"
      "VERSION:3.0\r\n"
      "N:Petrov;Ivan\r\n"
      "X-ICQ:123456789\r\n"
      "X-SKYPE-USERNAME:ivan.petrov\r\n"
      "IMPP;TYPE=HOME:xmpp:ivan@jabber.example\r\n"
      "IMPP:sip:ivan@voip.example\r\n"
      "EMAIL:one@example.org\r\nEMAIL:two@example.org\r\nEMAIL:three@example.org\r\n"
      "item1.X-ABLabel:Private\r\n"  // the label may come before its value
      "item1.EMAIL:four@example.org\r\n"
      "item2.URL:http://www.example.org/\r\n"
      "item3.URL:http://blog.example.org/\r\n"
      "item3.X-ABLabel:_$!<HomePage>!$_\r\n"
      "item4.X-ABRELATEDNAMES:Anna\r\n"
      "item4.X-ABLabel:_$!<Sister>!$_\r\n"
      "RELATED;TYPE=FRIEND:Oleg\r\n"
      "item5.X-ABDATE:2003-04-05\r\n"
      "item5.X-ABLabel:Name day\r\n"
      "X-ABDATE:2010-11-12\r\n"
      "BDAY:1970-01-02\r\n"
      "BDAY:1971-01-02\r\n"
      "ADR;TYPE=WORK:;;1 Main St;Boston;MA;02110;USA\r\n"
      "ADR;TYPE=WORK:;;2 Side St;Cambridge;MA;02139;USA\r\n"
      "item6.ADR:;;3 Dacha Rd;Pine;;188731;Russia\r\n"
      "item7.ADR:;;4 Forest Ln;Oak;;188732;Russia\r\n"
      "item7.X-ABLabel:Dacha\r\n"
      "PHOTO;VALUE=URI:http://photos.example.org/people/ivan.jpg\r\n"
      "X-UNKNOWN-THING:ignored\r\n"
      "END:VCARD\r\n";
  VCardResult result = ParseVCards(file);
  CHECK(result.problems.empty());
  REQUIRE(result.contacts.size() == 1);
  const ToolContact& c = result.contacts[0];
  REQUIRE(c.messengers.size() == 4);
  CHECK(c.messengers[0].kind == L"ICQ");
  CHECK(c.messengers[0].id == L"123456789");
  CHECK(c.messengers[1].kind == L"Skype");
  CHECK(c.messengers[1].id == L"ivan.petrov");
  CHECK(c.messengers[2].kind == L"Jabber");
  CHECK(c.messengers[2].id == L"ivan@jabber.example");
  CHECK(c.messengers[2].note == L"home");
  CHECK(c.messengers[3].kind == L"sip");
  CHECK(c.messengers[3].id == L"ivan@voip.example");
  REQUIRE(c.emails.size() == 1);
  CHECK(c.emails[0].label == L"Private");
  CHECK(c.emails[0].value == L"four@example.org");
  CHECK(c.text[FieldWebPage] == L"http://www.example.org/");
  REQUIRE(c.webPages.size() == 1);
  CHECK(c.webPages[0].label == L"HomePage");
  REQUIRE(c.people.size() == 2);
  CHECK(c.people[0].label == L"Sister");
  CHECK(c.people[0].value == L"Anna");
  CHECK(c.people[1].label == L"Friend");
  CHECK(c.people[1].value == L"Oleg");
  REQUIRE(c.dates.size() == 3);
  CHECK(c.dates[0].label == L"Name day");
  CHECK(c.dates[0].date == DateToFileTime(2003, 4, 5));
  CHECK(c.dates[1].label == L"Date");
  CHECK(c.dates[2].label == L"Birthday");
  CHECK(c.dates[2].date == DateToFileTime(1971, 1, 2));
  CHECK(c.birthday == DateToFileTime(1970, 1, 2));
  CHECK(c.text[FieldWorkStreet] == L"1 Main St");
  CHECK(c.text[FieldOtherStreet] == L"3 Dacha Rd");
  REQUIRE(c.addresses.size() == 2);
  CHECK(c.addresses[0].label == L"Work");
  CHECK(c.addresses[0].parts[0] == L"2 Side St");
  CHECK(c.addresses[0].parts[1] == L"Cambridge");
  CHECK(c.addresses[0].parts[3] == L"02139");
  CHECK(c.addresses[1].label == L"Dacha");
  CHECK(c.addresses[1].parts[4] == L"Russia");
  CHECK(c.photo == L"ivan.jpg");
  CHECK(c.HasExtended());
  CHECK(c.otherValues.empty());
}

TEST_CASE("an embedded photo gives no name but its bytes, and a bad further date spoils its card") {
  std::string file =
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:A;B\r\nPHOTO;ENCODING=BASE64;TYPE=JPEG:/9j/"
      "4AAQSkZJRgABAQ\r\nEND:VCARD\r\n"
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:C;D\r\nX-ABDATE:someday\r\nEND:VCARD\r\n";
  VCardResult result = ParseVCards(file);
  REQUIRE(result.contacts.size() == 1);
  CHECK(result.contacts[0].photo.empty());
  // Without its closing "=", as some writers leave it out.
  CHECK(result.contacts[0].photoData == std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01", 13));
  CHECK(result.contacts[0].photoLine == 4);
  CHECK_FALSE(result.contacts[0].HasExtended());
  REQUIRE(result.problems.size() == 1);
  CHECK(result.problems[0].line == 9);
  CHECK(result.problems[0].cardSkipped);
}

namespace {

std::string Base64(const std::string& bytes) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    unsigned v = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8 |
                 static_cast<unsigned char>(bytes[i + 2]);
    out += kAlphabet[v >> 18];
    out += kAlphabet[(v >> 12) & 63];
    out += kAlphabet[(v >> 6) & 63];
    out += kAlphabet[v & 63];
  }
  if (i + 1 == bytes.size()) {
    unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
    out += std::string(1, kAlphabet[v >> 18]) + kAlphabet[(v >> 12) & 63] + "==";
  } else if (i + 2 == bytes.size()) {
    unsigned v = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += std::string(1, kAlphabet[v >> 18]) + kAlphabet[(v >> 12) & 63] + kAlphabet[(v >> 6) & 63] + "=";
  }
  return out;
}

// `text` cut into lines of `width`, each after the first begun with `indent`.
std::string Folded(const std::string& text, size_t width, const std::string& indent) {
  std::string out;
  for (size_t at = 0; at < text.size(); at += width)
    out += (at ? indent : "") + text.substr(at, width) + "\r\n";
  return out;
}

// Bytes that begin as the three kinds of picture do; the reader looks no further.
const std::string kJpegBytes =
    std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00", 14) + std::string(200, 'j');
const std::string kPngBytes = std::string("\x89PNG\r\n\x1A\n\x00\x00\x00\x0DIHDR", 16) + std::string(97, 'p');
const std::string kBmpBytes =
    std::string("BM\x36\x00\x00\x00\x00\x00\x00\x00\x36\x00\x00\x00", 14) + std::string(40, 'b');

}  // namespace

TEST_CASE("embedded photos: 3.0 folded, 2.1 indented and not indented, a data address, each kind") {
  const std::string file =
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:One;Ann\r\n"  // lines 1-3
      "PHOTO;ENCODING=b;TYPE=JPEG:" +                // line 4
      Folded(Base64(kJpegBytes), 60, " ") +          // 5 lines in all
      "TEL;TYPE=CELL:555-0101\r\nEND:VCARD\r\n"      // lines 9-10
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Two;Bob\r\n"  // lines 11-13
      "PHOTO;ENCODING=BASE64;TYPE=PNG:\r\n" +        // line 14
      Folded(Base64(kPngBytes), 40, "    ") +        // 4 lines, every one indented
      "\r\n"                                         // the blank line that ends a 2.1 value
      "EMAIL;INTERNET:bob@example.org\r\nEND:VCARD\r\n"
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Three;Cy\r\n"
      "PHOTO;BMP;BASE64:\r\n" +
      Folded(Base64(kBmpBytes), 24, "") +  // lines that aren't indented at all
      "\r\n"
      "NOTE:after the picture\r\nEND:VCARD\r\n"
      "BEGIN:VCARD\r\nVERSION:4.0\r\nN:Four;Di\r\n"
      "PHOTO:data:image/png;base64," +
      Base64(kPngBytes) + "\r\nEND:VCARD\r\n";
  VCardResult result = ParseVCards(file);
  CHECK(result.problems.empty());
  REQUIRE(result.contacts.size() == 4);
  CHECK(result.contacts[0].photoData == kJpegBytes);
  CHECK(result.contacts[0].photoLine == 4);
  CHECK(result.contacts[0].text[FieldMobilePhone] == L"555-0101");
  CHECK(result.contacts[1].photoData == kPngBytes);
  CHECK(result.contacts[1].photoLine == 14);
  CHECK(result.contacts[1].text[FieldEmail1] == L"bob@example.org");
  CHECK(result.contacts[2].photoData == kBmpBytes);
  CHECK(result.contacts[2].note == L"after the picture");
  CHECK(result.contacts[3].photoData == kPngBytes);
  for (const ToolContact& c : result.contacts) CHECK(c.photo.empty());
}

TEST_CASE("a hostile photo is refused with its reason and line, and the rest of its card is read") {
  struct Case {
    std::string value;
    std::wstring reason;
  };
  const std::vector<Case> cases = {
      {"PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AA*QSkZJRg==", L"a character that base64 doesn't use"},
      {"PHOTO;ENCODING=b;TYPE=JPEG:/9j/4A==AAQ", L"goes on after the closing"},
      {"PHOTO;ENCODING=b;TYPE=JPEG:/9j/4", L"ends in the middle of a byte"},
      {"PHOTO;ENCODING=b;TYPE=JPEG:" + Base64("Hello, this is no picture at all."),
       L"not a JPEG, PNG or BMP"},
      {"PHOTO;ENCODING=b;TYPE=GIF:" + Base64("GIF89a\x01\x00\x01\x00"), L"not a JPEG, PNG or BMP"},
      {"PHOTO;ENCODING=b;TYPE=JPEG:", L"holds no picture"},
      {"PHOTO:data:image/jpeg,%FF%D8%FF", L"not in base64"},
      {"PHOTO;ENCODING=b;TYPE=JPEG:" + Base64(kJpegBytes + std::string(kVCardPhotoMaxBytes, 'x')),
       L"more than the 4096 KB"},
  };
  for (const Case& c : cases) {
    CAPTURE(c.value.substr(0, 60));
    const std::string file = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Hostile;Hal\r\n" + c.value +
                             "\r\nTEL;TYPE=WORK:555-0199\r\nNOTE:kept\r\nEND:VCARD\r\n"
                             "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Next;Ned\r\nEND:VCARD\r\n";
    VCardResult result = ParseVCards(file);
    REQUIRE(result.contacts.size() == 2);
    const ToolContact& hal = result.contacts[0];
    CHECK(hal.text[FieldLastName] == L"Hostile");
    CHECK(hal.text[FieldWorkPhone] == L"555-0199");
    CHECK(hal.note == L"kept");
    CHECK(hal.photoData.empty());
    CHECK(hal.photo.empty());
    REQUIRE(result.problems.size() == 1);
    CHECK(result.problems[0].line == 4);
    CHECK_FALSE(result.problems[0].cardSkipped);
    CHECK(result.problems[0].message.find(L"PHOTO refused: ") == 0);
    CHECK(result.problems[0].message.find(c.reason) != std::wstring::npos);
  }
}

TEST_CASE("an embedded photo wins over a named one; a refusal in a card skipped later is not told") {
  const std::string picture = "PHOTO;ENCODING=b;TYPE=PNG:" + Base64(kPngBytes) + "\r\n";
  const std::string named = "PHOTO;VALUE=URI:http://photos.example.org/ann.jpg\r\n";
  const std::string file =
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:A;Ann\r\n" + named + picture +
      "END:VCARD\r\n"
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:B;Bob\r\n" +
      picture + named +
      "END:VCARD\r\n"
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:C;Cy\r\nPHOTO;ENCODING=b:@@@@\r\nBDAY:1970-13-45\r\n"
      "END:VCARD\r\n";
  VCardResult result = ParseVCards(file);
  REQUIRE(result.contacts.size() == 2);
  for (const ToolContact& c : result.contacts) {
    CHECK(c.photoData == kPngBytes);
    CHECK(c.photo.empty());
  }
  // Only the skip of the third card is told, at the line of its bad date.
  REQUIRE(result.problems.size() == 1);
  CHECK(result.problems[0].cardSkipped);
  CHECK(result.problems[0].line == 17);
}

namespace {

// Cards of many shapes: 3.0 with structured values and escapes, 2.1 with quoted-printable and
// character sets, folded lines, extended data, several cards, each line-end kind.
std::vector<mutation::Bytes> CardCorpus() {
  std::vector<std::string> texts = {
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Smith;John;Q;Dr.;Jr.\r\nFN:John Smith\r\nORG:Acme;Research\r\n"
      "TEL;TYPE=WORK,VOICE:+1 617 555-0100\r\nTEL;TYPE=CELL:+1 617 555 "
      "0199\r\nEMAIL;TYPE=INTERNET:j@x.example\r\n"
      "ADR;TYPE=HOME:;;1 Main St\\, Apt 2;Boston;MA;02110;USA\r\nBDAY:1970-01-31\r\nNOTE:Two\\nlines\\; and "
      "more\r\n"
      "CATEGORIES:Work,Friends\r\nURL:http://x.example\r\nX-ABDATE:2001-02-03\r\nEND:VCARD\r\n",
      "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=D0=98=D0=B2;=D0=98\n"
      "TEL;HOME;VOICE:+7 (495) 123-45-67\nNOTE;ENCODING=QUOTED-PRINTABLE:One=0D=0A=\nTwo\n"
      "ORG;CHARSET=WINDOWS-1251:\xCE\xCE\xCE\nTITLE:Long title\n and more\nEND:VCARD\n",
      "BEGIN:VCARD\rVERSION:3.0\rN:A;B\rIMPP:xmpp:a@b.example\rX-SKYPE:abc\rPHOTO;VALUE=URI:file:///p.png\r"
      "END:VCARD\rBEGIN:VCARD\rVERSION:3.0\rN:C;D\rEMAIL:c@d.example\rEMAIL:e@f.example\rEMAIL:g@h.example\r"
      "EMAIL:i@j.example\rEND:VCARD\r",
      "BEGIN:VCARD\r\nVERSION:4.0\r\nN:Lee;Ann\r\nitem1.TEL:555\r\nitem1.X-ABLabel:Dacha\r\nBEGIN:VCARD\r\n"
      "N:Nested;Ned\r\nEND:VCARD\r\nEND:VCARD\r\nBEGIN:VCARD\r\nN:After;Al\r\nEND:VCARD\r\n",
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Pic;Pia\r\nPHOTO;JPEG;ENCODING=BASE64:\r\n /9j/4AAQSkZJRgABAQ\r\n"
      "AAAAAAAAAA==\r\n\r\nTEL;CELL:555\r\nEND:VCARD\r\nBEGIN:VCARD\r\nVERSION:3.0\r\nN:Pic;Pete\r\n"
      "PHOTO;ENCODING=b;TYPE=PNG:iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1Pe\r\n "
      "AAAADElEQVR4nGP4z8AAAAMBAQDJ\r\n"
      "PHOTO:data:image/bmp;base64,Qk0eAAAAAAAAABoAAAAMAAAAAQABAAEAGAAAAP8A\r\nEND:VCARD\r\n"};
  std::vector<mutation::Bytes> corpus;
  for (const std::string& text : texts) corpus.emplace_back(text.begin(), text.end());
  return corpus;
}

// Lines of the file at most: every CR, LF or CR LF ends one.
int LinesAtMost(const mutation::Bytes& bytes) {
  int lines = 1;
  for (uint8_t b : bytes)
    if (b == '\n' || b == '\r') ++lines;
  return lines;
}

// Places where a BEGIN can stand once folded lines are joined: an upper bound of the cards.
int BeginLines(const mutation::Bytes& bytes) {
  int count = 0;
  std::string text;
  for (size_t k = 0; k < bytes.size(); ++k) {
    const bool lineEnd = bytes[k] == '\r' || bytes[k] == '\n';
    size_t next = k + 1;
    if (bytes[k] == '\r' && next < bytes.size() && bytes[next] == '\n') ++next;
    if (lineEnd && next < bytes.size() && (bytes[next] == ' ' || bytes[next] == '\t')) {
      k = next;
      continue;
    }
    text += static_cast<char>(bytes[k]);
  }
  for (size_t at = 0; (at = text.find(":", at)) != std::string::npos; ++at) {
    if (at >= 5) {
      std::string head = text.substr(at - 5, 5);
      for (char& c : head) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
      if (head == "BEGIN") ++count;
    }
  }
  return count;
}

}  // namespace

TEST_CASE("mutations: the vCard reader") {
  const mutation::Summary summary = mutation::Run(
      "vcard", CardCorpus(),
      [](const mutation::Bytes& input, std::string& why) {
        const VCardResult result = ParseVCards(std::string(input.begin(), input.end()));
        const bool wide = input.size() >= 2 && input[0] == 0xFF && input[1] == 0xFE;
        const int lines = wide ? 1 + static_cast<int>(input.size()) : LinesAtMost(input);
        int previous = 0;
        for (const ToolContact& contact : result.contacts) {
          if (contact.sourceLine <= previous || contact.sourceLine > lines) {
            why = "a card's line " + std::to_string(contact.sourceLine) + " is out of order or range";
            return false;
          }
          previous = contact.sourceLine;
        }
        for (const VCardProblem& problem : result.problems) {
          if (problem.line < 1 || problem.line > lines) {
            why = "a problem at line " + std::to_string(problem.line) + " of " + std::to_string(lines);
            return false;
          }
        }
        if (!wide && static_cast<int>(result.contacts.size()) > BeginLines(input)) {
          why = "more cards than BEGIN lines";
          return false;
        }
        return true;
      },
      5000, 21);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.inputs > 0);
  CHECK(summary.wrong == 0);
}
