#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "nycert/platform/oserr.h"

namespace {

std::vector<std::string>& Captured() {
  static std::vector<std::string> lines;
  return lines;
}
int g_capture_depth = 0;

void CapturePlain(const char* line) { Captured().push_back(line); }

void CaptureTopic(const char* topic, int level, const char* line) {
  Captured().push_back(std::string("[") + topic + ":" + std::to_string(level) + "] " + line);
}

}  // namespace

DiagCapture::DiagCapture(bool gate_open)
    : saved_debug_(dodebugprt), saved_thr_(g_MsgTypeThr), saved_max_thr_(g_MsgTypeMaxThr) {
  ++g_capture_depth;
  Captured().clear();
  dodebugprt = 0;
  g_MsgTypeThr = gate_open ? 4 : 0;
  g_MsgTypeMaxThr = gate_open ? 4 : 0;
  herror_set_sink(CapturePlain);
  tderror_set_sink(CaptureTopic);
}

DiagCapture::~DiagCapture() {
  if (--g_capture_depth == 0) {
    herror_set_sink(nullptr);
    tderror_set_sink(nullptr);
  }
  dodebugprt = saved_debug_;
  g_MsgTypeThr = saved_thr_;
  g_MsgTypeMaxThr = saved_max_thr_;
}

const std::vector<std::string>& DiagCapture::Lines() const { return Captured(); }

bool DiagCapture::Saw(const std::string& text) const {
  for (const std::string& line : Captured()) {
    if (line.find(text) != std::string::npos) return true;
  }
  return false;
}

void DiagCapture::Clear() { Captured().clear(); }

int Gated(const std::function<int()>& op, const std::string& message) {
  int open_result, shut_result;
  {
    DiagCapture diag(true);
    open_result = op();
    const std::vector<std::string>& lines = diag.Lines();
    if (!message.empty()) {
      EXPECT_TRUE(std::find(lines.begin(), lines.end(), message) != lines.end())
          << "no line \"" << message << "\"; first of " << lines.size() << ": " << (lines.empty() ? "" : lines[0]);
    }
  }
  {
    DiagCapture diag(false);
    shut_result = op();
    EXPECT_TRUE(diag.Lines().empty()) << "the shut gate let through: " << diag.Lines()[0];
  }
  EXPECT_EQ(shut_result, open_result) << "the gate changed the result";
  return open_result;
}

std::vector<unsigned char> Hex(const std::string& text) {
  std::vector<unsigned char> out;
  std::string digits;
  for (char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
  }
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    out.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return out;
}

std::string ToHex(const unsigned char* data, size_t length) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (size_t i = 0; i < length; ++i) {
    if (i) out += ' ';
    out += kDigits[data[i] >> 4];
    out += kDigits[data[i] & 0xF];
  }
  return out;
}

std::string ToHex(const nyBinBuf& buf) { return ToHex(buf.Data(), buf.Len()); }

std::string Repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

std::string Printed(const std::function<void(FILE*)>& print, bool to_stdout) {
  if (to_stdout) {
    testing::internal::CaptureStdout();
    print(nullptr);
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }
  FILE* f = std::tmpfile();
  print(f);
  std::fflush(f);
  std::rewind(f);
  std::string text;
  for (int c; (c = std::fgetc(f)) != EOF;) text += static_cast<char>(c);
  std::fclose(f);
  return text;
}

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/nycert-test-XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  if (mkdtemp(name.data())) path_ = name.data();
}

TempDir::~TempDir() {
  if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
}
