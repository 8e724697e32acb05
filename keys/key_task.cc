#include "nycert/keys/key_task.h"

#include <openssl/crypto.h>

#include <atomic>
#include <new>

#include "nycert/buffers/diag.h"
#include "nycert/keys/dh_params.h"
#include "nycert/keys/key_task_internal.h"
#include "nycert/keys/key_task_mngmnt.h"
#include "nycert/keys/nysdh.h"
#include "nycert/platform/rtapc.h"

namespace {

std::atomic<int> g_nextTaskId{1};
std::atomic<int> g_liveTasks{0};

// Logs a worker's failure and keeps its text for the callback.
int WorkerFailure(const char* fn, const char* text, int status, std::string& message) {
  OB_HERROR("<%d> %s: %s", RTApc::WorkerNumber(), fn, text);
  message = text;
  return status;
}

void Wipe(std::string& secret) {
  if (!secret.empty()) OPENSSL_cleanse(&secret[0], secret.size());
}

}  // namespace

const char* KeyTask_StatusText(int status) {
  switch (status) {
    case TASK_INSERTED_TO_QUEUE:
      return "TASK_INSERTED_TO_QUEUE";
    case TASK_SUCCESS:
      return "TASK_SUCCESS";
    case TASK_QUEUING_ERROR:
      return "TASK_QUEUING_ERROR";
    case TASK_TIMEOUT:
      return "TASK_TIMEOUT";
    case TASK_WAIT_ERROR:
      return "TASK_WAIT_ERROR";
    case TASK_BAD_INPUT:
      return "TASK_BAD_INPUT";
    case TASK_CREATION_ERROR:
      return "TASK_CREATION_ERROR";
    case TASK_DERIVING_ERROR:
      return "TASK_DERIVING_ERROR";
    case TASK_SIGNING_ERROR:
      return "TASK_SIGNING_ERROR";
    case TASK_NOT_INITIALIZED:
      return "TASK_NOT_INITIALIZED";
    case TASK_GENERAL_ERROR:
      return "TASK_GENERAL_ERROR";
  }
  return "Unknown Error";
}

TaskData::~TaskData() = default;

// RSA signatures.

RSASignKeyTaskData::RSASignKeyTaskData(obPubKey* key, obPKop_type op, ob_md_type md, const unsigned char* in,
                                       int inLen)
    : key_(key), op_(op), md_(md), in_(in && inLen > 0 ? std::string(reinterpret_cast<const char*>(in), inLen) : "") {
  obSavePubKey(key_);
}

RSASignKeyTaskData::~RSASignKeyTaskData() { obFreePubKey(key_); }

int RSASignKeyTaskData::Perform(std::string& message) {
  static const char kFn[] = "RSASignKeyTaskData::Perform";
  const unsigned char* in = reinterpret_cast<const unsigned char*>(in_.data());
  int inLen = static_cast<int>(in_.size());
  int len = key_ ? key_->Sign(op_, md_, in, inLen, nullptr, 0) : -1;
  if (len > 0) {
    signature_.resize(static_cast<size_t>(len));
    len = key_->Sign(op_, md_, in, inLen, reinterpret_cast<unsigned char*>(&signature_[0]), len);
  }
  if (len <= 0) return WorkerFailure(kFn, "Error while signing witn RSA private key.", TASK_SIGNING_ERROR, message);
  signature_.resize(static_cast<size_t>(len));
  return TASK_SUCCESS;
}

void* RSASignKeyTaskData::TakeResult(int* len) {
  *len = static_cast<int>(signature_.size());
  return &signature_[0];
}

// DH derivations.

DHDeriveKeyTaskData::DHDeriveKeyTaskData(obPubKey* key, obPKop_type op, const unsigned char* peer, int peerLen)
    : key_(key), op_(op), peer_(peer && peerLen > 0 ? std::string(reinterpret_cast<const char*>(peer), peerLen) : "") {
  obSavePubKey(key_);
}

DHDeriveKeyTaskData::~DHDeriveKeyTaskData() {
  Wipe(secret_);
  obFreePubKey(key_);
}

int DHDeriveKeyTaskData::Perform(std::string& message) {
  static const char kFn[] = "DHDeriveKeyTaskData::Perform";
  const unsigned char* peer = reinterpret_cast<const unsigned char*>(peer_.data());
  int peerLen = static_cast<int>(peer_.size());
  int len = key_ ? key_->Derive(op_, peer, peerLen, nullptr, 0) : -1;
  if (len > 0) {
    secret_.resize(static_cast<size_t>(len));
    len = key_->Derive(op_, peer, peerLen, reinterpret_cast<unsigned char*>(&secret_[0]), len);
  }
  if (len <= 0) return WorkerFailure(kFn, "Error while deriving dh key.", TASK_DERIVING_ERROR, message);
  secret_.resize(static_cast<size_t>(len));
  return TASK_SUCCESS;
}

void* DHDeriveKeyTaskData::TakeResult(int* len) {
  *len = static_cast<int>(secret_.size());
  return &secret_[0];
}

// New DH key pairs.

DHNewKeyTaskData::DHNewKeyTaskData(const obDhParams* group)
    : group_(group ? new (std::nothrow) obDhParams(*group) : nullptr) {}

DHNewKeyTaskData::~DHNewKeyTaskData() { obFreePubKey(key_); }

int DHNewKeyTaskData::Perform(std::string& message) {
  static const char kFn[] = "DHNewKeyTaskData::Perform";
  if (!group_ || !group_->OK())
    return WorkerFailure(kFn, "Cannot complete computing new DH key. Bad input, no DH group", TASK_BAD_INPUT, message);
  key_ = obPubKey_NewDH(*group_);
  if (!key_) return WorkerFailure(kFn, "Error while creating new DH key.", TASK_CREATION_ERROR, message);
  return TASK_SUCCESS;
}

void* DHNewKeyTaskData::TakeResult(int* len) {
  obPubKey* key = key_;
  key_ = nullptr;
  *len = static_cast<int>(sizeof key);
  return key;
}

// The task.

KeyTask::KeyTask(TaskData* data) : id_(g_nextTaskId.fetch_add(1)), data_(data) { ++g_liveTasks; }

KeyTask::~KeyTask() {
  delete cbInfo_;
  --g_liveTasks;
}

void KeyTask::task_handler(void* arg, int runState) {
  static const char kFn[] = "KeyTask::task_handler";
  KeyTask* task = static_cast<KeyTask*>(arg);
  if (runState == RTApc_Expired) {
    task->status_ = TASK_TIMEOUT;
  } else if (runState == RTApc_Cancelled) {
    task->status_ = TASK_GENERAL_ERROR;
  } else if (!task->data_) {
    OB_HERROR("<%d> %s: Internal error, no Task data.", RTApc::WorkerNumber(), kFn);
    task->status_ = TASK_BAD_INPUT;
  } else {
    task->status_ = task->data_->Perform(task->message_);
  }
}

void KeyTask::result_handler(void* arg) {
  static const char kFn[] = "KeyTask::result_handler";
  std::unique_ptr<KeyTask> task(static_cast<KeyTask*>(arg));
  OB_HERROR("<%d> %s: taskId = %d, Task operation rc = %s", RTApc::WorkerNumber(), kFn, task->id_,
            KeyTask_StatusText(task->status_));
  obPubKeyCBInfo* cb = task->cbInfo_;
  if (!cb || !cb->callback) return;
  if (task->status_ == TASK_SUCCESS) {
    int len = 0;
    void* data = task->data_->TakeResult(&len);
    cb->callback(cb->cbContext, TASK_SUCCESS, data, len, nullptr);
    return;
  }
  std::string failed = std::string("Failed to process the task. status = ") + KeyTask_StatusText(task->status_);
  OB_HERROR("%s: %s", kFn, failed.c_str());
  const std::string& text = task->message_.empty() ? failed : task->message_;
  cb->callback(cb->cbContext, task->status_, nullptr, 0, text.c_str());
}

void KeyTask::dropped_handler(void* arg) { delete static_cast<KeyTask*>(arg); }

int KeyTask_QueueRequest(KeyTask* task, obd_event_fn resultHandler, obPubKeyCBInfo* cbInfo, int priority,
                         obd_env* env) {
  static const char kFn[] = "KeyTask_QueueRequest";
  if (!task || !cbInfo) return TASK_BAD_INPUT;
  obd_event_fn done = resultHandler ? resultHandler : KeyTask::result_handler;
  task->cbInfo_ = cbInfo;
  int id = task->id_;
  if (KeyTaskMngmnt_queue(KeyTask::task_handler, done, KeyTask::dropped_handler, task, env, priority) == 0) return id;
  if (!KeyTaskMngmnt_disabled() || !env) {
    OB_HERROR("%s: The key operation cannot be done.", kFn);
    task->cbInfo_ = nullptr;
    return env ? TASK_QUEUING_ERROR : TASK_NOT_INITIALIZED;
  }
  // No pool: run here and call back through the environment all the same.
  KeyTask::task_handler(task, RTApc_Run);
  if (T_event_sched_e(env, done, task, 0, KeyTask::dropped_handler) != 0) {
    OB_HERROR("%s: The key operation cannot be done.", kFn);
    task->cbInfo_ = nullptr;
    return TASK_QUEUING_ERROR;
  }
  return id;
}

int obDhNewKeyA(const obDhParams* group, obPubKeyCB callback, void* cbContext, obd_env* env) {
  static const char kFn[] = "obDhNewKeyA";
  if (!callback) {
    OB_HERROR("%s: No callback given", kFn);
    return obPK_RC_NoCallback;
  }
  std::unique_ptr<TaskData> data(new (std::nothrow) DHNewKeyTaskData(group));
  std::unique_ptr<KeyTask> task(data ? new (std::nothrow) KeyTask(data.get()) : nullptr);
  if (!task) {
    OB_HERROR("%s: Failed to create DHNewKeyTaskData.", kFn);
    return obPK_RC_NoCallback;
  }
  data.release();
  OB_HERROR("%s: Created new DH Task with ID = %d", kFn, task->Id());
  std::unique_ptr<obPubKeyCBInfo> cb(new (std::nothrow) obPubKeyCBInfo{callback, cbContext});
  if (!cb) {
    OB_HERROR("%s: Failed to create obPubKeyCBInfo", kFn);
    return obPK_RC_NoCallback;
  }
  int rc = KeyTask_QueueRequest(task.get(), nullptr, cb.get(), 0, env);
  if (rc < 0) return rc;
  task.release();
  cb.release();
  return rc;
}

int KeyTask_LiveCount() { return g_liveTasks.load(); }
