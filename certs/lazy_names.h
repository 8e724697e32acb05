// obLazyNames: a general-name list that an object makes from its own
// encoding the first time a reader asks for it.
#ifndef NYCERT_CERTS_LAZY_NAMES_H_
#define NYCERT_CERTS_LAZY_NAMES_H_

#include <memory>

#include "nycert/names/general_names.h"
#include "nycert/platform/export.h"
#include "nycert/platform/publish_once.h"

// Readers may race: each builds its own list and the first to publish wins.
class NYCERT_EXPORT obLazyNames {
 public:
  obLazyNames() = default;
  obLazyNames(const obLazyNames&) = delete;
  obLazyNames& operator=(const obLazyNames&) = delete;

  // The list, filled by build(obGeneralNames&) on the first call.
  template <class Build>
  obGeneralNames* Get(const Build& build) const {
    return names_.Get([&] {
      std::unique_ptr<obGeneralNames> made(new obGeneralNames);
      build(*made);
      return made;
    });
  }
  // The list if it was made, else null.
  const obGeneralNames* Peek() const { return names_.Peek(); }
  // Installs a list before any reader can see the owner; takes names over.
  void Set(obGeneralNames* names) { names_.Reset(names); }

 private:
  obPublishOnce<obGeneralNames> names_;
};

#endif  // NYCERT_CERTS_LAZY_NAMES_H_
