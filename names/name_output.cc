#include "nycert/names/name_output_internal.h"

#include <cstring>
#include <memory>

#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr int kMaxTabs = 79;

bool HasOutput(const char* owner, unsigned char** out, int* len) {
  if (out && len) return true;
  OB_HERROR("%s: no output", owner);
  return false;
}

}  // namespace

std::string obNameTabs(int indent) {
  return std::string(static_cast<size_t>(indent < 0 ? 0 : indent > kMaxTabs ? kMaxTabs : indent), '\t');
}

void obNamePut(FILE* f, const ObStream& text) { std::fputs(text.c_str(), f ? f : stdout); }

void obNameHerror(const ObStream& text) { obAsnHerrorLines(text.c_str()); }

int obNameCopyOut(const char* owner, const std::string& text, char* dst, int size) {
  if (!dst || size < 1) {
    OB_HERROR("%s: no room for the text", owner);
    return -1;
  }
  if (text.size() >= static_cast<size_t>(size)) {
    OB_HERROR("%s: text of %zu octets does not fit %d", owner, text.size(), size);
    dst[0] = '\0';
    return -1;
  }
  std::memcpy(dst, text.c_str(), text.size() + 1);
  return 0;
}

int obNameEncode(const char* owner, const obAsnType& value, unsigned char** out, int* len) {
  if (!HasOutput(owner, out, len)) return -1;
  obAsnWriteBuf measure(nullptr, 0);
  int size = value.BEnc(measure);
  if (size <= 0) {
    OB_HERROR("%s: encoding failed", owner);
    return -1;
  }
  std::unique_ptr<unsigned char[]> block(new unsigned char[static_cast<size_t>(size)]);
  obAsnWriteBuf writer(block.get(), static_cast<unsigned long>(size));
  if (value.BEnc(writer) != size || writer.Data() != block.get()) {
    OB_HERROR("%s: encoding failed", owner);
    return -1;
  }
  *out = block.release();
  *len = size;
  return 0;
}

int obNameHandOut(const char* owner, const unsigned char* p, unsigned long n, unsigned char** out, int* len) {
  if (!HasOutput(owner, out, len)) return -1;
  unsigned char* block = new unsigned char[n];
  std::memcpy(block, p, n);
  *out = block;
  *len = static_cast<int>(n);
  return 0;
}
