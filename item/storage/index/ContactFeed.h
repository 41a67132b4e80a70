// ContactFeed: what a contact puts into the index. Every text of the contact is cut into words at the
// separators; each word goes into the word tree in lower case, and into the keypad tree as the keys of
// its letters' keypad groups (as far as its letters have groups). Phone numbers also go into the word
// tree from their last digit on, behind the mark "~", so that the end of a number is found by a
// prefix lookup; a field that holds several numbers has each of them stored that way.
//
// The feed hands its keys to an IndexKeySink: the contact index itself, or the bulk builder of a
// rebuild, so that both put the same keys into their trees. Words are cut, lowered and mapped in a
// buffer of the feed's own, so that a key costs no allocation on the way to the sink.
#pragma once

#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/index/WordSplitter.h"

class Contact;
class KeypadGroups;

class IndexKeySink {
 public:
  virtual ~IndexKeySink();
  // Puts `oid` under `key` in tree `tree` (WordTree or KeypadTree). False stops the feed.
  virtual BOOL AddKey(int tree, CEOID oid, const Str& key) = 0;
  // The same for a key of `length` characters (at least one) that needn't be terminated; what the
  // feed calls. By default it makes a Str of them for AddKey.
  virtual BOOL AddKeyChars(int tree, CEOID oid, const wchar_t* key, int length);
};

// The mark in front of a number's reversed digits.
const wchar_t kNumberEndMark = L'~';

class ContactFeed {
 public:
  // `groups` translates words into keypad keys; null means the process-wide table.
  explicit ContactFeed(IndexKeySink* sink, const KeypadGroups* groups = nullptr);
  virtual ~ContactFeed();
  void SetKeypadGroups(const KeypadGroups* table) { groups = table; }

  // Every text of the contact in this order: the 43 text fields; birthday and anniversary as short
  // dates; the phones (work, home, mobile, pager, radio, assistant, car, work fax, work 2, home 2,
  // home fax, then the Phone list); the values of the Email, WebPage, People, Link and OtherProp
  // lists; each messenger's id; each further date; each address's format id and its parts 1, 4, 3,
  // 2, 0; the three address formats of the fixed addresses; and `noteText`.
  virtual BOOL FeedContact(const Contact& contact, const wchar_t* noteText);
  // Each word of `text`: lower case into the word tree, its keypad keys into the keypad tree.
  virtual BOOL AddText(CEOID oid, const wchar_t* text);
  // The number's words, its reversed digits, and the reversed digits of every number that
  // CutLastNumber finds in it.
  virtual BOOL AddPhone(CEOID oid, const wchar_t* number);

  // `text` up to the end of the number before its last one, or the empty string when there is no
  // such number of at least six characters.
  static Str CutLastNumber(const Str& text);
  // The same as a length: how many characters of the `length` of `text` that is, or 0.
  static int CutLastNumber(const wchar_t* text, int length);
  // "~" followed by the digits of `number` from last to first; empty when it has no digit.
  static Str NumberEndKey(const wchar_t* number);
  // The locale's short date of a file time; empty when it can't be formatted.
  static Str DateText(const FILETIME& time);

 protected:
  BOOL AddNumberEnd(CEOID oid, const wchar_t* number, int length);
  BOOL AddNumberText(CEOID oid, const wchar_t* number);
  // AddText of the short date of `time`.
  BOOL AddDate(CEOID oid, const FILETIME& time);
  // AddText of `value` in decimal.
  BOOL AddDecimal(CEOID oid, uint32_t value);
  // Room for `count` characters in the feed's buffer.
  wchar_t* Room(int count);

  IndexKeySink* sink;
  const KeypadGroups* groups;
  WordSplitter splitter;
  // The word in hand, lowered, and then its keypad keys behind it.
  Array<wchar_t> buffer;

 private:
  ContactFeed(const ContactFeed&);
  ContactFeed& operator=(const ContactFeed&);
};
