// The text format of the system configuration: pure functions, fuzzed.
#include <cstddef>

#include "orvo/utils/system_cfg.h"

namespace orvo {
namespace utils {

namespace {

bool isKeyCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-' || c == '.';
}

// One non-empty, non-comment line.
bool parseEntry(std::string line, SystemCfgEntries& entries) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  std::size_t const equals = line.find('=');
  if (equals == std::string::npos) return false;
  std::string key = line.substr(0, equals);
  std::string value = line.substr(equals + 1);
  if (!isValidSystemCfgKey(key) || !isValidSystemCfgValue(value)) return false;
  if (entries.size() >= kMaxSystemCfgEntries && entries.count(key) == 0) return false;
  entries[key] = value;
  return true;
}

}  // namespace

bool isValidSystemCfgKey(std::string const& key) {
  if (key.empty() || key.size() > kMaxSystemCfgKeyBytes) return false;
  for (char c : key) {
    if (!isKeyCharacter(c)) return false;
  }
  return true;
}

bool isValidSystemCfgValue(std::string const& value) {
  if (value.size() > kMaxSystemCfgValueBytes) return false;
  for (char c : value) {
    unsigned char const byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f) return false;
  }
  return true;
}

bool parseSystemCfg(std::string const& text, SystemCfgEntries& entries) {
  entries.clear();
  if (text.size() > kMaxSystemCfgBytes) return false;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    start = end + 1;
    if (line.empty() || line == "\r" || line[0] == '#') continue;
    if (!parseEntry(line, entries)) {
      entries.clear();
      return false;
    }
  }
  return true;
}

std::string formatSystemCfg(SystemCfgEntries const& entries) {
  std::string text;
  for (auto const& entry : entries) text += entry.first + "=" + entry.second + "\n";
  return text;
}

}  // namespace utils
}  // namespace orvo
