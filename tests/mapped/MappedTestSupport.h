// Helpers of the mapped storage tests: files in the temporary folder and byte patterns; whole files,
// words, the program's log and bodies that may end in the failure stop come from the shared support.
#pragma once
#include <windows.h>
#include <stdint.h>
#include <string>
#include <vector>

#include "LittleEndian.h"
#include "OwnThread.h"
#include "ProgramLog.h"
#include "TestPaths.h"

// A path in the temporary folder for this test program's files.
std::wstring TempFile(const std::wstring& name);
using testpaths::FileExists;
using testpaths::FileSizeOf;
using testpaths::ReadFileBytes;
using testpaths::WriteFileBytes;

// Bytes of a pattern that depends on a seed and the position, so that a moved or overwritten byte
// shows.
uint8_t PatternByte(uint32_t seed, uint32_t position);
void FillPattern(uint8_t* bytes, uint32_t count, uint32_t seed);
bool HasPattern(const uint8_t* bytes, uint32_t count, uint32_t seed);
