#include "nycert/keystore/p12_password.h"

#include <openssl/crypto.h>

#include <cstring>

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_unicode.h"
#include "nycert/buffers/diag.h"

namespace {

constexpr int kMinDistinct = 4;

const char kInvalidMessage[] = "Password given is invalid. Password must contain at least 4 different characters";

bool HasDistinctChars(const char* password) {
  char seen[kMinDistinct];
  int count = 0;
  for (const char* p = password; *p && count < kMinDistinct; ++p) {
    if (!std::memchr(seen, *p, static_cast<size_t>(count))) seen[count++] = *p;
  }
  return count >= kMinDistinct;
}

bool IsAscii(const char* text) {
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
    if (*p >= 0x80) return false;
  }
  return true;
}

// Each octet as one BMP character, as some writers converted passwords.
void OctetsAsBmp(const char* text, nyBinBuf& bmp) {
  size_t n = std::strlen(text);
  bmp.Set(static_cast<unsigned>(2 * n + 2));
  for (size_t i = 0; i < n; ++i) {
    bmp.Data()[2 * i] = 0;
    bmp.Data()[2 * i + 1] = static_cast<unsigned char>(text[i]);
  }
  bmp.Data()[2 * n] = bmp.Data()[2 * n + 1] = 0;
}

obP12Password Form(const char* password, const nyBinBuf& bmp) {
  obP12Password form;
  if (password) form.raw.Set(password, static_cast<unsigned>(std::strlen(password)));
  form.bmp = bmp;
  return form;
}

}  // namespace

int Check_PKCS12_password(const char* password, obString& message) {
  message = kInvalidMessage;
  if (!password || !*password) {
    message = "No password supplied";
    return -1;
  }
  if (std::strlen(password) < static_cast<size_t>(kMinDistinct)) {
    OB_HERROR("%s: given password is less than 4 characters long", "Check_PKCS12_password");
    return -1;
  }
  if (!HasDistinctChars(password)) {
    OB_HERROR("%s: given password is invalid. Password must contain at least 4 different characters",
              "Check_PKCS12_password");
    return -1;
  }
  message = "Valid password supplied";
  return 0;
}

int obPKCS12_pass2bmp(const char* text, nyBinBuf& bmp, bool terminated) {
  return text ? obPKCS12_pass2bmp(text, std::strlen(text), bmp, terminated) : -1;
}

int obPKCS12_pass2bmp(const char* text, size_t len, nyBinBuf& bmp, bool terminated) {
  if (!text) return -1;
  obAsnBytes out;
  if (obAsnUtf8ToUtf16(reinterpret_cast<const unsigned char*>(text), len, out) < 0) return -1;
  bmp.Set(static_cast<unsigned>(out.size() + (terminated ? 2 : 0)));
  if (out.size()) std::memcpy(bmp.Data(), out.data(), out.size());
  if (terminated) bmp.Data()[out.size()] = bmp.Data()[out.size() + 1] = 0;
  out.Wipe();
  return 0;
}

void obP12Wipe(nyBinBuf& buf) {
  if (buf.Data() && buf.Len()) OPENSSL_cleanse(buf.Data(), buf.Len());
}

std::vector<obP12Password> obP12PasswordForms(const char* password) {
  nyBinBuf none;
  nyBinBuf bmp;
  std::vector<obP12Password> forms;
  if (!password || !*password) {
    obPKCS12_pass2bmp("", bmp, true);
    forms.push_back(Form(password, password ? bmp : none));
    forms.push_back(Form(password, password ? none : bmp));
    return forms;
  }
  if (obPKCS12_pass2bmp(password, bmp, true) == 0) forms.push_back(Form(password, bmp));
  if (forms.empty() || !IsAscii(password)) {
    OctetsAsBmp(password, bmp);
    forms.push_back(Form(password, bmp));
  }
  obP12Wipe(bmp);
  return forms;
}
