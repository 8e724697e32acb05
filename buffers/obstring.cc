#include "nycert/buffers/obstring.h"

#include <cctype>
#include <cstdio>
#include <cstring>

obString::obString(const char* s) {
  if (s) CopyFrom(s, static_cast<unsigned>(std::strlen(s)));
}

obString::obString(const char* s, int n) {
  if (s && n > 0) CopyFrom(s, static_cast<unsigned>(n));
}

obString::obString(const obString& other) { CopyFrom(other.str, other.len_); }

obString::~obString() {
  delete[] str;
  len_ = 0;
}

// Replaces str with a fresh copy of n bytes of s. The old buffer is released
// only after the copy, so s may point into it.
void obString::CopyFrom(const char* s, unsigned n) {
  if (!s) n = 0;
  char* copy = new char[n + 1];
  if (n) std::memcpy(copy, s, n);
  copy[n] = '\0';
  delete[] str;
  str = copy;
  len_ = n;
}

void obString::Set(const char* s, int n) { CopyFrom(s, n > 0 ? static_cast<unsigned>(n) : 0); }

void obString::Set(const char* s) { Set(s, s ? static_cast<int>(std::strlen(s)) : 0); }

obString& obString::operator=(const obString& other) {
  if (str != other.str) CopyFrom(other.str, other.len_);
  return *this;
}

obString& obString::operator+=(const obString& other) {
  char* joined = new char[len_ + other.len_ + 1];
  if (len_) std::memcpy(joined, str, len_);
  if (other.len_) std::memcpy(joined + len_, other.str, other.len_);
  joined[len_ + other.len_] = '\0';
  delete[] str;
  str = joined;
  len_ += other.len_;
  return *this;
}

void obString::Zero() {
  if (str && len_ >= 1) std::memset(str, 0, len_);
}

void obString::ToLower() {
  for (unsigned i = 0; i < len_; ++i) str[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(str[i])));
}

void obString::print() const { std::printf("%s\n", str ? str : ""); }

obString operator+(const obString& left, const obString& right) {
  obString joined(left);
  joined += right;
  return joined;
}

obString operator+(const obString& left, const char* right) { return left + obString(right); }

int operator==(const obString& left, const obString& right) {
  if (left.length() != right.length()) return 0;
  return left.length() == 0 || std::memcmp(left.getstr(), right.getstr(), left.length()) == 0;
}

int operator!=(const obString& left, const obString& right) { return !(left == right); }
