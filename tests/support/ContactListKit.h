// The contact list on a real window in a test: a data source whose result the test sets (its contacts
// sit in the cache, where the list reads them), a listener that writes down every call, phone templates
// that mark a formatted number, and the list shown filling a parent window.
#pragma once
#include <doctest/doctest.h>
#include <windows.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ArrayVectors.h"
#include "FieldIds.h"
#include "WideText.h"
#include "lists/ContactList.h"
#include "manager/datasource/ContactDataSource.h"
#include "phone/PhoneTemplates.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"
#include "storage/contact/Contact.h"

namespace listtest {

// The property ids of the phone and mail fields.
using namespace fieldids;

// The phone fields in the order the green key tries them, beside their ids.
const std::vector<std::pair<int, uint32_t>> kCallOrder = {
    {ContactField::WorkPhone, kWorkId},
    {ContactField::WorkPhone2, kWork2Id},
    {ContactField::HomePhone, kHomeId},
    {ContactField::HomePhone2, kHome2Id},
    {ContactField::MobilePhone, kMobileId},
    {ContactField::HomeFax, kHomeFaxId},
    {ContactField::WorkFax, kWorkFaxId},
    {ContactField::Pager, kPagerId},
    {ContactField::CarPhone, kCarId},
    {ContactField::RadioPhone, kRadioId},
    {ContactField::AssistantPhone, kAssistantId},
};

// A data source whose result the test sets. Its contacts sit in the cache; a contact that isn't cached
// can't be read, there being no manager. UpdateDefaultItem is written down and changes the cached
// contact as the real one does.
class TestSource : public ContactDataSource {
 public:
  std::vector<std::pair<CEOID, uint32_t>> stored;
  CEOID nextId = 101;

  // A copy of `contact` under the id `id`.
  CEOID PutAs(const Contact& contact, CEOID id) {
    Contact* copy = new Contact(contact);
    copy->oid = id;
    CacheContact(copy);
    return id;
  }
  CEOID Put(const Contact& contact) { return PutAs(contact, nextId++); }
  // An id whose contact can't be read.
  CEOID Unreadable() { return nextId++; }
  std::vector<CEOID> PutAll(const std::vector<Contact>& contacts) {
    std::vector<CEOID> ids;
    for (const Contact& contact : contacts) ids.push_back(Put(contact));
    return ids;
  }
  void ShowFlat(const std::vector<CEOID>& ids, int sort = SortKindName) {
    SetSingleGroup(ArrayOf(ids));
    sortKind = sort;
  }
  void ShowGroups(const std::vector<std::pair<std::wstring, std::vector<CEOID>>>& result) {
    Array<uint32_t> flat;
    Array<Str> titles;
    for (const auto& group : result) {
      flat.Add(static_cast<uint32_t>(group.second.size()));
      for (CEOID id : group.second) flat.Add(id);
      titles.Add(Str(group.first.c_str()));
    }
    SetGroups(flat, titles);
    sortKind = SortKindGrouped;
  }
  BOOL UpdateDefaultItem(CEOID id, uint32_t item) override {
    stored.push_back({id, item});
    Contact* cached = FindCached(id);
    if (cached) cached->defaultItem = item;
    return TRUE;
  }
};

// A listener that writes down every call; the highlights it answers are the test's.
class Recorder : public ContactListListener {
 public:
  std::vector<std::string> calls;
  std::map<std::string, std::vector<int>> highlights;

  void OnKeyDown(HWND, UINT key, LPARAM) override { calls.push_back("key " + std::to_string(key)); }
  void OnActivate(int group, int item) override { calls.push_back("activate " + Pos(group, item)); }
  void OnClicked(int group, int item, BOOL tapOnMarked) override {
    calls.push_back("click " + Pos(group, item) + (tapOnMarked ? " marked" : ""));
  }
  void OnDoubleClicked(int group, int item) override { calls.push_back("double " + Pos(group, item)); }
  void OnCaretChanged(int group, int item) override { calls.push_back("caret " + Pos(group, item)); }
  void OnPhoneMenuUsed(CEOID id) override { calls.push_back("phone menu " + std::to_string(id)); }
  void OnMakeAppointment() override { calls.push_back("appointment"); }
  void OnDialed() override { calls.push_back("dialed"); }
  void OnQueryHighlight(const Str& name, Array<int>& positions) override {
    auto found = highlights.find(U8(name));
    if (found == highlights.end()) return;
    for (int position : found->second) positions.Add(position);
  }
  void OnChar(HWND, WPARAM character, LPARAM) override {
    calls.push_back("char " + std::to_string(character));
  }

  bool Has(const std::string& call) const {
    for (const std::string& c : calls)
      if (c == call) return true;
    return false;
  }

 private:
  static std::string Pos(int group, int item) { return std::to_string(group) + " " + std::to_string(item); }
};

// Phone templates that show a number in brackets, so that a formatted number can be told apart.
class BracketTemplates : public PhoneTemplates {
 public:
  BOOL FormatNumber(Str& number) const override {
    if (number.IsEmpty()) return FALSE;
    number = L"[" + number + L"]";
    return TRUE;
  }
  void FormatContact(Contact& contact) const override {
    for (const auto& phone : kCallOrder) FormatNumber(contact.text[phone.first]);
  }
};

// The skin and the fonts the rows are drawn with, made once for the test program.
inline void StartSkinAndFonts() {
  static bool started = false;
  if (started) return;
  started = true;
  Skin::Start(GetModuleHandleW(nullptr));
  CreateAllFonts();
}

// A top-most parent of window class `parentClass` as wide as the screen, `height` high at `top`, shown,
// with `list` made in it and filling it, shown too. The shell's long-press feedback is off. The parent.
inline HWND ShowListWindow(ContactList& list, const wchar_t* parentClass, int top, int height) {
  const int width = GetSystemMetrics(SM_CXSCREEN);
  HWND parent = CreateWindowExW(WS_EX_TOPMOST, parentClass, L"contacts", WS_POPUP | WS_VISIBLE, 0, top, width,
                                height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  REQUIRE(parent != nullptr);
  REQUIRE(list.Create(parent, WS_CHILD | WS_VSCROLL));
  list.Control().SetNoGesture(TRUE);
  MoveWindow(list.ContactWindow(), 0, 0, width, height, FALSE);
  ShowWindow(list.ContactWindow(), SW_SHOW);
  return parent;
}

}  // namespace listtest
