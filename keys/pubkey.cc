#include "nycert/keys/pubkey.h"

#include <memory>
#include <new>
#include <utility>

#include "nycert/buffers/diag.h"
#include "nycert/keys/key_task.h"
#include "nycert/keys/nysdh.h"
#include "nycert/platform/obd_env.h"

namespace {

void DropCBInfo(void* cbInfo) { delete static_cast<obPubKeyCBInfo*>(cbInfo); }

// Queues the callback of a generic asynchronous operation named opName on env.
int ScheduleGenericCallback(const char* opName, obPubKeyCB callback, void* cbContext, obd_env* env) {
  obPubKeyCBInfo* info = new (std::nothrow) obPubKeyCBInfo{callback, cbContext};
  if (!info) {
    OB_HERROR("%s: Failed to create obPubKeyCBInfo", opName);
    return obPK_RC_NoCallback;
  }
  if (T_event_sched_e(env, obPubKeyCallCB_tmp, info, 0, DropCBInfo) != 0) {
    OB_HERROR("%s: Failed to schedule callback", opName);
    delete info;
    return -1;
  }
  return 0;
}

int NotImplemented(const char* opName, const obPubKey_imp_vc* key) {
  OB_HERROR("%s not implemeted for %s", opName, key->ClassName());
  return obPK_RC_NotImplemented;
}

int NoCallback(const char* opName) {
  OB_HERROR("%s: No callback given", opName);
  return obPK_RC_NoCallback;
}

// Wraps data in a task of the given kind and queues it with a callback
// record: the task's identifier, or a negative result with nothing queued.
int QueueKeyTask(const char* fn, const char* kind, std::unique_ptr<TaskData> data, const char* cbInfoFailure,
                 int priority, obPubKeyCB callback, void* cbContext, obd_env* env) {
  std::unique_ptr<KeyTask> task(new (std::nothrow) KeyTask(data.get()));
  if (!task) {
    OB_HERROR("%s: Failed to create %s task.", fn, kind);
    return obPK_RC_NoCallback;
  }
  data.release();
  OB_HERROR("%s: Created %s Task with ID = %d", fn, kind, task->Id());
  std::unique_ptr<obPubKeyCBInfo> cbInfo(new (std::nothrow) obPubKeyCBInfo{callback, cbContext});
  if (!cbInfo) {
    OB_HERROR("%s: %s", fn, cbInfoFailure);
    return obPK_RC_NoCallback;
  }
  int rc = KeyTask_QueueRequest(task.get(), nullptr, cbInfo.get(), priority, env);
  if (rc < 0) return rc;
  task.release();
  cbInfo.release();
  return rc;
}

}  // namespace

void obPubKeyCallCB_tmp(void* cbInfo) {
  obPubKeyCBInfo* info = static_cast<obPubKeyCBInfo*>(cbInfo);
  if (!info || !info->callback) {
    OB_HERROR("%s: Error: Missing CBInfo or CB", "obPubKeyCallCB_tmp");
  } else {
    info->callback(info->cbContext, -1, nullptr, 0, nullptr);
  }
  delete info;
}

// The implementation interface: defaults for what a kind of key leaves out.

obPubKey_imp_vc::~obPubKey_imp_vc() = default;

int obPubKey_imp_vc::Encrypt(obPKop_type, const unsigned char*, int, unsigned char*, int) {
  return NotImplemented("Encrypt", this);
}

int obPubKey_imp_vc::Decrypt(obPKop_type, const unsigned char*, int, unsigned char*, int) {
  return NotImplemented("Decrypt", this);
}

int obPubKey_imp_vc::Sign(obPKop_type, ob_md_type, const unsigned char*, int, unsigned char*, int) {
  return NotImplemented("Sign", this);
}

int obPubKey_imp_vc::Verify(obPKop_type, ob_md_type, const unsigned char*, int, const unsigned char*, int) {
  return NotImplemented("Verify", this);
}

// The generic asynchronous operations run the synchronous one, drop its
// result and report -1 through the callback later on env: this kind of key
// has no asynchronous implementation of its own.

int obPubKey_imp_vc::EncryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
                              obPubKeyCB callback, void* cbContext, obd_env* env) {
  static const char kName[] = "obPubKey_imp::EncryptA";
  if (!callback) return NoCallback(kName);
  Encrypt(op, in, inLen, out, outLen);
  return ScheduleGenericCallback(kName, callback, cbContext, env);
}

int obPubKey_imp_vc::DecryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
                              obPubKeyCB callback, void* cbContext, obd_env* env) {
  static const char kName[] = "obPubKey_imp::DecryptA";
  if (!callback) return NoCallback(kName);
  Decrypt(op, in, inLen, out, outLen);
  return ScheduleGenericCallback(kName, callback, cbContext, env);
}

int obPubKey_imp_vc::SignA(obPKop_type, ob_md_type, const unsigned char*, int, obPubKeyCB, void*, obd_env*) {
  return -1;
}

int obPubKey_imp_vc::VerifyA(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                             const unsigned char* sig, int sigLen, obPubKeyCB callback, void* cbContext,
                             obd_env* env) {
  static const char kName[] = "obPubKey_imp::VerifyA";
  if (!callback) return NoCallback(kName);
  Verify(op, md, data, dataLen, sig, sigLen);
  return ScheduleGenericCallback(kName, callback, cbContext, env);
}

int obPubKey_imp_vc::DeriveA(obPKop_type, const unsigned char*, int, obPubKeyCB, void*, obd_env*) { return -1; }

int obPubKey_imp_vc::Derive(obPKop_type, const unsigned char*, int, unsigned char*, int) {
  return NotImplemented("Derive", this);
}

int obPubKey_imp_vc::Export(obPK_Format, void*, int) { return NotImplemented("Export", this); }

int obPubKey_imp_vc::GetLen(obPK_Len_Type) { return NotImplemented("GetLen", this); }

const unsigned char* obPubKey_imp_vc::ID() const { return nullptr; }

int obPubKey_imp_vc::IdLen() const { return 0; }

// Software keys have no backing store to remove themselves from.
int obPubKey_imp_vc::Remove() { return 0; }

void obPubKey_imp_vc::Herror() const { OB_HERROR("Herror not implemeted for %s", ClassName()); }

// The handle: every operation goes straight to the implementation.

obPubKey::~obPubKey() = default;

int obPubKey::Encrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen) {
  return imp_->Encrypt(op, in, inLen, out, outLen);
}

int obPubKey::Decrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen) {
  return imp_->Decrypt(op, in, inLen, out, outLen);
}

int obPubKey::Sign(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, unsigned char* out,
                   int outLen) {
  return imp_->Sign(op, md, in, inLen, out, outLen);
}

int obPubKey::Verify(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
                     int sigLen) {
  return imp_->Verify(op, md, data, dataLen, sig, sigLen);
}

int obPubKey::Derive(obPKop_type op, const unsigned char* peer, int peerLen, unsigned char* out, int outLen) {
  return imp_->Derive(op, peer, peerLen, out, outLen);
}

int obPubKey::Export(obPK_Format fmt, void* out, int outLen) { return imp_->Export(fmt, out, outLen); }

int obPubKey::GetLen(obPK_Len_Type which) { return imp_->GetLen(which); }

void obPubKey::Herror() const { imp_->Herror(); }

int obPubKey::Remove() { return imp_->Remove(); }

int obPubKey::EncryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
                       obPubKeyCB callback, void* cbContext, obd_env* env) {
  return imp_->EncryptA(op, in, inLen, out, outLen, callback, cbContext, env);
}

int obPubKey::DecryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
                       obPubKeyCB callback, void* cbContext, obd_env* env) {
  return imp_->DecryptA(op, in, inLen, out, outLen, callback, cbContext, env);
}

int obPubKey::SignA(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, obPubKeyCB callback,
                    void* cbContext, obd_env* env) {
  static const char kFn[] = "obPubKey::SignA";
  if (!callback) return NoCallback(kFn);
  std::unique_ptr<TaskData> data(new (std::nothrow) RSASignKeyTaskData(this, op, md, in, inLen));
  if (!data) {
    OB_HERROR("%s: Failed to create RSASignKeyTaskData.", kFn);
    return obPK_RC_NoCallback;
  }
  return QueueKeyTask(kFn, "RSA sign", std::move(data), "Failed to create obPubKeyCBInfo", -1, callback,
                      cbContext, env);
}

int obPubKey::VerifyA(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                      const unsigned char* sig, int sigLen, obPubKeyCB callback, void* cbContext, obd_env* env) {
  return imp_->VerifyA(op, md, data, dataLen, sig, sigLen, callback, cbContext, env);
}

int obPubKey::DeriveA(obPKop_type op, const unsigned char* peer, int peerLen, obPubKeyCB callback, void* cbContext,
                      obd_env* env) {
  static const char kFn[] = "obPubKey::DeriveA";
  if (!callback) return NoCallback(kFn);
  const nySDH_imp* dh = algorithm() == obAlg_DH ? static_cast<const nySDH_imp*>(imp_) : nullptr;
  if (!peer || peerLen < 1 || (dh && !dh->PeerLenOK(peerLen))) {
    OB_HERROR("%s: Illegal key len (%d).", kFn, peerLen);
    return obPK_RC_LengthMismatch;
  }
  std::unique_ptr<TaskData> data(new (std::nothrow) DHDeriveKeyTaskData(this, op, peer, peerLen));
  if (!data) {
    OB_HERROR("%s: Failed to create DHDeriveKeyTaskData.", kFn);
    return obPK_RC_NoCallback;
  }
  return QueueKeyTask(kFn, "DH derive", std::move(data), "Failed to create obPubKeyCBInfo.", 0, callback,
                      cbContext, env);
}

const unsigned char* obPubKey::ID() const { return imp_->ID(); }

int obPubKey::IdLen() const { return imp_->IdLen(); }

obAlgType obPubKey::algorithm() const { return imp_->algorithm(); }

int obPubKey::OK() const { return imp_->OK(); }

unsigned obPubKey::Flags() const { return imp_->Flags(); }

const char* obPubKey::ClassName() const { return imp_->ClassName(); }

// Free functions.

void obSavePubKey(obPubKey* key) { obSavePKobj(key); }

void obFreePubKey(obPubKey* key) { obFreePKobj(key); }

namespace {

bool KeyGiven(const obPubKey* key, const char* fn) {
  if (key) return true;
  OB_HERROR("%s: NULL key", fn);
  return false;
}

}  // namespace

int obPubKey_Sign(obPubKey* key, obPKop_type op, ob_md_type md, const unsigned char* in, int inLen,
                  unsigned char* out, int outLen) {
  if (!KeyGiven(key, "obPubKey_Sign")) return -1;
  return key->Sign(op, md, in, inLen, out, outLen);
}

int obPubKey_Verify(obPubKey* key, obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                    const unsigned char* sig, int sigLen) {
  if (!KeyGiven(key, "obPubKey_Verify")) return -1;
  return key->Verify(op, md, data, dataLen, sig, sigLen);
}

int obPubKey_Derive(obPubKey* key, obPKop_type op, const unsigned char* peer, int peerLen, unsigned char* out,
                    int outLen) {
  if (!KeyGiven(key, "obPubKey_Derive")) return -1;
  return key->Derive(op, peer, peerLen, out, outLen);
}

int obPubKey_Export(obPubKey* key, obPK_Format fmt, void* out, int outLen) {
  if (!KeyGiven(key, "obPubKey_Export")) return -1;
  return key->Export(fmt, out, outLen);
}

int obPubKey_Equal(obPubKey* a, obPubKey* b) {
  static const char kName[] = "obPubKey_Equal";
  if (!a || !b) {
    OB_HERROR("%s: bad input.", kName);
    return 0;
  }
  int len = a->Export(obPK_Format_PublicDER, nullptr, 0);
  int lenB = b->Export(obPK_Format_PublicDER, nullptr, 0);
  if (len < 1 || lenB < 1) {
    OB_HERROR("%s: Cannot export key.", kName);
    return 0;
  }
  if (len != lenB) {
    OB_HERROR("%s: Different keys (length).", kName);
    return 0;
  }
  std::unique_ptr<unsigned char[]> bufA(new (std::nothrow) unsigned char[len]());
  std::unique_ptr<unsigned char[]> bufB(new (std::nothrow) unsigned char[len]());
  if (!bufA || !bufB) {
    OB_HERROR("%s: cannot allocate memory.", kName);
    return 0;
  }
  if (a->Export(obPK_Format_PublicDER, bufA.get(), len) < 0 || b->Export(obPK_Format_PublicDER, bufB.get(), len) < 0) {
    OB_HERROR("%s: Internal error.", kName);
    return 0;
  }
  for (int i = 0; i < len; ++i) {
    if (bufA[i] != bufB[i]) {
      OB_HERROR("%s: Different keys.", kName);
      return 0;
    }
  }
  return 1;
}

int obPubKey_imp_vc::SignPrecheck(const char* fn, bool hasPrivate, const unsigned char* in, int inLen,
                                  const unsigned char* out, int outLen, int sigLen) {
  if (!hasPrivate) {
    OB_HERROR("%s: no private key", fn);
    return obPK_RC_NotImplemented;
  }
  if (!in || inLen < 1) {
    OB_HERROR("%s: no input", fn);
    return obPK_RC_ExportFailed;
  }
  if (!out) return sigLen;
  if (outLen < sigLen) {
    OB_HERROR("%s length too short", fn);
    return obPK_RC_BufferTooSmall;
  }
  return 0;
}
