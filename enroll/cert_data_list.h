// Certificate data lists: a small catalogue of issued certificates, one
// entry per certificate with its serial number, its subject in the string
// form of names, and a kind, exchanged as DER:
//
//   CertDataList ::= SEQUENCE OF CertDataElm
//   CertDataElm ::= SEQUENCE { serialNumber INTEGER, dn Name, certType CertType }
//   CertType ::= INTEGER
#ifndef NYCERT_ENROLL_CERT_DATA_LIST_H_
#define NYCERT_ENROLL_CERT_DATA_LIST_H_

#include <cstdio>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/platform/export.h"

class ObStream;
class obASN_CertDataElm;
class CertDataElm_imp;
class CertDataList_imp;

// The kind of a listed certificate; the parties agree on the values beyond
// "unknown".
enum certType : int { certType_Unknown = -1 };

class NYCERT_EXPORT CertDataElm {
 public:
  // serial and type are -1 when unknown.
  CertDataElm(int serial, const char* dn, certType type);
  // Serial and type of more than four octets read as -1.
  explicit CertDataElm(const obASN_CertDataElm& asn);
  // Copies the entry, not its place in a list (the copy's Next is null).
  CertDataElm(const CertDataElm& other);
  CertDataElm& operator=(const CertDataElm&) = delete;
  ~CertDataElm();

  int SerialNumber() const;
  const obString& DN() const;
  certType CertType() const;
  CertDataElm* Next() const;
  void SetNext(CertDataElm* next);

  void Herror() const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, int indent) const;

 private:
  CertDataElm_imp* imp_;
};

class NYCERT_EXPORT CertDataList {
 public:
  // An empty list, OK.
  CertDataList();
  // Decodes der; a list that does not decode is not OK.
  explicit CertDataList(const nyBinBuf& der);
  CertDataList(const CertDataList& other);
  CertDataList& operator=(const CertDataList& other);
  ~CertDataList();

  // Appends a copy at the tail: 0, or -1.
  int AddCertData(const CertDataElm& elm);
  int Count() const;
  // Element i in insertion order; null when the list is not OK or i is at
  // or beyond the count. A negative i gives the head, on purpose.
  CertDataElm* GetElm(int i) const;
  // After InitCurr, each call gives the next element, then null.
  void InitCurr();
  CertDataElm* GetCurrAndGoNext();
  int OK() const;

  // 0, or -1 (a list that is not OK, or a DN string that is not a name).
  int Encode(nyBinBuf& out) const;
  // Replaces the elements with those of der: 0, or -1 (the list is left
  // unchanged when der does not decode).
  int Decode(const nyBinBuf& der);

 private:
  CertDataList_imp* imp_;
};

#endif  // NYCERT_ENROLL_CERT_DATA_LIST_H_
