// Writing a sectioned line file: each section appended at the end, header first, lines in CR LF.
#include "presentation/TextConfigFile.h"

BOOL TextConfigFile::WriteText(const wchar_t* text, int length) {
  DWORD bytes = static_cast<DWORD>(length) * sizeof(wchar_t);
  DWORD written = 0;
  if (!WriteFile(file, text, bytes, &written, nullptr)) return FALSE;
  if (written != bytes) {
    SetLastError(ERROR_WRITE_FAULT);
    return FALSE;
  }
  return TRUE;
}

BOOL TextConfigFile::WriteLine(const Str& text) {
  Str line = text + L"\r\n";
  return WriteText(line, line.GetLength());
}

BOOL TextConfigFile::WriteHeader(const wchar_t* section) {
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (SetFilePointer(file, 0, nullptr, FILE_END) == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
    return FALSE;
  return WriteLine(Str(L"[") + section + L"]");
}

BOOL TextConfigFile::WriteFlag(const wchar_t* section, BOOL value) {
  if (!WriteHeader(section)) return FALSE;
  return WriteLine(value ? L"true" : L"false");
}

BOOL TextConfigFile::WriteStrings(const wchar_t* section, const Array<Str>& lines) {
  if (!WriteHeader(section)) return FALSE;
  for (int i = 0; i < lines.GetSize(); ++i) {
    if (!WriteLine(lines[i])) return FALSE;
  }
  return TRUE;
}

BOOL TextConfigFile::WriteStrings(const wchar_t* section, const Array<Str>& labels,
                                  const Array<int32_t>& indexes) {
  if (!WriteHeader(section)) return FALSE;
  for (int i = 0; i < indexes.GetSize(); ++i) {
    int32_t index = indexes[i];
    if (index < 0 || index >= labels.GetSize()) continue;
    if (!WriteLine(labels[index])) return FALSE;
  }
  return TRUE;
}

BOOL TextConfigFile::WriteNumbers(const wchar_t* section, const Array<int32_t>& numbers) {
  if (!WriteHeader(section)) return FALSE;
  for (int i = 0; i < numbers.GetSize(); ++i) {
    Str line;
    line.Format(L"%d", static_cast<int>(numbers[i]));
    if (!WriteLine(line)) return FALSE;
  }
  return TRUE;
}
