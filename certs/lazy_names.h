// obLazyNames: a general-name list that an object makes from its own
// encoding the first time a reader asks for it.
#ifndef NYCERT_CERTS_LAZY_NAMES_H_
#define NYCERT_CERTS_LAZY_NAMES_H_

#include <atomic>
#include <memory>

#include "nycert/names/general_names.h"

// Readers may race: each builds its own list and the first to publish wins.
class obLazyNames {
 public:
  obLazyNames() = default;
  obLazyNames(const obLazyNames&) = delete;
  obLazyNames& operator=(const obLazyNames&) = delete;
  ~obLazyNames() { delete names_.load(std::memory_order_acquire); }

  // The list, filled by build(obGeneralNames&) on the first call.
  template <class Build>
  obGeneralNames* Get(const Build& build) const {
    obGeneralNames* have = names_.load(std::memory_order_acquire);
    if (have) return have;
    std::unique_ptr<obGeneralNames> made(new obGeneralNames);
    build(*made);
    if (names_.compare_exchange_strong(have, made.get(), std::memory_order_acq_rel, std::memory_order_acquire))
      return made.release();
    return have;
  }
  // The list if it was made, else null.
  const obGeneralNames* Peek() const { return names_.load(std::memory_order_acquire); }
  // Installs a list before any reader can see the owner; takes names over.
  void Set(obGeneralNames* names) { delete names_.exchange(names, std::memory_order_acq_rel); }

 private:
  mutable std::atomic<obGeneralNames*> names_{nullptr};
};

#endif  // NYCERT_CERTS_LAZY_NAMES_H_
