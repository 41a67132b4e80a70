// Sets a database's step flag for the length of a scope and puts the old value back.
#pragma once

#include "storage/db/DbDatabase.h"

class StepScope {
 public:
  StepScope(DbDatabase& database, bool step) : m_database(database), m_old(database.GetStep()) {
    m_database.SetStep(step);
  }
  ~StepScope() { m_database.SetStep(m_old); }
  StepScope(const StepScope&) = delete;
  StepScope& operator=(const StepScope&) = delete;

 private:
  DbDatabase& m_database;
  bool m_old;
};
