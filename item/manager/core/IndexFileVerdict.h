// Why the index files can't be used, in one sentence for the log: the first of the two files (the
// props store, which is opened first, then the index file) whose image on disk fails a check of its
// opening, and which check.
#pragma once
#include <windows.h>

#include "foundation/Str.h"

// `error` is the last error of the failed open, named when neither file shows what failed.
Str DescribeUnusableIndex(const wchar_t* indexPath, const wchar_t* propsPath, DWORD error);

// The file's name without its folder.
const wchar_t* BareFileName(const wchar_t* path);
