// One open file and the questions asked about a path before opening it.
// Paths are used as given: callers map device paths through devicePath()
// first. Nothing here follows a symbolic link at the last component: in
// the shared /tmp a link planted by someone else must never redirect a
// read.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace orvo {
namespace utils {

// True when something is at `path`. With `withoutFollowingLinks` a
// symbolic link counts as itself (even a dangling one), otherwise as what
// it names.
bool fileExists(char const* path, bool withoutFollowingLinks);

// True when `path` is a regular file itself, not a link to one.
bool isFile(std::string const& path);

class File {
 public:
  // Largest file ReadStringAll() takes whole.
  static constexpr std::size_t kMaxReadBytes = 64u * 1024 * 1024;

  File() = default;
  ~File();
  File(File const&) = delete;
  File& operator=(File const&) = delete;

  // Opens `path` with open(2) flags `flags` (0: read-only) and, for a file
  // created, `mode`. Opens only a regular file, never through a symbolic
  // link, and never waits on a FIFO. False (errno set) on failure.
  bool Initialize(std::string const& path, mode_t mode, int flags);
  // Exactly `size` bytes from `offset`; false on a read error or end of file.
  bool ReadAt(std::uint64_t offset, void* out, std::size_t size) const;
  // Reads the whole file from its start into `text`; false when it cannot
  // be read or holds more than kMaxReadBytes (errno EFBIG).
  bool ReadStringAll(std::string& text);
  // The file's size in bytes, -1 when it is not open or cannot be asked.
  int64_t Size() const;
  void Close();

  bool IsOpen() const { return fd_ >= 0; }
  std::string const& Path() const { return path_; }

 private:
  int fd_ = -1;
  std::string path_;
};

}  // namespace utils
}  // namespace orvo
