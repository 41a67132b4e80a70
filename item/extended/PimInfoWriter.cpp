#include "extended/PimInfoWriter.h"

#include "extended/PimInfoLines.h"
#include "extended/PimInfoText.h"

#include <stdio.h>
#include <stdlib.h>

PimInfoWriter::PimInfoWriter() : contact(nullptr), templateModule(nullptr) {}

PimInfoWriter::~PimInfoWriter() { ClearLines(); }

void PimInfoWriter::ClearLines() {
  for (int i = 0; i < lines.GetSize(); ++i) FreeNoteLine(lines[i]);
  lines.RemoveAll();
}

void PimInfoWriter::AddPlainLines(const ByteBuffer& note) {
  const BYTE* data = note.GetData();
  uint32_t length = note.GetLength();
  Str text;
  if (length >= 2 && data[0] == 0xFE && data[1] == 0xFF) {
    int count = static_cast<int>(length / 2) - 1;
    if (count > 0) {
      wchar_t* chars = text.GetBuffer(count);
      memcpy(chars, data + 2, static_cast<size_t>(count) * sizeof(wchar_t));
      text.ReleaseBuffer(count);
    }
  } else {
    int count = MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(data), static_cast<int>(length),
                                    nullptr, 0);
    if (count > 0) {
      wchar_t* chars = text.GetBuffer(count);
      MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(data), static_cast<int>(length), chars,
                          count);
      text.ReleaseBuffer(count);
    }
  }
  // Lines end at carriage returns and line feeds; a run of them is one end, and empty lines vanish.
  const wchar_t* chars = text;
  int count = text.GetLength();
  int lineStart = 0;
  for (int i = 0; i <= count; ++i) {
    if (i < count && chars[i] != L'\r' && chars[i] != L'\n') continue;
    if (i > lineStart) AddLine(PimPlainLine(chars + lineStart, i - lineStart));
    lineStart = i + 1;
  }
}

void PimInfoWriter::AddPairs(const wchar_t* name, const LabelValueList& list) {
  if (list.GetSize() == 0) return;
  AddLine(PimSectionLine(name));
  for (int i = 0; i < list.GetSize(); ++i) AddLine(PimPairLine(list[i].label, list[i].value));
}

void PimInfoWriter::AddBlock(const ContactExtended& block) {
  AddLine(PimMarkerLine(kPimStartMarker));
  AddPairs(kPimPhone, block.Phone);
  AddPairs(kPimEmail, block.Email);
  if (block.Messenger.GetSize() != 0) {
    AddLine(PimSectionLine(kPimMessenger));
    for (int i = 0; i < block.Messenger.GetSize(); ++i) AddLine(PimMessengerLine(block.Messenger[i]));
  }
  AddPairs(kPimWebPage, block.WebPage);
  if (block.HomeFormat != 0 || block.WorkFormat != 0 || block.OtherFormat != 0 ||
      block.Address.GetSize() != 0) {
    AddLine(PimSectionLine(kPimAddress));
    if (block.HomeFormat != 0) AddLine(PimFormatLine(kPimHomeFormat, block.HomeFormat));
    if (block.WorkFormat != 0) AddLine(PimFormatLine(kPimBusinessFormat, block.WorkFormat));
    if (block.OtherFormat != 0) AddLine(PimFormatLine(kPimOtherFormat, block.OtherFormat));
    for (int i = 0; i < block.Address.GetSize(); ++i) {
      const AddressEntry& address = block.Address[i];
      AddLine(PimAddressLine(address.label, address.parts, address.format));
    }
  }
  AddPairs(kPimPeople, block.People);
  if (block.Date.GetSize() != 0) {
    AddLine(PimSectionLine(kPimDate));
    for (int i = 0; i < block.Date.GetSize(); ++i) {
      SYSTEMTIME date = {};
      FileTimeToSystemTime(&block.Date[i].value, &date);
      Str value;
      value.Format(L"%04i.%02i.%02i", static_cast<int>(date.wYear), static_cast<int>(date.wMonth),
                   static_cast<int>(date.wDay));
      AddLine(PimPairLine(block.Date[i].label, value));
    }
  }
  AddPairs(kPimLink, block.Link);
  AddPairs(kPimOtherProp, block.OtherProp);
  if (!block.Image.IsEmpty()) {
    AddLine(PimSectionLine(kPimImage));
    AddLine(PimImageLine(block.Image));
  }
  AddLine(PimMarkerLine(kPimEndMarker));
}

bool PimInfoWriter::MergeIntoNote(Contact& target) {
  if (target.IsExtendedEmpty()) {
    target.noteBlob = target.rawNote;
    return true;
  }
  contact = &target;
  target.noteBlob.Empty();
  ClearLines();

  const ByteBuffer& raw = target.rawNote;
  bool rich = !raw.IsEmpty() && !IsPlainNote(raw.GetData(), raw.GetLength());
  // A rich Note keeps its paragraphs where they are; a plain one gives its lines.
  if (!raw.IsEmpty() && !rich) AddPlainLines(raw);
  AddBlock(target);

  const BYTE* document = nullptr;
  uint32_t documentLength = 0;
  if (rich) {
    document = raw.GetData();
    documentLength = raw.GetLength();
  } else if (!LoadNoteTemplate(templateModule, document, documentLength)) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    contact = nullptr;
    return false;
  }

  uint32_t newLength = 0;
  BYTE* note = InsertParagraphs(document, documentLength, lines.GetSize(), lines.GetData(), newLength);
  contact = nullptr;
  if (note == nullptr) {
    SetLastError(ERROR_INVALID_DATA);
    return false;
  }
  target.noteBlob.Assign(note, newLength);
  free(note);
  return true;
}
