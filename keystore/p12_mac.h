// The integrity MAC of a PFX (RFC 7292 section 4 and appendix B):
//
//   MacData ::= SEQUENCE { mac DigestInfo, macSalt OCTET STRING, iterations INTEGER DEFAULT 1 }
//
// an HMAC over the AuthenticatedSafe's octets, keyed by the PKCS #12
// derivation (purpose 3) of the password's BMP form, under any digest
// libcrypto offers.
#ifndef NYCERT_KEYSTORE_P12_MAC_H_
#define NYCERT_KEYSTORE_P12_MAC_H_

#include <cstddef>

#include "nycert/asn1/modules/pkcs12.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"

// Checks the MAC over data under a password form: 1 when it matches, 0 when
// it does not, negative (why set) when it cannot be computed.
int obP12Mac_Verify(const obASN_MacData& mac, const nyBinBuf& bmpPassword, const unsigned char* data, size_t len,
                    obString& why);

// Computes a MAC over data under digest (a libcrypto name such as "SHA256")
// with a fresh salt into mac: 0, or -1.
int obP12Mac_Make(const char* digest, long iterations, const nyBinBuf& bmpPassword, const unsigned char* data,
                  size_t len, obASN_MacData& mac);

// "HMAC-SHA256, 2048 iterations" and the like.
obString obP12Mac_Describe(const obASN_MacData& mac);

#endif  // NYCERT_KEYSTORE_P12_MAC_H_
