// Platform functions cache what they read from the environment once per
// process, as a CGI process would; each check therefore runs in a child.
#pragma once

#include <functional>
#include <string>

#include "support/camera_root.h"
#include "support/process.h"

namespace platformtest {

using Root = orvo::test::CameraRoot;

// Runs `check` in a forked child with ORVO_ROOT set to `root` (unset when
// empty); returns the child's exit status (0 = the check held).
inline int inChild(std::string const& root, std::function<bool()> const& check) {
  return orvo::test::runInChild(root, [&check] { return check() ? 0 : 1; });
}

}  // namespace platformtest
