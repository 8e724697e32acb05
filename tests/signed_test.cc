// Signed objects: the kept DER, decoding, signature checks with every
// supported digest, and the sparse list certificates and CRLs share.
#include <gtest/gtest.h>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/signed.h"
#include "support/cert_pki.h"

namespace {

obSigned* NewSigned(const Bytes& der) { return new obSigned(der.data(), static_cast<unsigned>(der.size())); }

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

// Occupies slots 0..count-1 and returns the objects.
std::vector<obSigned*> Fill(SignedList& list, int count) {
  std::vector<obSigned*> added;
  for (int i = 0; i < count; ++i) {
    added.push_back(Marker());
    list.AddSigned(added.back());
  }
  return added;
}

TEST(SignedObject, KeepsACopyAndReportsEmptyData) {
  Bytes der = {0x30, 0x00};
  obSigned* obj = NewSigned(der);
  der[0] = 0;
  EXPECT_EQ(1, obj->OK());
  EXPECT_EQ(0x30, obj->GetBuf()[0]);
  EXPECT_EQ(2u, obj->BufLen());
  obFreeSigned(obj);

  for (unsigned len : {0u, 5u}) {
    obSigned empty(len ? nullptr : der.data(), len);
    EXPECT_EQ(0, empty.OK());
    EXPECT_STREQ("Empty data", empty.Error());
    EXPECT_EQ(nullptr, empty.GetBuf());
  }
}

TEST(SignedObject, ReferenceCountsDestroyAtZero) {
  obSigned* obj = Marker();
  obSaveSigned(obj);
  EXPECT_EQ(2, obj->RefCount());
  obFreeSigned(obj);
  EXPECT_EQ(1, obj->RefCount());
  obFreeSigned(obj);
  obSaveSigned(nullptr);
  obFreeSigned(nullptr);
}

struct DigestCase {
  const char* name;
  ob_md_type md;
};

TEST(SignedVerify, AcceptsEveryDigestAndRejectsTampering) {
  const TestPki& pki = SharedPki();
  for (DigestCase c : {DigestCase{"md5", ob_md_md5}, {"sha1", ob_md_sha1}, {"sha256", ob_md_sha256},
                       {"sha384", ob_md_sha384}, {"sha512", ob_md_sha512}}) {
    SCOPED_TRACE(c.name);
    CertRequest request;
    request.digest = c.name;
    Bytes der = pki.Issue(std::string("vfy_") + c.name, request);
    obSigned* good = NewSigned(der);
    EXPECT_EQ(obVfy_OK, good->VerifySig(pki.CaKey()));
    obFreeSigned(good);

    der[der.size() / 2] ^= 0x01;  // inside the signed part
    obSigned* bad = NewSigned(der);
    EXPECT_EQ(obVfy_BadSignature, bad->VerifySig(pki.CaKey()));
    EXPECT_EQ(obVfy_BadSignature, bad->VerifySig(nullptr));
    obFreeSigned(bad);
  }
}

TEST(SignedVerify, OldOiwIdentifierAndResignedObjectsVerify) {
  const TestPki& pki = SharedPki();
  Bytes der = Resign(pki.CaDer(), [](obASN_Certificate&) {}, pki.CaKey(), ob_md_sha1);
  // Swap in 1.3.14.3.2.29 for sha1WithRSAEncryption in the outer identifier only.
  obASN_Certificate cert;
  ASSERT_EQ(0, obAsnDecode(cert, der.data(), der.size()));
  cert.signatureAlgorithm.algorithm = obAsnOid("1.3.14.3.2.29");
  nyBinBuf out;
  ASSERT_EQ(0, obAsnEncode(cert, out));
  obSigned obj(out.Data(), out.Len());
  EXPECT_EQ(obVfy_OK, obj.VerifySig(pki.CaKey()));
}

TEST(SignedVerify, ReportsUndecodableAndUnsupported) {
  const TestPki& pki = SharedPki();
  Bytes garbage = {0x30, 0x03, 0x02, 0x01, 0x05};
  obSigned notSigned(garbage.data(), static_cast<unsigned>(garbage.size()));
  EXPECT_EQ(obVfy_DecodeError,
            Gated([&] { return notSigned.VerifySig(pki.CaKey()); }, "ob_VerifySigned: Failed decoding of signed"));

  Bytes trailing = pki.CaDer();
  trailing.push_back(0);
  obSigned withTrailing(trailing.data(), static_cast<unsigned>(trailing.size()));
  EXPECT_EQ(obVfy_DecodeError, withTrailing.VerifySig(pki.CaKey()));

  obASN_Certificate cert;
  ASSERT_EQ(0, obAsnDecode(cert, pki.CaDer().data(), pki.CaDer().size()));
  cert.signatureAlgorithm.algorithm = obAsnOid("1.2.840.10045.4.3.2");  // ecdsa-with-SHA256
  nyBinBuf out;
  ASSERT_EQ(0, obAsnEncode(cert, out));
  obSigned ecdsa(out.Data(), out.Len());
  EXPECT_EQ(obVfy_UnsupportedAlg,
            Gated([&] { return ecdsa.VerifySig(pki.CaKey()); }, "ob_VerifySigned: unsupported algorithm"));
}

TEST(SignedList, AppendsAfterTheTopAndGrowsByTen) {
  SignedList list;
  EXPECT_EQ(-1, list.Top());
  EXPECT_EQ(0, list.Size());
  EXPECT_EQ(nullptr, list.GetSigned(0));
  EXPECT_EQ(-1, list.SetSigned(0, nullptr));
  list.AddSigned(nullptr);
  EXPECT_EQ(0, list.Size());

  std::vector<obSigned*> added = Fill(list, 6);
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

  Fill(list, 3);  // slots 7, 8, 9
  EXPECT_EQ(10, list.Size());
  obSigned* eleventh = Marker();
  list.AddSigned(eleventh);
  EXPECT_EQ(20, list.Size());
  EXPECT_EQ(eleventh, list.GetSigned(10));

  list.ClearAll();
  EXPECT_EQ(0, list.Count());
  EXPECT_EQ(-1, list.Top());
  EXPECT_EQ(20, list.Size());
  obSigned* first = Marker();
  list.AddSigned(first);
  EXPECT_EQ(first, list.GetSigned(0));
}

TEST(SignedList, SetFillsHolesAndRefusesOutOfRange) {
  SignedList list(4);
  EXPECT_EQ(4, list.Size());
  EXPECT_EQ(-1, list.Top());
  obSigned* obj = Marker();
  EXPECT_EQ(0, list.SetSigned(2, obj));
  EXPECT_EQ(2, list.Top());
  obSigned* stray = Marker();
  EXPECT_EQ(-1, list.SetSigned(-1, stray));
  EXPECT_EQ(-1, list.SetSigned(4, stray));
  EXPECT_EQ(1, list.Count());
  obFreeSigned(stray);
  obSigned* replacement = Marker();
  EXPECT_EQ(0, list.SetSigned(2, replacement));  // the old occupant is released
  EXPECT_EQ(replacement, list.GetSigned(2));
}

TEST(SignedList, CopyCompactsAndTakesItsOwnReferences) {
  SignedList list(6);
  obSigned* a = Marker();
  obSigned* b = Marker();
  list.SetSigned(1, a);
  list.SetSigned(4, b);
  {
    SignedList copy(list);
    EXPECT_EQ(2, copy.Size());
    EXPECT_EQ(a, copy.GetSigned(0));
    EXPECT_EQ(b, copy.GetSigned(1));
    EXPECT_EQ(2, a->RefCount());
  }
  EXPECT_EQ(1, a->RefCount());
  SignedList empty;
  SignedList emptyCopy(empty);
  EXPECT_EQ(0, emptyCopy.Size());
}

}  // namespace
