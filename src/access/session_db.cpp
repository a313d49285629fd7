#include "access/session_db.h"

#include "orvo/variant/json_member.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>
#include <vector>


using orvo::variant::Variant;

namespace orvo::rest::access {

namespace {

bool isBlank(std::string const& text) {
  return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

}  // namespace

uint64_t sessionExpiry(Variant const& record) {
  Variant const* maxAge = record.GetKeyChain(orvo::variant::VT_ANY, kMaxAgeKey, false);
  return maxAge ? static_cast<unsigned long>(*maxAge) : 0;
}

bool parseSessionDb(std::string const& text, Variant& db) {
  if (text.size() > kMaxSessionDbBytes) return false;
  Variant parsed;
  if (!isBlank(text) && !parsed.FromJSON(text)) return false;
  if (parsed.Type() != orvo::variant::VT_OBJECT) parsed.IsArray(false);
  db = std::move(parsed);
  return true;
}

bool parseSessionFor(std::string const& text, std::string const& id, Variant& db) {
  if (text.size() > kMaxSessionDbBytes) return false;
  Variant record;
  bool found = false;
  if (!isBlank(text) && !orvo::variant::MemberFromJSON(text, id, record, found)) return false;
  Variant picked;
  picked.IsArray(false);
  if (found) picked[id] = std::move(record);
  db = std::move(picked);
  return true;
}

Variant const* findSession(Variant const& db, std::string const& id) {
  for (auto it = db.str_begin(); it != db.str_end(); ++it) {
    if (it->first == id) return &it->second;
  }
  return nullptr;
}

Variant makeSessionRecord(std::string const& remoteAddr, uint64_t nowMs) {
  Variant record;
  record[kRemoteAddrKey] = remoteAddr;
  record[kMaxAgeKey] = static_cast<unsigned long long>(nowMs + kSessionLifetimeMs);
  return record;
}

std::size_t pruneExpiredSessions(Variant& db, uint64_t nowMs) {
  if (db.Type() != orvo::variant::VT_OBJECT || db.KeysCount() == 0) return 0;
  std::vector<std::string> expired;
  for (auto it = db.str_begin(); it != db.str_end(); ++it) {
    if (sessionExpiry(it->second) < nowMs) expired.push_back(it->first);
  }
  for (auto const& id : expired) db.RemoveValue(id, false);
  return expired.size();
}

std::size_t evictOldestSessions(Variant& db, std::size_t keep) {
  if (db.Type() != orvo::variant::VT_OBJECT || db.KeysCount() <= keep) return 0;
  std::vector<std::pair<uint64_t, std::string>> byExpiry;
  for (auto it = db.str_begin(); it != db.str_end(); ++it) {
    byExpiry.emplace_back(sessionExpiry(it->second), it->first);
  }
  std::size_t const excess = byExpiry.size() - keep;
  std::partial_sort(byExpiry.begin(), byExpiry.begin() + excess, byExpiry.end());
  for (std::size_t i = 0; i < excess; ++i) db.RemoveValue(byExpiry[i].second, false);
  return excess;
}

SessionCheck checkSession(Variant const& db, std::string const& id,
                          std::string const& remoteAddr, std::string& storedAddr) {
  Variant const* record = findSession(db, id);
  if (!record) return SessionCheck::kNoRecord;
  Variant const* addr = record->GetKeyChain(orvo::variant::VT_STRING, kRemoteAddrKey, false);
  storedAddr = addr ? static_cast<std::string const&>(*addr) : std::string();
  if (storedAddr.empty()) return SessionCheck::kEmptyAddress;
  return storedAddr == remoteAddr ? SessionCheck::kAccepted : SessionCheck::kAddressMismatch;
}

bool fileExists(std::string const& path, bool regularOnly) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return false;
  return !regularOnly || S_ISREG(info.st_mode);
}

}  // namespace orvo::rest::access
