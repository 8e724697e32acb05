// RTComm: a request channel that hands results from worker threads back to
// an event environment.
//
// Workers post a handler and its argument; the handler runs on the
// environment's loop, never on the worker. A channel delivers only between
// RTComm_start and RTComm_stop: once RTComm_stop has returned no thread
// touches the environment through the channel any more, so the environment
// may then be destroyed. What cannot be delivered is handed to its drop
// handler instead, so its argument is never leaked.
#ifndef NYCERT_PLATFORM_RTCOMM_H_
#define NYCERT_PLATFORM_RTCOMM_H_

#include "nycert/platform/export.h"
#include "nycert/platform/obd_env.h"

struct RTComm;

extern "C" {
// A stopped channel bound to env: null when env is null or allocation fails.
NYCERT_EXPORT RTComm* RTComm_create(obd_env* env);
// Both return 0, or -1 for a null channel.
NYCERT_EXPORT int RTComm_start(RTComm* comm);
NYCERT_EXPORT int RTComm_stop(RTComm* comm);
// Frees a channel; it must not be used any more.
NYCERT_EXPORT void RTComm_destroy(RTComm* comm);
// The environment the channel was created on.
NYCERT_EXPORT obd_env* RTComm_env(const RTComm* comm);
// Runs fn(arg) on env (null: the channel's environment) with no delay, with
// dropped(arg) instead should the environment be destroyed first. When the
// channel is stopped or env refuses the event, dropped(arg) runs here at once
// (when given) and the result is -1; otherwise 0. Callable from any thread.
NYCERT_EXPORT int RTComm_post(RTComm* comm, obd_env* env, obd_event_fn fn, void* arg, obd_event_fn dropped);
}

#endif  // NYCERT_PLATFORM_RTCOMM_H_
