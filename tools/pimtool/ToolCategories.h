// Category names of the device's "\Categories Database" as the tool needs them: a name becomes an id
// (a new record when the name is missing), and the usage counts follow the contacts the tool wrote.
#pragma once
#include <map>
#include <string>
#include "storage/db/DbDatabase.h"

class ToolCategories {
 public:
  bool Open();
  // The id of the named category, made when missing; -1 when no id is free or the write fails.
  int FindOrAdd(const std::wstring& name);
  // The name of an id, or an empty text.
  std::wstring NameOf(int id) const;
  // Adds `uses` to the usage count of an id.
  void CountUse(int id, int uses);
  // Writes the changed usage counts back.
  bool Flush();

 private:
  struct Entry {
    CEOID oid;
    std::wstring name;
    int count;
    int added;
  };
  DbDatabase database;
  std::map<int, Entry> byId;
};
