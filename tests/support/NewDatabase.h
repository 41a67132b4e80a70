// A database of the device made anew by a test that checks each step: every database of the name
// deleted, then the new one made. For test programs linked with the tool library.
#pragma once

#include <doctest/doctest.h>

#include <utility>
#include <vector>

#include "DeviceDatabases.h"

inline CEOID RequireNewDatabase(const wchar_t* name, std::vector<SORTORDERSPEC> sorts) {
  REQUIRE(DeleteDatabaseNamed(name));
  const CEOID oid = RecreateDatabase(name, 0, std::move(sorts));
  REQUIRE(oid != 0);
  return oid;
}
