// Helpers shared by the tests.
#ifndef NYCERT_TESTS_SUPPORT_TEST_SUPPORT_H_
#define NYCERT_TESTS_SUPPORT_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "nycert/buffers/nybinbuf.h"

// Captures the diagnostic channels for its lifetime, with the gate opened or
// shut as asked, and restores the switches and default sinks afterwards.
class DiagCapture {
 public:
  explicit DiagCapture(bool gate_open = true);
  ~DiagCapture();
  DiagCapture(const DiagCapture&) = delete;
  DiagCapture& operator=(const DiagCapture&) = delete;

  const std::vector<std::string>& Lines() const;
  // Whether any captured line contains text.
  bool Saw(const std::string& text) const;
  void Clear();

 private:
  int saved_debug_, saved_thr_, saved_max_thr_;
};

// Octets from hex text; blanks are ignored ("30 03 02 01 05").
std::vector<unsigned char> Hex(const std::string& text);
std::string ToHex(const unsigned char* data, size_t length);
std::string ToHex(const nyBinBuf& buf);

// A fresh empty directory for one test, removed with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

#endif  // NYCERT_TESTS_SUPPORT_TEST_SUPPORT_H_
