// The ranking of a search's result by name, through the searches' aids with this manager's database
// as the source of the names the cache can't tell.
#include "manager/core/ContactManager.h"

namespace {

// The search's cancel as the ranking asks it.
class CancelOfSearch : public RankingCancel {
 public:
  explicit CancelOfSearch(SearchCancel* searchCancel) : cancel(searchCancel) {}
  bool Cancelled() override {
    if (cancel == nullptr || !cancel->IsCancelled()) return false;
    SetLastError(ERROR_CANCELLED);
    return true;
  }

 private:
  SearchCancel* cancel;
};

}  // namespace

bool ContactManager::ReadNames(CEOID oid, Str& last, Str& first, Str& company) {
  return ReadNameFields(oid, last, first, company);
}

BOOL ContactManager::ReorderByName(const Str& query, BOOL keypad, Array<CEOID>& out, SearchCancel* cancel,
                                   const Array<int32_t>* at) {
  CancelOfSearch asked(cancel);
  return aids.Rank(query, keypad, searchAids, *this, &asked, out, at);
}
