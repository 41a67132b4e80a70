// Console output of the tool: wide text as UTF-8 on standard output, so that pipes and files get
// the same bytes whatever the console's code page.
#pragma once
#include <string>

void Print(const std::wstring& text);
void PrintLine(const std::wstring& text);
void PrintError(const std::wstring& text);
std::string ToUtf8(const std::wstring& text);
std::wstring FromUtf8(const std::string& text);
