// Read and write cursors of the ASN.1 runtime.
//
// obAsnReadBuf walks caller-owned input front to back and never reads outside
// it. obAsnWriteBuf fills a caller-owned block from its end towards its start,
// so content is written before the header that measures it; with a null block
// it only counts, which gives the size for a second, real pass.
#ifndef NYCERT_ASN1_RUNTIME_ASN_BUF_H_
#define NYCERT_ASN1_RUNTIME_ASN_BUF_H_

#include "nycert/platform/export.h"

// A decoded tag: the identifier octets packed first octet lowest (0x30, 0xA0, ...).
typedef unsigned int obAsnTag;
// A decoded length; negative values are the markers below.
typedef int obAsnLen;

constexpr obAsnLen kAsnLenError = -1;
constexpr obAsnLen kAsnIndefiniteLen = -2;
constexpr obAsnTag kAsnBadTag = 0xFFFFFFFFu;

// Class and form bits, as they stand in the first identifier octet.
constexpr unsigned kAsnUniversal = 0x00;
constexpr unsigned kAsnApplication = 0x40;
constexpr unsigned kAsnContext = 0x80;
constexpr unsigned kAsnPrivate = 0xC0;
constexpr unsigned kAsnPrimitive = 0x00;
constexpr unsigned kAsnConstructed = 0x20;

// Deepest nesting of constructed values accepted from one input.
constexpr unsigned kAsnMaxDepth = 64;

class NYCERT_EXPORT obAsnReadBuf {
 public:
  obAsnReadBuf() = default;
  obAsnReadBuf(const unsigned char* data, unsigned long length) { Init(data, length); }

  void Init(const unsigned char* data, unsigned long length);
  // Next octet (0..255), or -1 at the end.
  int GetByte();
  int PeekByte() const;
  // Pointer to the next *n octets, advancing past them; *n is cut to what remains.
  const unsigned char* GetSeg(unsigned long* n);
  // Copies n octets and returns n; when fewer remain copies nothing and returns that count.
  unsigned long CopyOut(unsigned char* dest, unsigned long n);
  // Advances n octets, or to the end; returns the count skipped.
  unsigned long Skip(unsigned long n);
  unsigned long Remaining() const { return static_cast<unsigned long>(end - cur); }
  int Offset() const { return static_cast<int>(cur - start); }
  // Moves back n octets when that stays inside the input: 1, else -1.
  int Back(unsigned long n);
  const unsigned char* Cur() const { return cur; }

  const unsigned char* start = nullptr;
  const unsigned char* end = nullptr;
  const unsigned char* cur = nullptr;
  // Constructed values being decoded right now; see obAsnNestGuard.
  unsigned depth = 0;
};

// Counts one level of nesting for as long as it lives; Ok() is false (and a
// message was reported) once the input nests deeper than kAsnMaxDepth.
class NYCERT_EXPORT obAsnNestGuard {
 public:
  explicit obAsnNestGuard(obAsnReadBuf& b);
  ~obAsnNestGuard() { --b_.depth; }
  obAsnNestGuard(const obAsnNestGuard&) = delete;
  obAsnNestGuard& operator=(const obAsnNestGuard&) = delete;
  bool Ok() const { return b_.depth <= kAsnMaxDepth; }

 private:
  obAsnReadBuf& b_;
};

class NYCERT_EXPORT obAsnWriteBuf {
 public:
  obAsnWriteBuf() = default;
  obAsnWriteBuf(unsigned char* block, unsigned long length) { Init(block, length); }

  // A null block makes a measuring buffer.
  void Init(unsigned char* block, unsigned long length);
  void Reset();
  // Puts b in front of what was written: 1, or -1 when the block is full.
  int PutByte(unsigned char b);
  // Puts n octets in front of what was written: n, or -1 when they do not fit.
  long PutSeg(const unsigned char* p, unsigned long n);

  bool IsMeasuring() const { return start == nullptr; }
  // The octets written so far (a real buffer only) and their count.
  const unsigned char* Data() const { return cur; }
  unsigned long Written() const { return written; }

  unsigned char* cur = nullptr;
  unsigned char* end = nullptr;
  unsigned char* start = nullptr;
  unsigned long written = 0;
  int writeError = 0;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_BUF_H_
