// Helpers of the props store tests: files in the temporary folder, the program's log, a plain model of
// an extended block with an independent serialiser written from the file format, random records, and
// an independent reader of the store's data (header, pool, chains).
#pragma once
#include <windows.h>
#include <stdint.h>

#include <random>
#include <string>
#include <vector>

#include "LittleEndian.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "storage/contact/ContactExtended.h"

// --- files and log -------------------------------------------------------------------------------------------

// A path in the temporary folder for this test program's files.
std::wstring PropsTempFile(const std::wstring& name);
using testpaths::ReadFileBytes;
using testpaths::WriteFileBytes;

// --- the model ---------------------------------------------------------------------------------------------

struct ModelPair {
  std::wstring label, value;
  bool operator==(const ModelPair& o) const { return label == o.label && value == o.value; }
};
struct ModelMessenger {
  std::wstring kind, id, note;
  bool operator==(const ModelMessenger& o) const { return kind == o.kind && id == o.id && note == o.note; }
};
struct ModelAddress {
  std::wstring parts[5];
  uint32_t format = 0;
  std::wstring label;
  bool operator==(const ModelAddress& o) const {
    for (int i = 0; i < 5; ++i)
      if (parts[i] != o.parts[i]) return false;
    return format == o.format && label == o.label;
  }
};
struct ModelDate {
  std::wstring label;
  uint64_t time = 0;
  bool operator==(const ModelDate& o) const { return label == o.label && time == o.time; }
};

// Phone, Email, WebPage, People, Link, OtherProp in lists[0..5].
struct ModelRecord {
  std::vector<ModelPair> lists[6];
  std::vector<ModelMessenger> messengers;
  std::vector<ModelAddress> addresses;
  std::vector<ModelDate> dates;
  uint32_t homeFormat = 0, workFormat = 0, otherFormat = 0;
  std::wstring image;
  uint32_t checksum = 0;
  bool operator==(const ModelRecord& o) const;
  bool operator!=(const ModelRecord& o) const { return !(*this == o); }
};

void ToBlock(const ModelRecord& model, ContactExtended& block);
ModelRecord FromBlock(const ContactExtended& block, uint32_t checksum);
// A readable account of the first difference, for failure messages.
std::string Describe(const ModelRecord& model);

// The record data as the file format describes it, written without the store's code.
std::vector<uint8_t> Serialize(const ModelRecord& model);

// Random texts: Latin, digits, punctuation and Cyrillic; now and then empty or long.
std::wstring RandomText(std::mt19937& random, int maxLength);
// A random record. `scale` 0 keeps it small (mostly one to three blocks); 1 mixes in long texts; 2
// makes it a few kilobytes.
ModelRecord RandomRecord(std::mt19937& random, int scale);
// A record whose data is exactly `bytes` long (an even number of at least 60): an image of the right
// length.
ModelRecord RecordOfSize(uint32_t bytes);

// --- an independent reading of store data --------------------------------------------------------------------

struct StoreLayout {
  std::string error;  // empty when the reading found nothing wrong
  uint32_t firstUnused = 0, freeHead = 0, freeCount = 0;
  std::vector<uint32_t> freeRing;             // pool offsets, from the head on
  std::vector<uint32_t> records;              // data offsets, in ring order from the first record
  std::vector<std::vector<uint32_t>> chains;  // data offsets of each record's blocks
  bool ok() const { return error.empty(); }
};
StoreLayout ReadLayout(const uint8_t* data, uint32_t length);
// The data bytes of the record at `offset`, gathered from its chain (no checks beyond the bounds).
std::vector<uint8_t> ChainBytes(const uint8_t* data, uint32_t length, uint32_t offset);
