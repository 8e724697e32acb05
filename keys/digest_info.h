// The digest algorithms RSA signatures name, and the DigestInfo they carry.
//
//   DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
//
// The digest algorithm is written with NULL parameters. Nothing here hashes:
// digests are taken as given.
#ifndef NYCERT_KEYS_DIGEST_INFO_H_
#define NYCERT_KEYS_DIGEST_INFO_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class obAsnOid;

// The object identifier of md, or null when the table has no row for it.
NYCERT_EXPORT const obAsnOid* obDigestOid(ob_md_type md);
// The digest type an identifier names; ob_md_unknown when it names none.
NYCERT_EXPORT ob_md_type obDigestType(const obAsnOid& oid);
// The length of md's digest in octets (at most kObMaxDigestLen), or -1.
NYCERT_EXPORT int obDigestLen(ob_md_type md);

// Writes the DER DigestInfo of digest for md into out: 0, or negative (empty
// digest, md not in the table, encoding failure).
NYCERT_EXPORT int nyPKCS1DigestInfo(const unsigned char* digest, unsigned digestLen, ob_md_type md, nyBinBuf& out);

// Compares the data recovered from an RSA signature block (already unpadded)
// with what the signer should have signed for op: the DigestInfo of message
// for md (ops 0 and 2), message itself (op 1), or either (op 3).
//
// The comparison is exact over the whole recovered data, length and every
// octet, against a freshly built DER encoding: nothing in the recovered data
// is parsed. Extra octets after the DigestInfo, another encoding of the
// parameters, another identifier or a different length all fail. This is
// what makes the lenient unpadding (no minimum padding length) safe.
//
// 0 on a match; -1004 for a recovered length below 1 or a length mismatch,
// -100 for differing octets, -1000 when the DigestInfo cannot be built,
// -1001 for an unknown op.
NYCERT_EXPORT int obComparePKCS1(obPKop_type op, ob_md_type md, const unsigned char* message, int messageLen,
                   const unsigned char* recovered, int recoveredLen);

#endif  // NYCERT_KEYS_DIGEST_INFO_H_
