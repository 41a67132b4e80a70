// Reads vCard 2.1 and 3.0 files (quoted-printable, UTF-8 and other character sets, folded lines,
// several TEL and EMAIL of each type, embedded photos in base64) into contacts. Lines may end in CR LF, LF or CR alone. A
// malformed card is reported with the number of the line where the problem is and skipped; the cards
// around it are still read. A card with another card nested in it is skipped whole, the nested one
// included; a card that merely lacks its END loses only itself.
#pragma once
#include <string>
#include <vector>
#include "ToolContact.h"

struct VCardProblem {
  int line;  // 1-based line of the file
  std::wstring message;
  // True: the card was skipped. False: only the value of that line was refused (a damaged or
  // oversized photo) and the rest of the card is read.
  bool cardSkipped = true;
};

// The most bytes an embedded photo may take once its base64 is undone; a larger one is refused.
const size_t kVCardPhotoMaxBytes = 4 * 1024 * 1024;

struct VCardResult {
  std::vector<ToolContact> contacts;
  std::vector<VCardProblem> problems;
};

// `bytes` is the file as stored: UTF-8 (with or without a byte-order mark), UTF-16 with its mark, or
// 8-bit text whose properties name their CHARSET.
VCardResult ParseVCards(const std::string& bytes);
