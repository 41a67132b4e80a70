#include "CommandLine.h"
#include <wchar.h>

const wchar_t* ProgramArguments(const wchar_t* programName) {
  const wchar_t* line = GetCommandLineW();
  const wchar_t* p = line;
  while (*p == L' ') ++p;
  // The first word, quoted or not, is the program when it ends in the program's file name.
  const wchar_t* start = p;
  const wchar_t* end;
  if (*p == L'"') {
    ++start;
    end = wcschr(start, L'"');
    if (!end) return line;
  } else {
    end = start;
    while (*end && *end != L' ') ++end;
  }
  const size_t length = wcslen(programName);
  const size_t word = static_cast<size_t>(end - start);
  if (word < length || _wcsnicmp(end - length, programName, length) != 0) return line;
  if (word > length && end[-static_cast<ptrdiff_t>(length) - 1] != L'\\' &&
      end[-static_cast<ptrdiff_t>(length) - 1] != L'/')
    return line;
  p = *end == L'"' ? end + 1 : end;
  if (*p == L' ') ++p;
  return p;
}
