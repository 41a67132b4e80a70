#include "NaivePeer.h"

#include <algorithm>

#include "storage/contact/Contact.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/contact/ContactFieldTable.h"
#include "storage/index/IndexFormat.h"

namespace {

// Collects the words the feed would put into the word tree; the number ends ("~...") are index keys,
// not words of the contact.
class WordCollector : public IndexKeySink {
 public:
  BOOL AddKey(int tree, CEOID, const Str& key) override {
    if (tree == WordTree && key.GetLength() > 0 && key[0] != kNumberEndMark)
      words->push_back(static_cast<const wchar_t*>(key));
    return TRUE;
  }
  std::vector<std::wstring>* words = nullptr;
};

void AddPhone(NaiveContact& entry, const wchar_t* text) {
  std::wstring digits = DigitsOf(text);
  if (!digits.empty()) entry.phones.push_back(digits);
}

}  // namespace

NaivePeer::NaivePeer() {}

NaivePeer::~NaivePeer() {}

bool NaivePeer::Load(ContactDatabase& database) {
  contacts.clear();
  DbDatabase& table = database.Contacts();
  table.SetAtEnd(false);
  if (table.SeekIndex(0) == 0) return true;
  while (!table.IsAtEnd()) {
    Contact contact;
    if (!database.LoadCurrent(contact)) break;
    Str text;
    note.GetNoteText(contact, text);
    Add(contact, text);
  }
  return true;
}

void NaivePeer::Add(const Contact& contact, const Str& noteText) {
  NaiveContact entry;
  entry.oid = contact.oid;
  WordCollector collector;
  collector.words = &entry.words;
  ContactFeed feed(&collector, &noKeypad);
  feed.FeedContact(contact, noteText);
  std::sort(entry.words.begin(), entry.words.end());
  entry.words.erase(std::unique(entry.words.begin(), entry.words.end()), entry.words.end());
  const Str& last = contact.text[ContactField::LastName];
  entry.noLastName = last.IsEmpty() != FALSE;
  entry.names[0] = NameWords(static_cast<const wchar_t*>(last));
  entry.names[1] = NameWords(static_cast<const wchar_t*>(contact.text[ContactField::FirstName]));
  entry.names[2] = NameWords(static_cast<const wchar_t*>(contact.text[ContactField::Company]));
  for (int p = 0; p < kPhoneFieldCount; ++p) AddPhone(entry, contact.text[kPhoneFields[p]]);
  for (int p = 0; p < contact.Phone.GetSize(); ++p) AddPhone(entry, contact.Phone[p].value);
  contacts.push_back(std::move(entry));
}

void NaivePeer::Order(const ListPositionMap& positions) {
  for (NaiveContact& contact : contacts) {
    auto listed = positions.find(static_cast<uint32_t>(contact.oid));
    contact.position = listed == positions.end() ? -1 : listed->second;
  }
  // Contacts the list doesn't hold go last.
  std::stable_sort(contacts.begin(), contacts.end(), [](const NaiveContact& a, const NaiveContact& b) {
    return static_cast<unsigned>(a.position) < static_cast<unsigned>(b.position);
  });
}

void NaivePeer::TakeKeypad() {
  keyOf.assign(65536, 0);
  for (int ch = 1; ch < 65536; ++ch) {
    const int group = g_keypadGroups.GroupOf(static_cast<wchar_t>(ch));
    if (group >= 0) keyOf[ch] = g_keypadGroups.GroupKeyOf(group);
  }
}

bool NaivePeer::KeysBeginWith(const std::wstring& word, const std::wstring& keys) const {
  const size_t n = keys.size();
  if (word.size() < n) return false;
  size_t k = 0;
  while (k < n && keyOf[static_cast<uint16_t>(word[k])] == keys[k]) ++k;
  return k == n;
}

bool NaivePeer::AnyBeginsWith(const std::vector<std::wstring>& words, const std::wstring& query,
                              bool keypad) const {
  for (const std::wstring& word : words) {
    if (keypad ? KeysBeginWith(word, query)
               : word.size() >= query.size() && word.compare(0, query.size(), query) == 0)
      return true;
  }
  return false;
}

void NaivePeer::Keypad(const std::wstring& keys) {
  found.clear();
  for (const NaiveContact& contact : contacts) {
    for (const std::wstring& word : contact.words) {
      if (KeysBeginWith(word, keys)) {
        found.push_back(&contact);
        break;
      }
    }
  }
}

void NaivePeer::Text(const std::wstring& query) {
  found.clear();
  const std::vector<std::wstring> wanted = NameWords(query);
  if (wanted.empty()) return;
  for (const NaiveContact& contact : contacts) {
    bool all = true;
    for (const std::wstring& part : wanted) {
      bool hit = false;
      for (const std::wstring& word : contact.words) {
        if (word.compare(0, part.size(), part) == 0) {
          hit = true;
          break;
        }
      }
      if (!hit) {
        all = false;
        break;
      }
    }
    if (all) found.push_back(&contact);
  }
}

void NaivePeer::Number(const std::wstring& digits) {
  found.clear();
  for (const NaiveContact& contact : contacts) {
    for (const std::wstring& phone : contact.phones) {
      bool hit;
      if (digits.size() < 6) {
        hit = phone == digits;
      } else {
        const size_t tail = std::min<size_t>(phone.size(), 7);
        hit = tail <= digits.size() &&
              phone.compare(phone.size() - tail, tail, digits, digits.size() - tail, tail) == 0;
      }
      if (hit) {
        found.push_back(&contact);
        break;
      }
    }
  }
}

void NaivePeer::Run(QueryKind kind, const std::wstring& query, std::vector<uint32_t>& out) {
  out.clear();
  const bool keypad = IsKeypadKind(kind);
  if (kind == Phone)
    Number(query);
  else if (keypad)
    Keypad(query);
  else
    Text(query);
  if (kind == Phone || query.size() < 2 || found.size() < 2) {
    for (const NaiveContact* contact : found) out.push_back(static_cast<uint32_t>(contact->oid));
    return;
  }
  std::wstring wanted(query);
  if (!keypad) CharLowerBuffW(&wanted[0], static_cast<DWORD>(wanted.size()));
  for (std::vector<uint32_t>& part : parts) part.clear();
  for (const NaiveContact* contact : found) {
    const std::vector<std::wstring>& last = contact->noLastName ? contact->names[1] : contact->names[0];
    const std::vector<std::wstring>& first = contact->noLastName ? none : contact->names[1];
    int rank = 3;
    if (AnyBeginsWith(last, wanted, keypad))
      rank = 0;
    else if (AnyBeginsWith(first, wanted, keypad))
      rank = 1;
    else if (AnyBeginsWith(contact->names[2], wanted, keypad))
      rank = 2;
    parts[rank].push_back(static_cast<uint32_t>(contact->oid));
  }
  for (const std::vector<uint32_t>& part : parts) out.insert(out.end(), part.begin(), part.end());
}
