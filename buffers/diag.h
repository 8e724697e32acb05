// The library's diagnostic gate.
//
// A failure is reported on the plain channel only when debug printing is on
// or the message threshold is 4 or more. Reporting sites test the gate
// themselves so that a shut gate costs neither the call nor its arguments;
// results never depend on the gate.
#ifndef NYCERT_BUFFERS_DIAG_H_
#define NYCERT_BUFFERS_DIAG_H_

#include "nycert/platform/oserr.h"

inline bool obDiagOn() { return dodebugprt != 0 || g_MsgTypeThr >= 4; }
inline bool obTopicOn(int level) { return dodebugprt != 0 || g_MsgTypeMaxThr >= level; }

// OB_HERROR("fmt", args...): one gated message on the plain channel.
#define OB_HERROR(...)                                \
  do {                                                \
    if (obDiagOn()) herror_func(0, 0, __VA_ARGS__);   \
  } while (0)

// OB_TDERROR("topic", level, "fmt", args...): one gated message on the topic channel.
#define OB_TDERROR(topic, level, ...)                              \
  do {                                                             \
    if (obTopicOn(level)) tderrorFunc(topic, level, 0, __VA_ARGS__); \
  } while (0)

#endif  // NYCERT_BUFFERS_DIAG_H_
