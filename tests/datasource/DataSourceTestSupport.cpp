#include "DataSourceTestSupport.h"

#include "HiddenWindow.h"
#include "SyncRecordView.h"
#include "storage/contact/ContactFieldTable.h"
#include "sync/SyncMessageHandler.h"

namespace dstest {

std::vector<std::string>& Events() {
  static std::vector<std::string> events;
  return events;
}

std::vector<std::string> EventsStartingWith(const std::string& prefix) {
  std::vector<std::string> found;
  for (const std::string& event : Events())
    if (event.compare(0, prefix.size(), prefix) == 0) found.push_back(event);
  return found;
}

namespace {

void Record(const std::string& event) { Events().push_back(event); }

std::string FilterText(const CategoryFilter& filter) {
  if (!filter.active) return "";
  std::string text = " filter";
  for (int i = 0; i < filter.categories.GetSize(); ++i) text += " " + std::to_string(filter.categories[i]);
  return text;
}

}  // namespace

// --- ScriptedManager ----------------------------------------------------------------------------------

ScriptedManager::ScriptedManager() {}

BOOL ScriptedManager::Open(HINSTANCE, ContactManagerListener* newListener, PimSync* coordinator,
                           IndexProgressSink*) {
  listener = newListener;
  sync = coordinator;
  Record("Open");
  return TRUE;
}

BOOL ScriptedManager::CloseIndex() {
  Record("CloseIndex");
  return TRUE;
}

BOOL ScriptedManager::ReloadIndex() {
  Record("ReloadIndex");
  return TRUE;
}

BOOL ScriptedManager::TakeOverIndex() {
  Record("TakeOverIndex");
  return TRUE;
}

BOOL ScriptedManager::ReadContact(CEOID id, Contact& contact) {
  ++reads;
  Record("Read " + std::to_string(id));
  if (unreadable.count(id)) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
  }
  contact.Clear();
  contact.oid = id;
  contact.text[ContactField::LastName] = Str((L"Name" + std::to_wstring(id)).c_str());
  if (withPhoto.count(id)) {
    const int stride = ((photoWidth * 3) + 3) & ~3;
    std::vector<BYTE> pixels(static_cast<size_t>(stride * photoHeight), 0x7F);
    contact.photo = ContactPhoto(photoWidth, photoHeight, stride, 24, pixels.data());
    contact.photoLoaded = true;
  }
  return TRUE;
}

BOOL ScriptedManager::AddContact(Contact& contact) {
  if (!writeResult) {
    Record("AddContact refused");
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  contact.oid = nextOid;
  Record("AddContact " + std::to_string(contact.oid));
  if (addShows) plain.push_back(contact.oid);
  return TRUE;
}

BOOL ScriptedManager::UpdateContact(Contact& contact, BOOL photoAuthoritative) {
  Record("UpdateContact " + std::to_string(contact.oid) + " photo " + (photoAuthoritative ? "1" : "0"));
  updatedPhoto = contact.photo;
  updatedPhotoLoaded = contact.photoLoaded;
  // As the manager does for a contact without its photo: the stored one is read first.
  if (!photoAuthoritative && !contact.photoLoaded && withPhoto.count(contact.oid)) {
    const int stride = ((photoWidth * 3) + 3) & ~3;
    std::vector<BYTE> pixels(static_cast<size_t>(stride * photoHeight), 0x7F);
    contact.photo = ContactPhoto(photoWidth, photoHeight, stride, 24, pixels.data());
    contact.photoLoaded = true;
  }
  return writeResult;
}

BOOL ScriptedManager::DeleteContact(CEOID id) {
  Record("DeleteContact " + std::to_string(id));
  if (undeletable.count(id)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  return TRUE;
}

BOOL ScriptedManager::SetDefaultItem(CEOID id, uint32_t item) {
  Record("SetDefaultItem " + std::to_string(id) + " " + std::to_string(item));
  return writeResult;
}

BOOL ScriptedManager::Plain(const char* name, const Str& query, int sortKind, const CategoryFilter& filter,
                            Array<CEOID>& out) {
  out.RemoveAll();
  Record(std::string(name) + " '" + Ascii(query) + "' sort " + std::to_string(sortKind) + FilterText(filter));
  if (!searchResult) return FALSE;
  for (CEOID id : plain) out.Add(id);
  return TRUE;
}

BOOL ScriptedManager::Grouped(const char* name, const Str& query, const CategoryFilter& filter,
                              Array<uint32_t>& out, Array<Str>& outTitles) {
  out.RemoveAll();
  outTitles.RemoveAll();
  Record(std::string(name) + " '" + Ascii(query) + "'" + FilterText(filter));
  if (!searchResult) return FALSE;
  for (uint32_t word : flat) out.Add(word);
  for (const std::wstring& title : titles) outTitles.Add(Str(title.c_str()));
  return TRUE;
}

BOOL ScriptedManager::Search(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out,
                             SearchCancel*) {
  return Plain("Search", query, sortKind, filter, out);
}

BOOL ScriptedManager::KeypadSearch(const Str& query, int sortKind, const CategoryFilter& filter,
                                   Array<CEOID>& out) {
  return Plain("KeypadSearch", query, sortKind, filter, out);
}

BOOL ScriptedManager::GroupedSearch(const Str& query, const CategoryFilter& filter, Array<uint32_t>& out,
                                    Array<Str>& outTitles, SearchCancel*) {
  return Grouped("GroupedSearch", query, filter, out, outTitles);
}

BOOL ScriptedManager::GroupedKeypadSearch(const Str& query, const CategoryFilter& filter,
                                          Array<uint32_t>& out, Array<Str>& outTitles) {
  return Grouped("GroupedKeypadSearch", query, filter, out, outTitles);
}

// --- RecordingSync ------------------------------------------------------------------------------------

void RecordingSync::SetMaster(BOOL flag) {
  master = flag;
  Record(std::string("sync SetMaster ") + (flag ? "1" : "0"));
}

BOOL RecordingSync::UpdateLinkType(DWORD id, DWORD item) {
  Record("sync UpdateLinkType " + std::to_string(id) + " " + std::to_string(item));
  return TRUE;
}

BOOL RecordingSync::SlaveReload() {
  Record("sync SlaveReload");
  return TRUE;
}

BOOL RecordingSync::SlaveStop() {
  Record("sync SlaveStop");
  return TRUE;
}

// --- RecordingView -------------------------------------------------------------------------------------

void RecordingView::ResultsChanged() {
  ++resultsChanged;
  Record("view ResultsChanged");
}
void RecordingView::OnListEvent2(DWORD first, DWORD second) {
  Record("view OnListEvent2 " + std::to_string(first) + " " + std::to_string(second));
}
void RecordingView::OnListEvent(DWORD first, DWORD second) {
  Record("view OnListEvent " + std::to_string(first) + " " + std::to_string(second));
}
void RecordingView::OnKeypadRebuildProgress(int step) {
  Record("view OnKeypadRebuildProgress " + std::to_string(step));
}
void RecordingView::OnContactGone(DWORD recordId) {
  gone.push_back(recordId);
  Record("view OnContactGone " + std::to_string(recordId));
}
void RecordingView::EnableItem(BOOL enable) {
  lastEnable = enable ? 1 : 0;
  Record(std::string("view EnableItem ") + (enable ? "1" : "0"));
}
void RecordingView::SetUpdatePending(BOOL pending) {
  Record(std::string("view SetUpdatePending ") + (pending ? "1" : "0"));
}

// --- windows and results -------------------------------------------------------------------------------

namespace {

const wchar_t kItemLikeClass[] = L"PagemarkDataSourceTestWindow";

LRESULT CALLBACK ItemLikeProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
  return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

HWND MakeItemLikeWindow() { return MakeHiddenWindow(kItemLikeClass, ItemLikeProc, L"item"); }

std::vector<std::vector<CEOID>> Groups(const ContactDataSource& source) {
  std::vector<std::vector<CEOID>> groups;
  for (int g = 0; g < source.GroupCount(); ++g) {
    std::vector<CEOID> ids;
    for (int r = 0; r < source.RowsInGroup(g); ++r) ids.push_back(source.GetIdAt(g, r));
    groups.push_back(ids);
  }
  return groups;
}

std::vector<std::string> Titles(const ContactDataSource& source) {
  std::vector<std::string> titles;
  for (int g = 0; g < source.GroupCount(); ++g) titles.push_back(Ascii(source.GroupTitle(g)));
  return titles;
}

void ZeroSyncRecord() { SyncRecordView zeroed; }

}  // namespace dstest
