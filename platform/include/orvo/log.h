// The logger every module writes through: syslog(3) under the identity given
// to openlog(), plus, inside a simulated camera root, one line per record
// appended to <root>/var/log/messages so tests and the system-log endpoint
// can read what was logged.
#pragma once

#include <syslog.h>

#ifdef __cplusplus
extern "C" {
#endif

// Writes one record. `level` is a syslog priority (3 error, 4 warning,
// 6 information); `err`, when non-zero, adds strerror(err) to the record.
// Control bytes of the formatted text are written as "\xHH", so one call is
// always exactly one record.
void logInternal(const char* tag, const char* file, const char* function, int line,
                 int level, int err, int reserved, const char* format, ...)
    __attribute__((format(printf, 8, 9)));

// Switches the copy of every record on standard error on (1) or off (0).
void setLogFpSts(int enabled);

#ifdef __cplusplus
}
#endif

// Every record of a module goes through ORVO_LOG: the file names its tag and
// its module path once, as `kLogTag` and `kLogFile` in scope, and each call
// gives the step that logs, a syslog priority (LOG_ERR, LOG_WARNING,
// LOG_INFO), the error number (errno where a system call failed, else 0)
// and the message:
//   ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to init IPC handler");
#define ORVO_LOG(function, level, err, ...) \
  logInternal(kLogTag, kLogFile, (function), __LINE__, (level), (err), 0, __VA_ARGS__)
