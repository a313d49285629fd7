// The snapshot module's regular-expression utility. Its own file: nothing in
// the program's request path calls it, and kept apart it is not linked into
// rest.cgi, which then carries no copy of the C library's regex engine
// (about 65 KB of the static program).
#include <regex.h>

#include "cgi/log_tag.h"
#include "endpoints/snapshot.h"

namespace orvo::rest::snapshot {

constexpr char kLogFile[] = "src/rest_snapshot";

namespace {

constexpr std::size_t kRegexErrorBytes = 1024;

}  // namespace

bool RegexMatch(std::string const& text, std::string const& pattern) {
  regex_t compiled;
  int const error = regcomp(&compiled, pattern.c_str(), REG_EXTENDED | REG_NOSUB);
  if (error != 0) {
    char message[kRegexErrorBytes];
    regerror(error, &compiled, message, sizeof message);
    ORVO_LOG("RegexMatch", LOG_ERR, 0, "Failed to compile regex: %s", message);
    regfree(&compiled);
    return false;
  }
  bool const matched = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return matched;
}

}  // namespace orvo::rest::snapshot
