// Parsers of the /proc texts behind the system statistics.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "orvo/utils/stats.h"

namespace orvo {
namespace utils {

namespace {

// /proc/stat "cpu" fields: user nice system idle iowait irq softirq steal.
constexpr std::size_t kIdleField = 3;
constexpr std::size_t kIowaitField = 4;
constexpr std::size_t kMinCpuFields = 4;
constexpr std::size_t kMaxCpuFields = 10;
// /proc/net/dev: bytes received is field 0, bytes sent field 8.
constexpr std::size_t kNetDevTxField = 8;

bool parseUnsigned(std::string const& word, uint64_t* value) {
  if (word.empty() || word.size() > 20) return false;
  for (char c : word) {
    if (c < '0' || c > '9') return false;
  }
  errno = 0;
  unsigned long long parsed = std::strtoull(word.c_str(), nullptr, 10);
  if (errno != 0) return false;
  *value = parsed;
  return true;
}

// Words separated by blanks, as the kernel writes them.
std::vector<std::string> words(std::string const& line) {
  static char const kBlanks[] = " \t\n\v\f\r";
  std::vector<std::string> out;
  std::size_t at = line.find_first_not_of(kBlanks);
  while (at != std::string::npos) {
    std::size_t const end = line.find_first_of(kBlanks, at);
    out.push_back(line.substr(at, end - at));
    at = line.find_first_not_of(kBlanks, end);
  }
  return out;
}

std::string firstLine(std::string const& text) { return text.substr(0, text.find('\n')); }

// One "name: counters..." line of /proc/net/dev into the next table slot.
void addInterface(std::string const& line, SystemStats* stats) {
  std::size_t const colon = line.find(':');
  if (colon == std::string::npos) return;
  std::vector<std::string> name = words(line.substr(0, colon));
  std::vector<std::string> counters = words(line.substr(colon + 1));
  if (name.size() != 1 || name[0].size() >= kInterfaceNameBytes) return;
  if (counters.size() <= kNetDevTxField) return;
  InterfaceStats entry{};
  if (!parseUnsigned(counters[0], &entry.bytesRx) ||
      !parseUnsigned(counters[kNetDevTxField], &entry.bytesTx)) {
    return;
  }
  std::memcpy(entry.name, name[0].c_str(), name[0].size() + 1);
  stats->interfaces[stats->interfaceCount++] = entry;
}

}  // namespace

bool parseCpuLoad(std::string const& procStat, uint32_t* percent) {
  if (procStat.size() > kMaxProcTextBytes) return false;
  std::vector<std::string> fields = words(firstLine(procStat));
  if (fields.empty() || fields[0] != "cpu" || fields.size() - 1 < kMinCpuFields) return false;
  uint64_t total = 0;
  uint64_t idle = 0;
  for (std::size_t i = 1; i < fields.size() && i <= kMaxCpuFields; ++i) {
    uint64_t value = 0;
    if (!parseUnsigned(fields[i], &value)) return false;
    if (value > UINT64_MAX - total) return false;
    total += value;
    if (i - 1 == kIdleField || i - 1 == kIowaitField) idle += value;
  }
  double const busy =
      total == 0 ? 0.0 : static_cast<double>(total - idle) / static_cast<double>(total);
  *percent = static_cast<uint32_t>(busy * 100.0);
  return true;
}

bool parseLoadAverage(std::string const& procLoadavg, float* average) {
  if (procLoadavg.size() > kMaxProcTextBytes) return false;
  std::vector<std::string> fields = words(firstLine(procLoadavg));
  if (fields.empty() || fields[0].size() > 32) return false;
  char* end = nullptr;
  float value = std::strtof(fields[0].c_str(), &end);
  if (end == nullptr || *end != '\0' || !(value >= 0.0f) || value > 1.0e6f) return false;
  *average = value;
  return true;
}

bool parseUptime(std::string const& procUptime, uint64_t* seconds) {
  if (procUptime.size() > kMaxProcTextBytes) return false;
  std::vector<std::string> fields = words(firstLine(procUptime));
  if (fields.empty()) return false;
  return parseUnsigned(fields[0].substr(0, fields[0].find('.')), seconds);
}

bool parseNetDev(std::string const& procNetDev, SystemStats* stats) {
  stats->interfaceCount = 0;
  if (procNetDev.size() > kMaxProcTextBytes) return false;
  bool sawInterfaceLine = false;
  for (std::size_t at = 0; at < procNetDev.size();) {
    std::size_t end = procNetDev.find('\n', at);
    if (end == std::string::npos) end = procNetDev.size();
    std::string const line = procNetDev.substr(at, end - at);
    at = end + 1;
    if (line.find('|') != std::string::npos) continue;  // the two heading lines
    if (line.find(':') == std::string::npos) continue;
    sawInterfaceLine = true;
    if (stats->interfaceCount < kMaxStatsInterfaces) addInterface(line, stats);
  }
  return sawInterfaceLine;
}

}  // namespace utils
}  // namespace orvo
