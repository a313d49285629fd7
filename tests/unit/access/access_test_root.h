// One camera root for the whole test program, under the build folder: the
// platform reads ORVO_ROOT once per process, so it is set before any test.
#pragma once

#include <string>

namespace accesstest {

std::string const& testRoot();
// Removes a device file of the test root ("/etc/orvo/account").
void removeDeviceFile(std::string const& devicePath);
void writeDeviceFile(std::string const& devicePath, std::string const& text);
std::string readDeviceFile(std::string const& devicePath);

}  // namespace accesstest
