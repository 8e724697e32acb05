#include "nycert/buffers/pem.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <climits>
#include <string_view>

#include "nycert/buffers/diag.h"

namespace {

constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr unsigned kLineOctets = 48;  // 64 base64 characters
constexpr size_t kNpos = std::string_view::npos;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsSpace(char c) { return IsBlank(c) || c == '\r' || c == '\n' || c == '\v' || c == '\f'; }
bool IsLabelChar(char c) { return c > ' ' && c < 0x7F && c != '-'; }
bool IsBase64Char(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

// label = labelchar *( [ "-" / SP ] labelchar ), at most obPem_MaxLabel long
bool IsValidLabel(std::string_view label) {
  if (label.empty() || label.size() > obPem_MaxLabel || !IsLabelChar(label.back())) return false;
  for (size_t i = 0; i < label.size(); ++i) {
    bool separator = label[i] == ' ' || label[i] == '-';
    if (!IsLabelChar(label[i]) && !(separator && i > 0 && IsLabelChar(label[i - 1]))) return false;
  }
  return true;
}

// The label that starts at start and is closed by "-----": label is set and
// the position after the dashes returned, or kNpos.
size_t ReadLabel(std::string_view text, size_t start, std::string_view& label) {
  std::string_view window = text.substr(start, obPem_MaxLabel + kDashes.size());
  size_t close = window.find(kDashes);
  if (close == kNpos || !IsValidLabel(window.substr(0, close))) return kNpos;
  label = window.substr(0, close);
  return start + close + kDashes.size();
}

enum class PemFault { kNone, kBadBegin, kNoEnd, kEndMismatch, kHeaders, kBadBase64, kEmpty };

// Where one block lies in the text, and where the search for the next one
// resumes: past the block, or at the BEGIN line that cut it short.
struct PemSpan {
  std::string_view label;
  std::string_view body;
  PemFault fault = PemFault::kNone;
  size_t next = 0;
};

PemSpan Faulty(PemFault fault, std::string_view label, size_t next) {
  PemSpan span;
  span.fault = fault;
  span.label = label;
  span.next = next;
  return span;
}

// The first block whose BEGIN line starts at or after from; false when there
// is none. The body runs from the end of the BEGIN line to the next "-----",
// which must open the matching END line.
bool FindBlock(std::string_view text, size_t from, PemSpan& span) {
  size_t begin = text.find(kBegin, from);
  if (begin == kNpos) return false;
  size_t labelAt = begin + kBegin.size();
  std::string_view label;
  size_t lineEnd = ReadLabel(text, labelAt, label);
  if (lineEnd == kNpos) {
    span = Faulty(PemFault::kBadBegin, label, labelAt);
    return true;
  }
  while (lineEnd < text.size() && IsBlank(text[lineEnd])) ++lineEnd;
  if (lineEnd < text.size() && text[lineEnd] != '\r' && text[lineEnd] != '\n') {
    span = Faulty(PemFault::kBadBegin, label, lineEnd);
    return true;
  }
  size_t stop = text.find(kDashes, lineEnd);
  if (stop == kNpos || text.compare(stop, kEnd.size(), kEnd) != 0) {
    span = Faulty(PemFault::kNoEnd, label, stop == kNpos ? text.size() : stop);
    return true;
  }
  std::string_view endLabel;
  size_t after = ReadLabel(text, stop + kEnd.size(), endLabel);
  if (after == kNpos || endLabel != label) {
    span = Faulty(PemFault::kEndMismatch, label, stop + kEnd.size());
    return true;
  }
  span = Faulty(PemFault::kNone, label, after);
  span.body = text.substr(lineEnd, stop - lineEnd);
  return true;
}

// Hands base64 characters to OpenSSL a chunk of whole groups at a time, so
// that the blanks between them cost no copy of the body. Padding may only
// close the last group.
class Base64Reader {
 public:
  explicit Base64Reader(unsigned char* out) : out_(out) {}
  ~Base64Reader() { OPENSSL_cleanse(chunk_, sizeof chunk_); }
  Base64Reader(const Base64Reader&) = delete;
  Base64Reader& operator=(const Base64Reader&) = delete;

  bool Put(char c) {
    if (c == '=') {
      if (++pads_ > 2) return false;
    } else if (pads_ > 0 || !IsBase64Char(c)) {
      return false;
    }
    chunk_[count_++] = static_cast<unsigned char>(c);
    return count_ < sizeof chunk_ || Flush();
  }

  // The number of octets decoded, or -1 when the last group is incomplete
  // (OpenSSL refuses a partial group).
  long Finish() { return Flush() ? static_cast<long>(written_) - pads_ : -1; }

 private:
  bool Flush() {
    if (count_ == 0) return true;
    int got = EVP_DecodeBlock(out_ + written_, chunk_, static_cast<int>(count_));
    if (got != static_cast<int>(count_ / 4 * 3)) return false;
    written_ += static_cast<size_t>(got);
    count_ = 0;
    return true;
  }

  unsigned char* out_;
  size_t written_ = 0;
  unsigned char chunk_[256];
  unsigned count_ = 0;
  int pads_ = 0;
};

void Wipe(nyBinBuf& buf) {
  buf.Zero();
  buf.Clear();
}

// RFC 1421 headers ("Proc-Type: 4,ENCRYPTED") are the only colons a body can hold.
PemFault DecodeBody(std::string_view body, nyBinBuf& out) {
  if (body.find(':') != kNpos) return PemFault::kHeaders;
  out.Zero();  // what it held may be freed by the resize
  out.Set(static_cast<unsigned>(body.size() / 4 * 3));
  Base64Reader reader(out.Data());
  bool ok = true;
  for (size_t i = 0; ok && i < body.size(); ++i) ok = IsSpace(body[i]) || reader.Put(body[i]);
  long decoded = ok ? reader.Finish() : -1;
  if (decoded < 0) return PemFault::kBadBase64;
  if (decoded == 0) return PemFault::kEmpty;
  out.Set(out.Data(), static_cast<unsigned>(decoded));
  return PemFault::kNone;
}

void Report(const char* fn, const PemSpan& span, PemFault fault) {
  int n = static_cast<int>(span.label.size());
  const char* label = span.label.data();
  switch (fault) {
    case PemFault::kNone:
      break;
    case PemFault::kBadBegin:
      OB_HERROR("%s: malformed BEGIN line", fn);
      break;
    case PemFault::kNoEnd:
      OB_HERROR("%s: no END line for %.*s", fn, n, label);
      break;
    case PemFault::kEndMismatch:
      OB_HERROR("%s: END line does not match BEGIN %.*s", fn, n, label);
      break;
    case PemFault::kHeaders:
      OB_HERROR("%s: %.*s block with headers (encrypted) is not supported", fn, n, label);
      break;
    case PemFault::kBadBase64:
      OB_HERROR("%s: invalid base64 in %.*s block", fn, n, label);
      break;
    case PemFault::kEmpty:
      OB_HERROR("%s: empty %.*s block", fn, n, label);
      break;
  }
}

// Decodes the block found into out, or reports why it cannot be and empties out.
bool TakeBlock(const char* fn, const PemSpan& span, nyBinBuf& out) {
  PemFault fault = span.fault != PemFault::kNone ? span.fault : DecodeBody(span.body, out);
  if (fault == PemFault::kNone) return true;
  Wipe(out);
  Report(fn, span, fault);
  return false;
}

// The base64 lines of len octets, each with its "\n".
size_t Base64Size(size_t len) { return (len + 2) / 3 * 4 + (len + kLineOctets - 1) / kLineOctets; }

// Writes the base64 lines of len octets of data at out, which has room for Base64Size(len).
void WriteBase64(const unsigned char* data, unsigned len, char* out) {
  for (unsigned done = 0; done < len; done += kLineOctets) {
    unsigned chunk = len - done < kLineOctets ? len - done : kLineOctets;
    // EVP_EncodeBlock's terminating zero falls where the line's "\n" goes.
    out += EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out), data + done, static_cast<int>(chunk));
    *out++ = '\n';
  }
}

}  // namespace

int Base64Encode_PEM(const char* label, const unsigned char* data, unsigned len, obString& out) {
  static const char kFn[] = "Base64Encode_PEM";
  std::string_view name = label ? std::string_view(label) : std::string_view();
  if (!IsValidLabel(name)) {
    OB_HERROR("%s: invalid label", kFn);
    return -1;
  }
  if (!data || len == 0) {
    OB_HERROR("%s: no data", kFn);
    return -1;
  }
  size_t boundary = name.size() + kDashes.size() + 1;
  size_t size = kBegin.size() + boundary + Base64Size(len) + kEnd.size() + boundary;
  if (size > static_cast<size_t>(INT_MAX)) {
    OB_HERROR("%s: %u octets are too many", kFn, len);
    return -1;
  }
  std::string text;
  text.reserve(size);  // no reallocation leaves copies behind before the wipe
  text.append(kBegin).append(name).append(kDashes).push_back('\n');
  size_t body = text.size();
  text.resize(body + Base64Size(len));
  WriteBase64(data, len, &text[body]);
  text.append(kEnd).append(name).append(kDashes).push_back('\n');
  out.Set(text.data(), static_cast<int>(text.size()));
  OPENSSL_cleanse(&text[0], text.size());
  return 0;
}

int Base64Decode_PEM(const char* text, unsigned len, const char* label, nyBinBuf& out) {
  static const char kFn[] = "Base64Decode_PEM";
  if (text) {
    std::string_view all(text, len);
    PemSpan span;
    for (size_t from = 0; FindBlock(all, from, span); from = span.next) {
      if (label && (span.label.empty() || span.label != label)) continue;
      return TakeBlock(kFn, span, out) ? 0 : -1;
    }
  }
  Wipe(out);
  if (label)
    OB_HERROR("%s: no %s block", kFn, label);
  else
    OB_HERROR("%s: no PEM block", kFn);
  return -1;
}

int obPem_Next(const char* text, unsigned len, unsigned& offset, obPemBlock& block) {
  PemSpan span;
  block.label.clear();
  if (!text || offset >= len || !FindBlock(std::string_view(text, len), offset, span)) {
    offset = len;
    Wipe(block.der);
    return 0;
  }
  offset = static_cast<unsigned>(span.next);
  block.label.assign(span.label);
  return TakeBlock("obPem_Next", span, block.der) ? 1 : -1;
}

int obPem_IsPem(const unsigned char* data, unsigned len) {
  if (!data) return 0;
  std::string_view text(reinterpret_cast<const char*>(data), len);
  std::string_view label;
  for (size_t at = text.find(kBegin); at != kNpos; at = text.find(kBegin, at + 1))
    if (ReadLabel(text, at + kBegin.size(), label) != kNpos) return 1;
  return 0;
}
