#include "nycert/validate/validation_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/names/obdn.h"

namespace {

struct CodeText {
  int code;
  const char* text;
};

const char kCrlNotYetValid[] =
    "CRL is not yet valid. Make sure that the time, daylight saving time and date on your machine are well "
    "configured.";
const char kCrlExpired[] =
    "CRL has expired. Make sure that:\n- The time, daylight saving time and date on your machine are well "
    "configured.\n- The CA has issued and published a valid CRL.";

// Searched in this order.
const CodeText kShortTexts[] = {
    {0, "validate certifcate OK"},
    {-1, "validate certificate async"},
    {-1000, "validate bad input"},
    {-999, "The certificate is not valid yet"},
    {-998, "Certificate expired"},
    {-997, "Unhandled critical extension"},
    {-996, "Certificate issuer is not a CA"},
    {-995,
     "The certificate's path length constraint has been exceeded. Please contact your administrator for an "
     "updated certificate (err -995)"},
    {-994, "Certificate chain is inconsistent "},
    {-993, "Bad certificate signature"},
    {-992, "Wrong certificate key usage"},
    {-991, "Certificate revoked"},
    {-990, "No Valid CRL."},
    {-986, "Could not retrieve CRL."},
    {-985, kCrlNotYetValid},
    {-984, kCrlExpired},
    {-989, "Validation timeout"},
    {-988, "Entrust blocking error"},
    {-987, "Certificate name constraints failed"},
};

constexpr int kFirstLong = -1000;
constexpr int kLastLong = -968;

// Indexed by code + 1000. Null: no fixed text (made from the certificate,
// or none at all).
const char* const kLongTexts[kLastLong - kFirstLong + 1] = {
    "Internal error when handling certificate. ",                                        // -1000
    nullptr,                                                                             // -999
    nullptr,                                                                             // -998
    nullptr,                                                                             // -997
    nullptr,                                                                             // -996
    nullptr,                                                                             // -995
    "Certificate chain is inconsistent. ",                                               // -994
    "Certificate is badly signed. ",                                                     // -993
    "Certificate does not contain the required key usage. ",                             // -992
    "Certificate is revoked. ",                                                          // -991
    "No Valid CRL.",                                                                     // -990
    "Validation timed out.",                                                             // -989
    nullptr,                                                                             // -988
    "Name constraints checking failed.",                                                 // -987
    "Could not retrieve CRL.",                                                           // -986
    kCrlNotYetValid,                                                                     // -985
    kCrlExpired,                                                                         // -984
    "Decoding reply failed.",                                                            // -983
    "Problems connecting to the OCSP server. Make sure the server is up and running.",  // -982
    "OCSP responder returned a 'malformed request' status reply.",                       // -981
    "The OCSP responder returned an 'internal error' status reply.",                     // -980
    "OCSP responder returned a 'try later' status reply.",                               // -979
    "OCSP responder returned a 'signature required' status reply.",                      // -978
    "OCSP responder returned an 'unauthorized' status reply.",                           // -977
    nullptr,                                                                             // -976
    "The status of the checked certificate is unknown.",                                 // -975
    "No URL to address the OCSP request to.",                                            // -974
    "Failed to process the OCSP response.",                                              // -973
    "OCSP response is missing the responder's certificate.",                             // -972
    "OCSP response time obsolete. Response considered unreliable.",                      // -971
    "Internal Error.",                                                                   // -970
    "Filed to post an OCSP request to the OCSP responder.",                              // -969
    "Failed to encode data.",                                                            // -968
};

// The -997 text with the extension is cut to this many characters.
constexpr size_t kExtensionTextMax = 1021;
// The issuer's name in the -996 text is cut to this many characters.
constexpr size_t kIssuerNameMax = 255;

std::string UnknownProblem(int code) {
  char text[48];
  std::snprintf(text, sizeof text, "Unknown problem. rc = %d ", code);
  return text;
}

// The texts that name something of the certificate; cert may be null.
std::string CertificateText(int code, const obCert* cert) {
  switch (code) {
    case obValidationRC_NotYetValid:
      if (!cert) return "Certificate is not yet valid. ";
      return "Certificate will be valid only from " + obLocalTimeText(cert->notBefore());
    case obValidationRC_Expired:
      if (!cert) return "Certificate has expired. ";
      return "Certificate has expired in " + obLocalTimeText(cert->notAfter());
    case obValidationRC_UnhandledCriticalExt: {
      const obAsnOid* oid = cert ? cert->UnhandledCritExt() : nullptr;
      if (!oid) return "Certificate contains an unkown critical extension. ";
      obString dotted = oid->Dotted();
      std::string text = "Certificate contains an unkown critical extension - ";
      if (dotted.getstr()) text += dotted.getstr();
      return text.substr(0, kExtensionTextMax);
    }
    case obValidationRC_IssuerNotCA: {
      const char* issuer = cert && cert->Issuer() ? cert->Issuer()->GetStr() : nullptr;
      if (!issuer) return "Issuer in not a CA. ";
      return "Issuer " + std::string(issuer).substr(0, kIssuerNameMax) + " is not a CA. ";
    }
    case obValidationRC_PathLenExceeded: {
      char text[160];
      std::snprintf(text, sizeof text,
                    "The certificate's path length constraint has been exceeded. Please contact your "
                    "administrator for an updated certificate (err %d)",
                    code);
      return text;
    }
    default:
      return UnknownProblem(code);
  }
}

std::string LongText(obCerts& chain, int code, int index) {
  if (code < kFirstLong || code > kLastLong) return UnknownProblem(code);
  if (const char* fixed = kLongTexts[code - kFirstLong]) return fixed;
  const obCert* cert = index >= 0 && index < chain.Size() ? chain.Get(index) : nullptr;
  return CertificateText(code, cert);
}

}  // namespace

const char* obValidationRC_GetString(int code) {
  for (const CodeText& entry : kShortTexts) {
    if (entry.code == code) return entry.text;
  }
  return "validation general error";
}

int obCert_ValErrToStr(obCerts& chain, int code, int index, char* buffer, int size) {
  if (!buffer || size < 1) return -1;
  std::string text = LongText(chain, code, index);
  size_t n = std::min(text.size(), static_cast<size_t>(size - 1));
  std::memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
  return 0;
}
