// NoteBlob: the contact's Note when the platform's Note editor wrote it as a rich document, a file
// that begins with "{\pwi". The code knows the document only as far as the block of extended data
// needs: it walks the records, reads and adds text paragraphs, keeps the paragraph table in step and
// copies every other byte unchanged.
//
// Document layout, integers little-endian:
//
//   0    5   "{\pwi"
//   5    9   header, copied unchanged
//   14       records, as long as at least 7 bytes are left
//
// A record: type u8, sub u8, id u16, size u16, then a body of size * 4 bytes; for the types 85 and
// 111 the body has size + sub * 65536 bytes. A record whose body runs past the end of the blob ends
// the walk; whatever follows it is carried along as it stands.
//
//   type 64   paragraph table: count u32, second count u32, total characters u32, third count u16,
//             padding u16, 4 reserved bytes, count entries of four u16, a trailer of two u16; its body
//             is (count + 3) * 8 bytes
//   type 65   paragraph: characters u16, text bytes u16, 1 u16, 0xFFFF u16, id of its end record u16,
//             14 zero bytes, the encoded text at body offset 24, padding to a multiple of 4
//   type 66   end of a paragraph: characters u16 and 10 zero bytes
//   type 67   embedded object, referred to by id from a paragraph's text
//   type 130  end of the text; new paragraphs go in front of it
//
// Paragraph text is a run of bytes: characters in one or two bytes (and in three with a lead byte that
// no reader accepts, see EncodeNoteChar) and control codes, of which end of paragraph (C4 00) and tab
// (C4 04) count as characters.
//
// Every operation is one pass over the blob with at most one allocation, reads nothing outside the
// `length` bytes it is given and never fails loudly: a damaged document gives false, a null buffer or
// an error number.
#pragma once

#include "foundation/Str.h"

#include <windows.h>

#include <stdint.h>

// Resource of the item's module that holds the empty document new Notes start from.
#define NOTE_RESOURCE_TYPE L"NOTE"

// Record types the Note code looks at.
const BYTE kNoteParagraphTable = 64;
const BYTE kNoteParagraph = 65;
const BYTE kNoteParagraphEnd = 66;
const BYTE kNoteObject = 67;
const BYTE kNoteTextEnd = 130;

const uint32_t kNoteHeaderSize = 14;
const uint32_t kNoteRecordHead = 6;
// A record is read only while this many bytes are left.
const uint32_t kNoteMinimumRecord = 7;
// Where the text of a paragraph record starts in its body.
const uint32_t kNoteParagraphTextOffset = 24;
// Head of the paragraph table's body before its entries, an entry, and the trailer.
const uint32_t kNoteTableHead = 20;
const uint32_t kNoteTableEntry = 8;
const uint32_t kNoteTableTrailer = 4;

// Errors of a text scan: a byte that starts no known code (also a code cut off by the end of the
// text), and a byte after C4 that names no known control.
const int kNoteBadCode = -25;
const int kNoteBadControl = -15;

// One encoded paragraph text: its length in bytes and the bytes.
struct NoteLine {
  uint32_t length;
  BYTE* data;
};

// --- form and walk ----------------------------------------------------------------------------------------
// True for a plain Note: shorter than 15 bytes, or not beginning with "{\pwi", or with all nine header
// bytes at offsets 5 to 13 at 10 or more (a text that merely begins with those letters).
bool IsPlainNote(const BYTE* blob, uint32_t length);
// True when the blob begins with "{\pwi".
bool HasNoteMagic(const BYTE* blob, uint32_t length);
// Walks the records: `highestId` is the highest record id, `lastParagraphId` the id of the last
// paragraph record (both 0 when there are none). False, with both 0, when the magic is wrong.
bool ScanDocument(const BYTE* blob, uint32_t length, uint32_t& highestId, uint32_t& lastParagraphId);

// --- paragraph text ---------------------------------------------------------------------------------------
// Characters of an encoded text, counting end of paragraph and tab, or the first error.
int CountChars(const BYTE* text, uint32_t length);
// Appends the characters of an encoded text to `out`, a tab for C4 04 and nothing for the other
// controls. Returns 0, or the first error, having appended what came before it.
int DecodeText(const BYTE* text, uint32_t length, Str& out);
// Writes the encoding of one character to `out` (room for 3 bytes) and returns its length: one byte
// below 0x80, two bytes (c AND 3F) OR 80 and c >> 6 up to 0x7FF, and above that C0 followed by the
// character's two bytes. No reader accepts the last form: a paragraph that holds it counts kNoteBadCode
// characters and its text ends there.
uint32_t EncodeNoteChar(wchar_t ch, BYTE* out);
// Bytes that EncodeNoteChar writes for `count` characters.
uint32_t EncodedNoteLength(const wchar_t* text, int count);

// --- whole documents --------------------------------------------------------------------------------------
// The text of every paragraph, joined by single spaces where both sides have text. False when the magic
// is wrong; `out` is emptied first in any case.
bool ExtractText(const BYTE* blob, uint32_t length, Str& out);
// 1 when the document shows nothing: null, shorter than 14 bytes, or without objects, drawings or sounds
// (types 67, 84, 85, 103, 109, 111, 131) and with a paragraph table whose total characters equal its
// second count. 0 when it shows something, -1 when the magic is wrong.
int IsEmptyDocument(const BYTE* blob, uint32_t length);

// A copy of the document with `count` paragraphs of the encoded `lines` added in front of its end of
// text record (at its end when it has none), the paragraph table grown to match. The caller frees the
// result with free(). Null when the blob, its length or the count is 0, the magic is wrong, the
// document has not exactly one well-formed paragraph table, or a line, the table or the new ids would
// overflow their 16-bit fields.
BYTE* InsertParagraphs(const BYTE* blob, uint32_t length, int count, const NoteLine* lines,
                       uint32_t& newLength);
// The exact length InsertParagraphs gives, or 0 when it would refuse.
uint32_t InsertedLength(const BYTE* blob, uint32_t length, int count, const NoteLine* lines);
// InsertParagraphs into a buffer of the caller's: writes at most `capacity` bytes and gives the count
// written, 0 when it refuses or the room isn't enough.
uint32_t InsertParagraphsInto(const BYTE* blob, uint32_t length, int count, const NoteLine* lines, BYTE* out,
                              uint32_t capacity);

// A copy of the document without the paragraphs from the first that contains `start` up to and
// including the first that then contains `end`, without their end records and the objects their text
// refers to, the paragraph table shrunk to match. When the document's first paragraph goes, an empty
// one takes its place under its ids. The caller frees the result with free(). Null when the blob is
// shorter than 14 bytes, the magic is wrong, there is no such run of paragraphs (also when `end`
// never follows `start`), or the document has not exactly one well-formed paragraph table.
const uint32_t kRemoveExtraRoom = 56;
BYTE* RemoveBlock(const BYTE* blob, uint32_t length, const wchar_t* start, const wchar_t* end,
                  uint32_t& newLength);
// RemoveBlock into a buffer of the caller's of at most `capacity` bytes; the count written, 0 when it
// refuses or the room isn't enough. A capacity of `length` + kRemoveExtraRoom is always enough: the
// result is never longer than the document but for the empty paragraph that may replace the first.
uint32_t RemoveBlockInto(const BYTE* blob, uint32_t length, const wchar_t* start, const wchar_t* end,
                         BYTE* out, uint32_t capacity);

// The empty document of the resource NOTE 170 in `module` (null: the module this code is linked into).
// The bytes stay owned by the module. False when the resource is missing or isn't a rich document.
bool LoadNoteTemplate(HMODULE module, const BYTE*& data, uint32_t& length);
