// What the add-in tests share: the registration of add-ins and of the sample context menu extension in
// the test's device, and menus read as lines.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

#include "MenuLines.h"

namespace plugintest {

extern const wchar_t kAddInsKey[];
extern const wchar_t kExtensionsKey[];  // the contacts' extensions of the shell
extern const wchar_t kSampleExtensionClass[];

// The sample add-in and extension beside the test program.
std::wstring SampleAddInPath();
std::wstring SampleExtensionPath();

// Removes every add-in and every contacts extension.
void ClearAll();
// Registers an add-in under the subkey `name`; an empty `library` or `menu` leaves that value out.
void AddAddIn(const std::wstring& name, const std::wstring& library, const std::wstring& menu);
// Registers the sample extension as an in-process server and as an extension of the contacts' menu.
void AddSampleExtension();
// A copy of the sample add-in under another name in the device's temporary folder; its full path.
std::wstring CopyOfAddIn(const std::wstring& fileName);

// Menus read as lines.
using testmenu::MenuLines;

// The events of one source in the device journal, in order.
std::vector<std::string> JournalEvents(const std::string& source);

}  // namespace plugintest
