// Helpers shared by the tests.
#ifndef NYCERT_TESTS_SUPPORT_TEST_SUPPORT_H_
#define NYCERT_TESTS_SUPPORT_TEST_SUPPORT_H_

#include <cstdio>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "nycert/buffers/nybinbuf.h"

// Captures the diagnostic channels for its lifetime, with the gate opened or
// shut as asked, and restores the switches and default sinks afterwards.
// Captures may nest; the innermost one holds the lines.
class DiagCapture {
 public:
  explicit DiagCapture(bool gate_open = true);
  ~DiagCapture();
  DiagCapture(const DiagCapture&) = delete;
  DiagCapture& operator=(const DiagCapture&) = delete;

  // A copy of the lines captured so far.
  std::vector<std::string> Lines() const;
  // Whether any captured line contains text.
  bool Saw(const std::string& text) const;
  void Clear();

 private:
  int saved_debug_, saved_thr_, saved_max_thr_;
};

// Runs op with the gate open, then shut, and returns its result. Checks that
// both runs give the same result, that the open run reported a line equal to
// message (when one is given) and that the shut run reported nothing.
int Gated(const std::function<int()>& op, const std::string& message = "");

// The seed of a randomized test: fallback, or NYCERT_TEST_SEED when set, to
// replay a failure. Printed and recorded with the test's result.
uint32_t LoggedSeed(uint32_t fallback);

// Octets from hex text; blanks are ignored ("30 03 02 01 05").
std::vector<unsigned char> Hex(const std::string& text);
std::string ToHex(const unsigned char* data, size_t length);
std::string ToHex(const nyBinBuf& buf);
std::string ToHex(const std::vector<unsigned char>& bytes);
// text written times over.
std::string Repeat(const std::string& text, int times);

// What print writes to a stdio stream, or with to_stdout what it writes to
// standard output when handed a null stream.
std::string Printed(const std::function<void(FILE*)>& print, bool to_stdout = false);

// Runs body(t) for t in 0..count-1 on threads released together, and joins them.
void RunTogether(int count, const std::function<void(int)>& body);

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

// The openssl command-line tool as a peer: $NYCERT_OPENSSL, else "openssl".
std::string OpensslTool();
// Runs the tool with args in dir, quietly: whether it succeeded.
bool Openssl(const std::string& dir, const std::string& args);
// What the tool writes to standard output and error when run with args in dir.
std::string OpensslOutput(const std::string& dir, const std::string& args);
// A private key made once by the tool: RSA of bits, or EC P-256 for bits 0.
// Large RSA keys are slow to make, so each is kept in a directory of the
// user's under $TMPDIR and shared by parallel test processes: the one that
// creates the lock file makes the key (under a private name, then renamed),
// the others wait. Keys of other indexes are distinct keys of the same kind.
// Returns the PEM file's path.
std::string CachedKey(int bits, int index = 0);
// A directory of the user's under $TMPDIR for what tests make once and share.
std::string TestCacheDir();
// Unless path exists, has make build it under the scratch name it is given
// (a file or a directory) and renames that into place when make succeeds;
// one process makes, parallel ones wait for it.
void MakeOnce(const std::string& path, const std::function<bool(const std::string&)>& make);

std::vector<unsigned char> ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes);

#endif  // NYCERT_TESTS_SUPPORT_TEST_SUPPORT_H_
