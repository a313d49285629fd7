// Fuzzes the published service list's parser and the text splitter behind
// the system log endpoint.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvo/utils/services.h"
#include "orvo/utils/strings.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  for (orvo::utils::ServiceEntry const& entry : orvo::utils::parseServiceList(text)) {
    if (!entry.stateKnown && entry.running) __builtin_trap();
  }
  // The pieces joined by the separator give the text back, one piece more
  // than there are separators.
  std::vector<std::string> pieces;
  std::size_t const count = orvo::utils::split(text, "\n", pieces);
  std::string joined;
  std::size_t newlines = 0;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i > 0) joined += '\n';
    joined += pieces[i];
  }
  for (char c : text) newlines += c == '\n';
  if (joined != text || count != pieces.size() || count != newlines + 1) __builtin_trap();
  return 0;
}
