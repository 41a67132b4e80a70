#include "test_contact_template_support.h"
#include <windows.h>
#include "TestPaths.h"
#include "WideText.h"

namespace templatetest {

std::wstring TempFile(const std::wstring& name) {
  std::wstring path = testpaths::TempFolder() + L"template-" + name;
  DeleteFileW(path.c_str());
  return path;
}

std::vector<uint8_t> Utf16(const std::wstring& text) {
  std::vector<uint8_t> bytes;
  for (wchar_t ch : text) {
    bytes.push_back(static_cast<uint8_t>(ch & 0xFF));
    bytes.push_back(static_cast<uint8_t>((ch >> 8) & 0xFF));
  }
  return bytes;
}

std::vector<uint8_t> Utf8(const std::wstring& text) {
  std::vector<uint8_t> out;
  for (wchar_t ch : text) {
    unsigned u = ch;
    if (u < 0x80) {
      out.push_back(static_cast<uint8_t>(u));
    } else if (u < 0x800) {
      out.push_back(static_cast<uint8_t>(0xC0 | (u >> 6)));
      out.push_back(static_cast<uint8_t>(0x80 | (u & 0x3F)));
    } else {
      out.push_back(static_cast<uint8_t>(0xE0 | (u >> 12)));
      out.push_back(static_cast<uint8_t>(0x80 | ((u >> 6) & 0x3F)));
      out.push_back(static_cast<uint8_t>(0x80 | (u & 0x3F)));
    }
  }
  return out;
}

std::wstring Lines(const std::vector<std::wstring>& lines) {
  std::wstring text;
  for (const std::wstring& line : lines) text += line + L"\r\n";
  return text;
}

bool WriteBytes(const std::wstring& path, const std::vector<uint8_t>& bytes) {
  return testpaths::WriteFileBytes(path, bytes);
}

std::wstring ReadWide(const std::wstring& path) {
  std::vector<uint8_t> bytes = testpaths::ReadFileBytes(path);
  std::wstring text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    text += static_cast<wchar_t>(bytes[i] | (bytes[i + 1] << 8));
  return text;
}

namespace {

std::string Strings(const Array<Str>& strings) {
  std::string text = "[";
  for (int i = 0; i < strings.GetSize(); ++i) text += (i ? "|" : "") + U8(strings[i]);
  return text + "]";
}

std::string Numbers(const Array<int32_t>& numbers) {
  std::string text = "[";
  for (int i = 0; i < numbers.GetSize(); ++i) text += (i ? "," : "") + std::to_string(numbers[i]);
  return text + "]";
}

bool SameStrings(const Array<Str>& a, const Array<Str>& b, int count) {
  if (a.GetSize() < count || b.GetSize() < count) return false;
  for (int i = 0; i < count; ++i) {
    if (!(a[i] == b[i])) return false;
  }
  return true;
}

}  // namespace

std::string Picture(const ContactTemplate& tpl) {
  const NameTemplateSection& names = tpl.GetNameSection();
  std::string text = "collapsed " + std::to_string(names.nameCollapsed) + " flags";
  for (int i = 0; i < NamePartCount; ++i) text += " " + std::to_string(names.fieldFlags[i]);
  text += "\n";
  for (int number = 0; number < SectionCount; ++number) {
    const TemplateSection& section = *tpl.GetSection(number);
    text += std::to_string(number) + ": enabled " + std::to_string(section.enabled) + " builtin " +
            std::to_string(section.builtinCount) + " labels " + Strings(section.labels) + " order " +
            Numbers(section.order) + " short " + Strings(section.shortLabels) + " prompt " +
            U8(section.prompt) + "\n";
  }
  const MessengerTemplateSection& messengers = tpl.GetMessengerSection();
  text += "kinds " + Strings(messengers.typeLabels) + " builtin " +
          std::to_string(messengers.typeBuiltinCount) + " order " + Numbers(messengers.typeOrder) + "\n";
  text += "countries " + Numbers(tpl.GetAddressSection().addressFormats) + "\n";
  return text;
}

std::string Unusable(const ContactTemplate& tpl) {
  static ContactTemplate fresh;
  for (int number = 0; number < SectionCount; ++number) {
    const TemplateSection& section = *tpl.GetSection(number);
    const TemplateSection& built = *fresh.GetSection(number);
    const std::string where = "section " + std::to_string(number) + ": ";
    if (section.builtinCount != built.builtinCount || section.labels.GetSize() < section.builtinCount)
      return where + "built-in labels cut";
    if (!SameStrings(section.labels, built.labels, built.builtinCount))
      return where + "built-in labels changed";
    if (section.shortLabels.GetSize() != built.shortLabels.GetSize() ||
        !SameStrings(section.shortLabels, built.shortLabels, built.shortLabels.GetSize()))
      return where + "short labels changed";
    for (int i = 0; i < section.order.GetSize(); ++i) {
      if (section.order[i] < 0 || section.order[i] >= section.labels.GetSize())
        return where + "order index " + std::to_string(section.order[i]) + " outside the labels";
    }
    for (int i = section.builtinCount; i < section.labels.GetSize(); ++i) {
      const Str& label = section.labels[i];
      if (label.IsEmpty() || label[0] == L'[' || label.Find(L'\r') >= 0 || label.Find(L'\n') >= 0)
        return where + "a user label that can't be written back: " + U8(label);
    }
    if (section.enabled != 0 && section.enabled != 1) return where + "enabled is neither 0 nor 1";
  }
  const MessengerTemplateSection& messengers = tpl.GetMessengerSection();
  for (int i = 0; i < messengers.typeOrder.GetSize(); ++i) {
    if (messengers.typeOrder[i] < 0 || messengers.typeOrder[i] >= messengers.typeLabels.GetSize())
      return "messenger kind outside the kinds";
  }
  if (!SameStrings(messengers.typeLabels, fresh.GetMessengerSection().typeLabels,
                   messengers.typeBuiltinCount))
    return "built-in messenger kinds changed";
  const NameTemplateSection& names = tpl.GetNameSection();
  if (names.nameCollapsed != 0 && names.nameCollapsed != 1) return "nameCollapsed is neither 0 nor 1";
  for (int i = 0; i < NamePartCount; ++i) {
    if (names.fieldFlags[i] != 0 && names.fieldFlags[i] != 1) return "a name flag is neither 0 nor 1";
  }
  return std::string();
}

std::vector<std::wstring> OrderedLabels(const ContactTemplate& tpl, int number) {
  std::vector<std::wstring> labels;
  const TemplateSection& section = *tpl.GetSection(number);
  for (int i = 0; i < section.order.GetSize(); ++i) {
    int index = section.order[i];
    if (index >= 0 && index < section.labels.GetSize()) labels.push_back(std::wstring(section.labels[index]));
  }
  return labels;
}

}  // namespace templatetest
