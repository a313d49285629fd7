// The optional system services the control server manages. The control
// server publishes their list and running state in "/var/run/services.json":
//   {"services": [{"name": "http", "running": true}, ...]}
// in the order it manages them; these functions read that file.
#pragma once

#include <string>
#include <vector>

namespace orvo {
namespace utils {

constexpr char kServicesFile[] = "/var/run/services.json";

struct ServiceEntry {
  std::string name;
  bool stateKnown = false;  // "running" is a boolean
  bool running = false;
};

// The entries of a published list's text, in order; entries without a
// string name are skipped. Empty when the text is not such a list.
std::vector<ServiceEntry> parseServiceList(std::string const& text);

// The names of the controllable services, in list order; empty when the list
// cannot be read.
std::vector<std::string> ListServices();

// Sets `state` to 1 when the service runs, 0 when it is stopped. False (state
// untouched) when the list cannot be read or does not name the service.
bool ServiceStatus(std::string const& name, int& state);

}  // namespace utils
}  // namespace orvo
