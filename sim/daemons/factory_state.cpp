#include "factory_state.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "orvo/utils/account.h"
#include "orvo/utils/file.h"
#include "orvo/utils/mutex.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/system_cfg.h"

namespace orvo {
namespace sim {

namespace {

// Large enough for any of the files below.
constexpr std::size_t kMaxFactoryFileBytes = 64 * 1024;

struct FactoryFile {
  char const* devicePath;  // the live file
  char const* copy;        // its name in the factory folder
  mode_t mode;
  char const* lock;        // the writers' lock of the live file, or nullptr
};

constexpr FactoryFile kFactoryFiles[] = {
    {orvo::utils::kSystemCfgPath, "system.cfg", 0644, orvo::utils::kSystemCfgLock},
    {orvo::utils::kAccountFile, "account", 0600, nullptr},
    {orvo::utils::kAuthTokenFile, "auth_token", 0600, nullptr},
};

bool restore(FactoryFile const& file) {
  std::string const live = orvo::utils::devicePath(file.devicePath);
  std::string const copy =
      orvo::utils::devicePath(std::string(kFactoryFolder) + "/" + file.copy);
  std::optional<InterProcessMutex> lock;
  if (file.lock) lock.emplace(file.lock, true);
  if (lock && lock->acquire() != 0) return false;
  std::string text;
  if (!orvo::utils::readFileBounded(copy, kMaxFactoryFileBytes, text)) {
    if (errno != ENOENT) return false;
    return unlink(live.c_str()) == 0 || errno == ENOENT;
  }
  return orvo::utils::replaceFileAtomically(live, text, file.mode, false);
}

}  // namespace

bool restoreFactoryFiles() {
  struct stat folder {};
  if (stat(orvo::utils::devicePath(kFactoryFolder).c_str(), &folder) != 0 ||
      !S_ISDIR(folder.st_mode)) {
    return false;
  }
  bool all = true;
  for (FactoryFile const& file : kFactoryFiles) all = restore(file) && all;
  return all;
}

}  // namespace sim
}  // namespace orvo
