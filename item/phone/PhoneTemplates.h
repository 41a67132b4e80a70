// Display formats for phone numbers. A template such as "+# (###) ###-##-##" shows a number whose
// digits it matches in its own shape, while a word before the number or a remark behind it stays. The
// stored number is never changed: the formatted text is for lists, menus and the contact page.
//
// In a template "#" stands for any digit and a digit for itself; every other character is shape. The
// list lives in the Templates section of the settings.
#pragma once
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/Str.h"
#include "phone/PhoneChars.h"

class Contact;

class PhoneTemplates {
 public:
  // The longest text the formatting works on, terminator included.
  static const int kMaxText = 260;

  PhoneTemplates();
  virtual ~PhoneTemplates();

  // Reads the list and the two flags from the settings; without a stored list, the defaults.
  virtual BOOL Load();
  // Writes the list, its count and the two flags.
  virtual BOOL Save() const;
  // The six templates used when none are stored.
  void SetDefaults();

  void Add(const wchar_t* tpl);
  // At `position`; out of range, at the front.
  void Insert(int position, const wchar_t* tpl);
  void Remove(int position);
  void Clear();
  int Count() const { return templates.GetSize(); }
  // The empty string for a position out of range.
  Str Get(int position) const;
  // How many of the template's characters are positions ("#" or a digit); -1 out of range.
  int GetDigitCount(int position) const;
  // Orders the templates by their number of positions, fewest first; equals may change places.
  void SortByDigits();

  BOOL IsActive() const { return isActive != 0; }
  void SetActive(BOOL active) { isActive = active ? 1 : 0; }
  BOOL IsIgnoreFormat() const { return ignoreFormat != 0; }
  void SetIgnoreFormat(BOOL ignore) { ignoreFormat = ignore ? 1 : 0; }

  // Rebuilds `number` in the shape of the first template that its digits match; true when a template
  // took it. A number no template takes stays as it is.
  virtual BOOL FormatNumber(Str& number) const;
  // FormatNumber on each of the contact's phones, the extended ones included.
  virtual void FormatContact(Contact& contact) const;

 private:
  BOOL TryTemplate(int index, const Str& core, const Str& numPre, const Str& numPost, Str& filled,
                   Str& tplOuterPre, Str& tplAdjPre, Str& tplAdjPost, Str& tplOuterPost) const;

  Array<Str> templates;
  Array<int32_t> digitCounts;
  int32_t isActive;
  int32_t ignoreFormat;
};

// The pieces of a number or a template: text before the first character of `set`, from it to the
// last one, and after. Without any such character the whole text is the core.
void SplitAround(const Str& s, const wchar_t* set, Str& prefix, Str& core, Str& suffix);
// A prefix's signs that belong to the number ("+(" of "tel +("), and the text before them.
void SplitPrefix(const Str& prefix, Str& adjacent, Str& outer);
// A suffix's closing brackets that belong to the number, and the text behind them.
void SplitSuffix(const Str& suffix, Str& adjacent, Str& outer);
// Whether the digits of `num` fit the positions of `tpl`, and what else both hold agrees.
BOOL MatchCore(const wchar_t* tpl, const wchar_t* num);
// `tpl` with its positions filled by `digits`; false when their counts don't agree.
BOOL FillTemplate(const wchar_t* tpl, const wchar_t* digits, Str& out);
