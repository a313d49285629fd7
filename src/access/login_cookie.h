// The "authId" session cookie a successful login sets.
#pragma once

#include <ctime>
#include <string>

namespace orvo::rest::access {

constexpr int kCookieMaxAgeSeconds = 86400;
// strftime's buffer for the expiry date.
constexpr std::size_t kCookieDateBufferSize = 64;
constexpr char kCookieDateFormat[] = "%a, %d %b %Y %H:%M:%S GMT";

enum class ExpiryFormat { kOk, kCalendarFailed, kFormatFailed };

// The cookie's "Expires" text for the wall-clock time `expiry` (UTC).
ExpiryFormat formatCookieExpiry(time_t expiry, std::string& text);
// "authId=<id>; Path=/; Expires=<expires>; Max-Age=86400; Version=1; HttpOnly;
// SameSite=Strict": a browser never sends it along with a request that a page
// of another site starts.
std::string sessionCookie(std::string const& id, std::string const& expires);

}  // namespace orvo::rest::access
