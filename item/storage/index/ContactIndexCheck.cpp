// ContactIndex::Check: the file's own check, and what only the index object knows: its contact tree,
// the keys of the sorted lists, and the props records the contact map names.
#include "storage/index/ContactIndex.h"

#include "foundation/ShellSort.h"
#include "storage/index/ContactKeySource.h"

namespace {

void Finding(Str& report, const wchar_t* format, ...) {
  Str line;
  va_list args;
  va_start(args, format);
  line.FormatV(format, args);
  va_end(args);
  AddReportLine(report, line);
}

struct MapPair {
  uint32_t oid;
  uint32_t record;
};

}  // namespace

BOOL ContactIndex::Check(Str& report) const {
  const int before = report.GetLength();
  // A store that met damage is still walked: the walk trusts nothing it reads.
  if (loadState != StoresLoaded && !EnsureLoaded()) {
    AddReportLine(report,
                  L"load: a file couldn't be copied whole, or its header names structures past its end");
    return FALSE;
  }
  if (!store.Check(report)) {
    // The file's structures are in doubt: reading them further could go astray.
    contacts.Check(report);
    return FALSE;
  }
  if (store.IsDamaged()) {
    AddReportLine(report, L"index file: an operation met a structure that doesn't hold together");
    return FALSE;
  }
  contacts.Check(report);

  // The contact tree holds exactly the contact map.
  Array<uint32_t> oids, values;
  contacts.List(oids, values);
  Array<MapPair> stored;
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  uint32_t count = 0;
  if (map != 0 && store.CountedAt(map, sizeof(ContactMapEntry), &count)) {
    const ContactMapEntry* entries = reinterpret_cast<const ContactMapEntry*>(store.Words(map) + 1);
    for (uint32_t k = 0; k < count; ++k) stored.Add(MapPair{entries[k].oid, entries[k].record});
  }
  ShellSort(stored, [](const MapPair& a, const MapPair& b) { return a.oid < b.oid; });
  if (stored.GetSize() != oids.GetSize()) {
    Finding(report, L"contact tree: %d contacts, the contact map %d", oids.GetSize(), stored.GetSize());
  } else {
    for (int k = 0; k < oids.GetSize(); ++k) {
      if (stored[k].oid != oids[k] || stored[k].record != values[k]) {
        Finding(report, L"contact tree: contact %u with record %u, the contact map has %u with %u", oids[k],
                values[k], stored[k].oid, stored[k].record);
        break;
      }
    }
  }

  // The sorted lists stand in the order of their keys.
  if (keys != nullptr) {
    static const wchar_t* const kNames[2] = {L"name list", L"File As list"};
    for (int kind = 0; kind < 2; ++kind) {
      Array<CEOID> ids;
      ListAll(kind, ids);
      Str previous;
      for (int k = 0; k < ids.GetSize(); ++k) {
        Str key;
        if (!keys->ReadSortKey(kind, ids[k], key)) {
          Finding(report, L"%s: the key of contact %u can't be read", kNames[kind],
                  static_cast<uint32_t>(ids[k]));
          break;
        }
        if (k > 0 && CompareSortKeys(previous, ids[k - 1], key, ids[k]) >= 0) {
          Finding(report, L"%s: contact %u stands before contact %u out of order", kNames[kind],
                  static_cast<uint32_t>(ids[k - 1]), static_cast<uint32_t>(ids[k]));
          // One is enough: a list out of order is made anew as a whole.
          break;
        }
        previous = key;
      }
    }
  }

  if (props.IsOpen()) {
    Array<uint32_t> records;
    for (int k = 0; k < values.GetSize(); ++k) records.Add(values[k]);
    props.Check(report, records);
  }
  return report.GetLength() == before;
}
