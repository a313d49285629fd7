#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "orvo/utils/paths.h"
#include "orvo/utils/stats.h"

namespace orvo {
namespace utils {

namespace {

struct StatsSource {
  std::string procFolder;
};

bool isDirectory(std::string const& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string chooseProcFolder() {
  std::string const simulated = devicePath("/proc");
  if (insideSimulatedCamera() && isDirectory(simulated)) return simulated;
  return "/proc";
}

bool readProcText(std::string const& path, std::string& text) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  text.clear();
  char buffer[4096];
  bool ok = true;
  for (;;) {
    ssize_t n = read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) ok = false;
    if (n <= 0) break;
    if (text.size() + static_cast<std::size_t>(n) > kMaxProcTextBytes) {
      ok = false;
      break;
    }
    text.append(buffer, static_cast<std::size_t>(n));
  }
  close(fd);
  return ok;
}

}  // namespace

int InitializeStatsLib(void** handle) {
  if (handle == nullptr) return -1;
  *handle = new StatsSource{chooseProcFolder()};
  return 0;
}

int GetSystemStats(void* handle, SystemStats* stats) {
  if (handle == nullptr || stats == nullptr) return -1;
  std::string const& folder = static_cast<StatsSource*>(handle)->procFolder;
  std::memset(stats, 0, sizeof *stats);
  std::string text;
  if (!readProcText(folder + "/stat", text) || !parseCpuLoad(text, &stats->cpuLoad)) return -1;
  if (!readProcText(folder + "/loadavg", text) || !parseLoadAverage(text, &stats->loadAverage)) {
    return -1;
  }
  if (!readProcText(folder + "/uptime", text) || !parseUptime(text, &stats->uptime)) return -1;
  if (!readProcText(folder + "/net/dev", text) || !parseNetDev(text, stats)) return -1;
  return 0;
}

int CloseStatsLib(void** handle) {
  if (handle == nullptr) return -1;
  delete static_cast<StatsSource*>(*handle);
  *handle = nullptr;
  return 0;
}

}  // namespace utils
}  // namespace orvo
