#include "orvo/utils/strings.h"

#include <cstdarg>
#include <cstdio>

namespace orvo {
namespace utils {

std::size_t split(std::string const& text, std::string const& separator,
                  std::vector<std::string>& pieces) {
  if (separator.empty()) {
    pieces.push_back(text);
    return 1;
  }
  std::size_t count = 0;
  std::string::size_type start = 0;
  for (;;) {
    std::string::size_type const end = text.find(separator, start);
    pieces.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
    ++count;
    if (end == std::string::npos) return count;
    start = end + separator.size();
  }
}

std::string format(char const* pattern, ...) {
  va_list args;
  va_start(args, pattern);
  va_list again;
  va_copy(again, args);
  int const length = std::vsnprintf(nullptr, 0, pattern, args);
  va_end(args);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(&text[0], text.size(), pattern, again);
    text.resize(static_cast<std::size_t>(length));
  }
  va_end(again);
  return text;
}

std::vector<std::string> split(std::string const& text, std::string const& separator) {
  std::vector<std::string> pieces;
  split(text, separator, pieces);
  return pieces;
}

}  // namespace utils
}  // namespace orvo
