// obset: an owned set of named attributes, the export form of keys.
//
// Each attribute holds either a byte string or a nested set (so "private"
// can hold several parts). Names are unique and case-sensitive; attributes
// keep the order in which their names were first put. Values are wiped when
// the set is released, since they may be private key parts.
#ifndef NYCERT_PLATFORM_OBSET_H_
#define NYCERT_PLATFORM_OBSET_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "nycert/platform/export.h"

class obset;

// The octets of one attribute value.
using ObBytes = std::vector<unsigned char>;

struct NYCERT_EXPORT ObAtom {
  std::string name;
  ObBytes value;                 // empty when the attribute is a nested set
  std::unique_ptr<obset> nested;  // null when the attribute is a value
};

class NYCERT_EXPORT obset {
 public:
  using const_iterator = std::vector<ObAtom>::const_iterator;

  obset() = default;
  obset(const obset&) = delete;
  obset& operator=(const obset&) = delete;
  ~obset();

  // Sets name to a copy of n bytes at p, replacing what name held: 0, or -1
  // for a null or empty name or a null p with n above 0.
  int Put(const char* name, const unsigned char* p, unsigned n);
  int Put(const char* name, const ObBytes& value) { return Put(name, value.data(), static_cast<unsigned>(value.size())); }
  // Sets name to the nested set, which this set takes over even when the
  // call fails: 0, or -1 for a bad name or a null set. Refuses the set itself
  // (-1, not taken over).
  int PutSet(const char* name, obset* nested);

  // The attribute called name, or null.
  const ObAtom* Get(const char* name) const;
  // The value of name, or null when name is absent or holds a nested set.
  const ObBytes* GetValue(const char* name) const;
  // The nested set under name, or null when name is absent or holds a value.
  const obset* GetSet(const char* name) const;

  size_t Count() const { return atoms_.size(); }
  const_iterator begin() const { return atoms_.begin(); }
  const_iterator end() const { return atoms_.end(); }

  // Overwrites every value, nested ones included, with zeros in place.
  void Wipe();

 private:
  ObAtom* Find(const char* name);
  // The attribute to overwrite under name, wiped and emptied (added when absent).
  ObAtom* Slot(const char* name);

  std::vector<ObAtom> atoms_;
};

// A new empty set; obset_free wipes and frees one (null is ignored).
NYCERT_EXPORT obset* obset_new();
NYCERT_EXPORT void obset_free(obset* set);

#endif  // NYCERT_PLATFORM_OBSET_H_
