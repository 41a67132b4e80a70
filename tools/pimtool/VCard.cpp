#include "VCard.h"
#include <windows.h>
#include <algorithm>
#include <cstring>
#include <cwctype>
#include <map>

namespace {

struct Param {
  std::string name;   // upper case; empty for a bare 2.1 value such as "HOME"
  std::string value;  // upper case for TYPE, ENCODING and bare values
};

struct Property {
  std::string name;   // upper case, without group
  std::string group;  // upper case, "ITEM1" of "item1.TEL"; empty without one
  std::vector<Param> params;
  std::string rawValue;
  int line;
};

std::string Upper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

std::string Trim(const std::string& text) {
  size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return std::string();
  size_t last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

bool HasType(const Property& p, const char* type) {
  for (const Param& param : p.params)
    if ((param.name.empty() || param.name == "TYPE") && param.value == type) return true;
  return false;
}

std::string ParamValue(const Property& p, const char* name) {
  for (const Param& param : p.params)
    if (param.name == name) return param.value;
  return std::string();
}

bool IsQuotedPrintable(const Property& p) {
  return ParamValue(p, "ENCODING") == "QUOTED-PRINTABLE" || HasType(p, "QUOTED-PRINTABLE");
}

bool DecodeQuotedPrintable(const std::string& in, std::string* out) {
  out->clear();
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '=') {
      *out += in[i];
      continue;
    }
    if (i + 1 == in.size()) return true;  // a soft break at the very end
    if (i + 2 >= in.size()) return false;
    auto hex = [](char c) -> int {
      if (c >= '0' && c <= '9') return c - '0';
      if (c >= 'A' && c <= 'F') return c - 'A' + 10;
      if (c >= 'a' && c <= 'f') return c - 'a' + 10;
      return -1;
    };
    int high = hex(in[i + 1]), low = hex(in[i + 2]);
    if (high < 0 || low < 0) return false;
    *out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return true;
}

bool IsValidUtf8(const std::string& text) {
  return text.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                             static_cast<int>(text.size()), nullptr, 0) > 0;
}

std::wstring Widen(const std::string& text, UINT codePage) {
  if (text.empty()) return std::wstring();
  int n = MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(n, L'\0');
  MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), &out[0], n);
  return out;
}

UINT CodePageOf(const std::string& charset) {
  std::string c = Upper(charset);
  if (c.empty() || c == "UTF-8" || c == "UTF8") return CP_UTF8;
  if (c == "WINDOWS-1251" || c == "CP1251") return 1251;
  if (c == "WINDOWS-1252" || c == "CP1252") return 1252;
  if (c == "ISO-8859-1" || c == "LATIN1") return 28591;
  if (c == "ISO-8859-5") return 28595;
  if (c == "KOI8-R") return 20866;
  if (c == "US-ASCII" || c == "ASCII") return 20127;
  return 0;
}

// The value's bytes as text: quoted-printable undone, then the character set applied.
bool DecodeValue(const Property& p, std::wstring* text, std::wstring* problem) {
  std::string bytes = p.rawValue;
  if (IsQuotedPrintable(p) && !DecodeQuotedPrintable(p.rawValue, &bytes)) {
    *problem = L"bad quoted-printable value of " + Widen(p.name, CP_UTF8);
    return false;
  }
  std::string charset = ParamValue(p, "CHARSET");
  UINT codePage = CodePageOf(charset);
  if (!charset.empty() && codePage == 0) {
    *problem = L"unknown character set " + Widen(charset, CP_UTF8);
    return false;
  }
  // Without a character set, text that isn't UTF-8 is taken as Western 8-bit text.
  if (codePage == CP_UTF8 && !IsValidUtf8(bytes)) codePage = charset.empty() ? 1252 : 0;
  if (codePage == 0) {
    *problem = L"value of " + Widen(p.name, CP_UTF8) + L" is not valid UTF-8";
    return false;
  }
  *text = Widen(bytes, codePage);
  return true;
}

// Splits a structured value at unescaped semicolons (or commas) and undoes the escapes.
std::vector<std::wstring> SplitValue(const std::wstring& value, wchar_t separator) {
  std::vector<std::wstring> parts(1);
  for (size_t i = 0; i < value.size(); ++i) {
    wchar_t c = value[i];
    if (c == L'\\' && i + 1 < value.size()) {
      wchar_t next = value[++i];
      if (next == L'n' || next == L'N')
        parts.back() += L"\r\n";
      else
        parts.back() += next;
    } else if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

std::wstring Unescape(const std::wstring& value) { return SplitValue(value, 0)[0]; }

std::wstring Part(const std::vector<std::wstring>& parts, size_t index) {
  return index < parts.size() ? parts[index] : std::wstring();
}

bool ParseDate(const std::wstring& text, uint64_t* fileTime) {
  std::wstring digits;
  for (wchar_t c : text) {
    if (c == L'T') break;
    if (c >= L'0' && c <= L'9')
      digits += c;
    else if (c != L'-')
      return false;
  }
  if (digits.size() != 8) return false;
  int year = std::stoi(digits.substr(0, 4)), month = std::stoi(digits.substr(4, 2)),
      day = std::stoi(digits.substr(6, 2));
  static const int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1601 || month < 1 || month > 12 || day < 1 || day > kDays[month - 1]) return false;
  *fileTime = DateToFileTime(year, month, day);
  return true;
}

// Where the label of an extended value stands: the list and the index, since a list may move as it grows.
struct LabelRef {
  std::vector<LabelledValue>* pairs = nullptr;
  std::vector<ToolMessenger>* messengers = nullptr;
  std::vector<ToolAddress>* addresses = nullptr;
  std::vector<ToolDate>* dates = nullptr;
  size_t index = 0;

  static LabelRef Last(std::vector<LabelledValue>& list) {
    LabelRef r;
    r.pairs = &list;
    r.index = list.size() - 1;
    return r;
  }
  static LabelRef Last(std::vector<ToolMessenger>& list) {
    LabelRef r;
    r.messengers = &list;
    r.index = list.size() - 1;
    return r;
  }
  static LabelRef Last(std::vector<ToolAddress>& list) {
    LabelRef r;
    r.addresses = &list;
    r.index = list.size() - 1;
    return r;
  }
  static LabelRef Last(std::vector<ToolDate>& list) {
    LabelRef r;
    r.dates = &list;
    r.index = list.size() - 1;
    return r;
  }
  void Set(const std::wstring& label) const {
    if (pairs)
      (*pairs)[index].label = label;
    else if (messengers)
      (*messengers)[index].kind = label;
    else if (addresses)
      (*addresses)[index].label = label;
    else if (dates)
      (*dates)[index].label = label;
  }
};

// Labels that a card gives its grouped values ("item1.X-ABLabel:Dacha" names the value of "item1.TEL"),
// in whichever order the label and the value come.
struct CardLabels {
  std::map<std::string, LabelRef> targets;      // group -> the extended value it made
  std::map<std::string, std::wstring> pending;  // group -> its label

  void Reset() {
    targets.clear();
    pending.clear();
  }
  // The extended value just made for `group` takes the group's label, now or when it comes.
  void Target(const std::string& group, const LabelRef& ref) {
    if (group.empty()) return;
    auto found = pending.find(group);
    if (found != pending.end()) ref.Set(found->second);
    targets[group] = ref;
  }
  void Label(const std::string& group, const std::wstring& label) {
    if (group.empty() || label.empty()) return;
    auto found = targets.find(group);
    if (found != targets.end()) found->second.Set(label);
    pending[group] = label;
  }
};

// "_$!<HomePage>!$_", the form some programs give the labels they know, becomes "HomePage".
std::wstring CleanLabel(const std::wstring& label) {
  if (label.size() > 8 && label.compare(0, 4, L"_$!<") == 0 &&
      label.compare(label.size() - 4, 4, L">!$_") == 0)
    return label.substr(4, label.size() - 8);
  return label;
}

// Puts a value into the first empty field of the list, or into the extra list with the label. True when
// the value went into the extra list, whose last entry it then is.
bool Place(ToolContact& c, std::initializer_list<ToolField> fields, const std::wstring& value,
           std::vector<LabelledValue>& extra, const wchar_t* label) {
  if (value.empty()) return false;
  for (ToolField f : fields)
    if (c.text[f].empty()) {
      c.text[f] = value;
      return false;
    }
  extra.push_back({label, value});
  return true;
}

// The messenger kind of an instant messaging property or an IMPP scheme.
std::wstring MessengerKind(const std::string& upperName) {
  static const struct {
    const char* name;
    const wchar_t* kind;
  } kKinds[] = {{"X-AIM", L"AIM"},       {"AIM", L"AIM"},
                {"X-ICQ", L"ICQ"},       {"ICQ", L"ICQ"},
                {"X-JABBER", L"Jabber"}, {"XMPP", L"Jabber"},
                {"X-MSN", L"MSN"},       {"MSNIM", L"MSN"},
                {"X-YAHOO", L"Yahoo"},   {"YMSGR", L"Yahoo"},
                {"X-SKYPE", L"Skype"},   {"X-SKYPE-USERNAME", L"Skype"},
                {"SKYPE", L"Skype"},     {"X-GADUGADU", L"Gadu-Gadu"},
                {"GG", L"Gadu-Gadu"},    {"X-QQ", L"QQ"}};
  for (const auto& entry : kKinds)
    if (upperName == entry.name) return entry.kind;
  return std::wstring();
}

// The file name at the end of a path or address.
std::wstring FileNameOf(const std::wstring& path) {
  size_t slash = path.find_last_of(L"/\\");
  return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

// --- Embedded photos -----------------------------------------------------------------------------------

bool StartsWithNoCase(const std::string& text, const char* prefix) {
  return Upper(text.substr(0, strlen(prefix))) == prefix;
}

// Whether the property's value is base64: ENCODING=b (3.0), ENCODING=BASE64 or a bare BASE64 (2.1).
bool IsBase64(const Property& p) {
  const std::string encoding = ParamValue(p, "ENCODING");
  return encoding == "B" || encoding == "BASE64" || HasType(p, "BASE64");
}

bool IsBase64Char(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// A line that can only be more of a base64 value: not blank, and nothing but base64 characters, padding
// and blanks. A property line always has a colon, which base64 lacks.
bool IsBase64Line(const std::string& line) {
  bool any = false;
  for (char c : line) {
    if (IsBlank(c)) continue;
    if (!IsBase64Char(c) && c != '=') return false;
    any = true;
  }
  return any;
}

int Base64Value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  return c == '+' ? 62 : 63;
}

// Undoes base64. Blanks and line breaks are passed over, and the closing "=" may be missing, as some
// writers leave it out. False with the reason for a character outside the alphabet, text after the
// padding, a length that can't be, or more than `limit` bytes.
bool DecodeBase64(const std::string& text, size_t limit, std::string* out, std::wstring* why) {
  out->clear();
  uint32_t bits = 0;
  int held = 0;     // characters of the current group of four
  int padding = 0;  // '=' seen
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (IsBlank(c)) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    if (!IsBase64Char(c)) {
      *why =
          L"its base64 text holds a character that base64 doesn't use, at position " + std::to_wstring(i + 1);
      return false;
    }
    if (padding > 0) {
      *why = L"its base64 text goes on after the closing \"=\"";
      return false;
    }
    bits = bits << 6 | static_cast<uint32_t>(Base64Value(c));
    if (++held == 4) {
      if (out->size() + 3 > limit) {
        *why = L"the picture takes more than the " + std::to_wstring(limit / 1024) + L" KB a photo may take";
        return false;
      }
      out->push_back(static_cast<char>(bits >> 16));
      out->push_back(static_cast<char>(bits >> 8));
      out->push_back(static_cast<char>(bits));
      bits = 0;
      held = 0;
    }
  }
  if (held == 1 || padding > 2 || (padding > 0 && held + padding != 4)) {
    *why = L"its base64 text ends in the middle of a byte";
    return false;
  }
  if (held == 2) out->push_back(static_cast<char>(bits >> 4));
  if (held == 3) {
    out->push_back(static_cast<char>(bits >> 10));
    out->push_back(static_cast<char>(bits >> 2));
  }
  return true;
}

// The kind of picture the bytes are, by the signature they begin with; null for anything else.
const wchar_t* PictureKind(const std::string& bytes) {
  if (bytes.size() >= 3 && bytes.compare(0, 3, "\xFF\xD8\xFF") == 0) return L"JPEG";
  if (bytes.size() >= 8 && bytes.compare(0, 8, "\x89PNG\r\n\x1A\n") == 0) return L"PNG";
  if (bytes.size() >= 14 && bytes.compare(0, 2, "BM") == 0) return L"BMP";
  return nullptr;
}

// PHOTO: a picture kept as a file or at an address gives the photo's name; an embedded picture (base64,
// or a data address in base64) is kept as its bytes, to become the photo's file when the contact is
// written. The embedded picture wins over a name. Its TYPE is not trusted: the bytes say what they are.
void ApplyPhoto(const Property& p, ToolContact& c, std::wstring* refused) {
  const std::string raw = Trim(p.rawValue);
  std::string text;
  if (IsBase64(p)) {
    text = raw;
  } else if (StartsWithNoCase(raw, "DATA:")) {
    const size_t comma = raw.find(',');
    const std::string head = Upper(raw.substr(0, comma));
    if (comma == std::string::npos || head.size() < 7 || head.compare(head.size() - 7, 7, ";BASE64") != 0) {
      *refused = L"PHOTO refused: its data address is not in base64";
      return;
    }
    text = raw.substr(comma + 1);
  } else {
    std::string type = Upper(ParamValue(p, "VALUE"));
    if ((type == "URI" || type == "URL" || raw.rfind("file:", 0) == 0 || raw.rfind("http", 0) == 0) &&
        c.photoData.empty()) {
      std::wstring name = FileNameOf(Widen(raw, CP_UTF8));
      if (!name.empty()) c.photo = name;
    }
    return;
  }
  std::string bytes;
  std::wstring why;
  if (!DecodeBase64(text, kVCardPhotoMaxBytes, &bytes, &why)) {
    *refused = L"PHOTO refused: " + why;
    return;
  }
  if (bytes.empty()) {
    *refused = L"PHOTO refused: it holds no picture";
    return;
  }
  if (PictureKind(bytes) == nullptr) {
    *refused = L"PHOTO refused: it is not a JPEG, PNG or BMP picture";
    return;
  }
  c.photoData.swap(bytes);
  c.photoLine = p.line;
  c.photo.clear();
}

// Applies one property to the contact. False with `problem` when the card is malformed; a value refused
// alone (a photo that can't be taken) leaves its reason in `refused` and the rest of the card is read.
bool ApplyProperty(const Property& p, ToolContact& c, CardLabels& labels, std::wstring* problem,
                   std::wstring* refused) {
  if (p.name == "PHOTO") {
    ApplyPhoto(p, c, refused);
    return true;
  }
  static const char* const kIgnored[] = {
      "VERSION", "LOGO",        "SOUND", "KEY",    "UID",      "REV",  "PRODID", "LABEL", "MAILER", "TZ",
      "GEO",     "SORT-STRING", "CLASS", "SOURCE", "NICKNAME", "ROLE", "AGENT",  "NAME",  "PROFILE"};
  for (const char* name : kIgnored)
    if (p.name == name) return true;
  static const char* const kExtensions[] = {
      "X-ANNIVERSARY", "X-MS-ANNIVERSARY", "X-SPOUSE",  "X-MS-SPOUSE",      "X-CHILDREN", "X-MS-CHILD",
      "X-ASSISTANT",   "X-MS-ASSISTANT",   "X-ABLABEL", "X-ABRELATEDNAMES", "X-ABDATE"};
  bool known = !MessengerKind(p.name).empty();
  for (const char* name : kExtensions) known = known || p.name == name;
  if (p.name.rfind("X-", 0) == 0 && !known)
    return true;  // other extensions carry nothing the contact has a place for

  std::wstring value;
  if (!DecodeValue(p, &value, problem)) return false;
  std::wstring messengerKind = MessengerKind(p.name);

  if (p.name == "N") {
    std::vector<std::wstring> parts = SplitValue(value, L';');
    c.text[FieldLastName] = Part(parts, 0);
    c.text[FieldFirstName] = Part(parts, 1);
    c.text[FieldMiddleName] = Part(parts, 2);
    c.text[FieldTitle] = Part(parts, 3);
    c.text[FieldSuffix] = Part(parts, 4);
  } else if (p.name == "FN") {
    c.text[FieldFileAs] = Unescape(value);
  } else if (p.name == "ORG") {
    std::vector<std::wstring> parts = SplitValue(value, L';');
    c.text[FieldCompany] = Part(parts, 0);
    c.text[FieldDepartment] = Part(parts, 1);
  } else if (p.name == "TITLE") {
    c.text[FieldJobTitle] = Unescape(value);
  } else if (p.name == "TEL") {
    std::wstring number = Unescape(value);
    bool work = HasType(p, "WORK"), home = HasType(p, "HOME");
    bool extra = false;
    if (HasType(p, "FAX")) {
      if (work)
        extra = Place(c, {FieldWorkFax}, number, c.phones, L"Work fax");
      else
        extra = Place(c, {FieldHomeFax, FieldWorkFax}, number, c.phones, L"Fax");
    } else if (HasType(p, "CELL")) {
      extra = Place(c, {FieldMobilePhone}, number, c.phones, L"Mobile");
    } else if (HasType(p, "PAGER")) {
      extra = Place(c, {FieldPager}, number, c.phones, L"Pager");
    } else if (HasType(p, "CAR")) {
      extra = Place(c, {FieldCarPhone}, number, c.phones, L"Car");
    } else if (HasType(p, "X-RADIO")) {
      extra = Place(c, {FieldRadioPhone}, number, c.phones, L"Radio");
    } else if (HasType(p, "X-ASSISTANT")) {
      extra = Place(c, {FieldAssistantPhone}, number, c.phones, L"Assistant");
    } else if (work) {
      extra = Place(c, {FieldWorkPhone, FieldWorkPhone2}, number, c.phones, L"Work");
    } else if (home) {
      extra = Place(c, {FieldHomePhone, FieldHomePhone2}, number, c.phones, L"Home");
    } else {
      extra = Place(c, {FieldHomePhone, FieldWorkPhone, FieldMobilePhone, FieldHomePhone2, FieldWorkPhone2},
                    number, c.phones, L"Phone");
    }
    if (extra) labels.Target(p.group, LabelRef::Last(c.phones));
  } else if (p.name == "EMAIL") {
    if (Place(c, {FieldEmail1, FieldEmail2, FieldEmail3}, Unescape(value), c.emails, L"E-mail"))
      labels.Target(p.group, LabelRef::Last(c.emails));
  } else if (p.name == "URL") {
    if (Place(c, {FieldWebPage}, Unescape(value), c.webPages, L"Web"))
      labels.Target(p.group, LabelRef::Last(c.webPages));
  } else if (p.name == "IMPP" || !messengerKind.empty()) {
    // IMPP:xmpp:me@example.org names its service by the scheme; X-ICQ:12345 and its kin by the name.
    std::wstring id = Unescape(value);
    std::wstring kind = messengerKind;
    if (p.name == "IMPP") {
      size_t colon = id.find(L':');
      std::wstring scheme = colon == std::wstring::npos ? std::wstring() : id.substr(0, colon);
      std::string upperScheme;
      for (wchar_t ch : scheme)
        upperScheme += static_cast<char>(ch >= L'a' && ch <= L'z' ? ch - L'a' + L'A' : ch);
      kind = MessengerKind(upperScheme);
      if (kind.empty()) kind = scheme.empty() ? L"IM" : scheme;
      if (colon != std::wstring::npos) id = id.substr(colon + 1);
    }
    if (!id.empty()) {
      std::wstring note = HasType(p, "WORK") ? L"work" : HasType(p, "HOME") ? L"home" : L"";
      c.messengers.push_back({kind, id, note});
      labels.Target(p.group, LabelRef::Last(c.messengers));
    }
  } else if (p.name == "X-ABLABEL") {
    labels.Label(p.group, CleanLabel(Unescape(value)));
  } else if (p.name == "X-ABRELATEDNAMES" || p.name == "RELATED") {
    std::wstring name = Unescape(value);
    if (!name.empty()) {
      std::string type = ParamValue(p, "TYPE");
      std::wstring label = type.empty() ? L"Related" : Widen(type, CP_UTF8);
      if (!label.empty()) label[0] = static_cast<wchar_t>(towupper(label[0]));
      for (size_t i = 1; i < label.size(); ++i) label[i] = static_cast<wchar_t>(towlower(label[i]));
      c.people.push_back({label, name});
      labels.Target(p.group, LabelRef::Last(c.people));
    }
  } else if (p.name == "X-ABDATE") {
    uint64_t date = 0;
    if (!ParseDate(Unescape(value), &date)) {
      *problem = L"bad date in " + Widen(p.name, CP_UTF8);
      return false;
    }
    c.dates.push_back({L"Date", date});
    labels.Target(p.group, LabelRef::Last(c.dates));
  } else if (p.name == "ADR") {
    std::vector<std::wstring> parts = SplitValue(value, L';');
    std::wstring street = Part(parts, 2);
    for (size_t i : {size_t(1), size_t(0)})
      if (!Part(parts, i).empty()) street = street.empty() ? Part(parts, i) : street + L", " + Part(parts, i);
    ToolField fields[5];
    if (HasType(p, "WORK")) {
      ToolField f[5] = {FieldWorkStreet, FieldWorkCity, FieldWorkState, FieldWorkPostalCode,
                        FieldWorkCountry};
      std::copy(f, f + 5, fields);
    } else if (HasType(p, "HOME")) {
      ToolField f[5] = {FieldHomeStreet, FieldHomeCity, FieldHomeState, FieldHomePostalCode,
                        FieldHomeCountry};
      std::copy(f, f + 5, fields);
    } else {
      ToolField f[5] = {FieldOtherStreet, FieldOtherCity, FieldOtherState, FieldOtherPostalCode,
                        FieldOtherCountry};
      std::copy(f, f + 5, fields);
    }
    // The fixed address of that kind is taken already: this one goes beside it.
    bool taken = false;
    for (ToolField f : fields) taken = taken || !c.text[f].empty();
    if (taken) {
      ToolAddress address;
      address.label = HasType(p, "WORK") ? L"Work" : HasType(p, "HOME") ? L"Home" : L"Other";
      address.parts[0] = street;
      for (int i = 1; i < 5; ++i) address.parts[i] = Part(parts, static_cast<size_t>(i + 2));
      c.addresses.push_back(address);
      labels.Target(p.group, LabelRef::Last(c.addresses));
      return true;
    }
    c.text[fields[0]] = street;
    for (int i = 1; i < 5; ++i) c.text[fields[i]] = Part(parts, static_cast<size_t>(i + 2));
  } else if (p.name == "BDAY" || p.name == "ANNIVERSARY" || p.name == "X-ANNIVERSARY" ||
             p.name == "X-MS-ANNIVERSARY") {
    uint64_t date = 0;
    if (!ParseDate(Unescape(value), &date)) {
      *problem = L"bad date in " + Widen(p.name, CP_UTF8);
      return false;
    }
    uint64_t& field = p.name == "BDAY" ? c.birthday : c.anniversary;
    // A second date of the kind goes beside the first.
    if (field != 0 && field != date)
      c.dates.push_back({p.name == "BDAY" ? L"Birthday" : L"Anniversary", date});
    else
      field = date;
  } else if (p.name == "NOTE") {
    c.note = Unescape(value);
  } else if (p.name == "CATEGORIES") {
    for (const std::wstring& name : SplitValue(value, L','))
      if (!name.empty()) c.categories.push_back(name);
  } else if (p.name == "X-SPOUSE" || p.name == "X-MS-SPOUSE") {
    c.text[FieldSpouse] = Unescape(value);
  } else if (p.name == "X-CHILDREN" || p.name == "X-MS-CHILD") {
    c.text[FieldChildren] =
        c.text[FieldChildren].empty() ? Unescape(value) : c.text[FieldChildren] + L", " + Unescape(value);
  } else if (p.name == "X-ASSISTANT" || p.name == "X-MS-ASSISTANT") {
    c.text[FieldAssistant] = Unescape(value);
  }
  // Any other standard property has no field in the contact and is passed over.
  return true;
}

// Splits "group.NAME;param;param" and the value at the first colon outside quotes.
bool ParseLine(const std::string& line, int lineNumber, Property* p) {
  bool quoted = false;
  size_t colon = std::string::npos;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"')
      quoted = !quoted;
    else if (line[i] == ':' && !quoted) {
      colon = i;
      break;
    }
  }
  if (colon == std::string::npos || colon == 0) return false;
  std::string head = line.substr(0, colon);
  p->rawValue = line.substr(colon + 1);
  p->line = lineNumber;
  p->params.clear();
  std::vector<std::string> pieces;
  size_t start = 0;
  for (size_t i = 0; i <= head.size(); ++i)
    if (i == head.size() || head[i] == ';') {
      pieces.push_back(head.substr(start, i - start));
      start = i + 1;
    }
  std::string name = Upper(Trim(pieces[0]));
  size_t dot = name.find('.');
  p->group.clear();
  if (dot != std::string::npos) {
    p->group = name.substr(0, dot);
    name = name.substr(dot + 1);
  }
  if (name.empty()) return false;
  for (char ch : name)
    if (!((ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '-')) return false;
  p->name = name;
  for (size_t i = 1; i < pieces.size(); ++i) {
    std::string piece = Trim(pieces[i]);
    size_t eq = piece.find('=');
    if (eq == std::string::npos) {
      p->params.push_back({std::string(), Upper(piece)});
      continue;
    }
    std::string key = Upper(Trim(piece.substr(0, eq)));
    std::string value = Trim(piece.substr(eq + 1));
    if (!value.empty() && value.front() == '"' && value.back() == '"' && value.size() >= 2)
      value = value.substr(1, value.size() - 2);
    if (key == "TYPE") {
      size_t s = 0;  // TYPE=HOME,WORK is two types
      for (size_t j = 0; j <= value.size(); ++j)
        if (j == value.size() || value[j] == ',') {
          p->params.push_back({key, Upper(value.substr(s, j - s))});
          s = j + 1;
        }
    } else {
      p->params.push_back({key, key == "ENCODING" ? Upper(value) : value});
    }
  }
  return true;
}

std::string ToUtf8(const std::string& bytes) {
  // UTF-16 files become UTF-8 first; a UTF-8 byte-order mark is dropped.
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    std::wstring wide(reinterpret_cast<const wchar_t*>(bytes.data() + 2), (bytes.size() - 2) / 2);
    int n = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr,
                                nullptr);
    std::string out(n, '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), &out[0], n, nullptr, nullptr);
    return out;
  }
  if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) return bytes.substr(3);
  return bytes;
}

}  // namespace

namespace {

std::wstring NotEnded(int nextBegin) {
  return L"card not ended before the next BEGIN:VCARD at line " + std::to_wstring(nextBegin);
}

}  // namespace

VCardResult ParseVCards(const std::string& fileBytes) {
  VCardResult result;
  std::string text = ToUtf8(fileBytes);

  // Physical lines, with their numbers. A line ends at CR LF, at LF or at a CR alone.
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] != '\n' && text[i] != '\r') continue;
    lines.push_back(text.substr(start, i - start));
    if (i + 1 < text.size() && text[i] == '\r' && text[i + 1] == '\n') ++i;
    start = i + 1;
  }
  if (!lines.empty() && lines.back().empty()) lines.pop_back();

  // Whether the next line that isn't blank, after line index `i`, begins a card or the file ends.
  auto cardOrEndFollows = [&lines](size_t i) {
    for (size_t k = i + 1; k < lines.size(); ++k) {
      const std::string line = Upper(Trim(lines[k]));
      if (line.empty()) continue;
      return line == "BEGIN:VCARD";
    }
    return true;
  };

  bool inCard = false;
  bool broken = false;  // the current card is malformed: skip to its end
  int cardLine = 0;
  // A BEGIN inside a card ends that card as malformed. When the inner card ends and more of the
  // outer one follows, the inner card was nested in it: neither is imported, and the outer card's
  // rest is passed over up to its END. When a card or the end of the file follows, the outer card
  // merely lacked its END and the inner one is a card of its own.
  bool innerCard = false;  // the card being read began inside the card of `outerLine`
  int outerLine = 0;
  ToolContact contact;
  CardLabels labels;
  std::vector<VCardProblem> refusals;  // values of the current card refused alone, told when it is read
  auto report = [&](int line, const std::wstring& message) { result.problems.push_back({line, message}); };

  for (size_t i = 0; i < lines.size(); ++i) {
    int lineNumber = static_cast<int>(i) + 1;
    std::string logical = lines[i];
    if (Trim(logical).empty()) continue;
    // Folded lines continue with a blank or a tab.
    while (i + 1 < lines.size() && !lines[i + 1].empty() &&
           (lines[i + 1][0] == ' ' || lines[i + 1][0] == '\t'))
      logical += lines[++i].substr(1);
    Property p;
    bool parsed = ParseLine(logical, lineNumber, &p);
    // Quoted-printable values go on past a line that ends with a soft break.
    if (parsed && IsQuotedPrintable(p)) {
      while (!p.rawValue.empty() && p.rawValue.back() == '=' && i + 1 < lines.size()) {
        p.rawValue.pop_back();
        p.rawValue += lines[++i];
      }
    }
    // Some 2.1 writers don't indent the lines of a base64 value: the lines that can only be base64 go on
    // with it, up to the blank line that ends it.
    if (parsed && IsBase64(p)) {
      while (i + 1 < lines.size() && IsBase64Line(lines[i + 1])) p.rawValue += lines[++i];
    }
    std::string upperLine = Upper(Trim(logical));
    if (upperLine == "BEGIN:VCARD") {
      // An outer card still waiting for its verdict was not ended: a second BEGIN came first.
      if (innerCard) report(outerLine, NotEnded(cardLine));
      innerCard = false;
      if (inCard && !broken) {
        // Nested, or the card before lacked its END: the inner card's END tells.
        innerCard = true;
        outerLine = cardLine;
      }
      inCard = true;
      broken = false;
      cardLine = lineNumber;
      contact = ToolContact();
      contact.sourceLine = lineNumber;
      labels.Reset();
      refusals.clear();
      continue;
    }
    if (upperLine == "END:VCARD") {
      if (!inCard) {
        report(lineNumber, L"END:VCARD without BEGIN:VCARD");
        continue;
      }
      if (innerCard) {
        innerCard = false;
        if (!cardOrEndFollows(i)) {
          report(outerLine, L"card holds another card (lines " + std::to_wstring(cardLine) + L" to " +
                                std::to_wstring(lineNumber) + L"); both are skipped");
          // The outer card's rest, up to its own END, is passed over.
          cardLine = outerLine;
          broken = true;
          continue;
        }
        report(outerLine, NotEnded(cardLine));
      }
      if (!broken) {
        result.contacts.push_back(contact);
        result.problems.insert(result.problems.end(), refusals.begin(), refusals.end());
      }
      refusals.clear();
      inCard = false;
      continue;
    }
    if (!inCard) {
      report(lineNumber, L"text outside a card");
      continue;
    }
    if (broken) continue;
    if (!parsed) {
      report(lineNumber, L"line is not a property (no name and colon)");
      broken = true;
      continue;
    }
    if (p.name == "VERSION") {
      std::string version = Trim(p.rawValue);
      if (version != "2.1" && version != "3.0" && version != "4.0") {
        report(lineNumber, L"unsupported vCard version " + Widen(version, CP_UTF8));
        broken = true;
      }
      continue;
    }
    std::wstring problem, refused;
    if (!ApplyProperty(p, contact, labels, &problem, &refused)) {
      report(lineNumber, problem);
      broken = true;
    } else if (!refused.empty()) {
      refusals.push_back({lineNumber, refused, false});
    }
  }
  if (innerCard) report(outerLine, NotEnded(cardLine));
  if (inCard && !broken) report(cardLine, L"card not ended at the end of the file");
  // Some verdicts come only when a later line is read: the problems are given in the file's order.
  std::stable_sort(result.problems.begin(), result.problems.end(),
                   [](const VCardProblem& a, const VCardProblem& b) { return a.line < b.line; });
  return result;
}
