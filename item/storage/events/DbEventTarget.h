// What the hidden windows of the change events and of the idle work call: the owner of the contacts database, which
// turns the platform's record notifications into index updates and runs the delayed save.
#pragma once
#include <windows.h>
#include <windbase.h>

// Kinds of a queued change.
enum PendingChangeKind {
  ChangeCreated = 1,
  ChangeDeleted = 2,
  ChangeChanged = 3,
};

// One queued notification: 12 bytes.
struct PendingChange {
  DWORD kind;    // PendingChangeKind
  CEOID parent;  // the database the record belongs to
  CEOID oid;     // the record
};

class DbEventTarget {
 public:
  virtual ~DbEventTarget() {}
  // A record was created, deleted or changed by some program.
  virtual void OnDbEvent(DWORD kind, CEOID parent, CEOID oid) = 0;
  // The gathering timer ran out: apply what is queued.
  virtual void OnEventTimer() = 0;
  // The save timer ran out: start the background save of the index files.
  virtual void OnSaveTimer() = 0;
  // A tick of the idle timer: do a slice of the work left for idle time (the index's walk, the
  // name cache) and stop the timer when none is left.
  virtual void OnIdleTimer() = 0;
};
