// obExtension: the handle of every decoded certificate or CRL extension,
// over an implementation derived from obExtension_imp.
//
// The virtual operations of obExtension_imp keep a fixed order: destructor,
// ExtName, Herror, Fprint, Sprint; EncodeValue follows them. Each kind of
// extension derives its own handle (obBasicConstraint, obKeyUsage, ...) from
// obExtension and its own implementation from obExtension_imp; callers reach
// the typed accessors with dynamic_cast on the handle.
//
// A derived handle owns its implementation as a member, so that making an
// extension while a certificate is decoded costs one allocation, not two;
// obExtension forwards through a pointer to that member.
#ifndef NYCERT_CERTS_EXTENSION_H_
#define NYCERT_CERTS_EXTENSION_H_

#include <cstdio>

#include "nycert/platform/export.h"

class ObStream;
class obAsnBytes;
class obAsnWriteBuf;

class NYCERT_EXPORT obExtension_imp {
 public:
  obExtension_imp() = default;
  obExtension_imp(const obExtension_imp&) = default;
  obExtension_imp& operator=(const obExtension_imp&) = delete;
  virtual ~obExtension_imp() = default;

  // The constant display name of the kind.
  virtual const char* ExtName() const = 0;
  // With the diagnostic gate open, the Sprint text (indent 0) as one message.
  virtual void Herror() const;
  // The Sprint text written to f (standard error when null).
  virtual void Fprint(FILE* f, int indent) const;
  // The printed form; every line begins with indent tabs.
  virtual void Sprint(ObStream* s, int indent) const = 0;
  // Writes the DER of the extension's value (what extnValue holds) in front
  // of b's contents: the octet count, or -1.
  virtual int EncodeValue(obAsnWriteBuf& b) const = 0;
};

class NYCERT_EXPORT obExtension {
 public:
  obExtension(const obExtension&) = delete;
  obExtension& operator=(const obExtension&) = delete;
  virtual ~obExtension() = default;

  // A deep copy with the same dynamic type.
  virtual obExtension* Clone() const = 0;

  const char* ExtName() const;
  void Herror() const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, int indent) const;
  // The DER of the extension's value into out: 0, or -1 (reported).
  int EncodeValue(obAsnBytes& out) const;

 protected:
  // imp is a member of the derived handle; it is not used here before the
  // derived constructor has run.
  explicit obExtension(obExtension_imp& imp) : imp_(&imp) {}

 private:
  obExtension_imp* imp_;
};

#endif  // NYCERT_CERTS_EXTENSION_H_
