// The session database: "/tmp/.rest/.rest_0_1.db", one JSON object whose members
// are session identifiers, each { "remote-addr": <client address>,
// "max-age": <expiry in ms of nowMs()> }. Every read and write happens under
// the ".rest_0_1_db" mutex; writes replace the file whole.
#pragma once

#include <cstddef>
#include <sys/types.h>

#include <cstdint>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo::rest::access {

// In the program's own folder (shared/private_dir.h): in the shared /tmp itself a
// file another user planted could not be replaced by a program that is not
// root (sticky bit), and would keep every login out.
constexpr char kSessionDbPath[] = "/tmp/.rest/.rest_0_1.db";  // device path
constexpr char kSessionDbName[] = ".rest_0_1.db";
constexpr char kSessionDbMutex[] = ".rest_0_1_db";
constexpr char kRemoteAddrKey[] = "remote-addr";
// Holds an absolute expiry time despite its name; the name is kept for the
// programs that already read the file.
constexpr char kMaxAgeKey[] = "max-age";
constexpr uint64_t kSessionLifetimeMs = 86400000;  // 24 hours
constexpr unsigned long kSessionIdLength = 32;
// A bigger file is refused rather than read: with the cap below a sane
// database stays far under this (about 110 bytes a record).
constexpr std::size_t kMaxSessionDbBytes = 8u << 20;
// Live sessions kept at most; a login beyond it evicts the oldest. A client
// that logs in for every request must not grow the file without bound.
constexpr std::size_t kMaxSessions = 1024;

// The database's file-system path.
std::string sessionDbFile();

// Parses the database text. Empty or blank text, and JSON that is not an
// object, give an empty database; text that is not JSON gives false.
bool parseSessionDb(std::string const& text, orvo::variant::Variant& db);
// parseSessionDb(), keeping only the member named `id`: same verdict, and
// `db` holds the same record for `id`.
bool parseSessionFor(std::string const& text, std::string const& id, orvo::variant::Variant& db);

// What reading the database file found. "/tmp" is everybody's, so what
// stands at the path is trusted only when it is a regular file (not a link),
// owned by our effective user and writable by nobody else.
enum class SessionDbRead {
  kRead,     // trusted, parsed into `db`
  kMissing,  // nothing at the path
  kRefused,  // something else: `problem` says what; treat as no database
};
// Reads and parses the file at `path` (already a file-system path) without
// following a link, without blocking on a FIFO.
SessionDbRead readSessionDb(std::string const& path, orvo::variant::Variant& db,
                            std::string& problem);
// The same file read for a session check: the file is parsed and validated
// whole, but `db` receives only the member named `id` (when there is one),
// so a check costs little more with the database full than empty.
SessionDbRead readSessionFor(std::string const& path, std::string const& id,
                             orvo::variant::Variant& db, std::string& problem);
// "" when a file with these attributes may be trusted by `euid`, else why not.
std::string untrustedReason(mode_t mode, uid_t owner, uid_t euid);
// Creates an empty database where nothing stands (O_EXCL, no link followed).
bool createSessionDb(std::string const& path);
// Clears the way for a new file where a refused entry stands: a file or a
// link is replaced by the next write's rename, but a folder must go first
// (removed when empty, else moved aside) or it would block every login.
bool clearRefusedEntry(std::string const& path);
// Writes the database styled, atomically, mode 0600.
bool writeSessionDb(std::string const& path, orvo::variant::Variant const& db);

// The member named exactly `id` (no path splitting), or null.
orvo::variant::Variant const* findSession(orvo::variant::Variant const& db,
                                          std::string const& id);
// A new record for a login from `remoteAddr` at `nowMs`.
orvo::variant::Variant makeSessionRecord(std::string const& remoteAddr, uint64_t nowMs);
// A record's "max-age" read as unsigned; 0 when it has none.
uint64_t sessionExpiry(orvo::variant::Variant const& record);
// Removes every member whose "max-age" (read as unsigned) is below `nowMs`;
// returns how many went.
std::size_t pruneExpiredSessions(orvo::variant::Variant& db, uint64_t nowMs);
// Removes the records that expire first until at most `keep` are left;
// returns how many went.
std::size_t evictOldestSessions(orvo::variant::Variant& db, std::size_t keep);

enum class SessionCheck {
  kAccepted,
  kNoRecord,
  kEmptyAddress,     // the record has no "remote-addr" string
  kAddressMismatch,  // the record was made from another address
};
// Whether the session `id` may be used from `remoteAddr`. The record's age is
// not looked at. `storedAddr` receives the record's address.
SessionCheck checkSession(orvo::variant::Variant const& db, std::string const& id,
                          std::string const& remoteAddr, std::string& storedAddr);

// Whether `path` exists; with `regularOnly` it must be a regular file.
bool fileExists(std::string const& path, bool regularOnly);

}  // namespace orvo::rest::access
