#include "PropsTestSupport.h"

#include <cstring>
#include <set>
#include <sstream>

#include "foundation/DebugUtils.h"

// --- files and log -------------------------------------------------------------------------------------------

std::wstring PropsTempFile(const std::wstring& name) {
  return testpaths::TempFolder() + L"pagemark_props_" + name;
}

// --- the model ---------------------------------------------------------------------------------------------

bool ModelRecord::operator==(const ModelRecord& o) const {
  for (int i = 0; i < 6; ++i)
    if (!(lists[i] == o.lists[i])) return false;
  return messengers == o.messengers && addresses == o.addresses && dates == o.dates &&
         homeFormat == o.homeFormat && workFormat == o.workFormat && otherFormat == o.otherFormat &&
         image == o.image && checksum == o.checksum;
}

namespace {

LabelValueList* ListOf(ContactExtended& block, int index) {
  LabelValueList* lists[6] = {&block.Phone,  &block.Email, &block.WebPage,
                              &block.People, &block.Link,  &block.OtherProp};
  return lists[index];
}

const LabelValueList* ListOf(const ContactExtended& block, int index) {
  const LabelValueList* lists[6] = {&block.Phone,  &block.Email, &block.WebPage,
                                    &block.People, &block.Link,  &block.OtherProp};
  return lists[index];
}

std::wstring W(const Str& text) {
  return std::wstring(static_cast<const wchar_t*>(text), size_t(text.GetLength()));
}

std::string Narrow(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) {
    if (c >= 32 && c < 127) {
      out += char(c);
    } else {
      char buffer[12];
      snprintf(buffer, sizeof buffer, "\\u%04x", unsigned(c));
      out += buffer;
    }
  }
  return out;
}

}  // namespace

void ToBlock(const ModelRecord& model, ContactExtended& block) {
  block.ClearExtended();
  for (int i = 0; i < 6; ++i) {
    for (const ModelPair& pair : model.lists[i]) {
      LabelValue entry;
      entry.label = pair.label.c_str();
      entry.value = pair.value.c_str();
      ListOf(block, i)->Add(entry);
    }
  }
  for (const ModelMessenger& m : model.messengers) {
    MessengerEntry entry;
    entry.kind = m.kind.c_str();
    entry.id = m.id.c_str();
    entry.note = m.note.c_str();
    block.Messenger.Add(entry);
  }
  for (const ModelAddress& a : model.addresses) {
    AddressEntry entry;
    for (int p = 0; p < 5; ++p) entry.parts[p] = a.parts[p].c_str();
    entry.format = a.format;
    entry.label = a.label.c_str();
    block.Address.Add(entry);
  }
  for (const ModelDate& d : model.dates) {
    DateEntry entry;
    entry.label = d.label.c_str();
    entry.value.dwLowDateTime = DWORD(d.time);
    entry.value.dwHighDateTime = DWORD(d.time >> 32);
    block.Date.Add(entry);
  }
  block.HomeFormat = model.homeFormat;
  block.WorkFormat = model.workFormat;
  block.OtherFormat = model.otherFormat;
  block.Image = model.image.c_str();
}

ModelRecord FromBlock(const ContactExtended& block, uint32_t checksum) {
  ModelRecord model;
  for (int i = 0; i < 6; ++i) {
    const LabelValueList& list = *ListOf(block, i);
    for (int j = 0; j < list.GetSize(); ++j) model.lists[i].push_back({W(list[j].label), W(list[j].value)});
  }
  for (int j = 0; j < block.Messenger.GetSize(); ++j)
    model.messengers.push_back(
        {W(block.Messenger[j].kind), W(block.Messenger[j].id), W(block.Messenger[j].note)});
  for (int j = 0; j < block.Address.GetSize(); ++j) {
    ModelAddress a;
    for (int p = 0; p < 5; ++p) a.parts[p] = W(block.Address[j].parts[p]);
    a.format = block.Address[j].format;
    a.label = W(block.Address[j].label);
    model.addresses.push_back(a);
  }
  for (int j = 0; j < block.Date.GetSize(); ++j) {
    const FILETIME& t = block.Date[j].value;
    model.dates.push_back({W(block.Date[j].label), (uint64_t(t.dwHighDateTime) << 32) | t.dwLowDateTime});
  }
  model.homeFormat = block.HomeFormat;
  model.workFormat = block.WorkFormat;
  model.otherFormat = block.OtherFormat;
  model.image = W(block.Image);
  model.checksum = checksum;
  return model;
}

std::string Describe(const ModelRecord& model) {
  std::ostringstream out;
  const char* names[6] = {"Phone", "Email", "WebPage", "People", "Link", "OtherProp"};
  for (int i = 0; i < 6; ++i)
    for (const ModelPair& p : model.lists[i])
      out << names[i] << " [" << Narrow(p.label) << "] [" << Narrow(p.value) << "]\n";
  for (const ModelMessenger& m : model.messengers)
    out << "Messenger [" << Narrow(m.kind) << "] [" << Narrow(m.id) << "] [" << Narrow(m.note) << "]\n";
  for (const ModelAddress& a : model.addresses) {
    out << "Address " << a.format << " [" << Narrow(a.label) << "]";
    for (int p = 0; p < 5; ++p) out << " [" << Narrow(a.parts[p]) << "]";
    out << "\n";
  }
  for (const ModelDate& d : model.dates) out << "Date " << d.time << " [" << Narrow(d.label) << "]\n";
  out << "formats " << model.homeFormat << " " << model.workFormat << " " << model.otherFormat << " image ["
      << Narrow(model.image) << "] checksum " << model.checksum << "\n";
  return out.str();
}

// --- the independent serialiser ----------------------------------------------------------------------------

namespace {

struct Out {
  std::vector<uint8_t> bytes;
  void Word(uint32_t v) {
    for (int i = 0; i < 4; ++i) bytes.push_back(uint8_t(v >> (8 * i)));
  }
  void Text(const std::wstring& text) {
    for (wchar_t c : text) {
      bytes.push_back(uint8_t(c));
      bytes.push_back(uint8_t(c >> 8));
    }
    bytes.push_back(0);
    bytes.push_back(0);
  }
  void PadTo(size_t size) { bytes.resize(size, 0); }
};

uint32_t Len(const std::wstring& text) { return uint32_t(text.size()); }

}  // namespace

std::vector<uint8_t> Serialize(const ModelRecord& model) {
  Out out;
  out.PadTo(60);
  uint32_t starts[10];
  for (int section = 0; section < 6; ++section) {
    starts[section] = uint32_t(out.bytes.size());
    for (const ModelPair& p : model.lists[section]) {
      size_t start = out.bytes.size();
      uint32_t size = ((Len(p.label) + Len(p.value)) * 2 + 13) & ~3u;
      out.Word(size);
      out.Text(p.label);
      out.Text(p.value);
      out.PadTo(start + size);
    }
  }
  starts[6] = uint32_t(out.bytes.size());
  for (const ModelMessenger& m : model.messengers) {
    size_t start = out.bytes.size();
    uint32_t size = ((Len(m.kind) + Len(m.id) + Len(m.note)) * 2 + 15) & ~3u;
    out.Word(size);
    out.Text(m.kind);
    out.Text(m.id);
    out.Text(m.note);
    out.PadTo(start + size);
  }
  starts[7] = uint32_t(out.bytes.size());
  for (const ModelAddress& a : model.addresses) {
    size_t start = out.bytes.size();
    uint32_t textBytes = (Len(a.label) + 1) * 2;
    for (int p = 0; p < 5; ++p) textBytes += (Len(a.parts[p]) + 1) * 2;
    uint32_t size = (textBytes + 37) & ~3u;
    out.Word(size);
    out.Word(a.format);
    uint32_t at = 28 + (Len(a.label) + 1) * 2;
    for (int p = 0; p < 5; ++p) {
      out.Word(at);
      at += (Len(a.parts[p]) + 1) * 2;
    }
    out.Text(a.label);
    for (int p = 0; p < 5; ++p) out.Text(a.parts[p]);
    out.PadTo(start + size);
  }
  starts[8] = uint32_t(out.bytes.size());
  for (const ModelDate& d : model.dates) {
    size_t start = out.bytes.size();
    uint32_t size = (Len(d.label) * 2 + 19) & ~3u;
    out.Word(size);
    out.Word(uint32_t(d.time));
    out.Word(uint32_t(d.time >> 32));
    out.Text(d.label);
    out.PadTo(start + size);
  }
  starts[9] = uint32_t(out.bytes.size());
  if (!model.image.empty()) out.Text(model.image);

  std::vector<uint8_t>& b = out.bytes;
  WriteWord32(b.data(), 0, uint32_t(b.size()));
  WriteWord32(b.data(), 4, model.checksum);
  WriteWord32(b.data(), 8, model.homeFormat);
  WriteWord32(b.data(), 12, model.workFormat);
  WriteWord32(b.data(), 16, model.otherFormat);
  for (int i = 0; i < 10; ++i) WriteWord32(b.data(), 20 + 4 * size_t(i), starts[i]);
  return b;
}

// --- random records ----------------------------------------------------------------------------------------

std::wstring RandomText(std::mt19937& random, int maxLength) {
  static const wchar_t latin[] = L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 .,-+()@#:/";
  int length = maxLength > 0 ? int(random() % uint32_t(maxLength + 1)) : 0;
  std::wstring text;
  bool cyrillic = random() % 2 == 0;
  for (int i = 0; i < length; ++i) {
    uint32_t pick = random() % 10;
    if (cyrillic && pick < 6) {
      // А..я and Ё, ё.
      uint32_t c = random() % 66;
      text += c < 64 ? wchar_t(0x0410 + c) : (c == 64 ? wchar_t(0x0401) : wchar_t(0x0451));
    } else if (pick == 9 && random() % 4 == 0) {
      text += wchar_t(0x4E00 + random() % 200);  // now and then a character of a wider script
    } else {
      text += latin[random() % (sizeof latin / sizeof latin[0] - 1)];
    }
  }
  return text;
}

namespace {

std::wstring TextFor(std::mt19937& random, int scale) {
  uint32_t roll = random() % 100;
  if (roll < 12) return std::wstring();  // empty labels and values are common
  if (scale >= 2) return RandomText(random, 400 + int(random() % 800));
  if (scale == 1 && roll > 94) return RandomText(random, 300 + int(random() % 900));  // long texts
  return RandomText(random, 24);
}

int CountFor(std::mt19937& random, int scale) {
  if (scale >= 2) return int(random() % 3);
  uint32_t roll = random() % 100;
  if (roll < 45) return 0;
  if (roll < 80) return 1;
  return 2 + int(random() % 3);
}

}  // namespace

ModelRecord RandomRecord(std::mt19937& random, int scale) {
  ModelRecord r;
  for (int i = 0; i < 6; ++i) {
    int n = CountFor(random, scale);
    for (int j = 0; j < n; ++j) r.lists[i].push_back({TextFor(random, scale), TextFor(random, scale)});
  }
  int n = CountFor(random, scale);
  for (int j = 0; j < n; ++j)
    r.messengers.push_back({TextFor(random, scale), TextFor(random, scale), TextFor(random, scale)});
  n = CountFor(random, scale);
  for (int j = 0; j < n; ++j) {
    ModelAddress a;
    for (int p = 0; p < 5; ++p) a.parts[p] = TextFor(random, scale);
    a.format = random() % 3 == 0 ? 0 : random() % 60;
    a.label = TextFor(random, scale);
    r.addresses.push_back(a);
  }
  n = CountFor(random, scale);
  for (int j = 0; j < n; ++j)
    r.dates.push_back({TextFor(random, scale), (uint64_t(random()) << 32) | random()});
  r.homeFormat = random() % 2 ? random() % 60 : 0;
  r.workFormat = random() % 2 ? random() % 60 : 0;
  r.otherFormat = random() % 2 ? random() % 60 : 0;
  r.image = random() % 3 == 0 ? TextFor(random, scale) : std::wstring();
  r.checksum = random();
  return r;
}

ModelRecord RecordOfSize(uint32_t bytes) {
  ModelRecord r;
  if (bytes > 60) r.image.assign((bytes - 60) / 2 - 1, L'\x0416');
  r.checksum = bytes * 2654435761u;
  return r;
}

// --- the independent reading of store data -----------------------------------------------------------------

StoreLayout ReadLayout(const uint8_t* data, uint32_t length) {
  StoreLayout layout;
  auto fail = [&](const std::string& text) {
    if (layout.error.empty()) layout.error = text;
    return layout;
  };
  if (length < 44) return fail("data shorter than the header and the pool header");
  const uint32_t poolSize = length - 28 - 4;
  const uint8_t* pool = data + 28;
  layout.freeHead = ReadWord32(pool, 0);
  layout.firstUnused = ReadWord32(pool, 4);
  layout.freeCount = ReadWord32(pool, 8);
  if (layout.firstUnused < 12 || layout.firstUnused > poolSize || (layout.firstUnused - 12) % 128 != 0)
    return fail("first never-used byte is no block boundary");
  auto usedBlock = [&](uint32_t poolOffset) {
    return poolOffset >= 12 && (poolOffset - 12) % 128 == 0 && poolOffset + 128 <= layout.firstUnused;
  };
  std::set<uint32_t> seen;
  if (layout.freeHead != 0) {
    uint32_t at = layout.freeHead;
    for (uint32_t i = 0; i < layout.freeCount; ++i) {
      if (!usedBlock(at) || !seen.insert(at).second) return fail("free ring broken");
      layout.freeRing.push_back(at);
      uint32_t next = ReadWord32(pool, at);
      if (!usedBlock(next) || ReadWord32(pool, next + 4) != at) return fail("free ring links disagree");
      at = next;
    }
    if (at != layout.freeHead) return fail("free ring doesn't close");
  } else if (layout.freeCount != 0) {
    return fail("free count without a ring");
  }
  uint32_t count = ReadWord32(data, 24);
  uint32_t first = ReadWord32(data, 20);
  if (count == 0 && first != 0) return fail("no records but a first record");
  uint32_t record = first;
  for (uint32_t i = 0; i < count; ++i) {
    if (record < 28 || !usedBlock(record - 28)) return fail("record is no used block");
    uint32_t dataLength = ReadWord32(data, record + 4);
    uint32_t blocks = 1 + (dataLength > 112 ? (dataLength - 112 + 123) / 124 : 0);
    std::vector<uint32_t> chain;
    uint32_t block = record;
    for (uint32_t b = 0; b < blocks; ++b) {
      if (block < 28 || !usedBlock(block - 28) || !seen.insert(block - 28).second)
        return fail("chain broken");
      chain.push_back(block);
      block = ReadWord32(data, block);
    }
    if (block != 0) return fail("chain too long");
    layout.records.push_back(record);
    layout.chains.push_back(chain);
    uint32_t next = ReadWord32(data, record + 12);
    if (next < 28 || !usedBlock(next - 28) || ReadWord32(data, next + 8) != record)
      return fail("record ring broken");
    record = next;
  }
  if (count > 0 && record != first) return fail("record ring doesn't close");
  if (seen.size() != (layout.firstUnused - 12) / 128) return fail("used blocks in no record and not free");
  return layout;
}

std::vector<uint8_t> ChainBytes(const uint8_t* data, uint32_t length, uint32_t offset) {
  std::vector<uint8_t> bytes;
  if (offset + 128 > length) return bytes;
  uint32_t dataLength = ReadWord32(data, offset + 4);
  uint32_t block = offset;
  bool first = true;
  while (bytes.size() < dataLength) {
    if (block == 0 || block + 128 > length) return std::vector<uint8_t>();
    uint32_t at = block + (first ? 16 : 4);
    uint32_t room = first ? 112 : 124;
    uint32_t part = std::min<uint32_t>(room, dataLength - uint32_t(bytes.size()));
    bytes.insert(bytes.end(), data + at, data + at + part);
    block = ReadWord32(data, block);
    first = false;
  }
  return bytes;
}
