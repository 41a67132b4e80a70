// The item's log as the tests read it, worked out on the tests' own terms: where it is, its lines and
// their stamps ("yyyy.MM.dd HH:mm:ss - message").
#pragma once
#include <windows.h>

#include <string>
#include <vector>

// Where the log goes when the log module is `module`: the module's path with ".log" added.
std::wstring LogPathOf(HMODULE module);
// Points the log at this program and starts it empty; gives its path.
std::wstring FreshProgramLog();
// The text of this program's log (ANSI code page, as written).
std::string ProgramLogText();

// The lines of a log, each of which must end in CR LF; a trailing piece without one is returned as
// a line of its own with "<unterminated>" in front, so that a test sees it.
std::vector<std::string> LogLines(const std::string& bytes);
// Splits "yyyy.MM.dd HH:mm:ss - rest" into the stamp and the rest; false when the line isn't so.
bool SplitLogLine(const std::string& line, std::string& stamp, std::string& rest);
// The messages of the log at `path`, each line without its stamp; a line that isn't a log line comes
// as "<not a log line>" and the line.
std::vector<std::string> LogMessages(const std::wstring& path);
// The local time in the log's stamp layout, for comparison with a logged stamp.
std::string StampNow();
