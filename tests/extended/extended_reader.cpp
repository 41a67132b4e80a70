// extended_reader: loads one contact of the device's contacts database by its record id, takes the block
// of extended data out of its Note and writes what it found to a file, for the test that writes the
// contact in another process.
//   extended_reader OID-IN-HEX OUTPUT-FILE
// Exit status: 0 done, 1 the contact or the file can't be had, 2 wrong command line.
#include "ExtendedTestSupport.h"

#include "extended/ContactNote.h"
#include "storage/contact/ContactDatabase.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  char* end = nullptr;
  unsigned long oid = strtoul(argv[1], &end, 16);
  if (*end != 0 || oid == 0) return 2;

  ContactDatabase database;
  if (!database.Open(nullptr)) return 1;
  Contact contact;
  if (!database.LoadByOid(static_cast<CEOID>(oid), contact)) return 1;
  ContactNote note;
  Str text;
  bool understood = note.GetNoteText(contact, text);
  note.StripBlock(contact);

  std::string out = std::string("understood: ") + (understood ? "yes" : "no") + "\n";
  out += "text: " + U8(text) + "\n";
  out += exttest::DumpExtended(contact);
  out += "raw: " + exttest::Hex(exttest::BytesOf(contact.rawNote)) + "\n";
  FILE* file = fopen(argv[2], "wb");
  if (file == nullptr) return 1;
  bool written = fwrite(out.data(), 1, out.size(), file) == out.size();
  written = fclose(file) == 0 && written;
  database.Close();
  return written ? 0 : 1;
}
