// obPKNamedObj: a key-store object with a name, a purpose word and an
// identifier; the base of root CAs and certified keys.
//
// The name and identifier are copied. Either may be absent (a null name, an
// identifier of length 0), which is not the same as an empty name.
#ifndef NYCERT_KEYSTORE_PK_NAMED_OBJ_H_
#define NYCERT_KEYSTORE_PK_NAMED_OBJ_H_

#include <optional>
#include <string>
#include <vector>

#include "nycert/keys/pkobj.h"
#include "nycert/platform/export.h"

class ObStream;
class obDN;

// Bits of the purpose word that the library reads.
enum obPKPurpose : int {
  // The entry is dropped when its key holder is normalised (obKeyHolder_Sort).
  obPKPurpose_Transient = 0x100,
};

class NYCERT_EXPORT obPKNamedObj_imp : public obPKobj_imp {
 public:
  obPKNamedObj_imp(const char* name, int purpose, const unsigned char* id, int idLen);
  obPKNamedObj_imp(const obPKNamedObj_imp&) = delete;
  obPKNamedObj_imp& operator=(const obPKNamedObj_imp&) = delete;
  ~obPKNamedObj_imp() override;

  const char* Name() const { return name_ ? name_->c_str() : nullptr; }
  int Purpose() const { return purpose_; }
  // Null when there is no identifier.
  const unsigned char* Id() const { return id_.empty() ? nullptr : id_.data(); }
  int IdLen() const { return static_cast<int>(id_.size()); }
  // The name the object stands for; a plain named object has none.
  virtual obDN* DN() const;
  virtual void Sprint(ObStream* s, int indent) const;

 protected:
  // "<tabs><kind> "<name>": purpose 0x.., id <hex>\n" and the DN line.
  void SprintHeader(ObStream* s, const char* kind, int indent) const;

 private:
  std::optional<std::string> name_;
  int purpose_;
  std::vector<unsigned char> id_;
};

class NYCERT_EXPORT obPKNamedObj : public obPKobj {
 public:
  obPKNamedObj(const char* name, int purpose, const unsigned char* id, int idLen);
  obPKNamedObj(const obPKNamedObj&) = delete;
  obPKNamedObj& operator=(const obPKNamedObj&) = delete;
  ~obPKNamedObj() override;

  const char* Name() const { return imp_->Name(); }
  int Purpose() const { return imp_->Purpose(); }
  const unsigned char* Id() const { return imp_->Id(); }
  int IdLen() const { return imp_->IdLen(); }
  // Computed by the kind of object: see obRootCA and obCertifiedKey.
  obDN* DN() const { return imp_->DN(); }

  void Herror() const;
  void Sprint(ObStream* s, int indent) const { imp_->Sprint(s, indent); }

 protected:
  // Takes over imp, made by a derived class.
  explicit obPKNamedObj(obPKNamedObj_imp* imp) : obPKobj(imp), imp_(imp) {}

 private:
  obPKNamedObj_imp* imp_;
};

#endif  // NYCERT_KEYSTORE_PK_NAMED_OBJ_H_
