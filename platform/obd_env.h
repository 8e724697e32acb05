// obd_env: the event environment on which asynchronous results are delivered.
#ifndef NYCERT_PLATFORM_OBD_ENV_H_
#define NYCERT_PLATFORM_OBD_ENV_H_

#include "nycert/platform/export.h"

struct obd_env;

typedef void (*obd_event_fn)(void* arg);

// Runs fn(arg) on env's loop after delayMs milliseconds (0: as soon as the
// loop runs), never on the caller's stack. Callable from any thread. 0, or -1
// when env or fn is null or the environment is stopping.
//
// Events run in order of due time, then of posting. An event posted while the
// loop is running events waits for the loop's next turn even with delay 0, so
// an event that reposts itself cannot starve the others. Negative delays
// count as 0; delays are capped at about 24 days. "Stopping" means that
// obd_env_destroy has begun: drop handlers cannot post new events.
NYCERT_EXPORT int T_event_sched(obd_env* env, obd_event_fn fn, void* arg, long delayMs);
// The same, with dropped(arg) called instead of fn when the event never runs
// (the environment is destroyed first), so its argument is not leaked.
// dropped may be null. When the call fails nothing is called and the caller
// keeps arg. On a hooked environment dropped is not used: the application's
// loop owns the event once the hook has accepted it.
NYCERT_EXPORT int T_event_sched_e(obd_env* env, obd_event_fn fn, void* arg, long delayMs, obd_event_fn dropped);

// An environment with its own small loop: a timer queue that other threads
// may post to. Returns null only when allocation fails.
NYCERT_EXPORT obd_env* obd_env_create();
// Drops the pending events (calling their drop handlers) and frees env.
// No loop may be running on env and no other thread may use it any more.
// On a hooked environment only env itself is freed.
NYCERT_EXPORT void obd_env_destroy(obd_env* env);
// Runs events until obd_env_stop: 0, or -1 for a null env.
// One thread at a time runs the loop. Returns -1 as well for a hooked
// environment, whose events run on the application's loop.
NYCERT_EXPORT int obd_env_run(obd_env* env);
// Runs the events that are due, waiting up to timeoutMs for the first one:
// the count run, or -1 for a null env.
// Events posted by those events wait for the next call. A negative timeout
// counts as 0. -1 as well for a hooked environment.
NYCERT_EXPORT int obd_env_run_once(obd_env* env, long timeoutMs);
// Makes obd_env_run return; callable from any thread and from an event.
// The loop returns after the event in progress; the events still pending stay
// queued for a later run. A stop requested while no loop runs ends the next
// obd_env_run or obd_env_run_once at once; each request ends one call. No
// effect on a hooked environment or a null one.
NYCERT_EXPORT void obd_env_stop(obd_env* env);

// An environment over the application's own event loop: every scheduled
// event is handed to hook, which must run fn(arg) on that loop after delayMs.
// The hook returns 0 when it accepted the event, anything else to refuse it
// (the scheduling call then returns -1). Null when hook is null.
typedef int (*obd_sched_hook)(void* hookContext, obd_event_fn fn, void* arg, long delayMs);
NYCERT_EXPORT obd_env* obd_env_create_hooked(obd_sched_hook hook, void* hookContext);

#endif  // NYCERT_PLATFORM_OBD_ENV_H_
