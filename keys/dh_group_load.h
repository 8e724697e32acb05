// Loading the configured Diffie-Hellman groups from attribute sets.
//
// The configuration is an obset whose nested sets are group objects. Each
// object names its kind in "class": "IKE_DH_parameters", "SKIP_DH_parameters"
// or "OBZ_DH_parameters", and its group in "type". SKIP objects name
// "skip512", "skip1024" or "skip2048" (the last has no built-in group and
// loads nothing); OBZ objects name "obz512"; IKE objects name a built-in group
// or describe their own: "Group" (name), "value" (modulus), "root"
// (generator), "modsize" and "rootsize" (their lengths in octets),
// "DH_group_number" and "private_key_length" (bits), numbers as decimal text.
//
// The loaded groups form one process-wide list guarded by its own mutex.
#ifndef NYCERT_KEYS_DH_GROUP_LOAD_H_
#define NYCERT_KEYS_DH_GROUP_LOAD_H_

#include "nycert/keys/dh_groups.h"
#include "nycert/keys/dh_params.h"
#include "nycert/platform/export.h"
#include "nycert/platform/obset.h"

// Replaces the loaded groups with those of config: the count loaded, or -1.
// Objects that cannot be read are reported and skipped.
NYCERT_EXPORT int LoadAllDHGroups(const obset* config);
// Adds the group of one object to the list (which LoadAllDHGroups must have
// made): 0 when it loaded or names a group that needs nothing, -1 otherwise.
NYCERT_EXPORT int LoadDHGroup(const obset* object);
// The value of attr in object, or null (reported).
NYCERT_EXPORT const nyBinBuf* LoadDhGroupAttr(const obset* object, const char* attr);
// A user-defined group's record, checked against its stated sizes; null on
// failure. DestroyDhGrpParams frees it.
NYCERT_EXPORT DhGrpParams* GetDhParams(const obset* object);
// Checks user-defined groups: legal and unique numbers, private lengths from
// 128 bits up to the modulus size. 0, or the obDhGrpRC code of the first fault.
NYCERT_EXPORT int ValidateDhGrpList(int count, DhGrpParams* const* groups);
// A copy of the loaded group called name, or null (the caller deletes it).
NYCERT_EXPORT obDhParams* obDhGroup_Find(const char* name);
// The number of loaded groups.
NYCERT_EXPORT int obDhGroup_Count();
// Frees every loaded group.
NYCERT_EXPORT void DestroyDHP();

#endif  // NYCERT_KEYS_DH_GROUP_LOAD_H_
