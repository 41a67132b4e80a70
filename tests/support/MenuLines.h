// A menu read back as lines of text, so that a test compares what a menu holds in one check.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

namespace testmenu {

// One line per item: "-" for a separator; the text, " #id" and, when it is grayed, " (grayed)" for a
// command; the text and its sub-menu's lines in braces, joined by "; ", for a popup.
std::vector<std::string> MenuLines(HMENU menu);

}  // namespace testmenu
