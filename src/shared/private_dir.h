// The program's own folder in the shared, world-writable /tmp: "/tmp/.rest",
// a directory of our effective user, mode 0700, never a link. It holds what
// other local users must not plant or swap: the session database, uploads
// in progress and the staged firmware image with its record. Anything else
// found at that name is logged and moved aside; where that is not allowed
// (another user's entry, and we are not root) a folder of ours named
// "/tmp/.rest-<uid>-XXXXXX" serves instead.
#pragma once

#include <string>

namespace orvo {
namespace rest {

constexpr char kPrivateDir[] = "/tmp/.rest";  // device path

class PrivateDir {
 public:
  PrivateDir() = default;
  ~PrivateDir();
  PrivateDir(PrivateDir const&) = delete;
  PrivateDir& operator=(PrivateDir const&) = delete;

  // Opens the folder, making it when missing; false (logged) when no folder
  // of ours could be had.
  bool Open();
  int Fd() const { return fd_; }
  // The folder's file-system path (under the camera root in the simulator).
  std::string const& Path() const { return path_; }

 private:
  int fd_ = -1;
  std::string path_;
};

// The file-system path of `name` in the program's folder, resolved once per
// process (the folder is made or repaired then). When no folder can be had,
// the usual place: what is done there then fails and is logged.
std::string privateFile(std::string const& name);

}  // namespace rest
}  // namespace orvo
