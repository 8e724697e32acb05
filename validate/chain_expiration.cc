#include "nycert/validate/chain_expiration.h"

#include "nycert/certs/cert.h"

long obGetChainExpiration(const obCerts* chain) {
  bool found = false;
  long earliest = -1;
  for (int i = 0; chain && i < chain->Size(); ++i) {
    const obCert* cert = chain->Get(i);
    if (!cert || !cert->OK()) continue;
    if (!found || cert->notAfter() < earliest) earliest = cert->notAfter();
    found = true;
  }
  return earliest;
}
