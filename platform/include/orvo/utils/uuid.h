// Syntax check of a UUID as controllers send it.
#pragma once

#include <string>

namespace orvo {
namespace utils {

// `strict` true: exactly the 36-character form 8-4-4-4-12 of hexadecimal
// digits (either case) with hyphens. `strict` false also accepts the same
// 32 digits without hyphens, and surrounding braces.
bool uuid_valid(std::string const& uuid, bool strict);

}  // namespace utils
}  // namespace orvo
