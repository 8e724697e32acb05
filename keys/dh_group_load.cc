#include "nycert/keys/dh_group_load.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "nycert/buffers/diag.h"
#include "nycert/platform/mtmutex.h"

namespace {

struct LoadedGroups {
  MtMutexHandle mutex = MtMutexCreateRecursive(nullptr);
  bool initialized = false;
  std::vector<std::unique_ptr<obDhParams>> groups;
};

LoadedGroups& Loaded() {
  static LoadedGroups* loaded = new LoadedGroups;  // never destroyed: usable during exit
  return *loaded;
}

// Holds the list's mutex, made on first use, for one operation.
class ListLock {
 public:
  explicit ListLock(const char* fn) {
    LoadedGroups& loaded = Loaded();
    if (!loaded.mutex) {
      OB_HERROR("%s: Can't create mutex, operation failed", fn);
      return;
    }
    if (MtMutexLock(loaded.mutex) != 0) {
      OB_HERROR("%s: Can't lock mutex, operation failed", fn);
      return;
    }
    held_ = true;
    fn_ = fn;
  }
  ~ListLock() {
    if (held_ && MtMutexUnLock(Loaded().mutex) != 0) OB_HERROR("%s: Can't Unlock mutex, operation failed", fn_);
  }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;
  bool Held() const { return held_; }

 private:
  bool held_ = false;
  const char* fn_ = "";
};

std::string AttrText(const nyBinBuf* value) {
  return value ? std::string(reinterpret_cast<const char*>(value->Data()), value->Len()) : std::string();
}

// A decimal attribute: 0, or -1 when absent or not a number.
int ReadNumber(const obset* object, const char* attr, int* out) {
  std::string text = AttrText(LoadDhGroupAttr(object, attr));
  if (text.empty()) return -1;
  char* end = nullptr;
  errno = 0;
  long value = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || value < 0 || value > 0x7fffffffL) return -1;
  *out = static_cast<int>(value);
  return 0;
}

unsigned char* CopyBytes(const nyBinBuf& value) {
  unsigned char* copy = static_cast<unsigned char*>(std::malloc(value.Len()));
  if (copy) std::memcpy(copy, value.Data(), value.Len());
  return copy;
}

// Adds one group to the list; the caller holds the lock.
int AddGroup(const char* fn, std::unique_ptr<obDhParams> params) {
  LoadedGroups& loaded = Loaded();
  if (!loaded.initialized) {
    OB_HERROR("%s: Can't create mutex or DHP, DHP was not initialized, can't create new DHParams.", fn);
    return -1;
  }
  loaded.groups.push_back(std::move(params));
  return 0;
}

int AddBuiltin(const char* fn, const char* name) {
  const obDhGroupDef* row = obDhFindBuiltinGroup(name);
  std::unique_ptr<obDhParams> params(row ? new (std::nothrow) obDhParams(*row) : nullptr);
  if (!params) {
    OB_HERROR("%s: new failed", fn);
    return -1;
  }
  return AddGroup(fn, std::move(params));
}

int AddUserDefined(const char* fn, const obset* object) {
  std::unique_ptr<DhGrpParams, void (*)(DhGrpParams*)> grp(GetDhParams(object), DestroyDhGrpParams);
  if (!grp) return -1;
  std::unique_ptr<obDhParams> params(new (std::nothrow) obDhParams(
      grp->name, grp->modulus, grp->modSize, grp->generator, grp->genSize, grp->maxPrivLen));
  if (!params) {
    OB_HERROR("%s: new failed", fn);
    return -1;
  }
  return AddGroup(fn, std::move(params));
}

bool OneOf(const std::string& type, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (type == name) return true;
  }
  return false;
}

}  // namespace

const nyBinBuf* LoadDhGroupAttr(const obset* object, const char* attr) {
  const nyBinBuf* value = object ? object->GetValue(attr) : nullptr;
  if (!value) OB_HERROR("%s: Can't find attribute: %s in object", "LoadDhGroupAttr", attr ? attr : "");
  return value;
}

DhGrpParams* GetDhParams(const obset* object) {
  static const char kFn[] = "GetDhParams";
  const nyBinBuf* mod = object ? object->GetValue("value") : nullptr;
  const nyBinBuf* gen = object ? object->GetValue("root") : nullptr;
  if (!mod || !gen || mod->IsEmpty() || gen->IsEmpty()) {
    OB_HERROR("%s: Failed to get modulus or generator from group", kFn);
    return nullptr;
  }
  std::string name = AttrText(object->GetValue("Group"));
  if (name.empty()) {
    OB_HERROR("%s: Failed to get group name from group", kFn);
    return nullptr;
  }
  int modSize = 0, genSize = 0, grpNum = 0, privLen = 0;
  if (ReadNumber(object, "modsize", &modSize) != 0) {
    OB_HERROR("%s: Error in reading modsize from DH group", kFn);
    return nullptr;
  }
  if (modSize != static_cast<int>(mod->Len())) {
    OB_HERROR("%s: modsize in DB: %d doesn't match actual modsize: %d", kFn, modSize, static_cast<int>(mod->Len()));
    return nullptr;
  }
  if (ReadNumber(object, "rootsize", &genSize) != 0) {
    OB_HERROR("%s: Error in reading rootsize from DH group", kFn);
    return nullptr;
  }
  if (genSize != static_cast<int>(gen->Len())) {
    OB_HERROR("%s: gensize in DB: %d doesn't match actual gensize: %d", kFn, genSize, static_cast<int>(gen->Len()));
    return nullptr;
  }
  if (ReadNumber(object, "DH_group_number", &grpNum) != 0) {
    OB_HERROR("%s: Failed to get group number from group", kFn);
    return nullptr;
  }
  if (ReadNumber(object, "private_key_length", &privLen) != 0) {
    OB_HERROR("%s: Failed to get private key length from group", kFn);
    return nullptr;
  }
  DhGrpParams* grp = static_cast<DhGrpParams*>(std::calloc(1, sizeof(DhGrpParams)));
  if (grp) {
    grp->name = static_cast<char*>(std::malloc(name.size() + 1));
    if (grp->name) std::memcpy(grp->name, name.c_str(), name.size() + 1);
    grp->modulus = CopyBytes(*mod);
    grp->generator = CopyBytes(*gen);
  }
  if (!grp || !grp->name || !grp->modulus || !grp->generator) {
    OB_HERROR("%s: new failed", kFn);
    DestroyDhGrpParams(grp);
    return nullptr;
  }
  grp->modSize = modSize;
  grp->genSize = genSize;
  grp->grpNum = grpNum;
  grp->maxPrivLen = privLen;
  return grp;
}

int ValidateDhGrpList(int count, DhGrpParams* const* groups) {
  for (int i = 0; groups && i < count; ++i) {
    const DhGrpParams* grp = groups[i];
    if (!grp) return VerifyDhPrivLen(nullptr, 0, nullptr, nullptr);
    if (GrpNumOutOfLegalRange(grp->grpNum)) return obDhGrp_OutOfRange;
    for (int j = 0; j < i; ++j) {
      if (groups[j]->grpNum == grp->grpNum) {
        OB_HERROR("%s: new group number is not unique", "ValidateDhGrpList");
        return obDhGrp_NotUnique;
      }
    }
    DhGrpParams bounds = *grp;
    bounds.maxPrivLen = 8 * grp->modSize;
    int rc = VerifyDhPrivLen(&bounds, grp->maxPrivLen, nullptr, nullptr);
    if (rc != obDhGrp_OK) return rc;
  }
  return obDhGrp_OK;
}

int LoadDHGroup(const obset* object) {
  static const char kFn[] = "LoadDHGroup";
  ListLock lock(kFn);
  if (!lock.Held()) return -1;
  std::string kind = AttrText(LoadDhGroupAttr(object, "class"));
  std::string type = AttrText(LoadDhGroupAttr(object, "type"));
  if (kind == "SKIP_DH_parameters") {
    if (!OneOf(type, {"skip512", "skip1024", "skip2048"})) {
      OB_HERROR("%s: SKIP group: %s not supported", kFn, type.c_str());
      return -1;
    }
    return obDhFindBuiltinGroup(type.c_str()) ? AddBuiltin(kFn, type.c_str()) : 0;
  }
  if (kind == "OBZ_DH_parameters") {
    if (type != "obz512") {
      OB_HERROR("%s: OBZ group: %s not supported", kFn, type.c_str());
      return -1;
    }
    return AddBuiltin(kFn, type.c_str());
  }
  if (kind == "IKE_DH_parameters") {
    if (object->GetValue("value")) return AddUserDefined(kFn, object);
    const obDhGroupDef* row = obDhFindBuiltinGroup(type.c_str());
    if (row && row->grpNum != 0) return AddBuiltin(kFn, type.c_str());
  }
  OB_HERROR("%s: Can't find attribute: %s in object", kFn, kind.empty() ? "class" : "type");
  return -1;
}

int LoadAllDHGroups(const obset* config) {
  static const char kFn[] = "LoadAllDHGroups";
  ListLock lock(kFn);
  if (!lock.Held()) return -1;
  LoadedGroups& loaded = Loaded();
  loaded.groups.clear();
  loaded.initialized = true;
  if (!config) return 0;
  int objects = 0;
  for (const ObAtom& atom : *config) {
    if (atom.nested) ++objects;
  }
  OB_HERROR("%s: creating %d groups", kFn, objects);
  for (const ObAtom& atom : *config) {
    if (atom.nested) LoadDHGroup(atom.nested.get());
  }
  return static_cast<int>(loaded.groups.size());
}

obDhParams* obDhGroup_Find(const char* name) {
  ListLock lock("obDhGroup_Find");
  if (!lock.Held() || !name) return nullptr;
  for (const auto& params : Loaded().groups) {
    if (std::strcmp(params->Name(), name) == 0) return new (std::nothrow) obDhParams(*params);
  }
  return nullptr;
}

int obDhGroup_Count() {
  ListLock lock("obDhGroup_Count");
  return lock.Held() ? static_cast<int>(Loaded().groups.size()) : 0;
}

void DestroyDHP() {
  ListLock lock("DestroyDHP");
  if (!lock.Held()) return;
  LoadedGroups& loaded = Loaded();
  OB_HERROR("DestroyDHP: destroyed %d groups", static_cast<int>(loaded.groups.size()));
  loaded.groups.clear();
  loaded.initialized = false;
}
