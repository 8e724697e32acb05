// obCRL: a decoded X.509 certificate revocation list, and obCRLs, a list of
// them.
//
// A CRL is decoded once, when it is made: the fields are located in the
// kept DER, the issuer, update times and handled extensions are built, and
// the revoked entries go into a hash table keyed by serial number, so that a
// revocation test is one look-up. Test OK() afterwards; Error() says what
// failed. The object is reference counted (obSaveSigned, obFreeSigned) and
// immutable after construction except for its use marks, which the CRL
// cache evicts by.
#ifndef NYCERT_CRL_CRL_H_
#define NYCERT_CRL_CRL_H_

#include <cstdint>
#include <cstdio>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/signed.h"
#include "nycert/crl/issuing_dp.h"
#include "nycert/platform/export.h"

struct HashTable;
class ObStream;
class obAsnInt;
class obAsnOid;
class obCRL_imp;
class obDN;
class obExtension;
class obExtensionsList;
class obGeneralNames;

// One revoked certificate: a view of its entry in the CRL's DER, read when
// asked. Sixteen octets, so that the entries of a large CRL stay compact.
class NYCERT_EXPORT obCRLEntry {
 public:
  // serial is the INTEGER content; revocationDate the whole Time element
  // that follows it in the entry.
  obCRLEntry(obDerSpan serial, obDerSpan revocationDate)
      : serial_(serial.data),
        serialLen_(static_cast<uint32_t>(serial.size)),
        dateLen_(static_cast<uint32_t>(revocationDate.size)) {}

  // The serial number's INTEGER content octets as the CRL writes them.
  obDerSpan Serial() const { return {serial_, serialLen_}; }
  // The revocation date in seconds since 1970: 0, or -1 (reported) when it
  // is not a valid time, which a decoded CRL never holds.
  int RevocationDate(long* when) const;

 private:
  const unsigned char* serial_;
  uint32_t serialLen_;
  uint32_t dateLen_;  // the Time element starts where the serial ends
};

class NYCERT_EXPORT obCRL : public obSigned {
 public:
  obCRL(const unsigned char* buf, unsigned int len);
  obCRL(const obCRL&) = delete;
  obCRL& operator=(const obCRL&) = delete;
  ~obCRL() override;

  obDN* Issuer() const;
  // Seconds since 1970; nextUpdate() is 0 when the CRL has none.
  long thisUpdate() const;
  long nextUpdate() const;
  // The number of revoked entries.
  int GetSize() const;

  // 1 when the certificate's serial (of any length) is listed, else 0 (also
  // for a null certificate).
  int IsEntryExist(const obCert* cert) const;
  // The same for a serial given as an integer.
  int IsEntryExist(int serial) const;
  // 0 with *when set to the revocation date, or -1 when not listed.
  int revDate(const obCert* cert, long* when) const;
  int revDate(int serial, long* when) const;

  const obExtensionsList& Extensions() const;
  obExtension* GetExt(const obAsnOid* oid) const;
  int IsCritical(const obAsnOid* oid) const;
  // The issuing distribution point, or null.
  obIssuingDP* IssuingDP() const;
  // Its distribution-point names, or null without one.
  const obGeneralNames* DistPoints() const;
  // The certificates the CRL covers (all of them without an issuing
  // distribution point).
  obCRL_contents Type() const;
  // 1 when this is the CRL to check cert against: the kind fits certIsCA,
  // the issuers are equal, and the distribution-point names (when the CRL
  // has any) match the certificate's. Else 0.
  int DistPointMatches(obCert& cert, int certIsCA) const;
  // Checks the CRL's signature with the key of issuer (obVfy_OK when it
  // verifies). The answer for the last issuer key asked about is remembered
  // by its SubjectPublicKeyInfo, so a CRL kept in a cache is verified once.
  obVfy_status VerifyWith(obCert& issuer) const;

  // Use marks: SetUsed counts one use and stamps the time, UnSetUsed clears both.
  int GetUsed() const;
  void SetUsed();
  void UnSetUsed();
  long LastUsed() const;

  // Span into the kept DER: the TBSCertList.
  obDerSpan TbsCertList() const;

  void Herror(obCertHerrorDetails details) const;
  // To f (standard error when null), every line indented by indent tabs.
  void Fprint(FILE* f, obCertHerrorDetails details, int indent) const;
  // Detail 1 prints the issuer, 2 adds the times and extensions, 3 the
  // revoked entries.
  void Sprint(ObStream* s, obCertHerrorDetails details, int indent) const;

 protected:
  // The serial table: keys are serials' content octets in their shortest
  // two's-complement form, values obCRLEntry*. Null without revoked entries.
  HashTable* GetTable() const;
  // The entry of a serial, or null; an obAsnInt is read as its DER content.
  obCRLEntry* GetEntry(const obAsnInt* serial) const;
  // The entry of a serial given by INTEGER content octets, or null.
  obCRLEntry* GetEntry(obDerSpan serialContent) const;

 private:
  explicit obCRL(obCRL_imp* imp);
  void Decode();

  obCRL_imp* imp_;
};

class NYCERT_EXPORT obCRLs : public obSignedObjects {
 public:
  explicit obCRLs(int n = 0);
  obCRLs(const obCRLs& other);
  ~obCRLs() override;

  // Add and Set take the caller's reference over; Get lends.
  void Add(obCRL* crl) { AddSigned(crl); }
  obCRL* Get(int i) const { return static_cast<obCRL*>(GetSigned(i)); }
  int Set(int i, obCRL* crl) { return SetSigned(i, crl); }

  void Herror(const char* title, obCertHerrorDetails details) const;
  void Fprint(FILE* f, const char* title, obCertHerrorDetails details, int indent) const;
  void Sprint(ObStream* s, const char* title, obCertHerrorDetails details, int indent) const;
};

// Decode a DER CRL and print it to a stream buffer / a FILE (standard error
// when null).
NYCERT_EXPORT void obCert_Sprint_CRLbuf(ObStream* s, const unsigned char* buf, int len, obCertHerrorDetails details, int indent);
NYCERT_EXPORT void obCert_Fprint_CRLbuf(FILE* f, const unsigned char* buf, int len, obCertHerrorDetails details, int indent);

#endif  // NYCERT_CRL_CRL_H_
