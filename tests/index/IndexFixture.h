// A contact index of the tests' own: files in the temporary folder under a name of the test, the
// English/Russian keypad groups, and a key source kept by the test.
#pragma once

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "IndexTestSupport.h"
#include "storage/index/ContactIndex.h"

namespace doctest {
template <>
struct StringMaker<std::vector<uint32_t>> {
  static String convert(const std::vector<uint32_t>& values) {
    std::string text = "{";
    for (size_t k = 0; k < values.size(); ++k) text += (k ? "," : "") + std::to_string(values[k]);
    return String((text + "}").c_str());
  }
};
template <>
struct StringMaker<std::vector<int32_t>> {
  static String convert(const std::vector<int32_t>& values) {
    std::string text = "{";
    for (size_t k = 0; k < values.size(); ++k) text += (k ? "," : "") + std::to_string(values[k]);
    return String((text + "}").c_str());
  }
};
}  // namespace doctest

namespace indextest {

struct IndexFixture {
  std::wstring indexPath;
  std::wstring propsPath;
  ContactIndex index;
  MapKeySource keys;

  explicit IndexFixture(const std::wstring& name, bool create = true)
      : indexPath(TempPath(name + L"_1.dat")), propsPath(TempPath(name + L"_2.dat")) {
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
    UseEnglishRussianGroups();
    index.Store().SetPath(indexPath.c_str());
    index.Props().SetPath(propsPath.c_str());
    index.SetKeySource(&keys);
    if (create) REQUIRE(index.CreateStores(0));
  }
  ~IndexFixture() {
    index.CloseStores();
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
  }

  // Adds through the props store, keeping the key source in step.
  void Add(const Contact& contact, const wchar_t* note = L"") {
    keys.Put(contact);
    REQUIRE(index.AddContact(contact, note));
  }
  void Update(const Contact& contact, const wchar_t* note = L"") {
    keys.Put(contact);
    REQUIRE(index.UpdateContact(contact, note));
  }
  void Remove(uint32_t oid) {
    index.RemoveContact(oid);
    keys.Drop(oid);
  }

  std::vector<uint32_t> Prefix(int tree, const wchar_t* key) {
    Array<CEOID> ids;
    REQUIRE(index.FindPrefix(tree, key, ids));
    return Ids(ids);
  }
  std::vector<uint32_t> List(int kind) {
    Array<CEOID> ids;
    REQUIRE(index.ListAll(kind, ids));
    return Ids(ids);
  }
  uint32_t Header(uint32_t slot) { return index.Store().HeaderWord(slot); }
};

}  // namespace indextest
