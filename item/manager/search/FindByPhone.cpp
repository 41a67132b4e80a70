// The lookup of a caller: the contacts that have a number, found by the number's last digits.
#include "manager/core/ContactManager.h"

#include "storage/index/ContactFeed.h"

namespace {

// Numbers of this many digits or more are compared by their tails; shorter ones whole.
const int kTailCompareFrom = 6;
// The longest tail of a stored number that is compared.
const int kTailDigits = 7;

// Whether the digits of a stored number match the digits of the number asked for; `matched` gets
// what was compared.
bool PhoneMatches(const Str& phone, const Str& number, Str& matched) {
  if (number.GetLength() < kTailCompareFrom) {
    matched = phone;
    return Str::IsEqual(phone, number);
  }
  // A tail longer than the number can't match, since the lengths differ.
  matched = phone.GetLength() > kTailDigits ? phone.Right(kTailDigits) : phone;
  if (matched.GetLength() > number.GetLength()) return false;
  return Str::IsEqual(matched, number.Right(matched.GetLength()));
}

}  // namespace

int ContactManager::FindByPhone(const Str& number, Array<CEOID>& ids, Array<Str>* numbers, int minDigits,
                                DWORD timeoutMs) {
  ids.RemoveAll();
  if (numbers != nullptr) numbers->RemoveAll();
  ApplyDueChanges();
  const DWORD start = GetTickCount();
  const Str digits = DigitsOf(number);
  if (digits.IsEmpty()) return 0;

  // The word tree holds every number from its last digit on, behind "~": the end of the number is a
  // prefix. Without a hit the number's first digit is given up, one at a time.
  Str query = digits;
  query += kNumberEndMark;
  query.MakeReverse();
  const CategoryFilter everyone;
  Array<CEOID> candidates;
  Array<CEOID> match;
  for (;;) {
    BOOL handled = FALSE;
    if (!OrderedMatch(query, FALSE, SortKindName, everyone, candidates, handled)) return 0;
    if (!handled &&
        (!TextMatch(query, match) || !PlainOrder(FALSE, match, SortKindName, everyone, candidates)))
      return 0;
    if (candidates.GetSize() > 0) break;
    query = query.Left(query.GetLength() - 1);
    if (query.IsEmpty() || query.GetLength() <= minDigits) break;
    if (timeoutMs != 0 && GetTickCount() - start > timeoutMs) break;
  }
  if (candidates.GetSize() == 0) return 0;

  // Contacts of the SIM card come behind the others.
  Array<CEOID> ordered;
  Array<CEOID> sim;
  for (int k = 0; k < candidates.GetSize(); ++k) {
    if (IsSimContact(candidates[k]))
      sim.Add(candidates[k]);
    else
      ordered.Add(candidates[k]);
  }
  ordered.Append(sim);

  Array<Str> phones;
  Str matched;
  for (int k = 0; k < ordered.GetSize(); ++k) {
    if (!ReadPhoneDigits(ordered[k], phones)) continue;
    for (int p = 0; p < phones.GetSize(); ++p) {
      if (!PhoneMatches(phones[p], digits, matched)) continue;
      ids.Add(ordered[k]);
      if (numbers != nullptr) numbers->Add(matched);
      break;
    }
  }
  return ids.GetSize();
}
