#include "nycert/certs/issuer_key_id.h"

#include <memory>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/ext_key_id.h"

obExtKeyID* obAuthorityKeyIdOf(obCert& issuer) {
  std::unique_ptr<obExtKeyID> aki;
  obExtKeyID* ski = issuer.SubjectKeyId();
  if (ski && ski->KIdBuf().size) {
    obASN_AuthorityKeyIdentifier value;
    value.keyIdentifier.emplace().Set(ski->KIdBuf().data, ski->KIdBuf().size);
    aki.reset(new obExtKeyID(value));
  } else if (issuer.PubKey()) {
    aki.reset(new obExtKeyID(obKeyId_Authority, *issuer.PubKey()));
  }
  return aki && aki->KIdBuf().size ? aki.release() : nullptr;
}
