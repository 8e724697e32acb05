// obDhParams: the modulus, generator and private-key length of one
// Diffie-Hellman group.
#ifndef NYCERT_KEYS_DH_PARAMS_H_
#define NYCERT_KEYS_DH_PARAMS_H_

#include <cstdio>
#include <memory>

#include "nycert/platform/export.h"

class ObStream;
class obDhParams_imp;
struct obDhGroupDef;

class NYCERT_EXPORT obDhParams {
 public:
  // Copies of the given values; a null or empty modulus or generator, or a
  // private length below 1 bit, gives parameters that are not OK.
  obDhParams(const char* name, const unsigned char* mod, int modLen, const unsigned char* gen, int genLen,
             int privBits);
  // The parameters of a built-in group.
  explicit obDhParams(const obDhGroupDef& group);
  // Copies share the same immutable values.
  obDhParams(const obDhParams&) = default;
  obDhParams& operator=(const obDhParams&) = default;
  ~obDhParams();

  const unsigned char* Mod() const;
  int ModLen() const;
  const unsigned char* Gen() const;
  int GenLen() const;
  int PrivBits() const;
  // Private length in bytes, rounded up.
  int PrivBytes() const;
  int OK() const;
  const char* Name() const;

  void Herror() const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, int indent) const;

 private:
  std::shared_ptr<const obDhParams_imp> imp_;
};

#endif  // NYCERT_KEYS_DH_PARAMS_H_
