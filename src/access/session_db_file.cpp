// The session database file. Its folder is the program's own, but the file
// is still distrusted as if anyone could have put it there: it is opened
// without following links, checked on the open descriptor, created
// exclusively, and always rewritten whole, 0600.
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "access/session_db.h"
#include "access/session_table.h"
#include "orvo/utils/file.h"
#include "orvo/utils/random.h"
#include "shared/private_dir.h"

using orvo::variant::Variant;

namespace orvo::rest::access {

namespace {

constexpr mode_t kCreateMode = 0666;  // replaced by a 0600 file at once
constexpr mode_t kFileMode = 0600;
constexpr unsigned long kAsideRandomChars = 6;

std::string describeOpenError(int err) {
  if (err == ELOOP) return "is a symbolic link";
  return std::string("cannot be opened: ") + std::strerror(err);
}

// Reads the descriptor's text once it passed the checks; `problem` says
// why not.
bool readTrusted(int fd, std::string& text, std::string& problem) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    problem = std::string("cannot be examined: ") + std::strerror(errno);
    return false;
  }
  problem = untrustedReason(info.st_mode, info.st_uid, ::geteuid());
  if (!problem.empty()) return false;
  bool tooBig = static_cast<uint64_t>(info.st_size) > kMaxSessionDbBytes;
  if (!tooBig && !orvo::utils::readFdBounded(fd, kMaxSessionDbBytes, text)) {
    tooBig = errno == EFBIG;  // grew while being read
    if (!tooBig) problem = std::string("cannot be read: ") + std::strerror(errno);
  }
  if (tooBig) problem = "holds more than " + std::to_string(kMaxSessionDbBytes) + " bytes";
  return problem.empty();
}

}  // namespace

std::string sessionDbFile() { return orvo::rest::privateFile(kSessionDbName); }

std::string untrustedReason(mode_t mode, uid_t owner, uid_t euid) {
  char text[96];
  if (!S_ISREG(mode)) return "is not a regular file";
  if (owner != euid) {
    std::snprintf(text, sizeof text, "is owned by uid %u, not %u", static_cast<unsigned>(owner),
                  static_cast<unsigned>(euid));
    return text;
  }
  if (mode & (S_IWGRP | S_IWOTH)) {
    std::snprintf(text, sizeof text, "is writable by others (mode %04o)",
                  static_cast<unsigned>(mode & 07777));
    return text;
  }
  return "";
}

namespace {

// Opens without following a link or blocking on a FIFO, reads, and hands
// the text to `parse` (false: not JSON).
template <typename Parse>
SessionDbRead readFile(std::string const& path, std::string& problem, Parse parse) {
  problem.clear();
  int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    if (errno == ENOENT) return SessionDbRead::kMissing;
    problem = describeOpenError(errno);
    return SessionDbRead::kRefused;
  }
  std::string text;
  bool ok = readTrusted(fd, text, problem);
  ::close(fd);
  if (ok && !parse(std::move(text))) {
    problem = "is not JSON";
    ok = false;
  }
  return ok ? SessionDbRead::kRead : SessionDbRead::kRefused;
}

}  // namespace

SessionDbRead readSessionDb(std::string const& path, Variant& db, std::string& problem) {
  return readFile(path, problem, [&](std::string text) { return parseSessionDb(text, db); });
}

SessionDbRead readSessionFor(std::string const& path, std::string const& id, Variant& db,
                             std::string& problem) {
  return readFile(path, problem,
                  [&](std::string text) { return parseSessionFor(text, id, db); });
}

SessionDbRead readSessionTable(std::string const& path, SessionTable& table,
                               std::string& problem) {
  return readFile(path, problem, [&](std::string text) { return table.Parse(std::move(text)); });
}

namespace {

// The caller holds the database mutex, so no other writer is mid-write: any
// temporary file beside the database is a killed writer's leftover.
bool replaceFile(std::string const& path, std::string const& text) {
  orvo::utils::removeStaleTemporaries(path);
  return orvo::utils::replaceFileAtomically(path, text, kFileMode, false);
}

}  // namespace

bool createSessionDb(std::string const& path) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                  kCreateMode);
  if (fd < 0) return false;
  ::close(fd);
  return true;
}

bool clearRefusedEntry(std::string const& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return true;
  if (::rmdir(path.c_str()) == 0) return true;
  std::string aside = path + ".refused-" + orvo::utils::randomAlphaNumericString("", kAsideRandomChars);
  return ::rename(path.c_str(), aside.c_str()) == 0;
}

bool writeSessionDb(std::string const& path, Variant const& db) {
  std::string text;
  return db.ToJSON(text, true) && replaceFile(path, text);
}

bool writeSessionTable(std::string const& path, SessionTable const& table) {
  return replaceFile(path, table.Styled());
}

}  // namespace orvo::rest::access
