// The logger every module writes through: syslog(3) under the identity given
// to openlog(), plus, inside a simulated camera root, one line per record
// appended to <root>/var/log/messages so tests and the system-log endpoint
// can read what was logged.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Writes one record. `level` is a syslog priority (3 error, 4 warning,
// 6 information); `err`, when non-zero, adds strerror(err) to the record.
void logInternal(const char* tag, const char* file, const char* function, int line,
                 int level, int err, int reserved, const char* format, ...)
    __attribute__((format(printf, 8, 9)));

// Switches the copy of every record on standard error on (1) or off (0).
void setLogFpSts(int enabled);

#ifdef __cplusplus
}
#endif

// Convenience for the program's own modules: the tag is always "orvo_cgi".
#define ORVO_LOG(file, function, level, err, ...) \
  logInternal("orvo_cgi", (file), (function), __LINE__, (level), (err), 0, __VA_ARGS__)
