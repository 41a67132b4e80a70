// PropsRecord: the serialised form of a contact's extended block, as the props store keeps it. All
// offsets count from the data's start, all integers are little-endian, every entry starts on a word.
//
//   0   u32  total length
//   4   u32  checksum of the contact
//   8   u32  HomeFormat
//   12  u32  WorkFormat
//   16  u32  OtherFormat
//   20  u32  x 10: where each section starts, in the order below; a section ends where the next one
//             begins, and the last at the total length
//   60       the sections: Phone, Email, WebPage, People, Link, OtherProp, Messenger, Address, Date,
//             Image
//
// Entries of the first six sections: u32 entry length, label with NUL, value with NUL; the length is
// ((l1 + l2) * 2 + 13) & ~3 for texts of l1 and l2 characters.
// Messenger: u32 entry length, kind, id and note each with NUL; ((l1 + l2 + l3) * 2 + 15) & ~3.
// Address: 0 entry length; 4 format id; 8, 12, 16, 20, 24 where parts 0 to 4 start in the entry; 28
// the label with NUL, then the five parts, each with NUL and no padding between them. The length is
// (B + 37) & ~3, B being the bytes of the label and the five parts with their NULs.
// Date: 0 entry length, (l * 2 + 19) & ~3; 4 the 8-byte file time; 12 the label with NUL.
// Image: the text with NUL, or nothing at all when the text is empty.
//
// Texts end at their first NUL. Padding bytes are 0.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "storage/contact/ContactExtended.h"

class PropsRecord {
 public:
  static constexpr uint32_t kHeaderSize = 60;
  static constexpr int kSectionCount = 10;
  // Header fields.
  static constexpr uint32_t kTotalField = 0;
  static constexpr uint32_t kChecksumField = 4;
  static constexpr uint32_t kHomeFormatField = 8;
  static constexpr uint32_t kWorkFormatField = 12;
  static constexpr uint32_t kOtherFormatField = 16;
  static constexpr uint32_t kSectionsField = 20;
  // Sections in their order.
  enum Section {
    SectionPhone,
    SectionEmail,
    SectionWebPage,
    SectionPeople,
    SectionLink,
    SectionOtherProp,
    SectionMessenger,
    SectionAddress,
    SectionDate,
    SectionImage
  };

  // Entry lengths for texts of the given lengths in characters.
  static uint32_t PairEntrySize(uint32_t l1, uint32_t l2);
  static uint32_t MessengerEntrySize(uint32_t l1, uint32_t l2, uint32_t l3);
  static uint32_t AddressEntrySize(const AddressEntry& entry);
  static uint32_t DateEntrySize(uint32_t l);
  static uint32_t ImageSize(uint32_t l);

  // Total length of the serialised block.
  static uint32_t Size(const ContactExtended& block);
  // Writes the block into `out`, which has room for exactly `size` = Size(block) bytes.
  static void Write(const ContactExtended& block, uint32_t checksum, BYTE* out, uint32_t size);
  // Reads `length` bytes of serialised data into `block` (cleared first). False when they aren't
  // serialised data: a total length other than `length`, sections out of order or outside the data,
  // an entry that passes the end of its section or whose texts lack their NUL. Nothing outside the
  // `length` bytes is read.
  static BOOL Parse(const BYTE* data, uint32_t length, ContactExtended& block, uint32_t* checksum);
  // Whether `length` bytes are exactly what Write makes of what Parse reads from them: every length,
  // offset and padding byte as the store writes it.
  static BOOL IsCanonical(const BYTE* data, uint32_t length);
};
