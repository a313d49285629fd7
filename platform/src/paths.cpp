#include "orvo/utils/paths.h"

#include <cstdlib>

namespace orvo {
namespace utils {

std::string const& cameraRoot() {
  // Read once per process; the environment does not change under us.
  static std::string const root = [] {
#ifdef ORVO_DEVICE_BUILD
    return std::string();
#else
    char const* value = std::getenv("ORVO_ROOT");
    std::string text = value ? value : "";
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    return text;
#endif
  }();
  return root;
}

bool insideSimulatedCamera() { return !cameraRoot().empty(); }

std::string devicePath(std::string const& absolutePath) {
  std::string const& root = cameraRoot();
  if (root.empty() || absolutePath.empty() || absolutePath[0] != '/') return absolutePath;
  return root + absolutePath;
}

}  // namespace utils
}  // namespace orvo
