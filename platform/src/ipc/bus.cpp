#include "orvo/ipc/bus.h"

#include <sys/un.h>
#include <unistd.h>

#include "orvo/utils/paths.h"

namespace orvo {
namespace ipc {

std::string appendSuffix(std::string const& baseName) {
  return baseName + "." + std::to_string(static_cast<long>(getpid()));
}

std::string appendSuffix(char const* baseName) {
  return appendSuffix(std::string(baseName ? baseName : ""));
}

bool isValidEndpointName(std::string const& name) {
  if (name.empty() || name.size() > kMaxEndpointNameBytes || name[0] == '.') return false;
  for (char c : name) {
    bool const ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                    c == '_' || c == '-' || c == '.';
    if (!ok) return false;
  }
  return true;
}

std::string busFolder() { return orvo::utils::devicePath(kBusFolder); }

std::string socketPathFor(std::string const& name) {
  if (!isValidEndpointName(name)) return "";
  std::string path = busFolder() + "/" + name + kSocketExtension;
  if (path.size() >= sizeof(sockaddr_un{}.sun_path)) return "";
  return path;
}

}  // namespace ipc
}  // namespace orvo
