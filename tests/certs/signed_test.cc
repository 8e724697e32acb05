// Signed objects: the kept DER, decoding, signature checks with every
// supported digest, and the sparse list certificates and CRLs share.
#include <gtest/gtest.h>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/signed.h"
#include "support/cert_pki.h"

namespace {

// The list with its typed operations opened up for the tests.
class SignedList : public obSignedObjects {
 public:
  explicit SignedList(int n = 0) : obSignedObjects(n) {}
  SignedList(const SignedList& other) = default;
  using obSignedObjects::AddSigned;
  using obSignedObjects::GetSigned;
  using obSignedObjects::SetSigned;
};

obSigned* Marker() {
  static const unsigned char kByte = 0x30;
  return new obSigned(&kByte, 1);
}

// The certificate der with its outer signature algorithm replaced by oid.
Bytes WithOuterAlgorithm(const Bytes& der, const char* oid) {
  obASN_Certificate cert;
  EXPECT_EQ(0, obAsnDecode(cert, der.data(), der.size()));
  cert.signatureAlgorithm.algorithm = obAsnOid(oid);
  nyBinBuf out;
  EXPECT_EQ(0, obAsnEncode(cert, out));
  return Bytes(out.Data(), out.Data() + out.Len());
}

TEST(SignedObject, KeepsACopyCountsReferencesAndReportsEmptyData) {
  Bytes der = {0x30, 0x00};
  obSigned* obj = new obSigned(der.data(), 2);
  der[0] = 0;
  EXPECT_EQ(1, obj->OK());
  EXPECT_EQ(0x30, obj->GetBuf()[0]);
  obSaveSigned(obj);
  EXPECT_EQ(2, obj->RefCount());
  obFreeSigned(obj);
  EXPECT_EQ(1, obj->RefCount());
  obFreeSigned(obj);
  obSaveSigned(nullptr);
  obFreeSigned(nullptr);

  for (unsigned len : {0u, 5u}) {
    obSigned empty(len ? nullptr : der.data(), len);
    EXPECT_EQ(0, empty.OK());
    EXPECT_STREQ("Empty data", empty.Error());
    EXPECT_EQ(nullptr, empty.GetBuf());
  }
}

TEST(SignedVerify, AcceptsEveryDigestAndRejectsTampering) {
  const TestPki& pki = SharedPki();
  for (const char* digest : {"md5", "sha1", "sha256", "sha384", "sha512"}) {
    SCOPED_TRACE(digest);
    CertRequest request;
    request.digest = digest;
    Bytes der = pki.Issue(std::string("vfy_") + digest, request);
    EXPECT_EQ(obVfy_OK, obSigned(der.data(), static_cast<unsigned>(der.size())).VerifySig(pki.CaKey()));
    der[der.size() / 2] ^= 0x01;  // inside the signed part
    obSigned bad(der.data(), static_cast<unsigned>(der.size()));
    EXPECT_EQ(obVfy_BadSignature, bad.VerifySig(pki.CaKey()));
    EXPECT_EQ(obVfy_BadSignature, bad.VerifySig(nullptr));
  }
  // The old OIW identifier 1.3.14.3.2.29 for sha1WithRSAEncryption, in the outer identifier only.
  Bytes oiw = WithOuterAlgorithm(Resign(pki.CaDer(), [](obASN_Certificate&) {}, pki.CaKey(), ob_md_sha1), "1.3.14.3.2.29");
  EXPECT_EQ(obVfy_OK, obSigned(oiw.data(), static_cast<unsigned>(oiw.size())).VerifySig(pki.CaKey()));
}

TEST(SignedVerify, ReportsUndecodableAndUnsupported) {
  const TestPki& pki = SharedPki();
  Bytes garbage = {0x30, 0x03, 0x02, 0x01, 0x05};
  obSigned notSigned(garbage.data(), static_cast<unsigned>(garbage.size()));
  EXPECT_EQ(obVfy_DecodeError,
            Gated([&] { return notSigned.VerifySig(pki.CaKey()); }, "ob_VerifySigned: Failed decoding of signed"));
  Bytes trailing = Cat({pki.CaDer(), Hex("00")});
  EXPECT_EQ(obVfy_DecodeError, obSigned(trailing.data(), static_cast<unsigned>(trailing.size())).VerifySig(pki.CaKey()));
  Bytes pss = WithOuterAlgorithm(pki.CaDer(), "1.2.840.113549.1.1.10");  // RSASSA-PSS
  obSigned unsupported(pss.data(), static_cast<unsigned>(pss.size()));
  EXPECT_EQ(obVfy_UnsupportedAlg,
            Gated([&] { return unsupported.VerifySig(pki.CaKey()); }, "ob_VerifySigned: unsupported algorithm"));
}

// Adding appends after the highest occupied slot, growing by ten; holes stay.
TEST(SignedList, AppendsAfterTheTopAndGrowsByTen) {
  SignedList list;
  EXPECT_EQ(-1, list.Top());
  EXPECT_EQ(nullptr, list.GetSigned(0));
  EXPECT_EQ(-1, list.SetSigned(0, nullptr));
  list.AddSigned(nullptr);
  EXPECT_EQ(0, list.Size());

  for (int i = 0; i < 6; ++i) list.AddSigned(Marker());
  EXPECT_EQ(10, list.Size());
  list.Del(3);
  list.Del(-1);
  list.Del(10);
  EXPECT_EQ(5, list.Count());
  EXPECT_EQ(5, list.Top());
  obSigned* next = Marker();
  list.AddSigned(next);
  EXPECT_EQ(next, list.GetSigned(6));
  EXPECT_EQ(nullptr, list.GetSigned(3));

  for (int i = 0; i < 3; ++i) list.AddSigned(Marker());  // slots 7, 8, 9
  EXPECT_EQ(10, list.Size());
  obSigned* eleventh = Marker();
  list.AddSigned(eleventh);
  EXPECT_EQ(20, list.Size());
  EXPECT_EQ(eleventh, list.GetSigned(10));

  list.ClearAll();
  EXPECT_EQ(0, list.Count());
  EXPECT_EQ(-1, list.Top());
  obSigned* first = Marker();
  list.AddSigned(first);
  EXPECT_EQ(first, list.GetSigned(0));
}

TEST(SignedList, SetFillsHolesAndCopyCompacts) {
  SignedList list(6);
  obSigned* a = Marker();
  obSigned* b = Marker();
  EXPECT_EQ(0, list.SetSigned(1, a));
  EXPECT_EQ(0, list.SetSigned(4, b));
  EXPECT_EQ(4, list.Top());
  obSigned* stray = Marker();
  EXPECT_EQ(-1, list.SetSigned(-1, stray));
  EXPECT_EQ(-1, list.SetSigned(6, stray));
  EXPECT_EQ(2, list.Count());
  obFreeSigned(stray);
  {
    SignedList copy(list);
    EXPECT_EQ(2, copy.Size());
    EXPECT_EQ(a, copy.GetSigned(0));
    EXPECT_EQ(b, copy.GetSigned(1));
    EXPECT_EQ(2, a->RefCount());
  }
  EXPECT_EQ(1, a->RefCount());
  obSigned* replacement = Marker();
  EXPECT_EQ(0, list.SetSigned(1, replacement));  // the old occupant is released
  EXPECT_EQ(replacement, list.GetSigned(1));
  SignedList empty;
  EXPECT_EQ(0, SignedList(empty).Size());
}

}  // namespace
