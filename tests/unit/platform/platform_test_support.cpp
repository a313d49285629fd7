#include "platform_test_support.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace platformtest {

Root::Root() {
  std::string base = std::string(ORVO_BINARY_DIR) + "/tmp";
  mkdir(base.c_str(), 0755);
  std::string pattern = base + "/platform-unit-XXXXXX";
  if (mkdtemp(&pattern[0])) path_ = pattern;
  for (char const* sub : {"/var", "/var/log", "/run", "/sim", "/tmp"}) {
    mkdir((path_ + sub).c_str(), 0755);
  }
}

Root::~Root() {
  std::string command = "rm -rf '" + path_ + "'";
  if (!path_.empty() && std::system(command.c_str()) != 0) perror("rm");
}

std::string Root::read(std::string const& devicePath) const {
  std::ifstream in(file(devicePath));
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void Root::write(std::string const& devicePath, std::string const& text) const {
  std::ofstream(file(devicePath)) << text;
}

int inChild(std::string const& root, std::function<bool()> const& check) {
  pid_t child = fork();
  if (child == 0) {
    if (root.empty()) {
      unsetenv("ORVO_ROOT");
    } else {
      setenv("ORVO_ROOT", root.c_str(), 1);
    }
    _exit(check() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace platformtest
