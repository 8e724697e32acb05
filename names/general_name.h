// obGeneralName: one X.509 GeneralName.
//
//   GeneralName ::= CHOICE {
//       otherName [0] AnotherName, rfc822Name [1] IA5String, dNSName [2] IA5String,
//       x400Address [3] ORAddress, directoryName [4] Name, ediPartyName [5] EDIPartyName,
//       uniformResourceIdentifier [6] IA5String, iPAddress [7] OCTET STRING,
//       registeredID [8] OBJECT IDENTIFIER }
//
// Other names hold their type and their value as text; e-mail, DNS and URI
// names their text; directory names an obDN; IP addresses their octets.
// x400Address, ediPartyName and registeredID are kept only as their
// encoding, so they convert back unchanged but have no text and never
// compare equal.
#ifndef NYCERT_NAMES_GENERAL_NAME_H_
#define NYCERT_NAMES_GENERAL_NAME_H_

#include <cstdio>
#include <memory>
#include <string>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/export.h"

// The kinds of general names: the GeneralName choice indices.
enum obGNtype {
  obGN_otherName = 0,
  obGN_rfc822Name = 1,
  obGN_dNSName = 2,
  obGN_x400Address = 3,
  obGN_directoryName = 4,
  obGN_ediPartyName = 5,
  obGN_uniformResourceIdentifier = 6,
  obGN_iPAddress = 7,
  obGN_registeredID = 8,
};

class NYCERT_EXPORT obGeneralName_imp {
 public:
  // An other name without type or text.
  obGeneralName_imp();
  // A text name of kind rfc822Name, dNSName or uniformResourceIdentifier;
  // other kinds leave the name empty (reported).
  obGeneralName_imp(obGNtype kind, const char* text, int len);
  // An other name. A type found in the DN keyword table is held as the
  // library's constant for it, so such names compare equal; any other type
  // is held as a private copy, which equals nothing else.
  obGeneralName_imp(const obAsnOid& type, const char* text, int len);
  // A directory name (copied).
  explicit obGeneralName_imp(const obDN& dn);
  // An IPv4 address whose four octets, as stored in memory, are the address
  // in order (network byte order, as in in_addr.s_addr).
  explicit obGeneralName_imp(unsigned int ipv4);
  // An IP address from its octets: 4 (IPv4), 16 (IPv6), or 8 and 32 for an
  // address with its mask; other lengths leave the name empty (reported).
  obGeneralName_imp(const unsigned char* address, int len);
  explicit obGeneralName_imp(const obASN_GeneralName& asn);
  obGeneralName_imp(const obGeneralName_imp& other);
  obGeneralName_imp& operator=(const obGeneralName_imp& other);
  ~obGeneralName_imp();

  // Replaces the name with the generated value: 0, or -1 (reported) leaving it empty.
  int FromAsn(const obASN_GeneralName& asn);
  // The generated value of this name: 0, or -1 (reported).
  int ToAsn(obASN_GeneralName& out) const;

  obGNtype GetType() const { return kind_; }
  // The text form: "<type keyword>: <value>" for other names, the text of
  // e-mail, DNS and URI names, the string form of directory names, the
  // address of IP names, and "" for the kinds kept only as encodings.
  // Owned by the name and valid until it changes.
  const char* GetStr() const;
  // The directory name, or null for other kinds.
  const obDN* GetDN() const { return dn_.get(); }
  // The IPv4 address as given to the constructor; 0 for other names.
  unsigned int GetIP() const;
  // The IP address octets and their count (null and 0 for other names).
  const unsigned char* GetIPAddress(int* len) const;
  // The other name's type identifier, or null.
  const obAsnOid* GetOtherOid() const { return otherType_; }

  // 1 when both have the same kind and: the same text, byte for byte (e-mail,
  // DNS, URI); the very same type object and the same text (other names);
  // equal directory names; the same address octets. x400Address,
  // ediPartyName and registeredID names are never equal, not even to themselves.
  int Equal(const obGeneralName_imp& other) const;
  bool operator==(const obGeneralName_imp& other) const { return Equal(other) != 0; }
  bool operator!=(const obGeneralName_imp& other) const { return Equal(other) == 0; }

  void Herror(const char* title) const;
  // One line: indent tabs, the kind's name, ": " and the text form.
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

 private:
  void Clear();
  void SetOtherType(const obAsnOid& type);
  int FromAnotherName(const obASN_AnotherName& other);
  int FromIP(const unsigned char* octets, unsigned long len);
  int ToAnotherName(obASN_AnotherName& out) const;

  obGNtype kind_ = obGN_otherName;
  std::unique_ptr<obDN> dn_;
  unsigned char ip_[32] = {};
  int ipLen_ = 0;
  std::string text_;
  const obAsnOid* otherType_ = nullptr;  // a library constant, or ownedType_
  std::unique_ptr<obAsnOid> ownedType_;
  // Kept encodings: the whole GeneralName of x400Address, ediPartyName and
  // registeredID names, and the decoded value of an other name.
  obAsnBytes raw_;
  // The text form of other names and IP addresses, made on first use.
  mutable std::string str_;
  mutable bool strMade_ = false;
};

// The handle: every member forwards to the implementation it owns.
class NYCERT_EXPORT obGeneralName {
 public:
  obGeneralName();
  obGeneralName(obGNtype kind, const char* text, int len);
  obGeneralName(const obAsnOid& type, const char* text, int len);
  explicit obGeneralName(const obDN& dn);
  explicit obGeneralName(unsigned int ipv4);
  obGeneralName(const unsigned char* address, int len);
  explicit obGeneralName(const obASN_GeneralName& asn);
  obGeneralName(const obGeneralName& other);
  obGeneralName& operator=(const obGeneralName& other);
  ~obGeneralName();

  int FromAsn(const obASN_GeneralName& asn);
  int ToAsn(obASN_GeneralName& out) const;
  obGNtype GetType() const;
  const char* GetStr() const;
  const obDN* GetDN() const;
  unsigned int GetIP() const;
  const unsigned char* GetIPAddress(int* len) const;
  const obAsnOid* GetOtherOid() const;
  int Equal(const obGeneralName& other) const;
  bool operator==(const obGeneralName& other) const;
  bool operator!=(const obGeneralName& other) const;
  void Herror(const char* title) const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

 private:
  obGeneralName_imp* imp_;
};

#endif  // NYCERT_NAMES_GENERAL_NAME_H_
