// JSON files: a bounded read, and an atomic replace (temporary file in the
// same folder, fsync, rename) so readers never see a half-written file and a
// failed write leaves the old file as it was.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

namespace {

constexpr char kTemporarySuffix[] = ".XXXXXX";
constexpr mode_t kNewFileMode = 0600;  // settings and sessions are nobody else's business
constexpr std::size_t kReadChunkBytes = 64 * 1024;

bool ReadBounded(int fd, std::string& out) {
  char chunk[kReadChunkBytes];
  for (;;) {
    ssize_t n = ::read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    out.append(chunk, static_cast<std::size_t>(n));
    // Checked while reading too: the file may grow after fstat.
    if (out.size() > kMaxJsonFileBytes) return false;
  }
}

bool WriteAll(int fd, std::string const& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

std::string FolderOf(std::string const& path) {
  std::string::size_type slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Makes the rename itself durable; a failure here does not undo the write.
void SyncFolder(std::string const& path) {
  int fd = ::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

bool Variant::FromJSONFile(std::string const& path) {
  Free();
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat info {};
  std::string text;
  bool ok = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
            static_cast<uint64_t>(info.st_size) <= kMaxJsonFileBytes && ReadBounded(fd, text);
  ::close(fd);
  return ok && FromJSON(text);
}

bool Variant::ToJSONFile(std::string const& path, bool styled) const {
  std::string text;
  if (path.empty() || !ToJSON(text, styled)) return false;
  std::string temporary = path + kTemporarySuffix;
  int fd = ::mkostemp(&temporary[0], O_CLOEXEC);
  if (fd < 0) return false;
  struct stat old {};
  mode_t mode = ::stat(path.c_str(), &old) == 0 ? (old.st_mode & 07777) : kNewFileMode;
  bool ok = ::fchmod(fd, mode) == 0 && WriteAll(fd, text) && ::fsync(fd) == 0;
  ok = (::close(fd) == 0) && ok;
  ok = ok && ::rename(temporary.c_str(), path.c_str()) == 0;
  if (!ok) {
    ::unlink(temporary.c_str());
    return false;
  }
  SyncFolder(path);
  return true;
}

}  // namespace variant
}  // namespace orvo
