// The session database: "/tmp/.rest_0_1.db", one JSON object whose members
// are session identifiers, each { "remote-addr": <client address>,
// "max-age": <expiry in ms of nowMs()> }. Every read and write happens under
// the ".rest_0_1_db" mutex; writes replace the file whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo::rest::access {

constexpr char kSessionDbPath[] = "/tmp/.rest_0_1.db";  // device path
constexpr char kSessionDbMutex[] = ".rest_0_1_db";
constexpr char kRemoteAddrKey[] = "remote-addr";
// Holds an absolute expiry time despite its name; the name is kept for the
// programs that already read the file.
constexpr char kMaxAgeKey[] = "max-age";
constexpr uint64_t kSessionLifetimeMs = 86400000;  // 24 hours
constexpr unsigned long kSessionIdLength = 32;
// A bigger file is refused rather than read: sessions are pruned after a
// day, so a sane database stays far below this.
constexpr std::size_t kMaxSessionDbBytes = 8u << 20;

// Parses the database text. Empty or blank text, and JSON that is not an
// object, give an empty database; text that is not JSON gives false.
bool parseSessionDb(std::string const& text, orvo::variant::Variant& db);
// Reads and parses the file at `path` (already a file-system path).
bool readSessionDb(std::string const& path, orvo::variant::Variant& db);
// Writes the database styled, atomically.
bool writeSessionDb(std::string const& path, orvo::variant::Variant const& db);

// The member named exactly `id` (no path splitting), or null.
orvo::variant::Variant const* findSession(orvo::variant::Variant const& db,
                                          std::string const& id);
// A new record for a login from `remoteAddr` at `nowMs`.
orvo::variant::Variant makeSessionRecord(std::string const& remoteAddr, uint64_t nowMs);
// Removes every member whose "max-age" (read as unsigned) is below `nowMs`;
// returns how many went.
std::size_t pruneExpiredSessions(orvo::variant::Variant& db, uint64_t nowMs);

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
