#include "orvo/log.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "orvo/utils/clock.h"
#include "orvo/utils/paths.h"

// Every openlog() of the program is routed through here (the link uses
// --wrap=openlog) so that the copy of a record in the simulated camera's log
// file names the same identity as syslog does.
extern "C" void __real_openlog(const char* ident, int option, int facility);

namespace {

// One record, formatted, never longer than this; longer texts are cut.
constexpr size_t kMaxRecord = 2048;

char gIdentity[64] = "orvo_cgi";
bool gConsole = false;

char const* levelName(int level) {
  static char const* const names[] = {"emerg", "alert", "crit",   "err",
                                      "warning", "notice", "info", "debug"};
  return (level >= 0 && level <= 7) ? names[level] : "debug";
}

// Appends one line to <root>/var/log/messages. A single write() on an
// O_APPEND descriptor keeps concurrent writers' lines whole.
void appendToCameraLog(char const* record, int level) {
  if (!orvo::utils::insideSimulatedCamera()) return;
  timeval tv = orvo::utils::now();
  tm utc{};
  gmtime_r(&tv.tv_sec, &utc);
  char stamp[40];
  strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &utc);
  char line[kMaxRecord + 160];
  int n = snprintf(line, sizeof line, "%s.%06ldZ %s[%d]: <%s> %s\n", stamp,
                   static_cast<long>(tv.tv_usec), gIdentity, static_cast<int>(getpid()),
                   levelName(level), record);
  if (n <= 0) return;
  size_t length = static_cast<size_t>(n) < sizeof line ? static_cast<size_t>(n) : sizeof line - 1;
  if (length == sizeof line - 1) line[length - 1] = '\n';
  int fd = open(orvo::utils::devicePath("/var/log/messages").c_str(),
                O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
  if (fd < 0) return;
  ssize_t ignored = write(fd, line, length);
  (void)ignored;
  close(fd);
}

// Copies `text` with every control byte (below 0x20, and 0x7f) written as
// "\xHH": a caller's text, a user name say, can then never start a second,
// forged record in syslog or the log file. Cut to fit `size`.
void escapeControlBytes(char const* text, char* out, size_t size) {
  size_t used = 0;
  for (unsigned char const* c = reinterpret_cast<unsigned char const*>(text); *c; ++c) {
    bool control = *c < 0x20 || *c == 0x7f;
    size_t need = control ? 4 : 1;
    if (used + need >= size) break;
    if (control) {
      snprintf(out + used, size - used, "\\x%02x", *c);
    } else {
      out[used] = static_cast<char>(*c);
    }
    used += need;
  }
  out[used] = '\0';
}

}  // namespace

extern "C" void __wrap_openlog(const char* ident, int option, int facility) {
  if (ident) {
    strncpy(gIdentity, ident, sizeof gIdentity - 1);
    gIdentity[sizeof gIdentity - 1] = '\0';
  }
  __real_openlog(ident, option, facility);
}

extern "C" void setLogFpSts(int enabled) { gConsole = enabled != 0; }

extern "C" void logInternal(const char* tag, const char* file, const char* function, int line,
                            int level, int err, int reserved, const char* format, ...) {
  (void)reserved;
  char text[kMaxRecord];
  va_list args;
  va_start(args, format);
  text[0] = '\0';
  if (format) vsnprintf(text, sizeof text, format, args);
  va_end(args);
  char escaped[kMaxRecord];
  escapeControlBytes(text, escaped, sizeof escaped);

  char record[kMaxRecord];
  char errorText[128] = "";
  if (err != 0) {
    char buffer[96];
    // GNU strerror_r may return a static string instead of filling buffer.
    char const* message = strerror_r(err, buffer, sizeof buffer);
    snprintf(errorText, sizeof errorText, " (errno %d: %s)", err, message);
  }
  // A record longer than the buffer is cut; the return value says by how much.
  int length = snprintf(record, sizeof record, "%s: %s:%s:%d: %s%s", tag ? tag : "",
                        file ? file : "", function ? function : "", line, escaped, errorText);
  if (length < 0) return;

  int priority = (level >= 0 && level <= 7) ? level : LOG_DEBUG;
  syslog(priority, "%s", record);
  appendToCameraLog(record, priority);
  if (gConsole) fprintf(stderr, "<%s> %s\n", levelName(priority), record);
}
