// Key tasks: slow key operations (RSA signatures, DH derivations, new DH key
// pairs) queued on the key-task worker pool, with the result delivered to the
// caller's callback on the caller's event environment.
//
// When the pool is not running (no worker threads configured), a task runs
// synchronously in the calling thread and still calls back through the
// event environment.
#ifndef NYCERT_KEYS_KEY_TASK_H_
#define NYCERT_KEYS_KEY_TASK_H_

#include <memory>
#include <string>

#include "nycert/keys/pubkey.h"
#include "nycert/platform/export.h"
#include "nycert/platform/obd_env.h"

// Task status codes.
enum KeyTaskStatus {
  TASK_INSERTED_TO_QUEUE = 1,
  TASK_SUCCESS = 0,
  TASK_QUEUING_ERROR = -1000,
  TASK_TIMEOUT = -999,
  TASK_WAIT_ERROR = -998,
  TASK_BAD_INPUT = -997,
  TASK_CREATION_ERROR = -996,
  TASK_DERIVING_ERROR = -995,
  TASK_SIGNING_ERROR = -994,
  TASK_NOT_INITIALIZED = -993,
  TASK_GENERAL_ERROR = -992,
};

// The status's name, or "Unknown Error".
NYCERT_EXPORT const char* KeyTask_StatusText(int status);

class KeyTask;

// What one kind of task does: runs in a worker and keeps its result.
class NYCERT_EXPORT TaskData {
 public:
  virtual ~TaskData();
  // Performs the operation: a status, with a failure's text in message.
  virtual int Perform(std::string& message) = 0;
  // The result for the callback: data and its length. A key object handed
  // out this way belongs to the callback from then on.
  virtual void* TakeResult(int* len) = 0;
};

// An RSA signature with key, as obPubKey::Sign would make it.
class NYCERT_EXPORT RSASignKeyTaskData : public TaskData {
 public:
  // Takes a reference to key and copies in.
  RSASignKeyTaskData(obPubKey* key, obPKop_type op, ob_md_type md, const unsigned char* in, int inLen);
  ~RSASignKeyTaskData() override;
  int Perform(std::string& message) override;
  void* TakeResult(int* len) override;

 private:
  obPubKey* key_;
  obPKop_type op_;
  ob_md_type md_;
  std::string in_;
  std::string signature_;
};

// A DH shared secret of key with a peer's public value.
class NYCERT_EXPORT DHDeriveKeyTaskData : public TaskData {
 public:
  DHDeriveKeyTaskData(obPubKey* key, obPKop_type op, const unsigned char* peer, int peerLen);
  ~DHDeriveKeyTaskData() override;  // wipes the secret
  int Perform(std::string& message) override;
  void* TakeResult(int* len) override;

 private:
  obPubKey* key_;
  obPKop_type op_;
  std::string peer_;
  std::string secret_;
};

class obDhParams;

// A new DH key pair in a group; the callback receives the nySDH handle
// (data points to it, dataLen is the size of a pointer) and frees it with
// obFreePubKey.
class NYCERT_EXPORT DHNewKeyTaskData : public TaskData {
 public:
  // A null group makes a task that fails with TASK_BAD_INPUT.
  explicit DHNewKeyTaskData(const obDhParams* group);
  ~DHNewKeyTaskData() override;
  int Perform(std::string& message) override;
  void* TakeResult(int* len) override;

 private:
  std::unique_ptr<obDhParams> group_;
  obPubKey* key_ = nullptr;
};

// One queued request.
class NYCERT_EXPORT KeyTask {
 public:
  // Takes over data (null makes a task that fails when run).
  explicit KeyTask(TaskData* data);
  ~KeyTask();
  KeyTask(const KeyTask&) = delete;
  KeyTask& operator=(const KeyTask&) = delete;

  int Id() const { return id_; }
  int Status() const { return status_; }
  size_t hash() const { return static_cast<size_t>(id_); }
  bool operator==(const KeyTask& other) const { return id_ == other.id_; }

  // Runs the task's operation (a worker's part).
  static void task_handler(void* task, int runState);
  // Calls back with the result and frees the task (the event loop's part).
  static void result_handler(void* task);
  // Frees a task whose result can no longer be delivered, without calling back.
  static void dropped_handler(void* task);

 private:
  friend int KeyTask_QueueRequest(KeyTask* task, obd_event_fn resultHandler, obPubKeyCBInfo* cbInfo, int priority,
                                  obd_env* env);

  int id_;
  std::unique_ptr<TaskData> data_;
  int status_ = TASK_INSERTED_TO_QUEUE;
  std::string message_;
  obPubKeyCBInfo* cbInfo_ = nullptr;
};

// Queues task, whose result resultHandler (null: KeyTask::result_handler)
// delivers to cbInfo's callback on env. The task's identifier (1 or more),
// or a negative status when nothing was queued: the caller then still owns
// and frees task and cbInfo.
NYCERT_EXPORT int KeyTask_QueueRequest(KeyTask* task, obd_event_fn resultHandler, obPubKeyCBInfo* cbInfo,
                                       int priority, obd_env* env);

// Queues the creation of a new DH key pair in group. The task's identifier,
// or a negative status (-1000 for a missing callback).
NYCERT_EXPORT int obDhNewKeyA(const obDhParams* group, obPubKeyCB callback, void* cbContext, obd_env* env);

// Tasks made and not yet freed.
NYCERT_EXPORT int KeyTask_LiveCount();

#endif  // NYCERT_KEYS_KEY_TASK_H_
