// Helpers of the contact manager tests: an object store of their own with the two databases made
// afresh, generated contacts written as the tools write them, index files in the temporary folder,
// a listener that records what it is told, and message pumping while timers run.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <functional>
#include <string>
#include <vector>

#include "MessagePump.h"
#include "WideText.h"
#include "manager/core/ContactManager.h"
#include "storage/contact/Contact.h"

namespace managertest {

// Deletes and makes again "Contacts Database" and "\Categories Database" of the test's store.
void ResetDatabases();
// Index files of the manager: pim_index1.dat and pim_index2.dat of the temporary folder, deleted, and
// their reset marks cleared.
void ResetIndexFiles();
// Both of the above, and the process's keypad groups set to the English letters.
void FreshDevice();

// Writes generated contacts `first` to `first + count - 1` of `seed` straight into the database (not
// through the manager); gives their record ids in order.
std::vector<CEOID> WriteGenerated(int count, uint64_t seed = 7, int first = 0);
// Writes one contact with the given names straight into the database; gives its id.
CEOID WriteNamed(const wchar_t* last, const wchar_t* first, const wchar_t* company = L"",
                 const wchar_t* mobile = L"");
// Changes the company of a record straight in the database (a change by another program).
bool TouchRecord(CEOID oid, const wchar_t* company);
bool DeleteRecord(CEOID oid);

// Every record id of the contacts database.
std::vector<CEOID> AllRecordIds();

// A listener that records every call as a line such as "added 0x1234", "ready 1".
class RecordingListener : public ContactManagerListener {
 public:
  void OnContactAdded(CEOID id) override;
  void OnContactChanged(CEOID id) override;
  void OnContactDeleted(CEOID id) override;
  void OnReloaded() override;
  void OnListEvent(DWORD a, DWORD b) override;
  void OnKeypadRebuildProgress(int step) override;
  void SetDataReady(BOOL ready) override;
  void SetUpdatePending(BOOL pending) override;
  void OnListEvent2(DWORD a, DWORD b) override;
  int Count(const std::string& prefix) const;
  std::vector<std::string> calls;
};

// A progress sink that records every call but the steps as a line such as "text Reindex database",
// and counts the steps.
class CountingSink : public IndexProgressSink {
 public:
  int GetStepCount() override { return 20; }
  void Show() override { calls.push_back("show"); }
  void SetRange(int low, int high) override {
    calls.push_back("range " + std::to_string(low) + " " + std::to_string(high));
  }
  void SetStep(int step) override { calls.push_back("step " + std::to_string(step)); }
  void SetText(const wchar_t* text) override { calls.push_back("text " + U8(text)); }
  void Step() override { ++steps; }
  void Close() override { calls.push_back("close"); }
  std::vector<std::string> calls;
  int steps = 0;
};

// A manager of the test's own, opened with the recording listener, without progress, and by default
// without coordinator (so that it writes the index). `Manager` is ContactManager or a test's class
// derived from it.
template <class Manager>
struct OpenedManagerOf {
  explicit OpenedManagerOf(PimSync* sync = nullptr, IndexProgressSink* sink = nullptr) {
    opened = manager.Open(GetModuleHandleW(nullptr), &listener, sync, sink);
  }
  RecordingListener listener;
  Manager manager;
  BOOL opened;
};
using OpenedManager = OpenedManagerOf<ContactManager>;

// A fresh device with `count` generated contacts, indexed by a manager's start and saved; gives their
// ids, none when the start or the save failed.
std::vector<CEOID> FreshIndexedDevice(int count);
// Whether the index lists every record of the database once, and nothing else.
bool ListsEveryRecord(ContactManager& manager);

// What a start made of the index, as "in step", "stale, inspected: removed R, added A, changed C",
// "stale, inspected, rebuilt" or "unusable, rebuilt".
std::string StartOf(const IndexOpenReport& report);

// The index's whole check; empty when sound.
std::string CheckIndex(ContactManager& manager);

std::string Hex(CEOID oid);

}  // namespace managertest
