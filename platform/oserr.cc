#include "nycert/platform/oserr.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>

int dodebugprt = 0;
int g_MsgTypeThr = 0;
int g_MsgTypeMaxThr = 0;

namespace {

// Diagnostics come from worker and fetcher threads too.
std::atomic<herror_sink_fn> g_herror_sink{nullptr};
std::atomic<tderror_sink_fn> g_tderror_sink{nullptr};

// Formats into a string, dropping one trailing newline so every sink gets a bare line.
NYCERT_PRINTF(1, 0) std::string FormatLine(const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string line;
  if (n > 0) {
    line.resize(static_cast<size_t>(n) + 1);
    std::vsnprintf(&line[0], line.size(), format, args);
    line.resize(static_cast<size_t>(n));
  }
  if (!line.empty() && line.back() == '\n') line.pop_back();
  return line;
}

void EmitPlain(const std::string& line) {
  if (herror_sink_fn sink = g_herror_sink.load()) {
    sink(line.c_str());
  } else {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

}  // namespace

extern "C" {

void herror_func(int, int, const char* format, ...) {
  if (!format) return;
  va_list args;
  va_start(args, format);
  std::string line = FormatLine(format, args);
  va_end(args);
  EmitPlain(line);
}

void hex_herror(const void* data, unsigned length) {
  static const char kHex[] = "0123456789abcdef";
  const unsigned char* p = static_cast<const unsigned char*>(data);
  if (!p) return;
  std::string line;
  for (unsigned i = 0; i < length; ++i) {
    line += kHex[p[i] >> 4];
    line += kHex[p[i] & 0xF];
    line += ' ';
    if (i % 16 == 15 || i + 1 == length) {
      EmitPlain(line);
      line.clear();
    }
  }
}

void tderrorFunc(const char* topic, int level, int, const char* format, ...) {
  if (!format || (!dodebugprt && level > g_MsgTypeMaxThr)) return;
  va_list args;
  va_start(args, format);
  std::string line = FormatLine(format, args);
  va_end(args);
  if (!topic) topic = "";
  if (tderror_sink_fn sink = g_tderror_sink.load()) {
    sink(topic, level, line.c_str());
  } else {
    std::fprintf(stderr, "[%s:%d] %s\n", topic, level, line.c_str());
  }
}

void herror_set_sink(herror_sink_fn sink) { g_herror_sink = sink; }
void tderror_set_sink(tderror_sink_fn sink) { g_tderror_sink = sink; }

}  // extern "C"
