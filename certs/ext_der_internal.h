// DER helpers shared by the extension kinds: reading a value that must be
// one whole element, writing elements back to front, and printing octets.
#ifndef NYCERT_CERTS_EXT_DER_INTERNAL_H_
#define NYCERT_CERTS_EXT_DER_INTERNAL_H_

#include <cstring>

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/der_reader.h"

class ObStream;

// value is exactly one element carrying tag: its content goes to content.
inline bool obExtReadWhole(obDerSpan value, obAsnTag tag, obDerSpan& content) {
  obDerReader r(value);
  return r.Read(tag, content) && r.AtEnd();
}

// Whether the content octets of an identifier are those of oid, compared
// from the end: related identifiers differ in their last octets.
// The content of an Extensions SEQUENCE holds only well-formed Extension
// elements, whatever their values.
bool obExtListIsWellFormed(obDerSpan extensionsContent);

inline bool obExtIsOid(obDerSpan content, const obAsnOid& oid) {
  size_t n = oid.size();
  if (content.size != n) return false;
  const unsigned char* p = oid.data();
  while (n && content.data[n - 1] == p[n - 1]) --n;
  return n == 0;
}

// The fields of a constructed value: the next field is taken when it
// carries the tag asked for, so optional fields are read by trying their
// tags in order.
class obExtFields {
 public:
  explicit obExtFields(obDerSpan content) : reader_(content) {}

  // Takes the next field when it carries tag; a malformed one is not taken
  // and makes Done false.
  bool Take(obAsnTag tag, obDerSpan& content) {
    if (reader_.AtEnd() || reader_.PeekTag() != tag) return false;
    if (reader_.Read(tag, content)) return true;
    ok_ = false;
    return false;
  }
  // Every field was taken and all were well formed.
  bool Done() const { return ok_ && reader_.AtEnd(); }

 private:
  obDerReader reader_;
  bool ok_ = true;
};

// Puts the one-octet tag and the length of the contentLen octets just
// written in front of them: the element's whole size, or -1 (also when
// contentLen is already -1).
int obExtWrap(obAsnWriteBuf& b, unsigned char tag, int contentLen);
// Puts n octets from p in front of b's contents: n, or -1.
int obExtPutRaw(obAsnWriteBuf& b, const unsigned char* p, unsigned long n);
// Puts a primitive element in front of b's contents: its size, or -1.
int obExtPutPrim(obAsnWriteBuf& b, unsigned char tag, const unsigned char* p, unsigned long n);
// Adds the size of one more piece to a running total; -1 sticks.
inline int obExtSum(int total, int piece) { return total < 0 || piece < 0 ? -1 : total + piece; }

// Runs write (int(obAsnWriteBuf&), back to front) once to measure and once
// into out: 0, or -1 with out empty.
template <class Write>
int obExtEncode(const Write& write, obAsnBytes& out) {
  obAsnWriteBuf measure(nullptr, 0);
  int size = write(measure);
  if (size >= 0) {
    obAsnWriteBuf writer(out.Resize(static_cast<unsigned long>(size)), static_cast<unsigned long>(size));
    if (write(writer) == size && (size == 0 || writer.Data() == out.data())) return 0;
  }
  out.Clear();
  return -1;
}

// Octets as lower-case hex pairs joined by ':'.
void obExtSprintHex(ObStream* s, const unsigned char* p, unsigned long n);

#endif  // NYCERT_CERTS_EXT_DER_INTERNAL_H_
