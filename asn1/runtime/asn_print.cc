#include "nycert/asn1/runtime/asn_print.h"

#include <cstring>
#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr int kMaxIndentLevel = 19;
constexpr unsigned long kMaxDumpOctets = 1600;
constexpr unsigned long kOctetsPerLine = 20;
const char kBlanks[] = "                                      ";  // 2 * kMaxIndentLevel

}  // namespace

const char* obAsnIndent(int level) {
  if (level < 0) level = 0;
  if (level > kMaxIndentLevel) level = kMaxIndentLevel;
  return kBlanks + (2 * kMaxIndentLevel - 2 * level);
}

void obAsnSprintHex(ObStream* s, const unsigned char* data, unsigned long length, int indent) {
  if (!s) return;
  if (length > kMaxDumpOctets) length = kMaxDumpOctets;
  for (unsigned long line = 0; line < length; line += kOctetsPerLine) {
    std::string octets;
    char hex[4];
    for (unsigned long i = line; i < length && i < line + kOctetsPerLine; ++i) {
      std::snprintf(hex, sizeof hex, "%02x ", data[i]);
      octets += hex;
    }
    s->Printf("%s%s\n", obAsnIndent(indent), octets.c_str());
  }
}

void obAsnSprintChars(ObStream* s, const unsigned char* data, unsigned long length, int indent) {
  if (!s) return;
  for (unsigned long line = 0; line < length; line += kOctetsPerLine) {
    std::string chars;
    for (unsigned long i = line; i < length && i < line + kOctetsPerLine; ++i) {
      unsigned char c = data[i];
      chars += (c < 0x20 || c >= 0x7F) ? '.' : static_cast<char>(c);
    }
    s->Printf("%s%s\n", obAsnIndent(indent), chars.c_str());
  }
}

void obAsnHerrorLines(const char* text) {
  if (!obDiagOn() || !text) return;
  while (*text) {
    const char* eol = std::strchr(text, '\n');
    size_t n = eol ? static_cast<size_t>(eol - text) : std::strlen(text);
    herror_func(0, 0, "%.*s", static_cast<int>(n), text);
    text += n + (eol ? 1 : 0);
  }
}
