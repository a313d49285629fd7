// Fuzzes the parsers of the device's text files: the system configuration
// (whose parse must read back what it formats) and the /proc statistics.
#include <cstddef>
#include <cstdint>
#include <string>

#include "orvo/utils/stats.h"
#include "orvo/utils/system_cfg.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  orvo::utils::SystemCfgEntries entries;
  if (orvo::utils::parseSystemCfg(text, entries)) {
    orvo::utils::SystemCfgEntries again;
    if (!orvo::utils::parseSystemCfg(orvo::utils::formatSystemCfg(entries), again) ||
        again != entries) {
      __builtin_trap();
    }
  }
  orvo::utils::SystemStats stats;
  uint32_t cpu = 0;
  float load = 0;
  uint64_t uptime = 0;
  orvo::utils::parseCpuLoad(text, &cpu);
  orvo::utils::parseLoadAverage(text, &load);
  orvo::utils::parseUptime(text, &uptime);
  if (orvo::utils::parseNetDev(text, &stats) &&
      stats.interfaceCount > orvo::utils::kMaxStatsInterfaces) {
    __builtin_trap();
  }
  if (cpu > 100) __builtin_trap();
  return 0;
}
