// PimInfoReader: takes the block of extended data out of a Note's text and parses it.
//
// The block, as text: a line "== start pim information ==", sections, a line "== end pim
// information ==". A section is a name and a colon followed by entries in square brackets:
//
//   Phone:      [label: value]                      likewise Email, WebPage, People, Link, OtherProp
//   Messenger:  [kind: note; id]
//   Address:    [Home: n] [Business: n] [Other: n]  the address formats of the fixed fields
//               [label: street; city; state; postal code; country; format]
//   Date:       [label: yyyy.mm.dd]
//   Image:      [name]
//
// A backslash before one of "[];:\" stands for that character. In a rich Note every line is a
// paragraph and the paragraphs come joined by single spaces, so the scanner treats all white space
// alike and never relies on line ends.
//
// What is broken costs as little as it can: a bad entry is skipped to its "]", a bad date or an empty
// value is dropped, and only a broken top level makes Parse false.
#pragma once

#include "foundation/Str.h"
#include "storage/contact/ContactExtended.h"

// The parse's result is the reader's own extended block: the lists, the image name and the format
// numbers.
class PimInfoReader : public ContactExtended {
 public:
  PimInfoReader();
  virtual ~PimInfoReader();

  // Parses `length` characters of `text` (up to its first zero character). True when the Note was
  // understood: it has no block, or its block parsed to the end. Without a block UserText is the
  // whole text. With one it is the text before the block and, when there is text behind its end
  // marker, that text, joined by one space; the white space next to the block goes with it. A block
  // without its end marker runs to the end of the text. The reader keeps no pointer into `text`
  // beyond the call.
  virtual bool Parse(const wchar_t* text, int length);
  // Replaces the lists, the image name and the format numbers of `block` by the parsed ones.
  virtual void CopyTo(ContactExtended& block) const;
  // The Note's text without the block.
  virtual const Str& UserText() const { return userText; }
  // Whether the last Parse found a start marker.
  virtual bool HasBlock() const { return hasBlock; }
  // Frees the lists and forgets the last parse.
  virtual void Clear();

  Str userText;

  // Removes trailing white space, then turns a backslash followed by one of "[];:\" into that
  // character. Any other backslash stays.
  static void Unescape(Str& text);

 protected:
  // --- the scanner (PimInfoScanner.cpp) ---------------------------------------------------------------
  // Reads the token at the cursor: a run of characters up to white space or one of "[];:" that has no
  // backslash before it, or, when such a character stands at the cursor itself, that one character as
  // a delimiter. False at the end of the block or at a zero character, with the cursor at the end.
  bool NextToken();
  // Puts the last token back.
  void PutBack() { cursor = tokenStart; }
  // Reads past white space; false at the end of the block.
  bool SkipSpace();
  // Reads a token; true when it is the single character `ch`.
  bool Expect(wchar_t ch);
  // Skips white space, then appends the next token unless it is a delimiter (which is put back), and
  // every further token, white space included, up to a delimiter that isn't white space, which is put
  // back. False when the block ends first.
  bool ReadText(Str& out);
  // Reads tokens up to and including a "]" delimiter; false when the block ends first.
  bool SkipEntry();
  bool TokenIs(wchar_t ch) const { return tokenEnd - tokenStart == 1 && *tokenStart == ch; }

  // --- the grammar -------------------------------------------------------------------------------------
  bool ParseBlock();
  bool ParseSection(const Str& name);
  bool ParseEntry(int kind);
  bool ParsePair(LabelValueList& list);
  bool ParseDate();
  bool ParseMessenger();
  bool ParseAddress();
  bool ParseImage();
  // Reads a label that must begin with a letter or a digit, and the colon behind it.
  bool ReadLabel(Str& label);
  // An entry failed: when its last token was its own "]", that one is put back for SkipEntry.
  bool Fail();

  bool hasBlock;
  // Scanner state.
  const wchar_t* cursor;
  const wchar_t* blockEnd;
  const wchar_t* tokenStart;
  const wchar_t* tokenEnd;
  bool isDelimiter;

 private:
  PimInfoReader(const PimInfoReader&);
  PimInfoReader& operator=(const PimInfoReader&);
};
