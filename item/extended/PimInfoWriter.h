// PimInfoWriter: builds a contact's Note from the user's text (rawNote) and the contact's extended
// block. The block goes into the Note as paragraphs of a rich document, between the marker lines
// "== start pim information ==" and "== end pim information ==", so that it travels wherever the Note
// travels and reads as plain lines wherever the Note is shown.
//
// A rich rawNote keeps its paragraphs, drawings and objects as they are and gets the block in front of
// its end of text. A plain rawNote becomes a rich document made from the empty Note of the module's
// resources (NOTE 170): each of its non-empty lines is a paragraph, followed by the block.
#pragma once

#include "extended/NoteBlob.h"
#include "foundation/Array.h"
#include "storage/contact/Contact.h"

#include <windows.h>

class PimInfoWriter {
 public:
  PimInfoWriter();
  virtual ~PimInfoWriter();

  // Sets `noteBlob` of `contact` from its `rawNote` and its extended block. An empty extended block
  // makes the Note the user's text itself, shared, with no markers. False (the Note then empty, the
  // last error set) when the document can't be extended: a damaged rich rawNote, a line too long for
  // a paragraph, or a missing template.
  virtual bool MergeIntoNote(Contact& contact);

  // The module whose resources hold the empty Note; null (the default) is the module this code is
  // linked into.
  void SetTemplateModule(HMODULE module) { templateModule = module; }

  // The encoded lines of the last merge, in the order they went into the Note.
  int GetLineCount() const { return lines.GetSize(); }
  const NoteLine& GetLine(int index) const { return lines[index]; }

 protected:
  void ClearLines();
  void AddLine(const NoteLine& line) { lines.Add(line); }
  // Each non-empty line of a plain Note as a plain paragraph.
  void AddPlainLines(const ByteBuffer& note);
  // The marker lines and the sections between them.
  void AddBlock(const ContactExtended& block);
  void AddPairs(const wchar_t* name, const LabelValueList& list);

  const Contact* contact;  // the contact in hand during a merge
  Array<NoteLine> lines;
  HMODULE templateModule;

 private:
  PimInfoWriter(const PimInfoWriter&);
  PimInfoWriter& operator=(const PimInfoWriter&);
};
