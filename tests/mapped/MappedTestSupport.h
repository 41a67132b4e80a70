// Helpers of the mapped storage tests: files in the temporary folder, whole-file reads and writes,
// the program's log, and running a body that may end in the failure stop.
#pragma once
#include <windows.h>
#include <stdint.h>
#include <functional>
#include <string>
#include <vector>

// A path in the temporary folder for this test program's files.
std::wstring TempFile(const std::wstring& name);
bool FileExists(const std::wstring& path);
std::vector<uint8_t> ReadBytes(const std::wstring& path);
bool WriteBytes(const std::wstring& path, const std::vector<uint8_t>& bytes);
int64_t FileSizeOf(const std::wstring& path);

// Points the log at this program, empties it and gives its path.
std::wstring FreshLog();
// The log's text (ANSI code page, as written).
std::string LogText();

// What a body run on its own thread raised: the failure stop ends that thread, not the test.
struct StopRecord {
  bool raised = false;
  DWORD code = 0;
};
StopRecord RunOnOwnThread(std::function<void()> body);

// The word at `offset` of a byte block.
uint32_t WordOf(const uint8_t* bytes, size_t offset);
void PutWord(uint8_t* bytes, size_t offset, uint32_t value);

// Bytes of a pattern that depends on a seed and the position, so that a moved or overwritten byte
// shows.
uint8_t PatternByte(uint32_t seed, uint32_t position);
void FillPattern(uint8_t* bytes, uint32_t count, uint32_t seed);
bool HasPattern(const uint8_t* bytes, uint32_t count, uint32_t seed);
