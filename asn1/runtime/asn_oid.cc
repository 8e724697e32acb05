#include "nycert/asn1/runtime/asn_oid.h"

#include <climits>
#include <cstring>
#include <memory>
#include <utility>

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr unsigned kOidNumber = 6;
constexpr obAsnTag kOidTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kOidNumber);
constexpr unsigned kMaxConstructorArcs = 11;

// Dotted text arcs: below 2^128, so at most 39 decimal digits.
constexpr unsigned kMaxArcBits = 128;
constexpr size_t kMaxArcDigits = 39;
// Room for 39 decimal digits in base 128, plus the 80 added to a second arc.
constexpr int kMaxArcSeptets = 20;

// An arc as base-128 digits, least significant first.
struct Septets {
  unsigned char digit[kMaxArcSeptets];
  int count = 0;
};

// Each subidentifier is base 128, most significant digit first, every octet
// but the last with its top bit set (X.690 8.19.2).
void AppendSubid(obAsnBytes& out, const Septets& arc) {
  unsigned char octets[kMaxArcSeptets];
  for (int i = 0; i < arc.count; ++i) {
    int from = arc.count - 1 - i;
    octets[i] = static_cast<unsigned char>(arc.digit[from] | (from > 0 ? 0x80 : 0));
  }
  out.Append(octets, static_cast<unsigned long>(arc.count));
}

Septets SeptetsOf(unsigned long v) {
  Septets arc;
  do {
    arc.digit[arc.count++] = static_cast<unsigned char>(v & 0x7F);
    v >>= 7;
  } while (v);
  return arc;
}

void AddToSeptets(Septets& arc, unsigned add) {
  for (int i = 0; add && i < arc.count; ++i) {
    add += arc.digit[i];
    arc.digit[i] = static_cast<unsigned char>(add & 0x7F);
    add >>= 7;
  }
  if (add) arc.digit[arc.count++] = static_cast<unsigned char>(add);
}

unsigned BitLength(const Septets& arc) {
  unsigned bits = 7 * static_cast<unsigned>(arc.count - 1);
  for (unsigned top = arc.digit[arc.count - 1]; top; top >>= 1) ++bits;
  return bits;
}

// Reads the decimal arc at the start of text into arc: the characters used,
// or 0 when there is no arc, a leading zero, or a value of 2^128 or more.
size_t ParseArc(const char* text, Septets& arc) {
  size_t n = 0;
  while (text[n] >= '0' && text[n] <= '9') ++n;
  if (n == 0 || n > kMaxArcDigits || (n > 1 && text[0] == '0')) return 0;
  unsigned char decimal[kMaxArcDigits];
  for (size_t i = 0; i < n; ++i) decimal[i] = static_cast<unsigned char>(text[i] - '0');
  // Repeated division by 128 of the decimal digits; the remainders are the septets.
  arc.count = 0;
  size_t lead = 0;
  do {
    unsigned remainder = 0;
    for (size_t i = lead; i < n; ++i) {
      unsigned x = remainder * 10 + decimal[i];
      decimal[i] = static_cast<unsigned char>(x / 128);
      remainder = x % 128;
    }
    arc.digit[arc.count++] = static_cast<unsigned char>(remainder);
    while (lead < n && decimal[lead] == 0) ++lead;
  } while (lead < n);
  return BitLength(arc) > kMaxArcBits ? 0 : n;
}

// The first two arcs a0.a1 share one subidentifier, 40 * a0 + a1 (X.690 8.19.4).
int ParseDotted(const char* text, obAsnBytes& out) {
  unsigned first = 0;
  int index = 0;
  for (;; ++index) {
    Septets arc;
    size_t used = ParseArc(text, arc);
    if (used == 0) return -1;
    text += used;
    if (index == 0) {
      if (arc.count != 1 || arc.digit[0] > 2) return -1;
      first = arc.digit[0];
    } else {
      if (index == 1) {
        if (first < 2 && (arc.count != 1 || arc.digit[0] >= 40)) return -1;
        AddToSeptets(arc, 40 * first);
      }
      AppendSubid(out, arc);
    }
    if (*text == '\0') break;
    if (*text++ != '.') return -1;
  }
  return index >= 1 ? 0 : -1;
}

// Writes the decimal digits of the subidentifier [p, p + n) less subtract
// (never more than its value) to out: the digit count, or -1 when more than
// room digits would be needed. The digits are built in out itself, by
// multiplying by 128 and adding each septet, so any size is exact.
int SubidToDecimal(const unsigned char* p, unsigned long n, unsigned subtract, char* out, unsigned long room) {
  // A minimal subidentifier of n octets is at least 128^(n-1), which has
  // more than (n-1) * 2.107 decimal digits: refuse hopeless cases early.
  if (room == 0 || (n - 1) * 2107 / 1000 >= room) return -1;
  unsigned long count = 1;
  out[0] = 0;
  for (unsigned long i = 0; i < n; ++i) {
    unsigned carry = p[i] & 0x7Fu;
    for (unsigned long d = 0; d < count; ++d) {
      unsigned x = static_cast<unsigned>(out[d]) * 128 + carry;
      out[d] = static_cast<char>(x % 10);
      carry = x / 10;
    }
    for (; carry; carry /= 10) {
      if (count == room) return -1;
      out[count++] = static_cast<char>(carry % 10);
    }
  }
  unsigned borrow = 0;
  for (unsigned long d = 0; d < count && (subtract || borrow); ++d, subtract /= 10) {
    int x = out[d] - static_cast<int>(subtract % 10 + borrow);
    borrow = x < 0;
    out[d] = static_cast<char>(x < 0 ? x + 10 : x);
  }
  while (count > 1 && out[count - 1] == 0) --count;
  for (unsigned long d = 0; d < count / 2; ++d) std::swap(out[d], out[count - 1 - d]);
  for (unsigned long d = 0; d < count; ++d) out[d] = static_cast<char>(out[d] + '0');
  return static_cast<int>(count);
}

}  // namespace

obAsnOid::obAsnOid(long a0, long a1, long a2, long a3, long a4, long a5, long a6, long a7, long a8, long a9,
                   long a10) {
  if (a0 < 0 || a1 < 0) {
    OB_HERROR("obAsnOid::obAsnOid invalid arcs %ld.%ld", a0, a1);
    return;
  }
  const long given[kMaxConstructorArcs] = {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10};
  unsigned long arcs[kMaxConstructorArcs];
  unsigned count = 0;
  while (count < kMaxConstructorArcs && given[count] >= 0) {
    arcs[count] = static_cast<unsigned long>(given[count]);
    ++count;
  }
  SetArcs(arcs, count);
}

obAsnOid::obAsnOid(const char* dotted) { Set(dotted); }

const char* obAsnOid::TypeName() const { return "obAsnOid"; }

obAsnOid* obAsnOid::Clone() const { return new obAsnOid; }

obAsnOid* obAsnOid::Copy() const { return new obAsnOid(*this); }

int obAsnOid::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kOidTag) {
    OB_HERROR("obAsnOid::BDec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) {
    OB_HERROR("obAsnOid::BDec failed to decoded length");
    return -1;
  }
  if (BDecContent(b, tag, len, bytesDecoded) < 0) {
    OB_HERROR("obAsnOid::BDec failed to decoded content");
    return -1;
  }
  return 1;
}

int obAsnOid::BEnc(obAsnWriteBuf& b) const {
  int content = BEncContent(b);
  if (content < 0) {
    OB_HERROR("obAsnOid::BEnc attempt to encoded contenet failed");
    return -1;
  }
  int len = BEncDefLen(b, static_cast<unsigned long>(content));
  if (len < 0) {
    OB_HERROR("obAsnOid::BEnc attempt to encoded length failed length=%u", static_cast<unsigned>(content));
    return -1;
  }
  int tag = BEncTag(b, kAsnUniversal, kAsnPrimitive, kOidNumber);
  if (tag < 0) {
    OB_HERROR("obAsnOid::BEnc\tattempt to encoded tag failed");
    return -1;
  }
  return content + len + tag;
}

int obAsnOid::Sprint(ObStream* s, int indent) const {
  if (!s) return 0;
  char text[kAsnOidPrintMax];
  if (GetDotted(text, sizeof text) < 0)
    s->Printf("%sobAsnOid::Herror buffer to short\n", obAsnIndent(indent));
  else
    s->Printf("%s(%s)\n", obAsnIndent(indent), text);
  return 0;
}

int obAsnOid::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
  if (len < 1) {
    OB_HERROR("obAsnOid::BDecContent: obAsnOid must not be with INDEFINITE length (%d). offset = %d", len,
              b.Offset());
    return -1;
  }
  unsigned long n = static_cast<unsigned long>(len);
  if (n > b.Remaining()) {
    OB_HERROR("obAsnOid::BDecContent: can't copy data from buf offset = %d", b.Offset());
    return -1;
  }
  if (!IsValidContent(b.Cur(), n)) {
    OB_HERROR("obAsnOid::BDecContent: malformed subidentifier before offset = %d", b.Offset());
    return -1;
  }
  content_.Assign(b.Cur(), n);
  b.Skip(n);
  bytesDecoded += n;
  return 1;
}

int obAsnOid::BEncContent(obAsnWriteBuf& b) const {
  if (content_.empty()) {
    OB_HERROR("obAsnOid::BEncContent no identifier to encode");
    return -1;
  }
  if (b.PutSeg(content_.data(), content_.size()) < 0) return -1;
  return static_cast<int>(content_.size());
}

int obAsnOid::Set(const char* dotted) {
  obAsnBytes parsed;
  if (!dotted || ParseDotted(dotted, parsed) < 0) {
    OB_HERROR("obAsnOid::Set malformed identifier text \"%.80s\"", dotted ? dotted : "");
    return -1;
  }
  content_ = std::move(parsed);
  return 0;
}

int obAsnOid::SetArcs(const unsigned long* arcs, unsigned count) {
  if (!arcs || count < 2 || arcs[0] > 2 || (arcs[0] < 2 && arcs[1] >= 40) || arcs[1] > ULONG_MAX - 80) {
    OB_HERROR("obAsnOid::SetArcs invalid arcs");
    return -1;
  }
  content_.Clear();
  AppendSubid(content_, SeptetsOf(40 * arcs[0] + arcs[1]));
  for (unsigned i = 2; i < count; ++i) AppendSubid(content_, SeptetsOf(arcs[i]));
  return 0;
}

int obAsnOid::SetContent(const unsigned char* p, unsigned long n) {
  if (!p || !IsValidContent(p, n)) {
    OB_HERROR("obAsnOid::SetContent malformed identifier content");
    return -1;
  }
  content_.Assign(p, n);
  return 0;
}

// Well formed content: not empty, no subidentifier starting with 0x80 (a
// non-minimal form), and the last octet ends a subidentifier.
bool obAsnOid::IsValidContent(const unsigned char* p, unsigned long n) {
  if (n == 0 || p[0] == 0x80 || (p[n - 1] & 0x80)) return false;
  for (unsigned long i = 1; i < n; ++i) {
    if (p[i] == 0x80 && (p[i - 1] & 0x80) == 0) return false;
  }
  return true;
}

int obAsnOid::GetDotted(char* buf, unsigned bufSize) const {
  if (!buf || bufSize == 0) return -1;
  const unsigned char* p = content_.data();
  const unsigned long n = content_.size();
  const unsigned long room = bufSize - 1;
  unsigned long pos = 0;
  for (unsigned long start = 0; start < n;) {
    unsigned long end = start;
    while (end < n && (p[end] & 0x80)) ++end;
    if (end == n) return -1;  // the content is always well formed; this keeps reads inside it
    ++end;
    unsigned subtract = 0;
    if (start == 0) {
      // A one-octet first subidentifier may still belong under arc 0 or 1.
      unsigned a0 = (end > 1 || p[0] >= 80) ? 2 : p[0] / 40u;
      subtract = 40 * a0;
      if (room - pos < 2) return -1;
      buf[pos++] = static_cast<char>('0' + a0);
    } else if (pos == room) {
      return -1;
    }
    buf[pos++] = '.';
    int digits = SubidToDecimal(p + start, end - start, subtract, buf + pos, room - pos);
    if (digits < 0) return -1;
    pos += static_cast<unsigned long>(digits);
    start = end;
  }
  buf[pos] = '\0';
  return static_cast<int>(pos);
}

obString obAsnOid::Dotted() const {
  // Each octet gives at most three digits and a dot; the first arc two more characters.
  unsigned long capacity = 4 * content_.size() + 4;
  if (capacity > kAsnOidDottedMax) capacity = kAsnOidDottedMax;
  std::unique_ptr<char[]> text(new char[capacity]);
  int length = GetDotted(text.get(), static_cast<unsigned>(capacity));
  return length < 0 ? obString() : obString(text.get(), length);
}

bool obAsnOid::operator<(const obAsnOid& other) const {
  unsigned long common = size() < other.size() ? size() : other.size();
  int order = common ? std::memcmp(data(), other.data(), common) : 0;
  return order < 0 || (order == 0 && size() < other.size());
}
