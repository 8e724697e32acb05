// Codec pieces shared by the generated constructed types (SEQUENCE, SET,
// SEQUENCE OF, SET OF, CHOICE and tagged types): tag descriptions, a reader
// over the elements of one constructed content, and a writer that puts
// components and headers in front of what was written.
//
// Every generated type follows one rule: BDecContent decodes, and BEncContent
// encodes, the octets that follow the type's outermost tag and length. So an
// implicit tag replaces that header, and an explicit tag wraps the whole value.
#ifndef NYCERT_ASN1_RUNTIME_ASN_CODEC_H_
#define NYCERT_ASN1_RUNTIME_ASN_CODEC_H_

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/platform/export.h"

// The forms a tag may take when decoded. Strings accept both (BER allows
// constructed strings); encoding writes the primitive form unless only the
// constructed one is allowed.
constexpr unsigned kAsnFormAnyTag = 0;  // any tag at all (CHOICE, open types)
constexpr unsigned kAsnFormPrim = 1;
constexpr unsigned kAsnFormCons = 2;
constexpr unsigned kAsnFormEither = kAsnFormPrim | kAsnFormCons;

// The tag a value starts with: class bits (kAsnContext, ...), number and forms.
struct NYCERT_EXPORT obAsnTagDef {
  unsigned cls;
  unsigned number;
  unsigned forms;
};

constexpr obAsnTagDef kAsnAnyTagDef{kAsnUniversal, 0, kAsnFormAnyTag};

constexpr bool obAsnTagFits(obAsnTag tag, obAsnTagDef def) {
  return def.forms == kAsnFormAnyTag
             ? tag != kAsnBadTag
             : ((def.forms & kAsnFormPrim) && tag == obAsnMakeTag(def.cls, kAsnPrimitive, def.number)) ||
                   ((def.forms & kAsnFormCons) && tag == obAsnMakeTag(def.cls, kAsnConstructed, def.number));
}

// Reads a tag that must fit def and a length: 1 with tag and len set, or -1
// with a message naming owner. An indefinite length is refused on a
// primitive encoding.
NYCERT_EXPORT int obAsnDecHeader(obAsnReadBuf& b, unsigned long& bytesDecoded, obAsnTagDef def, const char* owner, obAsnTag& tag,
                   obAsnLen& len);

// Puts the header of def in front of content octets just written (content is
// their count, or -1 when writing them failed): the total, or -1 with a
// message naming owner.
NYCERT_EXPORT int obAsnEncHeader(obAsnWriteBuf& b, int content, obAsnTagDef def, const char* owner);

// A whole value of T under the tag def (T's own tag, or an implicit tag in its
// place): the header, then T's content codec.
template <class T>
int obAsnDecTLV(T& v, obAsnReadBuf& b, unsigned long& bytesDecoded, obAsnTagDef def) {
  obAsnTag tag;
  obAsnLen len;
  if (obAsnDecHeader(b, bytesDecoded, def, v.TypeName(), tag, len) < 0) return -1;
  return v.BDecContent(b, tag, len, bytesDecoded);
}

template <class T>
int obAsnEncTLV(const T& v, obAsnWriteBuf& b, obAsnTagDef def) {
  return obAsnEncHeader(b, v.BEncContent(b), def, v.TypeName());
}

// The whole encoding of v wrapped in the explicit tag def. T's own BEnc is
// called without virtual dispatch, so a tagged type can wrap its base.
template <class T>
int obAsnEncExplicit(const T& v, obAsnWriteBuf& b, obAsnTagDef def) {
  return obAsnEncHeader(b, v.T::BEnc(b), def, v.TypeName());
}

template <class T>
int obAsnDecExplicitContent(T& v, obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, const char* owner);

// Reads the elements of one constructed content (len octets, or up to the
// end-of-contents octets when len is indefinite) from a cursor of its own
// whose end is the end of that content, so no element can reach beyond it.
// Holds one nesting level of the enclosing buffer and hands the read
// position back to it when it goes.
class NYCERT_EXPORT obAsnConsDec {
 public:
  obAsnConsDec(obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, const char* owner);
  ~obAsnConsDec() { outer_.cur = in_.cur; }
  obAsnConsDec(const obAsnConsDec&) = delete;
  obAsnConsDec& operator=(const obAsnConsDec&) = delete;

  // False when the content could not be opened (reported).
  bool Ok() const { return ok_; }
  // The tag of the next element; kAsnBadTag when the content is used up.
  obAsnTag Next() const { return next_; }
  bool More() const { return next_ != kAsnBadTag; }
  bool At(obAsnTagDef def) const { return obAsnTagFits(next_, def); }

  // Reports a mandatory component that is not there: -1.
  int Missing(const char* component);
  // For a SET: marks component as seen, or -1 when it was seen before.
  int First(bool& seen, const char* component);
  // An element nobody expects: skipped (1) when extensible, else -1.
  int Skip(bool extensible);
  // Ends the content: what is left is skipped when extensible (else an
  // error), then the end-of-contents octets of an indefinite length. 1 or -1.
  int Close(bool extensible);

  // Decoders of the next element into v, each 1 or -1: by v's own tag; under
  // an implicit tag def; inside an explicit tag def.
  template <class T>
  int Whole(T& v) {
    return Done(v.T::BDec(in_, bytes_));
  }
  template <class T>
  int Implicit(T& v, obAsnTagDef def) {
    return Done(obAsnDecTLV(v, in_, bytes_, def));
  }
  template <class T>
  int Explicit(T& v, obAsnTagDef def) {
    obAsnTag tag;
    obAsnLen len;
    if (obAsnDecHeader(in_, bytes_, def, owner_, tag, len) < 0) return -1;
    return Done(obAsnDecExplicitContent(v, in_, len, bytes_, owner_));
  }

 private:
  int Done(int rc) {
    if (rc > 0) Peek();
    return rc;
  }
  void Peek();
  bool AtEoc() const;

  obAsnReadBuf& outer_;
  obAsnNestGuard guard_;
  obAsnReadBuf in_;
  unsigned long& bytes_;
  const char* owner_;
  bool indefinite_;
  bool ok_ = false;
  obAsnTag next_ = kAsnBadTag;
};

// The content of an explicit tag: exactly one whole value of T.
template <class T>
int obAsnDecExplicitContent(T& v, obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, const char* owner) {
  obAsnConsDec d(b, len, bytesDecoded, owner);
  if (!d.Ok()) return -1;
  if (!d.More()) return d.Missing("explicitly tagged value");
  if (d.Whole(v) < 0) return -1;
  return d.Close(false);
}

// Writes the components of a constructed content, last first (the buffer
// fills from its end). After a failure (reported once, naming the component)
// the remaining calls do nothing and Total() is -1.
class NYCERT_EXPORT obAsnConsEnc {
 public:
  obAsnConsEnc(obAsnWriteBuf& b, const char* owner) : b_(b), owner_(owner) {}

  template <class T>
  void Whole(const T& v, const char* component) {
    if (total_ >= 0) Add(v.T::BEnc(b_), component);
  }
  template <class T>
  void Implicit(const T& v, obAsnTagDef def, const char* component) {
    if (total_ >= 0) Add(obAsnEncTLV(v, b_, def), component);
  }
  template <class T>
  void Explicit(const T& v, obAsnTagDef def, const char* component) {
    if (total_ >= 0) Add(obAsnEncExplicit(v, b_, def), component);
  }
  // The content octets written, or -1.
  int Total() const { return total_; }

 private:
  void Add(int written, const char* component);

  obAsnWriteBuf& b_;
  const char* owner_;
  int total_ = 0;
};

// CHOICE failures: a tag that no alternative has, and encoding with no
// alternative chosen. Both -1.
NYCERT_EXPORT int obAsnUnknownAlternative(const char* owner, obAsnTag tag, const obAsnReadBuf& b);
NYCERT_EXPORT int obAsnNoAlternative(const char* owner);

#endif  // NYCERT_ASN1_RUNTIME_ASN_CODEC_H_
