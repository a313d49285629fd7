#include "access_test_root.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace accesstest {

namespace {

std::string makeRoot() {
  std::string base = std::string(ORVO_BINARY_DIR) + "/tmp";
  std::filesystem::create_directories(base);
  std::string pattern = base + "/unit-access-XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  for (char const* sub : {"/etc", "/etc/orvo", "/tmp", "/var", "/var/log", "/sim"}) {
    mkdir((pattern + sub).c_str(), 0755);
  }
  setenv("ORVO_ROOT", pattern.c_str(), 1);
  return pattern;
}

// Made before main(), so before the platform first asks for the root.
std::string const gRoot = makeRoot();

struct RootRemover {
  ~RootRemover() {
    std::error_code ignored;
    std::filesystem::remove_all(gRoot, ignored);
  }
} gRemover;

}  // namespace

std::string const& testRoot() { return gRoot; }

void removeDeviceFile(std::string const& devicePath) { unlink((gRoot + devicePath).c_str()); }

void writeDeviceFile(std::string const& devicePath, std::string const& text) {
  std::ofstream(gRoot + devicePath, std::ios::binary | std::ios::trunc) << text;
}

std::string readDeviceFile(std::string const& devicePath) {
  std::ifstream in(gRoot + devicePath, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace accesstest
