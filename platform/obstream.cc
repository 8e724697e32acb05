#include "nycert/platform/obstream.h"

#include <cstdarg>
#include <cstdio>

int ObStream::Puts(const char* text) {
  if (text) text_ += text;
  return 0;
}

int ObStream::Printf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (n < 0) {
    va_end(args);
    return -1;
  }
  size_t old = text_.size();
  text_.resize(old + static_cast<size_t>(n) + 1);
  std::vsnprintf(&text_[old], static_cast<size_t>(n) + 1, format, args);
  text_.resize(old + static_cast<size_t>(n));
  va_end(args);
  return 0;
}
