#include "orvo/utils/strings.h"

namespace orvo {
namespace utils {

std::vector<std::string> split(std::string const& text, std::string const& delimiter) {
  std::vector<std::string> pieces;
  if (text.empty()) return pieces;
  if (delimiter.empty()) return {text};
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(delimiter, start)) != std::string::npos;
       start = end + delimiter.size()) {
    pieces.push_back(text.substr(start, end - start));
  }
  pieces.push_back(text.substr(start));
  return pieces;
}

}  // namespace utils
}  // namespace orvo
