// A log file that a test program and its helper processes write to together: whole lines, appended
// under one named mutex, so that lines stay whole and in the order of the events.
#pragma once

#include <string>
#include <vector>

namespace sharedlog {

// Appends one line; false when the mutex took longer than 10 s or the file can't be written.
bool AppendLine(const std::wstring& path, const std::string& line);
// The lines of the file without their line ends; none when there is no file.
std::vector<std::string> ReadLines(const std::wstring& path);

}  // namespace sharedlog
