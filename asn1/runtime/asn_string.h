// The character string types.
//
// obAsnString does the work for all of them: the content is stored as
// octets, decoded like an OCTET STRING (primitive, or constructed BER
// segments) under the type's own universal tag and kept as received, checked
// against the type's character set when set or given at construction, and
// encoded primitive (DER). A concrete type only supplies
// an obAsnStringKind: its name, tag, content check and print form.
#ifndef NYCERT_ASN1_RUNTIME_ASN_STRING_H_
#define NYCERT_ASN1_RUNTIME_ASN_STRING_H_

#include <string>

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

// How a type's content is shown when printed.
enum obAsnStringPrint {
  kAsnPrintText,  // octets as characters, anything not printable ASCII as '.'
  kAsnPrintUtf8,  // UTF-8 text
  kAsnPrintUcs2,  // 2-octet characters: text when all are ASCII, else hex
  kAsnPrintUcs4,  // 4-octet characters: text when all are ASCII, else hex
};

struct NYCERT_EXPORT obAsnStringKind {
  const char* name;  // the class name, such as "obAsnIA5String"
  unsigned tag;      // universal tag number
  // 1 when the content is acceptable for the type, else 0.
  int (*check)(const unsigned char* p, unsigned long n);
  // The DER form of valid content, for types with more than one way of
  // writing a value (null: content is written as held). 0, or -1.
  int (*der)(const unsigned char* p, unsigned long n, obAsnBytes& out);
  obAsnStringPrint print;
};

class NYCERT_EXPORT obAsnString : public obAsnType {
 public:
  ~obAsnString() override;

  const char* TypeName() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  // Decoded content is kept as received, even when it fails the type's check
  // (writers do send such names), unless KeepsUnchecked() says otherwise;
  // Check() tells. It encodes as received, so that a name copied from a
  // decoded certificate stays the same octets; content the program gave
  // must pass the check to be encoded.
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  int BEncContent(obAsnWriteBuf& b) const;

  const obAsnStringKind& Kind() const { return *kind_; }
  const unsigned char* data() const { return content_.data(); }
  unsigned long size() const { return content_.size(); }
  std::string str() const { return std::string(reinterpret_cast<const char*>(data()), size()); }
  // Replaces the content when it passes the type's check: 0, or -1 (content unchanged).
  int Set(const unsigned char* p, unsigned long n);
  int Set(const char* text);
  // 1 when the content passes the type's check, else 0.
  int Check() const { return kind_->check(data(), size()); }

  // Equal when both have the same tag and the same content octets.
  int Equal(const obAsnString& other) const;
  bool operator==(const obAsnString& other) const { return Equal(other) == 1; }
  bool operator!=(const obAsnString& other) const { return Equal(other) == 0; }

 protected:
  // Whether decoding keeps content that fails the check: text does, values
  // with a meaning (times) do not.
  virtual bool KeepsUnchecked() const { return true; }
  // Content given at construction is taken unchecked; encoding checks it.
  explicit obAsnString(const obAsnStringKind& kind) : kind_(&kind) {}
  obAsnString(const obAsnStringKind& kind, const unsigned char* p, unsigned long n) : kind_(&kind), content_(p, n) {}
  obAsnString(const obAsnStringKind& kind, const char* text);
  obAsnString(const obAsnString&) = default;
  obAsnString& operator=(const obAsnString&) = default;

 private:
  const obAsnStringKind* kind_;
  obAsnBytes content_;
  bool received_ = false;  // content_ is what BDecContent read
};

// The constructors, Clone and Copy of a concrete string type Self, which
// defines its descriptor as the static member kKind.
template <class Self, class Base = obAsnString>
class obAsnStringOf : public Base {
 public:
  obAsnStringOf() : Base(Self::kKind) {}
  obAsnStringOf(const unsigned char* p, unsigned long n) : Base(Self::kKind, p, n) {}
  explicit obAsnStringOf(const char* text) : Base(Self::kKind, text) {}

  obAsnType* Clone() const override { return new Self; }
  obAsnType* Copy() const override { return new Self(static_cast<const Self&>(*this)); }
};

// Well-formed UTF-8.
class NYCERT_EXPORT obAsnUTF8String : public obAsnStringOf<obAsnUTF8String> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// Digits and space.
class NYCERT_EXPORT obAsnNumericString : public obAsnStringOf<obAsnNumericString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// A-Z a-z 0-9 space ' ( ) + , - . / : = ?
class NYCERT_EXPORT obAsnPrintableString : public obAsnStringOf<obAsnPrintableString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// T.61 text; any octets are accepted.
class NYCERT_EXPORT obAsnTeletexString : public obAsnStringOf<obAsnTeletexString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// The TeletexString under its older name: the same tag and content.
class NYCERT_EXPORT obAsnT61String : public obAsnStringOf<obAsnT61String> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// Any octets.
class NYCERT_EXPORT obAsnVideotexString : public obAsnStringOf<obAsnVideotexString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// Octets below 0x80.
class NYCERT_EXPORT obAsnIA5String : public obAsnStringOf<obAsnIA5String> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// Any octets.
class NYCERT_EXPORT obAsnGraphicString : public obAsnStringOf<obAsnGraphicString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// Printable ASCII, 0x20-0x7E.
class NYCERT_EXPORT obAsnVisibleString : public obAsnStringOf<obAsnVisibleString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// The VisibleString under its older name: the same tag and content.
class NYCERT_EXPORT obAsnISO646String : public obAsnStringOf<obAsnISO646String> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// Any octets.
class NYCERT_EXPORT obAsnGeneralString : public obAsnStringOf<obAsnGeneralString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// UCS-4 big-endian: a multiple of 4 octets, characters up to U+10FFFF.
class NYCERT_EXPORT obAsnUniversalString : public obAsnStringOf<obAsnUniversalString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// UCS-2 big-endian: an even number of octets.
class NYCERT_EXPORT obAsnBMPString : public obAsnStringOf<obAsnBMPString> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

// ObjectDescriptor (universal 7), a GraphicString.
class NYCERT_EXPORT obAsnObjectDescriptor : public obAsnStringOf<obAsnObjectDescriptor> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnStringKind kKind;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_STRING_H_
