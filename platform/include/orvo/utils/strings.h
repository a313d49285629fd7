// Text functions shared by the endpoints.
#pragma once

#include <string>
#include <vector>

namespace orvo {
namespace utils {

// Cuts `text` at every occurrence of `separator` and appends the pieces to
// `pieces`, empty ones included: "a\nb\n" gives "a", "b", "" and "" gives
// one empty piece. An empty separator appends `text` whole. Returns the
// number of pieces appended.
std::size_t split(std::string const& text, std::string const& separator,
                  std::vector<std::string>& pieces);

// printf into a std::string, of any length.
std::string format(char const* pattern, ...) __attribute__((format(printf, 1, 2)));
// The same pieces, returned.
std::vector<std::string> split(std::string const& text, std::string const& separator);

}  // namespace utils
}  // namespace orvo
