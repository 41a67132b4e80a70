#include "storage/props/PropsRecord.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "foundation/DebugUtils.h"

namespace {

// Texts are stored up to their first NUL, whatever the Str's length says.
uint32_t TextLength(const Str& text) { return static_cast<uint32_t>(wcslen(text)); }

uint32_t ReadWord(const BYTE* at) {
  uint32_t value;
  memcpy(&value, at, sizeof value);
  return value;
}

// Writes into a zero-filled buffer from a running position.
class Writer {
 public:
  explicit Writer(BYTE* out) : out(out), at(0) {}
  uint32_t Position() const { return at; }
  void WordAt(uint32_t offset, uint32_t value) { memcpy(out + offset, &value, sizeof value); }
  void Word(uint32_t value) {
    WordAt(at, value);
    at += 4;
  }
  void Text(const Str& text) {
    uint32_t bytes = TextLength(text) * 2;
    memcpy(out + at, static_cast<const wchar_t*>(text), bytes);
    at += bytes + 2;  // the NUL is already there
  }
  void Skip(uint32_t bytes) { at += bytes; }
  void MoveTo(uint32_t position) { at = position; }

 private:
  BYTE* out;
  uint32_t at;
};

// Reads a text with its NUL from `from`, not reaching `to`. `next` is where the NUL ends.
BOOL ReadText(const BYTE* data, uint32_t from, uint32_t to, Str& text, uint32_t& next) {
  if (from % 2 != 0) return FALSE;
  for (uint32_t at = from; at + 2 <= to; at += 2) {
    if (data[at] == 0 && data[at + 1] == 0) {
      int count = static_cast<int>((at - from) / 2);
      if (count == 0)
        text.Empty();
      else
        text = Str(reinterpret_cast<const wchar_t*>(data + from), count);
      next = at + 2;
      return TRUE;
    }
  }
  return FALSE;
}

BOOL ReadPairs(const BYTE* data, uint32_t start, uint32_t end, LabelValueList& list) {
  uint32_t at = start;
  while (at < end) {
    if (end - at < 4) return FALSE;
    uint32_t size = ReadWord(data + at);
    if (size < 8 || size % 4 != 0 || size > end - at) return FALSE;
    LabelValue entry;
    uint32_t next = 0;
    if (!ReadText(data, at + 4, at + size, entry.label, next)) return FALSE;
    if (!ReadText(data, next, at + size, entry.value, next)) return FALSE;
    list.Add(entry);
    at += size;
  }
  return TRUE;
}

BOOL ReadMessengers(const BYTE* data, uint32_t start, uint32_t end, Array<MessengerEntry>& list) {
  uint32_t at = start;
  while (at < end) {
    if (end - at < 4) return FALSE;
    uint32_t size = ReadWord(data + at);
    if (size < 12 || size % 4 != 0 || size > end - at) return FALSE;
    MessengerEntry entry;
    uint32_t next = 0;
    if (!ReadText(data, at + 4, at + size, entry.kind, next)) return FALSE;
    if (!ReadText(data, next, at + size, entry.id, next)) return FALSE;
    if (!ReadText(data, next, at + size, entry.note, next)) return FALSE;
    list.Add(entry);
    at += size;
  }
  return TRUE;
}

const uint32_t kAddressFixed = 28;

BOOL ReadAddresses(const BYTE* data, uint32_t start, uint32_t end, Array<AddressEntry>& list) {
  uint32_t at = start;
  while (at < end) {
    if (end - at < 4) return FALSE;
    uint32_t size = ReadWord(data + at);
    if (size < kAddressFixed + 12 || size % 4 != 0 || size > end - at) return FALSE;
    AddressEntry entry;
    entry.format = ReadWord(data + at + 4);
    uint32_t next = 0;
    if (!ReadText(data, at + kAddressFixed, at + size, entry.label, next)) return FALSE;
    for (int part = 0; part < 5; ++part) {
      uint32_t offset = ReadWord(data + at + 8 + 4 * part);
      if (offset < kAddressFixed || offset >= size) return FALSE;
      if (!ReadText(data, at + offset, at + size, entry.parts[part], next)) return FALSE;
    }
    list.Add(entry);
    at += size;
  }
  return TRUE;
}

BOOL ReadDates(const BYTE* data, uint32_t start, uint32_t end, Array<DateEntry>& list) {
  uint32_t at = start;
  while (at < end) {
    if (end - at < 4) return FALSE;
    uint32_t size = ReadWord(data + at);
    if (size < 16 || size % 4 != 0 || size > end - at) return FALSE;
    DateEntry entry;
    entry.value.dwLowDateTime = ReadWord(data + at + 4);
    entry.value.dwHighDateTime = ReadWord(data + at + 8);
    uint32_t next = 0;
    if (!ReadText(data, at + 12, at + size, entry.label, next)) return FALSE;
    list.Add(entry);
    at += size;
  }
  return TRUE;
}

uint32_t PairsSize(const LabelValueList& list) {
  uint32_t total = 0;
  for (int i = 0; i < list.GetSize(); ++i)
    total += PropsRecord::PairEntrySize(TextLength(list[i].label), TextLength(list[i].value));
  return total;
}

void WritePairs(Writer& writer, const LabelValueList& list) {
  for (int i = 0; i < list.GetSize(); ++i) {
    uint32_t start = writer.Position();
    uint32_t size = PropsRecord::PairEntrySize(TextLength(list[i].label), TextLength(list[i].value));
    writer.Word(size);
    writer.Text(list[i].label);
    writer.Text(list[i].value);
    writer.MoveTo(start + size);
  }
}

}  // namespace

uint32_t PropsRecord::PairEntrySize(uint32_t l1, uint32_t l2) { return ((l1 + l2) * 2 + 13) & ~3u; }

uint32_t PropsRecord::MessengerEntrySize(uint32_t l1, uint32_t l2, uint32_t l3) {
  return ((l1 + l2 + l3) * 2 + 15) & ~3u;
}

uint32_t PropsRecord::AddressEntrySize(const AddressEntry& entry) {
  uint32_t bytes = (TextLength(entry.label) + 1) * 2;
  for (int part = 0; part < 5; ++part) bytes += (TextLength(entry.parts[part]) + 1) * 2;
  return (bytes + 37) & ~3u;
}

uint32_t PropsRecord::DateEntrySize(uint32_t l) { return (l * 2 + 19) & ~3u; }

uint32_t PropsRecord::ImageSize(uint32_t l) { return l == 0 ? 0 : (l + 1) * 2; }

uint32_t PropsRecord::Size(const ContactExtended& block) {
  uint32_t total = kHeaderSize;
  total += PairsSize(block.Phone);
  total += PairsSize(block.Email);
  total += PairsSize(block.WebPage);
  total += PairsSize(block.People);
  total += PairsSize(block.Link);
  total += PairsSize(block.OtherProp);
  for (int i = 0; i < block.Messenger.GetSize(); ++i) {
    const MessengerEntry& entry = block.Messenger[i];
    total += MessengerEntrySize(TextLength(entry.kind), TextLength(entry.id), TextLength(entry.note));
  }
  for (int i = 0; i < block.Address.GetSize(); ++i) total += AddressEntrySize(block.Address[i]);
  for (int i = 0; i < block.Date.GetSize(); ++i) total += DateEntrySize(TextLength(block.Date[i].label));
  total += ImageSize(TextLength(block.Image));
  return total;
}

void PropsRecord::Write(const ContactExtended& block, uint32_t checksum, BYTE* out, uint32_t size) {
  memset(out, 0, size);
  Writer writer(out);
  writer.Word(size);
  writer.Word(checksum);
  writer.Word(block.HomeFormat);
  writer.Word(block.WorkFormat);
  writer.Word(block.OtherFormat);
  writer.MoveTo(kHeaderSize);

  const LabelValueList* pairs[6] = {&block.Phone,  &block.Email, &block.WebPage,
                                    &block.People, &block.Link,  &block.OtherProp};
  for (int section = 0; section < 6; ++section) {
    writer.WordAt(kSectionsField + 4 * section, writer.Position());
    WritePairs(writer, *pairs[section]);
  }

  writer.WordAt(kSectionsField + 4 * SectionMessenger, writer.Position());
  for (int i = 0; i < block.Messenger.GetSize(); ++i) {
    const MessengerEntry& entry = block.Messenger[i];
    uint32_t start = writer.Position();
    uint32_t entrySize =
        MessengerEntrySize(TextLength(entry.kind), TextLength(entry.id), TextLength(entry.note));
    writer.Word(entrySize);
    writer.Text(entry.kind);
    writer.Text(entry.id);
    writer.Text(entry.note);
    writer.MoveTo(start + entrySize);
  }

  writer.WordAt(kSectionsField + 4 * SectionAddress, writer.Position());
  for (int i = 0; i < block.Address.GetSize(); ++i) {
    const AddressEntry& entry = block.Address[i];
    uint32_t start = writer.Position();
    uint32_t entrySize = AddressEntrySize(entry);
    writer.Word(entrySize);
    writer.Word(entry.format);
    writer.MoveTo(start + kAddressFixed);
    writer.Text(entry.label);
    for (int part = 0; part < 5; ++part) {
      writer.WordAt(start + 8 + 4 * part, writer.Position() - start);
      writer.Text(entry.parts[part]);
    }
    writer.MoveTo(start + entrySize);
  }

  writer.WordAt(kSectionsField + 4 * SectionDate, writer.Position());
  for (int i = 0; i < block.Date.GetSize(); ++i) {
    const DateEntry& entry = block.Date[i];
    uint32_t start = writer.Position();
    uint32_t entrySize = DateEntrySize(TextLength(entry.label));
    writer.Word(entrySize);
    writer.Word(entry.value.dwLowDateTime);
    writer.Word(entry.value.dwHighDateTime);
    writer.Text(entry.label);
    writer.MoveTo(start + entrySize);
  }

  writer.WordAt(kSectionsField + 4 * SectionImage, writer.Position());
  if (TextLength(block.Image) > 0) writer.Text(block.Image);
}

BOOL PropsRecord::Parse(const BYTE* data, uint32_t length, ContactExtended& block, uint32_t* checksum) {
  block.ClearExtended();
  if (data == nullptr || length < kHeaderSize || ReadWord(data + kTotalField) != length) return FALSE;

  uint32_t starts[kSectionCount + 1];
  uint32_t previous = kHeaderSize;
  for (int section = 0; section < kSectionCount; ++section) {
    uint32_t start = ReadWord(data + kSectionsField + 4 * section);
    if (start < previous || start > length || start % 2 != 0) return FALSE;
    starts[section] = start;
    previous = start;
  }
  starts[kSectionCount] = length;
  // Every section but the image is made of whole entries, which begin on a word.
  for (int section = 0; section < SectionImage; ++section)
    if (starts[section] % 4 != 0) return FALSE;

  LabelValueList* pairs[6] = {&block.Phone,  &block.Email, &block.WebPage,
                              &block.People, &block.Link,  &block.OtherProp};
  BOOL ok = TRUE;
  for (int section = 0; section < 6 && ok; ++section)
    ok = ReadPairs(data, starts[section], starts[section + 1], *pairs[section]);
  ok = ok && ReadMessengers(data, starts[SectionMessenger], starts[SectionMessenger + 1], block.Messenger);
  ok = ok && ReadAddresses(data, starts[SectionAddress], starts[SectionAddress + 1], block.Address);
  ok = ok && ReadDates(data, starts[SectionDate], starts[SectionDate + 1], block.Date);
  if (ok && starts[SectionImage] < length) {
    uint32_t next = 0;
    ok = ReadText(data, starts[SectionImage], length, block.Image, next) && next == length;
  }
  if (!ok) {
    block.ClearExtended();
    return FALSE;
  }
  block.HomeFormat = ReadWord(data + kHomeFormatField);
  block.WorkFormat = ReadWord(data + kWorkFormatField);
  block.OtherFormat = ReadWord(data + kOtherFormatField);
  if (checksum != nullptr) *checksum = ReadWord(data + kChecksumField);
  return TRUE;
}

BOOL PropsRecord::IsCanonical(const BYTE* data, uint32_t length) {
  ContactExtended block;
  uint32_t checksum = 0;
  if (!Parse(data, length, block, &checksum)) return FALSE;
  if (Size(block) != length) return FALSE;
  BYTE* again = CheckAllocation(static_cast<BYTE*>(malloc(length)));
  Write(block, checksum, again, length);
  BOOL same = memcmp(again, data, length) == 0;
  free(again);
  return same;
}
