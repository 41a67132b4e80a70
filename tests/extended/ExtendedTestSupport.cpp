#include "ExtendedTestSupport.h"

#include <cstdio>
#include <cstring>

namespace exttest {

namespace {

void Put16(Bytes& out, uint32_t value) {
  out.push_back(static_cast<BYTE>(value));
  out.push_back(static_cast<BYTE>(value >> 8));
}

void Put32(Bytes& out, uint32_t value) {
  Put16(out, value & 0xFFFF);
  Put16(out, value >> 16);
}

uint16_t Get16(const Bytes& in, size_t at) { return static_cast<uint16_t>(in[at] | (in[at + 1] << 8)); }

uint32_t Get32(const Bytes& in, size_t at) {
  return Get16(in, at) | (static_cast<uint32_t>(Get16(in, at + 2)) << 16);
}

void PutRecord(Bytes& out, BYTE type, BYTE sub, uint16_t id, const Bytes& body) {
  out.push_back(type);
  out.push_back(sub);
  Put16(out, id);
  Put16(out, static_cast<uint32_t>(body.size() / 4));
  out.insert(out.end(), body.begin(), body.end());
}

void PutParagraph(Bytes& out, uint16_t id, const Bytes& text) {
  int chars = CountChars(text.data(), static_cast<uint32_t>(text.size()));
  Bytes body;
  Put16(body, static_cast<uint32_t>(chars));
  Put16(body, static_cast<uint32_t>(text.size()));
  Put16(body, 1);
  Put16(body, 0xFFFF);
  Put16(body, id + 1u);
  body.resize(body.size() + 14, 0);
  body.insert(body.end(), text.begin(), text.end());
  body.resize((text.size() + 27) / 4 * 4, 0);
  PutRecord(out, 65, 0, id, body);
  Bytes end;
  Put16(end, static_cast<uint32_t>(chars));
  end.resize(12, 0);
  PutRecord(out, 66, 0, static_cast<uint16_t>(id + 1), end);
}

const BYTE kHeader[14] = {'{', '\\', 'p', 'w', 'i', 0x15, 0, 0, 1, 1, 7, 0, 0, 0};

// A walk of the records written for the tests alone, so that they don't lean on the walker under test.
struct RawRecord {
  BYTE type;
  uint16_t id;
  size_t body;
  size_t bodyLength;
};

std::vector<RawRecord> Records(const Bytes& document) {
  std::vector<RawRecord> records;
  size_t at = 14;
  while (document.size() >= at + 7) {
    BYTE type = document[at];
    BYTE sub = document[at + 1];
    uint16_t size = Get16(document, at + 4);
    size_t bodyLength = (type == 85 || type == 111) ? size + (static_cast<size_t>(sub) << 16) : size * 4u;
    if (at + 6 + bodyLength > document.size()) break;
    records.push_back({type, Get16(document, at + 2), at + 6, bodyLength});
    at += 6 + bodyLength;
  }
  return records;
}

}  // namespace

std::wstring W(const Str& text) { return std::wstring(static_cast<const wchar_t*>(text), text.GetLength()); }

LabelValue Pair(const wchar_t* label, const wchar_t* value) {
  LabelValue entry;
  entry.label = label;
  entry.value = value;
  return entry;
}

std::string Hex(const Bytes& bytes) {
  std::string text;
  char piece[4];
  for (size_t i = 0; i < bytes.size(); ++i) {
    snprintf(piece, sizeof piece, i == 0 ? "%02X" : " %02X", bytes[i]);
    text += piece;
  }
  return text;
}

Bytes BytesOf(const ByteBuffer& buffer) {
  if (buffer.GetLength() == 0) return Bytes();
  return Bytes(buffer.GetData(), buffer.GetData() + buffer.GetLength());
}

ByteBuffer BufferOf(const Bytes& bytes) {
  return ByteBuffer(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

Bytes Ascii(const char* text) { return Bytes(text, text + strlen(text)); }

ByteBuffer WideNote(const std::wstring& text) {
  Bytes bytes = {0xFE, 0xFF};
  const BYTE* chars = reinterpret_cast<const BYTE*>(text.data());
  bytes.insert(bytes.end(), chars, chars + text.size() * 2);
  return BufferOf(bytes);
}

std::wstring WideText(const ByteBuffer& note) {
  Bytes bytes = BytesOf(note);
  if (bytes.size() < 2) return std::wstring();
  std::wstring text((bytes.size() - 2) / 2, L'\0');
  memcpy(&text[0], bytes.data() + 2, text.size() * 2);
  return text;
}

ByteBuffer AnsiNote(const std::string& text) {
  return ByteBuffer(text.data(), static_cast<uint32_t>(text.size()));
}

Bytes ParagraphOf(const std::wstring& text) {
  Bytes out = {0xE5, 0x01, 0x00, 0xE6, 0x08, 0x00};
  for (wchar_t ch : text) {
    unsigned c = ch;
    if (c < 0x80) {
      out.push_back(static_cast<BYTE>(c));
    } else if (c <= 0x7FF) {
      out.push_back(static_cast<BYTE>((c & 0x3F) | 0x80));
      out.push_back(static_cast<BYTE>(c >> 6));
    } else {
      out.push_back(0xC0);
      out.push_back(static_cast<BYTE>(c));
      out.push_back(static_cast<BYTE>(c >> 8));
    }
  }
  out.push_back(0xC4);
  out.push_back(0x00);
  return out;
}

Bytes ComposeEmptyNote() {
  Bytes out(kHeader, kHeader + 14);

  // Font table: a 16-byte head (0, 0x0A, one font, five zeros) and one 80-byte entry naming Tahoma.
  Bytes fonts;
  Put16(fonts, 0);
  Put16(fonts, 0x0A);
  Put16(fonts, 1);
  fonts.resize(16, 0);
  Put16(fonts, 0);
  Put16(fonts, 1);
  fonts.resize(fonts.size() + 12, 0);
  for (wchar_t ch : std::wstring(L"Tahoma")) Put16(fonts, ch);
  fonts.resize(16 + 80, 0);
  PutRecord(out, 0, 0, 1, fonts);
  PutRecord(out, 20, 0, 2, Bytes(4, 0));
  PutRecord(out, 21, 0, 3, Bytes(4, 0));
  // Page: flags, width and height as 16.16 twips (240 x 320 pixels), no margins.
  Bytes page;
  Put32(page, 0);
  Put32(page, 3600u << 16);
  Put32(page, 4800u << 16);
  page.resize(84, 0);
  PutRecord(out, 7, 0, 4, page);
  PutRecord(out, 8, 0, 5, Bytes(64, 0));
  // Paragraph table: one paragraph of one character.
  Bytes table;
  Put32(table, 1);
  Put32(table, 1);
  Put32(table, 1);
  Put16(table, 1);
  Put16(table, 0);
  Put32(table, 0);
  for (uint32_t field : {42u, 0u, 1u, 1u}) Put16(table, field);
  Put16(table, 42);
  Put16(table, 0);
  PutRecord(out, 64, 0, 6, table);
  PutParagraph(out, 42, Bytes{0xE5, 0x01, 0x00, 0xC4, 0x00});
  Bytes end = {0x82, 0x00};
  end.resize(12, 0);
  PutRecord(out, 130, 0, 9, end);
  return out;
}

DocumentBuilder::DocumentBuilder() : m_nextId(42), m_end(true) {}

DocumentBuilder& DocumentBuilder::Paragraph(const Bytes& text) {
  Item item = {true, text, m_nextId, 0, 0, Bytes()};
  m_items.push_back(item);
  m_nextId = static_cast<uint16_t>(m_nextId + 2);
  return *this;
}

DocumentBuilder& DocumentBuilder::Record(BYTE type, uint16_t id, const Bytes& body, BYTE sub) {
  Bytes padded = body;
  if (type != 85 && type != 111) padded.resize((padded.size() + 3) / 4 * 4, 0);
  Item item = {false, Bytes(), id, type, sub, padded};
  m_items.push_back(item);
  return *this;
}

Bytes DocumentBuilder::Build() const {
  Bytes out(kHeader, kHeader + 14);
  PutRecord(out, 20, 0, 2, Bytes(4, 0));
  uint32_t paragraphs = 0;
  uint32_t chars = 0;
  Bytes entries;
  uint16_t lastId = 0;
  for (const Item& item : m_items) {
    if (!item.paragraph) continue;
    int count = CountChars(item.text.data(), static_cast<uint32_t>(item.text.size()));
    ++paragraphs;
    chars += static_cast<uint32_t>(count);
    for (uint32_t field : {static_cast<uint32_t>(item.id), 0u, 1u, static_cast<uint32_t>(count)})
      Put16(entries, field);
    lastId = item.id;
  }
  Bytes table;
  Put32(table, paragraphs);
  Put32(table, paragraphs);
  Put32(table, chars);
  Put16(table, paragraphs);
  Put16(table, 0);
  Put32(table, 0);
  table.insert(table.end(), entries.begin(), entries.end());
  Put16(table, lastId);
  Put16(table, 0);
  PutRecord(out, 64, 0, 6, table);
  for (const Item& item : m_items) {
    if (item.paragraph) {
      PutParagraph(out, item.id, item.text);
    } else {
      out.push_back(item.type);
      out.push_back(item.sub);
      Put16(out, item.id);
      uint32_t size = (item.type == 85 || item.type == 111) ? static_cast<uint32_t>(item.body.size() & 0xFFFF)
                                                            : static_cast<uint32_t>(item.body.size() / 4);
      Put16(out, size);
      out.insert(out.end(), item.body.begin(), item.body.end());
    }
  }
  if (m_end) {
    Bytes end = {0x82, 0x00};
    end.resize(12, 0);
    PutRecord(out, 130, 0, 9, end);
  }
  return out;
}

std::vector<std::wstring> ParagraphTexts(const Bytes& document) {
  std::vector<std::wstring> texts;
  for (const RawRecord& record : Records(document)) {
    if (record.type != 65) continue;
    if (record.bodyLength < 24) {
      texts.push_back(std::wstring());  // a paragraph too short for any text
      continue;
    }
    uint32_t length = Get16(document, record.body + 2);
    if (length > record.bodyLength - 24) length = static_cast<uint32_t>(record.bodyLength - 24);
    Str text;
    DecodeText(document.data() + record.body + 24, length, text);
    texts.push_back(W(text));
  }
  return texts;
}

std::wstring ExtractedText(const Bytes& document) {
  Str text;
  ExtractText(document.data(), static_cast<uint32_t>(document.size()), text);
  return W(text);
}

std::wstring JoinedTexts(const std::vector<std::wstring>& parts) {
  std::wstring out;
  for (const std::wstring& part : parts) {
    if (!out.empty() && !part.empty()) out += L' ';
    out += part;
  }
  return out;
}

TableView TableOf(const Bytes& document) {
  TableView view;
  for (const RawRecord& record : Records(document)) {
    if (record.type != 64) continue;
    view.found = true;
    view.size = Get16(document, record.body - 2);
    view.count = Get32(document, record.body);
    view.second = Get32(document, record.body + 4);
    view.total = Get32(document, record.body + 8);
    view.third = Get16(document, record.body + 12);
    size_t at = record.body + 20;
    for (uint32_t i = 0; i < view.count && at + 8 <= record.body + record.bodyLength; ++i, at += 8)
      view.entries.push_back(
          {Get16(document, at), Get16(document, at + 2), Get16(document, at + 4), Get16(document, at + 6)});
    if (at + 4 <= record.body + record.bodyLength) {
      view.trailer[0] = Get16(document, at);
      view.trailer[1] = Get16(document, at + 2);
    }
    break;
  }
  return view;
}

DocumentFacts FactsOf(const Bytes& document) {
  DocumentFacts facts;
  int tables = 0;
  for (const RawRecord& record : Records(document)) {
    if (record.id > facts.highestId) facts.highestId = record.id;
    if (record.type == 130 && !facts.hasEnd) {
      facts.hasEnd = true;
      facts.paragraphsBeforeEnd = facts.paragraphs;
    }
    if (record.type == 65) ++facts.paragraphs;
    if (record.type == 64) {
      ++tables;
      if (record.bodyLength >= 24) {
        facts.tableCount = Get32(document, record.body);
        facts.tableValid =
            static_cast<uint64_t>(record.bodyLength) == 24 + 8 * static_cast<uint64_t>(facts.tableCount);
      }
    }
  }
  if (tables != 1) facts.tableValid = false;
  if (!facts.hasEnd) facts.paragraphsBeforeEnd = facts.paragraphs;
  return facts;
}

std::vector<std::string> RecordList(const Bytes& document) {
  std::vector<std::string> list;
  for (const RawRecord& record : Records(document))
    list.push_back(std::to_string(record.type) + ":" + std::to_string(record.id));
  return list;
}

GuardedBuffer::GuardedBuffer(size_t size) : m_storage(size + 2 * kGuard), m_size(size) {
  for (size_t i = 0; i < kGuard; ++i) {
    m_storage[i] = static_cast<BYTE>(0xA5 ^ i);
    m_storage[kGuard + size + i] = static_cast<BYTE>(0x5A ^ i);
  }
}

GuardedBuffer::GuardedBuffer(const BYTE* data, size_t size) : GuardedBuffer(size) {
  if (size != 0) memcpy(Data(), data, size);
}

bool GuardedBuffer::Intact() const {
  for (size_t i = 0; i < kGuard; ++i) {
    if (m_storage[i] != static_cast<BYTE>(0xA5 ^ i) ||
        m_storage[kGuard + m_size + i] != static_cast<BYTE>(0x5A ^ i))
      return false;
  }
  return true;
}

PageGuardedCopy::PageGuardedCopy(const void* data, size_t size)
    : m_base(nullptr), m_reserved(0), m_data(nullptr), m_size(size) {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  size_t page = info.dwPageSize;
  size_t pages = (size + page - 1) / page;
  m_reserved = (pages + 1) * page;
  m_base = static_cast<BYTE*>(VirtualAlloc(nullptr, m_reserved, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  if (m_base == nullptr) return;
  DWORD old = 0;
  VirtualProtect(m_base + pages * page, page, PAGE_NOACCESS, &old);
  m_data = m_base + pages * page - size;
  if (size != 0) memcpy(m_data, data, size);
}

PageGuardedCopy::~PageGuardedCopy() {
  if (m_base != nullptr) VirtualFree(m_base, 0, MEM_RELEASE);
}

FILETIME Midnight(int year, int month, int day) {
  SYSTEMTIME date = {};
  date.wYear = static_cast<WORD>(year);
  date.wMonth = static_cast<WORD>(month);
  date.wDay = static_cast<WORD>(day);
  FILETIME time = {};
  SystemTimeToFileTime(&date, &time);
  return time;
}

namespace {

const wchar_t kLeading[] = L"abcxyzABCXYZ0123456789абвгдежзийклмнопрстуфхцчшщъыьэюяАБВЖЯÄÖÜäöüß";
const wchar_t kInner[] = L"abcXYZ09 ._-@+/[];:\\\\\\ \tабвгдЁёЯяäöüß#%&()=?!'\"";
const wchar_t kPlainInner[] = L"abcXYZ09 ._-@+/ \tабвгдЁёЯяäöüß#%&()=?!'\"";

wchar_t Pick(std::mt19937& random, const wchar_t* set) {
  size_t count = wcslen(set);
  return set[random() % count];
}

// A text of up to `maximum` characters: the first from `leading` when given, no blank at either end
// and no backslash at the end.
Str RandomText(std::mt19937& random, int maximum, const wchar_t* leading, const wchar_t* inner) {
  int length = static_cast<int>(random() % static_cast<unsigned>(maximum + 1));
  std::wstring text;
  for (int i = 0; i < length; ++i)
    text += (i == 0 && leading != nullptr) ? Pick(random, leading) : Pick(random, inner);
  while (!text.empty() && (iswspace(text.back()) || text.back() == L'\\')) text.pop_back();
  while (!text.empty() && iswspace(text.front())) text.erase(text.begin());
  return Str(text.c_str());
}

Str RandomLabel(std::mt19937& random) {
  Str label;
  while (label.IsEmpty()) label = RandomText(random, 12, kLeading, kInner);
  return label;
}

void RandomPairs(std::mt19937& random, LabelValueList& list) {
  int count = static_cast<int>(random() % 4);
  for (int i = 0; i < count; ++i) {
    LabelValue entry;
    entry.label = RandomLabel(random);
    entry.value = random() % 6 == 0 ? Str() : RandomText(random, 24, nullptr, kInner);
    list.Add(entry);
  }
}

}  // namespace

void RandomExtended(std::mt19937& random, ContactExtended& block) {
  block.ClearExtended();
  RandomPairs(random, block.Phone);
  RandomPairs(random, block.Email);
  RandomPairs(random, block.WebPage);
  RandomPairs(random, block.People);
  RandomPairs(random, block.Link);
  RandomPairs(random, block.OtherProp);
  int messengers = static_cast<int>(random() % 3);
  for (int i = 0; i < messengers; ++i) {
    MessengerEntry entry;
    entry.kind = RandomLabel(random);
    entry.note = RandomText(random, 10, nullptr, kPlainInner);
    entry.id = random() % 5 == 0 ? Str() : RandomText(random, 16, nullptr, kInner);
    block.Messenger.Add(entry);
  }
  int addresses = static_cast<int>(random() % 3);
  for (int i = 0; i < addresses; ++i) {
    AddressEntry entry;
    entry.label = RandomLabel(random);
    for (int part = 0; part < 5; ++part)
      entry.parts[part] = random() % 3 == 0 ? Str() : RandomText(random, 16, nullptr, kInner);
    entry.format = random() % 2 == 0 ? 0 : static_cast<uint32_t>(random() % 100000);
    block.Address.Add(entry);
  }
  int dates = static_cast<int>(random() % 3);
  for (int i = 0; i < dates; ++i) {
    DateEntry entry;
    entry.label = RandomLabel(random);
    entry.value = Midnight(1900 + static_cast<int>(random() % 200), 1 + static_cast<int>(random() % 12),
                           1 + static_cast<int>(random() % 28));
    block.Date.Add(entry);
  }
  block.HomeFormat = random() % 3 == 0 ? static_cast<uint32_t>(random() % 60) : 0;
  block.WorkFormat = random() % 3 == 0 ? static_cast<uint32_t>(random() % 60) : 0;
  block.OtherFormat = random() % 3 == 0 ? static_cast<uint32_t>(random() % 60) : 0;
  block.Image = random() % 2 == 0 ? Str() : RandomText(random, 20, nullptr, kInner);
}

std::string DumpExtended(const ContactExtended& block) {
  std::string out;
  auto pairs = [&out](const char* name, const LabelValueList& list) {
    for (int i = 0; i < list.GetSize(); ++i)
      out += std::string(name) + ": " + U8(list[i].label) + " = " + U8(list[i].value) + "\n";
  };
  pairs("Phone", block.Phone);
  pairs("Email", block.Email);
  for (int i = 0; i < block.Messenger.GetSize(); ++i)
    out += "Messenger: " + U8(block.Messenger[i].kind) + " = " + U8(block.Messenger[i].note) + " / " +
           U8(block.Messenger[i].id) + "\n";
  pairs("WebPage", block.WebPage);
  if (block.HomeFormat || block.WorkFormat || block.OtherFormat)
    out += "Formats: " + std::to_string(block.HomeFormat) + " " + std::to_string(block.WorkFormat) + " " +
           std::to_string(block.OtherFormat) + "\n";
  for (int i = 0; i < block.Address.GetSize(); ++i) {
    const AddressEntry& address = block.Address[i];
    out += "Address: " + U8(address.label) + " =";
    for (int part = 0; part < 5; ++part) out += " [" + U8(address.parts[part]) + "]";
    out += " " + std::to_string(address.format) + "\n";
  }
  pairs("People", block.People);
  for (int i = 0; i < block.Date.GetSize(); ++i) {
    SYSTEMTIME date = {};
    FileTimeToSystemTime(&block.Date[i].value, &date);
    char text[64];
    snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u", date.wYear, date.wMonth, date.wDay, date.wHour,
             date.wMinute);
    out += "Date: " + U8(block.Date[i].label) + " = " + text + "\n";
  }
  pairs("Link", block.Link);
  pairs("OtherProp", block.OtherProp);
  if (!block.Image.IsEmpty()) out += "Image: " + U8(block.Image) + "\n";
  return out;
}

}  // namespace exttest
