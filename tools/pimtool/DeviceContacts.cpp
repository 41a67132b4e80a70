#include "DeviceContacts.h"
#include <cstdlib>
#include "extended/NoteBlob.h"
#include "extended/PimInfoLines.h"
#include "storage/contact/ContactPhotoFiles.h"
#include "Output.h"

namespace {

Str ToStr(const std::wstring& text) { return Str(text.c_str(), static_cast<int>(text.size())); }

FILETIME ToFileTime(uint64_t value) {
  FILETIME time;
  time.dwLowDateTime = static_cast<DWORD>(value);
  time.dwHighDateTime = static_cast<DWORD>(value >> 32);
  return time;
}

void AddPairs(const std::vector<LabelledValue>& source, LabelValueList& list) {
  for (const LabelledValue& pair : source) {
    LabelValue entry;
    entry.label = ToStr(pair.label);
    entry.value = ToStr(pair.value);
    list.Add(entry);
  }
}

void FillExtended(const ToolContact& source, ContactExtended& block) {
  AddPairs(source.phones, block.Phone);
  AddPairs(source.emails, block.Email);
  AddPairs(source.webPages, block.WebPage);
  AddPairs(source.people, block.People);
  AddPairs(source.links, block.Link);
  AddPairs(source.otherValues, block.OtherProp);
  for (const ToolMessenger& messenger : source.messengers) {
    MessengerEntry entry;
    entry.kind = ToStr(messenger.kind);
    entry.id = ToStr(messenger.id);
    entry.note = ToStr(messenger.note);
    block.Messenger.Add(entry);
  }
  for (const ToolAddress& address : source.addresses) {
    AddressEntry entry;
    entry.label = ToStr(address.label);
    for (int i = 0; i < 5; ++i) entry.parts[i] = ToStr(address.parts[i]);
    entry.format = address.format;
    block.Address.Add(entry);
  }
  for (const ToolDate& date : source.dates) {
    DateEntry entry;
    entry.label = ToStr(date.label);
    entry.value = ToFileTime(date.date);
    block.Date.Add(entry);
  }
  block.Image = ToStr(source.photo);
}

std::wstring Text(const Str& text) {
  return std::wstring(static_cast<const wchar_t*>(text), text.GetLength());
}

}  // namespace

bool RichNoteOf(const std::wstring& text, ByteBuffer& document) {
  document.Empty();
  const BYTE* empty = nullptr;
  uint32_t emptyLength = 0;
  if (!LoadNoteTemplate(nullptr, empty, emptyLength)) return false;
  std::vector<NoteLine> lines;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] != L'\r' && text[i] != L'\n') continue;
    if (i > start) lines.push_back(PimPlainLine(text.data() + start, static_cast<int>(i - start)));
    start = i + 1;
  }
  if (lines.empty()) return true;
  uint32_t length = 0;
  BYTE* result = InsertParagraphs(empty, emptyLength, static_cast<int>(lines.size()), lines.data(), length);
  for (NoteLine& line : lines) FreeNoteLine(line);
  if (result == nullptr) {
    SetLastError(ERROR_INVALID_DATA);
    return false;
  }
  document.Assign(result, length);
  free(result);
  return true;
}

void ToContactFields(const ToolContact& source, Contact& contact) {
  for (int f = 0; f < ToolFieldCount; ++f) contact.text[f] = source.text[f].c_str();
  contact.birthday = ToFileTime(source.birthday);
  contact.anniversary = ToFileTime(source.anniversary);
  FillExtended(source, contact);
}

bool ToContactRecord(const ToolContact& source, ToolCategories& categories, ContactNote& note,
                     Contact& contact) {
  contact.Clear();
  ToContactFields(source, contact);

  // Bit n of byte k stands for the category id 8k + n.
  std::vector<BYTE> mask;
  for (const std::wstring& name : source.categories) {
    int id = categories.FindOrAdd(name);
    if (id < 0) continue;
    if (mask.size() <= static_cast<size_t>(id / 8)) mask.resize(id / 8 + 1, 0);
    mask[id / 8] |= static_cast<BYTE>(1 << (id % 8));
    categories.CountUse(id, 1);
  }
  if (!mask.empty()) contact.categories.Assign(mask.data(), static_cast<uint32_t>(mask.size()));

  // The user's text: a rich document, or plain wide text, which starts with the bytes 0xFE 0xFF.
  if (!source.note.empty()) {
    if (source.richNote) {
      if (!RichNoteOf(source.note, contact.rawNote)) return false;
    } else {
      std::vector<BYTE> blob = {0xFE, 0xFF};
      const BYTE* text = reinterpret_cast<const BYTE*>(source.note.data());
      blob.insert(blob.end(), text, text + source.note.size() * sizeof(wchar_t));
      contact.rawNote.Assign(blob.data(), static_cast<uint32_t>(blob.size()));
    }
  }
  return note.MergeIntoNote(contact);
}

std::wstring NoteText(ContactNote& note, Contact& contact, bool& understood) {
  Str text;
  understood = note.GetNoteText(contact, text);
  return Text(text);
}

std::vector<std::wstring> ExtendedLines(const ContactExtended& block) {
  std::vector<std::wstring> lines;
  auto pairs = [&lines](const wchar_t* name, const LabelValueList& list) {
    for (int i = 0; i < list.GetSize(); ++i)
      lines.push_back(std::wstring(name) + L" (" + Text(list[i].label) + L"): " + Text(list[i].value));
  };
  pairs(L"Phone", block.Phone);
  pairs(L"Email", block.Email);
  for (int i = 0; i < block.Messenger.GetSize(); ++i) {
    const MessengerEntry& messenger = block.Messenger[i];
    std::wstring line = L"Messenger (" + Text(messenger.kind) + L"): " + Text(messenger.id);
    if (!messenger.note.IsEmpty()) line += L" (" + Text(messenger.note) + L")";
    lines.push_back(line);
  }
  pairs(L"WebPage", block.WebPage);
  if (block.HomeFormat || block.WorkFormat || block.OtherFormat)
    lines.push_back(L"AddressFormats: home " + std::to_wstring(block.HomeFormat) + L", work " +
                    std::to_wstring(block.WorkFormat) + L", other " + std::to_wstring(block.OtherFormat));
  for (int i = 0; i < block.Address.GetSize(); ++i) {
    const AddressEntry& address = block.Address[i];
    std::wstring line = L"Address (" + Text(address.label) + L"): ";
    for (int part = 0; part < 5; ++part) line += Text(address.parts[part]) + L"; ";
    lines.push_back(line + std::to_wstring(address.format));
  }
  pairs(L"People", block.People);
  for (int i = 0; i < block.Date.GetSize(); ++i)
    lines.push_back(L"Date (" + Text(block.Date[i].label) + L"): " + DateText(block.Date[i].value));
  pairs(L"Link", block.Link);
  pairs(L"Other", block.OtherProp);
  if (!block.Image.IsEmpty()) lines.push_back(L"Photo: " + Text(block.Image));
  return lines;
}

std::wstring DateText(const FILETIME& time) {
  if (time.dwLowDateTime == 0 && time.dwHighDateTime == 0) return std::wstring();
  SYSTEMTIME date;
  if (!FileTimeToSystemTime(&time, &date)) return L"(bad date)";
  wchar_t text[16];
  swprintf(text, 16, L"%04u-%02u-%02u", date.wYear, date.wMonth, date.wDay);
  return text;
}

std::wstring WhyRefused(const Contact& contact, DWORD error) {
  // A text value and its 0, or a blob, must fit one property of the database; the whole record must
  // fit the record limit.
  const size_t longestText = CEDB_MAXPROPDATASIZE / sizeof(wchar_t) - 1;
  size_t total = 0;
  for (int f = 0; f < ToolFieldCount; ++f) {
    const size_t length = static_cast<size_t>(contact.text[f].GetLength());
    total += (length + 1) * sizeof(wchar_t);
    if (length > longestText)
      return L"its " + FromUtf8(kFieldName[f]) + L" has " + std::to_wstring(length) +
             L" characters, more than a database value holds (" + std::to_wstring(longestText) + L")";
  }
  const size_t note = contact.noteBlob.GetLength();
  total += note + contact.categories.GetLength();
  if (note > CEDB_MAXPROPDATASIZE)
    return L"its Note with the extended data takes " + std::to_wstring(note) +
           L" bytes, more than a database value holds (" + std::to_wstring(CEDB_MAXPROPDATASIZE) + L")";
  if (total > CEDB_MAXRECORDSIZE)
    return L"the record takes " + std::to_wstring(total) + L" bytes, more than a database record holds (" +
           std::to_wstring(CEDB_MAXRECORDSIZE) + L")";
  return L"error " + std::to_wstring(error);
}

bool StorePhoto(Contact& contact, const Str& folder, ContactDatabase& database, ContactNote& note,
                std::wstring& why) {
  // The picture replaces whatever file a name stood for; that file isn't the contact's to delete.
  contact.Image.Empty();
  if (!SavePhoto(contact, folder)) {
    why = L"its file can't be written in " + Text(folder) + L" (error " + std::to_wstring(GetLastError()) +
          L")";
    contact.Image.Empty();
    return false;
  }
  if (!note.MergeIntoNote(contact) || !database.UpdateContact(contact, true)) {
    why = L"the contact can't be written again with the photo's name (error " +
          std::to_wstring(GetLastError()) + L")";
    DeleteFileW(folder + L"\\" + contact.Image);
    contact.Image.Empty();
    return false;
  }
  return true;
}

void UncountCategories(ToolCategories& categories, const Contact& contact) {
  const BYTE* mask = contact.categories.GetData();
  for (uint32_t k = 0; k < contact.categories.GetLength(); ++k)
    for (int n = 0; n < 8; ++n)
      if (mask[k] & (1 << n)) categories.CountUse(static_cast<int>(k * 8 + n), -1);
}
