// A small sectioned line file of 16-bit little-endian characters with no byte-order mark: a header
// line "[Name]" and the value lines below it, up to the next line that begins with "[" or the end of
// the file. Three kinds of section: a flag ("true" or "false"), lines of text, lines of numbers.
//
// Reading takes any run of CR and LF as one line end, so that empty lines are skipped, and goes back
// to the start of the file for every section: the order of sections is free and the first match wins.
// A header is found by the start of a line, exactly, so text behind its "]" is ignored. The file is
// read through a buffer of 26 bytes, 25 at a time: reading a template is rare, and this keeps it small.
//
// Writing appends each section, header first, lines ending in CR LF. Lines are written as they are: a
// line must not be empty, hold a CR or LF, or begin with "[", or it does not read back as written.
#pragma once
#include <stdint.h>
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/Str.h"

class TextConfigFile {
 public:
  TextConfigFile();
  virtual ~TextConfigFile();

  // For writing, creates the file, always (an old one is replaced). For reading, opens it with read
  // sharing; an absent file gives false, and an empty one or one whose size can't be read is deleted
  // (an interrupted save must not be taken for a file) and gives false with ERROR_HANDLE_EOF.
  virtual BOOL Open(const wchar_t* path, BOOL forWrite);
  virtual void Close();
  BOOL IsOpen() const;

  // The one value line of `section`, "true" or "false" in any case, as 1 or 0. Any other text, no
  // line or a header right behind leaves `out` as it was and gives false.
  virtual BOOL ReadFlag(const wchar_t* section, int32_t& out);
  // Appends the value lines of `section`, each whole, to `out`; true when `out` ends up not empty.
  virtual BOOL ReadStrings(const wchar_t* section, Array<Str>& out);
  // The same with each line read as a decimal number (_wtol).
  virtual BOOL ReadNumbers(const wchar_t* section, Array<int32_t>& out);

  // Each appends its section at the end of the file. A failed write gives false with the platform's
  // error, and the rest of the section is not written.
  virtual BOOL WriteFlag(const wchar_t* section, BOOL value);
  virtual BOOL WriteStrings(const wchar_t* section, const Array<Str>& lines);
  // The lines labels[indexes[0]], labels[indexes[1]], ...; an index outside `labels` is passed over.
  virtual BOOL WriteStrings(const wchar_t* section, const Array<Str>& labels, const Array<int32_t>& indexes);
  virtual BOOL WriteNumbers(const wchar_t* section, const Array<int32_t>& numbers);

 private:
  TextConfigFile(const TextConfigFile&) = delete;
  TextConfigFile& operator=(const TextConfigFile&) = delete;

  // Reading.
  BOOL Rewind();
  BOOL FillBuffer();
  BOOL NextChar(wchar_t& ch);
  BOOL ReadLine(Str& line);
  BOOL FindSection(const wchar_t* section);
  BOOL ReadValueLine(Str& line);
  void KeepChar(wchar_t ch);
  void FreeLine();

  // Writing.
  BOOL WriteText(const wchar_t* text, int length);
  BOOL WriteLine(const Str& text);
  BOOL WriteHeader(const wchar_t* section);

  HANDLE file;
  // The read buffer: the odd byte of the last step, when there was one, at its start, then the step.
  BYTE buffer[26];
  int bufferChars;  // whole characters in the buffer: its bytes halved
  int nextChar;     // the next of them to hand out
  int stepBytes;    // bytes in the buffer; an odd count carries its last byte over
  BOOL atEnd;
  // The line being assembled, grown by doubling, so that a very long line costs no more than a short.
  wchar_t* lineChars;
  int lineLength;
  int lineRoom;
};
