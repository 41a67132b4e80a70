// The device's application keys: the shell starts the program that the registry names for each.
#pragma once
#include <windows.h>

#include <string>

namespace todayhost {

// The keys' virtual codes, 0xC1 to 0xC5; their registry keys are named 40C1 to 40C5.
constexpr UINT kFirstHardwareKey = 0xC1;
constexpr UINT kLastHardwareKey = 0xC5;

inline bool IsHardwareKey(UINT vk) { return vk >= kFirstHardwareKey && vk <= kLastHardwareKey; }

// "app1" to "app5", or the registry's numbers 0x40C1 to 0x40C5, as the key's virtual code; 0 otherwise.
UINT ParseHardwareKey(const std::wstring& text);

// Does what the shell does for a press of `vk`: reads HKLM\SOFTWARE\Microsoft\Shell\Keys\40Cx (ResetCmd,
// else the default value), follows a ":NAME" command through the shell's aliases (Rai\:NAME, value
// "1"), and starts the program with the rest of the line as its arguments. Every step goes to the
// device journal. True when a program was started.
bool StartHardwareKeyProgram(UINT vk);

}  // namespace todayhost
