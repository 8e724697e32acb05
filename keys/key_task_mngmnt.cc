#include "nycert/keys/key_task_mngmnt.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

#include "nycert/buffers/diag.h"
#include "nycert/keys/key_task_internal.h"
#include "nycert/keys/pkobj.h"
#include "nycert/platform/cpu_count.h"
#include "nycert/platform/registry.h"
#include "nycert/platform/rtapc.h"
#include "nycert/platform/rtcomm.h"

namespace {

// The longest a task may wait for a worker, in milliseconds.
constexpr long kPoolTimeoutMs = 600000;

const char kSynchronous[] = "All keys operations will be done synchronically.";

struct Manager {
  std::mutex mutex;  // guards every field
  RTApc* pool = nullptr;
  RTComm* comm = nullptr;
  obd_env* env = nullptr;
  bool disabled = true;
};

Manager& GetManager() {
  static Manager* manager = new Manager;  // never destroyed: usable during exit
  return *manager;
}

// The registry's thread flag: true when the value exists as a 32-bit number.
bool RegistryFlag(int* flag) {
  HKEY key = nullptr;
  if (RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Nyvara\\Encryption", &key) != ERROR_SUCCESS) return false;
  unsigned long type = 0;
  unsigned char data[4];
  unsigned long size = sizeof data;
  long rc = RegQueryValueExA(key, "NumberOfThreads", nullptr, &type, data, &size);
  RegCloseKey(key);
  if (rc != ERROR_SUCCESS || type != REG_DWORD || size != sizeof data) return false;
  std::uint32_t value;
  std::memcpy(&value, data, sizeof value);
  *flag = static_cast<int>(value);
  return true;
}

bool EnvironmentFlag(int* flag) {
  const char* text = std::getenv("KEYTASK_MT");
  if (!text || !*text) return false;
  *flag = std::atoi(text);
  return true;
}

int ThreadsNumByNumOfCPUsAndPKCS11Modules(const char* fn) {
  int cpus = ob_num_processors();
  if (cpus < 1) cpus = 1;
  int threads = cpus - 1;
  if (cpus == 1) {
    OB_HERROR("%s: Does not create threads only one CPU.", fn);
    return 0;
  }
  if (threads < 0) {
    OB_HERROR("%s: Does not create threads - not positive num_of_threads.", fn);
    return 0;
  }
  OB_HERROR("%s: More then one CPU / PKCS#11 modules, will create %d working threads.", fn, threads);
  return threads;
}

void Failed(const char* fn, const char* reason) { OB_HERROR("%s: %s %s", fn, reason, kSynchronous); }

// Stops and frees the pool and channel; the caller holds the lock.
void StopPool(Manager& m) {
  RTApc* pool = m.pool;
  m.pool = nullptr;
  m.disabled = true;
  delete pool;
  RTComm_stop(m.comm);
  RTComm_destroy(m.comm);
  m.comm = nullptr;
}

// Starts a pool of threads workers on env; the caller holds the lock.
int StartPool(Manager& m, obd_env* env, int threads) {
  static const char kFn[] = "KeyTaskMngmnt_init";
  m.env = env;
  if (threads == 0) {
    OB_HERROR("%s: Will not create working threads. %s", kFn, kSynchronous);
    return 0;
  }
  OB_HERROR("%s: set %d working threads.", kFn, threads);
  // Workers take and drop references on the keys they use.
  if (obPKobj::UseMutex() != 0) {
    Failed(kFn, "Internal problem, failed to create the key mutex.");
    return -1;
  }
  RTComm* comm = RTComm_create(env);
  if (!comm) {
    Failed(kFn, "Internal problem, failed to create RTComm.");
    return -1;
  }
  RTApc* pool = new (std::nothrow) RTApc(comm, threads, kPoolTimeoutMs);
  if (!pool || !pool->OK()) {
    delete pool;
    RTComm_destroy(comm);
    Failed(kFn, "Internal problem, failed to create RTApc.");
    return -1;
  }
  if (RTComm_start(comm) != 0) {
    delete pool;
    RTComm_destroy(comm);
    Failed(kFn, "Internal problem, failed to start RTComm.");
    return -1;
  }
  m.pool = pool;
  m.comm = comm;
  m.disabled = false;
  return 0;
}

}  // namespace

int GetNumOfThreads() {
  static const char kFn[] = "GetNumOfThreads";
  int flag = 0;
  if (RegistryFlag(&flag)) {
    OB_HERROR("%s: found the thread flag in the registry. flag = %d.", kFn, flag);
  } else if (EnvironmentFlag(&flag)) {
    OB_HERROR("%s: found the thread flag in the environment. flag = %d.", kFn, flag);
  } else {
    return ThreadsNumByNumOfCPUsAndPKCS11Modules(kFn);
  }
  if (flag > 0) {
    OB_HERROR("%s: Will create %d threads (due to the thread flag).", kFn, flag);
    return flag;
  }
  OB_HERROR("%s: thread flag is zero, all key operations will be done in the main thread.", kFn);
  return 0;
}

int KeyTaskMngmnt_init(obd_env* env) {
  OB_HERROR("%s: Entering.", "KeyTaskMngmnt_init");
  Manager& m = GetManager();
  std::lock_guard<std::mutex> hold(m.mutex);
  if (m.pool) StopPool(m);
  return StartPool(m, env, GetNumOfThreads());
}

int KeyTaskMngmnt_reconf() {
  Manager& m = GetManager();
  std::lock_guard<std::mutex> hold(m.mutex);
  int threads = GetNumOfThreads();
  if (m.pool && threads > 0) return m.pool->SetNumThreads(threads);
  if (m.pool) StopPool(m);
  if (threads == 0 || !m.env) return 0;
  return StartPool(m, m.env, threads);
}

void KeyTaskMngmnt_term() {
  Manager& m = GetManager();
  std::lock_guard<std::mutex> hold(m.mutex);
  if (m.pool) StopPool(m);
  m.env = nullptr;
}

int KeyTaskMngmnt_disabled() {
  Manager& m = GetManager();
  std::lock_guard<std::mutex> hold(m.mutex);
  return m.disabled ? 1 : 0;
}

int KeyTaskMngmnt_queue(RTApc_work_fn work, obd_event_fn done, obd_event_fn dropped, void* arg, obd_env* env,
                        int priority) {
  Manager& m = GetManager();
  std::lock_guard<std::mutex> hold(m.mutex);
  if (!m.pool) return -1;
  return m.pool->QueueRequest(work, done, dropped, arg, env, priority);
}
