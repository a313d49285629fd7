#include "access/failed_logins.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "access/session_db.h"
#include "cgi/log_tag.h"
#include "orvo/utils/clock.h"
#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "shared/scoped_removal.h"

namespace orvo::rest::access {

namespace {

constexpr char kLogFile[] = "src/rest_login";
// Writers of the record take no lock, so a temporary file beside it may be a
// live writer's; one untouched this long belongs to a writer that was killed
// (a rewrite of the few kept records takes milliseconds).
constexpr unsigned kAbandonedTemporarySeconds = 600;

// Copies at most `limit` bytes (and never more than the field holds); a
// text that fills the field stays without terminator, as utmp allows.
template <std::size_t N>
void copyField(char (&field)[N], std::string const& text, std::size_t limit) {
  std::size_t n = limit < N ? limit : N;
  std::strncpy(field, text.c_str(), n);
}

std::string btmpPath() { return orvo::utils::devicePath(kBtmpPath); }

bool selectBtmp(char const* function) {
  if (utmpname(btmpPath().c_str()) == 0) return true;
  ORVO_LOG(function, LOG_ERR, errno, "Failed to set btmp path");
  return false;
}

std::string requestUser(orvo::cgi::CGIRequest const& request) {
  auto const* user = request.Json().GetKeyChain(orvo::variant::VT_STRING, "username", false);
  return user ? static_cast<std::string const&>(*user) : std::string(kUnknownUser);
}

// Whether the temporary file holds all `records` records.
bool wholeCopy(std::string const& path, std::size_t records) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return false;
  return static_cast<uint64_t>(info.st_size) == records * sizeof(struct utmp);
}

}  // namespace

struct utmp makeFailedLoginRecord(std::string const& user, std::string const& host,
                                  time_t seconds) {
  struct utmp record;
  std::memset(&record, 0, sizeof record);
  record.ut_type = LOGIN_PROCESS;
  copyField(record.ut_line, kFailedLoginLine, kLineCopyLimit);
  copyField(record.ut_user, user, kUserCopyLimit);
  copyField(record.ut_host, host, kHostCopyLimit);
  record.ut_tv.tv_sec = static_cast<decltype(record.ut_tv.tv_sec)>(seconds);
  return record;
}

int EntriesInUTmp() {
  if (!selectBtmp("EntriesInUTmp")) return 0;
  int count = 0;
  setutent();
  while (getutent() != nullptr) ++count;
  endutent();
  return count;
}

bool InLockdownPeriod(int count) {
  if (!selectBtmp("InLockdownPeriod")) return false;
  setutent();
  struct utmp newest;
  std::memset(&newest, 0, sizeof newest);
  for (int i = 0; i < count; ++i) {
    struct utmp* record = getutent();
    if (record == nullptr) {
      ORVO_LOG("InLockdownPeriod", LOG_ERR, errno, "Failed to getutent");
      endutent();
      return false;
    }
    newest = *record;
  }
  time_t now = orvo::utils::moment();
  endutent();
  long long age = static_cast<long long>(now) - static_cast<long long>(newest.ut_tv.tv_sec);
  return age <= static_cast<long long>(kLockdownWindowSeconds);
}

bool loginLockedDown() {
  int count = EntriesInUTmp();
  return count >= kLockdownThreshold && InLockdownPeriod(count);
}

void appendEntry(orvo::cgi::CGIRequest const& request) {
  struct utmp entry =
      makeFailedLoginRecord(requestUser(request), request.RemoteAddress(), orvo::utils::moment());
  orvo::utils::removeAbandonedTemporaries(btmpPath(), '-', kAbandonedTemporarySeconds);
  std::string temp = btmpPath() + "-XXXXXX";
  int fd = mkstemp(&temp[0]);
  if (fd < 0) {
    ORVO_LOG("appendEntry", LOG_ERR, errno, "Failed to mkstemp");
    return;
  }
  // Gone on every way out but the rename into place.
  ScopedRemoval copy(temp);
  if (close(fd) != 0) {
    ORVO_LOG("appendEntry", LOG_ERR, errno, "Failed to close");
    return;
  }
  int existing = EntriesInUTmp();
  if (!selectBtmp("appendEntry")) return;
  setutent();
  for (int skip = existing - kKeptFailedLogins; skip > 0; --skip) {
    if (getutent() == nullptr) {
      ORVO_LOG("appendEntry", LOG_WARNING, 0, "Failed to getutent");
      break;
    }
  }
  std::size_t copied = 0;
  while (struct utmp* record = getutent()) {
    updwtmp(temp.c_str(), record);
    ++copied;
  }
  updwtmp(temp.c_str(), &entry);
  std::string target = btmpPath();
  if (!wholeCopy(temp, copied + 1)) {
    // updwtmp() reports nothing: a full disk shows only in the size. The old
    // file stays rather than being replaced by a cut one.
    ORVO_LOG("appendEntry", LOG_WARNING, 0, "Failed to write '%s'", temp.c_str());
  } else if (rename(temp.c_str(), target.c_str()) != 0) {
    ORVO_LOG("appendEntry", LOG_WARNING, errno, "Failed to rename '%s' to '%s'", temp.c_str(), kBtmpPath);
  } else {
    copy.keep();
  }
  endutent();
}

void clearFailedLogins(char const* module, char const* function) {
  std::string path = btmpPath();
  if (!fileExists(path, false)) return;
  if (truncate(path.c_str(), 0) != 0) {
    logInternal(kLogTag, module, function, __LINE__, LOG_WARNING, errno, 0, "Failed to truncate '%s'",
                kBtmpPath);
  }
}

}  // namespace orvo::rest::access
