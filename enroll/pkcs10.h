// PKCS#10 certification requests: a subject, its public key, optionally the
// extensions it asks for (an extensionRequest attribute) and a challenge
// password, signed with the subject's private key.
#ifndef NYCERT_ENROLL_PKCS10_H_
#define NYCERT_ENROLL_PKCS10_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class obCertTemplate;
class obDN;
class obExtGN;
class obExtensionsList;
class obPubKey;

// Builds, signs over md and DER-encodes a request for subject and key (with
// its private part) into out. extensions and password (zero-terminated,
// written as a PrintableString without checking its characters) may be
// null; an empty extension list adds no extensionRequest attribute. The
// extension request comes first, the challenge password second. 0, or -1
// with out untouched.
NYCERT_EXPORT int obEncode_full_pkcs10_with_password(obPubKey& key, const obDN& subject, nyBinBuf& out,
                                                     const obExtensionsList* extensions, const char* password,
                                                     ob_md_type md);
// No password, SHA-1.
NYCERT_EXPORT int obEncode_full_pkcs10(obPubKey& key, const obDN& subject, nyBinBuf& out,
                                       const obExtensionsList* extensions);
// One general-names extension (subject alternative names, say) or none; no
// password, SHA-1.
NYCERT_EXPORT int obEncode_pkcs10_with_extensions(obPubKey& key, const obDN& subject, nyBinBuf& out,
                                                  const obExtGN* extension);
NYCERT_EXPORT int obEncode_pkcs10(obPubKey& key, const obDN& subject, nyBinBuf& out);

// Decodes request into out (cleared first: subject, key, the requested
// extensions the library has classes for), copies the last challenge
// password into password when it is not null, and verifies the signature
// with the request's own key. 0 when the signature holds; -1 when it does
// not or the request cannot be read (out may then be partly filled).
NYCERT_EXPORT int obDecode_full_pkcs10_with_password(const nyBinBuf& request, obCertTemplate& out,
                                                     nyBinBuf* password);

#endif  // NYCERT_ENROLL_PKCS10_H_
