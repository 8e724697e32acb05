// The built-in Diffie-Hellman groups and the rules for IKE group numbers and
// private-key lengths.
//
// The table holds, in this order: the 768- and 1024-bit MODP groups of
// RFC 2409 ("isakmp", "isakmp1024"), the 1536- and 2048-bit MODP groups of
// RFC 3526 ("isakmp1536", "group14"), the SKIP 512- and 1024-bit primes
// ("skip512", "skip1024") and the library's own 512-bit group ("obz512").
#ifndef NYCERT_KEYS_DH_GROUPS_H_
#define NYCERT_KEYS_DH_GROUPS_H_

#include "nycert/platform/export.h"

// One row of the built-in table; the table ends with a row whose name is null.
struct NYCERT_EXPORT obDhGroupDef {
  const char* name;
  int privBits;                  // private key length in bits
  const unsigned char* modulus;  // big-endian
  int modLen;
  const unsigned char* generator;  // big-endian
  int genLen;
  int grpNum;  // IKE group number, 0 outside IKE
};

// The built-in table, ended by a row with a null name.
NYCERT_EXPORT const obDhGroupDef* obDhBuiltinGroups();
// The built-in row called name, or null.
NYCERT_EXPORT const obDhGroupDef* obDhFindBuiltinGroup(const char* name);

// Both lookups consider only rows whose name contains "isakmp", so group 14
// ("group14") is found by neither.
// The group number of the first such row with a modulus of modLen bytes, or -1.
NYCERT_EXPORT int FindIKEDHGroupByModSize(int modLen);
// The name of the first such row with group number grpNum, or null.
NYCERT_EXPORT const char* FindIKEDHGroupByGrpNum(int grpNum);

// Results of the group checks.
enum obDhGrpRC {
  obDhGrp_OK = 0,
  obDhGrp_OutOfRange = 2,       // group number outside the legal ranges
  obDhGrp_NotUnique = 3,        // the new group number is taken
  obDhGrp_OldNotFound = 7,      // the group to renumber is not in the list
  obDhGrp_Predefined = 8,       // groups 1, 2 and 5 keep their numbers
  obDhGrp_PrivLenOutOfRange = 9,
  obDhGrp_NoInput = 11,
};

// A group as loaded from the configuration: the record the checks work on.
struct NYCERT_EXPORT DhGrpParams {
  char* name;
  unsigned char* modulus;
  unsigned char* generator;
  int modSize;     // bytes
  int genSize;     // bytes
  int grpNum;
  int maxPrivLen;  // bits
};

// Frees the record's name, modulus and generator and the record; null is ignored.
NYCERT_EXPORT void DestroyDhGrpParams(DhGrpParams* grp);

// Legal group numbers are 1, 2, 5, 14 to 18 and 32768 to 65535: 0 for those, else 1.
NYCERT_EXPORT int GrpNumOutOfLegalRange(int grpNum);
// May the group numbered oldNum among the count records of groups take newNum?
// 0, or an obDhGrpRC code.
NYCERT_EXPORT int VerifyDhGrpNum(int count, DhGrpParams* const* groups, int oldNum, int newNum);
// Is privLen (bits) from 128 up to the group's maximum? 0, or an obDhGrpRC
// code; on code 9 the bounds go to *minLen and *maxLen when given.
NYCERT_EXPORT int VerifyDhPrivLen(const DhGrpParams* grp, int privLen, int* minLen, int* maxLen);

#endif  // NYCERT_KEYS_DH_GROUPS_H_
