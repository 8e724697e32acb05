// Passwords for the nycert program, read from the source the user names
// (never from the command line itself) and wiped after use, and the PKCS#12
// key files they open.
#ifndef NYCERT_TOOLS_PASSWORD_INPUT_H_
#define NYCERT_TOOLS_PASSWORD_INPUT_H_

#include <string>
#include <vector>

class obKeyHolder;

// A password read from its source, wiped when it goes.
class Secret {
 public:
  Secret() = default;
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;
  ~Secret();

  const char* c_str() const { return text_.c_str(); }
  std::string& text() { return text_; }

 private:
  std::string text_;
};

// Reads secret from source: "env:VAR", "fd:N" (its first line), "file:PATH"
// (its first line), or "prompt" or "" (asked with question on the terminal,
// without echo). True, or false with error set.
bool ReadSecret(const std::string& source, const char* question, Secret& secret, std::string& error);

// Adds the root CAs and certified keys of the PKCS#12 files at paths to
// holder, all under the one password read from passSource (only when there
// are files): true, or false with error set, naming the file when it cannot
// be read, the password is wrong or the content does not decode.
bool AddPkcs12FilesToHolder(const std::vector<std::string>& paths, const std::string& passSource,
                            obKeyHolder& holder, std::string& error);

#endif  // NYCERT_TOOLS_PASSWORD_INPUT_H_
