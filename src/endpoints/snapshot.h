// What the snapshot module decides by rule, visible to the unit tests.
#pragma once

#include <string>

namespace orvo::rest::snapshot {

// Whether `text` matches the POSIX extended regular expression `pattern`.
// A pattern that does not compile is logged and matches nothing.
bool RegexMatch(std::string const& text, std::string const& pattern);

// "image/jpeg" for a ".jpg" or ".jpeg" path in any case, else
// "application/octet-stream".
std::string ContentTypeOf(std::string const& path);

}  // namespace orvo::rest::snapshot
