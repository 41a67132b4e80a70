#include "BenchFolder.h"
#include <windows.h>

std::wstring MakeBenchFolder(const wchar_t* name) {
  wchar_t temp[MAX_PATH];
  const DWORD length = GetTempPathW(MAX_PATH, temp);
  std::wstring folder(temp, length);
  if (folder.empty() || folder.back() != L'\\') folder += L'\\';
  folder += name;
  folder += L'\\';
  CreateDirectoryW(folder.c_str(), nullptr);
  return folder;
}

void RemoveBenchFolder(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((folder + L"*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        DeleteFileW((folder + found.cFileName).c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
  }
  RemoveDirectoryW(folder.c_str());
}
