// System statistics: CPU load, load average, uptime and the byte counters of
// every network interface, read from the kernel's /proc files.
//
// Inside a simulated camera whose root holds a "proc" folder, the files are
// read from there instead (tests supply their own figures); otherwise from
// the real /proc, on the device and in the simulator alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo {
namespace utils {

// Interfaces kept in the table (the first ones listed by the kernel).
constexpr std::size_t kMaxStatsInterfaces = 32;
// Longest interface name, terminating NUL included (the kernel's IFNAMSIZ).
constexpr std::size_t kInterfaceNameBytes = 16;
// Largest /proc text read for the statistics.
constexpr std::size_t kMaxProcTextBytes = 64 * 1024;

struct InterfaceStats {
  char name[kInterfaceNameBytes];
  uint64_t bytesRx;
  uint64_t bytesTx;
};

struct SystemStats {
  // Share of non-idle CPU time since boot, in percent (0..100).
  uint32_t cpuLoad;
  // One-minute load average.
  float loadAverage;
  // Seconds since boot.
  uint64_t uptime;
  InterfaceStats interfaces[kMaxStatsInterfaces];
  uint32_t interfaceCount;
};

// The library's handle. Each returns 0 on success, non-zero on failure.
int InitializeStatsLib(void** handle);
int GetSystemStats(void* handle, SystemStats* stats);
int CloseStatsLib(void** handle);

// ---- pure parsers of the /proc texts (bounded, fuzzed) ----

// The aggregate "cpu" line of /proc/stat: busy percentage of all time.
bool parseCpuLoad(std::string const& procStat, uint32_t* percent);
// First field of /proc/loadavg.
bool parseLoadAverage(std::string const& procLoadavg, float* average);
// First field of /proc/uptime, whole seconds.
bool parseUptime(std::string const& procUptime, uint64_t* seconds);
// /proc/net/dev: "name: rxBytes rxPackets ... (8 receive fields) txBytes ...".
// Fills interfaces and interfaceCount (at most kMaxStatsInterfaces); a name
// too long for the table's field is skipped. False when the text has no
// interface line of the expected shape.
bool parseNetDev(std::string const& procNetDev, SystemStats* stats);

}  // namespace utils
}  // namespace orvo
