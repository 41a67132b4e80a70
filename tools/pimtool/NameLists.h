// Word lists for synthetic contacts: given names, family names, companies, jobs and places in
// English, Russian and German.
#pragma once

struct WordList {
  const wchar_t* const* words;
  int count;
};

struct NameCulture {
  WordList firstNames;
  WordList middleNames;  // patronymics or second given names; may be shared
  WordList lastNames;
  WordList cities;
  WordList streets;
  WordList states;
  const wchar_t* country;
  const wchar_t* countryCode;  // dialling code without "+"
};

extern const NameCulture kEnglish;
extern const NameCulture kRussian;
extern const NameCulture kGerman;

extern const WordList kCompanies;
extern const WordList kJobTitles;
extern const WordList kDepartments;
extern const WordList kTitles;    // "Mr.", "Dr.", ...
extern const WordList kSuffixes;  // "Jr.", "III", ...
extern const WordList kCategories;
extern const WordList kNoteLines;
extern const WordList kWebHosts;
