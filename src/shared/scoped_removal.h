// A temporary file or folder that must not outlive the scope that made it:
// removed on every way out (a file unlinked, a folder removed when empty),
// unless `keep()` was called, e.g. once it was renamed into place. Removal
// is best effort and leaves errno as it was, for the caller's own log.
#pragma once

#include <string>
#include <utility>

namespace orvo::rest {

class ScopedRemoval {
 public:
  explicit ScopedRemoval(std::string path) : path_(std::move(path)) {}
  ~ScopedRemoval();
  ScopedRemoval(ScopedRemoval const&) = delete;
  ScopedRemoval& operator=(ScopedRemoval const&) = delete;

  void keep() { path_.clear(); }

 private:
  std::string path_;
};

}  // namespace orvo::rest
