// Encoding values into a nyBinBuf, and decoding them from whole inputs.
#ifndef NYCERT_ASN1_RUNTIME_ASN_BUFSET_H_
#define NYCERT_ASN1_RUNTIME_ASN_BUFSET_H_

#include <vector>

#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/platform/export.h"

// Gathers the encodings of one or more values, in order, into one contiguous run.
class NYCERT_EXPORT obAsnBufSet {
 public:
  // Encodes value as the next segment: its size, or -1.
  int Put(const obAsnType& value);
  // Appends raw octets as the next segment: n, or -1 (p null with n > 0, or too long in all).
  int Put(const unsigned char* p, unsigned n);
  unsigned long Len() const { return total_; }
  // All segments joined into out: 0, or -1.
  int Encoded(nyBinBuf& out) const;

 private:
  std::vector<nyBinBuf> segments_;
  unsigned long total_ = 0;
};

// One value's encoding into out (a measuring pass, then a real one): 0, or -1.
NYCERT_EXPORT int obAsnEncode(const obAsnType& value, nyBinBuf& out);
// Decodes value from exactly these octets; trailing octets are an error. 0, or -1.
NYCERT_EXPORT int obAsnDecode(obAsnType& value, const unsigned char* data, unsigned long length);

#endif  // NYCERT_ASN1_RUNTIME_ASN_BUFSET_H_
