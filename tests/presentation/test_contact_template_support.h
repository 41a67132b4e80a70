// Shared by the contact template's tests: template files written as the bytes of their text, a
// readable picture of a whole template for comparisons, and the check that a template is usable.
#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "presentation/ContactTemplate.h"

namespace templatetest {

// A fresh path in the device's temporary folder for a test's file; nothing is there yet.
std::wstring TempFile(const std::wstring& name);

// The UTF-16 little-endian bytes of a text, with no byte-order mark.
std::vector<uint8_t> Utf16(const std::wstring& text);
// The UTF-8 bytes of a text.
std::vector<uint8_t> Utf8(const std::wstring& text);
// Lines joined with CR LF behind each.
std::wstring Lines(const std::vector<std::wstring>& lines);

bool WriteBytes(const std::wstring& path, const std::vector<uint8_t>& bytes);
// The file as UTF-16 text; empty when it can't be read.
std::wstring ReadWide(const std::wstring& path);

// Everything a template holds, section by section, as text: equal pictures, equal templates.
std::string Picture(const ContactTemplate& tpl);

// Empty when the template is usable: every section's built-in labels and short labels as a fresh
// template has them, every index of an order inside its labels, the messenger kinds likewise, and the
// name flags 0 or 1; otherwise what is wrong.
std::string Unusable(const ContactTemplate& tpl);

// The labels of a section in its order.
std::vector<std::wstring> OrderedLabels(const ContactTemplate& tpl, int section);

}  // namespace templatetest
