// Running the build's command-line programs (pimtool, ceadmin) against an object store of the tests'
// own, with their output caught.
#pragma once
#include <string>
#include <vector>

#include "Output.h"

namespace tooltest {

// The object store the programs are run with.
extern const wchar_t kStore[];

struct Run {
  int code = -1;
  std::string out;
  std::string err;
};

// Runs a program of the build's bin folder with `arguments`; its standard output and error, UTF-8,
// without the console's CR.
Run Tool(const std::wstring& program, const std::wstring& arguments);
std::vector<std::string> Lines(const std::string& text);
// A new, empty store with the two databases, and no index files or reset marks.
void FreshStore();

}  // namespace tooltest
