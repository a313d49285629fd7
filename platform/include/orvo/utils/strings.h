// Small text operations shared by the program's modules.
#pragma once

#include <string>
#include <vector>

namespace orvo {
namespace utils {

// The pieces of `text` between occurrences of `delimiter`, in order, empty
// pieces included ("a  b" split on " " gives "a", "", "b"). An empty text
// gives no pieces; an empty delimiter gives the whole text as one piece.
std::vector<std::string> split(std::string const& text, std::string const& delimiter);

}  // namespace utils
}  // namespace orvo
