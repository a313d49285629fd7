// The camera's configuration writer, /bin/orvo_system_cfg in the camera
// root:
//   orvo_system_cfg flash KEY VALUE [KEY VALUE ...]   store the pairs
//   orvo_system_cfg ctl set ADDR UUID                 record the controller
//   orvo_system_cfg ctl force ADDR [UUID]             record it, forced
// Exit status: 0 done, 1 the configuration could not be written, 2 bad
// arguments (nothing written).
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "orvo/utils/mutex.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/system_cfg.h"

namespace {

using orvo::utils::SystemCfgEntries;

constexpr int kDone = 0;
constexpr int kWriteFailed = 1;
constexpr int kBadArguments = 2;

// Where "ctl" records the controller; the setup form reads the first two
// back. A forced controller without a UUID clears the old one, so a UUID of
// an earlier controller never stays beside a new address.
constexpr char kControllerAddrKey[] = "vestovideo.server";
constexpr char kControllerUuidKey[] = "vestovideo.uuid";
constexpr char kControllerForcedKey[] = "vestovideo.forced";

int usage(char const* problem) {
  std::fprintf(stderr,
               "orvo_system_cfg: %s\n"
               "usage: orvo_system_cfg flash KEY VALUE [KEY VALUE ...]\n"
               "       orvo_system_cfg ctl set ADDR UUID\n"
               "       orvo_system_cfg ctl force ADDR [UUID]\n",
               problem);
  return kBadArguments;
}

bool addPair(SystemCfgEntries& changes, std::string const& key, std::string const& value) {
  if (!orvo::utils::isValidSystemCfgKey(key) || !orvo::utils::isValidSystemCfgValue(value)) {
    std::fprintf(stderr, "orvo_system_cfg: invalid key or value for '%s'\n", key.c_str());
    return false;
  }
  changes[key] = value;
  return true;
}

// Merges `changes` into the stored configuration under the writers' lock.
int apply(SystemCfgEntries const& changes) {
  InterProcessMutex lock(orvo::utils::kSystemCfgLock, true);
  if (lock.acquire() != 0) {
    std::fprintf(stderr, "orvo_system_cfg: configuration is locked\n");
    return kWriteFailed;
  }
  std::string const path = orvo::utils::devicePath(orvo::utils::kSystemCfgPath);
  SystemCfgEntries entries;
  // A missing file starts empty; a broken one is not overwritten blindly.
  if (!orvo::utils::loadSystemCfg(path, entries) && access(path.c_str(), F_OK) == 0) {
    std::fprintf(stderr, "orvo_system_cfg: %s is not readable as a configuration\n", path.c_str());
    return kWriteFailed;
  }
  for (auto const& change : changes) entries[change.first] = change.second;
  if (!orvo::utils::storeSystemCfg(path, entries)) {
    std::fprintf(stderr, "orvo_system_cfg: cannot write %s\n", path.c_str());
    return kWriteFailed;
  }
  return kDone;
}

int flash(std::vector<std::string> const& args) {
  if (args.empty() || args.size() % 2 != 0) return usage("flash needs KEY VALUE pairs");
  SystemCfgEntries changes;
  for (std::size_t i = 0; i < args.size(); i += 2) {
    if (!addPair(changes, args[i], args[i + 1])) return kBadArguments;
  }
  return apply(changes);
}

int controller(std::vector<std::string> const& args) {
  if (args.empty()) return usage("ctl needs set or force");
  bool const forced = args[0] == "force";
  bool const shapeOk = (args[0] == "set" && args.size() == 3) ||
                       (forced && (args.size() == 2 || args.size() == 3));
  if (!shapeOk) return usage("ctl set ADDR UUID | ctl force ADDR [UUID]");
  if (args[1].empty()) return usage("ctl needs a non-empty ADDR");
  SystemCfgEntries changes;
  std::string const uuid = args.size() == 3 ? args[2] : "";
  if (!addPair(changes, kControllerAddrKey, args[1]) ||
      !addPair(changes, kControllerUuidKey, uuid) ||
      !addPair(changes, kControllerForcedKey, forced ? "1" : "0")) {
    return kBadArguments;
  }
  return apply(changes);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage("no command");
  std::string const command = argv[1];
  std::vector<std::string> args(argv + 2, argv + argc);
  if (command == "flash") return flash(args);
  if (command == "ctl") return controller(args);
  return usage("unknown command");
}
