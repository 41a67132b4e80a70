// Helpers of the data source tests: one log of events in the order they happen, a contact manager
// whose searches and writes give scripted answers, a coordinator that only writes down what it is
// asked, a view that writes down what it is told, and a window that hands the coordinator's
// registered messages to whatever handles them in this process, as the item window does.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <set>
#include <string>
#include <vector>

#include "ArrayVectors.h"
#include "DoctestVectors.h"
#include "WideText.h"
#include "manager/datasource/ContactDataSource.h"
#include "manager/core/ContactManager.h"
#include "storage/contact/Contact.h"
#include "sync/PimSync.h"
#include "manager/datasource/ItemListener.h"

namespace dstest {

// What happened, in order: the scripted manager, the recording coordinator and the recording view
// all write here.
std::vector<std::string>& Events();
// Those of the events that begin with `prefix`.
std::vector<std::string> EventsStartingWith(const std::string& prefix);

// A contact manager that opens nothing: its searches give what the test put in, and every call is
// written to Events() as a line such as "Search 'ann' sort 1", "GroupedKeypadSearch '4'",
// "Read 12", "TakeOverIndex".
class ScriptedManager : public ContactManager {
 public:
  ScriptedManager();

  // The answers.
  BOOL searchResult = TRUE;
  std::vector<CEOID> plain;    // Search and KeypadSearch
  std::vector<uint32_t> flat;  // GroupedSearch and GroupedKeypadSearch
  std::vector<std::wstring> titles;
  std::set<CEOID> unreadable;   // ReadContact fails for these
  std::set<CEOID> undeletable;  // DeleteContact fails for these
  // ReadContact gives these contacts a photo of this size.
  std::set<CEOID> withPhoto;
  int photoWidth = 40;
  int photoHeight = 30;
  CEOID nextOid = 1000;  // what AddContact gives
  bool addShows = true;  // an added contact joins the plain answer
  BOOL writeResult = TRUE;
  int reads = 0;
  // The photo of the last contact UpdateContact was given, as it was given.
  ContactPhoto updatedPhoto;
  bool updatedPhotoLoaded = false;

  BOOL Open(HINSTANCE instance, ContactManagerListener* listener, PimSync* sync,
            IndexProgressSink* progress) override;
  void Close() override {}
  BOOL CloseIndex() override;
  BOOL ReloadIndex() override;
  BOOL TakeOverIndex() override;
  BOOL ReadContact(CEOID id, Contact& contact) override;
  BOOL AddContact(Contact& contact) override;
  BOOL UpdateContact(Contact& contact, BOOL photoAuthoritative) override;
  BOOL DeleteContact(CEOID id) override;
  BOOL SetDefaultItem(CEOID id, uint32_t item) override;
  BOOL Search(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out,
              SearchCancel* cancel) override;
  BOOL KeypadSearch(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out) override;
  BOOL GroupedSearch(const Str& query, const CategoryFilter& filter, Array<uint32_t>& flat,
                     Array<Str>& titles, SearchCancel* cancel) override;
  BOOL GroupedKeypadSearch(const Str& query, const CategoryFilter& filter, Array<uint32_t>& flat,
                           Array<Str>& titles) override;

  ContactManagerListener* GivenListener() const { return listener; }
  // As a manager whose index has no room for more contacts; the index it has holds none.
  void SetOverCapacity(BOOL over) { overCapacity = over; }

 private:
  BOOL Plain(const char* name, const Str& query, int sortKind, const CategoryFilter& filter,
             Array<CEOID>& out);
  BOOL Grouped(const char* name, const Str& query, const CategoryFilter& filter, Array<uint32_t>& out,
               Array<Str>& outTitles);
};

// A coordinator that opens nothing and writes down "sync SetMaster 1", "sync UpdateLinkType 5 7", ...
class RecordingSync : public PimSync {
 public:
  BOOL master = TRUE;
  BOOL IsMaster() const override { return master; }
  void SetMaster(BOOL flag) override;
  BOOL UpdateLinkType(DWORD id, DWORD item) override;
  BOOL SlaveReload() override;
  BOOL SlaveStop() override;
};

// A view that writes down "view ResultsChanged", "view EnableItem 0", "view OnContactGone 12", ...
class RecordingView : public ItemListener {
 public:
  void ResultsChanged() override;
  void OnListEvent2(DWORD first, DWORD second) override;
  void OnListEvent(DWORD first, DWORD second) override;
  void OnKeypadRebuildProgress(int step) override;
  void OnContactGone(DWORD recordId) override;
  void EnableItem(BOOL enable) override;
  void SetUpdatePending(BOOL pending) override;
  int resultsChanged = 0;
  std::vector<CEOID> gone;
  int lastEnable = -1;
};

// A hidden window of this process that hands the coordinator's messages to g_syncMessageHandler.
HWND MakeItemLikeWindow();

// The ids of the result, group by group.
std::vector<std::vector<CEOID>> Groups(const ContactDataSource& source);
std::vector<std::string> Titles(const ContactDataSource& source);
inline std::vector<CEOID> ToVector(const Array<CEOID>& ids) { return VectorOf<CEOID>(ids); }
inline Array<CEOID> ToArray(const std::vector<CEOID>& ids) { return ArrayOf(ids); }

// The shared record of the coordinator, zeroed, so that a test starts with no process in it.
void ZeroSyncRecord();

}  // namespace dstest
