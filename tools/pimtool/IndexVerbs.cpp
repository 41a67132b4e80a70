// rebuild, open and check: the index as the item keeps it.
#include <string>

#include "IndexVerbs.h"
#include "Output.h"
#include "ToolManager.h"
#include "foundation/ShellSort.h"
#include "storage/index/ContactKeySource.h"

int RebuildVerb() {
  ToolManager tool;
  if (!tool.Open(true)) return 1;
  if (!tool.Get().Rebuild()) {
    PrintError(L"pimtool: the rebuild failed (error " + std::to_wstring(GetLastError()) + L")");
    return 1;
  }
  PrintLine(L"rebuilt: " + std::to_wstring(tool.Get().Index().ContactCount()) + L" contacts");
  if (tool.Get().IsOverCapacity()) PrintLine(static_cast<const wchar_t*>(tool.Get().CapacityNote()));
  return 0;
}

int OpenVerb() {
  ToolManager tool;
  // The differences a stale start found are applied before the start is told of: an apply that fails
  // rebuilds the index, and the report says so.
  const bool opened = tool.Open() && tool.Get().ApplyDueChanges();
  const IndexOpenReport& report = tool.Get().LastOpenReport();
  if (report.rebuilt) {
    if (report.inspected) {
      PrintLine(L"stale, inspected: removed " + std::to_wstring(report.removed) + L", added " +
                std::to_wstring(report.added) + L", changed " + std::to_wstring(report.changed) +
                L" and more: rebuilt");
    } else {
      PrintLine(L"rebuilt");
    }
  } else if (report.state == IndexInStep) {
    PrintLine(L"in step");
  } else if (report.state == IndexStale) {
    PrintLine(L"stale, inspected: removed " + std::to_wstring(report.removed) + L", added " +
              std::to_wstring(report.added) + L", changed " + std::to_wstring(report.changed));
  }
  if (!opened) return 1;
  PrintLine(std::to_wstring(tool.Get().Index().ContactCount()) + L" contacts");
  if (tool.Get().IsOverCapacity()) PrintLine(static_cast<const wchar_t*>(tool.Get().CapacityNote()));
  return 0;
}

int CheckVerb() {
  // The files as they are: opened without the manager, which would repair them.
  ContactDatabase database;
  if (!database.Open(nullptr)) {
    PrintError(L"pimtool: the device's contacts database can't be opened (error " +
               std::to_wstring(GetLastError()) + L")");
    return 1;
  }
  DatabaseKeySource keys(&database);
  ContactIndex index;
  index.SetKeySource(&keys);
  if (!index.OpenStores()) {
    PrintLine(L"the index files can't be opened (error " + std::to_wstring(GetLastError()) + L")");
    return 1;
  }
  Str report;
  BOOL sound = index.Check(report);
  const int contacts = index.ContactCount();
  // The index against the database it stands for: every record indexed, nothing else.
  Array<CEOID> indexed;
  Array<CEOID> records;
  ListFilter everyone;
  if (index.ListAll(SortByName, indexed) && database.EnumerateOids(everyone, records)) {
    SortIds(indexed);
    SortIds(records);
    int foreign = 0;
    for (int i = 0; i < indexed.GetSize(); ++i) foreign += ContainsId(records, indexed[i]) ? 0 : 1;
    const int missing = records.GetSize() - (indexed.GetSize() - foreign);
    if (foreign > 0) {
      sound = FALSE;
      report += Str((L"database: the index names " + std::to_wstring(foreign) +
                     L" contacts the database doesn't hold\n")
                        .c_str());
    }
    if (missing > 0) {
      sound = FALSE;
      report += Str((L"database: the index holds " + std::to_wstring(indexed.GetSize() - foreign) +
                     L" of the " + std::to_wstring(records.GetSize()) + L" contacts; " +
                     std::to_wstring(missing) + L" aren't indexed\n")
                        .c_str());
    }
  }
  index.CloseStores();
  if (!sound) {
    Print(static_cast<const wchar_t*>(report));
    if (report.GetLength() > 0 && static_cast<const wchar_t*>(report)[report.GetLength() - 1] != L'\n')
      PrintLine(L"");
    return 1;
  }
  PrintLine(L"index sound: " + std::to_wstring(contacts) + L" contacts");
  return 0;
}
