// Past the index's capacity: the 8 MB mapping of pim_index1.dat holds some 14,600 generated contacts.
// An address book that outgrows it is never stuck: the index holds as many contacts as fit and says
// so, every contact stays readable, the start after it works, and room made by deletions is taken up
// until the index holds every contact again.
#include <doctest/doctest.h>

#include <algorithm>

#include "DeviceContacts.h"
#include "Generator.h"
#include "ManagerTestSupport.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "WideText.h"
#include "storage/mapped/MappedFile.h"

using namespace managertest;

namespace {

// Contacts written straight into the database at the start, and then in each step.
const int kFirstContacts = 14000;
const int kStep = 250;

std::vector<CEOID> Indexed(ContactManager& manager) {
  Array<CEOID> ids;
  if (!manager.Index().ListAll(SortByName, ids)) return {};
  std::vector<CEOID> sorted(ids.GetData(), ids.GetData() + ids.GetSize());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

// The records the index doesn't hold.
std::vector<CEOID> Unindexed(ContactManager& manager) {
  const std::vector<CEOID> indexed = Indexed(manager);
  std::vector<CEOID> records = AllRecordIds();
  std::sort(records.begin(), records.end());
  std::vector<CEOID> missing;
  std::set_difference(records.begin(), records.end(), indexed.begin(), indexed.end(),
                      std::back_inserter(missing));
  return missing;
}

int CountOf(const std::string& text, const std::string& words) {
  int n = 0;
  for (size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) ++n;
  return n;
}

}  // namespace

TEST_CASE("past the index's capacity the address book stays usable, and deletions bring every contact back") {
  FreshDevice();
  REQUIRE(WriteGenerated(kFirstContacts).size() == static_cast<size_t>(kFirstContacts));
  int written = kFirstContacts;
  FreshProgramLog();

  // Up to the capacity and past it, a start after each step.
  bool over = false;
  for (int step = 0; step < 12 && !over; ++step) {
    CAPTURE(written);
    OpenedManager m;
    REQUIRE(m.opened);
    const int records = static_cast<int>(AllRecordIds().size());
    over = m.manager.IsOverCapacity() != FALSE;
    CHECK(m.manager.LastOpenReport().overCapacity == m.manager.IsOverCapacity());
    if (over) {
      CHECK(m.manager.IndexHolds() < records);
      CHECK(m.manager.Index().ContactCount() == m.manager.IndexHolds());
    } else {
      CHECK(m.manager.Index().ContactCount() == records);
    }
    CHECK(CheckIndex(m.manager) == "");
    m.manager.Close();
    if (!over) {
      REQUIRE(WriteGenerated(kStep, 7, written).size() == static_cast<size_t>(kStep));
      written += kStep;
    }
  }
  REQUIRE(over);
  CHECK(CountOf(ProgramLogText(), "more than the index has room for") >= 1);

  {
    // The start after it takes the index as it was left: over capacity, no rebuild.
    OpenedManager m;
    REQUIRE(m.opened);
    CHECK(m.manager.LastOpenReport().state == IndexInStep);
    CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
    REQUIRE(m.manager.IsOverCapacity());
    const int held = m.manager.IndexHolds();
    CHECK(std::string(U8(m.manager.CapacityNote())).find("it holds " + std::to_string(held)) !=
          std::string::npos);

    // Every contact stays readable, the ones the index doesn't hold too; searches find the others.
    const std::vector<CEOID> missing = Unindexed(m.manager);
    REQUIRE_FALSE(missing.empty());
    Contact contact;
    CHECK(m.manager.ReadContact(missing.front(), contact));
    CHECK(contact.oid == missing.front());
    Array<CEOID> all;
    CHECK(m.manager.Search(Str(L""), SortKindName, CategoryFilter(), all, nullptr));
    CHECK(all.GetSize() == held);

    // An add the index can't take is stored and said to be so.
    Contact added;
    added.text[ContactField::LastName] = Str(L"Overflowing");
    added.text[ContactField::FirstName] = Str(L"Late");
    CHECK(m.manager.AddContact(added));
    CHECK(added.oid != 0);
    CHECK(m.manager.IsOverCapacity());
    Contact again;
    CHECK(m.manager.ReadContact(added.oid, again));
    CHECK(std::string(U8(again.text[ContactField::LastName])) == "Overflowing");
    // Another program's add, heard of by the manager, is no failure either.
    const CEOID elsewhere = WriteNamed(L"Elsewhere", L"Added");
    REQUIRE(elsewhere != 0);
    Pump(1500);
    CHECK(m.manager.PendingWindow().Count() == 0);
    CHECK(m.manager.IsOverCapacity());
    CHECK(m.manager.ReadContact(elsewhere, again));
    CHECK(CheckIndex(m.manager) == "");
  }

  // pimtool says it plainly, and its check doesn't call such an index sound.
  std::string out;
  CHECK(testpaths::RunCaptured(testpaths::BinDir() + L"pimtool.exe", L"open", 120000, &out, nullptr) == 0);
  CHECK(out.find("more than the index has room for") != std::string::npos);
  CHECK(testpaths::RunCaptured(testpaths::BinDir() + L"pimtool.exe", L"check", 120000, &out, nullptr) == 1);
  CHECK(out.find("index sound") == std::string::npos);
  CHECK(out.find("aren't indexed") != std::string::npos);

  // Back below the capacity by deletions through the manager, a start after each step: the index
  // takes up the room they make, and holds every contact again once there is room for all of them.
  for (int step = 0; step < 15 && over; ++step) {
    CAPTURE(step);
    OpenedManager m;
    REQUIRE(m.opened);
    const std::vector<CEOID> indexed = Indexed(m.manager);
    REQUIRE(indexed.size() > 1000);
    for (int k = 0; k < 100 && m.manager.IsOverCapacity(); ++k)
      REQUIRE(m.manager.DeleteContact(indexed[static_cast<size_t>(k) * 7]));
    over = m.manager.IsOverCapacity() != FALSE;
    CHECK(CheckIndex(m.manager) == "");
  }
  CHECK_FALSE(over);
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK_FALSE(m.manager.IsOverCapacity());
  CHECK(m.manager.Index().ContactCount() == static_cast<int>(AllRecordIds().size()));
  CHECK(Unindexed(m.manager).empty());
  // Said once, when it happened.
  CHECK(CountOf(ProgramLogText(), "room for every contact again") == 1);
}

TEST_CASE(
    "an index file with no room left says so: every write that can't fit fails with kMappingFullError") {
  ResetIndexFiles();
  ContactIndex index;
  REQUIRE(index.CreateStores(0));
  int added = 0;
  DWORD error = NO_ERROR;
  // Generated contacts, added one by one until the mapping is full.
  for (int k = 0; k < 40000; ++k) {
    Contact contact;
    const ToolContact generated = GenerateContact(5, k);
    ToContactFields(generated, contact);
    contact.oid = static_cast<CEOID>(k + 1);
    if (!index.AddContact(contact, generated.note.c_str())) {
      error = GetLastError();
      break;
    }
    ++added;
  }
  CAPTURE(added);
  CHECK(added > 10000);
  CHECK(error == kMappingFullError);
  CHECK(index.ContactCount() == added);
  // The one that didn't fit left nothing behind, and the index is whole.
  uint32_t record = 0;
  CHECK_FALSE(index.Find(static_cast<CEOID>(added + 1), &record));
  Str report;
  CHECK_MESSAGE(index.Check(report), U8(report));
  // An update that makes a contact larger than the room left fails the same way.
  Contact larger;
  ToContactFields(GenerateContact(5, 0), larger);
  larger.oid = 1;
  std::wstring many;
  for (int word = 0; word < 30000; ++word) many += L"w" + std::to_wstring(word) + L" ";
  SetLastError(NO_ERROR);
  CHECK_FALSE(index.UpdateContact(larger, many.c_str()));
  CHECK(GetLastError() == kMappingFullError);
  CHECK(index.Check(report));
  index.CloseStores();
  ResetIndexFiles();
}
