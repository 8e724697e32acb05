// PKCS #12 files on disk: reading them whole, checking their MAC, and
// replacing their password durably.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/buffers/filebuf.h"
#include "nycert/keystore/pfx_decode.h"
#include "nycert/keystore/pfx_encode.h"
#include "nycert/keystore/pkcs12.h"
#include "nycert/platform/fileops.h"

namespace {

const char kWrongPassword[] =
    "The password you have typed is incorrect. \nPlease note that the password is case-sensitive.\n"
    "Make sure the Caps Lock is not accidentally on";

std::string DirOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// Writes data to a new file beside path with path's permissions, pushes it
// to the device and renames it over path: 0, or -1 with path untouched.
int ReplaceDurably(const std::string& path, const nyBinBuf& data) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return -1;
  std::string temp = path + ".XXXXXX";
  int fd = mkstemp(&temp[0]);
  if (fd < 0) return -1;
  FILE* file = fchmod(fd, st.st_mode & 07777) == 0 ? fdopen(fd, "wb") : nullptr;
  if (!file) {
    close(fd);
    obOsRemove(temp.c_str());
    return -1;
  }
  bool ok = std::fwrite(data.Data(), 1, data.Len(), file) == data.Len() && obOsSyncFile(file) == 0;
  ok = std::fclose(file) == 0 && ok;
  if (!ok || obOsRename(temp.c_str(), path.c_str()) != 0) {
    obOsRemove(temp.c_str());
    return -1;
  }
  obOsSyncDir(DirOf(path).c_str());
  return 0;
}

// Opens pfx under oldPassword and writes it again under newPassword in the
// layout it came in: 0, or -1 with message set for the user.
int Reprotect(const nyBinBuf& pfx, const char* oldPassword, const char* newPassword, nyBinBuf& out,
              obString& message) {
  obP12Contents contents;
  obString why;
  int rc = obP12_Decode(pfx.Data(), pfx.Len(), oldPassword, contents, why);
  if (rc == kP12WrongPassword) {
    message = kWrongPassword;
    return -1;
  }
  if (rc < 0) {
    message = why;
    return -1;
  }
  obP12WriteOptions options = contents.sawPbes2 ? obP12WriteOptions() : obP12WriteOptions::Legacy();
  if (obP12_Encode(contents, newPassword, options, out, why) < 0) {
    message = why;
    return -1;
  }
  return 0;
}

}  // namespace

int obpkcs12_fromfile(const char* file, nyBinBuf& pfx) {
  if (!file || File2Buf(file, pfx) < 0) {
    OB_HERROR("obpkcs12_fromfile: Error reading file");
    return -1;
  }
  if (pfx.Len() > kP12MaxFileSize) {
    OB_HERROR("obpkcs12_fromfile: %s", "file larger than 16 MiB");
    pfx.Clear();
    return -1;
  }
  return 0;
}

int obPKCS12_AuthenticatePFX(const nyBinBuf& pfx, const char* password) {
  obString why;
  if (obP12_CheckMac(pfx.Data(), pfx.Len(), password, why) < 0) {
    OB_HERROR("obPKCS12_AuthenticatePFX: %s", why.getstr() ? why.getstr() : "");
    return -1;
  }
  return 0;
}

int ReplacePassword_2PKCS12_file_with_passwd_check(const char* file, const char* oldPassword,
                                                   const char* newPassword, obString& message) {
  static const char me[] = "ReplacePassword_2PKCS12_file_with_passwd_check";
  nyBinBuf pfx, out;
  int rc = Check_PKCS12_password(newPassword, message);
  if (rc == 0 && obpkcs12_fromfile(file, pfx) < 0) {
    message = "obpkcs12_fromfile: Error reading file";
    rc = -1;
  }
  if (rc == 0) rc = Reprotect(pfx, oldPassword, newPassword, out, message);
  if (rc == 0 && ReplaceDurably(file, out) < 0) {
    message = obString("Failed to write ") + file + ": " + std::strerror(errno);
    rc = -1;
  }
  if (rc < 0) {
    OB_HERROR("%s: Failed to change password of PKCS#12 file %s, file remains untouched", me, file ? file : "");
    return -1;
  }
  message = "Your password was replaced successfully";
  OB_HERROR("%s: Changed password of PKCS#12 file %s successfuly", me, file);
  return 0;
}

int ReplacePassword_2PKCS12_file(const char*, const char*, const char*) {
  OB_HERROR("ReplacePassword_2PKCS12_file: Do not use this function, use "
            "ReplacePassword_2PKCS12_file_with_passwd_check instead");
  return -1;
}
