// Failed-login accounting in the system's failed-login file "/var/log/btmp"
// (struct utmp records, through the C library's utmp functions), and the
// lockdown it decides: 5 failures, the newest at most 300 seconds old.
#pragma once

#include <utmp.h>

#include <ctime>
#include <string>

#include "cgi/orvo_cgi.h"

namespace orvo::rest::access {

constexpr char kBtmpPath[] = "/var/log/btmp";  // device path
constexpr int kLockdownThreshold = 5;
constexpr time_t kLockdownWindowSeconds = 300;
// Each append keeps this many existing records and adds one.
constexpr int kKeptFailedLogins = 5;
constexpr char kFailedLoginLine[] = "cgi:notty";
constexpr char kUnknownUser[] = "noname";
// Copy limits of the record's text fields (the name may fill its field
// without a terminator).
constexpr std::size_t kLineCopyLimit = 32;
constexpr std::size_t kUserCopyLimit = 32;
constexpr std::size_t kHostCopyLimit = 256;

// The zero-filled record of one failed login.
struct utmp makeFailedLoginRecord(std::string const& user, std::string const& host,
                                  time_t seconds);

// Number of records in the failed-login file (0 when it is missing).
int EntriesInUTmp();
// Whether the newest of `count` records is at most the window old.
bool InLockdownPeriod(int count);
// The login lockdown: at least the threshold of records, the newest recent.
bool loginLockedDown();
// Records one failed login of `request` (its "username", its address).
void appendEntry(orvo::cgi::CGIRequest const& request);
// Empties the failed-login file after a successful check, when it exists.
// Logs under `module`/`function` when truncation fails.
void clearFailedLogins(char const* module, char const* function);

}  // namespace orvo::rest::access
