#include "nycert/platform/rtcomm.h"

#include <mutex>
#include <new>

struct RTComm {
  explicit RTComm(obd_env* e) : env(e) {}
  obd_env* env;
  std::mutex mutex;  // held while posting, so that stopping waits for posts in progress
  bool started = false;
};

RTComm* RTComm_create(obd_env* env) {
  if (!env) return nullptr;
  return new (std::nothrow) RTComm(env);
}

int RTComm_start(RTComm* comm) {
  if (!comm) return -1;
  std::lock_guard<std::mutex> hold(comm->mutex);
  comm->started = true;
  return 0;
}

int RTComm_stop(RTComm* comm) {
  if (!comm) return -1;
  std::lock_guard<std::mutex> hold(comm->mutex);
  comm->started = false;
  return 0;
}

void RTComm_destroy(RTComm* comm) { delete comm; }

obd_env* RTComm_env(const RTComm* comm) { return comm ? comm->env : nullptr; }

int RTComm_post(RTComm* comm, obd_env* env, obd_event_fn fn, void* arg, obd_event_fn dropped) {
  if (!comm || !fn) return -1;
  int rc = -1;
  {
    std::lock_guard<std::mutex> hold(comm->mutex);
    if (comm->started) rc = T_event_sched_e(env ? env : comm->env, fn, arg, 0, dropped);
  }
  if (rc != 0 && dropped) dropped(arg);
  return rc;
}
