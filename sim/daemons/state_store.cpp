#include "state_store.h"

#include <errno.h>
#include <sys/stat.h>

#include "default_state.h"
#include "orvo/utils/mutex.h"
#include "orvo/utils/paths.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr char kStateFolder[] = "/sim/state";
constexpr char kControlFolder[] = "/sim/ctl";

}  // namespace

bool makeFolders(std::string const& path) {
  std::string partial;
  std::size_t start = 1;
  while (start <= path.size()) {
    std::size_t slash = path.find('/', start);
    if (slash == std::string::npos) slash = path.size();
    partial = path.substr(0, slash);
    if (mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) return false;
    start = slash + 1;
  }
  return true;
}

namespace {

bool writeJsonFile(std::string const& folder, std::string const& path, Variant const& value) {
  return makeFolders(orvo::utils::devicePath(folder)) && value.ToJSONFile(path, true);
}

unsigned boundedMs(int64_t ms) {
  return ms <= 0 ? 0 : ms > int64_t{kMaxLatencyMs} ? kMaxLatencyMs : static_cast<unsigned>(ms);
}

bool loadState(std::string const& daemon, Variant& state) {
  if (state.FromJSONFile(stateFilePath(daemon)) && state.Type() == orvo::variant::VT_OBJECT) {
    return true;
  }
  state = defaultState(daemon);
  return false;
}

}  // namespace

std::string stateFilePath(std::string const& daemon) {
  return orvo::utils::devicePath(std::string(kStateFolder) + "/" + daemon + ".json");
}

std::string controlFilePath(std::string const& daemon) {
  return orvo::utils::devicePath(std::string(kControlFolder) + "/" + daemon + ".json");
}

bool updateState(std::string const& daemon, std::function<bool(Variant&)> const& change) {
  InterProcessMutex lock("sim_state_" + daemon, true);
  if (lock.acquire() != 0) return false;
  Variant state;
  bool const stored = loadState(daemon, state);
  bool const changed = change(state);
  if (stored && !changed) return true;
  return writeJsonFile(kStateFolder, stateFilePath(daemon), state);
}

bool readState(std::string const& daemon, Variant& state) {
  return updateState(daemon, [&state](Variant& current) {
    state = current;
    return false;
  });
}

bool resetState(std::string const& daemon) {
  return updateState(daemon, [&daemon](Variant& current) {
    current = defaultState(daemon);
    return true;
  });
}

DaemonControls readControls(std::string const& daemon) {
  DaemonControls controls;
  Variant file;
  if (!file.FromJSONFile(controlFilePath(daemon))) return controls;
  controls.latencyMs = boundedMs(file.IntAt("latencyMs"));
  controls.silent = file.BoolAt("silent");
  controls.scanDurationMs = boundedMs(file.IntAt("scanDurationMs", kDefaultScanDurationMs));
  return controls;
}

bool writeControls(std::string const& daemon, DaemonControls const& controls) {
  Variant file;
  file["latencyMs"] = controls.latencyMs;
  file["silent"] = controls.silent;
  file["scanDurationMs"] = controls.scanDurationMs;
  return writeJsonFile(kControlFolder, controlFilePath(daemon), file);
}

}  // namespace sim
}  // namespace orvo
