#include "nycert/asn1/runtime/asn_string.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_octs.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_strcodec.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/asn1/runtime/asn_unicode.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

bool IsPrintableAscii(unsigned long c) { return c >= 0x20 && c <= 0x7E; }

// Content checks, X.680 41 (restricted character string types).

template <bool (*Allowed)(unsigned char)>
int EveryOctet(const unsigned char* p, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) {
    if (!Allowed(p[i])) return 0;
  }
  return 1;
}

bool IsNumeric(unsigned char c) { return (c >= '0' && c <= '9') || c == ' '; }

// PrintableString is taken as printable ASCII. The strict set (letters, digits
// and " '()+,-./:=?") is what X.680 allows, but CAs have long written '*', '@',
// '&' and '_' into it (wildcard names, mail addresses), and such certificates
// must still decode and re-encode to the same octets.
bool IsPrintable(unsigned char c) { return IsPrintableAscii(c); }

bool IsIA5(unsigned char c) { return c < 0x80; }

bool IsVisible(unsigned char c) { return IsPrintableAscii(c); }

int AnyOctets(const unsigned char*, unsigned long) { return 1; }

int EvenLength(const unsigned char*, unsigned long n) { return n % 2 == 0; }

int UniversalChars(const unsigned char* p, unsigned long n) {
  if (n % 4 != 0) return 0;
  for (unsigned long i = 0; i < n; i += 4) {
    if (obAsnUcsChar(p + i, 4) > kUnicodeMax) return 0;
  }
  return 1;
}

// Printing.

// Each octet as a character; control characters, and octets of 0x80 or more
// unless keepHigh, as '.'.
std::string VisibleOctets(const unsigned char* p, unsigned long n, bool keepHigh) {
  std::string text;
  for (unsigned long i = 0; i < n; ++i) {
    bool shown = IsPrintableAscii(p[i]) || (keepHigh && p[i] >= 0x80);
    text += shown ? static_cast<char>(p[i]) : '.';
  }
  return text;
}

// The text of content made of width-octet characters; false when one of them
// is beyond ASCII or the length does not divide.
bool AsciiUnits(const unsigned char* p, unsigned long n, unsigned width, std::string& text) {
  if (n % width != 0) return false;
  for (unsigned long i = 0; i < n; i += width) {
    unsigned long c = obAsnUcsChar(p + i, width);
    if (c >= 0x80) return false;
    text += IsPrintableAscii(c) ? static_cast<char>(c) : '.';
  }
  return true;
}

// The printed text of content, or false when it prints in hex.
bool PrintedText(obAsnStringPrint form, const unsigned char* p, unsigned long n, std::string& text) {
  switch (form) {
    case kAsnPrintText:
      text = VisibleOctets(p, n, false);
      return true;
    case kAsnPrintUtf8:
      if (!obAsnUtf8Valid(p, n)) return false;
      text = VisibleOctets(p, n, true);
      return true;
    case kAsnPrintUcs2:
      return AsciiUnits(p, n, 2, text);
    case kAsnPrintUcs4:
      return AsciiUnits(p, n, 4, text);
  }
  return false;
}

}  // namespace

const obAsnStringKind obAsnUTF8String::kKind = {"obAsnUTF8String", 12, obAsnUtf8Valid, nullptr, kAsnPrintUtf8};
const obAsnStringKind obAsnNumericString::kKind = {"obAsnNumericString", 18, EveryOctet<IsNumeric>, nullptr,
                                                   kAsnPrintText};
const obAsnStringKind obAsnPrintableString::kKind = {"obAsnPrintableString", 19, EveryOctet<IsPrintable>, nullptr,
                                                     kAsnPrintText};
const obAsnStringKind obAsnTeletexString::kKind = {"obAsnTeletexString", 20, AnyOctets, nullptr, kAsnPrintText};
const obAsnStringKind obAsnT61String::kKind = {"obAsnT61String", 20, AnyOctets, nullptr, kAsnPrintText};
const obAsnStringKind obAsnVideotexString::kKind = {"obAsnVideotexString", 21, AnyOctets, nullptr, kAsnPrintText};
const obAsnStringKind obAsnIA5String::kKind = {"obAsnIA5String", 22, EveryOctet<IsIA5>, nullptr, kAsnPrintText};
const obAsnStringKind obAsnGraphicString::kKind = {"obAsnGraphicString", 25, AnyOctets, nullptr, kAsnPrintText};
const obAsnStringKind obAsnVisibleString::kKind = {"obAsnVisibleString", 26, EveryOctet<IsVisible>, nullptr,
                                                   kAsnPrintText};
const obAsnStringKind obAsnISO646String::kKind = {"obAsnISO646String", 26, EveryOctet<IsVisible>, nullptr,
                                                  kAsnPrintText};
const obAsnStringKind obAsnGeneralString::kKind = {"obAsnGeneralString", 27, AnyOctets, nullptr, kAsnPrintText};
const obAsnStringKind obAsnUniversalString::kKind = {"obAsnUniversalString", 28, UniversalChars, nullptr,
                                                     kAsnPrintUcs4};
const obAsnStringKind obAsnBMPString::kKind = {"obAsnBMPString", 30, EvenLength, nullptr, kAsnPrintUcs2};
const obAsnStringKind obAsnObjectDescriptor::kKind = {"obAsnObjectDescriptor", 7, AnyOctets, nullptr, kAsnPrintText};

obAsnString::obAsnString(const obAsnStringKind& kind, const char* text) : kind_(&kind) {
  if (text) content_.Assign(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
}

obAsnString::~obAsnString() = default;

const char* obAsnString::TypeName() const { return kind_->name; }

int obAsnString::Set(const unsigned char* p, unsigned long n) {
  if ((!p && n) || !kind_->check(p, n)) {
    OB_HERROR("%s::Set content not allowed in this type", kind_->name);
    return -1;
  }
  content_.Assign(p, n);
  received_ = false;
  return 0;
}

int obAsnString::Set(const char* text) {
  if (!text) {
    OB_HERROR("%s::Set no text", kind_->name);
    return -1;
  }
  return Set(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
}

int obAsnString::Equal(const obAsnString& other) const {
  return kind_->tag == other.kind_->tag && content_ == other.content_ ? 1 : 0;
}

int obAsnString::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kind_->tag) &&
      tag != obAsnMakeTag(kAsnUniversal, kAsnConstructed, kind_->tag)) {
    OB_HERROR("%s::BDec wrong tag before offset = %d", kind_->name, b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) {
    OB_HERROR("%s::BDec failed to decoded length before offset = %d", kind_->name, b.Offset());
    return -1;
  }
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnString::BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) {
  received_ = false;
  if (obAsnDecodeOctsContent(b, tag, len, bytesDecoded, content_) < 0) {
    OB_HERROR("%s::BDecContent attempt to decode content failed", kind_->name);
    return -1;
  }
  if (!KeepsUnchecked() && !Check()) {
    OB_HERROR("%s::BDecContent content not allowed in this type before offset = %d", kind_->name, b.Offset());
    content_.Clear();
    return -1;
  }
  received_ = true;
  return 1;
}

int obAsnString::BEncContent(obAsnWriteBuf& b) const {
  bool valid = Check() != 0;
  if (!valid && !received_) {
    OB_HERROR("%s::BEncContent content not allowed in this type", kind_->name);
    return -1;
  }
  if (!kind_->der || !valid) return obAsnPutContent(b, data(), size(), kind_->name);
  obAsnBytes der;
  if (kind_->der(data(), size(), der) < 0) {
    OB_HERROR("%s::BEncContent can't form the DER content", kind_->name);
    return -1;
  }
  return obAsnPutContent(b, der.data(), der.size(), kind_->name);
}

int obAsnString::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kind_->tag, kAsnFormPrim}, kind_->name);
}

int obAsnString::Sprint(ObStream* s, int indent) const {
  if (!s) return 0;
  std::string text;
  if (PrintedText(kind_->print, data(), size(), text))
    s->Printf("%s%s\n", obAsnIndent(indent), text.c_str());
  else
    obAsnSprintHex(s, data(), size(), indent);
  return 0;
}
