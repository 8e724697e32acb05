// obString: an owned, zero-terminated text with an explicit length.
//
// Content is bytes: embedded zeros are kept, comparison is binary. An empty
// string may or may not own a one-byte buffer; both forms compare equal.
#ifndef NYCERT_BUFFERS_OBSTRING_H_
#define NYCERT_BUFFERS_OBSTRING_H_

#include "nycert/platform/export.h"

class NYCERT_EXPORT obString {
 public:
  obString() = default;
  obString(const char* s);  // NOLINT(google-explicit-constructor): texts convert freely
  obString(const char* s, int n);
  obString(const obString& other);
  ~obString();

  // Replaces the text with n bytes of s (s may point into this string's own
  // text); a null s leaves an empty string.
  void Set(const char* s, int n);
  void Set(const char* s);
  obString& operator=(const obString& other);
  obString& operator+=(const obString& other);

  operator const char*() const { return str; }  // NOLINT(google-explicit-constructor)
  const char* getstr() const { return str; }
  unsigned length() const { return len_; }

  // Overwrites the characters with zeros (passwords before release).
  void Zero();
  void ToLower();
  void print() const;

 private:
  void CopyFrom(const char* s, unsigned n);

  char* str = nullptr;
  unsigned len_ = 0;
};

NYCERT_EXPORT obString operator+(const obString& left, const obString& right);
NYCERT_EXPORT obString operator+(const obString& left, const char* right);
NYCERT_EXPORT int operator==(const obString& left, const obString& right);
NYCERT_EXPORT int operator!=(const obString& left, const obString& right);

#endif  // NYCERT_BUFFERS_OBSTRING_H_
