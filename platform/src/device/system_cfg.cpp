#include "orvo/utils/system_cfg.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

bool parseInteger(std::string const& text, long* value) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  long parsed = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || end == nullptr || *end != '\0') return false;
  *value = parsed;
  return true;
}

}  // namespace

bool loadSystemCfg(std::string const& path, SystemCfgEntries& entries) {
  std::string text;
  return readFileBounded(path, kMaxSystemCfgBytes, text) && parseSystemCfg(text, entries);
}

bool storeSystemCfg(std::string const& path, SystemCfgEntries const& entries) {
  return replaceFileAtomically(path, formatSystemCfg(entries), 0644, false);
}

bool SystemCfgManager::init() {
  initialised_ = loadSystemCfg(devicePath(kSystemCfgPath), entries_);
  return initialised_;
}

bool SystemCfgManager::lookup(std::string const& key, std::string const** text,
                              bool* notSet) const {
  if (!initialised_) return false;
  auto const found = entries_.find(key);
  bool const absent = found == entries_.end();
  if (notSet) *notSet = absent;
  *text = absent ? nullptr : &found->second;
  return true;
}

bool SystemCfgManager::get(std::string const& key, int* value, bool* notSet) const {
  std::string const* text = nullptr;
  if (!lookup(key, &text, notSet)) return false;
  if (text == nullptr) return true;
  long parsed = 0;
  if (!parseInteger(*text, &parsed) || parsed < INT_MIN || parsed > INT_MAX) return false;
  if (value) *value = static_cast<int>(parsed);
  return true;
}

bool SystemCfgManager::get(std::string const& key, std::string* value, bool* notSet) const {
  std::string const* text = nullptr;
  if (!lookup(key, &text, notSet)) return false;
  if (text != nullptr && value) *value = *text;
  return true;
}

bool SystemCfgManager::get(std::string const& key, bool* value, bool* notSet) const {
  std::string const* text = nullptr;
  if (!lookup(key, &text, notSet)) return false;
  if (text == nullptr) return true;
  long parsed = 0;
  bool result;
  if (*text == "true") {
    result = true;
  } else if (*text == "false") {
    result = false;
  } else if (parseInteger(*text, &parsed)) {
    result = parsed != 0;
  } else {
    return false;
  }
  if (value) *value = result;
  return true;
}

bool SystemCfgManager::getVariant(std::string const& key, orvo::variant::Variant* value,
                                  bool* notSet) const {
  std::string const* text = nullptr;
  if (!lookup(key, &text, notSet)) return false;
  if (value == nullptr) return true;
  value->Free();
  if (text == nullptr) return true;
  long parsed = 0;
  if (parseInteger(*text, &parsed)) {
    *value = parsed;
  } else if (*text == "true" || *text == "false") {
    *value = (*text == "true");
  } else {
    *value = *text;
  }
  return true;
}

}  // namespace utils
}  // namespace orvo
