#include <wchar.h>

#include "storage/props/PropsStore.h"

namespace {

// Indexed by PropsKind.
const wchar_t* const kKindNames[] = {L"phone",  L"email", L"messenger", L"webpage", L"address",
                                     L"people", L"date",  L"link",      L"image",   L"otherprop"};

}  // namespace

BOOL PropsStore::KindFromName(const wchar_t* text, int& kind) {
  if (text == nullptr) return FALSE;
  Str lower(text);
  lower.MakeLower();
  for (int i = 0; i < static_cast<int>(sizeof kKindNames / sizeof kKindNames[0]); ++i) {
    if (wcscmp(lower, kKindNames[i]) == 0) {
      kind = i;
      return TRUE;
    }
  }
  return FALSE;
}
