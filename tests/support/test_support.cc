#include "support/test_support.h"

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

void CapturePlain(const char* line) { Captured().push_back(line); }

void CaptureTopic(const char* topic, int level, const char* line) {
  Captured().push_back(std::string("[") + topic + ":" + std::to_string(level) + "] " + line);
}

}  // namespace

DiagCapture::DiagCapture(bool gate_open)
    : saved_debug_(dodebugprt), saved_thr_(g_MsgTypeThr), saved_max_thr_(g_MsgTypeMaxThr) {
  Captured().clear();
  dodebugprt = 0;
  g_MsgTypeThr = gate_open ? 4 : 0;
  g_MsgTypeMaxThr = gate_open ? 4 : 0;
  herror_set_sink(CapturePlain);
  tderror_set_sink(CaptureTopic);
}

DiagCapture::~DiagCapture() {
  herror_set_sink(nullptr);
  tderror_set_sink(nullptr);
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
