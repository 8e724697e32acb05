// The digest algorithms known to the library, shared by the digest functions
// below the key layer and by the keys and signatures above it.
#ifndef NYCERT_PLATFORM_MD_TYPES_H_
#define NYCERT_PLATFORM_MD_TYPES_H_

// Digest algorithms. 3 is the answer for an identifier that names no known digest.
enum ob_md_type : int {
  ob_md_md5 = 1,
  ob_md_sha1 = 2,
  ob_md_unknown = 3,
  ob_md_sha256 = 4,
  ob_md_sha384 = 5,
  ob_md_sha512 = 6,
};

// The largest digest any ob_md_type produces (SHA-512).
constexpr int kObMaxDigestLen = 64;

#endif  // NYCERT_PLATFORM_MD_TYPES_H_
