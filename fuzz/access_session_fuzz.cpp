// Fuzzes what access control reads from outside: the first input line is
// the Cookie header, the rest the session database text (and, on its own,
// an account file). The database must read back the same after being
// written, the session table (records kept as text) must agree with the
// dynamic value, and the session check must never crash on any record shape.
#include <stdlib.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "access/session_db.h"
#include "access/session_table.h"
#include "cgi/orvo_cgi.h"
#include "orvo/utils/account.h"

namespace {

void checkDatabase(std::string const& text, std::string const& id) {
  orvo::variant::Variant db;
  orvo::variant::Variant picked;
  orvo::rest::access::SessionTable table;
  bool whole = orvo::rest::access::parseSessionDb(text, db);
  if (table.Parse(text) != whole) abort();
  // The session check reads only the cookie's record: same verdicts.
  if (orvo::rest::access::parseSessionFor(text, id, picked) != whole) abort();
  if (!whole) return;
  std::string stored;
  std::string pickedStored;
  auto verdict = orvo::rest::access::checkSession(db, id, "10.0.0.1", stored);
  if (orvo::rest::access::checkSession(picked, id, "10.0.0.1", pickedStored) != verdict ||
      pickedStored != stored) {
    abort();
  }
  if (table.size() != db.KeysCount()) abort();
  if (table.PruneExpired(1700000000000ull) !=
      orvo::rest::access::pruneExpiredSessions(db, 1700000000000ull)) {
    abort();
  }
  if (table.EvictOldest(3) != orvo::rest::access::evictOldestSessions(db, 3)) abort();
  orvo::variant::Variant fromTable;
  if (!orvo::rest::access::parseSessionDb(table.Styled(), fromTable) || !(fromTable == db)) abort();
  std::string written;
  if (!db.ToJSON(written, true)) abort();
  orvo::variant::Variant again;
  if (!orvo::rest::access::parseSessionDb(written, again)) abort();
  if (!(again == db)) abort();
}

void checkAccount(std::string const& text) {
  orvo::utils::AccountRecord record;
  if (!orvo::utils::parseAccountRecord(text, record)) return;
  orvo::utils::AccountRecord again;
  if (!orvo::utils::parseAccountRecord(orvo::utils::formatAccountRecord(record), again)) abort();
  if (again.user != record.user || again.hash != record.hash) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* bytes, size_t size) {
  std::string input(reinterpret_cast<char const*>(bytes), size);
  std::size_t newline = input.find('\n');
  std::string cookie = input.substr(0, newline);
  std::string rest = newline == std::string::npos ? "" : input.substr(newline + 1);

  // A GET reads nothing from standard input: only the environment.
  setenv("REQUEST_METHOD", "GET", 1);
  unsetenv("QUERY_STRING");
  if (cookie.find('\0') == std::string::npos) {
    setenv("HTTP_COOKIE", cookie.c_str(), 1);
  } else {
    unsetenv("HTTP_COOKIE");
  }
  std::string id;
  {
    orvo::cgi::CGIRequest request;
    id = request.CookieValueByName("authId");
    // The response releases the library handle; its output is not wanted.
    FILE* quiet = freopen("/dev/null", "w", stdout);
    (void)quiet;
    orvo::cgi::CGIResponse response(request);
  }
  checkDatabase(rest, id);
  checkAccount(rest);
  return 0;
}
