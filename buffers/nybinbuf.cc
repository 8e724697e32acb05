#include "nycert/buffers/nybinbuf.h"

#include <cstring>
#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr unsigned kMaxTabs = 79;

std::string TabPrefix(unsigned tabs) { return std::string(tabs > kMaxTabs ? kMaxTabs : tabs, '\t'); }

}  // namespace

nyBinBuf::nyBinBuf(unsigned n) : data(new unsigned char[n]), len(n) {}

nyBinBuf::~nyBinBuf() { delete[] data; }

nyBinBuf& nyBinBuf::operator=(nyBinBuf&& other) noexcept {
  if (&other != this) {
    delete[] data;
    data = other.data;
    len = other.len;
    other.data = nullptr;
    other.len = 0;
  }
  return *this;
}

void nyBinBuf::Set(const unsigned char* p, unsigned n) {
  if (data && p && n <= len) {
    std::memmove(data, p, n);
    len = n;
    return;
  }
  // The new block is filled before the old one goes: p may point into it.
  unsigned char* copy = p ? new unsigned char[n] : nullptr;
  if (copy && n) std::memcpy(copy, p, n);
  delete[] data;
  data = copy;
  len = copy ? n : 0;
}

void nyBinBuf::Set(const nyBinBuf& other) {
  if (&other != this) Set(other.Data(), other.Len());
}

void nyBinBuf::Set(unsigned n) {
  if (n > len) {
    delete[] data;
    data = new unsigned char[n];
  }
  len = n;
}

void nyBinBuf::Prepend(const unsigned char* p, unsigned n) {
  if (len == 0) {
    Set(p, n);
    return;
  }
  if (!p) return;
  unsigned char* joined = new unsigned char[len + n];
  if (n) std::memcpy(joined, p, n);
  std::memcpy(joined + n, data, len);
  delete[] data;
  data = joined;
  len += n;
}

void nyBinBuf::Zero() {
  if (data && len > 0) std::memset(data, 0, len);
}

int nyBinBuf::Equal(const nyBinBuf& other) const {
  if (!data) return other.data == nullptr;
  return other.Len() == len && (len == 0 || std::memcmp(data, other.Data(), len) == 0);
}

void nyBinBuf::Herror(const char* title) const {
  if (!obDiagOn()) return;
  if (title) herror_func(0, 0, "%s:", title);
  if (IsEmpty()) {
    herror_func(0, 0, "nyBinBuf Empty");
  } else {
    hex_herror(data, len);
  }
}

void nyBinBuf::Fprint(FILE* f, int indent) const {
  if (!f) f = stdout;
  std::string prefix = TabPrefix(indent < 0 ? kMaxTabs : static_cast<unsigned>(indent));
  if (IsEmpty()) {
    std::fprintf(f, "%sEmpty\n", prefix.c_str());
    return;
  }
  for (unsigned i = 0; i < len; ++i) {
    if (i % 16 == 0) std::fprintf(f, i == 0 ? "%s" : "\n%s", prefix.c_str());
    std::fprintf(f, "%02x ", data[i]);
  }
  std::fprintf(f, "\n");
}

void nyBinBuf::Sprint(ObStream* s, const char* title, int indent) const {
  if (!s) return;
  std::string prefix = TabPrefix(static_cast<unsigned>(indent));
  if (title) s->Printf("%s%s:\n", prefix.c_str(), title);
  for (unsigned i = 0; data && i < len; ++i) {
    if (i % 16 == 0) {
      if (i != 0) s->Puts("\n");
      s->Puts(prefix.c_str());
    }
    s->Printf("%02x ", data[i]);
  }
  s->Puts("\n");
}
