#include "nycert/crl/crl_db_key.h"

#include "nycert/platform/nybcrypt.h"

namespace {

const char kUpperHex[] = "0123456789ABCDEF";
const char kLowerHex[] = "0123456789abcdef";
const char kDigestMark = '~';
const size_t kDigestHexLen = 64;  // SHA-256 in hex
const size_t kEscapeLen = 3;      // "%XX"

bool IsPlain(unsigned char c, size_t at) {
  if (c == '.') return at > 0;
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string Escaped(const std::string& key) {
  std::string out;
  out.reserve(key.size());
  for (size_t i = 0; i < key.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(key[i]);
    if (IsPlain(c, i)) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kUpperHex[c >> 4];
      out += kUpperHex[c & 0x0F];
    }
  }
  return out;
}

// The SHA-256 digest of key in lower-case hex.
std::string DigestHex(const std::string& key) {
  unsigned char digest[32];
  ny_md_hashbuf(ob_md_sha256, reinterpret_cast<const unsigned char*>(key.data()), static_cast<unsigned>(key.size()),
                digest);
  std::string out;
  for (unsigned char b : digest) {
    out += kLowerHex[b >> 4];
    out += kLowerHex[b & 0x0F];
  }
  return out;
}

// The longest start of escaped that fits in room without splitting an escape.
size_t PrefixLength(const std::string& escaped, size_t room) {
  size_t len = 0;
  while (len < escaped.size()) {
    size_t step = escaped[len] == '%' ? kEscapeLen : 1;
    if (len + step > room) break;
    len += step;
  }
  return len;
}

// Reverses Escaped, accepting only what it makes: 0, or -1.
int Unescape(const std::string& text, std::string* key) {
  key->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c != '%') {
      if (!IsPlain(c, key->size())) return -1;
      *key += static_cast<char>(c);
      continue;
    }
    if (i + kEscapeLen > text.size()) return -1;
    int high = HexValue(text[i + 1]);
    int low = HexValue(text[i + 2]);
    if (high < 0 || low < 0) return -1;
    unsigned char octet = static_cast<unsigned char>(high << 4 | low);
    if (octet == 0 || IsPlain(octet, key->size())) return -1;
    *key += static_cast<char>(octet);
    i += kEscapeLen - 1;
  }
  return 0;
}

bool IsLowerHex(const std::string& text) {
  for (char c : text) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

}  // namespace

std::string CrlDB_EncodeKey(const std::string& key, bool* shortened) {
  std::string escaped = Escaped(key);
  if (shortened) *shortened = escaped.size() > kCrlDBFileKeyMax;
  if (escaped.size() <= kCrlDBFileKeyMax) return escaped;
  size_t keep = PrefixLength(escaped, kCrlDBFileKeyMax - 1 - kDigestHexLen);
  return escaped.substr(0, keep) + kDigestMark + DigestHex(key);
}

int CrlDB_DecodeKey(const std::string& fileKey, std::string* key) {
  size_t mark = fileKey.find(kDigestMark);
  if (mark == std::string::npos) return fileKey.size() <= kCrlDBFileKeyMax ? Unescape(fileKey, key) : -1;
  std::string digest = fileKey.substr(mark + 1);
  if (fileKey.size() > kCrlDBFileKeyMax || digest.size() != kDigestHexLen || !IsLowerHex(digest)) return -1;
  return Unescape(fileKey.substr(0, mark), key) == 0 ? 1 : -1;
}
