// Contacts read whole, written and deleted through the manager, so that the index follows at once.
#include "manager/core/ContactManager.h"

#include "foundation/DataFolder.h"
#include "storage/contact/ContactFieldTable.h"
#include "storage/contact/ContactPhotoFiles.h"

namespace {

// The record and the index are written whether the photo's file could be written or not; one that
// couldn't still makes the write fail, with the photo's error.
BOOL PhotoSaved(BOOL written, BOOL photoSaved, DWORD photoError) {
  if (written && !photoSaved) {
    SetLastError(photoError);
    return FALSE;
  }
  return written;
}

}  // namespace

BOOL ContactManager::ReadContact(CEOID id, Contact& contact) {
  // The extended data of a contact the start found changed comes from its new props record.
  ApplyDueChanges();
  if (!LoadByOid(id, contact)) return FALSE;
  uint32_t record = 0;
  if (index.Props().IsOpen() && index.Find(id, &record) && index.Props().GetRecord(record, contact)) {
    note.StripBlock(contact);
  } else {
    // Not indexed (yet): the extended data comes from the Note itself.
    Str text;
    note.GetNoteText(contact, text);
    note.StripBlock(contact);
    contact.checksum = 0;
  }
  // What the user edits is the Note without its block; the writes merge the block in again.
  contact.noteBlob = ByteBuffer();
  LoadPhoto(contact, dataFolder);
  return TRUE;
}

BOOL ContactManager::NameSavedPhoto(Contact& contact, const Str& merged, Str& text) {
  // The Note was merged before the photo's file had its name (a new record has no id until it is
  // written, and new names give a new file name): when the name differs, the Note takes it and the
  // record is written again, so that the Note always names the file that holds the photo.
  if (contact.Image == merged) return TRUE;
  const DWORD error = GetLastError();
  note.MergeIntoNote(contact);
  note.GetNoteText(contact, text);
  if (!ContactDatabase::UpdateContact(contact, true)) return FALSE;
  SetLastError(error);
  return TRUE;
}

BOOL ContactManager::AddContact(Contact& contact) {
  if (!BeginWrite()) return FALSE;
  dataFolder = GetDataFolder();
  note.MergeIntoNote(contact);
  Str text;
  note.GetNoteText(contact, text);
  if (!ContactDatabase::AddContact(contact, true)) return FALSE;
  // The photo's file takes its name now that the record has its id; the index keeps that name.
  return IndexWrittenContact(contact, text, TRUE);
}

BOOL ContactManager::UpdateContact(Contact& contact, BOOL photoAuthoritative) {
  if (!BeginWrite()) return FALSE;
  dataFolder = GetDataFolder();
  // The photo's file is rewritten with the contact, under the name its names give now. A contact read
  // without its photo keeps the stored one, read first; one that carries its photo as it is to be
  // loses the file when it has none.
  if (!photoAuthoritative && !contact.photoLoaded) LoadPhoto(contact, dataFolder);
  note.MergeIntoNote(contact);
  Str text;
  note.GetNoteText(contact, text);
  if (!ContactDatabase::UpdateContact(contact, true)) return FALSE;
  return IndexWrittenContact(contact, text, FALSE);
}

BOOL ContactManager::IndexWrittenContact(Contact& contact, Str& text, BOOL added) {
  const Str merged = contact.Image;
  const BOOL photoSaved = SavePhoto(contact, dataFolder);
  const DWORD photoError = GetLastError();
  if (!NameSavedPhoto(contact, merged, text)) return FALSE;
  nameKeys.Forget(contact.oid);
  contact.checksum = contact.ComputeChecksum();
  BeginIndexChange();
  BOOL indexed = added ? index.AddContact(contact, text) : index.UpdateContact(contact, text);
  // Stored, but the index has no room for it: the contact stays readable, and the write succeeded.
  if (!indexed && GetLastError() == kMappingFullError) {
    NoteOverCapacity();
    indexed = TRUE;
  }
  EndIndexChange(indexed);
  const DWORD error = GetLastError();
  StartCommit();
  TellSlavesToReload();
  SetLastError(error);
  return PhotoSaved(NoteRead(indexed), photoSaved, photoError);
}

BOOL ContactManager::DeleteContact(CEOID id) {
  if (!BeginWrite()) return FALSE;
  dataFolder = GetDataFolder();
  Contact names;
  if (!ReadNameParts(id, names)) return FALSE;
  names.oid = id;
  // The photo's file as the index names it. Only a file named so goes with the contact: the name its
  // names would give may be another contact's of the same name.
  uint32_t record = 0;
  const BOOL hasPhotoFile = index.Props().IsOpen() && index.Find(id, &record) &&
                            index.Props().GetRecord(record, names) && !names.Image.IsEmpty();
  if (!ContactDatabase::DeleteContact(id)) return FALSE;
  if (hasPhotoFile) DeletePhoto(names, dataFolder);
  nameKeys.Forget(id);
  BeginIndexChange();
  // The record is gone either way; damage met on the way leads to a rebuild.
  const BOOL removed = index.RemoveContact(id) || GetLastError() != ERROR_INVALID_DATA;
  EndIndexChange(removed);
  NoteRead(removed);
  // The room the contact took goes to those the index had none for.
  if (overCapacity) UseFreedRoom();
  StartCommit();
  TellSlavesToReload();
  return TRUE;
}

BOOL ContactManager::SetDefaultItem(CEOID id, uint32_t item) {
  if (!BeginWrite()) return FALSE;
  if (!ContactDatabase::SetDefaultItem(id, item)) return FALSE;
  if (!rebuilding) StampIndex();
  StartCommit();
  TellSlavesToReload();
  return TRUE;
}
