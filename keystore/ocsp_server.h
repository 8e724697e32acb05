// obOcspServer: an OCSP responder a root CA's certificates are checked with.
#ifndef NYCERT_KEYSTORE_OCSP_SERVER_H_
#define NYCERT_KEYSTORE_OCSP_SERVER_H_

#include "nycert/buffers/obstring.h"
#include "nycert/keys/pkobj.h"
#include "nycert/platform/export.h"

class ObStream;
class obCert;
class obset;

class NYCERT_EXPORT obOcspServer_imp : public obPKobj_imp {
 public:
  // Takes its own reference to cert, which may be null.
  obOcspServer_imp(const char* name, const char* url, obCert* cert);
  ~obOcspServer_imp() override;

  obString name;
  obString url;
  obCert* cert;
};

class NYCERT_EXPORT obOcspServer : public obPKobj {
 public:
  obOcspServer(const char* name, const char* url, obCert* cert);
  ~obOcspServer() override;

  // A server from an attribute set: "url" (required), "name" (optional) and
  // "cert", the responder's certificate in DER (optional). Null, reported,
  // when there is no URL or the certificate does not decode.
  static obOcspServer* CreateObject(const obset* attributes);

  const obString& Name() const { return imp_->name; }
  const obString& Url() const { return imp_->url; }
  // The certificate that signs the responder's answers, lent; null when
  // the answers are signed by the CA itself.
  obCert* Cert() const { return imp_->cert; }

  void Herror() const;
  void Sprint(ObStream* s, int indent) const;

 private:
  obOcspServer_imp* imp_;
};

#endif  // NYCERT_KEYSTORE_OCSP_SERVER_H_
