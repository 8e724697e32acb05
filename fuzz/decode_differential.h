// Certificate and CRL decoding done twice: by the span readers behind obCert
// and obCRL, and by the generated obASN_Certificate and obASN_CertificateList
// decoders. Both must accept the same encodings and read the same fields;
// shared by the differential fuzz target and its test.
#ifndef NYCERT_FUZZ_DECODE_DIFFERENTIAL_H_
#define NYCERT_FUZZ_DECODE_DIFFERENTIAL_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/names/obdn.h"

namespace decode_differential {

// Whether the span reader took the object's structure: it decoded, or
// failed only on what comes after the structure was read (a version beyond
// v3, a key of a kind not supported or that does not import).
inline bool StructureRead(const obSigned& object) {
  if (object.OK()) return true;
  const char* error = object.Error().getstr();
  for (const char* later : {"Unsupported version", "Not RSA key", "DSA key not supported", "Error decoding key",
                            "EC key without curve", "EC key without named curve",
                            "Explicit EC curve parameters not supported", "Unsupported EC curve",
                            "Compressed EC point not supported", "Bad EC point", "Wrong Ed25519 key length",
                            "Ed25519 key with parameters"})
    if (error && std::strcmp(error, later) == 0) return true;
  return false;
}

// The difference in acceptance between the tree decoder and the span reader
// of object ("" when both accept or both refuse).
inline std::string AcceptanceDifference(bool treeAccepts, const obSigned& object) {
  if (treeAccepts == StructureRead(object)) return "";
  if (!treeAccepts) return "only the span reader accepts";
  const char* error = object.Error().getstr();
  return std::string("only the tree decoder accepts: ") + (error ? error : "");
}

inline bool SameName(const obDN* mine, const obASN_Name& tree) {
  if (!mine || !tree.rdnSequence) return false;
  obDN theirs(*tree.rdnSequence);
  return mine->Count() == theirs.Count() && mine->Equal(theirs);
}

inline bool SameTime(long mine, const obASN_Time& tree) {
  const obAsnTime* time = tree.utcTime ? static_cast<const obAsnTime*>(tree.utcTime.get()) : tree.generalTime.get();
  long seconds = 0;
  return time && time->GetTime(&seconds) == 0 && seconds == mine;
}

// "" when both readers agree on data as a certificate, else the difference.
inline std::string CompareCert(const uint8_t* data, size_t size) {
  obCert* cert = new obCert(data, static_cast<unsigned>(size));
  obASN_Certificate tree;
  bool treeAccepts = obAsnDecode(tree, data, size) == 0;
  std::string difference = AcceptanceDifference(treeAccepts, *cert);
  if (difference.empty() && treeAccepts) {
    const obASN_TBSCertificate& tbs = tree.tbsCertificate;
    int version = tbs.versionOrDefault().Value();
    if (cert->Version() != (version >= 0 && version <= 2 ? version + 1 : 0)) difference = "version";
    else if (!cert->SerialNum() || !(*cert->SerialNum() == tbs.serialNumber)) difference = "serial";
    else if (!SameName(cert->Issuer(), tbs.issuer)) difference = "issuer";
    else if (!SameName(cert->Subject(), tbs.subject)) difference = "subject";
    else if (!SameTime(cert->notBefore(), tbs.validity.notBefore)) difference = "notBefore";
    else if (!SameTime(cert->notAfter(), tbs.validity.notAfter)) difference = "notAfter";
  }
  obFreeSigned(cert);
  return difference;
}

// The same for data as a CRL.
inline std::string CompareCrl(const uint8_t* data, size_t size) {
  obCRL* crl = new obCRL(data, static_cast<unsigned>(size));
  obASN_CertificateList tree;
  bool treeAccepts = obAsnDecode(tree, data, size) == 0;
  std::string difference = AcceptanceDifference(treeAccepts, *crl);
  if (difference.empty() && treeAccepts) {
    const obASN_TBSCertList& tbs = tree.tbsCertList;
    size_t listed = tbs.revokedCertificates ? tbs.revokedCertificates->size() : 0;
    if (!SameName(crl->Issuer(), tbs.issuer)) difference = "issuer";
    else if (!SameTime(crl->thisUpdate(), tbs.thisUpdate)) difference = "thisUpdate";
    else if (tbs.nextUpdate ? !SameTime(crl->nextUpdate(), *tbs.nextUpdate) : crl->nextUpdate() != 0)
      difference = "nextUpdate";
    else if (static_cast<size_t>(crl->GetSize()) != listed) difference = "revoked count";
  }
  obFreeSigned(crl);
  return difference;
}

}  // namespace decode_differential

#endif  // NYCERT_FUZZ_DECODE_DIFFERENTIAL_H_
