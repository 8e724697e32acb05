#include <openssl/bn.h>
#include <openssl/crypto.h>

#include <cstdint>
#include <ctime>
#include <vector>

#include "nycert/certs/print_text_internal.h"
#include "nycert/buffers/diag.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

namespace {

// Integers of up to eight octets, sign-extended into 64 bits.
std::string SmallIntegerText(obDerSpan content) {
  uint64_t bits = (content.data[0] & 0x80) ? ~uint64_t{0} : 0;
  for (size_t i = 0; i < content.size; ++i) bits = (bits << 8) | content.data[i];
  return std::to_string(static_cast<int64_t>(bits));
}

std::string BigIntegerText(obDerSpan content) {
  std::vector<unsigned char> magnitude(content.data, content.data + content.size);
  bool negative = magnitude[0] & 0x80;
  if (negative) {
    // Two's complement: invert, then add one.
    for (unsigned char& octet : magnitude) octet = static_cast<unsigned char>(~octet);
    for (size_t i = magnitude.size(); i-- > 0 && ++magnitude[i] == 0;) {
    }
  }
  BIGNUM* bn = BN_bin2bn(magnitude.data(), static_cast<int>(magnitude.size()), nullptr);
  char* digits = bn ? BN_bn2dec(bn) : nullptr;
  std::string text = digits ? std::string(negative ? "-" : "") + digits : "?";
  OPENSSL_free(digits);
  BN_free(bn);
  return text;
}

}  // namespace

std::string obIntegerText(obDerSpan content) {
  if (content.empty()) return "?";
  return content.size <= sizeof(uint64_t) ? SmallIntegerText(content) : BigIntegerText(content);
}

std::string obLocalTimeText(long seconds) {
  time_t t = static_cast<time_t>(seconds);
  struct tm local;
  char text[64];
  if (!localtime_r(&t, &local) || !std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local)) return "?";
  return text;
}

void obSprintNameLine(ObStream* s, const std::string& tabs, const char* label, const obDN* name) {
  const char* text = name ? name->GetStr() : nullptr;
  if (text) s->Printf("%s%s%s\n", tabs.c_str(), label, text);
}

void obFprintText(FILE* f, const std::function<void(ObStream*)>& sprint) {
  ObStream text;
  sprint(&text);
  obNamePut(f ? f : stderr, text);
}

void obHerrorText(const std::function<void(ObStream*)>& sprint) {
  if (!obDiagOn()) return;
  ObStream text;
  sprint(&text);
  herror_func(0, 0, "%s", text.c_str());
}
