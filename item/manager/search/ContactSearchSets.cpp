// Small pieces the searches share: id sets, digits, and the cancel poll.
#include "manager/core/ContactManager.h"

#include <wchar.h>

#include "foundation/ShellSort.h"

BOOL ContactManager::IsCancelled(SearchCancel* cancel) {
  if (cancel == nullptr || !cancel->IsCancelled()) return FALSE;
  SetLastError(ERROR_CANCELLED);
  return TRUE;
}

BOOL ContactManager::IsAllDigits(const Str& text) {
  if (text.IsEmpty()) return FALSE;
  const wchar_t* chars = text;
  for (int k = 0; k < text.GetLength(); ++k) {
    // The platform's digit class, which holds more than 0 to 9.
    if (!iswctype(chars[k], _DIGIT)) return FALSE;
  }
  return TRUE;
}

Str ContactManager::DigitsOf(const wchar_t* text) {
  Str digits;
  if (text == nullptr) return digits;
  for (const wchar_t* at = text; *at != 0; ++at) {
    if (*at >= L'0' && *at <= L'9') digits += *at;
  }
  return digits;
}

void ContactManager::KeepListed(const Array<CEOID>& list, const Array<CEOID>& set, Array<CEOID>& out) {
  out.RemoveAll();
  for (int k = 0; k < list.GetSize(); ++k) {
    if (ContainsId(set, static_cast<uint32_t>(list[k]))) out.Add(list[k]);
  }
}
