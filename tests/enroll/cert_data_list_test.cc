// Certificate data lists: round trips in insertion order, the cursor, the
// deliberate leniencies (negative index, long integers) and lists that are
// not OK.
#include <gtest/gtest.h>

#include <string>

#include "nycert/enroll/cert_data_list.h"
#include "support/cert_pki.h"

namespace {

nyBinBuf Buf(const Bytes& b) { return nyBinBuf(b.data(), static_cast<unsigned>(b.size())); }

// CN=<cn> as a Name.
Bytes Name(const std::string& cn) {
  return Tlv(0x30, Tlv(0x31, Tlv(0x30, Cat({Tlv(0x06, Hex("55 04 03")), Tlv(0x0C, Text(cn))}))));
}

CertDataList ThreeEntries() {
  CertDataList list;
  EXPECT_EQ(0, list.AddCertData(CertDataElm(1, "CN=First,O=Example,C=US", static_cast<certType>(0))));
  EXPECT_EQ(0, list.AddCertData(CertDataElm(0x7FFFFFFF, "CN=Second", static_cast<certType>(2))));
  EXPECT_EQ(0, list.AddCertData(CertDataElm(-1, "CN=Third,OU=Ops", certType_Unknown)));
  return list;
}

TEST(CertDataList, RoundTripKeepsOrderAndValues) {
  CertDataList list = ThreeEntries();
  nyBinBuf der;
  ASSERT_EQ(0, list.Encode(der));
  CertDataList back(der);
  ASSERT_EQ(1, back.OK());
  ASSERT_EQ(3, back.Count());
  EXPECT_EQ(1, back.GetElm(0)->SerialNumber());
  EXPECT_STREQ("CN=First,O=Example,C=US", back.GetElm(0)->DN());
  EXPECT_EQ(0, back.GetElm(0)->CertType());
  EXPECT_EQ(0x7FFFFFFF, back.GetElm(1)->SerialNumber());
  EXPECT_EQ(2, back.GetElm(1)->CertType());
  EXPECT_EQ(-1, back.GetElm(2)->SerialNumber());
  EXPECT_EQ(certType_Unknown, back.GetElm(2)->CertType());
  EXPECT_EQ(back.GetElm(1), back.GetElm(0)->Next());

  back.InitCurr();
  for (const char* dn : {"CN=First,O=Example,C=US", "CN=Second"}) EXPECT_STREQ(dn, back.GetCurrAndGoNext()->DN());
  EXPECT_NE(nullptr, back.GetCurrAndGoNext());
  EXPECT_EQ(nullptr, back.GetCurrAndGoNext());
  back.InitCurr();
  EXPECT_EQ(back.GetElm(0), back.GetCurrAndGoNext());

  EXPECT_EQ(nullptr, back.GetElm(back.Count()));
  EXPECT_EQ(back.GetElm(0), back.GetElm(-5));  // a negative index gives the head

  CertDataList copy(back);
  copy.AddCertData(CertDataElm(9, "CN=Fourth", certType_Unknown));
  EXPECT_EQ(3, back.Count());
  EXPECT_NE(back.GetElm(0), copy.GetElm(0));
  EXPECT_STREQ("CN=Second", copy.GetElm(1)->DN());
  std::string printed = Printed([&](FILE* f) { copy.GetElm(3)->Fprint(f, 0); });
  EXPECT_EQ("Serial number: 9\nDN: CN=Fourth\nCert type: -1\n", printed);
}

TEST(CertDataList, EmptyListsAndLongIntegers) {
  nyBinBuf der;
  ASSERT_EQ(0, CertDataList().Encode(der));
  EXPECT_EQ("30 00", ToHex(der));
  CertDataList empty(der);
  EXPECT_EQ(1, empty.OK());
  EXPECT_EQ(0, empty.Count());
  EXPECT_EQ(nullptr, empty.GetElm(0));

  // Serial and type of five octets read as -1; four octets are kept.
  Bytes entries = Tlv(0x30, Cat({Tlv(0x30, Cat({Tlv(0x02, Hex("01 00 00 00 00")), Name("Long"),
                                                Tlv(0x02, Hex("00 80 00 00 00"))})),
                                 Tlv(0x30, Cat({Tlv(0x02, Hex("7F 00 00 01")), Name("Short"), Tlv(0x02, Hex("05"))}))}));
  CertDataList list(Buf(entries));
  ASSERT_EQ(1, list.OK());
  ASSERT_EQ(2, list.Count());
  EXPECT_EQ(-1, list.GetElm(0)->SerialNumber());
  EXPECT_EQ(-1, list.GetElm(0)->CertType());
  EXPECT_STREQ("CN=Long", list.GetElm(0)->DN());
  EXPECT_EQ(0x7F000001, list.GetElm(1)->SerialNumber());
  EXPECT_EQ(5, list.GetElm(1)->CertType());
}

TEST(CertDataList, FailuresLeaveClearStates) {
  Bytes garbage = Hex("30 05 30 03 02 01");
  DiagCapture capture;
  CertDataList bad(Buf(garbage));
  EXPECT_TRUE(capture.Saw("CertDataList_imp::Decode: Failed to decode the buffer into obASN_CertDataList."));
  EXPECT_TRUE(capture.Saw("CertDataList_imp::CertDataList_imp:Failed to initiate CertDataList_imp."));
  EXPECT_EQ(0, bad.OK());
  bad.AddCertData(CertDataElm(1, "CN=X", certType_Unknown));
  EXPECT_EQ(nullptr, bad.GetElm(0));
  bad.InitCurr();
  EXPECT_EQ(nullptr, bad.GetCurrAndGoNext());
  nyBinBuf out;
  EXPECT_EQ(-1, bad.Encode(out));

  // A failed decode leaves a good list as it was.
  CertDataList list = ThreeEntries();
  EXPECT_EQ(-1, list.Decode(Buf(garbage)));
  EXPECT_EQ(3, list.Count());
  EXPECT_EQ(1, list.OK());

  CertDataList notAName;
  notAName.AddCertData(CertDataElm(1, "", certType_Unknown));
  EXPECT_EQ(-1, notAName.Encode(out));
}

}  // namespace
