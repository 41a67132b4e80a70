// ContactNote: the contact's Note seen from the contact manager. The manager owns one and through it
// one PimInfoReader and one PimInfoWriter; none of them is reentrant.
//
// A Note comes in three forms, told apart by IsPlainNote and its first bytes:
//   - plain wide text, beginning with the bytes FE FF, followed by the characters in the machine's order;
//   - plain text of 8-bit characters in the platform's default code page;
//   - a rich document (NoteBlob.h).
#pragma once

#include "extended/PimInfoReader.h"
#include "extended/PimInfoWriter.h"
#include "foundation/Str.h"
#include "storage/contact/Contact.h"

class ContactNote {
 public:
  ContactNote();
  virtual ~ContactNote();

  // The user's text of the contact's Note in `out`; when the Note holds a block of extended data, the
  // contact's extended block is filled from it. A Note whose block is broken at its top level leaves
  // the contact alone and gives an empty text (and false). An empty Note gives an empty text.
  virtual bool GetNoteText(Contact& contact, Str& out);
  // Makes `rawNote` from `noteBlob`: the Note without its block of extended data, or the empty buffer
  // when nothing but white space or an empty document is left.
  virtual void StripBlock(Contact& contact);
  // Makes `noteBlob` from `rawNote` and the extended block (PimInfoWriter::MergeIntoNote).
  virtual bool MergeIntoNote(Contact& contact);

  // The Note's text as the block's scanner reads it: the wide characters, the 8-bit text in the
  // default code page, or the rich document's paragraphs joined by spaces.
  static void NoteAsText(const ByteBuffer& note, Str& out);

  PimInfoReader& Reader() { return reader; }
  PimInfoWriter& Writer() { return writer; }

 private:
  ContactNote(const ContactNote&);
  ContactNote& operator=(const ContactNote&);

  PimInfoReader reader;
  PimInfoWriter writer;
};
