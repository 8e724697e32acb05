// What key tasks need of the manager.
#ifndef NYCERT_KEYS_KEY_TASK_INTERNAL_H_
#define NYCERT_KEYS_KEY_TASK_INTERNAL_H_

#include "nycert/platform/obd_env.h"
#include "nycert/platform/rtapc.h"

// Queues a request on the running pool: 0, or -1 when no pool runs or it
// refuses the request.
int KeyTaskMngmnt_queue(RTApc_work_fn work, obd_event_fn done, obd_event_fn dropped, void* arg, obd_env* env,
                        int priority);

#endif  // NYCERT_KEYS_KEY_TASK_INTERNAL_H_
