// Platform functions cache what they read from the environment once per
// process, as a CGI process would; each check therefore runs in a child.
#pragma once

#include <functional>
#include <string>

namespace platformtest {

// A fresh camera root under the build folder (removed by the destructor).
class Root {
 public:
  Root();
  ~Root();
  std::string const& path() const { return path_; }
  std::string file(std::string const& devicePath) const { return path_ + devicePath; }
  std::string read(std::string const& devicePath) const;
  void write(std::string const& devicePath, std::string const& text) const;

 private:
  std::string path_;
};

// Runs `check` in a forked child with ORVO_ROOT set to `root` (unset when
// empty); returns the child's exit status (0 = the check held).
int inChild(std::string const& root, std::function<bool()> const& check);

}  // namespace platformtest
