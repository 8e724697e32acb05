#include "nycert/keys/digest_info.h"

#include <cstring>

#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/buffers/diag.h"

namespace {

struct DigestAlg {
  ob_md_type type;
  const obAsnOid* oid;
  int len;
};

// Ends with an empty row, where every lookup stops.
const DigestAlg kDigestAlgs[] = {
    {ob_md_md5, &obASN_id_md5, 16},
    {ob_md_sha1, &obASN_id_sha1, 20},
    {ob_md_sha256, &obASN_id_sha256, 32},
    {ob_md_sha384, &obASN_id_sha384, 48},
    {ob_md_sha512, &obASN_id_sha512, 64},
    {ob_md_unknown, nullptr, 0},
};

const DigestAlg* FindByType(ob_md_type md) {
  const DigestAlg* row = kDigestAlgs;
  while (row->oid && row->type != md) ++row;
  return row->oid ? row : nullptr;
}

// The octet comparison shared by the raw and the DigestInfo forms.
int CompareExact(const unsigned char* expected, int expectedLen, const unsigned char* recovered,
                 int recoveredLen) {
  if (expectedLen != recoveredLen) return obPK_RC_LengthMismatch;
  if (!expected || std::memcmp(expected, recovered, static_cast<size_t>(recoveredLen)) != 0) return -100;
  return 0;
}

int CompareDigestInfo(ob_md_type md, const unsigned char* message, int messageLen,
                      const unsigned char* recovered, int recoveredLen) {
  nyBinBuf expected;
  if (messageLen < 0 || nyPKCS1DigestInfo(message, static_cast<unsigned>(messageLen), md, expected) < 0)
    return obPK_RC_NoCallback;
  return CompareExact(expected.Data(), static_cast<int>(expected.Len()), recovered, recoveredLen);
}

}  // namespace

const obAsnOid* obDigestOid(ob_md_type md) {
  const DigestAlg* row = FindByType(md);
  return row ? row->oid : nullptr;
}

ob_md_type obDigestType(const obAsnOid& oid) {
  const DigestAlg* row = kDigestAlgs;
  while (row->oid && *row->oid != oid) ++row;
  return row->type;
}

int obDigestLen(ob_md_type md) {
  const DigestAlg* row = FindByType(md);
  return row ? row->len : -1;
}

int nyPKCS1DigestInfo(const unsigned char* digest, unsigned digestLen, ob_md_type md, nyBinBuf& out) {
  if (!digest || digestLen == 0) {
    OB_HERROR("nyPKCS1DigestInfo: empty digest");
    return -1;
  }
  const obAsnOid* oid = obDigestOid(md);
  if (!oid) {
    OB_HERROR("nyvPKCS1DigestInfo: unrecognized algorithm (%d)", static_cast<int>(md));
    return -1;
  }
  obASN_DigestInfo info;
  info.digestAlgorithm.algorithm = *oid;
  info.digestAlgorithm.parameters.emplace().SetValue(new obAsnNull);
  info.digest.Set(digest, digestLen);
  return obAsnEncode(info, out);
}

int obComparePKCS1(obPKop_type op, ob_md_type md, const unsigned char* message, int messageLen,
                   const unsigned char* recovered, int recoveredLen) {
  if (recoveredLen < 1 || !recovered) {
    OB_HERROR("obComparePKCS1: Bad len %d", recoveredLen);
    return obPK_RC_LengthMismatch;
  }
  switch (op) {
    case obPKop_DigestInfo:
    case obPKop_DigestInfoCompat:
      return CompareDigestInfo(md, message, messageLen, recovered, recoveredLen);
    case obPKop_Raw:
      return CompareExact(message, messageLen, recovered, recoveredLen);
    case obPKop_RawOrDigestInfo:
      if (CompareExact(message, messageLen, recovered, recoveredLen) == 0) return 0;
      return CompareDigestInfo(md, message, messageLen, recovered, recoveredLen);
  }
  OB_HERROR("obComparePKCS1: Op not supported %d", static_cast<int>(op));
  return obPK_RC_NotImplemented;
}
