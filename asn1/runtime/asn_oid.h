// obAsnOid: an OBJECT IDENTIFIER (universal 6), held as its content octets.
//
// The content is always well formed or empty: every setter and the decoder
// check it. Identifiers of up to 24 content octets (all the usual ones) live
// inside the object without a heap block, so constant identifiers are cheap
// to build when the library loads.
#ifndef NYCERT_ASN1_RUNTIME_ASN_OID_H_
#define NYCERT_ASN1_RUNTIME_ASN_OID_H_

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/buffers/obstring.h"
#include "nycert/platform/export.h"

// Size of the text buffer Sprint, Print and Herror format the dotted form in.
constexpr unsigned kAsnOidPrintMax = 512;
// Longest text Dotted() produces, its terminating zero included.
constexpr unsigned long kAsnOidDottedMax = 8192;

class NYCERT_EXPORT obAsnOid : public obAsnType {
 public:
  obAsnOid() = default;
  // The identifier a0.a1 followed by a2, a3, ... up to the first negative
  // arc: obAsnOid(2, 5, 29, 15, -1) is 2.5.29.15. Invalid first arcs (see
  // SetArcs, or negative) leave it empty.
  obAsnOid(long a0, long a1, long a2 = -1, long a3 = -1, long a4 = -1, long a5 = -1, long a6 = -1,
           long a7 = -1, long a8 = -1, long a9 = -1, long a10 = -1);
  // From dotted text ("2.5.29.15"); malformed text leaves it empty.
  explicit obAsnOid(const char* dotted);

  const char* TypeName() const override;
  obAsnOid* Clone() const override;
  obAsnOid* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  // One line "<indent>(<dotted>)", or the too-short notice when the dotted
  // form does not fit kAsnOidPrintMax.
  int Sprint(ObStream* s, int indent) const override;

  // Content must be non-empty, each subidentifier minimal (no leading 0x80)
  // and the last one complete; the value is unchanged on failure.
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  // Writes the content octets: their count, or -1 (also for an empty identifier).
  int BEncContent(obAsnWriteBuf& b) const;

  // Parses dotted decimal text: at least two arcs, the first 0, 1 or 2, the
  // second below 40 under 0 and 1, no empty arcs, signs, blanks or leading
  // zeros, each arc below 2^128. 0, or -1 with the identifier unchanged.
  int Set(const char* dotted);
  // From count arcs (at least two; first arcs as for Set): 0, or -1 unchanged.
  int SetArcs(const unsigned long* arcs, unsigned count);
  // From content octets, checked as BDecContent does: 0, or -1 unchanged.
  int SetContent(const unsigned char* p, unsigned long n);
  // Whether content octets are what BDecContent and SetContent accept, for
  // readers that check identifiers in place without building an obAsnOid.
  static bool IsValidContent(const unsigned char* p, unsigned long n);

  // The content octets, for hashing and lookups.
  const unsigned char* data() const { return content_.data(); }
  unsigned long size() const { return content_.size(); }
  bool empty() const { return content_.empty(); }

  // Writes the dotted form and its terminating zero to buf: the text length,
  // or -1 when it does not fit in bufSize. Arcs of any size are exact. An
  // empty identifier gives "".
  int GetDotted(char* buf, unsigned bufSize) const;
  // The dotted form; empty when the identifier is empty or its text would
  // exceed kAsnOidDottedMax.
  obString Dotted() const;

  // By content octets.
  int Equal(const obAsnOid& other) const { return content_ == other.content_; }
  bool operator==(const obAsnOid& other) const { return Equal(other) != 0; }
  bool operator!=(const obAsnOid& other) const { return !Equal(other); }
  // A strict order on the content octets, for use as a map key.
  bool operator<(const obAsnOid& other) const;

 private:
  obAsnBytes content_;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_OID_H_
