#include "nycert/names/dn_value_internal.h"

#include <cstring>

#include "nycert/asn1/modules/name_attributes.h"
#include "nycert/asn1/modules/pkcs9.h"
#include "nycert/buffers/diag.h"
#include "nycert/names/dn_chars_internal.h"

namespace {

const obAsnString* Chosen(const obASN_DirectoryString& value) {
  switch (value.choiceId) {
    case obASN_DirectoryString::teletexStringCid:
      return value.teletexString.get();
    case obASN_DirectoryString::printableStringCid:
      return value.printableString.get();
    case obASN_DirectoryString::universalStringCid:
      return value.universalString.get();
    case obASN_DirectoryString::utf8StringCid:
      return value.utf8String.get();
    case obASN_DirectoryString::bmpStringCid:
      return value.bmpString.get();
    case obASN_DirectoryString::ia5StringCid:
      return value.ia5String.get();
    default:
      return nullptr;
  }
}

bool AllBelow80(const unsigned char* p, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i)
    if (p[i] >= 0x80) return false;
  return true;
}

// UCS-2 characters that each fit one octet below 0x80.
bool Ucs2IsAscii(const unsigned char* p, unsigned long n) {
  if (n % 2) return false;
  for (unsigned long i = 0; i < n; i += 2)
    if (p[i] != 0 || p[i + 1] >= 0x80) return false;
  return true;
}

unsigned long SkipBlanks(const obDNValue& v, unsigned long i) {
  while (i < v.TextLen() && obDNIsBlank(v.TextAt(i))) ++i;
  return i;
}

bool TextEqual(const obDNValue& a, const obDNValue& b) {
  unsigned long i = SkipBlanks(a, 0), j = SkipBlanks(b, 0);
  while (i < a.TextLen() && j < b.TextLen()) {
    unsigned char ca = a.TextAt(i), cb = b.TextAt(j);
    if (obDNIsBlank(ca) && obDNIsBlank(cb)) {
      i = SkipBlanks(a, i);
      j = SkipBlanks(b, j);
    } else if (obDNLower(ca) != obDNLower(cb)) {
      return false;
    } else {
      ++i;
      ++j;
    }
  }
  return i == a.TextLen() && j == b.TextLen();
}

bool AllPrintable(const char* text) {
  for (; *text; ++text)
    if (!obDNIsPrintableChar(static_cast<unsigned char>(*text))) return false;
  return true;
}

}  // namespace

int obDNValueReduce(const obASN_DirectoryString& value, obDNValue& out) {
  const obAsnString* chosen = Chosen(value);
  if (!chosen) {
    OB_HERROR("obAvaStr: unknown choice type %d", static_cast<int>(value.choiceId));
    return -1;
  }
  out.data = chosen->data();
  out.size = chosen->size();
  out.choice = value.choiceId;
  out.stride = 1;
  out.checked = chosen->Check() != 0;
  switch (value.choiceId) {
    case obASN_DirectoryString::universalStringCid:
      out.binary = true;
      break;
    case obASN_DirectoryString::utf8StringCid:
      out.binary = !AllBelow80(out.data, out.size) && chosen->Check();
      break;
    case obASN_DirectoryString::bmpStringCid:
      out.binary = !Ucs2IsAscii(out.data, out.size);
      out.stride = out.binary ? 1 : 2;
      break;
    default:
      out.binary = false;
  }
  return 0;
}

void obDNValueAppend(std::string& out, const obDNValue& value, bool escape) {
  static const char kHex[] = "0123456789abcdef";
  if (value.binary) {
    out += '#';
    for (unsigned long i = 0; i < value.size; ++i) {
      out += kHex[value.data[i] >> 4];
      out += kHex[value.data[i] & 0x0F];
    }
    return;
  }
  for (unsigned long i = 0; i < value.TextLen(); ++i) {
    unsigned char c = value.TextAt(i);
    if (escape && obDNIsOddOctet(c, value.checked)) {
      out += '\\';
      out += kHex[c >> 4];
      out += kHex[c & 0x0F];
      continue;
    }
    if (escape && obDNNeedsEscape(c)) out += '\\';
    out += static_cast<char>(c);
  }
}

bool obDNValueEqual(const obDNValue& a, const obDNValue& b) {
  if (a.binary != b.binary || (a.binary && a.choice != b.choice)) return false;
  // Identical octets read the same way are equal under either rule.
  bool same = a.stride == b.stride && a.size == b.size && (a.size == 0 || std::memcmp(a.data, b.data, a.size) == 0);
  return same || (!a.binary && TextEqual(a, b));
}

void obDNValueFromText(const obAsnOid& type, const char* text, obASN_DirectoryString& out) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
  unsigned long n = std::strlen(text);
  if (type.Equal(obASN_emailAddress) || type.Equal(obASN_id_dc))
    out.Select_ia5String() = obAsnIA5String(p, n);
  else if (AllPrintable(text))
    out.Select_printableString() = obAsnPrintableString(p, n);
  else
    out.Select_teletexString() = obAsnTeletexString(p, n);
}
