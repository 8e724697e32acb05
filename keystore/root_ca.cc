#include "nycert/keystore/root_ca.h"

#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/names/general_names.h"
#include "nycert/platform/obstream.h"

obRootCA_imp::obRootCA_imp(const char* name, obCert* caCert, unsigned validation, ObCaType type, int purpose,
                           const unsigned char* id, int idLen, const obGeneralNames* constraints, int crlDestination,
                           ObCaRevocationMethod revocation, obPKObjects* servers)
    : obPKNamedObj_imp(name, purpose, id, idLen),
      cert(caCert),
      valType(validation),
      caType(type),
      nameConstraints(constraints ? new obGeneralNames(*constraints) : nullptr),
      crlTo(crlDestination),
      revocationMethod(revocation),
      ocspServers(servers) {
  obSaveSigned(cert);
  obSavePKobj(ocspServers);
}

obRootCA_imp::~obRootCA_imp() {
  obFreeSigned(cert);
  obFreePKobj(ocspServers);
}

namespace {

const char* RevocationText(ObCaRevocationMethod method) {
  switch (method) {
    case obCaRevocation_OCSP:
      return "OCSP";
    case obCaRevocation_None:
      return "none";
    default:
      return "CRL";
  }
}

}  // namespace

obDN* obRootCA_imp::DN() const { return cert ? cert->Subject() : nullptr; }

void obRootCA_imp::Sprint(ObStream* s, int indent) const {
  SprintHeader(s, "root CA", indent);
  std::string tabs = obNameTabs(indent + 1);
  s->Printf("%sCA type %d, validation 0x%x, CRLs to %d, revocation %s%s%s\n", tabs.c_str(),
            static_cast<int>(caType), valType, crlTo, RevocationText(revocationMethod),
            msEnterprise ? ", enterprise CA" : "", useCN2FetchUser ? ", user by common name" : "");
  if (nameConstraints) nameConstraints->Sprint(s, "Name constraints", indent + 1);
  if (ocspServers) ocspServers->Sprint(s, "OCSP servers", indent + 1);
}

obRootCA::obRootCA(const char* name, obCert* cert, unsigned valType, ObCaType caType, int purpose,
                   const unsigned char* id, int idLen, const obGeneralNames* nameConstraints, int crlTo)
    : obRootCA(new obRootCA_imp(name, cert, valType, caType, purpose, id, idLen, nameConstraints, crlTo,
                                obCaRevocation_CRL, nullptr)) {}

obRootCA::obRootCA(obRootCA_imp* imp) : obPKNamedObj(imp), imp_(imp) {}

obRootCA::~obRootCA() = default;

void obRootCA::SetOcspServers(obPKObjects* servers) {
  obSavePKobj(servers);
  obFreePKobj(imp_->ocspServers);
  imp_->ocspServers = servers;
}
