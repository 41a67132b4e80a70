// pimtool: contacts on the device from the command line.
//   pimtool generate N [--seed S]   add N synthetic contacts (the same N and S give the same contacts)
//   pimtool import FILE.vcf         add the cards of a vCard file; malformed cards are reported and skipped;
//                                   an embedded photo becomes the contact's photo file in the data folder
//   pimtool list                    one line per contact: record id in hexadecimal and list name; when
//                                   the device's store was salvaged from a damaged file with records
//                                   lost, says so on standard error and exits with status 1
//   pimtool dump ID [ID ...]        every stored field of the contact with that record id, the Note's
//                                   text and the extended data read back from the Note; several
//                                   contacts one after the other, a blank line between them
//   pimtool search (--keypad DIGITS ... | --text TEXT ...) [--sort 0|1|2 ...] [--category NAME ...]
//                                   the item's search: digits pick letter groups as the list's number
//                                   keys do ('2' the first group ... '9' the eighth, '1' the ninth);
//                                   one line per contact, id and list name, under group title lines
//                                   ("[Company]") with --sort 2. Several queries or sorts: every query
//                                   in every sort, each result under a line "== keypad 44, sort 1"
//   pimtool find-phone NUMBER [--min-digits N]   the contacts of a number, by its last digits
//   pimtool rebuild | open | check  rebuild the index; open it as the item does and say what was
//                                   decided; check both index files (exit status 1 on any finding)
//   pimtool add FIELD=VALUE ... | update ID FIELD=VALUE ... | delete ID
//                                   contacts written through the item's manager, the index following
//   pimtool format NUMBER ...       the numbers as the item's phone templates show them
//   pimtool call ID | sms ID | mail ID | web ID
//                                   the item's action for the contact's default phone, mail or page
//   pimtool selftest fault|stop|throw   crashes on purpose, for the tests of the exit status
// Exit status: 0 done, 1 failed (a crash included, reported on standard error), 2 wrong command line.
#include <windows.h>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>
#include "ActionVerbs.h"
#include "CrashGuard.h"
#include "DeviceContacts.h"
#include "IndexVerbs.h"
#include "Generator.h"
#include "Output.h"
#include "PhotoImport.h"
#include "StoreSalvage.h"
#include "VCard.h"
#include "extended/NoteBlob.h"
#include "foundation/DataFolder.h"
#include "storage/contact/ContactNames.h"

namespace {

int Usage() {
  PrintError(
      L"usage: pimtool generate N [--seed S] | import FILE.vcf | list | dump ID ... | search ... | "
      L"find-phone "
      L"NUMBER"
      L" | rebuild | open | check | add FIELD=VALUE ... | update ID FIELD=VALUE ... | delete ID"
      L" | format NUMBER ... | call ID | sms ID | mail ID | web ID");
  return 2;
}

bool OpenDevice(ContactDatabase& database, ToolCategories& categories) {
  if (!database.Open(nullptr)) {
    PrintError(L"pimtool: the device's contacts database can't be opened (error " +
               std::to_wstring(GetLastError()) + L")");
    return false;
  }
  if (!categories.Open()) {
    PrintError(L"pimtool: the device's categories database can't be opened (error " +
               std::to_wstring(GetLastError()) + L")");
    return false;
  }
  return true;
}

// Writes the contacts one by one. One the database refuses is reported, by the line of its card when
// it comes from `source`, and the others are still written. Gives 1 when any was refused.
int WriteContacts(const std::vector<ToolContact>& contacts, const std::wstring& source = std::wstring()) {
  ContactDatabase database;
  ToolCategories categories;
  if (!OpenDevice(database, categories)) return 1;
  ContactNote note;
  int written = 0;
  int refused = 0;
  // The place a message is about: the card's first line, or the line of its value.
  auto where = [&source](const ToolContact& contact, int line = 0) {
    if (source.empty() || contact.sourceLine == 0) return std::wstring(L"pimtool: ");
    return source + L":" + std::to_wstring(line > 0 ? line : contact.sourceLine) + L": ";
  };
  Str dataFolder;
  for (const ToolContact& source : contacts) {
    Contact contact;
    if (!ToContactRecord(source, categories, note, contact)) {
      PrintError(where(source) + L"the Note of the contact can't be made (error " +
                 std::to_wstring(GetLastError()) + L"); card skipped");
      UncountCategories(categories, contact);
      ++refused;
      continue;
    }
    // An embedded picture becomes the contact's photo; one that can't be read is refused alone.
    if (!source.photoData.empty()) {
      std::wstring why;
      if (!PhotoFromPicture(source.photoData, contact.photo, why))
        PrintError(where(source, source.photoLine) + L"PHOTO refused: " + why +
                   L"; the rest of the card is imported");
    }
    if (!database.AddContact(contact, true)) {
      const DWORD error = GetLastError();
      PrintError(where(source) + L"the database refused the contact: " + WhyRefused(contact, error) +
                 L"; card skipped");
      UncountCategories(categories, contact);
      ++refused;
      continue;
    }
    ++written;
    if (!contact.photo.IsEmpty()) {
      if (dataFolder.IsEmpty()) dataFolder = GetDataFolder();
      std::wstring why;
      if (!StorePhoto(contact, dataFolder, database, note, why))
        PrintError(where(source, source.photoLine) + L"the photo can't be stored: " + why +
                   L"; the contact is imported without it");
    }
  }
  if (!categories.Flush()) PrintError(L"pimtool: the category counts could not all be written");
  std::wstring summary = L"added " + std::to_wstring(written) + L" contacts";
  if (refused > 0) summary += L", " + std::to_wstring(refused) + L" refused";
  PrintLine(summary);
  return refused > 0 ? 1 : 0;
}

int Generate(int argc, wchar_t** argv) {
  if (argc < 3) return Usage();
  wchar_t* end = nullptr;
  long count = wcstol(argv[2], &end, 10);
  if (*end || count < 0) return Usage();
  unsigned long long seed = 1;
  for (int i = 3; i < argc; ++i) {
    if (wcscmp(argv[i], L"--seed") == 0 && i + 1 < argc) {
      seed = wcstoull(argv[++i], &end, 10);
      if (*end) return Usage();
    } else {
      return Usage();
    }
  }
  return WriteContacts(GenerateContacts(static_cast<int>(count), seed));
}

int Import(int argc, wchar_t** argv) {
  if (argc != 3) return Usage();
  std::ifstream in(argv[2], std::ios::binary);
  if (!in) {
    PrintError(L"pimtool: can't read " + std::wstring(argv[2]));
    return 1;
  }
  std::stringstream bytes;
  bytes << in.rdbuf();
  VCardResult result = ParseVCards(bytes.str());
  bool skipped = false;
  for (const VCardProblem& problem : result.problems) {
    PrintError(std::wstring(argv[2]) + L":" + std::to_wstring(problem.line) + L": " + problem.message +
               (problem.cardSkipped ? L"; card skipped" : L"; the rest of the card is imported"));
    skipped = skipped || problem.cardSkipped;
  }
  const int status = WriteContacts(result.contacts, argv[2]);
  // A skipped card is a failure of the command too, though every other card was imported; a value
  // refused alone is not.
  return skipped ? 1 : status;
}

int List() {
  ContactDatabase database;
  if (!database.Open(nullptr)) {
    PrintError(L"pimtool: the device's contacts database can't be opened");
    return 1;
  }
  ListFilter all;
  Array<ListEntry> entries;
  if (!database.EnumerateContacts(all, entries)) {
    PrintError(L"pimtool: reading the contacts failed (error " + std::to_wstring(GetLastError()) + L")");
    return 1;
  }
  for (int i = 0; i < entries.GetSize(); ++i) {
    const ListEntry& entry = entries.ElementAt(i);
    wchar_t id[16];
    swprintf(id, 16, L"%08x", entry.oid);
    std::wstring line = std::wstring(id) + L"  " + static_cast<const wchar_t*>(entry.name);
    if (entry.company.GetLength() && !Str::IsEqual(entry.company, entry.name))
      line += std::wstring(L"  (") + static_cast<const wchar_t*>(entry.company) + L")";
    PrintLine(line);
  }
  PrintLine(std::to_wstring(entries.GetSize()) + L" contacts");
  // Contacts a salvage of the store couldn't recover are missing from the list: that is a failure,
  // not something for the store's own log alone.
  StoreSalvage salvage;
  ReadStoreSalvage(salvage);
  const std::wstring notice = SalvageNotice(salvage);
  if (!notice.empty()) {
    PrintError(notice);
    return 1;
  }
  return 0;
}

// Prints what dump shows of a contact read from the database.
void DumpContact(ToolCategories& categories, Contact& contact) {
  wchar_t number[32];
  swprintf(number, 32, L"%08x", contact.oid);
  PrintLine(std::wstring(L"Id: ") + number);
  for (int f = 0; f < ToolFieldCount; ++f)
    if (contact.text[f].GetLength())
      PrintLine(FromUtf8(kFieldName[f]) + L": " + static_cast<const wchar_t*>(contact.text[f]));
  if (!DateText(contact.birthday).empty()) PrintLine(L"Birthday: " + DateText(contact.birthday));
  if (!DateText(contact.anniversary).empty()) PrintLine(L"Anniversary: " + DateText(contact.anniversary));
  if (contact.defaultItem) {
    swprintf(number, 32, L"%08x", contact.defaultItem);
    PrintLine(std::wstring(L"DefaultItem: ") + number);
  }
  std::wstring names;
  for (uint32_t k = 0; k < contact.categories.GetLength(); ++k)
    for (int n = 0; n < 8; ++n)
      if (contact.categories.GetData()[k] & (1 << n)) {
        std::wstring name = categories.NameOf(static_cast<int>(k * 8 + n));
        if (!names.empty()) names += L", ";
        names += name.empty() ? L"#" + std::to_wstring(k * 8 + n) : name;
      }
  if (!names.empty()) PrintLine(L"Categories: " + names);
  // The checksum is the stored record's, taken before the Note's block fills the extended data.
  swprintf(number, 32, L"%08x", contact.ComputeChecksum());
  std::wstring checksum = number;
  if (!contact.noteBlob.IsEmpty()) {
    bool plain = IsPlainNote(contact.noteBlob.GetData(), contact.noteBlob.GetLength());
    PrintLine(std::wstring(L"NoteForm: ") + (plain ? L"plain" : L"rich"));
  }
  ContactNote reader;
  bool understood = true;
  std::wstring note = NoteText(reader, contact, understood);
  if (!understood) PrintLine(L"Note: (the block of extended data in the Note is damaged)");
  if (!note.empty()) PrintLine(L"Note: " + note);
  for (const std::wstring& line : ExtendedLines(contact)) PrintLine(line);
  PrintLine(L"Checksum: " + checksum);
}

// Every id is read before any contact is shown: a malformed one refuses the whole command line. An id
// without a contact is reported and passed over; the status is then 1.
int Dump(int argc, wchar_t** argv) {
  if (argc < 3) return Usage();
  std::vector<CEOID> oids;
  for (int i = 2; i < argc; ++i) {
    wchar_t* end = nullptr;
    unsigned long oid = wcstoul(argv[i], &end, 16);
    if (*end || oid == 0) return Usage();
    oids.push_back(static_cast<CEOID>(oid));
  }
  ContactDatabase database;
  ToolCategories categories;
  if (!OpenDevice(database, categories)) return 1;
  int status = 0;
  bool any = false;
  for (size_t i = 0; i < oids.size(); ++i) {
    Contact contact;
    if (!database.LoadByOid(oids[i], contact)) {
      PrintError(L"pimtool: no contact with the id " + std::wstring(argv[2 + i]));
      status = 1;
      continue;
    }
    if (any) PrintLine(L"");
    DumpContact(categories, contact);
    any = true;
  }
  return status;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  InstallCrashGuard();
  if (argc < 2) return Usage();
  std::wstring verb = argv[1];
  if (verb == L"selftest") return argc == 3 && CauseFailure(argv[2]) ? 0 : Usage();
  if (verb == L"generate") return Generate(argc, argv);
  if (verb == L"import") return Import(argc, argv);
  if (verb == L"list") return List();
  if (verb == L"dump") return Dump(argc, argv);
  if (verb == L"search") return SearchVerb(argc, argv);
  if (verb == L"find-phone") return FindPhoneVerb(argc, argv);
  if (verb == L"rebuild") return RebuildVerb();
  if (verb == L"open") return OpenVerb();
  if (verb == L"check") return CheckVerb();
  if (verb == L"add") return AddVerb(argc, argv);
  if (verb == L"update") return UpdateVerb(argc, argv);
  if (verb == L"delete") return DeleteVerb(argc, argv);
  if (verb == L"format") return FormatVerb(argc, argv);
  if (verb == L"call" || verb == L"sms" || verb == L"mail" || verb == L"web") return ActionVerb(argc, argv);
  return Usage();
}
