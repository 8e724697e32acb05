// ObStream: a growable text stream that printing functions append to.
#ifndef NYCERT_PLATFORM_OBSTREAM_H_
#define NYCERT_PLATFORM_OBSTREAM_H_

#include <string>

#include "nycert/platform/export.h"
#include "nycert/platform/oserr.h"

class NYCERT_EXPORT ObStream {
 public:
  // Appends a zero-terminated text; null appends nothing. Returns 0.
  int Puts(const char* text);
  // Appends printf-formatted text. Returns 0, or -1 on a format error.
  int Printf(const char* format, ...) NYCERT_PRINTF(2, 3);

  const char* c_str() const { return text_.c_str(); }
  size_t length() const { return text_.size(); }
  const std::string& str() const { return text_; }
  void Clear() { text_.clear(); }

 private:
  std::string text_;
};

#endif  // NYCERT_PLATFORM_OBSTREAM_H_
