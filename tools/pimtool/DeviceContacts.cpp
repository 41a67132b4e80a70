#include "DeviceContacts.h"
#include <vector>

void ToContactRecord(const ToolContact& source, ToolCategories& categories, Contact& contact) {
  contact.Clear();
  for (int f = 0; f < ToolFieldCount; ++f) contact.text[f] = source.text[f].c_str();
  contact.birthday.dwLowDateTime = static_cast<DWORD>(source.birthday);
  contact.birthday.dwHighDateTime = static_cast<DWORD>(source.birthday >> 32);
  contact.anniversary.dwLowDateTime = static_cast<DWORD>(source.anniversary);
  contact.anniversary.dwHighDateTime = static_cast<DWORD>(source.anniversary >> 32);

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

  // A plain Note of wide characters starts with the bytes 0xFE 0xFF.
  if (!source.note.empty()) {
    std::vector<BYTE> blob = {0xFE, 0xFF};
    const BYTE* text = reinterpret_cast<const BYTE*>(source.note.data());
    blob.insert(blob.end(), text, text + source.note.size() * sizeof(wchar_t));
    contact.noteBlob.Assign(blob.data(), static_cast<uint32_t>(blob.size()));
  }
}

std::wstring NoteText(const Contact& contact) {
  const BYTE* data = contact.noteBlob.GetData();
  uint32_t length = contact.noteBlob.GetLength();
  if (length == 0) return std::wstring();
  if (length >= 15 && memcmp(data, "{\\pwi", 5) == 0) {
    bool plain = true;
    for (int i = 5; i <= 13; ++i) plain = plain && data[i] >= 10;
    if (!plain) return L"(rich note of " + std::to_wstring(length) + L" bytes)";
  }
  if (length >= 2 && data[0] == 0xFE && data[1] == 0xFF)
    return std::wstring(reinterpret_cast<const wchar_t*>(data + 2), length / 2 - 1);
  int n = MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(data), static_cast<int>(length), nullptr, 0);
  std::wstring text(n, L'\0');
  MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(data), static_cast<int>(length), &text[0], n);
  return text;
}

std::wstring DateText(const FILETIME& time) {
  if (time.dwLowDateTime == 0 && time.dwHighDateTime == 0) return std::wstring();
  SYSTEMTIME date;
  if (!FileTimeToSystemTime(&time, &date)) return L"(bad date)";
  wchar_t text[16];
  swprintf(text, 16, L"%04u-%02u-%02u", date.wYear, date.wMonth, date.wDay);
  return text;
}
