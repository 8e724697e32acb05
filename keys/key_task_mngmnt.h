// The key-task manager: how many worker threads serve key tasks, and the
// pool and channel they use.
//
// The thread count comes from the first source that gives one: the registry
// value "NumberOfThreads" (a REG_DWORD under
// HKEY_LOCAL_MACHINE\SOFTWARE\Nyvara\Encryption), the environment variable
// KEYTASK_MT (decimal, empty counts as unset), else the processor count less
// one. Zero threads means every key operation runs synchronously.
#ifndef NYCERT_KEYS_KEY_TASK_MNGMNT_H_
#define NYCERT_KEYS_KEY_TASK_MNGMNT_H_

#include "nycert/platform/export.h"
#include "nycert/platform/obd_env.h"

// The number of worker threads to run (0: none).
NYCERT_EXPORT int GetNumOfThreads();
// Starts the pool on env with GetNumOfThreads() workers: 0, or -1 when it
// could not be started (tasks then run synchronously).
NYCERT_EXPORT int KeyTaskMngmnt_init(obd_env* env);
// Reads the configuration again: grows, shrinks, starts or stops the pool.
NYCERT_EXPORT int KeyTaskMngmnt_reconf();
// Stops the pool: queued tasks are cancelled and their callbacks delivered,
// running ones finish, and no worker touches the environment afterwards, so
// it may be destroyed next. Tasks then run synchronously.
NYCERT_EXPORT void KeyTaskMngmnt_term();
// 1 while tasks run synchronously, else 0.
NYCERT_EXPORT int KeyTaskMngmnt_disabled();

#endif  // NYCERT_KEYS_KEY_TASK_MNGMNT_H_
