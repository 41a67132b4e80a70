// Reading a sectioned line file: lines assembled over as many 25-byte steps as they need.
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include "foundation/DebugUtils.h"
#include "presentation/TextConfigFile.h"

static const DWORD kStepBytes = 25;

BOOL TextConfigFile::Rewind() {
  atEnd = TRUE;
  bufferChars = 0;
  nextChar = 0;
  stepBytes = 0;
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (SetFilePointer(file, 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
    return FALSE;
  atEnd = FALSE;
  return TRUE;
}

BOOL TextConfigFile::FillBuffer() {
  if (atEnd) return FALSE;
  // A character split by the end of the last step: its first byte moves to the front and the step
  // reads its second behind it.
  int kept = stepBytes % 2;
  if (kept) buffer[0] = buffer[stepBytes - 1];
  DWORD got = 0;
  if (!ReadFile(file, buffer + kept, kStepBytes, &got, nullptr) || got == 0) {
    // A lone byte at the end of the file is no character.
    atEnd = TRUE;
    bufferChars = 0;
    nextChar = 0;
    stepBytes = 0;
    return FALSE;
  }
  stepBytes = kept + static_cast<int>(got);
  bufferChars = stepBytes / 2;
  nextChar = 0;
  return TRUE;
}

BOOL TextConfigFile::NextChar(wchar_t& ch) {
  while (nextChar >= bufferChars) {
    if (!FillBuffer()) return FALSE;
  }
  const BYTE* at = buffer + 2 * nextChar;
  ch = static_cast<wchar_t>(at[0] | (at[1] << 8));
  ++nextChar;
  return TRUE;
}

void TextConfigFile::KeepChar(wchar_t ch) {
  if (lineLength == lineRoom) {
    int room = lineRoom == 0 ? 64 : lineRoom * 2;
    lineChars = CheckAllocation(
        static_cast<wchar_t*>(realloc(lineChars, static_cast<size_t>(room) * sizeof(wchar_t))));
    lineRoom = room;
  }
  lineChars[lineLength++] = ch;
}

BOOL TextConfigFile::ReadLine(Str& line) {
  lineLength = 0;
  wchar_t ch;
  while (NextChar(ch)) {
    if (ch == L'\r' || ch == L'\n') {
      // Any run of line ends is one: a line end before any text ends no line.
      if (lineLength > 0) break;
      continue;
    }
    KeepChar(ch);
  }
  if (lineLength == 0) {
    line.Empty();
    return FALSE;
  }
  line = Str(lineChars, lineLength);
  // The room of a very long line is not kept for the short ones behind it.
  if (lineRoom > 4096) FreeLine();
  return TRUE;
}

BOOL TextConfigFile::FindSection(const wchar_t* section) {
  if (!Rewind()) return FALSE;
  Str header = Str(L"[") + section + L"]";
  int headerLength = header.GetLength();
  Str line;
  while (ReadLine(line)) {
    if (line.GetLength() >= headerLength &&
        memcmp(static_cast<const wchar_t*>(line), static_cast<const wchar_t*>(header),
               static_cast<size_t>(headerLength) * sizeof(wchar_t)) == 0)
      return TRUE;
  }
  SetLastError(ERROR_NOT_FOUND);
  return FALSE;
}

BOOL TextConfigFile::ReadValueLine(Str& line) {
  if (!ReadLine(line)) return FALSE;
  // The next header ends the section.
  return line[0] != L'[';
}

static bool IsWord(const Str& line, const wchar_t* word) {
  int length = static_cast<int>(wcslen(word));
  return line.GetLength() == length && _wcsnicmp(line, word, static_cast<size_t>(length)) == 0;
}

BOOL TextConfigFile::ReadFlag(const wchar_t* section, int32_t& out) {
  if (!FindSection(section)) return FALSE;
  Str line;
  if (ReadValueLine(line)) {
    if (IsWord(line, L"true")) {
      out = 1;
      return TRUE;
    }
    if (IsWord(line, L"false")) {
      out = 0;
      return TRUE;
    }
  }
  SetLastError(ERROR_INVALID_DATA);
  return FALSE;
}

BOOL TextConfigFile::ReadStrings(const wchar_t* section, Array<Str>& out) {
  if (FindSection(section)) {
    Str line;
    while (ReadValueLine(line)) out.Add(line);
  }
  return out.GetSize() > 0;
}

BOOL TextConfigFile::ReadNumbers(const wchar_t* section, Array<int32_t>& out) {
  if (FindSection(section)) {
    Str line;
    while (ReadValueLine(line)) out.Add(static_cast<int32_t>(_wtol(line)));
  }
  return out.GetSize() > 0;
}
