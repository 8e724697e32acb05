#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "nycert/platform/oserr.h"

namespace {

// Lines come from fetcher and worker threads too.
std::mutex g_captured_mutex;
std::vector<std::string> g_captured;
int g_capture_depth = 0;

void Capture(std::string line) {
  std::lock_guard<std::mutex> hold(g_captured_mutex);
  g_captured.push_back(std::move(line));
}

void ClearCaptured() {
  std::lock_guard<std::mutex> hold(g_captured_mutex);
  g_captured.clear();
}

void CapturePlain(const char* line) { Capture(line); }

void CaptureTopic(const char* topic, int level, const char* line) {
  Capture(std::string("[") + topic + ":" + std::to_string(level) + "] " + line);
}

}  // namespace

DiagCapture::DiagCapture(bool gate_open)
    : saved_debug_(dodebugprt), saved_thr_(g_MsgTypeThr), saved_max_thr_(g_MsgTypeMaxThr) {
  ++g_capture_depth;
  ClearCaptured();
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

std::vector<std::string> DiagCapture::Lines() const {
  std::lock_guard<std::mutex> hold(g_captured_mutex);
  return g_captured;
}

bool DiagCapture::Saw(const std::string& text) const {
  for (const std::string& line : Lines()) {
    if (line.find(text) != std::string::npos) return true;
  }
  return false;
}

void DiagCapture::Clear() { ClearCaptured(); }

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

uint32_t LoggedSeed(uint32_t fallback) {
  const char* replay = std::getenv("NYCERT_TEST_SEED");
  uint32_t seed = replay && *replay ? static_cast<uint32_t>(std::strtoul(replay, nullptr, 0)) : fallback;
  ::testing::Test::RecordProperty("seed", std::to_string(seed));
  std::printf("random seed %u (replay with NYCERT_TEST_SEED=%u)\n", seed, seed);
  return seed;
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
std::string ToHex(const std::vector<unsigned char>& bytes) { return ToHex(bytes.data(), bytes.size()); }

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

void RunTogether(int count, const std::function<void(int)>& body) {
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < count; ++t) {
    threads.emplace_back([&, t] {
      while (!go) std::this_thread::yield();
      body(t);
    });
  }
  go = true;
  for (std::thread& thread : threads) thread.join();
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

std::string OpensslTool() {
  const char* tool = std::getenv("NYCERT_OPENSSL");
  return tool && *tool ? tool : "openssl";
}

bool Openssl(const std::string& dir, const std::string& args) {
  std::string command = "cd '" + dir + "' && " + OpensslTool() + " " + args + " >/dev/null 2>&1";
  return std::system(command.c_str()) == 0;
}

std::string OpensslOutput(const std::string& dir, const std::string& args) {
  std::string command = "cd '" + dir + "' && " + OpensslTool() + " " + args + " 2>&1";
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char chunk[256];
    for (size_t n; (n = fread(chunk, 1, sizeof chunk, pipe)) > 0;) out.append(chunk, n);
    pclose(pipe);
  }
  return out;
}

std::string TestCacheDir() {
  const char* tmp = std::getenv("TMPDIR");
  std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/nycert-test-keys-" + std::to_string(getuid());
  mkdir(dir.c_str(), 0700);
  return dir;
}

void MakeOnce(const std::string& path, const std::function<bool(const std::string&)>& make) {
  std::string lock = path + ".lock";
  for (int waited = 0; access(path.c_str(), R_OK) != 0; ++waited) {
    bool stale = waited == 600;  // two minutes: the lock's maker died
    int fd = stale ? -1 : open(lock.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
    if (fd < 0 && !stale) {
      usleep(200000);
      continue;
    }
    if (fd >= 0) close(fd);
    std::string scratch = path + "." + std::to_string(getpid());
    if (make(scratch)) std::rename(scratch.c_str(), path.c_str());
    unlink(lock.c_str());
    break;
  }
}

std::string CachedKey(int bits, int index) {
  std::string dir = TestCacheDir();
  std::string suffix = index ? "-" + std::to_string(index) + ".pem" : ".pem";
  std::string path = dir + (bits ? "/rsa" + std::to_string(bits) : "/ec256") + suffix;
  MakeOnce(path, [&](const std::string& scratch) {
    std::string algorithm = bits ? "RSA -pkeyopt rsa_keygen_bits:" + std::to_string(bits)
                                 : "EC -pkeyopt ec_paramgen_curve:P-256";
    return Openssl(dir, "genpkey -algorithm " + algorithm + " -out '" + scratch + "'");
  });
  return path;
}

std::vector<unsigned char> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
