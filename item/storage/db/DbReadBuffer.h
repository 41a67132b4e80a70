// DbReadBuffer: the platform's buffer of one read of a record's properties, kept from read to read.
// The platform grows it when a record needs more room and otherwise fills it again in place, so a walk
// over a table that reads through one buffer makes no allocation per record. The values point into
// the buffer and are valid until the next read through it.
#pragma once

#include <windows.h>
#include <windbase.h>

class DbReadBuffer {
 public:
  DbReadBuffer() : buffer(nullptr), size(0), count(0) {}
  virtual ~DbReadBuffer() { Release(); }

  // The values of the last successful read, and how many there are.
  const CEPROPVAL* Values() const { return count > 0 ? reinterpret_cast<const CEPROPVAL*>(buffer) : nullptr; }
  int Count() const { return count; }
  // Gives the buffer back to the platform's heap.
  void Release() {
    if (buffer != nullptr) LocalFree(buffer);
    buffer = nullptr;
    size = 0;
    count = 0;
  }

  // For the database layer: what CeReadRecordProps reads into and reports.
  BYTE* buffer;
  DWORD size;
  WORD count;

 private:
  DbReadBuffer(const DbReadBuffer&) = delete;
  DbReadBuffer& operator=(const DbReadBuffer&) = delete;
};
