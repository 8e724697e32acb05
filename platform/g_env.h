// g_env: the library's own event environment. Services that need a loop of
// their own (the CRL cache's fetchers and prefetch timers) schedule on it.
//
// It is made on first use as a plain obd_env whose loop nobody runs yet: the
// application runs it (obd_env_run on a thread of its choosing, or
// obd_env_run_once from its own loop), or installs an environment over its
// own loop with g_env_set before first use.
#ifndef NYCERT_PLATFORM_G_ENV_H_
#define NYCERT_PLATFORM_G_ENV_H_

#include "nycert/platform/export.h"
#include "nycert/platform/obd_env.h"

extern "C" {
// The library's environment, made on first use; null only when it cannot be made.
NYCERT_EXPORT obd_env* g_env_get();
// Makes env the library's environment (null: the next g_env_get makes a new
// one). The previous one is handed back for the caller to destroy once no
// loop runs on it; the library never destroys an environment it was given.
NYCERT_EXPORT obd_env* g_env_set(obd_env* env);
}

#endif  // NYCERT_PLATFORM_G_ENV_H_
