#include "nycert/validate/chain_expiration.h"

#include <gtest/gtest.h>

#include "nycert/certs/cert.h"
#include "support/chain_pki.h"

namespace {

TEST(ChainExpiration, TheEarliestWellFormedNotAfter) {
  obCerts chain(6);
  chain.Set(1, ChainCertificate("root").release());
  chain.Set(3, ChainCertificate("leaf").release());
  chain.Set(4, ChainCertificate("ca1").release());
  const Bytes& der = SharedChainPki().Der("ca2");
  chain.Set(5, Decoded<obCert>(Bytes(der.begin(), der.end() - 1)).release());
  long leafEnd = chain.Get(3)->notAfter();
  EXPECT_LT(leafEnd, chain.Get(1)->notAfter());
  EXPECT_EQ(leafEnd, obGetChainExpiration(&chain));
}

TEST(ChainExpiration, NoneForEmptyOrMalformedChains) {
  obCerts chain(2);
  EXPECT_EQ(-1, obGetChainExpiration(&chain));
  EXPECT_EQ(-1, obGetChainExpiration(nullptr));
  chain.Set(0, Decoded<obCert>(Bytes{0x30, 0x00}).release());
  EXPECT_EQ(-1, obGetChainExpiration(&chain));
}

}  // namespace
