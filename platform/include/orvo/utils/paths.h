// Every absolute path the program touches goes through devicePath(). On the
// device it is the identity; in a simulated camera (environment variable
// ORVO_ROOT set, and the override compiled in) the path is moved under that
// root, so "/tmp/.rest_0_1.db" becomes "$ORVO_ROOT/tmp/.rest_0_1.db".
#pragma once

#include <string>

namespace orvo {
namespace utils {

std::string devicePath(std::string const& absolutePath);
// The simulated camera root, or "" on the device.
std::string const& cameraRoot();
bool insideSimulatedCamera();

}  // namespace utils
}  // namespace orvo
