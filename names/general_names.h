// obGeneralNames: a list of general names.
//
//   GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
//
// The list owns its members; a slot may be empty (Set with null).
#ifndef NYCERT_NAMES_GENERAL_NAMES_H_
#define NYCERT_NAMES_GENERAL_NAMES_H_

#include <cstdio>
#include <vector>

#include "nycert/names/general_name.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obGeneralNames_imp {
 public:
  obGeneralNames_imp();
  // The convertible members of the generated list; others are left out (reported).
  explicit obGeneralNames_imp(const obASN_GeneralNames& asn);
  obGeneralNames_imp(const obGeneralNames_imp& other);
  obGeneralNames_imp& operator=(const obGeneralNames_imp& other);
  ~obGeneralNames_imp();

  // Takes over name and appends it: 0, or -1 for null.
  int Add(obGeneralName* name);
  // Appends name only when no member equals it: 1 when added, 0 when not
  // (this form takes over name and releases it then), -1 for null.
  int Add_IfNotExist(obGeneralName* name);
  // As above with a copy of name: 1 when added, else 0.
  int Add_IfNotExist(const obGeneralName& name);
  // The number of slots, empty ones included.
  int Count() const { return static_cast<int>(names_.size()); }
  // The member at index, or null for an empty slot or an index out of range.
  obGeneralName* Get(int index) const;
  // Replaces the member at index, taking over name (null empties the slot):
  // 0, or -1 for an index out of range (name is then not taken).
  int Set(int index, obGeneralName* name);
  // With a kind other than otherName, the first member of that kind; with
  // otherName, the first other name whose type equals otherType by value.
  // Null when nothing is found or kind is otherName without otherType.
  obGeneralName* GetFirstOfType(obGNtype kind, const obAsnOid* otherType) const;
  // 1 when the list is not empty, name is given and some member equals it.
  int Match(const obGeneralName* name) const;
  // 1 when both lists are not empty and some member of this one matches other.
  int Match(const obGeneralNames_imp& other) const;

  // The generated value of the list, empty slots left out: 0, or -1 (reported).
  int ToAsn(obASN_GeneralNames& out) const;
  // The DER of the GeneralNames in a new block for the caller to release
  // with delete[]: 0, or -1 (reported).
  int DerEncode(unsigned char** out, int* len) const;

  void Herror(const char* title) const;
  // The title line (when given), then one line per member one tab deeper.
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

 private:
  void Release();

  std::vector<obGeneralName*> names_;
};

// The handle: every member forwards to the implementation it owns.
class NYCERT_EXPORT obGeneralNames {
 public:
  obGeneralNames();
  explicit obGeneralNames(const obASN_GeneralNames& asn);
  obGeneralNames(const obGeneralNames& other);
  obGeneralNames& operator=(const obGeneralNames& other);
  ~obGeneralNames();

  int Add(obGeneralName* name);
  int Add_IfNotExist(obGeneralName* name);
  int Add_IfNotExist(const obGeneralName& name);
  int Count() const;
  obGeneralName* Get(int index) const;
  int Set(int index, obGeneralName* name);
  obGeneralName* GetFirstOfType(obGNtype kind, const obAsnOid* otherType) const;
  int Match(const obGeneralName* name) const;
  int Match(const obGeneralNames& other) const;
  int ToAsn(obASN_GeneralNames& out) const;
  int DerEncode(unsigned char** out, int* len) const;
  void Herror(const char* title) const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

 private:
  obGeneralNames_imp* imp_;
};

#endif  // NYCERT_NAMES_GENERAL_NAMES_H_
