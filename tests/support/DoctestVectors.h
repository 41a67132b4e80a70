// Lists as doctest shows them in a failed comparison: {1, 2, 3} for numbers (record ids among them),
// {"a", "b"} for lines.
#pragma once

#include <doctest/doctest.h>

#include <string>
#include <vector>

namespace vectortext {

template <typename T>
std::string Item(const T& value) {
  return std::to_string(value);
}
inline std::string Item(const std::string& value) { return "\"" + value + "\""; }

template <typename T>
doctest::String Of(const std::vector<T>& values) {
  std::string text = "{";
  for (size_t i = 0; i < values.size(); ++i) text += (i > 0 ? ", " : "") + Item(values[i]);
  return doctest::String((text + "}").c_str());
}

}  // namespace vectortext

namespace doctest {
template <>
struct StringMaker<std::vector<std::string>> {
  static String convert(const std::vector<std::string>& values) { return vectortext::Of(values); }
};
template <>
struct StringMaker<std::vector<int>> {
  static String convert(const std::vector<int>& values) { return vectortext::Of(values); }
};
template <>
struct StringMaker<std::vector<unsigned int>> {
  static String convert(const std::vector<unsigned int>& values) { return vectortext::Of(values); }
};
template <>
struct StringMaker<std::vector<unsigned long>> {
  static String convert(const std::vector<unsigned long>& values) { return vectortext::Of(values); }
};
}  // namespace doctest
