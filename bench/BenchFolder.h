// A folder of a benchmark's own under the temporary folder, so that its files never meet the item's.
#pragma once
#include <string>

// Makes the folder `name` in the temporary folder and gives its path with a trailing backslash.
std::wstring MakeBenchFolder(const wchar_t* name);
// Deletes the files of the folder, then the folder.
void RemoveBenchFolder(const std::wstring& folder);
