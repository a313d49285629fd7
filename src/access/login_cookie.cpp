#include "access/login_cookie.h"

#include <cstdio>

namespace orvo::rest::access {

ExpiryFormat formatCookieExpiry(time_t expiry, std::string& text) {
  struct tm utc {};
  if (gmtime_r(&expiry, &utc) == nullptr) return ExpiryFormat::kCalendarFailed;
  char buffer[kCookieDateBufferSize];
  std::size_t n = strftime(buffer, sizeof buffer, kCookieDateFormat, &utc);
  if (n == 0) return ExpiryFormat::kFormatFailed;
  text.assign(buffer, n);
  return ExpiryFormat::kOk;
}

std::string sessionCookie(std::string const& id, std::string const& expires) {
  return "authId=" + id + "; Path=/; Expires=" + expires +
         "; Max-Age=" + std::to_string(kCookieMaxAgeSeconds) + "; Version=1; HttpOnly; SameSite=Strict";
}

}  // namespace orvo::rest::access
