// The search benchmarks' peer without an index: a dialer that holds every contact's words (lower
// case, each once), the words of its last name, first name and company, and the digits of its
// numbers in memory, in the order of the name list. Each query walks all of them and then ranks what
// it found by name, so that it does the same work as the product and gives the same result in the
// same order.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "SearchQueries.h"
#include "extended/ContactNote.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/index/ContactFeed.h"

class Contact;
class ContactDatabase;
class Str;

struct NaiveContact {
  CEOID oid = 0;
  int position = -1;  // in the name list
  std::vector<std::wstring> words;
  std::vector<std::wstring> phones;
  // Last name, first name and company, each as its words in lower case.
  std::vector<std::wstring> names[3];
  bool noLastName = false;  // the last name is empty (not only without words)
};

// Where each contact stands in the name list: what a dialer has from sorting its contacts by name
// once. The benchmarks take it from the product's sorted list, so that both sort alike.
typedef std::unordered_map<uint32_t, int> ListPositionMap;

class NaivePeer {
 public:
  NaivePeer();
  ~NaivePeer();

  // Reads every record of the database in one pass and keeps what the queries need.
  bool Load(ContactDatabase& database);
  // Keeps what the queries need of one contact whose Note has the plain text `noteText`.
  void Add(const Contact& contact, const Str& noteText);
  // Puts the contacts into name-list order.
  void Order(const ListPositionMap& positions);
  // The keypad layout: the key of each character's group, 0 for none. A table of the letters, not of
  // the contacts: a dialer has it without any index.
  void TakeKeypad();

  // The result of a query as the product gives it: the match in name-list order (the walk keeps it),
  // then, for a keypad or text query of two characters or more, the contacts with a word of the last
  // name beginning with the query first, then those with one of the first name, then of the company,
  // each part in list order. With no last name the first name ranks as the last name.
  void Run(QueryKind kind, const std::wstring& query, std::vector<uint32_t>& out);

  const std::vector<NaiveContact>& Contacts() const { return contacts; }
  void Clear() { contacts.clear(); }

 private:
  // Contacts with a word whose keys begin with `keys`: each word mapped key by key as far as needed.
  void Keypad(const std::wstring& keys);
  // Contacts that have, for every word of the query, a word beginning with it.
  void Text(const std::wstring& query);
  // Contacts with a number that matches `digits` by the caller lookup's rule: numbers of six digits
  // or more against the last seven digits of each phone, shorter ones whole.
  void Number(const std::wstring& digits);
  // Whether the keys of `word` begin with `keys`; a character in no group ends a word's keys.
  bool KeysBeginWith(const std::wstring& word, const std::wstring& keys) const;
  bool AnyBeginsWith(const std::vector<std::wstring>& words, const std::wstring& query, bool keypad) const;

  std::vector<NaiveContact> contacts;
  std::vector<wchar_t> keyOf;
  ContactNote note;
  KeypadGroups noKeypad;  // the feed's keypad side stays empty: this peer maps at query time
  // Scratch of a query: the match, and the four parts of the ranking.
  std::vector<const NaiveContact*> found;
  std::vector<uint32_t> parts[4];
  const std::vector<std::wstring> none;
};
