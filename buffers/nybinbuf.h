// nyBinBuf: an owned run of bytes, deep-copied.
//
// There is no capacity field: a buffer set to shorter contents keeps its block
// and reports the shorter length. Release does not wipe; holders of secrets
// call Zero() first.
#ifndef NYCERT_BUFFERS_NYBINBUF_H_
#define NYCERT_BUFFERS_NYBINBUF_H_

#include <cstdio>

#include "nycert/platform/export.h"

class ObStream;

class NYCERT_EXPORT nyBinBuf {
 public:
  nyBinBuf() = default;
  nyBinBuf(const unsigned char* p, unsigned n) { Set(p, n); }
  nyBinBuf(const char* p, unsigned n) { Set(p, n); }
  nyBinBuf(const nyBinBuf& other) { Set(other); }
  nyBinBuf(nyBinBuf&& other) noexcept : data(other.data), len(other.len) {
    other.data = nullptr;
    other.len = 0;
  }
  // n bytes, contents undefined.
  explicit nyBinBuf(unsigned n);
  ~nyBinBuf();

  // Copies n bytes from p (which may point into this buffer's own block); p
  // null empties the buffer. Reuses the block when n is at most Len().
  void Set(const unsigned char* p, unsigned n);
  void Set(const char* p, unsigned n) { Set(reinterpret_cast<const unsigned char*>(p), n); }
  void Set(const nyBinBuf& other);
  // Room for n bytes to be written through Data(); grows without keeping the old contents.
  void Set(unsigned n);
  // Puts n bytes from p in front of the contents; on an empty buffer, Set(p, n).
  void Prepend(const unsigned char* p, unsigned n);
  void Zero();
  void Clear() { Set(static_cast<const unsigned char*>(nullptr), 0); }

  int IsEmpty() const { return data == nullptr || len == 0; }
  unsigned Len() const { return len; }
  unsigned char* Data() { return data; }
  const unsigned char* Data() const { return data; }

  // Asymmetric on purpose: a null buffer equals only a null buffer, while a
  // non-null buffer compares by length and bytes (so an empty block equals null).
  int Equal(const nyBinBuf& other) const;
  int operator==(const nyBinBuf& other) const { return Equal(other); }
  int operator!=(const nyBinBuf& other) const { return !Equal(other); }
  nyBinBuf& operator=(const nyBinBuf& other) {
    Set(other);
    return *this;
  }
  nyBinBuf& operator=(nyBinBuf&& other) noexcept;

  void Herror(const char* title) const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

  unsigned char* data = nullptr;
  unsigned len = 0;
};

#endif  // NYCERT_BUFFERS_NYBINBUF_H_
