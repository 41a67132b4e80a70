// The SQLite peer of the search benchmark, a native program: it reads what bench_search wrote for each
// count (the contacts' words, keypad words, phone digits, name-list positions and name words, the
// queries, the contact manager's answer to each query, and the figures of the manager and of the peer
// without index), builds an SQLite database with FTS5 tables over the same words and a table of the
// names, runs the same queries as prefix queries ranked and ordered as the manager does, compares its
// answers with the manager's, contacts and order, and prints one table of all figures with their
// ratios.
//
// Build: g++ -O2 -std=c++17 sqlite_peer.cpp -lsqlite3
// Run:   sqlite_peer [--prefix-indexes] FOLDER search-1000.txt ...
//
// The database: an FTS5 table of each contact's words and one of its keypad words (the words already
// split and lower-cased as the index has them; the "ascii" tokenizer with '+' and '~' as token
// characters then keeps exactly those words, and "detail=none" keeps only which contact has a term,
// all a prefix query needs), and a plain table of each number's digits reversed, with an index, so
// that the last seven digits are a range; and a table of each contact's name-list position and the
// words of its last name, first name and company, lower case, with their keypad keys, which the
// queries join to rank and order their match. --prefix-indexes adds FTS5's own indexes of the first 1, 2
// and 3 characters of every term: quicker short prefixes for a longer build. The file lives in
// FOLDER; synchronous is off, so that neither side waits for the disk (the manager's rebuild leaves
// its save to a background thread).
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

const int kBuildRepeats = 3;
const int kOpenRepeats = 5;
const int kSearchRepeats = 5;
const int kChanges = 10;

double NowMs() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

double Median(std::vector<double> values) {
  if (values.empty()) return -1;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double MedianMs(int repeats, const std::function<void()>& work) {
  std::vector<double> times;
  for (int r = 0; r < repeats; ++r) {
    const double start = NowMs();
    work();
    times.push_back(NowMs() - start);
  }
  return Median(times);
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::string::size_type start = 0;
  for (;;) {
    const std::string::size_type end = text.find(separator, start);
    parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
    if (end == std::string::npos) return parts;
    start = end + 1;
  }
}

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  for (const std::string& word : Split(text, ' '))
    if (!word.empty()) words.push_back(word);
  return words;
}

[[noreturn]] void Fail(const std::string& what, sqlite3* db) {
  std::fprintf(stderr, "sqlite_peer: %s: %s\n", what.c_str(), db != nullptr ? sqlite3_errmsg(db) : "");
  std::exit(1);
}

void Exec(sqlite3* db, const char* sql) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &message) != SQLITE_OK) {
    std::string text = message != nullptr ? message : "";
    sqlite3_free(message);
    std::fprintf(stderr, "sqlite_peer: %s: %s\n", sql, text.c_str());
    std::exit(1);
  }
}

sqlite3_stmt* Prepare(sqlite3* db, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK) Fail(sql, db);
  return statement;
}

// --- what bench_search wrote --------------------------------------------------------------------------------

struct Contact {
  long long oid = 0;
  long long position = 0;           // in the product's name list
  std::string words, keys;          // space-separated, as FTS5 documents
  std::vector<std::string> phones;  // digits
  // Last name, first name and company: their words, and the keypad keys of each word ("-" for a word
  // without keys); whether the last name is empty.
  std::string names[3], nameKeys[3];
  bool noLastName = false;
};

struct Query {
  std::string kind, text;
  std::vector<long long> product;  // the manager's answer, in its order
};

struct Run {
  std::map<std::string, double> figures;
  std::vector<std::string> notes;
  std::vector<Contact> contacts;
  std::vector<Query> queries;
};

Run Read(const std::string& path) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "sqlite_peer: can't read %s\n", path.c_str());
    std::exit(1);
  }
  Run run;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::vector<std::string> f = Split(line, '\t');
    if (f[0] == "F" && f.size() >= 3) {
      run.figures[f[1]] = std::atof(f[2].c_str());
    } else if (f[0] == "I" && f.size() >= 2) {
      run.notes.push_back(f[1]);
    } else if (f[0] == "C" && f.size() >= 13) {
      Contact contact;
      contact.oid = std::atoll(f[1].c_str());
      contact.position = std::atoll(f[2].c_str());
      contact.words = f[3];
      contact.keys = f[4];
      contact.phones = Words(f[5]);
      for (int n = 0; n < 3; ++n) {
        contact.names[n] = f[6 + 2 * n];
        contact.nameKeys[n] = f[7 + 2 * n];
      }
      contact.noLastName = f[12] == "1";
      run.contacts.push_back(std::move(contact));
    } else if (f[0] == "Q" && f.size() >= 4) {
      Query query;
      query.kind = f[1];
      query.text = f[2];
      for (const std::string& id : Words(f[3])) query.product.push_back(std::atoll(id.c_str()));
      run.queries.push_back(std::move(query));
    }
  }
  return run;
}

// --- the SQLite side -----------------------------------------------------------------------------------------

std::string Reversed(const std::string& digits) { return std::string(digits.rbegin(), digits.rend()); }

// Each word with a space before it, " smith john": a word of the text begins with q exactly when the
// text holds " q" and q has no space (no word has one).
std::string Spaced(const std::string& words) {
  std::string out;
  for (const std::string& word : Words(words)) out += " " + word;
  return out;
}

// Characters of a UTF-8 text (its lead bytes).
size_t Characters(const std::string& text) {
  size_t count = 0;
  for (unsigned char byte : text)
    if ((byte & 0xC0) != 0x80) ++count;
  return count;
}

// The ranking's order: contacts with a word of the last name beginning with ?2 first, then of the
// first name, then of the company, the rest last; each part in name-list order. ?2 is " query", or
// empty for no ranking.
#define RANKED_ORDER(last, first, company)                                                       \
  " ORDER BY CASE WHEN ?2 = '' THEN 3 WHEN instr(p." last ", ?2) > 0 THEN 0 WHEN instr(p." first \
  ", ?2) > 0 THEN 1 WHEN instr(p." company ", ?2) > 0 THEN 2 ELSE 3 END, p.pos"

class Peer {
 public:
  Peer(const std::string& file, bool withPrefixIndexes) : path(file), prefixIndexes(withPrefixIndexes) {}
  ~Peer() { Close(); }

  // Makes the database anew and fills it in one transaction, then merges each FTS5 index into one.
  void Build(const std::vector<Contact>& contacts) {
    Close();
    std::remove(path.c_str());
    std::remove((path + "-journal").c_str());
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) Fail("open " + path, db);
    Exec(db, "PRAGMA synchronous=OFF");
    const std::string options = std::string("tokenize=\"ascii tokenchars '+~'\", detail=none") +
                                (prefixIndexes ? ", prefix='1 2 3'" : "");
    Exec(db, ("CREATE VIRTUAL TABLE words USING fts5(w, " + options +
              ");"
              "CREATE VIRTUAL TABLE keys USING fts5(k, " +
              options +
              ");"
              "CREATE TABLE phones(rev TEXT NOT NULL, oid INTEGER NOT NULL);"
              "CREATE TABLE people(id INTEGER PRIMARY KEY, pos INTEGER NOT NULL, last TEXT NOT NULL,"
              " first TEXT NOT NULL, company TEXT NOT NULL, klast TEXT NOT NULL, kfirst TEXT NOT NULL,"
              " kcompany TEXT NOT NULL);")
                 .c_str());
    Exec(db, "BEGIN");
    sqlite3_stmt* words = Prepare(db, "INSERT INTO words(rowid, w) VALUES(?, ?)");
    sqlite3_stmt* keys = Prepare(db, "INSERT INTO keys(rowid, k) VALUES(?, ?)");
    sqlite3_stmt* phones = Prepare(db, "INSERT INTO phones(rev, oid) VALUES(?, ?)");
    sqlite3_stmt* people = Prepare(db, kInsertPerson);
    for (const Contact& contact : contacts) Insert(contact, contact.words, words, keys, phones, people);
    for (sqlite3_stmt* statement : {words, keys, phones, people}) sqlite3_finalize(statement);
    Exec(db,
         "CREATE INDEX phones_rev ON phones(rev);"
         "CREATE INDEX phones_oid ON phones(oid);"
         "INSERT INTO words(words) VALUES('optimize');"
         "INSERT INTO keys(keys) VALUES('optimize');");
    Exec(db, "COMMIT");
  }

  // Opens the database as it is and prepares the statements of the searches.
  void Open() {
    Close();
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
      Fail("open " + path, db);
    Exec(db, "PRAGMA synchronous=OFF");
    wordQuery = Prepare(
        db, "SELECT p.id FROM words JOIN people p ON p.id = words.rowid WHERE words MATCH ?1" RANKED_ORDER(
                "last", "first", "company"));
    keyQuery = Prepare(
        db, "SELECT p.id FROM keys JOIN people p ON p.id = keys.rowid WHERE keys MATCH ?1" RANKED_ORDER(
                "klast", "kfirst", "kcompany"));
    phoneQuery = Prepare(db,
                         "SELECT p.id FROM people p WHERE p.id IN"
                         " (SELECT oid FROM phones WHERE rev >= ?1 AND rev < ?2) ORDER BY p.pos");
  }

  void Close() {
    sqlite3_finalize(wordQuery);
    sqlite3_finalize(keyQuery);
    sqlite3_finalize(phoneQuery);
    wordQuery = keyQuery = phoneQuery = nullptr;
    if (db != nullptr) sqlite3_close(db);
    db = nullptr;
  }

  // Rewrites the given contacts, each with one word more, in one transaction: what the peer does for
  // contacts another program changed.
  void Update(const std::vector<const Contact*>& changed) {
    Exec(db, "BEGIN");
    sqlite3_stmt* dropWords = Prepare(db, "DELETE FROM words WHERE rowid = ?");
    sqlite3_stmt* dropKeys = Prepare(db, "DELETE FROM keys WHERE rowid = ?");
    sqlite3_stmt* dropPhones = Prepare(db, "DELETE FROM phones WHERE oid = ?");
    sqlite3_stmt* words = Prepare(db, "INSERT INTO words(rowid, w) VALUES(?, ?)");
    sqlite3_stmt* keys = Prepare(db, "INSERT INTO keys(rowid, k) VALUES(?, ?)");
    sqlite3_stmt* phones = Prepare(db, "INSERT INTO phones(rev, oid) VALUES(?, ?)");
    sqlite3_stmt* people = Prepare(db, kInsertPerson);
    for (const Contact* contact : changed) {
      for (sqlite3_stmt* drop : {dropWords, dropKeys, dropPhones}) {
        sqlite3_bind_int64(drop, 1, contact->oid);
        if (sqlite3_step(drop) != SQLITE_DONE) Fail("delete", db);
        sqlite3_reset(drop);
      }
      Insert(*contact, contact->words + " ltd", words, keys, phones, people);
    }
    for (sqlite3_stmt* statement : {dropWords, dropKeys, dropPhones, words, keys, phones, people})
      sqlite3_finalize(statement);
    Exec(db, "COMMIT");
  }

  void Run(const Query& query, std::vector<long long>& out) {
    out.clear();
    sqlite3_stmt* statement;
    if (query.kind == "phone") {
      const std::string low = Reversed(query.text);
      std::string high = low;
      high.back() = static_cast<char>(high.back() + 1);
      statement = phoneQuery;
      sqlite3_bind_text(statement, 1, low.c_str(), static_cast<int>(low.size()), SQLITE_TRANSIENT);
      sqlite3_bind_text(statement, 2, high.c_str(), static_cast<int>(high.size()), SQLITE_TRANSIENT);
    } else {
      // Every word of the query as a prefix: "jo"* "sm"* asks for a contact with both.
      std::string match;
      for (const std::string& word : Words(query.text))
        match += (match.empty() ? "\"" : " \"") + word + "\"*";
      statement = query.kind.compare(0, 6, "keypad") == 0 ? keyQuery : wordQuery;
      sqlite3_bind_text(statement, 1, match.c_str(), static_cast<int>(match.size()), SQLITE_TRANSIENT);
      // Ranked from two characters on; a query with a space begins no single word.
      const bool ranked = Characters(query.text) >= 2 && query.text.find(' ') == std::string::npos;
      const std::string word = ranked ? " " + query.text : std::string();
      sqlite3_bind_text(statement, 2, word.c_str(), static_cast<int>(word.size()), SQLITE_TRANSIENT);
    }
    int step;
    while ((step = sqlite3_step(statement)) == SQLITE_ROW) out.push_back(sqlite3_column_int64(statement, 0));
    if (step != SQLITE_DONE) Fail("query " + query.text, db);
    sqlite3_reset(statement);
  }

  long long FileBytes() const {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    return file ? static_cast<long long>(file.tellg()) : 0;
  }

 private:
  // Rewrites a contact's row of names; with no last name the first name takes its place.
  static constexpr const char* kInsertPerson =
      "INSERT OR REPLACE INTO people(id, pos, last, first, company, klast, kfirst, kcompany)"
      " VALUES(?, ?, ?, ?, ?, ?, ?, ?)";

  void Insert(const Contact& contact, const std::string& text, sqlite3_stmt* words, sqlite3_stmt* keys,
              sqlite3_stmt* phones, sqlite3_stmt* people) {
    const int last = contact.noLastName ? 1 : 0;
    const std::string columns[6] = {Spaced(contact.names[last]),
                                    contact.noLastName ? "" : Spaced(contact.names[1]),
                                    Spaced(contact.names[2]),
                                    Spaced(contact.nameKeys[last]),
                                    contact.noLastName ? "" : Spaced(contact.nameKeys[1]),
                                    Spaced(contact.nameKeys[2])};
    sqlite3_bind_int64(people, 1, contact.oid);
    sqlite3_bind_int64(people, 2, contact.position);
    for (int k = 0; k < 6; ++k)
      sqlite3_bind_text(people, 3 + k, columns[k].c_str(), static_cast<int>(columns[k].size()),
                        SQLITE_TRANSIENT);
    if (sqlite3_step(people) != SQLITE_DONE) Fail("insert person", db);
    sqlite3_reset(people);
    sqlite3_bind_int64(words, 1, contact.oid);
    sqlite3_bind_text(words, 2, text.c_str(), static_cast<int>(text.size()), SQLITE_STATIC);
    if (sqlite3_step(words) != SQLITE_DONE) Fail("insert words", db);
    sqlite3_reset(words);
    sqlite3_bind_int64(keys, 1, contact.oid);
    sqlite3_bind_text(keys, 2, contact.keys.c_str(), static_cast<int>(contact.keys.size()), SQLITE_STATIC);
    if (sqlite3_step(keys) != SQLITE_DONE) Fail("insert keys", db);
    sqlite3_reset(keys);
    for (const std::string& digits : contact.phones) {
      const std::string reversed = Reversed(digits);
      sqlite3_bind_text(phones, 1, reversed.c_str(), static_cast<int>(reversed.size()), SQLITE_TRANSIENT);
      sqlite3_bind_int64(phones, 2, contact.oid);
      if (sqlite3_step(phones) != SQLITE_DONE) Fail("insert phone", db);
      sqlite3_reset(phones);
    }
  }

  std::string path;
  bool prefixIndexes;
  sqlite3* db = nullptr;
  sqlite3_stmt* wordQuery = nullptr;
  sqlite3_stmt* keyQuery = nullptr;
  sqlite3_stmt* phoneQuery = nullptr;
};

// --- the table -------------------------------------------------------------------------------------------------

const char* const kKinds[] = {"keypad1", "keypad2", "keypad3", "keypad4",
                              "keypad5", "text1",   "text2",   "phone"};
const char* const kKindLabel[] = {"keypad search, 1 key",  "keypad search, 2 keys",  "keypad search, 3 keys",
                                  "keypad search, 4 keys", "keypad search, 5 keys",  "text search, 1 word",
                                  "text search, 2 words",  "caller by last 7 digits"};

std::string Number(double value) {
  if (value < 0) return "-";
  char text[32];
  if (value >= 100)
    std::snprintf(text, sizeof text, "%.0f", value);
  else if (value >= 10)
    std::snprintf(text, sizeof text, "%.1f", value);
  else
    std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

std::string Ratio(double product, double peer) {
  if (product < 0 || peer <= 0) return "-";
  char text[32];
  const double ratio = product / peer;
  std::snprintf(text, sizeof text, ratio >= 100 ? "%.0f" : ratio >= 10 ? "%.1f" : "%.2f", ratio);
  return text;
}

std::string Grouped(long long value) {
  std::string digits = std::to_string(value);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3)
    digits.insert(static_cast<size_t>(at), ",");
  return digits;
}

void Row(const std::string& label, const std::string& product, double productValue, double naive,
         double sqlite, const std::string& extra = "") {
  std::printf("  %-33s %9s %9s %9s %9s %9s  %s\n", label.c_str(), product.c_str(), Number(naive).c_str(),
              Number(sqlite).c_str(), Ratio(productValue, naive).c_str(), Ratio(productValue, sqlite).c_str(),
              extra.c_str());
}

void Row(const std::string& label, double product, double naive, double sqlite,
         const std::string& extra = "") {
  Row(label, Number(product), product, naive, sqlite, extra);
}

double Figure(const Run& run, const std::string& name) {
  auto found = run.figures.find(name);
  return found == run.figures.end() ? -1 : found->second;
}

void Measure(const std::string& folder, bool prefixIndexes, Run& run) {
  const int count = static_cast<int>(Figure(run, "count"));
  Peer peer(folder + "/sqlite-" + std::to_string(count) + ".db", prefixIndexes);

  run.figures["sqlite.rebuild_ms"] = MedianMs(kBuildRepeats, [&] {
    peer.Build(run.contacts);
    peer.Close();
  });
  run.figures["sqlite.file_bytes"] = static_cast<double>(peer.FileBytes());
  run.figures["sqlite.open_ms"] = MedianMs(kOpenRepeats, [&] { peer.Open(); });

  // Ten contacts spread over the list, other ones each round, as the device side changes them.
  std::vector<double> updates;
  for (int r = 0; r < kOpenRepeats; ++r) {
    std::vector<const Contact*> changed;
    for (int k = 0; k < kChanges && !run.contacts.empty(); ++k)
      changed.push_back(
          &run.contacts[(static_cast<size_t>(k) * run.contacts.size() / kChanges + r) % run.contacts.size()]);
    const double start = NowMs();
    peer.Update(changed);
    updates.push_back(NowMs() - start);
  }
  run.figures["sqlite.inspect_ms"] = Median(updates);
  // The searches run on the database as built.
  peer.Build(run.contacts);
  peer.Open();

  std::vector<long long> found;
  for (const char* kind : kKinds) {
    std::vector<const Query*> list;
    for (const Query& query : run.queries)
      if (query.kind == kind) list.push_back(&query);
    if (list.empty()) continue;
    int disagree = 0;
    for (const Query* query : list) {
      peer.Run(*query, found);
      if (found != query->product) ++disagree;
    }
    const double ms = MedianMs(kSearchRepeats, [&] {
      for (const Query* query : list) peer.Run(*query, found);
    });
    run.figures[std::string("sqlite.") + kind + "_us"] = ms * 1000.0 / list.size();
    run.figures[std::string("sqlite.") + kind + "_disagree"] = disagree;
  }
  peer.Close();
}

void Print(const Run& run) {
  const int count = static_cast<int>(Figure(run, "count"));
  std::printf("\n%s contacts  (%s distinct words; index files %s + %s bytes; SQLite file %s bytes)\n",
              Grouped(count).c_str(), Grouped(static_cast<long long>(Figure(run, "naive.words"))).c_str(),
              Grouped(static_cast<long long>(Figure(run, "product.index_bytes"))).c_str(),
              Grouped(static_cast<long long>(Figure(run, "product.props_bytes"))).c_str(),
              Grouped(static_cast<long long>(Figure(run, "sqlite.file_bytes"))).c_str());
  Row("full rebuild, ms", Figure(run, "product.rebuild_ms"), -1, Figure(run, "sqlite.rebuild_ms"));
  Row("start, index in step, ms", Figure(run, "product.open_ms"), Figure(run, "naive.open_ms"),
      Figure(run, "sqlite.open_ms"));
  if (Figure(run, "product.inspect_failed") > 0)
    Row("start after 10 changes, ms", "failed", -1, -1, Figure(run, "sqlite.inspect_ms"));
  else
    Row("start after 10 changes, ms", Figure(run, "product.inspect_ms"), -1,
        Figure(run, "sqlite.inspect_ms"));
  Row("name-key fill after a start, ms", Figure(run, "product.namefill_ms"), -1, -1);
  for (size_t k = 0; k < sizeof kKinds / sizeof kKinds[0]; ++k) {
    const std::string kind = kKinds[k];
    if (Figure(run, "queries." + kind) < 0) continue;
    char extra[96];
    std::snprintf(extra, sizeof extra, "%7s  %3.0f/%.0f",
                  Number(Figure(run, "product." + kind + "_hits")).c_str(),
                  Figure(run, "naive." + kind + "_disagree"), Figure(run, "sqlite." + kind + "_disagree"));
    Row(std::string(kKindLabel[k]) + ", us", Figure(run, "product." + kind + "_us"),
        Figure(run, "naive." + kind + "_us"), Figure(run, "sqlite." + kind + "_us"), extra);
  }
  for (const std::string& note : run.notes) std::printf("  note: %s\n", note.c_str());
}

// Where the product's search time goes: its three stages, each timed alone.
void PrintStages(const std::vector<Run>& runs) {
  std::printf(
      "\nThe product's keypad and text searches by stage, us per query: the lookup in the index (the match\n"
      "gathered as name-list positions) / the read-off of the match in list order / the ranking by name\n"
      "(from the name-key cache; only for queries of 2 characters or more)\n\n  %-16s",
      "contacts");
  const int kSearchKinds = 7;
  for (int k = 0; k < kSearchKinds; ++k) std::printf(" %20s", kKinds[k]);
  std::printf("\n");
  for (const Run& run : runs) {
    std::printf("  %-16s", Grouped(static_cast<long long>(Figure(run, "count"))).c_str());
    for (int k = 0; k < kSearchKinds; ++k) {
      const std::string kind = kKinds[k];
      const std::string stages = Number(Figure(run, "product." + kind + "_lookup_us")) + "/" +
                                 Number(Figure(run, "product." + kind + "_order_us")) + "/" +
                                 Number(Figure(run, "product." + kind + "_rank_us"));
      std::printf(" %20s", stages.c_str());
    }
    std::printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool prefixIndexes = false;
  int first = 1;
  if (argc > 1 && std::string(argv[1]) == "--prefix-indexes") {
    prefixIndexes = true;
    ++first;
  }
  if (argc - first < 2) {
    std::fprintf(stderr, "usage: sqlite_peer [--prefix-indexes] FOLDER search-COUNT.txt...\n");
    return 2;
  }
  const std::string folder = argv[first];
  std::vector<Run> runs;
  for (int k = first + 1; k < argc; ++k) {
    runs.push_back(Read(folder + "/" + argv[k]));
    Measure(folder, prefixIndexes, runs.back());
  }

  std::printf(
      "\nContact search: the product (contact manager and its index, on the stand-in device) against a peer\n"
      "without index (every contact's words in memory, mapped per query, on the stand-in device) and SQLite "
      "%s\n"
      "FTS5%s (native). Medians of repeated runs; searches are per query, %d queries of each kind from\n"
      "the contacts' names. Ratios are product / peer: above 1 the product is slower.\n",
      sqlite3_libversion(), prefixIndexes ? " with prefix indexes of 1, 2 and 3 characters" : "",
      static_cast<int>(Figure(runs.front(), "queries.keypad1")));
  std::printf("\n  %-33s %9s %9s %9s %9s %9s  %7s  %s\n", "", "product", "naive", "SQLite", "/naive",
              "/SQLite", "hits/q", "differ");
  for (const Run& run : runs) Print(run);
  std::printf(
      "\n  /naive, /SQLite: product time / peer time. hits/q: the product's results per query. differ:\n"
      "  queries whose result differs from the product's in its contacts or in their order, naive / SQLite.\n"
      "  All three do the same work per query: the match, put in name-list order, and for keypad and text\n"
      "  queries of 2 characters or more ranked by name (a word of the last name beginning with the query\n"
      "  first, then of the first name, then of the company; the first name as last name when there is\n"
      "  none). The naive peer walks its contacts held in list order and ranks by each name's words,\n"
      "  mapping them to keys per query; SQLite joins the FTS5 match with a table of each contact's list\n"
      "  position and name words (and their keys) and ranks and orders in SQL (ORDER BY a CASE of instr()\n"
      "  over the names, then the position). Both take the list positions from the product's name list.\n"
      "  Name-key fill: after a start with the index in step, every contact's name-key entry made at once\n"
      "  (the item does it in idle time); the product's searches run with the entries made.\n"
      "  Naive start: reading every contact and its words from the database into memory and sorting them\n"
      "  into list order. SQLite full rebuild: the exported words and names inserted in one transaction\n"
      "  and both FTS5 indexes merged; after 10 changes: 10 contacts rewritten in one transaction; neither\n"
      "  reads the contacts database nor finds out what changed.\n");
  PrintStages(runs);
  return 0;
}
