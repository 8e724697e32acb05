// The test chains of tests/data/chains: one small openssl-made PKI per
// case, validated at the suite's fixed time, each with the code and index
// its name promises. make_chains.py there makes them and lists them in
// cases.txt.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/name_constraints.h"
#include "nycert/validate/validate_path.h"
#include "support/chain_files.h"

namespace {

struct ChainCase {
  std::string name;
  int checks = 0;
  int code = 0;
  int index = 0;
  std::vector<std::string> options;
};

void PrintTo(const ChainCase& c, std::ostream* os) { *os << c.name; }

std::vector<ChainCase> LoadCases() {
  std::vector<ChainCase> cases;
  std::ifstream in(ChainSuiteDir() + "/cases.txt");
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    ChainCase c;
    fields >> c.name >> c.checks >> c.code >> c.index;
    for (std::string option; fields >> option;) c.options.push_back(option);
    cases.push_back(c);
  }
  return cases;
}

// The permitted names a case's options configure, or none.
bool PermittedNames(const ChainCase& c, obGeneralNames& names) {
  bool any = false;
  for (const std::string& option : c.options) {
    if (option.rfind("permit=", 0) == 0) {
      any = true;
      std::string dn = option.substr(7);
      if (dn != "-") names.Add(new obGeneralName(obDN(dn.c_str())));
    } else if (option.rfind("permit_dns=", 0) == 0) {
      any = true;
      std::string host = option.substr(11);
      names.Add(new obGeneralName(obGN_dNSName, host.c_str(), static_cast<int>(host.size())));
    }
  }
  return any;
}

// The stages the case selects, in their fixed order; the first fault wins.
int Validate(const ChainCase& c, obCerts& chain, int& index) {
  long expiration = 0;
  int rc = 0;
  if ((c.checks & 1) && (rc = obValidatePath(chain, index, expiration)) != 0) return rc;
  if ((c.checks & 2) && (rc = obValidateSignatures(chain, index)) != 0) return rc;
  obGeneralNames permitted;
  bool constrained = PermittedNames(c, permitted);
  if ((c.checks & 8) && (rc = obValidateNameConstraints(constrained ? &permitted : nullptr, chain.Get(0))) != 0) {
    index = 0;
    return rc;
  }
  return 0;
}

class ChainSuite : public testing::TestWithParam<ChainCase> {
 protected:
  void SetUp() override { ob_time_set_fixed(ChainSuiteTime()); }
  void TearDown() override { ob_time_set_fixed(0); }
};

TEST_P(ChainSuite, VerdictAndIndex) {
  const ChainCase& c = GetParam();
  if (c.checks & 4) GTEST_SKIP() << "revocation";
  obCerts chain;
  LoadPemCerts(ChainCaseDir(c.name) + "/chain.pem", chain);
  ASSERT_GT(chain.Count(), 0) << c.name;
  int index = -7;
  EXPECT_EQ(c.code, Validate(c, chain, index)) << c.name;
  EXPECT_EQ(c.index, index) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Cases, ChainSuite, testing::ValuesIn(LoadCases()),
                         [](const testing::TestParamInfo<ChainCase>& param) { return param.param.name; });

// Every code the validation stages can give at a fixed time appears among
// the cases' expectations.
TEST(ChainSuiteCoverage, EveryProducibleCodeIsExpectedSomewhere) {
  std::set<int> expected;
  for (const ChainCase& c : LoadCases()) expected.insert(c.code);
  for (int code : {0, -1000, -999, -998, -997, -996, -995, -994, -993, -992, -991, -990, -987, -986, -985, -984,
                   -982, -974})
    EXPECT_EQ(1u, expected.count(code)) << code;
}

}  // namespace
