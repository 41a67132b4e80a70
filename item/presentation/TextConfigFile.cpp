#include "presentation/TextConfigFile.h"
#include <stdlib.h>
#include "foundation/DebugUtils.h"

TextConfigFile::TextConfigFile()
    : file(INVALID_HANDLE_VALUE), bufferChars(0), nextChar(0), stepBytes(0), atEnd(TRUE), lineChars(nullptr),
      lineLength(0), lineRoom(0) {}

TextConfigFile::~TextConfigFile() {
  Close();
  FreeLine();
}

BOOL TextConfigFile::IsOpen() const { return file != INVALID_HANDLE_VALUE && file != nullptr; }

BOOL TextConfigFile::Open(const wchar_t* path, BOOL forWrite) {
  Close();
  if (path == nullptr || path[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (forWrite) {
    file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return IsOpen();
  }
  file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
  if (!IsOpen()) return FALSE;
  DWORD high = 0;
  SetLastError(NO_ERROR);
  DWORD size = GetFileSize(file, &high);
  bool unreadable = size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR;
  if (unreadable || (size == 0 && high == 0)) {
    // What a save that stopped before its first line leaves behind: not a file to read, and not one
    // to keep.
    Close();
    DeleteFileW(path);
    SetLastError(ERROR_HANDLE_EOF);
    return FALSE;
  }
  return Rewind();
}

void TextConfigFile::Close() {
  if (IsOpen()) CloseHandle(file);
  file = INVALID_HANDLE_VALUE;
  atEnd = TRUE;
  bufferChars = 0;
  nextChar = 0;
  stepBytes = 0;
}

void TextConfigFile::FreeLine() {
  free(lineChars);
  lineChars = nullptr;
  lineLength = 0;
  lineRoom = 0;
}
