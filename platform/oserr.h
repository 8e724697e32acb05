// Diagnostic channels of the OS support layer.
//
// Two channels: the plain error channel (herror_func, hex_herror) and the
// topic channel (tderrorFunc). Each formatted message is one line; by default
// it goes to standard error, and an application may install its own sink to
// route the lines into its logging. The switches below are read by the
// library to decide whether to report at all (see nycert/buffers/diag.h).
#ifndef NYCERT_PLATFORM_OSERR_H_
#define NYCERT_PLATFORM_OSERR_H_

#include "nycert/platform/export.h"

#ifdef __GNUC__
#define NYCERT_PRINTF(fmt_index, first_arg) __attribute__((format(printf, fmt_index, first_arg)))
#else
#define NYCERT_PRINTF(fmt_index, first_arg)
#endif

extern "C" {

// Non-zero forces every diagnostic on.
NYCERT_EXPORT extern int dodebugprt;
// Message threshold of the plain channel: messages are written at 4 or more.
NYCERT_EXPORT extern int g_MsgTypeThr;
// Threshold of the topic channel: a topic message of level L is written when L <= this.
NYCERT_EXPORT extern int g_MsgTypeMaxThr;

// The plain channel. The first two arguments are reserved and always 0.
NYCERT_EXPORT void herror_func(int reserved1, int reserved2, const char* format, ...) NYCERT_PRINTF(3, 4);
// Hex dump of a byte run through the plain channel, 16 octets a line.
NYCERT_EXPORT void hex_herror(const void* data, unsigned length);
// The topic channel: topic is a short subsystem word, level a small integer.
NYCERT_EXPORT void tderrorFunc(const char* topic, int level, int reserved, const char* format, ...)
    NYCERT_PRINTF(4, 5);

// Sinks receive one formatted line without its trailing newline. A null sink
// restores the default (standard error). Installing is not synchronised with
// concurrent reporting: install sinks at start-up.
typedef void (*herror_sink_fn)(const char* line);
typedef void (*tderror_sink_fn)(const char* topic, int level, const char* line);
NYCERT_EXPORT void herror_set_sink(herror_sink_fn sink);
NYCERT_EXPORT void tderror_set_sink(tderror_sink_fn sink);

}  // extern "C"

#endif  // NYCERT_PLATFORM_OSERR_H_
