// Fuzzes the settings PUT path that reads untrusted input: the body check,
// the network change, the adoption request and the tool's arguments are all
// built from one JSON body. The first byte says whether the camera has
// wireless and whether its description loads.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "endpoints/settings.h"

using namespace orvo::rest::settings;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  bool const wifi = (data[0] & 1) != 0;
  bool const loads = (data[0] & 2) == 0;
  orvo::variant::Variant body;
  if (!body.FromJSON(reinterpret_cast<char const*>(data) + 1, size - 1)) return 0;
  SettingsCheckCamera camera{[loads] { return loads; }, [wifi] { return wifi; }};
  std::string const problem = settingsBodyProblem(body, camera);
  orvo::variant::Variant network = networkChangeFromBody(body);
  std::vector<std::string> const args = systemCfgArguments(body);
  if (args.empty() || args[0] != kSystemCfgFlash || args.size() % 2 == 0) __builtin_trap();
  if (problem.empty()) adoptionFromBody(body);
  return 0;
}
