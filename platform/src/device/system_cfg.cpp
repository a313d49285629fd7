#include "orvo/utils/system_cfg.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

bool readSmallFile(std::string const& path, std::string& text) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  text.clear();
  char buffer[4096];
  ssize_t n;
  bool ok = true;
  while ((n = read(fd, buffer, sizeof buffer)) != 0) {
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 || text.size() + static_cast<std::size_t>(n) > kMaxSystemCfgBytes) {
      ok = false;
      break;
    }
    text.append(buffer, static_cast<std::size_t>(n));
  }
  close(fd);
  return ok;
}

bool writeAll(int fd, std::string const& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

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
  return readSmallFile(path, text) && parseSystemCfg(text, entries);
}

bool storeSystemCfg(std::string const& path, SystemCfgEntries const& entries) {
  std::string pattern = path + ".XXXXXX";
  int fd = mkstemp(&pattern[0]);
  if (fd < 0) return false;
  bool ok = fchmod(fd, 0644) == 0 && writeAll(fd, formatSystemCfg(entries)) && fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  if (ok && rename(pattern.c_str(), path.c_str()) == 0) return true;
  unlink(pattern.c_str());
  return false;
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
