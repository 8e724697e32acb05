#include "password_input.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <openssl/crypto.h>

#include <cstdlib>
#include <cstring>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/pkcs12.h"

namespace {

// The first line readable from fd, without its end.
bool ReadLine(int fd, std::string& out) {
  out.clear();
  char c;
  ssize_t n;
  while ((n = read(fd, &c, 1)) == 1 && c != '\n') out += c;
  if (!out.empty() && out.back() == '\r') out.pop_back();
  return n >= 0;
}

bool Prompt(const char* question, std::string& out) {
  int fd = open("/dev/tty", O_RDWR);
  if (fd < 0) return false;
  termios saved;
  bool tty = tcgetattr(fd, &saved) == 0;
  if (tty) {
    termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(fd, TCSAFLUSH, &quiet);
  }
  bool ok = write(fd, question, std::strlen(question)) >= 0 && ReadLine(fd, out);
  if (tty) tcsetattr(fd, TCSAFLUSH, &saved);
  ok = write(fd, "\n", 1) >= 0 && ok;
  close(fd);
  return ok;
}

}  // namespace

Secret::~Secret() {
  if (!text_.empty()) OPENSSL_cleanse(&text_[0], text_.size());
}

bool ReadSecret(const std::string& source, const char* question, Secret& secret, std::string& error) {
  std::string& out = secret.text();
  if (source.empty() || source == "prompt") {
    if (Prompt(question, out)) return true;
    error = "no terminal to ask for the password on";
  } else if (source.compare(0, 4, "env:") == 0) {
    const char* value = std::getenv(source.c_str() + 4);
    if (value) out = value;
    if (value) return true;
    error = "environment variable " + source.substr(4) + " is not set";
  } else if (source.compare(0, 3, "fd:") == 0) {
    if (ReadLine(std::atoi(source.c_str() + 3), out)) return true;
    error = "cannot read the password from " + source;
  } else if (source.compare(0, 5, "file:") == 0) {
    int fd = open(source.c_str() + 5, O_RDONLY);
    bool ok = fd >= 0 && ReadLine(fd, out);
    if (fd >= 0) close(fd);
    if (ok) return true;
    error = "cannot read the password from " + source.substr(5);
  } else {
    error = "password source must be env:VAR, fd:N, file:PATH or prompt";
  }
  return false;
}

bool AddPkcs12FilesToHolder(const std::vector<std::string>& paths, const std::string& passSource,
                            obKeyHolder& holder, std::string& error) {
  if (paths.empty()) return true;
  Secret password;
  if (!ReadSecret(passSource, "Password: ", password, error)) return false;
  for (const std::string& path : paths) {
    nyBinBuf pfx;
    if (obpkcs12_fromfile(path.c_str(), pfx) < 0) {
      error = path + ": cannot read the file";
      return false;
    }
    obString message;
    if (obPKCS12_2KeyHolder(pfx, password.c_str(), holder, message) != 0) {
      error = path + ": " + (message.getstr() ? message.getstr() : "not a PKCS#12 key file");
      return false;
    }
  }
  return true;
}
